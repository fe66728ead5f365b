// Integers of the kernel by short names.
#pragma once

#include "gmp/operations.h"

namespace tnk::test {

using Big = reference::Integer;

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
