/* Products, solves, conversions and sums of sparse matrices: checked, cut into pieces for several threads, then run by
   the kernels of tnk/spblas_grid.h, tnk/spblas_aux.h and tnk/spblas_convert.h. Link with -ltnk or -ltnk_host.

     tnk_sparse_?mv       y := alpha op(A) x + beta y
     tnk_sparse_?mm       C := alpha op(A) B + beta C, with nrhs columns in B and C
     tnk_sparse_?sv       x := alpha op(A)^-1 b
     tnk_sparse_?sm       X := alpha op(A)^-1 B
     tnk_sparse_?convert, ?from_dense, ?to_dense
     tnk_sparse_?add      C := A + beta op(B)
     tnk_sparse_?multiply C := op(A) B

   in the types s float, d double, c and z complex of these. op, in either case: 'N' A, 'T' its transpose, 'C' its
   conjugate transpose, in the real types the same as 'T'. Every kind of matrix takes each op. */
#ifndef TNK_SPARSE_H
#define TNK_SPARSE_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Matrices ------------------------------------------------------------------------------------------------- */

enum tnk_sparse_storage {
  TNK_SPARSE_CSR, /* compressed rows */
  TNK_SPARSE_COO, /* coordinate triples, in any order */
  TNK_SPARSE_DIA, /* diagonals */
  TNK_SPARSE_SKY, /* skyline of one triangle, a square matrix */
  TNK_SPARSE_BSR, /* compressed rows of square blocks */
  TNK_SPARSE_CSC  /* compressed columns: to convert from and to only */
};

/* Entries as they are stored; what they mean is the descriptor's. Products want no order of a row's entries, and add up
   those of one place. Fields that a storage has no use for are not looked at.

     CSR   Row i (from 0) has the entries row_start[i] - row_start[0] and up to, not including, row_end[i] - row_start[0]
           of values and col_index, whatever row_start[0] is; with rows one after another row_end is row_start + 1.
     CSC   The same of columns: row_index has the numbers, row_start and row_end have n elements.
     BSR   The same of block rows, block_size rows each, the last one perhaps less: nnz, col_index and the pointers count
           blocks. A block is block_size^2 values, by rows with base 0 and by columns with base 1.
     DIA   diag_count diagonals, ascending, diag_stride elements from one to the next. Element i (from 0) of a diagonal
           is that of row i and column i + diag_distance[d]; those outside of the matrix are not read.
     SKY   Run i, a row of a lower or a column of an upper triangle, is the values row_start[i] - row_start[0] and up to,
           not including, row_start[i + 1] - row_start[0]: what ends at the diagonal. m + 1 pointers. */
typedef struct tnk_sparse_matrix {
  enum tnk_sparse_storage storage;
  tnk_int m, n;                 /* rows and columns, of elements */
  tnk_int nnz;                  /* CSR, CSC, COO: elements of values and of the index arrays; BSR: blocks */
  const void *values;           /* of the element type of the routine */
  const tnk_int *col_index;     /* CSR, COO, BSR, from the descriptor's base */
  const tnk_int *row_index;     /* COO, CSC, from the base */
  const tnk_int *row_start;     /* CSR, CSC, BSR, SKY */
  const tnk_int *row_end;       /* CSR, CSC, BSR */
  tnk_int block_size;           /* BSR */
  tnk_int diag_stride;          /* DIA */
  tnk_int diag_count;           /* DIA */
  const tnk_int *diag_distance; /* DIA: column minus row */
  void *owned;                  /* the memory of a result, below; otherwise not looked at */
} tnk_sparse_matrix;

/* All kinds but the general one are square. Those with a triangle take their entries from it alone, the other triangle
   following from it or being zero: entries stored there do not count, nor do those on a diagonal of ones or of a skew
   matrix, nor those off the diagonal of a diagonal one.

   In coordinates such entries are passed over, whatever they hold. In compressed rows some products add the whole row
   and take away what does not count, in the arithmetic of the elements: an entry of 1e17 that does not count leaves
   nothing of a sum of ones, and one that is not finite leaves NaN. What is hit is the result's row with the entry's row
   number, and with transposed triangular matrices the row with its column number. The products are mv with triangular
   and skew matrices and with symmetric and Hermitian ones of unit diagonal, and mm with all matrices that have a
   triangle. Where a matrix may hold large entries outside of its triangle, give it in coordinates or store the triangle
   alone; TNK_SPARSE_ENTRIES finds them. */
enum tnk_sparse_kind {
  TNK_SPARSE_GENERAL,
  TNK_SPARSE_SYMMETRIC,
  TNK_SPARSE_HERMITIAN, /* complex types only; the diagonal is taken as stored, its imaginary parts too, for every op,
                           but with 'T' in CSR storage as its conjugate */
  TNK_SPARSE_TRIANGULAR,
  TNK_SPARSE_DIAGONAL, /* only the diagonal counts */
  TNK_SPARSE_SKEW      /* minus its transpose; a stored diagonal does not count */
};
enum tnk_sparse_triangle { TNK_SPARSE_LOWER, TNK_SPARSE_UPPER };
enum tnk_sparse_diagonal {
  TNK_SPARSE_NONUNIT,
  TNK_SPARSE_UNIT /* ones, whatever is stored */
};

/* What a routine looks at before it begins, at the cost of one more way through the indices. */
enum tnk_sparse_checks {
  TNK_SPARSE_TRUSTED, /* nothing: an index that is out of range is read or written where it points */
  TNK_SPARSE_INDICES, /* row pointers inside of the nnz entries and not decreasing within a row, row and column numbers
                         inside of the matrix */
  TNK_SPARSE_ENTRIES /* and, in CSR and COO, every stored entry counts: none lies outside of the kind's triangle or
                         diagonal, none on a diagonal of ones or of a skew matrix */
};

/* All zero: a general matrix with numbers from 0 and dense operands by rows, trusted. */
typedef struct tnk_sparse_descriptor {
  enum tnk_sparse_kind kind;
  enum tnk_sparse_triangle
      triangle; /* not looked at in general and diagonal matrices: may hold anything there */
  enum tnk_sparse_diagonal diagonal; /* likewise in general and skew matrices */
  /* Of row and column numbers: 0, with B and C by rows (element (i, j), from 0, at i * ld + j), or 1, with B and C by
     columns (at i + j * ld). */
  int32_t base;
  int32_t check; /* one of tnk_sparse_checks */
} tnk_sparse_descriptor;

/* ---- Products -------------------------------------------------------------------------------------------------
   A zero beta stores over what y or C holds, NaN included; a zero alpha leaves A's arrays, x and B unread, but for the
   descriptor's `check`, which comes first. y or C must not overlap with anything that is read: x, B, the arrays of A,
   alpha, beta. What is only read may overlap, so the arrays of A may be those of another matrix, and row_end be
   row_start + 1. errno stays as it was. x or B may be null where it is not read, y or C where it has no elements.

   All storages but CSC, whose products are those of CSR with the op exchanged. DIA has kernels for vectors and for
   operands by columns, BSR for orders that are multiples of the block size, SKY for triangular and symmetric kinds and
   operands by columns; op 'C' and the Hermitian kind of complex types only DIA. What lacks a kernel is put into
   compressed rows first, in memory that is given back: TNK_SPARSE_NO_MEMORY, with y or C as they were, where there is
   none. Zeros that are stored do not get there, so that they make no NaN of an infinity. Refused are general and diagonal
   kinds in a skyline, which holds one triangle, and mm by rows with stored diagonals that are not square.

   Bad arguments are reported through the error handler (tnk/host.h), the first of the list only, and nothing is
   touched: null addresses of arrays that have elements, negative sizes, letters and enumerators that are none, a
   matrix that is not square but of a kind that is, the Hermitian kind in a real type, leading dimensions that are too
   small, and whatever could not lie in memory, as in tnk/blas.h. Indices are trusted unless `check` says otherwise; what
   it finds then counts among these.

   Threads, as many as tnk/host.h says, but no more than one for every 65536 stored entries times right-hand sides, nor
   than 64: mm gives each a range of right-hand sides; mv, and mm of general CSR matrices with op 'N' and dense
   operands by rows, one of rows with about as many entries each, or of stored entries in COO matrices. Where a row
   also adds to other elements than its own (transposed general, symmetric, Hermitian and skew matrices, and COO), all
   threads but one add into a vector of their own, and these are added up afterwards; there are no more threads then
   than stored entries for each element of y. So there the order of sums, and with it the last bits of y, depend on
   the number of threads; everywhere else the result has the same bits for every number. Not spread: mv of DIA and SKY
   matrices, and of BSR ones but those of the general kind with op 'N'; mv of diagonal matrices, of transposed
   triangular ones, and of COO matrices that are triangular or have a unit diagonal; mm of diagonal CSR matrices, and
   mm of what is not cut by rows with dense operands by rows and fewer than 16 right-hand sides, 64 where the result
   has less than a MiB. When there is no memory for the vectors of their own, one thread does all. */

enum tnk_sparse_status {
  TNK_SPARSE_OK = 0,
  TNK_SPARSE_BAD_ARGUMENT = 1, /* reported; nothing was touched */
  TNK_SPARSE_NO_KERNEL = 2,    /* no kernel library, or it lacks an entry; reported, nothing was touched */
  TNK_SPARSE_NO_MEMORY = 3     /* reported; nothing was touched, and nothing is kept */
};

#define TNK_SPARSE_PRODUCTS(t, T)                                                                            \
  enum tnk_sparse_status tnk_sparse_##t##mv(char op, const T *alpha, const tnk_sparse_matrix *matrix,        \
                                            const tnk_sparse_descriptor *descriptor, const T *x,             \
                                            const T *beta, T *y);                                            \
  enum tnk_sparse_status tnk_sparse_##t##mm(char op, const T *alpha, const tnk_sparse_matrix *matrix,        \
                                            const tnk_sparse_descriptor *descriptor, tnk_int nrhs,           \
                                            const T *b, tnk_int ldb, const T *beta, T *c, tnk_int ldc);

TNK_SPARSE_PRODUCTS(s, float)
TNK_SPARSE_PRODUCTS(d, double)
TNK_SPARSE_PRODUCTS(c, tnk_complex8)
TNK_SPARSE_PRODUCTS(z, tnk_complex16)
#undef TNK_SPARSE_PRODUCTS

/* ---- Solves ---------------------------------------------------------------------------------------------------
   Of triangular and diagonal kinds, in CSR, COO, DIA and SKY storage. x may be b, then with the same leading dimension;
   otherwise no two of x, b and A overlap. A zero alpha stores zeros, A's arrays and b unread but for what products look at
   with that `check`: no pivot is asked for, nor by a diagonal kind of ones. DIA and SKY matrices have their right-hand
   sides by columns: base 1 for sm; SKY takes no diagonal kind.

   A pivot is not tested: zero ones give what IEEE 754 division gives. It is found by its place, so rows of a CSR matrix
   must ascend and hold their diagonal, unless it is ones; entries of the other triangle do not count. In COO, where
   entries may come in any order, the last one on the diagonal of a row counts, and those elsewhere add up.

   Always refused is what would be looked for outside of the arrays, and what has no solution whatever the entries are:
   CSR rows of which the first or the last one lacks the diagonal or, where row_end is not row_start + 1, any one does
   not reach it from both sides (of ones: where op 'T' and 'C' have nothing to stop at); a missing diagonal in COO, DIA
   and SKY. With a `check` of TNK_SPARSE_INDICES or above all that makes a solution wrong without a sound is refused too:
   CSR rows that do not strictly ascend, diagonals that are missing, zero, or, in COO, there twice.

   Memory is taken for COO matrices, whose entries are put into rows first; without it the status is
   TNK_SPARSE_NO_MEMORY, and b and x are as they were. sm with CSR and COO takes some more for sums, and without that
   divides by pivots where it multiplies by reciprocals otherwise: other last bits.

   sv runs on one thread by design, since every row waits for the ones before. sm gives each thread a range of right-hand
   sides; the result has the same bits for every number. By rows each has at least 16, double complex ones 8, twice as
   many where matrix and sides are beyond the caches, and a quarter of the work is reckoned; triangles with fewer than
   24 entries a row on average are not spread then, nor are diagonals. Each thread's are solved in memory of their own,
   together as large as x; without it one thread does all. */
#define TNK_SPARSE_SOLVES(t, T)                                                                              \
  enum tnk_sparse_status tnk_sparse_##t##sv(char op, const T *alpha, const tnk_sparse_matrix *matrix,        \
                                            const tnk_sparse_descriptor *descriptor, const T *b, T *x);      \
  enum tnk_sparse_status tnk_sparse_##t##sm(char op, const T *alpha, const tnk_sparse_matrix *matrix,        \
                                            const tnk_sparse_descriptor *descriptor, tnk_int nrhs,           \
                                            const T *b, tnk_int ldb, T *x, tnk_int ldx);

TNK_SPARSE_SOLVES(s, float)
TNK_SPARSE_SOLVES(d, double)
TNK_SPARSE_SOLVES(c, tnk_complex8)
TNK_SPARSE_SOLVES(z, tnk_complex16)
#undef TNK_SPARSE_SOLVES

/* ---- Conversions, sums and products of sparse matrices ---------------------------------------------------------
   Room for a result is found by the routine: *result, which may hold anything before, becomes a matrix in one block of
   memory that tnk_sparse_free gives back, leaving a record of zeros (one without a block, or null, is left alone). Only a
   status of TNK_SPARSE_OK writes *result; TNK_SPARSE_NO_MEMORY keeps nothing. Its numbers have the descriptor's base, its
   row pointers too, and rows stand one after another. These run on one thread by design. A program's own tnk_serv_allocate
   (tnk/services.h) must serve again what it has just served and got back: blocks and diagonals need it to be so.

   Here a matrix is its stored entries, whatever kind the descriptor names; its base, `check` and, for skylines, triangle
   count.

   convert: the same entries in another storage, CSR again included. Diagonals, skylines and blocks hold square matrices;
   `block_size`, 1 to 1048576, is read for blocks only. What fills diagonals, skylines and blocks up are zeros, so that zeros of these
   are no entries on the way back. Entries of one place stay apart in rows, columns and triples and are added up
   otherwise. A skyline takes the entries of its triangle; nothing else is lost. Entries of a row keep their order out of
   triples; into columns and out of columns, diagonals, skylines and blocks numbers ascend. Blocks of a row come in the
   order in which its rows, one after another, come to them.

   from_dense, to_dense: rows and a dense matrix by columns, element (i, j) at dense[i + j * ld]. What does not equal zero
   is an entry, a NaN too. Of entries of one place the last one is what becomes of them.

   add, multiply: A, B and C are CSR matrices of the general kind. The rows
   of a sum ascend, whatever order those of A and B have; the entries of a product's row come in the order of its terms,
   and those that come to zero stay. */
#define TNK_SPARSE_CONVERSIONS(t, T)                                                                         \
  enum tnk_sparse_status tnk_sparse_##t##convert(                                                            \
      const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor,                              \
      enum tnk_sparse_storage storage, tnk_int block_size, tnk_sparse_matrix *result);                       \
  enum tnk_sparse_status tnk_sparse_##t##from_dense(tnk_int m, tnk_int n, const T *dense, tnk_int ld,        \
                                                    const tnk_sparse_descriptor *descriptor,                 \
                                                    tnk_sparse_matrix *result);                              \
  enum tnk_sparse_status tnk_sparse_##t##to_dense(                                                           \
      const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor, T *dense, tnk_int ld);       \
  enum tnk_sparse_status tnk_sparse_##t##add(                                                                \
      char op, const tnk_sparse_matrix *a, const T *beta, const tnk_sparse_matrix *b,                        \
      const tnk_sparse_descriptor *descriptor, tnk_sparse_matrix *result);                                   \
  enum tnk_sparse_status tnk_sparse_##t##multiply(                                                           \
      char op, const tnk_sparse_matrix *a, const tnk_sparse_matrix *b,                                       \
      const tnk_sparse_descriptor *descriptor, tnk_sparse_matrix *result);

TNK_SPARSE_CONVERSIONS(s, float)
TNK_SPARSE_CONVERSIONS(d, double)
TNK_SPARSE_CONVERSIONS(c, tnk_complex8)
TNK_SPARSE_CONVERSIONS(z, tnk_complex16)
#undef TNK_SPARSE_CONVERSIONS

void tnk_sparse_free(tnk_sparse_matrix *result);

/* Looks at what TNK_SPARSE_INDICES says, and for a descriptor with a `check` of TNK_SPARSE_ENTRIES at that. Reports the
   first fault with its place in the array, counted from 0, and what could stand there: "argument 1
   (matrix->col_index[7]) is 12, expected 0 to 9". */
enum tnk_sparse_status tnk_sparse_check(const tnk_sparse_matrix *matrix,
                                        const tnk_sparse_descriptor *descriptor);

TNK_END_DECLS

#endif
