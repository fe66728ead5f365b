// Cholesky factorization, unblocked: A = U^H U or A = L L^H, a row of U or a column of L at a time. In large orders the
// matrix-vector product does the work, below them loops that need no call.
#include "kernel/frame/host_blas.h"
#include "kernel/frame/mask.h"
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

template <class T> void conjugate_all(tnk_int n, T *x, tnk_int inc) {
  for (tnk_int i = 0; i < n; ++i) x[i * inc].im = -x[i * inc].im;
}

template <class T> void scale(tnk_int n, real_of<T> by, T *x, tnk_int inc) {
  tnk_int i = 0;
  for (; i + 2 <= n; i += 2) {
    x[i * inc] = by * x[i * inc];
    x[(i + 1) * inc] = by * x[(i + 1) * inc];
  }
  if (i < n) x[i * inc] = by * x[i * inc];
}

// ---- Products ---------------------------------------------------------------------------------------------------

// y[j] := y[j] - conj(x) . column j of A, rows elements long, for Columns columns. y goes by the columns' distance.
template <int Columns, class T> void subtract_dots(tnk_int rows, const T *x, const T *a, tnk_int lda, T *y) {
  using V = vec_of<T>;
  V sum[Columns] = {};
  tnk_int i = 0;
  for (; i + per_vector<T> <= rows; i += per_vector<T>) {
    const V v = loadu<V>(x + i);
    for (int j = 0; j < Columns; ++j) sum[j] += times<T, true>(v, loadu<V>(a + i + j * lda));
  }
  if (i < rows) {
    const auto some = start_of<T>(rows - i);
    const V v = load_first<V>(x + i, some);
    for (int j = 0; j < Columns; ++j) sum[j] += times<T, true>(v, load_first<V>(a + i + j * lda, some));
  }
  for (int j = 0; j < Columns; ++j) y[j * lda] = y[j * lda] - sum_of_elements<T>(sum[j]);
}

// The row of U at y: columns j of A, `rows` elements long, against x.
template <class T>
void subtract_dots(tnk_int rows, tnk_int columns, const T *x, const T *a, tnk_int lda, T *y) {
  tnk_int j = 0;
  for (; j + 4 <= columns; j += 4) subtract_dots<4>(rows, x, a + j * lda, lda, y + j * lda);
  for (; j < columns; ++j) subtract_dots<1>(rows, x, a + j * lda, lda, y + j * lda);
}

// y := y - A conj(x), rows of whole vectors; x goes by the columns' distance.
template <int Vectors, class T, class Load, class Store>
void subtract_columns(tnk_int columns, const T *x, const T *a, tnk_int lda, T *y, Load load, Store store) {
  using V = vec_of<T>;
  V sum[Vectors];
  const auto at = [](int v) { return v * per_vector<T>; };
  for (int v = 0; v < Vectors; ++v) sum[v] = load(y + at(v));
  tnk_int l = 0;
  for (; l + 2 <= columns; l += 2) {
    const T first = conjugate(x[l * lda]), second = conjugate(x[(l + 1) * lda]);
    for (int v = 0; v < Vectors; ++v)
      sum[v] = sum[v] -
               (scaled(first, load(a + l * lda + at(v))) + scaled(second, load(a + (l + 1) * lda + at(v))));
  }
  if (l < columns) {
    const T last = conjugate(x[l * lda]);
    for (int v = 0; v < Vectors; ++v) sum[v] = sum[v] - scaled(last, load(a + l * lda + at(v)));
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

// ---- Factors ----------------------------------------------------------------------------------------------------

// The pivot as its root and its reciprocal, if it can be one: a NaN is not greater than zero.
template <class T> struct Pivot {
  bool good;
  real_of<T> reciprocal;
};
template <class T> Pivot<T> take_root(T &diagonal, real_of<T> pivot) {
  const bool good = pivot > 0;
  const real_of<T> root = good ? std::sqrt(pivot) : pivot;
  if constexpr (is_complex<T>)
    diagonal = {root, 0};
  else
    diagonal = root;
  return {good, 1 / root};
}
template <class T> real_of<T> real_part(T a) {
  if constexpr (is_complex<T>)
    return a.re;
  else
    return a;
}

// The one-based column whose pivot is not greater than zero; 0 if there is none.
template <class T> tnk_int upper(tnk_int n, T *a, tnk_int lda) {
  static constexpr tnk_int adjacent = 1;
  const T minus_one = T{} - one<T>;
  const bool calls = n >= upper_calls_from<T>;
  for (tnk_int j = 0; j < n; ++j) {
    T *const column = a + j * lda, *const diagonal = column + j, *const next = column + lda;
    const tnk_int right = n - j - 1;
    real_of<T> pivot;
    if (j > 0 && calls) {
      if constexpr (is_complex<T>) {
        pivot = diagonal->re - squares(&j, column, &adjacent);
        if (pivot > 0 && right > 0) {
          conjugate_all(j, column, 1);
          host_blas<T>::gemv("Transpose", &j, &right, &minus_one, next, &lda, column, &adjacent, &one<T>,
                             next + j, &lda);
          conjugate_all(j, column, 1);
        }
      } else {
        const tnk_int from_here = right + 1;
        host_blas<T>::gemv("Transpose", &j, &from_here, &minus_one, column, &lda, column, &adjacent, &one<T>,
                           diagonal, &lda);
        pivot = *diagonal;
      }
    } else {
      subtract_dots(j, right + 1, column, column, lda, diagonal);
      pivot = real_part(*diagonal);
    }
    const auto root = take_root(*diagonal, pivot);
    if (!root.good) return j + 1;
    scale(right, root.reciprocal, next + j, lda);
  }
  return 0;
}

template <class T> tnk_int lower(tnk_int n, T *a, tnk_int lda) {
  static constexpr tnk_int adjacent = 1;
  const T minus_one = T{} - one<T>;
  const bool calls = n >= lower_calls_from<T>;
  for (tnk_int j = 0; j < n; ++j) {
    T *const row = a + j, *const diagonal = row + j * lda;
    const tnk_int below = n - j - 1;
    real_of<T> pivot;
    if (j > 0 && calls) {
      if constexpr (is_complex<T>) {
        pivot = diagonal->re - squares(&j, row, &lda);
        if (pivot > 0 && below > 0) {
          conjugate_all(j, row, lda);
          host_blas<T>::gemv("No transpose", &below, &j, &minus_one, row + 1, &lda, row, &lda, &one<T>,
                             diagonal + 1, &adjacent);
          conjugate_all(j, row, lda);
        }
      } else {
        const tnk_int from_here = below + 1;
        host_blas<T>::gemv("No transpose", &from_here, &j, &minus_one, row, &lda, row, &lda, &one<T>,
                           diagonal, &adjacent);
        pivot = *diagonal;
      }
    } else {
      subtract_columns(below + 1, j, row, row, lda, diagonal);
      pivot = real_part(*diagonal);
    }
    const auto root = take_root(*diagonal, pivot);
    if (!root.good) return j + 1;
    scale(below, root.reciprocal, diagonal + 1, 1);
  }
  return 0;
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
