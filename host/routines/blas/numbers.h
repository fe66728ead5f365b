// Arithmetic of the element types in the host: for the corners of matrices that are too small for a kernel.
#pragma once

#include "host/routines/element.h"
#include <tnk/types.h>

namespace tnk::host {

template <class C, class = decltype(C::re)> C operator+(C a, C b) {
  return {a.re + b.re, a.im + b.im};
}
template <class C, class = decltype(C::re)> C operator-(C a, C b) {
  return {a.re - b.re, a.im - b.im};
}
template <class C, class = decltype(C::re)> C operator*(C a, C b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class C> C operator*(decltype(C::re) a, C b) {
  return {a * b.re, a * b.im};
}

// R. L. Smith, "Algorithm 116: Complex division", CACM 5 (1962): no square of a part is formed, which could overflow.
template <class C, class = decltype(C::re)> C operator/(C a, C b) {
  const auto magnitude = [](auto x) { return x < 0 ? -x : x; };
  if (magnitude(b.re) >= magnitude(b.im)) {
    const auto ratio = b.im / b.re, divisor = b.re + b.im * ratio;
    return {(a.re + a.im * ratio) / divisor, (a.im - a.re * ratio) / divisor};
  }
  const auto ratio = b.re / b.im, divisor = b.im + b.re * ratio;
  return {(a.re * ratio + a.im) / divisor, (a.im * ratio - a.re) / divisor};
}

template <class T> T conjugate(T a) {
  if constexpr (is_complex<T>)
    return {a.re, -a.im};
  else
    return a;
}
template <bool Conjugated, class T> T conjugate_if(T a) {
  return Conjugated ? conjugate(a) : a;
}
template <class T> real_of<T> real_part_of(T a) {
  if constexpr (is_complex<T>)
    return a.re;
  else
    return a;
}

} // namespace tnk::host
