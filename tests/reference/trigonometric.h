// Sine and cosine transforms by definition, in long double.
#pragma once

#include <cmath>
#include <cstddef>
#include <tnk/types.h>
#include <vector>

namespace tnk::test::reference {

// Sines and cosines of multiples of pi/(4n), which all kinds are made of.
class Trigonometric {
public:
  Trigonometric(tnk_int kind, tnk_int n) : kind_(kind), n_(n), cosines_(static_cast<std::size_t>(8 * n)) {
    for (tnk_int j = 0; j < 8 * n; ++j)
      cosines_[static_cast<std::size_t>(j)] =
          std::cos(static_cast<long double>(j) * 3.14159265358979323846264338327950288L / (4 * n));
  }
  // Elements of a row that are read and written, in either direction.
  tnk_int first() const { return kind_ == 0 || kind_ == 3 ? 1 : 0; }
  tnk_int last() const { return kind_ == 1 || kind_ == 3 ? n_ : n_ - 1; }

  // Element `at` of the result.
  template <class T> long double forward(const T *f, tnk_int at) const {
    long double sum = 0;
    for (tnk_int i = first(); i <= last(); ++i) sum += weight(i) * f[i] * term(at, i);
    return sum / n_;
  }
  template <class T> long double backward(const T *f, tnk_int at) const {
    long double sum = 0;
    for (tnk_int k = first(); k <= last(); ++k)
      sum += (kind_ == 1 ? weight(k) / 2.0L : 1) * f[k] * term(k, at);
    return sum;
  }

private:
  // Ends of a row count half where the extended row passes through them.
  int weight(tnk_int i) const {
    return (i == 0 && (kind_ == 1 || kind_ == 2)) || (i == n_ && (kind_ == 1 || kind_ == 3)) ? 1 : 2;
  }
  long double cosine(tnk_int j) const { return cosines_[static_cast<std::size_t>(j % (8 * n_))]; }
  long double sine(tnk_int j) const { return cosine(j + 6 * n_); }
  long double term(tnk_int k, tnk_int i) const {
    return kind_ == 0   ? sine(4 * i * k)
           : kind_ == 1 ? cosine(4 * i * k)
           : kind_ == 2 ? cosine(2 * (2 * k + 1) * i)
           : kind_ == 3 ? sine(2 * (2 * k - 1) * i)
           : kind_ == 4 ? cosine((2 * k + 1) * (2 * i + 1))
                        : sine((2 * k + 1) * (2 * i + 1));
  }

  tnk_int kind_, n_;
  std::vector<long double> cosines_;
};

} // namespace tnk::test::reference
