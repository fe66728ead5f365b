// Oracles of operations that rewrite two vectors element by element, in the order of rounding that is
// promised: each product rounded, then one sum. Complex numbers are worked by their parts.
#pragma once

#include <array>
#include <tnk/types.h>
#include <type_traits>
#include <utility>

namespace tnk::reference {

template <class T> struct parts { using real = T; };
template <> struct parts<tnk_complex8> { using real = float; };
template <> struct parts<tnk_complex16> { using real = double; };
template <class T> using real_part_type = typename parts<T>::real;

template <class R> R times(R a, R b) {
  return a * b;
}
template <class R> R plus(R a, R b) {
  return a + b;
}
template <class R> R conj(R a) {
  return a;
}
#define TNK_COMPLEX_ORACLE(C, R)                                                                             \
  inline C times(C a, C b) {                                                                                 \
    return {R(a.re * b.re) - R(a.im * b.im), R(a.re * b.im) + R(a.im * b.re)};                               \
  }                                                                                                          \
  inline C times(R a, C b) {                                                                                 \
    return {a * b.re, a * b.im};                                                                             \
  }                                                                                                          \
  inline C plus(C a, C b) {                                                                                  \
    return {a.re + b.re, a.im + b.im};                                                                       \
  }                                                                                                          \
  inline C conj(C a) {                                                                                       \
    return {a.re, -a.im};                                                                                    \
  }
TNK_COMPLEX_ORACLE(tnk_complex8, float)
TNK_COMPLEX_ORACLE(tnk_complex16, double)
#undef TNK_COMPLEX_ORACLE

template <class T> T negative(T a) {
  if constexpr (std::is_floating_point_v<T>)
    return -a;
  else
    return {-a.re, -a.im};
}

// (c x + s y, c y - conj(s) x)
template <class T, class R, class S> std::pair<T, T> rotated(T x, T y, R c, S s) {
  return {plus(times(c, x), times(s, y)), plus(times(c, y), negative(times(conj(s), x)))};
}

// H (x, y) for param = { flag, h11, h21, h12, h22 }. A unit element is not multiplied, which cannot be seen.
template <class R> std::pair<R, R> transformed(R x, R y, std::array<R, 5> h) {
  if (h[0] == -2) return {x, y};
  if (h[0] == 0) h[1] = h[4] = 1;
  if (h[0] == 1) h[3] = 1, h[2] = -1;
  return {x * h[1] + y * h[3], x * h[2] + y * h[4]};
}

} // namespace tnk::reference
