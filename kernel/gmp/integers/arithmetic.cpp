// Sums, products and shifts to the left.
#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

// |a| + |b|, with a at least as long.
void add_magnitudes(Integer *r, const Integer *a, const Integer *b, bool negative) {
  const int32_t an = limbs_of(a), bn = limbs_of(b);
  limb *const d = room(r, an + 1);
  const limb carry = tnk_gmp___gmpn_add_n(d, a->d, b->d, bn);
  d[an] = add_1(d + bn, a->d + bn, an - bn, carry);
  const int32_t n = an + (d[an] != 0);
  r->size = negative ? -n : n;
}

// |a| - |b|, with a the larger one or both equal.
void subtract_magnitudes(Integer *r, const Integer *a, const Integer *b, bool negative) {
  const int32_t an = limbs_of(a), bn = limbs_of(b);
  limb *const d = room(r, an);
  const limb borrow = tnk_gmp___gmpn_sub_n(d, a->d, b->d, bn);
  sub_1(d + bn, a->d + bn, an - bn, borrow);
  settle(r, an, negative);
}

// a + b, b with its sign turned round where `minus` is set.
void add_signed(Integer *r, const Integer *a, const Integer *b, bool minus) {
  const bool negative_b = is_negative(b) != minus;
  const int32_t an = limbs_of(a), bn = limbs_of(b);
  if (is_negative(a) == negative_b)
    return an >= bn ? add_magnitudes(r, a, b, negative_b) : add_magnitudes(r, b, a, negative_b);
  const int order = an != bn ? (an > bn ? 1 : -1) : tnk_gmp___gmpn_cmp(a->d, b->d, an);
  return order >= 0 ? subtract_magnitudes(r, a, b, is_negative(a)) : subtract_magnitudes(r, b, a, negative_b);
}

// The product into limbs that are no operand's.
void multiply_limbs(limb *r, const Integer *a, const Integer *b) {
  const int32_t an = limbs_of(a), bn = limbs_of(b);
  if (an >= bn)
    tnk_gmp___gmpn_mul(r, a->d, an, b->d, bn);
  else
    tnk_gmp___gmpn_mul(r, b->d, bn, a->d, an);
}

// r + a b or r - a b, for one limb b.
void add_product(Integer *r, const Integer *a, limb b, bool minus) {
  const int32_t an = limbs_of(a), rn = limbs_of(r);
  if (an == 0 || b == 0) return;
  const bool negative = is_negative(a) != minus;
  const int32_t n = an > rn ? an : rn;
  limb *const d = room(r, n + 1);
  clear(d + rn, n + 1 - rn);
  if (rn == 0 || is_negative(r) == negative) {
    add_1(d + an, d + an, n + 1 - an, tnk_gmp___gmpn_addmul_1(d, a->d, an, b));
    return settle(r, n + 1, negative);
  }
  // A product beyond r leaves the difference's complement.
  bool turned = is_negative(r);
  const limb borrow = tnk_gmp___gmpn_submul_1(d, a->d, an, b);
  if (sub_1(d + an, d + an, n + 1 - an, borrow)) {
    complement(d, d, n + 1);
    turned = !turned;
  }
  settle(r, n + 1, turned);
}

void add_product(Integer *r, const Integer *a, const Integer *b, bool minus) {
  if (limbs_of(b) == 1) return add_product(r, a, b->d[0], is_negative(b) != minus);
  if (limbs_of(a) == 1) return add_product(r, b, a->d[0], is_negative(a) != minus);
  if (a->size == 0 || b->size == 0) return;
  const int32_t n = limbs_of(a) + limbs_of(b);
  Scratch product(n);
  multiply_limbs(product, a, b);
  const Integer ab = view(product, n, is_negative(a) != is_negative(b));
  add_signed(r, r, &ab, minus);
}

void multiply_by_limb(Integer *r, const Integer *a, limb b, bool negative_b) {
  const int32_t n = limbs_of(a);
  const bool negative = is_negative(a) != negative_b;
  limb *const d = room(r, n + 1);
  d[n] = mul_1(d, a->d, n, b);
  settle(r, n + 1, negative);
}

} // namespace

void tnk_gmp___gmpz_abs(Integer *r, const Integer *a) {
  set(r, a);
  r->size = limbs_of(r);
}
void tnk_gmp___gmpz_neg(Integer *r, const Integer *a) {
  set(r, a);
  r->size = -r->size;
}

void tnk_gmp___gmpz_add(Integer *r, const Integer *a, const Integer *b) {
  add_signed(r, a, b, false);
}
void tnk_gmp___gmpz_add_ui(Integer *r, const Integer *a, uint64_t b) {
  add_signed(r, a, Small(b), false);
}
void tnk_gmp___gmpz_sub(Integer *r, const Integer *a, const Integer *b) {
  add_signed(r, a, b, true);
}
void tnk_gmp___gmpz_sub_ui(Integer *r, const Integer *a, uint64_t b) {
  add_signed(r, a, Small(b), true);
}
void tnk_gmp___gmpz_ui_sub(Integer *r, uint64_t a, const Integer *b) {
  add_signed(r, Small(a), b, true);
}

void tnk_gmp___gmpz_addmul(Integer *r, const Integer *a, const Integer *b) {
  add_product(r, a, b, false);
}
void tnk_gmp___gmpz_addmul_ui(Integer *r, const Integer *a, uint64_t b) {
  add_product(r, a, b, false);
}
void tnk_gmp___gmpz_submul(Integer *r, const Integer *a, const Integer *b) {
  add_product(r, a, b, true);
}
void tnk_gmp___gmpz_submul_ui(Integer *r, const Integer *a, uint64_t b) {
  add_product(r, a, b, true);
}

// A product whose record is an operand goes to limbs of its own, which the record takes over.
void tnk_gmp___gmpz_mul(Integer *r, const Integer *a, const Integer *b) {
  const int32_t n = limbs_of(a) + limbs_of(b);
  const bool negative = is_negative(a) != is_negative(b);
  if (limbs_of(b) <= 1) return multiply_by_limb(r, a, b->size == 0 ? 0 : b->d[0], is_negative(b));
  if (limbs_of(a) <= 1) return multiply_by_limb(r, b, a->size == 0 ? 0 : a->d[0], is_negative(a));
  if (r != a && r != b) {
    multiply_limbs(room(r, n), a, b);
    return settle(r, n, negative);
  }
  if (n <= stack_limbs) {
    limb product[stack_limbs];
    multiply_limbs(product, a, b);
    copy(room(r, n), product, n);
    return settle(r, n, negative);
  }
  Integer product = {0, 0, nullptr};
  multiply_limbs(room(&product, n), a, b);
  tnk_gmp___gmpz_clear(r);
  *r = product;
  settle(r, n, negative);
}
void tnk_gmp___gmpz_mul_ui(Integer *r, const Integer *a, uint64_t b) {
  multiply_by_limb(r, a, b, false);
}
void tnk_gmp___gmpz_mul_si(Integer *r, const Integer *a, int64_t b) {
  multiply_by_limb(r, a, magnitude_of(b), b < 0);
}
void tnk_gmp___gmpz_mul_2exp(Integer *r, const Integer *a, uint64_t bits) {
  const int32_t n = limbs_of(a), whole = static_cast<int32_t>(bits / 64);
  if (n == 0) return set_ui(r, 0);
  const bool negative = is_negative(a);
  limb *const d = room(r, n + whole + 1);
  d[n + whole] = shift_left(d + whole, a->d, n, static_cast<int>(bits % 64));
  clear(d, whole);
  settle(r, n + whole + 1, negative);
}
