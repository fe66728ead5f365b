// Factorials, binomials, Fibonacci and Lucas numbers, and how often a factor is in a number.
#include "kernel/gmp/integers/record.h"

using namespace tnk::gmp;

namespace {

// r := first (first + step) ... with `count` factors, which fit into a limb each: halves of like length are multiplied,
// and what fits into one limb together goes first.
void product(Integer *r, limb first, limb step, limb count) {
  if (count == 0) return set_ui(r, 1);
  if (count <= 16) {
    set_ui(r, 1);
    limb together = first;
    for (limb i = 1; i < count; ++i) {
      const limb factor = first + i * step;
      const wide both = wide{together} * factor;
      if (high(both) == 0) {
        together = low(both);
      } else {
        mul_ui(r, r, together);
        together = factor;
      }
    }
    return mul_ui(r, r, together);
  }
  const limb half = count / 2;
  Temporary rest;
  product(r, first, step, half);
  product(rest, first + half * step, step, count - half);
  mul(r, r, rest);
}

// r := the odd part of n!: that of (n / 2)! times the odd numbers up to n, of which those up to n / 2 are in it already
// once, as odd halves.
void odd_factorial(Integer *r, limb n) {
  set_ui(r, 1);
  Temporary below, odd;
  set_ui(below, 1); // the product of odd numbers up to the last n
  limb last = 1;
  for (int shift = 63 - leading_zeros(n | 1); shift >= 0; --shift) {
    const limb up_to = n >> shift;
    const limb first = last + 2, count = up_to < first ? 0 : (up_to - first) / 2 + 1;
    product(odd, first, 2, count);
    mul(below, below, odd);
    mul(r, r, below);
    last += 2 * count;
  }
}
uint64_t twos_in_factorial(limb n) {
  return n - static_cast<limb>(__builtin_popcountll(n));
}

void factorial(Integer *r, limb n) {
  odd_factorial(r, n);
  mul_2exp(r, r, twos_in_factorial(n));
}

// r := n (n - 1) ... (n - k + 1), for any n.
void falling_product(Integer *r, const Integer *n, limb k) {
  if (k == 0) return set_ui(r, 1);
  if (k == 1) return set(r, n);
  Temporary rest, lower;
  sub_ui(lower, n, k / 2);
  falling_product(rest, lower, k - k / 2);
  falling_product(r, n, k / 2);
  mul(r, r, rest);
}

// F(n) and F(n - 1), by doubling from the highest bit of n down: F(2k+1) = 4 F(k)^2 - F(k-1)^2 + 2 (-1)^k,
// F(2k-1) = F(k)^2 + F(k-1)^2, and F(2k) is their difference.
void fibonacci(Integer *f, Integer *before, uint64_t n) {
  set_ui(f, 0), set_ui(before, 1);
  Temporary square, next;
  bool odd = false;
  for (int i = n == 0 ? -1 : 63 - leading_zeros(n); i >= 0; --i) {
    mul(square, f, f);
    mul(before, before, before);
    mul_2exp(next, square, 2);
    sub(next, next, before);
    odd ? sub_ui(next, next, 2) : add_ui(next, next, 2);
    add(before, before, square);
    sub(f, next, before);
    odd = n >> i & 1;
    if (odd) {
      swap_records(before, f);
      swap_records(f, next);
    }
  }
}

} // namespace

void tnk_gmp___gmpz_fac_ui(Integer *r, uint64_t n) {
  factorial(r, n);
}

void tnk_gmp___gmpz_bin_uiui(Integer *r, uint64_t n, uint64_t k) {
  if (k > n) return set_ui(r, 0);
  if (k > n - k) k = n - k;
  Temporary above, below;
  product(above, n - k + 1, 1, k);
  odd_factorial(below, k);
  tdiv_q_2exp(above, above, twos_in_factorial(k));
  tdiv_q(r, above, below);
}
// For n below 0 too as the polynomial in n has it.
void tnk_gmp___gmpz_bin_ui(Integer *r, const Integer *n, uint64_t k) {
  if (!is_negative(n) && limbs_of(n) <= 1) return tnk_gmp___gmpz_bin_uiui(r, tnk_gmp___gmpz_get_ui(n), k);
  Temporary above, below;
  falling_product(above, n, k);
  factorial(below, k);
  tdiv_q(r, above, below);
}

void tnk_gmp___gmpz_fib_ui(Integer *f, uint64_t n) {
  Temporary before;
  fibonacci(f, before, n);
}
void tnk_gmp___gmpz_fib2_ui(Integer *f, Integer *before, uint64_t n) {
  fibonacci(f, before, n);
}
// L(n) = F(n) + 2 F(n - 1), and L(n - 1) = 2 F(n) - F(n - 1).
void tnk_gmp___gmpz_lucnum_ui(Integer *l, uint64_t n) {
  Temporary before;
  fibonacci(l, before, n);
  mul_2exp(before, before, 1);
  add(l, l, before);
}
void tnk_gmp___gmpz_lucnum2_ui(Integer *l, Integer *before, uint64_t n) {
  Temporary f, b;
  fibonacci(f, b, n);
  mul_2exp(l, b, 1);
  add(l, l, f);
  mul_2exp(before, f, 1);
  sub(before, before, b);
}

// Powers f, f^2, f^4 ... go out for as long as they divide, and then once more each on the way back.
uint64_t tnk_gmp___gmpz_remove(Integer *r, const Integer *a, const Integer *f) {
  if (a->size == 0 || (limbs_of(f) <= 1 && (f->size == 0 || f->d[0] == 1))) return (set(r, a), 0);
  if (limbs_of(f) == 1 && f->d[0] == 2 && !is_negative(f)) {
    const uint64_t twos = scan1(a, 0);
    tdiv_q_2exp(r, a, twos);
    return twos;
  }
  constexpr int most = 40; // f^(2^40) is beyond any record
  Integer powers[most];
  Temporary x(a), quotient, rest;
  tnk_gmp___gmpz_init_set(&powers[0], f);
  uint64_t count = 0;
  int made = 1;
  const auto goes_out = [&](int i) {
    if (limbs_of(x) < limbs_of(&powers[i])) return false;
    tdiv_qr(quotient, rest, x, &powers[i]);
    if (rest->size != 0) return false;
    swap_records(x, quotient);
    count += uint64_t{1} << i;
    return true;
  };
  for (; goes_out(made - 1); ++made) {
    tnk_gmp___gmpz_init(&powers[made]);
    mul(&powers[made], &powers[made - 1], &powers[made - 1]);
  }
  for (int i = made - 1; i-- > 0;) goes_out(i);
  for (int i = 0; i < made; ++i) tnk_gmp___gmpz_clear(&powers[i]);
  swap_records(r, x);
  return count;
}
