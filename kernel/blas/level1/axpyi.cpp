// Sparse axpy: y[indx[i] - 1] += alpha x[i].
#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void sparse_axpy(tnk_int nz, T alpha, const T *x, const tnk_int *indx, T *y) {
  if (nz < 1 || is_zero(alpha)) return;
#pragma GCC unroll 2
  for (tnk_int i = 0; i < nz; ++i) {
    T *const target = y + (get(indx + i) - 1);
    put(target, get(target) + alpha * get(x + i));
  }
}

template <class C> void sparse_axpy_complex(tnk_int nz, C alpha, const C *x, const tnk_int *indx, C *y) {
  using R = real_of<C>;
  if (nz < 1 || is_zero(alpha)) return;
  const auto re = splat<half<R>>(alpha.re), im = splat<half<R>>(alpha.im);
#pragma GCC unroll 2
  for (tnk_int i = 0; i < nz; ++i) {
    R *const target = reinterpret_cast<R *>(y + (get(indx + i) - 1));
    const half<R> product = complex_product(re, im, load_pair(reinterpret_cast<const R *>(x + i)));
    store_pair(target, load_pair(target) + product);
  }
}

} // namespace
} // namespace tnk::level1

void tnk_blas_saxpyi(const tnk_int *nz, const float *alpha, const float *x, const tnk_int *indx, float *y) {
  tnk::level1::sparse_axpy(*nz, tnk::get(alpha), x, indx, y);
}
void tnk_blas_daxpyi(const tnk_int *nz, const double *alpha, const double *x, const tnk_int *indx,
                     double *y) {
  tnk::level1::sparse_axpy(*nz, tnk::get(alpha), x, indx, y);
}
void tnk_blas_caxpyi(const tnk_int *nz, const tnk_complex8 *alpha, const tnk_complex8 *x, const tnk_int *indx,
                     tnk_complex8 *y) {
  tnk::level1::sparse_axpy_complex(*nz, tnk::get(alpha), x, indx, y);
}
void tnk_blas_zaxpyi(const tnk_int *nz, const tnk_complex16 *alpha, const tnk_complex16 *x,
                     const tnk_int *indx, tnk_complex16 *y) {
  tnk::level1::sparse_axpy_complex(*nz, tnk::get(alpha), x, indx, y);
}
