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

/* ---- Two products in one pass ---------------------------------------------------------------------------------

   y1 := alpha A x1 + beta y1 and y2 := alpha op(A) x2 + beta y2, A m by n and read once; op(A) is the transpose in the
   real types (u) and the conjugate transpose in the complex ones (c). x1 and y2 have n elements, x2 and y1 m. No-op when m
   or n is 0. y1 and y2 are scaled by the entries ?scal of tnk/blas_level1.h: a zero beta multiplies, so a NaN stays a NaN.
   No alpha is special: a zero one multiplies. y1 and y2 must overlap neither with each other nor with an operand; no
   memory is taken.

   An increment of 0 for y1 or y2, or an address that is no multiple of the real type's size, goes an element at a time.
   Otherwise y1 gets columns by fours, then two, then one, and what y2 gets of a column is summed by lanes; where y1 or x2
   has another increment than 1, rows go in pieces of 128, where x1 or y2 has, columns do. */
void tnk_blas_sgem2vu(const tnk_int *m, const tnk_int *n, const float *alpha, const float *a,
                      const tnk_int *lda, const float *x1, const tnk_int *incx1, const float *x2,
                      const tnk_int *incx2, const float *beta, float *y1, const tnk_int *incy1, float *y2,
                      const tnk_int *incy2);
void tnk_blas_dgem2vu(const tnk_int *m, const tnk_int *n, const double *alpha, const double *a,
                      const tnk_int *lda, const double *x1, const tnk_int *incx1, const double *x2,
                      const tnk_int *incx2, const double *beta, double *y1, const tnk_int *incy1, double *y2,
                      const tnk_int *incy2);
void tnk_blas_cgem2vc(const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *a,
                      const tnk_int *lda, const tnk_complex8 *x1, const tnk_int *incx1,
                      const tnk_complex8 *x2, const tnk_int *incx2, const tnk_complex8 *beta,
                      tnk_complex8 *y1, const tnk_int *incy1, tnk_complex8 *y2, const tnk_int *incy2);
void tnk_blas_zgem2vc(const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *a,
                      const tnk_int *lda, const tnk_complex16 *x1, const tnk_int *incx1,
                      const tnk_complex16 *x2, const tnk_int *incx2, const tnk_complex16 *beta,
                      tnk_complex16 *y1, const tnk_int *incy1, tnk_complex16 *y2, const tnk_int *incy2);

/* y1 := y1 + alpha A x1 and y2 := y2 + alpha op(A) x2 at increments of 1, with the addresses that the entries above ask
   for. even: for an even lda, odd: for an odd one; either does what the other does. m or n below 1: no rows, no columns. */
void tnk_blas_sgem2vu_even(const tnk_int *m, const tnk_int *n, const float *a, const tnk_int *lda,
                           const float *x1, const float *x2, float *y1, float *y2, const float *alpha);
void tnk_blas_sgem2vu_odd(const tnk_int *m, const tnk_int *n, const float *a, const tnk_int *lda,
                          const float *x1, const float *x2, float *y1, float *y2, const float *alpha);
void tnk_blas_dgem2vu_even(const tnk_int *m, const tnk_int *n, const double *a, const tnk_int *lda,
                           const double *x1, const double *x2, double *y1, double *y2, const double *alpha);
void tnk_blas_dgem2vu_odd(const tnk_int *m, const tnk_int *n, const double *a, const tnk_int *lda,
                          const double *x1, const double *x2, double *y1, double *y2, const double *alpha);
void tnk_blas_cgem2vc_f(const tnk_int *m, const tnk_int *n, const tnk_complex8 *a, const tnk_int *lda,
                        const tnk_complex8 *x1, const tnk_complex8 *x2, tnk_complex8 *y1, tnk_complex8 *y2,
                        const tnk_complex8 *alpha);
void tnk_blas_zgem2vc_f(const tnk_int *m, const tnk_int *n, const tnk_complex16 *a, const tnk_int *lda,
                        const tnk_complex16 *x1, const tnk_complex16 *x2, tnk_complex16 *y1,
                        tnk_complex16 *y2, const tnk_complex16 *alpha);

/* ---- Real matrix, complex vectors -----------------------------------------------------------------------------

   y := alpha op(A) x + beta y, A m by n and real, all else complex. trans: "N" or "n" op(A) = A; any other letter its
   transpose. No-op when m or n is 0, and when beta is 1 and alpha 0. Then y is scaled: not by 1, to zeros by 0 without
   being read, else by ?scal. Then an alpha of zero ends the call, A and x unread.

   With more than 3 rows and more than 3 columns, two blocks are asked of tnk_serv_allocate, of a complex number for each
   element of x and of y. THEY ARE NOT LOOKED AT: where the service has no memory, the call writes through a null address.
   y and alpha x are split into them, tnk_blas_x?gemv multiplies each part by A, so A is read twice, and y is put
   together again. Smaller matrices go by _pst. */
void tnk_blas_scgemv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha,
                     const float *a, const tnk_int *lda, const tnk_complex8 *x, const tnk_int *incx,
                     const tnk_complex8 *beta, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_dzgemv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha,
                     const double *a, const tnk_int *lda, const tnk_complex16 *x, const tnk_int *incx,
                     const tnk_complex16 *beta, tnk_complex16 *y, const tnk_int *incy);

/* The same without memory, an element at a time: scaled in the same way, but an alpha of zero multiplies, and with no
   columns (no rows, when transposed) y is still scaled. */
void tnk_blas_scgemv_pst(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha,
                         const float *a, const tnk_int *lda, const tnk_complex8 *x, const tnk_int *incx,
                         const tnk_complex8 *beta, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_dzgemv_pst(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha,
                         const double *a, const tnk_int *lda, const tnk_complex16 *x, const tnk_int *incx,
                         const tnk_complex16 *beta, tnk_complex16 *y, const tnk_int *incy);

/* The parts of n complex numbers are 2 n real ones: the real parts, then the imaginary ones. No-ops when n is below 1.
   copyx: parts of alpha x. copyy_fwd: parts of y. copyy_bwd: y from its parts. */
void tnk_blas_scgemv_copyx(const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                           const tnk_int *incx, float *parts);
void tnk_blas_scgemv_copyy_fwd(const tnk_int *n, const tnk_complex8 *y, const tnk_int *incy, float *parts);
void tnk_blas_scgemv_copyy_bwd(const tnk_int *n, const float *parts, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_dzgemv_copyx(const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                           const tnk_int *incx, double *parts);
void tnk_blas_dzgemv_copyy_fwd(const tnk_int *n, const tnk_complex16 *y, const tnk_int *incy, double *parts);
void tnk_blas_dzgemv_copyy_bwd(const tnk_int *n, const double *parts, tnk_complex16 *y, const tnk_int *incy);

/* ---- Band matrix times vector -------------------------------------------------------------------------------

   y := alpha op(A) x + beta y, A m by n with kl diagonals below the main one and ku above it: element (i, j) stands at
   a[ku + i - j + j * lda], lda being kl + ku + 1 or more. Corners of the array that no element of A stands in are not
   read. trans as above. No-op when m or n is 0, or alpha is zero and beta is 1. beta of 1 leaves y as it is, beta of 0
   stores zeros without reading it. Then the product is added, with an alpha of zero too: what is infinite or a NaN in A
   or x reaches y. A transposed column that the band misses adds alpha times 0. Any addresses and increments. */
void tnk_blas_sgbmv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_int *kl,
                    const tnk_int *ku, const float *alpha, const float *a, const tnk_int *lda, const float *x,
                    const tnk_int *incx, const float *beta, float *y, const tnk_int *incy);
void tnk_blas_dgbmv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_int *kl,
                    const tnk_int *ku, const double *alpha, const double *a, const tnk_int *lda,
                    const double *x, const tnk_int *incx, const double *beta, double *y, const tnk_int *incy);
void tnk_blas_cgbmv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_int *kl,
                    const tnk_int *ku, const tnk_complex8 *alpha, const tnk_complex8 *a, const tnk_int *lda,
                    const tnk_complex8 *x, const tnk_int *incx, const tnk_complex8 *beta, tnk_complex8 *y,
                    const tnk_int *incy);
void tnk_blas_zgbmv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_int *kl,
                    const tnk_int *ku, const tnk_complex16 *alpha, const tnk_complex16 *a, const tnk_int *lda,
                    const tnk_complex16 *x, const tnk_int *incx, const tnk_complex16 *beta, tnk_complex16 *y,
                    const tnk_int *incy);

/* ---- Rank-one updates ---------------------------------------------------------------------------------------

   A := alpha x y^T + A, A m by n; gerc: A := alpha x y^H + A. No-op when m or n is below 1 or alpha is zero in both
   parts; a NaN alpha goes on, and a zero in x or y skips nothing. Each element becomes a + (alpha y) x, the product
   rounded before the sum: the same bits at any increment and address. No memory is taken. */
void tnk_blas_sger(const tnk_int *m, const tnk_int *n, const float *alpha, const float *x,
                   const tnk_int *incx, const float *y, const tnk_int *incy, float *a, const tnk_int *lda);
void tnk_blas_dger(const tnk_int *m, const tnk_int *n, const double *alpha, const double *x,
                   const tnk_int *incx, const double *y, const tnk_int *incy, double *a, const tnk_int *lda);
void tnk_blas_cgeru(const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                    const tnk_int *incx, const tnk_complex8 *y, const tnk_int *incy, tnk_complex8 *a,
                    const tnk_int *lda);
void tnk_blas_cgerc(const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                    const tnk_int *incx, const tnk_complex8 *y, const tnk_int *incy, tnk_complex8 *a,
                    const tnk_int *lda);
void tnk_blas_zgeru(const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                    const tnk_int *incx, const tnk_complex16 *y, const tnk_int *incy, tnk_complex16 *a,
                    const tnk_int *lda);
void tnk_blas_zgerc(const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                    const tnk_int *incx, const tnk_complex16 *y, const tnk_int *incy, tnk_complex16 *a,
                    const tnk_int *lda);

TNK_END_DECLS

#endif
