// The first outcome of loading stays, so each refusal is met in a process of its own, which a death test starts anew.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <tnk/blas.h>
#include <tnk/host.h>
#include <unistd.h>
#include <vector>

#include "tests/support/error_recorder.h"

namespace {

// Loads twice and runs a public routine; ends with 0 when all were refused alike and nothing was touched.
[[noreturn]] void be_refused(const char *path, tnk_status expected) {
  alarm(60); // for one who waits for somebody to write into a pipe
  setenv("TNK_KERNEL_PATH", path, 1);
  const std::string before = tnk_kernel_message();
  errno = 77;
  const tnk_status status = tnk_kernel_load();
  const bool kept = errno == 77;
  setenv("TNK_KERNEL_PATH", "/elsewhere", 1); // too late to count
  const tnk_int n = 1;
  double alpha = 2, x = 3, y = 4;
  tnk_blas_daxpy(&n, &alpha, &x, &n, &y, &n);
  const double dot = tnk_blas_ddot(&n, &x, &n, &y, &n);
  const bool right = kept && before.empty() && status == expected && tnk_kernel_load() == expected &&
                     y == 4 && dot != dot && !tnk_kernel_entry("dll_cpu_version") &&
                     std::string(tnk_kernel_message()) != "" &&
                     std::string(std::strchr(path, '/') ? "" : "./") + path == tnk_kernel_path();
  std::exit(right ? 0 : 1);
}

std::filesystem::path beside_the_host(const char *name) {
  return std::filesystem::path(TNK_TEST_HOST_LIBRARY).replace_filename(name);
}
std::string bytes_of_the_kernel_library() {
  std::ifstream file(beside_the_host("libtnk_avx.so"), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
// Where the last of what a loader maps ends.
std::size_t end_of_segments(const std::string &bytes) {
  Elf64_Ehdr header;
  std::memcpy(&header, bytes.data(), sizeof header);
  std::size_t end = 0;
  for (std::size_t i = 0; i < header.e_phnum; ++i) {
    Elf64_Phdr segment;
    std::memcpy(&segment, bytes.data() + header.e_phoff + i * sizeof segment, sizeof segment);
    if (segment.p_type == PT_LOAD) end = std::max(end, segment.p_offset + segment.p_filesz);
  }
  return end;
}
// A file in memory; gone with the process.
std::string file_of(const std::string &bytes) {
  const int memory = memfd_create("kernels", 0);
  const bool written = write(memory, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  return written ? "/proc/self/fd/" + std::to_string(memory) : "";
}

TEST(KernelLoaderDeathTest, RefusesWithTheReason) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::string pipe = beside_the_host("tnk_test_pipe");
  ASSERT_TRUE(mkfifo(pipe.c_str(), 0600) == 0 || errno == EEXIST);
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
      {"/tmp", TNK_KERNEL_MISSING, "kernel library /tmp cannot be loaded: it is no regular file"},
      {pipe.c_str(), TNK_KERNEL_MISSING, "cannot be loaded: it is no regular file"},
      {TNK_TEST_HOST_LIBRARY, TNK_KERNEL_FOREIGN, "libtnk_host.so is not a kernel library"},
      {TNK_TEST_OTHER_CLASS, TNK_KERNEL_OTHER_CLASS,
       "is for processor class 7 \\(unknown\\), this processor is of class 4 \\(AVX\\)"},
      {"/no/such/file", TNK_KERNEL_MISSING, "tnk: tnk_blas_daxpy: kernel library /no/such/file not found"},
      // Without a slash in the current folder: the dynamic linker would find this one.
      {"libc.so.6", TNK_KERNEL_MISSING, "kernel library ./libc.so.6 not found"},
  };
  for (const auto &c : cases)
    EXPECT_EXIT(be_refused(c.path, c.status), testing::ExitedWithCode(0), c.message) << c.path;
  // The dynamic linker would map these, and the process would die of a bus error.
  const std::string whole = bytes_of_the_kernel_library();
  const std::size_t needed = end_of_segments(whole);
  for (const std::size_t length : {std::size_t{100}, std::size_t{20000}, needed - 1})
    EXPECT_EXIT(be_refused(file_of(whole.substr(0, length)).c_str(), TNK_KERNEL_MISSING),
                testing::ExitedWithCode(0), "cannot be loaded: the file is cut short");
  const auto load_needed = [&] {
    setenv("TNK_KERNEL_PATH", file_of(whole.substr(0, needed)).c_str(), 1);
    std::exit(tnk_kernel_load());
  };
  EXPECT_EXIT(load_needed(), testing::ExitedWithCode(TNK_OK), "");
}

// First calls look for the kernel library, measure caches, take memory and start threads.
TEST(KernelLoaderDeathTest, FirstCallsKeepErrno) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto call = [](auto routine) {
    errno = 77;
    routine();
    return errno == 77;
  };
  const auto check_all = [&] {
    const tnk_int n = 1, order = 400;
    const double one = 1;
    double y = 4;
    std::vector<double> a(160000), c(160000);
    bool kept = call([&] { tnk_kernel_path(); }) && call([&] { tnk_blas_daxpy(&n, &one, &one, &n, &y, &n); });
    tnk_set_num_threads(2);
    kept = kept && call([&] {
             tnk_blas_dgemm("N", "N", &order, &order, &order, &one, a.data(), &order, a.data(), &order, &one,
                            c.data(), &order);
           });
    kept = kept && call([] { tnk_kernel_entry("no_such_entry"); }) && call([] {
             tnk_serv_tnk_free(tnk_serv_tnk_malloc(INT64_MAX, 64)); // refused
           });
    std::exit(kept ? 0 : 1);
  };
  EXPECT_EXIT(check_all(), testing::ExitedWithCode(0), "");
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
  for (const char *name : {"tnk_no_such_entry", "malloc", "tnk_serv_allocate", ""})
    EXPECT_EQ(tnk_kernel_entry(name), nullptr) << name;
  EXPECT_EQ(errors.last().count, 0);
  EXPECT_EQ(tnk_kernel_require("malloc"), nullptr);
  EXPECT_EQ(errors.last().count, 1);
  EXPECT_EQ(errors.last().message,
            std::string("malloc: the kernel library ") + tnk_kernel_path() + " has no entry malloc");
  EXPECT_EQ(tnk_kernel_require("dll_cpu_version"), tnk_kernel_entry("dll_cpu_version"));
  errors.take();
  const std::string null = ": argument 1 (name) is a null address, expected the address of a value";
  EXPECT_EQ(tnk_kernel_entry(nullptr), nullptr);
  EXPECT_EQ(errors.bad_argument(), "tnk_kernel_entry" + null);
  EXPECT_EQ(tnk_kernel_require(nullptr), nullptr);
  EXPECT_EQ(errors.bad_argument(), "tnk_kernel_require" + null);
}

} // namespace
