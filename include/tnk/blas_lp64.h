/* Level 1 routines for callers with 32-bit integers, exported by the kernel library; link with -ltnk. Each widens n and
   the increments, sign included, and hands everything to the 64-bit routine named with it: the public, checked one
   for axpy, copy and dot; the kernel (tnk/blas_level1.h) for dotu and scal. Which operands may coincide or overlap
   is told where these are declared. */
#ifndef TNK_BLAS_LP64_H
#define TNK_BLAS_LP64_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* y := alpha x + y, by tnk_blas_?axpy. */
void tnk_blas_lp64_saxpy(const int32_t *n, const float *alpha, const float *x, const int32_t *incx, float *y,
                         const int32_t *incy);
void tnk_blas_lp64_daxpy(const int32_t *n, const double *alpha, const double *x, const int32_t *incx,
                         double *y, const int32_t *incy);
void tnk_blas_lp64_caxpy(const int32_t *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                         const int32_t *incx, tnk_complex8 *y, const int32_t *incy);
void tnk_blas_lp64_zaxpy(const int32_t *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                         const int32_t *incx, tnk_complex16 *y, const int32_t *incy);

/* y := x, by tnk_blas_?copy. */
void tnk_blas_lp64_scopy(const int32_t *n, const float *x, const int32_t *incx, float *y,
                         const int32_t *incy);
void tnk_blas_lp64_dcopy(const int32_t *n, const double *x, const int32_t *incx, double *y,
                         const int32_t *incy);
void tnk_blas_lp64_ccopy(const int32_t *n, const tnk_complex8 *x, const int32_t *incx, tnk_complex8 *y,
                         const int32_t *incy);
void tnk_blas_lp64_zcopy(const int32_t *n, const tnk_complex16 *x, const int32_t *incx, tnk_complex16 *y,
                         const int32_t *incy);

/* Sum of x[i] y[i], by tnk_blas_?dot and tnk_blas_?dotu. */
float tnk_blas_lp64_sdot(const int32_t *n, const float *x, const int32_t *incx, const float *y,
                         const int32_t *incy);
double tnk_blas_lp64_ddot(const int32_t *n, const double *x, const int32_t *incx, const double *y,
                          const int32_t *incy);
void tnk_blas_lp64_cdotu(tnk_complex8 *result, const int32_t *n, const tnk_complex8 *x, const int32_t *incx,
                         const tnk_complex8 *y, const int32_t *incy);
void tnk_blas_lp64_zdotu(tnk_complex16 *result, const int32_t *n, const tnk_complex16 *x, const int32_t *incx,
                         const tnk_complex16 *y, const int32_t *incy);

/* x := alpha x, by tnk_blas_?scal. */
void tnk_blas_lp64_sscal(const int32_t *n, const float *alpha, float *x, const int32_t *incx);
void tnk_blas_lp64_dscal(const int32_t *n, const double *alpha, double *x, const int32_t *incx);
void tnk_blas_lp64_cscal(const int32_t *n, const tnk_complex8 *alpha, tnk_complex8 *x, const int32_t *incx);
void tnk_blas_lp64_zscal(const int32_t *n, const tnk_complex16 *alpha, tnk_complex16 *x, const int32_t *incx);

TNK_END_DECLS

#endif
