// B := alpha op(A) B and B := alpha B op(A) with a triangle A, in place: the choice of levels, and their loops. Almost
// all of the work is that of matrix products; the stages of the finish multiply the blocks on the diagonal.
#include "kernel/blas/level3/trmm.h"
#include <tnk/services.h>

namespace tnk::level3 {
namespace {

// One level's loops, and whether a block goes a level down or to the finish.
template <class T> struct Multiply {
  const tnk_triangular_level *levels;
  tnk_int last;
  tnk_gemm_descriptor *d;

  void from_left(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb, tnk_int level) const {
    const tnk_triangular_level &here = levels[level];
    const bool deeper = level != last && levels[last].block < m;
    for (tnk_int j = 0; j < n; j += here.chunk, b += here.chunk * ldb) {
      const tnk_int columns = std::min(here.chunk, n - j);
      over_triangle(
          m, here.block, t.stored_upper != (here.direction != 0),
          [&](tnk_int i, tnk_int rows) {
            if (deeper)
              from_left(t.from(i), rows, columns, b + i, ldb, level + 1);
            else
              finish_from_left(t.from(i), rows, columns, b + i, ldb, here, d);
          },
          [&](tnk_int i, tnk_int rows, tnk_int first, tnk_int steps) {
            add_product<T>({t.op, as_it_is, rows, columns, steps, one<T>, t.block(i, first), t.lda, b + first,
                            ldb, one<T>, b + i, ldb},
                           d);
          });
    }
  }

  // Block and chunk have changed places: block is the step over rows of B.
  void from_right(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb, tnk_int level) const {
    const tnk_triangular_level &here = levels[level];
    const bool deeper = level != last && levels[last].chunk < n;
    // Blocks of the last level share packed rows of B.
    const bool at_once = level == last && n <= packed_order && d && here.a_buffer;
    const tnk_int order = at_once ? packed_order : here.chunk;
    for (tnk_int i = 0; i < m; i += here.block, b += here.block) {
      const tnk_int rows = std::min(here.block, m - i);
      over_triangle(
          n, order, t.stored_upper != (here.direction != 0),
          [&](tnk_int j, tnk_int columns) {
            if (deeper)
              from_right(t.from(j), rows, columns, b + j * ldb, ldb, level + 1);
            else
              finish_from_right(t.from(j), rows, columns, b + j * ldb, ldb, here, d);
          },
          [&](tnk_int j, tnk_int columns, tnk_int first, tnk_int steps) {
            add_product<T>({as_it_is, t.op, rows, columns, steps, one<T>, b + first * ldb, ldb,
                            t.block(first, j), t.lda, one<T>, b + j * ldb, ldb},
                           d);
          });
    }
  }
};

} // namespace

template <class T>
void multiply_by_levels(bool left, const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb,
                        const tnk_triangular_level *levels, tnk_int last, tnk_gemm_descriptor *d) {
  const Multiply<T> whole = {levels, last, d};
  left ? whole.from_left(t, m, n, b, ldb, 0) : whole.from_right(t, m, n, b, ldb, 0);
}

namespace {

template <class T>
void multiply(const char *side, const char *uplo, const char *transa, const char *diag, const tnk_int *m,
              const tnk_int *n, T alpha, const T *a, tnk_int lda, T *b, const tnk_int *ldb) {
  using stage = gemm_entries<T>;
  if (*m < 1 || *n < 1) return;
  if (is_zero(alpha)) return stage::mscale(m, n, &alpha, b, ldb);

  HeldBuffers<T> held("xtrmm");
  if (held.refused) return; // B is as it was
  if (!is_one(alpha)) stage::mscale(m, n, &alpha, b, ldb);

  const Triangle<T> t = triangle(uplo, transa, diag, a, lda);
  const bool left = is_letter(side, 'L');
  if constexpr (std::is_same_v<T, double>)
    if (!left && *n < 8) return by_columns(t, *m, *n, b, *ldb);
  constexpr tnk_int last = 2, left_orders[] = {256, 128, 64}, right_orders[] = {256, 64, 16};
  tnk_triangular_level levels[last + 1];
  tnk_int start = 0;
  for (tnk_int l = last; l >= 0; --l) {
    const tnk_int order = left ? left_orders[l] : right_orders[l];
    levels[l] = level_of<T>(left, order, left || l > 0, t.op, held.d);
    if (left ? order <= *m : order < *n) start = l;
  }
  multiply_by_levels(left, t, *m, *n, b, *ldb, levels + start, last - start, &held.d);
}

} // namespace
} // namespace tnk::level3

using namespace tnk::level3;

#define ENTRY(t, T)                                                                                          \
  void tnk_blas_x##t##trmm(const char *side, const char *uplo, const char *transa, const char *diag,         \
                           const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,                   \
                           const tnk_int *lda, T *b, const tnk_int *ldb) {                                   \
    multiply<T>(side, uplo, transa, diag, m, n, tnk::get(alpha), a, *lda, b, ldb);                           \
  }                                                                                                          \
  STAGE(t, T, left) STAGE(t, T, right)
#define STAGE(t, T, side)                                                                                    \
  void tnk_blas_##t##trmm_##side(TNK_TRIANGULAR_STAGE(T)) {                                                  \
    const Multiply<T> whole = {levels, *last, d};                                                            \
    whole.from_##side(triangle<T>(*upper, *no_transpose, *transpose, diag, a, *lda), *m, *n, b, *ldb,        \
                      level);                                                                                \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)

template void tnk::level3::multiply_by_levels(bool, const Triangle<double> &, tnk_int, tnk_int, double *,
                                              tnk_int, const tnk_triangular_level *, tnk_int,
                                              tnk_gemm_descriptor *);
