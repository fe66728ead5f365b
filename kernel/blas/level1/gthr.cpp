// Gather: x[i] := y[indx[i] - 1], in the z forms with y[indx[i] - 1] := 0 right after it, so that a repeated
// position gives its value once and then zeros.
#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void gather_some(tnk_int nz, const T *y, T *x, const tnk_int *indx) {
#pragma GCC unroll 2
  for (tnk_int i = 0; i < nz; ++i) put(x + i, get(y + (get(indx + i) - 1)));
}

template <class T> void gather(tnk_int nz, const T *y, T *x, const tnk_int *indx) {
  gather_some(nz, y, x, indx);
}

// Whole aligned vectors take a quarter of the stores.
void gather(tnk_int nz, const double *y, double *x, const tnk_int *indx) {
  if (is_aligned_to(x, sizeof(double))) {
    const tnk_int peel = elements_to_boundary<32>(x);
    if (nz >= peel + 8) {
      gather_some(peel, y, x, indx);
      x += peel, indx += peel, nz -= peel;
      const auto at = [&](int i) { return get(y + (get(indx + i) - 1)); };
      for (; nz >= 8; x += 8, indx += 8, nz -= 8) {
        store(x, f64x4{at(0), at(1), at(2), at(3)});
        store(x + 4, f64x4{at(4), at(5), at(6), at(7)});
      }
    }
  }
  gather_some(nz, y, x, indx);
}

template <class T> void gather_and_zero(tnk_int nz, T *y, T *x, const tnk_int *indx) {
#pragma GCC unroll 2
  for (tnk_int i = 0; i < nz; ++i) {
    T *const source = y + (get(indx + i) - 1);
    put(x + i, get(source));
    put(source, T{});
  }
}

} // namespace
} // namespace tnk::level1

void tnk_blas_sgthr(const tnk_int *nz, const float *y, float *x, const tnk_int *indx) {
  tnk::level1::gather(*nz, y, x, indx);
}
void tnk_blas_dgthr(const tnk_int *nz, const double *y, double *x, const tnk_int *indx) {
  tnk::level1::gather(*nz, y, x, indx);
}
void tnk_blas_cgthr(const tnk_int *nz, const tnk_complex8 *y, tnk_complex8 *x, const tnk_int *indx) {
  tnk::level1::gather(*nz, y, x, indx);
}
void tnk_blas_zgthr(const tnk_int *nz, const tnk_complex16 *y, tnk_complex16 *x, const tnk_int *indx) {
  tnk::level1::gather(*nz, y, x, indx);
}
void tnk_blas_sgthrz(const tnk_int *nz, float *y, float *x, const tnk_int *indx) {
  tnk::level1::gather_and_zero(*nz, y, x, indx);
}
void tnk_blas_dgthrz(const tnk_int *nz, double *y, double *x, const tnk_int *indx) {
  tnk::level1::gather_and_zero(*nz, y, x, indx);
}
void tnk_blas_cgthrz(const tnk_int *nz, tnk_complex8 *y, tnk_complex8 *x, const tnk_int *indx) {
  tnk::level1::gather_and_zero(*nz, y, x, indx);
}
void tnk_blas_zgthrz(const tnk_int *nz, tnk_complex16 *y, tnk_complex16 *x, const tnk_int *indx) {
  tnk::level1::gather_and_zero(*nz, y, x, indx);
}
