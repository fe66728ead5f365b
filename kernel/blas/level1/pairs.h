// Sweeps over the pairs (x[i], y[i]) of two vectors that are rewritten together, as the rotations do. The
// operation comes as step(u, v), which replaces both; it must take single elements as well as vectors of them.
// Each pair depends on itself alone, so how many go at once does not change a result.
#pragma once

#include "kernel/frame/vector.h"

namespace tnk::level1 {

template <class V, class T, class Step> inline void step_at(T *x, T *y, Step step) {
  V u = loadu<V>(x), v = loadu<V>(y);
  step(u, v);
  storeu(x, u);
  storeu(y, v);
}

// Any two increments, one pair after the other: with an increment of 0 each sees what the one before it left.
template <class T, class Step>
inline void each_pair(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy, Step step) {
  if (n < 1) return;
  x = first_element(x, n, incx);
  y = first_element(y, n, incy);
  for (tnk_int i = 0; i < n; ++i) step_at<T>(x + i * incx, y + i * incy, step);
}

// Both increments 1, by vectors V. Scalars first bring x to a boundary of V where that can be done; y then
// stands as it may. Four vectors of each operand a pass keep the loop overhead out of the way of the stores,
// the limit here.
template <class V, class T, class Step> inline void each_unit_pair(tnk_int n, T *x, T *y, Step step) {
  constexpr tnk_int width = sizeof(V) / sizeof(T), pass = 4 * width;
  tnk_int i = 0;
  if (is_aligned_to(x, sizeof(T)))
    for (; i < n && !is_aligned_to(x + i, sizeof(V)); ++i) step_at<T>(x + i, y + i, step);
  for (; i + pass <= n; i += pass) {
#pragma GCC unroll 4
    for (tnk_int k = 0; k < pass; k += width) step_at<V>(x + i + k, y + i + k, step);
  }
  for (; i + width <= n; i += width) step_at<V>(x + i, y + i, step);
  for (; i < n; ++i) step_at<T>(x + i, y + i, step);
}

} // namespace tnk::level1
