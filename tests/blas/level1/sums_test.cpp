// Norms, sums of magnitudes, searches for extremes.
#include "reference/sums.h"
#include "support/guarded.h"
#include "support/random.h"
#include <gtest/gtest.h>
#include <limits>
#include <tnk/blas_level1.h>
#include <vector>

namespace tnk::test {
namespace {

template <class T> struct Entries;
template <> struct Entries<float> {
  using Real = float;
  static constexpr auto norm = tnk_blas_snrm2, sum = tnk_blas_sasum;
  static constexpr auto largest = tnk_blas_isamax, smallest = tnk_blas_isamin;
};
template <> struct Entries<double> {
  using Real = double;
  static constexpr auto norm = tnk_blas_dnrm2, sum = tnk_blas_dasum;
  static constexpr auto largest = tnk_blas_idamax, smallest = tnk_blas_idamin;
};
template <> struct Entries<tnk_complex8> {
  using Real = float;
  static constexpr auto norm = tnk_blas_scnrm2, sum = tnk_blas_scasum;
  static constexpr auto largest = tnk_blas_icamax, smallest = tnk_blas_icamin;
};
template <> struct Entries<tnk_complex16> {
  using Real = double;
  static constexpr auto norm = tnk_blas_dznrm2, sum = tnk_blas_dzasum;
  static constexpr auto largest = tnk_blas_izamax, smallest = tnk_blas_izamin;
};

template <class T> class Sums : public testing::Test {
protected:
  using R = typename Entries<T>::Real;
  static constexpr R eps = std::numeric_limits<R>::epsilon(), nan = std::numeric_limits<R>::quiet_NaN(),
                     infinity = std::numeric_limits<R>::infinity();
  static constexpr bool pair = reference::is_pair<T>;
  static constexpr tnk_int parts = pair ? 2 : 1;

  // A number of this magnitude, in the imaginary part of a pair on demand.
  static T number(R value, bool imaginary = false) {
    if constexpr (pair)
      return imaginary ? T{0, value} : T{value, 0};
    else
      return value;
  }
  static T integers(Random &random, tnk_int low, tnk_int high) {
    const auto part = [&] { return static_cast<R>(random.integer(low, high)); };
    if constexpr (pair)
      return {part(), part()};
    else
      return part();
  }
  static Strided<T> random_vector(tnk_int n, tnk_int inc, R scale = 1) {
    Strided<T> x(n, inc);
    Random random(static_cast<unsigned>(n));
    for (tnk_int i = 0; i < n; ++i) {
      T value = random.number<T>();
      if constexpr (pair)
        value = {value.re * scale, value.im * scale};
      else
        value *= scale;
      x.put(i, value);
    }
    return x;
  }
};

using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(Sums, Types);

TYPED_TEST(Sums, OfNothingAreZeroAndReadNothing) {
  for (const tnk_int n : {0, -1}) {
    const tnk_int inc = 1;
    EXPECT_EQ(Entries<TypeParam>::norm(&n, nullptr, &inc), 0);
    EXPECT_EQ(Entries<TypeParam>::sum(&n, nullptr, &inc), 0);
    EXPECT_EQ(Entries<TypeParam>::largest(&n, nullptr, &inc), 0);
    EXPECT_EQ(Entries<TypeParam>::smallest(&n, nullptr, &inc), 0);
  }
}

// ---- Sum of magnitudes ----------------------------------------------------------------------------------

TYPED_TEST(Sums, MagnitudesAreExactOnIntegersAtEverySizeAndAlignment) {
  for (std::size_t shift = 0; shift < 32; ++shift) {
    Guarded<TypeParam> x(200, shift);
    Random random(static_cast<unsigned>(shift));
    for (std::size_t i = 0; i < x.size(); ++i) x.put(i, this->integers(random, -9, 9));
    reference::wide expected = 0;
    for (tnk_int n = 1; n <= 200; ++n) {
      expected += reference::magnitude(x.get(static_cast<std::size_t>(n - 1)));
      const tnk_int inc = 1;
      ASSERT_EQ(Entries<TypeParam>::sum(&n, x.data(), &inc), expected) << n << " shift " << shift;
    }
  }
}

TYPED_TEST(Sums, MagnitudesHaveABoundedErrorAtEveryIncrement) {
  for (const tnk_int n : {1, 2, 31, 100, 5003})
    for (const tnk_int inc : {-3, -1, 0, 1, 2}) {
      const auto x = this->random_vector(n, inc);
      const reference::wide expected = reference::sum_of_magnitudes(x);
      const auto sum = Entries<TypeParam>::sum(&n, x.data(), &inc);
      EXPECT_FALSE(!(std::fabs(sum - expected) <= (2 * n + 1) * this->eps / 2 * expected)) << n << ' ' << inc;
    }
}

TYPED_TEST(Sums, MagnitudesReadNothingOutsideAndShowANanFromEveryPosition) {
  const tnk_int inc = 1;
  for (const bool at_start : {false, true})
    for (tnk_int n = 1; n <= 80; ++n) {
      PageEdge<TypeParam> x(static_cast<std::size_t>(n), at_start);
      for (tnk_int at = -1; at < n; ++at) {
        for (tnk_int i = 0; i < n; ++i)
          x[static_cast<std::size_t>(i)] = this->number(i == at ? this->nan : -2, i % 2 == 0);
        const auto sum = Entries<TypeParam>::sum(&n, x.data(), &inc);
        ASSERT_TRUE(at < 0 ? sum == 2 * n : std::isnan(sum)) << n << ' ' << at;
      }
    }
}

TEST(Magnitude, AddsBothParts) {
  const tnk_complex8 c = {-3, 4}, c_nan = {1, std::nanf("")};
  const tnk_complex16 z = {-3, -0.5}, z_nan = {std::nan(""), 1};
  EXPECT_EQ(tnk_blas_scabs1(&c), 7);
  EXPECT_EQ(tnk_blas_dcabs1(&z), 3.5);
  EXPECT_TRUE(std::isnan(tnk_blas_scabs1(&c_nan)) && std::isnan(tnk_blas_dcabs1(&z_nan)));
}

// ---- Norm -----------------------------------------------------------------------------------------------

// A step rounds a quotient, its square, perhaps a rescaling, and the sum: five roundings of the square, the
// root halves them.
TYPED_TEST(Sums, NormHasABoundedErrorAndScalesExactly) {
  constexpr bool single = sizeof(typename Entries<TypeParam>::Real) == 4;
  for (const tnk_int n : {1, 2, 3, 10, 101, 1000})
    for (const tnk_int inc : {1, 2, 0}) {
      const auto x = this->random_vector(n, inc);
      const reference::wide expected = reference::norm(x);
      const auto norm = Entries<TypeParam>::norm(&n, x.data(), &inc);
      const auto bound = (1.25L * static_cast<reference::wide>(this->parts * n) + 2) * this->eps * expected;
      EXPECT_FALSE(!(std::fabs(norm - expected) <= bound)) << n << ' ' << inc;
      // Squares of these over- or underflow.
      for (const int power : {single ? -90 : -900, single ? 120 : 1000}) {
        const auto scaled = this->random_vector(n, inc, std::ldexp(decltype(norm){1}, power));
        EXPECT_EQ(Entries<TypeParam>::norm(&n, scaled.data(), &inc), std::ldexp(norm, power)) << n;
      }
    }
}

TYPED_TEST(Sums, NormWalksForwardByTheAbsoluteIncrement) {
  for (const tnk_int inc : {1, 2, 3})
    for (const tnk_int n : {2, 3, 20}) {
      const auto x = this->random_vector(n, inc);
      const tnk_int back = -inc;
      EXPECT_EQ(Entries<TypeParam>::norm(&n, x.data(), &back), Entries<TypeParam>::norm(&n, x.data(), &inc));
    }
  // 0 takes the first element n times; with one element no increment matters.
  const TypeParam first = this->number(-3);
  const tnk_int four = 4, zero = 0;
  EXPECT_EQ(Entries<TypeParam>::norm(&four, &first, &zero), 6);
  for (const tnk_int inc : {0, -5, 1}) {
    const tnk_int one = 1;
    EXPECT_EQ(Entries<TypeParam>::norm(&one, &first, &inc), 3);
  }
}

TYPED_TEST(Sums, NormOfSpecialValues) {
  using Part = typename Entries<TypeParam>::Real;
  const auto norm = [&](std::vector<Part> values) {
    const tnk_int n = static_cast<tnk_int>(values.size()), inc = 1;
    Guarded<TypeParam> x(values.size(), 1); // misaligned
    for (std::size_t i = 0; i < values.size(); ++i) x.put(i, this->number(values[i], i % 2 != 0));
    return Entries<TypeParam>::norm(&n, x.data(), &inc);
  };
  const Part tiny = std::numeric_limits<Part>::denorm_min();
  EXPECT_EQ(norm({3, 4}), 5);
  EXPECT_EQ(norm({0, 0, 0}), 0);
  EXPECT_EQ(norm({3 * tiny, 0, -4 * tiny}), 5 * tiny);
  EXPECT_EQ(norm({1, -this->infinity, 1}), this->infinity);
  EXPECT_TRUE(std::isnan(norm({this->infinity, 1, this->infinity})));
  for (std::size_t at = 0; at < 5; ++at) {
    std::vector<Part> values = {0, 0, 1, 2, 3};
    values[at] = this->nan;
    EXPECT_TRUE(std::isnan(norm(values))) << at;
  }
  EXPECT_TRUE(std::isnan(norm({this->nan})));
}

// ---- Extremes -------------------------------------------------------------------------------------------

// Few distinct magnitudes, so ties abound; pairs of equal |re| + |im| and different moduli among them.
TYPED_TEST(Sums, ExtremesKeepTheFirstOfEqualsAndYieldToNan) {
  Random random(7);
  for (int round = 0; round < 4000; ++round) {
    const tnk_int n = random.integer(1, 21), inc = random.integer(1, 3);
    const bool special = random.integer(0, 1) == 1;
    Strided<TypeParam> x(n, inc, static_cast<std::size_t>(random.integer(0, 3)));
    for (tnk_int i = 0; i < n; ++i) {
      x.put(i, this->integers(random, -4, 4));
      if (!special) continue;
      if (random.integer(0, 7) == 0) x.put(i, this->number(this->nan, i % 2 == 0));
      if (random.integer(0, 15) == 0) x.put(i, this->number(-this->infinity, i % 2 == 0));
    }
    ASSERT_EQ(Entries<TypeParam>::largest(&n, x.data(), &inc), reference::extreme(x, true))
        << n << ' ' << inc;
    ASSERT_EQ(Entries<TypeParam>::smallest(&n, x.data(), &inc), reference::extreme(x, false))
        << n << ' ' << inc;
  }
}

TYPED_TEST(Sums, ExtremesWithoutAPositiveIncrementAreNowhere) {
  const TypeParam x[2] = {this->number(1), this->number(2)};
  for (const tnk_int n : {1, 2})
    for (const tnk_int inc : {0, -1}) {
      EXPECT_EQ(Entries<TypeParam>::largest(&n, x, &inc), 0);
      EXPECT_EQ(Entries<TypeParam>::smallest(&n, x, &inc), 0);
    }
}

} // namespace
} // namespace tnk::test
