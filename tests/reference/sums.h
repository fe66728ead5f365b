// Inner products, norms, sums and searches from their definitions, in long double.
#pragma once

#include <cmath>
#include <tnk/types.h>
#include <type_traits>

namespace tnk::test::reference {

using wide = long double;

template <class T> constexpr bool is_pair = !std::is_floating_point_v<T>;

template <class T> wide re(T a) {
  if constexpr (is_pair<T>)
    return a.re;
  else
    return a;
}
template <class T> wide im(T a) {
  if constexpr (is_pair<T>)
    return a.im;
  else
    return 0;
}
template <class T> wide magnitude(T a) {
  return std::fabs(re(a)) + std::fabs(im(a));
}

// An inner product that grows by one pair of elements at a time. `size` is the sum of the magnitudes of all
// products, by which an error is measured.
struct InnerProduct {
  bool conjugate = false;
  wide re = 0, im = 0, size = 0;

  template <class T> void add(T x, T y) {
    const wide a = reference::re(x), b = conjugate ? -reference::im(x) : reference::im(x);
    const wide c = reference::re(y), d = reference::im(y);
    re += a * c - b * d;
    im += a * d + b * c;
    size += (std::fabs(a) + std::fabs(b)) * (std::fabs(c) + std::fabs(d));
  }
};

// Vectors have get(i), their logical element i, and n().
template <class Vector> wide norm(const Vector &x) {
  wide sum = 0;
  for (tnk_int i = 0; i < x.n(); ++i) sum += re(x.get(i)) * re(x.get(i)) + im(x.get(i)) * im(x.get(i));
  return std::sqrt(sum);
}

template <class Vector> wide sum_of_magnitudes(const Vector &x) {
  wide sum = 0;
  for (tnk_int i = 0; i < x.n(); ++i) sum += magnitude(x.get(i));
  return sum;
}

// One-based position of the first extreme magnitude among the elements after the last NaN, or of the last NaN
// when nothing follows it: a NaN wipes out what came before it, and yields to anything.
template <class Vector> tnk_int extreme(const Vector &x, bool largest) {
  tnk_int first = 0;
  for (tnk_int i = 0; i < x.n(); ++i)
    if (std::isnan(magnitude(x.get(i)))) first = i + 1;
  if (first == x.n()) return first;
  wide best = magnitude(x.get(first));
  for (tnk_int i = first; i < x.n(); ++i)
    best = largest ? std::fmax(best, magnitude(x.get(i))) : std::fmin(best, magnitude(x.get(i)));
  while (magnitude(x.get(first)) != best) ++first;
  return first + 1;
}

} // namespace tnk::test::reference
