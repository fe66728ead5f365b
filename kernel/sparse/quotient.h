// The quotient by a pivot, of sweeps and solves.
#pragma once

#include "kernel/frame/element.h"

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

} // namespace tnk::sparse
