// How a composite length is taken apart in straight-line transforms.
#pragma once

namespace tnk::signal {

constexpr int smallest_divisor(int n) {
  for (int d = 2; d * d <= n; ++d)
    if (n % d == 0) return d;
  return n;
}
constexpr int common_divisor(int a, int b) {
  return b == 0 ? a : common_divisor(b, a % b);
}
// The largest power of the smallest prime of n that divides n.
constexpr int smallest_prime_power(int n) {
  const int p = smallest_divisor(n);
  int power = p;
  while (n / power % p == 0) power *= p;
  return power;
}

// The number below a b that leaves i over when divided by a, and k by b.
constexpr int common_remainder(int i, int a, int k, int b) {
  while (i % b != k) i += a;
  return i;
}

} // namespace tnk::signal
