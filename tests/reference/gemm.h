// The matrix product by its definition, with what rounding may do to each element.
#pragma once

#include "kernel/frame/complex.h"
#include "reference/sums.h"
#include <limits>

namespace tnk::reference {

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
