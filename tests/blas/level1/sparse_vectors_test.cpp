#include "reference/sparse_vectors.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <tnk/blas_level1.h>

namespace {

using namespace tnk::test;
namespace reference = tnk::reference;

// The entries of one element type.
template <class T> struct Entries;
#define TNK_ENTRIES(T, t)                                                                                    \
  template <> struct Entries<T> {                                                                            \
    static constexpr auto axpyi = tnk_blas_##t##axpyi;                                                       \
    static constexpr auto gthr = tnk_blas_##t##gthr;                                                         \
    static constexpr auto gthrz = tnk_blas_##t##gthrz;                                                       \
    static constexpr auto sctr = tnk_blas_##t##sctr;                                                         \
  }
TNK_ENTRIES(float, s);
TNK_ENTRIES(double, d);
TNK_ENTRIES(tnk_complex8, c);
TNK_ENTRIES(tnk_complex16, z);
#undef TNK_ENTRIES

template <class T> T real_number(reference::real_part_type<T> value) {
  T number{};
  std::memcpy(static_cast<void *>(&number), &value, sizeof value);
  return number;
}

template <class T> bool same(const T &a, const T &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// nz values and positions, and a vector that holds twice as many elements, all of them guarded and shifted by
// bytes.
template <class T> struct Problem {
  std::vector<T> x, y;
  std::vector<tnk_int> indx;
  Guarded<T> x_memory, y_memory;
  Guarded<tnk_int> indx_memory;

  Problem(tnk_int nz, std::size_t shift_x, std::size_t shift_other)
      : x(static_cast<std::size_t>(nz)), y(2 * x.size() + 1), indx(y.size()), x_memory(x.size(), shift_x),
        y_memory(y.size(), shift_other), indx_memory(x.size(), shift_other) {
    Random random(static_cast<unsigned>(nz + 1));
    std::iota(indx.begin(), indx.end(), 1); // first and last position come up as well
    for (std::size_t i = indx.size(); i > 1; --i)
      std::swap(indx[i - 1], indx[static_cast<std::size_t>(random.integer(0, static_cast<tnk_int>(i) - 1))]);
    indx.resize(x.size());
    for (T &value : x) value = random.number<T>();
    for (T &value : y) value = random.number<T>();
    for (std::size_t i = 0; i < x.size(); ++i) {
      x_memory.put(i, x[i]);
      indx_memory.put(i, indx[i]);
    }
    for (std::size_t i = 0; i < y.size(); ++i) y_memory.put(i, y[i]);
  }

  T &target(std::size_t i) { return y[static_cast<std::size_t>(indx[i] - 1)]; }

  // Whether memory holds the plain vectors, which the test has brought to what is expected.
  bool as_expected() const {
    for (std::size_t i = 0; i < x.size(); ++i)
      if (!same(x_memory.get(i), x[i]) || indx_memory.get(i) != indx[i]) return false;
    for (std::size_t i = 0; i < y.size(); ++i)
      if (!same(y_memory.get(i), y[i])) return false;
    return x_memory.intact() && y_memory.intact() && indx_memory.intact();
  }
};

// check(problem, nz) on sizes over all remainders and on addresses of every residue that matters.
template <class T, class Check> void for_all_problems(Check check) {
  for (tnk_int nz = 0; nz <= 70; ++nz)
    for (const std::size_t shift_x : {0, 1, 4, 8, 16, 24})
      for (const std::size_t shift_other : {0, 1, 4}) {
        SCOPED_TRACE(::testing::Message() << "nz " << nz << " shifts " << shift_x << ' ' << shift_other);
        Problem<T> p(nz, shift_x, shift_other);
        ASSERT_NO_FATAL_FAILURE(check(p, nz));
        ASSERT_TRUE(p.as_expected());
      }
}

template <class T> struct SparseVectors : ::testing::Test {};
using AllTypes = ::testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(SparseVectors, AllTypes);

TYPED_TEST(SparseVectors, Axpy) {
  using T = TypeParam;
  Random random(9);
  const T alpha = random.number<T>();
  for_all_problems<T>([&](Problem<T> &p, tnk_int nz) {
    Entries<T>::axpyi(&nz, &alpha, p.x_memory.data(), p.indx_memory.data(), p.y_memory.data());
    for (std::size_t i = 0; i < p.x.size(); ++i)
      p.target(i) = reference::plus(p.target(i), reference::times(alpha, p.x[i]));
  });
}

TYPED_TEST(SparseVectors, Gather) {
  using T = TypeParam;
  for_all_problems<T>([](Problem<T> &p, tnk_int nz) {
    Entries<T>::gthr(&nz, p.y_memory.data(), p.x_memory.data(), p.indx_memory.data());
    for (std::size_t i = 0; i < p.x.size(); ++i) p.x[i] = p.target(i);
  });
}

TYPED_TEST(SparseVectors, GatherAndZero) {
  using T = TypeParam;
  for_all_problems<T>([](Problem<T> &p, tnk_int nz) {
    if (nz > 2) { // a repeated position: its value once, then zeros
      p.indx[1] = p.indx[2] = p.indx[0];
      p.indx_memory.put(1, p.indx[0]);
      p.indx_memory.put(2, p.indx[0]);
    }
    Entries<T>::gthrz(&nz, p.y_memory.data(), p.x_memory.data(), p.indx_memory.data());
    for (std::size_t i = 0; i < p.x.size(); ++i) {
      p.x[i] = p.target(i);
      p.target(i) = T{};
    }
  });
}

TYPED_TEST(SparseVectors, Scatter) {
  using T = TypeParam;
  for_all_problems<T>([](Problem<T> &p, tnk_int nz) {
    Entries<T>::sctr(&nz, p.x_memory.data(), p.indx_memory.data(), p.y_memory.data());
    for (std::size_t i = 0; i < p.x.size(); ++i) p.target(i) = p.x[i];
  });
}

TYPED_TEST(SparseVectors, NegativeCountTouchesNothing) {
  using T = TypeParam;
  const tnk_int nz = -3, index = 1;
  const T one = real_number<T>(1), two = real_number<T>(2);
  T x = one, y = two;
  Entries<T>::axpyi(&nz, &one, &x, &index, &y);
  Entries<T>::gthr(&nz, &y, &x, &index);
  Entries<T>::gthrz(&nz, &y, &x, &index);
  Entries<T>::sctr(&nz, &x, &index, &y);
  EXPECT_TRUE(same(x, one) && same(y, two));
}

TYPED_TEST(SparseVectors, AxpyOfZeroReadsNothingAndOfNanProceeds) {
  using T = TypeParam;
  using R = reference::real_part_type<T>;
  const tnk_int nz = 1, index = 1;
  const R nan = std::numeric_limits<R>::quiet_NaN();
  const T zero{}, unknown = real_number<T>(nan), two = real_number<T>(2);
  T y = two;
  Entries<T>::axpyi(&nz, &zero, &unknown, &index, &y);
  EXPECT_TRUE(same(y, two));
  Entries<T>::axpyi(&nz, &unknown, &two, &index, &y);
  R re;
  std::memcpy(&re, &y, sizeof re);
  EXPECT_TRUE(std::isnan(re));
}

// ---- Dot products
// ---------------------------------------------------------------------------------------------

template <class T, class Dot> void check_dot(Dot dot, bool conjugate) {
  using R = reference::real_part_type<T>;
  for_all_problems<T>([&](Problem<T> &p, tnk_int nz) {
    const T result = dot(&nz, p.x_memory.data(), p.indx_memory.data(), p.y_memory.data());
    R part[2] = {0, 0};
    std::memcpy(part, &result, sizeof result);
    const auto exact = reference::sparse_dot(p.x, p.indx, p.y, conjugate);
    const long double bound =
        (nz + 2) * static_cast<long double>(std::numeric_limits<R>::epsilon()) * exact.magnitude;
    ASSERT_TRUE(std::fabs(part[0] - exact.re) <= bound && std::fabs(part[1] - exact.im) <= bound)
        << part[0] << ' ' << part[1];
  });
}

// The complex forms put their result in front of the other arguments, at any address.
template <class C, class Dot> void check_complex_dot(Dot dot, bool conjugate) {
  check_dot<C>(
      [&](const tnk_int *nz, const C *x, const tnk_int *indx, const C *y) {
        Guarded<C> result(1, 4);
        dot(result.data(), nz, x, indx, y);
        EXPECT_TRUE(result.intact());
        return result.get(0);
      },
      conjugate);
  const tnk_int nz = -1;
  C result{7, 7};
  dot(&result, &nz, nullptr, nullptr, nullptr);
  EXPECT_TRUE(result.re == 0 && result.im == 0);
}

TEST(SparseDot, MatchesTheExactSum) {
  check_dot<float>(tnk_blas_sdoti, false);
  check_dot<double>(tnk_blas_ddoti, false);
  check_complex_dot<tnk_complex8>(tnk_blas_cdotui, false);
  check_complex_dot<tnk_complex8>(tnk_blas_cdotci, true);
  check_complex_dot<tnk_complex16>(tnk_blas_zdotui, false);
  check_complex_dot<tnk_complex16>(tnk_blas_zdotci, true);
  const tnk_int nz = -1;
  EXPECT_EQ(tnk_blas_sdoti(&nz, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(tnk_blas_ddoti(&nz, nullptr, nullptr, nullptr), 0);
}

// ---- Rotation
// -------------------------------------------------------------------------------------------------

template <class R, class Rotate> void check_roti(Rotate roti) {
  const R c = R(0.6), s = R(-0.8), one = 1, zero = 0, nan = std::numeric_limits<R>::quiet_NaN();
  for_all_problems<R>([&](Problem<R> &p, tnk_int nz) {
    roti(&nz, p.x_memory.data(), p.indx_memory.data(), p.y_memory.data(), &c, &s);
    for (std::size_t i = 0; i < p.x.size(); ++i)
      std::tie(p.x[i], p.target(i)) = reference::rotated(p.x[i], p.target(i), c, s);
  });

  const tnk_int nz = 1, none = 0, index = 1;
  R x = nan, y = 3;
  roti(&nz, &x, &index, &y, &one, &zero);
  EXPECT_EQ(y, 3) << "the identity does nothing, even with a NaN in x";
  x = 2;
  roti(&none, &x, &index, &y, &c, &nan);
  EXPECT_EQ(y, 3);
  roti(&nz, &x, &index, &y, &one, &nan);
  EXPECT_TRUE(std::isnan(x) && std::isnan(y)) << "an unknown s is no identity";
  x = 0, y = R(-0.0);
  roti(&nz, &x, &index, &y, &one, &one);
  EXPECT_FALSE(std::signbit(y)) << "0 - 0 is +0, where a negation would leave -0";
}

TEST(SparseRotation, EqualsTheFormulaBitForBit) {
  check_roti<float>(tnk_blas_sroti);
  check_roti<double>(tnk_blas_droti);
}

} // namespace
