// What operations on integers do beside computing: text, words and doubles; and results of long operands, by what
// has to hold between them.
#include "gmp/records.h"

#include <cmath>
#include <cstring>

namespace tnk::test {
namespace {

TEST(Records, BeginWithValues) {
  const double values[] = {0, 1.9, -1.9, 0x1p63, -0x1.8p64, 0x1.23456789abcdep200, 1e308, 5e-324};
  for (const double value : values) {
    tnk_gmp_integer r;
    tnk_gmp___gmpz_init_set_d(&r, value);
    EXPECT_EQ(tnk_gmp___gmpz_cmp_d(&r, std::trunc(value)), 0) << value;
    EXPECT_EQ(tnk_gmp___gmpz_get_d(&r), std::trunc(value));
    int64_t exponent;
    int expected;
    EXPECT_EQ(tnk_gmp___gmpz_get_d_2exp(&exponent, &r), std::frexp(std::trunc(value), &expected));
    EXPECT_EQ(exponent, expected);
    tnk_gmp___gmpz_clear(&r);
  }
  for (const uint64_t value : {uint64_t{0}, uint64_t{7}, UINT64_MAX}) {
    tnk_gmp_integer r;
    tnk_gmp___gmpz_init_set_ui(&r, value);
    EXPECT_TRUE(r.alloc == 8 && tnk_gmp___gmpz_cmp_ui(&r, value) == 0);
    tnk_gmp___gmpz_clear(&r);
    EXPECT_EQ(Z(static_cast<int64_t>(value)).value(), Big(static_cast<int64_t>(value)));
  }
  // Outputs that may be missing.
  const Z a(-60), b(42);
  Z g;
  EXPECT_EQ(tnk_gmp___gmpz_gcd_ui(nullptr, a, 42), 6u);
  tnk_gmp___gmpz_gcdext(g, nullptr, nullptr, a, b);
  EXPECT_EQ(g.value(), Big(6));
  EXPECT_EQ(tnk_gmp___gmpz_root(nullptr, Z(-27), 3), 1);
}

TEST(Text, OfEveryBase) {
  Random random(4);
  const auto to_text = [](const Z &a, int base) {
    std::string text(tnk_gmp___gmpz_sizeinbase(a, std::abs(base)) + 2, '!');
    EXPECT_EQ(tnk_gmp___gmpz_get_str(text.data(), base, a), text.data());
    return std::string(text.c_str());
  };
  for (int base = 2; base <= 36; ++base) {
    const bool power_of_two = (base & (base - 1)) == 0;
    for (int n = 0; n < 70; n = n < 20 ? n + 1 : n + 7) {
      const Z power = MADE(ui_pow_ui, static_cast<uint64_t>(base), static_cast<uint64_t>(n));
      for (const Z &a : {power, MADE(sub_ui, power, 1), MADE(neg, random_integer(random, n / 8))}) {
        const std::string text = a.value().text(static_cast<unsigned>(base));
        EXPECT_EQ(to_text(a, base), text);
        EXPECT_EQ(to_text(a, -base), a.value().text(static_cast<unsigned>(base), true));
        const std::size_t size = tnk_gmp___gmpz_sizeinbase(a, base), digits = text.size() - (text[0] == '-');
        EXPECT_TRUE(size == digits || (size == digits + 1 && !power_of_two)) << base << ' ' << text;
        Z r;
        EXPECT_EQ(tnk_gmp___gmpz_set_str(r, text.c_str(), base), 0);
        EXPECT_TRUE(r == a);
      }
    }
  }
  for (const int base : {0, 1, -1, 37, -37}) EXPECT_EQ(tnk_gmp___gmpz_get_str(nullptr, base, Z(5)), nullptr);
}

TEST(Text, IsReadOrRefused) {
  constexpr int64_t refusal = INT64_MIN;
  const struct {
    const char *text;
    int base;
    int64_t value;
  } rows[] = {{"0", 10, 0},       {"-0", 10, 0},        {" \t-12 3\n", 10, -123}, {"+5", 10, 5},
              {"x1F", 16, 31},    {"-0Xff", 16, -255},  {"0x1f", 0, 31},          {"X1f", 0, 31},
              {"0b101", 0, 5},    {"0B11", 0, 3},       {"-0x f f", 0, -255},     {"017", 0, 15},
              {"0", 0, 0},        {"-42", 0, -42},      {"Zz", 36, 1295},         {"x1", 36, 1189},
              {"", 10, refusal},  {"-", 10, refusal},   {"   ", 10, refusal},     {"12a", 10, refusal},
              {"19", 9, refusal}, {"--1", 10, refusal}, {"08", 0, refusal},       {"1.5", 10, refusal},
              {"x", 16, refusal}, {"0b2", 0, refusal},  {"- 5", 10, refusal},     {"\xE4", 36, refusal}};
  for (const auto &row : rows) {
    Z r(99);
    const bool refused = row.value == refusal;
    EXPECT_EQ(tnk_gmp___gmpz_set_str(r, row.text, row.base), refused ? -1 : 0) << row.text;
    EXPECT_EQ(r.value(), Big(refused ? int64_t{99} : row.value)) << row.text;
    tnk_gmp_integer made;
    EXPECT_EQ(tnk_gmp___gmpz_init_set_str(&made, row.text, row.base), refused ? -1 : 0);
    EXPECT_EQ(tnk_gmp___gmpz_cmp_si(&made, refused ? 0 : row.value), 0);
    tnk_gmp___gmpz_clear(&made);
  }
  for (int c = -1; c < 256; ++c) {
    const char *const at = c > 0 ? std::strchr(tnk_gmp_DigitsLower, c < 128 ? std::tolower(c) : 1) : nullptr;
    EXPECT_EQ(tnk_gmp__impGetDigitValue(c), at ? at - tnk_gmp_DigitsLower : -1) << c;
  }
}

TEST(Text, OfFractions) {
  const struct {
    int64_t above, below;
    int base;
    const char *text;
  } rows[] = {
      {-7, 3, 10, "-7/3"}, {255, 1, 16, "ff"}, {255, 16, -16, "FF/10"}, {0, 1, 2, "0"}, {1, 2, 99, ""}};
  for (const auto &row : rows) {
    const Z above(row.above), below(row.below);
    const tnk_gmp_fraction q = {above.record, below.record};
    std::FILE *const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(tnk_gmp___gmpq_out_str(file, row.base, &q), std::strlen(row.text));
    char text[16] = "";
    std::rewind(file);
    EXPECT_EQ(std::fread(text, 1, sizeof text - 1, file), std::strlen(row.text));
    EXPECT_STREQ(text, row.text);
    std::fclose(file);
  }
  const Z one(1);
  const tnk_gmp_fraction q = {one.record, one.record};
  testing::internal::CaptureStdout();
  EXPECT_EQ(tnk_gmp___gmpq_out_str(nullptr, 10, &q), 1u);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "1");
}

TEST(Words, OfEverySizeAndOrder) {
  Random random(6);
  for (const std::size_t size : {1u, 2u, 3u, 8u, 11u, 16u})
    for (const int order : {1, -1})
      for (const int endian : {1, 0, -1})
        for (const std::size_t nails : {std::size_t{0}, std::size_t{3}, 8 * size - 1})
          for (const int limbs : {0, 1, 2, 5}) {
            Z a = random_integer(random, limbs), b(5);
            // The definition: words from the lowest on, their bytes from the lowest on.
            const std::size_t width = 8 * size - nails, count = (a.value().bits() + width - 1) / width;
            std::vector<unsigned char> expected(count * size), found(count * size, 0xAA);
            for (std::size_t w = 0; w < count; ++w)
              for (std::size_t bit = 0; bit < width; ++bit) {
                const std::size_t byte = endian > 0 ? size - 1 - bit / 8 : bit / 8;
                expected[(order > 0 ? count - 1 - w : w) * size + byte] |=
                    static_cast<unsigned char>(a.value().bit(w * width + bit) << bit % 8);
              }
            std::size_t written = 99;
            if (count == 0) found.resize(1), expected.resize(1);
            EXPECT_EQ(tnk_gmp___gmpz_export(count ? found.data() : nullptr, &written, order, size, endian,
                                            nails, a),
                      count ? found.data() : nullptr);
            EXPECT_EQ(written, count);
            EXPECT_EQ(found, expected) << size << order << endian << ' ' << nails;
            for (std::size_t w = 0; w < count && nails >= 3; ++w) // ignored
              found[w * size + (endian > 0 ? 0 : size - 1)] |= 0xE0;
            tnk_gmp___gmpz_import(b, count, order, size, endian, nails, found.data());
            EXPECT_TRUE(a == b);
          }
}

TEST(LongIntegers, PowersModuloAnything) {
  Random random(8);
  for (const int n : {1, 2, 5, 20, 60})
    for (int zeros = 0; zeros < 200; zeros += 67) {
      Z m = random_integer(random, n), odd = MADE(setbit, 0);
      tnk_gmp___gmpz_setbit(m, 0);
      tnk_gmp___gmpz_mul_2exp(m, m, static_cast<uint64_t>(zeros));
      const Z b = random_integer(random, n + 2), e = random_integer(random, 2),
              f = random_integer(random, n + 1);
      // b^(e + f) = b^e b^f, by exponents on both sides of the modulus.
      const Z both = MADE(add, e, f);
      EXPECT_TRUE(MADE(powm, b, both, m) ==
                  MADE(mod, MADE(mul, MADE(powm, b, e, m), MADE(powm, b, f, m)), m));
    }
  // Modulo 2^p - 1 that are prime; all ones are the moduli that carries go far in.
  for (const uint64_t p : {61, 127, 521, 1279, 2203, 4253}) {
    const Z prime = MADE(sub_ui, MADE(mul_2exp, Z(1), p), 1), half = MADE(tdiv_q_2exp, prime, 1),
            b = MADE(mod, random_integer(random, static_cast<int>(p / 64) + 2), prime);
    EXPECT_TRUE(MADE(powm, b, prime, prime) == b);
    EXPECT_TRUE(MADE(powm, Z(2), Z(static_cast<int64_t>(9 * p + 60)), prime) == MADE(mul_2exp, Z(1), 60));
    EXPECT_EQ(tnk_gmp___gmpz_jacobi(MADE(mul, b, b), prime), 1);
    EXPECT_EQ(tnk_gmp___gmpz_jacobi(Z(-1), prime), -1);
    EXPECT_EQ(tnk_gmp___gmpz_jacobi(b, prime), MADE(powm, b, half, prime) == Z(1) ? 1 : -1);
  }
}

// Quotients that take more than a limb, and runs of the smallest ones.
TEST(LongIntegers, DivisorsOfNeighbours) {
  const Z f = MADE(fib_ui, 5000), e = MADE(fib_ui, 4999), large = MADE(mul_2exp, f, 700);
  EXPECT_TRUE(MADE(gcd, f, e) == Z(1));
  EXPECT_TRUE(MADE(gcd, large, MADE(add, large, f)) == f);
}

TEST(LongIntegers, RootsAndPowers) {
  Random random(10);
  for (const int n : {2, 9, 40, 41, 130})
    for (const uint64_t k : {2, 3, 5, 8, 100}) {
      const Z a = random_integer(random, n), r = MADE(root, a, k), next = MADE(add_ui, r, 1);
      EXPECT_LE(tnk_gmp___gmpz_cmp(MADE(pow_ui, r, k), a), 0);
      EXPECT_GT(tnk_gmp___gmpz_cmp(MADE(pow_ui, next, k), a), 0);
      const Z power = MADE(pow_ui, MADE(neg, a), k);
      Z root;
      EXPECT_NE(tnk_gmp___gmpz_root(root, power, k), 0);
      EXPECT_EQ(tnk_gmp___gmpz_root(nullptr, MADE(add_ui, power, 1), k), 0);
      EXPECT_TRUE(MADE(abs, root) == a);
      EXPECT_EQ(tnk_gmp___gmpz_perfect_square_p(power), k % 2 == 0);
      EXPECT_TRUE(n > 50 || tnk_gmp___gmpz_perfect_power_p(power) == 1);
      EXPECT_EQ(tnk_gmp___gmpz_perfect_power_p(MADE(mul_ui, power, 10)), 0);
      Z s, rest;
      tnk_gmp___gmpz_sqrtrem(s, rest, a);
      EXPECT_TRUE(MADE(add, MADE(mul, s, s), rest) == a);
      EXPECT_LE(tnk_gmp___gmpz_cmp(rest, MADE(mul_2exp, s, 1)), 0);
    }
}

} // namespace
} // namespace tnk::test
