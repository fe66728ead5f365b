// The streaming vector operations by their definitions, one element after the other, in the arithmetic of the
// element type: each product and each sum rounded once. Their results are exact expectations.
#pragma once

#include <tnk/types.h>
#include <type_traits>
#include <utility>
#include <vector>

namespace tnk::reference {

template <class T> T multiply(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return a * b;
  else
    return T{a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class T> T add(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return a + b;
  else
    return T{a.re + b.re, a.im + b.im};
}

// A vector by its logical elements; with an increment of 0 they are all the same one.
template <class T> struct Elements {
  std::vector<T> value;
  bool all_one = false;
  T &operator[](tnk_int i) { return value[all_one ? 0 : static_cast<std::size_t>(i)]; }
};

template <class T> void axpby(tnk_int n, T alpha, Elements<T> &x, T beta, Elements<T> &y) {
  for (tnk_int i = 0; i < n; ++i) y[i] = add(multiply(alpha, x[i]), multiply(beta, y[i]));
}
template <class T> void axpy(tnk_int n, T alpha, Elements<T> &x, Elements<T> &y) {
  for (tnk_int i = 0; i < n; ++i) y[i] = add(y[i], multiply(alpha, x[i]));
}
template <class T> void copy(tnk_int n, Elements<T> &x, Elements<T> &y) {
  for (tnk_int i = 0; i < n; ++i) y[i] = x[i];
}
template <class T> void swap(tnk_int n, Elements<T> &x, Elements<T> &y) {
  for (tnk_int i = 0; i < n; ++i) std::swap(x[i], y[i]);
}
template <class T> void scale(tnk_int n, T alpha, Elements<T> &x) {
  for (tnk_int i = 0; i < n; ++i) x[i] = multiply(alpha, x[i]);
}
template <class R, class C> void scale_by_real(tnk_int n, R alpha, Elements<C> &x) {
  for (tnk_int i = 0; i < n; ++i) x[i] = C{alpha * x[i].re, alpha * x[i].im};
}

} // namespace tnk::reference
