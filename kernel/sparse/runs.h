// Runs of elements that lie side by side, a 256-bit vector at a time.
#pragma once

#include "kernel/sparse/lanes.h"

namespace tnk::sparse {

// How many elements a run has: whole vectors, and the start of one more. A number of elements below 1 makes no run.
template <class T, class I> struct Run {
  I whole;
  vector_start rest;
};
template <class T, class I> inline Run<T, I> run_of(I count) {
  if (count < 0) count = 0;
  return {count / per_vector<T> * per_vector<T>, start_of<T>(count % per_vector<T>)};
}

// y += a * x, the one a for all.
template <class T, class I> inline void add_multiple(const Run<T, I> &run, vec_of<T> a, const T *x, T *y) {
  using V = vec_of<T>;
#pragma GCC unroll 4
  for (I k = 0; k < run.whole; k += per_vector<T>)
    storeu(y + k, loadu<V>(y + k) + times<T>(a, loadu<V>(x + k)));
  if (run.rest.bytes != 0) {
    T *const tail = y + run.whole;
    const V x_tail = load_first<V>(x + run.whole, run.rest);
    store_first(tail, load_first<V>(tail, run.rest) + times<T>(a, x_tail), run.rest);
  }
}

// The sum of a * x.
template <class T, class I> inline in_lanes<T> sum_of_products(const Run<T, I> &run, const T *a, const T *x) {
  using V = vec_of<T>;
  V sum{};
  for (I k = 0; k < run.whole; k += per_vector<T>) sum += times<T>(loadu<V>(a + k), loadu<V>(x + k));
  if (run.rest.bytes != 0)
    sum += times<T>(load_first<V>(a + run.whole, run.rest), load_first<V>(x + run.whole, run.rest));
  return sum_of_vector<T>(sum);
}

} // namespace tnk::sparse
