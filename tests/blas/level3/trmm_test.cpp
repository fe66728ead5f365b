// The triangular multiply, by its entries and by each of its stages, against the definition.
#include "blas/level3/triangle.h"

namespace tnk::test {
namespace {

template <class T> class Trmm : public testing::Test {};
TYPED_TEST_SUITE(Trmm, Types, );

const auto by_entry = [](auto &p) { call_entry<Multiply>(p); };

// Without its scratch B stays as it was, to the bit, whatever else it would have taken to get there. A product on the way
// that gets none is only slower.
TYPED_TEST(Trmm, MemoryThatIsRefused) {
  using T = TypeParam;
  ErrorRecorder errors;
  for (const Form &form : {Form{'L', 'U', 'N', 'N'}, Form{'R', 'L', 'T', 'N'}})
    for (const tnk_int n : {7, 80, 300})
      for (int refused = 1; refused >= 0;) {
        TriangleProduct<T> p(form, 300, n, scalar<T>(2), true);
        allocations.reset();
        allocations.refuse = refused;
        by_entry(p);
        const bool met = refused > 0 && allocations.refuse == 0;
        EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
        EXPECT_EQ(allocations.largest, refused == 1 ? 0 : triangular_scratch<T>);
        EXPECT_EQ(errors.take().routine, !met ? "" : refused == 1 ? "xtrmm" : "xgemm");
        EXPECT_TRUE(refused == 1 ? p.untouched() : p.fault().empty()) << p.name() << " refused " << refused;
        refused = refused == 0 ? -1 : met ? refused + 1 : 0;
      }
}

// Right-hand sides cut as threads would: the same bits.
TYPED_TEST(Trmm, Slices) {
  using T = TypeParam;
  const std::vector<Form> forms = all_forms<T>();
  std::size_t turn = 0;
  for (const Form &form : forms)
    for (const auto &[other, cut] : {std::pair<tnk_int, tnk_int>{9, 8}, {47, 4}, {1001, 1000}, {1006, 520}}) {
      const tnk_int order = turn++ % 2 ? 67 : 7;
      TriangleProduct<T> whole(form, form.left() ? order : other, form.left() ? other : order,
                               scalar<T>(0.7, 0.3));
      TriangleProduct<T> parts(form, whole.m, whole.n, whole.alpha);
      by_entry(whole);
      call_in_slices<Multiply>(parts, other, cut);
      ASSERT_TRUE(same_bits(parts.b.data(), whole.b.data(), whole.b.size()))
          << whole.name() << " cut " << cut;
    }
}

// Side, triangle and operation as the name has them; in double the forms by columns, on the right alone.
TYPED_TEST(Trmm, FamilyByItsNames) {
  using T = TypeParam;
  for (const Form &form : all_forms<T>()) {
    if (std::is_same_v<T, double> && form.left()) continue;
    const Named<T> named("tnk_blas_?trmm_" + form.suffix());
    for (const auto &[order, other] : {std::pair<tnk_int, tnk_int>{3, 5}, {9, 1}, {64, 35}, {143, 70}})
      ASSERT_NO_FATAL_FAILURE(check(
          TriangleProduct<T>(form, form.left() ? order : other, form.left() ? other : order), [&](auto &p) {
            named(&form.diag, &p.m, &p.n, static_cast<const T *>(p.a.data()),
                  static_cast<const tnk_int *>(&p.lda), p.b.data(), static_cast<const tnk_int *>(&p.ldb));
          }));
  }
}

TEST(TrmmStages, PackedTriangles) {
  alignas(64) double packed[64 * 36], buffer[64 * 32];
  for (const Form &form : all_forms<double>())
    for (const auto &[m, n] : {std::pair<tnk_int, tnk_int>{4, 3}, {20, 38}, {64, 71}}) {
      if (!form.left()) continue;
      ASSERT_NO_FATAL_FAILURE(check(TriangleProduct<double>(form, m, n), [&](auto &p) {
        const std::uint8_t upper = form.upper(), plain = form.as_it_is(), transposed = !plain;
        const tnk_int offset = 3;
        tnk_blas_dtrmm_copya(&upper, &plain, &transposed, &form.diag, &p.m, p.a.data(), &p.lda, packed);
        (form.upper() == form.as_it_is() ? tnk_blas_dtrmm_lu : tnk_blas_dtrmm_ll)(
            &p.m, &p.n, packed, buffer, &offset, p.b.data() - offset, &p.ldb, nullptr);
      }));
    }
}

// With an alpha of zero A is not read.
TEST(TrmmStages, PlainPath) {
  std::size_t turn = 0;
  for (const Form &form : all_forms<double>())
    for (const double alpha : {1.0, 0.0, -0.7})
      for (const tnk_int m : {1, 5, 33})
        ASSERT_NO_FATAL_FAILURE(
            check(TriangleProduct<double>(form, m, 1 + turn++ * 5 % 23, alpha), [](auto &p) {
              for (std::size_t i = 0; p.alpha == 0 && i < p.a.size(); ++i) p.a.put(i, nan);
              p.call(tnk_blas_dtrmm_pst);
            }));
}

// The triangle of p by columns, and nothing else.
std::vector<double> packed_triangle(const TriangleProduct<double> &p) {
  std::vector<double> elements;
  for (tnk_int j = 0; j < p.order; ++j)
    for (tnk_int i = 0; i < p.order; ++i)
      if (i == j || (i < j) == p.form.upper())
        elements.push_back(p.a.get(static_cast<std::size_t>(i + j * p.lda)));
  return elements;
}

// Both ways, the scratch refused or not, in one block of the one size; no more, no less is read than the triangle, and with an
// alpha of zero, which stores zeros over anything, not that.
TEST(Ptrmm, EveryForm) {
  ErrorRecorder errors;
  std::size_t turn = 0;
  for (const Form &form : all_forms<double>())
    for (const tnk_int order : {1, 3, 4, 9, 33, 64, 100, 255, 257, 300})
      for (const bool refused : {false, true}) {
        const tnk_int other = order > 250 ? (turn % 4 ? 9 : 1003) : turn % 3 == 0 ? 3 : 37;
        const double alpha = turn % 11 == 0 ? 0 : turn % 2 ? 1 : -2;
        const bool plain = ++turn % 5 == 0;
        TriangleProduct<double> p(form, form.left() ? order : other, form.left() ? other : order, alpha,
                                  true);
        const Guarded<double> ap(packed_triangle(p), turn % 2 ? page_end : page_start);
        const bool asks = !plain && p.m >= 4 && p.n >= 4 && alpha != 0;
        if (alpha == 0) p.b.put(0, nan);
        allocations.reset();
        allocations.refuse = refused && asks ? 1 : 0;
        (plain ? tnk_blas_dptrmm_pst
               : tnk_blas_xdptrmm)(&form.side, &form.uplo, &form.trans, &form.diag, &p.m, &p.n, &p.alpha,
                                   alpha == 0 ? nullptr : ap.data(), p.b.data(), &p.ldb);
        ASSERT_EQ(p.fault(), "") << p.name();
        EXPECT_EQ(allocations.made > 0, asks && !refused) << p.name();
        // Beyond one block products ask for more.
        const int64_t most =
            order > 256 ? std::min<int64_t>(allocations.largest, 1024000) : allocations.largest.load();
        EXPECT_EQ(most, asks && !refused ? 1024000 : 0);
        EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
        EXPECT_EQ(errors.take().count, 0);
      }
}

// A block across the diagonal, and what is left alone around and beside it.
TEST(Ptrmm, Unpack) {
  for (const char uplo : std::string("LU")) {
    const TriangleProduct<double> p({'L', uplo, 'N', 'N'}, 9, 1);
    const Guarded<double> ap(packed_triangle(p));
    const tnk_int row = 2, column = 3, m = 6, n = 5, ld = 7;
    std::vector<double> to(static_cast<std::size_t>(ld * n), 77), expected = to;
    for (tnk_int j = 0; j < n; ++j)
      for (tnk_int i = 0; i < m; ++i)
        if (const double x = p.element(row + i, column + j); x != 0)
          expected[static_cast<std::size_t>(i + j * ld)] = x;
    tnk_blas_dptrmm_copya(&uplo, &p.order, &row, &column, &m, &n, ap.data(), to.data(), &ld);
    EXPECT_EQ(to, expected);
  }
}

// Whatever alpha is.
TEST(Ptrmm, EmptyDimensionsEndIt) {
  TriangleProduct<double> p({'L', 'U', 'N', 'N'}, 6, 5, 0.0);
  for (const auto &[m, n] : {std::pair<tnk_int, tnk_int>{0, 5}, {-2, 5}, {6, 0}, {6, -1}})
    for (const double alpha : {0.0, 2.0})
      tnk_blas_xdptrmm(&p.form.side, &p.form.uplo, &p.form.trans, &p.form.diag, &m, &n, &alpha, nullptr,
                       p.b.data(), &p.ldb);
  EXPECT_TRUE(p.untouched());
}

} // namespace
} // namespace tnk::test
