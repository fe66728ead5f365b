// A transform of F C numbers as a matrix of C columns and F rows: transforms of the columns, twiddles, transforms of what
// have become rows. Four transforms go side by side in the lanes of vectors, parts apart; a transpose between the rounds
// lets the second one read and write neighbours. The numbers between are blocks (kernel/signal/arrays.h).
//
// An inverse transform is the forward one of numbers whose parts are exchanged, which costs nothing here.
#pragma once

#include "kernel/signal/arrays.h"

namespace tnk::dft::compact {

using signal::blocks;
using signal::cvec;
using signal::load_parts;
using signal::packed_order;
template <bool Inverse> using Source = signal::pairs<const double *, Inverse>;
template <bool Inverse> using Target = signal::pairs<double *, Inverse>;

// Columns c to c + 3. twiddle(k, z): frequency k, above 0, with its twiddles, in the lanes of packed order.
template <int F, int C, bool Inverse, class Twiddle>
inline TNK_INLINED void transform_columns(Source<Inverse> source, double *between, tnk_int c,
                                          const Twiddle &twiddle) {
  using V = f64x4;
  constexpr auto &order = packed_order<V>;
  cvec<V> y[F];
  signal::transform<F, V>([&](auto a) TNK_INLINED { return source.template load<V>(c + a * C); },
                          [&](auto k, cvec<V> z) TNK_INLINED {
                            if constexpr (k == 0)
                              y[k] = z;
                            else
                              y[k] = twiddle(k, z);
                          });
  unrolled<F / 4>([&](auto q) TNK_INLINED {
    signal::transposed<V>([&](auto l) TNK_INLINED { return y[4 * q + order[l]]; },
                          [&](auto j, cvec<V> z)
                              TNK_INLINED { blocks<double>{between}.store((c + order[j]) * F + 4 * q, z); });
  });
}

// Rows g to g + 3.
template <int F, int C, bool Inverse>
inline TNK_INLINED void transform_rows(const double *between, Target<Inverse> target, tnk_int g) {
  using V = f64x4;
  const blocks<const double> rows{between};
  signal::transform<C, V>([&](auto n) TNK_INLINED { return rows.template load<V>(n * F + g); },
                          [&](auto k, cvec<V> z) TNK_INLINED { target.store(g + F * k, z); });
}

// Twiddles of all columns, by the lanes of a vector that is loaded from pairs.
template <int F, int C> struct ColumnRoots {
  double re[F][C] = {}, im[F][C] = {};
  constexpr ColumnRoots() {
    for (int k = 0; k < F; ++k)
      for (int c = 0; c < C; ++c) {
        const cvec<double> w = signal::root<double>(k * (c / 4 * 4 + packed_order<f64x4>[c % 4]), F * C);
        re[k][c] = w.re, im[k][c] = w.im;
      }
  }
};
template <int F, int C> alignas(32) constexpr ColumnRoots<F, C> column_roots = {};

// By constants alone.
template <int F, int C, bool Inverse>
inline void transform_by_constants(const double *source, double *destination) {
  alignas(32) double between[2 * F * C];
  constexpr auto &roots = column_roots<F, C>;
  for (int c = 0; c < C; c += 4)
    transform_columns<F, C>(Source<Inverse>{source}, between, c, [&](auto k, cvec<f64x4> z) TNK_INLINED {
      return load_parts<f64x4>(roots.re[k] + c, roots.im[k] + c) * z;
    });
  for (int g = 0; g < F; g += 4) transform_rows<F, C>(between, Target<Inverse>{destination}, g);
}

} // namespace tnk::dft::compact
