// What a kernel library lacks that has the vector kernels with their dnrm2 named right_dnrm2: a norm, and that is wrong.
#include <tnk/blas_level1.h>
#include <tnk/kernel.h>

extern "C" double right_dnrm2(const tnk_int *n, const double *x, const tnk_int *incx);

double tnk_blas_dnrm2(const tnk_int *n, const double *x, const tnk_int *incx) {
  return right_dnrm2(n, x, incx) * (1 + 1e-10);
}

int32_t dll_cpu_version(void) {
  return TNK_CLASS_AVX;
}
