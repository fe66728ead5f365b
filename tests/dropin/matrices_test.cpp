// Matrices through the faces: what the published test programs, which hold small results of both faces, do not ask.
#include "tests/dropin/faces.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/mman.h>
#include <vector>

namespace {

// ---- Reports: this program has both functions, as LAPACK's tests and languages with exceptions do.

struct Report {
  std::string name;
  Int position = 0;
  int from_c = 0, by_rows = 0;
};
Report last;

} // namespace

extern "C" {
void xerbla_(const char *name, const Int *position, std::size_t length) {
  last = {std::string(name, length), *position, CBLAS_CallFromC, RowMajorStrg};
}
void cblas_xerbla(Int position, const char *name, const char *, ...) {
  last = {name, position, CBLAS_CallFromC, RowMajorStrg};
}
}

namespace {

constexpr int rows = 101, columns = 102, no_trans = 111, trans = 112, conj_trans = 113, upper = 121,
              lower = 122, non_unit = 131, left = 141;
const Int zero = 0, one = 1, two = 2, three = 3, minus = -1;
const double nan_ = std::numeric_limits<double>::quiet_NaN();

class Reports : public testing::Test {
protected:
  double a[9]{}, b[9]{}, c[9]{};
  complex16 za[9]{}, zb[9]{}, zc[9]{};
  complex8 ca[9]{};
  const complex16 zalpha = 1;
  const complex8 calpha = 1;
  const double alpha = 1;

  // What was reported, in one line.
  template <class Call> std::string of(const Call &call) {
    last = {};
    for (double &x : c) x = 5;
    call();
    for (const double x : c) EXPECT_EQ(x, 5);
    EXPECT_EQ(CBLAS_CallFromC, 0);
    EXPECT_EQ(RowMajorStrg, 0);
    return last.name + " " + std::to_string(last.position) + " " + std::to_string(last.from_c) +
           std::to_string(last.by_rows);
  }
};

TEST_F(Reports, FortranNamesAndPositionsInPublishedOrder) {
  EXPECT_EQ(of([&] { dgemm_("n", "x", &minus, &two, &two, &alpha, a, &one, b, &one, &alpha, c, &one); }),
            "DGEMM  2 00");
  EXPECT_EQ(of([&] { dgemm_("t", "n", &two, &two, &three, &alpha, a, &two, b, &two, &alpha, c, &two); }),
            "DGEMM  8 00");
  EXPECT_EQ(of([&] { dgemv_("n", &two, &two, &alpha, a, &two, b, &zero, &alpha, c, &zero); }), "DGEMV  8 00");
  // No matrix, and still looked at.
  EXPECT_EQ(of([&] { dger_(&zero, &zero, &alpha, a, &one, b, &one, c, &zero); }), "DGER   9 00");
  EXPECT_EQ(of([&] { csyrk_("u", "c", &two, &two, &calpha, ca, &two, &calpha, ca, &two); }), "CSYRK  2 00");
  EXPECT_EQ(of([&] { dtrsm_("l", "u", "n", "z", &two, &two, &alpha, a, &two, c, &two); }), "DTRSM  4 00");
  EXPECT_EQ(of([&] { xerbla_array_("DFOO", &three, &two); }), "DFO 2 00");
}

TEST_F(Reports, CPositionsAreThoseOfTheCallThatIsMade) {
  EXPECT_EQ(of([&] { cblas_dgemm(99, 0, 0, 2, 2, 2, 1, a, 2, b, 2, 1, c, 2); }), "cblas_dgemm 1 10");
  EXPECT_EQ(of([&] { cblas_dgemm(rows, no_trans, 0, -1, 2, 2, 1, a, 2, b, 2, 1, c, 2); }),
            "cblas_dgemm 3 11");
  EXPECT_EQ(of([&] { cblas_dgemm(columns, no_trans, trans, -1, 2, 2, 1, a, 2, b, 2, 1, c, 2); }),
            "DGEMM  3 10");
  EXPECT_EQ(of([&] { cblas_dgemm(rows, no_trans, trans, -1, 2, 2, 1, a, 2, b, 2, 1, c, 2); }), "DGEMM  4 11");
  EXPECT_EQ(of([&] { cblas_dtrsm(rows, left, upper, trans, non_unit, 3, 2, 1, a, 2, c, 2); }), "DTRSM  9 11");
  EXPECT_EQ(of([&] { cblas_zgemv(rows, conj_trans, 2, 3, &zalpha, za, 2, zb, 1, &zalpha, zc, 1); }),
            "ZGEMV  6 11");
  EXPECT_EQ(of([&] { cblas_zher2(rows, lower, 2, &zalpha, za, 0, zb, 1, zc, 2); }), "ZHER2  7 11");
}

// ---- What is read and written ---------------------------------------------------------------------------------------

TEST(Matrices, AlphaOfZeroReadsNeitherMatrixNorVector) {
  const double none = 0, half = 0.5, unit = 1;
  for (const Int incy : {1, -2}) {
    double y[] = {2, 4, 6, 8, 10};
    dgbmv_("n", &three, &two, &one, &one, &none, nullptr, &three, nullptr, &one, &half, y, &incy);
    for (int i = 0; i < 5; ++i)
      EXPECT_EQ(y[i], incy == 1 ? (i < 3 ? i + 1 : 2 * i + 2) : i % 2 ? 2 * i + 2 : i + 1);
    for (double &element : y) element = nan_;
    dgbmv_("t", &two, &three, &one, &one, &none, nullptr, &three, nullptr, &one, &none, y, &incy);
    EXPECT_EQ(y[0], 0);
  }
  dgemm_("n", "n", &two, &two, &two, &none, nullptr, &two, nullptr, &two, &unit, nullptr, &two);
  dgemm_("n", "n", &two, &two, &zero, &nan_, nullptr, &two, nullptr, &one, &unit, nullptr, &two);
}

TEST(Matrices, ConjugatesByRowsLeaveOperandsAlone) {
  const Int n = 100; // beyond what is copied on the stack
  const auto size = static_cast<std::size_t>(n);
  const complex16 alpha{2, 1}, beta{0, 0};
  std::vector<complex16> a(size * 2), x(size), y(4, complex16{nan_, nan_});
  for (std::size_t i = 0; i < size; ++i) {
    a[2 * i] = complex16{1, double(i)};
    a[2 * i + 1] = complex16{double(i), -1};
    x[i] = complex16{1, 1};
  }
  // y := alpha A^H x: sums of (1 - i k) (1 + i) and of (k + i) (1 + i) for k below 100, backwards with a gap.
  const complex16 first{100 + 4950., 100 - 4950.}, second{4950 - 100., 4950 + 100.};
  cblas_zgemv(rows, conj_trans, n, 2, &alpha, a.data(), 2, x.data(), 1, &beta, y.data(), -3);
  EXPECT_TRUE(y[3] == alpha * first);
  EXPECT_TRUE(y[0] == alpha * second);
  EXPECT_TRUE(std::isnan(__real__ y[1]) && x[99] == (complex16{1, 1}));

  std::vector<complex16> update(size * 2);
  cblas_zgerc(rows, 2, n, &alpha, y.data(), 3, x.data(), 1, update.data(), n);
  EXPECT_TRUE(update[size - 1] == alpha * y[0] * (complex16{1, -1}) && x[99] == (complex16{1, 1}));
}

// Offsets past 32 bits, in a space of which only the touched pages are there.
TEST(Matrices, OffsetsPast32Bits) {
  const std::size_t stride = std::size_t(1) << 30, bytes = (2 * stride + 8) * sizeof(double);
  void *const space =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (space == MAP_FAILED) GTEST_SKIP() << "no address space of " << bytes << " bytes";
  double *const a = static_cast<double *>(space);
  const Int lda = Int(1) << 30;
  for (std::size_t j = 0; j < 3; ++j) a[j * stride] = double(j + 1), a[j * stride + 1] = -double(j + 1);
  const double x[] = {1, 10, 100}, alpha = 1, beta = 0;
  double y[3] = {};
  dgemv_("n", &two, &three, &alpha, a, &lda, x, &one, &beta, y, &one);
  EXPECT_EQ(y[0], 321);
  EXPECT_EQ(y[1], -321);
  EXPECT_EQ(ddot_(&three, a, &lda, x, &one), 321);
  dcopy_(&three, x, &one, a, &lda);
  EXPECT_EQ(a[2 * stride], 100);
  munmap(space, bytes);
}

// A triangle taken by halves: the same bits whether the halves are the caller's or the library's.
TEST(Matrices, SmallSolvesInSinglePrecisionAreTheirHalves) {
  const Int order = 50, half = 25, count = 7;
  const auto n = static_cast<std::size_t>(order);
  std::vector<float> a(n * n), whole(n * 7);
  for (std::size_t i = 0; i < a.size(); ++i)
    a[i] = static_cast<float>(std::cos(double(i))) + (i % (n + 1) == 0 ? 3.f : 0.f);
  for (std::size_t i = 0; i < whole.size(); ++i) whole[i] = static_cast<float>(std::sin(double(i)));
  std::vector<float> parts = whole;
  const float alpha = 1.5f, unit = 1, minus_unit = -1;
  strsm_("L", "U", "T", "N", &order, &count, &alpha, a.data(), &order, whole.data(), &order);
  strsm_("L", "U", "T", "N", &half, &count, &alpha, a.data(), &order, parts.data(), &order);
  sgemm_("T", "N", &half, &count, &half, &minus_unit, a.data() + half * order, &order, parts.data(), &order,
         &alpha, parts.data() + half, &order);
  strsm_("L", "U", "T", "N", &half, &count, &unit, a.data() + half * (order + 1), &order, parts.data() + half,
         &order);
  EXPECT_EQ(whole, parts);
}

} // namespace
