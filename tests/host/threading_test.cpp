// Products over several threads: how they are cut, that the bits stay, and when there is one thread only.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <omp.h>
#include <sys/wait.h>
#include <tnk/blas.h>
#include <tnk/blas_level3.h>
#include <tnk/host.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

#include "host/threading/cut.h"
#include "tests/support/error_recorder.h"
#include "tests/support/random.h"

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
            ASSERT_EQ(extent, std::max(m, n));
            ASSERT_LE(cut.slices, threads);
            // Each slice is worth its thread.
            if (cut.slices > 1) {
              ASSERT_GE(work, cut.slices * tnk::host::least_operations);
            }
            // What is big enough is cut, unless it takes the plain path or has one tile.
            const bool packed = m >= kernel->mr && n >= kernel->nr && k >= kernel->kr;
            ASSERT_EQ(cut.slices > 1,
                      packed && threads > 1 && extent / tile > 1 && work >= 2 * tnk::host::least_operations);
            ASSERT_EQ(cut.begin(0), 0);
            ASSERT_EQ(cut.begin(cut.slices), extent);
            for (int i = 0; i < cut.slices && cut.slices > 1; ++i) {
              ASSERT_EQ(cut.begin(i) % tile, 0);
              const tnk_int size = cut.begin(i + 1) - cut.begin(i);
              ASSERT_GE(size, tile);
              // No slice has two tiles more than another.
              ASSERT_LE(size, (extent / tile / cut.slices + 2) * tile);
            }
          }
}

template <class T> struct Product {
  Product(tnk_int rows, tnk_int columns, tnk_int steps, char a_letter, char b_letter)
      : m(rows), n(columns), k(steps), ta(a_letter), tb(b_letter), lda((ta == 'N' ? m : k) + 3),
        ldb((tb == 'N' ? k : n) + 1), ldc(m + 2) {
    tnk::test::Random random;
    const auto fill = [&](std::vector<T> &x, tnk_int count) {
      x.resize(static_cast<std::size_t>(count));
      for (T &value : x) value = random.number<T>();
    };
    fill(a, lda * (ta == 'N' ? k : m));
    fill(b, ldb * (tb == 'N' ? n : k));
    fill(c, ldc * n);
    alpha = random.number<T>(), beta = random.number<T>();
  }
  template <class Gemm> std::vector<T> run(Gemm gemm) const {
    std::vector<T> result = c;
    gemm(&ta, &tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, result.data(), &ldc);
    return result;
  }
  tnk_int m, n, k;
  char ta, tb;
  tnk_int lda, ldb, ldc;
  T alpha, beta;
  std::vector<T> a, b, c;
};

template <class T> bool same_bits(const std::vector<T> &x, const std::vector<T> &y) {
  return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
}

// Shapes that are cut by columns and by rows, with every kind of rest after the last tile; some with less work than
// two threads are worth, some that take the plain path by one of their dimensions.
template <class T, class Gemm> void expect_same_bits(const tnk_gemm_row *kernel, Gemm gemm) {
  struct {
    tnk_int m, n, k;
  } const shapes[] = {{131, 201, 160}, {203, 133, 160}, {37, 1003, 130}, {1005, 37, 130}, {600, 9, 600},
                      {9, 607, 600},   {160, 160, 300}, {100, 100, 40},  {100, 101, 60},  {3001, 1, 400},
                      {1, 3001, 400},  {900, 901, 3},   {7, 1100, 200},  {1100, 7, 200}};
  const char letters[] = {'N', 'T', 'C'};
  int turn = 0;
  for (const auto &shape : shapes) {
    const Product<T> product(shape.m, shape.n, shape.k, letters[turn % 3], letters[turn / 3 % 3]);
    ++turn;
    std::vector<T> alone;
    for (const int threads : {1, 2, 3, 5, 16}) {
      SCOPED_TRACE(testing::Message() << product.ta << product.tb << ' ' << shape.m << ' ' << shape.n << ' '
                                      << shape.k << ", threads: " << threads);
      const Threads set(threads);
      packed_products = 0;
      const std::vector<T> result = product.run(gemm);
      if (threads == 1) alone = result;
      EXPECT_TRUE(same_bits(result, alone));
      const Cut cut = cut_product(*kernel, shape.m, shape.n, shape.k, std::is_class_v<T> ? 8 : 2, threads);
      const bool packed = shape.m >= kernel->mr && shape.n >= kernel->nr && shape.k >= kernel->kr;
      if (!packed)
        EXPECT_EQ(packed_products, 0);
      else
        EXPECT_EQ(packed_products, cut.slices);
    }
  }
}

TEST(ThreadedProducts, HaveTheSameBitsForEveryNumberOfThreads) {
  expect_same_bits<float>(avx_s_all_gemm_ker, tnk_blas_sgemm);
  expect_same_bits<double>(avx_d_all_gemm_ker, tnk_blas_dgemm);
  expect_same_bits<tnk_complex8>(avx_c_all_gemm_ker, tnk_blas_cgemm);
  expect_same_bits<tnk_complex16>(avx_z_all_gemm_ker, tnk_blas_zgemm);
}

// 16 million operations: enough for every number of threads below.
const Product<double> &example() {
  static const Product<double> product(200, 200, 200, 'N', 'T');
  return product;
}
const std::vector<double> &example_result() {
  static const std::vector<double> result = [] {
    const Threads one(1);
    return example().run(tnk_blas_dgemm);
  }();
  return result;
}

TEST(ThreadedProducts, TakeAsManySlicesAsSet) {
  for (const int threads : {1, 2, 4}) {
    const Threads set(threads);
    EXPECT_EQ(tnk_get_max_threads(), threads);
    packed_products = 0;
    example().run(tnk_blas_dgemm);
    EXPECT_EQ(packed_products, threads);
  }
  EXPECT_EQ(tnk_get_max_threads(), omp_get_max_threads());
}

TEST(ThreadedProducts, FollowOpenMPWhereNothingIsSet) {
  const std::vector<double> &expected = example_result();
  const int before = omp_get_max_threads();
  omp_set_num_threads(3);
  packed_products = 0;
  EXPECT_TRUE(same_bits(example().run(tnk_blas_dgemm), expected));
  EXPECT_EQ(tnk_get_max_threads(), 3);
  EXPECT_EQ(packed_products, 3);
  omp_set_num_threads(before);
}

TEST(ThreadedProducts, AreRightWhenFewerThreadsAreGranted) {
  const std::vector<double> &expected = example_result();
  const int before = omp_get_max_active_levels();
  omp_set_max_active_levels(0); // every region gets one thread
  const Threads set(4);
  packed_products = 0;
  EXPECT_TRUE(same_bits(example().run(tnk_blas_dgemm), expected));
  EXPECT_EQ(packed_products, 4);
  omp_set_max_active_levels(before);
}

TEST(ThreadedProducts, StayOnTheirThreadInsideAParallelRegion) {
  const std::vector<double> &expected = example_result();
  const Threads set(4);
  std::atomic<int> members{0}, right{0};
  packed_products = 0;
#pragma omp parallel num_threads(2)
  {
    ++members;
    right += same_bits(example().run(tnk_blas_dgemm), expected);
  }
  EXPECT_EQ(right, members);
  EXPECT_EQ(packed_products, members);
}

// OpenMP's threads do not come along: a region in the child would wait for them.
TEST(ThreadedProducts, RunOnOneThreadInAChildOfFork) {
  const std::vector<double> &expected = example_result();
  const Threads set(2);
  example().run(tnk_blas_dgemm);
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    const bool right = tnk_get_max_threads() == 1 && same_bits(example().run(tnk_blas_dgemm), expected);
    _exit(right ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(tnk_get_max_threads(), 2);
}

TEST(ThreadedProducts, ANegativeNumberOfThreadsIsReported) {
  tnk::test::ErrorRecorder errors;
  const Threads set(3);
  tnk_set_num_threads(-1);
  EXPECT_EQ(errors.last().argument, "threads");
  EXPECT_EQ(errors.last().value, "-1");
  EXPECT_EQ(tnk_get_max_threads(), 3);
}

} // namespace
