// Powers modulo an odd number, any number and a power of two.
#include "kernel/gmp/modular.h"

namespace tnk::gmp {
namespace {

// Bits [from, from + count) of e, count up to 63; those past its end are 0.
limb bits_of(const limb *e, int32_t en, int64_t from, int count) {
  const int64_t i = from / limb_bits;
  const wide two = join(i + 1 < en ? e[i + 1] : 0, i < en ? e[i] : 0);
  return low(two >> (from % limb_bits)) & ((limb{1} << count) - 1);
}

int64_t bit_length(const limb *e, int32_t en) {
  return en == 0 ? 0 : int64_t{en} * limb_bits - leading_zeros(e[en - 1]);
}

// r := t / 2^(64 n) modulo m, of t of 2 n limbs, below m 2^(64 n). Each row makes the lowest limb 0 and leaves its carry
// there, to be added at the end.
void reduce(limb *r, limb *t, const Montgomery &m) {
  const int32_t n = m.size;
  for (int32_t i = 0; i < n; ++i) t[i] = addmul_1(t + i, m.modulus, n, t[i] * m.inverse);
  if (add_n(r, t + n, t, n) || compare(r, m.modulus, n) >= 0) sub_n(r, r, m.modulus, n);
}

// r := a modulo m in mn limbs. r may be a.
void remainder(limb *r, const limb *a, int32_t an, const limb *m, int32_t mn) {
  if (an < mn) {
    copy(r, a, an);
    clear(r + an, mn - an);
  } else if (mn == 1) {
    r[0] = tnk_gmp_mpn_mod_1(a, an, m[0]);
  } else {
    divide(nullptr, r, a, an, m, mn);
  }
}

// r := base^e, e > 0, by four bits at a time from the top. multiply(r, a, b) is a product of numbers of n limbs; r may be
// one of its factors.
template <class Multiply>
void power_by_fours(limb *r, const limb *base, const limb *e, int32_t en, int32_t n, Multiply multiply) {
  Scratch powers(16 * int64_t{n});
  const auto power = [&](limb i) {
    return powers + static_cast<std::size_t>(i) * static_cast<std::size_t>(n);
  };
  copy(power(1), base, n);
  for (limb i = 2; i < 16; ++i) multiply(power(i), power(i - 1), base);
  bool begun = false;
  for (int64_t place = (bit_length(e, en) + 3) / 4 * 4 - 4; place >= 0; place -= 4) {
    const limb digit = bits_of(e, en, place, 4);
    if (begun)
      for (int i = 0; i < 4; ++i) multiply(r, r, r);
    if (begun && digit)
      multiply(r, r, power(digit));
    else if (!begun)
      copy(r, power(digit), n);
    begun = true;
  }
}

void set(tnk_gmp_integer &x, const limb *a, int32_t n) {
  n = trimmed(a, n);
  copy(room_for(x, n), a, n);
  x.size = n;
}

// Bits of the exponent that are taken at a time: what a table of odd powers saves is weighed against making it.
int window_bits(int64_t exponent_bits) {
  int bits = 1;
  for (const int64_t most : {9, 25, 70, 197, 539, 1434, 3715}) bits += exponent_bits > most;
  return bits;
}

} // namespace

void power_modulo_odd(limb *r, const limb *b, int32_t bn, const limb *e, int32_t en, const limb *m,
                      int32_t mn) {
  bn = trimmed(b, bn);
  en = trimmed(e, en);
  const std::size_t number = static_cast<std::size_t>(e9_vpksBigNumGetSize(mn)),
                    exponent = static_cast<std::size_t>(e9_vpksBigNumGetSize(en)),
                    modulus = static_cast<std::size_t>(e9_vpksMontGetSize(mn));
  const std::size_t bytes = number + exponent + modulus;
  char *const block = static_cast<char *>(tnk_gmp_tnk_gmp_allocate(bytes));
  BigNum *const base = reinterpret_cast<BigNum *>(block), *const power =
                                                              reinterpret_cast<BigNum *>(block + number);
  Montgomery *const odd = reinterpret_cast<Montgomery *>(block + number + exponent);
  e9_vpksBigNumInit(mn, base);
  e9_vpksBigNumInit(en, power);
  e9_vpksMontInit(m, mn, odd);
  e9_vpksSet_BN(e, en, power);
  if (bn < mn || (bn == mn && compare(b, m, mn) < 0)) {
    e9_vpksSet_BN(b, bn, base);
  } else {
    remainder(base->d, b, bn, m, mn);
    base->size = trimmed(base->d, mn);
  }
  e9_vpksMontExp(base, power, odd, base);
  e9_vpksGet_BN(r, mn, base);
  tnk_gmp_tnk_gmp_free(block, bytes);
}

} // namespace tnk::gmp

using namespace tnk::gmp;

int64_t e9_vpksBigNumGetSize(int32_t limbs) {
  return static_cast<int64_t>(sizeof(BigNum)) + int64_t{limbs} * static_cast<int64_t>(sizeof(limb));
}
void e9_vpksBigNumInit(int32_t limbs, BigNum *number) {
  number->room = limbs;
  number->size = 0;
  number->d = reinterpret_cast<limb *>(number + 1);
}
void e9_vpksSet_BN(const limb *a, int32_t n, BigNum *number) {
  number->size = trimmed(a, n);
  copy(number->d, a, number->size);
}
void e9_vpksGet_BN(limb *r, int32_t n, const BigNum *number) {
  copy(r, number->d, number->size);
  clear(r + number->size, n - number->size);
}

int64_t e9_vpksMontGetSize(int32_t limbs) {
  return static_cast<int64_t>(sizeof(Montgomery)) + 2 * int64_t{limbs} * static_cast<int64_t>(sizeof(limb));
}
void e9_vpksMontInit(const limb *modulus, int32_t limbs, Montgomery *m) {
  m->size = limbs;
  m->modulus = reinterpret_cast<limb *>(m + 1);
  m->square = m->modulus + limbs;
  copy(m->modulus, modulus, limbs);
  limb inverse = modulus[0]; // right in 3 bits, as x x is 1 modulo 8 for odd x; each step doubles them
  for (int bits = 3; bits < limb_bits; bits *= 2) inverse *= 2 - modulus[0] * inverse;
  m->inverse = 0 - inverse;
  Scratch radix(2 * int64_t{limbs} + 1);
  clear(radix, 2 * limbs);
  radix[2 * limbs] = 1;
  remainder(m->square, radix, 2 * limbs + 1, modulus, limbs);
}

void e9_vpksMontExp(const BigNum *b, const BigNum *e, const Montgomery *m, BigNum *r) {
  const int32_t n = m->size;
  const int64_t bits = bit_length(e->d, e->size);
  const int width = window_bits(bits);
  const int32_t entries = 1 << (width - 1); // odd powers
  Scratch scratch((int64_t{entries} + 4) * n);
  limb *const product = scratch, *const result = product + 2 * n, *const square = result + n,
              *const odd = square + n;
  const auto multiply = [=](limb *to, const limb *x, const limb *y) {
    tnk_gmp___gmpn_mul_n(product, x, y, n);
    reduce(to, product, *m);
  };
  e9_vpksGet_BN(result, n, b);
  multiply(odd, result, m->square);
  if (entries > 1) multiply(square, odd, odd);
  limb *last = odd;
  for (int32_t i = 1; i < entries; ++i, last += n) multiply(last + n, last, square);

  clear(result, n);
  result[0] = 1;
  multiply(result, result, m->square); // what is left for an exponent of 0
  bool begun = false;
  for (int64_t place = bits; place > 0;) {
    int taken = 1;
    limb digit = bits_of(e->d, e->size, place - 1, 1);
    if (digit) {
      taken = place < width ? static_cast<int>(place) : width;
      digit = bits_of(e->d, e->size, place - taken, taken);
      const int zeros = __builtin_ctzll(digit);
      taken -= zeros;
      digit >>= zeros;
    }
    place -= taken;
    if (begun)
      for (int i = 0; i < taken; ++i) multiply(result, result, result);
    if (digit) {
      const limb *const factor = odd + static_cast<int64_t>(digit / 2) * n;
      if (begun)
        multiply(result, result, factor);
      else
        copy(result, factor, n);
      begun = true;
    }
  }
  copy(product, result, n);
  clear(product + n, n);
  reduce(r->d, product, *m);
  r->size = trimmed(r->d, n);
}

void tnk_gmp_mpz_powm_mary(tnk_gmp_integer *r, const tnk_gmp_integer *b, const tnk_gmp_integer *e,
                           const tnk_gmp_integer *m) {
  const int32_t n = limbs_of(*m), en = limbs_of(*e);
  Scratch scratch(4 * int64_t{n});
  limb *const product = scratch, *const base = product + 2 * n, *const result = base + n;
  remainder(base, b->d, limbs_of(*b), m->d, n);
  if (b->size < 0 && trimmed(base, n)) sub_n(base, m->d, base, n);
  const auto multiply = [=](limb *to, const limb *x, const limb *y) {
    tnk_gmp___gmpn_mul_n(product, x, y, n);
    remainder(to, product, 2 * n, m->d, n);
  };
  if (en) {
    power_by_fours(result, base, e->d, en, n, multiply);
  } else {
    const limb one = 1;
    remainder(result, &one, 1, m->d, n);
  }
  set(*r, result, n);
}

void tnk_gmp_mpl_powm_exp2(tnk_gmp_integer *r, const tnk_gmp_integer *b, const tnk_gmp_integer *e,
                           uint64_t bits) {
  const int32_t n = static_cast<int32_t>((bits + limb_bits - 1) / limb_bits), en = limbs_of(*e);
  if (n == 0) {
    r->size = 0;
    return;
  }
  // Whole limbs all the way; bits beyond the modulus do not come back down.
  Scratch scratch(4 * int64_t{n});
  limb *const product = scratch, *const base = product + 2 * n, *const result = base + n;
  const int32_t bn = limbs_of(*b) < n ? limbs_of(*b) : n;
  copy(base, b->d, bn);
  clear(base + bn, n - bn);
  if (b->size < 0) {
    for (int32_t i = 0; i < n; ++i) base[i] = ~base[i];
    add_1(base, base, n, 1);
  }
  if (en) {
    power_by_fours(result, base, e->d, en, n, [=](limb *to, const limb *x, const limb *y) {
      tnk_gmp___gmpn_mul_n(product, x, y, n);
      copy(to, product, n);
    });
  } else {
    clear(result, n);
    result[0] = 1;
  }
  if (bits % limb_bits) result[n - 1] &= (limb{1} << (bits % limb_bits)) - 1;
  set(*r, result, n);
}
