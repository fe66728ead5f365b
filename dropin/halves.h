// Triangular solves in single precision, of orders that the kernels else finish in one piece: by halves, with a product between
// them. So a caller who takes a triangle by its halves himself, as one stored in a rectangle has to be, finds the same bits.
// With a nearly singular triangle the rounding errors of this precision reach the first digits of the solution, and sums in
// any other order would show there.
#pragma once

#include "dropin/face.h"

namespace tnk::dropin {

// solve and multiply: the routines behind. Letters are lower case.
template <class T, class Solve, class Multiply> struct Halves {
  Solve *solve;
  Multiply *multiply;
  char side, uplo, trans, diag;
  tnk_int lda, ldb;

  static constexpr tnk_int least = 33, most = 64;
  static bool fit(tnk_int order) { return order >= least && order <= most; }

  // A of `order`, `count` right-hand sides.
  void run(tnk_int order, tnk_int count, const T *alpha, const T *a, T *b) const {
    const bool left = side == 'l';
    if (!fit(order)) {
      const tnk_int m = left ? order : count, n = left ? count : order;
      return run_or_end(solve, &side, &uplo, &trans, &diag, &m, &n, alpha, a, &lda, b, &ldb);
    }
    // The half that is solved first, and what comes after it.
    const tnk_int half = order / 2, rest = order - half;
    const bool from_start = ((uplo == 'l') == (trans == 'n')) == left;
    const tnk_int first = from_start ? 0 : half, second = from_start ? half : 0;
    const tnk_int size_first = from_start ? half : rest, size_second = order - size_first;
    const tnk_int step = left ? 1 : ldb;
    const T one = from_real(1), minus_one = from_real(-1);
    T *const b_first = b + first * step, *const b_second = b + second * step;
    const T *const between = uplo == 'l' ? a + half : a + half * lda; // the square that is stored
    const char plain = 'n';

    run(size_first, count, alpha, a + first * (lda + 1), b_first);
    if (left)
      multiply(&trans, &plain, &size_second, &count, &size_first, &minus_one, between, &lda, b_first, &ldb,
               alpha, b_second, &ldb);
    else
      multiply(&plain, &trans, &count, &size_second, &size_first, &minus_one, b_first, &ldb, between, &lda,
               alpha, b_second, &ldb);
    run(size_second, count, &one, a + second * (lda + 1), b_second);
  }

private:
  static T from_real(real_of<T> x) {
    if constexpr (is_complex<T>)
      return {x, 0};
    else
      return x;
  }
};

} // namespace tnk::dropin
