// Sums and differences of arrays, and what a product or a division adds and takes off.
#include "kernel/gmp/limbs.h"

tnk_gmp_limb tnk_gmp___gmpn_add_n(tnk_gmp_limb *r, const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n) {
  return tnk::gmp::add_n(r, a, b, n);
}
tnk_gmp_limb tnk_gmp___gmpn_sub_n(tnk_gmp_limb *r, const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n) {
  return tnk::gmp::sub_n(r, a, b, n);
}
tnk_gmp_limb tnk_gmp___gmpn_add_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b) {
  return tnk::gmp::add_1(r, a, n, b);
}
tnk_gmp_limb tnk_gmp___gmpn_sub_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b) {
  return tnk::gmp::sub_1(r, a, n, b);
}
tnk_gmp_limb tnk_gmp___gmpn_addmul_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b) {
  return tnk::gmp::addmul_1(r, a, n, b);
}
tnk_gmp_limb tnk_gmp___gmpn_submul_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b) {
  return tnk::gmp::submul_1(r, a, n, b);
}
int32_t tnk_gmp___gmpn_cmp(const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n) {
  return tnk::gmp::compare(a, b, n);
}
