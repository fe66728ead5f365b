/* Conversions between the storage formats of tnk/spblas_grid.h and dense matrices, sums and products of matrices in
   compressed rows, and two helpers of solves.

   Names are  tnk_spblas_[lp64_]tnk_<type><name>  for conversions and  tnk_spblas_[lp64_]<type><name>  for the rest, with
   the types and integer widths of tnk/spblas_grid.h. All arguments travel by address, scalars too; what is not said to be
   tested is trusted. No array that is written may overlap with another argument.

   Conversions
     Square matrices of n rows, unless m and n are given. Compressed rows have a pointer of n + 1 elements: row i, from 0,
     is the positions row_pointer[i] - b ... row_pointer[i+1] - b - 1, from 0, with b = job[1], which col_index counts from
     too. Each takes an array `job` of six integers; those that a function does not name are not read:

       job[0]   0: from compressed rows; otherwise: to them
       job[1]   where columns and row_pointer begin, 0 or 1
       job[2]   where the indices and pointers of the other form begin
       job[3]   a triangle: csrsky 0 lower, otherwise upper; dnscsr 0 lower, 1 upper, 2 all of the matrix
       job[4]   room for entries: csrcoo to triples, csrsky both ways
       job[5]   what to do, below

     Nothing is allocated but as said. *info is 0 on success. Fewer than 0 rows have no entries, and of their pointer at most
     the first element is written; 0 rows have a pointer of one element.

     csrcoo (job, n, csr_values, col_index, row_pointer, nnz, coo_values, row_index, coo_col_index, info)
            To triples: in the order of rows; *nnz is set. With more than job[4] entries *info is 1, the first job[4]
            triples are written and *nnz stays. From triples: *nnz of them, in any order, those of a row staying in theirs;
            with job[5] = 2 they must be in the order of rows, which saves counting them.
     csrcsc (job, n, csr_values, col_index, row_pointer, csc_values, row_index, col_pointer, info)
            Compressed columns, the same form with rows and columns exchanged; each comes out in ascending order. Not
            square ones: take the larger dimension for n, with empty rows or columns.
     csrbsr (job, m, block_size, block_stride, csr_values, col_index, row_pointer, bsr_values, block_col_index,
             block_row_pointer, info)
            Block rows of m rows of elements, m / block_size of blocks, rounded up. Block k stands at bsr_values + k *
            block_stride: by rows where job[2] is 0, by columns where it is 1. To blocks: those of a block row in the order
            in which its rows, one after another, come to them; what is beyond m is zeros; entries that repeat are added
            up; with job[5] below 1 only block_col_index and block_row_pointer are made. *info is 2 when block_stride is
            below block_size^2 and 1 when block_size is below 1, which wins; the table of one integer a block row, which
            comes from tnk_serv_allocate and is not tested, is then not given back. A block_size of 0 divides by zero
            before that. From blocks: all elements within m rows and columns become entries, zeros too, block after block
            within a row; with job[5] below 1 without their values. block_size and block_stride are not tested.
     csrdia (job, n, csr_values, col_index, row_pointer, dia_values, diag_stride, diag_distance, diag_count,
             rest_values, rest_col_index, rest_row_pointer, info)
            Stored diagonals: element of row i (from 0) of diagonal d at dia_values[d * diag_stride + i], its column i +
            diag_distance[d]. To diagonals: job[5] has two digits. Tens not 0: the *diag_count fullest diagonals are
            chosen, of equally full ones the lower, and written to diag_distance in ascending order; *diag_count becomes
            less when there are not so many. Tens 0: the diagonals in diag_distance. All n elements of each are written,
            zeros where there is no entry; entries that repeat are added up. Units not 0: entries on no such diagonal go to
            the rest, compressed rows with base job[1]; otherwise they are dropped and the rest not touched. A table of
            2n - 1 integers comes from tnk_serv_allocate and is not tested. From diagonals: elements within the matrix, in
            the order of diag_distance within a row; with job[5] = 0 those that equal zero (in both parts) are dropped. The
            rest is not touched.
     csrsky (job, n, csr_values, col_index, row_pointer, sky_values, sky_pointer, info)
            Skyline of one triangle: run i, a row of a lower or a column of an upper one, is the positions sky_pointer[i]
            ... sky_pointer[i+1] - 1 counted from job[2], from its first entry to the diagonal; a run without entries has
            no element. Entries of the other triangle are passed over, those that repeat added up. job[5] not 0: only
            sky_pointer. Otherwise *info is 1, and no value written, when it takes more than job[4] elements. Back: what
            equals zero is no entry; job[5] not 0: only row_pointer; more than job[4] entries: *info is 1, and only
            row_pointer written.
     dnscsr (job, m, n, dense, lda, csr_values, col_index, row_pointer, info)
            Dense matrices of m by n by columns: element (i, j) at dense[i + j * lda]. job[0] = 0: elements of the part
            job[3] that do not equal zero become entries, a NaN too, in ascending order. job[0] = 1: the part is cleared
            and all entries are written, of those that repeat the last. A column that is not below n ends that, with those
            before it written and *info the number of its row from 1. Another job[0] does nothing, another job[3] names no
            element.

   Sums and products of compressed rows
     Columns and positions count from one: row i (from 1) is the positions ia[i-1] ... ia[i] - 1 of ja and a. `request`: 0
     makes all of C, 1 only ic, 2 jc and c for an ic that was made before. Whenever an entry of C would be beyond `room`,
     *info is its row, from 1, and C is filled up to there; otherwise 0. With request 1 there is no such test.

     mcsradd_notr, mcsradd_tr
            (request, sort, m, n, a, ja, ia, beta, b, jb, ib, c, jc, ic, room, work, info)
            C := A + beta B, or A + beta B^T (not conjugated), A and C of m rows; B of m, or for tr of n rows and m columns.
            Columns of a row must ascend in A and B, but where `sort` says that they do not yet: 1 A, 2 B, 3 both. Those
            rows are sorted in place, each just before it is used; tr takes the rows of B as they are. An element of C is
            a, beta * b, or beta * b + a. work: for tr, m + 1 + 2 * (entries of B) integers; not used by notr.
     mcsradd_gloc (m, ja, ia, jb, ib, counts)
            counts[i] := the number of entries in row i + 1 of A + B, rows ascending.
     mcsr_notr (request, m, n, columns, a, ja, ia, b, jb, ib, c, jc, ic, room, work, info)
            C := A B, A m by n, B n by `columns`. The entries of a row of C come in the order in which the terms come to
            them. work: `columns` integers.
     multcsr_tr   (m, n, columns, a, ja, ia, b, jb, ib, c, jc, ic, work)
     multcsr_trom (request, m, n, columns, a, ja, ia, b, jb, ib, c, jc, ic, room, work, info)
            C := A^T B (not conjugated), A m by n, B m by `columns`, C n by `columns`. Entries come as in mcsr_notr, terms
            in the order of A's rows. tr trusts that there is room for all of C. work: columns + n + 1 + 2 * (entries of A)
            integers.
     mcsr_trans (m, limit, a, ja, ia, b, jb, ib, c, ldc)
            Adds A^T B to a dense block by columns, from the columns of A up to `limit`: element (i, j), from 1, at
            c[i-1 + (j-1) * ldc].
     mcsr_trnnz (m, limit, ja, ia, jb, ib, marks, ldc, count)
            The same walk: sets marks at those elements from 0 to 1; *count := how many it set.

   Triples by rows, for solves; without a type letter but for an s that says nothing
     scoofill_coo2csr_data_ln, _un     (m, row_index, col_index, nnz, diag_pos, row_count, kept, row_list, status)
     scoofill_coo2csr_data_lu, _uu     (m, row_index, col_index, nnz, row_count, kept, row_list, status)
     scoofill_0coo2csr_data_...        the same for indices from 0
            row_list gets the numbers, from 1, of the triples below (l) or above (u) the diagonal, those of a row one after
            another in their order. row_count[i] counts those of row i; *kept is increased by how many they are; both are
            to be 0 before. diag_pos[i] := the number of the last triple on the diagonal in row i, if any (n). Two lists of
            nnz and m integers come from tnk_serv_allocate; *status is 1 without them, and stays otherwise.

   Incomplete factorizations L D L^T, d only; L unit lower by columns without its diagonal
     dcscgss (m, values, row_index, pointer, work, y, diag)
            y := D^-1 L^-1 work for a diagonal D. Column j (from 1) of L is the positions pointer[j-1] ... pointer[j] - 1,
            rows and positions from 1. work becomes L^-1 work. An m of 0 divides by zero.
     tnk_ildlt_sv (m, values, pointer, col_index, diag, off_diag, unused, pairs, work, y, job)
            y := (L D L^T)^-1 work; work becomes L^-1 work. col_index holds the rows of each column. Bit j % 32 of pairs[j /
            32], j from 0, says that rows j and j + 1 are one pivot [diag[j], off_diag[j]; off_diag[j], diag[j+1]]. The
            integers have 32 bits in both forms. *job = 0: this; it becomes 2 when no pivot of two rows was met. Mind that
            with *job above 1 only dcscgss is called, so a call that finds that 2 returns the forward half of the solution.
            *job = 1 does nothing. */
#ifndef TNK_SPBLAS_CONVERT_H
#define TNK_SPBLAS_CONVERT_H

#include <tnk/spblas_aux.h>

/* The argument lists that several functions have. */
#define TNK_SP_SUM(name, T, I)                                                                               \
  void name(const I *request, const I *sort, const I *m, const I *n, T *a, I *ja, const I *ia,               \
            const T *beta, T *b, I *jb, const I *ib, T *c, I *jc, I *ic, const I *room, I *work, I *info);
#define TNK_SP_PRODUCT(name, T, I)                                                                           \
  void name(const I *request, const I *m, const I *n, const I *columns, const T *a, const I *ja,             \
            const I *ia, const T *b, const I *jb, const I *ib, T *c, I *jc, I *ic, const I *room, I *work,   \
            I *info);

#define TNK_SP_CONVERT_DECLARE(p, t, T, I, ...)                                                              \
  void p##tnk_##t##csrcoo(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer, I *nnz,     \
                          T *coo_values, I *row_index, I *coo_col_index, I *info);                           \
  void p##tnk_##t##csrcsc(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer,             \
                          T *csc_values, I *row_index, I *col_pointer, I *info);                             \
  void p##tnk_##t##csrbsr(const I *job, const I *m, const I *block_size, const I *block_stride,              \
                          T *csr_values, I *col_index, I *row_pointer, T *bsr_values, I *block_col_index,    \
                          I *block_row_pointer, I *info);                                                    \
  void p##tnk_##t##csrdia(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer,             \
                          T *dia_values, const I *diag_stride, I *diag_distance, I *diag_count,              \
                          T *rest_values, I *rest_col_index, I *rest_row_pointer, I *info);                  \
  void p##tnk_##t##csrsky(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer,             \
                          T *sky_values, I *sky_pointer, I *info);                                           \
  void p##tnk_##t##dnscsr(const I *job, const I *m, const I *n, T *dense, const I *lda, T *csr_values,       \
                          I *col_index, I *row_pointer, I *info);                                            \
  TNK_SP_SUM(p##t##mcsradd_notr, T, I)                                                                       \
  TNK_SP_SUM(p##t##mcsradd_tr, T, I)                                                                         \
  void p##t##mcsradd_gloc(const I *m, const I *ja, const I *ia, const I *jb, const I *ib, I *counts);        \
  TNK_SP_PRODUCT(p##t##mcsr_notr, T, I)                                                                      \
  TNK_SP_PRODUCT(p##t##multcsr_trom, T, I)                                                                   \
  void p##t##multcsr_tr(const I *m, const I *n, const I *columns, const T *a, const I *ja, const I *ia,      \
                        const T *b, const I *jb, const I *ib, T *c, I *jc, I *ic, I *work);                  \
  void p##t##mcsr_trans(const I *m, const I *limit, const T *a, const I *ja, const I *ia, const T *b,        \
                        const I *jb, const I *ib, T *c, const I *ldc);                                       \
  void p##t##mcsr_trnnz(const I *m, const I *limit, const I *ja, const I *ia, const I *jb, const I *ib,      \
                        I *marks, const I *ldc, I *count);

#define TNK_SP_ROW_LISTS(name, I)                                                                            \
  void name##n(const I *m, const I *row_index, const I *col_index, const I *nnz, I *diag_pos, I *row_count,  \
               I *kept, I *row_list, I *status);                                                             \
  void name##u(const I *m, const I *row_index, const I *col_index, const I *nnz, I *row_count, I *kept,      \
               I *row_list, I *status);
#define TNK_SP_CONVERT_DECLARE_UNTYPED(p, I)                                                                 \
  TNK_SP_ROW_LISTS(p##scoofill_coo2csr_data_l, I)                                                            \
  TNK_SP_ROW_LISTS(p##scoofill_coo2csr_data_u, I)                                                            \
  TNK_SP_ROW_LISTS(p##scoofill_0coo2csr_data_l, I)                                                           \
  TNK_SP_ROW_LISTS(p##scoofill_0coo2csr_data_u, I)                                                           \
  void p##dcscgss(const I *m, const double *values, const I *row_index, const I *pointer, double *work,      \
                  double *y, const double *diag);                                                            \
  void p##tnk_ildlt_sv(const int32_t *m, const double *values, const int32_t *pointer,                       \
                       const int32_t *col_index, const double *diag, const double *off_diag,                 \
                       const void *unused, const uint32_t *pairs, double *work, double *y, int32_t *job);

TNK_BEGIN_DECLS

TNK_SP_AUX_EACH(TNK_SP_CONVERT_DECLARE, )
TNK_SP_CONVERT_DECLARE_UNTYPED(tnk_spblas_, tnk_int)
TNK_SP_CONVERT_DECLARE_UNTYPED(tnk_spblas_lp64_, int32_t)

TNK_END_DECLS

#endif
