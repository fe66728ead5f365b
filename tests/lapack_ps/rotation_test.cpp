// Rotations, bit for bit against plain loops in the order that is promised.
#include "reference/arithmetic.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <algorithm>
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

using namespace reference;
template <class T> class Rotations : public testing::Test {};
TYPED_TEST_SUITE(Rotations, Types, );

template <class T> testing::AssertionResult equal(const Guarded<T> &got, const std::vector<T> &wanted) {
  for (std::size_t i = 0; i < wanted.size(); ++i)
    if (!same(got.get(i), wanted[i])) return testing::AssertionFailure() << "element " << i;
  if (!got.intact()) return testing::AssertionFailure() << "written outside";
  return testing::AssertionSuccess();
}
template <class T> std::vector<T> numbers(std::size_t count, Random &random) {
  std::vector<T> v(count);
  for (T &x : v) x = random.number<T>();
  return v;
}

TYPED_TEST(Rotations, Sequences) {
  using T = TypeParam;
  Random random;
  for (const char *form : {"vf", "vb", "tf", "tb", "bf", "bb"})
    for (const tnk_int m : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 31})
      for (const tnk_int n : {-1, 0, 1, 3, 4, 5, 8, 11})
        for (const std::size_t shift : {page_end, page_start, sizeof(Real<T>), std::size_t{1}}) {
          const tnk_int lda = std::max<tnk_int>(m, 1) + (shift == 1 ? 2 : 0);
          std::vector<T> wanted = numbers<T>(
              n < 1 ? 0 : static_cast<std::size_t>((n - 1) * lda + std::max<tnk_int>(m, 0)), random);
          std::vector<Real<T>> c = numbers<Real<T>>(static_cast<std::size_t>(std::max<tnk_int>(m - 1, 0)),
                                                    random),
                               s = numbers<Real<T>>(c.size(), random);
          // One that turns nothing computes nevertheless: its infinity times 0 is a NaN.
          if (m == 9) {
            c[4] = 1, s[4] = 0;
            if (!wanted.empty()) wanted[6] = number<T>(std::numeric_limits<Real<T>>::infinity());
          }
          const std::size_t shift_c = shift >= page_end ? page_end : shift;
          Guarded<T> a(wanted, shift);
          const Guarded<Real<T>> cs(c, shift_c), sn(s, shift_c);
          for (tnk_int k = 1; m > 1 && k < m; ++k) {
            const tnk_int j = form[1] == 'f' ? k : m - k;
            const tnk_int upper = form[0] == 't' ? 1 : j, lower = form[0] == 'b' ? m : j + 1;
            const Real<T> cj = c[static_cast<std::size_t>(j - 1)], sj = s[static_cast<std::size_t>(j - 1)];
            for (tnk_int i = 0; i < n; ++i) {
              T &u = wanted[static_cast<std::size_t>(upper - 1 + i * lda)],
                &t = wanted[static_cast<std::size_t>(lower - 1 + i * lda)];
              const T old = u;
              u = sj * t + cj * old, t = cj * t - sj * old;
            }
          }
          Named<T>(std::string("tnk_lapack_ps_?lasr_l") + form)(&m, &n, cs, sn, a, &lda);
          ASSERT_TRUE(equal(a, wanted)) << form << ' ' << m << " by " << n << " shift " << shift;
        }
}

// Vectors in the middle of a guarded array, element 0 at `middle`.
constexpr std::size_t length = 128, middle = 64;
template <class T> struct Vector {
  std::vector<T> wanted;
  Guarded<T> memory;
  Vector(std::size_t shift, Random &random) : wanted(numbers<T>(length, random)), memory(wanted, shift) {}
  T *data() { return memory.data() + middle; }
  T &at(tnk_int i) { return wanted[static_cast<std::size_t>(tnk_int{middle} + i)]; }
};

TYPED_TEST(Rotations, PairsAndTriples) {
  using T = TypeParam;
  Random random;
  const std::size_t shifts[] = {0, sizeof(Real<T>), sizeof(T), 3 * sizeof(T), 24, 1};
  const tnk_int steps[][3] = {{1, 1, 1},    {1, 1, 2}, {2, 1, 1}, {1, -2, 1},
                              {-1, -1, -1}, {3, 2, 0}, {0, 1, 1}, {1, 0, 2}};
  for (tnk_int n = -1; n <= 21; ++n)
    for (const std::size_t shift : shifts)
      for (const std::size_t other : shifts) {
        for (const auto &step : steps) {
          Vector<T> x(other, random), y(shift, random), s(other, random);
          Vector<Real<T>> c(shift, random);
          for (tnk_int i = 0; i < n; ++i) {
            T &u = x.at(i * step[0]), &v = y.at(i * step[1]);
            const T old = u, si = s.at(i * step[2]);
            u = c.at(i * step[2]) * old + si * v, v = c.at(i * step[2]) * v - conj(si) * old;
          }
          Named<T>("tnk_lapack_ps_?lartv")(&n, x, &step[0], y, &step[1],
                                           static_cast<const Real<T> *>(c.data()),
                                           static_cast<const T *>(s.data()), &step[2]);
          ASSERT_TRUE(equal(x.memory, x.wanted))
              << n << " shift " << shift << ' ' << other << " step " << step[0];
          ASSERT_TRUE(equal(y.memory, y.wanted))
              << n << " shift " << shift << ' ' << other << " step " << step[1];
        }
        const tnk_int *const unread = nullptr;
        const T tau = random.number<T>(), v = random.number<T>(), w = random.number<T>();
        const auto unless_empty = [n](const T &scalar) { return n < 1 ? nullptr : &scalar; };
        for (const bool triples : {false, true}) {
          Vector<T> x(other, random), y(triples ? other : shift, random), z(shift, random);
          for (tnk_int i = 0; i < n; ++i) {
            const T two = x.at(i) + v * y.at(i), t = tau * (triples ? two + w * z.at(i) : two);
            x.at(i) = x.at(i) - t, y.at(i) = y.at(i) - v * t;
            if (triples) z.at(i) = z.at(i) - w * t;
          }
          if (triples)
            Named<T>("tnk_lapack_ps_?rot3")(&n, x, unread, y, unread, z, unread, unless_empty(tau),
                                            unless_empty(v), unless_empty(w));
          else
            Named<T>("tnk_lapack_ps_?rot2")(&n, x, unread, y, unread, unless_empty(tau), unless_empty(v));
          ASSERT_TRUE(equal(x.memory, x.wanted) && equal(y.memory, y.wanted) && equal(z.memory, z.wanted))
              << triples << ' ' << n << " shift " << shift << ' ' << other;
        }
      }
}

} // namespace
} // namespace tnk::test
