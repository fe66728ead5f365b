// What the products with compressed rows and with triples fix beyond their values: where a number that is not finite
// shows, the order of sums, that parts do not matter.
#include "sparse/aux_form.h"
#include "sparse/grid_call.h"
#include "support/guarded.h"
#include <cmath>
#include <cstring>
#include <sstream>
#include <tnk/spblas_grid.h>

namespace {

using namespace tnk::test;
using Vector = std::vector<double>;

// Whether each element comes out as a NaN: of 2 at (1,1), `above` at (1,3), 4 at (3,1) and 5 at (3,3), the second row
// being empty, times 1, 2, 3.
std::string nans(const std::string &text, double above, double alpha) {
  const auto name = reference::decoded(text).value();
  void *const kernel = dlsym(RTLD_DEFAULT, text.c_str());
  if (!kernel) return "missing";
  const double values[] = {2, above, 4, 5}, x[] = {1, 2, 3};
  const tnk_int base = name.base - '0', columns[] = {base, base + 2, base, base + 2};
  const tnk_int start[] = {7, 9, 9}, end[] = {9, 9, 11}, one = 1, m = 3, ld = base == 1 ? 3 : 1;
  const tnk_int *const last = name.operation == "mm" ? &one : &m;
  double y[] = {100, 200, 300};
  GridArguments<double, tnk_int>{&one,   last,  &m,  &one,    &one, nullptr, nullptr, nullptr, &alpha,
                                 values, start, end, columns, x,    &ld,     y,       &ld}
      .call(kernel, name);
  std::string found;
  for (const double v : y) found += std::isnan(v) ? 'N' : '.';
  return found;
}

// An empty row is added as alpha times 0, where rows are summed. Kernels that add whole rows and then take away what
// does not count turn an infinity into a NaN; the others pass it over, as the test of the grid knows.
TEST(Csr, WhatIsNotFiniteShowsInItsRow) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  const struct {
    const char *kernels;
    double above, alpha;
    const char *nans;
  } cases[] = {
      {"ng__c__mvout_par ng__c__mmout_par ntlnc__mvout_par nslnc__mvout_par", 3, inf, ".N."},
      {"tg__c__mvout_par tg__c__mmout_par", 3, inf, "..."},
      {"ntlnc__mvout_par ntluc__mvout_par nsluc__mvout_par nal_c__mvout_par", inf, 10, "N.."},
      {"ntlnc__mmout_par ntluc__mmout_par nslnc__mmout_par nal_c__mmout_par", inf, 10, "N.."},
      {"ttlnc__mvout_seq ttlnc__mmout_par", inf, 10, "..N"},
  };
  for (const auto &c : cases) {
    std::istringstream words(c.kernels);
    for (std::string text; words >> text;) {
      text = "tnk_spblas_dcsr0" + text;
      EXPECT_EQ(nans(text, c.above, c.alpha), c.nans) << text;
      text[text.find('0')] = '1', text[text.find("c__")] = 'f';
      EXPECT_EQ(nans(text, c.above, c.alpha), c.nans) << text;
    }
  }
}

// Four sums over every fourth entry, combined one after another, whatever the number of right-hand sides that are
// computed together.
TEST(Csr, RowLayoutSumsInFours) {
  Random random;
  for (tnk_int sides = 1; sides <= 9; ++sides)
    for (tnk_int count = 0; count <= 11; ++count) {
      Vector a, b, c(sides), expected;
      std::vector<tnk_int> columns;
      for (tnk_int p = 0; p < 11; ++p) a.push_back(random.real<double>()), columns.push_back(10 - p);
      for (tnk_int p = 0; p < 11 * sides; ++p) b.push_back(random.real<double>());
      const tnk_int one = 1, start = 0;
      const double alpha = 0.7;
      tnk_spblas_dcsr0ng__c__mmout_par(&one, &sides, &one, &sides, &alpha, a.data(), columns.data(), &start,
                                       &count, b.data(), &sides, c.data(), &sides);
      for (tnk_int side = 0; side < sides; ++side) {
        const auto term = [&](tnk_int p) { return a[p] * b[columns[p] * sides + side]; };
        double s[4] = {};
        for (tnk_int p = 0; p < count / 4 * 4; ++p) s[p % 4] += term(p);
        double sum = ((s[0] + s[1]) + s[2]) + s[3];
        for (tnk_int p = count / 4 * 4; p < count; ++p) sum += term(p);
        expected.push_back(alpha * sum);
      }
      EXPECT_EQ(c, expected) << sides << " sides, entries " << count;
    }
}

template <class Form> struct CsrForms : InEachForm<Form> {};
TYPED_TEST_SUITE(CsrForms, Forms);

// However the rows are parted, each is summed once and in the order of the product with a vector. The argument n and
// the average that follows from the pointer base decide on the parts: in double precision none, none and some on
// both sides of the limit, three and two rows with some left for the last part, less than a row, and a divisor of 0.
TYPED_TEST(CsrForms, PartsMakeNoDifference) {
  USE_FORM;
  const I m = 23, sides = 3, entries = 314, one = 1;
  const struct {
    I n, average;
  } jobs[] = {{3, 13}, {61572, 13}, {61573, 13}, {62000, 13}, {100000, 13}, {300000, 13}, {-60000, 100000}};
  for (const auto &job : jobs) {
    std::vector<T> a, b, c(m * sides), expected(m * sides);
    std::vector<I> columns, start, end;
    const I base = job.average * m + 1 - entries;
    for (I i = 0; i < m; ++i) {
      start.push_back(base + static_cast<I>(a.size()));
      for (I k = 0; k < (i == 5 ? 0 : 3 + i); ++k)
        a.push_back(this->random.template number<T>()),
            columns.push_back(static_cast<I>(this->random.integer(1, m)));
      end.push_back(base + static_cast<I>(a.size()));
    }
    ASSERT_EQ(a.size(), entries);
    for (I k = 0; k < m * sides; ++k) b.push_back(this->random.template number<T>());
    const T alpha = this->random.template number<T>();
    this->call("?csr1ng__f__mmout_par", &one, &sides, &m, &job.n, &alpha, a.data(), columns.data(),
               start.data(), end.data(), b.data(), &m, c.data(), &m);
    for (I side = 0; side < sides; ++side)
      this->call("?csr1ng__f__mvout_par", &one, &m, &m, &alpha, a.data(), columns.data(), start.data(),
                 end.data(), b.data() + side * m, expected.data() + side * m);
    EXPECT_EQ(std::memcmp(c.data(), expected.data(), c.size() * sizeof(T)), 0) << job.n << " " << job.average;
  }
}

// The order of a row's sum: up to three entries in front of a 32-byte boundary, rounds of 16 in four accumulators of
// two lanes, what is left. Written out once more here, number by number. Entries beyond a triangle are summed alike,
// in rounds of 4 that fill only half of the accumulators.
double sum_in_order(const double *a, const double *x, tnk_int n, tnk_int peel, tnk_int round = 16) {
  double sum = 0;
  tnk_int p = 0;
  if (n - peel >= round) {
    for (; p < peel; ++p) sum += a[p] * x[p];
    double acc[8] = {};
    for (; n - p >= round; p += round)
      for (int k = 0; k < round; ++k) acc[k % 8] += a[p + k] * x[p + k];
    double lane[2];
    for (int k = 0; k < 2; ++k) lane[k] = (acc[k] + acc[2 + k]) + (acc[4 + k] + acc[6 + k]);
    sum += lane[0] + lane[1];
  }
  for (; p < n; ++p) sum += a[p] * x[p];
  return sum;
}

TEST(Csr, RowsAreSummedInTheirOrder) {
  Random random;
  for (tnk_int n = 0; n <= 70; ++n)
    for (std::size_t shift = 0; shift < 32; shift += 4) { // an odd multiple of 4 leaves no round at all
      Guarded<double> values(static_cast<std::size_t>(n), shift);
      Vector a(70), x(70);
      std::vector<std::int32_t> columns(70);
      for (std::int32_t j = 0; j < n; ++j) {
        a[j] = random.real<double>(), x[j] = random.real<double>(), columns[j] = j;
        values.put(j, a[j]);
      }
      const std::int32_t one = 1, start = 0, end = static_cast<std::int32_t>(n);
      const double alpha = 1;
      double y = 0;
      tnk_spblas_lp64_dcsr0ng__c__mvout_par(&one, &one, &one, &alpha, values.data(), columns.data(), &start,
                                            &end, x.data(), &y);
      const tnk_int peel = shift % 8 ? 70 : static_cast<tnk_int>((32 - shift) % 32 / 8);
      const double whole = sum_in_order(a.data(), x.data(), n, peel);
      EXPECT_EQ(y, whole) << n << " at " << shift;

      // The same entries as the row of a triangle that ends in their midst.
      constexpr std::int32_t row = 30;
      const std::vector<std::int32_t> starts(row, start), ends(row, end);
      for (const bool lower : {true, false}) {
        Vector outside = a, out(row);
        for (std::int32_t j = 0; j < n; ++j)
          if (lower ? j < row : j >= row - 1) outside[j] = 0;
        (lower ? tnk_spblas_lp64_dcsr0ntlnc__mvout_par : tnk_spblas_lp64_dcsr0ntunc__mvout_par)(
            &row, &row, &row, &alpha, values.data(), columns.data(), starts.data(), ends.data(), x.data(),
            out.data());
        EXPECT_EQ(out[row - 1], whole - sum_in_order(outside.data(), x.data(), n, peel, 4))
            << (lower ? "lower, " : "upper, ") << n << " at " << shift;
      }
    }
}

// alpha goes to the value, but in symmetric products with one vector to the element of x. The ones of a diagonal come
// last.
TEST(Coo, EntriesAreAddedInTheirOrderWithAlphaInItsPlace) {
  Random random;
  const tnk_int m = 20, count = 400, first = 7, last = 380, one = 1;
  const double alpha = 1.0 / 3;
  std::vector<double> values, x;
  std::vector<tnk_int> row, column;
  for (tnk_int k = 0; k < count; ++k) {
    values.push_back(random.real<double>());
    row.push_back(random.integer(0, m - 1)), column.push_back(random.integer(0, m - 1));
  }
  for (tnk_int i = 0; i < m; ++i) x.push_back(random.real<double>());
  for (const std::string &text : exported_names()) {
    const auto name = reference::decoded(text).value();
    if (name.storage != "coo" || name.type != 'd' || name.lp64 || name.mode != "par") continue;
    const bool mm = name.operation == "mm", whole = mm || name.kind == 't',
               alpha_to_x = name.kind == 's' && !mm;
    std::vector<double> y(m, 0.1), expected = y;
    const auto add = [&](tnk_int i, tnk_int j, double a) {
      expected[i] += alpha_to_x ? (alpha * x[j]) * a : (alpha * a) * x[j];
    };
    for (tnk_int k = whole ? 0 : first - 1; k < (whole ? count : last); ++k) {
      const double a = values[k];
      if (name.counts(row[k], column[k])) add(row[k], column[k], a);
      if (name.mirrors() && name.inside(row[k], column[k])) add(column[k], row[k], name.kind == 'a' ? -a : a);
    }
    for (tnk_int i = 0; i < m && name.diagonal == 'u'; ++i) add(i, i, 1);

    std::vector<tnk_int> rows = row, columns = column;
    for (tnk_int k = 0; k < count && name.base == '1'; ++k) ++rows[k], ++columns[k];
    const tnk_int ld = name.layout == 'c' ? 1 : m;
    GridArguments<double, tnk_int> a;
    a.first = mm ? &one : &first, a.last = mm ? &one : &last, a.m = &m, a.n = &m, a.count = &count,
    a.alpha = &alpha;
    a.values = values.data(), a.rows = rows.data(), a.columns = columns.data();
    a.x = x.data(), a.ldx = &ld, a.y = y.data(), a.ldy = &ld;
    a.call(dlsym(RTLD_DEFAULT, text.c_str()), name);
    EXPECT_EQ(y, expected) << text;
  }
}

} // namespace
