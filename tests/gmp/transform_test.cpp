// From limbs to numbers in double and back. Compiled for the class of the kernels.
#include "kernel/gmp/transform.h"
#include "tests/gmp/limbs.h"
#include <cmath>

namespace {

using namespace tnk::test;

// What decides whether a product stands: sums that are not clearly whole numbers, and a total that is not the factors'.
TEST(Limbs, CheckOfTransforms) {
  using namespace tnk::gmp;
  const Limbs a{0x0001000200030004, ~limb{0}};
  double digits[16];
  to_digits(digits, a.data(), 2, 4);
  EXPECT_EQ(digits[0], 4);
  EXPECT_EQ(digits[3], 1);
  EXPECT_EQ(digits[7], 65535);
  EXPECT_EQ(digits[8], 0);
  Limbs r(4);
  const auto with = [&](double offset, int place) {
    double moved[16];
    std::copy(digits, digits + 16, moved);
    moved[place] += offset;
    return from_digits(r.data(), moved, 4);
  };
  for (int place = 0; place < 16; ++place) {
    EXPECT_TRUE(with(0.3, place));
    EXPECT_TRUE(with(-0.3, place)); // of zeros too, which must not become large
    EXPECT_EQ(r, (Limbs{a[0], a[1], 0, 0}));
    EXPECT_FALSE(with(0.45, place));
    EXPECT_FALSE(with(-0.55, place));
    EXPECT_FALSE(with(NAN, place));
  }
  // Carries across limbs: a digit of 2^49 is 2^33 of the next but one.
  EXPECT_TRUE(with(0x1p49, 3));
  EXPECT_EQ(value(r), value(a) + Integer::power_of_two(49 + 48));

  const limb x[] = {~limb{0} - 1, 5, 4}; // -1 + 5 + 4
  EXPECT_EQ(residue(x, 3), 8u);
  EXPECT_EQ(product_of_residues(~limb{0} - 2, 7), ~limb{0} - 14); // -2 times 7
  EXPECT_FALSE(same_residue(residue(x, 3), residue(x, 2)));
  EXPECT_TRUE(same_residue(0, ~limb{0}) && same_residue(~limb{0}, 0)); // both are 0
  EXPECT_FALSE(same_residue(1, 0));
  EXPECT_EQ(residue(Limbs(3, ~limb{0}).data(), 3), ~limb{0});
}

} // namespace
