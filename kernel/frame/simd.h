// Vector types of the AVX class, and the few operations that the compiler's vector extension lacks. Arithmetic on
// them is written with + - * /. Besides this header, raw intrinsics stand in micro-kernels only.
#pragma once

#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace tnk {

template <class T, int Bytes> struct vector_type { typedef T type __attribute__((vector_size(Bytes))); };
template <class T> using vec = typename vector_type<T, 32>::type;  // 8 floats or 4 doubles
template <class T> using half = typename vector_type<T, 16>::type; // 4 floats or 2 doubles
using f32x8 = vec<float>;
using f64x4 = vec<double>;
using f32x4 = half<float>;
using f64x2 = half<double>;

template <class T> constexpr int lanes = 32 / static_cast<int>(sizeof(T));
template <class T> constexpr int half_lanes = 16 / static_cast<int>(sizeof(T));

// ---- Addresses ----------------------------------------------------------------------------------------------

inline std::uintptr_t address(const void *p) {
  return reinterpret_cast<std::uintptr_t>(p);
}
template <class T> inline bool is_aligned_to(const T *p, std::uintptr_t bytes) {
  return address(p) % bytes == 0;
}

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
// The first lanes of a vector, others 0: memory behind the other lanes is not touched and need not exist.
struct lane_mask {
  __m256i bits;
};
// The lanes of the first `count` elements of T, at most 32 bytes of them.
template <class T> inline lane_mask first_lanes(std::int64_t count) {
  static constexpr std::int32_t bits[16] = {-1, -1, -1, -1, -1, -1, -1, -1};
  const auto words = static_cast<std::int64_t>(sizeof(T) / sizeof *bits) * count;
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i_u *>(bits + 8 - words))};
}
inline f64x4 loadu_masked(const double *p, lane_mask mask) {
  return _mm256_maskload_pd(p, mask.bits);
}
inline f32x8 loadu_masked(const float *p, lane_mask mask) {
  return _mm256_maskload_ps(p, mask.bits);
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
template <class... V> inline void end_step(V &...accumulators) {
  const auto up_to_date = [](auto &v) { asm volatile("" : "+x"(v)); };
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

// Lanes with the sign cleared.
inline f64x4 magnitude(f64x4 v) {
  return _mm256_andnot_pd(_mm256_set1_pd(-0.0), v);
}
inline f32x8 magnitude(f32x8 v) {
  return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), v);
}

// ---- Masks from integers --------------------------------------------------------------------------------------
// The class compares integers in 128 bits only. A mask has all bits of a lane set or none.

using i64x2 = half<std::int64_t>;
using i32x4 = half<std::int32_t>;

// The masks of four 64-bit lanes as those of four 32-bit lanes.
inline i32x4 narrow_masks(i64x2 low, i64x2 high) {
  return reinterpret_cast<i32x4>(
      _mm_shuffle_ps(reinterpret_cast<__m128>(low), reinterpret_cast<__m128>(high), _MM_SHUFFLE(2, 0, 2, 0)));
}
// The first or the last two of four 32-bit masks as masks of 64-bit lanes.
inline i64x2 widen_low_masks(i32x4 mask) {
  return reinterpret_cast<i64x2>(
      _mm_unpacklo_epi32(reinterpret_cast<__m128i>(mask), reinterpret_cast<__m128i>(mask)));
}
inline i64x2 widen_high_masks(i32x4 mask) {
  return reinterpret_cast<i64x2>(
      _mm_unpackhi_epi32(reinterpret_cast<__m128i>(mask), reinterpret_cast<__m128i>(mask)));
}
// Bit k is set where lane k of the mask is.
inline unsigned lane_bits(i32x4 mask) {
  return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(mask)));
}
// v where the mask is set, +0 elsewhere, whatever v has there.
template <class V, class M> inline V masked(V v, M mask) {
  return reinterpret_cast<V>(reinterpret_cast<i64x2>(v) & reinterpret_cast<i64x2>(mask));
}

// ---- The start of a vector --------------------------------------------------------------------------------------
// For what is left of a row at its end: the first bytes of a vector, a multiple of 4 below 32. What stands behind them
// is neither read nor written.

using i32x8 = vec<std::int32_t>;

inline i32x8 first_bytes(int bytes) {
  return f32x8{0, 1, 2, 3, 4, 5, 6, 7} < static_cast<float>(bytes / 4);
}
// +0 in the lanes outside the mask.
template <class V> inline V load_first(const void *p, i32x8 mask) {
  return reinterpret_cast<V>(
      _mm256_maskload_ps(static_cast<const float *>(p), reinterpret_cast<__m256i>(mask)));
}
// In pieces: a masked store is slow on some processors of the class, whatever its mask.
template <class V> inline void store_first(void *p, V v, int bytes) {
  char *to = static_cast<char *>(p);
  const auto wide = reinterpret_cast<f64x4>(v);
  f64x2 part = low_half(wide);
  if (bytes & 16) {
    storeu(to, part);
    to += 16;
    part = high_half(wide);
  }
  if (bytes & 8) {
    storeu(to, part[0]);
    to += 8;
    part = swap_neighbours(part);
  }
  if (bytes & 4) storeu(to, reinterpret_cast<f32x4>(part)[0]);
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

// (re + i im) times each pair of x; re and im fill their vectors. The order of terms is that of complex.h: real part
// re*x.re - im*x.im, imaginary part re*x.im + im*x.re.
template <class V> inline V complex_product(V re, V im, V x) {
  return addsub(re * x, im * swap_neighbours(x));
}

} // namespace tnk
