// snrm2, dnrm2, scnrm2, dznrm2: the Euclidean norm by the scaled sum of squares.
//
// A division for each element and no vectors: the price of a sum safe from overflow and underflow.
#include "kernel/frame/element.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

// scale^2 * ssq is the sum of squares so far, and scale the largest magnitude.
template <class R> struct ScaledSquares { R scale = 0, ssq = 1; };

// A NaN is not zero and not above the scale, so it goes into ssq and stays there.
template <class R> inline void add(ScaledSquares<R> &sum, R a) {
  if (a == 0) return;
  const R size = std::fabs(a);
  if (size > sum.scale) {
    const R ratio = sum.scale / size;
    sum.ssq = 1 + sum.ssq * (ratio * ratio);
    sum.scale = size;
  } else {
    const R ratio = size / sum.scale;
    sum.ssq += ratio * ratio;
  }
}

template <class R> inline R root(const ScaledSquares<R> &sum) {
  return sum.scale * std::sqrt(sum.ssq);
}

template <class R> R nrm2(tnk_int n, const R *x, tnk_int incx) {
  if (n < 1) return 0;
  if (n == 1) return std::fabs(get(x));
  const tnk_int step = absolute(incx);
  ScaledSquares<R> sum;
  for (tnk_int i = 0; i < n; ++i) add(sum, get(x + i * step));
  return root(sum);
}

template <class C> real_of<C> complex_nrm2(tnk_int n, const C *x, tnk_int incx) {
  using R = real_of<C>;
  if (n < 1) return 0;
  const tnk_int step = absolute(incx);
  ScaledSquares<R> sum;
  if (step == 1) {
    const R *parts = reinterpret_cast<const R *>(x);
    for (tnk_int i = 0; i < 2 * n; ++i) add(sum, get(parts + i));
  } else {
    for (tnk_int i = 0; i < n; ++i) {
      const C a = get(x + i * step);
      add(sum, a.re);
      add(sum, a.im);
    }
  }
  return root(sum);
}

} // namespace
} // namespace tnk::level1

float tnk_blas_snrm2(const tnk_int *n, const float *x, const tnk_int *incx) {
  return tnk::level1::nrm2(*n, x, *incx);
}
double tnk_blas_dnrm2(const tnk_int *n, const double *x, const tnk_int *incx) {
  return tnk::level1::nrm2(*n, x, *incx);
}
float tnk_blas_scnrm2(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx) {
  return tnk::level1::complex_nrm2(*n, x, *incx);
}
double tnk_blas_dznrm2(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx) {
  return tnk::level1::complex_nrm2(*n, x, *incx);
}
