// Integers of the kernel by short names.
#pragma once

#include "gmp/limbs.h"
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
  return Z(value(made(random, limbs, any)));
}

} // namespace tnk::test
