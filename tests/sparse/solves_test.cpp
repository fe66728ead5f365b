// Solves of the sparse grid: each kernel of the export list held against substitution, and what its letters fix besides:
// where pivots are sought, in which order terms come, what happens without memory.
#include "sparse/aux_form.h"
#include "sparse/grid_call.h"
#include "sparse/triangle.h"
#include "support/allocations.h"
#include <algorithm>
#include <cmath>
#include <tnk/spblas_grid.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

template <class T, class I>
std::string solve_trial(void *kernel, const GridName &name, I m, I most, Random &random) {
  const bool par = name.mode == "par", sm = name.operation == "sm";
  Triangle<T, I> a(name, m, most, random, true);
  // Diagonals of triples divide once each: a product of all of them stands for what they are.
  auto meant_entries = a.entries;
  GridName meant_name = name;
  if (name.kind == 'd') {
    std::vector<wide> product_of(static_cast<std::size_t>(m), 1);
    for (const auto &e : a.entries)
      if (e.row == e.column)
        product_of[static_cast<std::size_t>(e.row)] =
            product(product_of[static_cast<std::size_t>(e.row)], widened(e.value));
    meant_entries.clear();
    for (I i = 0; i < m; ++i)
      meant_entries.push_back({i, i, narrow<T>(product_of[static_cast<std::size_t>(i)])});
    meant_name.triangle = 'l', meant_name.diagonal = 'n';
  }
  const GridMatrix<T> meant(meant_name, m, m, meant_entries);
  const tnk_int count = sm ? random.integer(1, 19) : 1;
  Sides<T> y(m, count, name.layout == 'c', sm ? 2 : 0, random.integer(0, 1) ? page_end : 4);
  y.fill([&] { return random.number<T>(); });
  const Sides<T> b = y;

  I band_first = 0, band_last = 0, diag = 0;
  if (name.storage == "dia") {
    const I diagonals = static_cast<I>(a.rows.size());
    a.rows.push_back(0); // behind the last, for the search
    I status, span_first, span_last;
    Named<T>{std::string(sizeof(I) == 4 ? "tnk_spblas_lp64_" : "tnk_spblas_") + "find_diag_par_" +
             (name.kind == 'd' ? "ln" : std::string{name.triangle, name.diagonal})}(
        a.rows, &diagonals, &band_first, &band_last, &span_first, &span_last, &status);
    diag = name.triangle == 'u' ? span_first : span_last;
  }
  // Where each row begins at the end of the one before, one array may hold both.
  const bool one_array = name.storage == "csr" && random.integer(0, 1);
  if (name.storage == "csr" && !one_array) a.rows.pop_back();
  const Guarded<T> values(a.values);
  const Guarded<I> columns(a.columns), rows(a.rows), row_end(a.row_end);
  const I stride = static_cast<I>(a.stride), ldy = static_cast<I>(y.ld()), n = static_cast<I>(count),
          nnz = static_cast<I>(a.values.size());
  const T alpha = narrow<T>(name.storage == "csr" && name.kind == 'd' ? 2 : not_a_number);
  GridArguments<T, I> g;
  I first = 1, last = n;
  g.first = &first, g.last = &last, g.m = &m, g.n = &n, g.sides = &n, g.count = &nnz, g.stride = &stride;
  g.alpha = &alpha, g.values = values.data(), g.rows = rows.data(),
  g.row_end = one_array ? rows.data() + 1 : row_end.data();
  g.columns = columns.data(), g.y = y.data(), g.ldy = &ldy;
  // Of stored diagonals those that a name has no use for need not be told.
  if (name.kind != 'd') g.band_first = &band_first, g.band_last = &band_last;
  if (name.diagonal != 'u') g.diag = &diag;
  allocations.reset();
  if (par && sm) {
    last = 0;
    g.call(kernel, name);
    if (!y.same_as(b)) return "an empty piece does something";
    const tnk_int cut = random.integer(0, count);
    last = static_cast<I>(cut);
    g.call(kernel, name);
    first = last + 1, last = n;
  }
  g.call(kernel, name);
  if (allocations.live != 0 || allocations.overrun != 0) return "memory";

  for (tnk_int k = 0; k < count; ++k) {
    const wide factor = name.storage == "csr" && name.kind == 'd' ? -2 : -1;
    const std::string wrong =
        wrong_row<T>(meant.times(y.side(k)), std::vector<wide>(static_cast<std::size_t>(m)), 1,
                     scaled(factor, b.side(k)), 2);
    if (!wrong.empty()) return "side " + std::to_string(k) + ", " + wrong;
  }
  return y.intact() ? "" : "outside of the output";
}

template <class T, class I> std::string solve_trials(void *kernel, const GridName &name, Random &random) {
  struct Size {
    tnk_int m, most;
  };
  std::vector<Size> sizes = {{1, 3}, {2, 1}, {16, 20}, {33, 60}};
  if (name.type == 'd' && !name.lp64) {
    sizes.push_back({17, 5});
    if (name.storage == "csr" && name.operation == "sv")
      sizes.insert(sizes.end(), {{2001, 3}, {4001, 3}, {10001, 3}, {20001, 2}});
    if (name.storage == "csr" && name.operation == "sm") sizes.insert(sizes.end(), {{4001, 3}, {20001, 1}});
  }
  for (const auto [m, most] : sizes) {
    const std::string wrong =
        solve_trial<T, I>(kernel, name, static_cast<I>(m), static_cast<I>(most), random);
    if (!wrong.empty()) return std::to_string(m) + " rows: " + wrong;
  }
  return "";
}

TEST(SparseSolves, UndoTheProductOfTheirLetters) {
  Random random;
  int solves = 0;
  for (const std::string &text : exported_names()) {
    const GridName name = decoded(text).value();
    if (!name.solves()) continue;
    ++solves;
    void *const kernel = dlsym(RTLD_DEFAULT, text.c_str());
    ASSERT_TRUE(kernel) << text;
    const auto wrong = with_types(name, [&](auto zero, auto index) {
      return solve_trials<decltype(zero), decltype(index)>(kernel, name, random);
    });
    EXPECT_EQ(wrong, "") << text;
  }
  EXPECT_EQ(solves, 888);
}

using Vector = std::vector<double>;

// Compressed rows in double precision, base 1, pointers from 1.
struct Rows {
  tnk_int m() const { return static_cast<tnk_int>(start.size()); }
  Rows &row(std::initializer_list<std::pair<tnk_int, double>> entries) {
    start.push_back(static_cast<tnk_int>(values.size()) + 1);
    for (const auto &[j, v] : entries) columns.push_back(j), values.push_back(v);
    end.push_back(static_cast<tnk_int>(values.size()) + 1);
    return *this;
  }
  // With pointers in two arrays and, as rows adjoin, in one: the same bits.
  Vector sv(const std::string &letters, const Vector &b, double alpha = 3) const {
    const tnk_int rows = m();
    std::vector<tnk_int> both = start;
    both.push_back(end.back());
    Vector x[2] = {b, b};
    for (int k = 0; k < 2; ++k)
      Named<double>{"tnk_spblas_?csr1" + letters +
                    "f__svout_seq"}(&rows, &alpha, values, columns, k ? both.data() : start.data(),
                                    k ? both.data() + 1 : end.data(), x[k].data());
    EXPECT_EQ(x[0], x[1]) << letters;
    return x[0];
  }
  // As the only right-hand side of three.
  Vector sm(const std::string &letters, Vector y, double alpha = 3) const {
    const tnk_int rows = m(), one_side = 2, sides = 3;
    Vector c(y.size(), 77);
    c.insert(c.end(), y.begin(), y.end());
    c.insert(c.end(), y.size(), 77);
    Named<double>{"tnk_spblas_?csr1" + letters + "f__smout_par"}(&one_side, &one_side, &rows, &sides, &alpha,
                                                                 values, columns, start, end, c, &rows);
    EXPECT_TRUE(c.front() == 77 && c.back() == 77);
    return Vector(c.begin() + rows, c.begin() + 2 * rows);
  }
  std::vector<tnk_int> columns, start, end;
  Vector values;
};

// Pivots are found by their places, as the header says.
TEST(SparseSolves, PivotsStandWhereTheSearchStops) {
  const double nan = not_a_number;
  const struct {
    const char *letters;
    Rows rows;
    Vector b, x;
  } cases[] = {
      // lower: what is behind the stop does not count, be it repeated or not
      {"ntln", Rows().row({{1, 2}, {2, nan}}).row({{1, 1}, {2, 4}, {2, nan}}), {2, 9}, {1, 2}},
      // no diagonal: the next entry there is, above it or in the next row; an empty row has the pivot of the one before
      {"ntln", Rows().row({{1, 2}}).row({{1, 1}, {3, 4}}).row({{3, 1}}), {2, 9, 5}, {1, 2, 5}},
      {"ntln", Rows().row({{1, 2}}).row({{1, 1}}).row({{3, 4}}), {2, 9, 8}, {1, 2, 2}},
      {"ntln", Rows().row({{1, 2}}).row({}).row({{3, 4}}), {2, 6, 8}, {1, 3, 2}},
      {"ntln", Rows().row({}).row({{2, 4}}), {8, 8}, {2, 2}},
      {"ntlu", Rows().row({{1, nan}}).row({{1, 2}, {3, nan}}).row({}), {1, 5, 7}, {1, 3, 7}},
      // upper: entries below are passed over; an empty row takes the next value there is, for row 1 that of row 2
      {"ntun", Rows().row({{1, 2}, {2, 3}}).row({{1, nan}, {2, 4}}), {8, 8}, {1, 2}},
      {"ntun", Rows().row({}).row({{2, 4}}), {8, 8}, {2, 2}},
      {"ntuu", Rows().row({{2, 3}}).row({{1, nan}, {2, nan}}), {8, 2}, {2, 2}},
      {"ntuu", Rows().row({{1, nan}, {2, 3}}).row({{1, nan}}), {8, 2}, {2, 2}},
      // transposed: sought from the end, or from the start
      {"ttln", Rows().row({{1, 2}, {2, nan}}).row({{1, 3}, {2, 4}}), {8, 8}, {1, 2}},
      {"ttlu", Rows().row({{1, nan}}).row({{1, 3}}), {8, 2}, {2, 2}},
      {"ttlu", Rows().row({}).row({{1, 3}, {2, nan}}), {8, 2}, {2, 2}},
      {"ttun", Rows().row({{1, 2}, {2, 3}}).row({{1, nan}, {2, 4}}), {2, 11}, {1, 2}},
      {"ttuu", Rows().row({{2, 3}}).row({{2, nan}}), {2, 8}, {2, 2}},
      // a diagonal, with alpha 3
      {"nd_n", Rows().row({{1, 2}, {2, nan}}).row({{1, nan}, {2, 4}}), {2, 4}, {3, 3}},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(c.rows.sv(c.letters, c.b), c.x) << c.letters;
    EXPECT_EQ(c.rows.sm(c.letters, c.b), c.x) << c.letters << " of several";
  }
  EXPECT_TRUE(std::isinf(Rows().row({{1, 0}}).sv("ntln", {1})[0])) << "a zero pivot";
}

TEST(SparseSolves, TermsComeInTheirOrder) {
  Random random;
  for (int trial = 0; trial < 50; ++trial) {
    Rows a, upper;
    const tnk_int m = random.integer(1, 40);
    for (tnk_int i = 1; i <= m; ++i) {
      a.row({}), upper.row({});
      for (Rows *const rows : {&a, &upper}) {
        const bool lower = rows == &a;
        for (tnk_int j = lower ? 1 : i; j <= (lower ? i : m); ++j)
          if (j == i || random.integer(0, 2) == 0)
            rows->columns.push_back(j),
                rows->values.push_back(j == i ? 3 + random.real<double>() : random.real<double>());
        rows->end.back() = static_cast<tnk_int>(rows->values.size()) + 1;
      }
    }
    Vector b(static_cast<std::size_t>(m));
    for (double &v : b) v = random.real<double>();
    const auto each = [](const Rows &rows, tnk_int i, auto visit) {
      for (tnk_int k = rows.start[i] - 1; k < rows.end[i] - 1; ++k)
        visit(rows.columns[k] - 1, rows.values[k]);
    };
    Vector y = b;
    for (tnk_int i = 0; i < m; ++i) {
      double sum = 0;
      each(a, i, [&](tnk_int j, double v) { j < i ? sum += y[j] * v : y[i] = (y[i] - sum) * (1 / v); });
    }
    EXPECT_EQ(a.sm("ntln", b), y);
    for (const auto &[rows, letters] : {std::pair{&a, "ntln"}, {&upper, "ntun"}}) { // several without memory
      allocations.reset(), allocations.refuse = 1;
      EXPECT_EQ(rows->sm(letters, b), rows->sv(letters, b));
      EXPECT_EQ(allocations.live, 0);
    }
    Vector down = b, up = b;
    for (tnk_int i = m - 1; i >= 0; --i) { // from the end of the row
      down[i] /= a.values[a.end[i] - 2];
      for (tnk_int k = a.end[i] - 3; k >= a.start[i] - 1; --k)
        down[a.columns[k] - 1] += (0 - down[i]) * a.values[k];
    }
    for (tnk_int i = 0; i < m; ++i)
      each(upper, i, [&](tnk_int j, double v) {
        if (j == i)
          up[i] /= v;
        else
          up[j] += (0 - up[i]) * v;
      });
    for (const char *several : {"", "several"}) {
      EXPECT_EQ(*several ? a.sm("ttln", b) : a.sv("ttln", b), down) << several;
      EXPECT_EQ(*several ? upper.sm("ttun", b) : upper.sv("ttun", b), up) << several;
    }
  }
}

// Rows of 0 to 13 entries besides the pivot, some with what is beyond it, some without order or pivot; in the second
// cache and out of it.
TEST(SparseSolves, RowsOfEveryLengthAndShape) {
  Random random;
  for (const tnk_int m : {200, 9000})
    for (const bool lower : {true, false})
      for (const bool unit : {false, true}) {
        Rows a;
        Vector b;
        for (tnk_int i = 1; i <= m; ++i) {
          b.push_back(random.real<double>());
          a.row({});
          std::vector<tnk_int> row;
          const tnk_int side = lower ? i - 1 : m - i, count = std::min<tnk_int>(random.integer(0, 13), side);
          for (tnk_int k = 1; k <= count; ++k) {
            const tnk_int away = side * k / count - random.integer(0, side / count - 1);
            row.push_back(lower ? i - away : i + away);
          }
          const tnk_int shape = random.integer(0, 9);
          if (!unit || shape < 5) row.push_back(i);
          if (shape == 0 || shape == 2) row.push_back(lower ? m + 1 - i : 1 + i / 2);
          if (shape == 1) row.clear();
          std::sort(row.begin(), row.end());
          if (shape == 2) std::rotate(row.begin(), row.begin() + row.size() / 2, row.end());
          for (const tnk_int j : row)
            a.columns.push_back(j), a.values.push_back(j == i ? 20 : random.real<double>());
          a.end.back() = static_cast<tnk_int>(a.values.size()) + 1;
        }
        a.columns.push_back(0), a.values.push_back(20); // the pivot of a last row that has none
        Vector y = b;
        tnk_int k = 0;
        for (tnk_int step = 1; step <= m; ++step) {
          const tnk_int i = lower ? step : m + 1 - step, from = a.start[i - 1] - 1, end = a.end[i - 1] - 1;
          double sum = 0;
          if (!lower || from < end || i == 1) k = from;
          for (; k < end && from < end && a.columns[k] < i; ++k)
            if (lower) sum += a.values[k] * y[a.columns[k] - 1];
          for (tnk_int p = unit && k < end && a.columns[k] != i ? k : k + 1; !lower && p < end; ++p)
            sum += a.values[p] * y[a.columns[p] - 1];
          y[i - 1] = unit ? y[i - 1] - sum : (y[i - 1] - sum) / a.values[k];
        }
        EXPECT_EQ(a.sv(std::string("nt") + (lower ? "l" : "u") + (unit ? "u" : "n"), b), y) << m;
      }
}

// A row's triples in rounds of four; refused any of its blocks, the kernel makes do with what is no solution.
TEST(SparseSolves, TriplesInRoundsAndWithoutMemory) {
  Random random;
  for (const bool upper : {false, true}) {
    const tnk_int m = 23, one_side = 1;
    std::vector<tnk_int> rows, columns;
    Vector values, b, none;
    for (tnk_int i = 1; i <= m; ++i) {
      b.push_back(random.real<double>());
      for (tnk_int j = 1; j <= m; ++j)
        if (j == i || random.integer(0, 1))
          rows.push_back(i), columns.push_back(j), values.push_back(i == j ? 9 : random.real<double>());
    }
    const tnk_int nnz = static_cast<tnk_int>(values.size());
    const auto call = [&](const std::string &operation) {
      const std::string name = std::string("tnk_spblas_?coo1nt") + (upper ? "u" : "l") + "nf__" + operation;
      const tnk_int unread = -1;
      Vector y = b;
      if (operation == "svout_seq")
        Named<double>{name}(&m, &unread, none, values, rows, columns, &nnz, none, y);
      else
        Named<double>{name}(&one_side, &one_side, &m, &unread, none, values, rows, columns, &nnz, y, &m);
      return y;
    };
    const auto counts = [&](tnk_int e) { return upper ? columns[e] > rows[e] : columns[e] < rows[e]; };
    Vector y = b, makeshift = b;
    for (tnk_int step = 0; step < m; ++step) {
      const tnk_int i = upper ? m - 1 - step : step;
      std::vector<double> terms;
      double all = 0, last = 0;
      for (tnk_int e = 0; e < nnz; ++e) {
        if (counts(e)) all += makeshift[columns[e] - 1] * values[e];
        if (counts(e) && rows[e] == i + 1) terms.push_back(y[columns[e] - 1] * values[e]);
        if (columns[e] == rows[e]) last = values[e];
      }
      double part[4] = {}, sum;
      std::size_t k = 0;
      for (; k + 4 <= terms.size(); k += 4)
        for (std::size_t q = 0; q < 4; ++q) part[q] += terms[k + q];
      sum = ((part[0] + part[1]) + part[2]) + part[3];
      for (; k < terms.size(); ++k) sum += terms[k];
      y[i] = (y[i] - sum) / 9;
      makeshift[i] = (makeshift[i] - all) / last;
    }
    for (const char *operation : {"svout_seq", "smout_par"}) {
      EXPECT_EQ(call(operation), y) << operation;
      for (int refused = 1; refused <= 5; ++refused) {
        allocations.reset(), allocations.refuse = refused;
        EXPECT_EQ(call(operation), makeshift) << operation << refused;
        EXPECT_EQ(allocations.live, 0);
      }
      allocations.reset();
      call(operation);
      EXPECT_EQ(allocations.made, 5);
    }
  }
}

// Pivots whose squares no number holds.
TEST(SparseSolves, ComplexPivotsNeitherOverflowNorVanish) {
  const tnk_int m = 1, position = 1, next = 2;
  for (const double size : {1e200, 1e-200}) {
    tnk_complex16 a = {size, size}, y = {2 * size, 0};
    const tnk_complex16 alpha = {2 * size, 0};
    tnk_spblas_zcsr1ntlnf__svout_seq(&m, &alpha, &a, &position, &position, &next, &y);
    EXPECT_TRUE(y.re == 1 && y.im == -1) << size;
    y = {1, 0};
    tnk_spblas_zcsr1cd_nf__svout_seq(&m, &alpha, &a, &position, &position, &next, &y);
    EXPECT_TRUE(y.re == 1 && y.im == 1) << size;
    tnk_complex8 b = {static_cast<float>(size > 1 ? 1e30 : 1e-30), 0}, x = b;
    tnk_spblas_ccsr1ttunf__svout_seq(&m, &x, &b, &position, &position, &next, &x);
    EXPECT_TRUE(x.re == 1 && x.im == 0);
  }
}

} // namespace
