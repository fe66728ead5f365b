// The position of the element of largest magnitude, from 1, as published where there are NaN: one that comes first is never
// exceeded, and others exceed nothing. The kernels take a NaN for the best until the next element.
#pragma once

#include <cmath>

#include "dropin/face.h"

namespace tnk::dropin {

template <class T> real_of<T> magnitude(const T &a) {
  if constexpr (is_complex<T>)
    return std::abs(a.re) + std::abs(a.im);
  else
    return std::abs(a);
}

// sum and position: the kernels for the sum of magnitudes, which is NaN where one of them is, and for the position.
template <class T, class Sum, class Position>
tnk_int largest(Sum *sum, Position *position, tnk_int n, const T *x, tnk_int inc) {
  if (n < 1 || inc < 1) return 0;
  if (!std::isnan(sum(&n, x, &inc))) return position(&n, x, &inc);
  tnk_int best = 0;
  for (tnk_int i = 1; i < n; ++i)
    if (magnitude(x[i * inc]) > magnitude(x[best * inc])) best = i;
  return best + 1;
}

} // namespace tnk::dropin
