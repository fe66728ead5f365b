// The triangular multiply, by its entries and by each of its stages, against the definition.
#include "blas/level3/family.h"
#include "support/allocations.h"
#include "support/error_recorder.h"
#include "support/named.h"
#include "support/triangle.h"

namespace tnk::test {
namespace {

template <class T> class Trmm : public testing::Test {};
TYPED_TEST_SUITE(Trmm, Types, );

template <class T> Named<T> entry() {
  return Named<T>("tnk_blas_x?trmm");
}
template <class T, class Call> void check(TriangleProduct<T> &&p, Call call) {
  call(p);
  ASSERT_EQ(p.fault(), "") << p.name();
}
const auto by_entry = [](auto &p) { p.call(entry<std::decay_t<decltype(p.alpha)>>()); };

// Each order meets each other dimension in some of the forms, and each form each order.
TYPED_TEST(Trmm, SmallOrders) {
  using T = TypeParam;
  const tnk_int sizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 15, 16, 17, 31, 33, 63, 64, 66};
  const T scalars[] = {one<T>, scalar<T>(0.7, -0.4), scalar<T>(-1)};
  std::size_t turn = 0;
  for (const Form &form : all_forms<T>())
    for (const tnk_int order : sizes)
      for (int some = 0; some < 3; ++some, ++turn) {
        const tnk_int other = sizes[turn * 7 % 19];
        ASSERT_NO_FATAL_FAILURE(check(TriangleProduct<T>(form, form.left() ? order : other,
                                                         form.left() ? other : order, scalars[turn % 3]),
                                      by_entry));
      }
}

// Where levels start and end, and where rows, columns and chunks are cut.
TYPED_TEST(Trmm, AroundTheBlocks) {
  using T = TypeParam;
  const tnk_int shapes[][2] = {{127, 9}, {128, 5},   {130, 33}, {255, 2},  {256, 7},  {257, 12}, {389, 6},
                               {515, 4}, {64, 1001}, {70, 999}, {20, 513}, {16, 511}, {258, 513}};
  const std::vector<Form> forms = all_forms<T>();
  std::size_t turn = 0;
  for (const auto &[order, other] : shapes)
    for (std::size_t f = turn++ % 2; f < forms.size(); f += 2) {
      const bool left = forms[f].left();
      ASSERT_NO_FATAL_FAILURE(check(TriangleProduct<T>(forms[f], left ? order : other, left ? other : order,
                                                       scalar<T>(turn % 3 ? 1 : -2), true),
                                    by_entry));
    }
}

TYPED_TEST(Trmm, LettersOfBothCasesAndUnknownOnes) {
  using T = TypeParam;
  for (const char side : std::string("LlRrX"))
    for (const char uplo : std::string("UuLl?"))
      for (const char trans : std::string("NnTtCcX"))
        for (const char diag : std::string("UuNn "))
          ASSERT_NO_FATAL_FAILURE(check(TriangleProduct<T>({side, uplo, trans, diag}, 9, 10), by_entry));
}

// Nothing is read where alpha is zero, A not even by its address, and there B may be NaN; a NaN alpha is not zero, nor
// is one with an imaginary part.
TYPED_TEST(Trmm, ScalarsAndEmptyDimensions) {
  using T = TypeParam;
  for (const char side : std::string("LR")) {
    const Form form = {side, 'U', 'T', 'N'};
    TriangleProduct<T> zero(form, 9, 12, T{});
    for (tnk_int i = 0; i < 9; ++i) zero.b.put(static_cast<std::size_t>(i), scalar<T>(nan, nan));
    allocations.reset();
    entry<T>()(&form.side, &form.uplo, &form.trans, &form.diag, &zero.m, &zero.n, &zero.alpha,
               static_cast<const T *>(nullptr), &zero.lda, zero.b.data(), &zero.ldb);
    EXPECT_EQ(zero.fault(), "");
    EXPECT_EQ(allocations.made, 0);

    TriangleProduct<T> imaginary(form, 9, 12, is_complex<T> ? scalar<T>(0, 2) : scalar<T>(2));
    by_entry(imaginary);
    EXPECT_EQ(imaginary.fault(), "");
    TriangleProduct<T> unknown(form, 9, 12, scalar<T>(nan));
    by_entry(unknown);
    for (tnk_int j = 0; j < 12; ++j)
      for (tnk_int i = 0; i < 9; ++i) ASSERT_TRUE(std::isnan(reference::re(unknown.result(i, j))));

    for (const auto &[m, n] : {std::pair<tnk_int, tnk_int>{0, 12}, {9, 0}, {-1, 12}, {9, -3}}) {
      TriangleProduct<T> empty(form, 9, 12, T{});
      empty.m = m, empty.n = n;
      by_entry(empty);
      EXPECT_TRUE(empty.untouched());
    }
  }
}

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
      for (tnk_int first = 0; first < other; first += cut) {
        const tnk_int some = std::min(cut, other - first);
        const tnk_int m = form.left() ? whole.m : some, n = form.left() ? some : whole.n;
        entry<T>()(&form.side, &form.uplo, &form.trans, &form.diag, &m, &n, &whole.alpha,
                   static_cast<const T *>(parts.a.data()), &parts.lda,
                   parts.b.data() + first * (form.left() ? parts.ldb : 1), &parts.ldb);
      }
      ASSERT_TRUE(same_bits(parts.b.data(), whole.b.data(), whole.b.size()))
          << whole.name() << " cut " << cut;
    }
}

} // namespace
} // namespace tnk::test
