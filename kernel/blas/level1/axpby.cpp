// y := alpha x + beta y.
#include "kernel/blas/level1/passes.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void axpby(tnk_int n, T alpha, const T *x, tnk_int incx, T beta, T *y, tnk_int incy) {
  if (incx == 1 && incy == 1) {
    in_passes<8, per_vector<T>>(
        n, elements_to_boundary<32>(y, n), 0,
        [=](tnk_int i) { put(y + i, alpha * get(x + i) + beta * get(y + i)); },
        [=](tnk_int i) {
          storeu(y + i, scaled(alpha, load_elements(x + i)) + scaled(beta, load_elements(y + i)));
        });
  } else {
    x = first_element(x, n, incx);
    y = first_element(y, n, incy);
    one_by_one<4>(
        n, [=](tnk_int i) { put(y + i * incy, alpha * get(x + i * incx) + beta * get(y + i * incy)); });
  }
}

} // namespace
} // namespace tnk::level1

#define AXPBY(name, T)                                                                                       \
  void name(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, const T *beta, T *y,          \
            const tnk_int *incy) {                                                                           \
    if (*n >= 1) tnk::level1::axpby(*n, tnk::get(alpha), x, *incx, tnk::get(beta), y, *incy);                \
  }
AXPBY(tnk_blas_saxpby, float)
AXPBY(tnk_blas_daxpby, double)
AXPBY(tnk_blas_caxpby, tnk_complex8)
AXPBY(tnk_blas_zaxpby, tnk_complex16)
#undef AXPBY
