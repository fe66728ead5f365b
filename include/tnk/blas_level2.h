/* Level 2 BLAS kernels, as the kernel library exports them. Link with -ltnk; public checked forms of some
   stand in tnk/blas.h.

   The kernels check nothing. Arguments travel by address; a matrix is stored by columns, element (i, j), counted from 0,
   at a[i + j * lda]; logical element i of a vector of n at increment inc stands at i * inc, or with a negative increment
   at (i + 1 - n) * inc. Letters: s float, d double, c and z complex of these. An output must not overlap an operand.
   Source: Dongarra, Du Croz, Hammarling, Hanson, ACM TOMS 14 (1988), 1. */
#ifndef TNK_BLAS_LEVEL2_H
#define TNK_BLAS_LEVEL2_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Matrix times vector -------------------------------------------------------------------------------------

   y := alpha op(A) x + beta y, A m by n. trans: "N" or "n" op(A) = A; "T" or "t" its transpose; any other letter its
   conjugate transpose, in the real types the transpose. No-op when m or n is 0. A dimension below 0 is not looked at:
   its loops do not run, but y is still scaled. beta of 1 leaves y as it is, beta of 0 stores zeros without reading it;
   then an alpha of zero ends the call, A and x unread. A NaN alpha goes on, and so does a zero in x or y. A is read
   once; no memory is taken.

   Addresses that are no multiple of the real type's size, and an incy of 0, take a plain route: an axpy a column, or a
   dot product a column. Else columns go four at a time, then two, then one: y + ((t0 a0 + t1 a1) + (t2 a2 + t3 a3)) with
   t = alpha x. So without a transpose an element of y has the same bits wherever its row stands, at any increment and
   alignment. Transposed, lane sums of a column's products are added and then multiplied by alpha; an x with another
   increment than 1 is summed in pieces of 128. */
void tnk_blas_xsgemv(const char *trans, const tnk_int *m, const tnk_int *n, const float *alpha,
                     const float *a, const tnk_int *lda, const float *x, const tnk_int *incx,
                     const float *beta, float *y, const tnk_int *incy);
void tnk_blas_xdgemv(const char *trans, const tnk_int *m, const tnk_int *n, const double *alpha,
                     const double *a, const tnk_int *lda, const double *x, const tnk_int *incx,
                     const double *beta, double *y, const tnk_int *incy);
void tnk_blas_xcgemv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha,
                     const tnk_complex8 *a, const tnk_int *lda, const tnk_complex8 *x, const tnk_int *incx,
                     const tnk_complex8 *beta, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_xzgemv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha,
                     const tnk_complex16 *a, const tnk_int *lda, const tnk_complex16 *x, const tnk_int *incx,
                     const tnk_complex16 *beta, tnk_complex16 *y, const tnk_int *incy);

/* y := y + alpha op(A) x at increments of 1, with the addresses that the entries above ask for; n, t and c as trans.
   even: for an even lda, odd: for an odd one; either does what the other does. No-op where m (n) or n (t, c) is below 1. */
void tnk_blas_sgemv_n_even(const tnk_int *m, const tnk_int *n, const float *a, const tnk_int *lda,
                           const float *x, float *y, const float *alpha);
void tnk_blas_sgemv_n_odd(const tnk_int *m, const tnk_int *n, const float *a, const tnk_int *lda,
                          const float *x, float *y, const float *alpha);
void tnk_blas_sgemv_t_even(const tnk_int *m, const tnk_int *n, const float *a, const tnk_int *lda,
                           const float *x, float *y, const float *alpha);
void tnk_blas_sgemv_t_odd(const tnk_int *m, const tnk_int *n, const float *a, const tnk_int *lda,
                          const float *x, float *y, const float *alpha);
void tnk_blas_dgemv_n_even(const tnk_int *m, const tnk_int *n, const double *a, const tnk_int *lda,
                           const double *x, double *y, const double *alpha);
void tnk_blas_dgemv_n_odd(const tnk_int *m, const tnk_int *n, const double *a, const tnk_int *lda,
                          const double *x, double *y, const double *alpha);
void tnk_blas_dgemv_t_even(const tnk_int *m, const tnk_int *n, const double *a, const tnk_int *lda,
                           const double *x, double *y, const double *alpha);
void tnk_blas_dgemv_t_odd(const tnk_int *m, const tnk_int *n, const double *a, const tnk_int *lda,
                          const double *x, double *y, const double *alpha);
void tnk_blas_cgemv_n_even(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                           const tnk_complex8 *x, tnk_complex8 *y, const tnk_complex8 *alpha);
void tnk_blas_cgemv_n_odd(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                          const tnk_complex8 *x, tnk_complex8 *y, const tnk_complex8 *alpha);
void tnk_blas_cgemv_t_even(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                           const tnk_complex8 *x, tnk_complex8 *y, const tnk_complex8 *alpha);
void tnk_blas_cgemv_t_odd(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                          const tnk_complex8 *x, tnk_complex8 *y, const tnk_complex8 *alpha);
void tnk_blas_cgemv_c_even(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                           const tnk_complex8 *x, tnk_complex8 *y, const tnk_complex8 *alpha);
void tnk_blas_cgemv_c_odd(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                          const tnk_complex8 *x, tnk_complex8 *y, const tnk_complex8 *alpha);
void tnk_blas_zgemv_n(const tnk_int *m, const tnk_int *n, const tnk_complex16 *a, const tnk_int *lda,
                      const tnk_complex16 *x, tnk_complex16 *y, const tnk_complex16 *alpha);
void tnk_blas_zgemv_t(const tnk_int *m, const tnk_int *n, const tnk_complex16 *a, const tnk_int *lda,
                      const tnk_complex16 *x, tnk_complex16 *y, const tnk_complex16 *alpha);
void tnk_blas_zgemv_c(const tnk_int *m, const tnk_int *n, const tnk_complex16 *a, const tnk_int *lda,
                      const tnk_complex16 *x, tnk_complex16 *y, const tnk_complex16 *alpha);

TNK_END_DECLS

#endif
