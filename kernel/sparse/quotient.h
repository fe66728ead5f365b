// The quotient by a pivot, of sweeps and solves, and what a row of a solve ends with.
#pragma once

#include "kernel/sparse/lanes.h"

namespace tnk::sparse {

// a / b. Complex quotients are formed in the next wider type, whose range holds the squares of all parts.
template <class T> inline T quotient(T a, T b) {
  if constexpr (is_complex<T>) {
    using W = std::conditional_t<sizeof(T) == 8, double, long double>;
    const W re = b.re, im = b.im, scale = W(1) / (re * re + im * im);
    return {static_cast<real_of<T>>((a.re * re + a.im * im) * scale),
            static_cast<real_of<T>>((a.im * re - a.re * im) * scale)};
  } else {
    return a / b;
  }
}

// What a row of a solve ends with: y := (y - sum) / pivot, without the division where the diagonal is of ones.
template <bool Unit, class T> inline void finish_element(T *y, in_lanes<T> sum, T pivot) {
  T rest;
  deposit(&rest, fetch(y) - sum);
  if constexpr (!Unit) rest = quotient(rest, pivot);
  put(y, rest);
}

} // namespace tnk::sparse
