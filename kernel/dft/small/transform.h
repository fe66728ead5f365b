// A transform of N numbers from memory to memory, which may be the same place: all are read before one is written.
//
// In two rounds, N = A B: transforms of A numbers B apart, as many at a time as a vector holds; each square of results in
// registers is turned, so that the second round has vectors of its own transforms, of B numbers. What fills no vector, the
// last of an odd number of transforms, is done alone.
#pragma once

#include "kernel/dft/small/straight.h"

namespace tnk::dft {

// Two numbers of doubles wherever they stand.
template <bool I> TNK_INLINE numbers<f64x4, I> take_two(const double *p, int a, int b) {
  return b == a + 1 ? take<f64x4, I>(p, a) : numbers<f64x4, I>{load_pairs(p + 2 * a, p + 2 * b)};
}
template <bool I> TNK_INLINE void leave_two(double *p, int a, int b, numbers<f64x4, I> x) {
  if (b == a + 1) return leave(p, a, x);
  leave(p, a, lower(x));
  leave(p, b, upper(x));
}

// finish(x) is what is stored for x.
template <int A, int B, class V, bool I, class R, class Finish>
TNK_INLINE void two_rounds(const R *from, R *to, const Finish &finish) {
  using X = numbers<V, I>;
  using order = Order<A, B>;
  constexpr int N = A * B, W = width<V>;
  constexpr bool coprime = A % 2 != 0 && order::coprime; // rows and columns stand in vectors as they are
  static_assert(W == 2 || (A % W == 0 && B % W == 0), "only one of two can be left over");
  const auto input = [](int n1, int n2) TNK_INLINED { return coprime ? order::input(n1, n2) : B * n1 + n2; };
  const auto output = [](int k1, int k2)
                          TNK_INLINED { return coprime ? order::output(k1, k2) : k1 + A * k2; };

  X rows[A / W][B];
  numbers<f64x2, I> last[B];
  unrolled<B / W>([&](auto group) TNK_INLINED {
    constexpr int n2 = group * W;
    X x[A];
    unrolled<A>([&](auto n1) TNK_INLINED {
      if constexpr (coprime)
        x[n1] = take_two<I>(from, input(n1, n2), input(n1, n2 + 1));
      else
        x[n1] = take<V, I>(from, B * n1 + n2);
    });
    dft(x);
    if constexpr (!coprime)
      unrolled<A - 1>([&](auto k) TNK_INLINED { x[k + 1] = turned<n2 *(k + 1), k + 1, N>(x[k + 1]); });
    unrolled<A / W>([&](auto r) TNK_INLINED {
      V square[W];
      unrolled<W>([&](auto i) TNK_INLINED { square[i] = x[r * W + i].v; });
      turn(square);
      unrolled<W>([&](auto i) TNK_INLINED { rows[r][n2 + i].v = square[i]; });
    });
    if constexpr (A % W != 0) last[n2] = lower(x[A - 1]), last[n2 + 1] = upper(x[A - 1]);
  });
  if constexpr (B % W != 0) {
    constexpr int n2 = B - 1;
    numbers<f64x2, I> x[A];
    unrolled<A>([&](auto n1) TNK_INLINED { x[n1] = take<f64x2, I>(from, input(n1, n2)); });
    dft(x);
    if constexpr (!coprime)
      unrolled<A - 1>([&](auto k) TNK_INLINED { x[k + 1] = turned<n2 *(k + 1), 0, N>(x[k + 1]); });
    unrolled<A / 2>([&](auto r) TNK_INLINED { rows[r][n2] = joined(x[2 * r], x[2 * r + 1]); });
    if constexpr (A % W != 0) last[n2] = x[A - 1];
  }

  unrolled<A / W>([&](auto r) TNK_INLINED {
    dft(rows[r]);
    unrolled<B>([&](auto k2) TNK_INLINED {
      const X y = finish(rows[r][k2]);
      if constexpr (coprime)
        leave_two(to, output(r * W, k2), output(r * W + 1, k2), y);
      else
        leave(to, r * W + A * k2, y);
    });
  });
  if constexpr (A % W != 0) {
    dft(last);
    unrolled<B>([&](auto k2) TNK_INLINED { leave(to, output(A - 1, k2), finish(last[k2])); });
  }
}

template <int N, bool I, class Finish>
TNK_INLINE void transform(const double *from, double *to, const Finish &finish) {
  if constexpr (N == 2 || smallest_divisor(N) == N) {
    numbers<f64x2, I> x[N];
    unrolled<N>([&](auto n) TNK_INLINED { x[n] = take<f64x2, I>(from, n); });
    dft(x);
    unrolled<N>([&](auto k) TNK_INLINED { leave(to, k, finish(x[k])); });
  } else {
    // In halves first: both rounds then fill their vectors. Six and ten are faster, and twice as exact, by remainders.
    constexpr int A = N == 6 || N == 10 ? N / 2 : N % 2 == 0 ? 2 : first_factor(N);
    two_rounds<A, N / A, f64x4, I>(from, to, finish);
  }
}

// Of floats only powers of two.
template <int N, bool I, class Finish>
TNK_INLINE void transform(const float *from, float *to, const Finish &finish) {
  static_assert((N & (N - 1)) == 0);
  if constexpr (N == 2) {
    numbers<f32x4, I> x[2] = {{load_pair(from)}, {load_pair(from + 2)}};
    dft(x);
    store_pair(to, finish(x[0]).v);
    store_pair(to + 2, finish(x[1]).v);
  } else if constexpr (N < 16) {
    two_rounds<2, N / 2, f32x4, I>(from, to, finish);
  } else {
    two_rounds<4, N / 4, f32x8, I>(from, to, finish);
  }
}

} // namespace tnk::dft
