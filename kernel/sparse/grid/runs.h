// Runs of elements that lie side by side, a 256-bit vector at a time.
#pragma once

#include "kernel/sparse/grid/row.h"

namespace tnk {

template <class T> inline side_by_side<T> in_every_element(in_lanes<T> v) {
  if constexpr (std::is_same_v<T, tnk_complex8>) {
    const double pair = reinterpret_cast<f64x2>(v)[0];
    return reinterpret_cast<f32x8>(f64x4{pair, pair, pair, pair});
  } else if constexpr (is_complex<T>) {
    return f64x4{v[0], v[1], v[0], v[1]};
  } else {
    return splat<side_by_side<T>>(v);
  }
}
// The sum of the elements of a vector.
template <class T> inline in_lanes<T> sum_of_group(side_by_side<T> v) {
  return sum_of<T>(low_half(v) + high_half(v));
}

// How many elements a run has: whole vectors, and bytes of one more. A number of elements below 1 makes no run.
template <class T, class I> struct Run {
  I whole;
  int rest;
  i32x8 mask;
};
template <class T, class I> inline Run<T, I> run_of(I count) {
  if (count < 0) count = 0;
  const int rest = static_cast<int>(count % per_group<T>) * static_cast<int>(sizeof(T));
  return {count / per_group<T> * per_group<T>, rest, first_bytes(rest)};
}

// y += a * x, the one a for all.
template <class T, class I>
inline void add_multiple(const Run<T, I> &run, side_by_side<T> a, const T *x, T *y) {
  using V = side_by_side<T>;
#pragma GCC unroll 4
  for (I k = 0; k < run.whole; k += per_group<T>)
    storeu(y + k, loadu<V>(y + k) + times<T>(a, loadu<V>(x + k)));
  if (run.rest != 0) {
    T *const tail = y + run.whole;
    const V x_tail = load_first<V>(x + run.whole, run.mask);
    store_first(tail, load_first<V>(tail, run.mask) + times<T>(a, x_tail), run.rest);
  }
}

// The sum of a * x.
template <class T, class I> inline in_lanes<T> sum_of_products(const Run<T, I> &run, const T *a, const T *x) {
  using V = side_by_side<T>;
  V sum{};
  for (I k = 0; k < run.whole; k += per_group<T>) sum += times<T>(loadu<V>(a + k), loadu<V>(x + k));
  if (run.rest != 0)
    sum += times<T>(load_first<V>(a + run.whole, run.mask), load_first<V>(x + run.whole, run.mask));
  return sum_of_group<T>(sum);
}

// Columns of x and y that are worked on together.
template <class T, int R> struct Vectors {
  const T *x[R];
  T *y[R];
};

// body(number of columns as a constant, first of them), for columns first ... last - 1: Most at a time, a power of 2, and
// what is left in halves of that.
template <int Most, class I, class Body>
[[gnu::always_inline]] inline void each_group_of(I first, I last, Body body) {
  I column = first;
  for (; last - column >= Most; column += Most) body(std::integral_constant<int, Most>(), column);
  if constexpr (Most > 1) each_group_of<Most / 2>(column, last, body);
}

} // namespace tnk
