// Products by Fourier transforms in double: from limbs to numbers and back, and what tells whether rounding did harm.
#pragma once

#include "kernel/frame/vector.h"
#include "kernel/gmp/limbs.h"

namespace tnk::gmp {

// A limb is four digits to the base 2^16, lowest first.
constexpr int digit_bits = 16, digits_per_limb = limb_bits / digit_bits;

// digits := a and zeros to the length of `limbs` limbs.
inline void to_digits(double *digits, const limb *a, int32_t n, int32_t limbs) {
  for (int32_t i = 0; i < n; ++i)
    storeu(digits + digits_per_limb * int64_t{i},
           _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(_mm_cvtsi64_si128(static_cast<long long>(a[i])))));
  std::memset(digits + digits_per_limb * int64_t{n}, 0,
              static_cast<std::size_t>(limbs - n) * digits_per_limb * sizeof(double));
}

// A sum of products of digits that is this far from a whole number may belong to the one beside it. Rounding moves the
// sums of random digits by up to 0.2, those of the largest digits by more; where some are moved by over a half, others
// are found between.
constexpr double doubtful = 0.375;

// r := the limbs of digits, which are rounded and carried. Whether all were clearly whole numbers.
inline bool from_digits(limb *r, const double *digits, int32_t n) {
  // With this added the mantissa ends at the units, for numbers of either sign below 2^51.
  constexpr double to_units = 0x1.8p52;
  const auto bits_of = [](double x) {
    int64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
  };
  const int64_t bias = bits_of(to_units);
  f64x4 doubts{};
  limb carry = 0;
  for (int32_t i = 0; i < n; ++i) {
    const f64x4 sums = loadu<f64x4>(digits + digits_per_limb * int64_t{i});
    const f64x4 whole = _mm256_floor_pd(sums + splat<f64x4>(0.5));
    const f64x4 distance = _mm256_andnot_pd(splat<f64x4>(-0.0), sums - whole);
    doubts = _mm256_or_pd(doubts, _mm256_cmp_pd(distance, splat<f64x4>(doubtful), _CMP_NLT_UQ));
    int64_t units[digits_per_limb];
    storeu(units, whole + splat<f64x4>(to_units));
    // The four digits without what the limbs below carry into them: that is added at last, so that limbs do not wait for
    // one another.
    int64_t above = 0;
    limb own = 0;
    for (int j = 0; j < digits_per_limb; ++j) {
      const int64_t sum = units[j] - bias + above;
      own |= (static_cast<limb>(sum) & 0xFFFF) << (digit_bits * j);
      above = sum >> digit_bits;
    }
    r[i] = own + carry;
    carry = static_cast<limb>(above) + (r[i] < own);
  }
  return _mm256_movemask_pd(doubts) == 0;
}

// a modulo 2^64 - 1, which may stand for 0 as well: limbs and the carries among them, added up.
inline limb residue(const limb *a, int32_t n) {
  wide sum = 0;
  for (int32_t i = 0; i < n; ++i) sum += a[i];
  while (high(sum)) sum = wide{low(sum)} + high(sum);
  return low(sum);
}
inline limb product_of_residues(limb x, limb y) {
  const wide product = wide{x} * y;
  const limb parts[] = {low(product), high(product)};
  return residue(parts, 2);
}
inline bool same_residue(limb x, limb y) {
  return x == y || (x + 1 <= 1 && y + 1 <= 1);
}

} // namespace tnk::gmp
