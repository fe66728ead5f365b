// The functions beside the grid: products, divisions and sweeps of block rows, and skyline products, of small integers, so
// that products are exact; what prepares operands and brings results together.
#include "reference/arithmetic.h"
#include "sparse/aux_form.h"
#include "sparse/stored.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace {

using namespace tnk::test;
using reference::GridMatrix, reference::GridName, reference::SparseEntry;

constexpr int transposed = TNK_SPBLAS_TRANSPOSED, upper = TNK_SPBLAS_UPPER, unit = TNK_SPBLAS_UNIT;

GridName matrix(char kind, int flags = 0) {
  return reference::matrix_named(flags & transposed ? 't' : 'n', kind, flags & upper ? 'u' : 'l',
                                 flags & unit ? 'u' : 'n');
}

template <class Form> struct SparseAux : InEachForm<Form> {
  using Number = typename Form::first_type;
  using Index = typename Form::second_type;
  using Entries = std::vector<SparseEntry<Number>>;

  Sides<Number> sides(bool by_rows, Index size, Index count, Index spare) {
    Sides<Number> all(size, count, by_rows, spare);
    all.fill([&] { return narrow<Number>(this->small()); });
    return all;
  }
  // c + alpha A b
  static void expect_product(const GridMatrix<Number> &a, Number alpha, const Sides<Number> &b,
                             const Sides<Number> &c, Sides<Number> &got) {
    for (tnk_int k = 0; k < b.count(); ++k) {
      const auto sums = a.times(b.side(k));
      const auto before = c.side(k), after = got.side(k);
      for (tnk_int i = 0; i < a.rows; ++i)
        ASSERT_EQ(after[i], before[i] + widened(alpha) * sums[i].value) << i << ", side " << k;
    }
    EXPECT_TRUE(got.intact());
  }

  // Rows of m by m blocks.
  using Blocks = Stored<Number, Index>;
  Blocks blocks(GridName name, Index m, Index size, bool by_rows, Index least = 0,
                long double on_diagonal = 0) {
    if (!by_rows) name.base = '1', name.layout = 'f';
    const auto number = [=](bool is_diagonal) {
      return narrow<Number>(this->small() + (is_diagonal ? on_diagonal : 0));
    };
    Blocks a{name, this->random, number, m, m, size};
    a.compress(this->random.integer(0, 1), false, least, 6);
    return a;
  }
};
TYPED_TEST_SUITE(SparseAux, Forms);

TYPED_TEST(SparseAux, OfBlockRows) {
  USE_FORM;
  const struct {
    char kind;
    std::string name;
    int heeds;
  } kinds[] = {{'g', "gen", transposed},
               {'d', "diag", unit},
               {'s', "sym", upper | unit},
               {'a', "skew", transposed | upper},
               {'t', "tr", transposed | upper | unit}};
  for (const auto &[kind, name, heeds] : kinds)
    for (bool by_rows : {false, true})
      for (I size : {1, 2, 3, 5, 13})
        for (int variant = 0; variant < 16; ++variant) {
          const I flag = variant % 8;
          const GridName meant = matrix(kind, variant & heeds);
          const bool vector = variant >= 8; // without gaps
          const I m = 4, n = m * size, nrhs = vector ? 1 : 3;
          const auto a = this->blocks(meant, m, size, by_rows);
          const auto b = this->sides(by_rows, n, nrhs, vector ? 0 : 1);
          const auto c = this->sides(by_rows, n, nrhs, vector ? 0 : 2);
          auto got = c;
          const I ldb = b.ld(), ldc = c.ld();
          const T alpha = narrow<T>(this->pair(2, 1));
          SCOPED_TRACE(name + (by_rows ? " by rows " : " by columns ") + std::to_string(flag));
          this->call((by_rows ? "cspblas_?bsrmm" : "?bsrmm") + name, &flag, &m, &nrhs, &size, &alpha,
                     a.values, a.columns, a.rows, a.row_end, b, &ldb, got, &ldc);
          this->expect_product(GridMatrix(meant, n, n, a.entries), alpha, b, c, got);
        }
}

// A whole product put together from those of single blocks.
TYPED_TEST(SparseAux, OfOneBlock) {
  USE_FORM;
  for (bool by_rows : {false, true})
    for (I size : {0, 1, 2, 3, 4, 7}) {
      const I m = 3, n = m * size;
      const auto a = this->blocks(matrix('g'), m, size, by_rows);
      const auto b = this->sides(false, n, 1, 0), c = this->sides(false, n, 1, 0);
      auto got = c;
      for (I i = 0; i < m; ++i)
        for (I p = a.rows[i] - a.rows[0]; p < a.row_end[i] - a.rows[0]; ++p) {
          const I offset_a = p * size * size, offset_x = (a.columns[p] - !by_rows) * size;
          this->call(by_rows ? "cspblas_?bsrbv" : "?bsrbv", &size, &offset_a, &offset_x, a.values, b,
                     got.data() + i * size);
        }
      this->expect_product(GridMatrix(matrix('g'), n, n, a.entries), narrow<T>(1), b, c, got);
    }
}

// Of which the product is positive.
TYPED_TEST(SparseAux, NegativeSizesDoNothing) {
  USE_FORM;
  const I negative = -1, flag = unit, one = 1, *const none = nullptr;
  const T alpha = narrow<T>(1), x[] = {alpha}, *const no_values = nullptr;
  T y[] = {alpha};
  this->call("?bsrmmdiag", &flag, &negative, &one, &negative, &alpha, no_values, none, none, none, x, &one, y,
             &one);
  this->call("?bsr_gauss", &flag, &negative, &negative, no_values, none, none, none, x, y);
  EXPECT_EQ(widened(y[0]), wide(1));
}

// Diagonal blocks second, absent (the last one serves) and twice (the first one serves); an empty row.
TYPED_TEST(SparseAux, DivideByDiagonals) {
  USE_FORM;
  for (I base : {0, 1}) {
    const I m = 4, size = 2, start[] = {7, 9, 11, 11}, end[] = {9, 11, 11, 14};
    const I columns[] = {1 + base, base, base, 2 + base, base, 3 + base, 3 + base};
    std::vector<T> values(28, narrow<T>(not_a_number)), work(8, narrow<T>(this->pair(6, 2)));
    for (I block : {1, 3, 5})
      for (I j : {0, 1})
        values[block * 4 + j * 3] = narrow<T>(TestFixture::real ? 2 : wide(block + j, block + j));
    std::vector<T> got = work;
    for (I flag : {0, 1})
      this->call(base ? "?bsr_invdiag" : "?bsr_cspblas_invdiag", &m, &flag, &size, values, columns, start,
                 end, got);
    for (I k = 0; k < 8; ++k) {
      const wide d = k / 2 == 2 ? 1 : widened(values[(k / 2 == 3 ? 5 : 1 + k / 2 * 2) * 4 + k % 2 * 3]);
      EXPECT_LE(std::abs(widened(got[k]) - widened(work[k]) / d), 4 * TestFixture::eps * 7) << k;
    }
  }
}

// (D + L) x_new + U x_old = rhs, within the rounding of a row's sum; or backwards. Forms by columns are given the
// residual of x_old and leave that of x_new.
TYPED_TEST(SparseAux, SweepsAreThoseOfTheElements) {
  USE_FORM;
  for (const std::string form : {"bsr_", "bsc_", "bsr_cspblas_", "bsc_cspblas_"})
    for (I flag : {0, 1}) {
      const bool by_rows = form.size() > 4, by_columns = form[2] == 'c';
      const I m = 4, size = 3, n = m * size;
      auto stored = this->blocks(matrix('g'), m, size, by_rows, 1, 20);
      if (by_columns) // block rows are columns then
        for (auto &e : stored.entries) {
          const tnk_int down = e.row % size, right = e.column % size;
          std::swap(e.row -= down, e.column -= right), e.row += down, e.column += right;
        }
      GridName others = matrix('t', flag ? 0 : upper);
      others.diagonal = '_';
      const GridMatrix a(matrix('g'), n, n, stored.entries),
          swept(matrix('t', flag ? upper : 0), n, n, stored.entries), left(others, n, n, stored.entries);
      const auto rhs = this->smalls(n);
      auto x = this->smalls(n), right = rhs;
      const auto of = [&](const GridMatrix<T> &part) {
        std::vector<wide> v;
        for (const T e : x) v.push_back(widened(e));
        return part.times(v);
      };
      const auto of_old = of(a), left_of_old = of(left);
      for (I i = 0; by_columns && i < n; ++i) right[i] = narrow<T>(widened(rhs[i]) - of_old[i].value);
      this->call("?" + form + "gauss", &flag, &m, &size, stored.values, stored.columns, stored.rows,
                 stored.row_end, right, x);
      const auto of_new = of(a), swept_of_new = of(swept);
      for (I i = 0; i < n; ++i) {
        const wide wanted = widened(rhs[i]);
        const auto bound = 4 * n * TestFixture::eps * (of_new[i].size + of_old[i].size + std::abs(wanted));
        EXPECT_LE(std::abs(swept_of_new[i].value + left_of_old[i].value - wanted), bound)
            << form << flag << i;
        if (by_columns) {
          EXPECT_LE(std::abs(wanted - of_new[i].value - widened(right[i])), bound) << form << i;
        }
      }
    }
}

TYPED_TEST(SparseAux, OfSkylines) {
  USE_FORM;
  for (const auto &[kind, name] : {std::pair{'g', "gk"}, {'t', "kk"}, {'s', "sk"}})
    for (int flags = 0; flags < 16; ++flags) {
      const I flag = flags & transposed, is_upper = flags & upper, bare = flags & unit, m = 9, nrhs = 2;
      std::vector<I> pointer{flags >> 3};
      for (I i = 0; i < m; ++i)
        pointer.push_back(pointer[i] + (i == 4 ? 0 : static_cast<I>(this->random.integer(1, i + 1))));
      auto values = this->smalls(pointer[m] - pointer[0]);
      typename TestFixture::Entries entries;
      for (I i = 0; i < m; ++i)
        for (I j = i, p = pointer[i + 1] - 1; p >= pointer[i]; --j, --p) {
          T &value = values[p - pointer[0]];
          if (i == j && bare)
            value = narrow<T>(not_a_number); // zero, or one where there are triangles
          else
            entries.push_back({is_upper ? j : i, is_upper ? i : j, value});
        }
      const auto b = this->sides(false, m, nrhs, 1), c = this->sides(false, m, nrhs, 2);
      auto got = c;
      const I ldb = b.ld(), ldc = c.ld();
      const T alpha = narrow<T>(this->pair(2, 1));
      SCOPED_TRACE(name + std::to_string(flags));
      this->call(std::string("?skymm") + name, &flag, nullptr, &m, &nrhs, &is_upper, &bare, &alpha, values,
                 pointer, b, &ldb, got, &ldc);
      this->expect_product(GridMatrix(matrix(kind, flags), m, m, entries), alpha, b, c, got);
    }
}

// Rows beyond a block of them, mirrored into rows of the block before. Of double precision alone.
TYPED_TEST(SparseAux, OfSymmetricRows) {
  USE_FORM;
  const auto small = [&](bool = false) { return static_cast<double>(this->random.integer(-3, 3)); };
  const I m = 30004;
  for (I flag : {0, upper, unit, upper | unit}) {
    Stored<double, I> a{matrix('s', static_cast<int>(flag)), this->random, small, m, m, 1};
    a.name.base = '1';
    a.compress(0, true, 0, 6);
    std::vector<double> x, y(m, 1);
    for (I i = 0; i < m; ++i) x.push_back(small());
    this->call("dcsrsymmvs", &flag, &m, a.values, a.columns, a.rows, x, y);
    const auto sums = GridMatrix(a.name, m, m, a.entries).times({x.begin(), x.end()});
    for (I i = 0; i < m; ++i) ASSERT_EQ(wide(y[i]), 1.0L + sums[i].value) << flag << ' ' << i;
  }
}

TYPED_TEST(SparseAux, ScalarsAndClearing) {
  USE_FORM;
  for (const auto &[value, flag] : {std::pair{0., 0}, {-0., 0}, {not_a_number, 1}, {2., 1}}) {
    T v = narrow<T>(value);
    I got = 7;
    this->call("?zerocheck", &v, &got);
    EXPECT_EQ(got, flag) << value;
    this->call("?neones", &v);
    EXPECT_TRUE(std::isnan(value) ? std::isnan(widened(v).real()) : widened(v) == wide(-value));
    EXPECT_TRUE(value != 0 || (!std::signbit(widened(v).real()) && !std::signbit(widened(v).imag())));
    this->call("?ones", &v);
    EXPECT_EQ(widened(v), wide(1));
  }
  std::vector<T> v(5, narrow<T>(this->pair(-1, 1))), expected(5, T{});
  expected[4] = v[4];
  for (I count : {I(-1), I(0), I(4)}) this->call("?zeros", v, &count);
  EXPECT_EQ(std::memcmp(v.data(), expected.data(), sizeof(T) * v.size()), 0);
}

TYPED_TEST(SparseAux, SortsRowsKeepingEqualColumns) {
  USE_FORM;
  const std::vector<I> pointer{1, 3, 3, 12, 13, 16}, original{9, 8, 5, 1, 5, 3, 3, 9, 1, 2, 5, 7, 3, 2, 1};
  std::vector<I> columns = original;
  std::vector<T> values;
  for (int k = 0; k < 15; ++k) values.push_back(narrow<T>(k));
  const I first = 2, last = 4;
  this->call("?sortrow", &first, &last, pointer, columns, values);
  std::vector<I> order(15);
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin() + 2, order.begin() + 11,
                   [&](I a, I b) { return original[a] < original[b]; });
  for (std::size_t k = 0; k < 15; ++k) {
    EXPECT_EQ(columns[k], original[order[k]]);
    EXPECT_EQ(widened(values[k]), wide(order[k]));
  }
}

// Sums of numbers that round, so that their order shows.
TYPED_TEST(SparseAux, AddsPrivateOutputsInTheirOrder) {
  USE_FORM;
  using tnk::reference::operator+; // rounds once, parts apart
  for (I count : {0, 1, 2, 3, 7, 99, 100, 103})
    for (I parts : {0, 1, 2, 4}) {
      const I step = 3, stride = count + 2, room = (count + 3 * step + 9) * 6;
      std::vector<std::vector<T>> memory;
      for (int part = 0; part < 6; ++part) memory.push_back(this->numbers(room));
      std::vector<T> y[3] = {memory[5], memory[5], memory[5]}, expected[3] = {y[0], y[1], y[2]};
      const T *const addresses[5] = {memory[0].data(), memory[1].data(), memory[2].data(), memory[3].data(),
                                     memory[4].data()};
      const I first = 2, end = parts + 1, start = 2;
      this->call("?split_par", &first, &count, &parts, &stride, memory[0].data(), y[0].data());
      this->call("?split_syml_par", &end, &count, &start, nullptr, addresses, y[1].data());
      this->call("?split_symu_par", &count, &step, &parts, nullptr, addresses, y[2].data());
      for (I i = 0; i < count; ++i) {
        for (I p = 0; i > 0 && p + 1 < parts; ++p)
          expected[0][i] = expected[0][i] + memory[0][p * stride + i];
        for (I t = start; t < end; ++t)
          expected[1][i] = expected[1][i] + memory[t - 1][(start - 1) * count + i];
        for (I t = 0; t < parts; ++t)
          expected[2][i] = expected[2][i] + memory[t + 1][i + step * (parts - 1 - t)];
      }
      for (int k = 0; k < 3; ++k)
        EXPECT_EQ(std::memcmp(y[k].data(), expected[k].data(), sizeof(T) * y[k].size()), 0)
            << k << ' ' << count;
    }
}

// Of the first and last diagonal of a band and of what it spans, and whether the main one is there.
TYPED_TEST(SparseAux, FindsTheDiagonalsOfATriangle) {
  USE_FORM;
  const struct {
    std::vector<I> distance; // the last one behind the array
    const char *form;
    std::vector<I> results;
  } rows[] = {{{-2, 0, 1, 9}, "ln", {1, 1, 1, 2, 0}}, {{-2, 0, 1, 9}, "lu", {1, 1, 1, 2, 0}},
              {{-2, 0, 1, 9}, "un", {3, 3, 2, 3, 0}}, {{-2, 0, 1, 9}, "uu", {3, 3, 2, 3, 0}},
              {{-2, 1, 9}, "ln", {1, 1, 1, 2, -1}},   {{-2, 1, 9}, "lu", {1, 2, 1, 2, 0}},
              {{-2, 1, 9}, "un", {2, 2, 2, 2, -1}},   {{-2, 0, 9}, "un", {2, 2, 2, 2, 0}},
              {{-2, 0, 9}, "uu", {3, 2, 2, 2, 0}},    {{-2, -1, 9}, "ln", {1, 2, 1, 3, -1}},
              {{-2, -1, 9}, "un", {2, 2, 3, 2, -1}}};
  for (const auto &row : rows) {
    const I count = static_cast<I>(row.distance.size()) - 1;
    std::vector<I> r(5, 77);
    this->call(std::string("find_diag_par_") + row.form, row.distance, &count, &r[0], &r[1], &r[2], &r[3],
               &r[4]);
    EXPECT_EQ(r, row.results) << row.form << ' ' << row.distance[1];
  }
}

} // namespace
