/* Public BLAS routines: checked, then run by the kernel library of this processor. Link with -ltnk_host.

   Arguments travel by address in the Fortran manner. A vector is the address of its first element and an increment in
   elements; with a negative increment logical element i (from 0) of n stands at (i + 1 - n) * inc. Semantics follow
   Lawson, Hanson, Kincaid and Krogh, "Basic Linear Algebra Subprograms for Fortran Usage", ACM TOMS 5 (1979).

   Bad arguments: a null address, a negative n, or an n or an increment so large that the vector could not lie in
   memory. The first one in the list is reported through the error handler (tnk/host.h) and nothing is touched; a
   function then returns NaN, as it does when no kernel library can be loaded. n = 0 is no error: the arguments after
   n are not looked at, and a dot product is 0. x and y must not overlap.

   What the kernel library exports under its own name (scal, nrm2, asum, i_amax, ...) is declared in
   tnk/blas_level1.h and reached through tnk_kernel_entry. */
#ifndef TNK_BLAS_H
#define TNK_BLAS_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* y := alpha x + y. No-op when alpha is zero; a NaN alpha is not. */
void tnk_blas_saxpy(const tnk_int *n, const float *alpha, const float *x, const tnk_int *incx, float *y,
                    const tnk_int *incy);
void tnk_blas_daxpy(const tnk_int *n, const double *alpha, const double *x, const tnk_int *incx, double *y,
                    const tnk_int *incy);
void tnk_blas_caxpy(const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x, const tnk_int *incx,
                    tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_zaxpy(const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x, const tnk_int *incx,
                    tnk_complex16 *y, const tnk_int *incy);

/* y := x. */
void tnk_blas_scopy(const tnk_int *n, const float *x, const tnk_int *incx, float *y, const tnk_int *incy);
void tnk_blas_dcopy(const tnk_int *n, const double *x, const tnk_int *incx, double *y, const tnk_int *incy);
void tnk_blas_ccopy(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                    const tnk_int *incy);
void tnk_blas_zcopy(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                    const tnk_int *incy);

/* Sum of x[i] y[i]. */
float tnk_blas_sdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                    const tnk_int *incy);
double tnk_blas_ddot(const tnk_int *n, const double *x, const tnk_int *incx, const double *y,
                     const tnk_int *incy);

/* *result := sum of conj(x[i]) y[i]. */
void tnk_blas_cdotc(tnk_complex8 *result, const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx,
                    const tnk_complex8 *y, const tnk_int *incy);

TNK_END_DECLS

#endif
