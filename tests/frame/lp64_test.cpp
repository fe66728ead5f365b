// The 32-bit surface does what the 64-bit routines do with the same integers; axpy, copy and dot, the public ones, reports
// included.
#include "support/call.h"
#include "support/error_recorder.h"
#include <cmath>
#include <gtest/gtest.h>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/blas_lp64.h>

namespace {

using namespace tnk::test;

struct Thunk {
  const char *name;
  double (*narrow)(void *const *arguments), (*wide)(void *const *arguments);
  const char *arguments;
};
#define THUNK(name, shape)                                                                                   \
  { #name, by_addresses < tnk_blas_lp64_##name>, by_addresses < tnk_blas_##name>, shape##_arguments }
const Thunk thunks[] = {
    THUNK(saxpy, axpy), THUNK(daxpy, axpy), THUNK(caxpy, axpy), THUNK(zaxpy, axpy),
    THUNK(scopy, copy), THUNK(dcopy, copy), THUNK(ccopy, copy), THUNK(zcopy, copy),
    THUNK(sdot, copy),  THUNK(ddot, copy),  THUNK(cdotu, dotc), THUNK(zdotu, dotc),
    THUNK(sscal, scal), THUNK(dscal, scal), THUNK(cscal, scal), THUNK(zscal, scal),
};

// An argument between other values, so that reading 64 bits where 32 are given would show.
struct Narrow {
  int32_t before = 0x7E7E7E7E, value, after = 0x7E7E7E7E;
};

TEST(Lp64, DoesWhatThe64BitRoutinesDo) {
  const int32_t cases[][3] = {
      {3, 1, 2}, {3, -2, 1}, {3, 2, -1},         {3, 0, -2}, {1, INT32_MIN, INT32_MAX},
      {0, 1, 1}, {-3, 1, 1}, {INT32_MIN, -1, -1}};
  const char *const names[] = {"n", "incx", "incy"};
  ErrorRecorder errors;
  for (const Thunk &thunk : thunks)
    for (const auto &c : cases) {
      Narrow integers[3];
      Call narrow(thunk.arguments), wide(thunk.arguments);
      wide.n = c[0], wide.incx = c[1], wide.incy = c[2];
      for (int k = 0; k < 3; ++k) integers[k].value = c[k];
      for (std::size_t i = 0; i < narrow.names.size(); ++i)
        for (int k = 0; k < 3; ++k)
          if (narrow.names[i] == names[k]) narrow.addresses[i] = &integers[k].value;
      const double expected = thunk.wide(wide.addresses.data());
      const std::string report = errors.take().message;
      const double result = thunk.narrow(narrow.addresses.data());
      SCOPED_TRACE(testing::Message() << thunk.name << ' ' << c[0] << ' ' << c[1] << ' ' << c[2]);
      EXPECT_TRUE(result == expected || (std::isnan(result) && std::isnan(expected)));
      EXPECT_TRUE(narrow.memory_equals(wide));
      EXPECT_EQ(errors.take().message, report);
    }
}

} // namespace
