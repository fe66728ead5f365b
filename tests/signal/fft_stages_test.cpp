// The stages of power-of-two transforms, put together by hand from what their header says.
#include "tests/signal/forms.h"

#include <tnk/signal_fft_stages.h>

namespace tnk::test {
namespace {

// The entries of one precision; those with a direction: forward, inverse.
template <class R> struct Stages;
#define TNK_STAGES(R_, C_, f, fc, eps)                                                                       \
  template <> struct Stages<R_> {                                                                            \
    using C = C_;                                                                                            \
    static constexpr long double epsilon = eps;                                                              \
    static constexpr int lanes = 32 / sizeof(R_);                                                            \
    static constexpr auto one = e9_vpks_cFFT_1_##fc, two = e9_vpks_cFFT_2_##fc;                              \
    static constexpr decltype(one) four[] = {e9_vpks_cFFTfwd_4_##fc, e9_vpks_cFFTinv_4_##fc};                \
    static constexpr decltype(&e9_vpks_cRadix4FwdNorm_##fc) normal[] = {e9_vpks_cRadix4FwdNorm_##fc,         \
                                                                        e9_vpks_cRadix4InvNorm_##fc};        \
    static constexpr decltype(&e9_vpks_cRadix4Fwd_##fc) reversed[] = {e9_vpks_cRadix4Fwd_##fc,               \
                                                                      e9_vpks_cRadix4Inv_##fc};              \
    static constexpr decltype(&e9_vpks_cFftFwd_Large_##fc) large[] = {e9_vpks_cFftFwd_Large_##fc,            \
                                                                      e9_vpks_cFftInv_Large_##fc};           \
    static constexpr decltype(&e9_vpks_cFftFwd_Fact4_##fc) fact4[] = {e9_vpks_cFftFwd_Fact4_##fc,            \
                                                                      e9_vpks_cFftInv_Fact4_##fc};           \
    static constexpr decltype(&e9_vpks_cFftFwd_Fact8_##fc) fact8[] = {e9_vpks_cFftFwd_Fact8_##fc,            \
                                                                      e9_vpks_cFftInv_Fact8_##fc};           \
    static constexpr auto merge = e9_vpks_cFft_BlkMerge_##fc, split = e9_vpks_cFft_BlkSplit_##fc;            \
    static constexpr auto recombine = e9_vpks_cRealRecombine_##f;                                            \
    static constexpr auto recombine_ccs = e9_vpks_cCcsRecombine_##f;                                         \
    static constexpr auto base = e9_vpks_initTabTwdBase_##f;                                                 \
    static constexpr auto twiddles = e9_vpks_initTabTwd_L1_##f;                                              \
    static constexpr auto large_tables = e9_vpks_initTabTwd_Large_##f;                                       \
    static constexpr auto large_sizes = e9_vpks_getSizeTwd_Large_##f;                                        \
    static constexpr auto real_table = e9_vpks_initTabTwdRealRec_##f,                                        \
                          ccs_table = e9_vpks_initTabTwdCcsRec_##f;                                          \
    static constexpr auto init_alloc = e9_vpksFFTInitAlloc_C_##fc;                                           \
    static constexpr auto buffer_size = e9_vpksFFTGetBufSize_C_##fc;                                         \
    static constexpr auto free = e9_vpksFFTFree_C_##fc;                                                      \
  };
TNK_STAGES(float, tnk_complex8, 32f, 32fc, FLT_EPSILON)
TNK_STAGES(double, tnk_complex16, 64f, 64fc, DBL_EPSILON)

void reverse(tnk_complex16 *block, const int32_t *swaps) {
  e9_vpks_zBitRev1_Blk(block, swaps);
}
void reverse(tnk_complex8 *block, const int32_t *swaps) {
  e9_vpks_cBitRev1_Blk(block, swaps);
}

std::size_t bits_reversed(std::size_t k, int bits) {
  std::size_t r = 0;
  for (int i = 0; i < bits; ++i) r |= (k >> i & 1) << (bits - 1 - i);
  return r;
}

// n complex numbers on a 32-byte boundary.
template <class C> struct Aligned {
  explicit Aligned(std::size_t n)
      : room(n + 4),
        p(reinterpret_cast<C *>((reinterpret_cast<std::uintptr_t>(room.data()) + 31) / 32 * 32)) {}
  uint8_t *bytes() { return reinterpret_cast<uint8_t *>(p); }
  std::vector<C> room;
  C *p;
};

template <class R> class FftStages : public testing::Test {
protected:
  using Complex = typename Stages<R>::C;

  static Complex number(Wide z) { return {static_cast<R>(z.real()), static_cast<R>(z.imag())}; }
  static std::vector<R> quarter_wave(int order) {
    std::vector<R> sines((std::size_t{1} << order) / 4 + 1);
    Stages<R>::base(sines.data(), order);
    return sines;
  }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(FftStages, Precisions, );

TYPED_TEST(FftStages, StraightAndInCache) {
  using S = Stages<TypeParam>;
  using C = typename S::C;
  for (const bool inverse : {false, true})
    for (const int order : {0, 1, 2, 7, 9, 12}) {
      const std::size_t n = std::size_t{1} << order;
      const auto length = static_cast<int32_t>(n);
      const Numbers x = random_numbers(n, false, false),
                    right = reference::transform_by_halves(x, inverse ? 1 : -1);
      Aligned<C> source(n), reversed(n), destination(n), work(n);
      for (std::size_t k = 0; k < n; ++k)
        source.p[k] = reversed.p[bits_reversed(k, order)] = this->number(x[k]);
      if (order < 7) {
        (order == 0 ? S::one : order == 1 ? S::two : S::four[inverse])(source.p, destination.p);
        expect_near(destination.p, right, 2);
        continue;
      }
      // From a base that is finer than needed.
      const auto base = this->quarter_wave(order + 2);
      std::vector<TypeParam> twiddles(2 * n);
      std::vector<int32_t> reversal(n / 4 + 9);
      EXPECT_LE(S::twiddles(twiddles.data(), order, base.data(), order + 2, 0),
                twiddles.data() + twiddles.size());
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(e9_vpks_initTabBitRevNorm(reversal.data(), order)) % 32, 0u);
      for (std::size_t k = 0; k < n / 4; ++k)
        ASSERT_EQ(static_cast<std::size_t>(reversal[k]), 2 * bits_reversed(k, order - 2));
      S::normal[inverse](source.p, destination.p, length, twiddles.data(), reversal.data(), work.bytes());
      expect_near(destination.p, right, 2);
      S::reversed[inverse](reversed.p, length, twiddles.data(), work.bytes());
      expect_near(reversed.p, right, 2);
    }
}

TYPED_TEST(FftStages, Combining) {
  using S = Stages<TypeParam>;
  using C = typename S::C;
  constexpr int W = S::lanes;
  constexpr std::size_t part = 16, packed[2][8] = {{0, 2, 1, 3}, {0, 1, 4, 5, 2, 3, 6, 7}};
  for (const bool inverse : {false, true})
    for (const std::size_t factor : {std::size_t{4}, std::size_t{8}}) {
      const std::size_t n = factor * part;
      std::vector<TypeParam> twiddles;
      for (std::size_t k = 0; k < part; k += W)
        for (std::size_t j = 1; j < factor; ++j)
          for (const bool imaginary : {false, true})
            for (std::size_t lane = 0; lane < W; ++lane) {
              const Wide w = reference::root(j * (k + packed[W == 8][lane]) % n, n, -1);
              twiddles.push_back(static_cast<TypeParam>(imaginary ? w.imag() : w.real()));
            }
      // Two groups of transforms of every factor-th number.
      const Numbers x = random_numbers(2 * n, false, false);
      std::vector<C> data(2 * n);
      for (std::size_t at = 0; at < 2 * n; at += n)
        for (std::size_t j = 0; j < factor; ++j) {
          Numbers some;
          for (std::size_t k = 0; k < part; ++k) some.push_back(x[at + j + k * factor]);
          some = reference::transform(some, inverse ? 1 : -1);
          const std::size_t place = at + bits_reversed(j, factor == 4 ? 2 : 3) * part;
          for (std::size_t k = 0; k < part; ++k) data[place + k] = this->number(some[k]);
        }
      (factor == 4 ? S::fact4 : S::fact8)[inverse](data.data(), static_cast<int32_t>(2 * n), part,
                                                   twiddles.data());
      for (const std::size_t at : {std::size_t{0}, n}) {
        const auto first = x.begin() + static_cast<std::ptrdiff_t>(at);
        expect_near(
            data.data() + at,
            reference::transform(Numbers(first, first + static_cast<std::ptrdiff_t>(n)), inverse ? 1 : -1),
            2);
      }
    }
}

// What bit reversal by blocks does with each block, and the lists of those that stay.
TYPED_TEST(FftStages, BlocksAndReversal) {
  using S = Stages<TypeParam>;
  using C = typename S::C;
  constexpr int order = 13;
  constexpr std::size_t n = 1 << order, stride = n / 32;
  std::vector<int32_t> table(n);
  e9_vpks_initTabBitRevLarge(table.data(), order, 5);
  std::vector<C> source(n), block(1024), destination(n);
  for (std::size_t k = 0; k < n; ++k) source[k] = {static_cast<TypeParam>(k), 1};
  for (std::size_t row = 0; row < n / 1024; ++row) {
    S::merge(source.data() + 32 * row, stride, 32, 32, block.data());
    reverse(block.data(), table.data() + n / 1024);
    S::split(block.data(), 32, 32, destination.data() + table[row], stride);
  }
  for (std::size_t k = 0; k < n; ++k)
    ASSERT_EQ(destination[bits_reversed(k, order)].re, static_cast<TypeParam>(k));

  std::vector<int32_t> swaps(33), stay;
  e9_vpks_initTabBitRev(swaps.data(), 5);
  for (std::size_t i = 32; swaps[i] != 0; --i) stay.push_back(swaps[i] / 4);
  EXPECT_EQ(stay, (std::vector<int32_t>{4, 10, 14, 17, 21, 27, 31}));
}

TYPED_TEST(FftStages, LargeByItsRecord) {
  using S = Stages<TypeParam>;
  using C = typename S::C;
  constexpr int order = 18;
  constexpr std::size_t n = std::size_t{1} << order;
  tnk_signal_fft *spec = nullptr;
  int32_t table_size = 0, work_size = 0, size = 0;
  ASSERT_EQ(S::init_alloc(&spec, order, 2, 0), 0);
  S::large_sizes(order, &table_size, &work_size);
  EXPECT_EQ(S::buffer_size(spec, &size), 0);
  EXPECT_EQ(size, work_size + 32);
  // The record's tables anew, in other memory, from a finer base.
  const auto base = this->quarter_wave(order + 1);
  const std::size_t room = n / sizeof(C) + static_cast<std::size_t>(table_size) / sizeof(C) + 2;
  Aligned<C> memory(room), work(static_cast<std::size_t>(work_size) / sizeof(C)), x(n), y(n);
  const auto *const end = S::large_tables(spec, memory.bytes(), order, base.data(), order + 1, 0);
  EXPECT_LE(static_cast<const void *>(end), memory.p + room);
  tnk_signal_fft *short_one = nullptr; // which they turn into a large one, as far as its buffer goes
  ASSERT_EQ(S::init_alloc(&short_one, 8, 8, 0), 0);
  S::large_tables(short_one, memory.bytes(), order, base.data(), order + 1, 0);
  EXPECT_EQ(S::buffer_size(short_one, &size), 0);
  EXPECT_EQ(size, work_size + 32);
  EXPECT_EQ(S::free(short_one), 0);
  x.p[5] = {1, 0};
  S::large[0](spec, x.p, y.p, work.bytes());
  long double worst = 0;
  for (std::size_t k = 0; k < n; ++k)
    worst = std::max(worst, std::abs(Wide(y.p[k].re, y.p[k].im) - reference::root(5 * k % n, n, -1)));
  EXPECT_TRUE(worst <= 3 * S::epsilon) << worst;
  S::large[1](spec, y.p, y.p, work.bytes());
  for (std::size_t k = 0; k < n; ++k)
    ASSERT_TRUE(std::abs(Wide(y.p[k].re, y.p[k].im) - Wide(k == 5)) <= S::epsilon) << k;
  EXPECT_EQ(S::free(spec), 0);
}

TYPED_TEST(FftStages, TablesOfOrdersThatAreNotCut) {
  using S = Stages<TypeParam>;
  for (const int order : {9, 17}) {
    const std::size_t n = std::size_t{1} << order;
    tnk_signal_fft *spec = nullptr;
    ASSERT_EQ(S::init_alloc(&spec, 8, 8, 0), 0);
    int32_t table_size = 0, work_size = 0, size = 0;
    S::large_sizes(order, &table_size, &work_size);
    EXPECT_EQ(work_size, 2097152);
    const auto base = this->quarter_wave(order);
    Aligned<TypeParam> memory(n + static_cast<std::size_t>(table_size) / sizeof(TypeParam));
    const TypeParam *const end = S::large_tables(spec, memory.bytes(), order, base.data(), order, 0);
    EXPECT_LE(static_cast<const void *>(end), memory.bytes() + n + table_size + 64);
    const TypeParam *const pairs = end - n / 2;
    for (std::size_t k = 0; k < n / 4; ++k)
      ASSERT_TRUE(std::abs(Wide(pairs[2 * k], pairs[2 * k + 1]) - reference::root(k, n, -1)) <= S::epsilon)
          << k;
    EXPECT_EQ(S::buffer_size(spec, &size), 0);
    EXPECT_EQ(size, work_size + 32);
    EXPECT_EQ(S::free(spec), 0);
  }
}

TYPED_TEST(FftStages, RecombiningRealNumbers) {
  using S = Stages<TypeParam>;
  using R = TypeParam;
  for (int order = 2; order <= 7; ++order) {
    const std::size_t n = std::size_t{1} << order, half = n / 2;
    const auto base = this->quarter_wave(order);
    std::vector<R> real_table(n / 2), ccs_table(n / 2);
    S::real_table(real_table.data(), order, base.data(), order);
    S::ccs_table(ccs_table.data(), order, base.data(), order);
    Numbers x = random_numbers(n, false, false), z(half);
    for (auto &v : x) v = v.real();
    for (std::size_t k = 0; k < half; ++k) z[k] = {x[2 * k].real(), x[2 * k + 1].real()};
    x = reference::transform(x, -1), z = reference::transform(z, -1);
    std::vector<R> data(n), spectrum(n);
    for (std::size_t k = 0; k < half; ++k)
      data[2 * k] = static_cast<R>(z[k].real()), data[2 * k + 1] = static_cast<R>(z[k].imag());
    S::recombine_ccs(data.data(), spectrum.data(), static_cast<int32_t>(half), ccs_table.data(), 1);
    S::recombine(data.data(), static_cast<int32_t>(half), real_table.data(), 1);
    for (std::size_t k = 1; k < half; ++k) {
      EXPECT_TRUE(std::abs(Wide(data[2 * k], data[2 * k + 1]) - x[k]) <= 4 * S::epsilon * std::sqrt(n))
          << order << ' ' << k;
      EXPECT_EQ(data[2 * k], spectrum[2 * k]);
      EXPECT_EQ(data[2 * k + 1], spectrum[2 * k + 1]);
    }
    S::recombine_ccs(spectrum.data(), data.data(), static_cast<int32_t>(half), ccs_table.data(), -1);
    S::recombine(spectrum.data(), static_cast<int32_t>(half), real_table.data(), -1);
    for (std::size_t k = 1; k < half; ++k)
      for (const Wide back : {Wide(data[2 * k], data[2 * k + 1]), Wide(spectrum[2 * k], spectrum[2 * k + 1])})
        EXPECT_TRUE(std::abs(back - 2.0L * z[k]) <= 8 * S::epsilon * std::sqrt(n)) << order << ' ' << k;
  }
}

} // namespace
} // namespace tnk::test
