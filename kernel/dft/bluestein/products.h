// Products of arrays of complex numbers, element by element. Arrays may stand anywhere; tables and temporaries stand on
// boundaries of 256 bytes, so that no vector of theirs straddles two lines of the cache.
#pragma once

#include "kernel/frame/vector.h"

namespace tnk::dft {

// The complex numbers of a vector in the opposite order.
inline f64x4 turned(f64x4 v) {
  return swap_halves(v);
}
inline f32x8 turned(f32x8 v) {
  return swap_pairs(swap_halves(v));
}

// into := a times b, or a times the conjugate of b. into may be a.
template <bool Conj, class C> void products(C *into, const C *a, const C *b, int64_t count) {
  using V = vec_of<C>;
  constexpr int64_t lanes = per_vector<C>;
  int64_t i = 0;
#pragma GCC unroll 4
  for (; i + lanes <= count; i += lanes) storeu(into + i, times<C, Conj>(loadu<V>(b + i), loadu<V>(a + i)));
  for (; i < count; ++i) put(into + i, (Conj ? conjugate(get(b + i)) : get(b + i)) * get(a + i));
}

// x[k] := x[k] times the conjugate of b[-k], where b has the period `count`, a multiple of 4.
template <class C> void products_conj_reverse(C *x, const C *b, int64_t count) {
  using V = vec_of<C>;
  constexpr int64_t lanes = per_vector<C>;
  x[0] = conjugate(b[0]) * x[0];
  for (int64_t k = 1; k < lanes; ++k) x[k] = conjugate(b[count - k]) * x[k];
#pragma GCC unroll 4
  for (int64_t k = lanes; k < count; k += lanes) {
    const V mirrored = turned(loadu<V>(b + count - k - lanes + 1));
    store(x + k, times<C, true>(mirrored, load<V>(x + k)));
  }
}

} // namespace tnk::dft
