// Between the transform Z of N real numbers taken as M = N / 2 complex ones and their spectrum X, whose upper half is the
// conjugate of the lower one. With g = (1 + sin t) / 2 + i cos t / 2, t = 2 pi k / N:
//   X[k] = Z[k] - g (Z[k] - conj Z[M-k]),  conj X[M-k] = conj Z[M-k] + g (Z[k] - conj Z[M-k]),
// and back with conj g in the place of g. Frequency M/2 is conj Z[M/2].
#pragma once

#include "kernel/signal/fft/tables.h"

namespace tnk::signal {

inline f64x4 back_to_front(f64x4 v) {
  return swap_halves(swap_neighbours(v));
}
inline f32x8 back_to_front(f32x8 v) {
  return swap_halves(swap_pairs(swap_neighbours(v)));
}
template <class V> inline cvec<V> back_to_front(cvec<V> z) {
  if constexpr (lanes<V> == 1)
    return z;
  else
    return {back_to_front(z.re), back_to_front(z.im)};
}

// Frequencies k and M - k, and what follows the one and precedes the other, as many as there are lanes; back: the way to
// Z, times 2. Both are read before either is written. g is a block: in packed order, back to front on the other side,
// which is packed order again.
template <class V, bool Back>
inline void recombine_both(const lane_of<V> *source, lane_of<V> *destination, tnk_int k, tnk_int m,
                           const lane_of<V> *table) {
  using R = lane_of<V>;
  const tnk_int other = m - k - (lanes<V> - 1);
  const cvec<V> g = load_parts<V>(table, table + lanes<V>);
  cvec<V> z = load_packed<V>(source + 2 * k), y = back_to_front(load_packed<V>(source + 2 * other));
  const cvec<V> difference{z.re - y.re, z.im + y.im};
  const cvec<V> t = Back ? conj_times(g, difference) : g * difference;
  z = z - t;
  y = {y.re + t.re, y.im - t.im};
  if constexpr (Back) z = R(2) * z, y = R(2) * y;
  store_packed(destination + 2 * k, z);
  store_packed(destination + 2 * other, back_to_front(y));
}

template <class R, bool Back>
void recombine_pairs(const R *source, R *destination, tnk_int m, const R *table) {
  using V = vec<R>;
  tnk_int k = 1;
  for (; k + lanes<V> <= m / 2; k += lanes<V>, table += 2 * lanes<V>)
    recombine_both<V, Back>(source, destination, k, m, table);
  for (; k < m / 2; ++k, table += 2) recombine_both<R, Back>(source, destination, k, m, table);
  if (m < 2) return;
  const R re = source[m], im = source[m + 1];
  destination[m] = Back ? 2 * re : re, destination[m + 1] = Back ? -2 * im : -im;
}

// Z to the Perm layout: frequencies 0 and M share the first place. Source and destination may be the same.
template <class R> void recombine(const R *source, R *destination, tnk_int n, const R *table) {
  const R re = source[0], im = source[1];
  recombine_pairs<R, false>(source, destination, n / 2, table);
  destination[0] = re + im, destination[1] = re - im;
}
// The Perm layout to 2 Z.
template <class R> void split_spectrum(const R *source, R *destination, tnk_int n, const R *table) {
  const R first = source[0], last = source[1];
  recombine_pairs<R, true>(source, destination, n / 2, table);
  destination[0] = first + last, destination[1] = first - last;
}
// ---- The table of g, for k from 1 to M/2 - 1: blocks in packed order as long as there are whole ones, then pairs ----

template <class R> constexpr tnk_int recombination_length(tnk_int n) { // of numbers R
  return n < 8 ? 0 : n / 2 - 2;
}
template <class R, class Root> constexpr void fill_recombination(R *table, tnk_int n, const Root &root_of) {
  using V = vec<R>;
  const auto put_both = [&](tnk_int k, R *re, R *im) {
    const cvec<R> w = root_of(k); // cos t, -sin t
    *re = (1 - w.im) / 2, *im = w.re / 2;
  };
  tnk_int k = 1;
  for (; k + lanes<V> <= n / 4; k += lanes<V>, table += 2 * lanes<V>)
    for (int lane = 0; lane < lanes<V>; ++lane)
      put_both(k + packed_order<V>[lane], table + lane, table + lanes<V> + lane);
  for (; k < n / 4; ++k, table += 2) put_both(k, table, table + 1);
}

template <class R, int N> struct Recombination {
  R value[recombination_length<R>(N) + 1] = {};
  constexpr Recombination() {
    fill_recombination(value, N, [](tnk_int k) { return root<R>(k, N); });
  }
};
template <class R, int N> constexpr Recombination<R, N> constant_recombination = {};

} // namespace tnk::signal
