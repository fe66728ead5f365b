// The stages of power-of-two transforms, put together by hand from what their header says.
#include "tests/signal/stages.h"

#include <tnk/signal_fft_stages.h>

namespace tnk::test {
namespace {

std::size_t bits_reversed(std::size_t k, int bits) {
  std::size_t r = 0;
  for (int i = 0; i < bits; ++i) r |= (k >> i & 1) << (bits - 1 - i);
  return r;
}

template <class R> class FftStages : public testing::Test {
protected:
  static constexpr long double epsilon = std::numeric_limits<R>::epsilon();

  static auto number(Wide z) { return complex_of<R>{static_cast<R>(z.real()), static_cast<R>(z.imag())}; }
  static std::vector<R> quarter_wave(int order) {
    std::vector<R> sines((std::size_t{1} << order) / 4 + 1);
    stage<R>("_initTabTwdBase", "f", sines.data(), order);
    return sines;
  }
  // A stage with a direction in its name, which is at its %.
  template <class... Arguments> static void run(std::string name, bool inverse, Arguments... arguments) {
    const bool small = name.find("FFT") != name.npos;
    name.replace(name.find('%'), 1, inverse ? (small ? "inv" : "Inv") : small ? "fwd" : "Fwd");
    stage<R>(name, "fc", arguments...);
  }
  // A record of a short transform, and the bytes that its transforms ask for.
  struct Record {
    explicit Record(int order, int flag) {
      EXPECT_EQ((stage<R, int32_t>("FFTInitAlloc_C", "fc", &spec, order, flag, 0)), 0);
    }
    ~Record() { EXPECT_EQ((stage<R, int32_t>("FFTFree_C", "fc", spec)), 0); }
    int32_t buffer() const {
      int32_t size = 0;
      EXPECT_EQ((stage<R, int32_t>("FFTGetBufSize_C", "fc", spec, &size)), 0);
      return size;
    }
    tnk_signal_fft *spec = nullptr;
  };
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(FftStages, Precisions, );

TYPED_TEST(FftStages, StraightAndInCache) {
  using R = TypeParam;
  for (const bool inverse : {false, true})
    for (const int order : {0, 1, 2, 7, 9, 10, 11}) {
      const std::size_t n = std::size_t{1} << order;
      const auto length = static_cast<int32_t>(n);
      const Numbers x = random_numbers(n, false, false), right = reference::transform(x, inverse ? 1 : -1);
      Guarded<complex_of<R>> source(n), reversed(n), destination(n), work(n);
      for (std::size_t k = 0; k < n; ++k)
        source.data()[k] = reversed.data()[bits_reversed(k, order)] = this->number(x[k]);
      if (order < 2) stage<R>(order == 0 ? "_cFFT_1" : "_cFFT_2", "fc", source.data(), destination.data());
      if (order == 2) this->run("_cFFT%_4", inverse, source.data(), destination.data());
      if (order > 2) {
        // From a base that is finer than needed.
        const auto base = this->quarter_wave(order + 2);
        std::vector<R> twiddles(2 * n);
        std::vector<int32_t> reversal(n / 4 + 9);
        EXPECT_LE((stage<R, R *>("_initTabTwd_L1", "f", twiddles.data(), order, base.data(), order + 2, 0)),
                  twiddles.data() + twiddles.size());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(e9_vpks_initTabBitRevNorm(reversal.data(), order)) % 32,
                  0u);
        for (std::size_t k = 0; k < n / 4; ++k)
          ASSERT_EQ(static_cast<std::size_t>(reversal[k]), 2 * bits_reversed(k, order - 2));
        this->run("_cRadix4%Norm", inverse, source.data(), destination.data(), length, twiddles.data(),
                  reversal.data(), work.data());
        this->run("_cRadix4%", inverse, reversed.data(), length, twiddles.data(), work.data());
        expect_near(reversed.data(), right, 2);
      }
      expect_near(destination.data(), right, 2);
    }
}

TYPED_TEST(FftStages, Combining) {
  using R = TypeParam;
  constexpr std::size_t part = 16, width = 32 / sizeof(R),
                        packed[2][8] = {{0, 2, 1, 3}, {0, 1, 4, 5, 2, 3, 6, 7}};
  for (const bool inverse : {false, true})
    for (const std::size_t factor : {std::size_t{4}, std::size_t{8}}) {
      const int sign = inverse ? 1 : -1;
      const std::size_t n = factor * part;
      std::vector<R> twiddles;
      for (std::size_t k = 0; k < part; k += width)
        for (std::size_t j = 1; j < factor; ++j)
          for (const bool imaginary : {false, true})
            for (std::size_t lane = 0; lane < width; ++lane) {
              const Wide w = reference::root(j * (k + packed[width == 8][lane]) % n, n, -1);
              twiddles.push_back(static_cast<R>(imaginary ? w.imag() : w.real()));
            }
      // Two groups of transforms of every factor-th number.
      std::vector<complex_of<R>> data(2 * n);
      Numbers right;
      for (const unsigned seed : {0, 1}) {
        const Numbers x = random_numbers(n + seed, false, false),
                      whole(x.begin(), x.begin() + std::ptrdiff_t(n));
        const Numbers transformed = reference::transform(whole, sign);
        right.insert(right.end(), transformed.begin(), transformed.end());
        for (std::size_t j = 0; j < factor; ++j) {
          Numbers some;
          for (std::size_t k = 0; k < part; ++k) some.push_back(x[j + k * factor]);
          some = reference::transform(some, sign);
          const std::size_t place = seed * n + bits_reversed(j, factor == 4 ? 2 : 3) * part;
          for (std::size_t k = 0; k < part; ++k) data[place + k] = this->number(some[k]);
        }
      }
      this->run("_cFft%_Fact" + std::to_string(factor), inverse, data.data(), static_cast<int32_t>(2 * n),
                int32_t{part}, twiddles.data());
      expect_near(data.data(), right, 2);
    }
}

// What bit reversal by blocks does with each block, and the lists of those that stay.
TYPED_TEST(FftStages, BlocksAndReversal) {
  using R = TypeParam;
  constexpr int order = 13, n = 1 << order, stride = n / 32;
  std::vector<int32_t> table(n);
  e9_vpks_initTabBitRevLarge(table.data(), order, 5);
  std::vector<complex_of<R>> source(n), block(1024), destination(n);
  for (std::size_t k = 0; k < n; ++k) source[k] = {static_cast<R>(k), 1};
  for (std::size_t row = 0; row < n / 1024; ++row) {
    stage<R>("_cFft_BlkMerge", "fc", source.data() + 32 * row, stride, 32, 32, block.data());
    const int32_t *const swaps = table.data() + n / 1024;
    if constexpr (sizeof(R) == 4)
      e9_vpks_cBitRev1_Blk(block.data(), swaps);
    else
      e9_vpks_zBitRev1_Blk(block.data(), swaps);
    stage<R>("_cFft_BlkSplit", "fc", block.data(), 32, 32, destination.data() + table[row], stride);
  }
  for (std::size_t k = 0; k < n; ++k) ASSERT_EQ(destination[bits_reversed(k, order)].re, static_cast<R>(k));

  std::vector<int32_t> swaps(33), stay;
  e9_vpks_initTabBitRev(swaps.data(), 5);
  for (std::size_t i = 32; swaps[i] != 0; --i) stay.push_back(swaps[i] / 4);
  EXPECT_EQ(stay, (std::vector<int32_t>{4, 10, 14, 17, 21, 27, 31}));
}

// A record's tables anew, in other memory; a short record becomes a long one. Those of orders not cut end in roots.
TYPED_TEST(FftStages, TablesOfLargeOrders) {
  using R = TypeParam;
  for (const int order : {9, 17, 18}) {
    const std::size_t n = std::size_t{1} << order;
    int32_t table_size = 0, work_size = 0;
    stage<R>("_getSizeTwd_Large", "f", order, &table_size, &work_size);
    EXPECT_EQ(work_size, order < 18 ? 2097152 : work_size);
    const auto base = this->quarter_wave(order + 1); // finer than needed
    Guarded<R> memory(n + static_cast<std::size_t>(table_size) / sizeof(R));
    const auto fill = [&](tnk_signal_fft *spec) {
      return stage<R, const R *>("_initTabTwd_Large", "f", spec, memory.data(), order, base.data(), order + 1,
                                 0);
    };
    const typename TestFixture::Record short_one(8, 8);
    const R *const end = fill(short_one.spec), *const pairs = end - n / 2;
    EXPECT_LE(static_cast<const void *>(end),
              reinterpret_cast<const uint8_t *>(memory.data()) + n + table_size + 64);
    EXPECT_EQ(short_one.buffer(), work_size + 32);
    for (std::size_t k = 0; k < n / 4 && order < 18; ++k)
      ASSERT_TRUE(std::abs(Wide(pairs[2 * k], pairs[2 * k + 1]) - reference::root(k, n, -1)) <= this->epsilon)
          << k;
    if (order < 18) continue;
    const typename TestFixture::Record long_one(order, 2);
    EXPECT_EQ(long_one.buffer(), work_size + 32);
    fill(long_one.spec);
    Guarded<complex_of<R>> work(static_cast<std::size_t>(work_size) / sizeof(complex_of<R>)), x(n), y(n);
    for (std::size_t k = 0; k < n; ++k) x.put(k, {R(k == 5), 0});
    this->run("_cFft%_Large", false, long_one.spec, x.data(), y.data(), work.data());
    long double worst = 0;
    for (std::size_t k = 0; k < n; ++k)
      worst =
          std::max(worst, std::abs(Wide(y.data()[k].re, y.data()[k].im) - reference::root(5 * k % n, n, -1)));
    EXPECT_TRUE(worst <= 3 * this->epsilon) << worst;
    this->run("_cFft%_Large", true, long_one.spec, y.data(), y.data(), work.data());
    for (std::size_t k = 0; k < n; ++k)
      ASSERT_TRUE(std::abs(Wide(y.data()[k].re, y.data()[k].im) - Wide(k == 5)) <= this->epsilon) << k;
  }
}

TYPED_TEST(FftStages, RecombiningRealNumbers) {
  using R = TypeParam;
  for (int order = 2; order <= 7; ++order) {
    const std::size_t n = std::size_t{1} << order;
    const auto half = static_cast<int32_t>(n / 2);
    const auto base = this->quarter_wave(order);
    std::vector<R> real_table(n / 2), ccs_table(n / 2), data(n), spectrum(n);
    stage<R>("_initTabTwdRealRec", "f", real_table.data(), order, base.data(), order);
    stage<R>("_initTabTwdCcsRec", "f", ccs_table.data(), order, base.data(), order);
    const auto pairs = numbers<R>(half);
    Numbers x;
    for (const auto &pair : pairs) x.emplace_back(pair.re), x.emplace_back(pair.im);
    x = reference::transform(x, -1);
    const Numbers z = reference::transform(wide(pairs.data(), half), -1);
    for (std::size_t k = 0; k < n / 2; ++k)
      data[2 * k] = static_cast<R>(z[k].real()), data[2 * k + 1] = static_cast<R>(z[k].imag());
    // Elements but the first against `right`.
    const auto expect = [&](const std::vector<R> &found, const Numbers &right, long double factor) {
      for (std::size_t k = 1; k < n / 2; ++k)
        EXPECT_TRUE(std::abs(Wide(found[2 * k], found[2 * k + 1]) - factor * right[k]) <=
                    4 * factor * this->epsilon * std::sqrt(n))
            << order << ' ' << k;
    };
    stage<R>("_cCcsRecombine", "f", data.data(), spectrum.data(), half, ccs_table.data(), 1);
    stage<R>("_cRealRecombine", "f", data.data(), half, real_table.data(), 1);
    expect(data, x, 1);
    EXPECT_TRUE(std::equal(data.begin() + 2, data.end(), spectrum.begin() + 2));
    stage<R>("_cCcsRecombine", "f", spectrum.data(), data.data(), half, ccs_table.data(), -1);
    stage<R>("_cRealRecombine", "f", spectrum.data(), half, real_table.data(), -1);
    expect(data, z, 2);
    expect(spectrum, z, 2);
  }
}

} // namespace
} // namespace tnk::test
