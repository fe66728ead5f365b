// Powers, plain and modulo a number.
#include "kernel/gmp/integers/record.h"
#include "kernel/gmp/modular.h"

using namespace tnk::gmp;

namespace {

// r := b^e by squares from the highest bit of e down; factors of two of b are left out and shifted in at last.
void power(Integer *r, const Integer *b, uint64_t e) {
  if (e == 0) return set_ui(r, 1);
  if (b->size == 0) return set_ui(r, 0);
  const bool negative = is_negative(b) && e % 2 == 1;
  const uint64_t zeros = scan1(b, 0);
  Temporary odd, x;
  tdiv_q_2exp(odd, b, zeros);
  odd->size = limbs_of(odd);
  set(x, odd);
  if (!is_one(odd)) {
    room(x, limbs_for(bits_of(odd) * e) + 1);
    for (int i = 62 - leading_zeros(e); i >= 0; --i) {
      mul(x, x, x);
      if (e >> i & 1) mul(x, x, odd);
    }
  }
  mul_2exp(r, x, zeros * e);
  negate_if(r, negative);
}

// r := 1 / a modulo 2^bits, for an odd a: each step of Newton's doubles the bits that are right, three to begin with.
void inverse_2exp(Integer *r, const Integer *a, uint64_t bits) {
  Temporary x, step;
  tdiv_r_2exp(x, a, 3);
  for (uint64_t right = 3; right < bits;) {
    right = 2 * right < bits ? 2 * right : bits;
    tdiv_r_2exp(step, a, right);
    mul(step, step, x);
    tnk_gmp___gmpz_ui_sub(step, 2, step);
    mul(x, x, step);
    tnk_gmp___gmpz_fdiv_r_2exp(x, x, right);
  }
  tdiv_r_2exp(r, x, bits);
}

// r := b^e modulo an odd m > 0, for e > 0. Montgomery's form prepares for the modulus; an exponent beyond it, and a base
// of 0, go by the windowed one.
void power_modulo(Integer *r, const Integer *b, const Integer *e, const Integer *m) {
  if (b->size == 0 || cmp(e, m) > 0) return tnk_gmp_mpz_powm_mary(r, b, e, m);
  Temporary base;
  mod(base, b, m);
  const int32_t n = m->size;
  Temporary x;
  power_modulo_odd(room(x, n), base->d, base->size, e->d, e->size, m->d, n);
  settle(x, n, false);
  swap_records(r, x);
}

} // namespace

void tnk_gmp___gmpz_pow_ui(Integer *r, const Integer *b, uint64_t e) {
  power(r, b, e);
}
void tnk_gmp___gmpz_ui_pow_ui(Integer *r, uint64_t b, uint64_t e) {
  power(r, Small(b), e);
}

void tnk_gmp___gmpz_powm(Integer *r, const Integer *b, const Integer *e, const Integer *m) {
  Temporary inverse;
  if (is_negative(e)) {
    if (!tnk_gmp___gmpz_invert(inverse, b, m)) return;
    b = inverse;
  }
  const Integer exponent = magnitude(e), modulus = magnitude(m);
  if (exponent.size == 0) return set_ui(r, !is_one(&modulus));

  const uint64_t zeros = scan1(&modulus, 0);
  if (zeros == 0) return power_modulo(r, b, &exponent, &modulus);
  Temporary odd, lower;
  tdiv_q_2exp(odd, &modulus, zeros);
  tnk_gmp_mpl_powm_exp2(lower, b, &exponent, zeros);
  if (is_one(odd)) return swap_records(r, lower);
  // upper + odd k is right modulo both parts for k = (lower - upper) / odd modulo 2^zeros.
  Temporary upper, k;
  power_modulo(upper, b, &exponent, odd);
  inverse_2exp(k, odd, zeros);
  sub(lower, lower, upper);
  mul(k, k, lower);
  tnk_gmp___gmpz_fdiv_r_2exp(k, k, zeros);
  addmul(upper, odd, k);
  swap_records(r, upper);
}
void tnk_gmp___gmpz_powm_ui(Integer *r, const Integer *b, uint64_t e, const Integer *m) {
  tnk_gmp___gmpz_powm(r, b, Small(e), m);
}
