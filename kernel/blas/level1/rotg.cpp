// Set-up of a plane rotation: c, s and r with (c s; -conj(s) c) (a, b) = (r, 0).
#include "kernel/frame/element.h"
#include <cmath>
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class R> struct Rotation { R c, s, r, z; };

template <class R> Rotation<R> rotation(R a, R b) {
  const R abs_a = std::fabs(a), abs_b = std::fabs(b);
  const R scale = abs_a + abs_b;
  if (scale == 0) return {1, 0, 0, 0};
  const R roe = abs_a > abs_b ? a : b, qa = a / scale, qb = b / scale;
  R r = scale * std::sqrt(qa * qa + qb * qb);
  if (roe < 0) r = -r;
  const R c = a / r, s = b / r;
  return {c, s, r, abs_a > abs_b ? s : c != 0 ? 1 / c : 1};
}

template <class R> void set_up(R *a, R *b, R *c, R *s) {
  const Rotation<R> found = rotation(get(a), get(b));
  put(c, found.c);
  put(s, found.s);
  put(a, found.r);
  put(b, found.z);
}

// |a| in the precision of its parts: single parts have room in double, double parts are scaled by the larger.
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

template <class C> struct ComplexRotation {
  real_of<C> c;
  C s, r;
};

template <class C> ComplexRotation<C> complex_rotation(C a, C b) {
  using R = real_of<C>;
  const double abs_a = magnitude(a), abs_b = magnitude(b);
  if (abs_a == 0) return {0, {1, 0}, b};
  const double scale = abs_a + abs_b, qa = abs_a / scale, qb = abs_b / scale;
  const double norm = scale * std::sqrt(qa * qa + qb * qb);
  const tnk_complex16 alpha = {a.re / abs_a, a.im / abs_a}; // direction of a
  const tnk_complex16 product = alpha * conjugate(tnk_complex16{b.re, b.im});
  return {static_cast<R>(abs_a / norm),
          {static_cast<R>(product.re / norm), static_cast<R>(product.im / norm)},
          {static_cast<R>(alpha.re * norm), static_cast<R>(alpha.im * norm)}};
}

template <class C> void set_up_complex(C *a, const C *b, real_of<C> *c, C *s) {
  const ComplexRotation<C> found = complex_rotation(get(a), get(b));
  put(c, found.c);
  put(s, found.s);
  put(a, found.r);
}

} // namespace
} // namespace tnk::level1

void tnk_blas_srotg(float *a, float *b, float *c, float *s) {
  tnk::level1::set_up(a, b, c, s);
}
void tnk_blas_drotg(double *a, double *b, double *c, double *s) {
  tnk::level1::set_up(a, b, c, s);
}
void tnk_blas_crotg(tnk_complex8 *a, const tnk_complex8 *b, float *c, tnk_complex8 *s) {
  tnk::level1::set_up_complex(a, b, c, s);
}
void tnk_blas_zrotg(tnk_complex16 *a, const tnk_complex16 *b, double *c, tnk_complex16 *s) {
  tnk::level1::set_up_complex(a, b, c, s);
}
