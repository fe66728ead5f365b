// Two products in one pass, and products of a real matrix with complex vectors.
#include "family.h"
#include "support/fault_allocator.h"
#include <tnk/blas_level2.h>

namespace tnk::test {
namespace {

constexpr tnk_int steps[] = {1, 2, 1, -1, 0, -3, 1};
// The shifts of a vector that stand for aligned, unaligned and misaligned addresses.
template <class T>
constexpr std::size_t shifts[] = {page_end, sizeof(Real<T>), 0, page_start, 3 * sizeof(Real<T>), 1, page_end};

template <class T> class Gem2v : public testing::Test {};
TYPED_TEST_SUITE(Gem2v, Types, );

template <class T> constexpr const char *entry = is_complex<T> ? "tnk_blas_?gem2vc" : "tnk_blas_?gem2vu";

template <class T> struct Pair {
  Matrix<T> a;
  RandomVector<T> x1, x2, y1, y2;
  T alpha, beta;

  Pair(tnk_int m, tnk_int n, std::size_t turn, Random &random)
      : a(m, n, static_cast<tnk_int>(turn % 2), shifts<T>[turn % 7], random),
        x1(n, steps[turn / 2 % 7], shifts<T>[turn / 3 % 7], random),
        x2(m, steps[turn / 3 % 7], shifts<T>[turn / 4 % 7], random),
        y1(m, steps[turn / 4 % 4], shifts<T>[turn / 5 % 7], random),
        y2(n, steps[turn / 5 % 4], shifts<T>[turn / 6 % 7], random), alpha(random.number<T>()),
        beta(random.number<T>()) {}

  testing::AssertionResult holds() {
    const std::vector<Sum> first = product('N', alpha, a, x1, beta, y1),
                           second = product('C', alpha, a, x2, beta, y2);
    call();
    return (is_right(first, y1) ? is_right(second, y2) : is_right(first, y1))
           << ": " << a.m << " by " << a.n << " increments " << x1.inc() << ' ' << x2.inc() << ' ' << y1.inc()
           << ' ' << y2.inc();
  }
  void call() {
    Named<T>{entry<T>}(&a.m, &a.n, &alpha, a, &a.lda, static_cast<const T *>(x1.data()), &x1.inc(),
                       static_cast<const T *>(x2.data()), &x2.inc(), &beta, y1, &y1.inc(), y2, &y2.inc());
  }
};

TYPED_TEST(Gem2v, ShapesAddressesAndIncrements) {
  Random random;
  std::size_t turn = 0;
  for (const tnk_int m : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 40, 127, 128, 129, 261})
    for (const tnk_int n : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 127, 128, 129})
      for (int k = 0; k < (m + n > 150 ? 3 : 7); ++k, ++turn)
        ASSERT_TRUE(Pair<TypeParam>(m, n, turn * (m < 9 ? 1 : 5), random).holds()) << turn;
}

TYPED_TEST(Gem2v, NoScalarIsSpecialAndInnerFormsAdd) {
  using T = TypeParam;
  Random random;
  const T zero{}, one = reference::number<T>(1);
  const auto nan = reference::number<T>(std::numeric_limits<Real<T>>::quiet_NaN());
  const auto is_nan = [](T x) { return std::isnan(reference::re(x)); };
  Pair<T> p(9, 6, 0, random), q(9, 6, 0, random);
  p.beta = zero;
  p.y1.put(2, nan), p.y2.put(3, nan);
  p.call();
  EXPECT_TRUE(is_nan(p.y1.get(2)) && is_nan(p.y2.get(3)) && !is_nan(p.y1.get(1)));
  q.alpha = zero, q.beta = one;
  q.a.put(4, 1, nan);
  q.call();
  EXPECT_TRUE(is_nan(q.y1.get(4)) && is_nan(q.y2.get(1)) && !is_nan(q.y1.get(1)));
  const std::vector<std::string> forms =
      is_complex<T> ? std::vector<std::string>{"c_f"} : std::vector<std::string>{"u_even", "u_odd"};
  for (const std::string &form : forms)
    for (const tnk_int m : {1, 6, 37})
      for (tnk_int n = 0; n <= 7; ++n) {
        Pair<T> r(m, n, form == "u_odd", random);
        const auto first = product('N', r.alpha, r.a, r.x1, one, r.y1);
        const auto second = product('C', r.alpha, r.a, r.x2, one, r.y2);
        Named<T>{"tnk_blas_?gem2v" + form}(&m, &n, r.a, &r.a.lda, static_cast<const T *>(r.x1.data()),
                                           static_cast<const T *>(r.x2.data()), r.y1, r.y2, &r.alpha);
        EXPECT_TRUE(is_right(first, r.y1)) << form << m << ' ' << n;
        EXPECT_TRUE(is_right(second, r.y2)) << form << m << ' ' << n;
      }
}

TYPED_TEST(Gem2v, IncrementsOfZeroAddUp) {
  using T = TypeParam;
  // An increment of 0 adds all up in one place, which was scaled as often.
  const T one = reference::number<T>(1);
  const std::vector<T> ones(6, one);
  const tnk_int m = 3, n = 2, still = 0, step = 1;
  const T half = reference::number<T>(0.5f);
  T y1 = reference::number<T>(16), y2 = y1;
  Named<T>{entry<T>}(&m, &n, &one, ones, &m, ones, &step, ones, &step, &half, &y1, &still, &y2, &still);
  EXPECT_TRUE(reference::re(y1) == 2 + 6 && reference::re(y2) == 4 + 6);
}

template <class T> class MixedGemv : public testing::Test {};
using Pairs = testing::Types<tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(MixedGemv, Pairs, );
template <class T> const std::string prefix = sizeof(T) == 8 ? "tnk_blas_scgemv" : "tnk_blas_dzgemv";

template <class T> struct Mixed : Problem<T, Real<T>> {
  Mixed(char letter, tnk_int m, tnk_int n, std::size_t turn, Random &random)
      : Problem<T, Real<T>>(
            letter, m, n, static_cast<tnk_int>(turn % 2), steps[turn / 2 % 7], steps[turn / 3 % 4],
            {shifts<Real<T>>[turn % 7], shifts<T>[turn / 3 % 7], shifts<T>[turn / 4 % 7]}, random) {}
};

TYPED_TEST(MixedGemv, ShapesLettersScalarsAndTheWayTaken) {
  using T = TypeParam;
  Random random;
  const T scalars[] = {T{}, {1, 0}, {0, 1}, {-0.5f, 2}};
  std::size_t turn = 0;
  allocations.reset();
  for (const tnk_int m : {0, 1, 2, 3, 4, 5, 9, 31, 130})
    for (const tnk_int n : {0, 1, 2, 3, 4, 6, 13, 129})
      for (int k = 0; k < 9; ++k, ++turn) {
        for (const char *suffix : {"", "_pst"}) {
          if (m * n == 0 && *suffix) continue; // y is scaled all the same
          Mixed<T> p("NTCntcX"[turn % 7], m, n, turn, random);
          p.alpha = scalars[turn % 4], p.beta = scalars[turn / 4 % 4];
          const int made = allocations.made;
          ASSERT_TRUE(p.holds(prefix<T> + suffix));
          const bool splits = m > 3 && n > 3 && !*suffix && !is_zero(p.alpha);
          ASSERT_EQ(allocations.made - made, splits ? 2 : 0);
        }
      }
  EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
  // Scratch is a pair for each element; zeros go over NaN; nothing is read where nothing is added.
  Mixed<T> wide('N', 4, 300, 0, random);
  wide.beta = T{};
  wide.y.put(1, T{std::numeric_limits<Real<T>>::quiet_NaN(), 1});
  EXPECT_TRUE(wide.holds(prefix<T>));
  EXPECT_EQ(allocations.largest, static_cast<tnk_int>(300 * sizeof(T)));
  wide.alpha = T{};
  wide.a.put(0, 0, std::numeric_limits<Real<T>>::quiet_NaN());
  wide.y.put(2, T{1, std::numeric_limits<Real<T>>::infinity()});
  EXPECT_TRUE(wide.holds(prefix<T>) && is_zero(wide.y.get(2)));
}

TYPED_TEST(MixedGemv, StagesSplitAndMerge) {
  using T = TypeParam;
  using R = Real<T>;
  Random random;
  for (const tnk_int n : {0, 1, 5, 18})
    for (const tnk_int inc : {1, -2, 3}) {
      const RandomVector<T> from(n, inc, 1, random);
      RandomVector<T> back(n, inc, 1, random);
      const T alpha = random.number<T>();
      Guarded<R> parts(static_cast<std::size_t>(2 * n)), scaled(parts.size());
      Named<T>{prefix<T> + "_copyy_fwd"}(&n, from, &inc, parts);
      Named<T>{prefix<T> + "_copyx"}(&n, &alpha, from, &inc, scaled);
      Named<T>{prefix<T> + "_copyy_bwd"}(&n, static_cast<const R *>(parts.data()), back, &inc);
      for (tnk_int i = 0; i < n; ++i) {
        const auto at = static_cast<std::size_t>(i), other = static_cast<std::size_t>(n + i);
        const T product = alpha * from.get(i);
        EXPECT_TRUE(reference::same(T{parts.get(at), parts.get(other)}, from.get(i)));
        EXPECT_TRUE(reference::same(T{scaled.get(at), scaled.get(other)}, product));
        EXPECT_TRUE(reference::same(back.get(i), from.get(i)));
      }
      EXPECT_TRUE(parts.intact() && scaled.intact() && back.intact());
    }
}

// Either block refused ends in a fault, as the header says.
TYPED_TEST(MixedGemv, WithoutMemoryItFaults) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const int which : {1, 2}) {
    Random random;
    Mixed<TypeParam> p('N', 5, 4, 0, random);
    const auto refused = [&] {
      allocations.refuse = which;
      p.holds(prefix<TypeParam>);
    };
    EXPECT_DEATH(refused(), "");
  }
}

} // namespace
} // namespace tnk::test
