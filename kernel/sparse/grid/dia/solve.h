// Stored diagonals: op(A) y = y solved in place for a triangle or a diagonal, with one or several right-hand sides that
// are columns. The caller says which diagonals belong to the triangle, and which is the main one.
#pragma once

#include "kernel/sparse/grid/dia/diagonals.h"
#include "kernel/sparse/quotient.h"

namespace tnk::sparse {

template <class T, class I> struct DiagonalSolve {
  const T *values;
  I stride;
  const I *distance;
  I rows;
  I band_first, band_last; // off the main diagonal, from one
  I diag;                  // from one

  const T *element(I diagonal, I row) const {
    return values + wrapped_product<I>(diagonal - 1, stride) + row;
  }
  template <bool Conj> T pivot(I row) const {
    const T a = get(element(diag, row));
    return Conj ? conjugate(a) : a;
  }
  // visit(diagonal, column) for the elements of a row within the matrix, in the order of the diagonals. Those that are not
  // strictly in the triangle are passed over: a band may name one that is not, or a place behind the last one.
  template <bool Upper, class Visit> TNK_INLINE void each_of_row(I row, Visit visit) const {
    for (I d = band_first; d <= band_last; ++d) {
      const I k = get(distance + d - 1), column = row + k;
      if (Upper ? k > 0 && column < rows : k < 0 && column >= 0) visit(d, column);
    }
  }
};

template <bool Upper, bool Transposed, bool Unit, bool Conj, class T, class I>
[[gnu::noinline]] void solve_diagonals(const DiagonalSolve<T, I> &given, T *y) {
  const DiagonalSolve<T, I> job = given;
  for (I step = 0; step < job.rows; ++step) {
    const I i = Upper != Transposed ? job.rows - 1 - step : step;
    if constexpr (!Transposed) {
      in_lanes<T> sum{};
      job.template each_of_row<Upper>(
          i, [&](I d, I column) { sum += times<T, Conj>(fetch(job.element(d, i)), fetch(y + column)); });
      deposit(y + i, fetch(y + i) - sum);
    }
    if constexpr (!Unit) put(y + i, quotient(get(y + i), job.template pivot<Conj>(i)));
    if constexpr (Transposed) {
      const in_lanes<T> t = in_lanes<T>{} - fetch(y + i);
      job.template each_of_row<Upper>(
          i, [&](I d, I column) { add_to(y + column, times<T, Conj>(fetch(job.element(d, i)), t)); });
    }
  }
}

// The main diagonal's number is not read beside ones, nor the band of a diagonal matrix.
template <class Name, class T, class I>
inline void dia_solve(const T *values, I stride, const I *distance, I rows, const I *band_first,
                      const I *band_last, const I *diag, I first, I last, T *c, I ldc) {
  constexpr bool diagonal = Name::kind == 'd', unit = Name::unit;
  const DiagonalSolve<T, I> job{values,
                                stride,
                                distance,
                                rows,
                                diagonal ? I{1} : *band_first,
                                diagonal ? I{} : *band_last,
                                unit ? I{} : *diag};
  for (I side = first - 1; side < last; ++side) {
    T *const y = c + wrapped_product(side, ldc);
    if constexpr (diagonal)
      for (I i = 0; i < job.rows; ++i)
        put(y + i, quotient(get(y + i), job.template pivot<Name::conjugated>(i)));
    else
      solve_diagonals<!Name::lower, Name::transposed, unit, Name::conjugated>(job, y);
  }
}

// The entries of one element type: a source file each.
#define TNK_DIA_SOLVE_ENTRY(op, kind, tri, diag, T, I, b, first, last, c, ldc)                               \
  tnk::sparse::dia_solve<TNK_SP_LETTERS(b, op, kind, tri, diag), T, I>(                                      \
      values, *diag_stride, diag_distance, *m, band_first, band_last, main, first, last, c, ldc);
#define TNK_DIA_SV_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, b, l, sv,                                                 \
                   seq)(const I *m, const T *values, const I *diag_stride, const I *diag_distance, T *y,     \
                        const I *band_first, const I *band_last, const I *main) {                            \
    TNK_DIA_SOLVE_ENTRY(op, kind, tri, diag, T, I, b, 1, 1, y, 0)                                            \
  }
#define TNK_DIA_SM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, b, l, sm, par)(                                           \
      const I *first, const I *last, const I *m, const T *values, const I *diag_stride,                      \
      const I *diag_distance, T *c, const I *ldc, const I *band_first, const I *band_last, const I *main) {  \
    TNK_DIA_SOLVE_ENTRY(op, kind, tri, diag, T, I, b, *first, *last, c, *ldc)                                \
  }
#define TNK_DIA_SM_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, b, l, sm, seq)(                                           \
      const I *m, const I *nrhs, const T *values, const I *diag_stride, const I *diag_distance, T *c,        \
      const I *ldc, const I *band_first, const I *band_last, const I *main) {                                \
    TNK_DIA_SOLVE_ENTRY(op, kind, tri, diag, T, I, b, 1, *nrhs, c, *ldc)                                     \
  }

} // namespace tnk::sparse
