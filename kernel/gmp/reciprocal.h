// Quotients by one and two limbs without a division each: what is prepared once for a divisor turns them into products
// (Moeller, Granlund, IEEE Transactions on Computers 60 (2011), 165). Divisors have their highest bit set.
#pragma once

#include "kernel/gmp/limbs.h"

namespace tnk::gmp {

// The processor's division of n1 n0 by d; n1 is below d.
inline limb divide_2_by_1(limb n1, limb n0, limb d, limb &remainder) {
  limb quotient;
  asm("divq %[d]" : "=a"(quotient), "=d"(remainder) : [d] "r"(d), "a"(n0), "d"(n1) : "cc");
  return quotient;
}

// What (2^128 - 1) / d has above 2^64.
inline limb reciprocal(limb d) {
  limb remainder;
  return divide_2_by_1(~d, ~limb{0}, d, remainder);
}
// What (2^192 - 1) / (d1 d0) has above 2^64.
inline limb reciprocal(limb d1, limb d0) {
  limb v = reciprocal(d1);
  limb p = d1 * v + d0;
  if (p < d0) {
    --v;
    if (p >= d1) {
      --v;
      p -= d1;
    }
    p -= d1;
  }
  const wide t = wide{v} * d0;
  p += high(t);
  if (p < high(t)) {
    --v;
    if (join(p, low(t)) >= join(d1, d0)) --v;
  }
  return v;
}

// n1 n0 by d; n1 is below d.
inline limb divide_2_by_1(limb n1, limb n0, limb d, limb inverse, limb &remainder) {
  const wide q = wide{n1} * inverse + join(n1, n0);
  limb quotient = high(q) + 1;
  limb r = n0 - quotient * d;
  if (r > low(q)) {
    --quotient;
    r += d;
  }
  if (__builtin_expect(r >= d, 0)) {
    ++quotient;
    r -= d;
  }
  remainder = r;
  return quotient;
}
// n2 n1 n0 by the two limbs d; n2 n1 is below d.
inline limb divide_3_by_2(limb n2, limb n1, limb n0, wide d, limb inverse, wide &remainder) {
  const wide q = wide{n2} * inverse + join(n2, n1);
  limb quotient = high(q);
  const limb r1 = n1 - quotient * high(d);
  wide r = join(r1, n0) - d - wide{quotient} * low(d);
  ++quotient;
  if (high(r) >= low(q)) {
    --quotient;
    r += d;
  }
  if (__builtin_expect(r >= d, 0)) {
    ++quotient;
    r -= d;
  }
  remainder = r;
  return quotient;
}

} // namespace tnk::gmp
