// What the products with compressed rows and with triples fix bit by bit: where alpha goes, what is added when, in which
// rounds and parts; and where a number that is not finite shows.
#include "reference/arithmetic.h"
#include "sparse/aux_form.h"
#include "sparse/grid_call.h"
#include "sparse/stored.h"
#include "support/error_recorder.h"
#include <cmath>
#include <cstring>
#include <sstream>
#include <tnk/spblas_grid.h>

namespace {

using namespace tnk::test;
using namespace tnk::reference;
using tnk::test::reference::GridName, tnk::test::reference::SparseEntry, tnk::test::reference::decoded;
using Vector = std::vector<double>;
template <class I> using Integers = std::vector<I>;

using Row = std::vector<std::pair<tnk_int, double>>;

// Every kind in its own expressions. Rows have at most two entries: no sum has an order but that of its two terms.
Vector by_expressions(const GridName &name, const std::vector<Row> &rows, double alpha, const Vector &x,
                      Vector y) {
  const bool unit = name.diagonal == 'u', skew = name.kind == 'a';
  const bool sweeps = name.operation == "mm" && (name.mirrors() || name.kind == 't');
  const auto inside = [&](tnk_int i, tnk_int j) { return name.inside(i, j); };
  const auto counts = [&](tnk_int i, tnk_int j) { return name.counts(i, j); };
  const auto outside = [&](tnk_int i, tnk_int j) { return !name.counts(i, j); };
  const auto whole = [](tnk_int, tnk_int) { return true; };
  const auto sum = [&](tnk_int i, auto taken, double factor) {
    double s = 0;
    for (const auto &[j, v] : rows[i])
      if (taken(i, j)) s += (factor * v) * x[j];
    return s;
  };
  for (tnk_int i = 0; i < tnk_int(rows.size()) && sweeps && name.op == 'n'; ++i) y[i] += sum(i, whole, alpha);
  for (tnk_int i = 0; i < tnk_int(rows.size()); ++i) {
    const double t = alpha * x[i];
    const auto scatter = [&](auto taken, double sign) {
      for (const auto &[j, v] : rows[i])
        if (taken(i, j)) y[j] += sign * (t * v);
    };
    if (name.kind == 'd' && unit) {
      y[i] += t;
    } else if (name.kind == 'd') {
      for (const auto &[j, v] : rows[i])
        if (i == j) y[i] += (alpha * v) * x[j];
    } else if (name.op == 't') {
      scatter(whole, 1);
      if (unit) y[i] += t;
      if (name.kind == 't') scatter(outside, -1);
    } else if (name.kind == 'g') {
      y[i] += alpha * sum(i, whole, 1);
    } else if (sweeps) {
      if (name.mirrors()) scatter(inside, skew ? -1 : 1);
      y[i] -= unit ? sum(i, outside, alpha) - t : sum(i, outside, alpha);
    } else if (name.kind == 't' && unit) {
      y[i] += alpha * sum(i, whole, 1);
      y[i] -= alpha * (sum(i, outside, 1) - x[i]);
    } else if (name.kind == 't') {
      y[i] += alpha * (sum(i, whole, 1) - sum(i, outside, 1));
    } else if (!unit && !skew) {
      scatter(inside, 1);
      y[i] += alpha * sum(i, counts, 1);
    } else {
      y[i] += alpha * sum(i, whole, 1);
      scatter(inside, skew ? -1 : 1);
      y[i] -= sum(i, outside, alpha);
      if (unit) y[i] += t;
    }
  }
  return y;
}

// In coordinates alpha goes to the value, but in symmetric products with one vector to the element of x. The ones of a
// diagonal come last.
Vector by_triples(const GridName &name, const std::vector<SparseEntry<double>> &entries, double alpha,
                  const Vector &x, Vector y) {
  const auto add = [&](tnk_int i, tnk_int j, double a) {
    y[i] += name.kind == 's' && name.operation == "mv" ? (alpha * x[j]) * a : (alpha * a) * x[j];
  };
  for (const auto &[i, j, a] : entries) {
    if (name.counts(i, j)) add(i, j, a);
    if (name.mirrors() && name.inside(i, j)) add(j, i, name.kind == 'a' ? -a : a);
  }
  for (tnk_int i = 0; i < tnk_int(y.size()) && name.diagonal == 'u'; ++i) add(i, i, 1);
  return y;
}

TEST(SparseRounding, AlphaIsInItsPlaceAndEntriesInTheirOrder) {
  Random random;
  const tnk_int m = 30, one = 1;
  const double alpha = 1.0 / 3;
  int tested = 0;
  for (const std::string &text : exported_names()) {
    const auto name = decoded(text).value();
    const bool rows = name.storage == "csr", mm = name.operation == "mm";
    if ((!rows && name.storage != "coo") || name.type != 'd' || name.lp64 || name.operation == "gemv" ||
        name.solves())
      continue;
    Stored<double, tnk_int> stored{name, random, [&](bool) { return random.real<double>(); }, m, m, 1};
    if (rows)
      stored.compress(0, false, 0, 2);
    else
      stored.list_triples(20, 20);
    Vector x, before(m, 0.1), y = before;
    for (tnk_int i = 0; i < m; ++i) x.push_back(random.real<double>());
    const bool whole = mm || name.kind == 't' || name.mode == "seq";
    const tnk_int ld = name.layout == 'c' ? 1 : m, first = rows || mm ? 1 : 7,
                  last = mm     ? 1
                         : rows ? m
                                : stored.count - 20;
    GridArguments<double, tnk_int> a;
    a.first = &first, a.last = &last, a.m = &m, a.n = a.sides = &one, a.count = &stored.count;
    a.alpha = &alpha, a.values = stored.values.data(), a.columns = stored.columns.data();
    a.rows = stored.rows.data(), a.row_end = stored.row_end.data();
    a.x = x.data(), a.ldx = &ld, a.y = y.data(), a.ldy = &ld;
    a.call(dlsym(RTLD_DEFAULT, text.c_str()), name);
    std::vector<Row> by_rows(m);
    for (const auto &e : stored.entries) by_rows[e.row].push_back({e.column, e.value});
    const auto begin = stored.entries.begin();
    EXPECT_EQ(y, rows    ? by_expressions(name, by_rows, alpha, x, before)
                 : whole ? by_triples(name, stored.entries, alpha, x, before)
                         : by_triples(name, {begin + first - 1, begin + last}, alpha, x, before))
        << text;
    ++tested;
  }
  EXPECT_EQ(tested, 72 + 52);
}

// Rounds in accumulators of 128 bits each, from `peel` on; before and behind them one by one.
template <class T>
T sum_in_rounds(const std::vector<T> &terms, std::size_t peel, std::size_t round,
                std::size_t accumulators = 4) {
  constexpr std::size_t lanes = 16 / sizeof(T);
  T sum{};
  std::size_t p = 0;
  if (terms.size() >= peel + round) {
    for (; p < peel; ++p) sum = sum + terms[p];
    T acc[4 * lanes] = {}, lane[4] = {};
    for (; terms.size() - p >= round; p += round)
      for (std::size_t k = 0; k < round; ++k) {
        T &to = acc[k % (accumulators * lanes)];
        to = to + terms[p + k];
      }
    for (std::size_t k = 0; k < lanes; ++k)
      lane[k] = (acc[k] + acc[lanes + k]) + (acc[2 * lanes + k] + acc[3 * lanes + k]);
    sum = sum + (lanes == 4   ? (lane[0] + lane[2]) + (lane[1] + lane[3])
                 : lanes == 2 ? lane[0] + lane[1]
                              : lane[0]);
  }
  for (; p < terms.size(); ++p) sum = sum + terms[p];
  return sum;
}

template <class Form> struct CsrForms : InEachForm<Form> {};
TYPED_TEST_SUITE(CsrForms, Forms);

// The last row of a triangle that ends in the midst of its entries. A row is summed in rounds of 16 numbers or 8 pairs
// from a 32-byte boundary of the values on; of twice as many where alpha is in the value. What is taken away again is
// summed in fours, in two accumulators: from the same boundary, or from the first entry. Numbers that are not aligned to
// their size are in no rounds, such pairs in rounds from the first one.
TYPED_TEST(CsrForms, RowsAreSummedInRounds) {
  USE_FORM;
  constexpr std::size_t round = is_pair<T> ? 8 : 16;
  const I row = 30, one = 1;
  for (std::size_t n = 0; n <= 70; ++n)
    for (std::size_t shift = 0; shift < 32; shift += 4)
      for (const bool lower : {true, false}) {
        const auto a = this->numbers(static_cast<I>(n)), x = this->numbers(70);
        const T alpha = this->numbers(1)[0];
        std::vector<T> y(row), c(row), general(row), plain, folded, plain_outside, folded_outside;
        Integers<I> columns, start(row, 0), end(row, 0);
        for (std::size_t p = 0; p < n; ++p) {
          columns.push_back(static_cast<I>(p) + 1);
          const bool outside = lower ? columns[p] > row : columns[p] < row;
          plain.push_back(a[p] * x[p]), folded.push_back((a[p] * alpha) * x[p]);
          plain_outside.push_back(outside ? plain[p] : T{}),
              folded_outside.push_back(outside ? folded[p] : T{});
        }
        end.back() = static_cast<I>(n);
        const Guarded<T> values(a, shift);
        const std::string grid = lower ? "?csr1ntlnf__" : "?csr1ntunf__";
        this->call(grid + "mvout_par", &row, &row, &row, &alpha, values, columns, start, end, x, y);
        for (const auto &[kernel, out] :
             {std::pair{grid + "mmout_par", &c}, {"?csr1ng__f__mmout_par", &general}})
          this->call(kernel, &one, &one, &row, &one, &alpha, values, columns, start, end, x, &row,
                     out->data(), &row);
        const std::size_t peel = shift % sizeof(T) == 0 ? (32 - shift) % 32 / sizeof(T) : is_pair<T> ? 0 : 99;
        const T sum = sum_in_rounds(plain, peel, round);
        SCOPED_TRACE(testing::Message() << n << " at " << shift << (lower ? ", lower" : ", upper"));
        EXPECT_TRUE(same(y.back(), T{} + alpha * (sum - sum_in_rounds(plain_outside, peel, 4, 2))));
        EXPECT_TRUE(
            same(c.back(), sum_in_rounds(folded, peel, 2 * round) - sum_in_rounds(folded_outside, 0, 4, 2)));
        EXPECT_TRUE(same(general.back(), T{} + alpha * sum));
      }
}

// Columns that jump about in a long vector are looked at ahead of their rows where one array of pointers says that these
// follow each other. No bit changes, and nothing is read behind the last column.
TYPED_TEST(CsrForms, JumpsDoNotShow) {
  USE_FORM;
  const I m = 17000, n = 300000, one = 1, sides = is_pair<T> ? 5 : 11;
  Integers<I> all, pointer{0};
  for (I i = 0; i < m; ++i) {
    for (auto left = this->random.integer(0, 2 * (is_pair<T> ? 8 : 16)); left > 0; --left)
      all.push_back(static_cast<I>(this->random.integer(1, n - 1)));
    pointer.push_back(static_cast<I>(all.size()));
  }
  const Integers<I> ends(pointer.begin() + 1, pointer.end());
  const Guarded<I> columns(all);
  const auto a = this->numbers(pointer.back()), x = this->numbers(n * sides);
  const T alpha = this->numbers(1)[0];
  for (const char *kernel :
       {"?csr0ng__c__mvout_par", "?csr0sg__c__mvout_par", "?csr0tg__c__mvout_par", "?csr0ntlnc__mvout_par",
        "?csr0ttuuc__mvout_seq", "?csr0nslnc__mvout_par", "?csr0nsunc__mvout_par", "?csr0ng__c__mmout_par",
        "?csr0tg__c__mmout_par", "?csr1ng__f__mmout_par", "?csr1tg__f__mmout_par"}) {
    if (kernel[5] == 's' && !is_pair<T>) continue;
    SCOPED_TRACE(kernel);
    const I ld = kernel[4] == '0' ? sides : n;
    const auto multiply = [&](const I *row_end) {
      std::vector<T> y(x.size(), T{});
      if (std::strstr(kernel, "seq"))
        this->call(kernel, &m, &alpha, a, columns, pointer, row_end, x, y);
      else if (std::strstr(kernel, "mv"))
        this->call(kernel, &one, &m, &m, &alpha, a, columns, pointer, row_end, x, y);
      else
        this->call(kernel, &one, &sides, &m, &n, &alpha, a, columns, pointer, row_end, x, &ld, y, &ld);
      return y;
    };
    const auto ahead = multiply(pointer.data() + 1), plain = multiply(ends.data());
    EXPECT_EQ(std::memcmp(ahead.data(), plain.data(), sizeof(T) * plain.size()), 0);
  }
}

// The same of triples, which are looked at ahead of themselves: halves of them, each too short for it, give the same bits.
TYPED_TEST(CsrForms, ScatteredTriplesDoNotShow) {
  USE_FORM;
  const I n = 300000, entries = 20000, one = 1, sides = 3;
  Integers<I> places[2];
  for (auto &numbers : places)
    for (I p = 0; p < entries; ++p) numbers.push_back(static_cast<I>(this->random.integer(1, n - 1)));
  const auto a = this->numbers(entries), x = this->numbers(n * sides);
  const T alpha = this->numbers(1)[0];
  for (const char *kernel : {"?coo0ng__c__mvout_par", "?coo0nslnc__mvout_par", "?coo0ng__c__mmout_par",
                             "?coo0nslnc__mmout_par", "?coo1ng__f__mmout_par", "?coo1nsunf__mmout_par"}) {
    SCOPED_TRACE(kernel);
    const I ld = kernel[4] == '0' ? sides : n;
    const auto multiply = [&](I count) {
      std::vector<T> y(x.size(), T{});
      for (I first = 0; first < entries; first += count) {
        const auto of = [&](const Integers<I> &all) {
          return Integers<I>(all.begin() + first, all.begin() + first + count);
        };
        const Guarded<I> rows(of(places[0])), columns(of(places[1]));
        if (std::strstr(kernel, "mv"))
          this->call(kernel, &one, &count, &n, &n, &alpha, a.data() + first, rows, columns, &count, x, y);
        else
          this->call(kernel, &one, &sides, &n, &n, &alpha, a.data() + first, rows, columns, &count, x, &ld, y,
                     &ld);
      }
      return y;
    };
    const auto ahead = multiply(entries), halves = multiply(entries / 2);
    EXPECT_EQ(std::memcmp(ahead.data(), halves.data(), sizeof(T) * halves.size()), 0);
  }
}

// Dense operands by rows: four sums over every fourth entry, combined one after another, whatever the number of
// right-hand sides that are computed together.
TYPED_TEST(CsrForms, RowLayoutSumsInFours) {
  USE_FORM;
  for (I sides = 1; sides <= 9; ++sides)
    for (I count = 0; count <= 11; ++count) {
      const auto a = this->numbers(11), b = this->numbers(11 * sides);
      const I columns[] = {10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}, one = 1, start = 0;
      const T alpha = this->numbers(1)[0];
      std::vector<T> c(sides);
      this->call("?csr0ng__c__mmout_par", &one, &sides, &one, &sides, &alpha, a, columns, &start, &count, b,
                 &sides, c, &sides);
      for (I side = 0; side < sides; ++side) {
        T s[4] = {}, sum{};
        for (I p = 0; p < count; ++p) {
          if (p == count / 4 * 4) sum = ((s[0] + s[1]) + s[2]) + s[3];
          T &to = p < count / 4 * 4 ? s[p % 4] : sum;
          to = to + a[p] * b[columns[p] * sides + side];
        }
        if (count % 4 == 0) sum = ((s[0] + s[1]) + s[2]) + s[3];
        EXPECT_TRUE(same(c[side], T{} + alpha * sum)) << sides << " sides, entries " << count;
      }
    }
}

// c is b, eight columns further on, and row i reads element i + 1, the last row the first element. Columns go in eights:
// so the second eight take up what the first have got, but for the last row of a part, which reads ahead of it. `rows`
// are those of a part at the smallest n that makes parts of the job; at the largest a part would have less than a row.
template <class T> void parts_are(const char *kernel, tnk_int n, tnk_int rows) {
  const tnk_int m = 100, average = 1000, base = m * average + 1 - m, one = 1, group = 8, sides = 2 * group;
  const T unit = number<T>(1);
  Integers<tnk_int> columns, start, end;
  for (tnk_int i = 0; i < m; ++i)
    columns.push_back((i + 1) % m + 1), start.push_back(base + i), end.push_back(base + i + 1);
  for (const auto &[announced, part] : {std::pair{n - 1, m}, {n, rows}, {tnk_int{100000000}, m}}) {
    const std::vector<T> values(m, unit);
    std::vector<T> memory((group + sides) * m);
    std::fill_n(memory.begin(), group * m, unit);
    Named<T>{kernel}(&one, &sides, &m, &announced, &unit, values, columns, start, end, memory, &m,
                     memory.data() + group * m, &m);
    for (tnk_int i = 0; i < m; ++i) {
      const bool ahead = (i + 1) % part == 0 && (i + 1) / part < m / part;
      EXPECT_TRUE(same(memory[2 * group * m + i], ahead ? T{} : unit))
          << kernel << ", n " << announced << ", row " << i;
    }
  }
}
TEST(CsrRounding, PartsAreThoseOfEachMember) {
  parts_are<float>("tnk_spblas_scsr1ng__f__mmout_par", 13500, 35);
  parts_are<double>("tnk_spblas_dcsr1ng__f__mmout_par", 12500, 16);
  parts_are<tnk_complex8>("tnk_spblas_ccsr1ng__f__mmout_par", 12500, 16);
  parts_are<tnk_complex8>("tnk_spblas_ccsr1sg__f__mmout_par", 6700, 25);
  parts_are<tnk_complex16>("tnk_spblas_zcsr1ng__f__mmout_par", 6700, 25);
  parts_are<tnk_complex16>("tnk_spblas_zcsr1sg__f__mmout_par", 6700, 25);
}

// Whether each element comes out as a NaN: of 2 at (1,1), `above` at (1,3), 4 at (3,1) and 5 at (3,3), the second row
// being empty, times 1, 2, 3.
std::string nans(const std::string &text, double above, double alpha) {
  const auto name = decoded(text).value();
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
TEST(CsrRounding, WhatIsNotFiniteShowsInItsRow) {
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

// In 32 bits the second row begins and ends beyond the largest number.
TEST(CsrRounding, RowPointersWrap) {
  const std::int32_t most = std::numeric_limits<std::int32_t>::max(), least = -most - 1, m = 2, one = 1,
                     ld = 2;
  const std::int32_t start[] = {most, least}, end[] = {least, least + 2}, columns[] = {1, 1, 2};
  const double alpha = 1, values[] = {2, 3, 4}, x[] = {1, 10};
  Vector y(2), c(2);
  Named<double>{"tnk_spblas_lp64_dcsr1ng__f__mvout_par"}(&one, &m, &m, &alpha, values, columns, start, end, x,
                                                         y);
  Named<double>{"tnk_spblas_lp64_dcsr1nslnf__mmout_par"}(&one, &one, &m, &one, &alpha, values, columns, start,
                                                         end, x, &ld, c, &ld);
  EXPECT_EQ(y, (Vector{2, 43}));
  EXPECT_EQ(c, (Vector{32, 43}));
}

// A diagonal of ones is left to the dense routine: at an alpha of 0 no NaN of x arrives, and what that would report of
// a negative size is no error here.
TEST(CsrRounding, DiagonalsOfOnesAreDenseSums) {
  const double none = 0, x[] = {std::numeric_limits<double>::quiet_NaN()};
  const tnk_int one = 1, negative = -1, zero = 0;
  ErrorRecorder errors;
  double y[] = {7};
  const double *const a = nullptr;
  const tnk_int *const i = nullptr;
  for (const tnk_int *m : {&one, &negative}) {
    Named<double>{"tnk_spblas_dcsr1nd_uf__mvout_seq"}(m, &none, a, i, i, i, x, y);
    Named<double>{"tnk_spblas_dcsr0nd_uc__mmout_seq"}(m, &one, &none, a, i, i, i, x, &one, y, &one);
    Named<double>{"tnk_spblas_dcoo0nd_uc__mvout_seq"}(m, m, &none, a, i, i, &zero, x, y);
    Named<double>{"tnk_spblas_dcoo1nd_uf__mmout_par"}(&one, &one, m, m, &none, a, i, i, &zero, x, &one, y,
                                                      &one);
    for (const char *skyline : {"tnk_spblas_dskymmkk", "tnk_spblas_dskymmsk"})
      if (m == &negative)
        Named<double>{skyline}(&zero, i, m, &one, &zero, &one, &none, a, i, x, &one, y, &one);
    EXPECT_EQ(y[0], 7);
  }
  EXPECT_EQ(errors.take().count, 0);
}

} // namespace
