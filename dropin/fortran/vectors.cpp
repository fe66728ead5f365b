// The Fortran face: vectors, and the subroutine forms of the functions, which give their result by address.
#include "dropin/largest.h"
#include "dropin/norm.h"
#include "dropin/rotation.h"

using namespace tnk::dropin;

TNK_BEGIN_DECLS

#define TNK_FACE(t, T)                                                                                       \
  void t##axpy_(const Int *n, const T *alpha, const T *x, const Int *incx, T *y, const Int *incy) {          \
    behind().x##t##axpy(wide(*n), alpha, x, wide(*incx), y, wide(*incy));                                    \
  }                                                                                                          \
  void t##copy_(const Int *n, const T *x, const Int *incx, T *y, const Int *incy) {                          \
    behind().x##t##copy(wide(*n), x, wide(*incx), y, wide(*incy));                                           \
  }                                                                                                          \
  void t##swap_(const Int *n, T *x, const Int *incx, T *y, const Int *incy) {                                \
    behind().x##t##swap(wide(*n), x, wide(*incx), y, wide(*incy));                                           \
  }
TNK_TYPES(TNK_FACE)
#undef TNK_FACE

// Scaling passes over an increment below 1, as sums and positions do; the kernels would take its absolute value. By one it
// leaves everything as it is: a complex product would spread a NaN from one part to the other.
#define TNK_SCALE(name, S, T)                                                                                \
  void name##_(const Int *n, const S *alpha, T *x, const Int *incx) {                                        \
    if (*incx > 0 && !is_one(*alpha)) behind().name(wide(*n), alpha, x, wide(*incx));                        \
  }
TNK_SCALE(sscal, float, float)
TNK_SCALE(dscal, double, double)
TNK_SCALE(cscal, tnk_complex8, tnk_complex8)
TNK_SCALE(zscal, tnk_complex16, tnk_complex16)
TNK_SCALE(csscal, float, tnk_complex8)
TNK_SCALE(zdscal, double, tnk_complex16)
#undef TNK_SCALE

#define TNK_SUM(name, R, T)                                                                                  \
  R name##_(const Int *n, const T *x, const Int *incx) {                                                     \
    return *incx > 0 ? behind().name(wide(*n), x, wide(*incx)) : R(0);                                       \
  }                                                                                                          \
  void name##sub_(const Int *n, const T *x, const Int *incx, R *result) {                                    \
    *result = name##_(n, x, incx);                                                                           \
  }
TNK_SUM(sasum, float, float)
TNK_SUM(dasum, double, double)
TNK_SUM(scasum, float, tnk_complex8)
TNK_SUM(dzasum, double, tnk_complex16)
#undef TNK_SUM

#define TNK_POSITION(name, sum, T)                                                                           \
  Int name##_(const Int *n, const T *x, const Int *incx) {                                                   \
    return static_cast<Int>(largest<T>(behind().sum, behind().name, *n, x, *incx));                          \
  }                                                                                                          \
  void name##sub_(const Int *n, const T *x, const Int *incx, Int *result) {                                  \
    *result = name##_(n, x, incx);                                                                           \
  }
TNK_POSITION(isamax, sasum, float)
TNK_POSITION(idamax, dasum, double)
TNK_POSITION(icamax, scasum, tnk_complex8)
TNK_POSITION(izamax, dzasum, tnk_complex16)
#undef TNK_POSITION

#define TNK_NORM(name, R, T)                                                                                 \
  R name##_(const Int *n, const T *x, const Int *incx) {                                                     \
    return nrm2<T>(*n, x, *incx);                                                                            \
  }                                                                                                          \
  void name##sub_(const Int *n, const T *x, const Int *incx, R *result) {                                    \
    *result = name##_(n, x, incx);                                                                           \
  }
TNK_NORM(snrm2, float, float)
TNK_NORM(dnrm2, double, double)
TNK_NORM(scnrm2, float, tnk_complex8)
TNK_NORM(dznrm2, double, tnk_complex16)
#undef TNK_NORM

// name, what runs it, result, operands
#define TNK_DOT(name, run, R, T)                                                                             \
  R name##_(const Int *n, const T *x, const Int *incx, const T *y, const Int *incy) {                        \
    return behind().run(wide(*n), x, wide(*incx), y, wide(*incy));                                           \
  }                                                                                                          \
  void name##sub_(const Int *n, const T *x, const Int *incx, const T *y, const Int *incy, R *result) {       \
    *result = name##_(n, x, incx, y, incy);                                                                  \
  }
TNK_DOT(sdot, xsdot, float, float)
TNK_DOT(ddot, xddot, double, double)
TNK_DOT(dsdot, dsdot, double, float)
#undef TNK_DOT

float sdsdot_(const Int *n, const float *sb, const float *x, const Int *incx, const float *y,
              const Int *incy) {
  return behind().sdsdot(wide(*n), sb, x, wide(*incx), y, wide(*incy));
}
void sdsdotsub_(const Int *n, const float *sb, const float *x, const Int *incx, const float *y,
                const Int *incy, float *result) {
  *result = sdsdot_(n, sb, x, incx, y, incy);
}

// By value a structure of two numbers comes back as a complex number of Fortran's does: in registers.
#define TNK_DOT(name, run, T)                                                                                \
  void name##sub_(const Int *n, const T *x, const Int *incx, const T *y, const Int *incy, T *result) {       \
    behind().run(result, wide(*n), x, wide(*incx), y, wide(*incy));                                          \
  }                                                                                                          \
  T name##_(const Int *n, const T *x, const Int *incx, const T *y, const Int *incy) {                        \
    T result;                                                                                                \
    name##sub_(n, x, incx, y, incy, &result);                                                                \
    return result;                                                                                           \
  }
TNK_DOT(cdotu, cdotu, tnk_complex8)
TNK_DOT(cdotc, xcdotc, tnk_complex8)
TNK_DOT(zdotu, zdotu, tnk_complex16)
TNK_DOT(zdotc, zdotc, tnk_complex16)
#undef TNK_DOT

#define TNK_ROTATE(name, run, R, T)                                                                          \
  void name##_(const Int *n, T *x, const Int *incx, T *y, const Int *incy, const R *c, const R *s) {         \
    behind().run(wide(*n), x, wide(*incx), y, wide(*incy), c, s);                                            \
  }
TNK_ROTATE(srot, xsrot, float, float)
TNK_ROTATE(drot, xdrot, double, double)
TNK_ROTATE(csrot, xcsrot, float, tnk_complex8)
TNK_ROTATE(zdrot, xzdrot, double, tnk_complex16)
#undef TNK_ROTATE

#define TNK_FACE(t, T)                                                                                       \
  void t##rotg_(T *a, T *b, T *c, T *s) {                                                                    \
    rotg(a, b, c, s);                                                                                        \
  }                                                                                                          \
  void t##rotm_(const Int *n, T *x, const Int *incx, T *y, const Int *incy, const T *param) {                \
    behind().t##rotm(wide(*n), x, wide(*incx), y, wide(*incy), param);                                       \
  }                                                                                                          \
  void t##rotmg_(T *d1, T *d2, T *x1, const T *y1, T *param) {                                               \
    behind().t##rotmg(d1, d2, x1, y1, param);                                                                \
  }
TNK_REAL_TYPES(TNK_FACE)
#undef TNK_FACE
void crotg_(tnk_complex8 *a, const tnk_complex8 *b, float *c, tnk_complex8 *s) {
  rotg(a, b, c, s);
}
void zrotg_(tnk_complex16 *a, const tnk_complex16 *b, double *c, tnk_complex16 *s) {
  rotg(a, b, c, s);
}

float scabs1_(const tnk_complex8 *z) {
  return std::abs(z->re) + std::abs(z->im);
}
double dcabs1_(const tnk_complex16 *z) {
  return std::abs(z->re) + std::abs(z->im);
}
void scabs1sub_(const tnk_complex8 *z, float *result) {
  *result = scabs1_(z);
}
void dcabs1sub_(const tnk_complex16 *z, double *result) {
  *result = dcabs1_(z);
}

// Whether two letters are the same, case aside; a logical value has the size of an integer.
Int lsame_(const char *a, const char *b) {
  return lower(*a) == lower(*b);
}

TNK_END_DECLS
