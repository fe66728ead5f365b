// The argument checks by themselves: report_argument here stands in the place of the library's.
#include "host/dispatch/check.h"

#include <gtest/gtest.h>
#include <string>

namespace {
std::string reported;
std::string take() {
  std::string text;
  text.swap(reported);
  return text;
}
} // namespace

namespace tnk::host {
void report_argument(const char *routine, int position, const char *name, const char *value,
                     const char *expected) {
  reported +=
      std::string(routine) + ' ' + std::to_string(position) + ' ' + name + ": " + value + " | " + expected;
}
} // namespace tnk::host

namespace {

const tnk::host::Check check("routine");

TEST(Check, OptionsTakeEitherCase) {
  for (const char letter : {'N', 'n', 'T', 't', 'C', 'c'})
    EXPECT_TRUE(check.option(1, "transa", &letter, "NTC"));
  EXPECT_EQ(take(), "");
  EXPECT_FALSE(check.option(1, "transa", "x", "NTC"));
  EXPECT_EQ(take(), "routine 1 transa: 'x' | one of N, T, C");
  EXPECT_FALSE(check.option(2, "uplo", "", "UL"));
  EXPECT_EQ(take(), "routine 2 uplo: the byte 0 | one of U, L");
  EXPECT_FALSE(check.option(2, "uplo", "\xFF", "UL"));
  EXPECT_EQ(take(), "routine 2 uplo: the byte 255 | one of U, L");
  EXPECT_FALSE(check.option(3, "diag", nullptr, "UN"));
  EXPECT_EQ(take(), "routine 3 diag: a null address | the address of a value");
}

TEST(Check, DimensionsAndLeadingDimensions) {
  const tnk_int minus = -1, zero = 0, four = 4, five = 5;
  EXPECT_TRUE(check.dimension(1, "m", &zero) && check.dimension(1, "m", &five));
  EXPECT_TRUE(check.leading_dimension(4, "lda", &five, 5) && check.leading_dimension(4, "lda", &five, 0));
  EXPECT_EQ(take(), "");
  EXPECT_FALSE(check.dimension(1, "m", &minus));
  EXPECT_EQ(take(), "routine 1 m: -1 | 0 or more");
  EXPECT_FALSE(check.leading_dimension(4, "lda", &four, 5));
  EXPECT_EQ(take(), "routine 4 lda: 4 | 5 or more");
  EXPECT_FALSE(
      check.leading_dimension(4, "lda", &zero, 0)); // one row at least, even of a matrix without rows
  EXPECT_EQ(take(), "routine 4 lda: 0 | 1 or more");
  EXPECT_FALSE(check.leading_dimension(4, "lda", nullptr, 5));
  EXPECT_EQ(take(), "routine 4 lda: a null address | the address of a value");
}

} // namespace
