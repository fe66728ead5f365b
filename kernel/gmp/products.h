// What the methods of multiplication know of one another.
#pragma once

#include "kernel/gmp/limbs.h"

namespace tnk::gmp {

// The highest lengths for school, one step of Karatsuba, Toom's method and Fourier transforms; above them Karatsuba
// halves a product until the transforms can take it. Operands that are shorter than the last together go to school
// whatever their lengths.
constexpr int32_t school_most = 9, karatsuba_most = 200, toom_most = 8192, transform_most = 32768;
constexpr int32_t mul_school_below = 18;

// r := a b of n limbs each, by three products of half the length; n of at least 2.
void karatsuba_step(limb *r, const limb *a, const limb *b, int32_t n);

} // namespace tnk::gmp
