// op(A) X = alpha B and X op(A) = alpha B with a triangle A, X over B: the choice of levels, and their loops. A block on
// the diagonal first takes away, in one product, all that the solved part contributes to it, and is then solved a level
// down; the stages of the finish end it.
#include "kernel/blas/level3/trsm.h"
#include <algorithm>

namespace tnk::level3 {
namespace {

// ---- Levels ---------------------------------------------------------------------------------------------------------

constexpr tnk_int last_level = 1;
struct Levels {
  tnk_triangular_level level[last_level + 1];
  tnk_int start; // the one to begin with
};

template <class T>
Levels levels_for(bool left, Operation op, tnk_int m, tnk_int n, const tnk_gemm_descriptor &d) {
  constexpr tnk_int wide = 2000; // columns from which on larger blocks pay on the right
  const tnk_int orders[] = {left || n < wide ? 128 : 256, finished_order};
  Levels made = {{}, 0};
  for (tnk_int l = last_level; l >= 0; --l) {
    made.level[l] = level_of<T>(left, orders[l], left || l > 0, op, d);
    if (left ? orders[l] <= m : n > orders[l]) made.start = l;
  }
  return made;
}

// ---- Loops ----------------------------------------------------------------------------------------------------------

// How blocks on the diagonal are finished, and how products are formed.
template <class T> struct Finish {
  void (*left_ker)(TNK_TRIANGULAR_STAGE(T)), (*right_ker)(TNK_TRIANGULAR_STAGE(T));
};
template <class T> constexpr Finish<T> finish = {};
#define FINISH(t, T)                                                                                         \
  template <> constexpr Finish<T> finish<T> = {tnk_blas_##t##trsm_left_ker, tnk_blas_##t##trsm_right_ker};
FINISH(s, float)
FINISH(d, double)
FINISH(c, tnk_complex8)
FINISH(z, tnk_complex16)

template <class T> struct Solve {
  const char *diag;
  const tnk_triangular_level *levels;
  const tnk_int *last;
  tnk_gemm_descriptor *d;
  bool plainly; // without memory

  void take_away(const Operands<T> &p) const {
    if (plainly)
      plain_product(p, block_along_k(p.k, kr));
    else
      add_product(p, d);
  }
  void finish_block(bool left, const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb,
                    tnk_int level) const {
    if (plainly) return left ? finish_plainly(true, t, m, n, b, ldb) : finish_plainly(false, t, n, m, b, ldb);
    const uint8_t upper = t.stored_upper, none = t.op == as_it_is, transpose = t.op == transposed;
    (left ? finish<T>.left_ker : finish<T>.right_ker)(&upper, &none, &transpose, diag, &m, &n, &one<T>, t.a,
                                                      &t.lda, b, &ldb, level, last, levels, d);
  }

  // block(i, size, solved, count) for the blocks on the diagonal in their order, and for each the solved part.
  template <class Block>
  static void over_blocks(bool from_end, tnk_int order, tnk_int block_size, Block block) {
    for (tnk_int done = 0; done < order; done += block_size) {
      const tnk_int size = std::min(block_size, order - done);
      if (from_end)
        block(order - done - size, size, order - done, done);
      else
        block(done, size, tnk_int{0}, done);
    }
  }

  void from_left(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb, tnk_int level) const {
    const tnk_triangular_level &here = levels[level];
    const bool deeper = level != *last && levels[*last].block < m;
    for (tnk_int j = 0; j < n; j += here.chunk, b += here.chunk * ldb) {
      const tnk_int columns = std::min(here.chunk, n - j);
      over_blocks(t.stored_upper != (here.direction != 0), m, here.block,
                  [&](tnk_int i, tnk_int rows, tnk_int solved, tnk_int steps) {
                    if (steps > 0)
                      take_away({t.op, as_it_is, rows, columns, steps, minus_one, t.block(i, solved), t.lda,
                                 b + solved, ldb, one<T>, b + i, ldb});
                    if (deeper)
                      from_left(t.from(i), rows, columns, b + i, ldb, level + 1);
                    else
                      finish_block(true, t.from(i), rows, columns, b + i, ldb, level);
                  });
    }
  }

  // Block and chunk have changed places.
  void from_right(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb, tnk_int level) const {
    const tnk_triangular_level &here = levels[level];
    const bool deeper = level != *last && levels[*last].chunk < n;
    for (tnk_int i = 0; i < m; i += here.block, b += here.block) {
      const tnk_int rows = std::min(here.block, m - i);
      over_blocks(t.stored_upper != (here.direction != 0), n, here.chunk,
                  [&](tnk_int j, tnk_int columns, tnk_int solved, tnk_int steps) {
                    if (steps > 0)
                      take_away({as_it_is, t.op, rows, columns, steps, minus_one, b + solved * ldb, ldb,
                                 t.block(solved, j), t.lda, one<T>, b + j * ldb, ldb});
                    if (deeper)
                      from_right(t.from(j), rows, columns, b + j * ldb, ldb, level + 1);
                    else
                      finish_block(false, t.from(j), rows, columns, b + j * ldb, ldb, level);
                  });
    }
  }

  void from(bool left, const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb, tnk_int level) const {
    left ? from_left(t, m, n, b, ldb, level) : from_right(t, m, n, b, ldb, level);
  }

private:
  static constexpr T minus_one = [] {
    if constexpr (is_complex<T>)
      return T{-1, 0};
    else
      return T(-1);
  }();
};

template <class T>
void solve(const char *side, const char *uplo, const char *transa, const char *diag, const tnk_int *m,
           const tnk_int *n, T alpha, const T *a, tnk_int lda, T *b, const tnk_int *ldb) {
  if (*m < 1 || *n < 1) return;
  if (is_zero(alpha)) return gemm_entries<T>::mscale(m, n, &alpha, b, ldb);
  HeldBuffers<T> buffers("xtrsm");
  if (buffers.refused) return; // B is as it was
  if (!is_one(alpha)) gemm_entries<T>::mscale(m, n, &alpha, b, ldb);

  const bool left = is_letter(side, 'L');
  const Triangle<T> t = triangle(uplo, transa, diag, a, lda);
  buffers.d.kernel_version = left || !(buffers.d.buffer_selector & 4) ? 2 : 4;
  const Levels levels = levels_for<T>(left, t.op, *m, *n, buffers.d);
  Solve<T>{diag, levels.level, &last_level, &buffers.d, false}.from(left, t, *m, *n, b, *ldb, levels.start);
}

} // namespace

template <class T>
void solve_plainly(bool left, const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb) {
  const Levels levels = levels_for<T>(left, t.op, m, n, {});
  Solve<T>{nullptr, levels.level, &last_level, nullptr, true}.from(left, t, m, n, b, ldb, levels.start);
}

} // namespace tnk::level3

using namespace tnk::level3;

#define ENTRY(t, T)                                                                                          \
  template void tnk::level3::solve_plainly(bool, const Triangle<T> &, tnk_int, tnk_int, T *, tnk_int);       \
  void tnk_blas_x##t##trsm(const char *side, const char *uplo, const char *transa, const char *diag,         \
                           const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,                   \
                           const tnk_int *lda, T *b, const tnk_int *ldb) {                                   \
    solve<T>(side, uplo, transa, diag, m, n, tnk::get(alpha), a, *lda, b, ldb);                              \
  }                                                                                                          \
  STAGE(t, T, left) STAGE(t, T, right)
#define STAGE(t, T, side)                                                                                    \
  void tnk_blas_##t##trsm_##side(TNK_TRIANGULAR_STAGE(T)) {                                                  \
    Solve<T>{diag, levels, last, d, false}.from_##side(                                                      \
        triangle<T>(*upper, *no_transpose, *transpose, diag, a, *lda), *m, *n, b, *ldb, level);              \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
