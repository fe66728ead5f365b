// The triangular solve, by its entries and by each of its stages, held by its residual.
#include "blas/level3/family.h"
#include "support/allocations.h"
#include "support/error_recorder.h"
#include "support/named.h"
#include "support/triangle.h"
#include <optional>

namespace tnk::test {
namespace {

// op(A) X = alpha B or X op(A) = alpha B, with X over B. What must not be read of A is NaN; solutions stay near 1.
template <class T> struct TriangleSolve : TriangleProduct<T> {
  TriangleSolve(Form letters, tnk_int rows, tnk_int columns, T by = one<T>)
      : TriangleProduct<T>(letters, rows, columns, by) {
    for (tnk_int j = 0; j < this->order; ++j)
      for (tnk_int i = 0; i < this->order; ++i) {
        const auto at = static_cast<std::size_t>(i + j * this->lda);
        const T x = this->a.get(at);
        if (i == j)
          this->a.put(at, is_complex<T> && i % 4 == 2 ? scalar<T>(0, 1.5) // larger in either part
                                                      : x + scalar<T>(reference::re(x) < 0 ? -1 : 1, 0.5));
        else
          this->a.put(at, real_of<T>(2) / static_cast<real_of<T>>(this->order) * x);
      }
  }
  // Of that order, with so many right-hand sides.
  static TriangleSolve of(Form form, tnk_int order, tnk_int sides, T by = one<T>) {
    return TriangleSolve(form, form.left() ? order : sides, form.left() ? sides : order, by);
  }

  // op(A) X - alpha B by element: |error| <= (order + 4) eps (|op(A)| |X| + |alpha B|), twice that in complex.
  std::string fault() const {
    using reference::wide;
    const auto &p = *this;
    constexpr wide eps = std::numeric_limits<real_of<T>>::epsilon() / 2;
    std::vector<T> op_a(static_cast<std::size_t>(p.order * p.order)); // rows of M one after another
    const auto row = [&](tnk_int i) { return op_a.data() + i * p.order; };
    for (tnk_int i = 0; i < p.order; ++i)
      for (tnk_int l = 0; l < p.order; ++l) row(i)[l] = p.form.left() ? p.element(i, l) : p.element(l, i);
    for (tnk_int j = 0; j < p.n; ++j)
      for (tnk_int i = 0; i < p.m; ++i) {
        reference::Sum sum;
        const tnk_int at = p.form.left() ? i : j;
        for (tnk_int l = 0; l < p.order; ++l)
          if (const T x = row(at)[l]; !is_zero(x))
            reference::add_product(sum, x, p.form.left() ? p.result(l, j) : p.result(i, l), false);
        reference::Sum right;
        reference::add_product(right, p.alpha, p.old(i, j), false);
        const wide error = std::fabs(sum.re - right.re) + std::fabs(sum.im - right.im);
        const wide bound =
            (is_complex<T> ? 2 : 1) * static_cast<wide>(p.order + 4) * eps * (sum.size + right.size);
        if (!(error <= bound)) return "at " + std::to_string(i) + ", " + std::to_string(j);
      }
    return this->gap_fault();
  }
};

template <class T> class Trsm : public testing::Test {};
TYPED_TEST_SUITE(Trsm, Types, );

template <class T> Named<T> entry() {
  return Named<T>("tnk_blas_x?trsm");
}
template <class T, class Call> void check(TriangleSolve<T> &&p, Call call) {
  call(p);
  ASSERT_EQ(p.fault(), "") << p.name();
}
const auto by_entry = [](auto &p) { p.call(entry<std::decay_t<decltype(p.alpha)>>()); };
// A call of one of the solvers, which take the diagonal's letter alone.
template <class T> auto by_solver(const Named<T> &named) {
  return [named](auto &p) {
    named(&p.form.diag, &p.m, &p.n, static_cast<const T *>(p.a.data()), static_cast<const tnk_int *>(&p.lda),
          p.b.data(), static_cast<const tnk_int *>(&p.ldb));
  };
}

// Each form at each order, which meets some of the numbers of right-hand sides.
TYPED_TEST(Trsm, SmallOrders) {
  using T = TypeParam;
  const tnk_int sizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 15, 17, 18, 31, 32, 33, 35, 36, 63, 64, 65};
  const T scalars[] = {one<T>, scalar<T>(0.7, -0.4), scalar<T>(-1)};
  std::size_t turn = 0;
  for (const Form &form : all_forms<T>())
    for (const tnk_int order : sizes)
      for (int some = 0; some < 3; ++some, ++turn)
        ASSERT_NO_FATAL_FAILURE(
            check(TriangleSolve<T>::of(form, order, sizes[turn * 8 % 21], scalars[turn % 3]), by_entry));
}

// Where levels start and end, where columns, rows and chunks are cut, and where blocks on the right grow.
TYPED_TEST(Trsm, AroundTheBlocks) {
  using T = TypeParam;
  const tnk_int shapes[][2] = {{127, 5},  {128, 9},  {129, 4},  {131, 33},   {160, 3},
                               {255, 6},  {256, 2},  {258, 7},  {290, 16},   {66, 511},
                               {68, 513}, {33, 515}, {36, 999}, {130, 1001}, {7, 1003}};
  const std::vector<Form> forms = all_forms<T>();
  std::size_t turn = 0;
  for (const auto &[order, sides] : shapes)
    for (std::size_t f = turn++ % 5; f < forms.size(); f += 5)
      ASSERT_NO_FATAL_FAILURE(check(TriangleSolve<T>::of(forms[f], order, sides), by_entry));
  for (const tnk_int order : {999, 1000, 1999, 2000, 2001}) {
    const Form form = forms[++turn * 5 % forms.size()];
    ASSERT_NO_FATAL_FAILURE(
        check(TriangleSolve<T>::of({'R', form.uplo, form.trans, 'N'}, order, 2), by_entry));
  }
}

TYPED_TEST(Trsm, LettersOfBothCasesAndUnknownOnes) {
  using T = TypeParam;
  for (const char side : std::string("LlRrX"))
    for (const char uplo : std::string("UuLl?"))
      for (const char trans : std::string("NnTtCcX"))
        for (const char diag : std::string("UuNn "))
          ASSERT_NO_FATAL_FAILURE(check(TriangleSolve<T>({side, uplo, trans, diag}, 9, 10), by_entry));
}

// A zero alpha stores zeros over anything, takes no memory and does not look at A; a NaN is not zero, nor is an
// imaginary number. Empty dimensions touch nothing, whatever alpha is.
TYPED_TEST(Trsm, ScalarsAndEmptyDimensions) {
  using T = TypeParam;
  for (const char side : std::string("LR")) {
    const Form form = {side, 'U', 'T', 'N'};
    TriangleSolve<T> zero(form, 9, 12, T{});
    zero.b.put(1, scalar<T>(nan, nan));
    allocations.reset();
    entry<T>()(&form.side, &form.uplo, &form.trans, &form.diag, &zero.m, &zero.n, &zero.alpha,
               static_cast<const T *>(nullptr), &zero.lda, zero.b.data(), &zero.ldb);
    for (tnk_int j = 0; j < 12; ++j)
      for (tnk_int i = 0; i < 9; ++i) ASSERT_TRUE(is_zero(zero.result(i, j)));
    EXPECT_TRUE(allocations.made == 0 && zero.gap_fault().empty());

    ASSERT_NO_FATAL_FAILURE(
        check(TriangleSolve<T>(form, 9, 12, is_complex<T> ? scalar<T>(0, 2) : scalar<T>(2)), by_entry));
    TriangleSolve<T> unknown(form, 9, 12, scalar<T>(nan));
    by_entry(unknown);
    EXPECT_TRUE(std::isnan(reference::re(unknown.result(4, 5))));

    for (const auto &[m, n] : {std::pair<tnk_int, tnk_int>{0, 12}, {9, 0}, {-1, 12}, {9, -3}}) {
      TriangleSolve<T> empty(form, 9, 12, T{});
      empty.m = m, empty.n = n;
      by_entry(empty);
      EXPECT_TRUE(empty.untouched());
    }
  }
}

// A zero on the diagonal leaves infinities and NaN in its row and those solved after it, and nothing in those before; a
// right-hand side with a NaN keeps it to itself.
TYPED_TEST(Trsm, WhatIsNotFiniteStaysWhereItBelongs) {
  using T = TypeParam;
  for (const Form &form : all_forms<T>())
    for (const tnk_int order : {11, 70}) {
      auto good = TriangleSolve<T>::of(form, order, 23), sick = TriangleSolve<T>::of(form, order, 23),
           singular = TriangleSolve<T>::of(form, order, 23);
      const tnk_int where = 5;
      const auto at = [&](tnk_int row, tnk_int side) {
        return static_cast<std::size_t>(form.left() ? row + side * good.ldb : side + row * good.ldb);
      };
      sick.b.put(at(where, 7), scalar<T>(nan, nan));
      if (!form.unit()) singular.a.put(static_cast<std::size_t>(where * (good.lda + 1)), T{});
      by_entry(good), by_entry(sick), by_entry(singular);
      const bool downwards = (form.upper() == form.as_it_is()) != form.left();
      for (tnk_int row = 0; row < order; ++row)
        for (tnk_int side = 0; side < 23; ++side) {
          const T x = good.b.get(at(row, side)), y = sick.b.get(at(row, side)),
                  z = singular.b.get(at(row, side));
          if (side != 7) {
            ASSERT_TRUE(same_bits(&x, &y)) << good.name();
          }
          if (form.unit() || (row != where && (row < where) == downwards)) {
            ASSERT_TRUE(same_bits(&x, &z)) << good.name();
          } else if (row == where) {
            ASSERT_FALSE(std::isfinite(reference::re(z))) << good.name();
          }
        }
    }
}

// Reciprocals of numbers whose squares have no place in the range.
TYPED_TEST(Trsm, DiagonalsAtTheEndsOfTheRange) {
  using T = TypeParam;
  using limits = std::numeric_limits<real_of<T>>;
  for (const auto size : {limits::max() / 4, limits::min() * 4})
    for (const T &diagonal : {scalar<T>(size, size / 2), scalar<T>(-size / 3, size)}) {
      TriangleSolve<T> p({'L', 'L', 'T', 'N'}, 1, 3);
      for (const std::size_t at : {0, 3, 6}) p.b.put(at, diagonal), p.before[at] = diagonal;
      p.a.put(0, diagonal);
      by_entry(p);
      EXPECT_EQ(p.fault(), "");
    }
}

// One block a solve, whatever its order. Without it B stays as it was, to the bit, an alpha included.
TYPED_TEST(Trsm, MemoryThatIsRefused) {
  using T = TypeParam;
  ErrorRecorder errors;
  for (const Form &form : {Form{'L', 'U', 'N', 'N'}, Form{'R', 'L', 'T', 'N'}})
    for (const tnk_int sides : {3, 80, 1100})
      for (const bool refused : {false, true}) {
        auto p = TriangleSolve<T>::of(form, 300, sides, scalar<T>(2));
        allocations.reset();
        allocations.refuse = refused ? 1 : 0;
        by_entry(p);
        EXPECT_TRUE(allocations.made == !refused && allocations.live == 0 && allocations.overrun == 0);
        EXPECT_EQ(allocations.largest, refused ? 0 : triangular_scratch<T>);
        EXPECT_EQ(errors.take().routine, refused ? "xtrsm" : "");
        EXPECT_TRUE(!refused || p.untouched()) << p.name();
      }
}

// Right-hand sides cut anywhere, and solved without memory, in s, c and z by the solver whose name has the letters: the
// same bits.
TYPED_TEST(Trsm, SlicesAndPlainPathHaveTheSameBits) {
  using T = TypeParam;
  std::size_t turn = 0;
  for (const Form &form : all_forms<T>())
    for (const auto &[sides, cut] :
         {std::pair<tnk_int, tnk_int>{9, 1}, {47, 5}, {1001, 500}, {1006, 523}, {515, 259}}) {
      const tnk_int orders[] = {7, 35, 131, 161, 291}, order = orders[turn++ % 5];
      auto whole = TriangleSolve<T>::of(form, order, sides, scalar<T>(0.7, 0.3));
      auto parts = TriangleSolve<T>::of(form, order, sides, scalar<T>(0.7, 0.3));
      auto plain = TriangleSolve<T>::of(form, order, sides, scalar<T>(0.7, 0.3));
      by_entry(whole);
      for (tnk_int first = 0; first < sides; first += cut) {
        const tnk_int some = std::min(cut, sides - first);
        const tnk_int m = form.left() ? whole.m : some, n = form.left() ? some : whole.n;
        entry<T>()(&form.side, &form.uplo, &form.trans, &form.diag, &m, &n, &whole.alpha,
                   static_cast<const T *>(parts.a.data()), &parts.lda,
                   parts.b.data() + first * (form.left() ? parts.ldb : 1), &parts.ldb);
      }
      ASSERT_TRUE(same_bits(parts.b.data(), whole.b.data(), whole.b.size()))
          << whole.name() << " cut " << cut;

      allocations.reset();
      if constexpr (std::is_same_v<T, double>) {
        plain.call(tnk_blas_dtrsm_pst);
      } else {
        Named<T>("tnk_blas_?gemm_mscale")(&plain.m, &plain.n, static_cast<const T *>(&plain.alpha),
                                          plain.b.data(), static_cast<const tnk_int *>(&plain.ldb));
        by_solver(Named<T>("tnk_blas_?trsm_" + form.suffix()))(plain);
      }
      ASSERT_TRUE(same_bits(plain.b.data(), whole.b.data(), whole.b.size())) << whole.name();
      ASSERT_EQ(allocations.made, 0);
    }
}

// ---- Stages by themselves -------------------------------------------------------------------------------------------

// Loops of two levels and the finish alone, with buffers and without, below a level's blocks and beyond them.
TYPED_TEST(Trsm, LoopsAndFinish) {
  using T = TypeParam;
  allocations.reset();
  std::optional<HeldBlocks<T>> blocks(std::in_place);
  HeldBlocks<T> &held = *blocks;
  enum Buffers { none, all, without_a };
  const struct {
    tnk_int order, sides, sides_at_once, last_order;
    Buffers buffers;
  } shapes[] = {{50, 29, 26, 8, all}, {50, 300, 300, 7, all},     {18, 3, 26, 7, all}, {50, 29, 26, 7, none},
                {130, 9, 26, 8, all}, {50, 29, 26, 8, without_a}, {18, 5, 26, 8, none}};
  for (const Form &form : all_forms<T>())
    for (const auto &s : shapes)
      for (const std::string stage : {"", "_ker"}) {
        const Named<T> named(std::string("tnk_blas_?trsm_") + (form.left() ? "left" : "right") + stage);
        tnk_triangular_level levels[] = {held.level(form, 20, s.sides_at_once),
                                         held.level(form, s.last_order, s.sides_at_once)};
        if (s.buffers == without_a) levels[0].a_buffer = levels[1].a_buffer = nullptr;
        const std::uint8_t upper = form.upper(), plain = form.as_it_is(), transposed = form.trans == 'T';
        const tnk_int last = 1;
        ASSERT_NO_FATAL_FAILURE(check(TriangleSolve<T>::of(form, s.order, s.sides), [&](auto &p) {
          named(&upper, &plain, &transposed, &form.diag, &p.m, &p.n, static_cast<const T *>(nullptr),
                static_cast<const T *>(p.a.data()), &p.lda, p.b.data(), &p.ldb, tnk_int{0}, &last, levels + 0,
                s.buffers == none ? nullptr : held.descriptor());
        }));
      }
  blocks.reset();
  EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
}

// Other blocks than these would round otherwise.
TEST(TrsmStages, LevelsOfTheEntry) {
  HeldBlocks<double> held;
  for (const auto &[form, order, block] : {std::tuple<Form, tnk_int, tnk_int>{{'L', 'U', 'N', 'N'}, 301, 128},
                                           {{'R', 'U', 'N', 'N'}, 1999, 128},
                                           {{'R', 'L', 'T', 'N'}, 2000, 256}}) {
    auto whole = TriangleSolve<double>::of(form, order, 3),
         staged = TriangleSolve<double>::of(form, order, 3);
    by_entry(whole);
    const tnk_int at_once = form.left() ? 1000 : 512, last = 1;
    const tnk_triangular_level levels[] = {held.level(form, block, at_once), held.level(form, 32, at_once)};
    const std::uint8_t upper = form.upper(), plain = form.as_it_is(), transposed = !plain;
    (form.left() ? tnk_blas_dtrsm_left : tnk_blas_dtrsm_right)(
        &upper, &plain, &transposed, &form.diag, &staged.m, &staged.n, nullptr, staged.a.data(), &staged.lda,
        staged.b.data(), &staged.ldb, 0, &last, levels, held.descriptor());
    EXPECT_TRUE(same_bits(whole.b.data(), staged.b.data(), whole.b.size())) << whole.name();
  }
}

TEST(TrsmStages, PackedTriangles) {
  alignas(64) double packed[8 * 16 * 17], panel[64 * 8];
  const auto kernel_of = [](const Form &form) {
    const bool upper = form.upper() == form.as_it_is();
    return form.left() ? upper ? tnk_blas_dtrsm_lu : tnk_blas_dtrsm_ll
           : upper     ? tnk_blas_dtrsm_ru
                       : tnk_blas_dtrsm_rl;
  };
  for (const Form &form : all_forms<double>())
    for (const auto &[order, sides] : {std::pair<tnk_int, tnk_int>{4, 4}, {20, 36}, {64, 72}, {23, 7}})
      ASSERT_NO_FATAL_FAILURE(check(TriangleSolve<double>::of(form, order, sides), [&](auto &p) {
        const std::uint8_t upper = form.upper(), plain = form.as_it_is() == form.left(), transposed = !plain;
        const tnk_int offset = 3;
        tnk_blas_dtrsm_copya(&upper, &plain, &transposed, &form.diag, &p.order, p.a.data(), &p.lda, packed);
        kernel_of(form)(&p.order, form.left() ? &p.n : &p.m, packed, panel, &offset,
                        p.b.data() - offset * (form.left() ? 1 : p.ldb), &p.ldb, nullptr);
      }));
}

TEST(TrsmStages, PlainPathReadsItsLetters) {
  for (const char side : std::string("LlRr"))
    for (const char uplo : std::string("UuLl"))
      for (const char trans : std::string("NnTtCX"))
        for (const double alpha : {1.0, 0.0, -0.7})
          ASSERT_NO_FATAL_FAILURE(check(TriangleSolve<double>({side, uplo, trans, 'N'}, 6, 9, alpha),
                                        [](auto &p) { p.call(tnk_blas_dtrsm_pst); }));
}

} // namespace
} // namespace tnk::test
