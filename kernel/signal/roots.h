// Roots of unity at compile time, to full precision.
#pragma once

#include "kernel/signal/complex.h"

namespace tnk::signal {

constexpr long double pi = 3.14159265358979323846264338327950288L;

// Sine and cosine of x from 0 to pi/4, by their series: the terms left out are below 2^-70.
constexpr long double series(long double x, long double term, int power) {
  long double sum = 0;
  for (; power < 24; power += 2) {
    sum += term;
    term *= -x * x / ((power + 1) * (power + 2));
  }
  return sum;
}
constexpr long double small_sine(long double x) {
  return series(x, x, 1);
}
constexpr long double small_cosine(long double x) {
  return series(x, 1, 0);
}

// exp(-2 pi i k / n), k >= 0. The angle is brought into the first octant as an integer, so that quarters and halves are
// exact and roots that mirror one another are equal.
template <class R> constexpr cvec<R> root(long k, long n) {
  const long octant = 8 * (k % n) / n, rest = 8 * (k % n) % n;
  const long double x = pi / 4 * (octant % 2 == 0 ? rest : n - rest) / n;
  long double cosine = small_cosine(x), sine = small_sine(x);
  if ((octant + 1) % 4 >= 2) { // octants 1, 2, 5, 6: mirrored at the diagonal
    const long double other = cosine;
    cosine = sine, sine = other;
  }
  if (octant >= 2 && octant < 6) cosine = -cosine;
  if (octant >= 4) sine = -sine;
  return {static_cast<R>(cosine), static_cast<R>(0 - sine)};
}

} // namespace tnk::signal
