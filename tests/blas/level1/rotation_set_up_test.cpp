// rotg and rotmg.
#include "blas/level1/shapes.h"
#include "support/named.h"
#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

namespace tnk::test {
namespace {

using wide = long double;

template <class R> using Pair = std::conditional_t<sizeof(R) == 4, tnk_complex8, tnk_complex16>;

// Calls a set-up of T with its scalars at addresses that their types do not like.
template <class T, class... U> void call(const char *name, U &...scalars) {
  std::tuple<Askew<U>...> memory(scalars...);
  std::apply(
      [&](auto &...m) {
        Named<T>{name}(m.at()...);
        (std::memcpy(&scalars, m.at(), sizeof scalars), ...);
      },
      memory);
}

template <class R> constexpr wide eps = std::numeric_limits<R>::epsilon();
// Within so many rounding errors of a value, or of the size that its bound is measured by.
template <class R> bool within(R value, wide exact, wide roundings, wide size = 0) {
  const wide bound = roundings * eps<R> * std::fmax(std::fabs(exact), size);
  return std::fabs(value - exact) <= bound + std::numeric_limits<R>::min();
}

// Numbers of R over most of its range.
template <class R> R any_size(Random &random) {
  const int reach = std::numeric_limits<R>::max_exponent - 4;
  return std::ldexp(random.real<R>(), static_cast<int>(random.integer(-reach, reach)));
}
// A second number, more often near the first than not.
template <class R> R beside(R a, Random &random) {
  return random.integer(0, 2) == 0 ? any_size<R>(random) : random.real<R>() * 2 * a;
}

template <class R> struct RotationSetUp : testing::Test {};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(RotationSetUp, RealTypes);

TYPED_TEST(RotationSetUp, MatchesExactValues) {
  using R = TypeParam;
  Random random;
  for (int round = 0; round < 20000; ++round) {
    const R a = round == 0 ? 0 : any_size<R>(random);
    const R b = round == 1 ? 0 : round % 8 == 2 ? -a : beside(a, random);
    if (a == 0 && b == 0) continue;
    R r = a, z = b, c = 0, s = 0;
    call<R>("tnk_blas_?rotg", r, z, c, s);
    SCOPED_TRACE(testing::Message() << "a " << a << " b " << b);
    const bool a_leads = std::fabs(a) > std::fabs(b);
    const wide exact = std::copysign(std::hypot(wide{a}, wide{b}), a_leads ? a : b);
    // Below the normal numbers r has fewer digits, and c and s are quotients by it.
    const wide few = 6 * std::fmax(wide{1}, std::numeric_limits<R>::min() / std::fabs(exact));
    ASSERT_TRUE(within(r, exact, 5) && within(c, a / exact, few) && within(s, b / exact, few))
        << r << ' ' << c << ' ' << s;
    ASSERT_EQ(z, a_leads ? s : c != 0 ? 1 / c : 1);
  }
  R a = R(-0.0), b = 0, c = 7, s = 7;
  call<R>("tnk_blas_?rotg", a, b, c, s);
  EXPECT_TRUE(a == 0 && b == 0 && c == 1 && s == 0);
  a = std::numeric_limits<R>::quiet_NaN(), b = 1;
  call<R>("tnk_blas_?rotg", a, b, c, s);
  EXPECT_TRUE(std::isnan(a) && std::isnan(b) && std::isnan(c) && std::isnan(s));
}

TYPED_TEST(RotationSetUp, ComplexMatchesExactValues) {
  using R = TypeParam;
  using C = Pair<R>;
  Random random;
  for (int round = 0; round < 20000; ++round) {
    const R re = any_size<R>(random), im = beside(re, random);
    const C b_in{beside(re, random), beside(im, random)};
    C a{re, im}, b = b_in, s{};
    R c = 0;
    call<C>("tnk_blas_?rotg", a, b, c, s);
    // Both magnitudes are rounded to R. What follows is worked in double, so that single precision rounds but once more.
    const wide size = static_cast<R>(std::hypot(wide{re}, wide{im}));
    const wide rest = static_cast<R>(std::hypot(wide{b.re}, wide{b.im}));
    const wide norm = std::hypot(size, rest), u = re / size, v = im / size; // the direction of a
    const wide law = (sizeof(R) == 4 ? 0.5001L : 9) * eps<R>, least = std::numeric_limits<R>::denorm_min();
    SCOPED_TRACE(testing::Message() << "a " << re << ' ' << im << " b " << b.re << ' ' << b.im);
    ASSERT_TRUE(reference::same(b, b_in));
    ASSERT_TRUE(std::fabs(c - size / norm) <= law * (size / norm) + least) << c;
    // Parts of s may cancel: they are held to the size of s.
    ASSERT_TRUE(within(s.re, (u * b.re + v * b.im) / norm, 10, rest / norm) &&
                within(s.im, (v * b.re - u * b.im) / norm, 10, rest / norm))
        << s.re << ' ' << s.im;
    // In double precision the direction loses digits where a part of it falls below the normal range.
    const wide lost = sizeof(R) == 4 ? least : (norm + 1) * least;
    ASSERT_TRUE(std::fabs(a.re - u * norm) <= law * std::fabs(u * norm) + lost) << a.re;
    ASSERT_TRUE(std::fabs(a.im - v * norm) <= law * std::fabs(v * norm) + lost) << a.im;
  }
  for (C b : {C{3, -4}, C{0, 0}}) {
    C a{0, 0}, s{7, 7};
    R c = 7;
    call<C>("tnk_blas_?rotg", a, b, c, s);
    EXPECT_TRUE(c == 0 && s.re == 1 && s.im == 0 && a.re == b.re && a.im == b.im);
  }
}

template <class R> struct Modified {
  R d1, d2, x1, y1;
  std::array<R, 5> param = {99, 99, 99, 99, 99}; // 99: not written
  void run() { call<R>("tnk_blas_?rotmg", d1, d2, x1, y1, param); }
};

// H keeps the form d1 x^2 + d2 y^2, takes (x1, y1) to (new x1, 0), and leaves new d1 and d2 in range. Gives whether
// they were rescaled.
template <class R> bool keeps_its_law(const Modified<R> &in) {
  Modified<R> out = in;
  out.run();
  const R flag = out.param[0];
  SCOPED_TRACE(testing::Message() << in.d1 << ' ' << in.d2 << ' ' << in.x1 << ' ' << in.y1 << " flag "
                                  << flag);
  EXPECT_TRUE(flag == -1 || flag == 0 || flag == 1);
  for (const int i : {1, 4}) EXPECT_EQ(out.param[i] == 99, flag == 0);
  for (const int i : {2, 3}) EXPECT_EQ(out.param[i] == 99, flag == 1);
  const wide h11 = flag == 0 ? 1 : out.param[1], h21 = flag == 1 ? -1 : out.param[2],
             h12 = flag == 1 ? 1 : out.param[3], h22 = flag == 0 ? 1 : out.param[4];
  const wide d1 = out.d1, d2 = out.d2;
  for (const R d : {out.d1, out.d2})
    EXPECT_TRUE(d == 0 || (std::fabs(d) > R(0x1p-24) * (1 - R(1e-6)) && std::fabs(d) < 0x1p24));
  // The factor of a step down is a relative 1.05e-14 off 2^-24 in double; a weight takes up to one step per 2^24.
  const int steps = static_cast<int>(std::log2(std::max({in.d1, std::fabs(in.d2), R(1)})) / 24) + 2;
  const wide law = 24 * eps<R> + (sizeof(R) == 8 ? steps * 1.06e-14L : 0);
  const auto adds_up = [&](wide a, wide b, wide expected) {
    return std::fabs(a + b - expected) <= law * (std::fabs(a) + std::fabs(b) + std::fabs(expected));
  };
  EXPECT_TRUE(adds_up(h21 * in.x1, h22 * in.y1, 0) && adds_up(h11 * in.x1, h12 * in.y1, out.x1));
  EXPECT_TRUE(adds_up(d1 * h11 * h11, d2 * h21 * h21, in.d1) &&
              adds_up(d1 * h12 * h12, d2 * h22 * h22, in.d2));
  EXPECT_TRUE(adds_up(d1 * h11 * h12, d2 * h21 * h22, 0));
  return flag == -1;
}

TYPED_TEST(RotationSetUp, ModifiedKeepsTheFormAndZeroesTheSecondComponent) {
  using R = TypeParam;
  Random random;
  const R reach = sizeof(R) == 8 ? 30 : 15;
  int rescaled = 0, rounds = 0;
  for (R e1 = -reach; e1 <= reach; ++e1)
    for (R e2 = -reach; e2 <= reach; ++e2)
      for (const R sign : {1, -1}) {
        const Modified<R> in{random.real<R>(1, 2) * std::pow(R(10), e1),
                             sign * random.real<R>(1, 2) * std::pow(R(10), e2), random.real<R>(),
                             random.real<R>()};
        // A negative second weight needs a first component that clearly outweighs it.
        if (sign < 0 && !(-in.d2 * in.y1 * in.y1 < in.d1 * in.x1 * in.x1 / 2)) continue;
        rescaled += keeps_its_law(in);
        ++rounds;
      }
  EXPECT_TRUE(rescaled > rounds / 4 && rescaled < rounds);
}

TYPED_TEST(RotationSetUp, ModifiedExactAndDegenerateCases) {
  using R = TypeParam;
  constexpr R no = 99, tiny = std::numeric_limits<R>::min(), inf = std::numeric_limits<R>::infinity();
  const R limit = R(5.960464477539e-08), down = sizeof(R) == 8 ? limit : R(0x1p-24);
  const struct {
    const char *what;
    Modified<R> in, out;
  } cases[] = {
      {"first leads", {1, 1, 2, 1}, {R(1) / R(1.25), R(1) / R(1.25), R(2.5), 1, {0, no, -0.5, 0.5, no}}},
      {"equal", {1, 1, 2, 2}, {0.5, 0.5, 4, 2, {1, 1, no, no, 1}}},
      {"no second weight", {3, 0, 2, 5}, {3, 0, 2, 5, {-2, no, no, no, no}}},
      {"no second component", {3, 4, 2, 0}, {3, 4, 2, 0, {-2, no, no, no, no}}},
      {"negative d1", {-1, 1, 2, 1}, {0, 0, 0, 1, {-1, 0, 0, 0, 0}}},
      {"negative d1 goes before d2 y1 = 0", {-1, 0, 2, 1}, {0, 0, 0, 1, {-1, 0, 0, 0, 0}}},
      {"negative q2 leads", {1, -1, 1, 2}, {0, 0, 0, 2, {-1, 0, 0, 0, 0}}},
      {"negative q2, equal", {1, -1, 2, 2}, {0, 0, 0, 2, {-1, 0, 0, 0, 0}}},
      {"no first weight", {0, 2, 3, 1}, {2, 0, 1, 1, {1, 0, no, no, 3}}},
      {"q2 underflows", {0, 1, 0, tiny}, {1, 0, tiny, tiny, {1, 0, no, no, 0}}},
      {"d1 down", {0, R(0x1p30), 3, 1}, {R(0x1p30) * down, 0, 4096, 1, {-1, 0, -1, 4096, 3}}},
      {"on the upper limit", {0, R(0x1p24), 3, 1}, {R(0x1p24) * down, 0, 4096, 1, {-1, 0, -1, 4096, 3}}},
      {"d1 up", {0, R(0x1p-30), 3, 1}, {R(0x1p-6), 0, R(0x1p-12), 1, {-1, 0, -1, R(0x1p-12), 3}}},
      {"on the limit", {0, limit, 3, 1}, {limit * R(0x1p24), 0, R(0x1p-12), 1, {-1, 0, -1, R(0x1p-12), 3}}},
      {"infinite d1 ends", {0, inf, 3, 1}, {inf, 0, 1, 1, {1, 0, no, no, 3}}},
  };
  for (const auto &t : cases) {
    Modified<R> m = t.in;
    m.run();
    EXPECT_TRUE(m.d1 == t.out.d1 && m.d2 == t.out.d2 && m.x1 == t.out.x1 && m.param == t.out.param)
        << t.what << ": " << m.d1 << ' ' << m.d2 << ' ' << m.x1 << " flag " << m.param[0];
  }
}

} // namespace
} // namespace tnk::test
