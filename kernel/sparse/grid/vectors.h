// Several right-hand sides that are columns, worked on together.
#pragma once

#include "kernel/frame/unroll.h"
#include <type_traits>

namespace tnk::sparse {

// Columns of x and y that are worked on together.
template <class T, int R> struct Vectors {
  const T *x[R];
  T *y[R];
};

// body(number of columns as a constant, first of them), for columns first ... last - 1: Most at a time, a power of 2, and
// what is left in halves of that.
template <int Most, class I, class Body> TNK_INLINE void each_group_of(I first, I last, Body body) {
  I column = first;
  for (; last - column >= Most; column += Most) body(std::integral_constant<int, Most>(), column);
  if constexpr (Most > 1) each_group_of<Most / 2>(column, last, body);
}

} // namespace tnk::sparse
