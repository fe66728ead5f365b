// Oracles of the sparse-vector kernels: one element after the other, positions counted from one.
#pragma once

#include "reference/pairs.h"
#include <cmath>
#include <vector>

namespace tnk::reference {

// A sum of products in long double, with the sum of magnitudes that bounds the error of any order of
// summation.
struct DotSum {
  long double re = 0, im = 0, magnitude = 0;
};

template <class T>
DotSum sparse_dot(const std::vector<T> &x, const std::vector<tnk_int> &indx, const std::vector<T> &y,
                  bool conjugate) {
  DotSum sum;
  for (std::size_t i = 0; i < x.size(); ++i) {
    const T b = y[static_cast<std::size_t>(indx[i] - 1)];
    long double a_re, a_im = 0, b_re, b_im = 0;
    if constexpr (std::is_floating_point_v<T>) {
      a_re = x[i], b_re = b;
    } else {
      a_re = x[i].re, b_re = b.re, b_im = b.im;
      a_im = conjugate ? -static_cast<long double>(x[i].im) : x[i].im;
    }
    sum.re += a_re * b_re - a_im * b_im;
    sum.im += a_re * b_im + a_im * b_re;
    sum.magnitude += (std::fabs(a_re) + std::fabs(a_im)) * (std::fabs(b_re) + std::fabs(b_im));
  }
  return sum;
}

} // namespace tnk::reference
