// Straight-line transforms of a length that is known when compiled: dft(x) turns x[0 .. N-1] into its forward
// transform, in order. Numbers are cvec<V>, for a transform in each lane, or pair_of<V>, for one with both parts of a
// number side by side in a vector.
//
// Primes are summed by their definition over x[j] + x[N-j] and x[j] - x[N-j], whose factors are real. Composite lengths
// with coprime factors are arranged by remainders, which needs no factors in between; nine has twiddle factors between
// its two rounds, and powers of two are those of butterfly.h.
#pragma once

#include "kernel/signal/butterfly.h"
#include "kernel/signal/divisors.h"

namespace tnk::signal {

// ---- Both parts in one vector -------------------------------------------------------------------------------------

template <class V> struct pair_of { V v; };
template <class V> inline pair_of<V> operator+(pair_of<V> a, pair_of<V> b) {
  return {a.v + b.v};
}
template <class V> inline pair_of<V> operator-(pair_of<V> a, pair_of<V> b) {
  return {a.v - b.v};
}
template <class V> inline pair_of<V> operator*(lane_of<V> a, pair_of<V> b) {
  return {a * b.v};
}
template <class V> inline pair_of<V> plus_i(pair_of<V> a, pair_of<V> b) {
  return {addsub(a.v, swap_neighbours(b.v))};
}
template <class V> inline pair_of<V> minus_i(pair_of<V> a, pair_of<V> b) {
  return {addsub(a.v, swap_neighbours(V{} - b.v))};
}

// (re + i im) times x.
template <class V> inline pair_of<V> times(lane_of<V> re, lane_of<V> im, pair_of<V> x) {
  return {addsub(re * x.v, im * swap_neighbours(x.v))};
}

template <class X> struct number_traits;
template <class V> struct number_traits<cvec<V>> { using real = lane_of<V>; };
template <class V> struct number_traits<pair_of<V>> { using real = lane_of<V>; };
template <class X> using real_under = typename number_traits<X>::real;

// exp(-2 pi i K / N) times x.
template <int K, int N, class V> inline TNK_INLINED pair_of<V> turned(pair_of<V> x) {
  using R = lane_of<V>;
  constexpr cvec<R> w = root<R>(K, N);
  return K % N == 0 ? x : times(w.re, w.im, x);
}

// ---- Transforms ---------------------------------------------------------------------------------------------------

// The first factor of a composite length: the largest power of its smallest prime, or that prime in a power.
constexpr int first_factor(int n) {
  const int power = smallest_prime_power(n);
  return power < n ? power : smallest_divisor(n);
}

template <int N, class X> inline TNK_INLINED void dft(X (&x)[N]);

template <int N, class X> inline TNK_INLINED void dft_prime(X (&x)[N]) {
  using R = real_under<X>;
  constexpr int half = N / 2;
  X sum[half], difference[half], total = x[0];
  unrolled<half>([&](auto j) TNK_INLINED {
    sum[j] = x[j + 1] + x[N - 1 - j];
    difference[j] = x[j + 1] - x[N - 1 - j];
    total = total + sum[j];
  });
  unrolled<half>([&](auto q) TNK_INLINED {
    constexpr int k = q + 1;
    X even = x[0], odd{};
    unrolled<half>([&](auto j) TNK_INLINED {
      constexpr cvec<R> w = root<R>((j + 1) * k % N, N);
      even = even + w.re * sum[j];
      if constexpr (j == 0)
        odd = -w.im * difference[j];
      else
        odd = odd - w.im * difference[j];
    });
    // x[0] is still needed by the next; the others are in the sums.
    x[k] = minus_i(even, odd);
    x[N - k] = plus_i(even, odd);
  });
  x[0] = total;
}

// Five has two pairs, whose cosines are those of the sum and the difference: -1/4 and sqrt(5)/4.
template <class X> inline TNK_INLINED void dft_five(X (&x)[5]) {
  using R = real_under<X>;
  constexpr R quarter_root = R(0.559016994374947424102293417182819059L), s1 = -root<R>(1, 5).im,
              s2 = -root<R>(2, 5).im;
  const X a = x[1] + x[4], b = x[2] + x[3], c = x[1] - x[4], d = x[2] - x[3], sum = a + b;
  const X middle = x[0] - R(0.25) * sum, off = quarter_root * (a - b);
  const X e = middle + off, f = middle - off, g = s1 * c + s2 * d, h = s2 * c - s1 * d;
  x[0] = x[0] + sum;
  x[1] = minus_i(e, g);
  x[2] = minus_i(f, h);
  x[3] = plus_i(f, h);
  x[4] = plus_i(e, g);
}

template <class X> inline TNK_INLINED void dft_four(X (&x)[4]) {
  const X a = x[0] + x[2], b = x[0] - x[2], c = x[1] + x[3], d = x[1] - x[3];
  x[0] = a + c;
  x[1] = minus_i(b, d);
  x[2] = a - c;
  x[3] = plus_i(b, d);
}

// N = A B, input n = B n1 + A n2 and output k = k1 in A and k2 in B, both modulo N: two rounds and nothing between.
template <int A, int B, class X> inline TNK_INLINED void dft_coprime(X (&x)[A * B]) {
  constexpr int N = A * B;
  X y[B][A];
  unrolled<B>([&](auto n2) TNK_INLINED {
    unrolled<A>([&](auto n1) TNK_INLINED { y[n2][n1] = x[(B * n1 + A * n2) % N]; });
    dft(y[n2]);
  });
  unrolled<A>([&](auto k1) TNK_INLINED {
    X z[B];
    unrolled<B>([&](auto n2) TNK_INLINED { z[n2] = y[n2][k1]; });
    dft(z);
    unrolled<B>([&](auto k2) TNK_INLINED { x[common_remainder(k1, A, k2, B)] = z[k2]; });
  });
}

// N = A B, input n = B n1 + n2, output k = k1 + A k2, with root^(n2 k1) between the rounds.
template <int A, int B, class X> inline TNK_INLINED void dft_two_rounds(X (&x)[A * B]) {
  X y[B][A];
  unrolled<B>([&](auto n2) TNK_INLINED {
    unrolled<A>([&](auto n1) TNK_INLINED { y[n2][n1] = x[B * n1 + n2]; });
    dft(y[n2]);
  });
  unrolled<A>([&](auto k1) TNK_INLINED {
    X z[B];
    unrolled<B>([&](auto n2) TNK_INLINED { z[n2] = turned<n2 * k1, A * B>(y[n2][k1]); });
    dft(z);
    unrolled<B>([&](auto k2) TNK_INLINED { x[k1 + A * k2] = z[k2]; });
  });
}

template <int N, class X> inline TNK_INLINED void dft(X (&x)[N]) {
  if constexpr (N == 1) {
    static_cast<void>(x);
  } else if constexpr (N == 2) {
    const X a = x[0];
    x[0] = a + x[1];
    x[1] = a - x[1];
  } else if constexpr (N == 4) {
    dft_four(x);
  } else if constexpr ((N & (N - 1)) == 0) {
    X y[N];
    transform<N, decltype(x[0].re)>([&](auto k) TNK_INLINED { return x[k]; },
                                    [&](auto k, X z) TNK_INLINED { y[k] = z; });
    unrolled<N>([&](auto k) TNK_INLINED { x[k] = y[k]; });
  } else if constexpr (N == 5) {
    dft_five(x);
  } else if constexpr (smallest_divisor(N) == N) {
    dft_prime(x);
  } else {
    constexpr int A = first_factor(N), B = N / A;
    if constexpr (common_divisor(A, B) == 1)
      dft_coprime<A, B>(x);
    else
      dft_two_rounds<A, B>(x);
  }
}

} // namespace tnk::signal
