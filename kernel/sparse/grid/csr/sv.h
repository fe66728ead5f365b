// Compressed rows: op(A) y = y solved in place for a triangle or a diagonal.
#pragma once

#include "kernel/sparse/grid/csr/row.h"
#include "kernel/sparse/grid/csr/solve.h"
#include "kernel/sparse/grid/name.h"

namespace tnk::sparse {

// y, counted from the base of columns, everywhere below.

// The pivot is sought and the sum formed in one loop.
template <bool Conj, bool Unit, class T, class I>
[[gnu::noinline]] void solve_lower(const SolveJob<T, I> &given, T *y) {
  const SolveJob<T, I> job = given;
  const T *const values = job.matrix.values;
  I k = 0;
  each_row_in_strips<false, I>(job.rows, lower_strip, [&](I i) {
    const I first = job.start(i), end = job.end(i), key = i + job.base;
    in_lanes<T> sum{};
    if (first < end || i == 0) k = first;
    if (first < end) {
      fetch_ahead<8>(values + first, job.matrix.col_index + first);
      const auto add = [&](I column) { sum += times<T, Conj>(fetch(values + k), fetch(y + column)); };
      I column;
      if (job.column(end - 1) >=
          key) // then the scan ends there at the latest, and need not look for the row's end
        for (; (column = job.column(k)) < key; ++k) add(column);
      else
        for (; k < end && (column = job.column(k)) < key; ++k) add(column);
    }
    finish_element<Unit>(y + key, sum, Unit ? T{} : job.template value<Conj>(k));
  });
}

// Here the entries before the pivot are passed over and those behind it summed as in a product.
template <bool Conj, bool Unit, class T, class I>
[[gnu::noinline]] void solve_upper(const SolveJob<T, I> &given, T *y) {
  const SolveJob<T, I> job = given;
  const T *const values = job.matrix.values;
  each_row_in_strips<true, I>(job.rows, upper_strip, [&](I i) {
    const PivotedRow<I> row = upper_row<Unit>(job, i);
    const auto sum = row_sum<T, Conj>(values + row.from, job.matrix.col_index + row.from,
                                      std::max<I>(row.to - row.from, 0), y);
    finish_element<Unit>(y + i + job.base, sum, Unit ? T{} : job.template value<Conj>(row.pivot));
  });
}

// y_i divided by its pivot, and what it takes from the others: t = 0 - y_i.
template <bool Unit, class T> inline in_lanes<T> finish_column(T *y, T pivot) {
  if constexpr (!Unit) put(y, quotient(get(y), pivot));
  return in_lanes<T>{} - fetch(y);
}

// Columns of op(A) are rows of what is stored; they are added walking away from the pivot.
template <bool Conj, bool Unit, class T, class I>
[[gnu::noinline]] void solve_lower_transposed(const SolveJob<T, I> &given, T *y) {
  const SolveJob<T, I> job = given;
  for (I i = job.rows - 1; i >= 0; --i) {
    const PivotedRow<I> row = lower_column<Unit>(job, i);
    const auto t = finish_column<Unit>(y + i + job.base, Unit ? T{} : job.template value<Conj>(row.pivot));
#pragma GCC unroll 4
    for (I k = row.to - 1; k >= row.from; --k)
      scatter_one<T, Sign::plus, Conj>(job.matrix.values + k, job.matrix.col_index + k, t, y);
  }
}
template <bool Conj, bool Unit, class T, class I>
[[gnu::noinline]] void solve_upper_transposed(const SolveJob<T, I> &given, T *y) {
  const SolveJob<T, I> job = given;
  for (I i = 0; i < job.rows; ++i) {
    const PivotedRow<I> row = upper_column<Unit>(job, i);
    const auto t = finish_column<Unit>(y + i + job.base, Unit ? T{} : job.template value<Conj>(row.pivot));
    scatter<T, Conj>(job.matrix.values + row.from, job.matrix.col_index + row.from, row.to - row.from, t, y);
  }
}

// The one solve that reads alpha: as a quotient that is formed first.
template <bool Conj, class T, class I>
[[gnu::noinline]] void solve_diagonal(const SolveJob<T, I> &given, T alpha, T *y) {
  const SolveJob<T, I> job = given;
  for (I i = 0; i < job.rows; ++i) {
    T *const target = y + i + job.base;
    put(target, get(target) * quotient(alpha, job.template value<Conj>(diagonal_pivot(job, i))));
  }
}

template <class Name, class T, class I> inline void solve(const SolveJob<T, I> &job, const T *alpha, T *y) {
  constexpr bool conj = Name::conjugated, unit = Name::unit;
  if constexpr (Name::kind == 'd')
    solve_diagonal<conj>(job, get(alpha), y);
  else if constexpr (Name::transposed && Name::lower)
    solve_lower_transposed<conj, unit>(job, y);
  else if constexpr (Name::transposed)
    solve_upper_transposed<conj, unit>(job, y);
  else if constexpr (Name::lower)
    solve_lower<conj, unit>(job, y);
  else
    solve_upper<conj, unit>(job, y);
}

template <class Name, class T, class I>
inline void csr_sv_seq(I base, I m, const T *alpha, const CompressedRows<T, I> &matrix, T *y) {
  if (m < 0) return;
  solve<Name, T, I>({matrix, get(matrix.row_start), m, base}, alpha, counted_from(y, base));
}

// The entries of one element type: a source file each. The base is a number to the common body, not a part of it.
#define TNK_CSR_SV_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, sv,                                                 \
                   seq)(const I *m, const T *alpha, const T *values, const I *col_index, const I *row_start, \
                        const I *row_end, T *y) {                                                            \
    tnk::sparse::csr_sv_seq<TNK_SP_LETTERS(0, op, kind, tri, diag), T, I>(                                   \
        b, *m, alpha, {values, col_index, row_start, row_end}, y);                                           \
  }

} // namespace tnk::sparse
