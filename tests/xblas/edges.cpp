// Bad arguments and special values: what is reported, in which order, and what is computed all the same.
#include "support/fault_allocator.h"
#include "tests/xblas/problem.h"
#include <cstdio>
#include <limits>
#include <utility>

namespace {

// What the kernels report through the seam.
struct Reported {
  std::string routine;
  int position;
  tnk_int value;
  bool operator==(const Reported &b) const {
    return routine == b.routine && position == b.position && value == b.value;
  }
};
std::ostream &operator<<(std::ostream &out, const Reported &r) {
  return out << r.routine << " " << r.position << " " << r.value;
}
std::vector<Reported> reports;
std::vector<Reported> take_reports() {
  return std::exchange(reports, {});
}

} // namespace

void tnk_xblas_BLAS_error(const char *routine, int32_t position, tnk_int value, const char *message, ...) {
  reports.push_back({routine, position, value});
  if (message) std::fprintf(stderr, "%s: %s", routine, message); // for who watches a child die
}

namespace {

using namespace tnk::test;

constexpr double infinity = std::numeric_limits<double>::infinity(),
                 nan = std::numeric_limits<double>::quiet_NaN();

std::string published(const Routine &r) {
  return "BLAS_" + r.name;
}
// Operands of more than one element, so that every leading dimension and increment counts.
Problem large(Maker &maker, const Routine &r, int32_t order) {
  for (;;) {
    Problem p = maker.make(r, Data::random, order);
    if (std::min({p.arguments['m'], p.arguments['n'], p.arguments['k']}) > 1) return p;
  }
}

TEST(XblasReports, NameEachBadArgumentByItsPositionOrDoNothing) {
  Maker maker(3);
  for (const Routine &r : routines()) {
    for (const int32_t unknown : {210, 215}) { // does nothing
      if (!r.has_prec) break;
      Problem p = large(maker, r, 102);
      const auto before = p.arguments.arrays.at('y')->bytes();
      call(value_prefix, r, p.arguments, unknown);
      ASSERT_TRUE(p.arguments.arrays.at('y')->bytes() == before) << r.name << ' ' << unknown;
    }
    for (const int32_t order : {101, 102})
      for (const char letter : r.list()) {
        Problem p = large(maker, r, order);
        tnk_int bad = 0;
        if (std::string("mnklv").find(letter) != std::string::npos)
          bad = letter == 'n' && r.op.rfind("gemv", 0) == 0 ? 0 : -1;
        else if (std::string("LMCije").find(letter) == std::string::npos)
          continue;
        p.arguments[letter] = bad;
        p.arguments.alpha = 0; // reports go on to the work, which then leaves matrices alone
        if (letter == 'l' || letter == 'v') p.arguments['m'] = p.arguments['n'] = 0; // nothing to walk over
        call(value_prefix, r, p.arguments, 212);
        const std::vector<Reported> expected = {{published(r), -r.position(letter), bad}};
        ASSERT_EQ(take_reports(), expected) << r.name << " " << letter;
        if (!r.has_prec) continue;
        call(value_prefix, r, p.arguments, 215);
        ASSERT_TRUE(take_reports().empty()) << r.name << " without a precision";
      }
  }
}

TEST(XblasReports, ComeInTheOrderOfTheChecks) {
  Maker maker(4);
  const auto positions = [&](const char *name, int32_t order, std::initializer_list<char> bad) {
    const Routine r = decoded(name);
    Problem p = large(maker, r, order);
    for (const char letter : bad)
      p.arguments[letter] = std::string("mn").find(letter) != std::string::npos ? -1 : 0;
    call(value_prefix, r, p.arguments, 214);
    std::vector<int> found;
    for (const Reported &report : take_reports()) found.push_back(report.position);
    return found;
  };
  EXPECT_EQ(positions("dgemv_x", 102, {'m', 'n', 'i', 'j'}), (std::vector<int>{-3, -4, -9, -12}));
  EXPECT_EQ(positions("dgemv_x", 102, {'i', 'j', 'L'}), (std::vector<int>{-9, -12, -7}));
  EXPECT_EQ(positions("dgemv_x", 100, {'j', 'L'}), (std::vector<int>{-12})); // nothing is known of lda
  EXPECT_EQ(positions("dgemm_x", 101, {'L', 'M', 'C'}), (std::vector<int>{-9, -11, -14}));
  EXPECT_EQ(positions("zdot_x", 0, {'n', 'i', 'j'}), (std::vector<int>{-2, -5, -8}));
}

TEST(XblasReports, SolvesNameBadEnumerationsWithoutX) {
  Maker maker(5);
  for (const Routine &r : routines()) {
    if (!r.solves()) continue;
    Problem p = large(maker, r, 102);
    for (const char letter : {'o', 'u', 't', 'd'}) p.arguments[letter] = 99;
    p.arguments['n'] = 0;
    call(value_prefix, r, p.arguments, 212);
    const std::string name = published(r).substr(0, published(r).size() - (r.has_prec ? 2 : 0));
    EXPECT_EQ(take_reports(), (std::vector<Reported>(4, {name, 0, 99}))) << r.name;
  }
}

// Unknown values are lower, non-unit, right, the transpose; an unknown order is by rows, but in gemv, where the rows of
// op(A) lie side by side.
TEST(XblasEdges, GoOnWithUnknownEnumerations) {
  Maker maker(6);
  const struct {
    const char *name;
    char letter;
    int32_t unknown, meant;
  } cases[] = {{"dsymv_x", 'u', 120, 122}, {"ztrmv_x", 'd', 0, 131},   {"zsymm_x", 's', 140, 142},
               {"zgemv_x", 't', 110, 112}, {"zgemm_x", 'T', 114, 112}, {"dgbmv_x", 'o', 103, 101},
               {"dgemm_x", 'o', 0, 101},   {"ztrsv_x", 't', 7, 112}};
  for (const auto &c : cases)
    for (int round = 0; round < 20; ++round) {
      const Routine r = decoded(c.name);
      Problem p = maker.make(r, Data::random, c.letter == 'o' ? c.meant : 102);
      if (p.arguments[c.letter] != c.meant) continue;
      const auto before = p.arguments.arrays['y']->bytes();
      call(value_prefix, r, p.arguments, 214);
      const auto meant = p.arguments.arrays['y']->bytes();
      p.arguments.arrays['y']->restore(before);
      p.arguments[c.letter] = c.unknown;
      call(value_prefix, r, p.arguments, 214);
      EXPECT_TRUE(p.arguments.arrays['y']->bytes() == meant) << c.name << " " << c.letter;
    }
  take_reports();
  const double a[] = {1, 2, 3, 4, 5, 6}, x[] = {1, 10, 100}; // lda 3
  double y[3];
  tnk_xblas_BLAS_dgemv_x(0, 111, 2, 3, 1, a, 3, x, 1, 0, y, 1, 214);
  EXPECT_EQ(y[0] * 1000 + y[1], 321654);
  tnk_xblas_BLAS_dgemv_x(0, 112, 3, 2, 1, a, 3, x, 1, 0, y, 1, 214); // lengths exchanged, not strides
  EXPECT_EQ(y[0] * 1000 + y[1], 321654);
}

TEST(XblasEdges, DotsReadAndReturnAsTold) {
  const double both[] = {nan, infinity}, one[] = {1, 1, 1}, large[] = {0x1p1000},
               cancelling[] = {1e30, 1, -1e30};
  const struct {
    tnk_int n;
    double alpha;
    const double *x;
    double beta, r, plain, extra;
  } cases[] = {
      {0, infinity, one, 1, 7, 7, 7},        // an empty sum and beta 1
      {2, 0, both, 1, 7, 7, 7},              // alpha 0 and beta 1
      {0, 1, one, 2, 7, 14, 14},             //
      {-1, infinity, one, 1, 7, nan, nan},   // reported, then computed: infinity times 0
      {1, 0, both, 2, 7, nan, nan},          // alpha 0 still reads x
      {1, 0, one, 0, infinity, nan, nan},    // beta 0 still reads r
      {1, 0, one, 0, nan, nan, nan},         //
      {1, nan, one, 1, 7, nan, nan},         // a NaN is not 0
      {0, 1e305, one, 2, 7, 14, nan},        // alpha is cut, needed or not
      {1, 1, large, 0, 1, 0x1p1000, nan},    // cutting x overflows
      {1, 1, both + 1, 0, 1, infinity, nan}, //
      {3, 1, cancelling, 0, 1, 0, 1},        // the tail stays
      {3, 3, cancelling, -2, 1e30, -2e30, -2e30},
  };
  for (const auto &c : cases)
    for (const int32_t prec : {211, 212, 213, 214}) {
      double r = c.r;
      tnk_xblas_BLAS_ddot_x(192, c.n, c.alpha, c.x, 1, c.beta, one, 1, &r, prec);
      const double expected = prec == 214 ? c.extra : c.plain;
      EXPECT_TRUE(r == expected || (std::isnan(r) && std::isnan(expected)))
          << c.n << " " << c.alpha << " " << c.beta << " " << c.r << " at " << prec << ": " << r;
    }
  take_reports();
  // Of complex factors both parts count.
  const tnk_complex16 beta = {1, 1}, alpha = {0, 1}, x = {2, 3};
  tnk_complex16 r = {5, 0};
  tnk_xblas_BLAS_zdot_x(191, 1, &alpha, &x, 1, &beta, &x, 1, &r, 214);
  EXPECT_EQ(r.re, 5);
  EXPECT_EQ(r.im, 5 + 13);
  double total = 0;
  tnk_xblas_BLAS_ddot_x(0, 3, 1, cancelling + 1, 0, 0, one, 0, &total,
                        214); // increments of 0 stay where they are
  EXPECT_EQ(total, 3);
}

TEST(XblasEdges, FactorsOfZeroLeaveMatricesUnread) {
  const double *const nothing = nullptr;
  double y[] = {nan, 2};
  for (const int32_t prec : {212, 214}) {
    y[0] = nan;
    tnk_xblas_BLAS_dgemv_x(102, 111, 1, 1, 0, nothing, 1, nothing, 1, 0, y, 1, prec);
    EXPECT_EQ(y[0], 0);
    tnk_xblas_BLAS_dsymv_x(102, 121, 1, 0, nothing, 1, nothing, 1, 0.5, y + 1, 1, prec);
    EXPECT_EQ(y[1], 1);
    const double b = 3, x = 2;
    tnk_xblas_BLAS_dge_sum_mv_x(102, 1, 1, 0, nothing, 1, &x, 1, 5, &b, 1, y, 1, prec);
    EXPECT_EQ(y[0], 30);
    tnk_xblas_BLAS_dge_sum_mv_x(102, 1, 1, 5, &b, 1, &x, 1, 0, nothing, 1, y, 1, prec);
    EXPECT_EQ(y[0], 30);
    allocations.reset();
    for (double *z : {y, y + 1}) {
      tnk_xblas_BLAS_dtrsv_x(102, 121, 111, 131, 1, 0, nothing, 1, z, 1, prec);
      EXPECT_EQ(*z, 0);
      *z = 2;
    }
    EXPECT_EQ(allocations.made, 0);
    double w = 4;
    tnk_xblas_BLAS_daxpby_x(1, 0, nothing, 1, 1, &w, 1, prec);
    EXPECT_EQ(w, 4);
    y[0] = infinity; // beta times y without pairs
    tnk_xblas_BLAS_dgemv_x(102, 111, 1, 1, 0, nothing, 1, nothing, 1, 1, y, 1, prec);
    EXPECT_EQ(y[0], infinity);
    double sum = nan;
    tnk_xblas_BLAS_dsum_x(0, nothing, 1, &sum, prec);
    EXPECT_EQ(sum, 0);
  }
}

TEST(XblasEdges, SmallFunctions) {
  for (int32_t prec = 210; prec <= 215; ++prec)
    for (int32_t cmd = 150; cmd <= 157; ++cmd) {
      const bool known = prec > 210 && prec < 215 && cmd > 150 && cmd < 157, extra = prec == 214,
                 single = prec == 211;
      const int32_t facts[] = {
          0, 2, single ? 24 : extra ? 105 : 53, !extra, !extra, single ? -126 : -1022, single ? 127 : 1023,
          0};
      EXPECT_EQ(tnk_xblas_BLAS_fpinfo_x(cmd, prec), known ? facts[cmd - 150] : 0) << cmd << " " << prec;
      EXPECT_EQ(tnk_xblas_blas_fpinfo_x(&cmd, &prec), known ? facts[cmd - 150] : 0);
    }
  allocations.reset();
  void *const block = tnk_xblas_blas_malloc(40);
  EXPECT_EQ(allocations.largest, 40);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 128, 0u);
  tnk_xblas_blas_free(block);
  EXPECT_EQ(allocations.live, 0);
}

TEST(XblasMemoryDeathTest, RefusedBlocksAreReportedAndWritten) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  for (const int refused : {1, 2}) {
    const auto solve = [&] {
      const double t = 2;
      double x = 3;
      allocations.refuse = refused;
      tnk_xblas_BLAS_dtrsv_x(102, 121, 111, 131, 1, 1, &t, 1, &x, 1, 214);
    };
    EXPECT_DEATH(solve(), "blas_malloc: malloc failed.\n");
  }
}

} // namespace
