// The product of two short numbers, row by row.
#include "kernel/gmp/limbs.h"

void e9_cpMul_BNU_school(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b,
                         int32_t bn) {
  using namespace tnk::gmp;
  r[an] = mul_1(r, a, an, b[0]);
  for (int32_t j = 1; j < bn; ++j) r[an + j] = addmul_1(r + j, a, an, b[j]);
}
