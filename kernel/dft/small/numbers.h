// Complex numbers in registers with both parts side by side: one, two or four to a vector. The direction belongs to the
// type, as the sign of i; so a transform that is written forward is the inverse one over numbers of the other type.
#pragma once

#include "kernel/frame/transpose.h"
#include "kernel/frame/unroll.h"
#include "kernel/signal/roots.h"

namespace tnk::dft {

using signal::cvec;
using signal::lane_of;
using signal::lanes;

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

// ---- Constants ----------------------------------------------------------------------------------------------------------

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

// Times -i, or i in the inverse direction: parts exchanged and one sign turned.
template <class V, bool Inverse> inline TNK_INLINED numbers<V, Inverse> quarter(numbers<V, Inverse> x) {
  using R = lane_of<V>;
  typedef std::conditional_t<sizeof(R) == 4, int, long long> bits __attribute__((vector_size(sizeof(V))));
  struct Signs {
    R lane[lanes<V>] = {};
    constexpr Signs() {
      for (int i = 0; i < lanes<V>; ++i) lane[i] = i % 2 == !Inverse ? R(-0.0) : R(0);
    }
  };
  alignas(32) static constexpr Signs signs;
  return {reinterpret_cast<V>(reinterpret_cast<bits>(swap_neighbours(x.v)) ^
                              reinterpret_cast<bits>(load<V>(signs.lane)))};
}

// ---- Memory ---------------------------------------------------------------------------------------------------------------

// Number k of an array, and the ones behind it.
template <class V, bool Inverse, class R> inline TNK_INLINED numbers<V, Inverse> take(const R *p, int k) {
  return {loadu<V>(p + 2 * k)};
}
template <class V, bool I, class R> inline TNK_INLINED void leave(R *p, int k, numbers<V, I> x) {
  storeu(p + 2 * k, x.v);
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

} // namespace tnk::dft
