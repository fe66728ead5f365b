// Tridiagonal systems: what each solver leaves over against the dense matrix, the same bits in any group of right-hand
// sides, bits of plain loops, and what pivots that fail leave behind.
#include "lapack_ps/dense.h"
#include "support/fault_allocator.h"
#include "support/named.h"
#include <functional>
#include <numeric>
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

template <class T> class Tridiagonal : public testing::Test {};
template <class T> class RealTridiagonal : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(Tridiagonal, Types, );
TYPED_TEST_SUITE(RealTridiagonal, Reals, );
constexpr tnk_int untouched = -7;
constexpr tnk_int forms[] = {0, 1, 2};

// The diagonals of a system of order n, each n elements of which the last ones are not used, the main one moved away
// from 0.
template <class T> struct Bands {
  std::vector<T> dl, d, du, du2;
  std::vector<Real<T>> real; // a real main diagonal
  std::vector<tnk_int> ipiv; // each row stays or goes behind the next one

  Bands(tnk_int n, Random &random, double least) {
    for (tnk_int i = 0; i < n; ++i) {
      for (auto *band : {&dl, &d, &du, &du2}) band->push_back(random.number<T>());
      auto &part = reinterpret_cast<Real<T> &>(d.back());
      part += static_cast<Real<T>>(part < 0 ? -least : least);
      real.push_back(part);
      ipiv.push_back(i + 1 + (i + 1 < n ? random.integer(0, 1) : 0));
    }
  }
  bool swaps(tnk_int i) const { return ipiv[static_cast<std::size_t>(i)] != i + 1; }
};
// As a routine gets them, each at the end of a page.
template <class T> Guarded<T> cut(std::vector<T> band, std::size_t fewer) {
  band.resize(band.size() - std::min(fewer, band.size()));
  return Guarded<T>(band);
}
template <class T> struct Cut {
  explicit Cut(const Bands<T> &m) : dl(cut(m.dl, 1)), d(cut(m.d, 0)), du(cut(m.du, 1)), du2(cut(m.du2, 2)) {}
  Guarded<T> dl, d, du, du2;
};

template <class T> bool same(const Guarded<T> &a, const Guarded<T> &b) {
  return a.size() == 0 || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

// Element (i, j) where bands[k] is the k-th diagonal from `lowest` up, counted by its column below the main one and by
// its row above.
template <class T>
Dense banded(tnk_int n, tnk_int lowest, const std::vector<const std::vector<T> *> &bands, Wide diagonal = 0) {
  return {n, n, [&](tnk_int i, tnk_int j) {
            const tnk_int k = j - i - lowest;
            if (i == j && diagonal != Wide(0)) return diagonal;
            return k >= 0 && k < static_cast<tnk_int>(bands.size())
                       ? wide((*bands[static_cast<std::size_t>(k)])[static_cast<std::size_t>(std::min(i, j))])
                       : Wide(0);
          }};
}

// A way to solve A X = B, and the magnitudes that its error is measured by.
template <class T> struct Solver {
  std::string name;
  Dense a, size;
  std::function<void(const tnk_int *nrhs, T *b, const tnk_int *ldb)> solve;
};

template <class T> std::vector<Solver<T>> solvers_with_factors(tnk_int n, Random &random) {
  std::vector<Solver<T>> solvers;
  const Bands<T> f(n, random, 1);
  // The steps of an elimination with interchanges undone, the last one first.
  Dense lower = banded<T>(n, 0, {}, 1);
  const Dense upper = banded<T>(n, 0, {&f.d, &f.du, &f.du2});
  for (tnk_int i = n - 2; i >= 0; --i)
    for (tnk_int j = 0; j < n; ++j) {
      lower(i + 1, j) += wide(f.dl[static_cast<std::size_t>(i)]) * lower(i, j);
      if (f.swaps(i)) std::swap(lower(i, j), lower(i + 1, j));
    }
  for (const tnk_int &form : forms) {
    const char letter = "NTC"[form];
    const Dense left = form == 0 ? lower : upper.form(letter), right = form == 0 ? upper : lower.form(letter);
    solvers.push_back({std::string("gtts2 ") + letter, left * right, left.magnitudes() * right.magnitudes(),
                       [=](const tnk_int *nrhs, T *b, const tnk_int *ldb) {
                         Cut<T> c(f);
                         auto ipiv = cut(f.ipiv, 1);
                         Named<T>("tnk_lapack_ps_?gtts2")(&form, &n, nrhs, c.dl, c.d, c.du, c.du2, ipiv, b,
                                                          ldb);
                       }});
  }
  const Dense unit = banded<T>(n, -1, {&f.dl}, 1), right = banded<Real<T>>(n, 0, {&f.real}) * unit.form('C');
  for (const int refused : {0, 1})
    solvers.push_back({"ptts2", unit * right, unit.magnitudes() * right.magnitudes(),
                       [=](const tnk_int *nrhs, T *b, const tnk_int *ldb) {
                         allocations.reset();
                         allocations.refuse = refused;
                         auto d = cut(f.real, 0);
                         auto e = cut(f.dl, 1);
                         Named<T>("tnk_lapack_ps_?ptts2")(&n, nrhs, d, e, b, ldb);
                         EXPECT_EQ(allocations.live + allocations.overrun, 0);
                         EXPECT_EQ(allocations.made, n > 1 && *nrhs > 3 && !refused);
                         allocations.reset();
                       }});
  return solvers;
}

template <class T> std::vector<Solver<T>> solvers_of_matrices(tnk_int n, Random &random) {
  std::vector<Solver<T>> solvers;
  const Bands<T> m(n, random, 4);
  const Dense a = banded<T>(n, -1, {&m.dl, &m.d, &m.du});
  const auto factor = [=](Cut<T> &c) {
    tnk_int info = untouched;
    Named<T>("tnk_lapack_ps_?dttrfb")(&n, c.dl, c.d, c.du, &info);
    EXPECT_EQ(info, 0);
  };
  for (const char letter : {'N', 'n', 'T', 't', 'C', 'x'})
    solvers.push_back({std::string("dttrsb ") + letter, a.form(letter), a.form(letter).magnitudes(),
                       [=](const tnk_int *nrhs, T *b, const tnk_int *ldb) {
                         Cut<T> c(m);
                         factor(c);
                         tnk_int info = untouched;
                         Named<T>("tnk_lapack_ps_?dttrsb")(&letter, &n, nrhs, c.dl, c.d, c.du, b, ldb, &info);
                         EXPECT_EQ(info, 0);
                       }});
  solvers.push_back({"dtsvb", a, a.magnitudes(), [=](const tnk_int *nrhs, T *b, const tnk_int *ldb) {
                       Cut<T> c(m), like(m);
                       tnk_int info = untouched;
                       Named<T>("tnk_lapack_ps_?dtsvb")(&n, nrhs, c.dl, c.d, c.du, b, ldb, &info);
                       EXPECT_EQ(info, 0);
                       if (*nrhs > 0) factor(like);
                       EXPECT_TRUE(same(c.dl, like.dl) && same(c.d, like.d) && same(c.du, like.du));
                     }});
  // U takes the place of the matrix and is solved with, but for the last element of dl, which stays. Interchanges bring
  // the largest elements to other rows.
  if constexpr (std::is_floating_point_v<T>) {
    const Bands<T> g(n, random, 0.25);
    solvers.push_back({"gtsv", banded<T>(n, -1, {&g.dl, &g.d, &g.du}),
                       Dense(n, n, [](tnk_int, tnk_int) { return 4; }),
                       [=](const tnk_int *nrhs, T *b, const tnk_int *ldb) {
                         Cut<T> c(g);
                         tnk_int info = untouched;
                         Named<T>("tnk_lapack_ps_?gtsv_small")(&n, nrhs, c.dl, c.d, c.du, b, ldb, &info);
                         EXPECT_EQ(info, untouched);
                         const std::size_t size = c.dl.size();
                         EXPECT_TRUE(size == 0 || c.dl.get(size - 1) == g.dl[size - 1]);
                       }});
  }
  return solvers;
}

// Right-hand sides one by one are solved, and any number of them at once get the same bits.
TYPED_TEST(Tridiagonal, Solves) {
  using T = TypeParam;
  Random random;
  for (tnk_int n = 0; n <= 12; ++n)
    for (const auto &some : {solvers_with_factors<T>(n, random), solvers_of_matrices<T>(n, random)})
      for (const Solver<T> &solver : some) {
        const tnk_int one = 1, most = 17;
        const Dense b = random_matrix<T>(n, most, random);
        const Stored<T> before(b);
        Stored<T> alone(b);
        const Dense rounded = alone.dense();
        for (tnk_int j = 0; j < most; ++j) solver.solve(&one, alone.data() + j * alone.ld, &alone.ld);
        const Dense x = alone.dense();
        ASSERT_TRUE(close(solver.a * x, rounded, solver.size * x.magnitudes(), 20 * eps<T>))
            << solver.name << " n " << n;
        for (const tnk_int nrhs : {0, 1, 3, 4, 5, 7, 8, 9, 12, 13, 17}) {
          Stored<T> together(b);
          solver.solve(&nrhs, together.data(), &together.ld);
          for (std::size_t k = 0; k < together.size(); ++k)
            ASSERT_TRUE(
                reference::same(together.get(k), (tnk_int(k) < nrhs * alone.ld ? alone : before).get(k)))
                << solver.name << " n " << n << " nrhs " << nrhs;
          ASSERT_TRUE(together.rest_intact());
        }
      }
}

// A quotient is a true one, no product with a reciprocal.
TYPED_TEST(RealTridiagonal, DividesByPivots) {
  using T = TypeParam;
  Random random;
  for (tnk_int n = 1; n <= 12; ++n)
    for (const tnk_int form : {0, 1, -1}) {
      Bands<T> f(n, random, 1);
      for (auto *band : {&f.dl, &f.du, &f.du2}) band->assign(band->size(), 0);
      std::iota(f.ipiv.begin(), f.ipiv.end(), 1);
      const Dense right = random_matrix<T>(n, 1, random);
      const Stored<T> b(right);
      Stored<T> x(right);
      Cut<T> c(f);
      const tnk_int one = 1;
      tnk_int info = untouched;
      if (form >= 0)
        Named<T>("tnk_lapack_ps_?gtts2")(&form, &n, &one, c.dl, c.d, c.du, c.du2, f.ipiv, x, &n);
      else
        Named<T>("tnk_lapack_ps_?gtsv_small")(&n, &one, c.dl, c.d, c.du, x, &n, &info);
      for (std::size_t i = 0; i < f.d.size(); ++i) EXPECT_EQ(x.get(i), b.get(i) / f.d[i]) << n << ' ' << form;
    }
}

// From both ends, by steps from the top and the bottom in turn.
TYPED_TEST(RealTridiagonal, FactorsStepByStep) {
  using T = TypeParam;
  Random random;
  for (tnk_int n = 1; n <= 12; ++n) {
    Bands<T> m(n, random, 4);
    Cut<T> c(m);
    // `pivot` eliminates the row beside it, `beside` being the place of both off-diagonal elements.
    const auto step = [&](tnk_int pivot, tnk_int row, tnk_int beside) {
      const T inverse = 1 / m.d[pivot];
      m.d[pivot] = inverse;
      m.dl[beside] = inverse * m.dl[beside];
      m.d[row] = m.d[row] - m.dl[beside] * m.du[beside];
    };
    for (tnk_int k = 0; k < (n - 1) / 2; ++k) step(k, k + 1, k), step(n - 1 - k, n - 2 - k, n - 2 - k);
    if (n % 2 == 0) step(n / 2 - 1, n / 2, n / 2 - 1);
    m.d[n / 2] = 1 / m.d[n / 2];
    tnk_int info = untouched;
    Named<T>("tnk_lapack_ps_?dttrfb")(&n, c.dl, c.d, c.du, &info);
    EXPECT_EQ(info, 0);
    const Cut<T> steps(m);
    EXPECT_TRUE(same(c.dl, steps.dl) && same(c.d, steps.d) && same(c.du, steps.du)) << n;
  }
}

// Diagonal matrices with one pivot that is zero, or a NaN in either part.
TYPED_TEST(Tridiagonal, ReportsWhereAPivotFails) {
  using T = TypeParam;
  const auto quiet = static_cast<Real<T>>(nan);
  for (tnk_int n = 1; n <= 7; ++n)
    for (tnk_int bad = 0; bad < n; ++bad)
      for (const T pivot :
           {T{}, reference::number<T>(quiet), reference::number<T>(reference::is_pair<T> ? 1 : quiet, quiet)})
        for (const tnk_int nrhs : {0, 1, 3}) {
          const auto place = static_cast<std::size_t>(bad), order = static_cast<std::size_t>(n);
          std::vector<T> dl(order), d(order, reference::number<T>(2)), du = dl;
          std::vector<T> b(order * 3, reference::number<T>(4));
          d[place] = pivot;
          const auto call = [&](const char *name, auto... arguments) {
            tnk_int info = untouched;
            Named<T>(std::string("tnk_lapack_ps_?") + name)(&n, arguments..., &info);
            return info;
          };
          auto factors = d;
          EXPECT_EQ(call("dttrfb", dl.data(), factors.data(), du.data()), bad + 1) << n;
          factors = d;
          auto x = b;
          EXPECT_EQ(call("dtsvb", &nrhs, dl.data(), factors.data(), du.data(), x.data(), &n),
                    nrhs == 0 ? 0 : bad + 1)
              << n;
          // A zero ends an elimination with interchanges. A NaN is not as large as the element below it: its row goes
          // down, and there is no other one in the last row.
          if constexpr (std::is_floating_point_v<T>) {
            factors = d, x = b;
            auto u = du;
            EXPECT_EQ(call("gtsv_small", &nrhs, dl.data(), factors.data(), u.data(), x.data(), &n),
                      pivot == 0 ? bad + 1 : untouched);
            EXPECT_EQ(std::isnan(x[place]), pivot != 0 && nrhs > 0);
            EXPECT_TRUE(pivot == 0 || bad + 1 == n || factors[place] == 0);
          }
        }
}

} // namespace
} // namespace tnk::test
