// What the C face has to do before a call is one of Fortran's: enumerations become letters, and a call by rows is turned round.
// A matrix stored by rows is its transpose stored by columns, so each routine asks for the transposed result.
#pragma once

#include <cstdlib>
#include <tnk/services.h>

#include "dropin/face.h"

namespace tnk::dropin {

// A call of the C face: the enumerations that it has read so far, in the order of its arguments, and whether all were good.
// The first bad one is reported.
class Order {
public:
  Order(const char *name, int layout) : call_{name, layout == 101 ? Way::c_by_rows : Way::c_by_columns} {
    if (layout != 101 && layout != 102) refuse(1, "layout", layout);
  }

  explicit operator bool() const { return good_; }
  const Call &call() const { return call_; }
  bool by_rows() const { return call_.way == Way::c_by_rows; }

  char trans(int position, int value, const char *argument = "Trans") {
    return read(position, argument, value,
                value == 111   ? 'n'
                : value == 112 ? 't'
                : value == 113 ? 'c'
                               : '\0');
  }
  char diag(int position, int value) {
    return read(position, "Diag", value, value == 131 ? 'n' : value == 132 ? 'u' : '\0');
  }
  // The triangle and the side as they are to the call that is made: the other ones by rows.
  char uplo(int position, int value) {
    return read(position, "Uplo", value,
                value == (by_rows() ? 122 : 121) ? 'u'
                : value == 121 || value == 122   ? 'l'
                                                 : '\0');
  }
  char side(int position, int value) {
    return read(position, "Side", value,
                value == (by_rows() ? 142 : 141) ? 'l'
                : value == 141 || value == 142   ? 'r'
                                                 : '\0');
  }

private:
  char read(int position, const char *argument, int value, char letter) {
    if (good_ && letter == '\0') refuse(position, argument, value);
    return letter;
  }
  [[gnu::cold]] void refuse(int position, const char *argument, int value) {
    good_ = false;
    call_.refuse_setting(position, argument, value);
  }

  Call call_;
  bool good_ = true;
};

// What stored by rows is op(A) of the letter; conjugates are dealt with apart.
inline char turned(char trans) {
  return trans == 'n' ? 't' : 'n';
}

// ---- Conjugates ------------------------------------------------------------------------------------------------------
// By rows some complex routines need A conjugated, which no letter says: they work on conjugated vectors instead.

template <class T> T conjugate(const T &z) {
  return {z.re, -z.im};
}

// Elements from the lowest address on, whatever the sign of the increment.
template <class T> void conjugate_in_place(tnk_int n, T *x, tnk_int inc) {
  const tnk_int step = inc < 0 ? -inc : inc;
  for (tnk_int i = 0; i < n; ++i) x[i * step].im = -x[i * step].im;
}

// A conjugated copy, elements side by side in the same direction.
template <class T> class Conjugated {
public:
  Conjugated(tnk_int n, const T *x, tnk_int inc) : inc_(inc < 0 ? -1 : 1) {
    if (n > room) {
      x_ = static_cast<T *>(std::malloc(static_cast<std::size_t>(n) * sizeof(T)));
      if (!x_) {
        const tnk_error error{
            TNK_ERROR_MEMORY, "cblas", 0, "", "", "", "BLAS: no memory for a copy of a vector"};
        behind().report_error(&error);
        std::exit(EXIT_FAILURE);
      }
    }
    const tnk_int step = inc < 0 ? -inc : inc;
    for (tnk_int i = 0; i < n; ++i) x_[i] = conjugate(x[i * step]);
  }
  ~Conjugated() {
    if (x_ != near_) std::free(x_);
  }
  Conjugated(const Conjugated &) = delete;
  Conjugated &operator=(const Conjugated &) = delete;

  const T *x() const { return x_; }
  tnk_int inc() const { return inc_; }

private:
  static constexpr tnk_int room = 64;
  tnk_int inc_;
  T near_[room], *x_ = near_;
};

} // namespace tnk::dropin
