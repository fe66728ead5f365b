// Square roots and others, and whether there is a whole one.
#include <cmath>

#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

// s := the square root of a cut to a whole number, r := a - s^2. Zimmermann's recursion (INRIA report 3805, 1999): with
// the root of the upper half in hand, its remainder divided by twice the root gives the lower half or one more.
void square_root(Integer *s, Integer *r, const Integer *a) {
  const uint64_t bits = bits_of(a);
  if (bits <= 52) {
    const limb value = tnk_gmp___gmpz_get_ui(a);
    const limb root = static_cast<limb>(std::sqrt(static_cast<double>(static_cast<int64_t>(value))));
    set_ui(s, root), set_ui(r, value - root * root); // exact below 2^52
    return;
  }
  // a = upper 2^(2 l) + middle 2^l + lowest, the root of the upper part at least as long as 2^l.
  const uint64_t l = (bits - 1) / 4;
  Temporary part, quotient;
  tdiv_q_2exp(part, a, 2 * l);
  square_root(s, r, part);
  tdiv_r_2exp(part, a, 2 * l);
  tdiv_q_2exp(part, part, l);
  mul_2exp(r, r, l);
  add(r, r, part);
  mul_2exp(part, s, 1);
  tdiv_qr(quotient, r, r, part);
  mul_2exp(s, s, l);
  add(s, s, quotient);
  mul_2exp(r, r, l);
  tdiv_r_2exp(part, a, l);
  add(r, r, part);
  submul(r, quotient, quotient);
  if (!is_negative(r)) return;
  mul_2exp(part, s, 1);
  add(r, r, part);
  sub_ui(r, r, 1);
  sub_ui(s, s, 1);
}

// r := the root of a > 0 cut to a whole number, n >= 3: Newton's steps from above, from the root of the upper half of the
// bits on, so that one or two are enough at each length. The first step from anywhere leads to the root or above.
void root_of(Integer *r, const Integer *a, uint64_t n) {
  const uint64_t bits = bits_of(a);
  if (bits <= n) return set_ui(r, 1); // below 2^n
  const uint64_t root_bits = (bits - 1) / n + 1;
  Temporary x, power, quotient;
  if (root_bits < 4) {
    set_ui(x, limb{1} << root_bits);
  } else {
    const uint64_t half = root_bits / 2;
    tdiv_q_2exp(power, a, half * n);
    root_of(x, power, n);
    add_ui(x, x, 1);
    mul_2exp(x, x, half);
  }
  while (true) {
    pow_ui(power, x, n - 1);
    tdiv_q(quotient, a, power);
    if (cmp(quotient, x) >= 0) break;
    mul_ui(power, x, n - 1);
    add(x, power, quotient);
    tdiv_q_ui(x, x, n);
  }
  swap_records(r, x);
}

// Of all numbers one in 43 has remainders modulo 63, 64 and 65 that squares have: bit i of a set stands for i.
constexpr wide squares_modulo(limb m) {
  wide set = 0;
  for (limb i = 0; i < m; ++i) set |= wide{1} << i * i % m;
  return set;
}
bool may_be_square(const Integer *a) {
  constexpr wide by_64 = squares_modulo(64), by_63 = squares_modulo(63), by_65 = squares_modulo(65);
  const limb rest = tnk_gmp___gmpz_tdiv_ui(a, 63 * 64 * 65);
  return (by_64 >> rest % 64 & by_63 >> rest % 63 & by_65 >> rest % 65 & 1) != 0;
}

int is_square(const Integer *a) {
  if (a->size <= 0) return a->size == 0;
  if (!may_be_square(a)) return 0;
  Temporary root, rest;
  square_root(root, rest, a);
  return rest->size == 0;
}

limb power_modulo(limb b, limb e, limb m) {
  limb result = 1;
  for (b %= m; e != 0; e >>= 1, b = low(wide{b} * b % m))
    if (e & 1) result = low(wide{result} * b % m);
  return result;
}
bool is_prime(limb n) {
  for (limb f = 2; f * f <= n; ++f)
    if (n % f == 0) return false;
  return n >= 2;
}

// Powers with exponent p are, modulo a prime q = k p + 1, one in p of all remainders: two such primes sort out nearly
// all others before a root is taken.
bool may_be_power(const Integer *a, limb p) {
  limb q = p + 1;
  for (int found = 0; found < 2; q += p) {
    if (!is_prime(q)) continue;
    ++found;
    const limb rest = tnk_gmp___gmpz_tdiv_ui(a, q);
    if (rest != 0 && power_modulo(rest, (q - 1) / p, q) != 1) return false;
  }
  return true;
}

// Whether |a| > 1 is the power of a whole number with a prime exponent from `first` on. The exponent divides the
// multiplicity of each factor; without a factor below 2^10 it is a tenth of the bits at most.
bool is_power(const Integer *a, limb first) {
  constexpr limb factors_bits = 10;
  const Integer m = magnitude(a);
  limb multiplicity = 0;
  Temporary rest;
  for (limb f = 2; f < 1 << factors_bits; f += f == 2 ? 1 : 2) {
    if (!is_prime(f) || tnk_gmp___gmpz_tdiv_ui(&m, f) != 0) continue;
    multiplicity =
        tnk_gmp___gmpz_gcd_ui(nullptr, Small(multiplicity), tnk_gmp___gmpz_remove(rest, &m, Small(f)));
    if (multiplicity == 1) return false;
  }
  const limb most = multiplicity != 0 ? multiplicity : bits_of(&m) / factors_bits;
  Temporary root, power;
  for (limb p = first; p <= most; ++p) {
    if (!is_prime(p) || multiplicity % p != 0 || !may_be_power(&m, p)) continue;
    if (p == 2) {
      if (is_square(&m)) return true;
      continue;
    }
    root_of(root, &m, p);
    pow_ui(power, root, p);
    if (cmp(power, &m) == 0) return true;
  }
  return false;
}

} // namespace

void tnk_gmp___gmpz_sqrtrem(Integer *s, Integer *r, const Integer *a) {
  Temporary root, rest;
  square_root(root, rest, a);
  swap_records(s, root), swap_records(r, rest);
}
void tnk_gmp___gmpz_sqrt(Integer *s, const Integer *a) {
  Temporary root, rest;
  square_root(root, rest, a);
  swap_records(s, root);
}

int tnk_gmp___gmpz_root(Integer *r, const Integer *a, uint64_t n) {
  if (a->size == 0 || n == 1) return (set(r, a), 1);
  Temporary root, rest;
  const Integer m = magnitude(a);
  if (n == 2) {
    square_root(root, rest, &m);
  } else {
    root_of(root, &m, n);
    pow_ui(rest, root, n);
    sub(rest, &m, rest);
  }
  const bool exact = rest->size == 0;
  negate_if(root, is_negative(a));
  if (r) swap_records(r, root);
  return exact;
}

int tnk_gmp___gmpz_perfect_square_p(const Integer *a) {
  return is_square(a);
}
// 0 and 1 are powers, as is -1; other negative numbers only with odd exponents.
int tnk_gmp___gmpz_perfect_power_p(const Integer *a) {
  if (limbs_of(a) == 0 || (limbs_of(a) == 1 && a->d[0] == 1)) return 1;
  return is_power(a, is_negative(a) ? 3 : 2);
}
