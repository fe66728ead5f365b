// Band matrix times vector against the definition.
#include "family.h"
#include <tnk/blas_level2.h>

namespace tnk::test {
namespace {

using reference::number;
template <class T> class Gbmv : public testing::Test {};
TYPED_TEST_SUITE(Gbmv, Types, );

constexpr char entry[] = "tnk_blas_?gbmv";

template <class T>
Problem<T> band(Random &random, char trans, tnk_int m, tnk_int n, tnk_int kl, tnk_int ku, tnk_int incx = 1,
                tnk_int incy = 1, std::size_t shift = page_end) {
  return {trans, m, n, (m + n) % 2, incx, incy, {shift, shift, shift}, random, kl, ku};
}

TYPED_TEST(Gbmv, EveryShape) {
  using T = TypeParam;
  Random random;
  int turn = 0;
  for (const char *letters : {"Nn", "Tt", "Cq"})
    for (const tnk_int m : {0, 1, 2, 3, 8, 9, 17, 30})
      for (const tnk_int n : {0, 1, 3, 4, 7, 8, 13, 25})
        for (const tnk_int kl : {0, 1, 5, 11})
          for (const tnk_int ku : {0, 1, 6, 12}) {
            const tnk_int steps[] = {1, 1, 2, -1, -3};
            const std::size_t shifts[] = {page_end, page_start, 0, sizeof(Real<T>), 1};
            ++turn;
            ASSERT_TRUE(band<T>(random, letters[turn % 2], m, n, kl, ku).holds(entry));
            ASSERT_TRUE(band<T>(random, letters[turn % 2], m, n, kl, ku, steps[turn % 5], steps[turn / 5 % 5],
                                shifts[turn / 25 % 5])
                            .holds(entry));
          }
  for (const char trans : {'N', 'T', 'C'})
    for (const tnk_int width : {50, 120})
      ASSERT_TRUE(band<T>(random, trans, 301, 290, width, width).holds(entry));
}

// An infinity in x reaches only what the band lets it. A zero alpha multiplies, but for a beta of 1, with which nothing is
// read; a beta of 0 does not read y.
TYPED_TEST(Gbmv, ScalarsAndInfinities) {
  using T = TypeParam;
  Random random;
  const Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN();
  const T unit = number<T>(1), scalars[] = {T{}, unit, number<T>(nan), number<T>(0.5f, 2)};
  for (const char trans : {'N', 'T', 'C'})
    for (const T &alpha : scalars)
      for (const T &beta : scalars)
        for (const tnk_int infinite : {-1, 0, 13, 36})
          for (const tnk_int inc : {1, 2}) {
            auto p = band<T>(random, trans, 40, 37, 6, 5, inc, inc);
            if (infinite >= 0) p.x.put(infinite, number<T>(std::numeric_limits<Real<T>>::infinity()));
            p.y.put(20, number<T>(nan));
            std::vector<Sum> wanted = product(trans, alpha, p.a, p.x, beta, p.y);
            const std::vector<Sum> sums = product(trans, unit, p.a, p.x, T{}, p.y);
            for (std::size_t i = 0; i < sums.size() && is_zero(alpha) && !is_one(beta); ++i)
              if (!std::isfinite(sums[i].re)) wanted[i].re = nan;
            p.alpha = alpha, p.beta = beta;
            p.call(entry, 0, p.y.n(), p.y.data());
            ASSERT_TRUE(is_right(wanted, p.y))
                << trans << infinite << ' ' << reference::re(alpha) << ' ' << reference::re(beta);
          }
}

// A row that no column reaches stays as it is, bit for bit, though vectors of y reach over it.
TYPED_TEST(Gbmv, RowsBelowTheBandStay) {
  using T = TypeParam;
  Random random;
  const T negative = number<T>(-Real<T>(0), -Real<T>(0));
  for (const tnk_int width : {1, 5}) {
    auto p = band<T>(random, 'N', 60, 17, width, width);
    p.alpha = p.beta = number<T>(1);
    for (tnk_int i = 0; i < 60; ++i) p.y.put(i, negative);
    p.call(entry, 0, 60, p.y.data());
    for (tnk_int i = 17 + width; i < 60; ++i) ASSERT_TRUE(reference::same(p.y.get(i), negative)) << i;
  }
}

} // namespace
} // namespace tnk::test
