// Straight-line transforms of up to 64 numbers.
#pragma once

#include "kernel/signal/arrays.h"
#include "kernel/signal/numbers.h"

namespace tnk::signal {

// exp(-2 pi i row lane / N), by the lanes of a register that Array loads.
template <int N, class V, class Array> struct LaneRoots {
  using R = lane_of<V>;
  static constexpr int rows = N / lanes<V>;
  R re[rows][lanes<V>] = {}, im[rows][lanes<V>] = {};
  constexpr LaneRoots() {
    for (int row = 0; row < rows; ++row)
      for (int lane = 0; lane < lanes<V>; ++lane) {
        const cvec<R> w = root<R>(row * Array::template element<V>(lane), N);
        re[row][lane] = w.re, im[row][lane] = w.im;
      }
  }
};
template <int N, class V, class Array> alignas(32) constexpr LaneRoots<N, V, Array> lane_roots = {};

// The lanes for which a transform of N numbers has at least as many registers as lanes.
template <class R, int N>
constexpr int lanes_for = N >= 16 ? (N >= 64 ? per_vector<R> : 4) : (N == 8 && sizeof(R) == 8 ? 2 : 1);

// Numbers in pairs, so few that they stay as they are: dealing out their parts would take a quarter of the time at 16. In
// the same rows and columns as by part, so the bits are the same as well.
template <class R, class Array> struct is_left_in_pairs {
  static constexpr bool at(int) { return false; }
};
template <class R, bool Inverse> struct is_left_in_pairs<R, pairs<const R *, Inverse>> {
  static constexpr bool at(int n) { return n == 8 || n == 16 || n == 32; }
};
template <int N, class R, bool Scaled, bool Inverse>
inline void transform_pairs(pairs<const R *, Inverse> source, pairs<R *, Inverse> target, R scale) {
  const auto finished = [&](auto v) TNK_INLINED { return Scaled ? scale * v : v; };
  if constexpr (N == 8 && sizeof(R) == 4) { // by part these are scalars: four rows of two columns
    numbers<f32x4, Inverse> y[4];
    unrolled<4>([&](auto r) TNK_INLINED { y[r] = take<f32x4, Inverse>(source.p, 2 * r); });
    transform_in_place(y);
    unrolled<3>([&](auto r) TNK_INLINED { // of the second column alone
      f32x4 &v = y[r + 1].v;
      v = _mm_shuffle_ps(v, turned<r + 1, N>(y[r + 1]).v, _MM_SHUFFLE(3, 2, 1, 0));
    });
    unrolled<2>([&](auto g) TNK_INLINED {
      f32x4 columns[2] = {y[2 * g].v, y[2 * g + 1].v};
      turn(columns);
      storeu(target.p + 4 * g, finished(columns[0] + columns[1]));
      storeu(target.p + 8 + 4 * g, finished(columns[0] - columns[1]));
    });
  } else {
    transform_neighbours<N, lanes_for<R, N>, vec<R>, Inverse>(source.p, target.p, finished);
  }
}

// N numbers as a matrix with a register a row: transforms of the columns, twiddles, a transpose, transforms of what have
// become columns. Source and target may be the same.
template <int N, class R, bool Scaled, class Source, class Target>
inline void small_transform(Source source, Target target, R scale) {
  using V = vector_of<R, lanes_for<R, N>>;
  constexpr int W = lanes<V>, rows = N / W;
  const auto finished = [&](cvec<V> z) TNK_INLINED { return Scaled ? scale * z : z; };
  if constexpr (is_left_in_pairs<R, Source>::at(N)) {
    transform_pairs<N, R, Scaled>(source, target, scale);
  } else if constexpr (W == 1) {
    transform<N, V>([&](auto i) TNK_INLINED { return source.template load<V>(i); },
                    [&](auto k, cvec<V> z) TNK_INLINED { target.store(k, finished(z)); });
  } else {
    constexpr auto &roots = lane_roots<N, V, Source>;
    cvec<V> y[rows];
    transform<rows, V>([&](auto i) TNK_INLINED { return source.template load<V>(i * W); },
                       [&](auto k, cvec<V> z) TNK_INLINED {
                         if constexpr (k == 0)
                           y[k] = z;
                         else
                           y[k] = load_parts<V>(roots.re[k], roots.im[k]) * z;
                       });
    unrolled<rows / W>([&](auto q) TNK_INLINED {
      cvec<V> x[W];
      transposed<V>([&](auto l) TNK_INLINED { return y[q * W + Target::template element<V>(l)]; },
                    [&](auto j, cvec<V> z) TNK_INLINED { x[Source::template element<V>(j)] = z; });
      transform<W, V>([&](auto i) TNK_INLINED { return x[i]; },
                      [&](auto k, cvec<V> z) TNK_INLINED { target.store(q * W + k * rows, finished(z)); });
    });
  }
}

// 128 numbers as straight code: a third faster than by passes, where three loops of a few rounds wait for one another.
constexpr int straight_order = 7;
template <class R, class Source, class Target> void transform_128(Source source, Target target);
// ---- Tables, by order ---------------------------------------------------------------------------------------------

// A scale form takes the factor first, and applies it to what it stores.
template <class R> struct SmallForms {
  using Pairs = void(const R *source, R *destination);
  using ScaledPairs = void(R scale, const R *source, R *destination);
  using Parts = void(const R *re, const R *im, R *to_re, R *to_im);
  using ScaledParts = void(R scale, const R *re, const R *im, R *to_re, R *to_im);
};

// cFFT: complex numbers in pairs. rFFT: N real numbers and their spectrum in the Perm layout; one of 32 runs as a complex
// transform of 16, so nothing reaches its last entry.
template <class R, bool Inverse> struct SmallTables {
  static typename SmallForms<R>::Pairs *const tbl_cFFT_small[7], *const tbl_rFFT_small[6];
  static typename SmallForms<R>::ScaledPairs *const tbl_cFFT_small_scale[7], *const tbl_rFFT_small_scale[6];
};
// crFFT: complex numbers by part. An inverse transform gives the parts in exchanged places.
template <class R> struct SmallPartsTables {
  static typename SmallForms<R>::Parts *const tbl_crFFT_small[7];
  static typename SmallForms<R>::ScaledParts *const tbl_crFFT_small_scale[7];
};

extern template struct SmallTables<float, false>;
extern template struct SmallTables<float, true>;
extern template struct SmallTables<double, false>;
extern template struct SmallTables<double, true>;
extern template struct SmallPartsTables<float>;
extern template struct SmallPartsTables<double>;

} // namespace tnk::signal
