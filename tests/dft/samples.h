// Transforms too long to be summed up whole: numbers without order, and some places of their spectrum by definition.
#pragma once

#include "reference/fourier.h"
#include <algorithm>
#include <cstring>
#include <limits>
#include <tnk/dfti.h>

namespace tnk::test {

using reference::Wide;
template <class R> constexpr bool is_single = sizeof(R) == 4;
template <class R> using Complex = std::conditional_t<is_single<R>, tnk_complex8, tnk_complex16>;
template <class R> constexpr int32_t precision = is_single<R> ? DftiSingle : DftiDouble;

// Without any order, so that no frequency stands out, whose errors would.
template <class R> Complex<R> number(std::size_t i) {
  const auto part = [](std::size_t k) {
    k *= 0x9E3779B97F4A7C15, k ^= k >> 31, k *= 0xBF58476D1CE4E5B9;
    return static_cast<R>(k >> 52) / 2048 - 1;
  };
  return {part(2 * i + 1), part(2 * i + 2)};
}
template <class R> std::vector<Complex<R>> numbers(tnk_int n, int from = 0) {
  std::vector<Complex<R>> x(static_cast<std::size_t>(n));
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = number<R>(static_cast<std::size_t>(from) + i);
  return x;
}
template <class C> Wide wide(C z) {
  return {z.re, z.im};
}
template <class C> bool same_bits(const std::vector<C> &a, const std::vector<C> &b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(C)) == 0;
}

// Roots of unity, of large orders by two tables.
class Roots {
public:
  explicit Roots(std::size_t n) : n_(n), low_(std::min(n, step)), high_(n / step + 1) {
    for (std::size_t i = 0; i < low_.size(); ++i) low_[i] = reference::root(i, n, -1);
    for (std::size_t i = 0; i < high_.size(); ++i) high_[i] = reference::root(i * step % n, n, -1);
  }
  Wide operator()(std::size_t k) const {
    return n_ <= step ? low_[k % n_] : high_[k % n_ / step] * low_[k % n_ % step];
  }

private:
  static constexpr std::size_t step = 1 << 15;
  std::size_t n_;
  std::vector<Wide> low_, high_;
};

// Some numbers of a spectrum: both ends, where slices and bundles end unevenly, and the middle.
template <class R> struct Samples {
  std::vector<std::size_t> places;
  std::vector<Wide> sums;
  long double norm = 0; // of the whole spectrum, a number's share

  Samples(const std::vector<Complex<R>> &x, bool backward, std::size_t ends, std::size_t between) {
    const std::size_t n = x.size();
    const Roots root(n);
    for (std::size_t k = 0; k < n;
         k += k < ends || k + ends >= n ? 1 : std::min(n / between + 1, n - k - ends)) {
      places.push_back(k), sums.push_back(0);
      for (std::size_t i = 0; i < n; ++i)
        sums.back() += wide(x[i]) * (backward ? std::conj(root(i * k)) : root(i * k));
    }
    for (const auto &z : x) norm += std::norm(wide(z));
    norm = std::sqrt(norm);
  }
  // Root mean square, relative to the norm, in eps; `y` may go on behind the spectrum.
  double error(const std::vector<Complex<R>> &y, R factor) const {
    long double square = 0;
    for (std::size_t i = 0; i < places.size(); ++i)
      square += std::norm(wide(y[places[i]]) / static_cast<long double>(factor) - sums[i]);
    return static_cast<double>(std::sqrt(square / static_cast<long double>(places.size())) / norm /
                               std::numeric_limits<R>::epsilon());
  }
};

} // namespace tnk::test
