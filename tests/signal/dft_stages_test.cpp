// The stages by their names: transforms test them together, these calls show that each one does its own part.
#include "tests/signal/stages.h"

namespace tnk::test {
namespace {

constexpr long double roundings = 2.5L;

template <class R> class DftStages : public testing::Test {
protected:
  // Released with the test.
  complex_of<R> *base_table(int32_t n) {
    return kept(stage<R, complex_of<R> *>("_createTabDftBase", "f", n));
  }
  template <class... Arguments> R *table(const char *name, Arguments... arguments) {
    return kept(stage<R, R *>(name, "f", arguments...));
  }
  ~DftStages() override { std::for_each(tables.begin(), tables.end(), e9_vpksFree); }

private:
  template <class T> T *kept(T *block) {
    tables.push_back(block);
    return block;
  }
  std::vector<void *> tables;
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DftStages, Precisions);

TYPED_TEST(DftStages, StraightLines) {
  for (const int32_t n : {3, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15})
    for (const int sign : {-1, 1}) {
      auto x = numbers<TypeParam>(n);
      const Numbers right = reference::transform(wide(x.data(), n), sign);
      stage<TypeParam>((sign < 0 ? "_cDFTfwd_" : "_cDFTinv_") + std::to_string(n), "fc", x.data(), x.data());
      expect_near(x.data(), right, roundings, std::to_string(n));
    }
}

// Two times, the second half first: f transforms of c numbers that stand f apart become one of f c numbers.
TYPED_TEST(DftStages, PassesOfTwoFactors) {
  using R = TypeParam;
  constexpr int32_t blocks = 2, width = 32 / sizeof(R);
  const int32_t lanes[2][8] = {{0, 2, 1, 3}, {0, 1, 4, 5, 2, 3, 6, 7}};
  const auto root = [](int32_t k, int32_t n) {
    return reference::root(static_cast<std::size_t>(k % n), static_cast<std::size_t>(n), -1);
  };
  std::vector<uint8_t> work(128 * 32);
  for (const int32_t c : {2, 3, 4, 5, 7, 8, 11, 13, 16, 17})
    for (const int32_t f : {2, 3, 4, 5, 7, 11, 13, 17}) {
      const int32_t n = c * f;
      const auto *const base = this->base_table(n);
      const R *const direct_c = c > 16 ? this->table("_createTabDftDir", c, base, n) : nullptr,
                     *const direct_f = f > 13 ? this->table("_createTabDftDir", f, base, n) : nullptr;
      const std::unique_ptr<R, decltype(&vpkFree)> twiddles(
          static_cast<R *>(vpkMalloc(static_cast<int32_t>((c + width) * f * 2 * sizeof(R)))), vpkFree);
      R *p = twiddles.get();
      for (int32_t first = 0, w = width; first < c; first += w) {
        if (first + width > c) w = width / 2;
        for (int32_t j = 1; j < f; ++j, p += 2 * w)
          for (int32_t lane = 0; lane < w; ++lane) {
            const Wide z = root((first + (w == width ? lanes[sizeof(R) == 4][lane] : lane)) * j, n);
            p[lane] = static_cast<R>(z.real()), p[w + lane] = static_cast<R>(z.imag());
          }
      }
      std::vector<int32_t> order;
      for (const int32_t half : {n, 0})
        for (int32_t k = 0; k < f; ++k) order.push_back(half + k);
      const auto x = numbers<R>(n * blocks);
      for (const int sign : {-1, 1}) {
        const std::string name = sign < 0 ? "_cDftFwd_" : "_cDftInv_", prime = name + "Prime",
                          fact = name + "Fact";
        auto y = x;
        if (c > 16)
          stage<R>(prime, "fc", x.data(), y.data(), c, f, f * blocks, order.data(), direct_c, work.data());
        else
          stage<R>(prime + std::to_string(c), "fc", x.data(), y.data(), f, f * blocks, order.data());
        auto z = y;
        if (f > 13)
          stage<R>(fact, "fc", y.data(), z.data(), f, c, blocks, direct_f, twiddles.get(), work.data());
        else
          stage<R>(fact + std::to_string(f), "fc", y.data(), z.data(), c, blocks, twiddles.get());
        for (const int32_t half : {0, n})
          expect_near(z.data() + n - half, reference::transform(wide(x.data() + half, n), sign), roundings,
                      fact + std::to_string(f) + " of " + std::to_string(c));
      }
    }
}

// Methods on a record that had no tables.
TYPED_TEST(DftStages, MethodsOfTheirOwn) {
  using R = TypeParam;
  using C = complex_of<R>;
  tnk_signal_dft *by_factors = nullptr, *convolved = nullptr;
  const C *const base = this->base_table(315);
  const R *const table = this->table("_createTabDftDir", 63, base, 315);
  std::unique_ptr<Guarded<uint8_t>> work[2];
  for (tnk_signal_dft **spec : {&by_factors, &convolved}) {
    ASSERT_EQ((stage<R, int32_t>("DFTInitAlloc_C", "fc", spec, 1, 8, 0)), 0);
    const bool first = spec == &by_factors;
    if (first) {
      EXPECT_EQ((stage<R, int32_t>("_initDftPrimeFact", "f", *spec, 103, base, 103)), TNK_SIGNAL_BAD_LENGTH);
    }
    ASSERT_EQ((stage<R, int32_t>(first ? "_initDftPrimeFact" : "_initDftConv", "f", *spec, first ? 105 : 315,
                                 base, 315)),
              0);
    int32_t size;
    ASSERT_EQ((stage<R, int32_t>("DFTGetBufSize_C", "fc", *spec, &size)), 0);
    work[!first].reset(new Guarded<uint8_t>(static_cast<std::size_t>(size) + 315 * 16 + 32, first ? 5 : 3));
  }
  uint8_t *const work_105 = work[0]->data(), *const work_315 = work[1]->data();
  alignas(32) uint8_t sums[63 * 16];
  const auto x = numbers<R>(315);
  for (const int sign : {-1, 1}) {
    std::vector<C> y(315);
    const auto expect = [&](int32_t n) {
      expect_near(y.data(), reference::transform(wide(x.data(), n), sign), roundings, std::to_string(n));
    };
    stage<R>(sign < 0 ? "_cDftFwd_PrimeFact" : "_cDftInv_PrimeFact", "fc", by_factors, x.data(), y.data(),
             work_105);
    expect(105);
    EXPECT_EQ(
        (stage<R, int32_t>("_cDft_Conv", "fc", convolved, x.data(), y.data(), 315, int32_t{-sign}, work_315)),
        0);
    expect(315);
    stage<R>("_cDft_Dir", "fc", x.data(), y.data(), 63, int32_t{-sign}, table, sums);
    expect(63);
  }
  // Real numbers of the same lengths: there in the Perm layout, and back.
  std::vector<R> real(315), spectrum(315), back(315);
  std::vector<C> as_complex(315);
  for (std::size_t i = 0; i < 315; ++i) real[i] = as_complex[i].re = x[i].re;
  for (const int32_t n : {105, 315, 63}) {
    const auto run = [&](const std::string &name, const R *s, R *d) {
      if (n == 105) stage<R>(name + "_PrimeFact", "f", by_factors, s, d, work_105);
      if (n == 315) stage<R>(name + "_Conv", "f", convolved, s, d, n, work_315);
      if (n == 63) stage<R>(name + "_Dir", "f", s, d, n, table, sums);
    };
    run("_rDftFwd", real.data(), spectrum.data());
    const Numbers right = reference::transform(wide(as_complex.data(), n), -1);
    EXPECT_NEAR(spectrum[0], static_cast<R>(right[0].real()), 200 * std::numeric_limits<R>::epsilon());
    expect_near(reinterpret_cast<const C *>(spectrum.data() + 1),
                Numbers(right.begin() + 1, right.begin() + n / 2 + 1), roundings, "real");
    run("_rDftInv", spectrum.data(), back.data());
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i)
      EXPECT_NEAR(back[i] / static_cast<R>(n), real[i], 10 * std::numeric_limits<R>::epsilon());
  }
  EXPECT_TRUE(work[0]->intact() && work[1]->intact());
  for (tnk_signal_dft *spec : {by_factors, convolved})
    EXPECT_EQ((stage<R, int32_t>("DFTFree_C", "fc", spec)), 0);
}

TYPED_TEST(DftStages, ReorderAndRecombine) {
  using R = TypeParam;
  using C = complex_of<R>;
  C by_part[] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
  stage<R>("_cDftReord", "fc", by_part, 4);
  const R pairs_of_numbers[] = {1, 3, 2, 4, 5, 7, 6, 8};
  EXPECT_EQ(std::memcmp(by_part, pairs_of_numbers, sizeof by_part), 0);

  // The spectrum of complex numbers becomes that of the real numbers that they are made of, and twice itself again.
  constexpr int32_t n = 42;
  const auto z = numbers<R>(n / 2);
  Numbers real;
  for (const auto &pair : z) real.emplace_back(pair.re), real.emplace_back(pair.im);
  const Numbers of_complex = reference::transform(wide(z.data(), n / 2), -1),
                of_real = reference::transform(real, -1);
  std::vector<C> data;
  for (const Wide &w : of_complex) data.push_back({static_cast<R>(w.real()), static_cast<R>(w.imag())});
  const C *const base = this->base_table(n);
  stage<R>("_rDftFwdRecombine", "f", &data[0].re, n, this->table("_createTabDftFwdRec", n, base, n));
  Numbers expected(of_real.begin(), of_real.begin() + n / 2);
  expected[0] = {of_real[0].real(), of_real[n / 2].real()};
  expect_near(data.data(), expected, roundings, "recombined");
  stage<R>("_rDftInvRecombine", "f", &data[0].re, n, this->table("_createTabDftInvRec", n, base, n));
  Numbers twice = of_complex;
  for (Wide &w : twice) w *= 2;
  expect_near(data.data(), twice, roundings, "and back");
}

} // namespace
} // namespace tnk::test
