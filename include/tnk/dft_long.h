/* Complex transforms of one long dimension in four steps: L = n1 n2 numbers as a matrix, for the threading layer, which
   runs the steps on slices. No header for programs, see tnk/dft_node.h. All functions return a status unless said.

     x   n1 rows of n2, n1 at most n2           1  n2 transforms of length n1, down the columns
                                                2  times exp(-2 pi i j k / L), j the column, k the row
                                                3  n1 transforms of length n2, along the rows
     y   n2 rows of n1: x transposed            4  transposition

   Names: xc single precision, xz double. */
#ifndef TNK_DFT_LONG_H
#define TNK_DFT_LONG_H

#include <tnk/dft_node.h>

TNK_BEGIN_DECLS

/* What a node's large_data points at; large_free releases it. Read only while transforms run. */
typedef struct DftiLongData {
  int64_t n1, n2;
  int64_t ld1,
      ld2; /* rows of n1 and of n2 numbers, padded to whole cache lines and off the multiples of a page */
  DftiNode *node1, *node2; /* committed; one and the same where n1 = n2 */
  void *
      twiddles; /* two tables of complex numbers, one behind the other: exp(-2 pi i k / L), and with k table_length for k */
  int64_t table_length; /* a power of two, its square above L */
  int32_t variant;      /* where the matrix between the steps stands, see below */
} DftiLongData;

/*   variant   in place                              out of place
      0        in memory of its own, n1 rows of ld2 numbers; step 4 moves it to the destination
      1        in the data, which are transposed     in the destination, n2 rows of n1 from step 1 on
               in place first
     -1        the same as 1                         the same, after a transposition from the source

   With 1 and -1 step 3 runs down columns, and there is no step 4. The node's factor is applied once: in step 4, in the
   transposition, or else in step 2. */

/* Splits the node's length into the factors nearest to one another that a greedy search finds, and makes the block; a
   node that has one only gets the variant. 102 for a prime, or what does not fit into memory; a failure of the inner
   nodes' commits, or DftiMemoryError. The node is left as it was then. */
tnk_int tnk_dft_xc_init_data_1d_via_2d(int32_t variant, DftiNode *node, DftiNode *root);
tnk_int tnk_dft_xz_init_data_1d_via_2d(int32_t variant, DftiNode *node, DftiNode *root);

/* Kernels of a node with such a block; they take no workspace. Forward and backward. DftiMemoryError leaves the destination
   in any state. */
DftiKernel tnk_dft_xc_1d_via_2d_f, tnk_dft_xc_1d_via_2d_b, tnk_dft_xz_1d_via_2d_f, tnk_dft_xz_1d_via_2d_b;

/* Steps on slices. `kernel` is that of node1 or node2, `length` its length, `work` its buffer of buffer_size bytes or null;
   a slice needs one of its own. Slices may run at once, and give the bits of the whole whatever they are.

   4step_1_2: `n2` columns of the matrix from column `first` on, or as many rows where it is transposed. n1 is `length`.
   source and target are where the slice begins:

     source = target      rows of n1 numbers, transformed where they are (variant 1 in place, -1)
     variant 0            columns of n2-rows at source, the block's n2 apart, to columns of rows ld2 apart
     other variants       from such columns to rows of n1 numbers, one after another, times the node's factor

   direction 1 is forward, -1 backward. DftiMemoryError, or the kernel's failure.

   4step_3: down `n1` columns of `n2` numbers at data, `row` numbers apart. n2 is `length`.

   4step_4: up to eight rows of `length` numbers, source_row apart, become columns of the destination, whose rows are
   destination_row apart. scale_4: the same times `factor`. */
#define TNK_DFT_LONG(x, C, R)                                                                                \
  tnk_int tnk_dft_##x##_4step_1_2(DftiNode *root, tnk_int n1, tnk_int n2, C *source, C *target,              \
                                  DftiKernel *kernel, tnk_int length, void *work, const C *twiddles,         \
                                  tnk_int first, tnk_int table_length, int32_t direction);                   \
  tnk_int tnk_dft_##x##_4step_3(C *data, tnk_int n1, tnk_int n2, tnk_int row, DftiKernel *kernel,            \
                                tnk_int length, DftiNode *node, void *work);                                 \
  void tnk_dft_##x##_4step_4(tnk_int count, tnk_int length, const C *source, tnk_int source_row,             \
                             C *destination, tnk_int destination_row);                                       \
  void tnk_dft_##x##_4step_scale_4(tnk_int count, tnk_int length, const C *source, tnk_int source_row,       \
                                   C *destination, tnk_int destination_row, R factor);
TNK_DFT_LONG(xc, tnk_complex8, float)
TNK_DFT_LONG(xz, tnk_complex16, double)
#undef TNK_DFT_LONG

TNK_END_DECLS

#endif
