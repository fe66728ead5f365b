// Euclidean norms without overflow or harmful underflow: the kernel's plain sum of squares where that is safe, which its value
// tells, and a scaled one elsewhere.
#pragma once

#include <cmath>
#include <limits>

#include "dropin/face.h"

namespace tnk::dropin {

// n real numbers, increment inc above 0.
template <class R> struct Numbers {
  tnk_int n;
  const R *first;
  tnk_int inc;
};

inline float dot(const Numbers<float> &x) {
  return behind().xsdot(&x.n, x.first, &x.inc, x.first, &x.inc);
}
inline double dot(const Numbers<double> &x) {
  return behind().xddot(&x.n, x.first, &x.inc, x.first, &x.inc);
}

// In double precision squares of single numbers are exact enough and in range.
inline double squares_in_range(const Numbers<float> &x, float) {
  return behind().dsdot(&x.n, x.first, &x.inc, x.first, &x.inc);
}
inline double squares_in_range(const Numbers<double> &x, double scale) {
  double sum = 0;
  for (tnk_int i = 0; i < x.n; ++i) {
    const double scaled = x.first[i * x.inc] * scale;
    sum += scaled * scaled;
  }
  return sum;
}

template <class R, class... N> [[gnu::cold, gnu::noinline]] R scaled_norm(R sum, const N &...x) {
  // The sum was infinite, or too small to be trusted. With this factor (of float it is not needed) the squares of the largest
  // numbers are in the middle of the range, and those that now vanish do not count beside them.
  const R up = std::is_same_v<R, float> ? R(1) : R(0x1p600), scale = sum > R(1) ? 1 / up : up;
  return static_cast<R>(std::sqrt((squares_in_range(x, scale) + ...)) / static_cast<double>(scale));
}

// Of one or two lots of numbers.
template <class R, class... N> R norm(tnk_int n, const N &...x) {
  using limits = std::numeric_limits<R>;
  const R sum = (dot(x) + ...);
  // What squares lose below the smallest normal number, 2 n of them, stays a rounding error of such a sum.
  const R least = static_cast<R>(n) * (2 * limits::min() / limits::epsilon());
  if (__builtin_expect(sum >= least && sum <= limits::max(), 1)) return std::sqrt(sum);
  return std::isnan(sum) ? sum : scaled_norm(sum, x...);
}

template <class T> real_of<T> nrm2(tnk_int n, const T *x, tnk_int inc) {
  using R = real_of<T>;
  if (n < 1 || inc < 1) return 0;
  if constexpr (is_complex<T>) {
    const R *const parts = &x->re;
    if (inc == 1) return norm<R>(n, Numbers<R>{2 * n, parts, 1});
    return norm<R>(n, Numbers<R>{n, parts, 2 * inc}, Numbers<R>{n, parts + 1, 2 * inc});
  } else {
    return norm<R>(n, Numbers<R>{n, x, inc});
  }
}

} // namespace tnk::dropin
