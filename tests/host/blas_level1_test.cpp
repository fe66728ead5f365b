// The public vector routines: what they refuse, and that a good call reaches its kernel.
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <tnk/blas.h>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/error_recorder.h"

namespace {

using tnk::test::ErrorRecorder;

// Any routine of the table called with a list of addresses. Gives its result as a double, 0 where it has
// none.
template <auto routine, class Result, class... Arguments, std::size_t... i>
double call(Result (*)(Arguments...), void *const *a, std::index_sequence<i...>) {
  if constexpr (std::is_void_v<Result>) {
    routine(static_cast<Arguments>(a[i])...);
    return 0;
  } else {
    return static_cast<double>(routine(static_cast<Arguments>(a[i])...));
  }
}
template <class Result, class... Arguments> constexpr std::size_t count_of(Result (*)(Arguments...)) {
  return sizeof...(Arguments);
}
template <auto routine> double call(void *const *a) {
  return call<routine>(routine, a, std::make_index_sequence<count_of(routine)>());
}

struct Routine {
  const char *name;
  double (*call)(void *const *arguments);
  const char *arguments;
  std::size_t element;
  bool is_function;
};
const Routine routines[] = {
    {"tnk_blas_saxpy", call<tnk_blas_saxpy>, "n alpha x incx y incy", 4, false},
    {"tnk_blas_daxpy", call<tnk_blas_daxpy>, "n alpha x incx y incy", 8, false},
    {"tnk_blas_caxpy", call<tnk_blas_caxpy>, "n alpha x incx y incy", 8, false},
    {"tnk_blas_zaxpy", call<tnk_blas_zaxpy>, "n alpha x incx y incy", 16, false},
    {"tnk_blas_scopy", call<tnk_blas_scopy>, "n x incx y incy", 4, false},
    {"tnk_blas_dcopy", call<tnk_blas_dcopy>, "n x incx y incy", 8, false},
    {"tnk_blas_ccopy", call<tnk_blas_ccopy>, "n x incx y incy", 8, false},
    {"tnk_blas_zcopy", call<tnk_blas_zcopy>, "n x incx y incy", 16, false},
    {"tnk_blas_sdot", call<tnk_blas_sdot>, "n x incx y incy", 4, true},
    {"tnk_blas_ddot", call<tnk_blas_ddot>, "n x incx y incy", 8, true},
    {"tnk_blas_cdotc", call<tnk_blas_cdotc>, "result n x incx y incy", 8, false},
};

// A good call of any routine: 3 elements everywhere, bytes that no routine would write by accident.
struct Call {
  explicit Call(const Routine &routine) : routine_(routine) {
    std::istringstream words(routine.arguments);
    for (std::string word; words >> word;) names.push_back(word);
    std::memset(x, 0x11, sizeof x);
    std::memset(y, 0x22, sizeof y);
    std::memset(scalar, 0x33, sizeof scalar);
    for (const std::string &name : names)
      addresses.push_back(name == "n"      ? &n
                          : name == "incx" ? &incx
                          : name == "incy" ? &incy
                          : name == "x"    ? x
                          : name == "y"    ? y
                                           : static_cast<void *>(scalar));
  }
  tnk_int &integer(const std::string &name) { return name == "n" ? n : name == "incx" ? incx : incy; }
  bool untouched() const {
    for (const unsigned char byte : x)
      if (byte != 0x11) return false;
    for (const unsigned char byte : y)
      if (byte != 0x22) return false;
    for (const unsigned char byte : scalar)
      if (byte != 0x33) return false;
    return true;
  }
  double run() { return routine_.call(addresses.data()); }

  std::vector<std::string> names;
  std::vector<void *> addresses;
  tnk_int n = 3, incx = 1, incy = 1;
  alignas(16) unsigned char x[48], y[48], scalar[16];

private:
  const Routine &routine_;
};

TEST(PublicLevel1, EveryBadArgumentIsReportedAndNothingTouched) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    const std::size_t arguments = Call(routine).names.size();
    const tnk_int most = INT64_MAX / static_cast<tnk_int>(routine.element), span = (most - 1) / 2;
    for (std::size_t position = 0; position < arguments; ++position) {
      const std::string name = Call(routine).names[position];
      struct Bad {
        bool null;
        tnk_int value;
        std::string expected;
      };
      std::vector<Bad> bads = {{true, 0, "the address of a value"}};
      if (name == "n")
        bads.insert(bads.end(), {{false, -1, "0 or more"},
                                 {false, INT64_MIN, "0 or more"},
                                 {false, most + 1, "0 to " + std::to_string(most)},
                                 {false, INT64_MAX, "0 to " + std::to_string(most)}});
      if (name.rfind("inc", 0) == 0)
        for (const tnk_int inc : {span + 1, -span - 1, INT64_MAX, INT64_MIN})
          bads.push_back({false, inc, std::to_string(-span) + " to " + std::to_string(span)});
      for (const Bad &bad : bads) {
        Call call(routine);
        if (bad.null)
          call.addresses[position] = nullptr;
        else
          call.integer(name) = bad.value;
        const std::string value = bad.null ? "a null address" : std::to_string(bad.value);
        SCOPED_TRACE(std::string(routine.name) + ' ' + name + " = " + value);
        const double result = call.run();
        const auto seen = errors.take();
        EXPECT_EQ(seen.count, 1);
        EXPECT_EQ(seen.kind, TNK_ERROR_ARGUMENT);
        EXPECT_EQ(seen.routine, routine.name);
        EXPECT_EQ(seen.position, static_cast<int>(position + 1));
        EXPECT_EQ(seen.argument, name);
        EXPECT_EQ(seen.value, value);
        EXPECT_EQ(seen.expected, bad.expected);
        EXPECT_EQ(seen.message, std::string(routine.name) + ": argument " + std::to_string(position + 1) +
                                    " (" + name + ") is " + value + ", expected " + bad.expected);
        EXPECT_TRUE(call.untouched());
        EXPECT_EQ(std::isnan(result), routine.is_function);
      }
    }
  }
}

TEST(PublicLevel1, TheFirstBadArgumentIsTheOneReported) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    Call call(routine);
    for (void *&address : call.addresses) address = nullptr;
    call.run();
    EXPECT_EQ(errors.last().count, 1);
    EXPECT_EQ(errors.take().position, 1) << routine.name;
  }
}

TEST(PublicLevel1, NothingToDoIsNoError) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    Call call(routine);
    call.n = 0;
    for (std::size_t i = 0; i < call.names.size(); ++i)
      if (call.names[i] != "n" && call.names[i] != "result") call.addresses[i] = nullptr;
    EXPECT_EQ(call.run(), 0) << routine.name;
    EXPECT_EQ(errors.last().count, 0) << routine.name;
    if (call.names[0] == "result")
      for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(call.scalar[i], 0);
    else
      EXPECT_TRUE(call.untouched()) << routine.name;
  }
}

// Small integers, exact in every type: x = (1, 2, 3) forward, y = (10, 20, 30) at increment -2, complex with
// an imaginary part.
template <class T> T number(int re, int im) {
  if constexpr (std::is_floating_point_v<T>)
    return static_cast<T>(re);
  else
    return T{static_cast<decltype(T::re)>(re), static_cast<decltype(T::re)>(im)};
}
template <class T> std::pair<double, double> parts(T a) {
  if constexpr (std::is_floating_point_v<T>)
    return {a, 0};
  else
    return {a.re, a.im};
}

template <class T, class Axpy, class Copy> void expect_axpy_and_copy(Axpy axpy, Copy copy) {
  constexpr bool complex = !std::is_floating_point_v<T>;
  const tnk_int n = 3, incx = 1, incy = -2;
  const T alpha = number<T>(2, 1), untouched = number<T>(-1, -1);
  const T x[3] = {number<T>(1, 4), number<T>(2, 5), number<T>(3, 6)};
  T y[5] = {number<T>(30, 3), untouched, number<T>(20, 2), untouched, number<T>(10, 1)};
  axpy(&n, &alpha, x, &incx, y, &incy);
  for (int i = 0; i < 3; ++i) {
    const int re = i + 1, im = i + 4;
    const std::pair<double, double> expected =
        complex ? std::pair<double, double>{2 * re - im + 10 * (i + 1), 2 * im + re + i + 1}
                : std::pair<double, double>{2 * re + 10 * (i + 1), 0};
    EXPECT_EQ(parts(y[4 - 2 * i]), expected) << i;
  }
  copy(&n, x, &incx, y, &incy);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(parts(y[4 - 2 * i]), parts(x[i])) << i;
  EXPECT_EQ(parts(y[1]), parts(untouched));
  EXPECT_EQ(parts(y[3]), parts(untouched));
}

TEST(PublicLevel1, GoodCallsReachTheirKernels) {
  ErrorRecorder errors;
  expect_axpy_and_copy<float>(tnk_blas_saxpy, tnk_blas_scopy);
  expect_axpy_and_copy<double>(tnk_blas_daxpy, tnk_blas_dcopy);
  expect_axpy_and_copy<tnk_complex8>(tnk_blas_caxpy, tnk_blas_ccopy);
  expect_axpy_and_copy<tnk_complex16>(tnk_blas_zaxpy, tnk_blas_zcopy);

  const tnk_int n = 3, one = 1, back = -1;
  const float xs[] = {1, 2, 3}, ys[] = {10, 20, 30};
  const double xd[] = {1, 2, 3}, yd[] = {10, 20, 30};
  EXPECT_EQ(tnk_blas_sdot(&n, xs, &one, ys, &one), 140);
  EXPECT_EQ(tnk_blas_ddot(&n, xd, &one, yd, &back), 100);
  const tnk_complex8 xc[] = {{1, 1}, {0, 2}, {3, 0}}, yc[] = {{1, 0}, {1, 1}, {0, 1}};
  tnk_complex8 result;
  tnk_blas_cdotc(&result, &n, xc, &one, yc, &one); // (1-i) + (-2i)(1+i) + 3i
  EXPECT_EQ(parts(result), std::pair(3.0, 0.0));
  EXPECT_EQ(errors.last().message, "");
}

// The largest increments that pass are those that a single element, or no second step, makes harmless.
TEST(PublicLevel1, AnyIncrementWillDoForOneElement) {
  ErrorRecorder errors;
  for (const tnk_int inc : {INT64_MIN, INT64_MAX, tnk_int{0}, tnk_int{-1}}) {
    const tnk_int n = 1;
    const double x = 5;
    double y = 0;
    tnk_blas_dcopy(&n, &x, &inc, &y, &inc);
    EXPECT_EQ(y, 5) << inc;
  }
  EXPECT_EQ(errors.last().message, "");
}

} // namespace
