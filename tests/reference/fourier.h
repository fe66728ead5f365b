// Fourier transforms by their definition, in long double.
#pragma once

#include <cmath>
#include <complex>
#include <vector>

namespace tnk::reference {

using Wide = std::complex<long double>;

// exp(sign 2 pi i k / n), k below n.
inline Wide root(std::size_t k, std::size_t n, int sign) {
  const long double angle =
      2 * std::acos(-1.0L) * static_cast<long double>(k) / static_cast<long double>(n) * sign;
  return {std::cos(angle), std::sin(angle)};
}

inline std::vector<Wide> roots(std::size_t n, int sign) {
  std::vector<Wide> all(n);
  for (std::size_t k = 0; k < n; ++k) all[k] = root(k, n, sign);
  return all;
}

// y[k] = sum of x[j] exp(sign 2 pi i j k / n).
inline std::vector<Wide> transform(const std::vector<Wide> &x, int sign) {
  const std::size_t n = x.size();
  const std::vector<Wide> w = roots(n, sign);
  std::vector<Wide> y(n);
  for (std::size_t k = 0; k < n; ++k)
    for (std::size_t j = 0, turn = 0; j < n; ++j, turn = (turn + k) % n) y[k] += x[j] * w[turn];
  return y;
}

} // namespace tnk::reference
