// The objects of tnk/fft.hpp.
#include <array>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <tnk/fft.hpp>
#include <utility>
#include <vector>

#include "reference/fourier.h"
#include "support/allocations.h"
#include "support/random.h"

namespace {

using tnk::reference::Wide;
template <class R> using Numbers = std::vector<std::complex<R>>;

// y[j][k] of a plane of m by n numbers.
template <class T>
Wide frequency(const T *x, std::size_t m, std::size_t n, std::size_t j, std::size_t k, int sign) {
  Wide sum = 0;
  for (std::size_t a = 0; a < m; ++a)
    for (std::size_t b = 0; b < n; ++b)
      sum += Wide(x[a * n + b]) * tnk::reference::root(a * j % m, m, sign) *
             tnk::reference::root(b * k % n, n, sign);
  return sum;
}

template <class R> void expect_planes() {
  constexpr std::size_t m = 6, n = 9, batch = 2, half = n / 2 + 1;
  const long double bound = 100 * std::numeric_limits<R>::epsilon();
  tnk::test::Random random(3);
  tnk::FftSetup setup{{m, n}};
  setup.batch = batch, setup.backward_scale = 1.0 / (m * n);
  const tnk::Fft<R> fft(setup);
  tnk::RealFft<R> made(setup);
  const tnk::RealFft<R> real_fft = std::move(made);

  Numbers<R> x(m * n * batch), spectrum(m * half * batch);
  for (auto &value : x) value = {random.real<R>(), random.real<R>()};
  std::vector<R> reals(x.size()), again(x.size());
  for (R &value : reals) value = random.real<R>();
  Numbers<R> y = x;
  fft.forward(y);
  const std::vector<R> &source = reals;
  real_fft.forward(source, spectrum);
  for (std::size_t b = 0; b < batch; ++b)
    for (std::size_t j = 0; j < m; ++j)
      for (std::size_t k = 0; k < n; ++k) {
        EXPECT_LE(std::abs(Wide(y[(b * m + j) * n + k]) - frequency(&x[b * m * n], m, n, j, k, -1)), bound);
        if (k >= half) continue;
        EXPECT_LE(
            std::abs(Wide(spectrum[(b * m + j) * half + k]) - frequency(&reals[b * m * n], m, n, j, k, -1)),
            bound);
      }
  fft.backward(tnk::FftSpan<std::complex<R>>(y.data(), y.size()));
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
  tnk::test::allocations.reset();
  expect_planes<float>();
  expect_planes<double>();
  EXPECT_EQ(tnk::test::allocations.live, 0);
}

TEST(Fft, ThrowsWhatAStatusMeans) {
  tnk::test::allocations.reset();
  for (const tnk::FftSetup &bad :
       {tnk::FftSetup{{0}}, tnk::FftSetup{{}}, tnk::FftSetup{{2, 2, 2, 2, 2, 2, 2, 2}}})
    try {
      const tnk::RealFft<double> fft(bad);
      FAIL();
    } catch (const tnk::FftError &error) {
      EXPECT_EQ(error.status(), DftiInvalidConfiguration);
      EXPECT_STREQ(error.what(), DftiErrorMessage(DftiInvalidConfiguration));
    }
  tnk::FftSetup crowded{{8, 8}};
  crowded.users = tnk_int{1} << 31; // refused by a descriptor that is there
  EXPECT_THROW(tnk::Fft<float>{crowded}, tnk::FftError);
  EXPECT_EQ(tnk::test::allocations.live, 0);
  tnk::test::allocations.refuse = 6; // the first one of the commit
  EXPECT_THROW(tnk::Fft<float>({{8, 8}}), tnk::FftError);
  EXPECT_EQ(tnk::test::allocations.live, 0);
}

} // namespace
