// Modified plane rotation: (x, y) := H (x, y), with as few products as the flag of H allows.
#include "kernel/blas/level1/pairs.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

// Equal positive increments go in 128-bit vectors: whole ones at increment 1, else two elements gathered a
// pass.
template <class T, class Step> void transform(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy, Step step) {
  if (incx != incy || incx < 1) {
    each_pair(n, x, incx, y, incy, step);
  } else if (incx == 1) {
    each_unit_pair<half<T>>(n, x, y, step);
  } else {
    for (; n >= 2; n -= 2, x += 2 * incx, y += 2 * incx) {
      half<T> u{get(x), get(x + incx)}, v{get(y), get(y + incx)};
      step(u, v);
      put(x, u[0]);
      put(x + incx, u[1]);
      put(y, v[0]);
      put(y + incx, v[1]);
    }
    each_pair(n, x, incx, y, incx, step);
  }
}

template <class T> void apply(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy, const T *param) {
  const T flag = get(param);
  if (n < 1 || flag + 2 == 0) return;
  const T h11 = get(param + 1), h21 = get(param + 2), h12 = get(param + 3), h22 = get(param + 4);
  if (flag < 0)
    transform(n, x, incx, y, incy, [=](auto &u, auto &v) {
      const auto old = u;
      u = old * h11 + v * h12;
      v = old * h21 + v * h22;
    });
  else if (flag == 0)
    transform(n, x, incx, y, incy, [=](auto &u, auto &v) {
      const auto old = u;
      u = old + v * h12;
      v = old * h21 + v;
    });
  else
    transform(n, x, incx, y, incy, [=](auto &u, auto &v) {
      const auto old = u;
      u = old * h11 + v;
      v = v * h22 - old;
    });
}

} // namespace
} // namespace tnk::level1

void tnk_blas_srotm(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                    const float *param) {
  tnk::level1::apply(*n, x, *incx, y, *incy, param);
}
void tnk_blas_drotm(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                    const double *param) {
  tnk::level1::apply(*n, x, *incx, y, *incy, param);
}
