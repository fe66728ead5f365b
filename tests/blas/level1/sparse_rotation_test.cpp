#include <array>
#include <gtest/gtest.h>
#include <tnk/blas_level1.h>

namespace {

// Two elements go at once, but not where the second must see what the first left in y.
template <class R, class Rotate> void check_repeated_position(Rotate roti) {
  const tnk_int nz = 5;
  const std::array<tnk_int, 5> indx{2, 2, 1, 2, 2};
  const R c = 1, s = 1;
  std::array<R, 5> x{1, 2, 3, 4, 5};
  std::array<R, 2> y{6, 4};
  roti(&nz, x.data(), indx.data(), y.data(), &c, &s);
  EXPECT_EQ(x, (std::array<R, 5>{5, 5, 9, 5, 2}));
  EXPECT_EQ(y, (std::array<R, 2>{3, -8}));
}

TEST(SparseRotation, TakesARepeatedPositionOneElementAfterTheOther) {
  check_repeated_position<float>(tnk_blas_sroti);
  check_repeated_position<double>(tnk_blas_droti);
}

} // namespace
