// Products: the choice of a method by length, Karatsuba's method and the cut of a longer operand into slices.
#include "kernel/gmp/products.h"

namespace tnk::gmp {
namespace {

// r := |a - b| of m limbs, b having h of them, m or m - 1. Whether a is below b.
bool distance(limb *r, const limb *a, int32_t m, const limb *b, int32_t h) {
  const bool longer = m > h && a[h] != 0;
  if (!longer && compare(a, b, h) < 0) {
    sub_n(r, b, a, h);
    if (m > h) r[h] = 0;
    return true;
  }
  const limb borrow = sub_n(r, a, b, h);
  if (m > h) r[h] = a[h] - borrow;
  return false;
}

// One step: with a = a1 x + a0 and b alike, a1 b1 x^2 + (a1 b1 + a0 b0 - (a0 - a1)(b0 - b1)) x + a0 b0. The lower halves
// have m limbs, the upper ones h = n / 2. 4 m limbs of scratch: the two distances, and their product.
template <class Multiply>
void karatsuba(limb *r, const limb *a, const limb *b, int32_t n, Multiply multiply) {
  const int32_t h = n / 2, m = n - h;
  Scratch scratch(4 * int64_t{m});
  limb *const da = scratch, *const db = da + m, *const middle = db + m;
  const bool a_negative = distance(da, a, m, a + m, h);
  const bool negative = a != b && a_negative != distance(db, b, m, b + m, h);
  multiply(middle, da, a == b ? da : db, m); // a square stays one
  multiply(r, a, b, m);
  multiply(r + 2 * m, a + m, b + m, h);
  // The sum of the outer products, in place of the two distances; 2 h of its limbs have two summands.
  limb *const outer = da;
  limb carry = add_n(outer, r, r + 2 * m, 2 * h);
  if (m > h) carry = add_1(outer + 2 * h, r + 2 * h, 2 * (m - h), carry);
  if (negative)
    carry += add_n(outer, outer, middle, 2 * m);
  else
    carry -= sub_n(outer, outer, middle, 2 * m);
  carry += add_n(r + m, r + m, outer, 2 * m);
  carry_into(r + 3 * m, carry);
}

} // namespace

void karatsuba_step(limb *r, const limb *a, const limb *b, int32_t n, Transforms &kept) {
  karatsuba(r, a, b, n, [&](limb *product, const limb *x, const limb *y, int32_t limbs) {
    multiply_long(product, x, y, limbs, kept);
  });
}

void multiply_long(limb *r, const limb *a, const limb *b, int32_t n, Transforms &kept) {
  if (n <= toom_most)
    tnk_gmp___gmpn_mul_n(r, a, b, n);
  else if (n <= transform_most)
    kept.multiply(r, a, n, b, n);
  else
    karatsuba_step(r, a, b, n, kept);
}

namespace {

// a in slices as long as b. The first one goes straight into r, so that a later product, or the last with fewer limbs, is
// no longer than a. Apart from its caller, whose short products do without a frame on the stack.
__attribute__((noinline)) void multiply_slices(limb *r, const limb *a, int32_t an, const limb *b,
                                               int32_t bn) {
  Scratch scratch(an);
  int32_t done = bn;
  const auto add_slice = [&](int32_t slice) {
    const limb carry = add_n(r + done, r + done, scratch, bn);
    add_1(r + done + bn, scratch + bn, slice, carry);
  };
  {
    // Given back before the last slice, whose transforms have another length: memory for one length is enough.
    Transforms kept;
    multiply_long(r, a, b, bn, kept);
    for (; an - done >= bn; done += bn) {
      multiply_long(scratch, a + done, b, bn, kept);
      add_slice(bn);
    }
  }
  if (const int32_t slice = an - done) {
    tnk_gmp___gmpn_mul(scratch, b, bn, a + done, slice);
    add_slice(slice);
  }
}

} // namespace
} // namespace tnk::gmp

void tnk_gmp___gmpn_mul_n(tnk_gmp_limb *r, const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n) {
  using namespace tnk::gmp;
  if (n <= 0) return;
  if (n <= school_most) return e9_cpMul_BNU_school(r, a, n, b, n);
  if (n <= karatsuba_most) return karatsuba(r, a, b, n, tnk_gmp___gmpn_mul_n);
  if (n <= toom_most) return tnk_gmp_tnk_gmp_mul_n_tc3(a, b, r, n);
  Transforms kept;
  multiply_long(r, a, b, n, kept);
}

tnk_gmp_limb tnk_gmp___gmpn_mul(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b,
                                int32_t bn) {
  using namespace tnk::gmp;
  if (bn == 0) {
    clear(r, an);
    return 0;
  }
  // Slices of a limb or a few, added up as they come, are the rows of school.
  if (an + bn < mul_school_below || bn <= mul_rows_most)
    e9_cpMul_BNU_school(r, a, an, b, bn);
  else if (an == bn)
    tnk_gmp___gmpn_mul_n(r, a, b, an);
  else
    multiply_slices(r, a, an, b, bn);
  return r[an + bn - 1];
}

void tnk_gmp_tnk_gmp_mul_n_kara(const tnk_gmp_limb *a, const tnk_gmp_limb *b, tnk_gmp_limb *r, int32_t n) {
  using namespace tnk::gmp;
  if (n <= 0) return;
  if (n < school_most) return e9_cpMul_BNU_school(r, a, n, b, n);
  if (n == school_most) {
    // Eight by eight limbs, then the ninth limb of each times all of the other, the corner once.
    e9_cpMul_BNU_school(r, a, 8, b, 8);
    r[16] = tnk_gmp___gmpn_addmul_1(r + 8, a, 8, b[8]);
    r[17] = tnk_gmp___gmpn_addmul_1(r + 8, b, 9, a[8]);
    return;
  }
  karatsuba(r, a, b, n, [](limb *product, const limb *x, const limb *y, int32_t limbs) {
    tnk_gmp_tnk_gmp_mul_n_kara(x, y, product, limbs);
  });
}
