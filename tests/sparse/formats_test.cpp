// What coordinate, diagonal and block products fix beyond the meaning of their letters: order and folding of alpha,
// large matrices taken in parts, what is not read.
#include "support/random.h"
#include <gtest/gtest.h>
#include <limits>
#include <tnk/spblas_grid.h>
#include <vector>

namespace {

using tnk::test::Random;
using Vector = std::vector<double>;
using Integers = std::vector<tnk_int>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// ---- Coordinates ----------------------------------------------------------------------------------------------------

struct Triples {
  tnk_int m = 20, count = 400;
  Vector values, x;
  Integers rows, columns;

  Triples() {
    Random random;
    for (tnk_int k = 0; k < count; ++k) {
      values.push_back(random.real<double>());
      rows.push_back(random.integer(0, m - 1));
      columns.push_back(random.integer(0, m - 1));
    }
    for (tnk_int i = 0; i < m; ++i) x.push_back(random.real<double>());
  }
};

TEST(CooMv, EntriesAreAddedInTheirOrderWithAlphaInItsPlace) {
  const Triples a;
  const double alpha = 1.0 / 3;
  const tnk_int first = 7, last = 380;
  const auto result = [&](auto kernel) {
    Vector y(a.m, 0.1);
    kernel(&first, &last, &a.m, &a.m, &alpha, a.values.data(), a.rows.data(), a.columns.data(), &a.count,
           a.x.data(), y.data());
    return y;
  };
  // add(y, row, column, value), then the ones of the diagonal
  const auto expected = [&](bool whole, bool unit, auto add) {
    Vector y(a.m, 0.1);
    for (tnk_int k = whole ? 0 : first - 1; k < (whole ? a.count : last); ++k)
      add(y, a.rows[k], a.columns[k], a.values[k]);
    for (tnk_int i = 0; unit && i < a.m; ++i) y[i] += alpha * a.x[i];
    return y;
  };
  const auto entry = [&](Vector &y, tnk_int r, tnk_int q, double v) { y[r] += (alpha * v) * a.x[q]; };
  const auto lower = [&](Vector &y, tnk_int r, tnk_int q, double v) {
    if (r > q) y[r] += (alpha * v) * a.x[q];
  };
  const auto symmetric = [&](bool unit) {
    return [&, unit](Vector &y, tnk_int r, tnk_int q, double v) {
      if (r < q || (!unit && r == q)) y[r] += (alpha * a.x[q]) * v;
      if (r < q) y[q] += (alpha * a.x[r]) * v;
    };
  };
  const auto skew = [&](Vector &y, tnk_int r, tnk_int q, double v) {
    if (r <= q) return;
    y[r] += (alpha * v) * a.x[q];
    y[q] -= (alpha * v) * a.x[r];
  };
  EXPECT_EQ(result(tnk_spblas_dcoo0ng__c__mvout_par), expected(false, false, entry));
  EXPECT_EQ(result(tnk_spblas_dcoo0ntluc__mvout_par), expected(true, true, lower));
  EXPECT_EQ(result(tnk_spblas_dcoo0nsunc__mvout_par), expected(false, false, symmetric(false)));
  EXPECT_EQ(result(tnk_spblas_dcoo0nsuuc__mvout_par), expected(false, true, symmetric(true)));
  EXPECT_EQ(result(tnk_spblas_dcoo0nal_c__mvout_par), expected(false, false, skew));
}

TEST(CooMm, AlphaGoesToTheValueInBothLayouts) {
  const Triples a;
  const double alpha = 1.0 / 3;
  const tnk_int one = 1;
  Vector expected(a.m, 0.1);
  for (tnk_int k = 0; k < a.count; ++k) {
    const tnk_int r = a.rows[k], q = a.columns[k];
    if (r < q) continue;
    expected[r] += (alpha * a.values[k]) * a.x[q];
    if (r > q) expected[q] += (alpha * a.values[k]) * a.x[r];
  }
  Integers rows = a.rows, columns = a.columns;
  Vector y(a.m, 0.1);
  tnk_spblas_dcoo0nslnc__mmout_par(&one, &one, &a.m, &one, &alpha, a.values.data(), rows.data(),
                                   columns.data(), &a.count, a.x.data(), &one, y.data(), &one);
  EXPECT_EQ(y, expected);
  for (tnk_int k = 0; k < a.count; ++k) ++rows[k], ++columns[k];
  y.assign(a.m, 0.1);
  tnk_spblas_dcoo1nslnf__mmout_par(&one, &one, &a.m, &one, &alpha, a.values.data(), rows.data(),
                                   columns.data(), &a.count, a.x.data(), &a.m, y.data(), &a.m);
  EXPECT_EQ(y, expected);
}

// ---- Diagonals ------------------------------------------------------------------------------------------------------

// Small integers, so that every sum is exact.
TEST(Dia, LargeMatricesAreTakenInParts) {
  struct Case {
    decltype(&tnk_spblas_ddia1ng__f__mvout_par) mv;
    decltype(&tnk_spblas_ddia1ng__f__mmout_par) mm;
    tnk_int n;
    bool (*counts)(tnk_int distance);
    double own, mirror, identity; // factors of a[i][j] at (i, j) and at (j, i), and of the diagonal of ones
  };
  const auto all = [](tnk_int) { return true; };
  const auto below = [](tnk_int d) { return d < 0; };
  const auto above = [](tnk_int d) { return d > 0; };
  const auto up_from = [](tnk_int d) { return d >= 0; };
  const Case cases[] = {
      {tnk_spblas_ddia1ng__f__mvout_par, tnk_spblas_ddia1ng__f__mmout_par, 4500, all, 1, 0, 0},
      {tnk_spblas_ddia1ng__f__mvout_par, tnk_spblas_ddia1ng__f__mmout_par, 7001, all, 1, 0, 0},
      {tnk_spblas_ddia1tg__f__mvout_par, tnk_spblas_ddia1tg__f__mmout_par, 4500, all, 0, 1, 0},
      {tnk_spblas_ddia1nsluf__mvout_par, tnk_spblas_ddia1nsluf__mmout_par, 5003, below, 1, 1, 1},
      {tnk_spblas_ddia1tau_f__mvout_par, tnk_spblas_ddia1tau_f__mmout_par, 5003, above, -1, 1, 0},
      {tnk_spblas_ddia1ntunf__mvout_par, tnk_spblas_ddia1ntunf__mmout_par, 5003, up_from, 1, 0, 0},
      {tnk_spblas_ddia1ttluf__mvout_par, tnk_spblas_ddia1ttluf__mmout_par, 5003, below, 0, 1, 1},
  };
  const tnk_int m = 5003, stride = 5010, size = 7001, first = 2, last = 4, sides = 4;
  const Integers distance = {-6000, -5002, -2049, -1, 0, 3, 1023, 1025, 4499, 7001};
  const tnk_int count = static_cast<tnk_int>(distance.size());
  const double alpha = 3;
  Random random;
  const auto integers = [&](tnk_int length) {
    Vector v;
    for (tnk_int i = 0; i < length; ++i) v.push_back(static_cast<double>(random.integer(-9, 9)));
    return v;
  };
  for (const Case &c : cases) {
    Vector values = integers(stride * count);
    const Vector x = integers(size * sides), y0 = integers(size * sides);
    Vector mm = y0, mv(y0.begin() + size, y0.begin() + 2 * size), expected = y0;
    for (tnk_int d = 0; d < count; ++d)
      for (tnk_int i = 0; i < stride; ++i) {
        const tnk_int j = i + distance[d];
        double &a = values[d * stride + i];
        if (i >= m || j < 0 || j >= c.n || !c.counts(distance[d])) {
          a = nan;
          continue;
        }
        for (tnk_int side = first - 1; side < last; ++side) {
          expected[side * size + i] += c.own * (alpha * a * x[side * size + j]);
          expected[side * size + j] += c.mirror * (alpha * a * x[side * size + i]);
        }
      }
    for (tnk_int side = first - 1; side < last; ++side)
      for (tnk_int i = 0; i < m; ++i) expected[side * size + i] += c.identity * alpha * x[side * size + i];
    c.mm(&first, &last, &m, &c.n, &sides, &alpha, values.data(), &stride, distance.data(), &count, x.data(),
         &size, mm.data(), &size);
    EXPECT_EQ(mm, expected) << "case " << &c - cases;
    c.mv(&first, &last, &m, &c.n, &alpha, values.data(), &stride, distance.data(), &count, x.data() + size,
         mv.data());
    EXPECT_EQ(mv, Vector(expected.begin() + size, expected.begin() + 2 * size)) << "case " << &c - cases;
  }
}

// ---- Blocks ---------------------------------------------------------------------------------------------------------

// A matrix of ones, of which everything outside the triangle is not a number, within the blocks on the diagonal too.
TEST(BsrMv, TheOtherTriangleHasNoEffect) {
  const double alpha = 2;
  const tnk_int blocks = 3, first = 1;
  const tnk_int start[] = {5, 8, 11}, end[] = {8, 11, 14};
  for (tnk_int size = 1; size <= 9; ++size)
    for (bool lower : {false, true})
      for (bool by_columns : {false, true}) {
        const tnk_int n = blocks * size;
        Vector values, y(n, 1);
        Integers columns;
        for (tnk_int i = 0; i < blocks; ++i)
          for (tnk_int j = 0; j < blocks; ++j) {
            columns.push_back(j + by_columns);
            for (tnk_int e = 0; e < size * size; ++e) {
              const tnk_int line = e / size, place = e % size;
              const tnk_int r = i * size + (by_columns ? place : line),
                            c = j * size + (by_columns ? line : place);
              values.push_back(r == c || (r > c) == lower ? 1 : nan);
            }
          }
        const Vector x(n, 1);
        const auto kernel =
            by_columns ? (lower ? tnk_spblas_dbsr1nslnf__mvout_par : tnk_spblas_dbsr1nsunf__mvout_par)
                       : (lower ? tnk_spblas_dbsr0nslnc__mvout_par : tnk_spblas_dbsr0nsunc__mvout_par);
        kernel(&first, &blocks, &blocks, &size, &alpha, values.data(), columns.data(), start, end, x.data(),
               y.data());
        EXPECT_EQ(y, Vector(n, 1 + 2.0 * static_cast<double>(n)))
            << "size " << size << (lower ? " lower" : " upper") << (by_columns ? " by columns" : " by rows");
      }
}

} // namespace
