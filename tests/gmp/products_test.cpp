// Sums and products of limbs.
#include "tests/gmp/limbs.h"
#include <tnk/services.h>

namespace {

using namespace tnk::test;

TEST(Limbs, Sums) {
  Random random;
  for (int32_t n = 0; n <= 13; ++n)
    for (int round = 0; round < patterns * patterns; ++round) {
      const Limbs a = made(random, n, round % patterns), b = made(random, n, round / patterns);
      const limb f = made(random, 1, round % patterns)[0];
      const Integer x = value(a), y = value(b), one(f);
      // What goes over the end is added to what is left of a sum, and was borrowed for a difference.
      const auto expect = [&](const char *what, const Limbs &before, int sign, const Integer &sum,
                              auto call) {
        Written r(before);
        const Integer over = shifted(Integer(call(r.data())), n);
        EXPECT_EQ((value(r) + over * sign).text(16), sum.text(16)) << what << ' ' << n;
      };
      const Written pages(a), other_pages(b); // nothing is read beyond either
      const auto *p = pages.data(), *q = other_pages.data();
      for (const bool in_place : {false, true}) {
        const Limbs &before = in_place ? a : b;
        const auto from = [=](limb *to) { return in_place ? to : p; };
        expect("add_n", before, 1, x + y, [&](limb *r) { return tnk_gmp___gmpn_add_n(r, from(r), q, n); });
        expect("sub_n", before, -1, x - y, [&](limb *r) { return tnk_gmp___gmpn_sub_n(r, from(r), q, n); });
        expect("add_1", before, 1, x + one, [&](limb *r) { return tnk_gmp___gmpn_add_1(r, from(r), n, f); });
        expect("sub_1", before, -1, x - one, [&](limb *r) { return tnk_gmp___gmpn_sub_1(r, from(r), n, f); });
      }
      expect("addmul_1", b, 1, y + x * one, [&](limb *r) { return tnk_gmp___gmpn_addmul_1(r, p, n, f); });
      expect("submul_1", b, -1, y - x * one, [&](limb *r) { return tnk_gmp___gmpn_submul_1(r, p, n, f); });
      EXPECT_EQ(tnk_gmp___gmpn_cmp(p, q, n), compare(x, y));
    }
}

TEST(Limbs, ShortProducts) {
  Random random;
  const auto expect = [](const char *what, const Limbs &a, const Limbs &b, auto call) {
    Written r(a.size() + b.size(), page_end);
    call(r.data());
    EXPECT_EQ(value(r), value(a) * value(b)) << what << ' ' << a.size() << " by " << b.size();
  };
  for (int32_t an = 1; an <= 40; ++an)
    for (int32_t bn = 1; bn <= an; ++bn)
      for (int round = 0; round < 2; ++round) {
        const Limbs a = made(random, an, (an + round) % patterns), b = made(random, bn, (an + bn) % patterns);
        const Written pages(a), other_pages(b);
        const auto *p = pages.data(), *q = other_pages.data();
        expect("mul", a, b, [&](limb *r) { EXPECT_EQ(tnk_gmp___gmpn_mul(r, p, an, q, bn), r[an + bn - 1]); });
        expect("school", a, b, [&](limb *r) { e9_cpMul_BNU_school(r, p, an, q, bn); });
        expect("school, the shorter first", a, b, [&](limb *r) { e9_cpMul_BNU_school(r, q, bn, p, an); });
        if (bn % 5 == 1)
          expect("transforms", a, b, [&](limb *r) { tnk_gmp_tnk_gmp_mul_dft(p, an, q, bn, r); });
        if (an != bn) continue;
        for (const auto &[c, s] : {std::pair(a, p), std::pair(b, q)}) { // a square first
          expect("mul_n", a, c, [&, s = s](limb *r) { tnk_gmp___gmpn_mul_n(r, p, s, an); });
          expect("Karatsuba", a, c, [&, s = s](limb *r) { tnk_gmp_tnk_gmp_mul_n_kara(p, s, r, an); });
        }
      }
  // Nothing by nothing, and the limbs of a cleared but no more.
  Limbs r(5, 7);
  const Limbs a(4, 3);
  EXPECT_EQ(tnk_gmp___gmpn_mul(r.data(), a.data(), 4, a.data(), 0), 0u);
  EXPECT_EQ(r, (Limbs{0, 0, 0, 0, 7}));
  tnk_gmp___gmpn_mul_n(r.data(), a.data(), a.data(), 0);
  EXPECT_EQ(r, (Limbs{0, 0, 0, 0, 7}));
}

// On either side of each threshold, and where pieces have all differences in length.
TEST(Limbs, LongProducts) {
  Random random;
  for (const int32_t n :
       {41, 57, 63, 99, 199, 200, 201, 202, 203, 301, 599, 600, 601, 1810, 8192, 8193, 10000, 32768, 32769})
    for (int round = 0; round < (n < 8000 ? 2 * patterns : 1); ++round) {
      const Limbs a = made(random, n, n < 8000 ? round % patterns : runs),
                  b = made(random, n, round < patterns ? any : runs);
      const Residue x = remainder(a.data(), n), y = remainder(b.data(), n);
      const auto expect = [&](const char *what, const Residue &product, auto call) {
        Written r(2 * a.size(), page_end);
        call(r.data());
        EXPECT_TRUE(remainder(r.data(), 2 * n) == product) << what << ' ' << n;
      };
      expect("mul_n", x * y, [&](limb *r) { tnk_gmp___gmpn_mul_n(r, a.data(), b.data(), n); });
      expect("square", x * x, [&](limb *r) { tnk_gmp___gmpn_mul_n(r, a.data(), a.data(), n); });
      if (n > 2000) continue;
      expect("Karatsuba", x * y, [&](limb *r) { tnk_gmp_tnk_gmp_mul_n_kara(a.data(), b.data(), r, n); });
      expect("Toom", x * y, [&](limb *r) { tnk_gmp_tnk_gmp_mul_n_tc3(a.data(), b.data(), r, n); });
      expect("transforms", x * y, [&](limb *r) { tnk_gmp_tnk_gmp_mul_dft(a.data(), n, b.data(), n, r); });
    }
  const int32_t unequal[][2] = {{41, 40},    {200, 3},      {450, 201},     {1000, 333},
                                {1001, 250}, {24001, 8000}, {20000, 10000}, {30001, 15000}};
  for (const auto &[an, bn] : unequal) {
    const Limbs a = made(random, an, any), b = made(random, bn, runs);
    Written r(a.size() + b.size(), page_end);
    tnk_gmp___gmpn_mul(r.data(), a.data(), an, b.data(), bn);
    EXPECT_TRUE(remainder(r.data(), an + bn) == remainder(a.data(), an) * remainder(b.data(), bn))
        << an << " by " << bn;
  }
}

// Rounding does harm to these at two of the lengths at least. (2^k - 1)^2 = 2^(2 k) - 2^(k + 1) + 1.
TEST(Limbs, TransformsOfOnesAreExact) {
  for (const int32_t n : {8193, 24989, 32749, 32768}) {
    const auto size = static_cast<std::size_t>(n);
    const Limbs a(size, ~limb{0}), b = a;
    Limbs expected(2 * size, 0);
    expected[0] = 1;
    std::fill(expected.begin() + n, expected.end(), ~limb{0});
    expected[size] = ~limb{1};
    for (const limb *second : {a.data(), b.data()}) {
      Limbs r(2 * size);
      tnk_gmp_tnk_gmp_mul_dft(a.data(), n, second, n, r.data());
      EXPECT_TRUE(r == expected) << n;
    }
  }
}

TEST(Limbs, ProductsWithoutATransform) {
  Random random;
  const Limbs a = made(random, 300, any), b = made(random, 300, ones);
  Limbs r(600);
  auto *const malloc_before = i_malloc;
  i_malloc = [](std::size_t) -> void * { return nullptr; };
  tnk_gmp_tnk_gmp_mul_dft(a.data(), 300, b.data(), 300, r.data());
  i_malloc = malloc_before;
  EXPECT_TRUE(remainder(r.data(), 600) == remainder(a.data(), 300) * remainder(b.data(), 300));
}

} // namespace
