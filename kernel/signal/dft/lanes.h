// Numbers that stand apart, gathered into the lanes of a register and put back, and the sum by definition in each lane.
#pragma once

#include "kernel/signal/dft/spec.h"
#include "kernel/signal/dft/straight.h"

namespace tnk::signal {

// Lane l takes number at[element(l)] + k of the array, in the order of the lanes that the array's own loads have.
template <class V, class P, bool Inverse>
inline TNK_INLINED cvec<V> gather(pairs<P, Inverse> a, const int32_t *at, tnk_int k) {
  const auto p = [&](int i) TNK_INLINED { return a.p + 2 * (at[i] + k); };
  cvec<V> z;
  if constexpr (lanes<V> == 1) {
    z = {get(p(0)), get(p(0) + 1)};
  } else {
    V low, high;
    if constexpr (std::is_same_v<V, f64x4>)
      low = load_pairs(p(0), p(1)), high = load_pairs(p(2), p(3));
    else if constexpr (std::is_same_v<V, f64x2>)
      low = load_pair(p(0)), high = load_pair(p(1));
    else if constexpr (std::is_same_v<V, f32x8>)
      low = joined(load_pairs(p(0), p(1)), load_pairs(p(2), p(3))),
      high = joined(load_pairs(p(4), p(5)), load_pairs(p(6), p(7)));
    else
      low = load_pairs(p(0), p(1)), high = load_pairs(p(2), p(3));
    z = {even_lanes(low, high), odd_lanes(low, high)};
  }
  return swapped<Inverse>(z);
}
template <class V, class P> inline TNK_INLINED cvec<V> gather(parts<P> a, const int32_t *at, tnk_int k) {
  cvec<V> z;
  if constexpr (lanes<V> == 1)
    z = {a.re[at[0] + k], a.im[at[0] + k]};
  else
    for (int l = 0; l < lanes<V>; ++l) z.re[l] = a.re[at[l] + k], z.im[l] = a.im[at[l] + k];
  return z;
}

// Two pairs of floats, each moved as one value.
inline void store_two(float *p, float *q, f32x4 v) {
  store_pair(p, v);
  put(reinterpret_cast<double *>(q), _mm_castps_pd(v)[1]);
}

// Number i of the register goes to place at + i apart.
template <class V, class P, bool Inverse>
inline TNK_INLINED void scatter(pairs<P, Inverse> a, tnk_int at, tnk_int apart, cvec<V> z) {
  z = swapped<Inverse>(z);
  const auto p = [&](int i) TNK_INLINED { return a.p + 2 * (at + i * apart); };
  if constexpr (lanes<V> == 1) {
    put(p(0), z.re);
    put(p(0) + 1, z.im);
  } else {
    const V low = low_in_turn(z.re, z.im), high = high_in_turn(z.re, z.im);
    if constexpr (std::is_same_v<V, f64x4>) {
      storeu(p(0), low_half(low)), storeu(p(1), high_half(low));
      storeu(p(2), low_half(high)), storeu(p(3), high_half(high));
    } else if constexpr (std::is_same_v<V, f64x2>) {
      storeu(p(0), low), storeu(p(1), high);
    } else if constexpr (std::is_same_v<V, f32x8>) {
      store_two(p(0), p(1), low_half(low)), store_two(p(2), p(3), high_half(low));
      store_two(p(4), p(5), low_half(high)), store_two(p(6), p(7), high_half(high));
    } else {
      store_two(p(0), p(1), low), store_two(p(2), p(3), high);
    }
  }
}
template <class V, class P>
inline TNK_INLINED void scatter(parts<P> a, tnk_int at, tnk_int apart, cvec<V> z) {
  if constexpr (lanes<V> == 1)
    a.re[at] = z.re, a.im[at] = z.im;
  else
    for (int l = 0; l < lanes<V>; ++l) a.re[at + l * apart] = z.re[l], a.im[at + l * apart] = z.im[l];
}

// A few numbers in a register of half the size, with zeros behind them.
inline cvec<f64x2> load_few(const double *p, tnk_int) {
  const f64x2 v = load_pair(p);
  return {even_lanes(v, f64x2{}), odd_lanes(v, f64x2{})};
}
inline cvec<f32x4> load_few(const float *p, tnk_int count) {
  const f32x4 low = count > 1 ? loadu<f32x4>(p) : load_pair(p), high = count > 2 ? load_pair(p + 4) : f32x4{};
  return {even_lanes(low, high), odd_lanes(low, high)};
}
inline void store_few(double *p, tnk_int, cvec<f64x2> z) {
  store_pair(p, low_in_turn(z.re, z.im));
}
inline void store_few(float *p, tnk_int count, cvec<f32x4> z) {
  const f32x4 low = low_in_turn(z.re, z.im);
  if (count == 1) return store_pair(p, low);
  storeu(p, low);
  if (count > 2) store_pair(p + 4, high_in_turn(z.re, z.im));
}

// An array of which loads and stores of half a register touch `count` numbers only.
template <class A> struct few_of {
  A array;
  tnk_int count;
  template <class V> cvec<V> load(tnk_int k) const { return load_from(array, k); }
  template <class V> void store(tnk_int k, cvec<V> z) const { store_to(array, k, z); }

private:
  template <class R, bool Inverse> auto load_from(pairs<const R *, Inverse> a, tnk_int k) const {
    return swapped<Inverse>(load_few(a.p + 2 * k, count));
  }
  template <class R> cvec<half<R>> load_from(parts<const R *> a, tnk_int k) const {
    cvec<half<R>> z{};
    for (int l = 0; l < count; ++l) z.re[l] = get(a.re + k + l), z.im[l] = get(a.im + k + l);
    return z;
  }
  template <class R, bool Inverse, class V> void store_to(pairs<R *, Inverse> a, tnk_int k, cvec<V> z) const {
    store_few(a.p + 2 * k, count, swapped<Inverse>(z));
  }
  template <class R, class V> void store_to(parts<R *> a, tnk_int k, cvec<V> z) const {
    for (int l = 0; l < count; ++l) put(a.re + k + l, R(z.re[l])), put(a.im + k + l, R(z.im[l]));
  }
};

} // namespace tnk::signal
