// Band matrix times vector against the definition. What no element of the band stands in is NaN.
#include "family.h"
#include <tnk/blas_level2.h>

namespace tnk::test {
namespace {

using reference::number;
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
template <class T> class Gbmv : public testing::Test {};
TYPED_TEST_SUITE(Gbmv, Types, );

template <class T> struct Band {
  char trans = 'N';
  tnk_int m, n, kl, ku, incx = 1, incy = 1;
  std::size_t shift = page_end;
  T alpha = number<T>(0.7f, -0.3f), beta = number<T>(-0.6f, 0.8f);

  // Element `infinite` of x is infinite, and reaches only what the band lets it.
  testing::AssertionResult holds(Random &random, tnk_int infinite = -1) const {
    const bool plain = no_transpose(trans);
    const tnk_int lda = kl + ku + 1 + (m + n) % 2;
    Guarded<T> a(static_cast<std::size_t>(lda * n), shift);
    RandomVector<T> x(plain ? n : m, incx, shift, random), y(plain ? m : n, incy, shift, random);
    const auto in_band = [&](tnk_int i, tnk_int j) { return i - j <= kl && j - i <= ku; };
    const auto at = [&](tnk_int i, tnk_int j) { return static_cast<std::size_t>(ku + i - j + j * lda); };
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i)
        if (in_band(i, j)) a.put(at(i, j), random.number<T>());
    if (infinite >= 0) x.put(infinite, number<T>(std::numeric_limits<Real<T>>::infinity()));
    std::vector<Sum> wanted;
    for (tnk_int i = 0; i < y.n(); ++i) {
      Sum sum;
      const bool conjugates = !plain && trans != 'T' && trans != 't';
      for (tnk_int l = 0; l < x.n(); ++l) {
        const tnk_int row = plain ? i : l, column = plain ? l : i;
        if (in_band(row, column)) reference::add_product(sum, a.get(at(row, column)), x.get(l), conjugates);
      }
      wanted.push_back(reference::updated(alpha, sum, beta, y.get(i), kl + ku + 3));
      // A zero alpha multiplies, but for a beta of 1.
      if (is_zero(alpha) && !is_one(beta) && !std::isfinite(sum.re)) wanted.back().re = sum.re - sum.re;
    }
    Named<T>{"tnk_blas_?gbmv"}(&trans, &m, &n, &kl, &ku, &alpha, static_cast<const T *>(a.data()), &lda,
                               static_cast<const T *>(x.data()), &incx, &beta, y.data(), &incy);
    return is_right(wanted, y) << ", " << trans << ' ' << m << " by " << n << " kl " << kl << " ku " << ku
                               << " steps " << incx << ' ' << incy;
  }
};

TYPED_TEST(Gbmv, EveryShape) {
  using T = TypeParam;
  Random random;
  int turn = 0;
  for (const char *letters : {"Nn", "Tt", "Cq"})
    for (const tnk_int m : {1, 2, 3, 8, 9, 17, 30})
      for (const tnk_int n : {1, 3, 4, 7, 8, 13, 25})
        for (const tnk_int kl : {0, 1, 5, 11})
          for (const tnk_int ku : {0, 1, 6, 12}) {
            const tnk_int steps[] = {1, 1, 2, -1, -3};
            const std::size_t shifts[] = {page_end, page_start, 0, sizeof(Real<T>), 1};
            ++turn;
            Band<T> band{letters[turn % 2], m, n, kl, ku};
            ASSERT_TRUE(band.holds(random));
            band.incx = steps[turn % 5], band.incy = steps[turn / 5 % 5], band.shift = shifts[turn / 25 % 5];
            ASSERT_TRUE(band.holds(random)) << "shift " << band.shift;
          }
  for (const char trans : {'N', 'T', 'C'})
    for (const tnk_int width : {50, 120}) ASSERT_TRUE((Band<T>{trans, 301, 290, width, width}.holds(random)));
}

TYPED_TEST(Gbmv, ScalarsAndInfinities) {
  using T = TypeParam;
  Random random;
  const Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN();
  const T scalars[] = {T{}, number<T>(1), number<T>(nan), number<T>(0.5f, 2)};
  for (const char trans : {'N', 'T', 'C'})
    for (const T &alpha : scalars)
      for (const T &beta : scalars)
        for (const tnk_int infinite : {-1, 0, 13, 36})
          for (const tnk_int inc : {1, 2}) {
            if (is_zero(alpha) && is_one(beta) && infinite >= 0) continue; // nothing is read then
            Band<T> band{trans, 40, 37, 6, 5, inc, inc};
            band.alpha = alpha, band.beta = beta;
            ASSERT_TRUE(band.holds(random, infinite)) << reference::re(alpha) << ' ' << reference::re(beta);
          }
  // A beta of 0 does not read y; with one of 1 a zero alpha leaves all alone, and so does an empty dimension.
  const tnk_int n = 2, none = 0, one = 1, few = 1;
  T a[2] = {number<T>(2), number<T>(3)}, x[2] = {number<T>(1), number<T>(1)},
    y[2] = {number<T>(nan), number<T>(nan)};
  const T unit = number<T>(1), zero{}, half = number<T>(0.5f);
  const Named<T> gbmv("tnk_blas_?gbmv");
  const auto run = [&](const tnk_int *m, const T *alpha, const T *read_a, const T *beta) {
    gbmv("N", m, &n, &none, &none, alpha, read_a, &few, static_cast<const T *>(x), &one, beta,
         static_cast<T *>(y), &one);
    return reference::re(y[1]);
  };
  const T *const unread = nullptr;
  EXPECT_EQ(run(&n, &unit, a, &zero), 3);
  EXPECT_EQ(run(&n, &zero, unread, &unit), 3);
  EXPECT_EQ(run(&none, &unit, unread, &half), 3);
}

// A row that no column reaches stays as it is, bit for bit, though vectors of y reach over it.
TYPED_TEST(Gbmv, RowsBelowTheBandStay) {
  using T = TypeParam;
  const tnk_int m = 60, n = 17, one = 1;
  const T unit = number<T>(1), negative = number<T>(-Real<T>(0), -Real<T>(0));
  for (const tnk_int width : {1, 5}) {
    const tnk_int lda = 2 * width + 1;
    const std::vector<T> a(static_cast<std::size_t>(lda * n), unit), x(17, unit);
    std::vector<T> y(60, negative);
    Named<T>{"tnk_blas_?gbmv"}("N", &m, &n, &width, &width, &unit, a.data(), &lda, x.data(), &one, &unit,
                               y.data(), &one);
    for (tnk_int i = n + width; i < m; ++i)
      ASSERT_TRUE(reference::same(y[static_cast<std::size_t>(i)], negative)) << i;
  }
}

} // namespace
} // namespace tnk::test
