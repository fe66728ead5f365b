// Transforms of a few numbers that stay in registers, unrolled at compile time. Forward, in natural order on both sides,
// over vectors as over scalars: with vectors, each lane is a transform of its own.
#pragma once

#include "kernel/frame/unroll.h"
#include "kernel/signal/roots.h"

namespace tnk::signal {

template <int K> constexpr std::integral_constant<int, K> constant = {};

// z times exp(-2 pi i K / N).
template <int K, int N, class V> inline TNK_INLINED cvec<V> turned(cvec<V> z) {
  using R = lane_of<V>;
  constexpr R diagonal = root<R>(1, 8).re;
  if constexpr (K % N == 0)
    return z;
  else if constexpr (4 * K == N)
    return {z.im, -z.re};
  else if constexpr (8 * K == N)
    return diagonal * cvec<V>{z.re + z.im, z.im - z.re};
  else if constexpr (8 * K == 3 * N)
    return diagonal * cvec<V>{z.im - z.re, -z.re - z.im};
  else {
    constexpr cvec<R> w = root<R>(K, N);
    return {w.re * z.re - w.im * z.im, w.re * z.im + w.im * z.re};
  }
}

// load(k) gives number k, store(k, z) takes frequency k. From 8 on in two steps, N = A B: first transforms of A numbers
// B apart, then transforms of B. Everything is loaded before anything is stored.
template <int N, class V, class Load, class Store>
inline TNK_INLINED void transform(const Load &load, const Store &store) {
  if constexpr (N == 1) {
    store(constant<0>, load(constant<0>));
  } else if constexpr (N == 2) {
    const cvec<V> a = load(constant<0>), b = load(constant<1>);
    store(constant<0>, a + b);
    store(constant<1>, a - b);
  } else if constexpr (N == 4) {
    const cvec<V> a = load(constant<0>), b = load(constant<1>), c = load(constant<2>), d = load(constant<3>);
    const cvec<V> sum02 = a + c, difference02 = a - c, sum13 = b + d, difference13 = b - d;
    store(constant<0>, sum02 + sum13);
    store(constant<1>, minus_i(difference02, difference13));
    store(constant<2>, sum02 - sum13);
    store(constant<3>, plus_i(difference02, difference13));
  } else {
    constexpr int A = N >= 32 ? 8 : 4, B = N / A;
    cvec<V> between[B][A];
    unrolled<B>([&](auto j) TNK_INLINED {
      transform<A, V>(
          [&](auto i) TNK_INLINED { return load(constant<decltype(j)::value + B *decltype(i)::value>); },
          [&](auto k, cvec<V> z)
              TNK_INLINED { between[j][k] = turned<decltype(j)::value *decltype(k)::value, N>(z); });
    });
    unrolled<A>([&](auto k) TNK_INLINED {
      transform<B, V>([&](auto j) TNK_INLINED { return between[j][k]; },
                      [&](auto m, cvec<V> z)
                          TNK_INLINED { store(constant<decltype(k)::value + A *decltype(m)::value>, z); });
    });
  }
}

} // namespace tnk::signal
