// Solves with the factors of a tridiagonal matrix that was eliminated with row interchanges: A = L U, U with two
// diagonals above the main one.
#pragma once

#include "kernel/lapack_ps/groups.h"

namespace tnk::lapack {

// U x = b, from the last row upwards. du: first diagonal above, du2: second.
template <class T, class B> inline void solve_upper(tnk_int n, const T *d, const T *du, const T *du2, B b) {
  auto below = b.get(n - 1) / Divisor<T>(get(d + n - 1));
  b.put(n - 1, below);
  if (n < 2) return;
  auto x = (b.get(n - 2) - get(du + n - 2) * below) / Divisor<T>(get(d + n - 2));
  b.put(n - 2, x);
  for (tnk_int i = n - 3; i >= 0; --i) {
    const auto next = (b.get(i) - get(du + i) * x - get(du2 + i) * below) / Divisor<T>(get(d + i));
    b.put(i, next);
    below = x;
    x = next;
  }
}

} // namespace tnk::lapack
