// Inner products, norms, sums, searches and elements of matrix products from their definitions, in long double. Vectors
// have get(i), their logical element i, and n().
#pragma once

#include "kernel/frame/element.h"
#include "reference/arithmetic.h"
#include <limits>

namespace tnk::reference {

using wide = long double;

// A result, real or complex, and the sum of magnitudes by which its error is measured.
struct Sum {
  wide re = 0, im = 0, size = 0;
};

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

// One more product of an inner product. None with the part that a real number lacks: 0 times infinity is a NaN.
template <class T> void add_product(Sum &sum, T x, T y, bool conjugate) {
  const wide a = re(x), b = conjugate ? -im(x) : im(x), c = re(y), d = im(y);
  sum.re += is_pair<T> ? a * c - b * d : a * c;
  if (is_pair<T>) sum.im += a * d + b * c;
  sum.size += magnitude(x) * magnitude(y);
}
template <class X> Sum dot(const X &x, const X &y, bool conjugate) {
  Sum sum;
  for (tnk_int i = 0; i < x.n(); ++i) add_product(sum, x.get(i), y.get(i), conjugate);
  return sum;
}

template <class X> Sum norm(const X &x) {
  wide sum = 0;
  for (tnk_int i = 0; i < x.n(); ++i) sum += re(x.get(i)) * re(x.get(i)) + im(x.get(i)) * im(x.get(i));
  return {std::sqrt(sum), 0, std::sqrt(sum)};
}

template <class X> Sum sum_of_magnitudes(const X &x) {
  wide sum = 0;
  for (tnk_int i = 0; i < x.n(); ++i) sum += magnitude(x.get(i));
  return {sum, 0, sum};
}

// One-based position of the first extreme magnitude among the elements after the last NaN, or of the last NaN when
// nothing follows it: a NaN wipes out what came before it, and yields to anything. 0 without a positive increment.
template <class X> Sum extreme(const X &x, bool largest) {
  if (x.n() < 1 || x.inc() < 1) return {};
  tnk_int first = 0;
  for (tnk_int i = 0; i < x.n(); ++i)
    if (std::isnan(magnitude(x.get(i)))) first = i + 1;
  if (first == x.n()) return {static_cast<wide>(first)};
  wide best = magnitude(x.get(first));
  for (tnk_int i = first; i < x.n(); ++i)
    best = largest ? std::fmax(best, magnitude(x.get(i))) : std::fmin(best, magnitude(x.get(i)));
  while (magnitude(x.get(first)) != best) ++first;
  return {static_cast<wide>(first + 1)};
}

// An element of beta C + alpha sum; its size is the bound on the error: each of the k products passes through at most
// k + 1 roundings, and a few more for alpha, beta and the parts of a complex number. beta = 0 takes nothing of C,
// whatever stands there, alpha = 0 nothing of the sum.
template <class T> Sum updated(T alpha, const Sum &sum, T beta, T c, tnk_int k) {
  constexpr wide eps = std::numeric_limits<Real<T>>::epsilon();
  Sum e;
  if (!is_zero(beta)) add_product(e, beta, c, false);
  e.size *= 4 * eps;
  if (k > 0 && !is_zero(alpha)) {
    e.re += re(alpha) * sum.re - im(alpha) * sum.im;
    if (is_pair<T>) e.im += re(alpha) * sum.im + im(alpha) * sum.re;
    e.size += static_cast<wide>(k + 4) * eps * magnitude(alpha) * sum.size;
  }
  return e;
}
template <class T> bool holds(const Sum &expected, T x) {
  const auto part = [&](wide got, wide wanted) {
    if (std::isnan(wanted)) return std::isnan(got);
    return got == wanted || std::fabs(got - wanted) <= expected.size;
  };
  return part(re(x), expected.re) && part(im(x), expected.im);
}

} // namespace tnk::reference
