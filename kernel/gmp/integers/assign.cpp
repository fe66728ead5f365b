// Records made, given up and assigned; values as numbers of the language.
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

constexpr int32_t least_limbs = 8; // what a record starts with

void make(Integer *r, int32_t limbs) {
  r->alloc = limbs > least_limbs ? limbs : least_limbs;
  r->size = 0;
  r->d = static_cast<limb *>(tnk_gmp_tnk_gmp_allocate(bytes(r->alloc)));
  std::memset(r->d, 0, bytes(r->alloc));
}

// Bits of a positive finite double: mantissa * 2^exponent.
struct Parts {
  limb mantissa;
  int exponent;
};
Parts parts_of(double value) {
  limb bits;
  std::memcpy(&bits, &value, sizeof bits);
  const int exponent = static_cast<int>(bits >> 52 & 0x7FF);
  const limb fraction = bits & ((limb{1} << 52) - 1);
  return exponent == 0 ? Parts{fraction, -1074} : Parts{fraction | limb{1} << 52, exponent - 1075};
}

// The 53 top bits of a magnitude, cut, as a number in [1/2, 1).
double top_of(const Integer *a) {
  const int32_t n = limbs_of(a);
  const int shift = leading_zeros(a->d[n - 1]);
  limb top = a->d[n - 1] << shift;
  if (shift > 0 && n > 1) top |= a->d[n - 2] >> (64 - shift);
  return static_cast<double>(static_cast<int64_t>(top >> 11)) * 0x1p-53;
}

// 2^exponent for exponents of normal numbers.
double power_of_two(int64_t exponent) {
  const limb bits = static_cast<limb>(exponent + 1023) << 52;
  double result;
  std::memcpy(&result, &bits, sizeof result);
  return result;
}

template <class T> int fits(const Integer *a) {
  const int32_t n = limbs_of(a);
  if (n == 0) return 1;
  if (n > 1) return 0;
  constexpr limb most = static_cast<limb>(std::numeric_limits<T>::max());
  return a->size > 0 ? a->d[0] <= most : std::is_signed_v<T> && a->d[0] <= most + 1;
}

} // namespace

// ---- Life ---------------------------------------------------------------------------------------------------------

void tnk_gmp___gmpz_init(Integer *r) {
  make(r, 0);
}
void tnk_gmp___gmpz_init2(Integer *r, uint64_t bits) {
  make(r, limbs_for(bits));
}
void tnk_gmp___gmpz_array_init(Integer *first, int64_t count, int64_t bits) {
  for (int64_t i = 0; i < count; ++i) make(first + i, limbs_for(static_cast<uint64_t>(bits)));
}
void tnk_gmp___gmpz_clear(Integer *r) {
  if (r->alloc != 0) tnk_gmp_tnk_gmp_free(r->d, bytes(r->alloc));
}
void *tnk_gmp___gmpz_realloc(Integer *r, int32_t limbs) {
  if (limbs < 1) limbs = 1;
  r->d = static_cast<limb *>(r->alloc == 0 ? tnk_gmp_tnk_gmp_allocate(bytes(limbs))
                                           : tnk_gmp_tnk_gmp_reallocate(r->d, bytes(r->alloc), bytes(limbs)));
  r->alloc = limbs;
  if (limbs_of(r) > limbs) r->size = 0;
  return r->d;
}
void tnk_gmp___gmpz_realloc2(Integer *r, uint64_t bits) {
  tnk_gmp___gmpz_realloc(r, limbs_for(bits));
}
void tnk_gmp___gmpz_swap(Integer *a, Integer *b) {
  std::swap(*a, *b);
}

// ---- Assignment ---------------------------------------------------------------------------------------------------

void tnk_gmp___gmpz_set(Integer *r, const Integer *a) {
  if (r == a) return;
  const int32_t n = limbs_of(a);
  if (n != 0) std::memcpy(room(r, n), a->d, bytes(n)); // of a zero there may be no limbs
  r->size = a->size;
}
void tnk_gmp___gmpz_set_ui(Integer *r, uint64_t value) {
  room(r, 1)[0] = value;
  r->size = value != 0;
}
void tnk_gmp___gmpz_set_si(Integer *r, int64_t value) {
  set_ui(r, magnitude_of(value));
  negate_if(r, value < 0);
}
void tnk_gmp___gmpz_set_d(Integer *r, double value) {
  const Parts parts = parts_of(value);
  if (parts.exponent >= 0) {
    set_ui(r, parts.mantissa);
    mul_2exp(r, r, static_cast<uint64_t>(parts.exponent));
  } else {
    set_ui(r, parts.exponent > -64 ? parts.mantissa >> -parts.exponent : 0);
  }
  negate_if(r, value < 0);
}

void tnk_gmp___gmpz_init_set(Integer *r, const Integer *a) {
  make(r, limbs_of(a));
  set(r, a);
}
void tnk_gmp___gmpz_init_set_ui(Integer *r, uint64_t value) {
  make(r, 1);
  set_ui(r, value);
}
void tnk_gmp___gmpz_init_set_si(Integer *r, int64_t value) {
  make(r, 1);
  tnk_gmp___gmpz_set_si(r, value);
}
void tnk_gmp___gmpz_init_set_d(Integer *r, double value) {
  make(r, 0);
  tnk_gmp___gmpz_set_d(r, value);
}

// ---- As numbers of the language -----------------------------------------------------------------------------------

uint64_t tnk_gmp___gmpz_get_ui(const Integer *a) {
  return a->size == 0 ? 0 : a->d[0];
}
// Of what does not fit the low 63 bits, with the sign.
int64_t tnk_gmp___gmpz_get_si(const Integer *a) {
  if (a->size == 0) return 0;
  constexpr limb most = static_cast<limb>(INT64_MAX);
  return a->size > 0 ? static_cast<int64_t>(a->d[0] & most) : -1 - static_cast<int64_t>((a->d[0] - 1) & most);
}
double tnk_gmp___gmpz_get_d_2exp(int64_t *exponent, const Integer *a) {
  *exponent = static_cast<int64_t>(bits_of(a));
  if (a->size == 0) return 0;
  return is_negative(a) ? -top_of(a) : top_of(a);
}
double tnk_gmp___gmpz_get_d(const Integer *a) {
  int64_t exponent;
  const double top = tnk_gmp___gmpz_get_d_2exp(&exponent, a);
  if (exponent > 1024) return top < 0 ? -HUGE_VAL : HUGE_VAL;
  return exponent == 0 ? 0 : top * 2 * power_of_two(exponent - 1);
}
limb tnk_gmp___gmpz_getlimbn(const Integer *a, int64_t n) {
  return n >= 0 && n < limbs_of(a) ? a->d[n] : 0;
}
size_t tnk_gmp___gmpz_size(const Integer *a) {
  return static_cast<size_t>(limbs_of(a));
}

int tnk_gmp___gmpz_fits_sint_p(const Integer *a) {
  return fits<int>(a);
}
int tnk_gmp___gmpz_fits_slong_p(const Integer *a) {
  return fits<int64_t>(a);
}
int tnk_gmp___gmpz_fits_sshort_p(const Integer *a) {
  return fits<short>(a);
}
int tnk_gmp___gmpz_fits_uint_p(const Integer *a) {
  return fits<unsigned>(a);
}
int tnk_gmp___gmpz_fits_ulong_p(const Integer *a) {
  return fits<uint64_t>(a);
}
int tnk_gmp___gmpz_fits_ushort_p(const Integer *a) {
  return fits<unsigned short>(a);
}
