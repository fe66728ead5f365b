// The matrix product by its definition, in long double, with what rounding may do to each element.
#pragma once

#include "kernel/frame/complex.h"
#include <cctype>
#include <cmath>
#include <limits>
#include <tnk/types.h>
#include <vector>

namespace tnk::reference {

struct Wide {
  long double re = 0, im = 0;
  template <class T> static Wide of(T x) {
    if constexpr (is_complex<T>)
      return {x.re, x.im};
    else
      return {x, 0};
  }
};
inline Wide operator+(Wide a, Wide b) {
  return {a.re + b.re, a.im + b.im};
}
// Reals stay reals: an infinite or NaN real factor leaves the imaginary part 0.
template <class T> Wide times(Wide a, Wide b) {
  if (!is_complex<T>) return {a.re * b.re, 0};
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
inline long double magnitude(Wide a) {
  return std::fabs(a.re) + std::fabs(a.im);
}

// A sum of products on its way: the exact value (nearly) and the sum of magnitudes |a| |b|.
struct Sum {
  Wide value;
  long double magnitude = 0;
  template <class T> void add(T a, T b) {
    value = value + times<T>(Wide::of(a), Wide::of(b));
    magnitude += reference::magnitude(Wide::of(a)) * reference::magnitude(Wide::of(b));
  }
};

// An element of C := beta C + alpha sum, and the bound on its error: each of the k products passes through at most
// k + 1 roundings, and a few more for alpha, beta and the parts of a complex number.
struct Expected {
  Wide value;
  long double bound;

  template <class T> bool holds(T x) const {
    const Wide got = Wide::of(x);
    return part_holds(got.re, value.re) && part_holds(got.im, value.im);
  }

private:
  bool part_holds(long double got, long double wanted) const {
    if (std::isnan(wanted)) return std::isnan(got);
    return got == wanted || std::fabs(got - wanted) <= bound;
  }
};
// beta = 0 takes nothing of C, whatever stands there. The same for alpha and the sum when alpha_may_skip.
template <class T> Expected updated(T alpha, Sum sum, T beta, T c, tnk_int k, bool alpha_may_skip = true) {
  constexpr long double eps = std::numeric_limits<real_of<T>>::epsilon();
  Expected e{{}, 0};
  if (!is_zero(beta)) {
    e.value = times<T>(Wide::of(beta), Wide::of(c));
    e.bound += 4 * eps * magnitude(Wide::of(beta)) * magnitude(Wide::of(c));
  }
  if (k > 0 && !(alpha_may_skip && is_zero(alpha))) {
    e.value = e.value + times<T>(Wide::of(alpha), sum.value);
    e.bound += static_cast<long double>(k + 4) * eps * magnitude(Wide::of(alpha)) * sum.magnitude;
  }
  return e;
}

inline bool is_transposed(char trans) {
  return std::toupper(trans) != 'N';
}
// Element (i, j) of op(X) as it stands in memory at x.
template <class T> T apply(char trans, T x) {
  return is_transposed(trans) && std::toupper(trans) != 'T' ? conjugate(x) : x;
}

} // namespace tnk::reference
