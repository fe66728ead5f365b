// Quotients and remainders, rounded toward zero (t), down (f) and up (c), and what is asked of them.
#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

enum class Round { cut, down, up };

// Whether the quotient goes one further from zero where something remains.
template <Round way> bool goes_on(bool negative_n, bool negative_d) {
  if (way == Round::cut) return false;
  return (negative_n != negative_d) == (way == Round::down);
}

// q one further from zero, r by d to the other side of it.
template <Round way> void divide(Integer *q, Integer *r, const Integer *n, const Integer *d) {
  const bool negative_n = is_negative(n), negative_d = is_negative(d);
  const bool far = goes_on<way>(negative_n, negative_d);
  const bool negative_q = negative_n != negative_d;
  if (!far) {
    if (!r)
      tnk_gmp_tnk_gmp_div_q(q, n, d);
    else if (!q)
      tnk_gmp_tnk_gmp_div_r(r, n, d);
    else
      tnk_gmp_tnk_gmp_div_qr(q, r, n, d);
    if (q) negate_if(q, negative_q);
    if (r) negate_if(r, negative_n);
    return;
  }
  const Kept divisor(d, q, r);
  if (!r) {
    Temporary rest;
    tnk_gmp_tnk_gmp_div_qr(q, rest, n, divisor);
    if (rest->size != 0) add_ui(q, q, 1);
    return negate_if(q, negative_q);
  }
  if (q)
    tnk_gmp_tnk_gmp_div_qr(q, r, n, divisor);
  else
    tnk_gmp_tnk_gmp_div_r(r, n, divisor);
  if (r->size != 0) {
    if (q) add_ui(q, q, 1);
    const Integer whole = magnitude(divisor);
    sub(r, &whole, r);
    negate_if(r, !negative_n);
  }
  if (q) negate_if(q, negative_q);
}

// The same by one limb: the remainder's magnitude is returned.
template <Round way> limb divide(Integer *q, Integer *r, const Integer *n, limb d) {
  const bool negative = is_negative(n), far = goes_on<way>(negative, false);
  const int32_t size = limbs_of(n);
  limb rest = 0;
  if (q) {
    limb *const quotient = room(q, size);
    if (size != 0) rest = tnk_gmp_mpn_divmod_1(quotient, n->d, size, d);
    settle(q, size, false);
    if (far && rest != 0) add_ui(q, q, 1);
    negate_if(q, negative);
  } else if (size != 0) {
    rest = tnk_gmp_mpn_mod_1(n->d, size, d);
  }
  if (far && rest != 0) rest = d - rest;
  if (r) {
    set_ui(r, rest);
    negate_if(r, negative != far);
  }
  return rest;
}

bool low_bits_are_zero(const Integer *a, uint64_t bits) {
  return a->size == 0 || scan1(a, 0) >= bits;
}

template <Round way> void quotient_2exp(Integer *q, const Integer *n, uint64_t bits) {
  const bool negative = is_negative(n);
  const bool more = goes_on<way>(negative, false) && !low_bits_are_zero(n, bits);
  const int64_t whole = static_cast<int64_t>(bits / 64);
  const int32_t size = limbs_of(n);
  const int32_t kept = whole < size ? size - static_cast<int32_t>(whole) : 0;
  limb *const d = room(q, kept);
  shift_right(d, n->d + (size - kept), kept, static_cast<int>(bits % 64));
  settle(q, kept, false);
  if (more) add_ui(q, q, 1);
  negate_if(q, negative);
}

template <Round way> void remainder_2exp(Integer *r, const Integer *n, uint64_t bits) {
  const bool negative = is_negative(n);
  const bool far = goes_on<way>(negative, false) && !low_bits_are_zero(n, bits);
  const uint64_t whole = bits / 64 + (bits % 64 != 0);
  const int32_t size = limbs_of(n);
  const bool whole_kept = far || whole <= static_cast<uint64_t>(size);
  const int32_t kept = whole_kept ? static_cast<int32_t>(whole) : size;
  limb *const d = room(r, kept);
  for (int32_t i = 0; i < kept; ++i) d[i] = i < size ? n->d[i] : 0;
  if (far) complement(d, d, kept);
  if (whole_kept && bits % 64 != 0) d[kept - 1] &= (limb{1} << bits % 64) - 1;
  settle(r, kept, negative != far);
}

} // namespace

#define DIVISIONS(letter, way)                                                                               \
  void tnk_gmp___gmpz_##letter##div_q(Integer *q, const Integer *n, const Integer *d) {                      \
    divide<way>(q, nullptr, n, d);                                                                           \
  }                                                                                                          \
  void tnk_gmp___gmpz_##letter##div_r(Integer *r, const Integer *n, const Integer *d) {                      \
    divide<way>(nullptr, r, n, d);                                                                           \
  }                                                                                                          \
  void tnk_gmp___gmpz_##letter##div_qr(Integer *q, Integer *r, const Integer *n, const Integer *d) {         \
    divide<way>(q, r, n, d);                                                                                 \
  }                                                                                                          \
  uint64_t tnk_gmp___gmpz_##letter##div_q_ui(Integer *q, const Integer *n, uint64_t d) {                     \
    return divide<way>(q, nullptr, n, d);                                                                    \
  }                                                                                                          \
  uint64_t tnk_gmp___gmpz_##letter##div_r_ui(Integer *r, const Integer *n, uint64_t d) {                     \
    return divide<way>(nullptr, r, n, d);                                                                    \
  }                                                                                                          \
  uint64_t tnk_gmp___gmpz_##letter##div_qr_ui(Integer *q, Integer *r, const Integer *n, uint64_t d) {        \
    return divide<way>(q, r, n, d);                                                                          \
  }                                                                                                          \
  uint64_t tnk_gmp___gmpz_##letter##div_ui(const Integer *n, uint64_t d) {                                   \
    return divide<way>(nullptr, nullptr, n, d);                                                              \
  }                                                                                                          \
  void tnk_gmp___gmpz_##letter##div_q_2exp(Integer *q, const Integer *n, uint64_t bits) {                    \
    quotient_2exp<way>(q, n, bits);                                                                          \
  }                                                                                                          \
  void tnk_gmp___gmpz_##letter##div_r_2exp(Integer *r, const Integer *n, uint64_t bits) {                    \
    remainder_2exp<way>(r, n, bits);                                                                         \
  }
DIVISIONS(t, Round::cut)
DIVISIONS(f, Round::down)
DIVISIONS(c, Round::up)

void tnk_gmp___gmpz_mod(Integer *r, const Integer *n, const Integer *d) {
  const Kept divisor(d, r);
  tdiv_r(r, n, divisor);
  if (!is_negative(r)) return;
  const Integer whole = magnitude(divisor);
  add(r, r, &whole);
}
uint64_t tnk_gmp___gmpz_mod_ui(Integer *r, const Integer *n, uint64_t d) {
  return divide<Round::down>(nullptr, r, n, d);
}

void tnk_gmp___gmpz_divexact(Integer *q, const Integer *n, const Integer *d) {
  tdiv_q(q, n, d);
}
void tnk_gmp___gmpz_divexact_ui(Integer *q, const Integer *n, uint64_t d) {
  tdiv_q_ui(q, n, d);
}

int tnk_gmp___gmpz_divisible_p(const Integer *n, const Integer *d) {
  if (n->size == 0 || d->size == 0) return n->size == 0;
  if (limbs_of(n) < limbs_of(d)) return 0;
  Temporary rest;
  tdiv_r(rest, n, d);
  return rest->size == 0;
}
int tnk_gmp___gmpz_divisible_ui_p(const Integer *n, uint64_t d) {
  return d == 0 ? n->size == 0 : tnk_gmp___gmpz_tdiv_ui(n, d) == 0;
}
int tnk_gmp___gmpz_divisible_2exp_p(const Integer *n, uint64_t bits) {
  return low_bits_are_zero(n, bits);
}

// By 0 only what is equal is congruent.
int tnk_gmp___gmpz_congruent_p(const Integer *n, const Integer *c, const Integer *d) {
  Temporary difference;
  sub(difference, n, c);
  return tnk_gmp___gmpz_divisible_p(difference, d);
}
int tnk_gmp___gmpz_congruent_ui_p(const Integer *n, uint64_t c, uint64_t d) {
  if (d == 0) return tnk_gmp___gmpz_cmp_ui(n, c) == 0;
  return tnk_gmp___gmpz_fdiv_ui(n, d) == c % d;
}
int tnk_gmp___gmpz_congruent_2exp_p(const Integer *n, const Integer *c, uint64_t bits) {
  Temporary difference;
  sub(difference, n, c);
  return low_bits_are_zero(difference, bits);
}
