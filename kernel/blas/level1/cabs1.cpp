// scabs1, dcabs1: |re| + |im|.
#include "kernel/frame/element.h"
#include <tnk/blas_level1.h>

float tnk_blas_scabs1(const tnk_complex8 *x) {
  return tnk::abs1(tnk::get(x));
}
double tnk_blas_dcabs1(const tnk_complex16 *x) {
  return tnk::abs1(tnk::get(x));
}
