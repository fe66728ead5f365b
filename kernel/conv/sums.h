// Sums of products along one row, or a window of rows, of u and v: one at a time, four from one reading of u, and vectors
// of neighbours. A is the arithmetic's type; U and V, the operands' own, may be narrower and are widened as they are read.
//
// A complex sum is kept in two halves, of u.re v and of u.im v: so a step needs no shuffle, and multiplies as densely as a
// real one. The halves meet at the end.
#pragma once

#include "kernel/conv/operands.h"
#include "kernel/frame/unroll.h"
#include "kernel/frame/vector.h"

namespace tnk::conv {

// ---- Sums in progress --------------------------------------------------------------------------------------------

template <class A, int N> struct Sums {
  static constexpr int halves = is_complex<A> ? 2 : 1;
  alignas(32) A half[halves][N] = {};

  TNK_INLINE void add(int k, A u, A v) {
    if constexpr (is_complex<A>) {
      half[0][k] += u.re * v;
      half[1][k] += u.im * v;
    } else {
      half[0][k] += u * v;
    }
  }
  TNK_INLINE A value(int k) const {
    const A by_re = half[0][k];
    if constexpr (is_complex<A>) {
      const A by_im = half[1][k];
      return {by_re.re - by_im.im, by_re.im + by_im.re};
    } else {
      return by_re;
    }
  }
};

// One number to add to those of sum k: that half 0 takes it all is as good as any other share.
template <class A, int N> TNK_INLINE void add_value(Sums<A, N> &sums, int k, A value) {
  sums.half[0][k] += value;
}

// Four elements of A as vectors: one, or two of complex doubles.
template <class A> using four = std::conditional_t<is_complex<A>, vec_of<A>, quad<real_of<A>>>;
template <class A, class W> constexpr int elements = static_cast<int>(sizeof(W) / sizeof(A));

// As many elements of A as W holds, from p on.
template <class A, class W, class T> TNK_INLINE W load_widened(const T *p) {
  if constexpr (std::is_same_v<A, T>)
    return loadu<W>(p);
  else
    return widen(loadu<f32x4>(p));
}

// ---- Rows and columns of a window -----------------------------------------------------------------------------------

// `rows` rows of `count` terms each: the strides are those from term to term and from row to row.
template <class T> struct Window {
  const T *first;
  int64_t stride, row;
};

// Neighbouring sums as lanes, where v's stride is 1: sum r * Columns * lanes + c belongs to v.first + r * step + c. Each
// is added up term by term, in the order of the window.
template <class W, int Rows, int Columns, class A, int N, class U, class V>
inline void lanes(Sums<A, N> &sums, int at, const Window<const U> &u, const Window<const V> &v, int64_t step,
                  int64_t count, int64_t rows) {
  constexpr int width = elements<A, W>, vectors = Rows * Columns, halves = Sums<A, N>::halves;
  W acc[halves][vectors];
  unrolled<halves>([&](auto h) TNK_INLINED {
    unrolled<vectors>([&](auto k) TNK_INLINED { acc[h][k] = loadu<W>(&sums.half[h][at + k * width]); });
  });
  for (int64_t j = 0; j < rows; ++j) {
    const U *a = u.first + j * u.row;
    const V *b = v.first + j * v.row;
    for (int64_t i = 0; i < count; ++i, a += u.stride, ++b) {
      const A factor = widened<A>(get(a));
      W by_re, by_im;
      if constexpr (is_complex<A>)
        by_re = splat<W>(factor.re), by_im = splat<W>(factor.im);
      else
        by_re = by_im = splat<W>(factor);
      unrolled<Rows>([&](auto r) TNK_INLINED {
        unrolled<Columns>([&](auto c) TNK_INLINED {
          constexpr int k = r * Columns + c;
          const W x = load_widened<A, W>(b + r * step + c * width);
          acc[0][k] += by_re * x;
          if constexpr (halves == 2) acc[1][k] += by_im * x;
        });
      });
    }
  }
  unrolled<halves>([&](auto h) TNK_INLINED {
    unrolled<vectors>([&](auto k) TNK_INLINED { storeu(&sums.half[h][at + k * width], acc[h][k]); });
  });
}

// Four sums over one row of u, the one of sum k beginning at v + k * step. Where both strides are 1 the partial sums of
// four terms in turn run side by side.
template <class A, class U, class V>
void four_rows(Sums<A, 4> &sums, const U *u, int64_t ustride, const V *v, int64_t vstride, int64_t step,
               int64_t count) {
  int64_t i = 0;
  if (ustride == 1 && vstride == 1) {
    using W = vec_of<A>;
    constexpr int width = elements<A, W>, halves = Sums<A, 4>::halves;
    W acc[halves][4] = {};
    for (; i + width <= count; i += width) {
      const W factors = load_widened<A, W>(u + i);
      unrolled<4>([&](auto k) TNK_INLINED {
        const W x = load_widened<A, W>(v + k * step + i);
        if constexpr (is_complex<A>) {
          acc[0][k] += even_lanes_twice(factors) * x;
          acc[1][k] += odd_lanes_twice(factors) * x;
        } else {
          acc[0][k] += factors * x;
        }
      });
    }
    if (i > 0)
      for (int h = 0; h < halves; ++h)
        for (int k = 0; k < 4; ++k) sums.half[h][k] += sum_of_elements<A>(acc[h][k]);
  }
  for (; i < count; ++i) {
    const A factor = widened<A>(get(u + i * ustride));
    for (int k = 0; k < 4; ++k) sums.add(k, factor, widened<A>(get(v + k * step + i * vstride)));
  }
}

// ---- One sum ---------------------------------------------------------------------------------------------------------

// The sum over one row. Up to four terms stand as they are. Longer rows of stride 1 go to a 32-byte boundary of v and then
// take eight terms a pass in four partial sums, added up last, if v stands on a multiple of its size and enough is left.
template <class A, class U, class V>
A row_sum(const U *u, int64_t ustride, const V *v, int64_t vstride, int64_t count) {
  const auto term = [=](int64_t i) TNK_INLINED {
    return widened<A>(get(u + i * ustride)) * widened<A>(get(v + i * vstride));
  };
  switch (count) {
  case 1:
    return term(0);
  case 2:
    return term(0) + term(1);
  case 3:
    return term(0) + term(1) + term(2);
  case 4:
    return term(0) + term(1) + term(2) + term(3);
  }
  Sums<A, 1> sum;
  Sums<A, 4> partial;
  const auto add = [&](int64_t i) TNK_INLINED {
    sum.add(0, widened<A>(get(u + i * ustride)), widened<A>(get(v + i * vstride)));
  };
  int64_t i = 0;
  const int64_t peel = elements_to_boundary<32>(v);
  if (ustride == 1 && vstride == 1 && is_aligned_to(v, sizeof(V)) && count >= peel + 8) {
    for (; i < peel; ++i) add(i);
    using W = four<A>;
    constexpr int width = elements<A, W>, vectors = 4 / width, halves = Sums<A, 4>::halves;
    W acc[halves][vectors] = {};
    for (; i + 8 <= count; i += 8)
      unrolled<2 * vectors>([&](auto k) TNK_INLINED {
        const W factors = load_widened<A, W>(u + i + k * width), x = load_widened<A, W>(v + i + k * width);
        if constexpr (is_complex<A>) {
          acc[0][k % vectors] += even_lanes_twice(factors) * x;
          acc[1][k % vectors] += odd_lanes_twice(factors) * x;
        } else {
          acc[0][k % vectors] += factors * x;
        }
      });
    unrolled<halves>([&](auto h) TNK_INLINED {
      unrolled<vectors>([&](auto k) TNK_INLINED { storeu(&partial.half[h][k * width], acc[h][k]); });
    });
  }
  for (; i < count; ++i) add(i);
  const A four_sums = (partial.value(0) + partial.value(1)) + (partial.value(2) + partial.value(3));
  return sum.value(0) + four_sums;
}

// The sum over a window of two dimensions; range has its upper ends, counted from 0, both included. 0 where range[1]
// is negative.
template <class A, class U, class V>
A correlation_simple(const U *u, const int64_t *ustride, const V *v, const int64_t *vstride,
                     const int64_t *range) {
  A sum = {};
  for (int64_t j = 0; j <= range[1]; ++j)
    sum += row_sum<A>(u + j * ustride[1], ustride[0], v + j * vstride[1], vstride[0], range[0] + 1);
  return sum;
}

} // namespace tnk::conv
