// The objects of tnk/fft.hpp.
#include "dft/layouts.h"
#include "support/allocations.h"
#include <array>
#include <gtest/gtest.h>
#include <stdexcept>
#include <tnk/fft.hpp>

namespace tnk::test {
namespace {

// A batch of two planes, the second one twice the first.
template <class R> void expect_planes() {
  constexpr std::size_t m = 6, n = 9, half = n / 2 + 1;
  const long double bound = 100 * std::numeric_limits<R>::epsilon(); // of the first one
  FftSetup setup{{m, n}};
  setup.batch = 2, setup.backward_scale = 1.0 / (m * n);
  const Fft<R> fft(setup);
  RealFft<R> made(setup);
  const RealFft<R> real_fft = std::move(made);

  const Signal signal({m, n}, false), real({m, n}, true);
  std::vector<std::complex<R>> x(2 * m * n), spectrum(2 * m * half);
  std::vector<R> reals(x.size()), again(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    const auto times = static_cast<long double>(i / (m * n) + 1);
    x[i] = std::complex<R>(times * signal.numbers[i % (m * n)]);
    reals[i] = static_cast<R>(times * real.numbers[i % (m * n)].real());
  }
  auto y = x;
  fft.forward(y);
  const std::vector<R> &source = reals;
  real_fft.forward(source, spectrum);
  for (std::size_t i = 0; i < x.size(); ++i) {
    const auto times = static_cast<long double>(i / (m * n) + 1);
    EXPECT_LE(std::abs(Wide(y[i]) - times * signal.spectrum[i % (m * n)]), times * bound);
    if (i % n >= half) continue;
    EXPECT_LE(std::abs(Wide(spectrum[i / n * half + i % n]) - times * real.spectrum[i % (m * n)]),
              times * bound);
  }
  fft.backward(FftSpan<std::complex<R>>(y.data(), y.size()));
  real_fft.backward(spectrum, again);
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_LE(std::abs(y[i] - x[i]), bound);
    EXPECT_LE(std::abs(again[i] - reals[i]), bound);
  }
  EXPECT_THROW(fft.forward(spectrum), std::invalid_argument);
  EXPECT_THROW(real_fft.forward(reals, x), std::invalid_argument);
  EXPECT_THROW(real_fft.backward(spectrum, std::array<R, 5>()), std::invalid_argument);
}

TEST(Fft, TransformsBatchesOfPlanesAndBack) {
  allocations.reset();
  expect_planes<float>();
  expect_planes<double>();
  EXPECT_EQ(allocations.live, 0);
}

TEST(Fft, ThrowsWhatAStatusMeans) {
  allocations.reset();
  for (const FftSetup &bad : {FftSetup{{0}}, FftSetup{{}}, FftSetup{{2, 2, 2, 2, 2, 2, 2, 2}}}) try {
      const RealFft<double> fft(bad);
      FAIL();
    } catch (const FftError &error) {
      EXPECT_EQ(error.status(), DftiInvalidConfiguration);
      EXPECT_STREQ(error.what(), DftiErrorMessage(DftiInvalidConfiguration));
    }
  FftSetup crowded{{8, 8}};
  crowded.users = tnk_int{1} << 31; // refused by a descriptor that is there
  EXPECT_THROW(Fft<float>{crowded}, FftError);
  EXPECT_EQ(allocations.live, 0);
  allocations.refuse = 6; // the first one of the commit
  EXPECT_THROW(Fft<float>({{8, 8}}), FftError);
  EXPECT_EQ(allocations.live, 0);
}

} // namespace
} // namespace tnk::test
