// The triangle of a square matrix as it is stored: full, packed or as a band. One algorithm serves all three, since a few
// neighbouring columns of any of them are a matrix with a leading dimension of its own.
#pragma once

#include "host/routines/blas/arguments.h"
#include <algorithm>

namespace tnk::host {

// Column j is an address from which element (i, j) is i elements away, whether or not there is one; the next column stands
// step(j) elements further. Rows first(j) ... past(j) - 1 are stored. Up to `together` columns beginning at any j share
// a step.

// A triangle in a matrix stored by columns.
template <bool Upper, class T> struct Full {
  static constexpr bool upper = Upper, banded = false;
  static constexpr tnk_int together = 64;
  T *a;
  tnk_int n, lda;

  T *column(tnk_int j) const { return a + j * lda; }
  tnk_int step(tnk_int) const { return lda; }
  tnk_int first(tnk_int j) const { return Upper ? 0 : j; }
  tnk_int past(tnk_int j) const { return Upper ? j + 1 : n; }
};

// Columns without gaps:   a00 | a01 a11 | a02 a12 a22   upper,   a00 a10 a20 | a11 a21 | a22   lower.
// A step is one longer, or shorter, than the last, so two columns are a matrix.
template <bool Upper, class T> struct Packed {
  static constexpr bool upper = Upper, banded = false;
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
  static constexpr bool upper = Upper, banded = true;
  static constexpr tnk_int together = 64;
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

// `width` columns from `first` on. Off the square on the diagonal they have the rows `top` to `bottom` - 1 in common: a
// matrix for a kernel. What a band has besides are two triangles: in the square, and at the far ends of its columns.
template <class S> struct Group {
  const S &a;
  tnk_int first, width, top, bottom;

  Group(const S &stored, tnk_int j, tnk_int columns) : a(stored), first(j), width(columns) {
    top = S::upper ? a.first(j + width - 1) : j + width;
    bottom = S::upper ? j : a.past(j);
    if (top > bottom) (S::upper ? top : bottom) = S::upper ? bottom : top;
  }
  tnk_int rows() const { return bottom - top; }
  tnk_int past() const { return first + width; }

  // f(c, from, to) for each column c and its rows in the square, without the diagonal.
  template <class F> void in_square(tnk_int c, F f) const {
    if (S::upper)
      f(c, std::max(first, a.first(c)), c);
    else
      f(c, c + 1, std::min(past(), a.past(c)));
  }
  // f(c, from, to) for the rows of each column beyond the common ones.
  template <class F> void at_far_ends(F f) const {
    for (tnk_int c = first; S::banded && c < past(); ++c)
      if (S::upper) {
        f(c, a.first(c), std::max(a.first(c), top));
      } else {
        f(c, std::min(a.past(c), bottom), a.past(c));
      }
  }
};

} // namespace tnk::host
