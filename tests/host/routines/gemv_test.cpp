// Public matrix times vector over several threads.
#include <gtest/gtest.h>
#include <tnk/blas.h>
#include <tnk/host.h>

#include "tests/support/error_recorder.h"
#include "tests/support/product.h"

namespace {

using tnk::test::ErrorRecorder;
using tnk::test::Random;
using tnk::test::same_bits;
using tnk::test::scalar;

template <class T> std::vector<T> numbers(tnk_int count, unsigned seed) {
  Random random(seed);
  std::vector<T> x(static_cast<std::size_t>(count));
  for (T &number : x) number = random.number<T>();
  return x;
}

// Shapes cut by rows and by columns, each letter with increments in turn.
template <class T, class Gemv> void expect_same_bits(Gemv gemv) {
  // Rows and columns beyond whole lines and groups, long and short; many more than there are threads for, and too few.
  const tnk_int shapes[][2] = {{517, 1003}, {1003, 517}, {7, 60001}, {60001, 7}, {3, 200000}, {40, 50}};
  const tnk_int increments[][2] = {{1, 1}, {2, -3}, {-1, 2}, {-2, -1}};
  ErrorRecorder errors;
  unsigned turn = 0;
  for (const auto &[m, n] : shapes) {
    const tnk_int lda = m + 3, longest = std::max(m, n);
    const std::vector<T> a = numbers<T>(lda * n, 1), x = numbers<T>(2 * longest, 2),
                         y = numbers<T>(3 * longest, 3);
    for (const char trans : {'N', 'T', 'c'}) {
      const auto &[incx, incy] = increments[turn++ % 4];
      const T alpha = scalar<T>(0.7, -0.2), beta = scalar<T>(-0.4, 0.3);
      std::vector<T> alone;
      for (const int threads : {1, 2, 3, 5}) {
        tnk_set_num_threads(threads);
        std::vector<T> result = y;
        gemv(&trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, result.data(), &incy);
        if (threads == 1) alone = result;
        EXPECT_TRUE(same_bits(result.data(), alone.data(), result.size()))
            << trans << ' ' << m << " by " << n << ", " << incx << ' ' << incy << ", threads: " << threads;
      }
      EXPECT_FALSE(same_bits(alone.data(), y.data(), y.size()));
    }
  }
  tnk_set_num_threads(0);
  EXPECT_EQ(errors.last().message, "");
}

TEST(PublicGemv, HasTheSameBitsForEveryNumberOfThreads) {
  expect_same_bits<float>(tnk_blas_sgemv);
  expect_same_bits<double>(tnk_blas_dgemv);
  expect_same_bits<tnk_complex8>(tnk_blas_cgemv);
  expect_same_bits<tnk_complex16>(tnk_blas_zgemv);
}

} // namespace
