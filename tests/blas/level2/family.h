// Matrices in guarded memory, and what products with them should give.
#pragma once

#include "reference/sums.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <gtest/gtest.h>
#include <vector>

namespace tnk::test {

using reference::Real, reference::Sum;

// m by n, with `gap` rows below each column that must not be read; or, with `lower` and `upper` diagonals beside the main
// one, in band storage, where what no element stands in must not be read.
template <class T> struct Matrix {
  tnk_int m, n, kl, ku, lda;
  Guarded<T> memory;

  Matrix(tnk_int rows, tnk_int columns, tnk_int gap, std::size_t shift, Random &random, tnk_int lower = -1,
         tnk_int upper = -1)
      : m(rows), n(columns), kl(lower), ku(upper),
        lda(is_band() ? kl + ku + 1 + gap : std::max<tnk_int>(m + gap, 1)),
        memory(static_cast<std::size_t>(is_band()        ? lda * n
                                        : m > 0 && n > 0 ? (n - 1) * lda + m
                                                         : 0),
               shift) {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i)
        if (has(i, j)) put(i, j, random.number<T>());
  }
  bool is_band() const { return kl >= 0; }
  bool has(tnk_int i, tnk_int j) const { return !is_band() || (i - j <= kl && j - i <= ku); }
  const T *data() const { return memory.data(); }
  T get(tnk_int i, tnk_int j) const { return memory.get(at(i, j)); }
  void put(tnk_int i, tnk_int j, T value) { memory.put(at(i, j), value); }

private:
  std::size_t at(tnk_int i, tnk_int j) const {
    return static_cast<std::size_t>((is_band() ? ku + i - j : i) + j * lda);
  }
};

template <class T> struct RandomVector : Strided<T> {
  RandomVector(tnk_int n, tnk_int inc, std::size_t shift, Random &random) : Strided<T>(n, inc, shift) {
    for (tnk_int i = 0; i < n; ++i) this->put(i, random.number<T>());
  }
};

inline bool no_transpose(char trans) {
  return trans == 'N' || trans == 'n';
}

// alpha op(A) x + beta y by the definition, E the type of the elements of A. Without a row or a column it is y.
template <class T, class E>
std::vector<Sum> product(char trans, T alpha, const Matrix<E> &a, const Strided<T> &x, T beta,
                         const Strided<T> &y) {
  const bool plain = no_transpose(trans), conjugates = !plain && trans != 'T' && trans != 't';
  const bool empty = a.m == 0 || a.n == 0, stays = empty || is_one(beta);
  const tnk_int terms = a.is_band() ? a.kl + a.ku + 1 : x.n();
  std::vector<Sum> result;
  for (tnk_int i = 0; i < y.n(); ++i) {
    Sum sum;
    for (tnk_int l = 0; l < x.n() && !empty; ++l) {
      const tnk_int row = plain ? i : l, column = plain ? l : i;
      if (!a.has(row, column)) continue;
      const E element = a.get(row, column);
      if constexpr (std::is_same_v<T, E>)
        reference::add_product(sum, element, x.get(l), conjugates);
      else
        reference::add_product(sum, T{element, 0}, x.get(l), false);
    }
    // A beta of 1 multiplies nothing.
    Sum e = reference::updated(empty ? T{} : alpha, sum, stays ? T{} : beta, y.get(i), terms + 2);
    if (stays) {
      e.re += reference::re(y.get(i)), e.im += reference::im(y.get(i));
      e.size += reference::magnitude(y.get(i)) * std::numeric_limits<Real<T>>::epsilon();
    }
    result.push_back(e);
  }
  return result;
}

// Infinities and NaN of complex numbers come out in different parts in another order of products.
template <class T> bool agrees(const Sum &wanted, T got) {
  const auto is_finite = [](long double re, long double im) {
    return std::isfinite(re) && std::isfinite(im);
  };
  if (reference::is_pair<T> && !is_finite(wanted.re, wanted.im))
    return !is_finite(reference::re(got), reference::im(got));
  return reference::holds(wanted, got);
}
template <class T> testing::AssertionResult is_right(const std::vector<Sum> &wanted, const Strided<T> &y) {
  for (tnk_int i = 0; i < y.n(); ++i)
    if (!agrees(wanted[static_cast<std::size_t>(i)], y.get(i)))
      return testing::AssertionFailure() << "element " << i << " of " << y.n() << " at " << y.inc();
  return y.intact() ? testing::AssertionSuccess() : testing::AssertionFailure() << "wrote outside of y";
}

template <class T, class E = T> struct Problem {
  char trans;
  Matrix<E> a;
  RandomVector<T> x, y;
  T alpha, beta;

  Problem(char letter, tnk_int m, tnk_int n, tnk_int gap, tnk_int incx, tnk_int incy,
          const std::size_t (&shift)[3], Random &random, tnk_int kl = -1, tnk_int ku = -1)
      : trans(letter), a(m, n, gap, shift[0], random, kl, ku),
        x(no_transpose(trans) ? n : m, incx, shift[1], random),
        y(no_transpose(trans) ? m : n, incy, shift[2], random), alpha(random.number<T>()),
        beta(random.number<T>()) {}

  // Rows, or transposed columns, `first` ... first + size - 1 of the product, added to `part`.
  void call(const std::string &name, tnk_int first, tnk_int size, T *part) const {
    const bool plain = no_transpose(trans);
    const tnk_int m = plain ? size : a.m, n = plain ? a.n : size, one = 1;
    const auto *const from = a.data() + first * (plain ? 1 : a.lda);
    const tnk_int *const step = size == y.n() ? &y.inc() : &one;
    if (a.is_band())
      Named<T>{name}(&trans, &m, &n, &a.kl, &a.ku, &alpha, from, &a.lda, x, &x.inc(), &beta, part, step);
    else
      Named<T>{name}(&trans, &m, &n, &alpha, from, &a.lda, x, &x.inc(), &beta, part, step);
  }
  testing::AssertionResult holds(const std::string &name) {
    const std::vector<Sum> wanted = product(trans, alpha, a, x, beta, y);
    call(name, 0, y.n(), y.data());
    return is_right(wanted, y) << ": " << name << ' ' << trans << ' ' << a.m << " by " << a.n << " lda "
                               << a.lda << " incx " << x.inc() << " incy " << y.inc();
  }
};

} // namespace tnk::test
