// What solves with compressed rows share: where rows begin and end, where their pivots stand, and the strips that rows are
// taken in.
//
// Rows ascend and hold their diagonal, so a pivot is found by its place: nothing looks for an entry that equals it, and
// nothing tests it.
#pragma once

#include "kernel/sparse/entries.h"
#include "kernel/sparse/grid/csr/matrix.h"
#include "kernel/sparse/quotient.h"

namespace tnk::sparse {

template <class T, class I> struct SolveJob {
  CompressedRows<T, I> matrix;
  I pointer_base, rows;
  I base; // of columns: row i, from 0, has the number i + base

  I start(I i) const { return wrapped_difference(get(matrix.row_start + i), pointer_base); }
  I end(I i) const { return wrapped_difference(get(matrix.row_end + i), pointer_base); }
  I column(I k) const { return get(matrix.col_index + k); }
  template <bool Conj> T value(I k) const {
    const T a = get(matrix.values + k);
    return Conj ? conjugate(a) : a;
  }
};

// A row's entries, and where its pivot stands or should. Off the diagonal count those from `from` to `to` - 1.
template <class I> struct PivotedRow { I pivot, from, to; };

// The first entry that is not below the diagonal, the row's end where there is none. `before` is the pivot of the row
// before, which stays that of an empty row, but of the first.
template <class T, class I> inline PivotedRow<I> lower_row(const SolveJob<T, I> &job, I i, I before) {
  const I first = job.start(i), end = job.end(i), key = i + job.base;
  if (first >= end) return {i == 0 ? first : before, first, first};
  I k = first;
  while (k < end && job.column(k) < key) ++k;
  return {k, first, k};
}
template <bool Unit, class T, class I> inline PivotedRow<I> upper_row(const SolveJob<T, I> &job, I i) {
  const I first = job.start(i), end = job.end(i), key = i + job.base;
  I k = first;
  while (k < end && job.column(k) < key) ++k;
  return {k, Unit && k < end && job.column(k) != key ? k : k + 1, end};
}

// Of the transposes: sought from the row's end, or from its start, with nothing to stop the search but the pivot itself.
// Beside a diagonal of ones an entry at that place counts unless it is on the diagonal.
template <bool Unit, class T, class I> inline PivotedRow<I> lower_column(const SolveJob<T, I> &job, I i) {
  const I first = job.start(i), end = job.end(i), key = i + job.base;
  I k = end - 1;
  if (first >= end) return {k, first, first};
  while (job.column(k) > key) --k;
  return {k, first, Unit && job.column(k) != key ? k + 1 : k};
}
template <bool Unit, class T, class I> inline PivotedRow<I> upper_column(const SolveJob<T, I> &job, I i) {
  const I first = job.start(i), end = job.end(i), key = i + job.base;
  if (first >= end) return {first, end, end};
  I k = first;
  while (job.column(k) < key) ++k;
  return {k, Unit && job.column(k) != key ? k : k + 1, end};
}

// Of a diagonal matrix.
template <class T, class I> inline I diagonal_pivot(const SolveJob<T, I> &job, I i) {
  const I end = job.end(i), key = i + job.base;
  I k = job.start(i);
  while (k < end && job.column(k) < key) ++k;
  return k;
}

constexpr int lower_strip = 10000, upper_strip = 2000;

// visit(i) for rows 0 ... m - 1, or downwards, in strips, of which the last has what is left. That there are rows is the
// caller's care: none are divided by zero.
template <bool Down, class I, class Visit> TNK_INLINE void each_row_in_strips(I m, I most, Visit visit) {
  const I strip = std::min<I>(most, m), strips = m / strip;
  for (I s = 0; s < strips; ++s) {
    const I begin = s * strip, end = s == strips - 1 ? m : begin + strip;
    for (I i = begin; i < end; ++i) visit(Down ? m - 1 - i : i);
  }
}

} // namespace tnk::sparse
