// What triangular multiplies and solves have in common, by their entries and by their loops.
#include "blas/level3/triangle.h"

namespace tnk::test {
namespace {

template <class Operation, class T> struct Case {
  using O = Operation;
  using Number = T;
};
template <class> struct Triangular : testing::Test {};
using Cases = testing::Types<Case<Multiply, float>, Case<Multiply, double>, Case<Multiply, tnk_complex8>,
                             Case<Multiply, tnk_complex16>, Case<Solve, float>, Case<Solve, double>,
                             Case<Solve, tnk_complex8>, Case<Solve, tnk_complex16>>;
TYPED_TEST_SUITE(Triangular, Cases, );
#define USE_CASE                                                                                             \
  using O [[maybe_unused]] = typename TypeParam::O;                                                          \
  using T [[maybe_unused]] = typename TypeParam::Number;                                                     \
  using Problem [[maybe_unused]] = typename O::template Problem<T>;                                          \
  [[maybe_unused]] const auto by_entry = [](auto &p) { call_entry<O>(p); }

// Each order meets each other dimension in some of the forms, and each form each order.
TYPED_TEST(Triangular, SmallOrders) {
  USE_CASE;
  const tnk_int sizes[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  11, 12, 15,
                           16, 17, 18, 31, 32, 33, 35, 36, 63, 64, 65, 66};
  const T scalars[] = {one<T>, scalar<T>(0.7, -0.4), scalar<T>(-1)};
  std::size_t turn = 0;
  for (const Form &form : all_forms<T>())
    for (const tnk_int order : sizes)
      for (int some = 0; some < 3; ++some, ++turn) {
        const tnk_int other = sizes[turn * 7 % 24];
        ASSERT_NO_FATAL_FAILURE(
            check(Problem(form, form.left() ? order : other, form.left() ? other : order, scalars[turn % 3]),
                  by_entry));
      }
}

TYPED_TEST(Triangular, AroundTheBlocks) {
  USE_CASE;
  const std::vector<Form> forms = all_forms<T>();
  std::size_t turn = 0;
  for (const auto &[order, other] : O::shapes)
    for (std::size_t f = turn++ % O::every; f < forms.size(); f += O::every) {
      const bool left = forms[f].left();
      ASSERT_NO_FATAL_FAILURE(check(O::template large<T>(forms[f], left ? order : other, left ? other : order,
                                                         scalar<T>(turn % 3 ? 1 : -2)),
                                    by_entry));
    }
}

TYPED_TEST(Triangular, LettersOfBothCasesAndUnknownOnes) {
  USE_CASE;
  for (const char side : std::string("LlRrX"))
    for (const char uplo : std::string("UuLl?"))
      for (const char trans : std::string("NnTtCcX"))
        for (const char diag : std::string("UuNn "))
          ASSERT_NO_FATAL_FAILURE(check(Problem({side, uplo, trans, diag}, 9, 10), by_entry));
}

// A zero alpha stores zeros over anything, takes no memory and does not look at A; a NaN is not zero, nor is an
// imaginary number. Empty dimensions touch nothing, whatever alpha is.
TYPED_TEST(Triangular, ScalarsAndEmptyDimensions) {
  USE_CASE;
  for (const char side : std::string("LR")) {
    const Form form = {side, 'U', 'T', 'N'};
    Problem zero(form, 9, 12, T{});
    for (tnk_int i = 0; i < 9; ++i) zero.b.put(static_cast<std::size_t>(i), scalar<T>(nan, nan));
    allocations.reset();
    entry<O, T>()(&form.side, &form.uplo, &form.trans, &form.diag, &zero.m, &zero.n, &zero.alpha,
                  static_cast<const T *>(nullptr), &zero.lda, zero.b.data(), &zero.ldb);
    for (tnk_int j = 0; j < 12; ++j)
      for (tnk_int i = 0; i < 9; ++i) ASSERT_TRUE(is_zero(zero.result(i, j)));
    EXPECT_TRUE(allocations.made == 0 && zero.gap_fault().empty());

    ASSERT_NO_FATAL_FAILURE(
        check(Problem(form, 9, 12, is_complex<T> ? scalar<T>(0, 2) : scalar<T>(2)), by_entry));
    Problem unknown(form, 9, 12, scalar<T>(nan));
    by_entry(unknown);
    for (tnk_int j = 0; j < 12; ++j)
      for (tnk_int i = 0; i < 9; ++i) ASSERT_TRUE(std::isnan(reference::re(unknown.result(i, j))));

    for (const auto &[m, n] : {std::pair<tnk_int, tnk_int>{0, 12}, {9, 0}, {-1, 12}, {9, -3}}) {
      Problem empty(form, 9, 12, T{});
      empty.m = m, empty.n = n;
      by_entry(empty);
      EXPECT_TRUE(empty.untouched());
    }
  }
}

// Loops of two levels and the finish alone, with buffers and without, below a level's blocks and beyond them. A multiply
// has both buffers or none.
TYPED_TEST(Triangular, LoopsAndFinish) {
  USE_CASE;
  allocations.reset();
  std::optional<HeldBlocks<T>> blocks(std::in_place);
  HeldBlocks<T> &held = *blocks;
  enum Buffers { none, all, without_a };
  const struct {
    tnk_int order, sides, sides_at_once, last_order;
    Buffers buffers;
  } shapes[] = {{50, 29, 26, 8, all},  {50, 300, 300, 7, all}, {18, 3, 26, 7, all},
                {50, 29, 26, 7, none}, {130, 9, 26, 8, all},   {18, 5, 26, 8, none},
                {70, 29, 24, 8, all},  {70, 3, 24, 7, none},   {50, 29, 26, 8, without_a}};
  for (const Form &form : all_forms<T>())
    for (const auto &s : shapes)
      for (const std::string stage : {"", "_ker"}) {
        if (s.buffers == without_a && std::is_same_v<O, Multiply>) continue;
        const Named<T> named(std::string("tnk_blas_?") + O::name + (form.left() ? "_left" : "_right") +
                             stage);
        tnk_triangular_level levels[] = {held.level(form, 20, s.sides_at_once),
                                         held.level(form, s.last_order, s.sides_at_once)};
        for (auto &level : levels) {
          if (s.buffers != all) level.a_buffer = nullptr;
          if (s.buffers == none) level.b_buffer = nullptr;
        }
        const std::uint8_t upper = form.upper(), plain = form.as_it_is(), transposed = form.trans == 'T';
        const tnk_int last = 1;
        ASSERT_NO_FATAL_FAILURE(check(
            Problem(form, form.left() ? s.order : s.sides, form.left() ? s.sides : s.order), [&](auto &p) {
              named(&upper, &plain, &transposed, &form.diag, &p.m, &p.n, static_cast<const T *>(nullptr),
                    static_cast<const T *>(p.a.data()), &p.lda, p.b.data(), &p.ldb, tnk_int{0}, &last,
                    levels + 0, s.buffers == none ? nullptr : held.descriptor());
            }));
      }
  blocks.reset();
  EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
}

// Other blocks than these would round otherwise.
template <class O>
void expect_levels(const Form &form, tnk_int order, tnk_int sides, const std::vector<tnk_int> &orders) {
  HeldBlocks<double> held;
  const tnk_int m = form.left() ? order : sides, n = form.left() ? sides : order;
  typename O::template Problem<double> whole(form, m, n), staged(form, m, n);
  call_entry<O>(whole);
  std::vector<tnk_triangular_level> levels;
  for (const tnk_int block : orders) levels.push_back(held.level(form, block, form.left() ? 1000 : 512));
  const std::uint8_t upper = form.upper(), plain = form.as_it_is(), transposed = !plain;
  const auto last = static_cast<tnk_int>(levels.size()) - 1;
  (form.left() ? O::left : O::right)(&upper, &plain, &transposed, &form.diag, &m, &n, nullptr,
                                     staged.a.data(), &staged.lda, staged.b.data(), &staged.ldb, 0, &last,
                                     levels.data(), held.descriptor());
  EXPECT_TRUE(same_bits(whole.b.data(), staged.b.data(), whole.b.size())) << whole.name();
  EXPECT_EQ(whole.fault(), "") << whole.name();
}
TEST(TriangularLevels, AreThoseOfTheEntry) {
  expect_levels<Multiply>({'L', 'U', 'N', 'N'}, 600, 5, {256, 128, 64});
  expect_levels<Multiply>({'R', 'U', 'N', 'N'}, 600, 5, {256, 64, 16});
  expect_levels<Solve>({'L', 'U', 'N', 'N'}, 301, 3, {128, 32});
  expect_levels<Solve>({'R', 'U', 'N', 'N'}, 1999, 3, {128, 32});
  expect_levels<Solve>({'R', 'L', 'T', 'N'}, 2000, 3, {256, 32});
}

} // namespace
} // namespace tnk::test
