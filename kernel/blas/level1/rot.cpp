// Plane rotation: (x, y) := (c x + s y, c y - conj(s) x). Each product is rounded before the sum.
#include "kernel/blas/level1/pairs.h"
#include "kernel/frame/element.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

// V is the vector of the unit-stride loop. With real c and s it may hold numbers or parts of complex ones.
template <class V, class T>
void rotate(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy, real_of<T> c, real_of<T> s) {
  const auto step = [c, s](auto &u, auto &v) {
    const auto old = u;
    u = c * old + s * v;
    v = c * v - s * old;
  };
  if (incx == 1 && incy == 1)
    each_unit_pair<V>(n, x, y, step);
  else
    each_pair(n, x, incx, y, incy, step);
}

template <class C> void rotate_complex(tnk_int n, C *x, tnk_int incx, C *y, tnk_int incy, real_of<C> c, C s) {
  using V = vec_of<C>;
  const C sc = conjugate(s);
  const V s_re = splat<V>(s.re), s_im = splat<V>(s.im), sc_im = splat<V>(sc.im);
  const auto step = [=](auto &u, auto &v) {
    const auto old = u;
    if constexpr (std::is_same_v<decltype(u), C &>) {
      u = c * old + s * v;
      v = c * v - sc * old;
    } else {
      u = c * old + complex_product(s_re, s_im, v);
      v = c * v - complex_product(s_re, sc_im, old);
    }
  };
  if (incx == 1 && incy == 1)
    each_unit_pair<V>(n, x, y, step);
  else
    each_pair(n, x, incx, y, incy, step);
}

} // namespace
} // namespace tnk::level1

// The real rotations work with 128-bit vectors.
void tnk_blas_xsrot(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                    const float *c, const float *s) {
  tnk::level1::rotate<tnk::f32x4>(*n, x, *incx, y, *incy, tnk::get(c), tnk::get(s));
}
void tnk_blas_xdrot(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                    const double *c, const double *s) {
  tnk::level1::rotate<tnk::f64x2>(*n, x, *incx, y, *incy, tnk::get(c), tnk::get(s));
}
void tnk_blas_xcsrot(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                     const tnk_int *incy, const float *c, const float *s) {
  tnk::level1::rotate<tnk::f32x8>(*n, x, *incx, y, *incy, tnk::get(c), tnk::get(s));
}
void tnk_blas_xzdrot(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                     const tnk_int *incy, const double *c, const double *s) {
  tnk::level1::rotate<tnk::f64x4>(*n, x, *incx, y, *incy, tnk::get(c), tnk::get(s));
}
void tnk_blas_xcrot(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                    const tnk_int *incy, const float *c, const tnk_complex8 *s) {
  tnk::level1::rotate_complex(*n, x, *incx, y, *incy, tnk::get(c), tnk::get(s));
}
void tnk_blas_xzrot(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                    const tnk_int *incy, const double *c, const tnk_complex16 *s) {
  tnk::level1::rotate_complex(*n, x, *incx, y, *incy, tnk::get(c), tnk::get(s));
}
