// Symmetric indefinite factorization, unblocked: A = U D U^T or A = L D L^T with pivots of order 1 and 2 on the
// diagonal of D, chosen by Bunch and Kaufman, Math. Comp. 31 (1977), 163.
//
// A pivot step of the upper form looks at column k of the leading k + 1 rows, one of the lower form at column k of the
// rows from k on. `Side` says what differs.
#include "kernel/frame/host_blas.h"
#include "kernel/frame/mask.h"
#include <cmath>
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

template <class T> constexpr T threshold = static_cast<T>(0.6403882032022076); // (1 + sqrt(17)) / 8

template <class T> struct Extreme {
  T value;
  tnk_int index;
};

// The first of the largest |x[i]|, x[0] if none is above zero: a NaN is above nothing. Lane l has the elements l, l + 4,
// ...; positions run beside the maxima as numbers of the same type, exact as far as a matrix of these can be long.
template <class T> Extreme<T> largest(tnk_int n, const T *x) {
  using V = quad<T>;
  V most{}, at{0, 1, 2, 3}, here = at;
  tnk_int i = 0;
  if (n < (tnk_int(1) << (std::is_same_v<T, float> ? 24 : 53)))
    for (; i + 4 <= n; i += 4, here += 4) {
      const V v = magnitude(loadu<V>(x + i));
      const auto above = v > most;
      most = above ? v : most;
      at = above ? here : at;
    }
  Extreme<T> best{0, 0};
  for (int l = 0; l < 4; ++l) {
    const auto index = static_cast<tnk_int>(at[l]);
    if (most[l] > best.value || (most[l] == best.value && best.value > 0 && index < best.index))
      best = {most[l], index};
  }
  for (; i < n; ++i)
    if (const T size = std::fabs(get(x + i)); size > best.value) best = {size, i};
  return best;
}

// y := y - a u - b w.
template <class T> void subtract_two(tnk_int n, T a, const T *u, T b, const T *w, T *y) {
  using V = vec<T>;
  constexpr int e = per_vector<T>;
  const V va = splat<V>(a), vb = splat<V>(b);
  tnk_int i = 0;
  for (; i + e <= n; i += e) storeu(y + i, loadu<V>(y + i) - loadu<V>(u + i) * va - loadu<V>(w + i) * vb);
  for (; i < n; ++i) put(y + i, get(y + i) - get(u + i) * a - get(w + i) * b);
}
template <class T> void add(tnk_int n, T a, const T *u, T *y) {
  using V = vec<T>;
  constexpr int e = per_vector<T>;
  const V va = splat<V>(a);
  tnk_int i = 0;
  for (; i + e <= n; i += e) storeu(y + i, loadu<V>(y + i) + va * loadu<V>(u + i));
  for (; i < n; ++i) put(y + i, get(y + i) + a * get(u + i));
}
template <class T> void swap_elements(T *x, T *y) {
  const T kept = get(x);
  put(x, get(y));
  put(y, kept);
}
template <class T> void swap_rows(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy) {
  for (tnk_int i = 0; i < n; ++i) swap_elements(x + i * incx, y + i * incy);
}

template <class T> struct Matrix {
  T *a;
  tnk_int n, lda;
  T *at(tnk_int i, tnk_int j) const { return a + i + j * lda; }

  // |a(i, j)| at most, over the part of row and column `i` of the symmetric matrix in rows first ... last, i left out.
  T largest_beside(bool upper, tnk_int i, tnk_int first, tnk_int last) const {
    const tnk_int above = i - first, below = last - i;
    const tnk_int in_row = upper ? below : above;
    const T *row = upper ? at(i, i + 1) : at(i, first);
    T most = upper ? largest(above, at(first, i)).value : largest(below, at(i + 1, i)).value;
    for (tnk_int j = 0; j < in_row; ++j)
      most = std::max(most, std::fabs(get(row + j * lda))); // a NaN is none
    return most;
  }
};

// A := A - x x^T / pivot on the triangle of n rows at `corner`, then x := x / pivot.
template <class T> void eliminate_one(bool upper, tnk_int n, T pivot, T *x, T *corner, tnk_int lda) {
  const T reciprocal = 1 / pivot;
  const bool by_host = std::is_same_v<T, float> && !upper;
  if constexpr (std::is_same_v<T, float>)
    if (by_host) {
      static constexpr tnk_int adjacent = 1;
      const T by = -reciprocal;
      host_blas<T>::syr("Lower", &n, &by, x, &adjacent, corner, &lda);
    }
  for (tnk_int j = 0; j < n && !by_host; ++j) {
    const T by = -reciprocal * get(x + j);
    if (upper)
      add(j + 1, by, x, corner + j * lda);
    else
      add(n - j, by, x + j, corner + j + j * lda);
  }
  for (tnk_int i = 0; i < n; ++i) put(x + i, reciprocal * get(x + i));
}

// The same with a pivot of order 2: diagonal elements `of_x`, `of_y`, beside the diagonal `off`; x and y are its columns.
// Column j is updated before its elements of x and y are replaced, from which the columns after it start.
template <class T>
void eliminate_two(bool upper, tnk_int n, T off, T of_x, T of_y, T *x, T *y, T *corner, tnk_int lda) {
  const T scaled_y = of_y / off, scaled_x = of_x / off;
  const T factor = (1 / (scaled_x * scaled_y - 1)) / off;
  for (tnk_int step = 0; step < n; ++step) {
    const tnk_int j = upper ? n - 1 - step : step;
    const T of_j = get(x + j), beside_j = get(y + j);
    const T in_x = factor * (scaled_y * of_j - beside_j), in_y = factor * (scaled_x * beside_j - of_j);
    if (upper)
      subtract_two(j + 1, in_x, x, in_y, y, corner + j * lda);
    else
      subtract_two(n - j, in_x, x + j, in_y, y + j, corner + j + j * lda);
    put(x + j, in_x);
    put(y + j, in_y);
  }
}

// Order of the pivot at k, and the row that is exchanged with that of k, or of its neighbour in a pivot of order 2.
struct Choice {
  int order;
  tnk_int row;
};

// first ... last: the rows that are left, of which k is the last (upper) or the first (lower).
template <class T>
Choice choose(const Matrix<T> &m, bool upper, tnk_int k, tnk_int first, tnk_int last, bool *zero) {
  const T diagonal = std::fabs(get(m.at(k, k)));
  const auto beside = upper ? largest(k - first, m.at(first, k)) : largest(last - k, m.at(k + 1, k));
  *zero = diagonal == 0 && beside.value == 0;
  if (*zero || diagonal >= threshold<T> * beside.value || first == last) return {1, k};
  const tnk_int i = upper ? first + beside.index : k + 1 + beside.index;
  const T beside_i = m.largest_beside(upper, i, first, last);
  if (diagonal >= threshold<T> * beside.value * (beside.value / beside_i)) return {1, k};
  if (std::fabs(get(m.at(i, i))) >= threshold<T> * beside_i) return {1, i};
  return {2, i};
}

// Rows and columns `row` and `with` of the part that is left change places; `with` is the one nearer to the end that is
// being worked on, and in a pivot of order 2 its neighbour k has an element in its row.
template <class T> void exchange(const Matrix<T> &m, bool upper, tnk_int row, tnk_int with, tnk_int k) {
  if (row == with) return;
  if (upper) {
    swap_rows(row, m.at(0, with), 1, m.at(0, row), 1);
    swap_rows(with - row - 1, m.at(row + 1, with), 1, m.at(row, row + 1), m.lda);
  } else {
    swap_rows(m.n - 1 - row, m.at(row + 1, with), 1, m.at(row + 1, row), 1);
    swap_rows(row - with - 1, m.at(with + 1, with), 1, m.at(row, with + 1), m.lda);
  }
  swap_elements(m.at(with, with), m.at(row, row));
  if (k != with) swap_elements(m.at(with, k), m.at(row, k));
}

// The one-based column of the first pivot that is exactly zero; 0 if there is none.
template <class T> tnk_int factor(bool upper, tnk_int n, T *a, tnk_int lda, tnk_int *ipiv) {
  const Matrix<T> m{a, n, lda};
  const tnk_int step = upper ? -1 : 1;
  tnk_int zero_pivot = 0;
  for (tnk_int k = upper ? n - 1 : 0; k >= 0 && k < n;) {
    const tnk_int first = upper ? 0 : k, last = upper ? k : n - 1;
    bool zero;
    const Choice pivot = choose(m, upper, k, first, last, &zero);
    const tnk_int end = pivot.order == 1 ? k : k + step; // the last row of the pivot
    const tnk_int left = upper ? end : n - 1 - end;
    T *const corner = upper ? a : m.at(end + 1, end + 1);
    if (zero) {
      if (zero_pivot == 0) zero_pivot = k + 1;
    } else {
      exchange(m, upper, pivot.row, end, k);
      T *const x = m.at(upper ? 0 : end + 1, k), *const y = m.at(upper ? 0 : end + 1, end);
      if (pivot.order == 1)
        eliminate_one(upper, left, get(m.at(k, k)), x, corner, lda);
      else if (left > 0)
        eliminate_two(upper, left, get(m.at(end, k)), get(m.at(k, k)), get(m.at(end, end)), x, y, corner,
                      lda);
    }
    if (pivot.order == 1)
      ipiv[k] = pivot.row + 1;
    else
      ipiv[k] = ipiv[end] = -(pivot.row + 1);
    k = end + step;
  }
  return zero_pivot;
}

void report(tnk_int failed, tnk_int *info) {
  if (failed > 0) *info = failed;
}

} // namespace
} // namespace tnk::lapack

#define ENTRIES(t, T)                                                                                        \
  void tnk_lapack_ps_##t##sytrf_u_small(const char *, const tnk_int *n, T *a, const tnk_int *lda,            \
                                        tnk_int *ipiv, tnk_int *info) {                                      \
    tnk::lapack::report(tnk::lapack::factor(true, *n, a, *lda, ipiv), info);                                 \
  }                                                                                                          \
  void tnk_lapack_ps_##t##sytrf_l_small(const char *, const tnk_int *n, T *a, const tnk_int *lda,            \
                                        tnk_int *ipiv, tnk_int *info) {                                      \
    tnk::lapack::report(tnk::lapack::factor(false, *n, a, *lda, ipiv), info);                                \
  }
ENTRIES(s, float)
ENTRIES(d, double)
