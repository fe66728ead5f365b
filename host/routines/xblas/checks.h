// The arguments of extended-precision routines, one after another: each is checked when it is named, so that a routine
// chains its questions with && in the order of its list, and positions count themselves.
#pragma once

#include "host/dispatch/check.h"
#include "host/routines/element.h"
#include <tnk/xblas.h>

namespace tnk::host::xblas {

// ---- The first look ------------------------------------------------------------------------------------------
// A call that is plainly good, and too short for several threads, jumps to its kernel with its arguments as they lie. Others
// go to a careful_ routine out of line, which has them by value: a good call stores nothing.

template <class F> bool is_given(F factor) {
  if constexpr (std::is_pointer_v<F>)
    return factor != nullptr;
  else
    return true;
}
inline bool is_step(tnk_int inc) {
  return inc != 0 && inc >= -(1 << 20) && inc <= 1 << 20;
}
// A leading dimension of lines of `line` elements.
inline bool is_stride(tnk_int ld, tnk_int line) {
  return is_usual(ld) && ld >= line;
}
inline bool is_bandwidth(tnk_int k) {
  return static_cast<std::uint64_t>(k) < 1 << 20;
}
inline bool is_order(int32_t value) {
  return value == TNK_XBLAS_ROWMAJOR || value == TNK_XBLAS_COLMAJOR;
}
inline bool by_columns(int32_t order) {
  return order == TNK_XBLAS_COLMAJOR;
}
inline bool is_trans(int32_t value) {
  return value >= TNK_XBLAS_NO_TRANS && value <= TNK_XBLAS_CONJ_TRANS;
}
inline bool is_uplo(int32_t value) {
  return value == TNK_XBLAS_UPPER || value == TNK_XBLAS_LOWER;
}
template <class... Prec> bool is_precision(Prec... prec) {
  return ((prec >= TNK_XBLAS_SINGLE && prec <= TNK_XBLAS_EXTRA) && ... && true);
}

// ---- One argument at a time -------------------------------------------------------------------------------------

// An array of any type.
struct Array {
  template <class T> Array(const T *first) : address(first), most(elements_in_memory<T>) {}
  const void *address;
  tnk_int most; // elements that fit into memory
};

class Arguments {
public:
  explicit Arguments(const char *routine) : routine_(routine) {}

  bool order(int32_t value) { return between("order", value, 101, 102); }
  bool trans(int32_t value, const char *name = "trans") { return between(name, value, 111, 113); }
  bool uplo(int32_t value) { return between("uplo", value, 121, 122); }
  bool diag(int32_t value) { return between("diag", value, 131, 132); }
  bool side(int32_t value) { return between("side", value, 141, 142); }
  bool conj() { return ++position_, true; }
  bool prec(int32_t value) { return between("prec", value, 211, 214); }
  bool prec() { return true; }

  bool size(const char *name, tnk_int value) { return check().dimension(++position_, name, &value); }
  // Diagonals beside the main one. What is added to it stays far from the largest integer.
  bool bandwidth(const char *name, tnk_int value) { return between(name, value, 0, memory_bytes); }
  template <class F> bool factor(const char *name, F value) {
    ++position_;
    if constexpr (std::is_pointer_v<F>)
      return check().address(position_, name, value);
    else
      return true;
  }
  // One element, or a part of a vector whose increment comes later.
  bool array(const char *name, const Array &a, bool touched) {
    ++position_;
    return !touched || check().address(position_, name, a.address);
  }
  // An increment, with which n elements have to fit into memory. Sizes, increments and leading dimensions that are usual
  // need no closer look.
  bool increment(const char *name, tnk_int value, const Array &a, tnk_int n) {
    ++position_;
    if (value != 0 && value >= -usual && value <= usual && n <= usual) return true;
    return long_increment(routine_, position_, name, value, a.most, n);
  }
  bool vector(const char *name, const Array &a, bool touched, const char *increment_name, tnk_int inc,
              tnk_int n) {
    return array(name, a, touched) && increment(increment_name, inc, a, touched ? n : 0);
  }
  // Lines of `line` elements, `ld` apart, which must be `least` at least.
  bool matrix(const char *name, const Array &a, bool touched, const char *ld_name, tnk_int ld, tnk_int least,
              tnk_int lines) {
    if (!array(name, a, touched)) return false;
    ++position_;
    if (is_usual(ld) && ld >= least && lines <= usual) return true;
    return large_matrix(routine_, position_, ld_name, a.most, touched, ld, least, lines);
  }
  // One triangle of n by n without gaps.
  bool packed(const char *name, const Array &a, bool touched, tnk_int n) {
    if (!array(name, a, touched)) return false;
    return !touched || n <= usual ||
           check().place(position_, name, n < 1 << 24 && n * (n + 1) / 2 <= a.most, "larger than memory",
                         "a triangle that fits into memory");
  }

private:
  static constexpr tnk_int usual = 1 << 20; // its square elements fit into memory
  // What is not, by value: so nothing of a good call stands in memory. Out of line: what a cold function is drawn into
  // counts as cold as well, to GCC 12.
  [[gnu::cold]] static bool outside(const char *routine, int position, const char *name, tnk_int value,
                                    tnk_int first, tnk_int last);
  [[gnu::cold]] static bool long_increment(const char *routine, int position, const char *name, tnk_int value,
                                           tnk_int most, tnk_int n);
  [[gnu::cold]] static bool large_matrix(const char *routine, int position, const char *name, tnk_int most,
                                         bool touched, tnk_int ld, tnk_int least, tnk_int lines);
  Check check() const { return Check(routine_); }
  bool between(const char *name, tnk_int value, tnk_int first, tnk_int last) {
    ++position_;
    return (value >= first && value <= last) || outside(routine_, position_, name, value, first, last);
  }
  const char *routine_;
  int position_ = 0;
};

// Whether a factor is exactly 0, so far as one is given.
template <class F> bool is_nothing(F value) {
  if constexpr (std::is_pointer_v<F>)
    return value && value->re == 0 && value->im == 0;
  else
    return value == 0;
}
template <class F> bool is_unity(F value) {
  if constexpr (std::is_pointer_v<F>)
    return value && value->re == 1 && value->im == 0;
  else
    return value == 1;
}

} // namespace tnk::host::xblas
