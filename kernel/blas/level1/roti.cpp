// Sparse plane rotation: x[i] := c x[i] + s y, y := (0 - s x[i]) + c y, with y for y[indx[i] - 1].
#include "kernel/frame/simd.h"
#include <tnk/blas_level1.h>

namespace tnk {
namespace {

// The subtraction from zero is not a negation: it gives +0 where s x[i] is +0, and so decides the sign of a
// zero in y.
template <class R> void sparse_rotate(tnk_int nz, R *x, const tnk_int *indx, R *y, R c, R s) {
  if (nz < 1 || (c == 1 && s == 0)) return;
#pragma GCC unroll 2
  for (tnk_int i = 0; i < nz; ++i) {
    R *const target = y + (get(indx + i) - 1);
    const R u = get(x + i), v = get(target);
    put(x + i, c * u + s * v);
    put(target, (0 - s * u) + c * v);
  }
}

} // namespace
} // namespace tnk

void tnk_blas_sroti(const tnk_int *nz, float *x, const tnk_int *indx, float *y, const float *c,
                    const float *s) {
  tnk::sparse_rotate(*nz, x, indx, y, *c, *s);
}
void tnk_blas_droti(const tnk_int *nz, double *x, const tnk_int *indx, double *y, const double *c,
                    const double *s) {
  tnk::sparse_rotate(*nz, x, indx, y, *c, *s);
}
