// What the operations on integer records are written in. An output may be any input: a record grows before its limbs
// are read, and who still needs an input that is an output keeps a copy.
#pragma once

#include <tnk/gmp.h>
#include <utility>

#include "kernel/gmp/limbs.h"

namespace tnk::gmp {

using Integer = tnk_gmp_integer;

// The operations by short names.
static constexpr auto &set = tnk_gmp___gmpz_set;
static constexpr auto &set_ui = tnk_gmp___gmpz_set_ui;
static constexpr auto &swap_records = tnk_gmp___gmpz_swap;
static constexpr auto &add = tnk_gmp___gmpz_add;
static constexpr auto &add_ui = tnk_gmp___gmpz_add_ui;
static constexpr auto &sub = tnk_gmp___gmpz_sub;
static constexpr auto &sub_ui = tnk_gmp___gmpz_sub_ui;
static constexpr auto &mul = tnk_gmp___gmpz_mul;
static constexpr auto &mul_ui = tnk_gmp___gmpz_mul_ui;
static constexpr auto &addmul = tnk_gmp___gmpz_addmul;
static constexpr auto &submul = tnk_gmp___gmpz_submul;
static constexpr auto &mul_2exp = tnk_gmp___gmpz_mul_2exp;
static constexpr auto &tdiv_q = tnk_gmp___gmpz_tdiv_q;
static constexpr auto &tdiv_r = tnk_gmp___gmpz_tdiv_r;
static constexpr auto &tdiv_qr = tnk_gmp___gmpz_tdiv_qr;
static constexpr auto &tdiv_q_ui = tnk_gmp___gmpz_tdiv_q_ui;
static constexpr auto &tdiv_q_2exp = tnk_gmp___gmpz_tdiv_q_2exp;
static constexpr auto &tdiv_r_2exp = tnk_gmp___gmpz_tdiv_r_2exp;
static constexpr auto &mod = tnk_gmp___gmpz_mod;
static constexpr auto &pow_ui = tnk_gmp___gmpz_pow_ui;
static constexpr auto &cmp = tnk_gmp___gmpz_cmp;
static constexpr auto &cmpabs = tnk_gmp___gmpz_cmpabs;
static constexpr auto &gcd = tnk_gmp___gmpz_gcd;
static constexpr auto &scan1 = tnk_gmp___gmpz_scan1;
static constexpr auto &tstbit = tnk_gmp___gmpz_tstbit;

constexpr int32_t stack_limbs = 256; // as many as Scratch has on the stack

inline int32_t limbs_of(const Integer *a) {
  return a->size < 0 ? -a->size : a->size;
}
inline bool is_negative(const Integer *a) {
  return a->size < 0;
}
inline int sign_of(const Integer *a) {
  return (a->size > 0) - (a->size < 0);
}
inline bool is_odd(const Integer *a) {
  return a->size != 0 && (a->d[0] & 1) != 0;
}
inline bool is_one(const Integer *a) {
  return a->size == 1 && a->d[0] == 1;
}
inline uint64_t bits_of(const Integer *a) {
  const int32_t n = limbs_of(a);
  return n == 0 ? 0 : static_cast<uint64_t>(n) * 64 - static_cast<unsigned>(leading_zeros(a->d[n - 1]));
}
// Limbs that so many bits take.
inline int32_t limbs_for(uint64_t bits) {
  return static_cast<int32_t>(bits / 64 + (bits % 64 != 0));
}
inline size_t bytes(int64_t limbs) {
  return static_cast<size_t>(limbs) * sizeof(limb);
}
// The magnitude of a signed argument, also of the smallest.
inline limb magnitude_of(int64_t a) {
  return a < 0 ? -static_cast<limb>(a) : static_cast<limb>(a);
}

// The limbs of r, n of them at least; its value stays.
inline limb *room(Integer *r, int32_t n) {
  return __builtin_expect(n <= r->alloc, 1) ? r->d : static_cast<limb *>(tnk_gmp___gmpz_realloc(r, n));
}

// The value of n limbs of which the top ones may be zero.
inline void settle(Integer *r, int32_t n, bool negative) {
  const int32_t size = trimmed(r->d, n);
  r->size = negative ? -size : size;
}
inline void negate_if(Integer *r, bool negative) {
  if (negative) r->size = -r->size;
}

// 2^(64 n) - a.
inline void complement(limb *r, const limb *a, int32_t n) {
  limb carry = 1;
  for (int32_t i = 0; i < n; ++i) carry = (r[i] = ~a[i] + carry) < carry;
}

// A record to read, over limbs of somebody else.
inline Integer view(const limb *d, int32_t n, bool negative = false) {
  const int32_t size = trimmed(d, n);
  return {size, negative ? -size : size, const_cast<limb *>(d)};
}
// The magnitude of a; and a negated.
inline Integer magnitude(const Integer *a) {
  return {a->alloc, limbs_of(a), a->d};
}
inline Integer negated(const Integer *a) {
  return {a->alloc, -a->size, a->d};
}

// A record to read that holds one limb.
class Small {
public:
  explicit Small(limb value, bool negative = false)
      : limb_(value), record_{1,
                              value == 0 ? 0
                              : negative ? -1
                                         : 1,
                              &limb_} {}
  explicit Small(int64_t value) : Small(magnitude_of(value), value < 0) {}
  Small(const Small &) = delete;
  Small &operator=(const Small &) = delete;
  operator const Integer *() const { return &record_; }

private:
  limb limb_;
  Integer record_;
};

// A record for the length of a call.
class Temporary {
public:
  Temporary() { tnk_gmp___gmpz_init(&record_); }
  explicit Temporary(const Integer *value) { tnk_gmp___gmpz_init_set(&record_, value); }
  explicit Temporary(limb value) { tnk_gmp___gmpz_init_set_ui(&record_, value); }
  ~Temporary() { tnk_gmp___gmpz_clear(&record_); }
  Temporary(const Temporary &) = delete;
  Temporary &operator=(const Temporary &) = delete;
  operator Integer *() { return &record_; }
  Integer *operator->() { return &record_; }

private:
  Integer record_;
};

// An operand that stays as it is while outputs are written: the record itself, or a copy where it is one of them.
class Kept {
public:
  Kept(const Integer *a, const Integer *out1, const Integer *out2 = nullptr) : record_(a) {
    if (a != out1 && a != out2) return;
    tnk_gmp___gmpz_init_set(&copy_, a);
    record_ = &copy_;
  }
  ~Kept() {
    if (record_ == &copy_) tnk_gmp___gmpz_clear(&copy_);
  }
  Kept(const Kept &) = delete;
  Kept &operator=(const Kept &) = delete;
  operator const Integer *() const { return record_; }
  const Integer *operator->() const { return record_; }

private:
  const Integer *record_;
  Integer copy_;
};

} // namespace tnk::gmp
