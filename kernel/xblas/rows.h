// Where the elements of a matrix stand, row by row, whatever its storage: what all products of this family share.
#pragma once

#include "kernel/xblas/numbers.h"

namespace tnk::xblas {

// Element (i, k) stands at start + i by_row + k by_column + half_row i (i-1)/2 + half_column k (k-1)/2. Full and band
// storage are linear; packed triangles have columns, or rows, that grow by one element or shrink.
struct Places {
  tnk_int start, by_row, by_column, half_row = 0, half_column = 0;

  tnk_int of(tnk_int i, tnk_int k) const {
    return start + i * by_row + k * by_column + half_row * (i * (i - 1) / 2) +
           half_column * (k * (k - 1) / 2);
  }
  // From (i, k) to (i, k + 1).
  tnk_int step(tnk_int k) const { return by_column + half_column * k; }
};
inline Places transposed(const Places &p) {
  return {p.start, p.by_column, p.by_row, p.half_column, p.half_row};
}

// none: rows have one part. Otherwise the element on the diagonal is as it is stored, or its real part, or 1.
enum class Diagonal { none, stored, real, unit };

// The rows of op(A). Row i has elements in columns i - below to i + above, so far as there are such columns; those before
// the diagonal and those behind it may stand in different places, since one of them is the mirror image of the other.
struct Rows {
  tnk_int rows, columns;
  tnk_int below, above;
  Diagonal diagonal;
  Places before, after; // without a diagonal all are `before`
  bool conjugate_before = false, conjugate_after = false;

  tnk_int begin(tnk_int i) const { return i > below ? i - below : 0; }
  tnk_int end(tnk_int i) const {
    const tnk_int last = i < columns - above ? i + above + 1 : columns;
    return last > begin(i) ? last : begin(i);
  }
};

// ---- Storage ----------------------------------------------------------------------------------------------------------
// An ordering other than by columns counts as by rows.

inline bool by_columns(int32_t order) {
  return order == TNK_XBLAS_COLMAJOR;
}

inline Places full_places(int32_t order, tnk_int ld) {
  return by_columns(order) ? Places{0, 1, ld} : Places{0, ld, 1};
}
// Diagonals side by side in each column (row), `above` (`below`) of them before the main one.
inline Places band_places(int32_t order, tnk_int below, tnk_int above, tnk_int ld) {
  return by_columns(order) ? Places{above, 1, ld - 1} : Places{below, ld - 1, 1};
}
// One triangle, column after column (row after row).
inline Places packed_places(int32_t order, bool upper, tnk_int n) {
  const Places upper_columns = {0, 1, 1, 0, 1}, lower_columns = {0, 1, n - 1, 0, -1};
  if (by_columns(order)) return upper ? upper_columns : lower_columns;
  return transposed(upper ? lower_columns : upper_columns);
}

inline Rows general(tnk_int rows, tnk_int columns, tnk_int below, tnk_int above, const Places &places) {
  return {rows, columns, below, above, Diagonal::none, places, places};
}
// From one triangle with a bandwidth.
inline Rows symmetric(tnk_int n, tnk_int bandwidth, bool upper, const Places &stored, bool hermitian) {
  const Places mirror = transposed(stored);
  return {n,
          n,
          bandwidth,
          bandwidth,
          hermitian ? Diagonal::real : Diagonal::stored,
          upper ? mirror : stored,
          upper ? stored : mirror,
          hermitian && upper,
          hermitian && !upper};
}
inline Rows triangular(tnk_int n, tnk_int bandwidth, bool upper, bool unit, const Places &stored) {
  return {
      n,      n,     upper ? 0 : bandwidth, upper ? bandwidth : 0, unit ? Diagonal::unit : Diagonal::stored,
      stored, stored};
}

inline Rows transposed(const Rows &r) {
  Rows t = {r.columns, r.rows, r.above, r.below, r.diagonal, transposed(r.after), transposed(r.before)};
  t.conjugate_before = r.conjugate_after, t.conjugate_after = r.conjugate_before;
  return t;
}
inline Rows conjugated(Rows r) {
  r.conjugate_before = !r.conjugate_before, r.conjugate_after = !r.conjugate_after;
  return r;
}
// op(A): as it is, the conjugate transpose, and for any other value the transpose.
inline Rows under(int32_t trans, const Rows &r) {
  if (trans == TNK_XBLAS_NO_TRANS) return r;
  return trans == TNK_XBLAS_CONJ_TRANS ? conjugated(transposed(r)) : transposed(r);
}

} // namespace tnk::xblas
