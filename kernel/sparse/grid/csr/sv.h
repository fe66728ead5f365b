// Compressed rows: op(A) y = y solved in place for a triangle or a diagonal.
#pragma once

#include "kernel/sparse/grid/csr/row.h"
#include "kernel/sparse/grid/csr/solve.h"
#include "kernel/sparse/grid/name.h"

namespace tnk::sparse {

// Everywhere below y is counted from the base of columns.

// ---- Sums of rows ----------------------------------------------------------------------------------------------

// add(k) for entries k ... end - 1 in order, until one is refused, where k then stays. A short row is the straight way
// through the code, without a loop: its few instructions are what it costs.
template <int Distance, class T, class I, class Add>
TNK_INLINE bool each_entry(const T *values, const I *columns, I &k, I end, Add add) {
  constexpr int round = 4;
  const auto fetch_at = [&](I p) { fetch_ahead<round, Distance>(values + p, columns + p); };
  const auto added = [&](int j) {
    const bool done = add(k + j);
    if (!done) k += j;
    return done;
  };
  fetch_at(k);
  if (__builtin_expect(end - k >= round, 0))
    for (; end - k >= round; k += round) {
      fetch_at(k + round);
      for (int j = 0; j < round; ++j)
        if (!added(j)) return false;
    }
  const I left = end - k;
  for (int j = 0; j < round - 1; ++j) {
    if (left <= j) break;
    if (!added(j)) return false;
  }
  return true;
}

// Adds an entry if it is below the diagonal.
template <bool Conj, class T, class I>
TNK_INLINE bool add_below(const T *value, I column, I key, const T *y, in_lanes<T> &sum) {
  if (__builtin_expect(column >= key, 0)) return false;
  sum += times<T, Conj>(fetch(value), fetch(y + column));
  return true;
}

// ---- Rows ------------------------------------------------------------------------------------------------------
// Rows of any shape, and those of a plain triangle: each begins where the one before ended, and has its pivot at the end
// that the next one follows. Then its work need not wait for its pointer. A plain triangle's rows of another shape go to a
// function of their own, to stay out of the way.

// Its pivot's place; `before` is that of the row before. The pivot is sought and the sum formed in one loop, which is
// counted: so it ends before the columns are there.
template <bool Conj, bool Unit, int Distance, class T, class I>
TNK_INLINE I solve_lower_row(const SolveJob<T, I> &job, I i, I before, T *y) {
  const T *const values = job.matrix.values;
  const I *const columns = job.matrix.col_index;
  const I first = job.start(i), end = job.end(i), key = i + job.base;
  in_lanes<T> sum{};
  I k = first < end || i == 0 ? first : before;
  if (first < end) {
    const I last = job.column(end - 1) >= key ? end - 1 : end;
    if (each_entry<Distance>(values, columns, k, last,
                             [&](I p) { return add_below<Conj>(values + p, get(columns + p), key, y, sum); }))
      k = last;
  }
  finish_element<Unit>(y + key, sum, Unit ? T{} : job.template value<Conj>(k));
  return k;
}
template <bool Conj, bool Unit, class T, class I>
[[gnu::noinline]] I solve_odd_lower_row(const SolveJob<T, I> &job, I i, I before, T *y) {
  return solve_lower_row<Conj, Unit, 0>(job, i, before, y);
}

// Rows begin ... end - 1, after one whose pivot is `pivot`. That of the last.
template <bool Conj, bool Unit, bool Plain, int Distance, class T, class I>
[[gnu::noinline]] I solve_lower_rows(const SolveJob<T, I> &given, I begin, I end, I pivot, T *y) {
  const SolveJob<T, I> job = given;
  if constexpr (!Plain) {
    for (I i = begin; i < end; ++i) pivot = solve_lower_row<Conj, Unit, Distance>(job, i, pivot, y);
    return pivot;
  }
  const T *const values = job.matrix.values;
  const I *const columns = job.matrix.col_index;
  I first = job.start(begin);
  for (I i = begin; i < end; ++i) {
    const I key = i + job.base, past = job.end(i), last = past - 1;
    in_lanes<T> sum{};
    if (__builtin_expect(first < past && job.column(last) >= key, 1) &&
        each_entry<Distance>(values, columns, first, last, [&](I p) {
          return add_below<Conj>(values + p, get(columns + p), key, y, sum);
        })) {
      pivot = last;
      finish_element<Unit>(y + key, sum, Unit ? T{} : job.template value<Conj>(pivot));
    } else {
      pivot = solve_odd_lower_row<Conj, Unit>(given, i, pivot, y);
    }
    first = past;
  }
  return pivot;
}

// Here the entries before the pivot are passed over and those behind it summed as in a product.
template <bool Conj, bool Unit, int Distance, class T, class I>
TNK_INLINE void solve_upper_row(const SolveJob<T, I> &job, I i, const PivotedRow<I> &row, T *y) {
  const T *const values = job.matrix.values;
  const I *const columns = job.matrix.col_index;
  in_lanes<T> sum{};
  if (row.to - row.from < least_in_rounds<T>) {
    I k = row.from;
    each_entry<-Distance>(values, columns, k, row.to, [&](I p) {
      sum += times<T, Conj>(fetch(values + p), fetch(y + get(columns + p)));
      return true;
    });
  } else {
    sum = row_sum<T, Conj, -Distance>(values + row.from, columns + row.from, row.to - row.from, y);
  }
  finish_element<Unit>(y + i + job.base, sum, Unit ? T{} : job.template value<Conj>(row.pivot));
}
template <bool Conj, bool Unit, class T, class I>
[[gnu::noinline]] void solve_odd_upper_row(const SolveJob<T, I> &job, I i, T *y) {
  solve_upper_row<Conj, Unit, 0>(job, i, upper_row<Unit>(job, i), y);
}

// Rows end - 1 ... begin.
template <bool Conj, bool Unit, bool Plain, int Distance, class T, class I>
[[gnu::noinline]] void solve_upper_rows(const SolveJob<T, I> &given, I begin, I end, T *y) {
  const SolveJob<T, I> job = given;
  I past = job.end(end - 1);
  for (I i = end - 1; i >= begin; --i) {
    const I key = i + job.base, first = job.start(i);
    if (!Plain) {
      solve_upper_row<Conj, Unit, Distance>(job, i, upper_row<Unit>(job, i), y);
    } else if (__builtin_expect(first < past && job.column(first) >= key, 1)) {
      const I from = Unit && job.column(first) != key ? first : first + 1;
      solve_upper_row<Conj, Unit, Distance>(job, i, {first, from, past}, y);
    } else {
      solve_odd_upper_row<Conj, Unit>(given, i, y);
    }
    past = first;
  }
}

// ---- Solves ----------------------------------------------------------------------------------------------------

template <class Name, bool Plain, int Distance, class T, class I>
inline void solve_strips(const SolveJob<T, I> &job, T *y) {
  constexpr bool conj = Name::conjugated, unit = Name::unit;
  if constexpr (Name::lower) {
    I pivot = job.start(0);
    each_strip<false, I>(job.rows, lower_strip, [&](I begin, I end) {
      pivot = solve_lower_rows<conj, unit, Plain, Distance>(job, begin, end, pivot, y);
    });
  } else {
    each_strip<true, I>(job.rows, upper_strip, [&](I begin, I end) {
      solve_upper_rows<conj, unit, Plain, Distance>(job, begin, end, y);
    });
  }
}
template <class Name, class T, class I> inline void solve_triangle(const SolveJob<T, I> &job, T *y) {
  if constexpr (is_complex<T>) { // products take longer than what the other ways save
    solve_strips<Name, false, usual_distance>(job, y);
  } else if (job.template is_plain<Name::lower>()) {
    if (job.template fetches<!Name::lower>())
      solve_strips<Name, true, usual_distance>(job, y);
    else
      solve_strips<Name, true, 0>(job, y);
  } else {
    if (job.template fetches<!Name::lower>())
      solve_strips<Name, false, usual_distance>(job, y);
    else
      solve_strips<Name, false, 0>(job, y);
  }
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
  else
    solve_triangle<Name>(job, y);
}

template <class Name, class T, class I>
inline void csr_sv_seq(I base, I m, const T *alpha, const CompressedRows<T, I> &matrix, T *y) {
  if (m < 0) return;
  solve<Name, T, I>({matrix, m, base}, alpha, counted_from(y, base));
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
