// The public sparse products against the definition, for each kind of matrix with each triangle, diagonal, op, storage,
// base and type; 1, 2 and 3 threads and a beta of zero and another take turns. And what they refuse.
#include <complex>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/sparse.h>
#include <vector>

#include "tests/support/error_recorder.h"
#include "tests/support/random.h"

namespace {

using wide = std::complex<long double>;
using tnk::test::ErrorRecorder;
using tnk::test::Random;

template <class T> wide widened(const T &a) {
  if constexpr (std::is_floating_point_v<T>)
    return a;
  else
    return {a.re, a.im};
}
long double size_of(wide a) {
  return std::fabs(a.real()) + std::fabs(a.imag());
}

template <class T> struct Routines;
#define ROUTINES(t, T, R)                                                                                    \
  template <> struct Routines<T> {                                                                           \
    static constexpr auto mv = tnk_sparse_##t##mv;                                                           \
    static constexpr auto mm = tnk_sparse_##t##mm;                                                           \
    using real = R;                                                                                          \
  };
ROUTINES(s, float, float)
ROUTINES(d, double, double)
ROUTINES(c, tnk_complex8, float)
ROUTINES(z, tnk_complex16, double)
#undef ROUTINES

// Entries in no order with places that come twice, some rows empty, as triples and as compressed rows.
template <class T> struct Stored {
  Stored(tnk_int m, tnk_int n, tnk_int per_row, tnk_int base, Random &random) : rows(m), columns(n) {
    for (tnk_int i = 0; i < m; ++i) {
      start.push_back(7 + static_cast<tnk_int>(values.size()));
      const tnk_int count = i % 5 == 3 ? 0 : random.integer(per_row / 2, per_row);
      for (tnk_int p = 0; p < count; ++p) {
        values.push_back(random.number<T>());
        row.push_back(i + base);
        column.push_back((p == 0 && m == n ? i : random.integer(0, n - 1)) + base);
        // Real, as in Hermitian matrices.
        if constexpr (!std::is_floating_point_v<T>)
          if (row.back() == column.back()) values.back().im = 0;
      }
      end.push_back(7 + static_cast<tnk_int>(values.size()));
    }
  }
  tnk_sparse_matrix view(tnk_sparse_storage storage) const {
    return {storage,       rows,          columns,    static_cast<tnk_int>(values.size()),
            values.data(), column.data(), row.data(), start.data(),
            end.data()};
  }
  tnk_int rows, columns;
  std::vector<T> values;
  std::vector<tnk_int> row, column, start, end;
};

// op(A) applied to one right-hand side, and the sums of magnitudes and of counts that bound the error.
struct Applied {
  std::vector<wide> y;
  std::vector<long double> magnitudes, terms;
};
template <class T, class X>
Applied applied(const Stored<T> &a, const tnk_sparse_descriptor &d, char op, const X &x) {
  const tnk_int length = op == 'N' ? a.rows : a.columns;
  Applied r{std::vector<wide>(length), std::vector<long double>(length), std::vector<long double>(length)};
  const auto add = [&](tnk_int i, tnk_int j, wide value, bool counts) {
    if (op != 'N') std::swap(i, j);
    if (op == 'C') value = std::conj(value);
    if (counts) r.y[i] += value * x(j);
    // Kernels may add and take away again what does not count.
    r.magnitudes[i] += 2 * size_of(value) * size_of(x(j)), r.terms[i] += 2;
  };
  const bool unit =
      d.diagonal == TNK_SPARSE_UNIT && d.kind != TNK_SPARSE_GENERAL && d.kind != TNK_SPARSE_SKEW;
  for (std::size_t p = 0; p < a.values.size(); ++p) {
    const tnk_int i = a.row[p] - d.base, j = a.column[p] - d.base;
    const wide value = widened(a.values[p]);
    const bool inside = d.triangle == TNK_SPARSE_LOWER ? i > j : i < j;
    const bool diagonal = i == j && !unit && d.kind != TNK_SPARSE_SKEW;
    add(i, j, value, d.kind == TNK_SPARSE_GENERAL || diagonal || (inside && d.kind != TNK_SPARSE_DIAGONAL));
    if (d.kind == TNK_SPARSE_SYMMETRIC) add(j, i, value, inside);
    if (d.kind == TNK_SPARSE_HERMITIAN) add(j, i, std::conj(value), inside);
    if (d.kind == TNK_SPARSE_SKEW) add(j, i, -value, inside);
  }
  if (unit)
    for (tnk_int i = 0; i < length; ++i) add(i, i, 1, true);
  return r;
}

// A matrix of each shape and base with the entries that three threads take as their due.
template <class T> struct Matrices {
  Matrices(tnk_int per_row, Random &random)
      : all{{{m, n, per_row, 0, random}, {m, m, per_row, 0, random}},
            {{m, n, per_row, 1, random}, {m, m, per_row, 1, random}}} {}
  static constexpr tnk_int m = 900, n = 700;
  Stored<T> all[2][2]; // by base; general or square
};

template <class T> class SparseProducts : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(SparseProducts, Types);

TYPED_TEST(SparseProducts, AreTheDefinition) {
  using T = TypeParam;
  using real = typename Routines<T>::real;
  constexpr long double unit = std::numeric_limits<real>::epsilon();
  Random random;
  const T alpha = random.number<T>(), some = random.number<T>(), zero{};
  const Matrices<T> for_mv(370, random), for_mm(14, random);
  for (int variant = 0; variant < 6 * 2 * 2 * 2 * 2 * 3; ++variant) {
    const auto kind = static_cast<tnk_sparse_kind>(variant / 48);
    const tnk_sparse_descriptor d{kind, static_cast<tnk_sparse_triangle>(variant / 24 % 2),
                                  static_cast<tnk_sparse_diagonal>(variant / 12 % 2), variant / 6 % 2, 1};
    const auto storage = static_cast<tnk_sparse_storage>(variant / 3 % 2);
    const char op = "NTC"[variant % 3];
    if (kind == TNK_SPARSE_HERMITIAN && std::is_floating_point_v<T>) continue;
    const int threads = 1 + (variant + variant / 3) % 3;
    tnk_set_num_threads(threads);
    const bool overwrites = (variant + variant / 6) % 2;
    const T beta = overwrites ? zero : some;
    SCOPED_TRACE(testing::Message() << "kind " << kind << (d.triangle ? " upper" : " lower")
                                    << (d.diagonal ? " unit" : "") << ", base " << d.base
                                    << (storage ? ", coordinates, " : ", rows, ") << op << ", threads "
                                    << threads);
    for (const tnk_int nrhs : {1, 27}) {
      const bool vector = nrhs == 1, columns = d.base == 1;
      const Stored<T> &a = (vector ? for_mv : for_mm).all[d.base][kind != TNK_SPARSE_GENERAL];
      const tnk_int length = op == 'N' ? a.rows : a.columns, read = op == 'N' ? a.columns : a.rows;
      const tnk_int ldb = columns ? read + 1 : nrhs + 2, ldc = columns ? length + 3 : nrhs + 1;
      const auto at = [&](tnk_int i, tnk_int j, tnk_int ld) {
        return vector ? i : columns ? i + j * ld : i * ld + j;
      };
      std::vector<T> b(columns ? ldb * nrhs : ldb * read), c(columns ? ldc * nrhs : ldc * length);
      for (T &v : b) v = random.number<T>();
      for (T &v : c) v = random.number<T>();
      if (overwrites)
        reinterpret_cast<real &>(c[at(length / 2, nrhs / 2, ldc)]) = std::numeric_limits<real>::quiet_NaN();
      const std::vector<T> before = c;
      const tnk_sparse_matrix matrix = a.view(storage);
      const auto run = [&](std::vector<T> &out) {
        const auto status =
            vector ? Routines<T>::mv(op, &alpha, &matrix, &d, b.data(), &beta, out.data())
                   : Routines<T>::mm(op, &alpha, &matrix, &d, nrhs, b.data(), ldb, &beta, out.data(), ldc);
        EXPECT_EQ(status, TNK_SPARSE_OK);
      };
      run(c);
      for (tnk_int j = 0; j < nrhs; j += 13) {
        const Applied r = applied(a, d, op, [&](tnk_int i) { return widened(b[at(i, j, ldb)]); });
        for (tnk_int i = 0; i < length; ++i) {
          const wide old = overwrites ? wide() : widened(beta) * widened(before[at(i, j, ldc)]);
          const long double error = size_of(widened(c[at(i, j, ldc)]) - (widened(alpha) * r.y[i] + old));
          const long double bound =
              (r.terms[i] + 8) * unit * (size_of(widened(alpha)) * r.magnitudes[i] + size_of(old));
          ASSERT_TRUE(error <= bound) << "row " << i << ", column " << j << ": off by " << error;
        }
      }
      // Where each element is made by one thread, their number moves no bit.
      if (!vector ||
          (!storage && (kind == TNK_SPARSE_TRIANGULAR || (kind == TNK_SPARSE_GENERAL && op == 'N')))) {
        std::vector<T> alone = before;
        tnk_set_num_threads(1);
        run(alone);
        tnk_set_num_threads(threads);
        EXPECT_EQ(std::memcmp(alone.data(), c.data(), c.size() * sizeof(T)), 0);
      }
      // The first element between columns or rows.
      const tnk_int outside = columns ? length : nrhs;
      EXPECT_TRUE(vector || widened(c[outside]) == widened(before[outside]));
    }
  }
  tnk_set_num_threads(0);
}

struct Job {
  char op = 'N';
  double values[3] = {1, 2, 3}, x[4] = {1, 1, 1, 1}, y[4] = {5, 6, 7, 8}, alpha = 1, beta = 0;
  tnk_int column[3] = {0, 1, 2}, row[3] = {0, 1, 1}, start[2] = {0, 1}, end[2] = {1, 3}, nrhs = 2, ld = 2;
  tnk_sparse_matrix a{TNK_SPARSE_CSR, 2, 3, 3, values, column, row, start, end};
  tnk_sparse_descriptor d{};
};

TEST(SparseArguments, AreRefusedByName) {
  const struct {
    bool mm;
    std::function<void(Job &)> spoil;
    int position;
    const char *argument, *value, *expected;
  } cases[] = {
      {false, [](Job &j) { j.op = 'X'; }, 1, "op", "'X'", "one of N, T, C"},
      {false, [](Job &j) { j.a.m = -1; }, 3, "matrix->m", "-1", "0 or more"},
      {false, [](Job &j) { j.a.nnz = -3; }, 3, "matrix->nnz", "-3", "0 or more"},
      {false, [](Job &j) { j.a.storage = tnk_sparse_storage(2); }, 3, "matrix->storage", "2", "0 to 1"},
      {false, [](Job &j) { j.a.values = nullptr; }, 3, "matrix->values", "a null address",
       "the address of a value"},
      {true, [](Job &j) { j.a.row_end = nullptr; }, 3, "matrix->row_end", "a null address",
       "the address of a value"},
      {true, [](Job &j) { j.d.kind = tnk_sparse_kind(6); }, 4, "descriptor->kind", "6", "0 to 5"},
      {true, [](Job &j) { j.d.base = 2; }, 4, "descriptor->base", "2", "0 to 1"},
      {true, [](Job &j) { j.d.kind = TNK_SPARSE_SKEW; }, 3, "matrix->n", "3",
       "as many columns as rows in this kind of matrix"},
      {false, [](Job &j) { j.a.n = 2, j.d.kind = TNK_SPARSE_HERMITIAN; }, 4, "descriptor->kind", "2",
       "a kind that real matrices have"},
      {true, [](Job &j) { j.nrhs = -2; }, 5, "nrhs", "-2", "0 or more"},
      {true, [](Job &j) { j.ld = 1; }, 7, "ldb", "1", "2 or more"},
      {false, [](Job &j) { j.d.check = 1, j.column[2] = 3; }, 3, "matrix->col_index[2]", "3", "0 to 2"},
      {true, [](Job &j) { j.d.check = 1, j.end[1] = 0; }, 3, "matrix->row_end[1]", "0", "1 to 3"},
      {true, [](Job &j) { j.d.check = 1, j.start[1] = 4; }, 3, "matrix->row_start[1]", "4", "0 to 3"},
      {false, [](Job &j) { j.d.check = j.d.base = 1, j.a.storage = TNK_SPARSE_COO; }, 3,
       "matrix->row_index[0]", "0", "1 to 2"},
  };
  ErrorRecorder errors;
  for (const auto &c : cases) {
    Job j;
    c.spoil(j);
    const auto status =
        c.mm ? tnk_sparse_dmm(j.op, &j.alpha, &j.a, &j.d, j.nrhs, j.x, j.ld, &j.beta, j.y, j.ld)
             : tnk_sparse_dmv(j.op, &j.alpha, &j.a, &j.d, j.x, &j.beta, j.y);
    EXPECT_EQ(status, TNK_SPARSE_BAD_ARGUMENT) << c.argument;
    const auto seen = errors.take();
    EXPECT_EQ(seen.routine, c.mm ? "tnk_sparse_dmm" : "tnk_sparse_dmv");
    EXPECT_EQ(seen.position, c.position) << c.argument;
    EXPECT_EQ(seen.argument, c.argument);
    EXPECT_EQ(seen.value, c.value) << c.argument;
    EXPECT_EQ(seen.expected, c.expected) << c.argument;
    EXPECT_EQ(std::memcmp(j.y, Job().y, sizeof j.y), 0) << c.argument;
  }
}

TEST(SparseArguments, OnesWithoutEntriesAreTheIdentity) {
  for (int variant = 0; variant < 12; ++variant) {
    Job j;
    j.a.nnz = 0, j.a.n = 2, j.beta = 1, j.end[0] = j.end[1] = j.start[1] = 0;
    j.a.storage = static_cast<tnk_sparse_storage>(variant % 2);
    const tnk_sparse_kind kinds[] = {TNK_SPARSE_SYMMETRIC, TNK_SPARSE_TRIANGULAR, TNK_SPARSE_DIAGONAL};
    j.d.kind = kinds[variant / 4], j.d.diagonal = TNK_SPARSE_UNIT;
    j.d.triangle = static_cast<tnk_sparse_triangle>(variant / 2 % 2);
    ASSERT_EQ(tnk_sparse_dmv('T', &j.alpha, &j.a, &j.d, j.x, &j.beta, j.y), TNK_SPARSE_OK);
    EXPECT_EQ(j.y[0], 6) << variant;
    EXPECT_EQ(j.y[1], 7) << variant;
  }
}

} // namespace
