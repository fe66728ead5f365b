// Public matrix times vector over several threads.
#include "tests/blas/level2/family.h"
#include "tests/support/error_recorder.h"
#include "tests/support/product.h"
#include "tools/tnk/support/threads.h"

namespace tnk::test {
namespace {

template <class T> class PublicGemv : public testing::Test {};
TYPED_TEST_SUITE(PublicGemv, Types, );

// Shapes cut by rows and by columns, each letter with increments in turn.
TYPED_TEST(PublicGemv, HasTheSameBitsForEveryNumberOfThreads) {
  using T = TypeParam;
  // Rows and columns beyond whole lines and groups, long and short; many more than there are threads for, and too few.
  const tnk_int shapes[][2] = {{517, 1003}, {1003, 517}, {7, 60001}, {60001, 7}, {3, 200000}, {40, 50}};
  const tnk_int increments[][2] = {{1, 1}, {2, -3}, {-1, 2}, {-2, -1}};
  constexpr std::size_t aligned[3] = {0, 0, 0};
  ErrorRecorder errors;
  Random random;
  unsigned turn = 0;
  for (const auto &[m, n] : shapes)
    for (const char trans : {'N', 'T', 'c'}) {
      const auto &[incx, incy] = increments[turn++ % 4];
      const Problem<T> p(trans, m, n, 3, incx, incy, aligned, random);
      const auto size = static_cast<std::size_t>((p.y.n() - 1) * std::abs(incy) + 1);
      const std::vector<T> y(p.y.data(), p.y.data() + size);
      std::vector<T> alone;
      for (const int threads : {1, 2, 3, 5}) {
        const tool::Threads set(threads);
        std::vector<T> result = y;
        p.call("tnk_blas_?gemv", 0, p.y.n(), result.data());
        if (threads == 1) alone = result;
        EXPECT_TRUE(same_bits(result.data(), alone.data(), size))
            << trans << ' ' << m << " by " << n << ", " << incx << ' ' << incy << ", threads: " << threads;
      }
      EXPECT_FALSE(same_bits(alone.data(), y.data(), size));
    }
  EXPECT_EQ(errors.last().message, "");
}

} // namespace
} // namespace tnk::test
