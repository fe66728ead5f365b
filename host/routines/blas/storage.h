// The triangle of a square matrix as it is stored: full, packed or as a band. One algorithm serves all three, since a few
// neighbouring columns of any of them are a matrix with a leading dimension of its own.
#pragma once

#include "host/routines/blas/arguments.h"
#include "host/routines/blas/numbers.h"
#include <algorithm>

namespace tnk::host {

// Column j is an address from which element (i, j) is i elements away, whether or not there is one; the next column stands
// step(j) elements further. Rows first(j) ... past(j) - 1 are stored. Groups of `together` columns share a step: two
// where steps differ, four where they do not, which a kernel takes in one pass in every type.

// A triangle in a matrix stored by columns. Any part of it along the diagonal is such a triangle, and any rectangle off the
// diagonal a matrix.
template <bool Upper, class T> struct Full {
  static constexpr bool upper = Upper, banded = false, divisible = true;
  static constexpr tnk_int together = 4;
  T *a;
  tnk_int n, lda;

  T *column(tnk_int j) const { return a + j * lda; }
  tnk_int step(tnk_int) const { return lda; }
  tnk_int first(tnk_int j) const { return Upper ? 0 : j; }
  tnk_int past(tnk_int j) const { return Upper ? j + 1 : n; }

  Full part(tnk_int from, tnk_int size) const { return {a + from * (lda + 1), size, lda}; }
};

// Halves of a triangle and the square between them: large blocks for the kernels, which then ask for memory ahead and take
// as many columns at once as they can.
//
//     1         upper: the square stands right of 1, above 2
//     square 2
template <class F> struct Halves {
  const F &a;
  tnk_int first, second; // their orders

  explicit Halves(const F &whole) : a(whole), first(whole.n / 2 / 8 * 8), second(whole.n - first) {}
  F half(bool is_first) const { return is_first ? a.part(0, first) : a.part(first, second); }
  auto *square() const { return a.a + (F::upper ? first * a.lda : first); }
  tnk_int rows() const { return F::upper ? first : second; }
  tnk_int columns() const { return F::upper ? second : first; }
  // Where the square's rows and columns begin.
  tnk_int top() const { return F::upper ? 0 : first; }
  tnk_int left() const { return F::upper ? first : 0; }
};

// Whether a triangle is large enough: beyond the inner caches. Within them long columns are worth more.
constexpr tnk_int undivided_bytes = 2 << 20;
template <class F> bool is_to_be_halved(const F &a) {
  return a.n * a.n * static_cast<tnk_int>(sizeof *a.a) > undivided_bytes;
}

// Columns without gaps:   a00 | a01 a11 | a02 a12 a22   upper,   a00 a10 a20 | a11 a21 | a22   lower.
// A step is one longer, or shorter, than the last, so two columns are a matrix.
template <bool Upper, class T> struct Packed {
  static constexpr bool upper = Upper, banded = false, divisible = false;
  static constexpr tnk_int together = 2;
  T *a;
  tnk_int n;

  T *column(tnk_int j) const { return a + (Upper ? j * (j + 1) / 2 : j * (2 * n - j - 1) / 2); }
  tnk_int step(tnk_int j) const { return Upper ? j + 1 : n - j - 1; }
  tnk_int first(tnk_int j) const { return Upper ? 0 : j; }
  tnk_int past(tnk_int j) const { return Upper ? j + 1 : n; }
};

// The diagonal and k diagonals beside it, each a row of an array with a column a column: the diagonal is the last row for
// the upper triangle, the first for the lower one. So a row of the matrix runs obliquely through the array.
template <bool Upper, class T> struct Band {
  static constexpr bool upper = Upper, banded = true, divisible = false;
  static constexpr tnk_int together = 4;
  T *a;
  tnk_int n, k, lda;

  T *column(tnk_int j) const { return a + (Upper ? k : 0) + j * (lda - 1); }
  tnk_int step(tnk_int) const { return lda - 1; }
  tnk_int first(tnk_int j) const { return Upper ? std::max<tnk_int>(0, j - k) : j; }
  tnk_int past(tnk_int j) const { return Upper ? j + 1 : std::min(n, j + k + 1); }
};

// ---- As the argument lists have them -------------------------------------------------------------------------------
// order() checks what gives the size, array() the matrix itself, which may have any address if it is not touched.

template <class T> struct FullArguments {
  T *a;
  const tnk_int *lda;

  bool order(Arguments &given, const tnk_int *n) const { return given.length<T>("n", n); }
  bool array(Arguments &given, tnk_int n, bool touched) const {
    return given.matrix("a", a, touched, "lda", lda, n, n);
  }
  template <bool Upper> Full<Upper, T> triangle(tnk_int n) const { return {a, n, *lda}; }
};

template <class T> struct PackedArguments {
  T *ap;

  bool order(Arguments &given, const tnk_int *n) const { return given.packed_order<T>("n", n); }
  bool array(Arguments &given, tnk_int, bool touched) const { return given.array("ap", ap, touched); }
  template <bool Upper> Packed<Upper, T> triangle(tnk_int n) const { return {ap, n}; }
};

template <class T> struct BandArguments {
  const tnk_int *k;
  T *a;
  const tnk_int *lda;

  bool order(Arguments &given, const tnk_int *n) const {
    return given.length<T>("n", n) && given.length<T>("k", k);
  }
  bool array(Arguments &given, tnk_int n, bool touched) const {
    return given.matrix("a", a, touched, "lda", lda, *k + 1, n);
  }
  template <bool Upper> Band<Upper, T> triangle(tnk_int n) const { return {a, n, *k, *lda}; }
};

// ---- Groups of columns ----------------------------------------------------------------------------------------------

// body(first, width) for the groups of columns from `from` to `past` - 1, the width a constant but for the last group, so
// that the loops over the square on the diagonal are written out.
template <class S, class Body> void over_groups(tnk_int from, tnk_int past, bool ascending, Body body) {
  constexpr std::integral_constant<tnk_int, S::together> whole;
  const tnk_int rest = from + (past - from) / whole * whole;
  if (!ascending && rest < past) body(rest, past - rest);
  for (tnk_int j = from; j < rest; j += whole) body(ascending ? j : from + rest - whole - j, whole);
  if (ascending && rest < past) body(rest, past - rest);
}

// `width` columns from `first` on, no more than a band has diagonals. Off the square on the diagonal they have the rows
// `top` to `bottom` - 1 in common: a matrix for a kernel. The columns of a band go on at their far ends.
template <class S> struct Group {
  const S &a;
  tnk_int first, width, top, bottom;

  Group(const S &stored, tnk_int j, tnk_int columns)
      : a(stored), first(j), width(columns), top(S::upper ? a.first(j + width - 1) : j + width),
        bottom(S::upper ? j : a.past(j)) {}
  tnk_int rows() const { return bottom - top; }

  // f(c, from, to) for the rows of each column beyond the common ones.
  template <class F> void at_far_ends(F f) const {
    for (tnk_int c = first; S::banded && c < first + width; ++c)
      if (S::upper) {
        f(c, a.first(c), top);
      } else {
        f(c, bottom, a.past(c));
      }
  }
};

// ---- Narrow bands ---------------------------------------------------------------------------------------------------

// Up to so many diagonals beside the main one an element of the result is formed by itself, from a row of the matrix, since
// calls of kernels would take longer than what they do.
constexpr tnk_int narrow = 8;

// f(k) with a constant where it is small, so that loops over the diagonals are written out.
template <class F> void with_constant(tnk_int k, F f) {
  switch (k) {
  case 1:
    return f(std::integral_constant<tnk_int, 1>());
  case 2:
    return f(std::integral_constant<tnk_int, 2>());
  case 3:
    return f(std::integral_constant<tnk_int, 3>());
  case 4:
    return f(std::integral_constant<tnk_int, 4>());
  default:
    return f(k);
  }
}

// The part of a row of A, or of its transpose, that lies to one side of the diagonal: the d-th element from the diagonal
// stands in column row + d * side, and `step` elements behind the one before it.
template <bool Transposed, bool Conjugated, class B> struct HalfRow {
  static constexpr tnk_int side = B::upper != Transposed ? 1 : -1;
  const B &a;
  tnk_int step;

  explicit HalfRow(const B &band) : a(band), step(side * (Transposed ? 1 : a.lda - 1)) {}
  // The sum of `count` elements with those of x, from the diagonal on.
  template <class Count, class T> T product(tnk_int row, Count count, const T *x) const {
    const auto *const diagonal = a.column(row) + row;
    T sum{};
    for (tnk_int d = 1; d <= count; ++d)
      sum = sum + conjugate_if<Conjugated>(diagonal[d * step]) * x[row + d * side];
    return sum;
  }
};

} // namespace tnk::host
