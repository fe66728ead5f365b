// The block kernels of the real matrix product: packed panels multiplied into C.
#include "kernel/blas/level3/constants.h"
#include "kernel/blas/level3/gemm_ker0.h"
#include "kernel/blas/level3/passes.h"
#include "kernel/frame/transpose.h"

namespace tnk::level3 {
namespace {

template <class T> constexpr int mr = gemm_tile<T>::mr;
template <class T> constexpr int nr = gemm_tile<T>::nr;
constexpr int a_ahead = 512; // bytes of A ahead of its reading that are brought into the first level

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
template <class T> struct TileColumns { vec<T> c[nr<T>]; };

TNK_INLINE TileColumns<double> columns(UnitSums<double> s) {
  transpose(s.x[0], s.x[1], s.x[2], s.x[3]);
  transpose(s.y[0], s.y[1], s.y[2], s.y[3]);
  return {{s.x[0], s.x[1], s.x[2], s.x[3], s.y[0], s.y[1], s.y[2], s.y[3]}};
}
TNK_INLINE TileColumns<float> columns(const UnitSums<float> &s) {
  const auto even_and_odd = [](f32x8 even, f32x8 odd)
                                TNK_INLINED { return _mm256_castps_pd(_mm256_blend_ps(even, odd, 0xAA)); };
  f64x4 c0 = even_and_odd(s.x[0], s.y[0]), c2 = even_and_odd(s.x[1], s.y[1]),
        c4 = even_and_odd(s.x[2], s.y[2]), c6 = even_and_odd(s.x[3], s.y[3]);
  f64x4 c1 = even_and_odd(s.y[0], s.x[0]), c3 = even_and_odd(s.y[1], s.x[1]),
        c5 = even_and_odd(s.y[2], s.x[2]), c7 = even_and_odd(s.y[3], s.x[3]);
  transpose(c0, c2, c4, c6);
  transpose(c1, c3, c5, c7);
  const auto column = [](f64x4 v) TNK_INLINED -> f32x8 { return _mm256_castpd_ps(v); };
  return {{column(c0), column(c1), column(c2), column(c3), column(c4), column(c5), column(c6), column(c7)}};
}

// Whole panels of B by all of A.
template <class T> void whole_panels(const PackedProduct<T> &p) {
  const T *b = p.b;
  T *c = p.c;
  for (tnk_int j = 0; j + nr<T> <= p.n; j += nr<T>, b += p.b_stride, c += nr<T> * p.ldc)
    tiles_of_panel<mr<T>>(p.m, p.k, b, [&](auto how, const T *second_at, tnk_int i) TNK_INLINED {
      T *const tile = c + i;
      for (int column = 0; column < nr<T>; ++column)
        __builtin_prefetch(tile + column * p.ldc + 32 / sizeof(T));
      const TileColumns<T> sums =
          columns(unit_passes<how(), a_ahead, 0>(p.k, p.a + i / mr<T> * p.a_stride, b, second_at));
      unrolled<nr<T>>([&](auto column)
                          TNK_INLINED { put_column(tile + column * p.ldc, sums.c[column], p.add); });
    });
}

// ---- Narrow groups ----------------------------------------------------------------------------------------

// P panels of A by N columns, 1 to 4, of a narrow group of B. Two panels at once keep more sums going than an
// addition takes cycles.
template <int P, int N, class T> void narrow_tile(const PackedProduct<T> &p, const T *a, const T *b, T *c) {
  using V = vec<T>;
  V sum[P][N] = {};
  for (tnk_int l = 0; l + kr <= p.k; l += kr)
    unrolled<kr>([&](auto u) TNK_INLINED {
      if (u % 2 == 0) __builtin_prefetch(a + mr<T> * (l + u) + a_ahead / sizeof(T));
      V x[P];
      unrolled<P>([&](auto q) TNK_INLINED { x[q] = loadu<V>(a + q * p.a_stride + mr<T> * (l + u)); });
      unrolled<N>([&](auto j) TNK_INLINED {
        const V y = broadcast<V>(b + group * (l + u) + j);
        unrolled<P>([&](auto q) TNK_INLINED { sum[q][j] = in_register(sum[q][j] + x[q] * y); });
      });
    });
  unrolled<P>([&](auto q) TNK_INLINED {
    unrolled<N>([&](auto j) TNK_INLINED { put_column(c + q * mr<T> + j * p.ldc, sum[q][j], p.add); });
  });
}

template <int N, class T> void narrow_group(const PackedProduct<T> &p, const T *b, T *c) {
  const T *a = p.a;
  tnk_int i = 0;
  for (; i + 2 * mr<T> <= p.m; i += 2 * mr<T>, a += 2 * p.a_stride) narrow_tile<2, N>(p, a, b, c + i);
  if (i + mr<T> <= p.m) narrow_tile<1, N>(p, a, b, c + i);
}

template <class T> void tiles(const PackedProduct<T> &p) {
  whole_panels(p);
  const T *b = p.b + p.n / nr<T> * p.b_stride;
  for (tnk_int j = rounded_down(p.n, nr<T>); j < p.n; j += group, b += group * p.k)
    with_constant<group>(std::min<tnk_int>(p.n - j, group),
                         [&](auto columns) { narrow_group<columns>(p, b, p.c + j * p.ldc); });
}

// ---- The edge: fewer rows than a tile has -----------------------------------------------------------------

// M rows by the first n columns of H vectors V of a panel of B. Rows that do not exist are not read.
template <class V, int M, int H, class T>
void edge_tile(const PackedProduct<T> &p, tnk_int n, const T *b, T *c) {
  constexpr int width = sizeof(V) / sizeof(T);
  V sum[M][H] = {};
  const T *a = p.a;
  for (tnk_int l = 0; l < p.k; ++l, a += mr<T>, b += H * width) {
    V y[H];
    unrolled<H>([&](auto h) TNK_INLINED { y[h] = loadu<V>(b + width * h); });
    unrolled<M>([&](auto i) TNK_INLINED {
      const V x = broadcast<V>(a + i);
      unrolled<H>([&](auto h) TNK_INLINED { sum[i][h] += x * y[h]; });
    });
  }
  // Four rows at a time by columns, of which some rows may be missing.
  unrolled<(M + 3) / 4>([&](auto fourth) TNK_INLINED {
    constexpr int first = 4 * decltype(fourth)::value, count = M - first < 4 ? M - first : 4;
    const auto put_column = [&](tnk_int j, quad<T> rows) TNK_INLINED {
      if (j >= n) return;
      T *at = c + first + j * p.ldc;
      if constexpr (count == 4)
        storeu(at, p.add ? loadu<quad<T>>(at) + rows : rows);
      else
        unrolled<count>([&](int i) TNK_INLINED { put(at + i, p.add ? get(at + i) + rows[i] : rows[i]); });
    };
    unrolled<H>([&](auto h) TNK_INLINED {
      V row[4] = {};
      unrolled<count>([&](auto i) TNK_INLINED { row[i] = sum[first + i][h]; });
      if constexpr (width == 4) {
        transpose(row[0], row[1], row[2], row[3]);
        unrolled<4>([&](auto j) TNK_INLINED { put_column(width * h + j, row[j]); });
      } else {
        transpose_halves(row[0], row[1], row[2], row[3]);
        unrolled<4>([&](auto j) TNK_INLINED { put_column(j, low_half(row[j])); });
        unrolled<4>([&](auto j) TNK_INLINED { put_column(4 + j, high_half(row[j])); });
      }
    });
  });
}

template <class T> void edge(const PackedProduct<T> &p) {
  with_constant<mr<T> - 1>(p.m, [&p](auto rows) {
    const T *b = p.b;
    tnk_int j = 0;
    for (; j + nr<T> <= p.n; j += nr<T>, b += p.b_stride)
      edge_tile<vec<T>, rows, nr<T> / per_vector<T>>(p, nr<T>, b, p.c + j * p.ldc);
    for (; j < p.n; j += group, b += group * p.k)
      edge_tile<quad<T>, rows, 1>(p, std::min<tnk_int>(p.n - j, group), b, p.c + j * p.ldc);
  });
}

} // namespace
} // namespace tnk::level3

TNK_GEMM_KERNELS(float, s)
TNK_GEMM_KERNELS(double, d)
