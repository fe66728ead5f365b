// Complex numbers in registers with both parts side by side: one, two or four to a vector. For transforms of so few numbers
// that dealing out the parts would take longer than the arithmetic. The direction belongs to the type, as the sign of i; so
// a transform that is written forward is the inverse one over numbers of the other type.
#pragma once

#include "kernel/frame/transpose.h"
#include "kernel/frame/unroll.h"
#include "kernel/signal/roots.h"

namespace tnk::signal {

// Parts of numbers, in turn; a vector holds `width` numbers.
template <class V, bool Inverse> struct numbers { V v; };
template <class V> constexpr int width = lanes<V> / 2;

template <class V, bool I> inline numbers<V, I> operator+(numbers<V, I> a, numbers<V, I> b) {
  return {a.v + b.v};
}
template <class V, bool I> inline numbers<V, I> operator-(numbers<V, I> a, numbers<V, I> b) {
  return {a.v - b.v};
}
template <class V, bool I> inline numbers<V, I> operator*(V a, numbers<V, I> b) {
  return {a * b.v};
}

// With the signs of the real parts (0) or of the imaginary ones (1) changed.
template <int Part, class V> inline TNK_INLINED V negated(V v) {
  using R = lane_of<V>;
  typedef std::conditional_t<sizeof(R) == 4, int, long long> bits __attribute__((vector_size(sizeof(V))));
  struct Signs {
    R lane[lanes<V>] = {};
    constexpr Signs() {
      for (int i = Part; i < lanes<V>; i += 2) lane[i] = R(-0.0);
    }
  };
  alignas(32) static constexpr Signs signs;
  return reinterpret_cast<V>(reinterpret_cast<bits>(v) ^ reinterpret_cast<bits>(load<V>(signs.lane)));
}
template <class V, bool I> inline TNK_INLINED numbers<V, I> conjugate(numbers<V, I> x) {
  return {negated<1>(x.v)};
}
// Times -i, or i in the inverse direction.
template <class V, bool I> inline TNK_INLINED numbers<V, I> quarter(numbers<V, I> x) {
  return {negated<!I>(swap_neighbours(x.v))};
}

// Number k of an array, and the ones behind it.
template <class V, bool Inverse, class R> inline TNK_INLINED numbers<V, Inverse> take(const R *p, int k) {
  return {loadu<V>(p + 2 * k)};
}
template <class V, bool I, class R> inline TNK_INLINED void leave(R *p, int k, numbers<V, I> x) {
  storeu(p + 2 * k, x.v);
}

// Row r of a square of numbers becomes its column r.
inline TNK_INLINED void turn(f64x4 (&r)[2]) {
  const f64x4 low = low_halves(r[0], r[1]);
  r[1] = high_halves(r[0], r[1]), r[0] = low;
}
inline TNK_INLINED void turn(f32x4 (&r)[2]) {
  const f64x2 a = _mm_castps_pd(r[0]), b = _mm_castps_pd(r[1]);
  r[0] = _mm_castpd_ps(_mm_unpacklo_pd(a, b)), r[1] = _mm_castpd_ps(_mm_unpackhi_pd(a, b));
}
inline TNK_INLINED void turn(f32x8 (&r)[4]) {
  f64x4 d[4];
  unrolled<4>([&](auto i) TNK_INLINED { d[i] = _mm256_castps_pd(r[i]); });
  transpose(d[0], d[1], d[2], d[3]);
  unrolled<4>([&](auto i) TNK_INLINED { r[i] = _mm256_castpd_ps(d[i]); });
}

// ---- Transforms of powers of two ---------------------------------------------------------------------------------------
// The same operations as those of butterfly.h, so the bits are the same as well.

// x times the K-th of N roots of unity. At an eighth of a turn the two products are one.
template <int K, int N, class V, bool I> inline TNK_INLINED numbers<V, I> turned(numbers<V, I> x) {
  using R = lane_of<V>;
  if constexpr (K % N == 0) {
    return x;
  } else if constexpr (4 * K == N) {
    return quarter(x);
  } else if constexpr (8 * K == N) {
    constexpr R diagonal = root<R>(1, 8).re;
    return {diagonal * (x + quarter(x)).v};
  } else if constexpr (4 * K > N) {
    return turned<K - N / 4, N>(quarter(x));
  } else {
    constexpr cvec<R> w = root<R>(K, N);
    constexpr R im = I ? -w.im : w.im;
    return {addsub(w.re * x.v, im * swap_neighbours(x.v))};
  }
}

// x[0 ... N-1] into its transform, in order; N is a power of two.
template <int N, class X> inline TNK_INLINED void transform_in_place(X (&x)[N]) {
  if constexpr (N == 1) {
    static_cast<void>(x);
  } else if constexpr (N == 2) {
    const X a = x[0];
    x[0] = a + x[1];
    x[1] = a - x[1];
  } else if constexpr (N == 4) {
    const X a = x[0] + x[2], b = x[0] - x[2], c = x[1] + x[3], d = quarter(x[1] - x[3]);
    x[0] = a + c;
    x[1] = b + d;
    x[2] = a - c;
    x[3] = b - d;
  } else { // columns of four numbers, then rows of N / 4
    constexpr int rows = 4, columns = N / rows;
    X y[columns][rows];
    unrolled<columns>([&](auto c) TNK_INLINED {
      unrolled<rows>([&](auto r) TNK_INLINED { y[c][r] = x[columns * r + c]; });
      transform_in_place(y[c]);
    });
    unrolled<rows>([&](auto r) TNK_INLINED {
      X z[columns];
      unrolled<columns>([&](auto c) TNK_INLINED { z[c] = turned<c * r, N>(y[c][r]); });
      transform_in_place(z);
      unrolled<columns>([&](auto c) TNK_INLINED { x[r + rows * c] = z[c]; });
    });
  }
}

// Root (row column) of N for each column, both parts twice, by rows but the first.
template <int N, int Columns, class V, bool Inverse> struct RowRoots {
  static constexpr int rows = N / Columns, lanes = 2 * Columns;
  using R = lane_of<V>;
  R re[rows - 1][lanes] = {}, im[rows - 1][lanes] = {};
  constexpr RowRoots() {
    for (int r = 1; r < rows; ++r)
      for (int lane = 0; lane < lanes; ++lane) {
        const cvec<R> w = root<R>(r * (lane / 2), N);
        re[r - 1][lane] = w.re, im[r - 1][lane] = Inverse ? -w.im : w.im;
      }
  }
};
template <int N, int Columns, class V, bool Inverse>
alignas(32) constexpr RowRoots<N, Columns, V, Inverse> row_roots = {};

// N numbers of an array as rows: in the first round a vector holds neighbours of a row, in the second one neighbours of the
// result. finished(v): what is stored of a vector. Everything is read before anything is written.
template <int N, int Columns, class V, bool Inverse, class Finish>
inline TNK_INLINED void transform_neighbours(const lane_of<V> *source, lane_of<V> *destination,
                                             const Finish &finished) {
  using X = numbers<V, Inverse>;
  constexpr int rows = N / Columns, W = lanes<V> / 2;
  constexpr auto &roots = row_roots<N, Columns, V, Inverse>;
  X y[Columns / W][rows];
  unrolled<Columns / W>([&](auto h) TNK_INLINED {
    unrolled<rows>([&](auto r) TNK_INLINED { y[h][r].v = loadu<V>(source + 2 * (Columns * r + W * h)); });
    transform_in_place(y[h]);
    unrolled<rows - 1>([&](auto r) TNK_INLINED {
      X &z = y[h][r + 1];
      z.v = complex_product(loadu<V>(roots.re[r] + 2 * W * h), loadu<V>(roots.im[r] + 2 * W * h), z.v);
    });
  });
  unrolled<rows / W>([&](auto g) TNK_INLINED {
    X z[Columns];
    unrolled<Columns / W>([&](auto h) TNK_INLINED {
      V square[W];
      unrolled<W>([&](auto i) TNK_INLINED { square[i] = y[h][W * g + i].v; });
      turn(square);
      unrolled<W>([&](auto i) TNK_INLINED { z[W * h + i].v = square[i]; });
    });
    transform_in_place(z);
    unrolled<Columns>([&](auto c)
                          TNK_INLINED { storeu(destination + 2 * (rows * c + W * g), finished(z[c].v)); });
  });
}

} // namespace tnk::signal
