// The plain path: C := beta C + alpha op(A) op(B) with nothing packed and no memory, for shapes below a tile and for
// when no memory can be had.
//
// Vectors run along what lies together in memory: down the columns of A (NN, NT), along the rows of op(B) = B' (TT:
// there C' is computed with the operands exchanged) or, where only k lies together in both, along k (TN). Ends are
// masked vectors, so an element has the same sum wherever it stands.
#include "kernel/blas/level3/gemm.h"
#include "kernel/frame/mask.h"

namespace tnk::level3 {
namespace {

// C := beta C + alpha sum, element by element. beta = 0 does not read C.
template <class T> struct update {
  T alpha, beta;

  void element(T *c, T sum) const {
    const T product = alpha * sum;
    if (is_zero(beta))
      put(c, product);
    else
      put(c, (is_one(beta) ? get(c) : beta * get(c)) + product);
  }
  void vector(T *c, vec_of<T> sum) const {
    using V = vec_of<T>;
    const V product = scaled(alpha, sum);
    if (is_zero(beta))
      storeu(c, product);
    else
      storeu(c, (is_one(beta) ? loadu<V>(c) : scaled(beta, loadu<V>(c))) + product);
  }
};

// A vector of them, or its start.
template <class T, bool Masked> inline vec_of<T> load_some(const T *p, const vector_start &start) {
  if constexpr (Masked)
    return load_first<vec_of<T>>(p, start);
  else
    return loadu<vec_of<T>>(p);
}

// ---- Sums with vectors across k: X (vectors by k) Y (k by columns) ------------------------------------------------

// x: element (r, l) at r + l*ld. y: element (l, j) at l*step + j*column. C: element (r, j) at r*row + j*column.
template <class T> struct outer_operands {
  const T *x;
  tnk_int ldx;
  const T *y;
  tnk_int y_step, y_column;
  T *c;
  tnk_int c_row, c_column;
  tnk_int k;
};

// A tile of Vectors vectors by Columns columns; a single vector has the rows of a mask. Steps are taken in fours, each
// four summed on its own: the chain of sums that a narrow tile waits for is a quarter as long. Complex sums are held as
// two vectors: x times the real parts of y and x times the imaginary parts. conj(x) y is had as conj(x conj(y)).
template <int Vectors, int Columns, bool ConjX, bool ConjY, class T>
void outer_tile(const outer_operands<T> &p, tnk_int row, tnk_int column, tnk_int rows, const update<T> &to) {
  using V = vec_of<T>;
  constexpr int parts = is_complex<T> ? 2 : 1;
  constexpr bool masked = Vectors == 1;
  const vector_start start = start_of<T>(masked ? rows : per_vector<T>);
  const T *x = p.x + row, *y = p.y + column * p.y_column;
  V sum[Columns][Vectors][parts] = {};

  const auto term = [&](tnk_int l, int j, int v) {
    struct {
      V part[parts];
    } t;
    const V a = load_some<T, masked>(x + l * p.ldx + v * per_vector<T>, start);
    const T b = get(y + l * p.y_step + j * p.y_column);
    if constexpr (is_complex<T>) {
      t.part[0] = a * splat<V>(b.re);
      t.part[1] = a * splat<V>(ConjX != ConjY ? -b.im : b.im);
    } else {
      t.part[0] = a * splat<V>(b);
    }
    return t;
  };
  tnk_int l = 0;
  for (; l + 4 <= p.k; l += 4)
    for (int j = 0; j < Columns; ++j)
      for (int v = 0; v < Vectors; ++v) {
        const auto t0 = term(l, j, v), t1 = term(l + 1, j, v), t2 = term(l + 2, j, v), t3 = term(l + 3, j, v);
        for (int q = 0; q < parts; ++q) sum[j][v][q] += (t0.part[q] + t1.part[q]) + (t2.part[q] + t3.part[q]);
      }
  for (; l < p.k; ++l)
    for (int j = 0; j < Columns; ++j)
      for (int v = 0; v < Vectors; ++v) {
        const auto t = term(l, j, v);
        for (int q = 0; q < parts; ++q) sum[j][v][q] += t.part[q];
      }

  for (int j = 0; j < Columns; ++j)
    for (int v = 0; v < Vectors; ++v) {
      V s = sum[j][v][0];
      if constexpr (is_complex<T>) s = addsub(s, swap_neighbours(sum[j][v][1]));
      T *c = p.c + (row + v * per_vector<T>)*p.c_row + (column + j) * p.c_column;
      if (!ConjX && p.c_row == 1 && (!masked || rows == per_vector<T>)) {
        to.vector(c, s);
      } else {
        T lane[per_vector<T>];
        storeu(lane, s);
        for (tnk_int r = 0; r < (masked ? rows : per_vector<T>); ++r)
          to.element(c + r * p.c_row, ConjX ? conjugate(lane[r]) : lane[r]);
      }
    }
}

// Blocks of rows outside: what a block reads of X stays in the cache while the columns pass.
template <bool ConjX, bool ConjY, class T>
void outer(const outer_operands<T> &p, tnk_int rows, tnk_int columns, const update<T> &to) {
  constexpr int vectors = is_complex<T> ? 2 : 4, e = per_vector<T>;
  const auto over_columns = [&](auto two, auto one_column) {
    tnk_int j = 0;
    for (; j + 2 <= columns; j += 2) two(j);
    if (j < columns) one_column(j);
  };
  tnk_int i = 0;
  for (; i + vectors * e <= rows; i += vectors * e)
    over_columns([&](tnk_int j) { outer_tile<vectors, 2, ConjX, ConjY>(p, i, j, 0, to); },
                 [&](tnk_int j) { outer_tile<vectors, 1, ConjX, ConjY>(p, i, j, 0, to); });
  for (; i < rows; i += e) {
    const tnk_int some = rows - i < e ? rows - i : e;
    over_columns([&](tnk_int j) { outer_tile<1, 2, ConjX, ConjY>(p, i, j, some, to); },
                 [&](tnk_int j) { outer_tile<1, 1, ConjX, ConjY>(p, i, j, some, to); });
  }
}

// ---- Sums with vectors along k: columns of A by columns of B ------------------------------------------------------

// A tile of Rows by Columns of C. Complex: the products of a with b, and with b's parts exchanged, are summed lane by
// lane; even and odd lanes are told apart at the end, where conjugation is a choice of signs.
template <int Rows, int Columns, bool ConjA, bool ConjB, class T>
void inner_tile(tnk_int k, const T *a, tnk_int lda, const T *b, tnk_int ldb, T *c, tnk_int ldc,
                const update<T> &to) {
  using R = real_of<T>;
  using V = vec<R>;
  constexpr int parts = is_complex<T> ? 2 : 1;
  V sum[Rows][Columns][parts] = {};
  const auto step = [&](tnk_int l, auto masked, const vector_start &start) {
    V x[Rows];
    for (int i = 0; i < Rows; ++i) x[i] = load_some<T, masked>(a + l + i * lda, start);
    for (int j = 0; j < Columns; ++j) {
      const V y = load_some<T, masked>(b + l + j * ldb, start);
      for (int i = 0; i < Rows; ++i) {
        sum[i][j][0] += x[i] * y;
        if constexpr (is_complex<T>) sum[i][j][1] += x[i] * swap_neighbours(y);
      }
    }
  };
  tnk_int l = 0;
  for (; l + per_vector<T> <= k; l += per_vector<T>) step(l, std::false_type{}, vector_start{});
  if (l < k) step(l, std::true_type{}, start_of<T>(k - l));

  for (int j = 0; j < Columns; ++j)
    for (int i = 0; i < Rows; ++i) {
      T s;
      if constexpr (is_complex<T>) {
        R lane[2][per_vector<R>], same = 0, mixed = 0;
        storeu(lane[0], sum[i][j][0]);
        storeu(lane[1], sum[i][j][1]);
        for (int e = 0; e < per_vector<R>; e += 2) {
          same += ConjA == ConjB ? lane[0][e] - lane[0][e + 1] : lane[0][e] + lane[0][e + 1];
          mixed += (ConjB ? -lane[1][e] : lane[1][e]) + (ConjA ? -lane[1][e + 1] : lane[1][e + 1]);
        }
        s = {same, mixed};
      } else {
        s = hsum(sum[i][j][0]);
      }
      to.element(c + i + j * ldc, s);
    }
}

template <bool ConjA, bool ConjB, class T>
void inner(tnk_int m, tnk_int n, tnk_int k, const T *a, tnk_int lda, const T *b, tnk_int ldb, T *c,
           tnk_int ldc, const update<T> &to) {
  constexpr int block = is_complex<T> ? 2 : 4;
  const auto over_rows = [&](tnk_int j, auto columns) {
    const auto tile = [&](tnk_int i, auto rows) {
      inner_tile<rows, columns, ConjA, ConjB>(k, a + i * lda, lda, b + j * ldb, ldb, c + i + j * ldc, ldc,
                                              to);
    };
    tnk_int i = 0;
    for (; i + block <= m; i += block) tile(i, std::integral_constant<int, block>{});
    for (; i < m; ++i) tile(i, std::integral_constant<int, 1>{});
  };
  tnk_int j = 0;
  for (; j + 2 <= n; j += 2) over_rows(j, std::integral_constant<int, 2>{});
  if (j < n) over_rows(j, std::integral_constant<int, 1>{});
}

// ---- The nests -------------------------------------------------------------------------------------------------

// Conjugations that are known only now, as template arguments; reals have none.
template <class T, class Body> void with_conjugations(bool of_a, bool of_b, Body body) {
  using yes = std::true_type;
  using no = std::false_type;
  if constexpr (is_complex<T>) {
    if (of_a) return of_b ? body(yes{}, yes{}) : body(yes{}, no{});
    if (of_b) return body(no{}, yes{});
  }
  body(no{}, no{});
}

template <class T>
void pst(operation op_a, operation op_b, tnk_int m, tnk_int n, tnk_int k, const T *alpha, const T *a,
         tnk_int lda, const T *b, tnk_int ldb, const T *beta, T *c, const tnk_int ldc) {
  if (m < 1 || n < 1) return;
  if (k < 1) {
    if (!is_one(get(beta))) gemm_entries<T>::mscale(&m, &n, beta, c, &ldc);
    return;
  }
  const update<T> to{get(alpha), get(beta)};
  const bool b_plain = op_b == as_it_is;
  with_conjugations<T>(op_a == conjugate_transposed, op_b == conjugate_transposed, [&](auto ca, auto cb) {
    if (op_a == as_it_is) {
      const outer_operands<T> p{a, lda, b, b_plain ? 1 : ldb, b_plain ? ldb : 1, c, 1, ldc, k};
      outer<false, cb>(p, m, n, to);
    } else if (b_plain) {
      inner<ca, false>(m, n, k, a, lda, b, ldb, c, ldc, to);
    } else {
      const outer_operands<T> p{b, ldb, a, 1, lda, c, ldc, 1, k};
      outer<cb, ca>(p, n, m, to);
    }
  });
}

} // namespace
} // namespace tnk::level3

#define ENTRY(t, T)                                                                                          \
  void tnk_blas_##t##gemm_pst(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,    \
                              const tnk_int *k, const T *alpha, const T *a, const tnk_int *lda, const T *b,  \
                              const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {                 \
    tnk::level3::pst(tnk::level3::operation_of<T>(transa), tnk::level3::operation_of<T>(transb), *m, *n, *k, \
                     alpha, a, *lda, b, *ldb, beta, c, *ldc);                                                \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
