// x := alpha x, alpha of the type of x or its real type.
#include "kernel/blas/level1/passes.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

// With an increment of 0 the one element is multiplied n times over.
template <int Unroll, class A, class T> void scale_strided(tnk_int n, A alpha, T *x, tnk_int incx) {
  x = first_element(x, n, incx);
  one_by_one<Unroll>(n, [=](tnk_int i) { put(x + i * incx, alpha * get(x + i * incx)); });
}

template <class T> void scale_contiguous(tnk_int n, T alpha, T *x) {
  in_passes<8, per_vector<T>>(
      n, elements_to_boundary<32>(x, n), 0, [=](tnk_int i) { put(x + i, alpha * get(x + i)); },
      [=](tnk_int i) { storeu(x + i, scaled(alpha, load_elements(x + i))); });
}

// An increment of -1 means the same elements as one of 1.
template <class T> void scale(tnk_int n, T alpha, T *x, tnk_int incx) {
  if ((incx == 1 || incx == -1) && is_element_aligned(x))
    scale_contiguous(n, alpha, x);
  else
    scale_strided<4>(n, alpha, x, incx);
}

// Only double precision leaves x alone when alpha is 1.
void scale_unless_one(tnk_int n, double alpha, double *x, tnk_int incx) {
  if (alpha != 1) scale(n, alpha, x, incx);
}

} // namespace
} // namespace tnk::level1

void tnk_blas_sscal(const tnk_int *n, const float *alpha, float *x, const tnk_int *incx) {
  if (*n >= 1) tnk::level1::scale(*n, tnk::get(alpha), x, *incx);
}
void tnk_blas_dscal(const tnk_int *n, const double *alpha, double *x, const tnk_int *incx) {
  if (*n >= 1) tnk::level1::scale_unless_one(*n, tnk::get(alpha), x, *incx);
}
void tnk_blas_cscal(const tnk_int *n, const tnk_complex8 *alpha, tnk_complex8 *x, const tnk_int *incx) {
  if (*n >= 1) tnk::level1::scale(*n, tnk::get(alpha), x, *incx);
}
void tnk_blas_zscal(const tnk_int *n, const tnk_complex16 *alpha, tnk_complex16 *x, const tnk_int *incx) {
  if (*n >= 1) tnk::level1::scale(*n, tnk::get(alpha), x, *incx);
}

void tnk_blas_csscal(const tnk_int *n, const float *alpha, tnk_complex8 *x, const tnk_int *incx) {
  if (*n < 1) return;
  if (*incx == 1)
    tnk::level1::scale(2 * *n, tnk::get(alpha), reinterpret_cast<float *>(x), 1);
  else
    tnk::level1::scale_strided<2>(*n, tnk::get(alpha), x, *incx);
}
void tnk_blas_zdscal(const tnk_int *n, const double *alpha, tnk_complex16 *x, const tnk_int *incx) {
  if (*n < 1) return;
  if (*incx == 1)
    tnk::level1::scale_unless_one(2 * *n, tnk::get(alpha), reinterpret_cast<double *>(x), 1);
  else
    tnk::level1::scale_strided<2>(*n, tnk::get(alpha), x, *incx);
}
