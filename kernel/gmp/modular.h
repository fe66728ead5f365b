// Powers modulo an odd number, by Montgomery's method (Mathematics of Computation 44 (1985), 519). Numbers and the
// modulus with what is prepared for it are blocks of their own, whose sizes are asked for first.
#pragma once

#include "kernel/gmp/limbs.h"

namespace tnk::gmp {

// A natural number with a length of its own and room for more. Its limbs follow the structure.
struct BigNum {
  int32_t room, size;
  limb *d;
};

// An odd modulus. Its limbs follow the structure, then those of R^2 modulo it, R = 2^(64 size).
struct Montgomery {
  int32_t size;
  limb inverse; // times the modulus it is -1 modulo 2^64
  limb *modulus, *square;
};

// r := b^e modulo m, which is odd; r gets mn limbs. b has any length, 0 too; e has en limbs, 0 too. On one block of the
// allocator.
void power_modulo_odd(limb *r, const limb *b, int32_t bn, const limb *e, int32_t en, const limb *m,
                      int32_t mn);

} // namespace tnk::gmp

extern "C" {

// Bytes for a number of up to `limbs` limbs, and for a modulus of as many. Blocks need the alignment of a limb.
int64_t e9_vpksBigNumGetSize(int32_t limbs);
int64_t e9_vpksMontGetSize(int32_t limbs);
// Make a block a number, 0 at first, and a modulus, which is odd and has a highest limb other than 0.
void e9_vpksBigNumInit(int32_t limbs, tnk::gmp::BigNum *number);
void e9_vpksMontInit(const tnk_gmp_limb *modulus, int32_t limbs, tnk::gmp::Montgomery *m);
// number := a, which fits; and r := number in n limbs, which are enough.
void e9_vpksSet_BN(const tnk_gmp_limb *a, int32_t n, tnk::gmp::BigNum *number);
void e9_vpksGet_BN(tnk_gmp_limb *r, int32_t n, const tnk::gmp::BigNum *number);
// r := b^e modulo m. b is below the modulus; r has room for as many limbs as the modulus, and may be b.
void e9_vpksMontExp(const tnk::gmp::BigNum *b, const tnk::gmp::BigNum *e, const tnk::gmp::Montgomery *m,
                    tnk::gmp::BigNum *r);
}
