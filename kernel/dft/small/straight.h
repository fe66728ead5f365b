// Straight-line transforms of N vectors of numbers, unrolled at compile time: dft(x) turns x[0 ... N-1] into their
// transform, in order. Each number of a vector is a transform of its own.
//
// Primes are summed by their definition over x[j] + x[N-j] and x[j] - x[N-j], whose factors are real: a quarter of the
// products. Coprime factors are arranged by remainders, with nothing in between; powers of a prime have twiddle factors
// between two rounds.
#pragma once

#include <algorithm>

#include "kernel/dft/small/numbers.h"
#include "kernel/signal/divisors.h"

namespace tnk::dft {

using signal::smallest_divisor;

// The first factor of a composite length: the whole power of its smallest prime, or of a pure power four or that prime.
constexpr int first_factor(int n) {
  const int p = smallest_divisor(n), power = signal::smallest_prime_power(n);
  return power < n ? power : p == 2 && n > 4 ? 4 : p;
}

// Which input is number n1 of round one's transform n2, and which output number k2 of round two's transform k1, when N is
// A B: by remainders, or by rows and columns.
template <int A, int B> struct Order {
  static constexpr bool coprime = signal::common_divisor(A, B) == 1;
  static constexpr int input(int n1, int n2) { return coprime ? (B * n1 + A * n2) % (A * B) : B * n1 + n2; }
  static constexpr int output(int k1, int k2) {
    return coprime ? signal::common_remainder(k1, A, k2, B) : k1 + A * k2;
  }
};

template <int N, class V, bool I> TNK_INLINE void dft(numbers<V, I> (&x)[N]);

// The factors of the sums and differences of opposite numbers: cosine and sine of 2 pi K / N.
template <class V, int K, int N> TNK_INLINE V cosine() {
  return splat<V>(root_at<lane_of<V>, K % N, N>.re);
}
template <class V, int K, int N> TNK_INLINE V sine() {
  return splat<V>(-root_at<lane_of<V>, K % N, N>.im);
}

// So many sums grow side by side, as a sum waits for its additions; what they have in common is loaded once for all of
// them. The compiler would finish one after the other.
inline constexpr int at_once = 8;
template <class V, int N> TNK_INLINE void end_round(V (&sums)[N]) {
  unrolled<N>([&](auto i) TNK_INLINED { end_step(sums[i]); });
}
template <class V, bool I, int N> TNK_INLINE void end_round(numbers<V, I> (&sums)[N]) {
  unrolled<N>([&](auto i) TNK_INLINED { end_step(sums[i].v); });
}

template <int N, class V, bool I> TNK_INLINE void dft_prime(numbers<V, I> (&x)[N]) {
  using X = numbers<V, I>;
  constexpr int half = N / 2;
  X sum[half], difference[half], total = x[0];
  const X first = x[0];
  unrolled<half>([&](auto j) TNK_INLINED {
    sum[j] = x[j + 1] + x[N - 1 - j];
    difference[j] = quarter(x[j + 1] - x[N - 1 - j]);
    total = total + sum[j];
  });
  constexpr int pairs = at_once / 2;
  unrolled<(half + pairs - 1) / pairs>([&](auto block) TNK_INLINED {
    constexpr int k0 = block * pairs, count = std::min(half - k0, pairs);
    X even[count], odd[count];
    unrolled<half>([&](auto j) TNK_INLINED {
      unrolled<count>([&](auto q) TNK_INLINED {
        constexpr int turns = (k0 + q + 1) * (j + 1);
        const X a = cosine<V, turns, N>() * sum[j], b = sine<V, turns, N>() * difference[j];
        even[q] = j == 0 ? first + a : even[q] + a;
        odd[q] = j == 0 ? b : odd[q] + b;
      });
      end_round(even), end_round(odd);
    });
    unrolled<count>([&](auto q) TNK_INLINED {
      x[k0 + q + 1] = even[q] + odd[q];
      x[N - 1 - k0 - q] = even[q] - odd[q];
    });
  });
  x[0] = total;
}

// One transform alone, of doubles: sum and difference of opposite numbers share a vector.
template <int K, int N>
alignas(32) inline constexpr double cosine_and_sine[4] = {
    root_at<double, K, N>.re, root_at<double, K, N>.re, -root_at<double, K, N>.im, -root_at<double, K, N>.im};

template <int N, bool I> TNK_INLINE void dft_prime_alone(numbers<f64x2, I> (&x)[N]) {
  constexpr int half = N / 2;
  using X = numbers<f64x2, I>;
  f64x4 both[half];
  X total = x[0];
  const f64x4 first = joined(x[0], X{}).v;
  unrolled<half>([&](auto j) TNK_INLINED {
    const X sum = x[j + 1] + x[N - 1 - j];
    both[j] = joined(sum, quarter(x[j + 1] - x[N - 1 - j])).v;
    total = total + sum;
  });
  unrolled<(half + at_once - 1) / at_once>([&](auto block) TNK_INLINED {
    constexpr int k0 = block * at_once, count = std::min(half - k0, at_once);
    f64x4 y[count];
    unrolled<half>([&](auto j) TNK_INLINED {
      unrolled<count>([&](auto q) TNK_INLINED {
        const f64x4 term = both[j] * load<f64x4>(cosine_and_sine<(k0 + q + 1) * (j + 1) % N, N>);
        y[q] = (j == 0 ? first : y[q]) + term;
      });
      end_round(y);
    });
    unrolled<count>([&](auto q) TNK_INLINED {
      const X even{low_half(y[q])}, odd{high_half(y[q])};
      x[k0 + q + 1] = even + odd;
      x[N - 1 - k0 - q] = even - odd;
    });
  });
  x[0] = total;
}

template <int A, int B, class V, bool I> TNK_INLINE void dft_composite(numbers<V, I> (&x)[A * B]) {
  using X = numbers<V, I>;
  using order = Order<A, B>;
  X y[B][A];
  unrolled<B>([&](auto n2) TNK_INLINED {
    unrolled<A>([&](auto n1) TNK_INLINED { y[n2][n1] = x[order::input(n1, n2)]; });
    dft(y[n2]);
  });
  unrolled<A>([&](auto k1) TNK_INLINED {
    X z[B];
    unrolled<B>([&](auto n2) TNK_INLINED {
      constexpr int turns = order::coprime ? 0 : n2 * k1;
      if constexpr (turns == 0)
        z[n2] = y[n2][k1];
      else if constexpr (4 * turns == A * B)
        z[n2] = quarter(y[n2][k1]);
      else
        z[n2] = turned<turns, 0, A * B>(y[n2][k1]);
    });
    dft(z);
    unrolled<B>([&](auto k2) TNK_INLINED { x[order::output(k1, k2)] = z[k2]; });
  });
}

template <int N, class V, bool I> TNK_INLINE void dft(numbers<V, I> (&x)[N]) {
  if constexpr (N == 1 || N == 2 || N == 4) {
    signal::transform_in_place(x);
  } else if constexpr (smallest_divisor(N) == N) {
    if constexpr (width<V> == 1 && N > 5)
      dft_prime_alone(x);
    else
      dft_prime(x);
  } else {
    constexpr int A = first_factor(N);
    dft_composite<A, N / A>(x);
  }
}

} // namespace tnk::dft
