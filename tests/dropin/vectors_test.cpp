// What the drop-in computes itself: norms and rotations over the whole range, and the published increments.
#include "tests/dropin/faces.h"
#include "tests/reference/sums.h"
#include "tests/support/guarded.h"
#include "tests/support/named.h"
#include "tests/support/random.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using tnk::reference::im, tnk::reference::is_pair, tnk::reference::number, tnk::reference::re;
using tnk::test::Named;

template <class T> class Vectors : public testing::Test {
protected:
  using R = tnk::reference::Real<T>;
  const Named<T, R> norm{"%nrm2_"};
  static constexpr R eps = std::numeric_limits<R>::epsilon(), largest = std::numeric_limits<R>::max(),
                     smallest = std::numeric_limits<R>::min(), infinity = std::numeric_limits<R>::infinity(),
                     nan = std::numeric_limits<R>::quiet_NaN();
};
TYPED_TEST_SUITE(Vectors, tnk::test::Types);

TYPED_TEST(Vectors, NormsNeitherOverflowNorVanish) {
  using T = TypeParam;
  using Real = typename TestFixture::R;
  tnk::test::Random random;
  const Real denormal = std::numeric_limits<Real>::denorm_min();
  for (const Real scale : {Real(1), this->largest / 32, this->smallest, 50 * denormal,
                           std::sqrt(this->smallest), std::sqrt(this->largest)})
    for (const Int n : {1, 2, 9, 100, 1000})
      for (const Int inc : {1, 3}) {
        tnk::test::Strided<T> x(n, inc);
        for (Int i = 0; i < n; ++i) {
          // Others of quite another size between them.
          const Real here = i % 5 == 3 ? Real(1e-3) : Real(1), root = std::sqrt(Real(n));
          x.put(i, number<T>(random.real<Real>() * here * scale / root, random.real<Real>() * scale / root));
        }
        const long double right = tnk::reference::norm(x).re, found = this->norm(&n, x.data(), &inc);
        EXPECT_TRUE(std::abs(found - right) <=
                    (static_cast<long double>(n) / 2 + 4) * this->eps * right + denormal)
            << scale << " " << n << " " << inc << ": " << found << " " << right;
      }
}

TYPED_TEST(Vectors, NormsOfWhatIsNoNumber) {
  using T = TypeParam;
  std::vector<T> x(40, number<T>(1, 1));
  const Int n = 40, one = 1;
  x[7] = number<T>(this->infinity, 0);
  EXPECT_EQ(this->norm(&n, x.data(), &one), this->infinity);
  x[30] = number<T>(-this->infinity, 2);
  EXPECT_EQ(this->norm(&n, x.data(), &one), this->infinity);
  x[20] = number<T>(1, this->nan);
  if (!is_pair<T>) x[20] = number<T>(this->nan, 0);
  EXPECT_TRUE(std::isnan(this->norm(&n, x.data(), &one)));
  // From the far end, and one element all the time.
  const Int three = 3, minus_two = -2, still = 0;
  const T side = number<T>(2, 0), few[] = {side, x[20], number<T>(-1, 0), x[20], side};
  EXPECT_EQ(this->norm(&three, few, &minus_two), 3);
  EXPECT_EQ(this->norm(&three, few + 2, &still), std::sqrt(typename TestFixture::R(3)));
  const Int none = 0;
  EXPECT_EQ(this->norm(&none, nullptr, &one), 0);
}

TYPED_TEST(Vectors, NormsDependOnTheNumbersAlone) {
  using T = TypeParam;
  const Int one = 1;
  for (const Int n : {5, 13, 30, 700, 1500}) {
    const auto size = static_cast<std::size_t>(n);
    std::vector<T> x(3 * size + 8);
    const auto at = [&](std::size_t first, Int inc) {
      for (std::size_t i = 0; i < size; ++i)
        x[first + i * static_cast<std::size_t>(inc)] =
            number<T>(std::sin(static_cast<typename TestFixture::R>(i)),
                      std::cos(static_cast<typename TestFixture::R>(i)));
      return this->norm(&n, x.data() + first, &inc);
    };
    const auto alone = at(0, one);
    for (const std::size_t first : {1, 2, 3, 5}) EXPECT_EQ(at(first, 1), alone) << n << " from " << first;
    EXPECT_EQ(at(1, 3), alone) << n;
  }
  // One number does not take thousands of small ones with it.
  std::vector<T> x(10001, number<T>(1, 0));
  x[0] = number<T>(1e4, 0);
  const Int n = 10001;
  EXPECT_NEAR(this->norm(&n, x.data(), &one), 10000.5, 0.01);
}

TYPED_TEST(Vectors, RotationsOverTheWholeRange) {
  using T = TypeParam;
  using Real = typename TestFixture::R;
  const Real sizes[] = {Real(0),          std::numeric_limits<Real>::denorm_min() * 1000,
                        this->smallest,   Real(1),
                        Real(-3),         std::sqrt(this->largest),
                        this->largest / 4};
  for (const Real p : sizes)
    for (const Real q : sizes) {
      const T a = number<T>(p, -p / 2), b = number<T>(q / 2, q);
      T r = a, s, z = b;
      Real c;
      Named<T>("?rotg_")(&r, &z, &c, &s);
      const std::complex<long double> ac(re(a), im(a)), bc(re(b), im(b)), rc(re(r), im(r)), sc(re(s), im(s));
      // Numbers near the least one have no more digits than they have.
      const long double h = std::hypot(std::abs(ac), std::abs(bc)),
                        denormal = std::numeric_limits<Real>::denorm_min(),
                        bound = 16 * this->eps * h + 4 * denormal, lost = h > 0 ? 4 * denormal / h : 0;
      EXPECT_TRUE(std::abs(std::norm(sc) + static_cast<long double>(c) * c - 1) <= 16 * this->eps)
          << p << " " << q;
      EXPECT_TRUE(std::abs(std::abs(rc) - h) <= bound) << p << " " << q;
      EXPECT_TRUE(std::abs(static_cast<long double>(c) * ac + sc * bc - rc) <= bound) << p << " " << q;
      EXPECT_TRUE(std::abs(static_cast<long double>(c) * bc - std::conj(sc) * ac) <= bound + lost * h)
          << p << " " << q;
      if constexpr (!is_pair<T>) {
        // z gives c and s back.
        const long double zl = re(z);
        if (std::abs(zl) < 1) {
          EXPECT_TRUE(std::abs(zl - s) <= 4 * this->eps);
        }
        if (std::abs(zl) > 1) {
          EXPECT_TRUE(std::abs(1 / zl - c) <= 4 * this->eps + denormal);
        }
        if (zl == 1) {
          EXPECT_EQ(c, 0);
        }
      } else {
        EXPECT_EQ(std::memcmp(&z, &b, sizeof z), 0);
      }
    }
}

TYPED_TEST(Vectors, ScalingMultipliesAndPassesOverBackwardVectors) {
  using T = TypeParam;
  const Named<T> scale("?scal_");
  const T zero = number<T>(0, 0);
  std::vector<T> x(6, number<T>(this->infinity, 1));
  const Int n = 6, one = 1;
  for (const Int increment : {0, -1}) {
    scale(&n, &zero, x.data(), &increment);
    EXPECT_EQ(re(x[0]), this->infinity);
  }
  const T unit = number<T>(1, 0);
  scale(&n, &unit, x.data(), &one); // times an infinity, 0 would spread to the other part
  for (const T &element : x) EXPECT_EQ(im(element), is_pair<T> ? 1 : 0);
  scale(&n, &zero, x.data(), &one);
  for (const T &element : x) EXPECT_TRUE(std::isnan(re(element)));
}

TEST(Functions, ResultsInRegistersAndByAddress) {
  const Int n = 2, one = 1, minus_one = -1;
  const complex8 x[] = {{1, 2}, {3, -1}}, y[] = {{2, 0}, {1, 1}};
  const complex8 dot = cdotc_(&n, x, &one, y, &one); // (1 - 2i) 2 + (3 + i) (1 + i)
  EXPECT_EQ(__real__ dot, 4);
  EXPECT_EQ(__imag__ dot, 0);
  const complex16 u[] = {{1, 2}, {3, -1}}, v[] = {{2, 0}, {1, 1}};
  const complex16 product = zdotu_(&n, u, &one, v, &minus_one); // (1 + 2i) (1 + i) + (3 - i) 2
  EXPECT_EQ(__real__ product, 5);
  EXPECT_EQ(__imag__ product, 1);
  const double values[] = {1, -7, 7, 2};
  const Int four = 4, none = 0;
  Int position = 0;
  idamaxsub_(&four, values, &one, &position);
  EXPECT_EQ(position, 2);
  EXPECT_EQ(idamax_(&four, values, &minus_one), 0);
  EXPECT_EQ(cblas_idamax(4, values, 1), 1u);
  const double nan = std::numeric_limits<double>::quiet_NaN(), holes[] = {1, 7, nan, 3, 7, nan};
  const Int six = 6, two = 2;
  EXPECT_EQ(idamax_(&six, holes, &one), 2);
  EXPECT_EQ(cblas_idamax(4, holes + 2, 1), 0u);
  const complex8 pairs[] = {{0, 9}, {5, 5}, {2, std::numeric_limits<float>::quiet_NaN()}, {5, 5}, {3, 0}};
  const Int three = 3;
  EXPECT_EQ(icamax_(&three, pairs, &two), 1);
  EXPECT_EQ(cblas_idamax(none, values, 1), 0u);
  EXPECT_EQ(dasum_(&four, values, &minus_one), 0);
  EXPECT_EQ(scasum_(&n, x, &one), 7);
  EXPECT_NE(lsame_("n", "N"), 0);
  EXPECT_EQ(lsame_("n", "T"), 0);
}

} // namespace
