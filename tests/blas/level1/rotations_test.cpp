#include "reference/pairs.h"
#include "support/guarded.h"
#include "support/random.h"
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/blas_level1.h>
#include <tuple>
#include <vector>

namespace {

using namespace tnk::test;
namespace reference = tnk::reference;
using RealTypes = ::testing::Types<float, double>;

// ---- Application: rot and rotm
// ------------------------------------------------------------------------------

// Runs `kernel` on two vectors and holds every element to `expected`, bit for bit. Shifts are in bytes.
template <class T, class Kernel, class Expected>
void check_pairs(tnk_int n, tnk_int incx, tnk_int incy, std::size_t shift_x, std::size_t shift_y,
                 Kernel kernel, Expected expected) {
  Strided<T> x(n, incx, shift_x), y(n, incy, shift_y);
  Random random(static_cast<unsigned>(7 * n + 3));
  std::vector<T> u(static_cast<std::size_t>(std::max<tnk_int>(n, 0))), v(u.size());
  for (tnk_int i = 0; i < n; ++i) {
    x.put(i, random.number<T>());
    y.put(i, random.number<T>());
  }
  for (std::size_t i = 0; i < u.size(); ++i) {
    u[i] = x.get(static_cast<tnk_int>(i));
    v[i] = y.get(static_cast<tnk_int>(i));
  }
  // With an increment of 0 there is one element, which each pair finds as the pair before it left it.
  for (std::size_t i = 0; i < u.size(); ++i) {
    T &a = u[incx == 0 ? 0 : i], &b = v[incy == 0 ? 0 : i];
    std::tie(a, b) = expected(a, b);
  }
  kernel(&n, x.data(), &incx, y.data(), &incy);
  SCOPED_TRACE(::testing::Message() << "n " << n << " incx " << incx << " incy " << incy << " shifts "
                                    << shift_x << ' ' << shift_y);
  for (std::size_t i = 0; i < u.size(); ++i) {
    const T a = x.get(static_cast<tnk_int>(i)), b = y.get(static_cast<tnk_int>(i));
    ASSERT_EQ(std::memcmp(&a, &u[incx == 0 ? 0 : i], sizeof a), 0) << "x, element " << i;
    ASSERT_EQ(std::memcmp(&b, &v[incy == 0 ? 0 : i], sizeof b), 0) << "y, element " << i;
  }
  ASSERT_TRUE(x.intact() && y.intact());
}

template <class T, class Kernel, class Expected> void check_all_shapes(Kernel kernel, Expected expected) {
  for (const tnk_int n : {-1, 0, 1, 2, 3, 5, 8, 70})
    for (const tnk_int incx : {-3, -1, 0, 1, 2})
      for (const tnk_int incy : {-3, -1, 0, 1, 2})
        ASSERT_NO_FATAL_FAILURE(check_pairs<T>(n, incx, incy, 0, 0, kernel, expected));
  for (tnk_int n = 0; n <= 70; ++n) {
    for (const std::size_t sx : {0, 1, 4, 8, 24})
      for (const std::size_t sy : {0, 1, 4, 8, 16})
        ASSERT_NO_FATAL_FAILURE(check_pairs<T>(n, 1, 1, sx, sy, kernel, expected));
    ASSERT_NO_FATAL_FAILURE(check_pairs<T>(n, 3, 3, 4, 1, kernel, expected));
  }
}

template <class T, class S>
using Rot = void (*)(const tnk_int *, T *, const tnk_int *, T *, const tnk_int *,
                     const reference::real_part_type<T> *, const S *);

template <class T, class S> void check_rot(Rot<T, S> rot, S s) {
  const reference::real_part_type<T> c = 0.375f;
  check_all_shapes<T>([&](auto... args) { rot(args..., &c, &s); },
                      [&](T x, T y) { return reference::rotated(x, y, c, s); });
}

TEST(Rotation, EqualsTheFormulaBitForBitInAllShapes) {
  check_rot<float, float>(tnk_blas_xsrot, -0.7f);
  check_rot<double, double>(tnk_blas_xdrot, -0.7);
  check_rot<tnk_complex8, float>(tnk_blas_xcsrot, -0.7f);
  check_rot<tnk_complex16, double>(tnk_blas_xzdrot, -0.7);
  check_rot<tnk_complex8, tnk_complex8>(tnk_blas_xcrot, {-0.7f, 0.3f});
  check_rot<tnk_complex16, tnk_complex16>(tnk_blas_xzrot, {-0.7, 0.3});
}

template <class R> struct ModifiedRotation : ::testing::Test {};
TYPED_TEST_SUITE(ModifiedRotation, RealTypes);

void rotm(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
          const float *param) {
  tnk_blas_srotm(n, x, incx, y, incy, param);
}
void rotm(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
          const double *param) {
  tnk_blas_drotm(n, x, incx, y, incy, param);
}

TYPED_TEST(ModifiedRotation, EqualsTheFormulaBitForBitForEachFlag) {
  using R = TypeParam;
  for (const R flag : {-2, -1, 0, 1}) {
    const std::array<R, 5> full = {flag, R(0.9), R(-0.3), R(1.7), R(0.6)};
    std::array<R, 5> h = full; // the elements that the flag implies must not be used
    const R nan = std::numeric_limits<R>::quiet_NaN();
    if (flag == 0 || flag == -2) h[1] = h[4] = nan;
    if (flag == 1 || flag == -2) h[2] = h[3] = nan;
    check_all_shapes<R>([&](auto... args) { rotm(args..., h.data()); },
                        [&](R x, R y) { return reference::transformed(x, y, full); });
  }
}

TEST(Rotation, NanAndInfinityStayInTheirPair) {
  constexpr tnk_int n = 21, one = 1;
  const double special[] = {std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::infinity()};
  const double c = 0.6, s = 0.8, h[5] = {-1, 0.6, -0.8, 0.8, 0.6};
  for (const double bad : special)
    for (tnk_int at = 0; at < n; ++at)
      for (const bool modified : {false, true}) {
        std::vector<double> x(n, 1), y(n, 1);
        (at % 2 ? x : y)[static_cast<std::size_t>(at)] = bad;
        if (modified)
          tnk_blas_drotm(&n, x.data(), &one, y.data(), &one, h);
        else
          tnk_blas_xdrot(&n, x.data(), &one, y.data(), &one, &c, &s);
        for (tnk_int i = 0; i < n; ++i) {
          const double u = x[static_cast<std::size_t>(i)], v = y[static_cast<std::size_t>(i)];
          ASSERT_EQ(std::isfinite(u) && std::isfinite(v), i != at) << i;
          if (i == at) {
            ASSERT_EQ(std::isnan(u) && std::isnan(v), std::isnan(bad));
          }
        }
      }
}

// ---- Set-up: rotg
// -------------------------------------------------------------------------------------------

void rotg(float *a, float *b, float *c, float *s) {
  tnk_blas_srotg(a, b, c, s);
}
void rotg(double *a, double *b, double *c, double *s) {
  tnk_blas_drotg(a, b, c, s);
}
void rotg(tnk_complex8 *a, const tnk_complex8 *b, float *c, tnk_complex8 *s) {
  tnk_blas_crotg(a, b, c, s);
}
void rotg(tnk_complex16 *a, const tnk_complex16 *b, double *c, tnk_complex16 *s) {
  tnk_blas_zrotg(a, b, c, s);
}

template <class R> bool within(R value, long double exact, int eps) {
  const long double bound =
      eps * static_cast<long double>(std::numeric_limits<R>::epsilon()) * std::fabs(exact) +
      std::numeric_limits<R>::min();
  return std::fabs(value - exact) <= bound;
}

template <class R> struct RotationSetUp : ::testing::Test {};
TYPED_TEST_SUITE(RotationSetUp, RealTypes);

// Numbers of R over most of its range.
template <class R> R wide(Random &random) {
  const int reach = std::numeric_limits<R>::max_exponent - 4;
  return std::ldexp(random.real<R>(), static_cast<int>(random.integer(-reach, reach)));
}
// A second number, more often near the first than not.
template <class R> R beside(R a, Random &random) {
  return random.integer(0, 2) == 0 ? wide<R>(random) : random.real<R>() * 2 * a;
}

TYPED_TEST(RotationSetUp, MatchesExactValues) {
  using R = TypeParam;
  Random random;
  for (int round = 0; round < 20000; ++round) {
    const R a = round == 0 ? 0 : wide<R>(random), b = round == 1 ? 0 : beside(a, random);
    if (a == 0 && b == 0) continue;
    R r = a, z = b, c, s;
    rotg(&r, &z, &c, &s);
    SCOPED_TRACE(::testing::Message() << "a " << a << " b " << b);
    const bool a_leads = std::fabs(a) > std::fabs(b);
    const long double exact = std::copysign(std::hypot((long double)a, (long double)b), a_leads ? a : b);
    ASSERT_TRUE(within(r, exact, 5)) << r;
    ASSERT_TRUE(within(c, a / exact, 6)) << c;
    ASSERT_TRUE(within(s, b / exact, 6)) << s;
    ASSERT_EQ(z, a_leads ? s : c != 0 ? 1 / c : 1);
  }
}

TYPED_TEST(RotationSetUp, SignsAndZeros) {
  using R = TypeParam;
  const struct {
    R a, b, c, s, r, z;
  } cases[] = {
      {0, 0, 1, 0, 0, 0},
      {R(-0.0), 0, 1, 0, 0, 0},
      {0, -2, 0, 1, -2, 1},
      {-2, 0, 1, 0, -2, 0},
      {3, -3, -std::sqrt(R(0.5)), std::sqrt(R(0.5)), -std::sqrt(R(18)), -std::sqrt(R(2))},
      {4, -3, R(4) / 5, R(-3) / 5, 5, R(-3) / 5},
      {-3, 4, R(-3) / 5, R(4) / 5, 5, R(1) / (R(-3) / 5)},
  };
  for (const auto &t : cases) {
    R r = t.a, z = t.b, c, s;
    rotg(&r, &z, &c, &s);
    SCOPED_TRACE(::testing::Message() << "a " << t.a << " b " << t.b);
    EXPECT_TRUE(within(r, t.r, 1) && within(c, t.c, 1) && within(s, t.s, 1) && within(z, t.z, 2))
        << r << ' ' << c << ' ' << s << ' ' << z;
  }
  R a = std::numeric_limits<R>::quiet_NaN(), b = 1, c, s;
  rotg(&a, &b, &c, &s);
  EXPECT_TRUE(std::isnan(a) && std::isnan(b) && std::isnan(c) && std::isnan(s));
}

TYPED_TEST(RotationSetUp, ComplexMatchesExactValues) {
  using R = TypeParam;
  using C = std::conditional_t<std::is_same_v<R, float>, tnk_complex8, tnk_complex16>;
  Random random;
  for (int round = 0; round < 20000; ++round) {
    C a{wide<R>(random), 0}, b{0, 0};
    a.im = beside(a.re, random);
    b = {beside(a.re, random), beside(a.im, random)};
    const C a_in = a, b_in = b;
    C s;
    R c;
    rotg(&a, &b, &c, &s);
    const long double re = a_in.re, im = a_in.im, size = std::hypot(re, im);
    const long double norm = std::hypot(size, std::hypot((long double)b.re, (long double)b.im));
    const long double s_re = (re * b.re + im * b.im) / size / norm,
                      s_im = (im * b.re - re * b.im) / size / norm;
    SCOPED_TRACE(::testing::Message() << "a " << re << ' ' << im << " b " << b.re << ' ' << b.im);
    ASSERT_TRUE(std::memcmp(&b, &b_in, sizeof b) == 0);
    // Parts of s may cancel: they are held to the size of s, as |s| <= 1.
    const long double bound =
        10 * std::numeric_limits<R>::epsilon() * std::hypot(s_re, s_im) + std::numeric_limits<R>::min();
    ASSERT_TRUE(within(c, size / norm, 8)) << c;
    ASSERT_TRUE(std::fabs(s.re - s_re) <= bound && std::fabs(s.im - s_im) <= bound) << s.re << ' ' << s.im;
    // The direction of a loses digits where a part of it falls below the normal range, the result likewise.
    const long double lost = (norm + 1) * std::numeric_limits<R>::denorm_min();
    for (const auto &[part, in] : {std::pair{a.re, re}, std::pair{a.im, im}}) {
      const long double exact = in / size * norm;
      const long double off = std::fabs(part - exact);
      ASSERT_TRUE(off <= 10 * std::numeric_limits<R>::epsilon() * std::fabs(exact) + lost) << part;
    }
  }
}

TYPED_TEST(RotationSetUp, ComplexZeroFirstTakesTheSecond) {
  using R = TypeParam;
  using C = std::conditional_t<std::is_same_v<R, float>, tnk_complex8, tnk_complex16>;
  for (const C b : {C{3, -4}, C{0, 0}}) {
    C a{0, 0}, s{7, 7};
    R c = 7;
    rotg(&a, &b, &c, &s);
    EXPECT_TRUE(c == 0 && s.re == 1 && s.im == 0 && a.re == b.re && a.im == b.im);
  }
}

// crotg rounds the two magnitudes to single, and works all that follows in double before it rounds once.
TEST(RotationSetUpSingle, QuotientsAreDouble) {
  Random random(5);
  for (int round = 0; round < 2000; ++round) {
    const tnk_complex8 a = random.number<tnk_complex8>(), b = random.number<tnk_complex8>();
    tnk_complex8 r = a, s;
    float c;
    tnk_blas_crotg(&r, &b, &c, &s);
    const long double size_a = static_cast<float>(std::hypot((long double)a.re, (long double)a.im));
    const long double size_b = static_cast<float>(std::hypot((long double)b.re, (long double)b.im));
    const long double norm = std::hypot(size_a, size_b);
    ASSERT_TRUE(within(static_cast<double>(c), size_a / norm, 1 << 28))
        << "c is off by more than one rounding";
    ASSERT_TRUE(within(static_cast<double>(r.re), a.re / size_a * norm, 1 << 28)) << "and so is r";
  }
}

// ---- Set-up: rotmg
// ------------------------------------------------------------------------------------------

template <class R> struct Modified {
  R d1, d2, x1, y1;
  std::array<R, 5> param = {99, 99, 99, 99, 99}; // 99: not written
};
void rotmg(Modified<float> &m) {
  tnk_blas_srotmg(&m.d1, &m.d2, &m.x1, &m.y1, m.param.data());
}
void rotmg(Modified<double> &m) {
  tnk_blas_drotmg(&m.d1, &m.d2, &m.x1, &m.y1, m.param.data());
}

template <class R> struct ModifiedSetUp : ::testing::Test {};
TYPED_TEST_SUITE(ModifiedSetUp, RealTypes);

// H keeps the form d1 x^2 + d2 y^2, takes (x1, y1) to (new x1, 0), and leaves new d1 and d2 in range.
template <class R> void check_property(const Modified<R> &in, int &rescaled) {
  Modified<R> out = in;
  rotmg(out);
  SCOPED_TRACE(::testing::Message() << in.d1 << ' ' << in.d2 << ' ' << in.x1 << ' ' << in.y1 << " flag "
                                    << out.param[0]);
  const R flag = out.param[0];
  ASSERT_TRUE(flag == -1 || flag == 0 || flag == 1);
  for (const int i : {1, 4}) ASSERT_EQ(out.param[i] == 99, flag == 0);
  for (const int i : {2, 3}) ASSERT_EQ(out.param[i] == 99, flag == 1);
  rescaled += flag == -1;
  const long double h11 = flag == 0 ? 1 : out.param[1], h21 = flag == 1 ? -1 : out.param[2],
                    h12 = flag == 1 ? 1 : out.param[3], h22 = flag == 0 ? 1 : out.param[4];
  const long double d1 = out.d1, d2 = out.d2;
  for (const R d : {out.d1, out.d2})
    ASSERT_TRUE(d == 0 || (std::fabs(d) > R(0x1p-24) * (1 - R(1e-6)) && std::fabs(d) < 0x1p24));
  // The factor of a step down is a relative 1.05e-14 off 2^-24 in double; a weight takes up to one step per
  // 2^24.
  const int steps = static_cast<int>(std::log2(std::max({in.d1, std::fabs(in.d2), R(1)})) / 24) + 2;
  const long double law = 24 * std::numeric_limits<R>::epsilon() + (sizeof(R) == 8 ? steps * 1.06e-14L : 0);
  const auto vanish = [&](long double a, long double b, long double expected) {
    return std::fabs(a + b - expected) <= law * (std::fabs(a) + std::fabs(b) + std::fabs(expected));
  };
  ASSERT_TRUE(vanish(h21 * in.x1, h22 * in.y1, 0));
  ASSERT_TRUE(vanish(h11 * in.x1, h12 * in.y1, out.x1));
  ASSERT_TRUE(vanish(d1 * h11 * h11, d2 * h21 * h21, in.d1));
  ASSERT_TRUE(vanish(d1 * h12 * h12, d2 * h22 * h22, in.d2));
  ASSERT_TRUE(vanish(d1 * h11 * h12, d2 * h21 * h22, 0));
}

TYPED_TEST(ModifiedSetUp, KeepsTheFormAndZeroesTheSecondComponent) {
  using R = TypeParam;
  Random random;
  const R reach = sizeof(R) == 8 ? 30 : 15;
  int rescaled = 0, rounds = 0;
  for (R e1 = -reach; e1 <= reach; ++e1)
    for (R e2 = -reach; e2 <= reach; ++e2)
      for (const R sign : {1, -1}) {
        Modified<R> in{random.real<R>(1, 2) * std::pow(R(10), e1),
                       sign * random.real<R>(1, 2) * std::pow(R(10), e2), random.real<R>(), random.real<R>()};
        // A negative second weight needs a first component that clearly outweighs it.
        if (sign < 0 && !(-in.d2 * in.y1 * in.y1 < in.d1 * in.x1 * in.x1 / 2)) continue;
        ASSERT_NO_FATAL_FAILURE(check_property(in, rescaled));
        ++rounds;
      }
  EXPECT_GT(rescaled, rounds / 4);
  EXPECT_LT(rescaled, rounds);
}

TYPED_TEST(ModifiedSetUp, ExactAndDegenerateCases) {
  using R = TypeParam;
  constexpr R no = 99, tiny = std::numeric_limits<R>::min(), inf = std::numeric_limits<R>::infinity();
  const R down = R(0x1p30) * (sizeof(R) == 8 ? R(5.960464477539e-08) : R(0x1p-24));
  const struct {
    const char *what;
    Modified<R> in, out;
  } cases[] = {
      {"first leads", {1, 1, 2, 1, {}}, {R(1) / R(1.25), R(1) / R(1.25), R(2.5), 1, {0, no, -0.5, 0.5, no}}},
      {"equal", {1, 1, 2, 2, {}}, {0.5, 0.5, 4, 2, {1, 1, no, no, 1}}},
      {"no second weight", {3, 0, 2, 5, {}}, {3, 0, 2, 5, {-2, no, no, no, no}}},
      {"no second component", {3, 4, 2, 0, {}}, {3, 4, 2, 0, {-2, no, no, no, no}}},
      {"negative d1", {-1, 1, 2, 1, {}}, {0, 0, 0, 1, {-1, 0, 0, 0, 0}}},
      {"negative d1 goes before d2 y1 = 0", {-1, 0, 2, 1, {}}, {0, 0, 0, 1, {-1, 0, 0, 0, 0}}},
      {"negative q2 leads", {1, -1, 1, 2, {}}, {0, 0, 0, 2, {-1, 0, 0, 0, 0}}},
      {"negative q2, equal", {1, -1, 2, 2, {}}, {0, 0, 0, 2, {-1, 0, 0, 0, 0}}},
      {"no first weight", {0, 2, 3, 1, {}}, {2, 0, 1, 1, {1, 0, no, no, 3}}},
      {"q2 underflows", {0, 1, 0, tiny, {}}, {1, 0, tiny, tiny, {1, 0, no, no, 0}}},
      {"d1 down", {0, R(0x1p30), 3, 1, {}}, {down, 0, 4096, 1, {-1, 0, -1, 4096, 3}}},
      {"d1 up", {0, R(0x1p-30), 3, 1, {}}, {R(0x1p-6), 0, R(0x1p-12), 1, {-1, 0, -1, R(0x1p-12), 3}}},
      {"on the lower limit",
       {0, R(5.960464477539e-08), 3, 1, {}},
       {R(5.960464477539e-08) * R(0x1p24), 0, R(0x1p-12), 1, {-1, 0, -1, R(0x1p-12), 3}}},
      {"infinite d1 ends", {0, inf, 3, 1, {}}, {inf, 0, 1, 1, {1, 0, no, no, 3}}},
  };
  for (const auto &t : cases) {
    Modified<R> m = t.in;
    m.param = {no, no, no, no, no};
    rotmg(m);
    SCOPED_TRACE(t.what);
    EXPECT_TRUE(m.d1 == t.out.d1 && m.d2 == t.out.d2 && m.x1 == t.out.x1 && m.y1 == t.out.y1)
        << m.d1 << ' ' << m.d2 << ' ' << m.x1;
    EXPECT_EQ(m.param, t.out.param);
  }
}

} // namespace
