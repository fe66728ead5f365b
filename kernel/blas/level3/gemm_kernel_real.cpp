// The block kernels of the real matrix product: packed panels (tile.h) multiplied into C.
//
// Every element of C is formed alike, wherever the cuts between tiles, groups and edges fall: one sum from zero over
// the steps in ascending order, each product rounded before it is added, then C + sum. So a result does not depend on how
// the caller slices the product.
//
// A step of a whole tile costs 8 multiplications and 8 additions, 4 cycles on a processor with two pipes for each and
// 8 on one with a single pipe for each. The operands are chosen to stay below that. Shuffles share the pipes of the
// arithmetic on the first kind, so they are what to avoid; elements broadcast by a load cost the load only (and on
// the second kind one shuffle, of a port that is otherwise idle).
#include "kernel/blas/level3/tile.h"
#include "kernel/blas/level3/transpose.h"
#include <tnk/blas_level3.h>
#include <utility>

#define INLINE inline __attribute__((always_inline))

namespace tnk {
namespace {

template <class T> constexpr int mr = gemm_tile<T>::mr;
template <class T> constexpr int nr = gemm_tile<T>::nr;
constexpr int group = 4; // columns of the narrow groups of B

#define INLINE_LAMBDA __attribute__((always_inline))

// f(0) ... f(N - 1), written out: the indices are constants, so that small arrays of vectors become registers.
template <class F, int... I> INLINE void write_out(F f, std::integer_sequence<int, I...>) {
  (f(std::integral_constant<int, I>{}), ...);
}
template <int N, class F> INLINE void write_out(F f) {
  write_out(f, std::make_integer_sequence<int, N>{});
}

// Calls step(l), l from 0 to k - 1, in passes of eight and a last one of four. A, W values a step, is brought in 512
// bytes ahead, a line every second step.
template <int W, class T, class Step> INLINE void steps(tnk_int k, const T *a, Step step) {
  constexpr int ahead = 512 / sizeof(T);
  tnk_int l = 0;
  for (; l + 8 <= k; l += 8)
    write_out<8>([&](auto u) INLINE_LAMBDA {
      if (u % 2 == 0) __builtin_prefetch(a + W * (l + u) + ahead);
      step(l + u);
    });
  if (l + 4 <= k) write_out<4>([&](auto u) INLINE_LAMBDA { step(l + u); });
}

// ---- Whole tiles --------------------------------------------------------------------------------------------------

// A column of a tile is one vector in both types.
template <class T> struct tile_columns { vec<T> c[nr<T>]; };

// One value in every lane. The load is left where it is written: the compiler would gather those of a whole pass in front
// of it and run out of registers.
template <class V, class T> INLINE V broadcast(const T *p) {
  if constexpr (sizeof(T) == 8)
    return _mm256_broadcast_sd(p);
  else if constexpr (sizeof(V) == 32)
    return _mm256_broadcast_ss(p);
  else
    return _mm_broadcast_ss(p);
}
INLINE f32x8 broadcast_pair(const float *p) {
  return _mm256_castpd_ps(_mm256_broadcast_sd(reinterpret_cast<const double *>(p)));
}

// 4 by 8: the accumulators hold rows of C. Per step 2 loads of B, 4 broadcasts of A and no shuffle.
INLINE tile_columns<double> tile_sums(tnk_int k, const double *a, const double *b) {
  using V = f64x4;
  V r0{}, r1{}, r2{}, r3{}, s0{}, s1{}, s2{}, s3{};
  steps<4>(k, a, [&](tnk_int l) INLINE_LAMBDA {
    const V b0 = loadu<V>(b + 8 * l), b1 = loadu<V>(b + 8 * l + 4);
    const V a0 = broadcast<V>(&a[4 * l]), a1 = broadcast<V>(&a[4 * l + 1]);
    r0 += a0 * b0;
    s0 += a0 * b1;
    r1 += a1 * b0;
    s1 += a1 * b1;
    const V a2 = broadcast<V>(&a[4 * l + 2]), a3 = broadcast<V>(&a[4 * l + 3]);
    r2 += a2 * b0;
    s2 += a2 * b1;
    r3 += a3 * b0;
    s3 += a3 * b1;
    end_step(r0, r1, r2, r3, s0, s1, s2, s3);
  });
  transpose(r0, r1, r2, r3);
  transpose(s0, s1, s2, s3);
  return {{r0, r1, r2, r3, s0, s1, s2, s3}};
}

// 8 by 8. One broadcast for each value of B would make 9 loads a step, more than two load ports bring in 4 cycles. So B
// is broadcast in pairs, and A multiplies as it is and with neighbours swapped: 5 loads and 1 shuffle. Of a pair of
// columns, p holds rows 0, 2, ... of the first and 1, 3, ... of the second, q the other ones, at their neighbours' places.
INLINE tile_columns<float> tile_sums(tnk_int k, const float *a, const float *b) {
  using V = f32x8;
  V p0{}, p1{}, p2{}, p3{}, q0{}, q1{}, q2{}, q3{};
  steps<8>(k, a, [&](tnk_int l) INLINE_LAMBDA {
    const V x = loadu<V>(a + 8 * l), y = swap_neighbours(x);
    const V b0 = broadcast_pair(b + 8 * l), b1 = broadcast_pair(b + 8 * l + 2);
    p0 += x * b0;
    q0 += y * b0;
    p1 += x * b1;
    q1 += y * b1;
    const V b2 = broadcast_pair(b + 8 * l + 4), b3 = broadcast_pair(b + 8 * l + 6);
    p2 += x * b2;
    q2 += y * b2;
    p3 += x * b3;
    q3 += y * b3;
    end_step(p0, p1, p2, p3, q0, q1, q2, q3);
  });
  const auto first = [](V p, V q) -> V { return _mm256_blend_ps(p, swap_neighbours(q), 0xAA); };
  const auto second = [](V p, V q) -> V { return _mm256_blend_ps(p, swap_neighbours(q), 0x55); };
  return {{first(p0, q0), second(p0, q0), first(p1, q1), second(p1, q1), first(p2, q2), second(p2, q2),
           first(p3, q3), second(p3, q3)}};
}

// C of one vector of rows. add: C + sum, otherwise C is not read.
template <bool add, class T> INLINE void put_column(T *c, vec<T> sum) {
  storeu(c, add ? loadu<vec<T>>(c) + sum : sum);
}

template <bool add, class T> INLINE void whole_tile(tnk_int k, const T *a, const T *b, T *c, tnk_int ldc) {
  for (int j = 0; j < nr<T>; ++j) __builtin_prefetch(c + j * ldc + 32 / sizeof(T));
  const tile_columns<T> sums = tile_sums(k, a, b);
  write_out<nr<T>>([&](auto j) INLINE_LAMBDA { put_column<add>(c + j * ldc, sums.c[j]); });
}

// P panels of A by N columns, 1 to 4, of a narrow group of B. Two panels at once keep more sums going than an addition
// takes cycles.
template <bool add, int P, int N, class T>
void narrow_tile(tnk_int k, const T *a, tnk_int a_stride, const T *b, T *c, tnk_int ldc) {
  using V = vec<T>;
  V sum[P][N] = {};
  steps<mr<T>>(k, a, [&](tnk_int l) INLINE_LAMBDA {
    V x[P];
    write_out<P>([&](auto p) INLINE_LAMBDA { x[p] = loadu<V>(a + p * a_stride + mr<T> * l); });
    write_out<N>([&](auto j) INLINE_LAMBDA {
      const V y = broadcast<V>(b + group * l + j);
      write_out<P>([&](auto p) INLINE_LAMBDA {
        sum[p][j] += x[p] * y;
        end_step(sum[p][j]);
      });
    });
  });
  write_out<P>([&](auto p) INLINE_LAMBDA {
    write_out<N>([&](auto j) INLINE_LAMBDA { put_column<add>(c + p * mr<T> + j * ldc, sum[p][j]); });
  });
}

template <bool add, int N, class T>
void narrow_tiles(tnk_int m, tnk_int k, const T *a, tnk_int a_stride, const T *b, T *c, tnk_int ldc) {
  tnk_int i = 0;
  for (; i + 2 * mr<T> <= m; i += 2 * mr<T>, a += 2 * a_stride)
    narrow_tile<add, 2, N>(k, a, a_stride, b, c + i, ldc);
  if (i + mr<T> <= m) narrow_tile<add, 1, N>(k, a, a_stride, b, c + i, ldc);
}

template <bool add, class T>
void tiles(tnk_int m, tnk_int n, tnk_int k, const T *a, tnk_int a_stride, const T *b, tnk_int b_stride, T *c,
           tnk_int ldc) {
  for (; n >= nr<T>; n -= nr<T>, b += b_stride, c += nr<T> * ldc)
    for (tnk_int i = 0; i + mr<T> <= m; i += mr<T>)
      whole_tile<add>(k, a + i / mr<T> * a_stride, b, c + i, ldc);
  if (n >= group) {
    narrow_tiles<add, 4>(m, k, a, a_stride, b, c, ldc);
    n -= group;
    b += group * k;
    c += group * ldc;
  }
  switch (n) {
  case 1:
    return narrow_tiles<add, 1>(m, k, a, a_stride, b, c, ldc);
  case 2:
    return narrow_tiles<add, 2>(m, k, a, a_stride, b, c, ldc);
  case 3:
    return narrow_tiles<add, 3>(m, k, a, a_stride, b, c, ldc);
  }
}

// ---- The edge: fewer rows than a tile has -------------------------------------------------------------------------

// M rows by the first n columns of H vectors V of a panel of B. Rows that do not exist are not read.
template <class V, int M, int H, class T>
void edge_tile(bool add, tnk_int n, tnk_int k, const T *a, const T *b, T *c, tnk_int ldc) {
  constexpr int width = sizeof(V) / sizeof(T);
  V sum[M][H] = {};
  for (tnk_int l = 0; l < k; ++l, a += mr<T>, b += H * width) {
    V y[H];
    write_out<H>([&](auto h) INLINE_LAMBDA { y[h] = loadu<V>(b + width * h); });
    write_out<M>([&](auto i) INLINE_LAMBDA {
      const V x = broadcast<V>(a + i);
      write_out<H>([&](auto h) INLINE_LAMBDA { sum[i][h] += x * y[h]; });
    });
  }
  T rows[M][H * width];
  for (int i = 0; i < M; ++i)
    for (int h = 0; h < H; ++h) storeu(&rows[i][width * h], sum[i][h]);
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
    edge_tile<vec<T>, M, nr<T> / lanes<T>>(add, nr<T>, k, a, b, c + j * ldc, ldc);
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
  if (whole != 0) (add ? tiles<true, T> : tiles<false, T>)(whole, n, k, a, a_stride, b, b_stride, c, ldc);
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
  ENTRY(T, t##gemm_kernel_0, tiles<true>(*m, *n, *k, a, a_stride, b, b_stride, c, *ldc))                     \
  ENTRY(T, t##gemm_kernel_0_b0, tiles<false>(*m, *n, *k, a, a_stride, b, b_stride, c, *ldc))                 \
  ENTRY(T, t##gemm_ker0_pst,                                                                                 \
        ker0_pst(*m, *n, *k, a, b, b_stride, get(static_cast<const T *>(beta)) != 0, c, *ldc))

ENTRIES(float, s)
ENTRIES(double, d)
