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

// ---- Stages by themselves -------------------------------------------------------------------------------------------

std::string lower_case(std::initializer_list<char> letters) {
  std::string text;
  for (const char letter : letters) text += static_cast<char>(letter + ('a' - 'A'));
  return text;
}

// Side, triangle and operation as the name has them; in double the forms by columns, on the right alone.
TYPED_TEST(Trmm, FamilyByItsNames) {
  using T = TypeParam;
  for (const Form &form : all_forms<T>()) {
    if (std::is_same_v<T, double> && form.left()) continue;
    const Named<T> named("tnk_blas_?trmm_" + lower_case({form.side, form.uplo, form.trans}));
    for (const auto &[order, other] : {std::pair<tnk_int, tnk_int>{3, 5}, {9, 1}, {64, 35}, {143, 70}})
      ASSERT_NO_FATAL_FAILURE(check(
          TriangleProduct<T>(form, form.left() ? order : other, form.left() ? other : order), [&](auto &p) {
            named(&form.diag, &p.m, &p.n, static_cast<const T *>(p.a.data()),
                  static_cast<const tnk_int *>(&p.lda), p.b.data(), static_cast<const tnk_int *>(&p.ldb));
          }));
  }
}

// Loops of two levels and the finish alone, with buffers and without, below a level's blocks and beyond them.
TYPED_TEST(Trmm, LoopsAndFinish) {
  using T = TypeParam;
  HeldBlocks<T> held;
  const tnk_int last = 1;
  std::size_t turn = 0;
  for (const Form &form : all_forms<T>())
    for (const bool buffers : {true, false})
      for (const std::string stage : {"", "_ker"}) {
        const Named<T> named(std::string("tnk_blas_?trmm_") + (form.left() ? "left" : "right") + stage);
        const auto level = [&](tnk_int order) {
          tnk_triangular_level made = held.level(form, order, 24);
          if (!buffers) made.a_buffer = made.b_buffer = nullptr;
          return made;
        };
        const tnk_triangular_level levels[] = {level(20), level(turn % 2 ? 8 : 7)};
        const std::uint8_t upper = form.upper(), plain = form.as_it_is(), transposed = form.trans == 'T';
        const tnk_int order = turn % 3 ? 70 : 18, other = turn++ % 2 ? 29 : 3;
        ASSERT_NO_FATAL_FAILURE(check(
            TriangleProduct<T>(form, form.left() ? order : other, form.left() ? other : order), [&](auto &p) {
              named(&upper, &plain, &transposed, &form.diag, &p.m, &p.n, static_cast<const T *>(nullptr),
                    static_cast<const T *>(p.a.data()), &p.lda, p.b.data(), &p.ldb, tnk_int{0}, &last,
                    levels + 0, buffers ? held.descriptor() : nullptr);
            }));
      }
}

// Other blocks than these would round otherwise.
TEST(TrmmStages, LevelsOfTheEntry) {
  HeldBlocks<double> held;
  const tnk_int last = 2;
  for (const Form &form : {Form{'L', 'U', 'N', 'N'}, Form{'R', 'U', 'N', 'N'}}) {
    const tnk_int m = form.left() ? 600 : 5, n = form.left() ? 5 : 600;
    TriangleProduct<double> whole(form, m, n), staged(form, m, n);
    by_entry(whole);
    const auto level = [&](tnk_int left, tnk_int right) {
      return held.level(form, form.left() ? left : right, form.left() ? 1000 : 512);
    };
    const tnk_triangular_level levels[] = {level(256, 256), level(128, 64), level(64, 16)};
    const std::uint8_t upper = 1, plain = 1, transposed = 0;
    (form.left() ? tnk_blas_dtrmm_left : tnk_blas_dtrmm_right)(
        &upper, &plain, &transposed, &form.diag, &m, &n, nullptr, staged.a.data(), &staged.lda,
        staged.b.data(), &staged.ldb, 0, &last, levels, held.descriptor());
    EXPECT_TRUE(same_bits(whole.b.data(), staged.b.data(), whole.b.size())) << whole.name();
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

// ---- Packed storage -------------------------------------------------------------------------------------------------

// The triangle of p by columns, and nothing else.
std::vector<double> packed_triangle(const TriangleProduct<double> &p) {
  std::vector<double> elements;
  for (tnk_int j = 0; j < p.order; ++j)
    for (tnk_int i = 0; i < p.order; ++i)
      if (i == j || (i < j) == p.form.upper())
        elements.push_back(p.a.get(static_cast<std::size_t>(i + j * p.lda)));
  return elements;
}

// Both ways, the scratch refused or not, in one block of the one size; no more, no less is read than the triangle.
TEST(Ptrmm, EveryForm) {
  ErrorRecorder errors;
  std::size_t turn = 0;
  for (const Form &form : all_forms<double>())
    for (const tnk_int order : {1, 3, 4, 9, 33, 64, 100, 255, 257, 300})
      for (const bool refused : {false, true}) {
        const tnk_int other = order > 250 ? (turn % 4 ? 9 : 1003) : turn % 3 == 0 ? 3 : 37;
        const double alpha = turn++ % 2 ? 1 : -2;
        const bool plain = turn % 5 == 0;
        TriangleProduct<double> p(form, form.left() ? order : other, form.left() ? other : order, alpha,
                                  true);
        const Guarded<double> ap(packed_triangle(p), turn % 2 ? page_end : page_start);
        const bool asks = !plain && p.m >= 4 && p.n >= 4;
        allocations.reset();
        allocations.refuse = refused && asks ? 1 : 0;
        (plain ? tnk_blas_dptrmm_pst : tnk_blas_xdptrmm)(&form.side, &form.uplo, &form.trans, &form.diag,
                                                         &p.m, &p.n, &p.alpha, ap.data(), p.b.data(), &p.ldb);
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

// Zeros over a NaN without a look at A; dimensions that end it.
TEST(Ptrmm, ScalarsAndEmptyDimensions) {
  TriangleProduct<double> p({'L', 'U', 'N', 'N'}, 6, 5, 0.0);
  for (const auto routine : {tnk_blas_xdptrmm, tnk_blas_dptrmm_pst}) {
    p.b.put(2, nan);
    routine(&p.form.side, &p.form.uplo, &p.form.trans, &p.form.diag, &p.m, &p.n, &p.alpha, nullptr,
            p.b.data(), &p.ldb);
  }
  EXPECT_EQ(p.fault(), "");
  const double two = 2;
  for (const auto &[m, n] : {std::pair<tnk_int, tnk_int>{0, 5}, {-2, 5}, {6, 0}, {6, -1}}) {
    tnk_blas_xdptrmm(&p.form.side, &p.form.uplo, &p.form.trans, &p.form.diag, &m, &n, &two, nullptr,
                     p.b.data(), &p.ldb);
    EXPECT_EQ(p.fault(), "");
  }
}

} // namespace
} // namespace tnk::test
