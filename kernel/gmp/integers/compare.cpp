// Order and sign.
#include <cmath>

#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

int compare_magnitudes(const Integer *a, const Integer *b) {
  const int32_t an = limbs_of(a), bn = limbs_of(b);
  return an != bn ? (an > bn ? 1 : -1) : tnk_gmp___gmpn_cmp(a->d, b->d, an);
}

// |a| against a double of 0 or more, which may be infinite: its whole part, which has 1024 bits at most, and then what it
// has beyond.
int compare_magnitude(const Integer *a, double b) {
  if (b == HUGE_VAL) return -1;
  limb d[18];
  Integer whole = {18, 0, d};
  tnk_gmp___gmpz_set_d(&whole, b);
  const int order = compare_magnitudes(a, &whole);
  return order != 0 ? order : tnk_gmp___gmpz_get_d(&whole) < b ? -1 : 0;
}

} // namespace

int tnk_gmp___gmpz_sgn(const Integer *a) {
  return sign_of(a);
}
int tnk_gmp___gmpz_cmp(const Integer *a, const Integer *b) {
  if (a->size != b->size) return a->size > b->size ? 1 : -1;
  const int order = compare_magnitudes(a, b);
  return is_negative(a) ? -order : order;
}
int tnk_gmp___gmpz_cmp_ui(const Integer *a, uint64_t b) {
  return cmp(a, Small(b));
}
int tnk_gmp___gmpz_cmp_si(const Integer *a, int64_t b) {
  return cmp(a, Small(b));
}
int tnk_gmp___gmpz_cmp_d(const Integer *a, double b) {
  const int sign = (b > 0) - (b < 0);
  if (sign_of(a) != sign) return sign_of(a) > sign ? 1 : -1;
  return sign * compare_magnitude(a, std::fabs(b));
}
int tnk_gmp___gmpz_cmpabs(const Integer *a, const Integer *b) {
  return compare_magnitudes(a, b);
}
int tnk_gmp___gmpz_cmpabs_ui(const Integer *a, uint64_t b) {
  return compare_magnitudes(a, Small(b));
}
int tnk_gmp___gmpz_cmpabs_d(const Integer *a, double b) {
  return compare_magnitude(a, std::fabs(b));
}
