// Inner products: xsdot, xddot, cdotu, zdotu, xcdotc, zdotc, dsdot, sdsdot.
#include "reference/sums.h"
#include "support/guarded.h"
#include "support/random.h"
#include <gtest/gtest.h>
#include <limits>
#include <tnk/blas_level1.h>
#include <vector>

namespace tnk::test {
namespace {

struct Value {
  double re, im;
};

template <class T> struct Routine {
  const char *name;
  bool conjugates;
  double eps; // of the sum
  Value (*call)(tnk_int n, const T *x, tnk_int incx, const T *y, tnk_int incy);
};

constexpr double single_eps = std::numeric_limits<float>::epsilon();
constexpr double double_eps = std::numeric_limits<double>::epsilon();

template <class T, auto Entry>
Value real_call(tnk_int n, const T *x, tnk_int incx, const T *y, tnk_int incy) {
  return {Entry(&n, x, &incx, y, &incy), 0};
}
template <class C, auto Entry>
Value complex_call(tnk_int n, const C *x, tnk_int incx, const C *y, tnk_int incy) {
  C result;
  Entry(&result, &n, x, &incx, y, &incy);
  return {result.re, result.im};
}
Value sdsdot_call(tnk_int n, const float *x, tnk_int incx, const float *y, tnk_int incy) {
  const float none = 0;
  return {tnk_blas_sdsdot(&n, &none, x, &incx, y, &incy), 0};
}

const Routine<float> singles[] = {
    {"xsdot", false, single_eps, real_call<float, tnk_blas_xsdot>},
    {"dsdot", false, double_eps, real_call<float, tnk_blas_dsdot>},
    {"sdsdot", false, single_eps, sdsdot_call},
};
const Routine<double> doubles[] = {{"xddot", false, double_eps, real_call<double, tnk_blas_xddot>}};
const Routine<tnk_complex8> complex_singles[] = {
    {"cdotu", false, single_eps, complex_call<tnk_complex8, tnk_blas_cdotu>},
    {"xcdotc", true, single_eps, complex_call<tnk_complex8, tnk_blas_xcdotc>},
};
const Routine<tnk_complex16> complex_doubles[] = {
    {"zdotu", false, double_eps, complex_call<tnk_complex16, tnk_blas_zdotu>},
    {"zdotc", true, double_eps, complex_call<tnk_complex16, tnk_blas_zdotc>},
};

// Runs scenario(routine) for each of them.
template <class Scenario> void for_all_routines(Scenario scenario) {
  const auto run = [&](const auto &table) {
    for (const auto &routine : table) {
      SCOPED_TRACE(routine.name);
      scenario(routine);
      if (testing::Test::HasFatalFailure()) return;
    }
  };
  run(singles);
  run(doubles);
  run(complex_singles);
  run(complex_doubles);
}

// A number whose parts are small integers and not zero: sums of products are exact in any order.
template <class T> T small_number(Random &random) {
  const auto part = [&] {
    return static_cast<double>(random.integer(1, 4) * (random.integer(0, 1) ? 1 : -1));
  };
  if constexpr (reference::is_pair<T>)
    return {static_cast<decltype(T::re)>(part()), static_cast<decltype(T::re)>(part())};
  else
    return static_cast<T>(part());
}

// x and y in memory of the given shifts, filled with small numbers.
template <class T> struct Operands {
  Guarded<T> x, y;
  Operands(tnk_int n, std::size_t shift_x, std::size_t shift_y)
      : x(static_cast<std::size_t>(n), shift_x), y(static_cast<std::size_t>(n), shift_y) {
    Random random(static_cast<unsigned>(shift_x * 64 + shift_y + 1));
    for (std::size_t i = 0; i < x.size(); ++i) {
      x.put(i, small_number<T>(random));
      y.put(i, small_number<T>(random));
    }
  }
};

// Every place of an element within 32 bytes, and one between.
template <class T> std::vector<std::size_t> shifts() {
  constexpr std::size_t part = reference::is_pair<T> ? sizeof(T) / 2 : sizeof(T);
  std::vector<std::size_t> result = {part / 2 + 1};
  for (std::size_t shift = 0; shift < 32; shift += part) result.push_back(shift);
  return result;
}

template <class T>
void expect_exact_sums(const Routine<T> &routine, std::size_t shift_x, std::size_t shift_y) {
  constexpr tnk_int most = 2072; // the last sizes stand around the one from which both vectors outgrow 32 KB
  const Operands<T> v(most, shift_x, shift_y);
  reference::InnerProduct expected{routine.conjugates};
  for (tnk_int n = 0; n <= most; ++n) {
    if (n <= 140 || n >= 2040) {
      const Value sum = routine.call(n, v.x.data(), 1, v.y.data(), 1);
      ASSERT_TRUE(sum.re == expected.re && sum.im == expected.im)
          << "n " << n << " shifts " << shift_x << ' ' << shift_y << ": " << sum.re << ' ' << sum.im;
    }
    if (n < most) expected.add(v.x.get(n), v.y.get(n));
  }
}

template <class T> void expect_exact_sums(const Routine<T> &routine) {
  for (const std::size_t shift_x : shifts<T>())
    for (const std::size_t shift_y : shifts<T>()) expect_exact_sums(routine, shift_x, shift_y);
}

TEST(Dot, IsExactOnIntegersAtEverySizeAndAlignment) {
  for_all_routines([](const auto &routine) { expect_exact_sums(routine); });
}

template <class T>
void expect_bounded_error(const Routine<T> &routine, tnk_int n, tnk_int incx, tnk_int incy) {
  Strided<T> x(n, incx), y(n, incy, 8);
  Random random(static_cast<unsigned>(n));
  for (tnk_int i = 0; i < n; ++i) {
    x.put(i, random.number<T>());
    y.put(i, random.number<T>());
  }
  reference::InnerProduct expected{routine.conjugates};
  for (tnk_int i = 0; i < n; ++i) expected.add(x.get(i), y.get(i));
  const Value sum = routine.call(n, x.data(), incx, y.data(), incy);
  const reference::wide bound = static_cast<reference::wide>(n + 1) * routine.eps * expected.size;
  EXPECT_FALSE(!(std::fabs(sum.re - expected.re) <= bound) || !(std::fabs(sum.im - expected.im) <= bound))
      << "n " << n << " increments " << incx << ' ' << incy;
}

TEST(Dot, ErrorIsBoundedAtEveryIncrement) {
  for_all_routines([](const auto &routine) {
    for (const tnk_int n : {1, 2, 15, 16, 17, 35, 100, 3001})
      for (const tnk_int incx : {-3, -1, 0, 1, 2})
        for (const tnk_int incy : {-3, -1, 0, 1, 2}) expect_bounded_error(routine, n, incx, incy);
  });
}

// y starts one part later than x, so that operands are realigned.
template <class T> void expect_special_values_to_show(const Routine<T> &routine) {
  constexpr tnk_int n = 75;
  for (const auto special :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
    for (tnk_int at = 0; at < n; ++at)
      for (const bool in_x : {false, true}) {
        Operands<T> v(n, 0, reference::is_pair<T> ? sizeof(T) / 2 : sizeof(T));
        T value = (in_x ? v.x : v.y).get(at);
        if constexpr (reference::is_pair<T>)
          value.re = static_cast<decltype(T::re)>(special);
        else
          value = static_cast<T>(special);
        (in_x ? v.x : v.y).put(at, value);
        const Value sum = routine.call(n, v.x.data(), 1, v.y.data(), 1);
        const auto shows = [&](double part) {
          return std::isnan(special) ? std::isnan(part) : std::isinf(part);
        };
        ASSERT_TRUE(shows(sum.re) && (!reference::is_pair<T> || shows(sum.im))) << special << " at " << at;
      }
}

TEST(Dot, NanAndInfinityShowFromEveryPosition) {
  for_all_routines([](const auto &routine) { expect_special_values_to_show(routine); });
}

// x ends or begins where an access faults, y stands anywhere; then the other way round.
template <class T> void expect_no_stray_reads(const Routine<T> &routine) {
  for (tnk_int n = 1; n <= 70; ++n) {
    const std::size_t count = static_cast<std::size_t>(n);
    PageEdge<T> at_end(count), at_start(count, true);
    Fenced<T> fenced(count);
    for (const std::size_t shift : shifts<T>()) {
      const Operands<T> v(n, 0, shift);
      reference::InnerProduct forth{routine.conjugates}, back{routine.conjugates};
      for (std::size_t i = 0; i < count; ++i) {
        forth.add(v.x.get(i), v.y.get(i));
        back.add(v.y.get(i), v.x.get(i));
      }
      for (T *const x : {at_end.data(), at_start.data(), fenced.data()}) {
        std::memcpy(x, v.x.data(), count * sizeof(T));
        const Value xy = routine.call(n, x, 1, v.y.data(), 1);
        const Value yx = routine.call(n, v.y.data(), 1, x, 1);
        ASSERT_TRUE(xy.re == forth.re && xy.im == forth.im && yx.re == back.re && yx.im == back.im) << n;
      }
    }
  }
}

TEST(Dot, ReadsNothingOutsideItsVectors) {
  for_all_routines([](const auto &routine) { expect_no_stray_reads(routine); });
}

TEST(Dot, OfNothingIsZeroAndReadsNothing) {
  for_all_routines([](const auto &routine) {
    for (const tnk_int n : {0, -1}) {
      const Value sum = routine.call(n, nullptr, 1, nullptr, 1);
      EXPECT_TRUE(sum.re == 0 && sum.im == 0);
    }
  });
}

TEST(Dot, SdsdotAddsItsStartInDoubleAndRoundsOnce) {
  const float start = 16777216, ones[20] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
  for (tnk_int n = -1; n <= 20; ++n)
    for (const tnk_int incy : {1, -1}) { // the second takes the scalar loop
      const tnk_int incx = 1, even = n / 2 * 2;
      EXPECT_EQ(tnk_blas_sdsdot(&even, &start, ones, &incx, ones, &incy), start + static_cast<float>(even));
    }
  const tnk_int none = 0, one = 1;
  const float negative_zero = -0.0f;
  EXPECT_TRUE(std::signbit(tnk_blas_sdsdot(&none, &negative_zero, ones, &one, ones, &one)));
}

} // namespace
} // namespace tnk::test
