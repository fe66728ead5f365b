// What the compressed-row products fix beyond their values: non-finite numbers, empty rows, origins, order of sums.
#include "support/guarded.h"
#include "support/random.h"
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <tnk/spblas_grid.h>
#include <vector>

namespace {

using tnk::test::Guarded;
using Vector = std::vector<double>;
using Par = decltype(&tnk_spblas_dcsr1ng__f__mvout_par);
using Seq = decltype(&tnk_spblas_dcsr1ttlnf__mvout_seq);

constexpr double inf = std::numeric_limits<double>::infinity();

// Rows 1 ... 3, the second one empty: 2 at (1,1), `above` at (1,3), 4 at (3,1), and 5 and 6 both at (3,3).
struct Matrix {
  double above = 3, alpha = 10;
  tnk_int pointer_base = 1, first = 1, last = 3, m = 3;

  template <class Kernel> Vector times(Kernel kernel, Vector x = {1, 2, 3}) const {
    const double values[] = {2, above, 4, 5, 6};
    const tnk_int columns[] = {1, 3, 1, 3, 3};
    const tnk_int b = pointer_base, start[] = {b, b + 2, b + 2}, end[] = {b + 2, b + 2, b + 5};
    Vector y{100, 200, 300};
    if constexpr (std::is_same_v<Kernel, Par>)
      kernel(&first, &last, &m, &alpha, values, columns, start, end, x.data() + offset(),
             y.data() + offset());
    else
      kernel(&m, &alpha, values, columns, start, end, x.data(), y.data());
    return y;
  }
  bool from_first = false; // vectors from element `first` on
  tnk_int offset() const { return from_first ? first - 1 : 0; }
};

TEST(CsrMv, TakesPointersFromTheirOwnBase) {
  for (tnk_int base : {0, 1, 7}) {
    Matrix a;
    a.pointer_base = base;
    EXPECT_EQ(a.times(tnk_spblas_dcsr1ng__f__mvout_par), (Vector{210, 200, 670})) << base;
    EXPECT_EQ(a.times(tnk_spblas_dcsr1nslnf__mvout_par), (Vector{240, 200, 670})) << base;
    EXPECT_EQ(a.times(tnk_spblas_dcsr1nd_nf__mvout_seq), (Vector{120, 200, 630})) << base;
  }
}

TEST(CsrMv, EmptyRowsGetWhatTheirKindGivesThem) {
  Matrix a;
  a.alpha = inf;
  EXPECT_TRUE(std::isnan(a.times(tnk_spblas_dcsr1ng__f__mvout_par)[1]));
  EXPECT_EQ(a.times(tnk_spblas_dcsr1tg__f__mvout_par)[1], 200);
  a.alpha = 10;
  for (Par unit : {tnk_spblas_dcsr1ntluf__mvout_par, tnk_spblas_dcsr1ntuuf__mvout_par,
                   tnk_spblas_dcsr1nsluf__mvout_par, tnk_spblas_dcsr1nsuuf__mvout_par})
    EXPECT_EQ(a.times(unit)[1], 220);
  for (Seq unit : {tnk_spblas_dcsr1ttluf__mvout_seq, tnk_spblas_dcsr1ttuuf__mvout_seq})
    EXPECT_EQ(a.times(unit)[1], 220);
}

TEST(CsrMv, OnlyOnePassFormsPassOverWhatIsNotTheirs) {
  Matrix a;
  a.above = inf;
  for (Par whole_row : {tnk_spblas_dcsr1ntlnf__mvout_par, tnk_spblas_dcsr1ntluf__mvout_par,
                        tnk_spblas_dcsr1nsluf__mvout_par, tnk_spblas_dcsr1nal_f__mvout_par})
    EXPECT_TRUE(std::isnan(a.times(whole_row)[0]));
  EXPECT_TRUE(std::isnan(a.times(tnk_spblas_dcsr1ttlnf__mvout_seq)[2]));
  EXPECT_EQ(a.times(tnk_spblas_dcsr1nslnf__mvout_par), (Vector{240, 200, 670}));
}

TEST(CsrMv, StoredDiagonalsOfSkewMatricesHaveNoEffect) {
  EXPECT_EQ(Matrix().times(tnk_spblas_dcsr1nal_f__mvout_par), (Vector{-20, 200, 340}));
  EXPECT_EQ(Matrix().times(tnk_spblas_dcsr1nau_f__mvout_par), (Vector{190, 200, 270}));
}

TEST(CsrMv, UpperMirrorsTakeVectorsFromTheirFirstRow) {
  Matrix piece;
  piece.first = 3;
  piece.from_first = true;
  EXPECT_EQ(piece.times(tnk_spblas_dcsr1nsunf__mvout_par), (Vector{100, 200, 630}));
  EXPECT_EQ(piece.times(tnk_spblas_dcsr1nsuuf__mvout_par), (Vector{100, 200, 330}));
  EXPECT_EQ(piece.times(tnk_spblas_dcsr1nau_f__mvout_par), (Vector{100, 200, 300}));
  piece.from_first = false;
  EXPECT_EQ(piece.times(tnk_spblas_dcsr1nslnf__mvout_par), (Vector{220, 200, 670}));
  piece.last = 2;
  EXPECT_EQ(piece.times(tnk_spblas_dcsr1nslnf__mvout_par), (Vector{100, 200, 300}));
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

TEST(CsrMv, RowsAreSummedInTheirOrder) {
  tnk::test::Random random;
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

} // namespace
