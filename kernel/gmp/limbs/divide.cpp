// Divisions of arrays: schoolbook, the short quotient and the recursion.
#include "kernel/gmp/reciprocal.h"

namespace tnk::gmp {
namespace {

constexpr int32_t short_most = 8;       // limbs of a short quotient
constexpr int32_t undivided_half = 8;   // the recursion's steps end at this size
constexpr int32_t recursive_least = 40; // where they are worth while

// Schoolbook in place, by a divisor of at least two limbs with its highest bit set. q gets nn - dn limbs, the one above
// is returned; the remainder stays in the dn lowest limbs of n.
limb divide_long(limb *q, limb *n, int32_t nn, const limb *d, int32_t dn) {
  limb *window = n + nn - dn;
  const limb highest = compare(window, d, dn) >= 0;
  if (highest) sub_n(window, window, d, dn);
  const wide d_top = join(d[dn - 1], d[dn - 2]);
  const limb inverse = reciprocal(d[dn - 1], d[dn - 2]);
  for (int32_t i = nn - dn; i-- > 0;) {
    --window;
    wide left = join(window[dn], window[dn - 1]);
    limb quotient;
    if (__builtin_expect(left == d_top, 0)) {
      // The window is below 2^64 d, but by less than d, whose lower limbs alone tell them apart.
      quotient = ~limb{0};
      submul_1(window, d, dn, quotient);
    } else {
      quotient = divide_3_by_2(high(left), low(left), window[dn - 2], d_top, inverse, left);
      const limb borrow = submul_1(window, d, dn - 2, quotient);
      const bool too_much = left < borrow;
      left -= borrow;
      if (__builtin_expect(too_much, 0)) {
        --quotient;
        left += d_top + add_n(window, window, d, dn - 2);
      }
      window[dn - 2] = low(left);
      window[dn - 1] = high(left);
    }
    if (q) q[i] = quotient;
  }
  return highest;
}

// Calls divide for n and d shifted until d has its highest bit set; in place where nothing is to be shifted and the caller
// has n and r in one place.
template <class Divide>
limb normalised(limb *q, limb *r, const limb *n, int32_t nn, const limb *d, int32_t dn, Divide divide) {
  const int shift = leading_zeros(d[dn - 1]);
  const bool in_place = shift == 0 && r == n;
  Scratch working(int64_t{in_place ? 0 : nn + 1} + (shift ? dn : 0));
  limb *const dividend = in_place ? r : working;
  limb highest;
  if (shift == 0) {
    if (!in_place) copy(dividend, n, nn);
    highest = divide(q, dividend, nn, d, dn);
  } else {
    limb *const divisor = dividend + nn + 1;
    shift_left(divisor, d, dn, shift);
    // The shift gives the dividend a limb more, which is below the divisor's top: the first limb of the quotient is the
    // one to be returned, and leaves a window below the divisor for the others.
    dividend[nn] = shift_left(dividend, n, nn, shift);
    limb *const window = dividend + nn - dn;
    divide_long(&highest, window, dn + 1, divisor, dn);
    divide(q, dividend, nn, divisor, dn);
  }
  if (r) {
    if (shift)
      shift_right(r, dividend, dn, shift);
    else if (!in_place)
      copy(r, dividend, dn);
  }
  return highest;
}

// A block of the quotient: b limbs, an even number, at most as many as the divisor has. The window of dn + b limbs has dn
// highest ones below the divisor. Its 2 b highest limbs are divided by the b highest of the divisor, and the rest of the
// divisor times that quotient taken off, which may be up to two too large.
void divide_block(limb *q, limb *window, const limb *d, int32_t dn, int32_t b) {
  const int32_t rest = dn - b;
  limb over = 0;
  if (compare(window + dn, d + rest, b) < 0) {
    tnk_gmp_tnk_gmp_div_n4_d2(q, window + rest, d + rest, b / 2);
  } else {
    // The top limbs are alike: the quotient is at most full of ones. Those times the divisor's top: the difference of a
    // shifted and an unshifted one.
    std::memset(q, 0xFF, static_cast<std::size_t>(b) * sizeof(limb));
    over = add_n(window + rest, window + rest, d + rest, b);
  }
  if (rest) {
    Scratch product(dn);
    if (rest >= b)
      tnk_gmp___gmpn_mul(product, d, rest, q, b);
    else
      tnk_gmp___gmpn_mul(product, q, b, d, rest);
    over -= sub_n(window, window, product, dn);
    for (; static_cast<int64_t>(over) < 0; sub_1(q, q, b, 1)) over += add_n(window, window, d, dn);
  }
}

// The largest block of at most `limbs` limbs that halves down to a few without a remainder.
int32_t even_block(int32_t limbs) {
  int halvings = 0;
  while (limbs >> halvings >= 2 * recursive_least) ++halvings;
  return limbs >> (halvings + 1) << (halvings + 1);
}

// As divide_long, by blocks.
limb divide_recursive(limb *q, limb *n, int32_t nn, const limb *d, int32_t dn) {
  limb *const top = n + nn - dn;
  const limb highest = compare(top, d, dn) >= 0;
  if (highest) sub_n(top, top, d, dn);
  for (int32_t left = nn - dn; left > 0;) {
    const int32_t most = left < dn ? left : dn;
    const int32_t block = most < recursive_least ? most : even_block(most);
    left -= block;
    if (block < recursive_least)
      divide_long(q + left, n + left, dn + block, d, dn);
    else
      divide_block(q + left, n + left, d, dn, block);
  }
  return highest;
}

} // namespace
} // namespace tnk::gmp

tnk_gmp_limb tnk_gmp_mpl_divqr_long(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                    const tnk_gmp_limb *d, int32_t dn) {
  using namespace tnk::gmp;
  if (dn == 1) {
    // One limb too many for q, which is the highest.
    Scratch quotient(nn);
    const limb remainder = tnk_gmp_mpn_divmod_1(quotient, n, nn, d[0]);
    if (r) r[0] = remainder;
    if (q) copy(q, quotient, nn - 1);
    return quotient[nn - 1];
  }
  return normalised(q, r, n, nn, d, dn, divide_long);
}

tnk_gmp_limb tnk_gmp_mpl_divqr_dc(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                  const tnk_gmp_limb *d, int32_t dn) {
  using namespace tnk::gmp;
  if (dn == 1) return tnk_gmp_mpl_divqr_long(q, r, n, nn, d, dn);
  if (q) return normalised(q, r, n, nn, d, dn, divide_recursive);
  Scratch quotient(nn - dn);
  return normalised(quotient, r, n, nn, d, dn, divide_recursive);
}

void tnk_gmp_tnk_gmp_div_n4_d2(tnk_gmp_limb *q, tnk_gmp_limb *n, const tnk_gmp_limb *d, int32_t s) {
  using namespace tnk::gmp;
  if (s <= undivided_half || s % 2) {
    tnk_gmp_mpl_divqr_long(q, n, n, 4 * s, d, 2 * s);
  } else {
    tnk_gmp_tnk_gmp_div_n3_d2(q + s, n + s, d, s);
    tnk_gmp_tnk_gmp_div_n3_d2(q, n, d, s);
  }
}

void tnk_gmp_tnk_gmp_div_n3_d2(tnk_gmp_limb *q, tnk_gmp_limb *n, const tnk_gmp_limb *d, int32_t s) {
  tnk::gmp::divide_block(q, n, d, 2 * s, s);
}

tnk_gmp_limb tnk_gmp_mpl_divq_sq(tnk_gmp_limb *q, const tnk_gmp_limb *n, int32_t nn, const tnk_gmp_limb *d,
                                 int32_t dn) {
  using namespace tnk::gmp;
  const int32_t qn = nn - dn;
  if (qn > short_most || dn - qn < 3) return tnk_gmp_mpl_divqr_long(q, nullptr, n, nn, d, dn);
  // Two limbs more of the divisor than of the quotient, and the dividend cut at the same place: the quotient of these is
  // the true one or one above it.
  const int32_t kept = qn + 2, cut = dn - kept;
  const int shift = leading_zeros(d[dn - 1]);
  limb divisor[short_most + 2], dividend[2 * short_most + 3];
  const auto top_of = [=](limb *to, const limb *from, int32_t limbs) {
    for (int32_t i = cut; i < limbs; ++i) to[i - cut] = high(join(from[i], from[i - 1]) << shift);
  };
  top_of(divisor, d, dn);
  top_of(dividend, n, nn);
  dividend[nn - cut] = high(wide{n[nn - 1]} << shift);
  limb quotient[short_most + 1];
  divide_long(quotient, dividend, nn - cut + 1, divisor, kept);
  // What is left must hold the quotient, which has up to qn + 1 limbs, times the part cut off. It does unless its highest
  // limb is 0.
  if (dividend[kept - 1] == 0) {
    Scratch product(nn + 1);
    tnk_gmp___gmpn_mul(product, d, dn, quotient, qn + 1);
    if (product[nn] || compare(product, n, nn) > 0) sub_1(quotient, quotient, qn + 1, 1);
  }
  copy(q, quotient, qn);
  return quotient[qn];
}

tnk_gmp_limb tnk_gmp_mpl_divqr_sq(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                  const tnk_gmp_limb *d, int32_t dn) {
  using namespace tnk::gmp;
  const int32_t qn = nn - dn;
  const limb highest = tnk_gmp_mpl_divq_sq(q, n, nn, d, dn);
  // Modulo 2^(64 dn), which the remainder is below.
  if (r != n) copy(r, n, dn);
  for (int32_t i = 0; i < qn && i < dn; ++i) submul_1(r + i, d, dn - i, q[i]);
  if (qn < dn) submul_1(r + qn, d, dn - qn, highest);
  return highest;
}
