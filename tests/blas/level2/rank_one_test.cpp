// Rank-one updates, bit for bit: each element from one expression, wherever it stands.
#include "reference/arithmetic.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <algorithm>
#include <limits>
#include <tnk/blas_level2.h>

namespace tnk::test {
namespace {

using namespace reference;
template <class T> class Ger : public testing::Test {};
TYPED_TEST_SUITE(Ger, Types, );

TYPED_TEST(Ger, EveryShape) {
  using T = TypeParam;
  constexpr Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN(),
                    infinity = std::numeric_limits<Real<T>>::infinity();
  Random random;
  const auto check = [&](tnk_int m, tnk_int n, tnk_int incx, tnk_int incy, std::size_t shift, T alpha,
                         bool conjugates) {
    Strided<T> x(m, incx, shift), y(n, incy, shift);
    const tnk_int lda = std::max<tnk_int>(m, 1) + (m + n) % 3;
    Guarded<T> a(m < 1 || n < 1 ? 0 : static_cast<std::size_t>((n - 1) * lda + m), shift);
    const auto at = [&](tnk_int i, tnk_int j) { return static_cast<std::size_t>(i + j * lda); };
    for (tnk_int i = 0; i < x.n(); ++i) x.put(i, random.number<T>());
    for (tnk_int j = 0; j < y.n(); ++j) y.put(j, random.number<T>());
    // A zero skips nothing: it meets an infinity of the other vector.
    if (m > 3 && n > 5) x.put(2, T{}), y.put(3, number<T>(infinity)), y.put(1, T{}), x.put(3, number<T>(nan));
    std::vector<T> wanted;
    for (std::size_t i = 0; i < a.size(); ++i) wanted.push_back(a.get(i)); // as what no element is
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i) {
        a.put(at(i, j), random.number<T>());
        const T factor = alpha * (conjugates ? conj(y.get(j)) : y.get(j));
        const T sum = a.get(at(i, j)) + factor * x.get(i);
        wanted[at(i, j)] = same(alpha, T{}) ? a.get(at(i, j)) : sum;
      }
    const char *const name = !is_pair<T> ? "tnk_blas_?ger" : conjugates ? "tnk_blas_?gerc" : "tnk_blas_?geru";
    Named<T>{name}(&m, &n, static_cast<const T *>(&alpha), static_cast<const T *>(x.data()), &incx,
                   static_cast<const T *>(y.data()), &incy, a, &lda);
    for (std::size_t i = 0; i < wanted.size(); ++i)
      if (!same(a.get(i), wanted[i])) return testing::AssertionFailure() << "element " << i;
    return a.intact() ? testing::AssertionSuccess() : testing::AssertionFailure() << "written outside";
  };
  const T alpha = number<T>(0.7f, -0.3f);
  int turn = 0;
  for (tnk_int m = -1; m <= 41; ++m)
    for (const tnk_int n : {-1, 0, 1, 3, 4, 6, 9})
      for (const bool conjugates : {false, true})
        for (const std::size_t shift :
             {std::size_t{0}, page_end, page_start, sizeof(Real<T>), 2 * sizeof(T), std::size_t{1}}) {
          const tnk_int steps[] = {1, 2, -1, -3, 0};
          ++turn;
          ASSERT_TRUE(check(m, n, 1, steps[turn % 5], shift, alpha, conjugates))
              << m << ' ' << n << ' ' << shift;
          ASSERT_TRUE(check(m, n, steps[turn % 4], steps[turn / 4 % 5], shift, alpha, conjugates))
              << m << ' ' << n << " turn " << turn;
        }
  for (const T by : {T{}, number<T>(nan), number<T>(0, 2)})
    for (const tnk_int incx : {1, 2}) ASSERT_TRUE(check(1100, 6, incx, 1, 0, by, true)) << incx;
}

} // namespace
} // namespace tnk::test
