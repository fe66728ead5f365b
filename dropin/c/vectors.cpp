// The C face: vectors. There is nothing to check, so it is the Fortran face with integers by value.
#include "dropin/largest.h"
#include "dropin/norm.h"
#include "dropin/rotation.h"

using namespace tnk::dropin;

TNK_BEGIN_DECLS

#define TNK_FACE(t, T, S)                                                                                    \
  void cblas_##t##axpy(Int n, S alpha, const T *x, Int incx, T *y, Int incy) {                               \
    behind().x##t##axpy(wide(n), at(alpha), x, wide(incx), y, wide(incy));                                   \
  }                                                                                                          \
  void cblas_##t##copy(Int n, const T *x, Int incx, T *y, Int incy) {                                        \
    behind().x##t##copy(wide(n), x, wide(incx), y, wide(incy));                                              \
  }                                                                                                          \
  void cblas_##t##swap(Int n, T *x, Int incx, T *y, Int incy) {                                              \
    behind().x##t##swap(wide(n), x, wide(incx), y, wide(incy));                                              \
  }                                                                                                          \
  void cblas_##t##scal(Int n, S alpha, T *x, Int incx) {                                                     \
    if (incx > 0 && !is_one(*at(alpha))) behind().t##scal(wide(n), at(alpha), x, wide(incx));                \
  }
TNK_C_TYPES(TNK_FACE)
#undef TNK_FACE
void cblas_csscal(Int n, float alpha, tnk_complex8 *x, Int incx) {
  if (incx > 0 && !is_one(alpha)) behind().csscal(wide(n), &alpha, x, wide(incx));
}
void cblas_zdscal(Int n, double alpha, tnk_complex16 *x, Int incx) {
  if (incx > 0 && !is_one(alpha)) behind().zdscal(wide(n), &alpha, x, wide(incx));
}

// asum, nrm2 and position of the largest by type; positions count from 0 here, and there is no sign for none.
#define TNK_FACE(asum, norm, amax, R, T)                                                                     \
  R cblas_##asum(Int n, const T *x, Int incx) {                                                              \
    return incx > 0 ? behind().asum(wide(n), x, wide(incx)) : R(0);                                          \
  }                                                                                                          \
  R cblas_##norm(Int n, const T *x, Int incx) {                                                              \
    return nrm2(tnk_int{n}, x, tnk_int{incx});                                                               \
  }                                                                                                          \
  std::size_t cblas_##amax(Int n, const T *x, Int incx) {                                                    \
    const tnk_int position = largest<T>(behind().asum, behind().amax, n, x, incx);                           \
    return position > 0 ? static_cast<std::size_t>(position - 1) : 0;                                        \
  }
TNK_FACE(sasum, snrm2, isamax, float, float)
TNK_FACE(dasum, dnrm2, idamax, double, double)
TNK_FACE(scasum, scnrm2, icamax, float, tnk_complex8)
TNK_FACE(dzasum, dznrm2, izamax, double, tnk_complex16)
#undef TNK_FACE

float cblas_sdot(Int n, const float *x, Int incx, const float *y, Int incy) {
  return behind().xsdot(wide(n), x, wide(incx), y, wide(incy));
}
double cblas_ddot(Int n, const double *x, Int incx, const double *y, Int incy) {
  return behind().xddot(wide(n), x, wide(incx), y, wide(incy));
}
double cblas_dsdot(Int n, const float *x, Int incx, const float *y, Int incy) {
  return behind().dsdot(wide(n), x, wide(incx), y, wide(incy));
}
float cblas_sdsdot(Int n, float sb, const float *x, Int incx, const float *y, Int incy) {
  return behind().sdsdot(wide(n), &sb, x, wide(incx), y, wide(incy));
}
#define TNK_DOT(name, run, T)                                                                                \
  void cblas_##name##_sub(Int n, const T *x, Int incx, const T *y, Int incy, T *result) {                    \
    behind().run(result, wide(n), x, wide(incx), y, wide(incy));                                             \
  }
TNK_DOT(cdotu, cdotu, tnk_complex8)
TNK_DOT(cdotc, xcdotc, tnk_complex8)
TNK_DOT(zdotu, zdotu, tnk_complex16)
TNK_DOT(zdotc, zdotc, tnk_complex16)
#undef TNK_DOT

#define TNK_ROTATE(name, run, R, T)                                                                          \
  void cblas_##name(Int n, T *x, Int incx, T *y, Int incy, R c, R s) {                                       \
    behind().run(wide(n), x, wide(incx), y, wide(incy), &c, &s);                                             \
  }
TNK_ROTATE(srot, xsrot, float, float)
TNK_ROTATE(drot, xdrot, double, double)
TNK_ROTATE(csrot, xcsrot, float, tnk_complex8)
TNK_ROTATE(zdrot, xzdrot, double, tnk_complex16)
#undef TNK_ROTATE

#define TNK_FACE(t, T)                                                                                       \
  void cblas_##t##rotg(T *a, T *b, T *c, T *s) {                                                             \
    rotg(a, b, c, s);                                                                                        \
  }                                                                                                          \
  void cblas_##t##rotm(Int n, T *x, Int incx, T *y, Int incy, const T *param) {                              \
    behind().t##rotm(wide(n), x, wide(incx), y, wide(incy), param);                                          \
  }                                                                                                          \
  void cblas_##t##rotmg(T *d1, T *d2, T *x1, T y1, T *param) {                                               \
    behind().t##rotmg(d1, d2, x1, &y1, param);                                                               \
  }
TNK_REAL_TYPES(TNK_FACE)
#undef TNK_FACE
void cblas_crotg(tnk_complex8 *a, const tnk_complex8 *b, float *c, tnk_complex8 *s) {
  rotg(a, b, c, s);
}
void cblas_zrotg(tnk_complex16 *a, const tnk_complex16 *b, double *c, tnk_complex16 *s) {
  rotg(a, b, c, s);
}

float cblas_scabs1(const tnk_complex8 *z) {
  return std::abs(z->re) + std::abs(z->im);
}
double cblas_dcabs1(const tnk_complex16 *z) {
  return std::abs(z->re) + std::abs(z->im);
}

TNK_END_DECLS
