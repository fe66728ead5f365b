// The exact steps that this family is made of, and the numbers that they work on.
//
// u = 2^-53, round to nearest is assumed; the processor's control word is neither read nor set. V is a double or a
// vector of doubles, each lane of which goes through the very same operations.
//
// What happens at the edges is part of the steps: cutting a number of 2^997 or more overflows, so that its products are
// NaN though they may be finite, and so does every infinity; below 2^-969 the error of a product is no longer exact.
#pragma once

#include <tnk/types.h>

#if defined(__FAST_MATH__) || defined(__FMA__) || defined(__FMA4__) || __FLT_EVAL_METHOD__ != 0
#error "Each operation below must be rounded by itself, as it is written."
#endif

namespace tnk::xblas {

// An unevaluated sum, |tail| <= u |head|.
template <class V> struct Pair { V head, tail; };

// A number cut into halves of at most 26 bits, whose products are exact. Dekker, A floating-point technique for
// extending the available precision, Numerische Mathematik 18 (1971).
template <class V> struct Split { V value, high, low; };

template <class V> inline Split<V> split(V a) {
  const V t = a * 134217729.0; // 2^27 + 1
  const V high = t - (t - a);
  return {a, high, a - high};
}

// A number that came from single precision: products of two of them are exact in double precision.
template <class V> struct Narrow { V value; };

// The product of two numbers without error: head + tail is it (Dekker 1971).
template <class V> inline Pair<V> operator*(Split<V> a, Split<V> b) {
  const V p = a.value * b.value;
  return {p, ((a.high * b.high - p) + a.high * b.low + a.low * b.high) + a.low * b.low};
}
template <class V> inline Pair<V> operator*(Narrow<V> a, Narrow<V> b) {
  return {a.value * b.value, V{}};
}

// The sum of two pairs: two sums without error (Knuth, The Art of Computer Programming 2, 4.2.2), which are joined in two
// rounds. Relative error at most 3 u^2 + 13 u^3 (Li et al., Design, implementation and testing of extended and mixed
// precision BLAS, ACM TOMS 28 (2002); Joldes, Muller, Popescu, Tight and rigorous error bounds for basic building blocks
// of double-word arithmetic, ACM TOMS 44 (2017)). A tail of 0 goes through all of it.
template <class V> inline Pair<V> operator+(Pair<V> a, Pair<V> b) {
  const V s1 = a.head + b.head, sv = s1 - a.head;
  const V t1 = a.tail + b.tail, tv = t1 - a.tail;
  V s2 = (b.head - sv) + (a.head - (s1 - sv));
  const V t2 = (b.tail - tv) + (a.tail - (t1 - tv));
  s2 = s2 + t1;
  const V t = s1 + s2;
  s2 = s2 - (t - s1);
  s2 = s2 + t2;
  const V head = t + s2;
  return {head, s2 - (head - t)};
}
template <class V> inline Pair<V> operator-(Pair<V> a) {
  return {-a.head, -a.tail};
}

// A pair times a number. Relative error at most 2 u^2 (Li et al. 2002, Joldes et al. 2017).
template <class V> inline Pair<V> operator*(Pair<V> a, Split<V> b) {
  const Pair<V> product = split(a.head) * b;
  const V u = a.tail * b.value;
  const V s = product.head + u;
  const V e = (u - (s - product.head)) + product.tail;
  const V head = s + e;
  return {head, e - (head - s)};
}

// A quotient of pairs: a first quotient, what it leaves, a second quotient from that. Relative error at most 12 u^2: 2 from
// the first quotient's product with b; what it leaves is at most 3 u |a|, of which leaving out its own tail, leaving out
// the tail of b, and rounding take u each; the rest is of order u^3.
inline Pair<double> operator/(Pair<double> a, Pair<double> b) {
  const double q1 = a.head / b.head;
  const Pair<double> left = a + -(b * split(q1));
  const double q2 = left.head / b.head;
  const double head = q1 + q2;
  return {head, q2 - (head - q1)};
}

// ---- Complex numbers --------------------------------------------------------------------------------------------------
// Their parts are of any kind above or plain numbers. The real part of a product takes the second product negated, head and
// tail, and adds it as it adds everything.

template <class E> struct Complex { E re, im; };

template <class E, class F>
inline auto operator*(Complex<E> a, Complex<F> b) -> Complex<decltype(a.re * b.re)> {
  return {a.re * b.re + -(a.im * b.im), a.im * b.re + a.re * b.im};
}
template <class E, class F> inline auto operator*(Complex<E> a, F b) -> Complex<decltype(a.re * b)> {
  return {a.re * b, a.im * b};
}
template <class E, class F> inline auto operator*(E a, Complex<F> b) -> Complex<decltype(a * b.re)> {
  return {a * b.re, a * b.im};
}
template <class E> inline Complex<E> operator+(Complex<E> a, Complex<E> b) {
  return {a.re + b.re, a.im + b.im};
}
template <class E> inline Complex<E> operator-(Complex<E> a) {
  return {-a.re, -a.im};
}

} // namespace tnk::xblas
