// The first outcome of loading stays for the life of a process, so each refusal is met in a process of its
// own: a death test of the thread-safe kind starts this program anew.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <tnk/blas.h>
#include <tnk/host.h>
#include <unistd.h>
#include <vector>

#include "tests/support/error_recorder.h"

namespace {

// Loads twice and runs a public routine; ends with 0 when all three were refused alike and nothing was
// touched.
[[noreturn]] void be_refused(const char *path, tnk_status expected) {
  setenv("TNK_KERNEL_PATH", path, 1);
  const std::string before = tnk_kernel_message();
  const tnk_status status = tnk_kernel_load();
  setenv("TNK_KERNEL_PATH", "/elsewhere", 1); // too late to count
  const tnk_int n = 1;
  double alpha = 2, x = 3, y = 4;
  tnk_blas_daxpy(&n, &alpha, &x, &n, &y, &n);
  const double dot = tnk_blas_ddot(&n, &x, &n, &y, &n);
  const bool right = before.empty() && status == expected && tnk_kernel_load() == expected && y == 4 &&
                     dot != dot && !tnk_kernel_entry("dll_cpu_version") &&
                     std::string(tnk_kernel_message()) != "" &&
                     std::string(std::strchr(path, '/') ? "" : "./") + path == tnk_kernel_path();
  std::exit(right ? 0 : 1);
}

// A file in memory with the first `length` bytes of the kernel library; gone with the process. The dynamic linker would
// map it and die of a bus error.
std::string beginning_of_the_kernel_library(std::size_t length) {
  const auto whole = std::filesystem::path(TNK_TEST_HOST_LIBRARY).replace_filename("libtnk_avx.so");
  std::ifstream file(whole, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  const int memory = memfd_create("kernels", 0);
  const bool written =
      length < bytes.size() && write(memory, bytes.data(), length) == static_cast<ssize_t>(length);
  return written ? "/proc/self/fd/" + std::to_string(memory) : "";
}

TEST(KernelLoaderDeathTest, RefusesWithTheReason) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct {
    const char *path;
    tnk_status status;
    const char *message;
  } const cases[] = {
      {"/no/such/folder/kernels.so", TNK_KERNEL_MISSING,
       "tnk: tnk_kernel_load: kernel library /no/such/folder/kernels.so not found \\(TNK_KERNEL_PATH names "
       "it\\)"},
      {"/proc/self/status", TNK_KERNEL_MISSING,
       "tnk: tnk_kernel_load: kernel library .* cannot be loaded: .*status"},
      {"/tmp", TNK_KERNEL_MISSING, "kernel library /tmp cannot be loaded: "},
      {TNK_TEST_HOST_LIBRARY, TNK_KERNEL_FOREIGN, "libtnk_host.so is not a kernel library"},
      {TNK_TEST_OTHER_CLASS, TNK_KERNEL_OTHER_CLASS,
       "is for processor class 7 \\(unknown\\), this processor is of class 4 \\(AVX\\)"},
      {"/no/such/file", TNK_KERNEL_MISSING, "tnk: tnk_blas_daxpy: kernel library /no/such/file not found"},
      // Without a slash in the current folder: the dynamic linker would find this one.
      {"libc.so.6", TNK_KERNEL_MISSING, "kernel library ./libc.so.6 not found"},
  };
  for (const auto &c : cases)
    EXPECT_EXIT(be_refused(c.path, c.status), testing::ExitedWithCode(0), c.message) << c.path;
  for (const std::size_t length : {100, 20000})
    EXPECT_EXIT(be_refused(beginning_of_the_kernel_library(length).c_str(), TNK_KERNEL_MISSING),
                testing::ExitedWithCode(0), "cannot be loaded: the file is cut short");
}

TEST(KernelLoader, LoadsOnceForAllThreads) {
  constexpr int count = 8;
  std::atomic<int> waiting{count};
  std::vector<void *> addresses(count);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < count; ++t)
    threads.emplace_back([&, t] {
      --waiting;
      while (waiting.load() > 0) std::this_thread::yield();
      if (tnk_kernel_load() == TNK_OK) addresses[t] = tnk_kernel_entry("dll_cpu_version");
    });
  for (std::thread &thread : threads) thread.join();
  ASSERT_NE(addresses[0], nullptr) << tnk_kernel_message();
  EXPECT_EQ(addresses, std::vector<void *>(count, addresses[0]));
  EXPECT_EQ(TNK_KERNEL_ENTRY(dll_cpu_version)(), tnk_serv_cpu_detect());
  EXPECT_STREQ(tnk_kernel_message(), "");
  const std::filesystem::path path = tnk_kernel_path();
  EXPECT_EQ(path, path.lexically_normal());
  EXPECT_TRUE(std::filesystem::equivalent(path.parent_path(),
                                          std::filesystem::path(TNK_TEST_HOST_LIBRARY).parent_path()));
}

TEST(KernelLoader, OnlyTheLibrarysOwnNamesAreEntries) {
  tnk::test::ErrorRecorder errors;
  for (const char *name : {"tnk_no_such_entry", "malloc", "tnk_serv_allocate"})
    EXPECT_EQ(tnk_kernel_entry(name), nullptr) << name;
  EXPECT_EQ(errors.last().count, 0);
  EXPECT_EQ(tnk_kernel_require("malloc"), nullptr);
  EXPECT_EQ(errors.last().count, 1);
  EXPECT_EQ(errors.last().message,
            std::string("malloc: the kernel library ") + tnk_kernel_path() + " has no entry malloc");
  EXPECT_EQ(tnk_kernel_require("dll_cpu_version"), tnk_kernel_entry("dll_cpu_version"));
}

} // namespace
