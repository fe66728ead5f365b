// Compressed rows, one of them, and what kernels for one vector are given.
//
// A row's positions come from the row pointers less row_start[0], whatever the letters say.
#pragma once

#include "kernel/sparse/lanes.h"
#include "kernel/sparse/wrapped.h"

namespace tnk::sparse {

template <class T, class I> struct CompressedRows {
  const T *values;
  const I *col_index, *row_start, *row_end;
};

template <class T, class I> struct Row {
  const T *values;
  const I *columns;
  I count; // zero or less in an empty row
  I key;
};

template <class T, class I>
inline Row<T, I> row_at(const CompressedRows<T, I> &matrix, I pointer_base, I i, I key) {
  const I start = wrapped_difference(get(matrix.row_start + i), pointer_base);
  const I end = wrapped_difference(get(matrix.row_end + i), pointer_base);
  return {matrix.values + start, matrix.col_index + start, wrapped_difference(end, start), key};
}

// Rows first ... last - 1 from 0, and vectors indexed by column number. Row i has the key
// i + base.
template <class T, class I> struct RowJob {
  CompressedRows<T, I> matrix;
  I pointer_base, first, last, base;
  in_lanes<T> alpha;
  const T *x;
  T *y;
};

template <class T, class I> inline Row<T, I> row_of(const RowJob<T, I> &job, I i) {
  return row_at(job.matrix, job.pointer_base, i, i + job.base);
}

} // namespace tnk::sparse
