// The argument checks by themselves: report_argument here stands in the place of the library's.
#include "host/dispatch/check.h"

#include <gtest/gtest.h>
#include <string>

namespace {
std::string reported;
} // namespace

namespace tnk::host {
void report_argument(const char *routine, int position, const char *name, const char *value,
                     const char *expected) {
  reported += std::string(routine) + ' ' + std::to_string(position) + ' ' + name + ": " + value + " | " +
              expected + "\n";
}
} // namespace tnk::host

namespace {

const tnk::host::Check check("routine");

TEST(Check, PassesGoodAndReportsBadArguments) {
  const tnk_int minus = -1, zero = 0, four = 4, five = 5;
  for (const char letter : {'N', 'n', 'T', 't', 'C', 'c'})
    EXPECT_TRUE(check.option(1, "transa", &letter, "NTC"));
  EXPECT_TRUE(check.dimension(1, "m", &zero) && check.dimension(1, "m", &five));
  EXPECT_TRUE(check.leading_dimension(4, "lda", &five, 5) && check.leading_dimension(4, "lda", &five, 0));
  EXPECT_EQ(reported, "");
  EXPECT_FALSE(check.option(1, "transa", "x", "NTC") || check.option(2, "uplo", "", "UL") ||
               check.option(2, "uplo", "\xFF", "UL") || check.option(3, "diag", nullptr, "UN") ||
               check.dimension(1, "m", &minus) || check.leading_dimension(4, "lda", &four, 5) ||
               check.leading_dimension(4, "lda", &zero, 0) || check.leading_dimension(4, "lda", nullptr, 5));
  EXPECT_EQ(reported, "routine 1 transa: 'x' | one of N, T, C\n"
                      "routine 2 uplo: the byte 0 | one of U, L\n"
                      "routine 2 uplo: the byte 255 | one of U, L\n"
                      "routine 3 diag: a null address | the address of a value\n"
                      "routine 1 m: -1 | 0 or more\n"
                      "routine 4 lda: 4 | 5 or more\n"
                      "routine 4 lda: 0 | 1 or more\n" // one row at least, even of a matrix without rows
                      "routine 4 lda: a null address | the address of a value\n");
}

} // namespace
