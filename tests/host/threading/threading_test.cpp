// Routines over several threads: how they are cut, that the bits stay, and how many threads there are.
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <tnk/blas.h>
#include <tnk/blas_level3.h>
#include <tnk/host.h>
#include <unistd.h>

#include "host/threading/cut.h"
#include "tests/support/error_recorder.h"
#include "tests/support/product.h"
#include "tools/tnk/support/threads.h"

// In front of the host's service: a product by the packed path comes here once, so this counts the slices that took it.
static std::atomic<int> packed_products{0};
static void (*in_product)() = nullptr; // called by each
extern "C" int32_t tnk_serv_check_ptr(const void *block, const char *routine) {
  static const auto service =
      reinterpret_cast<decltype(&tnk_serv_check_ptr)>(dlsym(RTLD_NEXT, "tnk_serv_check_ptr"));
  ++packed_products;
  if (in_product) in_product();
  return service(block, routine);
}

namespace {

using tnk::host::Cut;
using tnk::host::cut_product;
using tnk::test::Product;
using tnk::test::scalar;
using tnk::tool::Threads;

TEST(Cut, CoversTheProductWithWholeTilesForEveryNumberOfThreads) {
  for (const tnk_gemm_row *kernel :
       {avx_s_all_gemm_ker, avx_d_all_gemm_ker, avx_c_all_gemm_ker, avx_z_all_gemm_ker})
    for (const tnk_int m : {1, 8, 17, 61, 400})
      for (const tnk_int n : {1, 8, 23, 64, 399})
        for (const tnk_int k : {3, 4, 2000, 1 << 30})
          for (const int threads : {1, 2, 3, 7, 64, INT32_MAX}) {
            const Cut cut = cut_product(*kernel, m, n, k, 2, threads);
            const tnk_int extent = cut.columns ? n : m, tile = cut.columns ? kernel->nr : kernel->mr;
            const double work =
                2.0 * static_cast<double>(m) * static_cast<double>(n) * static_cast<double>(k);
            SCOPED_TRACE(testing::Message() << m << ' ' << n << ' ' << k << ' ' << threads);
            ASSERT_TRUE(extent == std::max(m, n) && cut.slices <= threads);
            // Each slice is worth its thread.
            ASSERT_TRUE(cut.slices == 1 || work >= cut.slices * tnk::host::least_operations);
            // What is big enough is cut, unless it takes the plain path or has one tile.
            const bool packed = m >= kernel->mr && n >= kernel->nr && k >= kernel->kr;
            ASSERT_EQ(cut.slices > 1,
                      packed && threads > 1 && extent / tile > 1 && work >= 2 * tnk::host::least_operations);
            ASSERT_TRUE(cut.begin(0) == 0 && cut.begin(cut.slices) == extent);
            for (int i = 0; i < cut.slices && cut.slices > 1; ++i) {
              const tnk_int size = cut.begin(i + 1) - cut.begin(i);
              ASSERT_TRUE(cut.begin(i) % tile == 0 && size >= tile);
              // No slice has two tiles more than another.
              ASSERT_LE(size, (extent / tile / cut.slices + 2) * tile);
            }
          }
}

// The slices that took the packed path on so many threads (0: no number set), with the bits that it has on one.
template <class T, class Gemm>
int slices(const Product<T> &p, const std::vector<T> &alone, Gemm gemm, int threads) {
  const Threads set(threads);
  packed_products = 0;
  const std::vector<T> c = p.result(gemm);
  EXPECT_TRUE(tnk::test::same_bits(c.data(), alone.data(), c.size())) << p.name() << " threads: " << threads;
  return packed_products;
}
template <class T, class Gemm> std::vector<T> on_one_thread(const Product<T> &p, Gemm gemm) {
  const Threads one(1);
  return p.result(gemm);
}

// Shapes cut by columns and by rows, with every rest after the last tile; too little work, and the plain path.
template <class T, class Gemm> void expect_same_bits(const tnk_gemm_row &kernel, Gemm gemm) {
  const tnk_int shapes[][3] = {{131, 201, 160}, {203, 133, 160}, {37, 1003, 130}, {1005, 37, 130},
                               {600, 9, 600},   {9, 607, 600},   {160, 160, 300}, {100, 100, 40},
                               {100, 101, 60},  {3001, 1, 400},  {1, 3001, 400},  {900, 901, 3},
                               {7, 1100, 200},  {1100, 7, 200}};
  const char *const letters[] = {"NN", "TN", "CN", "NT", "TT", "CT", "NC", "TC", "CC"};
  int turn = 0;
  for (const auto &[m, n, k] : shapes) {
    const Product<T> p(letters[turn++ % 9], m, n, k, scalar<T>(0.7, 0.2), scalar<T>(-0.4));
    const std::vector<T> alone = on_one_thread(p, gemm);
    const bool packed = m >= kernel.mr && n >= kernel.nr && k >= kernel.kr;
    for (const int threads : {1, 2, 3, 5, 16}) {
      const Cut cut = cut_product(kernel, m, n, k, tnk::is_complex<T> ? 8 : 2, threads);
      EXPECT_EQ(slices(p, alone, gemm, threads), packed ? cut.slices : 0) << p.name() << ' ' << threads;
    }
  }
}

TEST(ThreadedFamily, HasTheSameBitsForEveryNumberOfThreads) {
  expect_same_bits<float>(*avx_s_all_gemm_ker, tnk_blas_sgemm);
  expect_same_bits<double>(*avx_d_all_gemm_ker, tnk_blas_dgemm);
  expect_same_bits<tnk_complex8>(*avx_c_all_gemm_ker, tnk_blas_cgemm);
  expect_same_bits<tnk_complex16>(*avx_z_all_gemm_ker, tnk_blas_zgemm);
}

// 16 million operations: enough for every number of threads below.
struct ThreadedProducts : testing::Test {
  const Product<double> p{"NT", 200, 200, 200};
  const std::vector<double> alone = on_one_thread(p, tnk_blas_dgemm);
  bool has_the_bits() const {
    return tnk::test::same_bits(p.result(tnk_blas_dgemm).data(), alone.data(), alone.size());
  }
  int slices_on(int threads) const { return slices(p, alone, tnk_blas_dgemm, threads); }
};

// A service that a program puts in front of the host's may come back with a product of its own.
TEST_F(ThreadedProducts, StayOnOneThreadInsideASlice) {
  const Threads set(4);
  static ThreadedProducts *self;
  static std::atomic<int> right;
  self = this, right = packed_products = 0;
  in_product = [] {
    thread_local bool inner = false;
    if (inner) return;
    inner = true;
    right += self->has_the_bits();
    inner = false;
  };
  EXPECT_TRUE(has_the_bits());
  in_product = nullptr;
  EXPECT_TRUE(packed_products == 8 && right == 4) << packed_products << ' ' << right;
}

TEST_F(ThreadedProducts, RunOnOneThreadInAChildOfForkUntilItAsks) {
  EXPECT_EQ(slices_on(2), 2);
  const Threads set(2);
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    packed_products = 0;
    const bool right = tnk_get_max_threads() == 1 && has_the_bits() && packed_products == 1;
#ifndef __SANITIZE_THREAD__ // which starts no threads in a child
    if (slices_on(2) != 2) _exit(2);
#endif
    _exit(right ? 0 : 1);
  }
  int status = -1;
  EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0 && tnk_get_max_threads() == 2) << status;
}

#if defined(TNK_TEST_OPENMP) && !defined(__SANITIZE_THREAD__) // which does not see what the runtime waits for
// The runtime comes late, and hidden behind a library that needs it.
TEST_F(ThreadedProducts, FollowTheProgramsOpenMP) {
  EXPECT_EQ(slices_on(3), 3);
  void *const library = dlopen(TNK_TEST_OPENMP, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto call_in_region = reinterpret_cast<void (*)(int, void (*)())>(dlsym(library, "call_in_region"));
  const auto set_openmp_threads = reinterpret_cast<void (*)(int)>(dlsym(library, "set_openmp_threads"));
  const int before = tnk_get_max_threads();
  for (const int threads : {1, 2, 4}) {
    set_openmp_threads(threads);
    EXPECT_TRUE(slices_on(0) == threads && tnk_get_max_threads() == threads) << threads;
  }
  set_openmp_threads(before);

  const Threads set(4);
  static ThreadedProducts *self;
  static std::atomic<int> members, right;
  self = this, members = right = packed_products = 0;
  call_in_region(2, [] {
    ++members;
    right += self->has_the_bits();
  });
  EXPECT_TRUE(members == 2 && right == 2 && packed_products == 2) << members << right << packed_products;
}
#endif

// Read once, so in a process of its own.
TEST(Threads, AreAsManyAsTheEnvironmentSaysOrTheProcessorsThatMayBeUsed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto number = [] {
    errno = 77;
    const int threads = tnk_get_max_threads();
    _exit(errno == 77 ? threads : 98);
  };
  for (const auto &[text, expected] : {std::pair("3", 3), std::pair(" 5 ,2", 5)}) {
    setenv("OMP_NUM_THREADS", text, 1);
    EXPECT_EXIT(number(), testing::ExitedWithCode(expected), "") << text;
  }
  for (const char *const text : {"", "0", "-2", "3x", "99999999999", "9999999999999999999999"}) {
    setenv("OMP_NUM_THREADS", text, 1);
    EXPECT_EXIT(
        {
          cpu_set_t one;
          CPU_ZERO(&one);
          CPU_SET(sched_getcpu(), &one);
          if (sched_setaffinity(0, sizeof one, &one) != 0) _exit(99);
          number();
        },
        testing::ExitedWithCode(1), "")
        << text;
  }
  unsetenv("OMP_NUM_THREADS");
}

TEST(Threads, ANegativeNumberOfThreadsIsReported) {
  tnk::test::ErrorRecorder errors;
  const Threads set(3);
  tnk_set_num_threads(-1);
  EXPECT_EQ(errors.last().argument + errors.last().value, "threads-1");
  EXPECT_EQ(tnk_get_max_threads(), 3);
}

} // namespace
