// Toom's method in three pieces: five products of a third of the length, for the values of a polynomial at 0, 1, 2, 1/2
// and infinity. With these points nothing is negative, and two exact divisions by three are all that is to be divided.
#include "kernel/gmp/products.h"

namespace tnk::gmp {
namespace {

// r := a0 2^s0 + a1 2^s1 + a2 2^s2 in m + 1 limbs, of the pieces of a: m, m and h limbs, h not above m.
template <int s0, int s1, int s2> void value(limb *r, const limb *a, int32_t m, int32_t h) {
  const limb *const a1 = a + m, *const a2 = a1 + m;
  wide carry = 0;
  int32_t i = 0;
  for (; i < h; ++i) {
    carry += (wide{a[i]} << s0) + (wide{a1[i]} << s1) + (wide{a2[i]} << s2);
    r[i] = low(carry);
    carry >>= limb_bits;
  }
  for (; i < m; ++i) {
    carry += (wide{a[i]} << s0) + (wide{a1[i]} << s1);
    r[i] = low(carry);
    carry >>= limb_bits;
  }
  r[m] = low(carry);
}

// r of n limbs := r - a, a having fewer; and r - a 2^s.
void subtract(limb *r, const limb *a, int32_t an) {
  borrow_from(r + an, sub_n(r, r, a, an));
}
void subtract_shifted(limb *r, const limb *a, int32_t an, int s) {
  borrow_from(r + an, submul_1(r, a, an, limb{1} << s));
}

} // namespace
} // namespace tnk::gmp

void tnk_gmp_tnk_gmp_mul_n_tc3(const tnk_gmp_limb *a, const tnk_gmp_limb *b, tnk_gmp_limb *r, int32_t n) {
  using namespace tnk::gmp;
  if (n <= karatsuba_most) return tnk_gmp___gmpn_mul_n(r, a, b, n);
  const int32_t m = (n + 2) / 3, h = n - 2 * m, k = 2 * m + 2;
  Scratch scratch(3 * int64_t{k});
  limb *const at_1 = scratch, *const at_2 = at_1 + k, *const at_half = at_2 + k;

  // The values, where r is still free: it has more than four times m limbs.
  limb *const va = r, *const vb = a == b ? va : r + m + 1;
  const auto multiply = [=](limb *product, auto evaluate) {
    evaluate(va, a, m, h);
    if (a != b) evaluate(vb, b, m, h);
    tnk_gmp___gmpn_mul_n(product, va, vb, m + 1);
  };
  multiply(at_1, value<0, 0, 0>);
  multiply(at_2, value<0, 1, 2>);
  multiply(at_half, value<2, 1, 0>); // four times the value
  limb *const c0 = r, *const c4 = r + 4 * m;
  tnk_gmp___gmpn_mul_n(c0, a, b, m);
  tnk_gmp___gmpn_mul_n(c4, a + 2 * m, b + 2 * m, h);

  // The product is c4 x^4 + c3 x^3 + c2 x^2 + c1 x + c0. What is left of each value without c0 and c4:
  subtract(at_1, c0, 2 * m);
  subtract(at_1, c4, 2 * h); // c3 + c2 + c1
  subtract(at_2, c0, 2 * m);
  subtract_shifted(at_2, c4, 2 * h, 4);
  shift_right(at_2, at_2, k, 1); // 4 c3 + 2 c2 + c1
  subtract_shifted(at_half, c0, 2 * m, 4);
  subtract(at_half, c4, 2 * h);
  shift_right(at_half, at_half, k, 1); // c3 + 2 c2 + 4 c1

  sub_n(at_2, at_2, at_1, k);       // 3 c3 + c2
  sub_n(at_half, at_half, at_1, k); // c2 + 3 c1
  mul_1(at_1, at_1, k, 3);
  sub_n(at_1, at_1, at_2, k);
  sub_n(at_1, at_1, at_half, k); // c2
  sub_n(at_2, at_2, at_1, k);
  sub_n(at_half, at_half, at_1, k);
  tnk_gmp_mpn_divexact_by3(at_2, at_2, k);       // c3
  tnk_gmp_mpn_divexact_by3(at_half, at_half, k); // c1

  // c2 fills the gap between c0 and c4 and goes on into c4; c1 and c3 are added across the borders. Each is below
  // 2^(64 * 2 m + 2).
  copy(r + 2 * m, at_1, 2 * m);
  carry_into(c4, at_1[2 * m]);
  carry_into(r + 3 * m + 1, add_n(r + m, r + m, at_half, 2 * m + 1));
  carry_into(r + 5 * m + 1, add_n(r + 3 * m, r + 3 * m, at_2, 2 * m + 1));
}
