// Cholesky factorization, unblocked: A = U^H U or A = L L^H, a row of U or a column of L at a time. In large orders the
// matrix-vector product does the work, below them loops that need no call.
//
// What both forms share is told of U: element (l, r) of the factor is U(l, r) or L(r, l), and
//
//   F(j, r) = (A(j, r) - sum over l < j of conj(F(l, j)) F(l, r)) / F(j, j)
//
// The loops subtract the terms of a sum in ascending order, two at a time, so both forms give the same bits.
#include "kernel/frame/host_blas.h"
#include "kernel/frame/mask.h"
#include "kernel/frame/transpose.h"
#include <cmath>
#include <limits>
#include <tnk/blas_level1.h>
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

// From this order on the matrix-vector product is called.
constexpr tnk_int never = std::numeric_limits<tnk_int>::max();
template <class T>
constexpr tnk_int upper_calls_from = std::is_same_v<T, float>           ? never
                                     : std::is_same_v<T, tnk_complex16> ? 40
                                                                        : 50;
template <class T>
constexpr tnk_int lower_calls_from = std::is_same_v<T, float>          ? never
                                     : std::is_same_v<T, tnk_complex8> ? 50
                                                                       : 40;

template <class T> real_of<T> real_part(T a) {
  if constexpr (is_complex<T>)
    return a.re;
  else
    return a;
}

// A pivot as its root, and the reciprocal of that; whether it can be one: a NaN is not greater than zero.
template <class T> struct Pivot {
  explicit Pivot(real_of<T> pivot) : good(pivot > 0) {
    const real_of<T> size = good ? std::sqrt(pivot) : pivot;
    if constexpr (is_complex<T>)
      root = {size, 0};
    else
      root = size;
    reciprocal = 1 / size;
  }
  bool good;
  T root;
  real_of<T> reciprocal;
};

// Where the elements of a factor stand.
template <class T> struct Factor {
  T *a;
  tnk_int n, down, across; // (l, r) at a + l * down + r * across
  T *at(tnk_int l, tnk_int r) const { return a + l * down + r * across; }
};

// An element that is to fill vectors, part by part: whole, a pair of floats would pass through an integer register.
template <class T> T single(const T *p) {
  if constexpr (is_complex<T>)
    return {get(&p->re), get(&p->im)};
  else
    return get(p);
}

// y minus two terms, and minus one. X: an element or a vector of them.
template <class T, class X> X minus(X y, T a, X b, T c, X d) {
  return y - (scaled(a, b) + scaled(c, d));
}
template <class T, class X> X minus(X y, T a, X b) {
  return y - scaled(a, b);
}

template <class T> void scale(tnk_int n, real_of<T> by, T *x, tnk_int inc) {
  using V = vec_of<T>;
  tnk_int i = 0;
  if (inc == 1)
    for (; i + per_vector<T> <= n; i += per_vector<T>) storeu(x + i, by * loadu<V>(x + i));
  for (; i + 2 <= n; i += 2) {
    put(x + i * inc, by * get(x + i * inc));
    put(x + (i + 1) * inc, by * get(x + (i + 1) * inc));
  }
  if (i < n) put(x + i * inc, by * get(x + i * inc));
}

// reduce(j) takes the terms of the rows above from row j, from its diagonal on. The one-based row whose pivot is not
// greater than zero; 0 if there is none.
template <class T, class Reduce> tnk_int by_rows(const Factor<T> &f, tnk_int from, Reduce reduce) {
  for (tnk_int j = from; j < f.n; ++j) {
    if (j > 0) reduce(j);
    const Pivot<T> pivot(real_part(get(f.at(j, j))));
    put(f.at(j, j), pivot.root);
    if (!pivot.good) return j + 1;
    scale(f.n - j - 1, pivot.reciprocal, f.at(j, j + 1), f.across);
  }
  return 0;
}

// ---- L without calls: its columns are vectors ---------------------------------------------------------------------

// y := y - A conj(x), rows of whole vectors; x goes by the columns' distance.
template <int Vectors, class T, class Load, class Store>
void subtract_columns(tnk_int columns, const T *x, const T *a, tnk_int lda, T *y, Load load, Store store) {
  using V = vec_of<T>;
  V sum[Vectors];
  const auto at = [](int v) { return v * per_vector<T>; };
  for (int v = 0; v < Vectors; ++v) sum[v] = load(y + at(v));
  tnk_int l = 0;
  for (; l + 2 <= columns; l += 2) {
    const T first = conjugate(single(x + l * lda)), second = conjugate(single(x + (l + 1) * lda));
    const T *const from = a + l * lda;
    for (int v = 0; v < Vectors; ++v)
      sum[v] = minus(sum[v], first, load(from + at(v)), second, load(from + lda + at(v)));
  }
  if (l < columns) {
    const T last = conjugate(single(x + l * lda));
    for (int v = 0; v < Vectors; ++v) sum[v] = minus(sum[v], last, load(a + l * lda + at(v)));
  }
  for (int v = 0; v < Vectors; ++v) store(y + at(v), sum[v]);
}
template <class T>
void subtract_columns(tnk_int rows, tnk_int columns, const T *x, const T *a, tnk_int lda, T *y) {
  using V = vec_of<T>;
  constexpr int e = per_vector<T>;
  const auto whole = [](const T *p) { return loadu<V>(p); };
  const auto keep = [](T *p, V v) { storeu(p, v); };
  tnk_int i = 0;
  for (; i + 4 * e <= rows; i += 4 * e) subtract_columns<4>(columns, x, a + i, lda, y + i, whole, keep);
  for (; i + e <= rows; i += e) subtract_columns<1>(columns, x, a + i, lda, y + i, whole, keep);
  if (i == rows) return;
  const auto some = start_of<T>(rows - i);
  subtract_columns<1>(
      columns, x, a + i, lda, y + i, [&](const T *p) { return load_first<V>(p, some); },
      [&](T *p, V v) { store_first(p, v, some); });
}

// ---- U without calls: blocks of rows, across which a vector lies ---------------------------------------------------

// Blocks are as wide as a vector: of four elements, two of double complex.
template <class T> using Line = std::conditional_t<std::is_same_v<T, float>, f32x4, vec_of<T>>;
template <class T> constexpr int wide = static_cast<int>(sizeof(Line<T>) / sizeof(T));

template <class T> Line<T> conjugate_line(Line<T> x) {
  if constexpr (is_complex<T>)
    return blended<(wide<T> == 4 ? 0xAA : 0xA)>(x, Line<T>{} - x); // odd lanes are imaginary parts
  else
    return x;
}

// Rows of a block become its columns.
template <class T> void transpose_block(Line<T> (&r)[wide<T>]) {
  if constexpr (std::is_same_v<T, tnk_complex16>) {
    const auto low = low_halves(r[0], r[1]);
    r[1] = high_halves(r[0], r[1]);
    r[0] = low;
  } else if constexpr (std::is_same_v<T, tnk_complex8>) {
    f64x4 pairs[4];
    for (int i = 0; i < 4; ++i) pairs[i] = reinterpret_cast<f64x4>(r[i]);
    transpose(pairs[0], pairs[1], pairs[2], pairs[3]);
    for (int i = 0; i < 4; ++i) r[i] = reinterpret_cast<f32x8>(pairs[i]);
  } else {
    transpose(r[0], r[1], r[2], r[3]);
  }
}

// A block of rows in its own columns, the pivots among them.
template <class T> struct Corner {
  T e[wide<T>][wide<T>]; // row l, column r
  real_of<T> reciprocal[wide<T>];

  // False when a pivot is not greater than zero.
  bool factor() {
    for (int k = 0; k < wide<T>; ++k) {
      for (int r = k; r < wide<T>; ++r) e[k][r] = reduced(e[k][r], k, [&](int l) { return e[l][r]; });
      const Pivot<T> pivot(real_part(e[k][k]));
      if (!pivot.good) return false;
      reciprocal[k] = pivot.reciprocal;
      e[k][k] = pivot.root;
      for (int r = k + 1; r < wide<T>; ++r) e[k][r] = reciprocal[k] * e[k][r];
    }
    return true;
  }
  // The same rows in other columns, from what the rows above have left of them.
  void finish(Line<T> (&x)[wide<T>]) const {
    for (int k = 0; k < wide<T>; ++k) x[k] = reciprocal[k] * reduced(x[k], k, [&](int l) { return x[l]; });
  }

private:
  // Row k in one or more columns, less the terms of the block's rows above it.
  template <class X, class Row> X reduced(X y, int k, Row row) const {
    if (k >= 2) y = minus(y, conjugate(e[0][k]), row(0), conjugate(e[1][k]), row(1));
    if (k % 2 == 1) y = minus(y, conjugate(e[k - 1][k]), row(k - 1));
    return y;
  }
};

// Rows j, j + 1, ... in as many columns, or in twice as many, less the terms of the rows above j: x[c] has them side by
// side as they stand in column[c]. Rows above, in the block's own columns, are turned on their way.
template <class T, int Columns>
void reduce_block(const T *a, tnk_int lda, tnk_int j, T *const *column, Line<T> (&to)[Columns]) {
  Line<T> x[Columns];
  for (int c = 0; c < Columns; ++c) x[c] = loadu<Line<T>>(column[c] + j);
  for (tnk_int l = 0; l < j; l += wide<T>) {
    Line<T> row[wide<T>];
    for (int r = 0; r < wide<T>; ++r) row[r] = loadu<Line<T>>(a + l + (j + r) * lda);
    transpose_block<T>(row);
    for (int k = 0; k < wide<T>; k += 2) {
      const Line<T> first = conjugate_line<T>(row[k]), second = conjugate_line<T>(row[k + 1]);
      for (int c = 0; c < Columns; ++c)
        x[c] = minus(x[c], single(column[c] + l + k), first, single(column[c] + l + k + 1), second);
    }
  }
  for (int c = 0; c < Columns; ++c) to[c] = x[c];
}

template <class T, int Columns>
void block_in_columns(tnk_int n, T *a, tnk_int lda, tnk_int j, tnk_int i, const Corner<T> &corner) {
  T *column[Columns];
  for (int c = 0; c < Columns; ++c)
    column[c] = a + std::min(i + c, n - 1) * lda; // past the end the last one again
  Line<T> x[Columns];
  reduce_block<T>(a, lda, j, column, x);
  for (int first = 0; first < Columns; first += wide<T>) {
    Line<T>(&rows)[wide<T>] = reinterpret_cast<Line<T>(&)[wide<T>]>(x[first]);
    transpose_block<T>(rows);
    corner.finish(rows);
    transpose_block<T>(rows);
  }
  for (int c = 0; c < Columns; ++c)
    if (i + c < n) storeu(column[c] + j, x[c]);
}

// Rows j, j + 1, ... of U. False, and nothing is changed, when a pivot is not greater than zero.
template <class T> bool factor_block(tnk_int n, T *a, tnk_int lda, tnk_int j) {
  constexpr int w = wide<T>, columns = std::is_same_v<T, tnk_complex8> ? w : 2 * w; // as the registers hold
  T *column[w];
  for (int c = 0; c < w; ++c) column[c] = a + (j + c) * lda;
  Line<T> x[w];
  reduce_block<T>(a, lda, j, column, x);
  transpose_block<T>(x);
  Corner<T> corner;
  for (int k = 0; k < w; ++k) storeu(corner.e[k], x[k]);
  if (!corner.factor()) return false;
  for (int c = 0; c < w; ++c)
    for (int k = 0; k <= c; ++k) put(column[c] + j + k, corner.e[k][c]);

  tnk_int i = j + w;
  for (; i + columns - w < n; i += columns) block_in_columns<T, columns>(n, a, lda, j, i, corner);
  if (i < n) block_in_columns<T, w>(n, a, lda, j, i, corner);
  return true;
}

// By blocks as far as they go, which is to the last rows or to a pivot that fails, and then row by row.
template <class T> tnk_int by_blocks(const Factor<T> &f, tnk_int lda) {
  tnk_int done = 0;
  while (done + wide<T> <= f.n && factor_block(f.n, f.a, lda, done)) done += wide<T>;
  return by_rows(f, done, [&](tnk_int j) {
    const T *const x = f.at(0, j);
    for (tnk_int r = j; r < f.n; ++r) {
      T *const column = f.at(0, r);
      T y = get(column + j);
      tnk_int l = 0;
      for (; l + 2 <= j; l += 2)
        y = minus(y, conjugate(get(x + l)), get(column + l), conjugate(get(x + l + 1)), get(column + l + 1));
      if (l < j) y = minus(y, conjugate(get(x + l)), get(column + l));
      put(column + j, y);
    }
  });
}

// ---- With calls ---------------------------------------------------------------------------------------------------

// conj(x) times x, n elements; the imaginary part is exactly 0.
float squares(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx) {
  tnk_complex8 sum;
  tnk_blas_cdotc(&sum, n, x, incx, x, incx);
  return sum.re;
}
double squares(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx) {
  tnk_complex16 sum;
  tnk_blas_zdotc(&sum, n, x, incx, x, incx);
  return sum.re;
}

// Negated twice an imaginary part is what it was.
template <class T> void negate_imaginary(tnk_int n, T *x, tnk_int inc) {
  for (tnk_int i = 0; i < n; ++i, x += inc) {
    const T element = get(x);
    put(x, T{element.re, -element.im});
  }
}

// product(j, r, count): takes the terms from `count` elements of row j from column r on by the matrix-vector product.
template <class T, class Product> tnk_int by_calls(const Factor<T> &f, Product product) {
  return by_rows(f, 0, [&](tnk_int j) {
    if constexpr (is_complex<T>) {
      T *const x = f.at(0, j), *const diagonal = f.at(j, j);
      put(diagonal, T{get(diagonal).re - squares(&j, x, &f.down), 0});
      negate_imaginary(j, x, f.down);
      if (j + 1 < f.n) product(j, j + 1, f.n - j - 1);
      negate_imaginary(j, x, f.down);
    } else {
      product(j, j, f.n - j);
    }
  });
}

template <class T> tnk_int upper(tnk_int n, T *a, tnk_int lda) {
  static constexpr tnk_int adjacent = 1;
  const T minus_one = T{} - one<T>;
  const Factor<T> f{a, n, 1, lda};
  if (n < upper_calls_from<T>) return by_blocks(f, lda);
  return by_calls(f, [&](tnk_int j, tnk_int r, tnk_int count) {
    host_blas<T>::gemv("Transpose", &j, &count, &minus_one, f.at(0, r), &lda, f.at(0, j), &adjacent, &one<T>,
                       f.at(j, r), &lda);
  });
}
template <class T> tnk_int lower(tnk_int n, T *a, tnk_int lda) {
  static constexpr tnk_int adjacent = 1;
  const T minus_one = T{} - one<T>;
  const Factor<T> f{a, n, lda, 1};
  if (n < lower_calls_from<T>)
    return by_rows(f, 0, [&](tnk_int j) { subtract_columns(n - j, j, a + j, a + j, lda, f.at(j, j)); });
  return by_calls(f, [&](tnk_int j, tnk_int r, tnk_int count) {
    host_blas<T>::gemv("No transpose", &count, &j, &minus_one, f.at(0, r), &lda, f.at(0, j), &lda, &one<T>,
                       f.at(j, r), &adjacent);
  });
}

void report(tnk_int failed, tnk_int *info) {
  if (failed > 0) *info = failed;
}

} // namespace
} // namespace tnk::lapack

#define ENTRIES(t, T)                                                                                        \
  void tnk_lapack_ps_##t##potrf_u_small(const char *, const tnk_int *n, T *a, const tnk_int *lda,            \
                                        tnk_int *info) {                                                     \
    tnk::lapack::report(tnk::lapack::upper(*n, a, *lda), info);                                              \
  }                                                                                                          \
  void tnk_lapack_ps_##t##potrf_l_small(const char *, const tnk_int *n, T *a, const tnk_int *lda,            \
                                        tnk_int *info) {                                                     \
    tnk::lapack::report(tnk::lapack::lower(*n, a, *lda), info);                                              \
  }
ENTRIES(s, float)
ENTRIES(d, double)
ENTRIES(c, tnk_complex8)
ENTRIES(z, tnk_complex16)
