// Masks of lanes: the start of a vector, for what is left of a row at its end, and those of comparisons.
#pragma once

#include "kernel/frame/vector.h"

namespace tnk {

using i64x2 = half<std::int64_t>;
using i32x4 = half<std::int32_t>;
using i32x8 = vec<std::int32_t>;

// ---- The start of a vector --------------------------------------------------------------------------------------

// Its first bytes, a multiple of 4 up to 32. What stands behind them in memory is neither read nor written, and need not
// exist.
struct vector_start {
  i32x8 lanes;
  int bytes;
};
// Of that many elements of T.
template <class T> inline vector_start start_of(std::int64_t count) {
  alignas(64) static constexpr std::int32_t lanes[16] = {-1, -1, -1, -1, -1, -1, -1, -1};
  const int bytes = static_cast<int>(count) * static_cast<int>(sizeof(T));
  return {loadu<i32x8>(lanes + 8 - bytes / 4), bytes};
}

// +0 in the other lanes.
template <class V> inline V load_first(const void *p, const vector_start &start) {
  return reinterpret_cast<V>(
      _mm256_maskload_ps(static_cast<const float *>(p), reinterpret_cast<__m256i>(start.lanes)));
}
// Of less than a whole vector. In pieces: a masked store is slow on some processors of the class, whatever its mask.
template <class V> inline void store_first(void *p, V v, const vector_start &start) {
  char *to = static_cast<char *>(p);
  const auto wide = reinterpret_cast<f64x4>(v);
  f64x2 part = low_half(wide);
  if (start.bytes & 16) {
    storeu(to, part);
    to += 16;
    part = high_half(wide);
  }
  if (start.bytes & 8) {
    storeu(to, part[0]);
    to += 8;
    part = swap_neighbours(part);
  }
  if (start.bytes & 4) storeu(to, reinterpret_cast<f32x4>(part)[0]);
}

// ---- Masks from integers --------------------------------------------------------------------------------------
// The class compares integers in 128 bits only. A mask has all bits of a lane set or none.

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

} // namespace tnk
