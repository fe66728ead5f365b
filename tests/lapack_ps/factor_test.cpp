// Factorizations: the matrix is put together again from the factors, which must not have touched the other triangle.
#include "lapack_ps/dense.h"
#include "support/guarded.h"
#include "support/named.h"
#include "support/random.h"
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

using reference::Real;
constexpr tnk_int gap = 3; // rows below the matrix in each column, which must stay

// One triangle of a matrix of order n, the other one full of NaN.
template <class T> struct Triangle : Guarded<T> {
  Triangle(const Dense &whole, bool is_upper)
      : Guarded<T>(static_cast<std::size_t>((whole.rows + gap) * whole.columns)), n(whole.rows), ld(n + gap),
        upper(is_upper) {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < n; ++i)
        if (stored(i, j))
          this->put(at(i, j), reference::number<T>(static_cast<Real<T>>(whole(i, j).real()),
                                                   static_cast<Real<T>>(whole(i, j).imag())));
  }
  bool stored(tnk_int i, tnk_int j) const { return upper ? i <= j : i >= j; }
  std::size_t at(tnk_int i, tnk_int j) const { return static_cast<std::size_t>(i + j * ld); }
  T element(tnk_int i, tnk_int j) const { return this->get(at(i, j)); }
  Dense dense() const {
    Dense d(n, n);
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < n; ++i)
        if (stored(i, j)) d(i, j) = wide(element(i, j));
    return d;
  }
  bool rest_intact() const {
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < ld; ++i)
        for (std::size_t byte = 0; byte < sizeof(T); ++byte)
          if ((i >= n || !stored(i, j)) &&
              reinterpret_cast<const unsigned char *>(this->data() + at(i, j))[byte] != 0xFF)
            return false;
    return this->intact();
  }
  tnk_int n, ld;
  bool upper;
};

template <class T> Dense random_matrix(tnk_int m, tnk_int n, Random &random) {
  Dense d(m, n);
  return d.each([&](Wide) { return wide(random.number<T>()); });
}

using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
template <class T> class Cholesky : public testing::Test {};
TYPED_TEST_SUITE(Cholesky, Types, );

template <class T> tnk_int cholesky(Triangle<T> &a) {
  tnk_int info = -7;
  Named<T>(a.upper ? "tnk_lapack_ps_?potrf_u_small" : "tnk_lapack_ps_?potrf_l_small")(
      static_cast<const char *>(nullptr), &a.n, a.data(), &a.ld, &info);
  return info;
}
template <class T> Dense positive_definite(tnk_int n, Random &random) {
  const Dense g = random_matrix<T>(n, n, random);
  Dense a = g * g.form('C');
  for (tnk_int i = 0; i < n; ++i) a(i, i) += 1;
  return a;
}

// Orders around every rest of a vector and around both changes of form.
TYPED_TEST(Cholesky, IsPutTogetherAgain) {
  using T = TypeParam;
  Random random;
  std::vector<tnk_int> orders{39, 40, 41, 49, 50, 51, 67};
  for (tnk_int n = 0; n <= 21; ++n) orders.push_back(n);
  for (const tnk_int n : orders)
    for (const bool upper : {true, false}) {
      const Dense a = positive_definite<T>(n, random);
      Triangle<T> factor(a, upper);
      const Dense rounded = factor.dense();
      // What must not be read: imaginary parts on the diagonal.
      if constexpr (reference::is_pair<T>)
        for (tnk_int i = 0; i < n; ++i) {
          T d = factor.element(i, i);
          d.im = std::numeric_limits<Real<T>>::quiet_NaN();
          factor.put(factor.at(i, i), d);
        }
      ASSERT_EQ(cholesky(factor), -7) << n;
      const Dense f = factor.dense();
      for (tnk_int i = 0; i < n; ++i) ASSERT_EQ(f(i, i).imag(), 0);
      const Dense left = upper ? f.form('C') : f, right = upper ? f : f.form('C');
      Dense product = left * right;
      for (tnk_int j = 0; j < n; ++j)
        for (tnk_int i = 0; i < n; ++i)
          if (!factor.stored(i, j)) product(i, j) = 0;
      const auto bound = static_cast<long double>(n + 8) * eps<T>;
      ASSERT_TRUE(close(product, rounded, left.magnitudes() * right.magnitudes(), bound)) << n << upper;
      ASSERT_TRUE(factor.rest_intact());
    }
}

TYPED_TEST(Cholesky, StopsAtAPivotThatIsNotPositive) {
  using T = TypeParam;
  Random random;
  const Real<T> nan = std::numeric_limits<Real<T>>::quiet_NaN();
  for (const tnk_int n : {1, 7, 45, 55})
    for (const bool upper : {true, false})
      for (const tnk_int bad : {tnk_int{0}, n / 2, n - 1})
        for (const Real<T> pivot : {Real<T>(-1e4), nan}) {
          const Dense a = positive_definite<T>(n, random);
          Triangle<T> stopped(a, upper), good(a, upper);
          stopped.put(stopped.at(bad, bad), reference::number<T>(pivot));
          ASSERT_EQ(cholesky(stopped), bad + 1);
          ASSERT_EQ(cholesky(good), -7);
          for (tnk_int j = 0; j < bad; ++j)
            for (tnk_int i = 0; i < bad; ++i)
              ASSERT_TRUE(!good.stored(i, j) || reference::same(stopped.element(i, j), good.element(i, j)));
          const T left = stopped.element(bad, bad);
          ASSERT_FALSE(reference::re(left) > 0);
          ASSERT_TRUE(stopped.rest_intact());
        }
}

// ---- Symmetric indefinite -----------------------------------------------------------------------------------------

using Reals = testing::Types<float, double>;
template <class T> class Indefinite : public testing::Test {};
TYPED_TEST_SUITE(Indefinite, Reals, );

template <class T> tnk_int factorize(Triangle<T> &a, std::vector<tnk_int> &ipiv) {
  tnk_int info = -7;
  Named<T>(a.upper ? "tnk_lapack_ps_?sytrf_u_small" : "tnk_lapack_ps_?sytrf_l_small")(
      static_cast<const char *>(nullptr), &a.n, a.data(), &a.ld, ipiv.data(), &info);
  return info;
}

// A step: its block of D at rows `first` ..., its columns of U or L, and the rows that changed places.
struct Step {
  tnk_int first, order, row, with;
};
std::vector<Step> steps_of(const std::vector<tnk_int> &ipiv, bool upper) {
  const auto n = static_cast<tnk_int>(ipiv.size());
  std::vector<Step> steps;
  for (tnk_int k = upper ? n - 1 : 0; k >= 0 && k < n;) {
    const tnk_int p = ipiv[static_cast<std::size_t>(k)], order = p > 0 ? 1 : 2;
    const tnk_int end = upper ? k - order + 1 : k + order - 1;
    EXPECT_TRUE(order == 1 || (end >= 0 && end < n && ipiv[static_cast<std::size_t>(end)] == p));
    steps.push_back({std::min(k, end), order, std::abs(p) - 1, end});
    k = upper ? end - 1 : end + 1;
  }
  return steps;
}

// A from its factors: the last step's block first, then for each step outwards its columns on both sides.
template <class T> Dense rebuilt(const Triangle<T> &f, const std::vector<Step> &steps, bool magnitudes) {
  Dense a(f.n, f.n);
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    Dense columns(f.n, step->order), block(step->order, step->order);
    for (tnk_int c = 0; c < step->order; ++c) {
      const tnk_int j = step->first + c;
      columns(j, c) = 1;
      block(c, c) = wide(f.element(j, j));
      const tnk_int from = f.upper ? 0 : step->first + step->order, to = f.upper ? step->first : f.n;
      for (tnk_int i = from; i < to; ++i) columns(i, c) = wide(f.element(i, j));
    }
    if (step->order == 2)
      block(0, 1) = block(1, 0) =
          wide(f.upper ? f.element(step->first, step->first + 1) : f.element(step->first + 1, step->first));
    if (magnitudes) columns = columns.magnitudes(), block = block.magnitudes();
    const Dense add = columns * block * columns.form('T');
    for (std::size_t i = 0; i < a.elements.size(); ++i) a.elements[i] += add.elements[i];
    for (tnk_int i = 0; i < f.n; ++i) std::swap(a(i, step->row), a(i, step->with));
    for (tnk_int i = 0; i < f.n; ++i) std::swap(a(step->row, i), a(step->with, i));
  }
  return a;
}

TYPED_TEST(Indefinite, IsPutTogetherAgain) {
  using T = TypeParam;
  Random random;
  int of_order[3] = {}, exchanges = 0;
  for (int round = 0; round < 4; ++round)
    for (tnk_int n = 0; n <= 30; n += n < 12 ? 1 : 5)
      for (const bool upper : {true, false}) {
        Dense a = random_matrix<T>(n, n, random);
        if (round == 1)
          a = a.each([&](Wide) { return Wide(static_cast<long double>(random.integer(-2, 2))); });
        for (tnk_int i = 0; i < n; ++i) {
          if (round == 2 && n > 1) a(i, i) = 0; // blocks of order 2
          if (round == 3) a(i, i) *= 8;         // blocks of order 1
          for (tnk_int j = 0; j < i; ++j) a(i, j) = a(j, i);
        }
        Triangle<T> factor(a, upper);
        const Dense rounded = factor.dense();
        std::vector<tnk_int> ipiv(static_cast<std::size_t>(n), 0);
        const tnk_int info = factorize(factor, ipiv);
        ASSERT_TRUE(round == 1 || info == -7);
        const auto steps = steps_of(ipiv, upper);
        for (const Step &s : steps) ++of_order[s.order], exchanges += s.row != s.with;
        Dense product = rebuilt(factor, steps, false);
        for (tnk_int j = 0; j < n; ++j)
          for (tnk_int i = 0; i < n; ++i)
            if (!factor.stored(i, j)) product(i, j) = 0;
        const auto bound = static_cast<long double>(4 * n + 8) * eps<T>;
        ASSERT_TRUE(close(product, rounded, rebuilt(factor, steps, true), bound)) << n << upper << round;
        ASSERT_TRUE(factor.rest_intact());
      }
  EXPECT_TRUE(of_order[1] > 20 && of_order[2] > 20 && exchanges > 20);
}

// Of equal candidates the first, in any lane; threshold and choice of the pivot on small cases worked by hand.
TYPED_TEST(Indefinite, ChoosesPivots) {
  using T = TypeParam;
  const auto pivots = [](const Dense &a, bool upper) {
    Triangle<T> factor(a, upper);
    std::vector<tnk_int> ipiv(static_cast<std::size_t>(a.rows));
    EXPECT_EQ(factorize(factor, ipiv), -7);
    return ipiv;
  };
  // Diagonal ones but the one worked on first, which is 0; in its column threes at two places i < j. Row i's largest
  // beside the diagonal is that 3, its diagonal 1: a block of order 2, with the first of the equal ones.
  for (tnk_int n = 9; n <= 14; ++n)
    for (tnk_int i = 1; i + 2 < n; ++i)
      for (tnk_int j = i + 1; j + 1 < n; ++j)
        for (const bool upper : {true, false}) {
          Dense a(n, n);
          const tnk_int k = upper ? n - 1 : 0;
          for (tnk_int r = 0; r < n; ++r) a(r, r) = r == k ? 0 : 1;
          for (const tnk_int r : {i, j}) a(r, k) = a(k, r) = 3;
          EXPECT_EQ(pivots(a, upper)[static_cast<std::size_t>(k)], -(i + 1)) << n << ' ' << i << ' ' << j;
        }
  // The diagonal against 0.6403882 times the largest beside it; a diagonal of its own row that is large enough.
  const auto first = [&](Wide diagonal, Wide beside, Wide other) {
    Dense a(2, 2);
    a(0, 0) = diagonal, a(1, 0) = a(0, 1) = beside, a(1, 1) = other;
    return pivots(a, false)[0];
  };
  EXPECT_EQ(first(0.6405, 1, 0), 1);
  EXPECT_EQ(first(0.6402, 1, 0), -2);
  EXPECT_EQ(first(0.1, 1, 0.6405), 2);
  EXPECT_EQ(first(0.1, 1, 0.6402), -2);
}

TYPED_TEST(Indefinite, GoesOnAfterAZeroPivotAndReportsTheFirst) {
  using T = TypeParam;
  for (const bool upper : {true, false}) {
    const tnk_int n = 5;
    Dense a(n, n);
    a(1, 1) = 2, a(4, 4) = -3, a(2, 2) = 5; // columns 1 and 4 are zero
    Triangle<T> factor(a, upper);
    std::vector<tnk_int> ipiv(n);
    EXPECT_EQ(factorize(factor, ipiv), upper ? 4 : 1);
    EXPECT_EQ(ipiv, (std::vector<tnk_int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(factor.element(4, 4), -3);
  }
}

// ---- Rank one ---------------------------------------------------------------------------------------------------------

// Bit for bit: column by column, an element of x times (alpha times that of the column). Columns with a zero in x stay,
// whatever stands there. With an increment that is not positive element i stands at (i - n) * incx.
TEST(ComplexSymmetric, RankOneUpdate) {
  using T = tnk_complex8;
  using reference::operator+, reference::operator*;
  Random random;
  for (const T alpha : {T{0.75f, -0.5f}, T{0, 0}, T{0, 1}})
    for (tnk_int n = 0; n <= 11; ++n)
      for (const tnk_int inc : {1, 2, -1, -3, 0})
        for (const char uplo : {'U', 'u', 'L', 'x'}) {
          const tnk_int step = std::abs(inc), room = inc == 0  ? 1
                                                     : inc > 0 ? (n - 1) * step + 1
                                                               : n * step + 1;
          Guarded<T> x(static_cast<std::size_t>(n < 1 ? 0 : room)),
              ap(static_cast<std::size_t>(n * (n + 1) / 2), 8);
          const auto place = [&](tnk_int i) {
            return static_cast<std::size_t>(inc > 0 ? i * inc : (i - n) * inc);
          };
          for (tnk_int i = 0; i < n; ++i) x.put(place(i), i % 4 == 2 ? T{0, -0.0f} : random.number<T>());
          std::vector<T> expected;
          for (std::size_t k = 0; k < ap.size(); ++k)
            ap.put(k, random.number<T>()), expected.push_back(ap.get(k));
          std::size_t k = 0;
          const bool upper = uplo == 'U' || uplo == 'u';
          for (tnk_int j = 0; j < n; ++j)
            for (tnk_int i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i, ++k) {
              const T of_column = x.get(place(j));
              if ((alpha.re != 0 || alpha.im != 0) && (of_column.re != 0 || of_column.im != 0))
                expected[k] = expected[k] + (alpha * of_column) * x.get(place(i));
            }
          tnk_lapack_ps_cspr(&uplo, &n, &alpha, x.data(), &inc, ap.data());
          for (k = 0; k < expected.size(); ++k)
            ASSERT_TRUE(reference::same(ap.get(k), expected[k])) << n << inc << uplo;
          ASSERT_TRUE(ap.intact() && x.intact());
        }
}

} // namespace
} // namespace tnk::test
