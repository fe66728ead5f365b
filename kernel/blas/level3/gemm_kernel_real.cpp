// The block kernels of the real matrix product: packed panels (tile.h) multiplied into C.
//
// Every element of C is formed alike, wherever the cuts between tiles, groups and edges fall: one sum from
// zero over the steps in ascending order, each product rounded before it is added, then C + sum. So a result
// does not depend on how the caller slices the product.
//
// A step of a whole tile costs 8 multiplications and 8 additions, 4 cycles on a processor with two pipes for
// each and 8 on one with a single pipe for each. The operands are chosen to stay below that. Shuffles share
// the pipes of the arithmetic on the first kind, so they are what to avoid; elements broadcast by a load cost
// the load only (and on the second kind one shuffle, of a port that is otherwise idle). Swapping neighbours
// and halves of the operands instead needs 3 (double) or 4 (float) loads less and as many shuffles more, and
// runs at about three quarters of the speed on the first kind.
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

// f(0) ... f(N - 1), written out: the indices are constants, so that small arrays of vectors become
// registers.
template <class F, int... I> INLINE void write_out(F f, std::integer_sequence<int, I...>) {
  (f(std::integral_constant<int, I>{}), ...);
}
template <int N, class F> INLINE void write_out(F f) {
  write_out(f, std::make_integer_sequence<int, N>{});
}

// Calls step(l), l from 0 to k - 1, in passes of eight and a last one of four. A, W values a step, is brought
// in 512 bytes ahead, a line every second step.
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

// One value in every lane. The load is left where it is written: the compiler would gather those of a whole
// pass in front of it and run out of registers.
template <class V, class T> INLINE V broadcast(const T *p) {
  if constexpr (sizeof(T) == 8)
    return _mm256_broadcast_sd(p);
  else if constexpr (sizeof(V) == 32)
    return _mm256_broadcast_ss(p);
  else
    return _mm_broadcast_ss(p);
}

// ---- Whole tiles ------------------------------------------------------------------------------------------
//
// Of each step the four 8-byte units of A - a value of double, two neighbours of float - are broadcast and
// multiplied by two vectors x and y of B: 6 loads, 8 products, 8 sums, 22 operations for 4 cycles of 6.
//
//   double, 4 by 8   x is columns 0-3, y columns 4-7. Unit i is row i: the sums are rows of C.
//   float, 8 by 8    x is columns 0-7, y the same with neighbours swapped. Unit i is rows 2i and 2i + 1: even
//                    lanes multiply by the first, odd ones by the second. Lane j of the sums of x is of column
//                    j, of those of y of the neighbour of column j. The even lanes of one with the odd lanes of
//                    the other are columns of two rows: units again, to be transposed as doubles are.
//
// The swapped vectors of a panel of B are made in the first of its tiles and kept for the others.
//
// The passes are written in assembly since the compiler renames accumulators from step to step; the moves by
// which it brings them back take a twentieth of the time.

// What a step does to get y: load it from y_at, or swap x, or swap x and keep the result at y_at.
enum class second { loaded, swapped, swapped_and_kept };

#define UNIT(type, u, i, p, q)                                                                               \
  "vbroadcastsd 32*" #u "+8*" #i "(%[a]), %[" #p "]\n\t"                                                     \
  "vmulp" type " %[x], %[" #p "], %[" #q "]\n\t"                                                             \
  "vmulp" type " %[y], %[" #p "], %[" #p "]\n\t"                                                             \
  "vaddp" type " %[" #q "], %[r" #i "], %[r" #i "]\n\t"                                                      \
  "vaddp" type " %[" #p "], %[s" #i "], %[s" #i "]\n\t"
#define UNITS(type, u)                                                                                       \
  UNIT(type, u, 0, p0, q0) UNIT(type, u, 1, p1, q1) UNIT(type, u, 2, p0, q0) UNIT(type, u, 3, p1, q1)
#define DOUBLE_STEP(u)                                                                                       \
  "vmovupd 64*" #u "(%[b]), %[x]\n\t"                                                                        \
  "vmovupd 64*" #u "(%[second]), %[y]\n\t" UNITS("d", u)
#define FLOAT_STEP(u)                                                                                        \
  "vmovups 32*" #u "(%[b]), %[x]\n\t"                                                                        \
  "vmovups 32*" #u "(%[second]), %[y]\n\t" UNITS("s", u)
#define FLOAT_STEP_SWAP(u)                                                                                   \
  "vmovups 32*" #u "(%[b]), %[x]\n\t"                                                                        \
  "vpermilps $0xB1, %[x], %[y]\n\t" UNITS("s", u)
#define FLOAT_STEP_KEEP(u)                                                                                   \
  "vmovups 32*" #u "(%[b]), %[x]\n\t"                                                                        \
  "vpermilps $0xB1, %[x], %[y]\n\t"                                                                          \
  "vmovups %[y], 32*" #u "(%[second])\n\t" UNITS("s", u)
#define AHEAD(u) "prefetcht0 32*" #u "+512(%[a])\n\t" // one line of A
#define FOUR(STEP) STEP(0) STEP(1) STEP(2) STEP(3)
#define EIGHT(STEP)                                                                                          \
  AHEAD(0) STEP(0) STEP(1) AHEAD(2) STEP(2) STEP(3) AHEAD(4) STEP(4) STEP(5) AHEAD(6) STEP(6) STEP(7)
#define RUN(steps)                                                                                           \
  asm volatile(steps                                                                                         \
               : [r0] "+x"(r0), [r1] "+x"(r1), [r2] "+x"(r2), [r3] "+x"(r3), [s0] "+x"(s0), [s1] "+x"(s1),   \
                 [s2] "+x"(s2), [s3] "+x"(s3), [x] "=&x"(x), [y] "=&x"(y), [p0] "=&x"(p0), [q0] "=&x"(q0),   \
                 [p1] "=&x"(p1), [q1] "=&x"(q1)                                                              \
               : [a] "r"(a), [b] "r"(b), [second] "r"(y_at)                                                  \
               : "memory")
#define PASSES(STEP)                                                                                         \
  for (; k >= 8; k -= 8, a += 8 * mr<T>, b += 8 * nr<T>, y_at += 8 * nr<T>) RUN(EIGHT(STEP));                \
  if (k >= 4) RUN(FOUR(STEP))

// The sums of a tile by columns. A column is one vector in both types.
template <class T> struct tile_columns { vec<T> c[nr<T>]; };

template <second how, class T>
INLINE tile_columns<T> tile_sums(tnk_int k, const T *a, const T *b, const T *y_at) {
  vec<T> r0{}, r1{}, r2{}, r3{}, s0{}, s1{}, s2{}, s3{}, x, y, p0, q0, p1, q1;
  if constexpr (sizeof(T) == 8) {
    PASSES(DOUBLE_STEP);
    transpose(r0, r1, r2, r3);
    transpose(s0, s1, s2, s3);
    return {{r0, r1, r2, r3, s0, s1, s2, s3}};
  } else {
    if constexpr (how == second::loaded) {
      PASSES(FLOAT_STEP);
    } else if constexpr (how == second::swapped) {
      PASSES(FLOAT_STEP_SWAP);
    } else {
      PASSES(FLOAT_STEP_KEEP);
    }
    const auto even_and_odd = [](f32x8 even, f32x8 odd) INLINE_LAMBDA {
      return _mm256_castps_pd(_mm256_blend_ps(even, odd, 0xAA));
    };
    f64x4 c0 = even_and_odd(r0, s0), c2 = even_and_odd(r1, s1), c4 = even_and_odd(r2, s2),
          c6 = even_and_odd(r3, s3);
    f64x4 c1 = even_and_odd(s0, r0), c3 = even_and_odd(s1, r1), c5 = even_and_odd(s2, r2),
          c7 = even_and_odd(s3, r3);
    transpose(c0, c2, c4, c6);
    transpose(c1, c3, c5, c7);
    const auto column = [](f64x4 v) INLINE_LAMBDA -> f32x8 { return _mm256_castpd_ps(v); };
    return {{column(c0), column(c1), column(c2), column(c3), column(c4), column(c5), column(c6), column(c7)}};
  }
}

#undef PASSES
#undef RUN
#undef EIGHT
#undef FOUR
#undef AHEAD
#undef FLOAT_STEP_KEEP
#undef FLOAT_STEP_SWAP
#undef FLOAT_STEP
#undef DOUBLE_STEP
#undef UNITS
#undef UNIT

// C of one vector of rows. add: C + sum, otherwise C is not read.
template <bool add, class T> INLINE void put_column(T *c, vec<T> sum) {
  storeu(c, add ? loadu<vec<T>>(c) + sum : sum);
}

template <bool add, second how, class T>
INLINE void whole_tile(tnk_int k, const T *a, const T *b, const T *y_at, T *c, tnk_int ldc) {
  for (int j = 0; j < nr<T>; ++j) __builtin_prefetch(c + j * ldc + 32 / sizeof(T));
  const tile_columns<T> sums = tile_sums<how>(k, a, b, y_at);
  write_out<nr<T>>([&](auto j) INLINE_LAMBDA { put_column<add>(c + j * ldc, sums.c[j]); });
}

// All tiles of one panel of B, m at least mr.
template <bool add>
void tiles_of_panel(tnk_int m, tnk_int k, const double *a, tnk_int a_stride, const double *b, double *c,
                    tnk_int ldc) {
  for (; m >= mr<double>; m -= mr<double>, a += a_stride, c += mr<double>)
    whole_tile<add, second::loaded>(k, a, b, b + 4, c, ldc);
}
template <bool add>
void tiles_of_panel(tnk_int m, tnk_int k, const float *a, tnk_int a_stride, const float *b, float *c,
                    tnk_int ldc) {
  constexpr int most = 256; // steps whose swapped vectors are kept: the longest block that a driver chooses
  alignas(64) float kept[most * nr<float>];
  const auto next = [&] {
    m -= mr<float>;
    a += a_stride;
    c += mr<float>;
  };
  if (k <= most && m >= 2 * mr<float>) {
    whole_tile<add, second::swapped_and_kept>(k, a, b, kept, c, ldc);
    for (next(); m >= mr<float>; next()) whole_tile<add, second::loaded>(k, a, b, kept, c, ldc);
  } else {
    for (; m >= mr<float>; next()) whole_tile<add, second::swapped>(k, a, b, kept, c, ldc);
  }
}

// P panels of A by N columns, 1 to 4, of a narrow group of B. Two panels at once keep more sums going than an
// addition takes cycles.
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
    tiles_of_panel<add>(m, k, a, a_stride, b, c, ldc);
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

// ---- The edge: fewer rows than a tile has -----------------------------------------------------------------

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
  // A copy, lest the compiler give a sum one place in memory for the loop as well.
  write_out<M>([&](auto i) INLINE_LAMBDA {
    write_out<H>([&](auto h) INLINE_LAMBDA { storeu(&rows[i][width * h], in_register(sum[i][h])); });
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
