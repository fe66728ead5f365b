// A reflector against its definition in wide arithmetic.
#include "lapack_ps/dense.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

using reference::Real;
template <class T> class Reflectors : public testing::Test {};
using DoubleAndComplex = testing::Types<double, tnk_complex8>;
TYPED_TEST_SUITE(Reflectors, DoubleAndComplex, );

TYPED_TEST(Reflectors, OnEitherSide) {
  using T = TypeParam;
  Random random;
  const Real<T> not_a_number = std::numeric_limits<Real<T>>::quiet_NaN();
  const auto check = [&](const char *side, tnk_int order, tnk_int others, T tau) {
    const bool left = *side == 'L' || *side == 'l';
    const tnk_int m = left ? order : others, n = left ? others : order, ld = m + order % 3;
    Guarded<T> c(static_cast<std::size_t>(n == 0 ? 0 : (n - 1) * ld + m), page_end),
        v(static_cast<std::size_t>(order), page_end);
    Guarded<T> work(static_cast<std::size_t>(others), page_end);
    Dense before(m, n), reflector(order, 1), after(m, n);
    const auto at = [&](tnk_int i, tnk_int j) { return static_cast<std::size_t>(i + j * ld); };
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i)
        c.put(at(i, j), random.number<T>()), before(i, j) = wide(c.get(at(i, j)));
    for (tnk_int i = 0; i < order; ++i) {
      v.put(static_cast<std::size_t>(i), random.number<T>());
      reflector(i, 0) = wide(v.get(static_cast<std::size_t>(i)));
    }
    const bool is_short = order <= (left ? 8 : 10);
    Named<T>("tnk_lapack_ps_?larfx")(side, &m, &n, static_cast<const T *>(v.data()),
                                     static_cast<const T *>(&tau), c.data(), &ld,
                                     is_short ? static_cast<T *>(nullptr) : work.data());
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < ld && at(i, j) < c.size(); ++i) {
        if (i < m) {
          after(i, j) = wide(c.get(at(i, j)));
          continue;
        }
        T unwritten;
        std::memset(&unwritten, 0xFF, sizeof unwritten);
        if (std::memcmp(c.data() + at(i, j), &unwritten, sizeof unwritten) != 0)
          return testing::AssertionFailure() << "written below";
      }
    const auto outer = [&](const Dense &a, const Dense &w) {
      return left ? w * (w.form('C') * a) : (a * w) * w.form('C');
    };
    const Dense change = outer(before, reflector), size = outer(before.magnitudes(), reflector.magnitudes());
    Dense wanted = before, allowed = before.magnitudes();
    for (std::size_t k = 0; k < wanted.elements.size(); ++k) {
      wanted.elements[k] -= wide(tau) * change.elements[k];
      allowed.elements[k] += size_of(wide(tau)) * size.elements[k];
    }
    if (!c.intact() || !work.intact()) return testing::AssertionFailure() << "written outside";
    return close(after, wanted, allowed, static_cast<long double>(order + 4) * eps<T>);
  };
  const T tau = reference::number<T>(1.3f, -0.4f);
  for (const char *side : {"L", "l", "R", "q"})
    for (tnk_int order = 1; order <= 12; ++order)
      for (tnk_int others = 1; others <= 19; ++others)
        ASSERT_TRUE(check(side, order, others, tau)) << side << order << ' ' << others;
  // Without a turn nothing is read; a NaN is none.
  for (const tnk_int order : {4, 12})
    for (const char *side : {"L", "R"}) {
      EXPECT_TRUE(check(side, order, 5, T{}));
      EXPECT_FALSE(check(side, order, 5, reference::number<T>(not_a_number)));
      const tnk_int empty = 0;
      const T *const no_reflector = nullptr;
      T *const no_matrix = nullptr;
      for (const tnk_int *m : {&empty, &order})
        Named<T>("tnk_lapack_ps_?larfx")(side, m, m == &empty ? &order : &empty, no_reflector, &tau,
                                         no_matrix, &order, no_matrix);
    }
}

} // namespace
} // namespace tnk::test
