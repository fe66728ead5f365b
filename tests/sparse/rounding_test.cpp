// What the compressed-row products fix bit by bit: where alpha goes, what is added when, in which rounds, and the parts
// of the product with several right-hand sides.
#include "reference/arithmetic.h"
#include "reference/sparse_grid.h"
#include "support/error_recorder.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/spblas_aux.h>
#include <tnk/spblas_grid.h>
#include <utility>

namespace {

using tnk::test::Guarded;
using tnk::test::Random;
using namespace tnk::reference;
using Vector = std::vector<double>;
template <class I> using Integers = std::vector<I>;

template <class... A> void call(const std::string &kernel, A... arguments) {
  void *const entry = dlsym(RTLD_DEFAULT, ("tnk_spblas_" + kernel).c_str());
  ASSERT_NE(entry, nullptr) << kernel;
  reinterpret_cast<void (*)(A...)>(entry)(arguments...);
}

using Row = std::vector<std::pair<std::size_t, double>>;

// Every kind in its own expressions. Rows have at most two entries: no sum has an order but that of its two terms.
Vector by_expressions(const tnk::test::reference::GridName &name, const std::vector<Row> &rows, double alpha,
                      const Vector &x, Vector y) {
  const bool unit = name.diagonal == 'u', lower = name.triangle == 'l', skew = name.kind == 'a';
  const bool mirrors = skew || name.kind == 's',
             sweeps = name.operation == "mm" && (mirrors || name.kind == 't');
  const auto inside = [&](std::size_t i, std::size_t j) { return lower ? j < i : j > i; };
  const auto outside = [&](std::size_t i, std::size_t j) { return i == j ? unit || skew : !inside(i, j); };
  const auto sum = [&](std::size_t i, auto counts, double factor) {
    double s = 0;
    for (const auto &[j, a] : rows[i])
      if (counts(i, j)) s += (factor * a) * x[j];
    return s;
  };
  const auto whole = [](std::size_t, std::size_t) { return true; };
  for (std::size_t i = 0; i < rows.size() && sweeps && name.op == 'n'; ++i) y[i] += sum(i, whole, alpha);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const double t = alpha * x[i];
    const auto scatter = [&](auto counts, double sign) {
      for (const auto &[j, a] : rows[i])
        if (counts(i, j)) y[j] += sign * (t * a);
    };
    if (name.kind == 'd' && unit) {
      y[i] += t;
    } else if (name.kind == 'd') {
      for (const auto &[j, a] : rows[i])
        if (i == j) y[i] += (alpha * a) * x[j];
    } else if (name.op == 't') {
      scatter(whole, 1);
      if (unit) y[i] += t;
      if (name.kind == 't') scatter(outside, -1);
    } else if (name.kind == 'g') {
      y[i] += alpha * sum(i, whole, 1);
    } else if (sweeps) {
      if (mirrors) scatter(inside, skew ? -1 : 1);
      y[i] -= unit ? sum(i, outside, alpha) - t : sum(i, outside, alpha);
    } else if (name.kind == 't' && unit) {
      y[i] += alpha * sum(i, whole, 1);
      y[i] -= alpha * (sum(i, outside, 1) - x[i]);
    } else if (name.kind == 't') {
      y[i] += alpha * (sum(i, whole, 1) - sum(i, outside, 1));
    } else if (!unit && !skew) {
      scatter(inside, 1);
      y[i] += alpha * sum(
                          i, [&](auto r, auto j) { return !outside(r, j); }, 1);
    } else {
      y[i] += alpha * sum(i, whole, 1);
      scatter(inside, skew ? -1 : 1);
      y[i] -= sum(i, outside, alpha);
      if (unit) y[i] += t;
    }
  }
  return y;
}

TEST(CsrRounding, AlphaIsWhereTheKindHasIt) {
  Random random;
  const tnk_int m = 30, one = 1;
  const double alpha = 1.0 / 3;
  std::vector<Row> rows(m);
  Vector values, x;
  Integers<tnk_int> start, columns[2];
  for (std::size_t i = 0; i < rows.size(); ++i) {
    start.push_back(static_cast<tnk_int>(values.size()));
    for (tnk_int k = random.integer(0, 2); k > 0; --k) {
      const tnk_int j = random.integer(0, 3) ? random.integer(0, m - 1) : static_cast<tnk_int>(i);
      values.push_back(random.real<double>());
      rows[i].push_back({static_cast<std::size_t>(j), values.back()});
      columns[0].push_back(j), columns[1].push_back(j + 1);
    }
    x.push_back(random.real<double>());
  }
  start.push_back(static_cast<tnk_int>(values.size()));
  std::ifstream file(TNK_TEST_SPARSE_EXPORTS);
  int tested = 0;
  for (std::string text; std::getline(file, text);) {
    const auto name = tnk::test::reference::decoded(text).value();
    if (name.storage != "csr" || name.type != 'd' || name.lp64 || name.operation == "gemv") continue;
    const Vector before(x.size(), 0.1);
    Vector y = before;
    const tnk_int *const c = columns[name.base - '0'].data(), *const s = start.data();
    const tnk_int ld = name.layout == 'c' ? 1 : m;
    const std::string kernel = text.substr(sizeof "tnk_spblas_" - 1);
    if (name.operation == "mv" && name.mode == "par")
      call(kernel, &one, &m, &m, &alpha, values.data(), c, s, s + 1, x.data(), y.data());
    else if (name.operation == "mv")
      call(kernel, &m, &alpha, values.data(), c, s, s + 1, x.data(), y.data());
    else if (name.mode == "par")
      call(kernel, &one, &one, &m, &one, &alpha, values.data(), c, s, s + 1, x.data(), &ld, y.data(), &ld);
    else
      call(kernel, &m, &one, &alpha, values.data(), c, s, s + 1, x.data(), &ld, y.data(), &ld);
    EXPECT_EQ(y, by_expressions(name, rows, alpha, x, before)) << text;
    ++tested;
  }
  EXPECT_EQ(tested, 72);
}

// Rounds of four accumulators, 128 bits each, from a 32-byte boundary on; before and behind them one by one.
template <class T> T sum_in_rounds(const std::vector<T> &terms, std::size_t peel, std::size_t round) {
  constexpr std::size_t lanes = 16 / sizeof(T);
  T sum{};
  std::size_t p = 0;
  if (terms.size() >= peel + round) {
    for (; p < peel; ++p) sum = sum + terms[p];
    T acc[4 * lanes] = {}, lane[4] = {};
    for (; terms.size() - p >= round; p += round)
      for (std::size_t k = 0; k < round; ++k) acc[k % (4 * lanes)] = acc[k % (4 * lanes)] + terms[p + k];
    for (std::size_t k = 0; k < lanes; ++k)
      lane[k] = (acc[k] + acc[lanes + k]) + (acc[2 * lanes + k] + acc[3 * lanes + k]);
    sum = sum + (lanes == 4   ? (lane[0] + lane[2]) + (lane[1] + lane[3])
                 : lanes == 2 ? lane[0] + lane[1]
                              : lane[0]);
  }
  for (; p < terms.size(); ++p) sum = sum + terms[p];
  return sum;
}

// A full last row of a lower triangle, so that nothing is taken away: rounds of 16 numbers or 8 pairs in the product
// with a vector, and of twice as many in that with several.
template <class T> void sums_in_rounds(const char *type) {
  constexpr std::size_t round = is_pair<T> ? 8 : 16, most = 70;
  Random random;
  for (std::size_t n = 0; n <= most; ++n)
    for (std::size_t shift = 0; shift < 32; shift += sizeof(T)) {
      const tnk_int m = most, one = 1;
      Guarded<T> values(n, shift);
      std::vector<T> x, y(most), c(most), plain, folded;
      Integers<tnk_int> columns, start(most, 0), end(most, 0);
      const T alpha = random.number<T>();
      for (std::size_t p = 0; p < n; ++p) {
        x.push_back(random.number<T>()), values.put(p, random.number<T>());
        columns.push_back(static_cast<tnk_int>(p) + 1);
        plain.push_back(values.get(p) * x[p]), folded.push_back((values.get(p) * alpha) * x[p]);
      }
      end.back() = static_cast<tnk_int>(n), x.resize(most);
      const std::string grid = std::string(type) + "csr1ntlnf__";
      call(grid + "mvout_par", &m, &m, &m, &alpha, values.data(), columns.data(), start.data(), end.data(),
           x.data(), y.data());
      call(grid + "mmout_par", &one, &one, &m, &one, &alpha, values.data(), columns.data(), start.data(),
           end.data(), x.data(), &m, c.data(), &m);
      const std::size_t peel = (32 - shift) % 32 / sizeof(T);
      const T sums[] = {T{} + alpha * sum_in_rounds(plain, peel, round),
                        sum_in_rounds(folded, peel, 2 * round)};
      EXPECT_TRUE(same(y.back(), sums[0])) << type << n << " at " << shift;
      EXPECT_TRUE(same(c.back(), sums[1])) << type << n << " at " << shift << ", several";
    }
}
TEST(CsrRounding, RowsAreSummedInRounds) {
  sums_in_rounds<float>("s");
  sums_in_rounds<double>("d");
  sums_in_rounds<tnk_complex8>("c");
  sums_in_rounds<tnk_complex16>("z");
}

// c is b, eight columns further on, and row i reads element i + 1, the last row the first element. Columns go in eights:
// so the second eight take up what the first have got, but for the last row of a part, which reads ahead of it. `rows`
// are those of a part at the smallest n that makes parts of the job.
template <class T> void parts_are(const char *kernel, tnk_int n, tnk_int rows) {
  const tnk_int m = 100, average = 1000, base = m * average + 1 - m, one = 1, group = 8, sides = 2 * group;
  const T unit = number<T>(1);
  Integers<tnk_int> columns, start, end;
  for (tnk_int i = 0; i < m; ++i)
    columns.push_back((i + 1) % m + 1), start.push_back(base + i), end.push_back(base + i + 1);
  for (const tnk_int part : {m, rows}) {
    const tnk_int announced = part == m ? n - 1 : n, parts = m / part;
    const std::vector<T> values(m, unit);
    std::vector<T> memory((group + sides) * m);
    std::fill_n(memory.begin(), group * m, unit);
    call(kernel, &one, &sides, &m, &announced, &unit, values.data(), columns.data(), start.data(), end.data(),
         memory.data(), &m, memory.data() + group * m, &m);
    for (tnk_int i = 0; i < m; ++i) {
      const bool ahead = (i + 1) % part == 0 && (i + 1) / part < parts;
      EXPECT_TRUE(same(memory[2 * group * m + i], ahead ? T{} : unit))
          << kernel << ", n " << announced << ", row " << i;
    }
  }
}
TEST(CsrRounding, PartsAreThoseOfEachMember) {
  parts_are<float>("scsr1ng__f__mmout_par", 13500, 35);
  parts_are<double>("dcsr1ng__f__mmout_par", 12500, 16);
  parts_are<tnk_complex8>("ccsr1ng__f__mmout_par", 12500, 16);
  parts_are<tnk_complex8>("ccsr1sg__f__mmout_par", 6700, 25);
  parts_are<tnk_complex16>("zcsr1ng__f__mmout_par", 6700, 25);
  parts_are<tnk_complex16>("zcsr1sg__f__mmout_par", 6700, 25);
}

// In 32 bits the second row begins and ends beyond the largest number.
TEST(CsrRounding, RowPointersWrap) {
  const std::int32_t most = std::numeric_limits<std::int32_t>::max(), least = -most - 1, m = 2, one = 1,
                     ld = 2;
  const std::int32_t start[] = {most, least}, end[] = {least, least + 2}, columns[] = {1, 1, 2};
  const double alpha = 1, values[] = {2, 3, 4}, x[] = {1, 10};
  Vector y(2), c(2);
  call("lp64_dcsr1ng__f__mvout_par", &one, &m, &m, &alpha, values, columns, start, end, x, y.data());
  call("lp64_dcsr1nslnf__mmout_par", &one, &one, &m, &one, &alpha, values, columns, start, end, x, &ld,
       c.data(), &ld);
  EXPECT_EQ(y, (Vector{2, 43}));
  EXPECT_EQ(c, (Vector{32, 43}));
}

// A diagonal of ones is left to the dense routine: at an alpha of 0 no NaN of x arrives, and what that would report of
// a negative size is no error here.
TEST(CsrRounding, DiagonalsOfOnesAreDenseSums) {
  const double none = 0, x[] = {std::numeric_limits<double>::quiet_NaN()};
  const tnk_int one = 1, negative = -1, zero = 0;
  tnk::test::ErrorRecorder errors;
  double y[] = {7};
  const double *const a = nullptr;
  const tnk_int *const i = nullptr;
  for (const tnk_int *m : {&one, &negative}) {
    call("dcsr1nd_uf__mvout_seq", m, &none, a, i, i, i, x, y);
    call("dcsr0nd_uc__mmout_seq", m, &one, &none, a, i, i, i, x, &one, y, &one);
    call("dcoo0nd_uc__mvout_seq", m, m, &none, a, i, i, &zero, x, y);
    call("dcoo1nd_uf__mmout_par", &one, &one, m, m, &none, a, i, i, &zero, x, &one, y, &one);
    for (const char *skyline : {"dskymmkk", "dskymmsk"})
      if (m == &negative) call(skyline, &zero, i, m, &one, &zero, &one, &none, a, i, x, &one, y, &one);
    EXPECT_EQ(y[0], 7);
  }
  EXPECT_EQ(errors.take().count, 0);
}

} // namespace
