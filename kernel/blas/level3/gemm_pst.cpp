// The plain path: C := beta C + alpha op(A) op(B) with nothing packed and no memory, for shapes below a tile and for
// when no memory can be had.
//
// Each element is one sum over the steps in ascending order, complex ones by parts as the block kernels form them, and
// what is longer than a block along k is cut where the packed path cuts it. So both paths give an element the same bits
// wherever alpha, which one multiplies into the sum and the other into A, is 1 or -1.
//
// Vectors run along rows of C: one vector of op(A) at a step times single elements of op(B). Where C has so few rows
// that most lanes would be idle they run along its columns, which is the same product with the operands exchanged,
// C' = op(B)' op(A)'. The lanes of a step lie together in memory, or those of four steps are had by a transpose in
// registers.
#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/gemm.h"
#include "kernel/frame/mask.h"
#include "kernel/frame/transpose.h"
#include <algorithm>

namespace tnk::level3 {
namespace {

// X has lanes by steps, Y steps by columns, C lanes by columns. One stride of X is 1.
template <class T> struct Factors {
  tnk_int lanes, columns, steps;
  const T *x;
  tnk_int x_lane, x_step;
  const T *y;
  tnk_int y_step, y_column;
  T *c;
  tnk_int c_lane, c_column;
  bool x_conjugated, y_conjugated;
};

// Signs of the four sums of parts. Lanes are re re, im re of x and y in the first, re im, im im in the second one; the
// latter is swapped and then taken away in even lanes, added in odd ones.
template <class T> struct Signs {
  vec_of<T> first, second;
  explicit Signs(const Factors<T> &p) {
    const real_of<T> x = p.x_conjugated ? -1 : 1, y = p.y_conjugated ? -1 : 1;
    for (int l = 0; l < per_vector<real_of<T>>; l += 2)
      first[l] = 1, first[l + 1] = x, second[l] = x * y, second[l + 1] = y;
  }
};

// C := beta C + alpha sum.
template <class T> class Update {
public:
  Update(T by, T old) : alpha(by), beta(old), stores(is_zero(old)), scales(!is_zero(old) && !is_one(old)) {}

  // `count` lanes, from c on `stride` apart. The product is never -0, as no sum is in the packed path.
  TNK_INLINE void operator()(T *c, tnk_int stride, tnk_int count, vec_of<T> sum) const {
    using V = vec_of<T>;
    const V product = scaled(alpha, sum) + V{};
    if (stride != 1) {
      T lane[per_vector<T>];
      storeu(lane, product);
      for (tnk_int r = 0; r < count; ++r, c += stride) put(c, stores ? lane[r] : old(get(c)) + lane[r]);
    } else if (count == per_vector<T>) {
      storeu(c, stores ? product : old(loadu<V>(c)) + product);
    } else {
      const vector_start some = start_of<T>(count);
      store_first(c, stores ? product : old(load_first<V>(c, some)) + product, some);
    }
  }

private:
  template <class X> TNK_INLINE X old(X c) const { return scales ? scaled(beta, c) : c; }

  T alpha, beta;
  bool stores, scales; // C is not read; beta is none of 0 and 1
};

// ---- Four steps of a vector of lanes, from lanes that have their steps together ------------------------------------
// load(r, l): of lane r what a vector, of floats half a one, holds from step l on.

template <class T> struct LaneLoads { using vector = vec_of<T>; };
template <> struct LaneLoads<float> { using vector = f32x4; };

template <class Load> TNK_INLINE void four_steps(f64x4 (&x)[4], Load load, double) {
  unrolled<4>([&](auto r) TNK_INLINED { x[r] = load(r, 0); });
  transpose(x[0], x[1], x[2], x[3]);
}
template <class Load> TNK_INLINE void four_steps(f32x8 (&x)[4], Load load, float) {
  unrolled<4>([&](auto r) TNK_INLINED { x[r] = joined(load(r, 0), load(r + 4, 0)); });
  transpose_halves(x[0], x[1], x[2], x[3]);
}
template <class Load> TNK_INLINE void four_steps(f32x8 (&x)[4], Load load, tnk_complex8) {
  f64x4 pairs[4];
  unrolled<4>([&](auto r) TNK_INLINED { pairs[r] = reinterpret_cast<f64x4>(load(r, 0)); });
  transpose(pairs[0], pairs[1], pairs[2], pairs[3]);
  unrolled<4>([&](auto s) TNK_INLINED { x[s] = reinterpret_cast<f32x8>(pairs[s]); });
}
template <class Load> TNK_INLINE void four_steps(f64x4 (&x)[4], Load load, tnk_complex16) {
  const f64x4 a0 = load(0, 0), b0 = load(1, 0), a2 = load(0, 2), b2 = load(1, 2);
  x[0] = low_halves(a0, b0), x[1] = high_halves(a0, b0);
  x[2] = low_halves(a2, b2), x[3] = high_halves(a2, b2);
}

// ---- A tile --------------------------------------------------------------------------------------------------------

// V vectors of lanes by N columns. With one vector some of its lanes may be missing. Complex sums are held as two
// vectors: x times the real parts of y and x times the imaginary parts.
template <int V, int N, bool along, class T>
void tile(const Factors<T> &p, const Signs<T> &sign, const Update<T> &to, tnk_int lane, tnk_int column) {
  using R = real_of<T>;
  using vector = vec<R>;
  constexpr int parts = is_complex<T> ? 2 : 1, width = per_vector<T>;
  const tnk_int steps = p.steps, count = std::min<tnk_int>(p.lanes - lane, width);
  const R *y[N];
  unrolled<N>([&](auto j)
                  TNK_INLINED { y[j] = reinterpret_cast<const R *>(p.y + (column + j) * p.y_column); });
  vector sum[V][N][parts] = {};

  const auto add = [&](const vector(&x)[V], tnk_int l) TNK_INLINED {
    const tnk_int at = parts * l * p.y_step;
    unrolled<N>([&](auto j) TNK_INLINED {
      unrolled<parts>([&](auto q) TNK_INLINED {
        const vector element = splat<vector>(get(y[j] + at + q));
        unrolled<V>([&](auto v) TNK_INLINED { sum[v][j][q] = in_register(sum[v][j][q] + x[v] * element); });
      });
    });
  };

  if constexpr (along) {
    static_assert(V == 1);
    using piece = typename LaneLoads<T>::vector;
    constexpr int per_piece = sizeof(piece) / sizeof(T);
    const T *x[width]; // missing lanes repeat the last one
    unrolled<width>([&](auto r)
                        TNK_INLINED { x[r] = p.x + (lane + std::min<tnk_int>(r, count - 1)) * p.x_lane; });
    // Of four steps from l on, those from `first` to `last`.
    const auto four = [&](tnk_int l, tnk_int first, tnk_int last, auto load) TNK_INLINED {
      vector at[4];
      four_steps(at, load, T{});
      unrolled<4>([&](auto s) TNK_INLINED {
        if (s >= first && s < last) add({at[s]}, l + s);
      });
    };
    tnk_int l = 0;
    const auto whole = [&](int r, int s) TNK_INLINED { return loadu<piece>(x[r] + l + s); };
    for (; l + 4 <= steps; l += 4) four(l, 0, 4, whole);
    if (const tnk_int left = steps - l; left > 0 && l > 0) {
      l = steps - 4; // some that were added already among them
      four(l, 4 - left, 4, whole);
    } else if (left > 0) {
      four(0, 0, left, [&](int r, int s) TNK_INLINED {
        const tnk_int held = std::clamp<tnk_int>(left - s, 0, per_piece);
        const auto some = load_first<vector>(x[r] + s, start_of<T>(held));
        if constexpr (sizeof(piece) == 16)
          return low_half(some);
        else
          return some;
      });
    }
  } else {
    const vector_start some = start_of<T>(count);
    const T *from = p.x + lane;
    for (tnk_int l = 0; l < steps; ++l, from += p.x_step) {
      vector x[V];
      if constexpr (V == 1)
        x[0] = load_first<vector>(from, some);
      else
        unrolled<V>([&](auto v) TNK_INLINED { x[v] = loadu<vector>(from + v * width); });
      add(x, l);
    }
  }

  unrolled<N>([&](auto j) TNK_INLINED {
    unrolled<V>([&](auto v) TNK_INLINED {
      vector s = sum[v][j][0];
      if constexpr (is_complex<T>) s = addsub(s * sign.first, swap_neighbours(sum[v][j][1]) * sign.second);
      to(p.c + (lane + v * width) * p.c_lane + (column + j) * p.c_column, p.c_lane, V == 1 ? count : width,
         s);
    });
  });
}

// ---- The product ---------------------------------------------------------------------------------------------------

// Blocks of lanes outside: what a block reads of X stays in the cache while the columns pass.
template <bool along, class T> void tiles(const Factors<T> &p, const Update<T> &to) {
  constexpr int width = per_vector<T>,
                at_once = is_complex<T> ? 2 : 4; // columns: with two vectors, eight sums
  const Signs<T> sign(p);
  const auto over_columns = [&](tnk_int lane, auto vectors) {
    for (tnk_int j = 0; j < p.columns; j += at_once)
      with_constant<at_once>(std::min<tnk_int>(p.columns - j, at_once),
                             [&](auto columns) { tile<vectors, columns, along>(p, sign, to, lane, j); });
  };
  tnk_int i = 0;
  if constexpr (!along)
    for (; i + 2 * width <= p.lanes; i += 2 * width) over_columns(i, std::integral_constant<int, 2>{});
  for (; i < p.lanes; i += width) over_columns(i, std::integral_constant<int, 1>{});
}

} // namespace

template <class T> void plain_product(const Operands<T> &o, tnk_int kb) {
  if (o.m < 1 || o.n < 1) return;
  if (o.k < 1) {
    if (!is_one(o.beta)) gemm_entries<T>::mscale(&o.m, &o.n, &o.beta, o.c, &o.ldc);
    return;
  }
  const bool a_plain = o.op_a == as_it_is, b_plain = o.op_b == as_it_is;
  const bool a_conjugated = o.op_a == conjugate_transposed, b_conjugated = o.op_b == conjugate_transposed;
  const tnk_int a_row = a_plain ? 1 : o.lda, a_step = a_plain ? o.lda : 1;
  const tnk_int b_step = b_plain ? 1 : o.ldb, b_column = b_plain ? o.ldb : 1;
  const bool rows = 2 * o.m > per_vector<T> || o.n < per_vector<T>;
  for (tnk_int l = 0; l < o.k; l += kb) {
    const tnk_int steps = std::min(kb, o.k - l);
    const T *a = o.a + l * a_step, *b = o.b + l * b_step;
    const Update<T> to(o.alpha, l == 0 ? o.beta : one<T>);
    const Factors<T> p = rows ? Factors<T>{o.m,    o.n,      steps, a, a_row, a_step,       b,
                                           b_step, b_column, o.c,   1, o.ldc, a_conjugated, b_conjugated}
                              : Factors<T>{o.n,    o.m,   steps, b,     b_column, b_step,       a,
                                           a_step, a_row, o.c,   o.ldc, 1,        b_conjugated, a_conjugated};
    if (p.x_lane == 1)
      tiles<false>(p, to);
    else
      tiles<true>(p, to);
  }
}
template void plain_product(const Operands<float> &, tnk_int);
template void plain_product(const Operands<double> &, tnk_int);
template void plain_product(const Operands<tnk_complex8> &, tnk_int);
template void plain_product(const Operands<tnk_complex16> &, tnk_int);

} // namespace tnk::level3

#define ENTRY(t, T)                                                                                          \
  void tnk_blas_##t##gemm_pst(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,    \
                              const tnk_int *k, const T *alpha, const T *a, const tnk_int *lda, const T *b,  \
                              const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {                 \
    using namespace tnk::level3;                                                                             \
    plain_product<T>({operation_of<T>(transa), operation_of<T>(transb), *m, *n, *k, tnk::get(alpha), a,      \
                      *lda, b, *ldb, tnk::get(beta), c, *ldc},                                               \
                     block_along_k(*k, kr));                                                                 \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
