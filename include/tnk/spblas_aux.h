/* What stands beside the sparse kernel grid: reductions of private outputs, preparation of operands, products of block
   rows, Gauss-Seidel sweeps and the skyline form.

   Names are  tnk_spblas_[lp64_]<type><name>  with the types and integer widths of tnk/spblas_grid.h, unless said. All
   arguments travel by address, scalars too; nothing is checked and nothing allocated; sizes of zero or less do nothing.
   Positions and numbers of rows and columns are counted from one, unless said. No array that is written may overlap with
   another argument; what is only read may coincide or overlap. Private outputs and y may be parts of one block.

   Vectors
     zeros      (v, count)   fills count elements with zero bytes
     ones       (v)          *v := 1, of complex types with an imaginary part of 0
     neones     (v)          *v := 0 - *v, part by part: of a zero of either sign +0
     zerocheck  (v, flag)    *flag := 0 when *v equals zero in all parts, 1 otherwise and for a NaN

   Rows
     sortrow    (first, last, row_pointer, col_index, values)
                Sorts the entries of rows first ... last by column, equal columns staying in their order. Row i is
                the positions row_pointer[i-1] ... row_pointer[i]-1 of col_index and values, counted from one at
                their first elements, whatever row_pointer[0] is. Insertion: made for rows that are short or nearly
                sorted.

   Private outputs, added to y in the order of the parts
     split_par       (first, last, parts, stride, partial_y, y)
                     y[i-1] += partial_y[p*stride + i-1] for p = 0 ... parts-2 and i = first ... last. The last part's
                     output is y itself.
     split_syml_par  (end, count, start, unused, partial_y, y)
                     For the lower mirrors. y[i] += partial_y[t-1][(start-1)*count + i] for t = start ... end-1 and
                     i = 0 ... count-1.
     split_symu_par  (count, step, parts, unused, partial_y, y)
                     For the upper mirrors, whose outputs begin with their pieces. y[i] += partial_y[t+1][i +
                     step*(parts-1-t)] for t = 0 ... parts-1 and i = 0 ... count-1. partial_y[0] is not read.
     In the latter two partial_y is an array of addresses; `unused` is not read.

   Stored diagonals; without a type letter
     find_diag_par_ln, _lu, _un, _uu
                (diag_distance, diag_count, band_first, band_last, span_first, span_last, status)
                The diagonals that belong to a lower or upper triangle, read with its diagonal (n) or with a unit one
                (u). With p the position of the first distance that is not negative, or diag_count + 1, and v the
                distance there (one behind the array in the latter case: that element must be readable):
                      band_first               band_last               span_first  span_last   status
                  ln  1                        p-1                     1           p           0 if v is 0, else -1
                  lu  1                        p-1 if v is 0, else p   1           p           0
                  un  min(p+1, diag_count)     diag_count              p           diag_count  0 if v is 0, else -1
                  uu  p+1                      diag_count              p           diag_count  0
                Without a main diagonal (v above 0) lu has the diagonal at p in its band, which is none of the triangle,
                and un and uu have not, although it is one.

   Block rows
     A matrix of m block rows: compressed rows of square blocks of block_size, all of a block's elements one after
     another; row pointers count blocks from row_start[0] on. The functions of the cspblas_ prefix
     (tnk_spblas_[lp64_]cspblas_<type><name>) and those with cspblas in their name take block columns from zero, blocks
     by rows and dense operands by rows; the others take block columns from one, blocks by columns and dense operands by
     columns. Triangles and diagonals are those of the elements, so that a diagonal block may count in part; the rest of
     it has no effect, whatever it is.

     bsrbv      (block_size, offset_a, offset_x, a, x, y)
                y += A x with one block A at a + offset_a and x at x + offset_x, both counted in elements from zero.
     bsrmmgen, bsrmmdiag, bsrmmsym, bsrmmskew, bsrmmtr
                (flag, m, nrhs, block_size, alpha, values, col_index, row_start, row_end, b, ldb, c, ldc)
                C += alpha op(A) B for a general, diagonal, symmetric, skew-symmetric or triangular A of nrhs right-hand
                sides. `flag` is a sum of tnk_spblas_flag values, of which gen heeds TRANSPOSED; diag UNIT; sym UPPER
                and UNIT; skew TRANSPOSED and UPPER; tr all three. With UNIT the diagonal is ones and not read; a
                skew-symmetric matrix has none. Terms are a_rs * (alpha * b_s), added one by one.
     bsr_invdiag, bsr_cspblas_invdiag
                (m, flag, block_size, values, col_index, row_start, row_end, work)
                work_j /= a_jj for all rows j; nothing when flag is 0 (a unit diagonal has nothing to divide by). The
                diagonal block is the first of its row with the row's number, or the row's last block where none has it.
                Empty block rows are passed over. Zeros are divided by as IEEE 754 has it.
     bsr_gauss, bsr_cspblas_gauss
                (flag, m, block_size, values, col_index, row_start, row_end, rhs, x)
                A Gauss-Seidel sweep for A x = rhs, forwards, or backwards when flag is not 0: each element of x in turn
                becomes (rhs_i - sum of a_ij x_j, j != i) / a_ii. Forwards this is (L + D) x_new = rhs - U x_old.
     bsc_gauss, bsc_cspblas_gauss
                (flag, m, block_size, values, row_index, col_start, col_end, residual, x)
                The same sweep over a matrix of m compressed block columns. It keeps residual = rhs - A x, which the
                caller has formed (rhs itself for x of zeros) and may go on with: t = residual_j / a_jj, x_j += t,
                residual -= t * (column j).
     Repeated entries all count, on the diagonal of a sweep too; in the division the first block stands for all.

   Compressed rows of a symmetric matrix; d only
     dcsrsymmvs (flag, m, values, col_index, pointer, x, y)
                y += A x from one triangle, columns from one. Row i is the positions pointer[i-1] ... pointer[i]-1,
                counted from zero. `flag`: UPPER, UNIT; entries of the other triangle have no effect.

   Skyline
     One triangle of m rows: of each row of a lower one, or column of an upper one, the dense run that ends at the
     diagonal. Run i is the positions pointer[i-1] ... pointer[i]-1, counted from pointer[0]; a run of none has no
     diagonal either.

     skymmgk, skymmkk, skymmsk
                (flag, unused, m, nrhs, flag2, diag_flag, alpha, values, pointer, b, ldb, c, ldc)
                C += alpha op(A) B with dense operands by columns. The triangle is upper when flag2 is not 0;
                `unused` is not read. kk: A is the triangle, transposed when flag is not 0, and its diagonal is ones
                when diag_flag is not 0. sk: A is symmetric, the other triangle mirrored; flag and flag2 are not
                read; diag_flag as in kk. Such ones stand in every row, those with a run of none too, and the last
                element of a run is not read then. gk: the triangle as a part of a general matrix, which is two calls,
                one a triangle: as kk, but with a diag_flag that is not 0 there is no diagonal, for the triangle that
                leaves it to the other. Real runs go to tnk_blas_?dot and all to tnk_blas_?axpy, a call a run and
                right-hand side.
     skysvk     (flag, m, flag2, diag_flag, values, pointer, y)
                y := op(A)^-1 y with the A that skymmkk multiplies by: the same flags. A run of none is divided by as if
                its diagonal were 0. Real runs go to tnk_blas_?dot and all to tnk_blas_?axpy.

   Method: Y. Saad, "Iterative Methods for Sparse Linear Systems", 2nd ed. (2003), sections 3.4 and 4.1. */
#ifndef TNK_SPBLAS_AUX_H
#define TNK_SPBLAS_AUX_H

#include <tnk/types.h>

/* What a `flag` of the products is the sum of; nothing set is the lower triangle, as it stands, with its diagonal. */
enum tnk_spblas_flag { TNK_SPBLAS_TRANSPOSED = 1, TNK_SPBLAS_UPPER = 2, TNK_SPBLAS_UNIT = 4 };

/* Calls X(prefix, t, T, I, ...) for each element type in each integer width. */
#define TNK_SP_AUX_EACH_WIDTH(X, t, T, ...)                                                                  \
  X(tnk_spblas_, t, T, tnk_int, __VA_ARGS__) X(tnk_spblas_lp64_, t, T, int32_t, __VA_ARGS__)
#define TNK_SP_AUX_EACH(X, ...)                                                                              \
  TNK_SP_AUX_EACH_WIDTH(X, s, float, __VA_ARGS__)                                                            \
  TNK_SP_AUX_EACH_WIDTH(X, d, double, __VA_ARGS__)                                                           \
  TNK_SP_AUX_EACH_WIDTH(X, c, tnk_complex8, __VA_ARGS__)                                                     \
  TNK_SP_AUX_EACH_WIDTH(X, z, tnk_complex16, __VA_ARGS__)

/* The argument lists that several functions have. */
#define TNK_SP_BSRBV(name, T, I)                                                                             \
  void name(const I *block_size, const I *offset_a, const I *offset_x, const T *a, const T *x, T *y);
#define TNK_SP_BSRMM(name, T, I)                                                                             \
  void name(const I *flag, const I *m, const I *nrhs, const I *block_size, const T *alpha, const T *values,  \
            const I *col_index, const I *row_start, const I *row_end, const T *b, const I *ldb, T *c,        \
            const I *ldc);
#define TNK_SP_INVDIAG(name, T, I)                                                                           \
  void name(const I *m, const I *flag, const I *block_size, const T *values, const I *col_index,             \
            const I *row_start, const I *row_end, T *work);
#define TNK_SP_BSR_GAUSS(name, T, I)                                                                         \
  void name(const I *flag, const I *m, const I *block_size, const T *values, const I *col_index,             \
            const I *row_start, const I *row_end, const T *rhs, T *x);
#define TNK_SP_BSC_GAUSS(name, T, I)                                                                         \
  void name(const I *flag, const I *m, const I *block_size, const T *values, const I *row_index,             \
            const I *col_start, const I *col_end, T *residual, T *x);
#define TNK_SP_SKYMM(name, T, I)                                                                             \
  void name(const I *flag, const void *unused, const I *m, const I *nrhs, const I *flag2,                    \
            const I *diag_flag, const T *alpha, const T *values, const I *pointer, const T *b, const I *ldb, \
            T *c, const I *ldc);

#define TNK_SP_AUX_DECLARE(p, t, T, I, ...)                                                                  \
  void p##t##zeros(T *v, const I *count);                                                                    \
  void p##t##ones(T *v);                                                                                     \
  void p##t##neones(T *v);                                                                                   \
  void p##t##zerocheck(const T *v, I *flag);                                                                 \
  void p##t##sortrow(const I *first, const I *last, const I *row_pointer, I *col_index, T *values);          \
  void p##t##split_par(const I *first, const I *last, const I *parts, const I *stride, const T *partial_y,   \
                       T *y);                                                                                \
  void p##t##split_syml_par(const I *end, const I *count, const I *start, const void *unused,                \
                            const T *const *partial_y, T *y);                                                \
  void p##t##split_symu_par(const I *count, const I *step, const I *parts, const void *unused,               \
                            const T *const *partial_y, T *y);                                                \
  TNK_SP_BSRBV(p##t##bsrbv, T, I)                                                                            \
  TNK_SP_BSRBV(p##cspblas_##t##bsrbv, T, I)                                                                  \
  TNK_SP_BSRMM(p##t##bsrmmgen, T, I)                                                                         \
  TNK_SP_BSRMM(p##t##bsrmmdiag, T, I)                                                                        \
  TNK_SP_BSRMM(p##t##bsrmmsym, T, I)                                                                         \
  TNK_SP_BSRMM(p##t##bsrmmskew, T, I)                                                                        \
  TNK_SP_BSRMM(p##t##bsrmmtr, T, I)                                                                          \
  TNK_SP_BSRMM(p##cspblas_##t##bsrmmgen, T, I)                                                               \
  TNK_SP_BSRMM(p##cspblas_##t##bsrmmdiag, T, I)                                                              \
  TNK_SP_BSRMM(p##cspblas_##t##bsrmmsym, T, I)                                                               \
  TNK_SP_BSRMM(p##cspblas_##t##bsrmmskew, T, I)                                                              \
  TNK_SP_BSRMM(p##cspblas_##t##bsrmmtr, T, I)                                                                \
  TNK_SP_INVDIAG(p##t##bsr_invdiag, T, I)                                                                    \
  TNK_SP_INVDIAG(p##t##bsr_cspblas_invdiag, T, I)                                                            \
  TNK_SP_BSR_GAUSS(p##t##bsr_gauss, T, I)                                                                    \
  TNK_SP_BSR_GAUSS(p##t##bsr_cspblas_gauss, T, I)                                                            \
  TNK_SP_BSC_GAUSS(p##t##bsc_gauss, T, I)                                                                    \
  TNK_SP_BSC_GAUSS(p##t##bsc_cspblas_gauss, T, I)                                                            \
  TNK_SP_SKYMM(p##t##skymmgk, T, I)                                                                          \
  TNK_SP_SKYMM(p##t##skymmkk, T, I)                                                                          \
  TNK_SP_SKYMM(p##t##skymmsk, T, I)                                                                          \
  void p##t##skysvk(const I *flag, const I *m, const I *flag2, const I *diag_flag, const T *values,          \
                    const I *pointer, T *y);

#define TNK_SP_FIND_DIAG(name, I)                                                                            \
  void name(const I *diag_distance, const I *diag_count, I *band_first, I *band_last, I *span_first,         \
            I *span_last, I *status);
#define TNK_SP_AUX_DECLARE_UNTYPED(p, I)                                                                     \
  TNK_SP_FIND_DIAG(p##find_diag_par_ln, I)                                                                   \
  TNK_SP_FIND_DIAG(p##find_diag_par_lu, I)                                                                   \
  TNK_SP_FIND_DIAG(p##find_diag_par_un, I)                                                                   \
  TNK_SP_FIND_DIAG(p##find_diag_par_uu, I)                                                                   \
  void p##dcsrsymmvs(const I *flag, const I *m, const double *values, const I *col_index, const I *pointer,  \
                     const double *x, double *y);

TNK_BEGIN_DECLS

TNK_SP_AUX_EACH(TNK_SP_AUX_DECLARE, )
TNK_SP_AUX_DECLARE_UNTYPED(tnk_spblas_, tnk_int)
TNK_SP_AUX_DECLARE_UNTYPED(tnk_spblas_lp64_, int32_t)

TNK_END_DECLS

#endif
