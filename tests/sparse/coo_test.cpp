// What products with coordinates fix beyond their values: the order of additions and the place of alpha.
#include "sparse/grid_call.h"
#include "support/random.h"
#include <gtest/gtest.h>

namespace {

using namespace tnk::test;

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
