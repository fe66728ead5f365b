// Integers of the kernel by short names.
#pragma once

#include "gmp/operations.h"

namespace tnk::test {

using Big = reference::Integer;

// An integer that is made and cleared here, by short names.
struct Z {
  tnk_gmp_integer record;
  Z() { tnk_gmp___gmpz_init(&record); }
  explicit Z(int64_t value) { tnk_gmp___gmpz_init_set_si(&record, value); }
  Z(const Z &other) { tnk_gmp___gmpz_init_set(&record, &other.record); }
  Z &operator=(const Z &) = delete;
  ~Z() { tnk_gmp___gmpz_clear(&record); }
  operator tnk_gmp_integer *() { return &record; }
  operator const tnk_gmp_integer *() const { return &record; }
  tnk_gmp_integer *operator->() { return &record; }
  Big value() const { return Big(record.d, std::abs(record.size), record.size < 0); }
};
inline bool operator==(const Z &a, const Z &b) {
  return tnk_gmp___gmpz_cmp(a, b) == 0;
}
template <class F, class... A> Z made(F *operation, const A &...arguments) {
  Z r;
  operation(r, arguments...);
  return r;
}
#define MADE(name, ...) made(&tnk_gmp___gmpz_##name, __VA_ARGS__)

inline Z random_integer(Random &random, int limbs) {
  Z r;
  for (int i = 0; i < limbs; ++i) {
    tnk_gmp___gmpz_mul_2exp(r, r, 64);
    tnk_gmp___gmpz_add_ui(r, r, static_cast<uint64_t>(random.integer(INT64_MIN, INT64_MAX)));
  }
  return r;
}

} // namespace tnk::test
