// The finish of the triangular multiply: blocks on the diagonal. In double from buffers that the driver holds, with
// stages of their own; the other types by their family.
#include "kernel/blas/level3/trmm.h"
#include "kernel/frame/host_blas.h"
#include <tnk/blas_level1.h>

namespace tnk::level3 {
namespace {

// Whether a packed triangle of that order and what multiply_packed() packs of B have room.
bool have_room(const tnk_triangular_level &level, const tnk_gemm_descriptor *d, tnk_int order) {
  constexpr tnk_int element = sizeof(double);
  return d && level.a_buffer && level.b_buffer && packed_triangle(order) * element <= d->a.size &&
         columns_at_once<double> * order * element <= d->b.size;
}

void add_plain(const Operands<double> &p) {
  plain_product(p, block_along_k(p.k, kr));
}

} // namespace

// Whole groups of four rows and columns packed, the others plainly.
void finish_from_left(const Triangle<double> &t, tnk_int m, tnk_int n, double *b, tnk_int ldb,
                      const tnk_triangular_level &level, const tnk_gemm_descriptor *d) {
  const tnk_int mq = rounded_down(m, 4), nq = rounded_down(n, 4), left = m - mq;
  if (mq == 0 || !have_room(level, d, mq)) return plain_from_left(t, m, n, b, ldb);
  auto *const packed = static_cast<double *>(level.a_buffer);
  auto *const columns = static_cast<double *>(level.b_buffer);
  double *const last = b + mq;
  if (left > 0 && !t.upper()) {
    plain_from_left(t.from(mq), left, n, last, ldb);
    add_plain({t.op, as_it_is, left, n, mq, 1, t.block(mq, 0), t.lda, b, ldb, 1, last, ldb});
  }
  pack_for_left(t, mq, packed);
  multiply_packed(t.upper(), mq, nq, packed, columns, b, ldb);
  if (nq < n) plain_from_left(t, mq, n - nq, b + nq * ldb, ldb);
  if (left > 0 && t.upper()) {
    add_plain({t.op, as_it_is, mq, n, left, 1, t.block(0, mq), t.lda, last, ldb, 1, b, ldb});
    plain_from_left(t.from(mq), left, n, last, ldb);
  }
}
void finish_from_right(const Triangle<double> &t, tnk_int m, tnk_int n, double *b, tnk_int ldb,
                       const tnk_triangular_level &level, const tnk_gemm_descriptor *d) {
  if (d && level.a_buffer)
    multiply_from_right(t, m, n, b, ldb);
  else
    plain_from_right(t, m, n, b, ldb);
}

// Columns in the order in which each finds those that it needs as they were.
void by_columns(const Triangle<double> &t, tnk_int m, tnk_int n, double *b, tnk_int ldb) {
  over_triangle(
      n, 1, !t.upper(),
      [&](tnk_int j, tnk_int) {
        static constexpr tnk_int adjacent = 1;
        if (!t.unit) tnk_blas_dscal(&m, t.block(j, j), b + j * ldb, &adjacent);
      },
      [&](tnk_int j, tnk_int, tnk_int first, tnk_int count) {
        for (tnk_int l = first; l < first + count; ++l)
          host_axpy(m, get(t.block(l, j)), b + l * ldb, b + j * ldb);
      });
}

} // namespace tnk::level3

using namespace tnk::level3;

#define FINISH(t, T, side)                                                                                   \
  void tnk_blas_##t##trmm_##side##_ker(TNK_TRIANGULAR_STAGE(T)) {                                            \
    finish_from_##side(triangle<T>(*upper, *no_transpose, *transpose, diag, a, *lda), *m, *n, b, *ldb,       \
                       levels[level], d);                                                                    \
  }
#define FINISHES(t, T) FINISH(t, T, left) FINISH(t, T, right)
FINISHES(s, float)
FINISHES(d, double)
FINISHES(c, tnk_complex8)
FINISHES(z, tnk_complex16)

// ---- Stages of double precision -------------------------------------------------------------------------------------

void tnk_blas_dtrmm_copya(const uint8_t *upper, const uint8_t *no_transpose, const uint8_t *transpose,
                          const char *diag, const tnk_int *m, const double *a, const tnk_int *lda,
                          double *packed) {
  pack_for_left(triangle<double>(*upper, *no_transpose, *transpose, diag, a, *lda), *m, packed);
}
#define PACKED(name, upper)                                                                                  \
  void tnk_blas_dtrmm_##name(const tnk_int *m, const tnk_int *n, const double *packed, double *buffer,       \
                             const tnk_int *offset, double *b, const tnk_int *ldb, const tnk_int *) {        \
    multiply_packed(upper, *m, *n, packed, buffer, b + *offset, *ldb);                                       \
  }
PACKED(ll, false)
PACKED(lu, true)

#define COLUMNS(name, op, upper)                                                                             \
  void tnk_blas_dtrmm_##name(const char *diag, const tnk_int *m, const tnk_int *n, const double *a,          \
                             const tnk_int *lda, double *b, const tnk_int *ldb) {                            \
    by_columns({op, upper, is_letter(diag, 'U'), a, *lda}, *m, *n, b, *ldb);                                 \
  }
COLUMNS(run, as_it_is, true)
COLUMNS(rln, as_it_is, false)
COLUMNS(rut, transposed, true)
COLUMNS(rlt, transposed, false)

void tnk_blas_dtrmm_pst(const char *side, const char *uplo, const char *transa, const char *diag,
                        const tnk_int *m, const tnk_int *n, const double *alpha, const double *a,
                        const tnk_int *lda, double *b, const tnk_int *ldb) {
  if (*m < 1 || *n < 1) return;
  const double by = tnk::get(alpha);
  if (by != 1) tnk_blas_dgemm_mscale(m, n, &by, b, ldb);
  if (by == 0) return;
  const Triangle<double> t = triangle(uplo, transa, diag, a, *lda);
  is_letter(side, 'L') ? plain_from_left(t, *m, *n, b, *ldb) : plain_from_right(t, *m, *n, b, *ldb);
}
