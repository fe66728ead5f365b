// Vectors of the AVX class: their types, loads and stores, lanes, and the few operations that the compiler's vector
// extension lacks. Arithmetic on them is written with + - * /. Raw intrinsics stand in the headers of this folder and in
// micro-kernels only.
#pragma once

#include "kernel/frame/element.h"
#include <immintrin.h>

namespace tnk {

// ---- Types ------------------------------------------------------------------------------------------------------

template <class T, int Bytes> struct vector_type { typedef T type __attribute__((vector_size(Bytes))); };
template <class T> using vec = typename vector_type<T, 32>::type;  // 8 floats or 4 doubles
template <class T> using half = typename vector_type<T, 16>::type; // 4 floats or 2 doubles
using f32x8 = vec<float>;
using f64x4 = vec<double>;
using f32x4 = half<float>;
using f64x2 = half<double>;

template <class T> using quad = typename vector_type<T, 4 * sizeof(T)>::type; // four values

// A vector of elements; a complex one takes two lanes, its real part and its imaginary part. per_vector and per_half:
// how many elements it holds, a complex one counted once.
template <class T> using vec_of = vec<real_of<T>>;
template <class T> using half_of = half<real_of<T>>;
template <class T> constexpr int per_vector = 32 / static_cast<int>(sizeof(T));
template <class T> constexpr int per_half = 16 / static_cast<int>(sizeof(T));

// ---- Loads and stores -----------------------------------------------------------------------------------------
// load and store need V's own alignment, loadu and storeu none at all.

template <class V, class T> inline V load(const T *p) {
  return *static_cast<const V *>(__builtin_assume_aligned(p, sizeof(V)));
}
template <class V, class T> inline void store(T *p, V v) {
  *static_cast<V *>(__builtin_assume_aligned(p, sizeof(V))) = v;
}
template <class V, class T> inline V loadu(const T *p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class V, class T> inline void storeu(T *p, V v) {
  std::memcpy(p, &v, sizeof v);
}
template <class V, class T> inline V splat(T x) {
  return x - V{}; // x - 0, not 0 + x: keeps the sign of a zero
}

// The same value, in a register: what is loaded once and used twice is not loaded a second time as the memory operand
// of its second use. Load ports are what bounds a stream.
template <class V> inline V in_register(V v) {
  asm("" : "+x"(v));
  return v;
}

// Ends a step of a loop that is unrolled over several accumulators: all of them are up to date here. Otherwise the
// compiler finishes one after the other, over all unrolled steps, and spills the operands that the next ones need.
template <class... V> inline __attribute__((always_inline)) void end_step(V &...accumulators) {
  const auto up_to_date = [](auto &v) __attribute__((always_inline)) {
    asm volatile("" : "+x"(v));
  };
  (up_to_date(accumulators), ...);
}

// ---- Lanes ----------------------------------------------------------------------------------------------------

// a1 a0 a3 a2 ...: for pairs of parts, real and imaginary exchanged.
inline f64x4 swap_neighbours(f64x4 v) {
  return _mm256_permute_pd(v, 5);
}
inline f32x8 swap_neighbours(f32x8 v) {
  return _mm256_permute_ps(v, 0xB1);
}
inline f64x2 swap_neighbours(f64x2 v) {
  return _mm_shuffle_pd(v, v, 1);
}
inline f32x4 swap_neighbours(f32x4 v) {
  return _mm_shuffle_ps(v, v, 0xB1);
}

// a2 a3 a0 a1 in each half.
inline f32x8 swap_pairs(f32x8 v) {
  return _mm256_permute_ps(v, _MM_SHUFFLE(1, 0, 3, 2));
}

// The two 128-bit halves exchanged.
inline f64x4 swap_halves(f64x4 v) {
  return _mm256_permute2f128_pd(v, v, 1);
}
inline f32x8 swap_halves(f32x8 v) {
  return _mm256_permute2f128_ps(v, v, 1);
}

inline f64x2 low_half(f64x4 v) {
  return _mm256_castpd256_pd128(v);
}
inline f32x4 low_half(f32x8 v) {
  return _mm256_castps256_ps128(v);
}
inline f64x2 high_half(f64x4 v) {
  return _mm256_extractf128_pd(v, 1);
}
inline f32x4 high_half(f32x8 v) {
  return _mm256_extractf128_ps(v, 1);
}

inline f64x4 joined(f64x2 low, f64x2 high) {
  return _mm256_set_m128d(high, low);
}
inline f32x8 joined(f32x4 low, f32x4 high) {
  return _mm256_set_m128(high, low);
}

// Lanes K ... K+3 of the eight lanes low, high.
template <int K> inline f32x4 shifted_down(f32x4 low, f32x4 high) {
  return _mm_castsi128_ps(_mm_alignr_epi8(_mm_castps_si128(high), _mm_castps_si128(low), 4 * K));
}

// The low or the high halves of both, a's below b's.
inline f64x4 low_halves(f64x4 a, f64x4 b) {
  return _mm256_permute2f128_pd(a, b, 0x20);
}
inline f32x8 low_halves(f32x8 a, f32x8 b) {
  return _mm256_permute2f128_ps(a, b, 0x20);
}
inline f64x4 high_halves(f64x4 a, f64x4 b) {
  return _mm256_permute2f128_pd(a, b, 0x31);
}
inline f32x8 high_halves(f32x8 a, f32x8 b) {
  return _mm256_permute2f128_ps(a, b, 0x31);
}

// Lane k of b where bit k of Bits is set, of a elsewhere.
template <int Bits> inline f64x4 blended(f64x4 a, f64x4 b) {
  return _mm256_blend_pd(a, b, Bits);
}
template <int Bits> inline f32x8 blended(f32x8 a, f32x8 b) {
  return _mm256_blend_ps(a, b, Bits);
}

// Four floats as doubles.
inline f64x4 widen(f32x4 v) {
  return _mm256_cvtps_pd(v);
}

// a0 a0 a2 a2 ...: for pairs of parts, each real part twice; then the same of the imaginary parts.
inline f64x4 even_lanes_twice(f64x4 v) {
  return _mm256_movedup_pd(v);
}
inline f32x8 even_lanes_twice(f32x8 v) {
  return _mm256_moveldup_ps(v);
}
inline f64x2 even_lanes_twice(f64x2 v) {
  return _mm_movedup_pd(v);
}
inline f32x4 even_lanes_twice(f32x4 v) {
  return _mm_moveldup_ps(v);
}
inline f64x4 odd_lanes_twice(f64x4 v) {
  return _mm256_permute_pd(v, 15);
}
inline f32x8 odd_lanes_twice(f32x8 v) {
  return _mm256_movehdup_ps(v);
}
inline f64x2 odd_lanes_twice(f64x2 v) {
  return _mm_unpackhi_pd(v, v);
}
inline f32x4 odd_lanes_twice(f32x4 v) {
  return _mm_movehdup_ps(v);
}

// Sum of the lanes: the halves are added first, then neighbours.
inline double hsum(f64x2 v) {
  return v[0] + v[1];
}
inline float hsum(f32x4 v) {
  return (v[0] + v[2]) + (v[1] + v[3]);
}
inline double hsum(f64x4 v) {
  return hsum(low_half(v) + high_half(v));
}
inline float hsum(f32x8 v) {
  return hsum(low_half(v) + high_half(v));
}

// Sum of the elements: the halves are added first.
template <class T> inline T sum_of_elements(vec_of<T> v) {
  if constexpr (is_complex<T>) {
    const half_of<T> pairs = low_half(v) + high_half(v);
    if constexpr (per_half<T> == 2)
      return {pairs[0] + pairs[2], pairs[1] + pairs[3]};
    else
      return {pairs[0], pairs[1]};
  } else {
    return hsum(v);
  }
}

// Lanes with the sign cleared.
inline f64x4 magnitude(f64x4 v) {
  return _mm256_andnot_pd(_mm256_set1_pd(-0.0), v);
}
inline f32x8 magnitude(f32x8 v) {
  return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), v);
}
inline f32x4 magnitude(f32x4 v) {
  return _mm_andnot_ps(_mm_set1_ps(-0.0f), v);
}

// ---- Complex --------------------------------------------------------------------------------------------------

// One pair of parts at any address, in a 128-bit vector; a pair of floats fills the lower half, with zeros above.
// Loaded and stored whole: in two scalars a pair of floats would go through integer registers.
inline f64x2 load_pair(const double *p) {
  return loadu<f64x2>(p);
}
inline f32x4 load_pair(const float *p) {
  return _mm_castpd_ps(f64x2{get(reinterpret_cast<const double *>(p)), 0});
}
inline void store_pair(double *p, f64x2 v) {
  storeu(p, v);
}
inline void store_pair(float *p, f32x4 v) {
  put(reinterpret_cast<double *>(p), _mm_castps_pd(v)[0]);
}
// The pair at p, and above it the one at q.
inline f64x4 load_pairs(const double *p, const double *q) {
  return joined(loadu<f64x2>(p), loadu<f64x2>(q));
}
inline f32x4 load_pairs(const float *p, const float *q) {
  return _mm_castpd_ps(
      f64x2{get(reinterpret_cast<const double *>(p)), get(reinterpret_cast<const double *>(q))});
}

// Neighbouring pairs of parts from p on, each two of them by part: re re im im.
inline f64x4 load_by_part(const double *p) {
  const f64x2 *const pairs = reinterpret_cast<const f64x2 *>(p);
  return _mm256_shuffle_pd(_mm256_broadcast_pd(pairs), _mm256_broadcast_pd(pairs + 1), 0xC);
}
inline f32x8 load_by_part(const float *p) {
  return _mm256_permute_ps(loadu<f32x8>(p), _MM_SHUFFLE(3, 1, 2, 0));
}

// a - b in even lanes, a + b in odd ones.
inline f64x4 addsub(f64x4 a, f64x4 b) {
  return _mm256_addsub_pd(a, b);
}
inline f32x8 addsub(f32x8 a, f32x8 b) {
  return _mm256_addsub_ps(a, b);
}
inline f64x2 addsub(f64x2 a, f64x2 b) {
  return _mm_addsub_pd(a, b);
}
inline f32x4 addsub(f32x4 a, f32x4 b) {
  return _mm_addsub_ps(a, b);
}

// (re + i im) times each pair of x; re and im fill their vectors. The order of terms is that of element.h: real part
// re*x.re - im*x.im, imaginary part re*x.im + im*x.re.
template <class V> inline V complex_product(V re, V im, V x) {
  return addsub(re * x, im * swap_neighbours(x));
}

// ---- Products of elements -----------------------------------------------------------------------------------------

// alpha times x: an element, or each element of a vector.
template <class T, class X> inline X scaled(T alpha, X x) {
  if constexpr (is_complex<T> && !std::is_same_v<X, T>)
    return complex_product(splat<X>(alpha.re), splat<X>(alpha.im), x);
  else
    return alpha * x;
}

// Vectors of elements of T: a times b, or conjugate(a) times b, element by element.
template <class T, bool Conj = false, class V> inline V times(V a, V b) {
  if constexpr (is_complex<T>) {
    const V im = odd_lanes_twice(a);
    return complex_product(even_lanes_twice(a), Conj ? V{} - im : im, b);
  } else {
    return a * b;
  }
}

} // namespace tnk
