// The front without a kernel library, and with the real one.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <tnk/blas_level1.h>
#include <tnk/blas_level3.h>
#include <tnk/conv.h>
#include <tnk/dfti.h>
#include <tnk/gmp.h>
#include <tnk/host.h>
#include <tnk/integer.h>
#include <tnk/kernel.h>
#include <tnk/poisson.h>
#include <tnk/trig.h>
#include <vector>

#include "tests/support/error_recorder.h"

namespace {

using tnk::test::ErrorRecorder;

// Each call reports under its own name, and returns what no call of its family returns that worked.
void expect_refusals(tnk_status status) {
  ErrorRecorder errors;
  const tnk_int n = 1;
  double x = 3;
  const float single = 3;
  const auto reported = [&](const char *name) {
    const ErrorRecorder::Seen seen = errors.take();
    const std::string message = std::string(name) + ": " + tnk_kernel_message();
    return seen.count == 1 && seen.kind == TNK_ERROR_KERNEL && seen.routine == name &&
           seen.message == message;
  };
  for (int call = 0; call < 2; ++call) {
    EXPECT_TRUE(std::isnan(tnk_blas_dnrm2(&n, &x, &n)) && reported("tnk_blas_dnrm2"));
    EXPECT_TRUE(std::isnan(tnk_blas_snrm2(&n, &single, &n)) && reported("tnk_blas_snrm2"));
    EXPECT_TRUE(tnk_blas_idamax(&n, &x, &n) == 0 && reported("tnk_blas_idamax"));
    EXPECT_TRUE(tnk_blas_dgemm_get_kernel(0, nullptr) == 1 && reported("tnk_blas_dgemm_get_kernel"));
    EXPECT_TRUE(dll_cpu_version() == TNK_CLASS_NONE && reported("dll_cpu_version"));
    DftiHandle handle = nullptr;
    EXPECT_TRUE(DftiCreateDescriptor_d_1d(&handle, DftiComplex, 8) == DftiInternalError && !handle &&
                reported("DftiCreateDescriptor_d_1d"));
    EXPECT_TRUE(tnk_dft_dfti_commit_descriptor_external(&handle) == DftiInternalError &&
                reported("tnk_dft_dfti_commit_descriptor_external"));
    EXPECT_TRUE(!DftiErrorMessage(DftiInternalError) && reported("DftiErrorMessage"));
    tnk_gmp_integer number = {0, 0, nullptr};
    EXPECT_TRUE(tnk_gmp___gmpz_set_str(&number, "1", 10) == -1 && reported("tnk_gmp___gmpz_set_str"));
    tnk_blas_dscal(&n, &x, &x, &n);
    EXPECT_TRUE(x == 3 && reported("tnk_blas_dscal"));
    // Checked routines that take several entries report once, too.
    for (const std::int32_t numbers : {TNK_POISSON_DOUBLE, TNK_POISSON_FLOAT}) {
      const tnk_poisson_problem plate = {2, numbers, {4, 4}, {}, {1, 1}, "DDDD", 0};
      tnk_poisson_plan *plan = nullptr;
      EXPECT_TRUE(tnk_poisson_plan_make(&plan, &plate) == TNK_POISSON_NO_LIBRARY && !plan &&
                  reported("tnk_poisson_plan_make"));
    }
    tnk_trig_dplan *rows = nullptr;
    EXPECT_TRUE(tnk_trig_dmake(&rows, TNK_TRIG_QUARTER_SINE, 8) == TNK_TRIG_NO_LIBRARY && !rows &&
                reported("tnk_trig_dmake"));
    double z = 0;
    EXPECT_TRUE(tnk_conv_dconvolve('F', 1, &x, 1, &x, &z) == TNK_CONV_NO_LIBRARY &&
                reported("tnk_conv_dconvolve"));
    EXPECT_TRUE(tnk_integer_set_int(&number, 1) == TNK_INTEGER_NO_KERNEL && reported("tnk_integer_set_int"));
  }
  EXPECT_EQ(tnk_kernel_load(), status);
}

// The calls under way as an unwinder sees them, innermost first. A return address may stand behind the end of its function,
// and one that is not exported has no name.
std::vector<Dl_info> frames;

[[gnu::noinline]] void trace(const tnk_error *) {
  void *addresses[64];
  for (int left = backtrace(addresses, 64), i = 0; i < left; ++i) {
    Dl_info frame{};
    dladdr(static_cast<char *>(addresses[i]) - 1, &frame);
    frames.push_back(frame);
  }
}

[[noreturn]] void be_refused() {
  setenv("TNK_KERNEL_PATH", "/nowhere.so", 1);
  expect_refusals(TNK_KERNEL_MISSING);

  // From the handler a trace of calls leads through the stub to its caller.
  tnk_set_error_handler(trace);
  tnk_blas_dasum(nullptr, nullptr, nullptr);
  const auto stub = std::find_if(frames.begin(), frames.end(), [](const Dl_info &frame) {
    return frame.dli_sname && std::string(frame.dli_sname) == "tnk_blas_dasum";
  });
  const bool has_caller = frames.end() - stub > 1;
  EXPECT_TRUE(has_caller);
  if (has_caller) {
    EXPECT_EQ(std::filesystem::path(stub->dli_fname).filename(), "libtnk.so");
    EXPECT_STREQ(stub[1].dli_fname, frames[0].dli_fname);
  }
  std::exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST(FrontRefusalsDeathTest, ReportTheCalledNameAndFailAsItsFamilyDoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(be_refused(), testing::ExitedWithCode(0), "^$");
}

// On a processor without AVX, which here is an emulated one.
TEST(FrontRefusals, WithoutAvx) {
  if (tnk_serv_cpu_detect() != TNK_CLASS_NONE) GTEST_SKIP() << "this processor has AVX";
  expect_refusals(TNK_NO_AVX);
}

// Where a stub jumps to: behind endbr64 stands jmp *distance(%rip), six bytes long.
const void *entry_behind(const char *stub) {
  std::int32_t distance;
  std::memcpy(&distance, stub + 6, sizeof distance);
  const void *entry;
  std::memcpy(&entry, stub + 10 + distance, sizeof entry);
  return entry;
}

TEST(Front, LeadsEachNameToItsEntry) {
  ASSERT_EQ(dll_cpu_version(), TNK_CLASS_AVX);
  int functions = 0;
  for (const auto &list : std::filesystem::directory_iterator(TNK_TEST_EXPORTS)) {
    std::ifstream file(list.path());
    bool objects = false; // as the heading above says
    for (std::string name; std::getline(file, name);) {
      if (name[0] == '#') objects = name.size() > 5 && name.compare(name.size() - 5, 5, " data") == 0;
      if (name[0] == '#' || objects) continue;
      const char *const stub = static_cast<const char *>(dlsym(RTLD_DEFAULT, name.c_str()));
      ASSERT_NE(stub, nullptr) << name;
      EXPECT_EQ(entry_behind(stub), tnk_kernel_entry(name.c_str())) << name;
      ++functions;
    }
  }
  EXPECT_GT(functions, 2600);
}

} // namespace
