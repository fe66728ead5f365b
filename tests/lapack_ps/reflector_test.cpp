// A reflector against its definition in wide arithmetic.
#include "lapack_ps/dense.h"
#include "support/named.h"
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

template <class T> class Reflectors : public testing::Test {};
using DoubleAndComplex = testing::Types<double, tnk_complex8>;
TYPED_TEST_SUITE(Reflectors, DoubleAndComplex, );

TYPED_TEST(Reflectors, OnEitherSide) {
  using T = TypeParam;
  Random random;
  T *const nothing = nullptr;
  const Named<T> larfx("tnk_lapack_ps_?larfx");
  const auto check = [&](const char *side, tnk_int order, tnk_int others, T tau) {
    const bool left = *side == 'L' || *side == 'l', is_short = order <= (left ? 8 : 10);
    const tnk_int m = left ? order : others, n = left ? others : order;
    Stored<T> c(random_matrix<T>(m, n, random)), v(random_matrix<T>(order, 1, random));
    Guarded<T> work(static_cast<std::size_t>(others), page_end);
    const Dense before = c.dense(), reflector = v.dense();
    public_calls = 0;
    larfx(side, &m, &n, v.data(), &tau, c.data(), &c.ld, is_short ? nothing : work.data());
    if ((public_calls > 0) == (is_short || is_zero(tau)))
      return testing::AssertionFailure() << "called or not";
    const auto outer = [&](const Dense &a, const Dense &w) {
      return left ? w * (w.form('C') * a) : (a * w) * w.form('C');
    };
    const Dense change = outer(before, reflector), size = outer(before.magnitudes(), reflector.magnitudes());
    Dense wanted = before, allowed = before.magnitudes();
    for (std::size_t k = 0; k < wanted.elements.size(); ++k) {
      wanted.elements[k] -= wide(tau) * change.elements[k];
      allowed.elements[k] += size_of(wide(tau)) * size.elements[k];
    }
    if (!c.rest_intact() || !work.intact()) return testing::AssertionFailure() << "written outside";
    return close(c.dense(), wanted, allowed, static_cast<long double>(order + 4) * eps<T>);
  };
  for (const char *side : {"L", "l", "R", "q"})
    for (tnk_int order = 1; order <= 12; ++order)
      for (tnk_int others = 1; others <= 19; ++others)
        ASSERT_TRUE(check(side, order, others, reference::number<T>(1.3f, -0.4f)))
            << side << order << ' ' << others;
  // Without a turn nothing is read; a NaN is none.
  for (const tnk_int order : {4, 12})
    for (const char *side : {"L", "R"}) {
      const T none = {}, tau = reference::number<T>(static_cast<Real<T>>(nan));
      EXPECT_TRUE(check(side, order, 5, none));
      EXPECT_FALSE(check(side, order, 5, tau));
      const tnk_int empty = 0;
      larfx(side, &empty, &order, nothing, &tau, nothing, &order, nothing);
      larfx(side, &order, &empty, nothing, &tau, nothing, &order, nothing);
    }
}

} // namespace
} // namespace tnk::test
