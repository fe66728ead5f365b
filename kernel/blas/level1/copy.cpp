// y := x.
#include "kernel/blas/level1/passes.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void copy_strided(tnk_int n, const T *x, tnk_int incx, T *y, tnk_int incy) {
  x = first_element(x, n, incx);
  y = first_element(y, n, incy);
  one_by_one<4>(n, [=](tnk_int i) { put(y + i * incy, get(x + i * incx)); });
}

// Forward: elements first to a 16-byte boundary of y, one 128-bit vector to a 32-byte one, then aligned
// stores, 32 elements a pass. 256-bit stores go twice as fast while both vectors stay in a first-level cache of
// 32 KB; beyond it, 128-bit ones are the faster by some hundredths.
template <class R> void copy_contiguous(tnk_int n, const R *x, R *y) {
  const auto one = [&](tnk_int i) { put(y + i, get(x + i)); };
  tnk_int peel = elements_to_boundary<16>(y, n);
  for (tnk_int i = 0; i < peel; ++i) one(i);
  if (peel + per_half<R> <= n && !is_aligned_to(y + peel, 32)) {
    store(y + peel, loadu<half<R>>(x + peel));
    peel += per_half<R>;
  }
  x += peel;
  y += peel;
  if (n * 2 * static_cast<tnk_int>(sizeof *x) <= cache_bytes)
    in_passes<32 / per_vector<R>, per_vector<R>>(n - peel, 0, 0, one,
                                                 [=](tnk_int i) { store(y + i, loadu<vec<R>>(x + i)); });
  else
    in_passes<32 / per_vector<R>, per_vector<R>>(n - peel, 0, 0, one, [=](tnk_int i) {
      const vec<R> v = in_register(loadu<vec<R>>(x + i));
      store(y + i, low_half(v));
      store(y + i + per_half<R>, high_half(v));
    });
}

template <class R> void copy(tnk_int n, const R *x, tnk_int incx, R *y, tnk_int incy) {
  if (is_contiguous(incx, incy) && is_element_aligned(x) && is_element_aligned(y))
    copy_contiguous(n, x, y);
  else
    copy_strided(n, x, incx, y, incy);
}

template <class R>
void copy_complex(tnk_int n, const complex<R> *x, tnk_int incx, complex<R> *y, tnk_int incy) {
  if (incx == 1 && incy == 1)
    copy(2 * n, reinterpret_cast<const R *>(x), 1, reinterpret_cast<R *>(y), 1);
  else
    copy_strided(n, x, incx, y, incy);
}

} // namespace
} // namespace tnk::level1

void tnk_blas_xscopy(const tnk_int *n, const float *x, const tnk_int *incx, float *y, const tnk_int *incy) {
  if (*n >= 1) tnk::level1::copy(*n, x, *incx, y, *incy);
}
void tnk_blas_xdcopy(const tnk_int *n, const double *x, const tnk_int *incx, double *y, const tnk_int *incy) {
  if (*n >= 1) tnk::level1::copy(*n, x, *incx, y, *incy);
}
void tnk_blas_xccopy(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                     const tnk_int *incy) {
  if (*n >= 1) tnk::level1::copy_complex<float>(*n, x, *incx, y, *incy);
}
void tnk_blas_xzcopy(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                     const tnk_int *incy) {
  if (*n >= 1) tnk::level1::copy_complex<double>(*n, x, *incx, y, *incy);
}
