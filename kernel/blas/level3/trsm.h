// What the stages of the triangular solve share.
//
// Both sides are one problem. Call M the triangle op(A) on the left and its transpose on the right: for each right-hand
// side, a column of B on the left and a row of B on the right, M x = b is solved in place. Rows of M are counted in the
// order in which they can be solved, from the first on where M is a lower triangle and from the last on where it is an
// upper one. So counted M is always a lower triangle.
#pragma once

#include "kernel/blas/level3/triangular.h"
#include "kernel/frame/vector.h"

namespace tnk::level3 {

// Whether the rows are solved from the last one on.
template <class T> inline bool from_the_end(bool left, const Triangle<T> &t) {
  return t.upper() == left;
}

// ---- Packed triangles ---------------------------------------------------------------------------------------------

// M in the order of its solution, in groups of 4 rows; a group has column after column, 4 values each, from the first
// column to its own four. On the diagonal stand reciprocals, 1 where it is unit. What stands above the diagonal is not
// read; rows that a last group lacks are zeros.
//
//     group 0   | 0 1 2 3 | . 5 6 7 | . . 10 11 | . . . 15 |             a cell: a value; a frame: a column
//     group 1   | 16 17 18 19 | ... 4 columns ... | . 37 38 39 | ...
constexpr int rows_of_group = 4;
constexpr tnk_int packed_triangle_size(tnk_int order) {
  const tnk_int groups = (order + rows_of_group - 1) / rows_of_group;
  return 8 * groups * (groups + 1);
}
// Solved rows of as many right-hand sides as two vectors hold; complex ones followed by their multiples by i.
template <class T> constexpr tnk_int panel_size(tnk_int order) {
  const tnk_int rows = (order + rows_of_group - 1) / rows_of_group * rows_of_group;
  return rows * 2 * per_vector<T> * (is_complex<T> ? 2 : 1);
}

// packed: room for packed_triangle_size(order).
template <class T> void pack_triangle(bool left, const Triangle<T> &, tnk_int order, T *packed);

// Solves for `count` right-hand sides. b: their first corner. panel: panel_size(order), aligned to a vector.
template <class T>
void solve_packed(bool left, bool from_end, tnk_int order, tnk_int count, const T *packed, T *panel, T *b,
                  tnk_int ldb);

// ---- Blocks and levels ------------------------------------------------------------------------------------------

// The largest block on the diagonal that is finished without a product of its own.
constexpr tnk_int finished_order = 32;

// A block on the diagonal, of any order, with nothing but the stack.
template <class T>
void finish_plainly(bool left, const Triangle<T> &, tnk_int order, tnk_int count, T *b, tnk_int ldb);

// The same by the levels of the driver, B m by n, with products on the plain path: what the driver comes to, bit for bit,
// without memory.
template <class T>
void solve_plainly(bool left, const Triangle<T> &, tnk_int m, tnk_int n, T *b, tnk_int ldb);

} // namespace tnk::level3
