// Integers: values, arithmetic, powers, roots and number theory.
#include "host/routines/integer/call.h"

#include <algorithm>
#include <cmath>

using namespace tnk::host::integer;
using Integer = tnk_integer;
using Result = tnk_integer_result;

namespace {

double limbs(const Integer *a) {
  return static_cast<double>(limbs_of(a));
}
double limbs_for(double bits) {
  return std::floor(bits / 64) + 2;
}
double real(std::uint64_t n) {
  return static_cast<double>(n);
}

// r := operation(a), with no more limbs than a but for one: of 0 there may be two while it is made.
template <class F>
Result change(const char *routine, Integer *r, const Integer *a, F Operations::*operation) {
  Call call(routine);
  if (!call.given(r, a) || !call.in_range(2, "a", limbs(a) + 1) ||
      !call.ready(r, std::max<std::int64_t>(limbs_of(a), 1) + 1))
    return call.result();
  (call.operator->()->*operation)(r, a);
  return TNK_INTEGER_DONE;
}
// r := operation(a, b), with no more limbs than the longer of them but for one.
template <class F>
Result join(const char *routine, Integer *r, const Integer *a, const Integer *b, F Operations::*operation) {
  Call call(routine);
  if (!call.given(r, a, b)) return call.result();
  const std::int64_t n = std::max(limbs_of(a), limbs_of(b)) + 1;
  if (!call.in_range(2, "a", static_cast<double>(n)) || !call.ready(r, n)) return call.result();
  (call.operator->()->*operation)(r, a, b);
  return TNK_INTEGER_DONE;
}
// The same where numbers in between take memory for products of that many times both lengths.
template <class F>
Result work(const char *routine, Integer *r, const Integer *a, const Integer *b, double times,
            F Operations::*operation) {
  Call call(routine);
  if (!call.given(r, a, b)) return call.result();
  const double n = limbs(a) + limbs(b);
  if (!call.in_range(2, "a", n) || !call.ready(times * n + product_limbs(a, b))) return call.result();
  (call.operator->()->*operation)(r, a, b);
  return TNK_INTEGER_DONE;
}

template <class F>
Result divide(const char *routine, Integer *q, Integer *r, const Integer *n, const Integer *d,
              F Operations::*operation) {
  Call call(routine);
  if (!call.good(q || r, 1, "q", "a null address", "q or r") ||
      !call.differ(2, "r", r, q, "another integer than q") || !call.given(3, "n", n) ||
      !call.given(4, "d", d) || !call.not_zero(4, "d", d) ||
      !call.ready(3 * (limbs(n) + limbs(d)) + product_limbs(n, d)))
    return call.result();
  Temporary unwanted(call);
  (call.operator->()->*operation)(q ? q : unwanted, r ? r : unwanted, n, d);
  return TNK_INTEGER_DONE;
}

} // namespace

// ---- Values -------------------------------------------------------------------------------------------------------

Result tnk_integer_clear(Integer *r) {
  Call call("tnk_integer_clear");
  if (!call.given(1, "r", r)) return call.result();
  if (r->d) {
    if (!call.ready(0.0)) return call.result();
    call->z_clear(r);
  }
  *r = TNK_INTEGER_ZERO;
  return TNK_INTEGER_DONE;
}
Result tnk_integer_set(Integer *r, const Integer *a) {
  return change("tnk_integer_set", r, a, &Operations::z_set);
}
Result tnk_integer_set_int(Integer *r, std::int64_t value) {
  Call call("tnk_integer_set_int");
  if (!call.given(1, "r", r) || !call.ready(r, 1)) return call.result();
  return call->z_set_si(r, value), TNK_INTEGER_DONE;
}
Result tnk_integer_set_uint(Integer *r, std::uint64_t value) {
  Call call("tnk_integer_set_uint");
  if (!call.given(1, "r", r) || !call.ready(r, 1)) return call.result();
  return call->z_set_ui(r, value), TNK_INTEGER_DONE;
}
Result tnk_integer_set_double(Integer *r, double value) {
  Call call("tnk_integer_set_double");
  if (!call.given(1, "r", r) ||
      !call.good(std::isfinite(value), 2, "value",
                 value > 0   ? "inf"
                 : value < 0 ? "-inf"
                             : "nan",
                 "a finite number") ||
      !call.ready(r, 18))
    return call.result();
  return call->z_set_d(r, value), TNK_INTEGER_DONE;
}
Result tnk_integer_get_int(std::int64_t *value, const Integer *a) {
  Call call("tnk_integer_get_int");
  if (!call.given(1, "value", value) || !call.given(2, "a", a) || !call.ready(0.0) ||
      !call.good(call->z_fits_slong_p(a), 2, "a", "too large", "-2^63 to 2^63 - 1"))
    return call.result();
  return *value = call->z_get_si(a), TNK_INTEGER_DONE;
}
Result tnk_integer_get_double(double *value, const Integer *a) {
  Call call("tnk_integer_get_double");
  if (!call.given(1, "value", value) || !call.given(2, "a", a) || !call.ready(0.0)) return call.result();
  return *value = call->z_get_d(a), TNK_INTEGER_DONE;
}
Result tnk_integer_bits(std::uint64_t *bits, const Integer *a) {
  Call call("tnk_integer_bits");
  if (!call.given(1, "bits", bits) || !call.given(2, "a", a)) return call.result();
  return *bits = bits_of(a), TNK_INTEGER_DONE;
}

// ---- Arithmetic ---------------------------------------------------------------------------------------------------

Result tnk_integer_negate(Integer *r, const Integer *a) {
  return change("tnk_integer_negate", r, a, &Operations::z_neg);
}
Result tnk_integer_abs(Integer *r, const Integer *a) {
  return change("tnk_integer_abs", r, a, &Operations::z_abs);
}
Result tnk_integer_not(Integer *r, const Integer *a) {
  return change("tnk_integer_not", r, a, &Operations::z_com);
}
Result tnk_integer_add(Integer *r, const Integer *a, const Integer *b) {
  return join("tnk_integer_add", r, a, b, &Operations::z_add);
}
Result tnk_integer_subtract(Integer *r, const Integer *a, const Integer *b) {
  return join("tnk_integer_subtract", r, a, b, &Operations::z_sub);
}
Result tnk_integer_and(Integer *r, const Integer *a, const Integer *b) {
  return join("tnk_integer_and", r, a, b, &Operations::z_and);
}
Result tnk_integer_or(Integer *r, const Integer *a, const Integer *b) {
  return join("tnk_integer_or", r, a, b, &Operations::z_ior);
}
Result tnk_integer_xor(Integer *r, const Integer *a, const Integer *b) {
  return join("tnk_integer_xor", r, a, b, &Operations::z_xor);
}
Result tnk_integer_multiply(Integer *r, const Integer *a, const Integer *b) {
  Call call("tnk_integer_multiply");
  if (!call.given(r, a, b)) return call.result();
  const std::int64_t n = limbs_of(a) + limbs_of(b);
  // Short products are made on the stack, those by 0 in the result with a limb more.
  const bool short_one = n < 18 && n + (a->size == 0 || b->size == 0) <= r->alloc;
  if (!call.in_range(2, "a", static_cast<double>(n)) || !call.ready(short_one ? 0 : product_limbs(a, b)))
    return call.result();
  return call->z_mul(r, a, b), TNK_INTEGER_DONE;
}
Result tnk_integer_divide(Integer *q, Integer *r, const Integer *n, const Integer *d) {
  return divide("tnk_integer_divide", q, r, n, d, &Operations::z_tdiv_qr);
}
Result tnk_integer_floor_divide(Integer *q, Integer *r, const Integer *n, const Integer *d) {
  return divide("tnk_integer_floor_divide", q, r, n, d, &Operations::z_fdiv_qr);
}
Result tnk_integer_shift_left(Integer *r, const Integer *a, std::uint64_t bits) {
  Call call("tnk_integer_shift_left");
  if (!call.given(r, a)) return call.result();
  const double n = a->size == 0 ? 1 : limbs(a) + real(bits) / 64 + 1;
  if (!call.in_range(3, "bits", n) || !call.ready(2 * n)) return call.result();
  return call->z_mul_2exp(r, a, bits), TNK_INTEGER_DONE;
}
Result tnk_integer_shift_right(Integer *r, const Integer *a, std::uint64_t bits) {
  Call call("tnk_integer_shift_right");
  if (!call.given(r, a) || !call.ready(r, limbs_of(a) + 1)) return call.result();
  return call->z_fdiv_q_2exp(r, a, bits), TNK_INTEGER_DONE;
}
Result tnk_integer_compare(int *order, const Integer *a, const Integer *b) {
  Call call("tnk_integer_compare");
  if (!call.given(1, "order", order) || !call.given(2, "a", a) || !call.given(3, "b", b) || !call.ready(0.0))
    return call.result();
  return *order = call->z_cmp(a, b), TNK_INTEGER_DONE;
}

// ---- Powers, roots and number theory ------------------------------------------------------------------------------

Result tnk_integer_power(Integer *r, const Integer *b, std::uint64_t e) {
  Call call("tnk_integer_power");
  if (!call.given(1, "r", r) || !call.given(2, "b", b)) return call.result();
  const std::uint64_t bits = bits_of(b);
  const double n = bits <= 1 ? 1 : limbs_for(real(bits) * real(e));
  if (!call.in_range(3, "e", n) || !call.ready(4 * n + product_limbs(2 * n))) return call.result();
  return call->z_pow_ui(r, b, e), TNK_INTEGER_DONE;
}
Result tnk_integer_power_modulo(Integer *r, const Integer *b, const Integer *e, const Integer *m) {
  Call call("tnk_integer_power_modulo");
  if (!call.given(1, "r", r) || !call.given(2, "b", b) || !call.given(3, "e", e) || !call.given(4, "m", m) ||
      !call.not_zero(4, "m", m) ||
      !call.ready(60 * limbs(m) + 6 * (limbs(b) + limbs(e)) + product_limbs(b, m) +
                  product_limbs(4 * limbs(m))))
    return call.result();
  if (e->size < 0) {
    Temporary inverse(call);
    if (!call.good(call->z_invert(inverse, b, m) != 0, 2, "b", "without an inverse",
                   "one that is prime to m"))
      return call.result();
  }
  return call->z_powm(r, b, e, m), TNK_INTEGER_DONE;
}
Result tnk_integer_inverse(Integer *r, const Integer *a, const Integer *m) {
  Call call("tnk_integer_inverse");
  if (!call.given(r, a) || !call.given(3, "m", m) || !call.not_zero(3, "m", m) ||
      !call.ready(12 * (limbs(a) + limbs(m)) + product_limbs(a, m)) ||
      !call.good(call->z_invert(r, a, m) != 0, 2, "a", "without an inverse", "one that is prime to m"))
    return call.result();
  return TNK_INTEGER_DONE;
}
Result tnk_integer_sqrt(Integer *s, Integer *r, const Integer *a) {
  Call call("tnk_integer_sqrt");
  if (!call.given(1, "s", s) || !call.differ(2, "r", r, s, "another integer than s") ||
      !call.given(3, "a", a) || !call.good(a->size >= 0, 3, "a", "below 0", "0 or more") ||
      !call.ready(12 * limbs(a) + product_limbs(a, a)))
    return call.result();
  Temporary unwanted(call);
  return call->z_sqrtrem(s, r ? r : unwanted, a), TNK_INTEGER_DONE;
}
Result tnk_integer_root(Integer *r, const Integer *a, std::uint64_t n) {
  Call call("tnk_integer_root");
  if (!call.given(r, a) || !call.good(n != 0, 3, "n", "0", "1 or more") ||
      !call.good(a->size >= 0 || n % 2 == 1, 2, "a", "below 0", "0 or more for an even root") ||
      // Roots of halves of the bits, down to a few, keep three numbers each, which have 8 limbs at least.
      !call.ready(24 * limbs(a) + 256 + product_limbs(a, a)))
    return call.result();
  return call->z_root(r, a, n), TNK_INTEGER_DONE;
}
Result tnk_integer_gcd(Integer *r, const Integer *a, const Integer *b) {
  return work("tnk_integer_gcd", r, a, b, 6, &Operations::z_gcd);
}
Result tnk_integer_lcm(Integer *r, const Integer *a, const Integer *b) {
  return work("tnk_integer_lcm", r, a, b, 8, &Operations::z_lcm);
}
Result tnk_integer_gcd_extended(Integer *g, Integer *s, Integer *t, const Integer *a, const Integer *b) {
  Call call("tnk_integer_gcd_extended");
  if (!call.given(1, "g", g) || !call.given(2, "s", s) || !call.given(3, "t", t) ||
      !call.differ(2, "s", s, g, "another integer than g") ||
      !call.differ(3, "t", t, g, "another integer than g") ||
      !call.differ(3, "t", t, s, "another integer than s") || !call.given(4, "a", a) ||
      !call.given(5, "b", b) || !call.ready(20 * (limbs(a) + limbs(b)) + product_limbs(a, b)))
    return call.result();
  return call->z_gcdext(g, s, t, a, b), TNK_INTEGER_DONE;
}
Result tnk_integer_factorial(Integer *r, std::uint64_t n) {
  Call call("tnk_integer_factorial");
  if (!call.given(1, "r", r)) return call.result();
  const double size = limbs_for(real(n) * std::log2(real(n) / 2.7 + 1) + 64); // above log2(n!)
  if (!call.in_range(2, "n", size) || !call.ready(4 * size + product_limbs(2 * size))) return call.result();
  return call->z_fac_ui(r, n), TNK_INTEGER_DONE;
}
Result tnk_integer_binomial(Integer *r, std::uint64_t n, std::uint64_t k) {
  Call call("tnk_integer_binomial");
  if (!call.given(1, "r", r)) return call.result();
  const double factors = k > n ? 0 : real(std::min(k, n - k));
  const double size =
      limbs_for(factors * std::log2(real(n) + 1) + 64); // of their product, before it is divided
  if (!call.in_range(3, "k", size) || !call.ready(8 * size + product_limbs(2 * size))) return call.result();
  return call->z_bin_uiui(r, n, k), TNK_INTEGER_DONE;
}
Result tnk_integer_kronecker(int *symbol, const Integer *a, const Integer *b) {
  Call call("tnk_integer_kronecker");
  if (!call.given(1, "symbol", symbol) || !call.given(2, "a", a) || !call.given(3, "b", b) ||
      !call.ready(6 * (limbs(a) + limbs(b)) + product_limbs(a, b)))
    return call.result();
  return *symbol = call->z_jacobi(a, b), TNK_INTEGER_DONE;
}
