// Divisions by one limb, by two and by three times nothing but products; the Jacobi symbol.
#include "kernel/gmp/reciprocal.h"
#include <utility>

namespace tnk::gmp {
namespace {

// Calls store(i, quotient limb) from the top down and returns the remainder.
template <class Store> limb divide_by_limb(const limb *n, int32_t nn, limb d, Store store) {
  if (nn <= 0) return 0;
  limb remainder = 0;
  if (nn == 1) {
    const limb x = n[0]; // may be stored over
    store(0, x / d);
    return x % d;
  }
  // Limbs shifted as the divisor, put together on the way.
  const int shift = leading_zeros(d);
  d <<= shift;
  const limb inverse = reciprocal(d);
  limb above = n[nn - 1];
  remainder = high(wide{above} << shift);
  for (int32_t i = nn - 1; i > 0; --i) {
    const limb below = n[i - 1];
    store(i, divide_2_by_1(remainder, high(join(above, below) << shift), d, inverse, remainder));
    above = below;
  }
  store(0, divide_2_by_1(remainder, above << shift, d, inverse, remainder));
  return remainder >> shift;
}

} // namespace
} // namespace tnk::gmp

tnk_gmp_limb tnk_gmp_mpn_divmod_1(tnk_gmp_limb *q, const tnk_gmp_limb *n, int32_t nn, tnk_gmp_limb d) {
  if (!q) return tnk_gmp_mpn_mod_1(n, nn, d);
  return tnk::gmp::divide_by_limb(n, nn, d, [=](int32_t i, tnk_gmp_limb quotient) { q[i] = quotient; });
}
tnk_gmp_limb tnk_gmp_mpn_mod_1(const tnk_gmp_limb *n, int32_t nn, tnk_gmp_limb d) {
  return tnk::gmp::divide_by_limb(n, nn, d, [](int32_t, tnk_gmp_limb) {});
}

// A third is the product with (2^64 - 1) / 3, divided by 2^64 - 1: a running difference, in which a limb waits for the
// one below it only by two subtractions.
tnk_gmp_limb tnk_gmp_mpn_divexact_by3(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n) {
  using namespace tnk::gmp;
  constexpr limb third = ~limb{0} / 3;
  limb left = 0; // 0, 1 or 2 thirds
  for (int32_t i = 0; i < n; ++i) {
    const wide product = wide{a[i]} * third;
    const bool borrow = left < low(product);
    r[i] = left - low(product);
    left = r[i] - high(product) - borrow;
  }
  return left / third;
}

tnk_gmp_limb tnk_gmp_mpl_divq_3_by_2(tnk_gmp_limb n2, tnk_gmp_limb n1, tnk_gmp_limb n0, tnk_gmp_limb d1,
                                     tnk_gmp_limb d0) {
  using namespace tnk::gmp;
  wide remainder;
  return divide_3_by_2(n2, n1, n0, join(d1, d0), reciprocal(d1, d0), remainder);
}

tnk_gmp_limb tnk_gmp_tnk_gmp_divmod_2(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                      const tnk_gmp_limb *d) {
  using namespace tnk::gmp;
  const int shift = leading_zeros(d[1]);
  const wide divisor = join(d[1], d[0]) << shift;
  const limb inverse = reciprocal(high(divisor), low(divisor));
  const auto shifted = [=](int32_t i) { return high(join(n[i], i ? n[i - 1] : 0) << shift); };
  wide remainder = join(high(wide{n[nn - 1]} << shift), shifted(nn - 1));
  const limb highest =
      divide_3_by_2(high(remainder), low(remainder), shifted(nn - 2), divisor, inverse, remainder);
  for (int32_t i = nn - 2; i-- > 0;) {
    const limb quotient =
        divide_3_by_2(high(remainder), low(remainder), shifted(i), divisor, inverse, remainder);
    if (q) q[i] = quotient;
  }
  remainder >>= shift;
  r[0] = low(remainder);
  r[1] = high(remainder);
  return highest;
}

// The binary method: twos taken out of a, then the law of reciprocity for the smaller of two odd numbers.
int32_t tnk_gmp_mpn_jacobi_base(tnk_gmp_limb a, tnk_gmp_limb b) {
  uint64_t sign = 0; // its second bit
  while (a) {
    const int twos = __builtin_ctzll(a);
    a >>= twos;
    if (twos & 1) sign ^= b ^ (b >> 1); // (2 / b) is -1 for b of 3 and 5 modulo 8
    if (a < b) {
      sign ^= a & b; // both 3 modulo 4
      std::swap(a, b);
    }
    a -= b;
  }
  return b != 1 ? 0 : sign & 2 ? -1 : 1;
}
