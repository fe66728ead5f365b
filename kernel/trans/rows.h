// Work along rows, a vector at a time where the row that is written allows it.
#pragma once

#include "kernel/frame/unroll.h"
#include "kernel/frame/vector.h"
#include "kernel/trans/letters.h"

namespace tnk::trans {

// The even lanes of one, the odd ones of the other.
template <class V> inline V alternately(V even, V odd) {
  if constexpr (sizeof(even) / sizeof(even[0]) == 8)
    return __builtin_shufflevector(even, odd, 0, 9, 2, 11, 4, 13, 6, 15);
  else if constexpr (sizeof(even) / sizeof(even[0]) == 4)
    return __builtin_shufflevector(even, odd, 0, 5, 2, 7);
  else
    return __builtin_shufflevector(even, odd, 0, 3);
}

// One element, or all elements of a vector of T, conjugated or not. 0 - im, so that both zeros become +0.
template <bool Conj, class T, class X> inline X conjugated_if(X x) {
  if constexpr (!Conj || !is_complex<T>)
    return x;
  else if constexpr (std::is_same_v<X, T>)
    return conjugate(x);
  else
    return alternately(x, X{} - x);
}

// Elements 0 ... n - 1 of a row in order: `Pass` of them at a time by vector(i) once `written` has come to a boundary of
// vectors, the others by one(i). A row that never comes to one, or that is too short, goes one by one.
template <int Pass, class T, class One, class Vector>
inline void in_passes(count n, const T *written, const One &one, const Vector &vector) {
  count i = 0;
  if (is_aligned_to(written, sizeof(T))) {
    const count peel = (0 - address(written)) % 32 / sizeof(T);
    if (n >= peel + Pass) {
      for (; i < peel; ++i) one(i);
      for (; i + Pass <= n; i += Pass)
        unrolled<Pass / per_vector<T>>([&](auto k) TNK_INLINED { vector(i + k * per_vector<T>); });
    }
  }
  for (; i < n; ++i) one(i);
}

// b := alpha a or alpha conj(a), for n elements side by side; b may be a.
template <bool Conj, int Pass, class T> inline void scale_row(count n, T alpha, const T *a, T *b) {
  in_passes<Pass>(
      n, b, [=](count i) { put(b + i, alpha * conjugated_if<Conj, T>(get(a + i))); },
      [=](count i) TNK_INLINED {
        storeu(b + i, scaled(alpha, conjugated_if<Conj, T>(in_register(loadu<vec_of<T>>(a + i)))));
      });
}

} // namespace tnk::trans
