// Sparse dot product: the sum of x[i] y[indx[i] - 1], the even and the odd terms summed apart and then added.
#include "kernel/frame/complex.h"
#include "kernel/frame/simd.h"
#include <tnk/blas_level1.h>

namespace tnk {
namespace {

enum class Conjugate { no, yes };

template <Conjugate conj = Conjugate::no, class T>
T sparse_dot(tnk_int nz, const T *x, const tnk_int *indx, const T *y) {
  const auto term = [=](tnk_int i) {
    const T a = get(x + i), b = get(y + (get(indx + i) - 1));
    if constexpr (conj == Conjugate::yes)
      return conjugate(a) * b;
    else
      return a * b;
  };
  T even{}, odd{};
  tnk_int i = 0;
  for (; i + 2 <= nz; i += 2) {
    even += term(i);
    odd += term(i + 1);
  }
  if (i < nz) even += term(i);
  return even + odd;
}

} // namespace
} // namespace tnk

using tnk::Conjugate;

float tnk_blas_sdoti(const tnk_int *nz, const float *x, const tnk_int *indx, const float *y) {
  return tnk::sparse_dot(*nz, x, indx, y);
}
double tnk_blas_ddoti(const tnk_int *nz, const double *x, const tnk_int *indx, const double *y) {
  return tnk::sparse_dot(*nz, x, indx, y);
}
void tnk_blas_cdotci(tnk_complex8 *result, const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx,
                     const tnk_complex8 *y) {
  tnk::put(result, tnk::sparse_dot<Conjugate::yes>(*nz, x, indx, y));
}
void tnk_blas_cdotui(tnk_complex8 *result, const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx,
                     const tnk_complex8 *y) {
  tnk::put(result, tnk::sparse_dot(*nz, x, indx, y));
}
void tnk_blas_zdotci(tnk_complex16 *result, const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx,
                     const tnk_complex16 *y) {
  tnk::put(result, tnk::sparse_dot<Conjugate::yes>(*nz, x, indx, y));
}
void tnk_blas_zdotui(tnk_complex16 *result, const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx,
                     const tnk_complex16 *y) {
  tnk::put(result, tnk::sparse_dot(*nz, x, indx, y));
}
