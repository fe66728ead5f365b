/* Stands in for the kernel of the norm, and is off by more than rounding. */
#include <math.h>
#include <tnk/blas_level1.h>

double tnk_blas_dnrm2(const tnk_int *n, const double *x, const tnk_int *incx) {
  double sum = 0;
  for (tnk_int i = 0; i < *n; ++i) sum += x[i * *incx] * x[i * *incx];
  return sqrt(sum) * (1 + 1e-10);
}
