// Small dense matrices as they stand in memory.
#pragma once

#include <gtest/gtest.h>

#include "reference/dense.h"
#include "reference/sums.h"
#include "support/guarded.h"
#include "support/random.h"

namespace tnk::test {

using reference::Dense, reference::Real, reference::size_of, reference::Wide;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

extern int public_calls; // of routines that primitives leave work to

template <class T> Wide wide(T a) {
  return {reference::re(a), reference::im(a)};
}
template <class T> constexpr long double eps = std::numeric_limits<Real<T>>::epsilon();

// All of a matrix in memory ('A'), or one triangle ('U', 'L'), with rows of a gap between columns; all else must stay.
template <class T> struct Stored : Guarded<T> {
  Stored(const Dense &values, char which = 'A')
      : Guarded<T>(static_cast<std::size_t>(values.columns == 0 ? 0 : (values.rows + 3) * values.columns - 3),
                   page_end),
        n(values.rows), columns(values.columns), ld(n + 3), part(which) {
    each([&](tnk_int i, tnk_int j, std::size_t k) {
      this->put(k, reference::number<T>(static_cast<Real<T>>(values(i, j).real()),
                                        static_cast<Real<T>>(values(i, j).imag())));
    });
  }
  bool has(tnk_int i, tnk_int j) const { return i < n && (part == 'A' || (part == 'U' ? i <= j : i >= j)); }
  std::size_t at(tnk_int i, tnk_int j) const { return static_cast<std::size_t>(i + j * ld); }
  T element(tnk_int i, tnk_int j) const { return this->get(at(i, j)); }
  Dense dense() const {
    return {n, columns, [&](tnk_int i, tnk_int j) { return has(i, j) ? wide(element(i, j)) : Wide(0); }};
  }
  bool rest_intact() const {
    const auto *const bytes = reinterpret_cast<const unsigned char *>(this->data());
    for (std::size_t k = 0; k < this->size() * sizeof(T); ++k) {
      const auto place = static_cast<tnk_int>(k / sizeof(T));
      if (!has(place % ld, place / ld) && bytes[k] != 0xFF) return false;
    }
    return this->intact();
  }
  template <class Do> void each(Do do_it) const {
    for (tnk_int j = 0; j < columns; ++j)
      for (tnk_int i = 0; i < n; ++i)
        if (has(i, j)) do_it(i, j, at(i, j));
  }
  tnk_int n, columns, ld;
  char part;
};

template <class T> Dense random_matrix(tnk_int m, tnk_int n, Random &random) {
  return {m, n, [&](tnk_int, tnk_int) { return wide(random.number<T>()); }};
}

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
// The same where `stored` has elements: a factorization of one triangle need only give that one.
template <class T>
testing::AssertionResult close_where(const Stored<T> &stored, Dense got, const Dense &wanted,
                                     const Dense &size, long double bound) {
  for (tnk_int j = 0; j < got.columns; ++j)
    for (tnk_int i = 0; i < got.rows; ++i)
      if (!stored.has(i, j)) got(i, j) = 0;
  return close(got, wanted, size, bound);
}

} // namespace tnk::test
