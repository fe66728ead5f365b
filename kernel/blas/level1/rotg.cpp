// Set-up of a plane rotation: c, s and r with (c s; -conj(s) c) (a, b) = (r, 0).
#include "kernel/frame/complex.h"
#include <cmath>
#include <tnk/blas_level1.h>

namespace tnk {
namespace {

template <class R> void set_up(R &a, R &b, R &c, R &s) {
  const R abs_a = std::fabs(a), abs_b = std::fabs(b);
  const R scale = abs_a + abs_b;
  if (scale == 0) {
    c = 1;
    s = a = b = 0;
    return;
  }
  const R roe = abs_a > abs_b ? a : b, qa = a / scale, qb = b / scale;
  R r = scale * std::sqrt(qa * qa + qb * qb);
  if (roe < 0) r = -r;
  c = a / r;
  s = b / r;
  a = r;
  if (abs_a > abs_b)
    b = s;
  else
    b = c != 0 ? 1 / c : 1;
}

// |a| in the precision of its parts. Single parts have room in double; double parts are scaled by the larger
// one.
float magnitude(tnk_complex8 a) {
  const double re = a.re, im = a.im;
  return static_cast<float>(std::sqrt(re * re + im * im));
}
double magnitude(tnk_complex16 a) {
  const double re = std::fabs(a.re), im = std::fabs(a.im);
  const double large = re > im ? re : im, small = re > im ? im : re;
  if (large == 0 || std::isinf(large)) return large + small;
  const double q = small / large;
  return large * std::sqrt(1 + q * q);
}

template <class C> void set_up_complex(C &a, const C &b, real_of<C> &c, C &s) {
  using R = real_of<C>;
  const double abs_a = magnitude(a), abs_b = magnitude(b);
  if (abs_a == 0) {
    c = 0;
    s = {1, 0};
    a = b;
    return;
  }
  const double scale = abs_a + abs_b, qa = abs_a / scale, qb = abs_b / scale;
  const double norm = scale * std::sqrt(qa * qa + qb * qb);
  const tnk_complex16 alpha = {a.re / abs_a, a.im / abs_a}; // direction of a
  const tnk_complex16 product = alpha * conjugate(tnk_complex16{b.re, b.im});
  c = static_cast<R>(abs_a / norm);
  s = {static_cast<R>(product.re / norm), static_cast<R>(product.im / norm)};
  a = {static_cast<R>(alpha.re * norm), static_cast<R>(alpha.im * norm)};
}

} // namespace
} // namespace tnk

void tnk_blas_srotg(float *a, float *b, float *c, float *s) {
  tnk::set_up(*a, *b, *c, *s);
}
void tnk_blas_drotg(double *a, double *b, double *c, double *s) {
  tnk::set_up(*a, *b, *c, *s);
}
void tnk_blas_crotg(tnk_complex8 *a, const tnk_complex8 *b, float *c, tnk_complex8 *s) {
  tnk::set_up_complex(*a, *b, *c, *s);
}
void tnk_blas_zrotg(tnk_complex16 *a, const tnk_complex16 *b, double *c, tnk_complex16 *s) {
  tnk::set_up_complex(*a, *b, *c, *s);
}
