/* A kernel library with those vector kernels alone that the tour's first scene calls, as plain loops: its norm is wrong,
   and, WITHOUT_AXPY, one of them is missing. */
#include <math.h>
#include <tnk/blas_level1.h>
#include <tnk/kernel.h>

int32_t dll_cpu_version(void) {
  return TNK_CLASS_AVX;
}

double tnk_blas_xddot(const tnk_int *n, const double *x, const tnk_int *incx, const double *y,
                      const tnk_int *incy) {
  double sum = 0;
  for (tnk_int i = 0; i < *n; ++i) sum += x[i * *incx] * y[i * *incy];
  return sum;
}

#ifndef WITHOUT_AXPY
void tnk_blas_xdaxpy(const tnk_int *n, const double *alpha, const double *x, const tnk_int *incx, double *y,
                     const tnk_int *incy) {
  for (tnk_int i = 0; i < *n; ++i) y[i * *incy] += *alpha * x[i * *incx];
}
#endif

void tnk_blas_xdcopy(const tnk_int *n, const double *x, const tnk_int *incx, double *y, const tnk_int *incy) {
  for (tnk_int i = 0; i < *n; ++i) y[i * *incy] = x[i * *incx];
}

double tnk_blas_dasum(const tnk_int *n, const double *x, const tnk_int *incx) {
  double sum = 0;
  for (tnk_int i = 0; i < *n; ++i) sum += fabs(x[i * *incx]);
  return sum;
}

double tnk_blas_dnrm2(const tnk_int *n, const double *x, const tnk_int *incx) {
  return sqrt(tnk_blas_xddot(n, x, incx, x, incx)) * (1 + 1e-10);
}

tnk_int tnk_blas_idamax(const tnk_int *n, const double *x, const tnk_int *incx) {
  tnk_int found = 0;
  for (tnk_int i = 1; i < *n; ++i)
    if (fabs(x[i * *incx]) > fabs(x[found * *incx])) found = i;
  return found + 1;
}

tnk_int tnk_blas_idamin(const tnk_int *n, const double *x, const tnk_int *incx) {
  tnk_int found = 0;
  for (tnk_int i = 1; i < *n; ++i)
    if (fabs(x[i * *incx]) < fabs(x[found * *incx])) found = i;
  return found + 1;
}
