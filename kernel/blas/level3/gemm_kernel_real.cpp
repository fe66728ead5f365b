// The block kernels of the real matrix product: packed panels (tile.h) multiplied into C.
//
// Every element of C is formed alike, wherever the cuts between tiles, groups and edges fall: one sum from
// zero over the steps in ascending order, each product rounded before it is added, then C + sum. So a result
// does not depend on how the caller slices the product.
#include "kernel/blas/level3/passes.h"
#include "kernel/blas/level3/tile.h"
#include "kernel/frame/transpose.h"
#include <tnk/blas_level3.h>
#include <utility>

namespace tnk {
namespace {

template <class T> constexpr int mr = gemm_tile<T>::mr;
template <class T> constexpr int nr = gemm_tile<T>::nr;
constexpr int group = 4;     // columns of the narrow groups of B
constexpr int a_ahead = 512; // bytes of A ahead of its reading that are brought into the first level

// f(0) ... f(N - 1), written out: the indices are constants, so that small arrays of vectors become
// registers.
template <class F, int... I> TNK_INLINE void write_out(F f, std::integer_sequence<int, I...>) {
  (f(std::integral_constant<int, I>{}), ...);
}
template <int N, class F> TNK_INLINE void write_out(F f) {
  write_out(f, std::make_integer_sequence<int, N>{});
}

// One value in every lane. The load is left where it is written: the compiler would gather those of a whole
// pass in front of it and run out of registers.
template <class V, class T> TNK_INLINE V broadcast(const T *p) {
  if constexpr (sizeof(T) == 8)
    return _mm256_broadcast_sd(p);
  else if constexpr (sizeof(V) == 32)
    return _mm256_broadcast_ss(p);
  else
    return _mm_broadcast_ss(p);
}

// C of one vector of rows. add: C + sum, otherwise C is not read.
template <class T> TNK_INLINE void put_column(T *c, vec<T> sum, bool add) {
  storeu(c, add ? loadu<vec<T>>(c) + sum : sum);
}

// ---- Whole tiles ------------------------------------------------------------------------------------------
//
//   double, 4 by 8   x is columns 0-3, y columns 4-7 (passes.h). Unit i is row i: the sums are rows of C.
//   float, 8 by 8    x is columns 0-7. Unit i is rows 2i and 2i + 1: even lanes multiply by the first, odd ones
//                    by the second. Lane j of the sums of x is of column j, of those of y of the neighbour of
//                    column j. The even lanes of one with the odd lanes of the other are columns of two rows:
//                    units again, to be transposed as doubles are.

// The sums of a tile by columns. A column is one vector in both types.
template <class T> struct tile_columns { vec<T> c[nr<T>]; };

TNK_INLINE tile_columns<double> columns(unit_sums<double> s) {
  transpose(s.x[0], s.x[1], s.x[2], s.x[3]);
  transpose(s.y[0], s.y[1], s.y[2], s.y[3]);
  return {{s.x[0], s.x[1], s.x[2], s.x[3], s.y[0], s.y[1], s.y[2], s.y[3]}};
}
TNK_INLINE tile_columns<float> columns(const unit_sums<float> &s) {
  const auto even_and_odd = [](f32x8 even, f32x8 odd) TNK_INLINE_LAMBDA {
    return _mm256_castps_pd(_mm256_blend_ps(even, odd, 0xAA));
  };
  f64x4 c0 = even_and_odd(s.x[0], s.y[0]), c2 = even_and_odd(s.x[1], s.y[1]),
        c4 = even_and_odd(s.x[2], s.y[2]), c6 = even_and_odd(s.x[3], s.y[3]);
  f64x4 c1 = even_and_odd(s.y[0], s.x[0]), c3 = even_and_odd(s.y[1], s.x[1]),
        c5 = even_and_odd(s.y[2], s.x[2]), c7 = even_and_odd(s.y[3], s.x[3]);
  transpose(c0, c2, c4, c6);
  transpose(c1, c3, c5, c7);
  const auto column = [](f64x4 v) TNK_INLINE_LAMBDA -> f32x8 { return _mm256_castpd_ps(v); };
  return {{column(c0), column(c1), column(c2), column(c3), column(c4), column(c5), column(c6), column(c7)}};
}

// All tiles of one panel of B.
template <class T>
void whole_tiles(bool add, tnk_int m, tnk_int k, const T *a, tnk_int a_stride, const T *b, T *c,
                 tnk_int ldc) {
  tiles_of_panel<mr<T>>(m, k, b, [&](auto how, const T *second_at, tnk_int i) TNK_INLINE_LAMBDA {
    T *const tile = c + i;
    for (int j = 0; j < nr<T>; ++j) __builtin_prefetch(tile + j * ldc + 32 / sizeof(T));
    const tile_columns<T> sums =
        columns(unit_passes<how(), a_ahead, 0>(k, a + i / mr<T> * a_stride, b, second_at));
    write_out<nr<T>>([&](auto j) TNK_INLINE_LAMBDA { put_column(tile + j * ldc, sums.c[j], add); });
  });
}

// ---- Narrow groups ----------------------------------------------------------------------------------------

// P panels of A by N columns, 1 to 4, of a narrow group of B. Two panels at once keep more sums going than an
// addition takes cycles.
template <int P, int N, class T>
void narrow_tile(bool add, tnk_int k, const T *a, tnk_int a_stride, const T *b, T *c, tnk_int ldc) {
  using V = vec<T>;
  V sum[P][N] = {};
  for (tnk_int l = 0; l + 4 <= k; l += 4)
    write_out<4>([&](auto u) TNK_INLINE_LAMBDA {
      if (u % 2 == 0) __builtin_prefetch(a + mr<T> * (l + u) + a_ahead / sizeof(T));
      V x[P];
      write_out<P>([&](auto p) TNK_INLINE_LAMBDA { x[p] = loadu<V>(a + p * a_stride + mr<T> * (l + u)); });
      write_out<N>([&](auto j) TNK_INLINE_LAMBDA {
        const V y = broadcast<V>(b + group * (l + u) + j);
        write_out<P>([&](auto p) TNK_INLINE_LAMBDA {
          sum[p][j] += x[p] * y;
          end_step(sum[p][j]);
        });
      });
    });
  write_out<P>([&](auto p) TNK_INLINE_LAMBDA {
    write_out<N>([&](auto j) TNK_INLINE_LAMBDA { put_column(c + p * mr<T> + j * ldc, sum[p][j], add); });
  });
}

template <int N, class T>
void narrow_tiles(bool add, tnk_int m, tnk_int k, const T *a, tnk_int a_stride, const T *b, T *c,
                  tnk_int ldc) {
  tnk_int i = 0;
  for (; i + 2 * mr<T> <= m; i += 2 * mr<T>, a += 2 * a_stride)
    narrow_tile<2, N>(add, k, a, a_stride, b, c + i, ldc);
  if (i + mr<T> <= m) narrow_tile<1, N>(add, k, a, a_stride, b, c + i, ldc);
}

template <class T>
void tiles(bool add, tnk_int m, tnk_int n, tnk_int k, const T *a, tnk_int a_stride, const T *b,
           tnk_int b_stride, T *c, tnk_int ldc) {
  for (; n >= nr<T>; n -= nr<T>, b += b_stride, c += nr<T> * ldc)
    whole_tiles(add, m, k, a, a_stride, b, c, ldc);
  if (n >= group) {
    narrow_tiles<4>(add, m, k, a, a_stride, b, c, ldc);
    n -= group;
    b += group * k;
    c += group * ldc;
  }
  switch (n) {
  case 1:
    return narrow_tiles<1>(add, m, k, a, a_stride, b, c, ldc);
  case 2:
    return narrow_tiles<2>(add, m, k, a, a_stride, b, c, ldc);
  case 3:
    return narrow_tiles<3>(add, m, k, a, a_stride, b, c, ldc);
  }
}

// ---- The edge: fewer rows than a tile has -----------------------------------------------------------------

// M rows by the first n columns of H vectors V of a panel of B. Rows that do not exist are not read.
template <class V, int M, int H, class T>
void edge_tile(bool add, tnk_int n, tnk_int k, const T *a, const T *b, T *c, tnk_int ldc) {
  constexpr int width = sizeof(V) / sizeof(T);
  V sum[M][H] = {};
  for (tnk_int l = 0; l < k; ++l, a += mr<T>, b += H * width) {
    V y[H];
    write_out<H>([&](auto h) TNK_INLINE_LAMBDA { y[h] = loadu<V>(b + width * h); });
    write_out<M>([&](auto i) TNK_INLINE_LAMBDA {
      const V x = broadcast<V>(a + i);
      write_out<H>([&](auto h) TNK_INLINE_LAMBDA { sum[i][h] += x * y[h]; });
    });
  }
  T rows[M][H * width];
  // A copy, lest the compiler give a sum one place in memory for the loop as well.
  write_out<M>([&](auto i) TNK_INLINE_LAMBDA {
    write_out<H>([&](auto h) TNK_INLINE_LAMBDA { storeu(&rows[i][width * h], in_register(sum[i][h])); });
  });
  for (tnk_int j = 0; j < n; ++j)
    for (int i = 0; i < M; ++i) {
      T *at = c + i + j * ldc;
      put(at, add ? get(at) + rows[i][j] : rows[i][j]);
    }
}

template <int M, class T>
void edge(bool add, tnk_int n, tnk_int k, const T *a, const T *b, tnk_int b_stride, T *c, tnk_int ldc) {
  tnk_int j = 0;
  for (; j + nr<T> <= n; j += nr<T>, b += b_stride)
    edge_tile<vec<T>, M, nr<T> / per_vector<T>>(add, nr<T>, k, a, b, c + j * ldc, ldc);
  for (; j < n; j += group, b += group * k)
    edge_tile<quad<T>, M, 1>(add, n - j < group ? n - j : group, k, a, b, c + j * ldc, ldc);
}

template <class T>
void ker0_pst(tnk_int m, tnk_int n, tnk_int k, const T *a, const T *b, tnk_int b_stride, bool add, T *c,
              tnk_int ldc) {
  const auto rows = [=](auto edge_of_m) { edge_of_m(add, n, k, a, b, b_stride, c, ldc); };
  switch (m) {
  case 1:
    return rows(edge<1, T>);
  case 2:
    return rows(edge<2, T>);
  case 3:
    return rows(edge<3, T>);
  }
  if constexpr (mr < T >> 4) switch (m) {
    case 4:
      return rows(edge<4, T>);
    case 5:
      return rows(edge<5, T>);
    case 6:
      return rows(edge<6, T>);
    case 7:
      return rows(edge<7, T>);
    }
}

template <class T>
void ker0(tnk_int m, tnk_int n, tnk_int k, const T *a, tnk_int a_stride, const T *b, tnk_int b_stride, T beta,
          T *c, tnk_int ldc) {
  const bool add = !(beta == 0); // a NaN adds
  const tnk_int whole = m / mr<T> * mr<T>;
  if (whole != 0) tiles(add, whole, n, k, a, a_stride, b, b_stride, c, ldc);
  if (m != whole) ker0_pst(m - whole, n, k, a + whole / mr<T> * a_stride, b, b_stride, add, c + whole, ldc);
}

} // namespace
} // namespace tnk

using namespace tnk;

#define ENTRY(T, name, ...)                                                                                  \
  void tnk_blas_##name(const char *, const char *, const tnk_int *m, const tnk_int *n, const tnk_int *k,     \
                       const void *, const void *a_data, const tnk_gemm_panels *a_panels,                    \
                       const void *b_data, const tnk_gemm_panels *b_panels,                                  \
                       [[maybe_unused]] const void *beta, void *c_data, const tnk_int *ldc, void *,          \
                       int32_t) {                                                                            \
    const T *a = static_cast<const T *>(a_data), *b = static_cast<const T *>(b_data);                        \
    [[maybe_unused]] const tnk_int a_stride = a_panels->stride;                                              \
    const tnk_int b_stride = b_panels->stride;                                                               \
    T *c = static_cast<T *>(c_data);                                                                         \
    __VA_ARGS__;                                                                                             \
  }
#define ENTRIES(T, t)                                                                                        \
  ENTRY(T, t##gemm_ker0,                                                                                     \
        ker0(*m, *n, *k, a, a_stride, b, b_stride, get(static_cast<const T *>(beta)), c, *ldc))              \
  ENTRY(T, t##gemm_kernel_0, tiles(true, *m, *n, *k, a, a_stride, b, b_stride, c, *ldc))                     \
  ENTRY(T, t##gemm_kernel_0_b0, tiles(false, *m, *n, *k, a, a_stride, b, b_stride, c, *ldc))                 \
  ENTRY(T, t##gemm_ker0_pst,                                                                                 \
        ker0_pst(*m, *n, *k, a, b, b_stride, get(static_cast<const T *>(beta)) != 0, c, *ldc))

ENTRIES(float, s)
ENTRIES(double, d)
