// Inner products, norms, sums of magnitudes, searches for extremes.
#include "blas/level1/shapes.h"
#include "reference/sums.h"
#include "support/named.h"
#include <functional>
#include <limits>
#include <tnk/blas_level1.h>

namespace tnk::test {
namespace {

using reference::is_pair, reference::number, reference::Real, reference::Sum, reference::wide;

// The error is at most (per_element * n + once) * eps times the size of the sum, with the eps of R, and 0 where nothing
// is rounded.
struct Law {
  double per_element, once, eps;
  bool exact_on_integers;
};
template <class R> Law law(double per_element, double once, bool exact_on_integers = true) {
  return {per_element, once, std::numeric_limits<R>::epsilon(), exact_on_integers};
}

template <class T>
using Run = std::function<Sum(tnk_int n, const T *x, tnk_int incx, const T *y, tnk_int incy)>;

template <class T> struct Routine {
  const char *name;
  Run<T> run;
  std::function<Sum(const Strided<T> &x, const Strided<T> &y)> definition;
  Law law;
};

// An entry of one vector, or of two; of pairs it puts the result first.
template <class T, class Result> Run<T> of_one(const char *name) {
  return [entry = Named<T, Result>(name)](tnk_int n, const T *x, tnk_int incx, const T *, tnk_int) {
    return Sum{static_cast<wide>(entry(&n, x, &incx))};
  };
}
template <class T, class Result = T> Run<T> of_two(const char *name) {
  return [name](tnk_int n, const T *x, tnk_int incx, const T *y, tnk_int incy) {
    if constexpr (is_pair<T>) {
      Guarded<T> result(1, 4);
      Named<T>{name}(result, &n, x, &incx, y, &incy);
      EXPECT_TRUE(result.intact());
      return Sum{result.get(0).re, result.get(0).im};
    } else {
      return Sum{Named<T, Result>{name}(&n, x, &incx, y, &incy)};
    }
  };
}
Sum sdsdot(tnk_int n, const float *x, tnk_int incx, const float *y, tnk_int incy) {
  const float none = 0;
  return {tnk_blas_sdsdot(&n, &none, x, &incx, y, &incy)};
}

const auto plain = [](auto &x, auto &y) { return reference::dot(x, y, false); };
const auto conjugated = [](auto &x, auto &y) { return reference::dot(x, y, true); };
const auto norm = [](auto &x, auto &) { return reference::norm(x); };
const auto magnitudes = [](auto &x, auto &) { return reference::sum_of_magnitudes(x); };
const auto largest = [](auto &x, auto &) { return reference::extreme(x, true); };
const auto smallest = [](auto &x, auto &) { return reference::extreme(x, false); };

// A step of the norm rounds a quotient, its square, perhaps a rescaling, and the sum: five roundings of the square,
// which the root halves.
template <class T> std::vector<Routine<T>> all_routines() {
  using R = Real<T>;
  std::vector<Routine<T>> list = {
      {"nrm2", of_one<T, R>("tnk_blas_%nrm2"), norm, law<R>(is_pair<T> ? 2.5 : 1.25, 2, false)},
      {"asum", of_one<T, R>("tnk_blas_%asum"), magnitudes, law<R>(1, 0.5)},
      {"amax", of_one<T, tnk_int>("tnk_blas_i?amax"), largest, law<R>(0, 0)},
      {"amin", of_one<T, tnk_int>("tnk_blas_i?amin"), smallest, law<R>(0, 0)}};
  if constexpr (is_pair<T>) {
    const char *const dotc = sizeof(T) == 8 ? "tnk_blas_xcdotc" : "tnk_blas_zdotc";
    list.push_back({"dotu", of_two<T>("tnk_blas_?dotu"), plain, law<R>(1, 1)});
    list.push_back({"dotc", of_two<T>(dotc), conjugated, law<R>(1, 1)});
  } else {
    list.push_back({"dot", of_two<T>("tnk_blas_x?dot"), plain, law<R>(1, 1)});
  }
  if constexpr (std::is_same_v<T, float>) {
    list.push_back({"dsdot", of_two<float, double>("tnk_blas_dsdot"), plain, law<double>(1, 1)});
    // One rounding to single, and the far smaller ones to double.
    list.push_back({"sdsdot", sdsdot, plain, law<float>(0, 0.75)});
  }
  return list;
}
template <class T> const std::vector<Routine<T>> routines = all_routines<T>();

// Integers, of which no part is 0: their products and sums are exact in any order. Few distinct magnitudes, so ties
// abound; pairs of equal |re| + |im| and different moduli among them.
template <class T> T integer(Random &random) {
  const auto part = [&] {
    return static_cast<Real<T>>(random.integer(1, 4) * (random.integer(0, 1) ? 1 : -1));
  };
  const auto re = part();
  return number<T>(re, part());
}

bool matches(wide value, wide exact, wide bound) {
  return value == exact || (std::isnan(value) && std::isnan(exact)) || std::fabs(value - exact) <= bound;
}

template <class T>
void check(const Routine<T> &routine, const Strided<T> &x, const Strided<T> &y, bool integers) {
  const Sum sum = routine.run(x.n(), x.data(), x.inc(), y.data(), y.inc()), exact = routine.definition(x, y);
  const Law &bounds = routine.law;
  const wide bound =
      integers && bounds.exact_on_integers
          ? 0
          : (bounds.per_element * static_cast<wide>(x.n()) + bounds.once) * bounds.eps * exact.size;
  EXPECT_TRUE(matches(sum.re, exact.re, bound) && matches(sum.im, exact.im, bound))
      << routine.name << " n " << x.n() << " increments " << x.inc() << ' ' << y.inc() << ": " << sum.re
      << ' ' << sum.im << ", not " << exact.re << ' ' << exact.im;
  EXPECT_TRUE(x.intact() && y.intact());
}

template <class T> struct Operands {
  Strided<T> x, y;
  Operands(const Shape &s, T (*element)(Random &), unsigned seed)
      : x(s.n, s.incx, s.shift_x), y(s.n, s.incy, s.shift_y) {
    Random random(seed);
    for (tnk_int i = 0; i < s.n; ++i) x.put(i, element(random)), y.put(i, element(random));
  }
};

template <class T> class Sums : public testing::Test {
protected:
  static constexpr Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN(),
                           infinity = std::numeric_limits<Real<T>>::infinity(),
                           tiny = std::numeric_limits<Real<T>>::denorm_min();
  static Real<T> norm_of(tnk_int n, const T *x, tnk_int inc) {
    return static_cast<Real<T>>(routines<T>[0].run(n, x, inc, nullptr, 1).re);
  }
};
TYPED_TEST_SUITE(Sums, Types);

TYPED_TEST(Sums, KeepTheirErrorLawAndAreExactOnIntegersInEveryShape) {
  using T = TypeParam;
  for_each_shape<T>([](const Shape &shape) {
    for (const bool integers : {false, true}) {
      const Operands<T> v(shape, integers ? integer<T> : ordinary<T>, static_cast<unsigned>(shape.n + 2));
      for (const auto &routine : routines<T>) check(routine, v.x, v.y, integers);
    }
  });
}

// y starts one part later than x, so that operands are realigned. A NaN has another one before it, with numbers between
// that lead until it comes.
TYPED_TEST(Sums, NanAndInfinityShowFromEveryPosition) {
  using T = TypeParam;
  constexpr tnk_int n = 75;
  for (const auto special : {this->nan, -this->infinity})
    for (tnk_int at = 0; at < n; ++at)
      for (const bool in_x : {false, true}) {
        Operands<T> v({n, 1, 1, 0, sizeof special}, integer<T>, 5);
        const auto put = [&](tnk_int i) {
          (in_x ? v.x : v.y)
              .put(i, i % 2 ? number<T>(special, 1) : number<T>(is_pair<T> ? 1 : special, special));
        };
        put(at);
        if (std::isnan(special)) put(at / 2);
        for (const auto &routine : routines<T>) check(routine, v.x, v.y, true);
      }
}

// Squares of the scaled numbers over- or underflow.
TYPED_TEST(Sums, NormScalesExactlyAndWalksForward) {
  using T = TypeParam;
  constexpr bool single = sizeof(Real<T>) == 4;
  for (const tnk_int n : {1, 3, 101})
    for (const tnk_int inc : {1, 2}) {
      Operands<T> v({n, inc, inc, 0, 0}, ordinary<T>, 3);
      const auto size = this->norm_of(n, v.x.data(), inc);
      EXPECT_EQ(this->norm_of(n, v.x.data(), -inc), size);
      for (const int power : {single ? -90 : -900, single ? 120 : 1000}) {
        using reference::operator*;
        for (tnk_int i = 0; i < n; ++i) v.y.put(i, std::ldexp(Real<T>(1), power) * v.x.get(i));
        EXPECT_EQ(this->norm_of(n, v.y.data(), inc), std::ldexp(size, power)) << n;
      }
    }
  const T first = number<T>(-3);
  EXPECT_EQ(this->norm_of(4, &first, 0), 6) << "the first element four times";
}

TYPED_TEST(Sums, NormOfSpecialValues) {
  using T = TypeParam;
  const auto of = [&](std::vector<Real<T>> values) {
    Guarded<T> x(values.size(), 1); // misaligned
    for (std::size_t i = 0; i < values.size(); ++i)
      x.put(i, i % 2 && is_pair<T> ? number<T>(0, values[i]) : number<T>(values[i]));
    return this->norm_of(static_cast<tnk_int>(values.size()), x.data(), 1);
  };
  EXPECT_EQ(of({0, 0, 0}), 0);
  EXPECT_EQ(of({3 * this->tiny, 0, -4 * this->tiny}), 5 * this->tiny);
  EXPECT_TRUE(std::isnan(of({this->infinity, 1, this->infinity})));
  EXPECT_TRUE(std::isnan(of({0, this->nan, 0})) && std::isnan(of({this->nan})));
}

TEST(Magnitude, AddsBothParts) {
  const tnk_complex8 c = {-3, 4}, c_nan = {1, std::nanf("")};
  const tnk_complex16 z = {-3, -0.5}, z_nan = {std::nan(""), 1};
  EXPECT_EQ(tnk_blas_scabs1(&c), 7);
  EXPECT_EQ(tnk_blas_dcabs1(&z), 3.5);
  EXPECT_TRUE(std::isnan(tnk_blas_scabs1(&c_nan)) && std::isnan(tnk_blas_dcabs1(&z_nan)));
}

TEST(Dot, SdsdotAddsItsStartInDoubleAndRoundsOnce) {
  const float start = 16777216, negative_zero = -0.0f;
  const std::vector<float> ones(20, 1);
  for (tnk_int n = 0; n <= 20; n += 2)
    for (const tnk_int incy : {1, -1}) { // the second takes the scalar loop
      const tnk_int incx = 1;
      EXPECT_EQ(tnk_blas_sdsdot(&n, &start, ones.data(), &incx, ones.data(), &incy),
                start + static_cast<float>(n));
    }
  const tnk_int none = 0;
  EXPECT_TRUE(std::signbit(tnk_blas_sdsdot(&none, &negative_zero, nullptr, &none, nullptr, &none)));
}

} // namespace
} // namespace tnk::test
