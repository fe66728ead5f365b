// Triples: op(A) y = y solved in place for a triangle or a diagonal, with one or several right-hand sides. Triples cannot
// be walked by rows, so each call lists those of every row first.
#pragma once

#include "kernel/sparse/convert/row_lists.h"
#include "kernel/sparse/grid/coo/triples.h"
#include "kernel/sparse/quotient.h"

namespace tnk::sparse {

// Right-hand sides first ... last - 1 from 0: an element's distance to that of the next row, and of the next side.
template <class T, class I> struct StridedSides {
  I first, last;
  T *c;
  I row, side;

  T *operator()(I s) const { return c + wrapped_product(s, side); }
};

template <class T, class I> struct TripleSolve {
  Triples<T, I> matrix;
  I base, rows, count;
  StridedSides<T, I> sides;

  // y_column * a for entry e, from 0
  template <bool Conj> in_lanes<T> term(const T *y, I e) const {
    const I column = get(matrix.col_index + e) - base;
    return times<T, Conj>(fetch(matrix.values + e), fetch(y + wrapped_product(column, sides.row)));
  }
  template <bool Conj> T value(I e) const {
    const T a = get(matrix.values + e);
    return Conj ? conjugate(a) : a;
  }
};

// A row's entries in rounds of four with a sum each, then the rest.
template <bool Upper, bool Unit, bool Conj, class T, class I>
inline void solve_by_lists(const TripleSolve<T, I> &job, const I *diag_pos, const I *row_count,
                           const I *row_list, I kept) {
  for (I side = job.sides.first; side < job.sides.last; ++side) {
    T *const y = job.sides(side);
    I offset = Upper ? kept : 0;
    for (I step = 0; step < job.rows; ++step) {
      const I i = Upper ? job.rows - 1 - step : step, count = row_count[i];
      if (Upper) offset -= count;
      const I *const list = row_list + offset;
      if (!Upper) offset += count;
      in_lanes<T> part[4] = {};
      I p = 0;
      for (; count - p >= 4; p += 4)
        for (int k = 0; k < 4; ++k) part[k] += job.template term<Conj>(y, list[p + k] - 1);
      in_lanes<T> sum = ((part[0] + part[1]) + part[2]) + part[3];
      for (; p < count; ++p) sum += job.template term<Conj>(y, list[p] - 1);
      finish_element<Unit>(y + wrapped_product(i, job.sides.row), sum,
                           Unit ? T{} : job.template value<Conj>(diag_pos[i] - 1));
    }
  }
}

// What is left to do without memory. It is no solve: each row gets the entries of all rows, and the pivot is the last
// diagonal entry there is. Callers who must know look for memory first.
template <bool Upper, bool Unit, bool Conj, class T, class I>
inline void sweep_entries(const TripleSolve<T, I> &job) {
  for (I side = job.sides.first; side < job.sides.last; ++side) {
    T *const y = job.sides(side);
    T pivot{};
    for (I step = 0; step < job.rows; ++step) {
      in_lanes<T> sum{};
#pragma GCC unroll 2
      for (I e = 0; e < job.count; ++e) {
        const I row = get(job.matrix.row_index + e), column = get(job.matrix.col_index + e);
        if (Upper ? column > row : column < row)
          sum += job.template term<Conj>(y, e);
        else if (column == row)
          pivot = job.template value<Conj>(e);
      }
      const I i = Upper ? job.rows - 1 - step : step;
      finish_element<Unit>(y + wrapped_product(i, job.sides.row), sum, pivot);
    }
  }
}

// The places of diagonal entries are not cleared: a row must have one.
template <bool Upper, bool Unit, bool Conj, class T, class I>
[[gnu::noinline]] void solve_triangle(const TripleSolve<T, I> &job) {
  I *const diag_pos = Unit ? nullptr : list_of(job.rows);
  I *const row_count = list_of(job.rows), *const row_list = list_of(job.count);
  I kept = 0, status = (Unit || diag_pos) && row_count && row_list ? 0 : 1;
  if (status == 0) {
    for (I i = 0; i < job.rows; ++i) row_count[i] = 0;
    list_rows<Upper, Unit>(job.base, job.rows, job.matrix.row_index, job.matrix.col_index, job.count,
                           diag_pos, row_count, &kept, row_list, &status);
  }
  if (status == 0)
    solve_by_lists<Upper, Unit, Conj>(job, diag_pos, row_count, row_list, kept);
  else
    sweep_entries<Upper, Unit, Conj>(job);
  for (I *const list : {row_list, row_count, diag_pos}) tnk_serv_deallocate(list);
}

// Every stored diagonal entry divides.
template <bool Conj, class T, class I>
[[gnu::noinline]] void divide_by_entries(const TripleSolve<T, I> &job) {
  for (I e = 0; e < job.count; ++e) {
    const I row = get(job.matrix.row_index + e);
    if (row != get(job.matrix.col_index + e)) continue;
    for (I side = job.sides.first; side < job.sides.last; ++side) {
      T *const y = job.sides(side) + wrapped_product<I>(row - job.base, job.sides.row);
      put(y, quotient(get(y), job.template value<Conj>(e)));
    }
  }
}

template <class Name, class T, class I> inline void coo_solve(const TripleSolve<T, I> &job) {
  constexpr bool conj = Name::conjugated && is_complex<T>;
  if constexpr (Name::kind == 'd')
    divide_by_entries<conj>(job);
  else
    solve_triangle<!Name::lower, Name::unit, conj>(job);
}

template <class Name, class T, class I>
inline void coo_sm_par(I first, I last, I m, const Triples<T, I> &matrix, I nnz, T *c, I ldc) {
  if (last < first) return;
  constexpr bool columns = Name::base == 1;
  coo_solve<Name, T, I>(
      {matrix, Name::base, m, nnz, {first - 1, last, c, columns ? 1 : ldc, columns ? ldc : 1}});
}

// The entries of one element type: a source file each.
#define TNK_COO_SV_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, sv,                                                 \
                   seq)(const I *m, const I *, const T *, const T *values, const I *row_index,               \
                        const I *col_index, const I *nnz, const T *, T *y) {                                 \
    tnk::sparse::coo_solve<TNK_SP_LETTERS(b, op, kind, tri, diag), T, I>(                                    \
        {{values, row_index, col_index}, b, *m, *nnz, {0, 1, y, 1, 0}});                                     \
  }
#define TNK_COO_SM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, base, l, sm,                                              \
                   par)(const I *first, const I *last, const I *m, const I *, const T *, const T *values,    \
                        const I *row_index, const I *col_index, const I *nnz, T *c, const I *ldc) {          \
    tnk::sparse::coo_sm_par<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        *first, *last, *m, {values, row_index, col_index}, *nnz, c, *ldc);                                   \
  }

} // namespace tnk::sparse
