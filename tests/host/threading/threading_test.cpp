// Products over several threads: how they are cut, that the bits stay, and when there is one thread only.
#include <atomic>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <omp.h>
#include <sys/wait.h>
#include <tnk/blas.h>
#include <tnk/blas_level3.h>
#include <tnk/host.h>
#include <unistd.h>

#include "host/threading/cut.h"
#include "tests/support/error_recorder.h"
#include "tests/support/product.h"

// In front of the host's service, which it calls: a product by the packed path comes here once, so this counts the
// slices that took it.
static std::atomic<int> packed_products{0};
extern "C" int32_t tnk_serv_check_ptr(const void *block, const char *routine) {
  static const auto service =
      reinterpret_cast<decltype(&tnk_serv_check_ptr)>(dlsym(RTLD_NEXT, "tnk_serv_check_ptr"));
  ++packed_products;
  return service(block, routine);
}

namespace {

using tnk::host::Cut;
using tnk::host::cut_product;
using tnk::test::Product;
using tnk::test::scalar;

// The number that the tests set, taken back.
struct Threads {
  explicit Threads(int n) { tnk_set_num_threads(n); }
  ~Threads() { tnk_set_num_threads(0); }
};

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

// The slices that took the packed path while this product was formed on so many threads; 0: as many as OpenMP says.
// Its bits must be those that it has on one.
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

// Shapes that are cut by columns and by rows, with every kind of rest after the last tile; some with less work than
// two threads are worth, some that take the plain path by one of their dimensions.
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

TEST_F(ThreadedProducts, TakeAsManySlicesAsSetOrAsOpenMPSays) {
  const int before = omp_get_max_threads();
  for (const int threads : {1, 2, 4}) {
    EXPECT_EQ(slices_on(threads), threads);
    omp_set_num_threads(threads);
    EXPECT_TRUE(slices_on(0) == threads && tnk_get_max_threads() == threads) << threads;
  }
  omp_set_num_threads(before);
}

TEST_F(ThreadedProducts, AreRightWhenFewerThreadsAreGranted) {
  const int before = omp_get_max_active_levels();
  omp_set_max_active_levels(0); // every region gets one thread
  EXPECT_EQ(slices_on(4), 4);
  omp_set_max_active_levels(before);
}

TEST_F(ThreadedProducts, StayOnTheirThreadInsideAParallelRegion) {
  const Threads set(4);
  std::atomic<int> members{0}, right{0};
  packed_products = 0;
#pragma omp parallel num_threads(2)
  {
    ++members;
    right += has_the_bits();
  }
  EXPECT_TRUE(right == members && packed_products == members);
}

// OpenMP's threads do not come along: a region in the child would wait for them.
TEST_F(ThreadedProducts, RunOnOneThreadInAChildOfFork) {
  EXPECT_EQ(slices_on(2), 2);
  const Threads set(2);
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    const bool right = tnk_get_max_threads() == 1 && has_the_bits();
    _exit(right ? 0 : 1);
  }
  int status = -1;
  EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0 && tnk_get_max_threads() == 2) << status;
}

TEST(Threads, ANegativeNumberOfThreadsIsReported) {
  tnk::test::ErrorRecorder errors;
  const Threads set(3);
  tnk_set_num_threads(-1);
  EXPECT_EQ(errors.last().argument + errors.last().value, "threads-1");
  EXPECT_EQ(tnk_get_max_threads(), 3);
}

} // namespace
