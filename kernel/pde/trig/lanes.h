// Lanes of a row that is walked from both ends, and of tables of pairs.
#pragma once

#include "kernel/frame/unroll.h"
#include "kernel/frame/vector.h"

namespace tnk::pde {

template <class T> constexpr tnk_int width = per_vector<T>;

inline f64x4 reversed(f64x4 v) {
  return swap_neighbours(swap_halves(v));
}
inline f32x8 reversed(f32x8 v) {
  return _mm256_permute_ps(swap_halves(v), _MM_SHUFFLE(0, 1, 2, 3));
}

// Even lanes of one vector, odd lanes of the other.
inline f64x4 even_and_odd(f64x4 even, f64x4 odd) {
  return blended<0xA>(even, odd);
}
inline f32x8 even_and_odd(f32x8 even, f32x8 odd) {
  return blended<0xAA>(even, odd);
}
inline f64x2 even_and_odd(f64x2 even, f64x2 odd) {
  return _mm_blend_pd(even, odd, 2);
}
inline f32x4 even_and_odd(f32x4 even, f32x4 odd) {
  return _mm_blend_ps(even, odd, 0xA);
}

// ---- Pairs, many and one at a time ----------------------------------------------------------------------------------

template <class T> struct Pairs {
  using V = vec<T>;
  static constexpr tnk_int count = per_vector<T> / 2;
  static V load(const T *p) { return loadu<V>(p); }
  static void store(T *p, V v) { storeu(p, v); }
};
template <class T> struct Pair {
  using V = half<T>;
  static constexpr tnk_int count = 1;
  static V load(const T *p) { return load_pair(p); }
  static void store(T *p, V v) { store_pair(p, v); }
};

// step(Pairs or Pair, first of them) for pairs begin ... end - 1, from either end.
template <class T, class F> void each_up(tnk_int begin, tnk_int end, const F &step) {
  for (; begin + Pairs<T>::count <= end; begin += Pairs<T>::count) step(Pairs<T>(), begin);
  for (; begin < end; ++begin) step(Pair<T>(), begin);
}
template <class T, class F> void each_down(tnk_int begin, tnk_int end, const F &step) {
  while (end - Pairs<T>::count >= begin) step(Pairs<T>(), end -= Pairs<T>::count);
  while (end > begin) step(Pair<T>(), --end);
}

// Each pair plus all pairs below it, or above it.
inline f64x2 sums_up(f64x2 v) {
  return v;
}
inline f32x4 sums_up(f32x4 v) {
  return v;
}
inline f64x4 sums_up(f64x4 v) {
  return v + joined(f64x2{}, low_half(v));
}
inline f32x8 sums_up(f32x8 v) {
  const auto shifted = reinterpret_cast<f32x8>(_mm256_unpacklo_pd(f64x4{}, reinterpret_cast<f64x4>(v)));
  const f32x8 w = v + shifted;
  return w + joined(f32x4{}, _mm_movehl_ps(low_half(w), low_half(w)));
}
inline f64x2 sums_down(f64x2 v) {
  return v;
}
inline f32x4 sums_down(f32x4 v) {
  return v;
}
inline f64x4 sums_down(f64x4 v) {
  return v + joined(high_half(v), f64x2{});
}
inline f32x8 sums_down(f32x8 v) {
  const auto shifted = reinterpret_cast<f32x8>(_mm256_unpackhi_pd(reinterpret_cast<f64x4>(v), f64x4{}));
  const f32x8 w = v + shifted;
  return w + joined(_mm_movelh_ps(high_half(w), high_half(w)), f32x4{});
}
// Each pair in the place of the one below it, the lowest lost, the highest 0.
inline f64x2 one_down(f64x2) {
  return f64x2{};
}
inline f32x4 one_down(f32x4) {
  return f32x4{};
}
inline f64x4 one_down(f64x4 v) {
  return joined(high_half(v), f64x2{});
}
inline f32x8 one_down(f32x8 v) {
  const f32x8 w = joined(high_half(v), f32x4{});
  return reinterpret_cast<f32x8>(
      _mm256_shuffle_pd(reinterpret_cast<f64x4>(v), reinterpret_cast<f64x4>(w), 0x5));
}

// ---- Tables -----------------------------------------------------------------------------------------------------------

// Cosines and sines from neighbouring pairs of them.
inline void load_apart(const double *pairs, f64x4 &c, f64x4 &s) {
  const f64x4 p = loadu<f64x4>(pairs), q = loadu<f64x4>(pairs + 4);
  const f64x4 a = low_halves(p, q), b = high_halves(p, q);
  c = _mm256_unpacklo_pd(a, b), s = _mm256_unpackhi_pd(a, b);
}
inline void load_apart(const float *pairs, f32x8 &c, f32x8 &s) {
  const f32x8 p = loadu<f32x8>(pairs), q = loadu<f32x8>(pairs + 8);
  const f32x8 a = low_halves(p, q), b = high_halves(p, q);
  c = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)), s = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}

inline bool any_zero(double x) {
  return x == 0;
}
inline bool any_zero(float x) {
  return x == 0;
}
inline bool any_zero(f64x4 v) {
  return _mm256_movemask_pd(_mm256_cmp_pd(v, f64x4{}, _CMP_EQ_OQ)) != 0;
}
inline bool any_zero(f32x8 v) {
  return _mm256_movemask_ps(_mm256_cmp_ps(v, f32x8{}, _CMP_EQ_OQ)) != 0;
}

} // namespace tnk::pde
