// What the kernels for several right-hand sides are given, whichever way these are laid out.
//
// Symmetric, Hermitian, skew and triangular matrices are multiplied in two sweeps. The first adds every stored entry as
// if the matrix were a general one, and so needs no test. The second runs over the rows again and takes away what
// should not have been added, or adds the mirror of what should count twice. A non-finite product from outside the
// triangle comes out as NaN.
#pragma once

#include "kernel/sparse/grid/csr/jumps.h"

namespace tnk::sparse {

template <class T, class I> struct MmJob {
  CompressedRows<T, I> matrix;
  I pointer_base, rows;
  I first, last; // right-hand sides first ... last - 1, from 0
  in_lanes<T> alpha;
  const T *b;
  I ldb;
  T *c;
  I ldc;
  // What lies outside the triangle begins beyond the column key + outside: beyond the diagonal with 0. With -1 or 1,
  // the step into the triangle, a stored diagonal is outside.
  I outside = 0;
  bool unit = false;     // the diagonal is of ones
  bool negative = false; // mirrored with a minus sign
};

// Columns are one after another and numbers are from one; rows are one after another and numbers are from zero.
struct ColumnLayout {
  static constexpr int base = 1;
};
struct RowLayout {
  static constexpr int base = 0;
};

template <class Layout, class T, class I> inline Row<T, I> row_of(const MmJob<T, I> &job, I i) {
  return row_at(job.matrix, job.pointer_base, i, i + Layout::base);
}

// body(row, i, jumps) of rows begin ... end - 1.
template <class Layout, class T, class I, class Body>
TNK_INLINE void each_row(const MmJob<T, I> &job, I begin, I end, I sides, Body body) {
  each_row(
      job.matrix, job.pointer_base, begin, end, sides,
      [&](I i) TNK_INLINED { return row_of<Layout>(job, i); }, body);
}

} // namespace tnk::sparse
