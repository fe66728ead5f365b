// Products, divisions and sweeps of block rows, and skyline products, against dense matrices.
#include "sparse/aux_form.h"
#include <cmath>
#include <cstring>

namespace {

using namespace tnk::test;
using Dense = std::vector<std::vector<Z>>; // rows

template <class Form> struct SparseAuxProducts : InEachForm<Form> {
  using Number = typename Form::first_type;
  using Index = typename Form::second_type;

  // c + alpha op(D) b, dense operands by rows or by columns.
  static void expect_product(const Dense &d, bool transposed, Z alpha, const std::vector<Number> &b,
                             Index ldb, std::vector<Number> c, Index ldc, Index nrhs, bool by_rows,
                             const std::vector<Number> &got) {
    const Index n = static_cast<Index>(d.size());
    for (Index q = 0; q < nrhs; ++q)
      for (Index i = 0; i < n; ++i) {
        Z sum = 0;
        for (Index j = 0; j < n; ++j)
          sum += (transposed ? d[j][i] : d[i][j]) * wide(b[by_rows ? j * ldb + q : q * ldb + j]);
        Number &target = c[by_rows ? i * ldc + q : q * ldc + i];
        target = narrow<Number>(wide(target) + alpha * sum);
      }
    for (std::size_t k = 0; k < c.size(); ++k) ASSERT_EQ(wide(c[k]), wide(got[k])) << k;
  }

  // A matrix of m by m blocks, a third of them absent, some twice, the second row without any.
  struct Matrix {
    std::vector<Number> values;
    std::vector<Index> columns, start, end;
    Dense dense;
  };
  // element(i, j) gives what is stored, and then what counts.
  template <class Element>
  Matrix blocks(Index m, Index size, bool by_rows, bool by_block_columns, bool empty_row, Element element) {
    Matrix a;
    const Index pointer_base = static_cast<Index>(this->random.integer(0, 1));
    a.dense.assign(static_cast<std::size_t>(m * size), std::vector<Z>(static_cast<std::size_t>(m * size)));
    for (Index i = 0; i < m; ++i) {
      a.start.push_back(pointer_base + static_cast<Index>(a.columns.size()));
      for (Index k = 2 * m; k-- > 0 && !(empty_row && i == 1);) {
        const Index j = k % m;
        if (this->random.integer(0, 2) == 0 && (i != j || k >= m)) continue;
        a.columns.push_back(j + (by_rows ? 0 : 1));
        for (Index e = 0; e < size * size; ++e) {
          Index row = i * size + (by_rows ? e / size : e % size),
                column = j * size + (by_rows ? e % size : e / size);
          if (by_block_columns) row += (j - i) * size, column += (i - j) * size;
          const auto [stored, counts] = element(row, column);
          a.values.push_back(narrow<Number>(stored));
          if (counts) a.dense[row][column] += stored;
        }
      }
      a.end.push_back(pointer_base + static_cast<Index>(a.columns.size()));
    }
    return a;
  }
};
TYPED_TEST_SUITE(SparseAuxProducts, Forms);

TYPED_TEST(SparseAuxProducts, OfBlockRows) {
  USE_FORM;
  constexpr int transposed = TNK_SPBLAS_TRANSPOSED, upper = TNK_SPBLAS_UPPER, unit = TNK_SPBLAS_UNIT;
  const struct {
    const char *name;
    int heeds;
  } kinds[] = {{"gen", transposed},
               {"diag", unit},
               {"sym", upper | unit},
               {"skew", transposed | upper},
               {"tr", transposed | upper | unit}};
  for (const auto &[name, heeds] : kinds)
    for (bool by_rows : {false, true})
      for (I size : {1, 2, 3, 5})
        for (I flag = 0; flag < 8; ++flag) {
          const std::string kind = name;
          const int heeded = static_cast<int>(flag) & heeds;
          const I m = 4, n = m * size, nrhs = 3, ldb = (by_rows ? nrhs : n) + 1, ldc = ldb + 1;
          auto a = this->blocks(m, size, by_rows, false, true, [&](I i, I j) {
            bool counts = kind == "gen" || i == j;
            if (kind != "gen" && kind != "diag" && i != j) counts = heeded & upper ? j > i : j < i;
            if (i == j && (kind == "skew" || heeded & unit)) counts = false;
            return std::pair<Z, bool>{counts ? this->small() : Z(not_a_number), counts};
          });
          for (I i = 0; i < n; ++i) {
            if (heeded & unit) a.dense[i][i] = 1;
            for (I j = 0; j < n; ++j)
              if ((kind == "sym" || kind == "skew") && (heeded & upper ? j < i : j > i))
                a.dense[i][j] = kind == "sym" ? a.dense[j][i] : -a.dense[j][i];
          }
          const I rows = (by_rows ? n : nrhs);
          const auto b = this->smalls(rows * ldb), c = this->smalls(rows * ldc);
          auto got = c;
          const T alpha = narrow<T>(Z(2, TestFixture::real ? 0 : 1));
          SCOPED_TRACE(kind + (by_rows ? " by rows " : " by columns ") + std::to_string(flag));
          this->call((by_rows ? "cspblas_?bsrmm" : "?bsrmm") + kind, &flag, &m, &nrhs, &size, &alpha,
                     a.values.data(), a.columns.data(), a.start.data(), a.end.data(), b.data(), &ldb,
                     got.data(), &ldc);
          this->expect_product(a.dense, heeded & transposed, wide(alpha), b, ldb, c, ldc, nrhs, by_rows, got);
        }
}

TYPED_TEST(SparseAuxProducts, OfOneBlock) {
  USE_FORM;
  for (bool by_rows : {false, true})
    for (I size : {0, 1, 2, 3, 4, 7}) {
      const I offset_a = 5, offset_x = 2;
      const auto a = this->smalls(offset_a + size * size), x = this->smalls(offset_x + size),
                 y = this->smalls(size);
      auto got = y;
      Dense d(static_cast<std::size_t>(size), std::vector<Z>(static_cast<std::size_t>(size)));
      for (I k = 0; k < size * size; ++k)
        (by_rows ? d[k / size][k % size] : d[k % size][k / size]) = wide(a[offset_a + k]);
      this->call(by_rows ? "cspblas_?bsrbv" : "?bsrbv", &size, &offset_a, &offset_x, a.data(), x.data(),
                 got.data());
      this->expect_product(d, false, 1, {x.begin() + offset_x, x.end()}, size, y, size, 1, false, got);
    }
}

// Diagonal blocks second, absent (the last one serves) and twice (the first one serves); an empty row.
TYPED_TEST(SparseAuxProducts, DivideByDiagonals) {
  USE_FORM;
  for (I base : {0, 1}) {
    const I m = 4, size = 2, start[] = {7, 9, 11, 11}, end[] = {9, 11, 11, 14};
    const I columns[] = {1 + base, base, base, 2 + base, base, 3 + base, 3 + base};
    std::vector<T> values(28, narrow<T>(not_a_number)), work(8, narrow<T>(Z(6, TestFixture::real ? 0 : 2)));
    for (I block : {1, 3, 5})
      for (I j : {0, 1})
        values[block * 4 + j * 3] = narrow<T>(TestFixture::real ? 2 : Z(1, 1) * Z(block + j));
    std::vector<T> got = work;
    for (I flag : {0, 1})
      this->call(base ? "?bsr_invdiag" : "?bsr_cspblas_invdiag", &m, &flag, &size, values.data(), columns,
                 start, end, got.data());
    for (I k = 0; k < 8; ++k) {
      const Z d = k / 2 == 2 ? Z(1) : wide(values[(k / 2 == 3 ? 5 : 1 + k / 2 * 2) * 4 + k % 2 * 3]);
      EXPECT_LE(std::abs(wide(got[k]) - wide(work[k]) / d), 4 * TestFixture::eps * 7) << k;
    }
  }
}

// (D + L) x_new + U x_old = rhs, within the rounding of a row's sum.
TYPED_TEST(SparseAuxProducts, SweepsAreThoseOfTheElements) {
  USE_FORM;
  for (const std::string form : {"bsr_", "bsc_", "bsr_cspblas_", "bsc_cspblas_"})
    for (I flag : {0, 1}) {
      const bool by_rows = form.size() > 4, by_columns = form[2] == 'c';
      const I m = 4, size = 3, n = m * size;
      const auto a = this->blocks(m, size, by_rows, by_columns, false, [&](I i, I j) {
        return std::pair<Z, bool>{i == j ? this->small() + Z(20) : this->small(), true};
      });
      const auto old = this->smalls(n), rhs = this->smalls(n);
      auto x = old, right = rhs;
      const auto product = [&](I i, bool swept, bool magnitudes) {
        Z sum = 0;
        for (I j = 0; j < n; ++j) {
          const bool is_new = swept || (flag ? j >= i : j <= i);
          const Z term[] = {a.dense[i][j] * wide(x[j]), a.dense[i][j] * wide(old[j])};
          sum += magnitudes ? std::abs(term[0]) + std::abs(term[1]) : term[!is_new];
        }
        return sum;
      };
      for (I i = 0; by_columns && i < n; ++i) right[i] = narrow<T>(wide(rhs[i]) - product(i, true, false));
      this->call("?" + form.substr(0, 4) + form.substr(4) + "gauss", &flag, &m, &size, a.values.data(),
                 a.columns.data(), a.start.data(), a.end.data(), right.data(), x.data());
      for (I i = 0; i < n; ++i) {
        const double bound = 4 * static_cast<double>(2 * n) * TestFixture::eps *
                             (product(i, true, true).real() + std::abs(wide(rhs[i])));
        EXPECT_LE(std::abs(product(i, false, false) - wide(rhs[i])), bound) << form << flag << ' ' << i;
        if (by_columns) {
          EXPECT_LE(std::abs(wide(rhs[i]) - product(i, true, false) - wide(right[i])), bound) << form << i;
        }
      }
    }
}

TYPED_TEST(SparseAuxProducts, OfSkylines) {
  USE_FORM;
  for (const std::string kind : {"gk", "kk", "sk"})
    for (int flags = 0; flags < 16; ++flags) {
      const I flag = flags & 1, upper = flags & 2, bare = flags & 4, m = 9, nrhs = 2, ldb = 10, ldc = 11;
      std::vector<I> pointer{flags >> 3};
      for (I i = 0; i < m; ++i)
        pointer.push_back(pointer[i] + (i == 4 ? 0 : static_cast<I>(this->random.integer(1, i + 1))));
      auto values = this->smalls(pointer[m] - pointer[0]);
      Dense d(9, std::vector<Z>(9));
      for (I i = 0; i < m; ++i) {
        for (I j = i, p = pointer[i + 1] - 1; p >= pointer[i]; --j, --p) {
          T &value = values[p - pointer[0]];
          if (i == j && bare) value = narrow<T>(not_a_number);
          if (i == j && bare) continue;
          (upper ? d[j][i] : d[i][j]) = wide(value);
          if (kind == "sk") d[j][i] = d[i][j] = wide(value);
        }
        if (bare && kind != "gk") d[i][i] = 1;
      }
      const auto b = this->smalls(nrhs * ldb), c = this->smalls(nrhs * ldc);
      auto got = c;
      const T alpha = narrow<T>(Z(2, TestFixture::real ? 0 : 1));
      SCOPED_TRACE(kind + std::to_string(flags));
      this->call("?skymm" + kind, &flag, nullptr, &m, &nrhs, &upper, &bare, &alpha, values.data(),
                 pointer.data(), b.data(), &ldb, got.data(), &ldc);
      this->expect_product(d, flag && kind != "sk", wide(alpha), b, ldb, c, ldc, nrhs, false, got);
    }
}

// Rows beyond a block of them, mirrored into rows of the block before.
template <class I, class Product> void multiplies_symmetric(Product product) {
  Random random;
  const I m = 30004;
  for (I flag : {0, 2, 4, 6}) {
    std::vector<double> values, x, y(static_cast<std::size_t>(m), 1), expected = y;
    std::vector<I> columns, pointer{0};
    for (I i = 1; i <= m; ++i) x.push_back(static_cast<double>(random.integer(-3, 3)));
    for (I i = 1; i <= m; ++i) {
      for (I k = 0; k < i % 7; ++k) {
        const I j = k == 3 ? i : static_cast<I>(random.integer(std::max<I>(1, i - 9), std::min<I>(m, i + 9)));
        const bool counts = flag & TNK_SPBLAS_UPPER ? j > i : j < i,
                   diagonal = i == j && !(flag & TNK_SPBLAS_UNIT);
        columns.push_back(j);
        values.push_back(counts || diagonal ? static_cast<double>(random.integer(-3, 3)) : not_a_number);
        if (counts || diagonal) expected[i - 1] += values.back() * x[j - 1];
        if (counts) expected[j - 1] += values.back() * x[i - 1];
      }
      if (flag & TNK_SPBLAS_UNIT) expected[i - 1] += x[i - 1];
      pointer.push_back(static_cast<I>(columns.size()));
    }
    product(&flag, &m, values.data(), columns.data(), pointer.data(), x.data(), y.data());
    EXPECT_EQ(y, expected) << flag;
  }
}
TEST(SparseSymmetricRows, CountBothTriangles) {
  multiplies_symmetric<tnk_int>(tnk_spblas_dcsrsymmvs);
  multiplies_symmetric<std::int32_t>(tnk_spblas_lp64_dcsrsymmvs);
}

} // namespace
