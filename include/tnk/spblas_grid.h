/* The sparse kernel grid: the grammar of its names, and the kernels that follow from it.

   A name is   tnk_spblas_[lp64_]<type><storage><base><op><kind><triangle><diagonal><layout>__<operation>out_<mode>

     type       s d c z           element: float, double, complex of these
     storage    csr coo dia bsr   compressed rows, coordinate triples, stored diagonals, block compressed rows
     base       0 1               of the column and row numbers; the base of row pointers is row_start[0]
     op         n t c s           A, its transpose, its conjugate transpose, its conjugate
     kind       g s h t d a       general, symmetric, Hermitian, triangular, diagonal, skew-symmetric
     triangle   l u _             the triangle that is meant, whatever else is stored; _ for g and d
     diagonal   n u _             read from the matrix, or ones that are not read; _ for g and a
     layout     c f               dense operands by rows or by columns; c with base 0, f with base 1
     operation  mv mm gemv        y += alpha op(A) x, C += alpha op(A) B, y := A x
                sv sm             y := op(A)^-1 y, C := op(A)^-1 C, in place
     mode       seq par           the whole job, or a piece of it: first ... last, from one, both included

   With lp64 every index and size is a 32-bit integer and so is all arithmetic on them. All arguments travel by address,
   alpha too. Nothing is checked; nothing allocated but in some solves, below. What is written, y or C, must not overlap
   with anything that is read: x, B, alpha, the arrays of A, sizes; what is only read may coincide or overlap. What a
   piece is depends on the operation:

     csr mv, bsr mv, gemv   (block) rows; those that scatter (tg, cg, s, h, a) need a private y each, added up
                            afterwards by split_par, split_syml_par or split_symu_par
     coo mv of g, s, h, a   stored entries, with a private y each
     coo mv of t, dia mv    nothing: first and last are not read, the whole matrix is run
     mm, sm                 right-hand sides

   Where pieces are read, one with last < first is empty, and the call returns at once. So do seq products, csr mm and
   all of dia with m < 1. The other coo kernels and bsr do not ask: with m < 1 coo adds the entries all the same, and
   none of a diagonal of ones.

   No array need be aligned, not even to its elements. csr mv and csr mm by columns sum a long row in rounds that begin
   at a 32-byte boundary of its values, so that the last bits of a sum may depend on where `values` stands. Real values
   that are not aligned to their size are summed one by one, complex ones in rounds from the first; that costs speed.

   What does not count in compressed rows: csr mv of kinds t and a, and of s and h with a unit diagonal, and csr mm of
   all kinds with a triangle add whole rows, without a test, and take away again what lies outside of the triangle, and
   what is stored on a diagonal of ones or of a skew matrix. Large numbers there cost digits: 1e17 leaves nothing of a
   sum of ones. An infinity or NaN there gives NaN. What is hit is the row of the result with the entry's row number, in
   kernels tt and ct the one with its column number. csr mv of kinds s and h that read the diagonal, and all other
   storages, pass such entries over, whatever they hold.

   Empty rows: csr mv of op n or s with kind g, and of kinds s, h and a in every op, and of nt and st, add alpha times 0
   for them, and so does csr mm of ng and sg: an alpha that is not finite gives NaN there. The other kernels of
   compressed rows and blocks add nothing for an empty row but its part of a diagonal of ones; gemv stores zeros.

   Ops of the kinds that mirror: ca of compressed rows is conj(A), as sa of triples is; ta and ca of stored diagonals
   are the transposes themselves, -A and -conj(A). nh takes a diagonal as it is stored, imaginary parts too, in every
   storage; th takes its conjugate, in compressed rows and stored diagonals alike. Triples have no th: with row and
   column numbers and the triangle's letter exchanged nh is the transpose, with its diagonal as stored.

   The csr mv kernels that mirror an upper triangle (kinds s, h and a, in every op) take x and y from element `first`
   on, not from element one, so that a private y ends at the end of the vector and begins with the piece. x must be
   part of the whole vector all the same: the kernels of unit diagonal and of kind a multiply whole rows and may read
   elements before `first`. Those of the lower triangle take whole vectors and touch y up to element `last`.

   In gemv row_pointer holds one element more than there are rows: a row ends where the next one begins.

   m is the number of rows of A; csr mv kernels with first and last do not read it. The n of csr mm is the number of
   right-hand sides of the whole job, as announced: which of them are computed is told by first and last. It decides,
   with m and the average length of a row, whether kernels of kind g and op n or s by columns take the rows in parts
   that stay in the cache; the sums are the same either way, and other kernels do not read it. The n of coo is the
   number of columns of A and is not read.

   Coordinate kernels add the entries in their order. Those of unit diagonal add alpha x to all m rows, in each call
   whose piece is not empty.

   Stored diagonals: `values` holds diag_count diagonals, diag_stride elements apart; that of distance
   k = diag_distance[d - 1], column minus row, has its element for row i at i - 1. Diagonals may come in any order, and
   one that is there twice counts twice. What lies outside the matrix is not read. Kind g is m by n; other kinds are
   square of order m, and n is not read. The k of the mm kernels, the number of right-hand sides, is not read either:
   last tells it.

   Blocks: `values` holds block_size^2 elements a block, by columns with base 1 and by rows with base 0; row pointers
   and column numbers count blocks. Where a triangle is meant, it is that of the elements: of a block on the diagonal
   too the other triangle has no effect. x and y are whole vectors; a lower triangle touches y up to the end of block
   row `last`.

   Solves. alpha is read by csr nd_n and cd_n alone: y_i *= alpha / a_ii, the quotient first; those of coo and dia divide,
   coo by each entry on the diagonal. A zero pivot gives what IEEE 754 division gives. Complex quotients are formed in a
   wider type, in which squares neither overflow nor vanish.

   csr: rows ascend and, but for a diagonal of ones, hold their diagonal: a pivot is found by its place. Let k be the
   first position in row i whose column is not below i, or one past the row's end where there is none; of op n and s. A
   lower triangle takes what stands at k for its pivot, so that a row without a diagonal gets the next entry there is,
   be it of the next row; what stands behind k does not count; an empty row has the k of the row before, the first one
   its start. An upper triangle counts what stands behind k, which in an empty row is its start, as with kind d. Of op t
   and c: the lower search goes back from the row's last position to a column that is not above i, the upper one forward
   to one that is not below, both past the row's bounds if need be: so the first row with entries, of upper ones the
   last, must have one. An empty row's k is before its start, of upper ones at it. Beside a diagonal of ones an entry at
   k counts unless it is on the diagonal (never in lower ones of op n and s, where it would be above).

   sv sums a lower row in order, an upper one as csr mv does. sm of op n and s takes an array of n elements from
   tnk_serv_allocate, sums in order and multiplies by the pivot's reciprocal; without memory it divides, one right-hand
   side after another, and columns are then solved as by sv. Those of op t and c, which add t a_ij with t = 0 - y_i walking
   away from the pivot, divide and allocate nothing. With m = 0 kind t of op n and s divides by zero: not to be called.

   coo: entries of the other triangle do not count, nor beside ones those on the diagonal; of several on the diagonal of a
   row the last does. Without ones every row must have one. Each call lists the rows (tnk/spblas_convert.h) in memory of
   m, m and nnz integers, without the first beside ones, and as much again as the list takes. A row's sum goes in rounds
   of four in four sums. Without memory the result is not the solution: for each row in turn the entries of all rows in
   the triangle are summed, and the last entry on the diagonal divides. st of real types is nt. m, alpha, n and x stand in
   the lists of arguments as in the products; n, alpha and x are not read.

   dia: band_first, band_last are what find_diag_par_ln, _lu, _un, _uu (tnk/spblas_aux.h) found, `diag` span_last of a lower
   triangle and span_first of an upper one: the main diagonal, which is not read beside ones. _uu takes it to be stored:
   where it is not, band_first has to be one less, lest the first diagonal above be left out. Elements of the band that are
   not strictly in the triangle or not in the matrix are passed over; of kind d only `diag` is read.

   Method: the compressed and coordinate forms as in Y. Saad, "Iterative Methods for Sparse Linear Systems", 2nd ed.
   (2003), section 3.4. mv and mm add what USMV and USMM do in I. Duff, M. Heroux, R. Pozo, ACM TOMS 28 (2002). */
#ifndef TNK_SPBLAS_GRID_H
#define TNK_SPBLAS_GRID_H

#include <tnk/types.h>

/* ---- The cells of the grid ------------------------------------------------------------------------------------
   Each list calls X(op, kind, triangle, diagonal, ...) once for each of its groups; complex types have those of the
   _C list beside those of the _R list. What follows the groups is passed on. */

#define TNK_SP_FOUR(X, op, kind, ...)                                                                        \
  X(op, kind, l, n, __VA_ARGS__)                                                                             \
  X(op, kind, l, u, __VA_ARGS__) X(op, kind, u, n, __VA_ARGS__) X(op, kind, u, u, __VA_ARGS__)
#define TNK_SP_SKEW(X, op, ...) X(op, a, l, _, __VA_ARGS__) X(op, a, u, _, __VA_ARGS__)

#define TNK_SP_CSR_MV_PAR_R(X, ...)                                                                          \
  X(n, g, _, _, __VA_ARGS__)                                                                                 \
  X(t, g, _, _, __VA_ARGS__)                                                                                 \
  TNK_SP_SKEW(X, n, __VA_ARGS__) TNK_SP_FOUR(X, n, s, __VA_ARGS__) TNK_SP_FOUR(X, n, t, __VA_ARGS__)
#define TNK_SP_CSR_MV_PAR_C(X, ...)                                                                          \
  X(c, g, _, _, __VA_ARGS__)                                                                                 \
  X(s, g, _, _, __VA_ARGS__)                                                                                 \
  TNK_SP_SKEW(X, c, __VA_ARGS__)                                                                             \
  TNK_SP_FOUR(X, c, s, __VA_ARGS__)                                                                          \
  TNK_SP_FOUR(X, n, h, __VA_ARGS__) TNK_SP_FOUR(X, s, t, __VA_ARGS__) TNK_SP_FOUR(X, t, h, __VA_ARGS__)

#define TNK_SP_CSR_MV_SEQ_R(X, ...)                                                                          \
  X(n, d, _, n, __VA_ARGS__) X(n, d, _, u, __VA_ARGS__) TNK_SP_FOUR(X, t, t, __VA_ARGS__)
#define TNK_SP_CSR_MV_SEQ_C(X, ...) X(c, d, _, n, __VA_ARGS__) TNK_SP_FOUR(X, c, t, __VA_ARGS__)

#define TNK_SP_CSR_MM_PAR_R(X, ...) TNK_SP_CSR_MV_PAR_R(X, __VA_ARGS__) TNK_SP_FOUR(X, t, t, __VA_ARGS__)
#define TNK_SP_CSR_MM_PAR_C(X, ...) TNK_SP_CSR_MV_PAR_C(X, __VA_ARGS__) TNK_SP_FOUR(X, c, t, __VA_ARGS__)

#define TNK_SP_CSR_MM_SEQ_R(X, ...) X(n, d, _, n, __VA_ARGS__) X(n, d, _, u, __VA_ARGS__)
#define TNK_SP_CSR_MM_SEQ_C(X, ...) X(c, d, _, n, __VA_ARGS__)

#define TNK_SP_CSR_SV_SEQ_R(X, ...)                                                                          \
  X(n, d, _, n, __VA_ARGS__) TNK_SP_FOUR(X, n, t, __VA_ARGS__) TNK_SP_FOUR(X, t, t, __VA_ARGS__)
#define TNK_SP_CSR_SV_SEQ_C(X, ...)                                                                          \
  X(c, d, _, n, __VA_ARGS__) TNK_SP_FOUR(X, c, t, __VA_ARGS__) TNK_SP_FOUR(X, s, t, __VA_ARGS__)
#define TNK_SP_CSR_SM_PAR_R(X, ...) TNK_SP_CSR_SV_SEQ_R(X, __VA_ARGS__)
#define TNK_SP_CSR_SM_PAR_C(X, ...) TNK_SP_CSR_SV_SEQ_C(X, __VA_ARGS__)

#define TNK_SP_COO_MV_PAR_R(X, ...)                                                                          \
  X(n, g, _, _, __VA_ARGS__)                                                                                 \
  TNK_SP_SKEW(X, n, __VA_ARGS__) TNK_SP_FOUR(X, n, s, __VA_ARGS__) TNK_SP_FOUR(X, n, t, __VA_ARGS__)
#define TNK_SP_COO_MV_PAR_C(X, ...)                                                                          \
  X(s, g, _, _, __VA_ARGS__)                                                                                 \
  TNK_SP_SKEW(X, s, __VA_ARGS__)                                                                             \
  TNK_SP_FOUR(X, n, h, __VA_ARGS__) TNK_SP_FOUR(X, s, s, __VA_ARGS__) TNK_SP_FOUR(X, s, t, __VA_ARGS__)

#define TNK_SP_COO_MV_SEQ_R(X, ...) X(n, d, _, n, __VA_ARGS__) X(n, d, _, u, __VA_ARGS__)
#define TNK_SP_COO_MV_SEQ_C(X, ...) X(s, d, _, n, __VA_ARGS__)

#define TNK_SP_COO_MM_PAR_R(X, ...) TNK_SP_COO_MV_PAR_R(X, __VA_ARGS__) TNK_SP_COO_MV_SEQ_R(X, __VA_ARGS__)
#define TNK_SP_COO_MM_PAR_C(X, ...) TNK_SP_COO_MV_PAR_C(X, __VA_ARGS__) TNK_SP_COO_MV_SEQ_C(X, __VA_ARGS__)

#define TNK_SP_COO_SV_SEQ_R(X, ...) X(n, d, _, n, __VA_ARGS__) TNK_SP_FOUR(X, n, t, __VA_ARGS__)
#define TNK_SP_COO_SV_SEQ_C(X, ...) X(s, d, _, n, __VA_ARGS__) TNK_SP_FOUR(X, s, t, __VA_ARGS__)
/* With st of real types too. */
#define TNK_SP_COO_SM_PAR_R(X, ...) TNK_SP_COO_SV_SEQ_R(X, __VA_ARGS__) TNK_SP_FOUR(X, s, t, __VA_ARGS__)
#define TNK_SP_COO_SM_PAR_C(X, ...) X(s, d, _, n, __VA_ARGS__)

#define TNK_SP_DIA_MV_PAR_R(X, ...)                                                                          \
  X(n, g, _, _, __VA_ARGS__)                                                                                 \
  X(t, g, _, _, __VA_ARGS__)                                                                                 \
  TNK_SP_SKEW(X, n, __VA_ARGS__)                                                                             \
  TNK_SP_SKEW(X, t, __VA_ARGS__)                                                                             \
  X(n, d, _, n, __VA_ARGS__)                                                                                 \
  TNK_SP_FOUR(X, n, s, __VA_ARGS__) TNK_SP_FOUR(X, n, t, __VA_ARGS__) TNK_SP_FOUR(X, t, t, __VA_ARGS__)
#define TNK_SP_DIA_MV_PAR_C(X, ...)                                                                          \
  X(c, g, _, _, __VA_ARGS__)                                                                                 \
  TNK_SP_SKEW(X, c, __VA_ARGS__)                                                                             \
  X(c, d, _, n, __VA_ARGS__)                                                                                 \
  TNK_SP_FOUR(X, c, s, __VA_ARGS__)                                                                          \
  TNK_SP_FOUR(X, c, t, __VA_ARGS__) TNK_SP_FOUR(X, n, h, __VA_ARGS__) TNK_SP_FOUR(X, t, h, __VA_ARGS__)
#define TNK_SP_DIA_MM_PAR_R(X, ...) TNK_SP_DIA_MV_PAR_R(X, __VA_ARGS__)
#define TNK_SP_DIA_MM_PAR_C(X, ...) TNK_SP_DIA_MV_PAR_C(X, __VA_ARGS__)

#define TNK_SP_DIA_SV_SEQ_R(X, ...) TNK_SP_DIA_SM_SEQ_R(X, __VA_ARGS__) TNK_SP_DIA_SM_PAR_R(X, __VA_ARGS__)
#define TNK_SP_DIA_SV_SEQ_C(X, ...) TNK_SP_DIA_SM_SEQ_C(X, __VA_ARGS__) TNK_SP_DIA_SM_PAR_C(X, __VA_ARGS__)
#define TNK_SP_DIA_SM_PAR_R(X, ...) TNK_SP_FOUR(X, n, t, __VA_ARGS__) TNK_SP_FOUR(X, t, t, __VA_ARGS__)
#define TNK_SP_DIA_SM_PAR_C(X, ...) TNK_SP_FOUR(X, c, t, __VA_ARGS__)
#define TNK_SP_DIA_SM_SEQ_R(X, ...) X(n, d, _, n, __VA_ARGS__)
#define TNK_SP_DIA_SM_SEQ_C(X, ...) X(c, d, _, n, __VA_ARGS__)

#define TNK_SP_BSR_MV_PAR_R(X, ...) X(n, s, l, n, __VA_ARGS__) X(n, s, u, n, __VA_ARGS__)
#define TNK_SP_BSR_GEMV_PAR_R(X, ...) X(n, g, _, _, __VA_ARGS__)

#define TNK_SP_NO_GROUPS(X, ...)
#define TNK_SP_BSR_MV_PAR_C(X, ...) TNK_SP_NO_GROUPS(X, __VA_ARGS__)
#define TNK_SP_BSR_GEMV_PAR_C(X, ...) TNK_SP_NO_GROUPS(X, __VA_ARGS__)

/* A cell in one element type and one base and layout, the integer width given by its prefix and type: calls
   X(op, kind, triangle, diagonal, prefix, t, T, I, base, layout). `cell` is CSR_MV_PAR and so on. */
#define TNK_SP_CELL_s(cell, X, prefix, I, base, layout)                                                      \
  TNK_SP_##cell##_R(X, prefix, s, float, I, base, layout)
#define TNK_SP_CELL_d(cell, X, prefix, I, base, layout)                                                      \
  TNK_SP_##cell##_R(X, prefix, d, double, I, base, layout)
#define TNK_SP_CELL_c(cell, X, prefix, I, base, layout)                                                      \
  TNK_SP_##cell##_R(X, prefix, c, tnk_complex8, I, base, layout)                                             \
      TNK_SP_##cell##_C(X, prefix, c, tnk_complex8, I, base, layout)
#define TNK_SP_CELL_z(cell, X, prefix, I, base, layout)                                                      \
  TNK_SP_##cell##_R(X, prefix, z, tnk_complex16, I, base, layout)                                            \
      TNK_SP_##cell##_C(X, prefix, z, tnk_complex16, I, base, layout)

/* The same in both integer widths, for base 1 and layout f, and for both pairs of base and layout. */
#define TNK_SP_EACH_1F(t, cell, X)                                                                           \
  TNK_SP_CELL_##t(cell, X, tnk_spblas_, tnk_int, 1, f)                                                       \
      TNK_SP_CELL_##t(cell, X, tnk_spblas_lp64_, int32_t, 1, f)
#define TNK_SP_EACH(t, cell, X)                                                                              \
  TNK_SP_EACH_1F(t, cell, X)                                                                                 \
  TNK_SP_CELL_##t(cell, X, tnk_spblas_, tnk_int, 0, c)                                                       \
      TNK_SP_CELL_##t(cell, X, tnk_spblas_lp64_, int32_t, 0, c)

/* The identifier of a kernel, from what X is given. */
#define TNK_SP_NAME(op, kind, triangle, diagonal, prefix, t, storage, base, layout, operation, mode)         \
  prefix##t##storage##base##op##kind##triangle##diagonal##layout##__##operation##out_##mode

/* ---- The argument lists ----------------------------------------------------------------------------------------- */

#define TNK_SP_CSR_MV_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, mv,                                                 \
                   par)(const I *first, const I *last, const I *m, const T *alpha, const T *values,          \
                        const I *col_index, const I *row_start, const I *row_end, const T *x, T *y);
#define TNK_SP_CSR_MV_SEQ(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, mv,                                                 \
                   seq)(const I *m, const T *alpha, const T *values, const I *col_index, const I *row_start, \
                        const I *row_end, const T *x, T *y);
#define TNK_SP_CSR_MM_PAR(op, kind, tri, diag, p, t, T, I, base, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, mm,                                              \
                   par)(const I *first, const I *last, const I *m, const I *n, const T *alpha,               \
                        const T *values, const I *col_index, const I *row_start, const I *row_end,           \
                        const T *b, const I *ldb, T *c, const I *ldc);
#define TNK_SP_CSR_MM_SEQ(op, kind, tri, diag, p, t, T, I, base, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, mm,                                              \
                   seq)(const I *m, const I *nrhs, const T *alpha, const T *values, const I *col_index,      \
                        const I *row_start, const I *row_end, const T *b, const I *ldb, T *c, const I *ldc);
#define TNK_SP_COO_MV_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, mv, par)(                                           \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *row_index, const I *col_index, const I *nnz, const T *x, T *y);
#define TNK_SP_COO_MV_SEQ(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, mv,                                                 \
                   seq)(const I *m, const I *n, const T *alpha, const T *values, const I *row_index,         \
                        const I *col_index, const I *nnz, const T *x, T *y);
#define TNK_SP_COO_MM_PAR(op, kind, tri, diag, p, t, T, I, base, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, base, l, mm, par)(                                        \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *row_index, const I *col_index, const I *nnz, const T *b, const I *ldb, T *c, const I *ldc);
#define TNK_SP_DIA_MV_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, b, l, mv, par)(                                           \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *diag_stride, const I *diag_distance, const I *diag_count, const T *x, T *y);
#define TNK_SP_DIA_MM_PAR(op, kind, tri, diag, p, t, T, I, base, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, base, l, mm,                                              \
                   par)(const I *first, const I *last, const I *m, const I *n, const I *k, const T *alpha,   \
                        const T *values, const I *diag_stride, const I *diag_distance, const I *diag_count,  \
                        const T *b, const I *ldb, T *c, const I *ldc);
#define TNK_SP_CSR_SV_SEQ(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, sv,                                                 \
                   seq)(const I *m, const T *alpha, const T *values, const I *col_index, const I *row_start, \
                        const I *row_end, T *y);
#define TNK_SP_CSR_SM_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, sm, par)(                                           \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *col_index, const I *row_start, const I *row_end, T *c, const I *ldc);
#define TNK_SP_COO_SV_SEQ(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, sv,                                                 \
                   seq)(const I *m, const I *n, const T *alpha, const T *values, const I *row_index,         \
                        const I *col_index, const I *nnz, const T *x, T *y);
#define TNK_SP_COO_SM_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, sm, par)(                                           \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *row_index, const I *col_index, const I *nnz, T *c, const I *ldc);
#define TNK_SP_DIA_SV_SEQ(op, kind, tri, diagonal, p, t, T, I, b, l)                                         \
  void TNK_SP_NAME(op, kind, tri, diagonal, p, t, dia, b, l, sv,                                             \
                   seq)(const I *m, const T *values, const I *diag_stride, const I *diag_distance, T *y,     \
                        const I *band_first, const I *band_last, const I *diag);
#define TNK_SP_DIA_SM_PAR(op, kind, tri, diagonal, p, t, T, I, b, l)                                         \
  void TNK_SP_NAME(op, kind, tri, diagonal, p, t, dia, b, l, sm, par)(                                       \
      const I *first, const I *last, const I *m, const T *values, const I *diag_stride,                      \
      const I *diag_distance, T *c, const I *ldc, const I *band_first, const I *band_last, const I *diag);
#define TNK_SP_DIA_SM_SEQ(op, kind, tri, diagonal, p, t, T, I, b, l)                                         \
  void TNK_SP_NAME(op, kind, tri, diagonal, p, t, dia, b, l, sm, seq)(                                       \
      const I *m, const I *nrhs, const T *values, const I *diag_stride, const I *diag_distance, T *c,        \
      const I *ldc, const I *band_first, const I *band_last, const I *diag);
#define TNK_SP_BSR_MV_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                             \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, bsr, b, l, mv, par)(                                           \
      const I *first, const I *last, const I *m, const I *block_size, const T *alpha, const T *values,       \
      const I *col_index, const I *row_start, const I *row_end, const T *x, T *y);
/* The fifth and the ninth argument are not read. */
#define TNK_SP_BSR_GEMV_PAR(op, kind, tri, diag, p, t, T, I, b, l)                                           \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, bsr, b, l, gemv,                                               \
                   par)(const I *first, const I *last, const I *m, const I *block_size,                      \
                        const void *unused_fifth, const T *values, const I *col_index, const I *row_pointer, \
                        const void *unused_ninth, const T *x, T *y);
/* The eighth argument is not read. */
#define TNK_SP_CSR_GEMV_PAR(p, I)                                                                            \
  void p##dcsr1ng__f__gemvout_par(const I *first, const I *last, const I *m, const I *n,                     \
                                  const double *values, const I *col_index, const I *row_pointer,            \
                                  const void *unused, const double *x, double *y);

/* ---- The kernels ---------------------------------------------------------------------------------------------- */

#define TNK_SP_DECLARE(t)                                                                                    \
  TNK_SP_EACH(t, CSR_MV_PAR, TNK_SP_CSR_MV_PAR)                                                              \
  TNK_SP_EACH(t, CSR_MV_SEQ, TNK_SP_CSR_MV_SEQ)                                                              \
  TNK_SP_EACH(t, CSR_MM_PAR, TNK_SP_CSR_MM_PAR)                                                              \
  TNK_SP_EACH(t, CSR_MM_SEQ, TNK_SP_CSR_MM_SEQ)                                                              \
  TNK_SP_EACH(t, COO_MV_PAR, TNK_SP_COO_MV_PAR)                                                              \
  TNK_SP_EACH(t, COO_MV_SEQ, TNK_SP_COO_MV_SEQ)                                                              \
  TNK_SP_EACH(t, COO_MM_PAR, TNK_SP_COO_MM_PAR)                                                              \
  TNK_SP_EACH_1F(t, DIA_MV_PAR, TNK_SP_DIA_MV_PAR)                                                           \
  TNK_SP_EACH_1F(t, DIA_MM_PAR, TNK_SP_DIA_MM_PAR)                                                           \
  TNK_SP_EACH(t, CSR_SV_SEQ, TNK_SP_CSR_SV_SEQ)                                                              \
  TNK_SP_EACH(t, CSR_SM_PAR, TNK_SP_CSR_SM_PAR)                                                              \
  TNK_SP_EACH(t, COO_SV_SEQ, TNK_SP_COO_SV_SEQ)                                                              \
  TNK_SP_EACH(t, COO_SM_PAR, TNK_SP_COO_SM_PAR)                                                              \
  TNK_SP_EACH_1F(t, DIA_SV_SEQ, TNK_SP_DIA_SV_SEQ)                                                           \
  TNK_SP_EACH_1F(t, DIA_SM_PAR, TNK_SP_DIA_SM_PAR)                                                           \
  TNK_SP_EACH_1F(t, DIA_SM_SEQ, TNK_SP_DIA_SM_SEQ)                                                           \
  TNK_SP_EACH(t, BSR_MV_PAR, TNK_SP_BSR_MV_PAR)                                                              \
  TNK_SP_EACH_1F(t, BSR_GEMV_PAR, TNK_SP_BSR_GEMV_PAR)

TNK_BEGIN_DECLS

TNK_SP_DECLARE(s)
TNK_SP_DECLARE(d)
TNK_SP_DECLARE(c)
TNK_SP_DECLARE(z)
TNK_SP_CSR_GEMV_PAR(tnk_spblas_, tnk_int)
TNK_SP_CSR_GEMV_PAR(tnk_spblas_lp64_, int32_t)

TNK_END_DECLS

#endif
