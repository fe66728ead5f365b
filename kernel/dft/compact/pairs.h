// Complex numbers with both parts in a vector of 128 bits, or in the lower half of one: for transforms of so few numbers
// that dealing out the parts to vectors would take longer than the arithmetic.
#pragma once

#include "kernel/frame/unroll.h"
#include "kernel/signal/roots.h"

namespace tnk::dft::compact {

// Of a forward or of an inverse transform: the same arithmetic, with conjugate roots.
template <class R, bool Inverse> struct Pair { half<R> v; };
template <class R, bool I> inline Pair<R, I> operator+(Pair<R, I> a, Pair<R, I> b) {
  return {a.v + b.v};
}
template <class R, bool I> inline Pair<R, I> operator-(Pair<R, I> a, Pair<R, I> b) {
  return {a.v - b.v};
}

template <class R> inline half<R> negated_imaginary(half<R> v) {
  if constexpr (sizeof(R) == 4)
    return _mm_xor_ps(v, f32x4{0.0f, -0.0f, 0.0f, -0.0f});
  else
    return _mm_xor_pd(v, f64x2{0.0, -0.0});
}
template <class R> inline half<R> negated_real(half<R> v) {
  if constexpr (sizeof(R) == 4)
    return _mm_xor_ps(v, f32x4{-0.0f, 0.0f, -0.0f, 0.0f});
  else
    return _mm_xor_pd(v, f64x2{-0.0, 0.0});
}

// a times the fourth root of unity, -i forward and i in an inverse transform.
template <class R, bool I> inline Pair<R, I> quarter_turn(Pair<R, I> a) {
  const half<R> exchanged = swap_neighbours(a.v);
  return {I ? negated_real<R>(exchanged) : negated_imaginary<R>(exchanged)};
}

// x times the K-th of N roots of unity. At an eighth of a turn the two products are one.
template <int K, int N, class R, bool I> inline TNK_INLINED Pair<R, I> turned(Pair<R, I> x) {
  if constexpr (K % N == 0) {
    return x;
  } else if constexpr (4 * K == N) {
    return quarter_turn(x);
  } else if constexpr (8 * K == N) {
    constexpr R diagonal = signal::root<R>(1, 8).re;
    return {diagonal * (x + quarter_turn(x)).v};
  } else if constexpr (4 * K > N) {
    return turned<K - N / 4, N>(quarter_turn(x));
  } else {
    constexpr auto w = signal::root<R>(K, N);
    constexpr R im = I ? -w.im : w.im;
    return {addsub(w.re * x.v, im * swap_neighbours(x.v))};
  }
}

// x[0 ... N-1] into its transform, in order.
template <int N, class X> inline TNK_INLINED void transform(X (&x)[N]) {
  if constexpr (N == 1) {
    static_cast<void>(x);
  } else if constexpr (N == 2) {
    const X a = x[0];
    x[0] = a + x[1];
    x[1] = a - x[1];
  } else if constexpr (N == 4) {
    const X a = x[0] + x[2], b = x[0] - x[2], c = x[1] + x[3], d = quarter_turn(x[1] - x[3]);
    x[0] = a + c;
    x[1] = b + d;
    x[2] = a - c;
    x[3] = b - d;
  } else { // columns of N / 4 numbers by rows of four
    constexpr int rows = 4, columns = N / rows;
    X y[columns][rows];
    unrolled<columns>([&](auto c) TNK_INLINED {
      unrolled<rows>([&](auto r) TNK_INLINED { y[c][r] = x[columns * r + c]; });
      transform(y[c]);
    });
    unrolled<rows>([&](auto r) TNK_INLINED {
      X z[columns];
      unrolled<columns>([&](auto c) TNK_INLINED { z[c] = turned<c * r, N>(y[c][r]); });
      transform(z);
      unrolled<columns>([&](auto c) TNK_INLINED { x[r + rows * c] = z[c]; });
    });
  }
}

// N numbers of an array. Everything is read before anything is written.
template <int N, class R, bool Inverse>
inline TNK_INLINED void transform_pairs(const R *source, R *destination) {
  Pair<R, Inverse> x[N];
  unrolled<N>([&](auto k) TNK_INLINED { x[k].v = load_pair(source + 2 * k); });
  transform(x);
  unrolled<N>([&](auto k) TNK_INLINED { store_pair(destination + 2 * k, x[k].v); });
}

} // namespace tnk::dft::compact
