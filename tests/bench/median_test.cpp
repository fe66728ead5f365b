#include "bench/median.h"
#include <gtest/gtest.h>

namespace {

using tnk::bench::median;

TEST(Median, IsTheMiddleOrTheMeanOfTheTwoMiddleOnes) {
  EXPECT_EQ(median({}), 0);
  EXPECT_EQ(median({7}), 7);
  EXPECT_EQ(median({9, 1}), 5);
  EXPECT_EQ(median({9, 1, 2}), 2);
  EXPECT_EQ(median({4, 100, 1, 2}), 3);
  EXPECT_EQ(median({5, 5, 5, 1}), 5);
}

} // namespace
