#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <tnk/blas.h>
#include <tnk/host.h>
#include <unistd.h>

#include "tests/support/error_recorder.h"

namespace {

void first(const tnk_error *) {}
void second(const tnk_error *) {}

TEST(Errors, SettingAHandlerGivesTheOneBefore) {
  const tnk_error_handler original = tnk_set_error_handler(first);
  EXPECT_NE(original, nullptr);
  EXPECT_EQ(tnk_set_error_handler(second), first);
  EXPECT_EQ(tnk_set_error_handler(nullptr), second);
  EXPECT_EQ(tnk_set_error_handler(original), original) << "null sets the default";
}

TEST(Errors, TheDefaultHandlerWritesOneLineAndKeepsErrno) {
  const tnk_int n = -2, inc = 1;
  double x = 0, y = 0;
  testing::internal::CaptureStderr();
  errno = 77;
  tnk_blas_dcopy(&n, &x, &inc, &y, &inc);
  EXPECT_EQ(errno, 77);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tnk: tnk_blas_dcopy: argument 1 (n) is -2, expected 0 or more\n");
}

TEST(Errors, AHandlerMayCallTheLibrary) {
  static int calls;
  calls = 0;
  const tnk_error_handler before = tnk_set_error_handler([](const tnk_error *) {
    if (++calls == 1) tnk_blas_dcopy(nullptr, nullptr, nullptr, nullptr, nullptr);
  });
  tnk_blas_dcopy(nullptr, nullptr, nullptr, nullptr, nullptr);
  tnk_set_error_handler(before);
  EXPECT_EQ(calls, 2);
}

} // namespace
