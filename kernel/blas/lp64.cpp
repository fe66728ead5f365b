// The 32-bit surface of the dense routines: widen the integers, hand the rest through untouched.
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/blas_lp64.h>

namespace {

// One body a shape of argument list; `routine` is the 64-bit routine that runs.
template <auto routine, class T>
void axpy(const int32_t *n, const T *alpha, const T *x, const int32_t *incx, T *y, const int32_t *incy) {
  const tnk_int n64 = *n, incx64 = *incx, incy64 = *incy;
  routine(&n64, alpha, x, &incx64, y, &incy64);
}

template <auto routine, class T>
void copy(const int32_t *n, const T *x, const int32_t *incx, T *y, const int32_t *incy) {
  const tnk_int n64 = *n, incx64 = *incx, incy64 = *incy;
  routine(&n64, x, &incx64, y, &incy64);
}

template <auto routine, class T>
T dot(const int32_t *n, const T *x, const int32_t *incx, const T *y, const int32_t *incy) {
  const tnk_int n64 = *n, incx64 = *incx, incy64 = *incy;
  return routine(&n64, x, &incx64, y, &incy64);
}

template <auto routine, class T>
void dotu(T *result, const int32_t *n, const T *x, const int32_t *incx, const T *y, const int32_t *incy) {
  const tnk_int n64 = *n, incx64 = *incx, incy64 = *incy;
  routine(result, &n64, x, &incx64, y, &incy64);
}

template <auto routine, class T> void scal(const int32_t *n, const T *alpha, T *x, const int32_t *incx) {
  const tnk_int n64 = *n, incx64 = *incx;
  routine(&n64, alpha, x, &incx64);
}

} // namespace

// axpy, copy and dot call the public routine of the dispatching core; dotu and scal are of this library.

#define TNK_LP64(t, T)                                                                                       \
  void tnk_blas_lp64_##t##axpy(const int32_t *n, const T *alpha, const T *x, const int32_t *incx, T *y,      \
                               const int32_t *incy) {                                                        \
    axpy<tnk_blas_##t##axpy>(n, alpha, x, incx, y, incy);                                                    \
  }                                                                                                          \
  void tnk_blas_lp64_##t##copy(const int32_t *n, const T *x, const int32_t *incx, T *y,                      \
                               const int32_t *incy) {                                                        \
    copy<tnk_blas_##t##copy>(n, x, incx, y, incy);                                                           \
  }                                                                                                          \
  void tnk_blas_lp64_##t##scal(const int32_t *n, const T *alpha, T *x, const int32_t *incx) {                \
    scal<tnk_blas_##t##scal>(n, alpha, x, incx);                                                             \
  }
TNK_LP64(s, float)
TNK_LP64(d, double)
TNK_LP64(c, tnk_complex8)
TNK_LP64(z, tnk_complex16)
#undef TNK_LP64

float tnk_blas_lp64_sdot(const int32_t *n, const float *x, const int32_t *incx, const float *y,
                         const int32_t *incy) {
  return dot<tnk_blas_sdot>(n, x, incx, y, incy);
}
double tnk_blas_lp64_ddot(const int32_t *n, const double *x, const int32_t *incx, const double *y,
                          const int32_t *incy) {
  return dot<tnk_blas_ddot>(n, x, incx, y, incy);
}
void tnk_blas_lp64_cdotu(tnk_complex8 *result, const int32_t *n, const tnk_complex8 *x, const int32_t *incx,
                         const tnk_complex8 *y, const int32_t *incy) {
  dotu<tnk_blas_cdotu>(result, n, x, incx, y, incy);
}
void tnk_blas_lp64_zdotu(tnk_complex16 *result, const int32_t *n, const tnk_complex16 *x, const int32_t *incx,
                         const tnk_complex16 *y, const int32_t *incy) {
  dotu<tnk_blas_zdotu>(result, n, x, incx, y, incy);
}
