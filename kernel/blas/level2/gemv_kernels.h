// Inner kernels of the matrix-vector product: unit strides, four columns at a time, A read once.
//
// An element of y is formed by one expression, wherever its row stands: ends of columns are masked vectors. So rows may
// be cut anywhere in y := y + alpha A x, and columns at multiples of four in the transposed forms.
#pragma once

#include "kernel/frame/mask.h"

namespace tnk::level2 {

// ---- y := y + alpha A x -----------------------------------------------------------------------------------------

// The factors alpha x[j] of Columns columns, each part of them in all lanes.
template <int Columns, class T> struct Factors {
  vec_of<T> re[Columns], im[Columns];

  Factors(T alpha, const T *x) {
    for (int j = 0; j < Columns; ++j) {
      const T factor = alpha * x[j];
      if constexpr (is_complex<T>) {
        re[j] = splat<vec_of<T>>(factor.re);
        im[j] = splat<vec_of<T>>(factor.im);
      } else {
        re[j] = splat<vec_of<T>>(factor);
      }
    }
  }
};

template <int Columns, class V> inline V pairwise_sum(const V (&term)[Columns]) {
  if constexpr (Columns == 4)
    return (term[0] + term[1]) + (term[2] + term[3]);
  else if constexpr (Columns == 2)
    return term[0] + term[1];
  else
    return term[0];
}

// A vector of y with Columns columns added. Complex: the real factors' products, and of the imaginary ones' the sum with
// its parts exchanged once.
template <int Columns, class T, class Load>
inline vec_of<T> with_columns(vec_of<T> y, const Factors<Columns, T> &factor, const T *a, tnk_int lda,
                              Load load) {
  using V = vec_of<T>;
  V column[Columns], term[Columns];
  for (int j = 0; j < Columns; ++j) {
    column[j] = load(a + j * lda);
    if constexpr (is_complex<T>) column[j] = in_register(column[j]);
    term[j] = factor.re[j] * column[j];
  }
  if constexpr (is_complex<T>) {
    V other[Columns];
    for (int j = 0; j < Columns; ++j) other[j] = factor.im[j] * column[j];
    return y + addsub(pairwise_sum(term), swap_neighbours(pairwise_sum(other)));
  } else {
    return y + pairwise_sum(term);
  }
}

template <int Columns, class T>
inline void add_columns(tnk_int m, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>, block = 4 * e;
  const Factors<Columns, T> factor(alpha, x);
  const auto whole = [](const T *p) { return loadu<V>(p); };
  tnk_int i = 0;
  for (; i + block <= m; i += block)
    for (tnk_int v = i; v < i + block; v += e)
      storeu(y + v, with_columns(loadu<V>(y + v), factor, a + v, lda, whole));
  for (; i + e <= m; i += e) storeu(y + i, with_columns(loadu<V>(y + i), factor, a + i, lda, whole));
  if (i == m) return;
  const auto some = start_of<T>(m - i);
  const auto first = [&](const T *p) { return load_first<V>(p, some); };
  store_first(y + i, with_columns(first(y + i), factor, a + i, lda, first), some);
}

template <class T> void gemv_n(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  if (m < 1) return;
  tnk_int j = 0;
  for (; j + 4 <= n; j += 4) add_columns<4>(m, a + j * lda, lda, x + j, y, alpha);
  if (j + 2 <= n) {
    add_columns<2>(m, a + j * lda, lda, x + j, y, alpha);
    j += 2;
  }
  if (j < n) add_columns<1>(m, a + j * lda, lda, x + j, y, alpha);
}

// ---- y := y + alpha op(A) x, transposed ---------------------------------------------------------------------------

// Lane by lane, the products of a column with x: complex ones with the real and with the imaginary parts of x apart. Two
// sums in turn, so that one addition need not wait for the other.
template <class T> struct Sums {
  static constexpr int parts = is_complex<T> ? 2 : 1;
  vec_of<T> sum[2][parts] = {};

  T total(bool conjugated) const {
    if constexpr (is_complex<T>) {
      const auto with_re = sum_of_elements<T>(sum[0][0] + sum[1][0]),
                 with_im = sum_of_elements<T>(sum[0][1] + sum[1][1]);
      if (conjugated) return {with_re.re + with_im.im, with_im.re - with_re.im};
      return {with_re.re - with_im.im, with_re.im + with_im.re};
    } else {
      return hsum(sum[0][0] + sum[1][0]);
    }
  }
};

template <int Columns, class T>
inline void multiply_columns(tnk_int m, const T *a, tnk_int lda, const T *x, T *y, T alpha, bool conjugated) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>;
  Sums<T> sums[Columns];
  const auto step = [&](tnk_int i, int turn, auto load) {
    const V v = load(x + i);
    V with[2] = {v, v};
    if constexpr (is_complex<T>) with[0] = even_lanes_twice(v), with[1] = odd_lanes_twice(v);
    for (int j = 0; j < Columns; ++j) {
      V column = load(a + i + j * lda);
      if constexpr (is_complex<T>) column = in_register(column);
      for (int part = 0; part < Sums<T>::parts; ++part) sums[j].sum[turn][part] += column * with[part];
    }
  };
  const auto whole = [](const T *p) { return loadu<V>(p); };
  tnk_int i = 0;
  for (; i + 2 * e <= m; i += 2 * e) {
    step(i, 0, whole);
    step(i + e, 1, whole);
  }
  if (i + e <= m) {
    step(i, 0, whole);
    i += e;
  }
  if (i < m) {
    const auto some = start_of<T>(m - i);
    step(i, 1, [&](const T *p) { return load_first<V>(p, some); });
  }
  for (int j = 0; j < Columns; ++j) y[j] = y[j] + alpha * sums[j].total(conjugated);
}

template <Operation op, class T>
void gemv_t(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  constexpr bool conjugated = op == conjugate_transposed;
  // Complex sums are four vectors a column: two columns leave room in the registers.
  constexpr int columns = is_complex<T> ? 2 : 4;
  tnk_int j = 0;
  for (; j + columns <= n; j += columns)
    multiply_columns<columns>(m, a + j * lda, lda, x, y + j, alpha, conjugated);
  for (; j < n; ++j) multiply_columns<1>(m, a + j * lda, lda, x, y + j, alpha, conjugated);
}

} // namespace tnk::level2
