// A kernel library with just what the first scene of the tour calls, and one fault, chosen by a definition.
#include <cmath>
#include <tnk/blas_level1.h>
#include <tnk/kernel.h>

int32_t dll_cpu_version(void) {
#ifdef OTHER_CLASS
  return TNK_CLASS_AVX + 1;
#else
  return TNK_CLASS_AVX;
#endif
}

void tnk_blas_xdcopy(const tnk_int *n, const double *x, const tnk_int *, double *y, const tnk_int *) {
  for (tnk_int i = 0; i < *n; ++i) y[i] = x[i];
}

void tnk_blas_xdaxpy(const tnk_int *n, const double *alpha, const double *x, const tnk_int *, double *y,
                     const tnk_int *) {
  for (tnk_int i = 0; i < *n; ++i) y[i] += *alpha * x[i];
}

double tnk_blas_xddot(const tnk_int *n, const double *x, const tnk_int *, const double *y, const tnk_int *) {
  double sum = 0;
  for (tnk_int i = 0; i < *n; ++i) sum += x[i] * y[i];
  return sum;
}

double tnk_blas_dasum(const tnk_int *n, const double *x, const tnk_int *) {
  double sum = 0;
  for (tnk_int i = 0; i < *n; ++i) sum += std::fabs(x[i]);
  return sum;
}

double tnk_blas_dnrm2(const tnk_int *n, const double *x, const tnk_int *inc) {
  const double norm = std::sqrt(tnk_blas_xddot(n, x, inc, x, inc));
#ifdef WRONG_NORM
  return norm * (1 + 1e-10);
#else
  return norm;
#endif
}

tnk_int tnk_blas_idamax(const tnk_int *n, const double *x, const tnk_int *) {
  tnk_int best = 0;
  for (tnk_int i = 1; i < *n; ++i)
    if (std::fabs(x[i]) > std::fabs(x[best])) best = i;
  return best + 1;
}

tnk_int tnk_blas_idamin(const tnk_int *n, const double *x, const tnk_int *) {
  tnk_int best = 0;
  for (tnk_int i = 1; i < *n; ++i)
    if (std::fabs(x[i]) < std::fabs(x[best])) best = i;
  return best + 1;
}
