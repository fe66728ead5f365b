// Arrays of limbs for tests, and what they are as numbers.
#pragma once

#include "reference/integer.h"
#include "support/guarded.h"
#include "support/random.h"
#include <gtest/gtest.h>

namespace tnk::test {

using reference::Integer;
using limb = tnk_gmp_limb;
using Limbs = std::vector<limb>;
using Written = Guarded<limb>; // what a kernel writes ends where a page does

// Patterns that break carries: all ones, powers of two and their neighbours, runs; and any limbs.
enum Pattern { ones, power, below_power, above_power, runs, any, patterns };

inline Limbs made(Random &random, int32_t n, int pattern) {
  Limbs a(static_cast<std::size_t>(n));
  const auto word = [&] { return static_cast<limb>(random.integer(INT64_MIN, INT64_MAX)); };
  const std::size_t place = n ? static_cast<std::size_t>(random.integer(0, n - 1)) : 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    a[i] = pattern == ones                        ? ~limb{0}
           : pattern == any                       ? word()
           : pattern == runs                      ? 0 - (word() >> 63)
           : pattern == below_power && i <= place ? ~limb{0}
           : pattern == above_power && i == 0     ? 1
                                                  : 0;
  if (n && (pattern == power || pattern == above_power)) a[place] |= limb{1} << random.integer(0, 63);
  if (n && pattern == runs) a[place] ^= word() & (word() >> 7);
  return a;
}
// The same with a highest limb other than 0.
inline Limbs number(Random &random, int32_t n, int pattern) {
  Limbs a = made(random, n, pattern);
  if (n && a.back() == 0) a.back() = limb{1} << random.integer(0, 63);
  return a;
}

inline int32_t count(const Limbs &a) {
  return static_cast<int32_t>(a.size());
}
inline Integer value(const limb *a, int32_t n) {
  return Integer(a, n, false);
}
inline Integer value(const Limbs &a) {
  return value(a.data(), count(a));
}
inline Integer value(const Written &a) {
  return value(a.data(), static_cast<int32_t>(a.size()));
}
inline Integer shifted(const Integer &x, int32_t limbs) {
  return x * Integer::power_of_two(64 * static_cast<uint64_t>(limbs));
}

// Long numbers are known by what they are modulo a prime.
constexpr limb prime = 2305843009213693921; // below 2^61
__extension__ typedef unsigned __int128 wide;
struct Residue {
  wide of;
  bool operator==(const Residue &other) const { return of == other.of; }
  Residue operator*(const Residue &other) const { return {of * other.of % prime}; }
  Residue operator+(const Residue &other) const { return {(of + other.of) % prime}; }
};
inline Residue remainder(const limb *a, int32_t n) {
  Residue r{};
  for (int32_t i = n; i-- > 0;) r.of = (r.of << 64 | a[i]) % prime;
  return r;
}

} // namespace tnk::test
