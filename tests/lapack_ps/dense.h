// Small dense matrices in wide complex arithmetic, from which the tests of factors are put together.
#pragma once

#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

#include "reference/sums.h"

namespace tnk::test {

using Wide = std::complex<long double>;

template <class T> Wide wide(T a) {
  return {reference::re(a), reference::im(a)};
}
inline long double size_of(Wide a) {
  return std::fabs(a.real()) + std::fabs(a.imag());
}
template <class T> constexpr long double eps = std::numeric_limits<reference::Real<T>>::epsilon();

struct Dense {
  tnk_int rows, columns;
  std::vector<Wide> elements;

  Dense(tnk_int m, tnk_int n) : rows(m), columns(n), elements(static_cast<std::size_t>(m * n)) {}
  Wide &operator()(tnk_int i, tnk_int j) { return elements[static_cast<std::size_t>(i + j * rows)]; }
  const Wide &operator()(tnk_int i, tnk_int j) const {
    return elements[static_cast<std::size_t>(i + j * rows)];
  }
  friend Dense operator*(const Dense &a, const Dense &b) {
    Dense c(a.rows, b.columns);
    for (tnk_int j = 0; j < b.columns; ++j)
      for (tnk_int l = 0; l < a.columns; ++l)
        for (tnk_int i = 0; i < a.rows; ++i) c(i, j) += a(i, l) * b(l, j);
    return c;
  }
  template <class Element> Dense each(Element element) const {
    Dense d = *this;
    for (auto &e : d.elements) e = element(e);
    return d;
  }
  Dense magnitudes() const {
    return each([](Wide e) { return Wide(size_of(e)); });
  }
  // "N": itself, "T": transpose, any other letter: conjugate transpose.
  Dense form(char letter) const {
    if (letter == 'N' || letter == 'n') return *this;
    Dense d(columns, rows);
    for (tnk_int j = 0; j < columns; ++j)
      for (tnk_int i = 0; i < rows; ++i)
        d(j, i) = letter == 'T' || letter == 't' ? (*this)(i, j) : std::conj((*this)(i, j));
    return d;
  }
};

// Whether every element of `got` is within `bound` times the one of `size` from that of `wanted`. No for a NaN.
inline testing::AssertionResult close(const Dense &got, const Dense &wanted, const Dense &size,
                                      long double bound) {
  for (tnk_int j = 0; j < got.columns; ++j)
    for (tnk_int i = 0; i < got.rows; ++i)
      if (!(size_of(got(i, j) - wanted(i, j)) <= bound * size(i, j).real()))
        return testing::AssertionFailure() << "element " << i << ", " << j << ": " << got(i, j) << " for "
                                           << wanted(i, j) << ", allowed " << bound * size(i, j).real();
  return testing::AssertionSuccess();
}

} // namespace tnk::test
