// Solves with tridiagonal matrices: what they leave over against the dense matrix, the same bits in any group of
// right-hand sides, and the positions of pivots that fail.
#include "lapack_ps/dense.h"
#include "reference/arithmetic.h"
#include "support/fault_allocator.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

using reference::Real;
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
using Reals = testing::Types<float, double>;
template <class T> class Tridiagonal : public testing::Test {};
template <class T> class RealTridiagonal : public testing::Test {};
TYPED_TEST_SUITE(Tridiagonal, Types, );
TYPED_TEST_SUITE(RealTridiagonal, Reals, );

// n numbers that end at a page, the diagonal of a matrix or its neighbours; `least`: added to the real part, away from 0.
template <class T> struct Diagonal : Guarded<T> {
  Diagonal(tnk_int n, Random &random, Real<T> least = 0)
      : Guarded<T>(static_cast<std::size_t>(n < 0 ? 0 : n), page_end) {
    for (std::size_t i = 0; i < this->size(); ++i) {
      T x = random.number<T>();
      Real<T> &re = reinterpret_cast<Real<T> &>(x);
      re += re < 0 ? -least : least;
      this->put(i, x);
    }
  }
  T at(tnk_int i) const { return this->get(static_cast<std::size_t>(i)); }
};

// Right-hand sides with a gap of two rows below each column, which must stay.
template <class T> struct Sides : Guarded<T> {
  Sides(tnk_int rows, tnk_int columns, Random &random)
      : Guarded<T>(static_cast<std::size_t>((rows + 2) * columns)), n(rows), nrhs(columns), ld(rows + 2) {
    for (tnk_int j = 0; j < nrhs; ++j)
      for (tnk_int i = 0; i < n; ++i) this->put(at(i, j), random.number<T>());
  }
  std::size_t at(tnk_int i, tnk_int j) const { return static_cast<std::size_t>(i + j * ld); }
  Dense dense() const {
    Dense d(n, nrhs);
    for (tnk_int j = 0; j < nrhs; ++j)
      for (tnk_int i = 0; i < n; ++i) d(i, j) = wide(this->get(at(i, j)));
    return d;
  }
  bool gaps_intact() const {
    for (tnk_int j = 0; j < nrhs; ++j)
      for (const tnk_int i : {n, n + 1})
        for (std::size_t byte = 0; byte < sizeof(T); ++byte)
          if (reinterpret_cast<const unsigned char *>(this->data() + at(i, j))[byte] != 0xFF) return false;
    return this->intact();
  }
  tnk_int n, nrhs, ld;
};

// solve(nrhs, b, ldb) on the whole, which becomes x, and on each column alone: the same bits.
template <class T, class Solve> void solve_together_and_alone(Sides<T> &x, Solve solve) {
  std::vector<T> alone(x.data(), x.data() + x.size());
  const tnk_int single = 1;
  for (tnk_int j = 0; j < x.nrhs; ++j) solve(&single, alone.data() + x.at(0, j), &x.ld);
  solve(&x.nrhs, x.data(), &x.ld);
  for (tnk_int j = 0; j < x.nrhs; ++j)
    for (tnk_int i = 0; i < x.n; ++i)
      ASSERT_TRUE(reference::same(x.get(x.at(i, j)), alone[x.at(i, j)])) << "element " << i << ", " << j;
  ASSERT_TRUE(x.gaps_intact());
}

template <class T>
Dense dense_tridiagonal(tnk_int n, const Diagonal<T> &dl, const Diagonal<T> &d, const Diagonal<T> &du) {
  Dense a(n, n);
  for (tnk_int i = 0; i < n; ++i) a(i, i) = wide(d.at(i));
  for (tnk_int i = 0; i + 1 < n; ++i) a(i + 1, i) = wide(dl.at(i)), a(i, i + 1) = wide(du.at(i));
  return a;
}

constexpr tnk_int counts[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 12, 13, 17};

TYPED_TEST(Tridiagonal, SolvesWithInterchangedFactors) {
  using T = TypeParam;
  Random random;
  const Named<T> gtts2("tnk_lapack_ps_?gtts2");
  for (tnk_int n = 0; n <= 12; ++n)
    for (const tnk_int nrhs : counts)
      for (const tnk_int form : {0, 1, 2}) {
        const Diagonal<T> dl(n - 1, random), d(n, random, 1), du(n - 1, random), du2(n - 2, random);
        Guarded<tnk_int> ipiv(static_cast<std::size_t>(n > 0 ? n - 1 : 0), page_end);
        Dense lower(n, n), upper(n, n);
        for (tnk_int i = 0; i < n; ++i) {
          lower(i, i) = 1;
          upper(i, i) = wide(d.at(i));
          if (i + 1 < n) upper(i, i + 1) = wide(du.at(i));
          if (i + 2 < n) upper(i, i + 2) = wide(du2.at(i));
        }
        // The steps of the elimination undone, the last one first.
        for (tnk_int i = n - 2; i >= 0; --i) {
          const bool swapped = random.integer(0, 1) == 1;
          ipiv.put(static_cast<std::size_t>(i), i + 1 + swapped);
          for (tnk_int j = 0; j < n; ++j) {
            lower(i + 1, j) += wide(dl.at(i)) * lower(i, j);
            if (swapped) std::swap(lower(i, j), lower(i + 1, j));
          }
        }
        Sides<T> x(n, nrhs, random);
        const Dense b = x.dense();
        ASSERT_NO_FATAL_FAILURE(
            solve_together_and_alone(x, [&](const tnk_int *some, T *to, const tnk_int *ldb) {
              gtts2(&form, &n, some, dl.data(), d.data(), du.data(), du2.data(),
                    static_cast<const tnk_int *>(ipiv.data()), to, ldb);
            }));
        const char letter = "NTC"[form];
        const Dense size = form == 0 ? lower.magnitudes() * upper.magnitudes()
                                     : upper.form(letter).magnitudes() * lower.form(letter).magnitudes();
        ASSERT_TRUE(
            close((lower * upper).form(letter) * x.dense(), b, size * x.dense().magnitudes(), 20 * eps<T>))
            << "n " << n << " nrhs " << nrhs << " itrans " << form;
      }
}

// A quotient is a true quotient: with multipliers of zero each element is b / d.
TYPED_TEST(RealTridiagonal, DividesByPivotsAndNotByTheirReciprocals) {
  using T = TypeParam;
  Random random;
  const tnk_int n = 7, nrhs = 13, form = 0;
  Diagonal<T> dl(n - 1, random), d(n, random, 1), du(n - 1, random), du2(n - 2, random);
  std::vector<tnk_int> ipiv(n - 1);
  for (std::size_t i = 0; i + 1 < n; ++i) dl.put(i, 0), du.put(i, 0), ipiv[i] = static_cast<tnk_int>(i) + 1;
  for (std::size_t i = 0; i + 2 < n; ++i) du2.put(i, 0);
  Sides<T> x(n, nrhs, random);
  std::vector<T> b(x.data(), x.data() + x.size());
  Named<T>("tnk_lapack_ps_?gtts2")(&form, &n, &nrhs, dl.data(), d.data(), du.data(), du2.data(), ipiv.data(),
                                   x.data(), &x.ld);
  for (tnk_int j = 0; j < nrhs; ++j)
    for (tnk_int i = 0; i < n; ++i) ASSERT_EQ(x.get(x.at(i, j)), b[x.at(i, j)] / d.at(i));
}

TYPED_TEST(RealTridiagonal, EliminatesWithInterchanges) {
  using T = TypeParam;
  Random random;
  const Named<T> gtsv("tnk_lapack_ps_?gtsv_small");
  for (tnk_int n = 0; n <= 12; ++n)
    for (const tnk_int nrhs : counts) {
      const Diagonal<T> dl(n - 1, random), d(n, random, T(0.25)), du(n - 1, random);
      const Dense a = dense_tridiagonal(n, dl, d, du);
      Sides<T> x(n, nrhs, random);
      const Dense b = x.dense();
      tnk_int info = -7;
      ASSERT_NO_FATAL_FAILURE(
          solve_together_and_alone(x, [&](const tnk_int *some, T *to, const tnk_int *ldb) {
            Diagonal<T> l = Diagonal<T>(n - 1, random), m(n, random), u(n - 1, random);
            for (std::size_t i = 0; i < d.size(); ++i) m.put(i, d.get(i));
            for (std::size_t i = 0; i < dl.size(); ++i) l.put(i, dl.get(i)), u.put(i, du.get(i));
            gtsv(&n, some, l.data(), m.data(), u.data(), to, ldb, &info);
            // U in m, u and l; the last element of l stays.
            EXPECT_TRUE(n < 2 || l.at(n - 2) == dl.at(n - 2));
          }));
      ASSERT_EQ(info, -7);
      long double most = 0;
      const Dense found = x.dense();
      for (const Wide &e : found.elements) most = std::fmax(most, size_of(e));
      const Dense bound = b.each([&](Wide) { return Wide(most + 1); });
      ASSERT_TRUE(close(a * found, b, bound, 40 * eps<T>)) << "n " << n << " nrhs " << nrhs;
    }
}

TYPED_TEST(RealTridiagonal, EliminationEndsAtAZeroPivotAndGoesOnAtANan) {
  using T = TypeParam;
  const Named<T> gtsv("tnk_lapack_ps_?gtsv_small");
  const tnk_int n = 6;
  for (const tnk_int nrhs : {0, 1, 3})
    for (tnk_int bad = 0; bad < n; ++bad)
      for (const T pivot : {T(0), std::numeric_limits<T>::quiet_NaN()}) {
        std::vector<T> dl(n - 1), d(n, 2), du(n - 1), b(n * 3, 4);
        d[static_cast<std::size_t>(bad)] = pivot;
        tnk_int info = 0;
        gtsv(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &n, &info);
        EXPECT_EQ(info, pivot == 0 ? bad + 1 : 0);
        EXPECT_EQ(std::isnan(b[static_cast<std::size_t>(bad)]), pivot != 0 && nrhs > 0);
        // A NaN is not at least as large as the element below: its row was interchanged.
        EXPECT_TRUE(pivot == 0 || bad + 1 == n || d[static_cast<std::size_t>(bad)] == 0);
      }
}

TYPED_TEST(Tridiagonal, SolvesPositiveDefiniteOnes) {
  using T = TypeParam;
  Random random;
  const Named<T> ptts2("tnk_lapack_ps_?ptts2");
  for (tnk_int n = 0; n <= 12; ++n)
    for (const tnk_int nrhs : counts) {
      const Diagonal<T> e(n - 1, random);
      Diagonal<Real<T>> d(n, random, 1);
      Dense lower(n, n), middle(n, n);
      for (tnk_int i = 0; i < n; ++i) lower(i, i) = 1, middle(i, i) = wide(d.at(i));
      for (tnk_int i = 0; i + 1 < n; ++i) lower(i + 1, i) = wide(e.at(i));
      Sides<T> x(n, nrhs, random), again(n, nrhs, random);
      for (std::size_t i = 0; i < x.size(); ++i) again.put(i, x.get(i));
      const Dense b = x.dense();
      const auto solve = [&](const tnk_int *some, T *to, const tnk_int *ldb) {
        ptts2(&n, some, d.data(), e.data(), to, ldb);
      };
      ASSERT_NO_FATAL_FAILURE(solve_together_and_alone(x, solve));
      const Dense right = middle * lower.form('C');
      const Dense size = lower.magnitudes() * right.magnitudes() * x.dense().magnitudes();
      ASSERT_TRUE(close(lower * right * x.dense(), b, size, 20 * eps<T>)) << "n " << n << " nrhs " << nrhs;
      // Without memory: the same.
      allocations.reset();
      allocations.refuse = 1;
      solve(&nrhs, again.data(), &again.ld);
      EXPECT_EQ(allocations.live + allocations.overrun, 0);
      for (tnk_int j = 0; j < nrhs; ++j)
        for (tnk_int i = 0; i < n; ++i)
          ASSERT_TRUE(reference::same(again.get(again.at(i, j)), x.get(x.at(i, j))));
    }
  allocations.reset();
}

// ---- From both ends -------------------------------------------------------------------------------------------------

template <class T> struct Dominant {
  Diagonal<T> dl, d, du;
  Dominant(tnk_int n, Random &random) : dl(n - 1, random), d(n, random, 4), du(n - 1, random) {}
};

TYPED_TEST(Tridiagonal, SolvesDominantOnesFromBothEnds) {
  using T = TypeParam;
  Random random;
  for (tnk_int n = 0; n <= 12; ++n)
    for (const tnk_int nrhs : counts) {
      Dominant<T> m(n, random);
      const Dense a = dense_tridiagonal(n, m.dl, m.d, m.du);
      Dominant<T> once(n, random); // for the fused form
      for (std::size_t i = 0; i < m.d.size(); ++i) once.d.put(i, m.d.get(i));
      for (std::size_t i = 0; i < m.dl.size(); ++i) once.dl.put(i, m.dl.get(i)), once.du.put(i, m.du.get(i));
      tnk_int info = -7;
      Named<T>("tnk_lapack_ps_?dttrfb")(&n, m.dl.data(), m.d.data(), m.du.data(), &info);
      ASSERT_EQ(info, 0);
      for (const char letter : {'N', 'n', 'T', 't', 'C', 'x'}) {
        Sides<T> x(n, nrhs, random), fused(n, nrhs, random);
        for (std::size_t i = 0; i < x.size(); ++i) fused.put(i, x.get(i));
        const Dense b = x.dense();
        ASSERT_NO_FATAL_FAILURE(
            solve_together_and_alone(x, [&](const tnk_int *some, T *to, const tnk_int *ldb) {
              info = -7;
              Named<T>("tnk_lapack_ps_?dttrsb")(&letter, &n, some, static_cast<const T *>(m.dl.data()),
                                                static_cast<const T *>(m.d.data()),
                                                static_cast<const T *>(m.du.data()), to, ldb, &info);
              ASSERT_EQ(info, 0);
            }));
        const Dense form = a.form(letter);
        const Dense size = form.magnitudes() * x.dense().magnitudes();
        ASSERT_TRUE(close(form * x.dense(), b, size, 20 * eps<T>)) << "n " << n << " nrhs " << nrhs << letter;
        if (letter != 'N') continue;
        info = -7;
        Named<T>("tnk_lapack_ps_?dtsvb")(&n, &nrhs, once.dl.data(), once.d.data(), once.du.data(),
                                         fused.data(), &fused.ld, &info);
        ASSERT_EQ(info, 0);
        if (nrhs == 0) continue;
        const auto same = [](const Guarded<T> &p, const Guarded<T> &q) {
          return p.size() == 0 || std::memcmp(p.data(), q.data(), p.size() * sizeof(T)) == 0;
        };
        EXPECT_TRUE(same(once.d, m.d) && same(once.dl, m.dl) && same(once.du, m.du) && same(fused, x)) << n;
      }
    }
}

// The factors of real matrices bit for bit, by the steps from the top and the bottom in turn.
TYPED_TEST(RealTridiagonal, FactorsFromBothEndsStepByStep) {
  using T = TypeParam;
  Random random;
  for (tnk_int n = 1; n <= 12; ++n) {
    Dominant<T> m(n, random);
    std::vector<T> d(m.d.data(), m.d.data() + n), dl(m.dl.data(), m.dl.data() + n - 1), du(dl.size());
    for (std::size_t i = 0; i < du.size(); ++i) du[i] = m.du.get(i);
    // `pivot` eliminates the row beside it, `beside` being the place of both off-diagonal elements.
    const auto step = [&](tnk_int pivot, tnk_int row, tnk_int beside) {
      const T inverse = 1 / d[pivot];
      d[pivot] = inverse;
      dl[beside] = inverse * dl[beside];
      d[row] = d[row] - dl[beside] * du[beside];
    };
    for (tnk_int k = 0; k < (n - 1) / 2; ++k) step(k, k + 1, k), step(n - 1 - k, n - 2 - k, n - 2 - k);
    if (n % 2 == 0) step(n / 2 - 1, n / 2, n / 2 - 1);
    d[n / 2] = 1 / d[n / 2];
    tnk_int info = -7;
    Named<T>("tnk_lapack_ps_?dttrfb")(&n, m.dl.data(), m.d.data(), m.du.data(), &info);
    EXPECT_EQ(info, 0);
    for (std::size_t i = 0; i < d.size(); ++i) EXPECT_EQ(m.d.get(i), d[i]) << n << ' ' << i;
    for (std::size_t i = 0; i < dl.size(); ++i)
      EXPECT_TRUE(m.dl.get(i) == dl[i] && m.du.get(i) == du[i]) << n << ' ' << i;
  }
}

TYPED_TEST(Tridiagonal, BothEndsReportWhereAPivotFails) {
  using T = TypeParam;
  const Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN();
  for (tnk_int n = 1; n <= 7; ++n)
    for (tnk_int bad = 0; bad < n; ++bad)
      for (const T pivot :
           {T{}, reference::number<T>(nan), reference::number<T>(reference::is_pair<T> ? 1 : nan, nan)})
        for (const tnk_int nrhs : {0, 1, 2}) {
          std::vector<T> dl(static_cast<std::size_t>(n)), d(dl.size(), reference::number<T>(2)), du = dl;
          std::vector<T> b(dl.size() * 2, reference::number<T>(4));
          d[static_cast<std::size_t>(bad)] = pivot;
          auto factors = d;
          tnk_int info = -7;
          Named<T>("tnk_lapack_ps_?dttrfb")(&n, dl.data(), factors.data(), du.data(), &info);
          EXPECT_EQ(info, bad + 1) << n;
          info = -7;
          Named<T>("tnk_lapack_ps_?dtsvb")(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &n, &info);
          EXPECT_EQ(info, nrhs == 0 ? 0 : bad + 1) << n;
        }
}

} // namespace
} // namespace tnk::test
