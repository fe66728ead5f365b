// Transposes of small blocks in registers: row r of the block becomes column r.
#pragma once

#include "kernel/frame/vector.h"

namespace tnk {

inline void transpose(f64x4 &r0, f64x4 &r1, f64x4 &r2, f64x4 &r3) {
  const f64x4 a = _mm256_unpacklo_pd(r0, r1), b = _mm256_unpackhi_pd(r0, r1);
  const f64x4 c = _mm256_unpacklo_pd(r2, r3), d = _mm256_unpackhi_pd(r2, r3);
  r0 = _mm256_permute2f128_pd(a, c, 0x20);
  r1 = _mm256_permute2f128_pd(b, d, 0x20);
  r2 = _mm256_permute2f128_pd(a, c, 0x31);
  r3 = _mm256_permute2f128_pd(b, d, 0x31);
}

// Four rows of four floats, in each half of the vectors a block of its own.
inline void transpose_halves(f32x8 &r0, f32x8 &r1, f32x8 &r2, f32x8 &r3) {
  const f32x8 a = _mm256_unpacklo_ps(r0, r1), b = _mm256_unpackhi_ps(r0, r1);
  const f32x8 c = _mm256_unpacklo_ps(r2, r3), d = _mm256_unpackhi_ps(r2, r3);
  r0 = _mm256_shuffle_ps(a, c, 0x44);
  r1 = _mm256_shuffle_ps(a, c, 0xEE);
  r2 = _mm256_shuffle_ps(b, d, 0x44);
  r3 = _mm256_shuffle_ps(b, d, 0xEE);
}

inline void transpose(f32x4 &r0, f32x4 &r1, f32x4 &r2, f32x4 &r3) {
  _MM_TRANSPOSE4_PS(r0, r1, r2, r3);
}

// Pairs of parts, columns by part: the first two rows' elements as re re im im, then those of the next two.
inline void transpose_by_part(f32x8 &r0, f32x8 &r1, f32x8 &r2, f32x8 &r3) {
  const f32x8 a02 = _mm256_unpacklo_ps(r0, r1), a13 = _mm256_unpackhi_ps(r0, r1);
  const f32x8 b02 = _mm256_unpacklo_ps(r2, r3), b13 = _mm256_unpackhi_ps(r2, r3);
  r0 = low_halves(a02, b02);
  r1 = low_halves(a13, b13);
  r2 = high_halves(a02, b02);
  r3 = high_halves(a13, b13);
}
inline void transpose_by_part(f64x4 &r0, f64x4 &r1) {
  const f64x4 re = _mm256_unpacklo_pd(r0, r1), im = _mm256_unpackhi_pd(r0, r1);
  r0 = low_halves(re, im);
  r1 = high_halves(re, im);
}

} // namespace tnk
