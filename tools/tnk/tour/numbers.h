// What scenes compute with, and judge by.
#pragma once

#include <cstddef>
#include <limits>
#include <tnk/blas.h>
#include <vector>

namespace tnk::tool {

constexpr tnk_int one = 1; // the increment

constexpr double roundoff = std::numeric_limits<double>::epsilon() / 2;

// The largest of some errors, 0 before there are any. A NaN is larger than all numbers, whatever comes after it.
class Worst {
public:
  void take(double error) {
    if (value_ == value_ && !(error <= value_)) value_ = error;
  }
  double value() const { return value_; }

private:
  double value_ = 0;
};

inline double dot(std::size_t n, const double *x, const double *y) {
  const auto count = static_cast<tnk_int>(n);
  return tnk_blas_ddot(&count, x, &one, y, &one);
}

inline double dot(const std::vector<double> &x, const std::vector<double> &y) {
  return dot(x.size(), x.data(), y.data());
}

} // namespace tnk::tool
