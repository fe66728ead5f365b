// How the streaming kernels walk their vectors: a schedule of steps; a kernel says what one step does.
#pragma once

#include "kernel/frame/vector.h"
#include <algorithm>

namespace tnk::level1 {

// Bytes of the first-level cache: two vectors that together take less stay in it.
constexpr tnk_int cache_bytes = 32768;

// Both increments 1, or both -1: the same elements of x and y meet, so one forward pass serves either.
inline bool is_contiguous(tnk_int incx, tnk_int incy) {
  return incx == incy && (incx == 1 || incx == -1);
}

// Elements 0 ... n-1 in order: `peel` of them by one(i), then Vectors * Lanes elements at a time by pass(i),
// then Lanes by vector(i), then the rest by one(i). `ahead`: how many elements beyond its own a vector step
// reads; it is given only places where these exist.
template <int Vectors, int Lanes, class One, class Vector, class Pass>
inline void in_passes(tnk_int n, tnk_int peel, tnk_int ahead, One one, Vector vector, Pass pass) {
  constexpr tnk_int block = Vectors * Lanes;
  tnk_int i = 0;
  for (; i < peel; ++i) one(i);
  for (; i + block + ahead <= n; i += block) pass(i);
  for (; i + Lanes + ahead <= n; i += Lanes) vector(i);
  for (; i < n; ++i) one(i);
}

// The same with a pass that is a row of vector steps.
template <int Vectors, int Lanes, class One, class Vector>
inline void in_passes(tnk_int n, tnk_int peel, tnk_int ahead, One one, Vector vector) {
  in_passes<Vectors, Lanes>(n, peel, ahead, one, vector, [&](tnk_int i) {
    for (int j = 0; j < Vectors * Lanes; j += Lanes) vector(i + j);
  });
}

// Elements 0 ... n-1 in order by one(i), `Unroll` a pass.
template <int Unroll, class One> inline void one_by_one(tnk_int n, One one) {
  tnk_int i = 0;
  for (; i + Unroll <= n; i += Unroll)
    for (int j = 0; j < Unroll; ++j) one(i + j);
  for (; i < n; ++i) one(i);
}

// A vector of elements to be multiplied: complex ones are used twice and loaded once.
template <class T> inline vec_of<T> load_elements(const T *p) {
  const auto v = loadu<vec_of<T>>(p);
  if constexpr (is_complex<T>)
    return in_register(v);
  else
    return v;
}

} // namespace tnk::level1
