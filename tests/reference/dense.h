// Small dense matrices in wide complex arithmetic.
#pragma once

#include <cmath>
#include <complex>
#include <tnk/types.h>
#include <vector>

namespace tnk::reference {

using Wide = std::complex<long double>;
inline long double size_of(Wide a) {
  return std::fabs(a.real()) + std::fabs(a.imag());
}

struct Dense {
  tnk_int rows, columns;
  std::vector<Wide> elements;

  Dense(tnk_int m, tnk_int n) : rows(m), columns(n), elements(static_cast<std::size_t>(m * n)) {}
  template <class Element> Dense(tnk_int m, tnk_int n, Element element) : Dense(m, n) {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i) (*this)(i, j) = element(i, j);
  }
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
  friend Dense operator*(Wide factor, Dense a) {
    for (Wide &x : a.elements) x *= factor;
    return a;
  }
  friend Dense operator+(Dense a, const Dense &b) {
    for (std::size_t i = 0; i < a.elements.size(); ++i) a.elements[i] += b.elements[i];
    return a;
  }
  friend bool operator==(const Dense &a, const Dense &b) {
    return a.rows == b.rows && a.columns == b.columns && a.elements == b.elements;
  }
  Dense magnitudes() const {
    return {rows, columns, [&](tnk_int i, tnk_int j) { return size_of((*this)(i, j)); }};
  }
  // "N": itself, "T": transpose, any other letter: conjugate transpose.
  Dense form(char letter) const {
    if (letter == 'N' || letter == 'n') return *this;
    return {columns, rows, [&](tnk_int i, tnk_int j) {
              return letter == 'T' || letter == 't' ? (*this)(j, i) : std::conj((*this)(j, i));
            }};
  }
};

} // namespace tnk::reference
