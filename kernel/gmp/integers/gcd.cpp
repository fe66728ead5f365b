// Greatest common divisors, least common multiples, inverses and Jacobi symbols.
#include "kernel/gmp/integers/gcd.h"

using namespace tnk::gmp;

namespace {

int trailing_zeros(wide x) {
  return low(x) != 0 ? __builtin_ctzll(low(x)) : limb_bits + __builtin_ctzll(high(x));
}

// Of odd numbers of one or two limbs.
template <class Number> Number odd_gcd(Number x, Number y) {
  while (x != y) {
    if (x > y) std::swap(x, y);
    y -= x;
    y >>= sizeof(Number) == sizeof(limb) ? __builtin_ctzll(static_cast<limb>(y)) : trailing_zeros(y);
    if (sizeof(Number) > sizeof(limb) && high(x | y) == 0) return odd_gcd<limb>(low(x), low(y));
  }
  return x;
}

wide gcd_of(wide x, wide y) {
  if (x == 0 || y == 0) return x | y;
  const int zeros = trailing_zeros(x | y);
  x >>= trailing_zeros(x), y >>= trailing_zeros(y);
  return odd_gcd<wide>(x, y) << zeros;
}

wide two_limbs(const Integer *a) {
  return join(limbs_of(a) > 1 ? a->d[1] : 0, a->size != 0 ? a->d[0] : 0);
}
void set_two_limbs(Integer *r, wide value) {
  limb *const d = room(r, 2);
  d[0] = low(value), d[1] = high(value);
  settle(r, 2, false);
}

constexpr auto unseen = [](limb) {};

// |u0| and |u1| after these steps: their signs differ, so that sums are all there is.
void add_up(const Steps &s, Integer *u0, Integer *u1) {
  const int32_t n = u0->size > u1->size ? u0->size : u1->size;
  limb *const p = room(u0, n + 1), *const q = room(u1, n + 1);
  clear(p + u0->size, n + 1 - u0->size), clear(q + u1->size, n + 1 - u1->size);
  const auto sum = [](limb f, limb g, limb x, limb y, wide &carry) {
    const wide fx = wide{f} * x, gy = wide{g} * y, lowest = wide{low(fx)} + low(gy) + low(carry);
    carry = wide{high(fx)} + high(gy) + high(carry) + high(lowest);
    return low(lowest);
  };
  wide carry_p = 0, carry_q = 0;
  for (int32_t i = 0; i <= n; ++i) {
    const limb x = p[i], y = q[i];
    p[i] = sum(s.a, s.b, x, y, carry_p);
    q[i] = sum(s.c, s.d, x, y, carry_q);
  }
  settle(u0, n + 1, false), settle(u1, n + 1, false);
}

// x and y with their signs taken away and the larger one first.
void order(Integer *x, Integer *y) {
  x->size = limbs_of(x), y->size = limbs_of(y);
  if (cmp(x, y) < 0) swap_records(x, y);
}

// Whether the symbol changes its sign: Euclid's algorithm on x and y, of which no more than three bits are followed. The
// symbol in hand is (x|y) where y is odd, and else (y|x).
class Reciprocity {
public:
  Reciprocity(limb x, limb y, bool turned) : x_(x & 7), y_(y & 7), turned_(turned) {}
  void operator()(limb quotient) {
    const unsigned rest = (x_ - static_cast<unsigned>(quotient) * y_) & 7;
    if (y_ % 2 == 1) {
      // (x|y) = (rest|y), which is (y|rest) but for the sign where both are odd.
      if (rest % 2 == 1) turned_ ^= (rest & y_ & 2) != 0;
    } else if (y_ % 4 == 2) {
      // (y|x) against (y|rest), y twice an odd number: a factor (2|.), and reciprocity with y / 2.
      const bool half_is_3 = (y_ & 4) != 0;
      turned_ ^= two(x_) ^ two(rest) ^ (half_is_3 && ((x_ ^ rest) & 2) != 0);
    }
    x_ = y_, y_ = rest;
  }
  static bool two(unsigned odd) { return odd == 3 || odd == 5; } // whether (2|odd) is -1
  bool turned() const { return turned_; }

private:
  unsigned x_, y_;
  bool turned_;
};

int kronecker(const Integer *a, const Integer *b) {
  if (b->size == 0) return limbs_of(a) == 1 && a->d[0] == 1;
  if (!is_odd(a) && !is_odd(b)) return 0;
  bool turned = is_negative(a) && is_negative(b);
  Temporary x(a), y(b);
  // Factors of two below, where a is odd; and the sign of a over what is odd.
  if (!is_odd(b)) {
    const uint64_t zeros = scan1(b, 0);
    tdiv_q_2exp(y, y, zeros);
    if (zeros % 2 == 1) turned ^= Reciprocity::two(a->d[0] & 7);
  }
  if (is_negative(a) && y->d[0] % 4 == 3) turned ^= true;
  x->size = limbs_of(x), y->size = limbs_of(y);
  if (cmp(x, y) < 0) {
    // (x|y) is (y|x) in the order that Euclid takes, which is the symbol in hand where x is even.
    if (is_odd(x)) turned ^= (x->d[0] & y->d[0] & 2) != 0;
    swap_records(x, y);
  }
  Reciprocity symbol(x->d[0], y->size == 0 ? 0 : y->d[0], turned);
  euclid(x, y, 0, symbol, [](const auto &) {});
  return is_one(x) ? (symbol.turned() ? -1 : 1) : 0;
}

// r := 1 / a modulo |m|, 0 <= r < |m|; false where there is none.
bool inverse(Integer *r, const Integer *a, const Integer *m) {
  Temporary x(m), y, u0, u1(limb{1});
  x->size = limbs_of(x);
  mod(y, a, x);
  bool negative = true; // u0: the factor of a in x, modulo m; that of y has the other sign
  struct {
    Integer *u0, *u1;
    bool &negative;
    void operator()(const Steps &steps) {
      add_up(steps, u0, u1);
      negative ^= steps.odd;
    }
    void operator()(const Integer *quotient) {
      addmul(u0, quotient, u1);
      swap_records(u0, u1);
      negative ^= true;
    }
  } factors{u0, u1, negative};
  euclid(x, y, 0, unseen, factors);
  if (!is_one(x)) return false;
  const Integer modulus = magnitude(m);
  if (negative && u0->size != 0) sub(u0, &modulus, u0);
  swap_records(r, u0);
  return true;
}

} // namespace

void tnk_gmp___gmpz_gcd(Integer *r, const Integer *a, const Integer *b) {
  if (limbs_of(a) <= 2 && limbs_of(b) <= 2) return set_two_limbs(r, gcd_of(two_limbs(a), two_limbs(b)));
  Temporary x(a), y(b);
  order(x, y);
  euclid(x, y, 2, unseen, [](const auto &) {});
  if (y->size != 0) {
    tdiv_r(x, x, y);
    set_two_limbs(x, gcd_of(two_limbs(x), two_limbs(y)));
  }
  swap_records(r, x);
}
// 0 where the result, |a| for b = 0, does not fit. r may be null.
uint64_t tnk_gmp___gmpz_gcd_ui(Integer *r, const Integer *a, uint64_t b) {
  if (b == 0) {
    const uint64_t result = limbs_of(a) == 1 ? a->d[0] : 0;
    if (r) tnk_gmp___gmpz_abs(r, a);
    return result;
  }
  const limb rest = a->size == 0 ? 0 : tnk_gmp_mpn_mod_1(a->d, limbs_of(a), b);
  const limb result = low(gcd_of(rest, b));
  if (r) set_ui(r, result);
  return result;
}

// g = a s + b t: the smaller of the two inverses in s, and t from the rest. s and t may be null.
void tnk_gmp___gmpz_gcdext(Integer *g, Integer *s, Integer *t, const Integer *a, const Integer *b) {
  Temporary divisor, x, y;
  gcd(divisor, a, b);
  if (cmpabs(a, b) == 0) {
    tnk_gmp___gmpz_set_si(y, sign_of(b));
  } else if (b->size == 0) {
    tnk_gmp___gmpz_set_si(x, sign_of(a));
  } else {
    Temporary m, u;
    tdiv_q(m, b, divisor);
    tdiv_q(u, a, divisor);
    m->size = limbs_of(m);
    if (!is_one(m)) {
      tnk_gmp___gmpz_invert(x, u, m);
      // |s| at most half of |b / g|, with the sign of a where both signs would do.
      mul_2exp(u, x, 1);
      const int side = cmp(u, m);
      if (side > 0 || (side == 0 && is_negative(a))) sub(x, x, m);
    }
    set(u, divisor);
    submul(u, a, x);
    tdiv_q(y, u, b);
  }
  swap_records(g, divisor);
  if (s) swap_records(s, x);
  if (t) swap_records(t, y);
}

int tnk_gmp___gmpz_invert(Integer *r, const Integer *a, const Integer *m) {
  return inverse(r, a, m);
}

void tnk_gmp___gmpz_lcm(Integer *r, const Integer *a, const Integer *b) {
  if (a->size == 0 || b->size == 0) return set_ui(r, 0);
  Temporary divisor;
  gcd(divisor, a, b);
  tdiv_q(divisor, a, divisor);
  mul(r, divisor, b);
  r->size = limbs_of(r);
}
void tnk_gmp___gmpz_lcm_ui(Integer *r, const Integer *a, uint64_t b) {
  tnk_gmp___gmpz_lcm(r, a, Small(b));
}

int tnk_gmp___gmpz_jacobi(const Integer *a, const Integer *b) {
  return kronecker(a, b);
}
int tnk_gmp___gmpz_kronecker_si(const Integer *a, int64_t b) {
  return kronecker(a, Small(b));
}
int tnk_gmp___gmpz_kronecker_ui(const Integer *a, uint64_t b) {
  return kronecker(a, Small(b));
}
int tnk_gmp___gmpz_si_kronecker(int64_t a, const Integer *b) {
  return kronecker(Small(a), b);
}
int tnk_gmp___gmpz_ui_kronecker(uint64_t a, const Integer *b) {
  return kronecker(Small(a), b);
}
