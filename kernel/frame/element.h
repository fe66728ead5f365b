// Elements: their types, complex arithmetic, and where they stand in memory.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <tnk/types.h>
#include <type_traits>

namespace tnk {

// ---- Types ------------------------------------------------------------------------------------------------------

// real_of<T>: the real type under T. is_complex<T>: whether T is a pair. complex<R>: the pair over R.
template <class T> struct element { using real = T; };
template <> struct element<tnk_complex8> { using real = float; };
template <> struct element<tnk_complex16> { using real = double; };
template <class T> using real_of = typename element<T>::real;
template <class T> constexpr bool is_complex = !std::is_same_v<T, real_of<T>>;
template <class R> using complex = std::conditional_t<std::is_same_v<R, float>, tnk_complex8, tnk_complex16>;

// ---- Arithmetic -------------------------------------------------------------------------------------------------
// Complex numbers are the public structures with operators. The order of the terms is part of the contract:
// (a + ib)(c + id) has the real part a*c - b*d and the imaginary part a*d + b*c, each product rounded before the sum.
// There is no recovery from overflow or from infinities.

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

// ---- Operations -------------------------------------------------------------------------------------------------

// What an option letter asks for; also the place of its copy in a descriptor of the product. Real types know no
// conjugation.
enum Operation { as_it_is = 0, transposed = 1, conjugate_transposed = 2 };

template <class T> inline Operation operation_of(const char *trans) {
  if (*trans == 'N' || *trans == 'n') return as_it_is;
  if (!is_complex<T> || *trans == 'T' || *trans == 't') return transposed;
  return conjugate_transposed;
}

// ---- Memory -----------------------------------------------------------------------------------------------------

inline std::uintptr_t address(const void *p) {
  return reinterpret_cast<std::uintptr_t>(p);
}
template <class T> inline bool is_aligned_to(const T *p, std::uintptr_t bytes) {
  return address(p) % bytes == 0;
}
// Whether p is a multiple of the real type's size. Vector paths that need a boundary under one operand, to which
// scalars bring it, ask for this; they leave other vectors to the strided path.
template <class T> inline bool is_element_aligned(const T *p) {
  return is_aligned_to(p, sizeof(real_of<T>));
}

// One element at an address that need not be a multiple of its size.
template <class T> inline T get(const T *p) {
  T x;
  std::memcpy(&x, p, sizeof x);
  return x;
}
template <class T> inline void put(T *p, T x) {
  std::memcpy(p, &x, sizeof x);
}

// Elements from p to the next boundary of that many bytes, at most n; 0 when no element stands on one, as with complex
// numbers that straddle them all.
template <int Bytes, class T>
inline tnk_int elements_to_boundary(const T *p, tnk_int n = std::numeric_limits<tnk_int>::max()) {
  if (!is_aligned_to(p, sizeof(T))) return 0;
  return std::min(static_cast<tnk_int>((0 - address(p)) % Bytes / sizeof(T)), n);
}

// ---- Strided vectors --------------------------------------------------------------------------------------------

// |inc|. The smallest integer, which has no counterpart, stays: it only ever meets the index 0.
inline tnk_int absolute(tnk_int inc) {
  return inc < 0 ? static_cast<tnk_int>(0 - static_cast<std::uint64_t>(inc)) : inc;
}

// Address of logical element 0 of n elements at increment inc: the base, or with a negative increment the far end,
// (1 - n) * inc elements after the base, from where the walk goes back to it.
template <class T> inline T *first_element(T *base, tnk_int n, tnk_int inc) {
  return inc < 0 ? base + (1 - n) * inc : base;
}

} // namespace tnk
