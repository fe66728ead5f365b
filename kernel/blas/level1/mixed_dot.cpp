// dsdot, sdsdot: inner products of single vectors in double precision. Each product is exact: 24 by 24 bits
// fit in 53.
#include "kernel/frame/unroll.h"
#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

// Elements 0 to 3 at an increment.
inline f32x4 four_at(const float *p, tnk_int inc) {
  return inc == 1 ? loadu<f32x4>(p) : f32x4{get(p), get(p + inc), get(p + 2 * inc), get(p + 3 * inc)};
}

inline double mixed_dot_scalar(double sum, tnk_int n, const float *x, tnk_int incx, const float *y,
                               tnk_int incy) {
  for (tnk_int i = 0; i < n; ++i, x += incx, y += incy)
    sum += static_cast<double>(get(x)) * static_cast<double>(get(y));
  return sum;
}

// Adds the products of whole blocks of 16 elements, one increment for both vectors. Inlined with it known and
// unknown.
TNK_INLINE double mixed_dot_blocks(tnk_int blocks, const float *x, const float *y, tnk_int inc) {
  f64x2 s[4] = {};
  for (; blocks > 0; --blocks, x += 16 * inc, y += 16 * inc)
    for (int k = 0; k < 4; ++k) {
      const f64x4 p = widen(four_at(x + 4 * k * inc, inc)) * widen(four_at(y + 4 * k * inc, inc));
      s[2 * (k % 2)] += low_half(p);
      s[2 * (k % 2) + 1] += high_half(p);
    }
  return hsum((s[0] + s[1]) + (s[2] + s[3]));
}

double mixed_dot_vector(double start, tnk_int n, const float *x, const float *y, tnk_int inc) {
  const tnk_int blocks = n / 16, body = 16 * blocks;
  const double middle = inc == 1 ? mixed_dot_blocks(blocks, x, y, 1) : mixed_dot_blocks(blocks, x, y, inc);
  return mixed_dot_scalar(start, n - body, x + body * inc, inc, y + body * inc, inc) + middle;
}

double mixed_dot(double start, tnk_int n, const float *x, tnk_int incx, const float *y, tnk_int incy) {
  if (n < 1) return start;
  if (incx == incy && incx > 0) return mixed_dot_vector(start, n, x, y, incx);
  return mixed_dot_scalar(start, n, first_element(x, n, incx), incx, first_element(y, n, incy), incy);
}

} // namespace
} // namespace tnk::level1

double tnk_blas_dsdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                      const tnk_int *incy) {
  return tnk::level1::mixed_dot(0, *n, x, *incx, y, *incy);
}

float tnk_blas_sdsdot(const tnk_int *n, const float *sb, const float *x, const tnk_int *incx, const float *y,
                      const tnk_int *incy) {
  return static_cast<float>(
      tnk::level1::mixed_dot(static_cast<double>(tnk::get(sb)), *n, x, *incx, y, *incy));
}
