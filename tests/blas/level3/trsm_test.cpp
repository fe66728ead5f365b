// The triangular solve, by its entries and by each of its stages, held by its residual.
#include "blas/level3/triangle.h"

namespace tnk::test {
namespace {

template <class T> class Trsm : public testing::Test {};
TYPED_TEST_SUITE(Trsm, Types, );

const auto by_entry = [](auto &p) { call_entry<Solve>(p); };
// A call of one of the solvers, which take the diagonal's letter alone.
template <class T> auto by_solver(const Named<T> &named) {
  return [named](auto &p) {
    named(&p.form.diag, &p.m, &p.n, static_cast<const T *>(p.a.data()), static_cast<const tnk_int *>(&p.lda),
          p.b.data(), static_cast<const tnk_int *>(&p.ldb));
  };
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
      call_in_slices<Solve>(parts, sides, cut);
      ASSERT_TRUE(same_bits(parts.b.data(), whole.b.data(), whole.b.size()))
          << whole.name() << " cut " << cut;

      allocations.reset();
      if constexpr (std::is_same_v<T, double>) {
        plain.call(tnk_blas_dtrsm_pst);
      } else {
        Named<T>("tnk_blas_?gemm_mscale")(&plain.m, &plain.n, static_cast<const T *>(&plain.alpha), plain.b,
                                          static_cast<const tnk_int *>(&plain.ldb));
        by_solver(Named<T>("tnk_blas_?trsm_" + form.suffix()))(plain);
      }
      ASSERT_TRUE(same_bits(plain.b.data(), whole.b.data(), whole.b.size())) << whole.name();
      ASSERT_EQ(allocations.made, 0);
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
