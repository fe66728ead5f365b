/* Public BLAS routines: checked, then run by the kernel library of this processor. Link with -ltnk or -ltnk_host.

   Arguments travel by address in the Fortran manner. A vector is the address of its first element and an increment in
   elements; with a negative increment logical element i (from 0) of n stands at (i + 1 - n) * inc. Semantics follow
   Lawson, Hanson, Kincaid and Krogh, "Basic Linear Algebra Subprograms for Fortran Usage", ACM TOMS 5 (1979).

   Bad arguments: a null address, a negative n, or an n or an increment so large that the vector could not lie in
   memory, which is 2^47 bytes, the lower half of the addresses of an x86-64 processor. (With five levels of page tables
   there are more, which the system gives only to a program that asks for them by address.) The first bad one in the
   list is reported through the error handler (tnk/host.h) and nothing is touched: a function returns NaN, and cdotc
   leaves *result as it was. So it is, too, when no kernel library can be loaded. n = 0 is no error: the arguments after
   n are not looked at, and a dot product is 0. errno stays as it was in all cases.

   What is written must not overlap with anything else that is read, be it y and x, *result and a vector, or a scalar
   within y. What is only read may coincide or overlap: x and y of a dot product, scalars anywhere.

   What the kernel library exports under its own name (scal, nrm2, asum, i_amax, ...) is declared in
   tnk/blas_level1.h: called like these with -ltnk, reached through tnk_kernel_entry with -ltnk_host alone. */
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

/* ---- Matrix and vector ---------------------------------------------------------------------------------------

   Matrices are column-major: element (i, j), from 0, stands at i + j * lda. Semantics follow Dongarra, Du Croz, Hammarling
   and Hanson, "An extended set of Fortran Basic Linear Algebra Subprograms", ACM TOMS 14 (1988). Bad arguments, reported
   as above with nothing touched: a letter other than those named; a dimension that is negative or beyond memory; a leading
   dimension below the rows of the matrix (or below 1), or with which it could not lie in memory; an increment of 0, or one
   with which the vector could not; a null address of a scalar, or of an array that the call would touch. */

/* y := alpha op(A) x + beta y, A m by n. trans: "N" op(A) = A, "T" its transpose, "C" its conjugate transpose (in the
   real types the same as "T"), in either case. Nothing is done when m or n is 0. beta = 0 stores without reading y; alpha
   = 0 leaves A and x unread, and their addresses may then be null. y must not overlap A or x. */
void tnk_blas_sgemv(const char *trans, const tnk_int *m, const tnk_int *n, const float *alpha, const float *a,
                    const tnk_int *lda, const float *x, const tnk_int *incx, const float *beta, float *y,
                    const tnk_int *incy);
void tnk_blas_dgemv(const char *trans, const tnk_int *m, const tnk_int *n, const double *alpha,
                    const double *a, const tnk_int *lda, const double *x, const tnk_int *incx,
                    const double *beta, double *y, const tnk_int *incy);
void tnk_blas_cgemv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex8 *alpha,
                    const tnk_complex8 *a, const tnk_int *lda, const tnk_complex8 *x, const tnk_int *incx,
                    const tnk_complex8 *beta, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_zgemv(const char *trans, const tnk_int *m, const tnk_int *n, const tnk_complex16 *alpha,
                    const tnk_complex16 *a, const tnk_int *lda, const tnk_complex16 *x, const tnk_int *incx,
                    const tnk_complex16 *beta, tnk_complex16 *y, const tnk_int *incy);

/* ---- Half of a square matrix and vector ----------------------------------------------------------------------------

   A is of order n and symmetric, or Hermitian in the complex types, or triangular. Only the triangle that uplo names, "U"
   or "L" in either case, is read or written, in one of three forms, all by columns:

     full     element (i, j) at a[i + j * lda], lda n or more; what else stands there is not touched
     packed   no gaps: element (i, j) of the upper triangle at ap[i + j * (j + 1) / 2],
              of the lower one at ap[i + j * (2 * n - j - 1) / 2]
     band     the diagonal and k diagonals beside it, element (i, j) of the upper triangle at a[k + i - j + j * lda], of the
              lower one at a[i - j + j * lda], lda k + 1 or more; corners that no element stands in are not touched

   The diagonal of a Hermitian matrix is real: stored imaginary parts are not read there, and are 0 after an update. Nothing
   is done when n is 0. Bad arguments are reported as above, with nothing touched; so is an order whose packed triangle would
   be beyond memory. Arrays must be aligned to their real type; what is written must not overlap with anything that is read.

   A is read once. A vector with another increment than 1 is copied to scratch memory, and both vectors of an update by two
   products always are; products with a large matrix that is no band take memory for up to eight vectors. When it cannot be
   had, that is reported as TNK_ERROR_MEMORY and nothing is touched. Threads (tnk/host.h): products from 2 MB of the triangle
   on, and updates from half of one, with the same bits for every number of them; solves and bands run on one. */

/* y := alpha A x + beta y, A symmetric (symv full, spmv packed, sbmv band) or Hermitian (hemv, hpmv, hbmv). beta = 0 stores
   without reading y; alpha = 0 leaves A and x unread, and their addresses may then be null; with a beta of 1 besides,
   nothing is done. */
#define TNK_BLAS_SYMMETRIC(full, packed, band, T)                                                            \
  void full(const char *uplo, const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda, const T *x,  \
            const tnk_int *incx, const T *beta, T *y, const tnk_int *incy);                                  \
  void packed(const char *uplo, const tnk_int *n, const T *alpha, const T *ap, const T *x,                   \
              const tnk_int *incx, const T *beta, T *y, const tnk_int *incy);                                \
  void band(const char *uplo, const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,                \
            const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy)
TNK_BLAS_SYMMETRIC(tnk_blas_ssymv, tnk_blas_sspmv, tnk_blas_ssbmv, float);
TNK_BLAS_SYMMETRIC(tnk_blas_dsymv, tnk_blas_dspmv, tnk_blas_dsbmv, double);
TNK_BLAS_SYMMETRIC(tnk_blas_chemv, tnk_blas_chpmv, tnk_blas_chbmv, tnk_complex8);
TNK_BLAS_SYMMETRIC(tnk_blas_zhemv, tnk_blas_zhpmv, tnk_blas_zhbmv, tnk_complex16);
#undef TNK_BLAS_SYMMETRIC

/* A triangular; trmv, tpmv, tbmv: x := op(A) x. trsv, tpsv, tbsv: x := the solution of op(A) y = x; no test for
   singularity is made, and a zero on the diagonal gives infinities and NaN. trans: "N" op(A) = A, "T" its transpose, "C"
   its conjugate transpose (in the real types the same as "T"). diag: "N", or "U" where the diagonal counts as ones and is
   not read. Both in either case. */
#define TNK_BLAS_TRIANGULAR(full, packed, band, T)                                                           \
  void full(const char *uplo, const char *trans, const char *diag, const tnk_int *n, const T *a,             \
            const tnk_int *lda, T *x, const tnk_int *incx);                                                  \
  void packed(const char *uplo, const char *trans, const char *diag, const tnk_int *n, const T *ap, T *x,    \
              const tnk_int *incx);                                                                          \
  void band(const char *uplo, const char *trans, const char *diag, const tnk_int *n, const tnk_int *k,       \
            const T *a, const tnk_int *lda, T *x, const tnk_int *incx)
TNK_BLAS_TRIANGULAR(tnk_blas_strmv, tnk_blas_stpmv, tnk_blas_stbmv, float);
TNK_BLAS_TRIANGULAR(tnk_blas_dtrmv, tnk_blas_dtpmv, tnk_blas_dtbmv, double);
TNK_BLAS_TRIANGULAR(tnk_blas_ctrmv, tnk_blas_ctpmv, tnk_blas_ctbmv, tnk_complex8);
TNK_BLAS_TRIANGULAR(tnk_blas_ztrmv, tnk_blas_ztpmv, tnk_blas_ztbmv, tnk_complex16);
TNK_BLAS_TRIANGULAR(tnk_blas_strsv, tnk_blas_stpsv, tnk_blas_stbsv, float);
TNK_BLAS_TRIANGULAR(tnk_blas_dtrsv, tnk_blas_dtpsv, tnk_blas_dtbsv, double);
TNK_BLAS_TRIANGULAR(tnk_blas_ctrsv, tnk_blas_ctpsv, tnk_blas_ctbsv, tnk_complex8);
TNK_BLAS_TRIANGULAR(tnk_blas_ztrsv, tnk_blas_ztpsv, tnk_blas_ztbsv, tnk_complex16);
#undef TNK_BLAS_TRIANGULAR

/* A := alpha x x^T + A, A symmetric (syr full, spr packed); A := alpha x x^H + A, A Hermitian and alpha real (her, hpr).
   Element (i, j) becomes a + (alpha conj(x[j])) x[i], each product and sum rounded: the same bits wherever it stands.
   Nothing is done when alpha is 0; a column whose factor is zero stays as it is, but for its diagonal's imaginary part. */
#define TNK_BLAS_UPDATE(full, packed, R, T)                                                                  \
  void full(const char *uplo, const tnk_int *n, const R *alpha, const T *x, const tnk_int *incx, T *a,       \
            const tnk_int *lda);                                                                             \
  void packed(const char *uplo, const tnk_int *n, const R *alpha, const T *x, const tnk_int *incx, T *ap)
TNK_BLAS_UPDATE(tnk_blas_ssyr, tnk_blas_sspr, float, float);
TNK_BLAS_UPDATE(tnk_blas_dsyr, tnk_blas_dspr, double, double);
TNK_BLAS_UPDATE(tnk_blas_cher, tnk_blas_chpr, float, tnk_complex8);
TNK_BLAS_UPDATE(tnk_blas_zher, tnk_blas_zhpr, double, tnk_complex16);
#undef TNK_BLAS_UPDATE

/* A := alpha x y^T + alpha y x^T + A, A symmetric (syr2 full, spr2 packed); A := alpha x y^H + conj(alpha) y x^H + A, A
   Hermitian (her2, hpr2). Nothing is done when alpha is 0; a column j with zeros for x[j] and y[j] stays as it is, but for
   its diagonal's imaginary part. */
#define TNK_BLAS_UPDATE(full, packed, T)                                                                     \
  void full(const char *uplo, const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, const T *y, \
            const tnk_int *incy, T *a, const tnk_int *lda);                                                  \
  void packed(const char *uplo, const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx,           \
              const T *y, const tnk_int *incy, T *ap)
TNK_BLAS_UPDATE(tnk_blas_ssyr2, tnk_blas_sspr2, float);
TNK_BLAS_UPDATE(tnk_blas_dsyr2, tnk_blas_dspr2, double);
TNK_BLAS_UPDATE(tnk_blas_cher2, tnk_blas_chpr2, tnk_complex8);
TNK_BLAS_UPDATE(tnk_blas_zher2, tnk_blas_zhpr2, tnk_complex16);
#undef TNK_BLAS_UPDATE

/* ---- Matrix products -----------------------------------------------------------------------------------------

   C := alpha op(A) op(B) + beta C with op(A) m by k, op(B) k by n and C m by n. transa and transb, read from their
   first character in either case: "N" op(X) = X, "T" its transpose, "C" its conjugate transpose (in the real types
   the same as "T"). Matrices are column-major: element (i, j), from 0, stands at i + j * ld. Semantics follow
   Dongarra, Du Croz, Hammarling and Duff, "A Set of Level 3 Basic Linear Algebra Subprograms", ACM TOMS 16 (1990).

   Bad arguments, reported as above with nothing touched: a letter other than these; a dimension that is negative or
   beyond memory; a leading dimension below the rows of its matrix as stored (or below 1), or with which the matrix
   could not lie in memory; a null address of a scalar, or of an array that the call would touch. Letters, dimensions
   and leading dimensions are looked at in every call. Nothing is done when m or n is 0; addresses of arrays may then be
   null. alpha = 0 or k = 0 leaves A and B unread, and theirs may be null; C counts as touched then, also with a beta of
   1, which leaves it as it is. beta = 0 stores without reading C. C must not overlap with A, B or a scalar; A and B,
   which are only read, may be the same or overlap.

   When memory for packed blocks cannot be had, that is reported as TNK_ERROR_MEMORY (by each thread that met it) and
   the result is right all the same, only slower and perhaps rounded otherwise. Threads: see tnk/host.h. */
void tnk_blas_sgemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,
                    const tnk_int *k, const float *alpha, const float *a, const tnk_int *lda, const float *b,
                    const tnk_int *ldb, const float *beta, float *c, const tnk_int *ldc);
void tnk_blas_dgemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,
                    const tnk_int *k, const double *alpha, const double *a, const tnk_int *lda,
                    const double *b, const tnk_int *ldb, const double *beta, double *c, const tnk_int *ldc);
void tnk_blas_cgemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,
                    const tnk_int *k, const tnk_complex8 *alpha, const tnk_complex8 *a, const tnk_int *lda,
                    const tnk_complex8 *b, const tnk_int *ldb, const tnk_complex8 *beta, tnk_complex8 *c,
                    const tnk_int *ldc);
void tnk_blas_zgemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,
                    const tnk_int *k, const tnk_complex16 *alpha, const tnk_complex16 *a, const tnk_int *lda,
                    const tnk_complex16 *b, const tnk_int *ldb, const tnk_complex16 *beta, tnk_complex16 *c,
                    const tnk_int *ldc);

/* ---- Symmetric and Hermitian matrices ----------------------------------------------------------------------------

   Matrices of which only the triangle counts that uplo names, "U" or "L"; the other one is neither read nor written. Of a
   Hermitian matrix (hemm, herk, her2k; in the types c and z) the imaginary parts of the diagonal are not read, and those
   of C come out as zeros. Matrices are column-major, letters in either case, semantics those of the paper above.

     symm, hemm    C := alpha A B + beta C for side "L", alpha B A + beta C for "R". A is symmetric or Hermitian, of order m
                   for "L" and n for "R"; B and C are m by n, with all their elements.
     syrk          C := alpha op(A) op(A)^T + beta C, C symmetric of order n, op(A) n by k. trans: "N" op(A) = A, "T" its
                   transpose; "C" is the same as "T" in the real types and refused in the complex ones.
     herk          C := alpha op(A) op(A)^H + beta C, C Hermitian, alpha and beta real. trans: "N" or "C", the conjugate
                   transpose.
     syr2k         C := alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C, op(A) and op(B) n by k, trans as in syrk.
     her2k         C := alpha op(A) op(B)^H + conj(alpha) op(B) op(A)^H + beta C, beta real, trans as in herk.

   Nothing is done when C is empty. alpha = 0 or k = 0 leaves A and B unread, and their addresses may then be null; with a
   beta of 1 C then stays as it is, imaginary parts on the diagonal included. beta = 0 stores without reading C. Bad
   arguments are reported as above, with nothing touched. C must not overlap with A, B or a scalar.

   When there is no memory for packed blocks, that is reported as TNK_ERROR_MEMORY in the routine's name, and C stays as it
   was. An element has the same bits for every number of threads. */
#define TNK_BLAS_SYMMETRIC_PRODUCT(name, T)                                                                  \
  void name(const char *side, const char *uplo, const tnk_int *m, const tnk_int *n, const T *alpha,          \
            const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, const T *beta, T *c,             \
            const tnk_int *ldc)
TNK_BLAS_SYMMETRIC_PRODUCT(tnk_blas_ssymm, float);
TNK_BLAS_SYMMETRIC_PRODUCT(tnk_blas_dsymm, double);
TNK_BLAS_SYMMETRIC_PRODUCT(tnk_blas_csymm, tnk_complex8);
TNK_BLAS_SYMMETRIC_PRODUCT(tnk_blas_zsymm, tnk_complex16);
TNK_BLAS_SYMMETRIC_PRODUCT(tnk_blas_chemm, tnk_complex8);
TNK_BLAS_SYMMETRIC_PRODUCT(tnk_blas_zhemm, tnk_complex16);
#undef TNK_BLAS_SYMMETRIC_PRODUCT

#define TNK_BLAS_RANK_K(name, T, Scalar)                                                                     \
  void name(const char *uplo, const char *trans, const tnk_int *n, const tnk_int *k, const Scalar *alpha,    \
            const T *a, const tnk_int *lda, const Scalar *beta, T *c, const tnk_int *ldc)
TNK_BLAS_RANK_K(tnk_blas_ssyrk, float, float);
TNK_BLAS_RANK_K(tnk_blas_dsyrk, double, double);
TNK_BLAS_RANK_K(tnk_blas_csyrk, tnk_complex8, tnk_complex8);
TNK_BLAS_RANK_K(tnk_blas_zsyrk, tnk_complex16, tnk_complex16);
TNK_BLAS_RANK_K(tnk_blas_cherk, tnk_complex8, float);
TNK_BLAS_RANK_K(tnk_blas_zherk, tnk_complex16, double);
#undef TNK_BLAS_RANK_K

#define TNK_BLAS_RANK_2K(name, T, Beta)                                                                      \
  void name(const char *uplo, const char *trans, const tnk_int *n, const tnk_int *k, const T *alpha,         \
            const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, const Beta *beta, T *c,          \
            const tnk_int *ldc)
TNK_BLAS_RANK_2K(tnk_blas_ssyr2k, float, float);
TNK_BLAS_RANK_2K(tnk_blas_dsyr2k, double, double);
TNK_BLAS_RANK_2K(tnk_blas_csyr2k, tnk_complex8, tnk_complex8);
TNK_BLAS_RANK_2K(tnk_blas_zsyr2k, tnk_complex16, tnk_complex16);
TNK_BLAS_RANK_2K(tnk_blas_cher2k, tnk_complex8, float);
TNK_BLAS_RANK_2K(tnk_blas_zher2k, tnk_complex16, double);
#undef TNK_BLAS_RANK_2K

/* ---- Triangular matrices ------------------------------------------------------------------------------------------

   A is triangular, of order m for side "L" and n for "R", and B is m by n, column-major; both routines put their result in
   the place of B:

     trsm   solves op(A) X = alpha B for side "L", X op(A) = alpha B for "R"
     trmm   B := alpha op(A) B for side "L", alpha B op(A) for "R"

   uplo names the triangle of A that counts, "U" or "L"; the other one is never read. transa: "N" op(A) = A, "T" its
   transpose, "C" its conjugate transpose (in the real types the same as "T"). diag: "N", or "U" where the diagonal of A
   counts as ones and is not read. All four in either case. Semantics follow the paper above.

   Nothing is done when m or n is 0; alpha = 0 sets B to zero, whatever it held, and leaves A unread, whose address may
   then be null. No test for singularity is made: a zero on the diagonal gives infinities and NaN. Bad arguments are
   reported as above, with nothing touched. B must not overlap A or alpha.

   When the kernels get no memory for packed blocks, that is reported as TNK_ERROR_MEMORY, in the name "xtrsm" or "xtrmm",
   and B stays as it was. With several threads the report may come from each; if some had memory and others not, those
   finish their share without, slower and perhaps rounded otherwise. */
#define TNK_BLAS_TRIANGULAR(name, T)                                                                         \
  void name(const char *side, const char *uplo, const char *transa, const char *diag, const tnk_int *m,      \
            const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda, T *b, const tnk_int *ldb)
TNK_BLAS_TRIANGULAR(tnk_blas_strsm, float);
TNK_BLAS_TRIANGULAR(tnk_blas_dtrsm, double);
TNK_BLAS_TRIANGULAR(tnk_blas_ctrsm, tnk_complex8);
TNK_BLAS_TRIANGULAR(tnk_blas_ztrsm, tnk_complex16);
TNK_BLAS_TRIANGULAR(tnk_blas_strmm, float);
TNK_BLAS_TRIANGULAR(tnk_blas_dtrmm, double);
TNK_BLAS_TRIANGULAR(tnk_blas_ctrmm, tnk_complex8);
TNK_BLAS_TRIANGULAR(tnk_blas_ztrmm, tnk_complex16);
#undef TNK_BLAS_TRIANGULAR

TNK_END_DECLS

#endif
