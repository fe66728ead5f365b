// The vectors of a routine of matrix and vector with their elements side by side, as its kernels take them.
#pragma once

#include "host/routines/blas/numbers.h"
#include "host/service/refusals.h"
#include <algorithm>
#include <tnk/services.h>

namespace tnk::host {

// Scratch memory for the length of a call. Null after a report in the name of `routine`, which then cannot be done.
template <class T> class Scratch {
public:
  Scratch() = default;
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  ~Scratch() { tnk_serv_deallocate(block_); }

  T *take(const char *routine, tnk_int count) {
    block_ = tnk_serv_allocate(count * static_cast<tnk_int>(sizeof(T)), 64);
    if (tnk_serv_check_ptr(block_, routine)) ++undone_calls();
    return static_cast<T *>(block_);
  }

private:
  void *block_ = nullptr;
};

// Logical element 0, which stands at the far end when the increment is negative.
template <class T> T *first_element(T *x, tnk_int n, tnk_int inc) {
  return inc < 0 ? x + (1 - n) * inc : x;
}
template <class T> void gather(tnk_int n, const T *x, tnk_int inc, T *to) {
  x = first_element(x, n, inc);
  for (tnk_int i = 0; i < n; ++i) to[i] = x[i * inc];
}
template <class T> void scatter(tnk_int n, const T *from, T *x, tnk_int inc) {
  x = first_element(x, n, inc);
  for (tnk_int i = 0; i < n; ++i) x[i * inc] = from[i];
}

// A vector as it is, or a copy of one whose elements are apart, which goes back where the vector is written.
template <class T> class SideBySide {
public:
  SideBySide(const char *routine, tnk_int n, T *x, const tnk_int *inc) : n_(n), inc_(*inc), x_(x) {
    if (inc_ == 1) {
      elements_ = x;
    } else if ((elements_ = scratch_.take(routine, n))) {
      gather<std::remove_const_t<T>>(n, x, inc_, const_cast<std::remove_const_t<T> *>(elements_));
    }
  }
  explicit operator bool() const { return elements_ != nullptr; }
  T *elements() const { return elements_; }
  void put_back() const {
    if (inc_ != 1) scatter(n_, elements_, x_, inc_);
  }

private:
  tnk_int n_, inc_;
  T *x_, *elements_ = nullptr;
  Scratch<T> scratch_;
};

// y := beta y; a beta of 0 does not read y.
template <class T> void scale(tnk_int n, T beta, T *y, tnk_int inc) {
  if (is_value(beta, 1)) return;
  y = first_element(y, n, inc);
  for (tnk_int i = 0; i < n; ++i) y[i * inc] = is_value(beta, 0) ? T{} : beta * y[i * inc];
}

} // namespace tnk::host
