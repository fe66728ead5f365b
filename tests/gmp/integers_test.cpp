// Every operation on integers against its definition, for each sign, edge and way of sharing records.
#include "gmp/operations.h"

#include <cmath>
#include <limits>

namespace tnk::test {
namespace {

using reference::Integer;
using Big = const Integer &;

// ---- What the operations mean -------------------------------------------------------------------------------------

uint64_t magnitude64(Big a) {
  return a.magnitude().low();
}
Integer floor_quotient(Big n, Big d) {
  require(d != 0);
  const Integer q = n / d;
  return q * d != n && (n.sign() < 0) != (d.sign() < 0) ? q - 1 : q;
}
Integer ceiling_quotient(Big n, Big d) {
  return -floor_quotient(-n, d);
}
Integer cut_quotient(Big n, Big d) {
  require(d != 0);
  return n / d;
}
Integer gcd(Integer a, Integer b) {
  while (b != 0) a = std::exchange(b, a % b);
  return a.magnitude();
}
Integer power(Big b, uint64_t e) {
  Integer r = 1;
  for (uint64_t i = 0; i < e; ++i) r = r * b;
  return r;
}
Integer power_modulo(Big b, Big e, Big m) {
  Integer r = 1;
  for (uint64_t i = e.bits(); i-- > 0;) {
    r = r * r % m;
    if (e.bit(i)) r = r * b % m;
  }
  r = r % m;
  return r.sign() < 0 ? r + m.magnitude() : r;
}
Integer modulo(Big n, Big d) {
  require(d != 0);
  const Integer r = n % d;
  return r.sign() < 0 ? r + d.magnitude() : r;
}
// u with a u = gcd(a, m) modulo m, by Euclid's algorithm; that divisor first.
std::pair<Integer, Integer> divisor_and_inverse(Integer a, Big m) {
  Integer x = m.magnitude(), u = 0, v = 1;
  while (a != 0) {
    const Integer q = x / a;
    x = std::exchange(a, x - q * a);
    u = std::exchange(v, u - q * v);
  }
  return {x, m == 0 ? u : modulo(u, m)};
}
// Bits from the top down.
Integer root(Big a, uint64_t n) {
  Integer r = 0;
  for (uint64_t i = a.bits() / n + 1; i-- > 0;) {
    const Integer next = r + Integer::power_of_two(i);
    if (compare_magnitudes(power(next, n), a) <= 0) r = next;
  }
  return a.sign() < 0 ? -r : r;
}
template <class Operation> Integer bitwise(Big a, Big b, Operation operation) {
  const uint64_t n = std::max(a.bits(), b.bits()) + 1;
  Integer r = operation(a.sign() < 0, b.sign() < 0) ? -Integer::power_of_two(n) : 0;
  for (uint64_t i = 0; i < n; ++i)
    if (operation(a.bit(i), b.bit(i))) r = r + Integer::power_of_two(i);
  return r;
}
uint64_t scan(Big a, uint64_t start, bool value) {
  const uint64_t n = std::max(start, a.bits()); // the same from here on
  for (uint64_t i = start; i < n; ++i)
    if (a.bit(i) == value) return i;
  return a.bit(n) == value ? n : UINT64_MAX;
}
// By the rules of the symbol alone.
int kronecker(Integer a, Integer b) {
  if (b == 0) return a.magnitude() == 1;
  int result = b.sign() < 0 && a.sign() < 0 ? -1 : 1;
  b = b.magnitude();
  for (; !b.bit(0); b = b / 2) {
    if (!a.bit(0)) return 0;
    if (a.bit(1) != a.bit(2)) result = -result;
  }
  for (a = modulo(a, b); a != 0; a = modulo(a, b)) {
    for (; !a.bit(0); a = a / 2)
      if (b.bit(1) != b.bit(2)) result = -result;
    if (a.bit(1) && b.bit(1)) result = -result;
    std::swap(a, b);
  }
  return b == 1 ? result : 0;
}
Integer falling(Integer n, uint64_t k) {
  Integer r = 1;
  for (uint64_t i = 0; i < k; ++i) r = r * (n - Integer(i));
  return r;
}
// F(n) and, for other beginnings, what follows from them; n from -1 on.
Integer sum_sequence(Integer before, Integer first, uint64_t n) {
  for (; n > 0; --n) before = std::exchange(first, before + first);
  return first;
}
template <class T> int fits(Big a) {
  const Integer least = std::is_signed_v<T> ? Integer(int64_t{std::numeric_limits<T>::min()}) : Integer(0);
  return !(a < least) && !(Integer(uint64_t(std::numeric_limits<T>::max())) < a);
}
Integer of_double(double x) {
  int exponent;
  const auto mantissa = static_cast<int64_t>(std::ldexp(std::frexp(x, &exponent), 53));
  exponent -= 53;
  return exponent >= 0 ? Integer(mantissa) * Integer::power_of_two(static_cast<uint64_t>(exponent))
                       : Integer(mantissa) / Integer::power_of_two(static_cast<uint64_t>(-exponent));
}
double to_double(Big a) {
  if (a.bits() > 1024) return a.sign() < 0 ? -HUGE_VAL : HUGE_VAL;
  const uint64_t cut = a.bits() > 53 ? a.bits() - 53 : 0;
  const double top = static_cast<double>(magnitude64(a / Integer::power_of_two(cut)));
  return a.sign() * std::ldexp(top, static_cast<int>(cut));
}
int compare_double(Big a, double b) {
  if (std::isinf(b)) return b > 0 ? -1 : 1;
  const Integer whole = of_double(std::trunc(b));
  if (a != whole) return compare(a, whole);
  const double part = b - std::trunc(b);
  return (part < 0) - (part > 0);
}

// ---- The table ----------------------------------------------------------------------------------------------------

#define OPERATION(name) #name, &tnk_gmp___gmpz_##name

const std::vector<Operation> &operations() {
  static const std::vector<Operation> table = [] {
    std::vector<Operation> rows;
    const auto add = [&rows](const char *name, auto function, auto meaning) {
      rows.push_back(operation(name, function, meaning));
    };
    // Assignment.
    add(OPERATION(set), [](Integer &r, Big a) { r = a; });
    add(OPERATION(set_ui), [](Integer &r, uint64_t a) { r = a; });
    add(OPERATION(set_si), [](Integer &r, int64_t a) { r = a; });
    add(OPERATION(set_d), [](Integer &r, double a) { require(std::isfinite(a)), r = of_double(a); });
    add(OPERATION(swap), [](Integer &a, Integer &b) { std::swap(a, b); });
    add(OPERATION(get_ui), [](Big a) { return magnitude64(a); });
    add(OPERATION(get_si), [](Big a) {
      const auto low = static_cast<int64_t>(magnitude64(a) & INT64_MAX);
      return a.sign() >= 0 ? low : low == 0 ? INT64_MIN : -low;
    });
    add(OPERATION(get_d), [](Big a) { return to_double(a); });
    add(OPERATION(getlimbn), [](Big a, int64_t n) {
      return n >= 0 && uint64_t(n) < a.limbs().size() ? a.limbs()[std::size_t(n)] : 0;
    });
    add(OPERATION(size), [](Big a) { return a.limbs().size(); });
    add(OPERATION(fits_sint_p), [](Big a) { return fits<int>(a); });
    add(OPERATION(fits_slong_p), [](Big a) { return fits<int64_t>(a); });
    add(OPERATION(fits_sshort_p), [](Big a) { return fits<short>(a); });
    add(OPERATION(fits_uint_p), [](Big a) { return fits<unsigned>(a); });
    add(OPERATION(fits_ulong_p), [](Big a) { return fits<uint64_t>(a); });
    add(OPERATION(fits_ushort_p), [](Big a) { return fits<unsigned short>(a); });
    // Arithmetic.
    add(OPERATION(abs), [](Integer &r, Big a) { r = a.magnitude(); });
    add(OPERATION(neg), [](Integer &r, Big a) { r = -a; });
    add(OPERATION(add), [](Integer &r, Big a, Big b) { r = a + b; });
    add(OPERATION(add_ui), [](Integer &r, Big a, uint64_t b) { r = a + Integer(b); });
    add(OPERATION(sub), [](Integer &r, Big a, Big b) { r = a - b; });
    add(OPERATION(sub_ui), [](Integer &r, Big a, uint64_t b) { r = a - Integer(b); });
    add(OPERATION(ui_sub), [](Integer &r, uint64_t a, Big b) { r = Integer(a) - b; });
    add(OPERATION(mul), [](Integer &r, Big a, Big b) { r = a * b; });
    add(OPERATION(mul_ui), [](Integer &r, Big a, uint64_t b) { r = a * Integer(b); });
    add(OPERATION(mul_si), [](Integer &r, Big a, int64_t b) { r = a * Integer(b); });
    add(OPERATION(mul_2exp),
        [](Integer &r, Big a, uint64_t bits) { require(bits < 500), r = a * Integer::power_of_two(bits); });
    add(OPERATION(addmul), [](Integer &r, Big a, Big b) { r = r + a * b; });
    add(OPERATION(addmul_ui), [](Integer &r, Big a, uint64_t b) { r = r + a * Integer(b); });
    add(OPERATION(submul), [](Integer &r, Big a, Big b) { r = r - a * b; });
    add(OPERATION(submul_ui), [](Integer &r, Big a, uint64_t b) { r = r - a * Integer(b); });
    // Divisions.
#define DIVISIONS(letter, quotient)                                                                          \
  add(OPERATION(letter##div_q), [](Integer &q, Big n, Big d) { q = quotient(n, d); });                       \
  add(OPERATION(letter##div_r), [](Integer &r, Big n, Big d) { r = n - quotient(n, d) * d; });               \
  add(OPERATION(letter##div_qr), [](Integer &q, Integer &r, Big n, Big d) {                                  \
    const Integer whole = quotient(n, d);                                                                    \
    r = n - whole * d, q = whole;                                                                            \
  });                                                                                                        \
  add(OPERATION(letter##div_q_ui), [](Integer &q, Big n, uint64_t d) {                                       \
    q = quotient(n, d);                                                                                      \
    return magnitude64(n - q * Integer(d));                                                                  \
  });                                                                                                        \
  add(OPERATION(letter##div_r_ui), [](Integer &r, Big n, uint64_t d) {                                       \
    r = n - quotient(n, d) * Integer(d);                                                                     \
    return magnitude64(r);                                                                                   \
  });                                                                                                        \
  add(OPERATION(letter##div_qr_ui), [](Integer &q, Integer &r, Big n, uint64_t d) {                          \
    const Integer whole = quotient(n, d);                                                                    \
    r = n - whole * Integer(d), q = whole;                                                                   \
    return magnitude64(r);                                                                                   \
  });                                                                                                        \
  add(OPERATION(letter##div_ui),                                                                             \
      [](Big n, uint64_t d) { return magnitude64(n - quotient(n, d) * Integer(d)); });                       \
  add(OPERATION(letter##div_q_2exp), [](Integer &q, Big n, uint64_t bits) {                                  \
    require(bits < 500), q = quotient(n, Integer::power_of_two(bits));                                       \
  });                                                                                                        \
  add(OPERATION(letter##div_r_2exp), [](Integer &r, Big n, uint64_t bits) {                                  \
    require(bits < 500);                                                                                     \
    r = n - quotient(n, Integer::power_of_two(bits)) * Integer::power_of_two(bits);                          \
  });
    DIVISIONS(t, cut_quotient)
    DIVISIONS(f, floor_quotient)
    DIVISIONS(c, ceiling_quotient)
#undef DIVISIONS
    add(OPERATION(mod), [](Integer &r, Big n, Big d) { r = modulo(n, d); });
    add(OPERATION(mod_ui), [](Integer &r, Big n, uint64_t d) { return r = modulo(n, d), r.low(); });
    add(OPERATION(divexact), [](Integer &q, Big n, Big d) { require(d != 0 && n % d == 0), q = n / d; });
    add(OPERATION(divexact_ui),
        [](Integer &q, Big n, uint64_t d) { require(d != 0 && n % Integer(d) == 0), q = n / Integer(d); });
    const auto congruent = [](Big a, Big b, Big d) -> int { return d == 0 ? a == b : (a - b) % d == 0; };
    add(OPERATION(divisible_p), [=](Big n, Big d) { return congruent(n, 0, d); });
    add(OPERATION(divisible_ui_p), [=](Big n, uint64_t d) { return congruent(n, 0, d); });
    add(OPERATION(divisible_2exp_p), [](Big n, uint64_t bits) -> int { return scan(n, 0, true) >= bits; });
    add(OPERATION(congruent_p), [=](Big n, Big c, Big d) { return congruent(n, c, d); });
    add(OPERATION(congruent_ui_p), [=](Big n, uint64_t c, uint64_t d) { return congruent(n, c, d); });
    add(OPERATION(congruent_2exp_p),
        [](Big n, Big c, uint64_t bits) -> int { return scan(n - c, 0, true) >= bits; });
    // Powers and roots.
    add(OPERATION(pow_ui), [](Integer &r, Big b, uint64_t e) { require(e < 20), r = power(b, e); });
    add(OPERATION(ui_pow_ui), [](Integer &r, uint64_t b, uint64_t e) { require(e < 20), r = power(b, e); });
    add(OPERATION(powm), [](Integer &r, Big b, Big e, Big m) {
      require(m != 0 && e.bits() < 400);
      if (e.sign() >= 0)
        r = power_modulo(b, e, m);
      else if (gcd(b, m) == 1)
        r = divisor_and_inverse(power_modulo(b, -e, m), m).second;
    });
    add(OPERATION(powm_ui), [](Integer &r, Big b, uint64_t e, Big m) {
      require(m != 0 && (e < 20 || b.bits() < 65)), r = power_modulo(b, e, m);
    });
    add(OPERATION(sqrt), [](Integer &s, Big a) { require(a.sign() >= 0), s = root(a, 2); });
    add(OPERATION(sqrtrem), [](Integer &s, Integer &r, Big a) {
      require(a.sign() >= 0);
      const Integer whole = root(a, 2);
      r = a - whole * whole, s = whole;
    });
    add(OPERATION(root), [](Integer &r, Big a, uint64_t n) -> int {
      require(n > 0 && n < 200 && (a.sign() >= 0 || n % 2 == 1));
      const Integer whole = root(a, n);
      const bool exact = power(whole, n) == a;
      return r = whole, exact;
    });
    add(OPERATION(perfect_square_p), [](Big a) -> int { return a.sign() >= 0 && power(root(a, 2), 2) == a; });
    add(OPERATION(perfect_power_p), [](Big a) -> int {
      require(a.bits() < 260);
      bool found = a.magnitude().bits() <= 1;
      for (uint64_t e = a.sign() < 0 ? 3 : 2; e <= a.bits() && !found; e += a.sign() < 0 ? 2 : 1)
        found = power(root(a, e), e) == a;
      return found;
    });
    // Number theory.
    add(OPERATION(gcd), [](Integer &r, Big a, Big b) { r = gcd(a, b); });
    add(OPERATION(gcd_ui), [](Integer &r, Big a, uint64_t b) {
      r = gcd(a, b);
      return r.bits() <= 64 ? r.low() : 0;
    });
    add(OPERATION(gcdext), [](Integer &g, Integer &s, Integer &t, Big a, Big b) {
      auto [d, u] = divisor_and_inverse(a.magnitude(), b);
      if (a.magnitude() == b.magnitude()) {
        u = 0;
      } else if (b != 0) {
        const Integer m = b.magnitude() / d;
        u = modulo(u, m);
        if (m < u + u) u = u - m;
      }
      u = a.sign() < 0 ? -u : u;
      const Integer w = b == 0 ? 0 : (d - a * u) / b;
      g = d, s = u, t = w;
    });
    add(OPERATION(lcm),
        [](Integer &r, Big a, Big b) { r = a == 0 || b == 0 ? 0 : (a / gcd(a, b) * b).magnitude(); });
    add(OPERATION(lcm_ui), [](Integer &r, Big a, uint64_t b) {
      r = a == 0 || b == 0 ? 0 : (a / gcd(a, b) * Integer(b)).magnitude();
    });
    add(OPERATION(invert), [](Integer &r, Big a, Big m) -> int {
      require(m != 0);
      const auto [d, inverse] = divisor_and_inverse(modulo(a, m), m);
      return d == 1 ? r = inverse, 1 : 0;
    });
    add(OPERATION(jacobi), [](Big a, Big b) { return kronecker(a, b); });
    add(OPERATION(kronecker_si), [](Big a, int64_t b) { return kronecker(a, b); });
    add(OPERATION(kronecker_ui), [](Big a, uint64_t b) { return kronecker(a, b); });
    add(OPERATION(si_kronecker), [](int64_t a, Big b) { return kronecker(a, b); });
    add(OPERATION(ui_kronecker), [](uint64_t a, Big b) { return kronecker(a, b); });
    add(OPERATION(remove), [](Integer &r, Big a, Big f) -> uint64_t {
      require(1 < f.magnitude().bits());
      Integer rest = a;
      uint64_t count = 0;
      for (; rest != 0 && rest % f == 0; ++count) rest = rest / f;
      return r = rest, count;
    });
    add(OPERATION(fac_ui), [](Integer &r, uint64_t n) { require(n < 200), r = falling(n, n); });
    add(OPERATION(bin_ui), [](Integer &r, Big n, uint64_t k) {
      require(k < 20 && n.bits() < 260), r = falling(n, k) / falling(k, k);
    });
    add(OPERATION(bin_uiui), [](Integer &r, uint64_t n, uint64_t k) {
      require(k < 70 || n < 200);
      r = k > n ? 0 : falling(n, std::min(k, n - k)) / falling(std::min(k, n - k), std::min(k, n - k));
    });
    add(OPERATION(fib_ui), [](Integer &f, uint64_t n) { require(n < 200), f = sum_sequence(1, 0, n); });
    add(OPERATION(fib2_ui), [](Integer &f, Integer &before, uint64_t n) {
      require(n < 200);
      f = sum_sequence(1, 0, n), before = sum_sequence(-1, 1, n);
    });
    add(OPERATION(lucnum_ui), [](Integer &l, uint64_t n) { require(n < 200), l = sum_sequence(-1, 2, n); });
    add(OPERATION(lucnum2_ui), [](Integer &l, Integer &before, uint64_t n) {
      require(n < 200);
      l = sum_sequence(-1, 2, n), before = sum_sequence(3, -1, n);
    });
    // Bits.
    add(OPERATION(and),
        [](Integer &r, Big a, Big b) { r = bitwise(a, b, [](bool x, bool y) { return x && y; }); });
    add(OPERATION(ior),
        [](Integer &r, Big a, Big b) { r = bitwise(a, b, [](bool x, bool y) { return x || y; }); });
    add(OPERATION(xor),
        [](Integer &r, Big a, Big b) { r = bitwise(a, b, [](bool x, bool y) { return x != y; }); });
    add(OPERATION(com), [](Integer &r, Big a) { r = -a - 1; });
    add(OPERATION(tstbit), [](Big a, uint64_t bit) -> int { return a.bit(bit); });
    add(OPERATION(setbit), [](Integer &r, uint64_t bit) {
      require(bit < 500), r = r.bit(bit) ? r : r + Integer::power_of_two(bit);
    });
    add(OPERATION(clrbit), [](Integer &r, uint64_t bit) {
      require(bit < 500), r = r.bit(bit) ? r - Integer::power_of_two(bit) : r;
    });
    add(OPERATION(scan0), [](Big a, uint64_t start) { return scan(a, start, false); });
    add(OPERATION(scan1), [](Big a, uint64_t start) { return scan(a, start, true); });
    const auto differing = [](Big a, Big b) {
      uint64_t count = 0;
      for (uint64_t i = 0; i < std::max(a.bits(), b.bits()); ++i) count += a.bit(i) != b.bit(i);
      return (a.sign() < 0) != (b.sign() < 0) ? UINT64_MAX : count;
    };
    add(OPERATION(popcount), [=](Big a) { return differing(a, 0); });
    add(OPERATION(hamdist), [=](Big a, Big b) { return differing(a, b); });
    // Comparison.
    add(OPERATION(cmp), [](Big a, Big b) { return compare(a, b); });
    add(OPERATION(cmp_d), [](Big a, double b) { return compare_double(a, b); });
    add(OPERATION(cmp_si), [](Big a, int64_t b) { return compare(a, b); });
    add(OPERATION(cmp_ui), [](Big a, uint64_t b) { return compare(a, b); });
    add(OPERATION(cmpabs), [](Big a, Big b) { return compare_magnitudes(a, b); });
    add(OPERATION(cmpabs_d), [](Big a, double b) { return compare_double(a.magnitude(), std::fabs(b)); });
    add(OPERATION(cmpabs_ui), [](Big a, uint64_t b) { return compare_magnitudes(a, b); });
    add(OPERATION(sgn), [](Big a) { return a.sign(); });
    return rows;
  }();
  return table;
}

// What stands below them: of magnitudes, whatever the signs of their records; moduli without their sign.
const Operation beside[] = {
    operation("magnitudes_div_q", &tnk_gmp_tnk_gmp_div_q,
              [](Integer &q, Big n, Big d) { q = cut_quotient(n, d).magnitude(); }),
    operation("magnitudes_div_r", &tnk_gmp_tnk_gmp_div_r,
              [](Integer &r, Big n, Big d) { require(d != 0), r = (n % d).magnitude(); }),
    operation("magnitudes_div_qr", &tnk_gmp_tnk_gmp_div_qr,
              [](Integer &q, Integer &r, Big n, Big d) {
                q = cut_quotient(n, d).magnitude(), r = (n % d).magnitude();
              }),
    operation("magnitudes_divqr_2exp", &tnk_gmp_tnk_gmp_divqr_2exp,
              [](Integer &q, Integer &r, Big n, uint64_t bits) {
                require(bits < 4000);
                const Integer d = Integer::power_of_two(bits);
                q = (n / d).magnitude(), r = (n % d).magnitude();
              }),
    operation("powm_mary", &tnk_gmp_mpz_powm_mary,
              [](Integer &r, Big b, Big e, Big m) {
                require(m != 0 && e.sign() >= 0 && e.bits() < 130 && m.bits() < 500);
                r = power_modulo(b, e, m);
              }),
    operation("powm_exp2", &tnk_gmp_mpl_powm_exp2,
              [](Integer &r, Big b, Big e, uint64_t bits) {
                require(e.sign() >= 0 && e.bits() < 130 && bits < 500);
                r = power_modulo(b, e, Integer::power_of_two(bits));
              }),
    operation("jacobi_base", &tnk_gmp_mpn_jacobi_base,
              [](uint64_t a, uint64_t b) { return require(b % 2 == 1), kronecker(a, b); }),
};

// Every value with every other, in every way of sharing records; then longer ones at random.
void expect_meaning(const Operation &operation, Random &random, int longest, int rounds, int least) {
  int defined = 0;
  Choices all, some(random, longest);
  if (operation.short_list) do
      defined += operation.run(all);
    while (!testing::Test::HasFailure() && all.next());
  for (int i = 0; i < rounds && !testing::Test::HasFailure(); ++i) defined += operation.run(some);
  EXPECT_GT(defined, least) << operation.name;
}
TEST(Integers, MeanWhatTheirNamesSay) {
  Random random(19);
  for (const Operation &operation : operations())
    if (!HasFailure()) expect_meaning(operation, random, 14, operation.short_list ? 150 : 600, 10);
  for (const Operation &operation : beside) // at the lengths where methods change
    if (!HasFailure()) expect_meaning(operation, random, operation.name[0] == 'm' ? 60 : 8, 700, 100);
}

} // namespace
} // namespace tnk::test
