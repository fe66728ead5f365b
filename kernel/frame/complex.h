// Complex scalars of the kernels: the public structures with the four operations.
//
// The order of the terms is part of the contract: (a + ib)(c + id) has the real part a*c - b*d and the imaginary
// part a*d + b*c, each product rounded before the sum. There is no recovery from overflow or from infinities.
#pragma once

#include <cmath>
#include <tnk/types.h>
#include <type_traits>

namespace tnk {

// real_of<T>: the real type under T. is_complex<T>: whether T is a pair. complex<R>: the pair over R.
template <class T> struct element { using real = T; };
template <> struct element<tnk_complex8> { using real = float; };
template <> struct element<tnk_complex16> { using real = double; };
template <class T> using real_of = typename element<T>::real;
template <class T> constexpr bool is_complex = !std::is_same_v<T, real_of<T>>;
template <class R> using complex = std::conditional_t<std::is_same_v<R, float>, tnk_complex8, tnk_complex16>;

template <class C> using if_complex = std::enable_if_t<is_complex<C>, C>;

template <class C> inline if_complex<C> operator+(C a, C b) {
  return {a.re + b.re, a.im + b.im};
}
template <class C> inline if_complex<C> operator-(C a, C b) {
  return {a.re - b.re, a.im - b.im};
}
template <class C> inline if_complex<C> operator*(C a, C b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class C> inline if_complex<C> operator*(real_of<C> a, C b) {
  return {a * b.re, a * b.im};
}
template <class C> inline if_complex<C> &operator+=(C &a, C b) {
  return a = a + b;
}

// Conjugate; the identity on reals. The imaginary part is 0 - im, so that of a real number stays +0.
template <class T> inline T conjugate(T a) {
  if constexpr (is_complex<T>)
    return {a.re, 0 - a.im};
  else
    return a;
}

// |a|, for complex numbers |re| + |im|. Only sign bits are cleared: a NaN stays one.
template <class T> inline real_of<T> abs1(T a) {
  if constexpr (is_complex<T>)
    return std::fabs(a.re) + std::fabs(a.im);
  else
    return std::fabs(a);
}

// Whether both parts are zero. False for a NaN.
template <class T> inline bool is_zero(T a) {
  if constexpr (is_complex<T>)
    return a.re == 0 && a.im == 0;
  else
    return a == 0;
}

// One, and whether a is it: with an imaginary part of zero. False for a NaN.
template <class T>
constexpr T one = [] {
  if constexpr (is_complex<T>)
    return T{1, 0};
  else
    return T(1);
}();
template <class T> inline bool is_one(T a) {
  if constexpr (is_complex<T>)
    return a.re == 1 && a.im == 0;
  else
    return a == 1;
}

} // namespace tnk
