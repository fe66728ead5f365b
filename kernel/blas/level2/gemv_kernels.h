// Inner kernels of the matrix-vector product: unit strides, A read once.
//
// Without a transpose an element of y is formed by one expression, wherever its row stands: the columns are added by
// fours from the first on, and the ends of columns are masked vectors. So rows may be cut anywhere. Transposed, a column
// is summed alike in every group that begins at a multiple of four: there columns may be cut.
#pragma once

#include "kernel/frame/mask.h"

namespace tnk::level2 {

// Rows 0 ... m - 1, a vector of elements at a time: step(i, k, load, store), with k = i / elements mod 4. At the end the
// loads give zeros and the stores leave alone what stands behind the last row.
template <class T, class Step> inline __attribute__((always_inline)) void over_rows(tnk_int m, Step step) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>;
  const auto load = [](const T *p) { return loadu<V>(p); };
  const auto store = [](T *p, V v) { storeu(p, v); };
  tnk_int i = 0;
  for (; i + 4 * e <= m; i += 4 * e)
    for (int k = 0; k < 4; ++k) step(i + k * e, k, load, store);
  for (; i + e <= m; i += e) step(i, 0, load, store);
  if (i >= m) return;
  const auto some = start_of<T>(m - i);
  step(
      i, 1, [&](const T *p) { return load_first<V>(p, some); }, [&](T *p, V v) { store_first(p, v, some); });
}

// The next vector of each of Columns columns.
template <int Columns, class T> struct Slice {
  vec_of<T> column[Columns];

  template <class Load> Slice(const T *a, tnk_int lda, Load load) {
    for (int j = 0; j < Columns; ++j) {
      column[j] = load(a + j * lda);
      if constexpr (is_complex<T>) column[j] = in_register(column[j]);
    }
  }
};

// ---- y := y + alpha A x -------------------------------------------------------------------------------------------

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
template <int Columns, class T>
inline vec_of<T> with_columns(vec_of<T> y, const Factors<Columns, T> &factor, const Slice<Columns, T> &a) {
  using V = vec_of<T>;
  V term[Columns];
  for (int j = 0; j < Columns; ++j) term[j] = factor.re[j] * a.column[j];
  if constexpr (is_complex<T>) {
    V other[Columns];
    for (int j = 0; j < Columns; ++j) other[j] = factor.im[j] * a.column[j];
    return y + addsub(pairwise_sum(term), swap_neighbours(pairwise_sum(other)));
  } else {
    return y + pairwise_sum(term);
  }
}

template <int Columns, class T>
inline void add_columns(tnk_int m, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  const Factors<Columns, T> factor(alpha, x);
  over_rows<T>(m, [&](tnk_int i, int, auto load, auto store) {
    store(y + i, with_columns(load(y + i), factor, Slice<Columns, T>(a + i, lda, load)));
  });
}

// body(j, columns) with columns a constant of 4, and at the end 2 and 1.
template <class Body> inline void over_columns(tnk_int n, Body body) {
  tnk_int j = 0;
  for (; j + 4 <= n; j += 4) body(j, std::integral_constant<int, 4>());
  if (j + 2 <= n) {
    body(j, std::integral_constant<int, 2>());
    j += 2;
  }
  if (j < n) body(j, std::integral_constant<int, 1>());
}

template <class T> void gemv_n(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  if (m < 1) return;
  over_columns(n,
               [=](tnk_int j, auto columns) { add_columns<columns>(m, a + j * lda, lda, x + j, y, alpha); });
}

// ---- y := y + alpha op(A) x, transposed ---------------------------------------------------------------------------

// A vector of x, of complex ones the real and the imaginary parts apart.
template <class T> struct Multiplier {
  static constexpr int parts = is_complex<T> ? 2 : 1;
  vec_of<T> part[parts];

  explicit Multiplier(vec_of<T> x) {
    if constexpr (is_complex<T>)
      part[0] = even_lanes_twice(x), part[1] = odd_lanes_twice(x);
    else
      part[0] = x;
  }
};

// Lane by lane, the products of Columns columns with x. Where they are few there are two sums a column, taken in turn, so
// that no addition waits for the one before it.
template <int Columns, class T> struct Sums {
  static constexpr int parts = Multiplier<T>::parts, turns = Columns * parts < 4 ? 2 : 1;
  vec_of<T> sum[turns][Columns][parts] = {};

  void add(int k, const Slice<Columns, T> &a, const Multiplier<T> &x) {
    for (int j = 0; j < Columns; ++j)
      for (int part = 0; part < parts; ++part) sum[k % turns][j][part] += a.column[j] * x.part[part];
  }
  T total(int j, bool conjugated) const {
    const auto whole = [&](int part) {
      auto lanes = sum[0][j][part];
      if constexpr (turns == 2) lanes += sum[1][j][part];
      return sum_of_elements<T>(lanes);
    };
    if constexpr (is_complex<T>) {
      const T with_re = whole(0), with_im = whole(1);
      if (conjugated) return {with_re.re + with_im.im, with_im.re - with_re.im};
      return {with_re.re - with_im.im, with_re.im + with_im.re};
    } else {
      return whole(0);
    }
  }
};

template <int Columns, class T>
inline void multiply_columns(tnk_int m, const T *a, tnk_int lda, const T *x, T *y, T alpha, bool conjugated) {
  Sums<Columns, T> sums;
  over_rows<T>(m, [&](tnk_int i, int k, auto load, auto) {
    sums.add(k, Slice<Columns, T>(a + i, lda, load), Multiplier<T>(load(x + i)));
  });
  for (int j = 0; j < Columns; ++j) y[j] = y[j] + alpha * sums.total(j, conjugated);
}

template <Operation op, class T>
void gemv_t(tnk_int m, tnk_int n, const T *a, tnk_int lda, const T *x, T *y, T alpha) {
  constexpr bool conjugated = op == conjugate_transposed;
  over_columns(n, [=](tnk_int j, auto columns) {
    multiply_columns<columns>(m, a + j * lda, lda, x, y + j, alpha, conjugated);
  });
}

} // namespace tnk::level2
