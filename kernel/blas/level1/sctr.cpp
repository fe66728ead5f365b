// Scatter: y[indx[i] - 1] := x[i].
#include "kernel/frame/element.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void scatter(tnk_int nz, const T *x, const tnk_int *indx, T *y) {
#pragma GCC unroll 2
  for (tnk_int i = 0; i < nz; ++i) put(y + (get(indx + i) - 1), get(x + i));
}

} // namespace
} // namespace tnk::level1

void tnk_blas_ssctr(const tnk_int *nz, const float *x, const tnk_int *indx, float *y) {
  tnk::level1::scatter(*nz, x, indx, y);
}
void tnk_blas_dsctr(const tnk_int *nz, const double *x, const tnk_int *indx, double *y) {
  tnk::level1::scatter(*nz, x, indx, y);
}
void tnk_blas_csctr(const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx, tnk_complex8 *y) {
  tnk::level1::scatter(*nz, x, indx, y);
}
void tnk_blas_zsctr(const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx, tnk_complex16 *y) {
  tnk::level1::scatter(*nz, x, indx, y);
}
