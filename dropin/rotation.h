// Plane rotations that overflow or underflow only where their result does. After Anderson, "Algorithm 978: Safe scaling in the
// level 1 BLAS", ACM TOMS 44 (2017), in the signs and the marker z that are published.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "dropin/face.h"

namespace tnk::dropin {

// (a, b) becomes (r, z).
template <class R> void rotg(R *a, R *b, R *c, R *s) {
  const R size_a = std::abs(*a), size_b = std::abs(*b);
  if (size_b == 0) {
    *c = 1;
    *s = *b = 0;
    return;
  }
  if (size_a == 0) {
    *c = 0;
    *s = 1;
    *a = *b;
    *b = 1;
    return;
  }
  // The larger one as a factor, kept where its reciprocal is a normal number.
  constexpr R least = std::numeric_limits<R>::min(), most = 1 / least;
  const R factor = std::min(most, std::max(least, std::max(size_a, size_b)));
  const R p = *a / factor, q = *b / factor;
  // By the scaled numbers also where r has lost digits below the smallest normal number.
  const R h = std::copysign(std::sqrt(p * p + q * q), size_a > size_b ? *a : *b);
  *c = p / h;
  *s = q / h;
  *b = size_a > size_b ? *s : *c != 0 ? 1 / *c : R(1);
  *a = factor * h;
}

// A complex number as (re, im) 2^exponent, the larger part from 1/2 to 1.
template <class R> struct Scaled {
  R re, im;
  int exponent;

  template <class T> explicit Scaled(const T &z) {
    std::frexp(std::max(std::abs(z.re), std::abs(z.im)), &exponent);
    re = std::ldexp(z.re, -exponent);
    im = std::ldexp(z.im, -exponent);
  }
  R size() const { return std::sqrt(re * re + im * im); }
};

// a becomes r, whose direction is that of a; b stays.
template <class T, class R> void rotg(T *a, const T *b, R *c, T *s) {
  const bool no_b = b->re == 0 && b->im == 0, no_a = a->re == 0 && a->im == 0;
  if (no_b) {
    *c = 1;
    *s = T{0, 0};
    return;
  }
  const Scaled<R> g(*b);
  const R size_g = g.size();
  if (no_a) {
    *c = 0;
    *s = T{g.re / size_g, -g.im / size_g};
    *a = T{std::ldexp(size_g, g.exponent), 0};
    return;
  }
  const Scaled<R> f(*a);
  const R size_f = f.size(), re = f.re / size_f, im = f.im / size_f;
  // Both lengths in units of the larger one's power of two.
  const int unit = std::max(f.exponent, g.exponent);
  const R p = std::ldexp(size_f, f.exponent - unit), q = std::ldexp(size_g, g.exponent - unit);
  const R h = std::sqrt(p * p + q * q), t = q / (h * size_g);
  *c = p / h;
  *s = T{(g.re * re + g.im * im) * t, (g.re * im - g.im * re) * t};
  *a = T{std::ldexp(h * re, unit), std::ldexp(h * im, unit)};
}

} // namespace tnk::dropin
