// The public sparse products against the definition, for each kind of matrix with each triangle, diagonal, op, storage,
// base and type; 1, 2 and 3 threads and a beta of zero and another take turns. And what they refuse.
#include "reference/arithmetic.h"
#include "tests/support/error_recorder.h"
#include "tests/support/random.h"
#include "tests/support/sides.h"
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

template <class T> struct Routines;
#define ROUTINES(t, T)                                                                                       \
  template <> struct Routines<T> {                                                                           \
    static constexpr auto mv = tnk_sparse_##t##mv;                                                           \
    static constexpr auto mm = tnk_sparse_##t##mm;                                                           \
  };
ROUTINES(s, float)
ROUTINES(d, double)
ROUTINES(c, tnk_complex8)
ROUTINES(z, tnk_complex16)
#undef ROUTINES

// Entries in no order with places that come twice, some rows empty, as triples and as compressed rows.
template <class T> struct Stored {
  Stored(tnk_int m, tnk_int n, tnk_int per_row, tnk_int base, Random &random) : rows(m), columns(n) {
    for (tnk_int i = 0; i < m; ++i) {
      start.push_back(7 + static_cast<tnk_int>(values.size()));
      const tnk_int count = i % 5 == 3 ? 0 : random.integer(per_row / 2, per_row);
      for (tnk_int p = 0; p < count; ++p) {
        const tnk_int j = p == 0 && m == n ? i : random.integer(0, n - 1);
        values.push_back(random.number<T>());
        // Real, as in Hermitian matrices.
        if constexpr (!std::is_floating_point_v<T>)
          if (i == j) values.back().im = 0;
        row.push_back(i + base), column.push_back(j + base);
        entries.push_back({i, j, values.back()});
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
  std::vector<SparseEntry<T>> entries;
};

// A matrix of each shape and base with the entries that three threads take as their due.
template <class T> struct Matrices {
  Matrices(tnk_int per_row, Random &random)
      : all{{{m, n, per_row, 0, random}, {m, m, per_row, 0, random}},
            {{m, n, per_row, 1, random}, {m, m, per_row, 1, random}}} {}
  static constexpr tnk_int m = 900, n = 700;
  Stored<T> all[2][2]; // by base; general or square
};

// The letters of what is meant. A Hermitian matrix is its own conjugate transpose; a skew one has but the sign of its
// transpose left to give, for alpha to take.
GridName letters(const tnk_sparse_descriptor &d, char op, bool vector) {
  const char kind = "gshtda"[d.kind];
  return {false,
          'd',
          "csr",
          '0',
          op == 'T'                  ? 't'
          : op == 'C' && kind != 'h' ? 'c'
                                     : 'n',
          kind,
          kind == 'g' || kind == 'd' ? '_' : "lu"[d.triangle],
          kind == 'g' || kind == 'a' ? '_' : "nu"[d.diagonal],
          'c',
          vector ? "mv" : "mm",
          ""};
}

template <class T> class SparseProducts : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(SparseProducts, Types);

TYPED_TEST(SparseProducts, AreTheDefinition) {
  using T = TypeParam;
  constexpr long double rounding = std::numeric_limits<tnk::reference::Real<T>>::epsilon() / 2;
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
    const bool overwrites = (variant + variant / 6) % 2, columns = d.base == 1;
    const T beta = overwrites ? zero : some;
    SCOPED_TRACE(testing::Message() << "kind " << kind << (d.triangle ? " upper" : " lower")
                                    << (d.diagonal ? " unit" : "") << ", base " << d.base
                                    << (storage ? ", coordinates, " : ", rows, ") << op << ", threads "
                                    << threads);
    for (const tnk_int nrhs : {1, 27}) {
      const bool vector = nrhs == 1;
      const Stored<T> &a = (vector ? for_mv : for_mm).all[d.base][kind != TNK_SPARSE_GENERAL];
      const GridMatrix meant(letters(d, op, vector), a.rows, a.columns, a.entries);
      const wide factor = kind == TNK_SPARSE_SKEW && op != 'N' ? -widened(alpha) : widened(alpha);
      Sides<T> b(meant.columns, nrhs, !vector && !columns, vector ? 0 : 2);
      Sides<T> c(meant.rows, nrhs, !vector && !columns, vector ? 0 : 3);
      b.fill([&] { return random.number<T>(); });
      c.fill([&] { return overwrites ? junk<T>() : random.number<T>(); });
      const Sides<T> before = c;
      const tnk_sparse_matrix matrix = a.view(storage);
      const auto run = [&](Sides<T> &out, int on) {
        tnk_set_num_threads(on);
        const auto status = vector ? Routines<T>::mv(op, &alpha, &matrix, &d, b.data(), &beta, out.data())
                                   : Routines<T>::mm(op, &alpha, &matrix, &d, nrhs, b.data(), b.ld(), &beta,
                                                     out.data(), out.ld());
        EXPECT_EQ(status, TNK_SPARSE_OK);
      };
      run(c, threads);
      for (tnk_int j = 0; j < nrhs; j += 13) {
        const auto sums = meant.times(b.side(j));
        const auto result = c.side(j), start = before.side(j);
        for (tnk_int i = 0; i < meant.rows; ++i) {
          const wide old = overwrites ? wide() : product(widened(beta), start[i]);
          const auto error = size_of(result[i] - (product(factor, sums[i].value) + old));
          const auto bound = (sums[i].terms + 8) * rounding * (size_of(factor) * sums[i].size + size_of(old));
          ASSERT_TRUE(error <= bound) << "row " << i << ", column " << j << ": off by " << error;
        }
      }
      // Where each element is made by one thread, their number moves no bit.
      if (!vector ||
          (!storage && (kind == TNK_SPARSE_TRIANGULAR || (kind == TNK_SPARSE_GENERAL && op == 'N')))) {
        Sides<T> alone = before;
        run(alone, 1);
        EXPECT_TRUE(alone.same_as(c));
      }
      EXPECT_TRUE(c.intact());
    }
  }
  tnk_set_num_threads(0);
}

struct Job {
  char op = 'N';
  double values[3] = {1, 2, 3}, ones[4] = {1, 1, 1, 1}, out[4] = {5, 6, 7, 8}, one = 1, zero = 0;
  tnk_int column[3] = {0, 1, 2}, row[3] = {0, 1, 1}, start[2] = {0, 1}, end[2] = {1, 3}, nrhs = 2, ld = 2;
  tnk_sparse_matrix a{TNK_SPARSE_CSR, 2, 3, 3, values, column, row, start, end};
  tnk_sparse_descriptor d{};
  const tnk_sparse_matrix *matrix = &a;
  const tnk_sparse_descriptor *descriptor = &d;
  const double *alpha = &one, *beta = &zero, *x = ones;
  double *y = out;

  tnk_sparse_status run(const std::string &routine) const {
    if (routine == "tnk_sparse_dmv") return tnk_sparse_dmv(op, alpha, matrix, descriptor, x, beta, y);
    if (routine == "tnk_sparse_dmm")
      return tnk_sparse_dmm(op, alpha, matrix, descriptor, nrhs, x, ld, beta, y, ld);
    return tnk_sparse_check(matrix, descriptor);
  }
};

TEST(SparseArguments, AreRefusedByName) {
  const std::string mv = "tnk_sparse_dmv", mm = "tnk_sparse_dmm", check = "tnk_sparse_check",
                    null = " is a null address, expected the address of a value";
  const struct {
    std::string routine;
    std::function<void(Job &)> spoil;
    std::string message;
  } cases[] = {
      {mv, [](Job &j) { j.op = 'X'; }, "1 (op) is 'X', expected one of N, T, C"},
      {mv, [](Job &j) { j.alpha = nullptr; }, "2 (alpha)" + null},
      {mv, [](Job &j) { j.matrix = nullptr; }, "3 (matrix)" + null},
      {mv, [](Job &j) { j.descriptor = nullptr; }, "4 (descriptor)" + null},
      {mv, [](Job &j) { j.x = nullptr; }, "5 (x)" + null},
      {mv, [](Job &j) { j.beta = nullptr; }, "6 (beta)" + null},
      {mv, [](Job &j) { j.y = nullptr; }, "7 (y)" + null},
      {mm, [](Job &j) { j.alpha = nullptr; }, "2 (alpha)" + null},
      {mm, [](Job &j) { j.matrix = nullptr; }, "3 (matrix)" + null},
      {mm, [](Job &j) { j.descriptor = nullptr; }, "4 (descriptor)" + null},
      {mm, [](Job &j) { j.x = nullptr; }, "6 (b)" + null},
      {mm, [](Job &j) { j.beta = nullptr; }, "8 (beta)" + null},
      {mm, [](Job &j) { j.y = nullptr; }, "9 (c)" + null},
      {check, [](Job &j) { j.matrix = nullptr; }, "1 (matrix)" + null},
      {check, [](Job &j) { j.descriptor = nullptr; }, "2 (descriptor)" + null},
      {mv, [](Job &j) { j.a.values = nullptr; }, "3 (matrix->values)" + null},
      {mm, [](Job &j) { j.a.col_index = nullptr; }, "3 (matrix->col_index)" + null},
      {mv, [](Job &j) { j.a.row_start = nullptr; }, "3 (matrix->row_start)" + null},
      {mm, [](Job &j) { j.a.row_end = nullptr; }, "3 (matrix->row_end)" + null},
      {mv, [](Job &j) { j.a.storage = TNK_SPARSE_COO, j.a.row_index = nullptr; },
       "3 (matrix->row_index)" + null},
      {mv, [](Job &j) { j.a.m = -1; }, "3 (matrix->m) is -1, expected 0 or more"},
      {mm, [](Job &j) { j.a.n = -1; }, "3 (matrix->n) is -1, expected 0 or more"},
      {mv, [](Job &j) { j.a.nnz = -3; }, "3 (matrix->nnz) is -3, expected 0 or more"},
      {mv, [](Job &j) { j.a.storage = tnk_sparse_storage(2); }, "3 (matrix->storage) is 2, expected 0 to 1"},
      {mm, [](Job &j) { j.d.kind = tnk_sparse_kind(6); }, "4 (descriptor->kind) is 6, expected 0 to 5"},
      {mv, [](Job &j) { j.d.triangle = tnk_sparse_triangle(2); },
       "4 (descriptor->triangle) is 2, expected 0 to 1"},
      {mv, [](Job &j) { j.d.diagonal = tnk_sparse_diagonal(2); },
       "4 (descriptor->diagonal) is 2, expected 0 to 1"},
      {mm, [](Job &j) { j.d.base = 2; }, "4 (descriptor->base) is 2, expected 0 to 1"},
      {mm, [](Job &j) { j.d.kind = TNK_SPARSE_SKEW; },
       "3 (matrix->n) is 3, expected as many columns as rows in this kind of matrix"},
      {mv, [](Job &j) { j.a.n = 2, j.d.kind = TNK_SPARSE_HERMITIAN; },
       "4 (descriptor->kind) is 2, expected a kind that real matrices have"},
      {mm, [](Job &j) { j.nrhs = -2; }, "5 (nrhs) is -2, expected 0 or more"},
      {mm, [](Job &j) { j.ld = 1; }, "7 (ldb) is 1, expected 2 or more"},
      {mv, [](Job &j) { j.d.check = 1, j.column[2] = 3; }, "3 (matrix->col_index[2]) is 3, expected 0 to 2"},
      {mm, [](Job &j) { j.d.check = 1, j.end[1] = 0; }, "3 (matrix->row_end[1]) is 0, expected 1 to 3"},
      {mm, [](Job &j) { j.d.check = 1, j.start[1] = 4; }, "3 (matrix->row_start[1]) is 4, expected 0 to 3"},
      {mv, [](Job &j) { j.d.check = j.d.base = 1, j.a.storage = TNK_SPARSE_COO; },
       "3 (matrix->row_index[0]) is 0, expected 1 to 2"},
      {check, [](Job &j) { j.column[0] = -1; }, "1 (matrix->col_index[0]) is -1, expected 0 to 2"},
  };
  ErrorRecorder errors;
  for (const auto &c : cases) {
    Job j;
    c.spoil(j);
    EXPECT_EQ(j.run(c.routine), TNK_SPARSE_BAD_ARGUMENT) << c.message;
    EXPECT_EQ(errors.bad_argument(), c.routine + ": argument " + c.message);
    EXPECT_EQ(std::memcmp(j.out, Job().out, sizeof j.out), 0) << c.message;
  }
  for (const std::string &good : {mv, mm, check}) EXPECT_EQ(Job().run(good), TNK_SPARSE_OK);
  EXPECT_EQ(errors.last().count, 0);
}

TEST(SparseArguments, OnesWithoutEntriesAreTheIdentity) {
  for (int variant = 0; variant < 12; ++variant) {
    Job j;
    j.a.nnz = 0, j.a.n = 2, j.beta = j.alpha, j.end[0] = j.end[1] = j.start[1] = 0, j.op = 'T';
    j.a.storage = static_cast<tnk_sparse_storage>(variant % 2);
    const tnk_sparse_kind kinds[] = {TNK_SPARSE_SYMMETRIC, TNK_SPARSE_TRIANGULAR, TNK_SPARSE_DIAGONAL};
    j.d.kind = kinds[variant / 4], j.d.diagonal = TNK_SPARSE_UNIT;
    j.d.triangle = static_cast<tnk_sparse_triangle>(variant / 2 % 2);
    ASSERT_EQ(j.run("tnk_sparse_dmv"), TNK_SPARSE_OK);
    EXPECT_TRUE(j.y[0] == 6 && j.y[1] == 7) << variant;
  }
}

} // namespace
