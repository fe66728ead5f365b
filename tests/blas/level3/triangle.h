// Triangular multiplies and solves behind one face.
#pragma once

#include "blas/level3/family.h"
#include "support/allocations.h"
#include "support/error_recorder.h"
#include "support/named.h"
#include "support/triangle.h"
#include <optional>

namespace tnk::test {

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

// The two operations: their names, their problems, and shapes (order, right-hand sides) where levels start and end, where
// rows, columns and chunks are cut, and where blocks on the right grow; each is tried with one form in `every`.
struct Multiply {
  template <class T> using Problem = TriangleProduct<T>;
  static constexpr const char *name = "trmm";
  static constexpr auto left = tnk_blas_dtrmm_left, right = tnk_blas_dtrmm_right;
  static constexpr std::size_t every = 2;
  static inline const std::vector<std::pair<tnk_int, tnk_int>> shapes = {
      {127, 9}, {128, 5},   {130, 33}, {255, 2},  {256, 7},  {257, 12}, {389, 6},
      {515, 4}, {64, 1001}, {70, 999}, {20, 513}, {16, 511}, {258, 513}};
  // Large ones are of small integers, which takes no sum of each element.
  template <class T> static Problem<T> large(Form form, tnk_int m, tnk_int n, T by) {
    return {form, m, n, by, true};
  }
};
struct Solve {
  template <class T> using Problem = TriangleSolve<T>;
  static constexpr const char *name = "trsm";
  static constexpr auto left = tnk_blas_dtrsm_left, right = tnk_blas_dtrsm_right;
  static constexpr std::size_t every = 5;
  static inline const std::vector<std::pair<tnk_int, tnk_int>> shapes = {
      {127, 5},  {128, 9},  {129, 4},  {131, 33}, {160, 3},  {255, 6},    {256, 2}, {258, 7},
      {290, 16}, {66, 511}, {68, 513}, {33, 515}, {36, 999}, {130, 1001}, {7, 1003}};
  template <class T> static Problem<T> large(Form form, tnk_int m, tnk_int n, T by) {
    return {form, m, n, by};
  }
};

template <class Operation, class T> Named<T> entry() {
  return Named<T>(std::string("tnk_blas_x?") + Operation::name);
}
template <class Operation, class Problem> void call_entry(Problem &p) {
  p.call(entry<Operation, std::decay_t<decltype(p.alpha)>>());
}
// Right-hand sides cut as threads would.
template <class Operation, class Problem> void call_in_slices(Problem &p, tnk_int sides, tnk_int cut) {
  using T = std::decay_t<decltype(p.alpha)>;
  for (tnk_int first = 0; first < sides; first += cut) {
    const tnk_int some = std::min(cut, sides - first), m = p.form.left() ? p.m : some,
                  n = p.form.left() ? some : p.n;
    entry<Operation, T>()(
        &p.form.side, &p.form.uplo, &p.form.trans, &p.form.diag, &m, &n, static_cast<const T *>(&p.alpha),
        static_cast<const T *>(p.a.data()), static_cast<const tnk_int *>(&p.lda),
        p.b.data() + first * (p.form.left() ? p.ldb : 1), static_cast<const tnk_int *>(&p.ldb));
  }
}
template <class Problem, class Call> void check(Problem &&p, Call call) {
  call(p);
  ASSERT_EQ(p.fault(), "") << p.name();
}

} // namespace tnk::test
