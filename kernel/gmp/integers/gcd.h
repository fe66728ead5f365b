// Euclid's algorithm by Lehmer's method: quotients are read off the two highest limbs of both numbers for as long as these
// settle them, and all of them are applied to the whole numbers in one pass.
#pragma once

#include "kernel/gmp/integers/record.h"

namespace tnk::gmp {

// Steps gathered. After an even number of them x' = a x - b y and y' = d y - c x, after an odd one x' = b y - a x and
// y' = c x - d y.
struct Steps {
  limb a = 1, b = 0, c = 0, d = 1;
  bool odd = false;
};

// The quotients that x and y begin with, where only the highest two limbs of each are known, x >= y. A quotient is taken
// when whatever follows below leaves it as it is (Jebelean, Journal of Symbolic Computation 19 (1995), 145): the remainder
// must be at least as large as the new coefficient, and below the divisor by the sum of both. `seen` is told each one.
template <class Seen> Steps leading_steps(wide x, wide y, Seen &seen) {
  Steps s;
  while (high(y) != 0) {
    limb q = 1;
    wide rest = x - y;
    if (rest >= y) { // six of ten quotients are 1, 2 or 3
      ++q, rest -= y;
      if (rest >= y) {
        ++q, rest -= y;
        if (rest >= y) {
          const wide more = rest / y;
          if (high(more + q) != 0) break;
          q += low(more), rest -= more * y;
        }
      }
    }
    const wide c = wide{s.c} * q + s.a, d = wide{s.d} * q + s.b;
    if (high(d) != 0 || rest < d || y - rest < d + s.d) break;
    seen(q);
    s = {s.c, s.d, low(c), low(d), !s.odd};
    x = y, y = rest;
  }
  return s;
}

// x and y of n limbs after these steps.
inline void apply(const Steps &s, limb *x, limb *y, int32_t n) {
  const limb *const p = s.odd ? y : x, *const q = s.odd ? x : y; // x' = a p - b q, y' = d q - c p
  const limb a = s.odd ? s.b : s.a, b = s.odd ? s.a : s.b, c = s.odd ? s.d : s.c, d = s.odd ? s.c : s.d;
  limb carry_a = 0, carry_b = 0, carry_c = 0, carry_d = 0, borrow_x = 0, borrow_y = 0;
  for (int32_t i = 0; i < n; ++i) {
    const limb pi = p[i], qi = q[i];
    const wide ap = wide{a} * pi + carry_a, bq = wide{b} * qi + carry_b;
    const wide cp = wide{c} * pi + carry_c, dq = wide{d} * qi + carry_d;
    carry_a = high(ap), carry_b = high(bq), carry_c = high(cp), carry_d = high(dq);
    const wide new_x = wide{low(ap)} - low(bq) - borrow_x, new_y = wide{low(dq)} - low(cp) - borrow_y;
    borrow_x = high(new_x) & 1, borrow_y = high(new_y) & 1;
    x[i] = low(new_x), y[i] = low(new_y);
  }
}

// Two limbs of a from bit 64 n - shift - 128 on.
inline wide leading_limbs(const limb *a, int32_t n, int shift) {
  const wide top = join(a[n - 1], n > 1 ? a[n - 2] : 0);
  return shift == 0 ? top : top << shift | (n > 2 ? a[n - 3] >> (limb_bits - shift) : 0);
}

// Euclid's algorithm on x >= y >= 0 until y has `least` limbs or fewer. `seen` is told the low limb of each quotient,
// `taken` gets steps together, or a whole quotient that stands for one step.
template <class Seen, class Taken>
void euclid(Integer *x, Integer *y, int32_t least, Seen &&seen, Taken &&taken) {
  Temporary quotient;
  while (y->size > least) {
    const int32_t n = x->size;
    Steps steps;
    if (n - y->size <= 1) {
      clear(room(y, n) + y->size, n - y->size);
      const int shift = leading_zeros(x->d[n - 1]);
      steps = leading_steps(leading_limbs(x->d, n, shift), leading_limbs(y->d, n, shift), seen);
    }
    if (steps.c != 0) {
      apply(steps, x->d, y->d, n);
      settle(x, n, false), settle(y, n, false);
      taken(steps);
    } else {
      tdiv_qr(quotient, x, x, y);
      swap_records(x, y);
      seen(quotient->d[0]);
      taken(static_cast<const Integer *>(quotient));
    }
  }
}

} // namespace tnk::gmp
