// How transforms meet arrays: complex numbers in pairs or by part. element<V>(lane) tells which element of a register's
// worth comes in that lane.
#pragma once

#include "kernel/frame/transpose.h"
#include "kernel/signal/butterfly.h"

namespace tnk::signal {

// Vectors of R with that many lanes.
template <class R, int Lanes> struct vector_with { using type = vec<R>; };
template <class R> struct vector_with<R, 1> { using type = R; };
template <> struct vector_with<double, 2> { using type = f64x2; };
template <> struct vector_with<float, 4> { using type = f32x4; };
template <class R, int Lanes> using vector_of = typename vector_with<R, Lanes>::type;

// The last `bits` bits of k back to front.
constexpr int reversed(int k, int bits) {
  int r = 0;
  for (int i = 0; i < bits; ++i) r |= (k >> i & 1) << (bits - 1 - i);
  return r;
}
constexpr int log2_of(int n) {
  return n < 2 ? 0 : 1 + log2_of(n / 2);
}

// An array of pairs. P: a pointer to its real numbers, const for sources. Inverse: the parts change places on the way.
template <class P, bool Inverse> struct pairs {
  P p;
  pairs at(tnk_int k) const { return {p + 2 * k}; }
  template <class V> static constexpr int element(int lane) { return packed_order<V>[lane]; }
  template <class V> cvec<V> load(tnk_int k) const { return swapped<Inverse>(load_packed<V>(p + 2 * k)); }
  template <class V> void store(tnk_int k, cvec<V> z) const { store_packed(p + 2 * k, swapped<Inverse>(z)); }
};

// Arrays by part. An inverse transform gives them in exchanged places.
template <class P> struct parts {
  P re, im;
  parts at(tnk_int k) const { return {re + k, im + k}; }
  template <class V> static constexpr int element(int lane) { return lane; }
  template <class V> cvec<V> load(tnk_int k) const { return load_parts<V>(re + k, im + k); }
  template <class V> void store(tnk_int k, cvec<V> z) const { store_parts(re + k, im + k, z); }
};

// What stands between passes: a register of real parts, then one of imaginary parts, in any order of lanes. k is a
// multiple of the lanes. A block of vectors is a line of the cache.
template <class R> struct blocks {
  R *p;
  template <class V> cvec<V> load(tnk_int k) const { return load_parts<V>(p + 2 * k, p + 2 * k + lanes<V>); }
  template <class V> void store(tnk_int k, cvec<V> z) const {
    store_parts(p + 2 * k, p + 2 * k + lanes<V>, z);
  }
};

// Lane j of row i becomes lane i of row j.
inline void transpose_square(f64x2 (&r)[2]) {
  const f64x2 low = low_in_turn(r[0], r[1]);
  r[1] = high_in_turn(r[0], r[1]), r[0] = low;
}
inline void transpose_square(f64x4 (&r)[4]) {
  transpose(r[0], r[1], r[2], r[3]);
}
inline void transpose_square(f32x4 (&r)[4]) {
  transpose(r[0], r[1], r[2], r[3]);
}
inline void transpose_square(f32x8 (&r)[8]) {
  transpose_halves(r[0], r[1], r[2], r[3]);
  transpose_halves(r[4], r[5], r[6], r[7]);
  for (int i = 0; i < 4; ++i) {
    const f32x8 low = low_halves(r[i], r[i + 4]);
    r[i + 4] = high_halves(r[i], r[i + 4]), r[i] = low;
  }
}

// row(l) gives row l of a square of complex numbers, column(j, z) takes column j.
template <class V, class Row, class Column>
inline TNK_INLINED void transposed(const Row &row, const Column &column) {
  V re[lanes<V>], im[lanes<V>];
  unrolled<lanes<V>>([&](auto l) TNK_INLINED {
    const cvec<V> z = row(l);
    re[l] = z.re, im[l] = z.im;
  });
  transpose_square(re);
  transpose_square(im);
  unrolled<lanes<V>>([&](auto j) TNK_INLINED { column(j, cvec<V>{re[j], im[j]}); });
}

} // namespace tnk::signal
