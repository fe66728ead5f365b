// What the public sparse products refuse, and products with nothing.
#include "tests/support/error_recorder.h"
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <tnk/sparse.h>

namespace {

using tnk::test::ErrorRecorder;

struct Job {
  char op = 'N';
  double values[3] = {1, 2, 3}, ones[4] = {1, 1, 1, 1}, out[4] = {5, 6, 7, 8}, one = 1, zero = 0;
  tnk_int column[3] = {0, 1, 2}, row[3] = {0, 1, 1}, start[2] = {0, 1}, end[2] = {1, 3},
          diagonals[2] = {-1, 0}, nrhs = 2, ld = 2, ldx = 2;
  tnk_sparse_matrix a{TNK_SPARSE_CSR, 2, 3, 3, values, column, row, start, end, 1, 0, 0, nullptr, nullptr};
  tnk_sparse_descriptor d{};
  const tnk_sparse_matrix *matrix = &a;
  const tnk_sparse_descriptor *descriptor = &d;
  const double *alpha = &one, *beta = &zero, *x = ones;
  double *y = out;

  // A lower triangle of order 2, for a solve; its transpose; another storage.
  void triangle() { a.n = 2, column[1] = 0, column[2] = 1, d.kind = TNK_SPARSE_TRIANGULAR; }
  void upper(bool unit) {
    d.triangle = TNK_SPARSE_UPPER, op = 'T';
    if (unit) d.diagonal = TNK_SPARSE_UNIT;
  }
  void by_diagonals() {
    a.storage = TNK_SPARSE_DIA, a.diag_stride = 2, a.diag_count = 1, a.diag_distance = diagonals;
  }
  tnk_sparse_status run(const std::string &routine) const {
    if (routine == "tnk_sparse_dsv") return tnk_sparse_dsv(op, alpha, matrix, descriptor, x, y);
    if (routine == "tnk_sparse_dsm")
      return tnk_sparse_dsm(op, alpha, matrix, descriptor, nrhs, x, ld, y, ldx);
    if (routine == "tnk_sparse_dmv") return tnk_sparse_dmv(op, alpha, matrix, descriptor, x, beta, y);
    if (routine == "tnk_sparse_dmm")
      return tnk_sparse_dmm(op, alpha, matrix, descriptor, nrhs, x, ld, beta, y, ld);
    if (routine == "tnk_sparse_zmv") {
      const tnk_complex16 none{};
      tnk_complex16 untouched;
      return tnk_sparse_zmv(op, &none, matrix, descriptor, &none, &none, &untouched);
    }
    return tnk_sparse_check(matrix, descriptor);
  }
};

constexpr tnk_int most = (tnk_int{1} << 47) / 8; // numbers of 8 bytes in memory

TEST(SparseArguments, AreRefusedByName) {
  const std::string sv = "tnk_sparse_dsv", sm = "tnk_sparse_dsm", mv = "tnk_sparse_dmv",
                    mm = "tnk_sparse_dmm", check = "tnk_sparse_check", zmv = "tnk_sparse_zmv",
                    most_of_8 = " is 17592186044417, expected 0 to 17592186044416",
                    most_of_16 = " is 8796093022209, expected 0 to 8796093022208",
                    null = " is a null address, expected the address of a value",
                    no_diagonal = "3 (matrix) is without an entry on the diagonal in row ",
                    no_ones = ", expected a diagonal, since it is not ones",
                    no_stop = ", expected at least one at the diagonal or on the triangle's side",
                    other_side = "3 (matrix) is with entries of the other triangle only in row ";
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
      {mm, [](Job &j) { j.a.n = -1; }, "3 (matrix->n) is -1, expected 0 or more"},
      {mv, [](Job &j) { j.a.storage = TNK_SPARSE_CSC; }, "3 (matrix->storage) is 5, expected 0 to 4"},
      {mm, [](Job &j) { j.d.kind = tnk_sparse_kind(6); }, "4 (descriptor->kind) is 6, expected 0 to 5"},
      {mv, [](Job &j) { j.a.n = 2, j.d.kind = TNK_SPARSE_SKEW, j.d.triangle = tnk_sparse_triangle(2); },
       "4 (descriptor->triangle) is 2, expected 0 to 1"},
      {mv, [](Job &j) { j.a.n = 2, j.d.kind = TNK_SPARSE_DIAGONAL, j.d.diagonal = tnk_sparse_diagonal(2); },
       "4 (descriptor->diagonal) is 2, expected 0 to 1"},
      {mm, [](Job &j) { j.d.base = 2; }, "4 (descriptor->base) is 2, expected 0 to 1"},
      {mm, [](Job &j) { j.d.check = 3; }, "4 (descriptor->check) is 3, expected 0 to 2"},
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
      // The look comes first, also where a product would read nothing.
      {mv, [](Job &j) { j.d.check = 1, j.column[2] = 3, j.alpha = &j.zero; },
       "3 (matrix->col_index[2]) is 3, expected 0 to 2"},
      // Row pointers from which positions could not be counted.
      {check, [](Job &j) { j.start[0] = INT64_MAX - 2, j.end[0] = j.start[1] = j.end[1] = INT64_MAX; },
       "1 (matrix->row_start[0]) is 9223372036854775805, expected -9223372036854775808 to "
       "9223372036854775804"},
      // What could not lie in memory.
      {mv, [](Job &j) { j.a.m = most + 1; }, "3 (matrix->m)" + most_of_8},
      {mm, [](Job &j) { j.a.n = most + 1; }, "3 (matrix->n)" + most_of_8},
      {mv, [](Job &j) { j.a.nnz = most + 1; }, "3 (matrix->nnz)" + most_of_8},
      {zmv, [](Job &j) { j.a.m = most / 2 + 1; }, "3 (matrix->m)" + most_of_16},
      {zmv, [](Job &j) { j.a.n = most / 2 + 1; }, "3 (matrix->n)" + most_of_16},
      {zmv, [](Job &j) { j.a.nnz = most / 2 + 1; }, "3 (matrix->nnz)" + most_of_16},
      {mm, [](Job &j) { j.nrhs = most + 1; }, "5 (nrhs)" + most_of_8},
      {mm, [](Job &j) { j.ld = most; }, "7 (ldb) is 17592186044416, expected 2 to 8796093022207"},
      {mm, [](Job &j) { j.ld = most, j.a.n = 1; },
       "10 (ldc) is 17592186044416, expected 2 to 17592186044414"},
      // Of solves.
      {sv, [](Job &s) { s.d.kind = TNK_SPARSE_SYMMETRIC; },
       "4 (descriptor->kind) is 1, expected 3 or 4, a triangle or a diagonal"},
      {sv, [](Job &s) { s.a.storage = TNK_SPARSE_BSR; }, "3 (matrix->storage) is 4, expected 0 to 3"},
      {sv, [](Job &s) { s.x = nullptr; }, "5 (b)" + null},
      {sv, [](Job &s) { s.y = nullptr; }, "6 (x)" + null},
      {sm, [](Job &s) { s.nrhs = -1; }, "5 (nrhs) is -1, expected 0 or more"},
      {sm, [](Job &s) { s.ldx = 1; }, "9 (ldx) is 1, expected 2 or more"},
      {sm, [](Job &s) { s.ldx = 3, s.x = s.y; }, "9 (ldx) is 3, expected ldb, where x is b"},
      {sm, [](Job &s) { s.by_diagonals(); }, "4 (descriptor->base) is 0, expected 1 in this storage"},
      // What a kernel would look for outside of the arrays.
      {sv, [](Job &s) { s.column[0] = 1; }, no_diagonal + "0" + no_ones},
      {sv, [](Job &s) { s.column[2] = 0; }, no_diagonal + "1" + no_ones},
      {sv, [](Job &s) { s.end[1] = s.start[1]; }, no_diagonal + "1" + no_ones},
      {sv, [](Job &s) { s.d.diagonal = TNK_SPARSE_UNIT, s.op = 'T', s.column[0] = 1; },
       other_side + "0" + no_stop},
      {sv, [](Job &s) { s.upper(true), s.column[2] = 0; }, other_side + "1" + no_stop},
      {sv, [](Job &s) { s.by_diagonals(); }, no_diagonal + "0" + no_ones},
      {sv, [](Job &s) { s.by_diagonals(), s.a.diag_stride = 1; },
       "3 (matrix->diag_stride) is 1, expected as many as rows or more"},
      {sv, [](Job &s) { s.by_diagonals(), s.a.diag_count = 2, s.diagonals[0] = 0; },
       "3 (matrix->diag_distance[1]) is 0, expected 1 to 9223372036854775807"},
      {sv, [](Job &s) { s.a.storage = TNK_SPARSE_COO, s.a.nnz = 2; }, no_diagonal + "1" + no_ones},
      {sv, [](Job &s) { s.a.storage = TNK_SPARSE_SKY, s.a.row_start = s.column; },
       no_diagonal + "0" + no_ones},
      {sv, [](Job &s) { s.a.storage = TNK_SPARSE_SKY, s.a.row_start = s.row, s.row[1] = 2; },
       "3 (matrix->row_start[1]) is 2, expected 0 to 1"},
      // What would be wrong without a sound.
      {sv, [](Job &s) { s.d.check = 1, s.values[2] = 0; },
       "3 (matrix) is zero on the diagonal in row 1, expected no zeros there"},
      {sv, [](Job &s) { s.d.check = 1, s.column[1] = 1, s.column[2] = 0; },
       "3 (matrix) is not ascending in row 1, expected ascending columns in each row"},
      {sv, [](Job &s) { s.d.check = 1, s.a.storage = TNK_SPARSE_COO, s.column[1] = 1; },
       "3 (matrix) is with several entries on the diagonal in row 1, expected one in each row"},
  };
  ErrorRecorder errors;
  for (const auto &c : cases) {
    Job j;
    if (c.routine == sv || c.routine == sm) j.triangle();
    c.spoil(j);
    EXPECT_EQ(j.run(c.routine), TNK_SPARSE_BAD_ARGUMENT) << c.message;
    EXPECT_EQ(errors.bad_argument(), c.routine + ": argument " + c.message);
    EXPECT_EQ(std::memcmp(j.out, Job().out, sizeof j.out), 0) << c.message;
  }
  // A general matrix has no triangle and no diagonal of its own; a zero alpha leaves wrong indices unread.
  for (const std::string &good : {mv, mm, check}) {
    Job j;
    j.d.triangle = tnk_sparse_triangle(9), j.d.diagonal = tnk_sparse_diagonal(9), j.d.check = 2;
    EXPECT_EQ(j.run(good), TNK_SPARSE_OK);
    j.d.check = 0, j.alpha = &j.zero, j.column[1] = -1000000000000;
    EXPECT_TRUE(good == check || j.run(good) == TNK_SPARSE_OK);
  }
  // A zero alpha reads nothing, nor does a diagonal of ones; nothing is solved with nothing.
  Job s, ones, empty;
  for (Job *j : {&s, &ones, &empty}) j->triangle();
  s.alpha = &s.zero, s.column[2] = 0, s.x = nullptr;
  EXPECT_EQ(s.run(sv), TNK_SPARSE_OK);
  EXPECT_TRUE(s.y[0] == 0 && s.y[1] == 0 && s.y[2] == 7);
  ones.d.kind = TNK_SPARSE_DIAGONAL, ones.d.diagonal = TNK_SPARSE_UNIT, ones.a.nnz = 0, ones.y[0] = 9;
  EXPECT_EQ(ones.run(sm), TNK_SPARSE_OK);
  EXPECT_TRUE(ones.y[0] == 1 && ones.y[3] == 1);
  empty.a.m = empty.a.n = empty.a.nnz = 0, empty.x = nullptr, empty.y = nullptr;
  EXPECT_EQ(empty.run(sv), TNK_SPARSE_OK);
  EXPECT_EQ(errors.last().count, 0);
}

// Places of a matrix with 3 rows and columns, in the kinds where they do not count.
TEST(SparseArguments, EntriesThatDoNotCountAreFoundWhereAsked) {
  ErrorRecorder errors;
  for (int variant = 0; variant < 6 * 2 * 2 * 2 * 2; ++variant) {
    const auto kind = static_cast<tnk_sparse_kind>(variant / 16);
    tnk_sparse_descriptor d{kind, static_cast<tnk_sparse_triangle>(variant / 8 % 2),
                            static_cast<tnk_sparse_diagonal>(variant / 4 % 2), variant / 2 % 2, 0};
    for (tnk_int row = 0; row < 3; ++row)
      for (tnk_int column = 0; column < 3; ++column) {
        const double value = 1;
        const tnk_int starts[] = {7, 7 + (row < 1), 7 + (row < 2), 8}, i = row + d.base, j = column + d.base;
        tnk_sparse_matrix a{};
        a.storage = static_cast<tnk_sparse_storage>(variant % 2), a.m = a.n = 3, a.nnz = 1;
        a.values = &value, a.col_index = &j, a.row_index = &i, a.row_start = starts, a.row_end = starts + 1;
        const bool on_diagonal = row == column, lower = d.triangle == TNK_SPARSE_LOWER;
        const bool counts = kind == TNK_SPARSE_GENERAL ? true
                            : on_diagonal ? kind != TNK_SPARSE_SKEW && d.diagonal == TNK_SPARSE_NONUNIT
                                          : kind != TNK_SPARSE_DIAGONAL && lower == (row > column);
        d.check = TNK_SPARSE_INDICES;
        EXPECT_EQ(tnk_sparse_check(&a, &d), TNK_SPARSE_OK);
        d.check = TNK_SPARSE_ENTRIES;
        EXPECT_EQ(tnk_sparse_check(&a, &d) == TNK_SPARSE_OK, counts)
            << variant << ' ' << row << ' ' << column;
        EXPECT_EQ(errors.take().argument, counts ? "" : "matrix->col_index[0]");
      }
  }
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
