// Complex numbers in registers, by part: a vector of real parts and one of imaginary parts. Multiplying by i then costs
// nothing, a product needs no shuffle, and a body written for one number serves a register of them.
//
// V is float, double, or a vector of these: so tails and short transforms are the same templates over scalars. Direction
// is no business of the arithmetic: an inverse transform is the forward one of numbers whose parts are exchanged, its
// result exchanged again.
#pragma once

#include "kernel/frame/vector.h"

namespace tnk::signal {

// ---- Types ------------------------------------------------------------------------------------------------------

template <class V> struct vector_traits {
  using lane = V;
  static constexpr int lanes = 1;
};
template <> struct vector_traits<f64x4> {
  using lane = double;
  static constexpr int lanes = 4;
};
template <> struct vector_traits<f64x2> {
  using lane = double;
  static constexpr int lanes = 2;
};
template <> struct vector_traits<f32x8> {
  using lane = float;
  static constexpr int lanes = 8;
};
template <> struct vector_traits<f32x4> {
  using lane = float;
  static constexpr int lanes = 4;
};
template <class V> using lane_of = typename vector_traits<V>::lane;
template <class V> constexpr int lanes = vector_traits<V>::lanes;

template <class V> struct cvec { V re, im; };

// ---- Arithmetic -------------------------------------------------------------------------------------------------

template <class V> inline cvec<V> operator+(cvec<V> a, cvec<V> b) {
  return {a.re + b.re, a.im + b.im};
}
template <class V> inline cvec<V> operator-(cvec<V> a, cvec<V> b) {
  return {a.re - b.re, a.im - b.im};
}
template <class V> inline cvec<V> operator*(cvec<V> a, cvec<V> b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class V> inline cvec<V> operator*(lane_of<V> a, cvec<V> b) {
  return {a * b.re, a * b.im};
}
// a + i b and a - i b.
template <class V> inline cvec<V> plus_i(cvec<V> a, cvec<V> b) {
  return {a.re - b.im, a.im + b.re};
}
template <class V> inline cvec<V> minus_i(cvec<V> a, cvec<V> b) {
  return {a.re + b.im, a.im - b.re};
}
// conj(a) times b.
template <class V> inline cvec<V> conj_times(cvec<V> a, cvec<V> b) {
  return {a.re * b.re + a.im * b.im, a.re * b.im - a.im * b.re};
}
// Both parts exchanged when Swap is set, that is i conj(z): on the way in and on the way out of an inverse transform.
template <bool Swap = true, class V> inline cvec<V> swapped(cvec<V> z) {
  if constexpr (Swap)
    return {z.im, z.re};
  else
    return z;
}

// ---- Loads and stores -----------------------------------------------------------------------------------------
// At any address. With complex arrays the parts are dealt out by one shuffle a register, which leaves the lanes of whole
// registers in another order: lane j holds element packed_order<V>[j]. Tables that meet such lanes are laid out in this
// order; load and store undo one another.

template <class V> constexpr int packed_order[8] = {0, 1, 2, 3, 4, 5, 6, 7};
template <> inline constexpr int packed_order<f64x4>[8] = {0, 2, 1, 3};
template <> inline constexpr int packed_order<f32x8>[8] = {0, 1, 4, 5, 2, 3, 6, 7};

// The even lanes of both, within halves, and the odd ones.
inline f64x4 even_lanes(f64x4 a, f64x4 b) {
  return _mm256_unpacklo_pd(a, b);
}
inline f64x4 odd_lanes(f64x4 a, f64x4 b) {
  return _mm256_unpackhi_pd(a, b);
}
inline f64x2 even_lanes(f64x2 a, f64x2 b) {
  return _mm_unpacklo_pd(a, b);
}
inline f64x2 odd_lanes(f64x2 a, f64x2 b) {
  return _mm_unpackhi_pd(a, b);
}
inline f32x8 even_lanes(f32x8 a, f32x8 b) {
  return _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
}
inline f32x8 odd_lanes(f32x8 a, f32x8 b) {
  return _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}
inline f32x4 even_lanes(f32x4 a, f32x4 b) {
  return _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
}
inline f32x4 odd_lanes(f32x4 a, f32x4 b) {
  return _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}

// Lanes of a and b in turn, within halves: the lower ones and the upper ones.
inline f64x4 low_in_turn(f64x4 a, f64x4 b) {
  return _mm256_unpacklo_pd(a, b);
}
inline f64x4 high_in_turn(f64x4 a, f64x4 b) {
  return _mm256_unpackhi_pd(a, b);
}
inline f64x2 low_in_turn(f64x2 a, f64x2 b) {
  return _mm_unpacklo_pd(a, b);
}
inline f64x2 high_in_turn(f64x2 a, f64x2 b) {
  return _mm_unpackhi_pd(a, b);
}
inline f32x8 low_in_turn(f32x8 a, f32x8 b) {
  return _mm256_unpacklo_ps(a, b);
}
inline f32x8 high_in_turn(f32x8 a, f32x8 b) {
  return _mm256_unpackhi_ps(a, b);
}
inline f32x4 low_in_turn(f32x4 a, f32x4 b) {
  return _mm_unpacklo_ps(a, b);
}
inline f32x4 high_in_turn(f32x4 a, f32x4 b) {
  return _mm_unpackhi_ps(a, b);
}

// lanes<V> neighbours of a complex array; p is the real part of the first.
template <class V> inline cvec<V> load_packed(const lane_of<V> *p) {
  if constexpr (lanes<V> == 1) {
    return {get(p), get(p + 1)};
  } else {
    const V low = loadu<V>(p), high = loadu<V>(p + lanes<V>);
    return {even_lanes(low, high), odd_lanes(low, high)};
  }
}
template <class V> inline void store_packed(lane_of<V> *p, cvec<V> z) {
  if constexpr (lanes<V> == 1) {
    put(p, z.re);
    put(p + 1, z.im);
  } else {
    storeu(p, low_in_turn(z.re, z.im));
    storeu(p + lanes<V>, high_in_turn(z.re, z.im));
  }
}

// The same of arrays by part, or of a block of real parts with a block of imaginary parts behind it; lanes in order.
template <class V> inline cvec<V> load_parts(const lane_of<V> *re, const lane_of<V> *im) {
  return {loadu<V>(re), loadu<V>(im)};
}
template <class V> inline void store_parts(lane_of<V> *re, lane_of<V> *im, cvec<V> z) {
  storeu(re, z.re);
  storeu(im, z.im);
}

} // namespace tnk::signal
