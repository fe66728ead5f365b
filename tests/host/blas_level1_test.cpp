// The public vector routines: what they refuse, and that a good call reaches its kernel.
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <vector>

#include "tests/support/call.h"
#include "tests/support/error_recorder.h"

namespace {

using namespace tnk::test;

struct Routine {
  const char *name;
  double (*run)(void *const *arguments), (*kernel)(void *const *arguments);
  const char *arguments;
  std::size_t element;
};
#define ROUTINE(name, shape, element)                                                                        \
  {                                                                                                          \
    "tnk_blas_" #name, by_addresses<tnk_blas_##name>, by_addresses<tnk_blas_x##name>, shape##_arguments,     \
        element                                                                                              \
  }
const Routine routines[] = {
    ROUTINE(saxpy, axpy, 4), ROUTINE(daxpy, axpy, 8), ROUTINE(caxpy, axpy, 8), ROUTINE(zaxpy, axpy, 16),
    ROUTINE(scopy, copy, 4), ROUTINE(dcopy, copy, 8), ROUTINE(ccopy, copy, 8), ROUTINE(zcopy, copy, 16),
    ROUTINE(sdot, copy, 4),  ROUTINE(ddot, copy, 8),  ROUTINE(cdotc, dotc, 8),
};
bool is_function(const Routine &routine) {
  const std::string name = routine.name;
  return name.substr(name.size() - 3) == "dot";
}

TEST(PublicLevel1, EveryBadArgumentIsReportedAndNothingTouched) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    const auto names = Call(routine.arguments).names;
    const tnk_int most = INT64_MAX / static_cast<tnk_int>(routine.element), span = (most - 1) / 2;
    const auto expect_refusal = [&](Call &call, std::size_t position, const std::string &complaint) {
      EXPECT_EQ(std::isnan(routine.run(call.addresses.data())), is_function(routine)) << routine.name;
      EXPECT_EQ(errors.bad_argument(), std::string(routine.name) + ": argument " +
                                           std::to_string(position + 1) + " (" + names[position] + ") is " +
                                           complaint);
      EXPECT_TRUE(call.memory_equals(Call(routine.arguments))) << routine.name;
    };
    for (std::size_t i = 0; i < names.size(); ++i) {
      Call null(routine.arguments);
      // Those behind it are null as well: the first one is reported.
      std::fill(null.addresses.begin() + static_cast<std::ptrdiff_t>(i), null.addresses.end(), nullptr);
      expect_refusal(null, i, "a null address, expected the address of a value");

      std::vector<std::pair<tnk_int, std::string>> bads;
      if (names[i] == "n")
        for (const tnk_int n : {tnk_int{-1}, INT64_MIN, most + 1, INT64_MAX})
          bads.push_back({n, n < 0 ? "0 or more" : "0 to " + std::to_string(most)});
      if (names[i] == "incx" || names[i] == "incy")
        for (const tnk_int inc : {span + 1, -span - 1, INT64_MAX, INT64_MIN})
          bads.push_back({inc, std::to_string(-span) + " to " + std::to_string(span)});
      for (const auto &[value, expected] : bads) {
        Call call(routine.arguments);
        call.integer(names[i]) = value;
        expect_refusal(call, i, std::to_string(value) + ", expected " + expected);
      }
    }
  }
}

TEST(PublicLevel1, NothingToDoIsNoError) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    Call call(routine.arguments), before(routine.arguments);
    call.n = 0;
    for (std::size_t i = 0; i < call.names.size(); ++i)
      if (call.names[i] != "n" && call.names[i] != "result") call.addresses[i] = nullptr;
    EXPECT_EQ(routine.run(call.addresses.data()), 0) << routine.name;
    EXPECT_EQ(errors.last().count, 0) << routine.name;
    if (call.names[0] == "result") std::memset(before.scalar, 0, 8);
    EXPECT_TRUE(call.memory_equals(before)) << routine.name;
  }
}

TEST(PublicLevel1, GoodCallsReachTheirKernels) {
  ErrorRecorder errors;
  for (const Routine &routine : routines) {
    Call call(routine.arguments), direct(routine.arguments);
    EXPECT_EQ(routine.run(call.addresses.data()), routine.kernel(direct.addresses.data())) << routine.name;
    EXPECT_TRUE(call.memory_equals(direct)) << routine.name;
    EXPECT_EQ(call.memory_equals(Call(routine.arguments)), is_function(routine)) << routine.name;
  }
  EXPECT_EQ(errors.last().count, 0);
}

// The largest that pass. An alpha of 0 keeps the kernel from walking them; one element takes no step.
TEST(PublicLevel1, LimitsThemselvesAreNoErrors) {
  ErrorRecorder errors;
  const double zero = 0, x = 5;
  double y = 0;
  const tnk_int most = INT64_MAX / 8, span = (most - 1) / 2;
  for (const auto &[n, inc] : {std::pair{most, tnk_int{1}}, {3, span}, {3, -span}})
    tnk_blas_daxpy(&n, &zero, &x, &inc, &y, &inc);
  for (const tnk_int inc : {INT64_MIN, INT64_MAX, tnk_int{0}, tnk_int{-1}}) {
    const tnk_int n = 1;
    y = 0;
    tnk_blas_dcopy(&n, &x, &inc, &y, &inc);
    EXPECT_EQ(y, 5) << inc;
  }
  EXPECT_EQ(errors.last().message, "");
}

} // namespace
