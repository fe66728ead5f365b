// The stages by their names, each against what it stands for. The transforms test them together; these calls show that
// each one does its own part.
#include "tests/signal/forms.h"

#include <algorithm>
#include <dlfcn.h>
#include <string>
#include <tnk/signal_dft_stages.h>

namespace tnk::test {
namespace {

template <class R> struct Names;
template <> struct Names<float> {
  using Complex = tnk_complex8;
  static constexpr const char *width = "32";
};
template <> struct Names<double> {
  using Complex = tnk_complex16;
  static constexpr const char *width = "64";
};
template <class R> using complex_of = typename Names<R>::Complex;

// A stage by the parts of its name, so that none can hide behind another one.
template <class R, class... Arguments>
auto stage(const std::string &begin, const char *end, Arguments... arguments) {
  const std::string name = "e9_vpks_" + begin + "_" + Names<R>::width + end;
  auto *const entry = reinterpret_cast<void (*)(Arguments...)>(dlsym(RTLD_DEFAULT, name.c_str()));
  ASSERT_NE(entry, nullptr) << name;
  entry(arguments...);
}

template <class R> std::vector<complex_of<R>> numbers(std::size_t n) {
  Random random(static_cast<unsigned>(n));
  std::vector<complex_of<R>> x(n);
  for (auto &z : x) z = random.number<complex_of<R>>();
  return x;
}
template <class C> Numbers wide(const std::vector<C> &x) {
  Numbers y;
  for (const C &z : x) y.emplace_back(z.re, z.im);
  return y;
}
constexpr long double roundings = 2.5L;

const struct {
  const char *name;
  int sign;
} directions[] = {{"Fwd", -1}, {"Inv", 1}};

template <class R> class DftStages : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DftStages, Precisions);

TYPED_TEST(DftStages, StraightLines) {
  for (const std::size_t n : {3u, 5u, 6u, 7u, 9u, 10u, 11u, 12u, 13u, 14u, 15u})
    for (const auto &[direction, sign] : directions) {
      auto x = numbers<TypeParam>(n);
      const Numbers right = reference::transform(wide(x), sign);
      const auto *const from = x.data();
      stage<TypeParam>(std::string("cDFT") + (sign < 0 ? "fwd_" : "inv_") + std::to_string(n), "fc", from,
                       x.data());
      expect_near(x.data(), right, roundings, std::to_string(n));
    }
}

// Seven transforms of numbers that stand seven apart, in reverse; whole registers and what is left over.
TYPED_TEST(DftStages, FirstPasses) {
  using R = TypeParam;
  constexpr int32_t apart = 11, count = 11;
  for (const int32_t c : {2, 3, 4, 5, 7, 8, 11, 13, 16, 17, 31})
    for (const auto &[direction, sign] : directions) {
      const auto x = numbers<R>(static_cast<std::size_t>(c * apart));
      std::vector<complex_of<R>> y(x.size());
      int32_t order[count];
      for (int32_t b = 0; b < count; ++b) order[b] = count - 1 - b;
      const std::string begin = std::string("cDft") + direction + "_Prime";
      const auto *const from = x.data();
      const int32_t *const first = order;
      if (c > 16) {
        auto *const base = [&] {
          if constexpr (sizeof(R) == 4)
            return e9_vpks_createTabDftBase_32f(2 * c);
          else
            return e9_vpks_createTabDftBase_64f(2 * c);
        }();
        const R *const table = [&] {
          if constexpr (sizeof(R) == 4)
            return e9_vpks_createTabDftDir_32f(c, base, 2 * c);
          else
            return e9_vpks_createTabDftDir_64f(c, base, 2 * c);
        }();
        std::vector<uint8_t> work(static_cast<std::size_t>(c) * 128 + 32);
        stage<R>(begin, "fc", from, y.data(), c, apart, count, first, table, work.data());
        e9_vpksFree(base), e9_vpksFree(const_cast<R *>(table));
      } else {
        stage<R>(begin + std::to_string(c), "fc", from, y.data(), apart, count, first);
      }
      for (int32_t b = 0; b < count; ++b) {
        Numbers own;
        for (int32_t t = 0; t < c; ++t) {
          const auto &z = x[static_cast<std::size_t>(order[b] + t * apart)];
          own.emplace_back(z.re, z.im);
        }
        expect_near(y.data() + b * c, reference::transform(own, sign), roundings, begin + std::to_string(c));
      }
    }
}

// Two times: f transforms of `part` numbers become one.
TYPED_TEST(DftStages, CombiningPasses) {
  using R = TypeParam;
  constexpr int32_t part = 21, blocks = 2, width = 32 / sizeof(R);
  const int32_t lanes[2][8] = {{0, 2, 1, 3}, {0, 1, 4, 5, 2, 3, 6, 7}};
  for (const int32_t f : {2, 3, 4, 5, 7, 11, 13, 17})
    for (const auto &[direction, sign] : directions) {
      const auto n = static_cast<std::size_t>(f * part);
      auto x = numbers<R>(n * blocks);
      Numbers right;
      for (std::size_t block = 0; block < blocks; ++block) {
        Numbers y(n);
        for (std::size_t i = 0; i < n; ++i)
          for (std::size_t j = 0; j < static_cast<std::size_t>(f); ++j) {
            const auto &z = x[block * n + j * part + i % part];
            y[i] += Wide(z.re, z.im) * reference::root(i * j % n, n, sign);
          }
        right.insert(right.end(), y.begin(), y.end());
      }
      auto *const twiddles = static_cast<R *>(vpkMalloc(static_cast<int32_t>(24 * f * 2 * sizeof(R)))),
                  *p = twiddles;
      for (int32_t first = 0, w = width; first < part; first += w) {
        if (first + width > part) w = width / 2;
        for (int32_t j = 1; j < f; ++j, p += 2 * w)
          for (int32_t lane = 0; lane < w; ++lane) {
            const auto k =
                static_cast<std::size_t>(first + (w == width ? lanes[sizeof(R) == 4][lane] : lane));
            const Wide root = reference::root(k * static_cast<std::size_t>(j) % n, n, -1);
            p[lane] = static_cast<R>(root.real()), p[w + lane] = static_cast<R>(root.imag());
          }
      }
      const std::string begin = std::string("cDft") + direction + "_Fact";
      const auto *const from = x.data();
      const R *const read = twiddles;
      if (f > 13) {
        std::vector<R> bytes(static_cast<std::size_t>(f / 2) * 2 * 3 * 8 + 8);
        auto *table =
                 bytes.data() + (32 - reinterpret_cast<std::uintptr_t>(bytes.data()) % 32) % 32 / sizeof(R),
             *row = table;
        for (int32_t q = 1; q <= f / 2; ++q)
          for (int32_t k0 = 1; k0 <= f / 2; k0 += width, row += 2 * width)
            for (int32_t lane = 0; lane < width && k0 + lane <= f / 2; ++lane) {
              const Wide w = reference::root(static_cast<std::size_t>(q * (k0 + lane) % f),
                                             static_cast<std::size_t>(f), 1);
              row[lane] = static_cast<R>(w.real()), row[width + lane] = static_cast<R>(w.imag());
            }
        std::vector<uint8_t> work(static_cast<std::size_t>(f) * 128 + 32);
        const R *const sums = table;
        stage<R>(begin, "fc", from, x.data(), f, part, blocks, sums, read, work.data());
      } else {
        stage<R>(begin + std::to_string(f), "fc", from, x.data(), part, blocks, read);
      }
      expect_near(x.data(), right, roundings, begin + std::to_string(f));
      vpkFree(twiddles);
    }
}

// Methods on a record that had no tables.
TEST(DftMethods, OfTheirOwn) {
  tnk_signal_dft *by_factors = nullptr, *convolved = nullptr;
  ASSERT_EQ(e9_vpksDFTInitAlloc_C_64fc(&by_factors, 1, 8, 0), 0);
  ASSERT_EQ(e9_vpksDFTInitAlloc_C_64fc(&convolved, 1, 8, 0), 0);
  tnk_complex16 *const base = e9_vpks_createTabDftBase_64f(315);
  EXPECT_EQ(e9_vpks_initDftPrimeFact_64f(by_factors, 103, base, 103), TNK_SIGNAL_BAD_LENGTH);
  ASSERT_EQ(e9_vpks_initDftPrimeFact_64f(by_factors, 105, base, 315), 0);
  ASSERT_EQ(e9_vpks_initDftConv_64f(convolved, 315, base, 315), 0);
  double *const table = e9_vpks_createTabDftDir_64f(63, base, 315);
  int32_t size, convolved_size;
  ASSERT_EQ(e9_vpksDFTGetBufSize_C_64fc(by_factors, &size), 0);
  ASSERT_EQ(e9_vpksDFTGetBufSize_C_64fc(convolved, &convolved_size), 0);
  Guarded<uint8_t> work(static_cast<std::size_t>(size) + 105 * 16 + 32, 5),
      wide_work(static_cast<std::size_t>(convolved_size) + 315 * 16 + 32, 3);
  alignas(32) uint8_t sums[63 * 16];
  const auto x = numbers<double>(315);
  for (const int sign : {-1, 1}) {
    const auto right = [&](std::size_t n) {
      return reference::transform(wide(std::vector(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(n))),
                                  sign);
    };
    std::vector<tnk_complex16> y(105), z(315), direct(63);
    (sign < 0 ? e9_vpks_cDftFwd_PrimeFact_64fc : e9_vpks_cDftInv_PrimeFact_64fc)(by_factors, x.data(),
                                                                                 y.data(), work.data());
    expect_near(y.data(), right(105), roundings, "factors");
    EXPECT_EQ(e9_vpks_cDft_Conv_64fc(convolved, x.data(), z.data(), 315, -sign, wide_work.data()), 0);
    expect_near(z.data(), right(315), roundings, "convolution");
    e9_vpks_cDft_Dir_64fc(x.data(), direct.data(), 63, -sign, table, sums);
    expect_near(direct.data(), right(63), roundings, "definition");
  }
  // Real numbers of the same lengths: there in the Perm layout, and back.
  const auto there_and_back = [&](std::size_t n, auto forward, auto inverse) {
    std::vector<double> real(n), spectrum(n), back(n);
    std::vector<tnk_complex16> as_complex(n);
    for (std::size_t i = 0; i < n; ++i) real[i] = as_complex[i].re = x[i].re;
    forward(real.data(), spectrum.data());
    const Numbers right = reference::transform(wide(as_complex), -1);
    for (std::size_t k = 1; k <= n / 2; ++k)
      EXPECT_NEAR(static_cast<double>(std::abs(right[k] - Wide(spectrum[2 * k - 1], spectrum[2 * k]))), 0,
                  4e-14);
    inverse(spectrum.data(), back.data());
    for (std::size_t i = 0; i < n; ++i)
      EXPECT_NEAR(back[i], static_cast<double>(n) * real[i], 2e-15 * static_cast<double>(n));
  };
  there_and_back(
      105, [&](auto *s, auto *d) { e9_vpks_rDftFwd_PrimeFact_64f(by_factors, s, d, work.data()); },
      [&](auto *s, auto *d) { e9_vpks_rDftInv_PrimeFact_64f(by_factors, s, d, work.data()); });
  there_and_back(
      315, [&](auto *s, auto *d) { e9_vpks_rDftFwd_Conv_64f(convolved, s, d, 315, wide_work.data()); },
      [&](auto *s, auto *d) { e9_vpks_rDftInv_Conv_64f(convolved, s, d, 315, wide_work.data()); });
  there_and_back(
      63, [&](auto *s, auto *d) { e9_vpks_rDftFwd_Dir_64f(s, d, 63, table, sums); },
      [&](auto *s, auto *d) { e9_vpks_rDftInv_Dir_64f(s, d, 63, table, sums); });
  EXPECT_TRUE(work.intact() && wide_work.intact());
  e9_vpksFree(base), e9_vpksFree(table);
  EXPECT_EQ(e9_vpksDFTFree_C_64fc(by_factors), 0);
  EXPECT_EQ(e9_vpksDFTFree_C_64fc(convolved), 0);
}

TEST(DftMethods, ReorderAndRecombine) {
  tnk_complex16 by_part[] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
  e9_vpks_cDftReord_64fc(by_part, 4);
  const double pairs_of_numbers[] = {1, 3, 2, 4, 5, 7, 6, 8};
  EXPECT_EQ(std::memcmp(by_part, pairs_of_numbers, sizeof by_part), 0);

  // The spectrum of complex numbers becomes that of the real numbers that they are made of, and twice itself again.
  constexpr std::size_t n = 42;
  const auto z = numbers<double>(n / 2);
  Numbers real;
  for (const auto &pair : z) real.emplace_back(pair.re), real.emplace_back(pair.im);
  const Numbers of_complex = reference::transform(wide(z), -1), of_real = reference::transform(real, -1);
  std::vector<tnk_complex16> data;
  for (const Wide &w : of_complex)
    data.push_back({static_cast<double>(w.real()), static_cast<double>(w.imag())});
  tnk_complex16 *const base = e9_vpks_createTabDftBase_64f(n);
  double *const there = e9_vpks_createTabDftFwdRec_64f(n, base, n), *const back =
                                                                        e9_vpks_createTabDftInvRec_64f(
                                                                            n, base, n);
  e9_vpks_rDftFwdRecombine_64f(&data[0].re, n, there);
  Numbers expected(of_real.begin(), of_real.begin() + n / 2);
  expected[0] = {of_real[0].real(), of_real[n / 2].real()};
  expect_near(data.data(), expected, roundings, "recombined");
  e9_vpks_rDftInvRecombine_64f(&data[0].re, n, back);
  Numbers twice = of_complex;
  for (Wide &w : twice) w *= 2;
  expect_near(data.data(), twice, roundings, "and back");
  e9_vpksFree(base), e9_vpksFree(there), e9_vpksFree(back);
}

} // namespace
} // namespace tnk::test
