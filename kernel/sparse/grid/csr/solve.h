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

// Positions count from the matrix's first row. Those of 64 bits stay as they are stored, and the arrays that they index are
// shifted instead: two subtractions a row would be a tenth of the time of a short one.
template <class T, class I> struct SolveJob {
  CompressedRows<T, I> matrix;
  I pointer_base, rows;
  I base; // of columns: row i, from 0, has the number i + base

  SolveJob(const CompressedRows<T, I> &given, I m, I columns_base)
      : matrix(given), pointer_base(get(given.row_start)), rows(m), base(columns_base) {
    if (!as_stored) return;
    matrix.values = counted_from(matrix.values, pointer_base);
    matrix.col_index = counted_from(matrix.col_index, pointer_base);
  }

  I start(I i) const { return position(get(matrix.row_start + i)); }
  I end(I i) const { return position(get(matrix.row_end + i)); }
  I column(I k) const { return get(matrix.col_index + k); }
  template <bool Conj> T value(I k) const {
    const T a = get(matrix.values + k);
    return Conj ? conjugate(a) : a;
  }

  // Whether rows adjoin, and the first one to be solved is the pivot alone: then most of them are taken to have theirs at
  // that end too. A matrix of which one triangle is used has more.
  template <bool Lower> bool is_plain() const {
    const I i = Lower ? 0 : rows - 1;
    return matrix.row_end == matrix.row_start + 1 && end(i) - start(i) == 1;
  }
  // Whether rows are to be fetched ahead: those of a matrix that the second cache does not hold. Downwards only where they
  // are long, since short ones, whose ends are mispredicted, lose a tenth by it.
  template <bool Down> bool fetches() const {
    constexpr std::int64_t cache = 1 << 20, long_row = 24;
    const std::int64_t entries = std::int64_t{end(rows - 1)} - start(0);
    return entries > cache / static_cast<std::int64_t>(sizeof(T) + sizeof(I)) &&
           (!Down || entries / long_row > rows);
  }

private:
  static constexpr bool as_stored = sizeof(I) == 8;
  I position(I pointer) const { return as_stored ? pointer : wrapped_difference(pointer, pointer_base); }
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

// body(begin, end) for rows 0 ... m - 1 in strips, or downwards, of which the last has what is left. That there are rows is
// the caller's care: none are divided by zero.
template <bool Down, class I, class Body> TNK_INLINE void each_strip(I m, I most, Body body) {
  const I strip = std::min<I>(most, m), strips = m / strip;
  for (I s = 0; s < strips; ++s) {
    const I begin = s * strip, end = s == strips - 1 ? m : begin + strip;
    body(Down ? m - end : begin, Down ? m - begin : end);
  }
}
// visit(i) for each of these rows.
template <bool Down, class I, class Visit> TNK_INLINE void each_row_in_strips(I m, I most, Visit visit) {
  each_strip<Down>(m, most, [&](I begin, I end) {
    for (I i = begin; i < end; ++i) visit(Down ? begin + end - 1 - i : i);
  });
}

} // namespace tnk::sparse
