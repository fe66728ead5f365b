// Vector operations against their definition: every length past the unrolled passes, at each alignment, guarded.
#include "tests/reference/arithmetic.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/services.h>
#include <tnk/signal_vector.h>
#include <vector>

namespace {

using tnk::reference::operator*;
using tnk::test::Guarded;
using tnk::test::Random;

constexpr float nan_f = std::numeric_limits<float>::quiet_NaN();

// Runs `ours` and `definition` on the same two vectors at several alignments, and compares bit by bit.
template <class T>
void each_length(const std::function<int32_t(const T *, T *, int32_t)> &ours,
                 const std::function<void(const T *, T *, int32_t)> &definition, int32_t longest = 75) {
  Random random;
  for (int32_t n = 1; n <= longest; ++n)
    for (const std::size_t shift : {std::size_t{0}, sizeof(T), 3 * sizeof(T), tnk::test::page_end}) {
      const auto count = static_cast<std::size_t>(n);
      Guarded<T> source(count, shift), result(count, shift == tnk::test::page_end ? shift : 2 * shift);
      std::vector<T> from(count), expected(count);
      for (std::size_t i = 0; i < count; ++i) {
        source.put(i, from[i] = random.number<T>());
        result.put(i, expected[i] = random.number<T>());
      }
      definition(from.data(), expected.data(), n);
      ASSERT_EQ(ours(source.data(), result.data(), n), 0);
      ASSERT_EQ(std::memcmp(result.data(), expected.data(), count * sizeof(T)), 0) << n << " at " << shift;
      ASSERT_TRUE(source.intact() && result.intact()) << n << " at " << shift;
    }
}

template <class C, class Conj, class Mul, class MulInPlace>
void operations_on_complex(Conj conj, Mul mul, MulInPlace mul_in_place) {
  each_length<C>(conj, [](const C *x, C *y, int32_t n) {
    for (int32_t i = 0; i < n; ++i) y[i] = {x[i].re, -x[i].im};
  });
  const auto products = [](const C *x, C *y, int32_t n) {
    for (int32_t i = 0; i < n; ++i) y[i] = x[i] * y[i];
  };
  each_length<C>(mul_in_place, products);
  each_length<C>([=](const C *x, C *y, int32_t n) { return mul(x, y, y, n); }, products);
}

TEST(SignalVector, ComplexOperations) {
  operations_on_complex<tnk_complex8>(e9_vpksConj_32fc, e9_vpksMul_32fc, e9_vpksMul_32fc_I);
  operations_on_complex<tnk_complex16>(e9_vpksConj_64fc, e9_vpksMul_64fc, e9_vpksMul_64fc_I);
}

template <class T, class Copy, class Scale> void copy_and_scale(Copy copy, Scale scale) {
  each_length<T>(copy, [](const T *x, T *y, int32_t n) { std::copy_n(x, n, y); });
  each_length<T>([=](const T *, T *y, int32_t n) { return scale(T(1.7), y, n); },
                 [](const T *, T *y, int32_t n) { std::for_each_n(y, n, [](T &v) { v = T(1.7) * v; }); });
  T values[] = {std::numeric_limits<T>::quiet_NaN(), -1, std::numeric_limits<T>::infinity()};
  EXPECT_EQ(scale(1, values, 3), 0);
  EXPECT_TRUE(std::isnan(values[0]));
  EXPECT_EQ(scale(-T(0), values, 3), 0);
  for (const T v : values) EXPECT_TRUE(v == 0 && !std::signbit(v));
}

TEST(SignalVector, CopiesAndScales) {
  copy_and_scale<float>(e9_vpksCopy_32f, e9_vpksMulC_32f_I);
  copy_and_scale<double>(e9_vpksCopy_64f, e9_vpksMulC_64f_I);
  each_length<float>([](const float *, float *y, int32_t n) { return e9_vpksFlip_32f_I(y, n); },
                     [](const float *, float *y, int32_t n) { std::reverse(y, y + n); });
}

// Blocks on both sides of the length from which they are written past the caches, with edges at every byte.
TEST(SignalVector, LongBlocks) {
  for (const std::size_t bytes : {std::size_t{1048580}, std::size_t{2097216}})
    for (std::size_t shift = 0; shift < 32; shift += 5) {
      Guarded<uint8_t> source(bytes, shift), cleared(bytes, shift), copied(bytes, 3 * shift % 32);
      for (std::size_t i = 0; i < bytes; ++i) source.put(i, static_cast<uint8_t>(i * 7 >> 3));
      e9_ownsCopy_8u(source.data(), copied.data(), static_cast<tnk_int>(bytes));
      EXPECT_EQ(std::memcmp(source.data(), copied.data(), bytes), 0);
      EXPECT_EQ(e9_vpksZero_8u(cleared.data(), static_cast<int32_t>(bytes)), 0);
      EXPECT_EQ(static_cast<std::size_t>(std::count(cleared.data(), cleared.data() + bytes, 0)), bytes);
      EXPECT_TRUE(source.intact() && cleared.intact() && copied.intact());
    }
  Guarded<double> from(140001, 8), to(140001, 16);
  for (std::size_t i = 0; i < from.size(); ++i) from.put(i, static_cast<double>(i));
  EXPECT_EQ(e9_vpksCopy_64f(from.data(), to.data(), 140001), 0);
  EXPECT_EQ(std::memcmp(from.data(), to.data(), 140001 * sizeof(double)), 0);
  // The element size counts: as many elements are cleared as are asked for, and no more.
  Guarded<tnk_complex16> wide(5), all(7);
  EXPECT_EQ(e9_vpksZero_64fc(wide.data(), 4), 0);
  EXPECT_TRUE(wide.get(3).im == 0 && std::isnan(wide.get(4).re));
  EXPECT_EQ(e9_vpksZero_32fc(reinterpret_cast<tnk_complex8 *>(all.data()), 13), 0);
  EXPECT_TRUE(all.get(5).im == 0 && std::isnan(all.get(6).im));
  EXPECT_EQ(e9_vpksZero_32f(reinterpret_cast<float *>(all.data()), 27), 0);
  EXPECT_EQ(e9_vpksZero_32s(reinterpret_cast<int32_t *>(all.data()), 27), 0);
  EXPECT_EQ(e9_vpksZero_64f(&all.data()->re, 13), 0);
  EXPECT_TRUE(std::isnan(all.get(6).im));
}

// Addresses come before lengths, and nothing is touched.
TEST(SignalVector, Statuses) {
  tnk_complex16 z{1, 2};
  double d = 3;
  EXPECT_EQ(e9_vpksZero_64fc(&z, 0), -6);
  EXPECT_EQ(e9_vpksZero_64fc(nullptr, 0), -8);
  EXPECT_EQ(e9_vpksMul_64fc(&z, nullptr, &z, 1), -8);
  EXPECT_EQ(e9_vpksMulC_64f_I(0, &d, -1), -6);
  EXPECT_EQ(e9_vpksCopy_64f(&z.re, nullptr, -1), -8);
  EXPECT_EQ(e9_vpksConv_64f(&z.re, 1, &z.im, 0, &d), -6);
  EXPECT_EQ(e9_vpksConv_64f(&z.re, 1 << 30, &z.im, (1 << 30) + 1, &d), -6);
  EXPECT_EQ(e9_vpksSortRadixAscend_64f_I(&z.re, nullptr, 1), -8);
  EXPECT_TRUE(z.re == 1 && z.im == 2 && d == 3);
}

TEST(SignalVector, ProductsOfSpectra) {
  each_length<double>(e9_vpksMulPerm_64f_I, [](const double *x, double *y, int32_t n) {
    int32_t i = 0;
    for (; i < (n % 2 == 0 ? 2 : 1); ++i) y[i] *= x[i];
    for (; i < n; i += 2) {
      const auto p = tnk_complex16{x[i], x[i + 1]} * tnk_complex16{y[i], y[i + 1]};
      y[i] = p.re, y[i + 1] = p.im;
    }
  });
  each_length<float>(e9_vpksMulPackConj_32f_I, [](const float *x, float *y, int32_t n) {
    y[0] *= x[0];
    for (int32_t i = 1; i + 1 < n; i += 2) {
      const auto p = tnk_complex8{x[i], -x[i + 1]} * tnk_complex8{y[i], y[i + 1]};
      y[i] = p.re, y[i + 1] = p.im;
    }
    if (n % 2 == 0) y[n - 1] *= x[n - 1];
  });
}

// out[i] is the sum over k of a[k] b[i + lag + step k], of integers so small that every sum is exact in any order.
template <class R, class Ours>
void expect_sums(int32_t m, int32_t n, int32_t count, int32_t lag, int32_t step, Ours ours) {
  Random random(static_cast<unsigned>(m + 100 * n));
  std::vector<R> a(static_cast<std::size_t>(m)), b(static_cast<std::size_t>(n));
  for (std::vector<R> *v : {&a, &b})
    for (R &element : *v) element = static_cast<R>(random.integer(-9, 9));
  const Guarded<R> x(a), y(b);
  Guarded<R> out(static_cast<std::size_t>(count), tnk::test::page_end);
  ASSERT_EQ(ours(x.data(), m, y.data(), n, out.data()), 0);
  for (int32_t i = 0; i < count; ++i) {
    R sum = 0;
    for (int32_t k = 0; k < m; ++k)
      if (const int32_t at = i + lag + step * k; at >= 0 && at < n)
        sum += a[static_cast<std::size_t>(k)] * b[static_cast<std::size_t>(at)];
    ASSERT_EQ(out.get(static_cast<std::size_t>(i)), sum) << m << " " << n << " " << lag << " " << i;
  }
}
template <class R, class Ours> void convolution(Ours ours) {
  for (const int32_t m : {1, 2, 7, 40, 70})
    for (int32_t n = 1; n <= 90; n += n < 10 ? 1 : 13) expect_sums<R>(m, n, m + n - 1, 0, -1, ours);
}

TEST(SignalVector, Convolution) {
  convolution<float>(e9_vpksConv_32f);
  convolution<double>(e9_vpksConv_64f);
  convolution<int16_t>([](auto... p) { return e9_vpksConv_16s_Sfs(p..., 0); });
  // Halves go to even, and what is too large stays at the end of the range.
  const int16_t one[] = {1}, values[] = {1, 2, 3, 6, 10, -2, -6, -32768, 32767};
  int16_t out[9];
  EXPECT_EQ(e9_vpksConv_16s_Sfs(values, 9, one, 1, out, 2), 0);
  EXPECT_EQ(std::vector<int16_t>(out, out + 9), (std::vector<int16_t>{0, 0, 1, 2, 2, 0, -2, -8192, 8192}));
  EXPECT_EQ(e9_vpksConv_16s_Sfs(values, 9, one, 1, out, -14), 0);
  EXPECT_EQ(std::vector<int16_t>(out, out + 9),
            (std::vector<int16_t>{16384, 32767, 32767, 32767, 32767, -32768, -32768, -32768, 32767}));
}

TEST(SignalVector, CorrelationAtAnyLag) {
  for (const int32_t m : {1, 5, 40})
    for (const int32_t n : {1, 33, 80})
      for (const int32_t lag : {-100, -40, -3, 0, 2, 79, 90})
        expect_sums<float>(m, n, 101, lag, 1,
                           [=](auto... p) { return e9_vpksCrossCorr_32f(p..., 101, lag); });
}

TEST(SignalVector, Conversions) {
  std::vector<int16_t> whole;
  for (int v = -32768; v < 32768; v += 3) whole.push_back(static_cast<int16_t>(v));
  std::vector<float> real(whole.size());
  std::vector<int16_t> back(whole.size());
  const auto n = static_cast<int32_t>(whole.size());
  EXPECT_EQ(e9_vpksConvert_16s32f(whole.data(), real.data(), n), 0);
  EXPECT_TRUE(std::equal(whole.begin(), whole.end(), real.begin()));
  std::fesetround(FE_UPWARD); // the rounding of the call is that of its argument
  EXPECT_EQ(e9_vpksConvert_32f16s_Sfs(real.data(), back.data(), n, 1, 1), 0);
  std::fesetround(FE_TONEAREST);
  for (std::size_t i = 0; i < whole.size(); ++i) ASSERT_EQ(back[i], std::nearbyint(whole[i] / 2.0));
  EXPECT_EQ(e9_vpksConvert_32f16s_Sfs(real.data(), back.data(), n, 0, 1), 0);
  for (std::size_t i = 0; i < whole.size(); ++i) ASSERT_EQ(back[i], whole[i] / 2);
  const float extremes[] = {nan_f, 1e38f, -1e38f, 32767.4f, 0x1p127f};
  EXPECT_EQ(e9_vpksConvert_32f16s_Sfs(extremes, back.data(), 5, 1, 0), 0);
  EXPECT_EQ((std::vector<int16_t>{-32768, 32767, -32768, 32767, 32767}),
            std::vector<int16_t>(back.begin(), back.begin() + 5));
  for (const int32_t scale : {127, 140, 1000}) {
    EXPECT_EQ(e9_vpksConvert_32f16s_Sfs(extremes + 4, back.data(), 1, 1, scale), 0);
    EXPECT_EQ(back[0], scale == 127 ? 1 : 0);
  }
}

// Signed integers in the order of the sort.
int64_t in_order(double x) {
  int64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits < 0 ? std::numeric_limits<int64_t>::min() - bits - 1 : bits;
}

TEST(SignalVector, SortsByBits) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  Random random;
  for (const int32_t n : {1, 2, 300, 5000}) {
    std::vector<double> v(static_cast<std::size_t>(n)), scratch(v.size());
    for (double &x : v)
      x = random.real(-1.0, 1.0) * std::exp2(static_cast<double>(random.integer(-1000, 1000)));
    if (n == 300) v[3] = nan, v[4] = inf, v[5] = -inf, v[6] = -nan, v[7] = 0, v[8] = -0.0, v[9] = 5e-324;
    std::vector<double> expected = v;
    std::sort(expected.begin(), expected.end(), [](double a, double b) { return in_order(a) < in_order(b); });
    EXPECT_EQ(e9_vpksSortRadixAscend_64f_I(v.data(), scratch.data(), n), 0);
    EXPECT_EQ(std::memcmp(v.data(), expected.data(), v.size() * sizeof(double)), 0) << n;
  }
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

// An allocator that gives its block at each distance from a boundary in turn.
alignas(64) char arena[4096];
std::size_t offset, asked;
void *released;
void *give(std::size_t size) {
  asked = size;
  return offset == 1 ? nullptr : arena + offset;
}
void take_back(void *block) {
  released = block;
}

TEST(SignalMemory, BlocksStandOnABoundaryWhateverTheAllocatorGives) {
  const auto own_malloc = i_malloc;
  const auto own_free = i_free;
  i_malloc = give, i_free = take_back;
  for (offset = 0; offset < 64; offset += 8) {
    char *const block = static_cast<char *>(vpkMalloc(100));
    EXPECT_EQ(asked, 140u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0u);
    EXPECT_TRUE(block - arena >= static_cast<std::ptrdiff_t>(offset + 8) &&
                block - arena <= static_cast<std::ptrdiff_t>(offset + 40));
    released = nullptr;
    e9_vpksFree(block);
    EXPECT_EQ(released, arena + offset);
  }
  offset = 0;
  vpkFree(e9_vpksMalloc_64f(11));
  EXPECT_EQ(asked, 128u);
  released = nullptr, asked = 0;
  EXPECT_FALSE(vpkMalloc(0) || vpkMalloc(-1) || e9_vpksMalloc_8u(-1) || e9_vpksMalloc_32f(1 << 29) ||
               e9_vpksMalloc_64f(1 << 28));
  vpkFree(nullptr);
  EXPECT_TRUE(asked == 0 && !released);
  offset = 1;
  EXPECT_EQ(vpkMalloc(8), nullptr);
  EXPECT_EQ(asked, 48u);
  i_malloc = own_malloc, i_free = own_free;
}

} // namespace
