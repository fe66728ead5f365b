// Factorizations: the matrix is put together again from the factors, which must not have touched the other triangle.
#include "lapack_ps/dense.h"
#include "support/named.h"
#include <tnk/lapack_ps.h>

namespace tnk::test {
namespace {

constexpr tnk_int untouched = -7;
const char *const no_letter = nullptr;

template <class T> class Cholesky : public testing::Test {};
TYPED_TEST_SUITE(Cholesky, Types, );

template <class T> tnk_int cholesky(Stored<T> &a) {
  tnk_int info = untouched;
  public_calls = 0;
  Named<T>(a.part == 'U' ? "tnk_lapack_ps_?potrf_u_small" : "tnk_lapack_ps_?potrf_l_small")(no_letter, &a.n,
                                                                                            a, &a.ld, &info);
  return info;
}
// The order from which on a public routine is called.
template <class T> tnk_int first_call(char part) {
  if (std::is_same_v<T, float>) return 1000;
  return std::is_same_v<T, tnk_complex8> || (std::is_same_v<T, double> && part == 'U') ? 50 : 40;
}
// Imaginary parts on the diagonal, which must not be read, are NaN.
template <class T> Stored<T> positive_definite(tnk_int n, char part, unsigned seed) {
  Random random(seed);
  const Dense g = random_matrix<T>(n, n, random);
  Dense a = g * g.form('C');
  for (tnk_int i = 0; i < n; ++i) a(i, i) += Wide(1, nan);
  return Stored<T>(a, part);
}

// Orders around every rest of a vector and around the changes of form; where neither form calls another routine, both
// must give the same bits. What must not be read is NaN, or numbers, with which a block that reads them does not fail
// and leave its work to another form.
TYPED_TEST(Cholesky, IsPutTogetherAgain) {
  using T = TypeParam;
  for (tnk_int n = 0; n <= 67; n += n == 21 ? 18 : n == 41 ? 8 : n == 51 ? 16 : 1) {
    std::vector<Dense> factors;
    for (const char part : {'U', 'L'})
      for (const bool numbers : {false, true}) {
        Stored<T> a = positive_definite<T>(n, part, 1);
        Dense rounded = a.dense();
        for (tnk_int i = 0; i < n; ++i) rounded(i, i).imag(0);
        for (tnk_int k = 0; numbers && k < static_cast<tnk_int>(a.size()); ++k)
          if (!a.has(k % a.ld, k / a.ld)) a.put(static_cast<std::size_t>(k), reference::number<T>(0.25f));
        ASSERT_EQ(cholesky(a), untouched) << n;
        ASSERT_EQ(public_calls > 0, n >= first_call<T>(part)) << n << part;
        const Dense f = a.dense(), right = part == 'U' ? f : f.form('C'), left = right.form('C');
        ASSERT_TRUE(close_where(a, left * right, rounded, left.magnitudes() * right.magnitudes(),
                                static_cast<long double>(n + 8) * eps<T>))
            << n << part;
        for (tnk_int i = 0; i < n; ++i) ASSERT_EQ(f(i, i).imag(), 0);
        ASSERT_TRUE(numbers || a.rest_intact());
        factors.push_back(right);
      }
    for (const Dense &f : factors)
      ASSERT_TRUE(n >= first_call<T>('L') || f.elements == factors[0].elements) << n;
  }
}

// What comes before a pivot that is not positive stands as in a factorization that goes on, what comes after it is as
// it was.
TYPED_TEST(Cholesky, StopsAtAPivotThatIsNotPositive) {
  using T = TypeParam;
  for (const tnk_int n : {1, 7, 45, 55})
    for (const char part : {'U', 'L'})
      for (const tnk_int bad : {tnk_int{0}, n / 2, n - 1})
        for (const double pivot : {0.0, nan}) {
          Stored<T> stopped = positive_definite<T>(n, part, 2), good = positive_definite<T>(n, part, 2);
          const Stored<T> before = positive_definite<T>(n, part, 2);
          stopped.put(stopped.at(bad, bad), reference::number<T>(static_cast<Real<T>>(pivot)));
          ASSERT_EQ(cholesky(stopped), bad + 1);
          ASSERT_EQ(cholesky(good), untouched);
          stopped.each([&](tnk_int i, tnk_int j, std::size_t k) {
            const tnk_int row = std::min(i, j);
            const Stored<T> &like = row < bad ? good : before;
            ASSERT_TRUE(row == bad || reference::same(stopped.get(k), like.get(k))) << i << ' ' << j;
          });
          ASSERT_FALSE(reference::re(stopped.element(bad, bad)) > 0);
          ASSERT_TRUE(stopped.rest_intact());
        }
}

using Reals = testing::Types<float, double>;
template <class T> class Indefinite : public testing::Test {};
TYPED_TEST_SUITE(Indefinite, Reals, );

template <class T> struct Pivoted {
  Pivoted(const Dense &matrix, char part) : a(matrix, part), ipiv(static_cast<std::size_t>(a.n)) {
    Named<T>(part == 'U' ? "tnk_lapack_ps_?sytrf_u_small"
                         : "tnk_lapack_ps_?sytrf_l_small")(no_letter, &a.n, a, &a.ld, ipiv, &info);
  }
  Stored<T> a;
  std::vector<tnk_int> ipiv;
  tnk_int info = untouched;
};

// A step: its block of D at rows `first` ..., and the rows that changed places.
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

// P U D U^T P^T, and the same of magnitudes: the last step's block first, then for each step outwards its columns on
// both sides.
Dense rebuilt(const Dense &f, const std::vector<Step> &steps, bool upper, bool magnitudes) {
  Dense a(f.rows, f.rows);
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    const tnk_int first = step->first, end = first + step->order;
    Dense columns(f.rows, step->order, [&](tnk_int i, tnk_int c) -> Wide {
      if (i >= first && i < end) return i == first + c ? 1 : 0;
      return (upper ? i < first : i >= end) ? f(i, first + c) : Wide(0);
    });
    Dense block(step->order, step->order, [&](tnk_int i, tnk_int j) {
      return upper ? f(first + std::min(i, j), first + std::max(i, j))
                   : f(first + std::max(i, j), first + std::min(i, j));
    });
    if (magnitudes) columns = columns.magnitudes(), block = block.magnitudes();
    const Dense add = columns * block * columns.form('T');
    for (std::size_t i = 0; i < a.elements.size(); ++i) a.elements[i] += add.elements[i];
    for (tnk_int i = 0; i < f.rows; ++i) std::swap(a(i, step->row), a(i, step->with));
    for (tnk_int i = 0; i < f.rows; ++i) std::swap(a(step->row, i), a(step->with, i));
  }
  return a;
}

// Random matrices; small integers, with ties and zero pivots; a diagonal of zeros, for blocks of order 2; a heavy one.
TYPED_TEST(Indefinite, IsPutTogetherAgain) {
  using T = TypeParam;
  Random random;
  int of_order[3] = {}, exchanges = 0, calls = 0;
  for (int kind = 0; kind < 4; ++kind)
    for (tnk_int n = 0; n <= 30; n += n < 12 ? 1 : 5)
      for (const char part : {'U', 'L'}) {
        Dense a = random_matrix<T>(n, n, random);
        for (tnk_int i = 0; i < n; ++i)
          for (tnk_int j = 0; j <= i; ++j) {
            if (kind == 1) a(i, j) = static_cast<long double>(random.integer(-2, 2));
            a(j, i) = a(i, j) *= i != j ? 1 : kind == 2 && n > 1 ? 0 : kind == 3 ? 8 : 1;
          }
        const Dense rounded = Stored<T>(a, part).dense();
        public_calls = 0;
        const Pivoted<T> f(a, part);
        ASSERT_TRUE(kind == 1 || f.info == untouched);
        ASSERT_TRUE(public_calls == 0 || (part == 'L' && std::is_same_v<T, float>));
        calls += public_calls;
        const auto steps = steps_of(f.ipiv, part == 'U');
        for (const Step &s : steps) ++of_order[s.order], exchanges += s.row != s.with;
        const Dense factor = f.a.dense();
        ASSERT_TRUE(close_where(f.a, rebuilt(factor, steps, part == 'U', false), rounded,
                                rebuilt(factor, steps, part == 'U', true),
                                static_cast<long double>(4 * n + 8) * eps<T>))
            << n << part << kind;
        ASSERT_TRUE(f.a.rest_intact());
      }
  EXPECT_TRUE(of_order[1] > 20 && of_order[2] > 20 && exchanges > 20);
  EXPECT_EQ(calls > 0, (std::is_same_v<T, float>));
}

// Pivots that were worked out by hand, and zero ones.
TYPED_TEST(Indefinite, ChoosesPivots) {
  using T = TypeParam;
  // Diagonal ones but the one worked on first, which is 0; in its column threes at two places i < j. Row i's largest
  // beside the diagonal is that 3, its diagonal 1: a block of order 2, with the first of the equal ones, in any lane.
  for (tnk_int n = 9; n <= 14; ++n)
    for (tnk_int i = 1; i + 2 < n; ++i)
      for (tnk_int j = i + 1; j + 1 < n; ++j)
        for (const char part : {'U', 'L'}) {
          const tnk_int k = part == 'U' ? n - 1 : 0;
          Dense a(n, n, [&](tnk_int r, tnk_int c) { return r == c && r != k ? 1 : 0; });
          for (const tnk_int r : {i, j}) a(r, k) = a(k, r) = 3;
          ASSERT_EQ(Pivoted<T>(a, part).ipiv[static_cast<std::size_t>(k)], -(i + 1)) << n << ' ' << i << j;
        }
  // The diagonal against 0.6403882 times the largest beside it; a diagonal of that one's own row that is large enough; the
  // diagonal against the largest beside it once more, when its row has still larger ones.
  const auto first = [&](double diagonal, double beside, double other, double far) {
    const double rows[3][3] = {{diagonal, beside, 0}, {beside, other, far}, {0, far, 1}};
    return Pivoted<T>(Dense(3, 3, [&](tnk_int i, tnk_int j) { return rows[i][j]; }), 'L').ipiv[0];
  };
  EXPECT_EQ(first(0.6405, 1, 0, 0), 1);
  EXPECT_EQ(first(0.6402, 1, 0, 0), -2);
  EXPECT_EQ(first(0.1, 1, 0.6405, 0), 2);
  EXPECT_EQ(first(0.1, 1, 0.6402, 0), -2);
  EXPECT_EQ(first(0.06405, 1, 0, 10), 1);
  EXPECT_EQ(first(0.06402, 1, 0, 10), -2);
  // Columns 1 and 4 are zero: the first one met is reported, and the factorization goes on.
  for (const char part : {'U', 'L'}) {
    const Pivoted<T> f(Dense(5, 5, [](tnk_int i, tnk_int j) { return i == j && i % 3 != 0 ? i : 0; }), part);
    EXPECT_EQ(f.info, part == 'U' ? 4 : 1);
    EXPECT_EQ(f.ipiv, (std::vector<tnk_int>{1, 2, 3, 4, 5}));
  }
}

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
          const bool upper = uplo == 'U' || uplo == 'u';
          const auto place = [&](tnk_int i) {
            return static_cast<std::size_t>(inc > 0 ? i * inc : (i - n) * inc);
          };
          Guarded<T> x(n < 1 ? 0 : place(inc > 0 ? n - 1 : 0) + 1);
          Guarded<T> ap(static_cast<std::size_t>(n * (n + 1) / 2), 8);
          for (tnk_int i = 0; i < n; ++i) x.put(place(i), i % 4 == 2 ? T{0, -0.0f} : random.number<T>());
          std::vector<T> expected;
          for (tnk_int j = 0; j < n; ++j)
            for (tnk_int i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) {
              const T of_column = x.get(place(j)), a = random.number<T>();
              ap.put(expected.size(), a);
              expected.push_back(
                  is_zero(alpha) || is_zero(of_column) ? a : a + (alpha * of_column) * x.get(place(i)));
            }
          tnk_lapack_ps_cspr(&uplo, &n, &alpha, x.data(), &inc, ap.data());
          for (std::size_t k = 0; k < expected.size(); ++k)
            ASSERT_TRUE(reference::same(ap.get(k), expected[k])) << n << inc << uplo;
          ASSERT_TRUE(ap.intact() && x.intact());
        }
}

} // namespace
} // namespace tnk::test
