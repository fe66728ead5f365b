/* Primitives of a LAPACK layer, as the kernel library exports them: the innermost loops of its routines and the ends of
   its recursions. Link with -ltnk.

   The kernels check nothing. Arguments travel by address, matrices by columns: element (i, j), counted from 0, of A
   stands at a[i + j * lda]. Letters: s float, d double, c and z complex of these. Arrays must not overlap unless a
   sentence says so. Positions in `info` and pivot indices count from 1. Some primitives call public routines
   (tnk_blas_dgemv and kin), which may use threads; none takes memory but ptts2.

   The names of Fortran's LAPACK are kept for what does the same; their meaning is that of Anderson et al., LAPACK Users'
   Guide, third edition, SIAM 1999. */
#ifndef TNK_LAPACK_PS_H
#define TNK_LAPACK_PS_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Rotations ------------------------------------------------------------------------------------------------ */

/* A sequence of m - 1 plane rotations of the rows of the m by n matrix A, from the left. Rotation j, 1 <= j < m, with
   the real numbers c[j - 1] and s[j - 1], turns two rows: of the upper one's element a and the lower one's t it makes
   s t + c a and c t - s a, each product rounded before the sum, also where c is 1 and s is 0. The name's last two
   letters say which rows these are and in which order the rotations come:
     vf, vb: rows j and j + 1 (variable);  tf, tb: rows 1 and j + 1 (top);  bf, bb: rows j and m (bottom);
     f: j from 1 to m - 1 (forward);  b: j from m - 1 to 1 (backward).
   Four columns at a time go through the whole sequence, what is left one by one; a column's bits are the same in either.
   No-op when m < 2 or n < 1. */
void tnk_lapack_ps_slasr_lvf(const tnk_int *m, const tnk_int *n, const float *c, const float *s, float *a,
                             const tnk_int *lda);
void tnk_lapack_ps_slasr_lvb(const tnk_int *m, const tnk_int *n, const float *c, const float *s, float *a,
                             const tnk_int *lda);
void tnk_lapack_ps_slasr_ltf(const tnk_int *m, const tnk_int *n, const float *c, const float *s, float *a,
                             const tnk_int *lda);
void tnk_lapack_ps_slasr_ltb(const tnk_int *m, const tnk_int *n, const float *c, const float *s, float *a,
                             const tnk_int *lda);
void tnk_lapack_ps_slasr_lbf(const tnk_int *m, const tnk_int *n, const float *c, const float *s, float *a,
                             const tnk_int *lda);
void tnk_lapack_ps_slasr_lbb(const tnk_int *m, const tnk_int *n, const float *c, const float *s, float *a,
                             const tnk_int *lda);
void tnk_lapack_ps_dlasr_lvf(const tnk_int *m, const tnk_int *n, const double *c, const double *s, double *a,
                             const tnk_int *lda);
void tnk_lapack_ps_dlasr_lvb(const tnk_int *m, const tnk_int *n, const double *c, const double *s, double *a,
                             const tnk_int *lda);
void tnk_lapack_ps_dlasr_ltf(const tnk_int *m, const tnk_int *n, const double *c, const double *s, double *a,
                             const tnk_int *lda);
void tnk_lapack_ps_dlasr_ltb(const tnk_int *m, const tnk_int *n, const double *c, const double *s, double *a,
                             const tnk_int *lda);
void tnk_lapack_ps_dlasr_lbf(const tnk_int *m, const tnk_int *n, const double *c, const double *s, double *a,
                             const tnk_int *lda);
void tnk_lapack_ps_dlasr_lbb(const tnk_int *m, const tnk_int *n, const double *c, const double *s, double *a,
                             const tnk_int *lda);
void tnk_lapack_ps_clasr_lvf(const tnk_int *m, const tnk_int *n, const float *c, const float *s,
                             tnk_complex8 *a, const tnk_int *lda);
void tnk_lapack_ps_clasr_lvb(const tnk_int *m, const tnk_int *n, const float *c, const float *s,
                             tnk_complex8 *a, const tnk_int *lda);
void tnk_lapack_ps_clasr_ltf(const tnk_int *m, const tnk_int *n, const float *c, const float *s,
                             tnk_complex8 *a, const tnk_int *lda);
void tnk_lapack_ps_clasr_ltb(const tnk_int *m, const tnk_int *n, const float *c, const float *s,
                             tnk_complex8 *a, const tnk_int *lda);
void tnk_lapack_ps_clasr_lbf(const tnk_int *m, const tnk_int *n, const float *c, const float *s,
                             tnk_complex8 *a, const tnk_int *lda);
void tnk_lapack_ps_clasr_lbb(const tnk_int *m, const tnk_int *n, const float *c, const float *s,
                             tnk_complex8 *a, const tnk_int *lda);
void tnk_lapack_ps_zlasr_lvf(const tnk_int *m, const tnk_int *n, const double *c, const double *s,
                             tnk_complex16 *a, const tnk_int *lda);
void tnk_lapack_ps_zlasr_lvb(const tnk_int *m, const tnk_int *n, const double *c, const double *s,
                             tnk_complex16 *a, const tnk_int *lda);
void tnk_lapack_ps_zlasr_ltf(const tnk_int *m, const tnk_int *n, const double *c, const double *s,
                             tnk_complex16 *a, const tnk_int *lda);
void tnk_lapack_ps_zlasr_ltb(const tnk_int *m, const tnk_int *n, const double *c, const double *s,
                             tnk_complex16 *a, const tnk_int *lda);
void tnk_lapack_ps_zlasr_lbf(const tnk_int *m, const tnk_int *n, const double *c, const double *s,
                             tnk_complex16 *a, const tnk_int *lda);
void tnk_lapack_ps_zlasr_lbb(const tnk_int *m, const tnk_int *n, const double *c, const double *s,
                             tnk_complex16 *a, const tnk_int *lda);

/* A rotation for each pair: x[i] becomes c[i] x[i] + s[i] y[i], and y[i] becomes c[i] y[i] - conj(s[i]) x[i]; c is real.
   n pairs at steps incx and incy, their rotations at steps of incc; with a step below 0 too, element 0 stands at the
   address that is given. Each product is rounded before the sum, and the bits are the same at any step and address.
   No-op when n < 1. */
void tnk_lapack_ps_slartv(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                          const float *c, const float *s, const tnk_int *incc);
void tnk_lapack_ps_dlartv(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                          const double *c, const double *s, const tnk_int *incc);
void tnk_lapack_ps_clartv(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                          const tnk_int *incy, const float *c, const tnk_complex8 *s, const tnk_int *incc);
void tnk_lapack_ps_zlartv(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                          const tnk_int *incy, const double *c, const tnk_complex16 *s, const tnk_int *incc);

/* ---- Reflectors ------------------------------------------------------------------------------------------------- */

/* One reflector of order 2 for n pairs of elements side by side; the increments are not read. With
   t = tau (x + v y): x becomes x - t, and y becomes y - v t, each operation rounded, nothing conjugated. No-op when
   n < 1. */
void tnk_lapack_ps_srot2(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                         const float *tau, const float *v);
void tnk_lapack_ps_drot2(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                         const double *tau, const double *v);
void tnk_lapack_ps_crot2(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                         const tnk_int *incy, const tnk_complex8 *tau, const tnk_complex8 *v);
void tnk_lapack_ps_zrot2(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                         const tnk_int *incy, const tnk_complex16 *tau, const tnk_complex16 *v);

/* The same of order 3 for triples: t = tau ((x + va y) + vb z); x becomes x - t, y becomes y - va t, z becomes
   z - vb t. */
void tnk_lapack_ps_srot3(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                         float *z, const tnk_int *incz, const float *tau, const float *va, const float *vb);
void tnk_lapack_ps_drot3(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                         double *z, const tnk_int *incz, const double *tau, const double *va,
                         const double *vb);
void tnk_lapack_ps_crot3(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                         const tnk_int *incy, tnk_complex8 *z, const tnk_int *incz, const tnk_complex8 *tau,
                         const tnk_complex8 *va, const tnk_complex8 *vb);
void tnk_lapack_ps_zrot3(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                         const tnk_int *incy, tnk_complex16 *z, const tnk_int *incz, const tnk_complex16 *tau,
                         const tnk_complex16 *va, const tnk_complex16 *vb);

/* C := H C, H of order m (side "L" or "l"), or C := C H, H of order n (any other letter), with H = I - tau v v^H and C m
   by n; ldc is its leading dimension. All of v is read, v[0] too. Orders up to 8 on the left and 10 on the right touch
   no work, which may be null then. Longer ones call the public tnk_blas_dgemv or cgemv, with n elements of work on the
   left and m on the right, and then the rank-one update. No-op when m or n is below 1 or tau is zero; a NaN tau goes
   on. */
void tnk_lapack_ps_dlarfx(const char *side, const tnk_int *m, const tnk_int *n, const double *v,
                          const double *tau, double *c, const tnk_int *ldc, double *work);
void tnk_lapack_ps_clarfx(const char *side, const tnk_int *m, const tnk_int *n, const tnk_complex8 *v,
                          const tnk_complex8 *tau, tnk_complex8 *c, const tnk_int *ldc, tnk_complex8 *work);

/* ---- Small factorizations ---------------------------------------------------------------------------------- */

/* Cholesky factorization of the Hermitian positive definite n by n matrix of which the named triangle is stored,
   lda >= n: A = U^H U (u), A = L L^H (l). The factor takes its place; the other triangle is neither used nor written,
   and may hold anything. uplo is not read and may be null: the name says it. Of a complex diagonal only the real part is
   read, and the imaginary part becomes 0. No-op when n < 1.
   A pivot that is not greater than zero, a NaN too, ends it: *info is then its column. The rows (u) or columns (l) of
   the factor before it stand; the pivot is left on the diagonal, the rest of its row or column unscaled; what comes
   after it is as it was. Without that *info is not written: set it to 0 before the call.
   Rows and columns are scaled by the reciprocal of the pivot's root. Sums run upwards and are taken away two terms at a
   time, so that u and l give the same bits on A and its transpose, as long as n is less than 50 (d_u, c), 40 (d_l, z).
   From there on each row or column is formed by the public matrix-vector product and, in complex, dot product; s never
   calls one. */
void tnk_lapack_ps_spotrf_u_small(const char *uplo, const tnk_int *n, float *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_spotrf_l_small(const char *uplo, const tnk_int *n, float *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_dpotrf_u_small(const char *uplo, const tnk_int *n, double *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_dpotrf_l_small(const char *uplo, const tnk_int *n, double *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_cpotrf_u_small(const char *uplo, const tnk_int *n, tnk_complex8 *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_cpotrf_l_small(const char *uplo, const tnk_int *n, tnk_complex8 *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_zpotrf_u_small(const char *uplo, const tnk_int *n, tnk_complex16 *a, const tnk_int *lda,
                                  tnk_int *info);
void tnk_lapack_ps_zpotrf_l_small(const char *uplo, const tnk_int *n, tnk_complex16 *a, const tnk_int *lda,
                                  tnk_int *info);

/* Factorization of the symmetric n by n matrix of which the named triangle is stored, lda >= n: A = U D U^T (u) from
   the last column to the first, A = L D L^T (l) from the first to the last, D with blocks of order 1 and 2 (Bunch,
   Kaufman, Mathematics of Computation 31 (1977), 163). The other triangle is neither read nor written. uplo is not read
   and may be null.
   D takes the place of A's diagonal, the off-diagonal element of a block of order 2 that of the element between its
   two; the columns of U or L take that of the columns of the triangle, without their ones and without the zero beside a
   block of order 2. ipiv, n elements: ipiv[k] = p > 0, a block of order 1 at k + 1, and row and column k + 1 changed places
   with p; two neighbours that are both -p, a block of order 2, and the row of the two that was worked on second (the
   upper one in u, the lower one in l) changed places with p. An exchange is made in what is still to be factored and
   not in columns of U or L that are done: U = P U(1) P' U(2) ..., in the order of the work.
   The first of equal candidates is taken; a NaN is no candidate. A pivot that is exactly zero, with zeros and NaNs only
   in its column, is left with its column as it is and the factorization goes on; *info is then the column of the first
   one met, and otherwise not written: set it to 0 before the call. No-op when n < 1. In ssytrf_l a block of order 1 is
   applied by the public ssyr. */
void tnk_lapack_ps_ssytrf_u_small(const char *uplo, const tnk_int *n, float *a, const tnk_int *lda,
                                  tnk_int *ipiv, tnk_int *info);
void tnk_lapack_ps_ssytrf_l_small(const char *uplo, const tnk_int *n, float *a, const tnk_int *lda,
                                  tnk_int *ipiv, tnk_int *info);
void tnk_lapack_ps_dsytrf_u_small(const char *uplo, const tnk_int *n, double *a, const tnk_int *lda,
                                  tnk_int *ipiv, tnk_int *info);
void tnk_lapack_ps_dsytrf_l_small(const char *uplo, const tnk_int *n, double *a, const tnk_int *lda,
                                  tnk_int *ipiv, tnk_int *info);

/* A := alpha x x^T + A, A complex symmetric (nothing is conjugated), its named triangle packed by columns in ap: upper,
   (i, j) at i + j (j + 1) / 2; lower, at i + j (2 n - j - 1) / 2. uplo: "U" or "u" upper, any other letter lower. No-op
   when n < 1 or alpha is zero in both parts; columns whose element of x is zero are skipped. incx > 0: element i of x
   stands at i * incx; else at (i - n) * incx, one element further than elsewhere. */
void tnk_lapack_ps_cspr(const char *uplo, const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                        const tnk_int *incx, tnk_complex8 *ap);

/* ---- Tridiagonal systems ------------------------------------------------------------------------------------
   Of order n: d the diagonal, n elements, dl and du the diagonals below and above it, n - 1 elements. B is n by nrhs,
   ldb >= n, and its solution X takes its place; nothing in B is touched when nrhs < 1. Only gtsv, dttrfb and dtsvb look
   at pivots: elsewhere a zero leads to infinities and NaNs. Right-hand sides are worked on in groups of 8 and 4 and one
   by one; a column has the same bits in any group. A complex quotient is formed by Smith's method (CACM 5 (1962), 435). */

/* A X = B for any A, by elimination with interchanges of neighbouring rows. d, dl and du become the diagonal and the
   second and first diagonal above it of the triangular factor; the last element of dl stays. Row i is interchanged with
   the next one unless |d[i]| >= |dl[i]|: so with a NaN in either. No-op when n < 1. A zero pivot ends it: *info is then
   its row, the diagonals and B are left part of the way, and otherwise *info is not written: set it to 0 before the
   call. Without right-hand sides A is factored all the same. Quotients are true ones, not products with a reciprocal. */
void tnk_lapack_ps_sgtsv_small(const tnk_int *n, const tnk_int *nrhs, float *dl, float *d, float *du,
                               float *b, const tnk_int *ldb, tnk_int *info);
void tnk_lapack_ps_dgtsv_small(const tnk_int *n, const tnk_int *nrhs, double *dl, double *d, double *du,
                               double *b, const tnk_int *ldb, tnk_int *info);

/* op(A) X = B with the factors A = L U of such an elimination. dl: its n - 1 multipliers; d, du, du2: U's diagonal and
   the two above it, n, n - 1 and n - 2 elements; ipiv[i], i < n - 1, is i + 1, or i + 2 where row i was interchanged with
   the next. itrans: 0 no transpose, 1 transpose, any other conjugate transpose, in s and d the transpose. Each element is
   divided by its pivot. No-op when n < 1. */
void tnk_lapack_ps_sgtts2(const tnk_int *itrans, const tnk_int *n, const tnk_int *nrhs, const float *dl,
                          const float *d, const float *du, const float *du2, const tnk_int *ipiv, float *b,
                          const tnk_int *ldb);
void tnk_lapack_ps_dgtts2(const tnk_int *itrans, const tnk_int *n, const tnk_int *nrhs, const double *dl,
                          const double *d, const double *du, const double *du2, const tnk_int *ipiv,
                          double *b, const tnk_int *ldb);
void tnk_lapack_ps_cgtts2(const tnk_int *itrans, const tnk_int *n, const tnk_int *nrhs,
                          const tnk_complex8 *dl, const tnk_complex8 *d, const tnk_complex8 *du,
                          const tnk_complex8 *du2, const tnk_int *ipiv, tnk_complex8 *b, const tnk_int *ldb);
void tnk_lapack_ps_zgtts2(const tnk_int *itrans, const tnk_int *n, const tnk_int *nrhs,
                          const tnk_complex16 *dl, const tnk_complex16 *d, const tnk_complex16 *du,
                          const tnk_complex16 *du2, const tnk_int *ipiv, tnk_complex16 *b,
                          const tnk_int *ldb);

/* A X = B with A = L D L^H positive definite: d the n real elements of D, e the n - 1 elements of L below its diagonal
   of ones. Order 1 scales B's row by 1 / d[0] with tnk_blas_?scal (sscal, dscal, csscal, zdscal). No-op when n < 1. From
   four right-hand sides on n times the size of a group are taken from tnk_serv_allocate; a refusal costs time only. */
void tnk_lapack_ps_sptts2(const tnk_int *n, const tnk_int *nrhs, const float *d, const float *e, float *b,
                          const tnk_int *ldb);
void tnk_lapack_ps_dptts2(const tnk_int *n, const tnk_int *nrhs, const double *d, const double *e, double *b,
                          const tnk_int *ldb);
void tnk_lapack_ps_cptts2(const tnk_int *n, const tnk_int *nrhs, const float *d, const tnk_complex8 *e,
                          tnk_complex8 *b, const tnk_int *ldb);
void tnk_lapack_ps_zptts2(const tnk_int *n, const tnk_int *nrhs, const double *d, const tnk_complex16 *e,
                          tnk_complex16 *b, const tnk_int *ldb);

/* Factors of a diagonally dominant matrix, eliminated from both ends at once without pivoting (van der Vorst,
   Parallel Computing 5 (1987), 45). The ends meet at row q = n - 1 - (n - 1) / 2, counted from 0. d becomes the reciprocals
   of the pivots. dl[k], k < q, becomes the multiplier by which row k was subtracted from row k + 1; dl[i - 1], i > q, element
   (i, i - 1) divided by the pivot of row i. du stays. *info: 0, or the position of a pivot that is zero or a NaN, at
   which it ended: pivots are met in the order 1, n, 2, n - 1, ... n < 1: *info is 0, nothing else happens. */
void tnk_lapack_ps_sdttrfb(const tnk_int *n, float *dl, float *d, float *du, tnk_int *info);
void tnk_lapack_ps_ddttrfb(const tnk_int *n, double *dl, double *d, double *du, tnk_int *info);
void tnk_lapack_ps_cdttrfb(const tnk_int *n, tnk_complex8 *dl, tnk_complex8 *d, tnk_complex8 *du,
                           tnk_int *info);
void tnk_lapack_ps_zdttrfb(const tnk_int *n, tnk_complex16 *dl, tnk_complex16 *d, tnk_complex16 *du,
                           tnk_int *info);

/* op(A) X = B with these factors. trans: "N" or "n" A, "T" or "t" its transpose, any other letter its conjugate
   transpose. *info becomes 0. */
void tnk_lapack_ps_sdttrsb(const char *trans, const tnk_int *n, const tnk_int *nrhs, const float *dl,
                           const float *d, const float *du, float *b, const tnk_int *ldb, tnk_int *info);
void tnk_lapack_ps_ddttrsb(const char *trans, const tnk_int *n, const tnk_int *nrhs, const double *dl,
                           const double *d, const double *du, double *b, const tnk_int *ldb, tnk_int *info);
void tnk_lapack_ps_cdttrsb(const char *trans, const tnk_int *n, const tnk_int *nrhs, const tnk_complex8 *dl,
                           const tnk_complex8 *d, const tnk_complex8 *du, tnk_complex8 *b, const tnk_int *ldb,
                           tnk_int *info);
void tnk_lapack_ps_zdttrsb(const char *trans, const tnk_int *n, const tnk_int *nrhs, const tnk_complex16 *dl,
                           const tnk_complex16 *d, const tnk_complex16 *du, tnk_complex16 *b,
                           const tnk_int *ldb, tnk_int *info);

/* Both at once: A X = B for a diagonally dominant A. dl and d become the factors, with the bits of dttrfb, and X has
   those of dttrsb. *info as in dttrfb; a pivot that fails leaves B, with one right-hand side, part of the way. n < 1 or
   nrhs of 0: *info is 0, nothing else happens. */
void tnk_lapack_ps_sdtsvb(const tnk_int *n, const tnk_int *nrhs, float *dl, float *d, float *du, float *b,
                          const tnk_int *ldb, tnk_int *info);
void tnk_lapack_ps_ddtsvb(const tnk_int *n, const tnk_int *nrhs, double *dl, double *d, double *du, double *b,
                          const tnk_int *ldb, tnk_int *info);
void tnk_lapack_ps_cdtsvb(const tnk_int *n, const tnk_int *nrhs, tnk_complex8 *dl, tnk_complex8 *d,
                          tnk_complex8 *du, tnk_complex8 *b, const tnk_int *ldb, tnk_int *info);
void tnk_lapack_ps_zdtsvb(const tnk_int *n, const tnk_int *nrhs, tnk_complex16 *dl, tnk_complex16 *d,
                          tnk_complex16 *du, tnk_complex16 *b, const tnk_int *ldb, tnk_int *info);

TNK_END_DECLS

#endif
