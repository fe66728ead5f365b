// Calls of every shape through the front, into a kernel library made for it: they have to come to the same as calls of
// the entry itself. Finding the entries is over with the first call of a process, so each shape has that call in a
// process of its own (a death test of the thread-safe kind starts this program anew), where eight threads race for it.
#include "tests/front/arguments.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <thread>
#include <tnk/host.h>
#include <vector>

// In place of the host's: counts how often the front asks for an entry, and leaves no argument where it was.
static std::atomic<int> asked{0};

extern "C" void *tnk_kernel_require(const char *name) {
  ++asked;
  static const auto hosts =
      reinterpret_cast<decltype(&tnk_kernel_require)>(dlsym(RTLD_NEXT, "tnk_kernel_require"));
  void *const entry = hosts(name);
  if (__builtin_cpu_supports("avx")) asm volatile("vzeroall" ::: "memory");
  asm volatile("xor %%ecx, %%ecx\n xor %%edx, %%edx\n xor %%esi, %%esi\n xor %%edi, %%edi\n"
               "xor %%r8d, %%r8d\n xor %%r9d, %%r9d\n xor %%r10d, %%r10d\n xor %%r11d, %%r11d" ::
                   : "rcx", "rdx", "rsi", "rdi", "r8", "r9", "r10", "r11");
  errno = 1;
  return entry;
}

namespace {

template <class Result> bool equal(const Result &a, const Result &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}
#define AS_THE_ENTRY(name, ...) equal(name(__VA_ARGS__), TNK_KERNEL_ENTRY(name)(__VA_ARGS__))

bool integers() {
  return AS_THE_ENTRY(tnk_blas_xsgemm, 1, -2, 3, 1L << 35, 5, 6, 7, 8, -9, 10, 11, 12, -(1L << 35), 14);
}
bool variable() {
  return AS_THE_ENTRY(tnk_blas_dasum, 3, 1.0, 2.0, 3.0) &&
         AS_THE_ENTRY(tnk_blas_dasum, 9, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0);
}
#ifndef __clang__ // passes them in memory unless the whole file is compiled for them
AVX bool vectors() {
  __m256d a[9];
  for (int i = 0; i < 9; ++i) a[i] = _mm256_set_pd(i, 10 * i, -i, 1 - i);
  double through[4], direct[4];
  _mm256_storeu_pd(through, tnk_blas_ddoti(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8]));
  _mm256_storeu_pd(direct,
                   TNK_KERNEL_ENTRY(tnk_blas_ddoti)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8]));
  return equal(through, direct);
}
AVX512 bool wide_vectors() {
  __m512d a[8];
  for (int i = 0; i < 8; ++i) a[i] = _mm512_set_pd(i, 10 * i, -i, 1 - i, 3 - i, 9 * i, 4, i + 8);
  double through[8], direct[8];
  _mm512_storeu_pd(through, tnk_blas_sdoti(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7]));
  _mm512_storeu_pd(direct, TNK_KERNEL_ENTRY(tnk_blas_sdoti)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7]));
  return equal(through, direct);
}
bool wide_vectors_if_any() {
  return !__builtin_cpu_supports("avx512f") || wide_vectors();
}
#endif
bool error_number() {
  errno = 4242;
  return tnk_blas_idamax() == 4242 && errno == 4242;
}

struct {
  const char *name;
  bool (*passes)();
} const shapes[] = {{"integers", integers},
                    {"variable", variable},
#ifndef __clang__
                    {"vectors", vectors},
                    {"wide vectors", wide_vectors_if_any},
#endif
                    {"error number", error_number}};

[[noreturn]] void race(bool (*passes)()) {
  setenv("TNK_KERNEL_PATH", TNK_TEST_ARGUMENTS, 1);
  constexpr int count = 8;
  std::atomic<int> waiting{count};
  std::atomic<bool> right{true};
  std::vector<std::thread> threads;
  for (int t = 0; t < count; ++t)
    threads.emplace_back([&] {
      --waiting;
      while (waiting.load() > 0) std::this_thread::yield();
      for (int call = 0; call < 3; ++call)
        if (!passes()) right = false;
    });
  for (std::thread &thread : threads) thread.join();
  std::exit(right ? 0 : 1);
}

TEST(FrontDeathTest, PassesEveryShapeOfCallOn) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const auto &shape : shapes)
    EXPECT_EXIT(race(shape.passes), testing::ExitedWithCode(0), "^$") << shape.name;
}

// One question for all names, and one more for each call of what the library lacks.
[[noreturn]] void ask() {
  setenv("TNK_KERNEL_PATH", TNK_TEST_ARGUMENTS, 1);
  for (const auto &shape : shapes)
    if (!shape.passes() || asked != 1) std::exit(1);
  for (int call = 0; call < 2; ++call) tnk_blas_xsaxpy();
  std::exit(asked == 3 ? 0 : 2);
}

TEST(FrontDeathTest, FindsAllEntriesAtTheFirstCall) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(ask(), testing::ExitedWithCode(0),
              "^(tnk: tnk_blas_xsaxpy: the kernel library .* has no entry tnk_blas_xsaxpy\n){2}$");
}

// Without a library every part of a number by value is NaN, and errno is left alone.
[[noreturn]] void be_refused() {
  setenv("TNK_KERNEL_PATH", "/nowhere.so", 1);
  const tnk_complex8 c = tnk_blas_xcgemm({1, 2}, 3, {4, 5});
  const tnk_complex16 z = tnk_blas_xzgemm({1, 2}, {3, 4}, 5, {6, 7}, {8, 9});
  const bool nan = std::isnan(c.re) && std::isnan(c.im) && std::isnan(z.re) && std::isnan(z.im);
  errno = 4242;
  tnk_blas_xsaxpy();
  std::exit(nan && errno == 4242 ? 0 : 1);
}

TEST(FrontDeathTest, GivesNumbersThatAreNone) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      be_refused(), testing::ExitedWithCode(0),
      "^tnk: tnk_blas_xcgemm: .*/nowhere.so not found.*\ntnk: tnk_blas_xzgemm: .*\ntnk: tnk_blas_xsaxpy: ");
}

} // namespace
