// x and y exchanged.
#include "kernel/blas/level1/passes.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void swap_strided(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy) {
  x = first_element(x, n, incx);
  y = first_element(y, n, incy);
  one_by_one<4>(n, [=](tnk_int i) {
    const T t = get(x + i * incx);
    put(x + i * incx, get(y + i * incy));
    put(y + i * incy, t);
  });
}

template <class R> void swap(tnk_int n, R *x, tnk_int incx, R *y, tnk_int incy) {
  if (!is_contiguous(incx, incy) || !is_element_aligned(x) || !is_element_aligned(y))
    return swap_strided(n, x, incx, y, incy);
  in_passes<8, per_vector<R>>(
      n, elements_to_boundary<32>(y, n), 0,
      [=](tnk_int i) {
        const R t = x[i];
        x[i] = y[i];
        y[i] = t;
      },
      [=](tnk_int i) {
        const auto a = loadu<vec<R>>(x + i), b = load<vec<R>>(y + i);
        storeu(x + i, b);
        store(y + i, a);
      });
}

template <class R> void swap_complex(tnk_int n, complex<R> *x, tnk_int incx, complex<R> *y, tnk_int incy) {
  if (is_contiguous(incx, incy))
    swap(2 * n, reinterpret_cast<R *>(x), 1, reinterpret_cast<R *>(y), 1);
  else
    swap_strided(n, x, incx, y, incy);
}

} // namespace
} // namespace tnk::level1

void tnk_blas_xsswap(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy) {
  if (*n >= 1) tnk::level1::swap(*n, x, *incx, y, *incy);
}
void tnk_blas_xdswap(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy) {
  if (*n >= 1) tnk::level1::swap(*n, x, *incx, y, *incy);
}
void tnk_blas_xcswap(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                     const tnk_int *incy) {
  if (*n >= 1) tnk::level1::swap_complex<float>(*n, x, *incx, y, *incy);
}
void tnk_blas_xzswap(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                     const tnk_int *incy) {
  if (*n >= 1) tnk::level1::swap_complex<double>(*n, x, *incx, y, *incy);
}
