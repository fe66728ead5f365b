/* Matrices copied, scaled, transposed, conjugated, added, out of place and in place. C and C++ alike.

   Every routine names an ordering and, for each operand, an operation, letters in either case:

     ordering   R   by rows: element (i, j), from 0, of a matrix stands at i * ld + j
                C   by columns: at j * ld + i

     operation  N   op(A) = A                    rows = 2, cols = 3, ordering R:
                T   its transpose
                R   its conjugate                  A, lda = 4        A^T, ldb = 3
                C   its conjugate transpose        | a b c . |       | a d . |
                                                   | d e f   |       | b e . |
     In the real types R is N and C is T.                            | c f   |

   rows and cols are those of A as it is given, op(A) has them exchanged where it is transposed; only in a sum they are
   those of the result. Dots are gaps: never touched, but for what transposition in place says below.

   Letters in names: s float, d double, c and z complex of these. alpha multiplies once: alpha x, and alpha conj(x) with
   the conjugate (re, 0 - im), each part rounded as docs/numerics.md says. No alpha is special, so that 0 times a NaN is
   one, but for a transposed copy (T alone in the complex types) by exactly 1 with strides of 1, which moves what it finds;
   elsewhere a complex alpha of 1 makes NaN of infinities.

   First the checked routines for applications, then what the kernel library exports under its own names. */
#ifndef TNK_TRANS_H
#define TNK_TRANS_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Public routines ------------------------------------------------------------------------------------------

   Everything travels by value, but for complex factors, of which the address is given.

   Bad arguments are reported through the error handler (tnk/host.h), the first of the list only, and nothing is touched:
   letters that are none; negative sizes, or beyond memory; leading dimensions that are too small, in place both of them, or
   with which the matrix could not lie in memory; strides below 1; null addresses of arrays that have elements, and of
   factors; and arrays that overlap. What is written may lie in the very place of an operand that is not transposed (same
   address, same leading dimension and stride); otherwise it must not share an element with what is read. Between each
   other's rows, or in turns along them, matrices may lie. errno stays as it was. With rows or cols of 0 nothing is done.

   Large matrices are cut for threads, as many as tnk/host.h says, but for transposition in place. Results have the same
   bits for every number of them. */

/* omatcopy       B := alpha op(A)
   omatcopy2      the same with strides: element (i, j) of A, ordering R, at a[i * lda + j * stridea]. Either of a matrix's
                  leading dimension and stride may be the larger one; the larger one spans the line that the other makes, so
                  that every element has its place.
   omatadd        C := alpha op(A) + beta op(B), C of rows by cols
   imatcopy       AB := alpha op(AB), read with lda and written with ldb, without any memory. Fast where nothing is
                  transposed, and where rows = cols = lda = ldb; other transpositions follow cycles, and take a time that is
                  given below with the kernels.
   imatcopy_work  the same through `work`, a place for rows * cols elements that does not overlap AB: the matrix is moved
                  there and copied back by omatcopy. Not touched, and may be null, where nothing is transposed. */
#define TNK_TRANS_PUBLIC(t, T, Factor)                                                                       \
  void tnk_trans_##t##omatcopy(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha,          \
                               const T *a, tnk_int lda, T *b, tnk_int ldb);                                  \
  void tnk_trans_##t##omatcopy2(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha,         \
                                const T *a, tnk_int lda, tnk_int stridea, T *b, tnk_int ldb,                 \
                                tnk_int strideb);                                                            \
  void tnk_trans_##t##omatadd(char ordering, char transa, char transb, tnk_int rows, tnk_int cols,           \
                              Factor alpha, const T *a, tnk_int lda, Factor beta, const T *b, tnk_int ldb,   \
                              T *c, tnk_int ldc);                                                            \
  void tnk_trans_##t##imatcopy(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha, T *ab,   \
                               tnk_int lda, tnk_int ldb);                                                    \
  void tnk_trans_##t##imatcopy_work(char ordering, char trans, tnk_int rows, tnk_int cols, Factor alpha,     \
                                    T *ab, tnk_int lda, tnk_int ldb, T *work);
TNK_TRANS_PUBLIC(s, float, float)
TNK_TRANS_PUBLIC(d, double, double)
TNK_TRANS_PUBLIC(c, tnk_complex8, const tnk_complex8 *)
TNK_TRANS_PUBLIC(z, tnk_complex16, const tnk_complex16 *)
#undef TNK_TRANS_PUBLIC

/* ---- Kernels --------------------------------------------------------------------------------------------------

   Link with -ltnk. Everything travels by value, a complex alpha as C passes its complex numbers. Sizes have no sign. Nothing
   is checked: an unknown letter is a call that does nothing, except that a sum takes any ordering other than C as R. With
   rows or cols of 0 no element is touched. Arrays must not overlap unless a sentence says so. */

/* Out of place: B := alpha op(A). omatcopy2 takes a second stride, from one element of a row (ordering C: of a column) to
   the next one, which is 1 in omatcopy.

   The rec kernels take the two strides of either matrix as they come, with element (i, j) of A at i * lda + j * stridea:
     rec_n   b[i * ldb + j * strideb] := alpha a          rec_r   := alpha conj(a)
     rec_t   b[j * ldb + i * strideb] := alpha a          rec_c   := alpha conj(a)
   rec_t with alpha 1 and strides of 1 moves chunks of A's rows, sized so that they stay in the cache and in the table of
   pages; otherwise it halves the larger side until it is at most 4. rec_n runs along the rows. */
#define TNK_TRANS_REC(name, T)                                                                               \
  void name(uint64_t rows, uint64_t cols, const T *a, uint64_t lda, uint64_t stridea, T *b, uint64_t ldb,    \
            uint64_t strideb, T alpha);
#define TNK_TRANS_COPIES(t, T)                                                                               \
  void tnk_trans_tnk_##t##omatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, T alpha,         \
                                   const T *a, uint64_t lda, T *b, uint64_t ldb);                            \
  void tnk_trans_tnk_##t##omatcopy2(char ordering, char trans, uint64_t rows, uint64_t cols, T alpha,        \
                                    const T *a, uint64_t lda, uint64_t stridea, T *b, uint64_t ldb,          \
                                    uint64_t strideb);                                                       \
  TNK_TRANS_REC(tnk_trans_tnk_##t##omatcopy2_rec_n, T)                                                       \
  TNK_TRANS_REC(tnk_trans_tnk_##t##omatcopy2_rec_t, T)
TNK_TRANS_COPIES(s, float)
TNK_TRANS_COPIES(d, double)
TNK_TRANS_COPIES(c, tnk_complex8)
TNK_TRANS_COPIES(z, tnk_complex16)
TNK_TRANS_REC(tnk_trans_tnk_comatcopy2_rec_r, tnk_complex8)
TNK_TRANS_REC(tnk_trans_tnk_comatcopy2_rec_c, tnk_complex8)
TNK_TRANS_REC(tnk_trans_tnk_zomatcopy2_rec_r, tnk_complex16)
TNK_TRANS_REC(tnk_trans_tnk_zomatcopy2_rec_c, tnk_complex16)
#undef TNK_TRANS_COPIES
#undef TNK_TRANS_REC

/* A sum: C := alpha op(A) + beta op(B), C of rows by cols. C may be an operand that is not transposed, of the same leading
   dimension.

   The kernels' last two letters are the operations on A and B, and C is stored by rows. nt with A at C's address and the
   same leading dimension, and with one row or one column, takes all arrays as lying densely: max(rows, cols) elements of C
   and of B from their addresses on, side by side, whatever the leading dimensions say. */
#define TNK_TRANS_ADD(name, T)                                                                               \
  void name(uint64_t rows, uint64_t cols, const T *a, uint64_t lda, const T *b, uint64_t ldb, T *c,          \
            uint64_t ldc, T alpha, T beta);
#define TNK_TRANS_SUMS(t, T)                                                                                 \
  void tnk_trans_tnk_##t##omatadd(char ordering, char transa, char transb, uint64_t rows, uint64_t cols,     \
                                  T alpha, const T *a, uint64_t lda, T beta, const T *b, uint64_t ldb, T *c, \
                                  uint64_t ldc);                                                             \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_nn, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_nt, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_tt, T)
#define TNK_TRANS_CONJUGATE_SUMS(t, T)                                                                       \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_nc, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_rn, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_rt, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_rc, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_rr, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_tc, T)                                                            \
  TNK_TRANS_ADD(tnk_trans_tnk_##t##omatadd_cc, T)
TNK_TRANS_SUMS(s, float)
TNK_TRANS_SUMS(d, double)
TNK_TRANS_SUMS(c, tnk_complex8)
TNK_TRANS_SUMS(z, tnk_complex16)
TNK_TRANS_CONJUGATE_SUMS(c, tnk_complex8)
TNK_TRANS_CONJUGATE_SUMS(z, tnk_complex16)
#undef TNK_TRANS_CONJUGATE_SUMS
#undef TNK_TRANS_SUMS
#undef TNK_TRANS_ADD

/* In place: AB := alpha op(AB), read with the leading dimension lda and written with ldb. No memory is used beside the array.

   square   rows = cols = lda = ldb = n, whatever the ordering letter: elements are exchanged about the diagonal (t, c), or
            scaled row by row (n, r).
   mipt_n   element i * lda + j goes to i * ldb + j, from the first to the last, or if lda is below ldb from the last to the
            first.
   mipt_t   element i * lda + j goes to j * ldb + i, along the cycles of that permutation of the whole lda by ldb rectangle.
            Requires rows <= ldb and cols <= lda, or it may never end, and that lda * ldb fits 64 bits. Gaps of the input
            may be overwritten, those of the output beyond them stay. The start of a cycle is searched for anew from each
            element, so the time is that of a division for every step of such searches: some 50 ns an element where two
            passes through other memory take one or two, and in the worst case quadratic in the number of elements.
   mipt_r, mipt_c   the same, conjugating.

   (Following cycles: Cate and Twigg, "Algorithm 513: Analysis of In-Situ Transposition", ACM TOMS 3 (1977).) */
#define TNK_TRANS_SQUARE(name, T) void name(uint64_t n, T *ab, T alpha);
#define TNK_TRANS_MIPT(name, T)                                                                              \
  void name(uint64_t rows, uint64_t cols, T *ab, uint64_t lda, uint64_t ldb, T alpha);
#define TNK_TRANS_IN_PLACE(t, T)                                                                             \
  void tnk_trans_tnk_##t##imatcopy(char ordering, char trans, uint64_t rows, uint64_t cols, T alpha, T *ab,  \
                                   uint64_t lda, uint64_t ldb);                                              \
  TNK_TRANS_SQUARE(tnk_trans_tnk_##t##imatcopy_square_n, T)                                                  \
  TNK_TRANS_SQUARE(tnk_trans_tnk_##t##imatcopy_square_t, T)                                                  \
  TNK_TRANS_MIPT(tnk_trans_tnk_##t##imatcopy_mipt_n, T)                                                      \
  TNK_TRANS_MIPT(tnk_trans_tnk_##t##imatcopy_mipt_t, T)
#define TNK_TRANS_CONJUGATE_IN_PLACE(t, T)                                                                   \
  TNK_TRANS_SQUARE(tnk_trans_tnk_##t##imatcopy_square_r, T)                                                  \
  TNK_TRANS_SQUARE(tnk_trans_tnk_##t##imatcopy_square_c, T)                                                  \
  TNK_TRANS_MIPT(tnk_trans_tnk_##t##imatcopy_mipt_r, T)                                                      \
  TNK_TRANS_MIPT(tnk_trans_tnk_##t##imatcopy_mipt_c, T)
TNK_TRANS_IN_PLACE(s, float)
TNK_TRANS_IN_PLACE(d, double)
TNK_TRANS_IN_PLACE(c, tnk_complex8)
TNK_TRANS_IN_PLACE(z, tnk_complex16)
TNK_TRANS_CONJUGATE_IN_PLACE(c, tnk_complex8)
TNK_TRANS_CONJUGATE_IN_PLACE(z, tnk_complex16)
#undef TNK_TRANS_CONJUGATE_IN_PLACE
#undef TNK_TRANS_IN_PLACE
#undef TNK_TRANS_MIPT
#undef TNK_TRANS_SQUARE

/* A map of positions in words of 64 bits, for callers that follow cycles themselves and note which positions lead none:
   bit p % 64 of word p / 64. The first asks (1 or 0), the second sets. No bound is known or checked. */
int32_t tnk_trans_is_known_false_cycle(const uint64_t *map, uint64_t position);
void tnk_trans_know_false_cycle(uint64_t *map, uint64_t position);

/* The conjugate (re, 0 - im): an imaginary part of either zero becomes +0. */
tnk_complex8 tnk_cconj(tnk_complex8 x);
tnk_complex16 tnk_zconj(tnk_complex16 x);

/* The chunks in which rec_t would move a matrix of 8-byte elements with these leading dimensions: *chunk rows of A at a time,
   *group columns of them through scratch memory (1: none). The first two arguments are not looked at. */
void dense_matrix_chunk_setup(uint64_t unused, uint64_t unused2, uint64_t lda, uint64_t ldb, uint32_t *group,
                              uint64_t *chunk);

TNK_END_DECLS

#endif
