// What the products with several right-hand sides fix beyond their values: what is not read, order of sums, parts.
#include "support/guarded.h"
#include "support/random.h"
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/spblas_grid.h>
#include <vector>

namespace {

using tnk::test::Guarded;
using tnk::test::page_end;
using tnk::test::Random;
using Vector = std::vector<double>;

constexpr double inf = std::numeric_limits<double>::infinity();

TEST(CsrMm, NothingIsReadForNoRightHandSide) {
  const tnk_int first = 3, last = 2;
  for (auto kernel : {tnk_spblas_dcsr1ng__f__mmout_par, tnk_spblas_dcsr0nslnc__mmout_par,
                      tnk_spblas_dcsr1ttluf__mmout_par, tnk_spblas_dcsr0tg__c__mmout_par})
    kernel(&first, &last, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
           nullptr, nullptr);
}

// Rows 1 ... 3, the second one empty: 2 at (1,1), `above` at (1,3), 4 at (3,1), 5 at (3,3). b is 1, 2, 3 and its
// double; the result is its second right-hand side, the first one being left out.
Vector second_side(decltype(&tnk_spblas_dcsr1ng__f__mmout_par) kernel, bool by_columns, double above,
                   double alpha) {
  const double values[] = {2, above, 4, 5};
  const tnk_int base = by_columns ? 1 : 0, columns[] = {base, base + 2, base, base + 2};
  const tnk_int start[] = {7, 9, 9}, end[] = {9, 9, 11}, side = 2, m = 3, n = 2, ld = by_columns ? 3 : 2;
  const Vector b = by_columns ? Vector{1, 2, 3, 2, 4, 6} : Vector{1, 2, 2, 4, 3, 6};
  Vector c(6, 100);
  kernel(&side, &side, &m, &n, &alpha, values, columns, start, end, b.data(), &ld, c.data(), &ld);
  Vector result;
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(c[by_columns ? i : 2 * i], 100);
    result.push_back(c[by_columns ? 3 + i : 2 * i + 1]);
  }
  return result;
}

TEST(CsrMm, TwoSweepsLetThroughWhatIsNotFinite) {
  for (bool f : {false, true}) {
    const auto general = f ? tnk_spblas_dcsr1ng__f__mmout_par : tnk_spblas_dcsr0ng__c__mmout_par;
    const auto transposed = f ? tnk_spblas_dcsr1tg__f__mmout_par : tnk_spblas_dcsr0tg__c__mmout_par;
    const auto lower = f ? tnk_spblas_dcsr1ntlnf__mmout_par : tnk_spblas_dcsr0ntlnc__mmout_par;
    const auto unit = f ? tnk_spblas_dcsr1ntluf__mmout_par : tnk_spblas_dcsr0ntluc__mmout_par;
    const auto symmetric = f ? tnk_spblas_dcsr1nslnf__mmout_par : tnk_spblas_dcsr0nslnc__mmout_par;
    const auto scattered = f ? tnk_spblas_dcsr1ttlnf__mmout_par : tnk_spblas_dcsr0ttlnc__mmout_par;
    EXPECT_TRUE(std::isnan(second_side(general, f, 3, inf)[1]));
    EXPECT_EQ(second_side(transposed, f, 3, inf)[1], 100);
    EXPECT_EQ(second_side(lower, f, 3, 10), (Vector{140, 100, 480}));
    EXPECT_EQ(second_side(unit, f, 3, 10), (Vector{120, 140, 240}));
    EXPECT_EQ(second_side(symmetric, f, 3, 10), (Vector{380, 100, 480}));
    for (auto kernel : {lower, unit, symmetric}) {
      const Vector c = second_side(kernel, f, inf, 10);
      EXPECT_TRUE(std::isnan(c[0]) && std::isfinite(c[2]));
    }
    EXPECT_TRUE(std::isnan(second_side(scattered, f, inf, 10)[2]));
  }
}

// Four sums over every fourth entry, combined one after another, whatever the number of right-hand sides that are
// computed together. Nothing beyond the last element of b and c is touched.
TEST(CsrMm, RowLayoutSumsInFours) {
  Random random;
  for (tnk_int sides = 1; sides <= 9; ++sides)
    for (tnk_int count = 0; count <= 11; ++count) {
      Vector a;
      std::vector<tnk_int> columns;
      Guarded<double> b(static_cast<std::size_t>(11 * sides), page_end),
          c(static_cast<std::size_t>(sides), page_end);
      for (tnk_int p = 0; p < 11 * sides; ++p) b.put(p, random.real<double>());
      for (tnk_int p = 0; p < 11; ++p) a.push_back(random.real<double>()), columns.push_back(10 - p);
      for (tnk_int side = 0; side < sides; ++side) c.put(side, 0);
      const tnk_int one = 1, start = 0;
      const double alpha = 0.7;
      tnk_spblas_dcsr0ng__c__mmout_par(&one, &sides, &one, &sides, &alpha, a.data(), columns.data(), &start,
                                       &count, b.data(), &sides, c.data(), &sides);
      for (tnk_int side = 0; side < sides; ++side) {
        double s[4] = {};
        for (tnk_int p = 0; p < count / 4 * 4; ++p) s[p % 4] += a[p] * b.get(columns[p] * sides + side);
        double sum = ((s[0] + s[1]) + s[2]) + s[3];
        for (tnk_int p = count / 4 * 4; p < count; ++p) sum += a[p] * b.get(columns[p] * sides + side);
        EXPECT_EQ(c.get(side), alpha * sum) << sides << " sides, entries " << count;
      }
    }
}

// However the rows are parted, each is summed once and in the order of the product with a vector. The argument n and
// the average that follows from the pointer base decide on the parts: in double precision none, none and some on
// both sides of the limit, three and two rows with some left for the last part, less than a row, and a divisor of 0.
template <class T, class I, class Many, class One> void parts_make_no_difference(Many many, One one_side) {
  constexpr I m = 23, sides = 3, entries = 314;
  const I one = 1;
  struct {
    I n, average;
  } const jobs[] = {{3, 13},      {61572, 13},  {61573, 13},     {62000, 13},
                    {100000, 13}, {300000, 13}, {-60000, 100000}};
  for (const auto &job : jobs) {
    Random random;
    std::vector<T> a, b, c(m * sides), expected(m * sides);
    std::vector<I> columns, start, end;
    const I base = job.average * m + 1 - entries;
    for (I i = 0; i < m; ++i) {
      start.push_back(base + static_cast<I>(a.size()));
      if (i != 5)
        for (I k = 0; k < 3 + i; ++k)
          a.push_back(random.number<T>()), columns.push_back(static_cast<I>(random.integer(1, m)));
      end.push_back(base + static_cast<I>(a.size()));
    }
    ASSERT_EQ(a.size(), entries);
    for (I k = 0; k < m * sides; ++k) b.push_back(random.number<T>());
    const T alpha = random.number<T>();
    many(&one, &sides, &m, &job.n, &alpha, a.data(), columns.data(), start.data(), end.data(), b.data(), &m,
         c.data(), &m);
    for (I side = 0; side < sides; ++side)
      one_side(&one, &m, &m, &alpha, a.data(), columns.data(), start.data(), end.data(), b.data() + side * m,
               expected.data() + side * m);
    EXPECT_EQ(std::memcmp(c.data(), expected.data(), c.size() * sizeof(T)), 0) << job.n << " " << job.average;
  }
}

TEST(CsrMm, PartsMakeNoDifference) {
  parts_make_no_difference<float, tnk_int>(tnk_spblas_scsr1ng__f__mmout_par,
                                           tnk_spblas_scsr1ng__f__mvout_par);
  parts_make_no_difference<double, tnk_int>(tnk_spblas_dcsr1ng__f__mmout_par,
                                            tnk_spblas_dcsr1ng__f__mvout_par);
  parts_make_no_difference<double, std::int32_t>(tnk_spblas_lp64_dcsr1ng__f__mmout_par,
                                                 tnk_spblas_lp64_dcsr1ng__f__mvout_par);
  parts_make_no_difference<tnk_complex8, tnk_int>(tnk_spblas_ccsr1sg__f__mmout_par,
                                                  tnk_spblas_ccsr1sg__f__mvout_par);
  parts_make_no_difference<tnk_complex16, tnk_int>(tnk_spblas_zcsr1ng__f__mmout_par,
                                                   tnk_spblas_zcsr1ng__f__mvout_par);
}

} // namespace
