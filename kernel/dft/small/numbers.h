// What short transforms of every length need besides kernel/signal/numbers.h.
#pragma once

#include "kernel/signal/numbers.h"

namespace tnk::dft {

using signal::cvec;
using signal::lane_of;
using signal::lanes;
using signal::leave;
using signal::numbers;
using signal::take;
using signal::turn;
using signal::width;

// exp(-2 pi i K / N), worked out once for all bodies that name it.
template <class R, int K, int N> inline constexpr cvec<R> root_at = signal::root<R>(K, N);

// A register of factors: w to the power first + step * (number in the register), of N. Real parts twice each; imaginary
// parts with the sign that each part of a product takes them with.
template <class V, int First, int Step, int N, bool Inverse> struct Roots {
  using R = lane_of<V>;
  R re[lanes<V>] = {}, im[lanes<V>] = {};
  constexpr Roots() { fill(std::make_integer_sequence<int, width<V>>()); }

private:
  template <int... I> constexpr void fill(std::integer_sequence<int, I...>) {
    (set(I, root_at<R, (First + Step * I) % N, N>), ...);
  }
  constexpr void set(int i, cvec<R> w) {
    re[2 * i] = re[2 * i + 1] = w.re;
    im[2 * i] = Inverse ? w.im : -w.im;
    im[2 * i + 1] = -im[2 * i];
  }
};
template <class V, int First, int Step, int N, bool Inverse>
alignas(32) inline constexpr Roots<V, First, Step, N, Inverse> roots = {};

// Times exp(-2 pi i (First + Step j) / N), or its inverse, for number j of the register.
template <int First, int Step, int N, class V, bool Inverse>
inline TNK_INLINED numbers<V, Inverse> turned(numbers<V, Inverse> x) {
  constexpr auto &w = roots<V, First, Step, N, Inverse>;
  return {x.v * load<V>(w.re) + swap_neighbours(x.v) * load<V>(w.im)};
}

// One number of doubles above another.
template <bool I> inline TNK_INLINED numbers<f64x4, I> joined(numbers<f64x2, I> a, numbers<f64x2, I> b) {
  return {tnk::joined(a.v, b.v)};
}
template <bool I> inline TNK_INLINED numbers<f64x2, I> lower(numbers<f64x4, I> x) {
  return {low_half(x.v)};
}
template <bool I> inline TNK_INLINED numbers<f64x2, I> upper(numbers<f64x4, I> x) {
  return {high_half(x.v)};
}

} // namespace tnk::dft
