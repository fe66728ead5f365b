// Public integers: what they compute, what they refuse, and what they do without memory.
#include "integer/budget.h"
#include "support/error_recorder.h"
#include "support/random.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>
#include <thread>
#include <tnk/integer.hpp>

namespace tnk::test {
namespace {

Integer random_integer(Random &random, int limbs) {
  Integer r;
  for (int i = 0; i < limbs; ++i)
    r = (r << 64) + Integer(static_cast<uint64_t>(random.integer(INT64_MIN, INT64_MAX)));
  return r;
}
std::string kernel_text(const Integer &a, int base) {
  std::string text(tnk_gmp___gmpz_sizeinbase(a.record(), base) + 2, '\0');
  return tnk_gmp___gmpz_get_str(text.data(), base, a.record());
}

TEST(Integers, GoToTextAndBack) {
  Random random(7);
  const Integer limb = Integer(1) << 64;
  for (const int base : {2, 3, 4, 7, 8, 10, 16, 32, 35, 36})
    for (const int n : {0, 1, 2, 3, 29, 30, 31, 60, 61, 130, 400}) {
      // On both sides of each length at which texts are cut: powers of the base and one less.
      const Integer power = pow(base, static_cast<uint64_t>(n) * 19);
      for (const Integer &a :
           {random_integer(random, n), pow(limb, static_cast<uint64_t>(n)) - 1, power, power - 1}) {
        const std::string text = a.text(base);
        EXPECT_TRUE(n > 70 || text == kernel_text(a, base)) << base; // which goes digit by digit
        EXPECT_EQ(Integer("-000" + text, base), -a) << base << ' ' << n;
        EXPECT_EQ((-a).text(base), (a.sign() ? "-" : "") + text);
      }
    }
  EXPECT_EQ(Integer("ZzZ", 36).text(36), "zzz");
  const Integer a("-123456789012345678901234567890");
  std::stringstream stream;
  stream << a << ' ' << std::hex << a << ' ' << std::showpos << std::oct << -a << std::dec << std::setw(4)
         << Integer(7);
  EXPECT_EQ(stream.str(), "-123456789012345678901234567890 -18ee90ff6c373e0ee4e3f0ad2 "
                          "+143564417755415637016711617605322  +7");
  Integer b, c = 5;
  std::istringstream in(" -77;+ff x");
  in >> b;
  EXPECT_EQ(b, -77);
  in.get();
  EXPECT_TRUE(in >> std::hex >> b);
  EXPECT_EQ(b, 255);
  EXPECT_FALSE(in >> c);
  EXPECT_EQ(c, 5);
}

TEST(Integers, AreValues) {
  Random random(3);
  for (int i = 0; i < 40; ++i) {
    const Integer a = random_integer(random, i), b = random_integer(random, 1 + i / 3) + 1, m = (b << 1) + 1;
    const auto [q, r] = divide(-a, b);
    EXPECT_EQ(q * b + r, -a);
    EXPECT_TRUE(abs(r) < b && r.sign() <= 0);
    EXPECT_EQ(floor_divide(-a, b).first, -((a + b - 1) / b));
    EXPECT_EQ((a + b) * (a - b), a * a - b * b);
    EXPECT_EQ((a & b) + (a | b), a + b);
    EXPECT_EQ((a ^ b) + ((a & b) << 1), a + b);
    EXPECT_EQ(~a >> 7, ~(a >> 7));
    EXPECT_EQ(gcd(a, b) * lcm(a, b), a * b);
    EXPECT_EQ(pow(b, 3, m), b * b * b % m);
    EXPECT_EQ(pow(2, -3, m) * 8 % m, 1);
    EXPECT_EQ(inverse(2, m) * 2 % m, 1);
    EXPECT_TRUE(sqrt(a) * sqrt(a) <= a && pow(sqrt(a) + 1, 2) > a);
    EXPECT_EQ(root(-pow(b, 3), 3), -b);
    Integer g, s, t, square, rest;
    Integer::expect(tnk_integer_gcd_extended(g.record(), s.record(), t.record(), a.record(), b.record()));
    EXPECT_EQ(a * s + b * t, g);
    Integer::expect(tnk_integer_sqrt(square.record(), rest.record(), a.record()));
    EXPECT_EQ(square * square + rest, a);
  }
  EXPECT_EQ(factorial(30) / factorial(20) / factorial(10), binomial(30, 10));
  EXPECT_EQ(Integer(std::int64_t{INT64_MIN}), -(Integer(1) << 63));
  EXPECT_EQ(static_cast<int64_t>(Integer(INT64_MIN)), INT64_MIN);
  EXPECT_EQ(Integer(UINT64_MAX) + 1, Integer(1) << 64);
  EXPECT_EQ(Integer(-1e30).text(), "-1000000000000000019884624838656");
  EXPECT_EQ(static_cast<double>(Integer(1) << 1023), 0x1p1023);
  EXPECT_EQ((Integer(1) << 100).bits(), 101u);
  int symbol;
  Integer::expect(tnk_integer_kronecker(&symbol, Integer(5).record(), Integer(21).record()));
  EXPECT_EQ(symbol, 1);
  Integer a = 3, b = std::move(a);
  a = b, b = a + std::move(b);
  a -= a;
  EXPECT_TRUE(!a && b == 6 && ++b > 6 && --b != 7 && a <= b && b >= a && a < b);
}

TEST(Integers, AreRefused) {
  const Integer seven = 7, minus = -4, zero, huge = Integer(1) << 1000;
  const tnk_integer *const a = seven.record(), *const m = minus.record(), *const z = zero.record();
  Integer out = 99, out2 = 98;
  tnk_integer *const r = out.record(), *const s = out2.record();
  std::size_t room;
  char text[8] = "as was";
  int number = 5;
  std::int64_t value = 5;
  const struct {
    std::function<tnk_integer_result()> call;
    const char *message;
  } rows[] = {
      {[&] { return tnk_integer_add(nullptr, a, a); }, "add: argument 1 (r) is a null address"},
      {[&] { return tnk_integer_negate(r, nullptr); }, "negate: argument 2 (a) is a null address"},
      {[&] { return tnk_integer_gcd(r, a, nullptr); }, "gcd: argument 3 (b) is a null address"},
      {[&] { return tnk_integer_multiply(r, a, nullptr); }, "multiply: argument 3 (b) is a null address"},
      {[&] { return tnk_integer_clear(nullptr); }, "clear: argument 1 (r) is a null address"},
      {[&] { return tnk_integer_compare(&number, nullptr, a); }, "compare: argument 2 (a) is a null address"},
      {[&] { return tnk_integer_set_double(r, NAN); },
       "set_double: argument 2 (value) is nan, expected a finite"},
      {[&] { return tnk_integer_set_double(r, -INFINITY); }, "set_double: argument 2 (value) is -inf"},
      {[&] { return tnk_integer_get_int(&value, huge.record()); }, "get_int: argument 2 (a) is too large"},
      {[&] { return tnk_integer_divide(nullptr, nullptr, a, a); },
       "divide: argument 1 (q) is a null address"},
      {[&] { return tnk_integer_divide(r, r, a, a); }, "divide: argument 2 (r) is the same integer"},
      {[&] { return tnk_integer_floor_divide(r, s, a, z); },
       "floor_divide: argument 4 (d) is 0, expected an"},
      {[&] { return tnk_integer_power_modulo(r, a, a, z); }, "power_modulo: argument 4 (m) is 0"},
      {[&] { return tnk_integer_power_modulo(r, m, m, m); },
       "power_modulo: argument 2 (b) is without an inverse"},
      {[&] { return tnk_integer_inverse(r, m, huge.record()); },
       "inverse: argument 2 (a) is without an inverse"},
      {[&] { return tnk_integer_inverse(r, a, z); }, "inverse: argument 3 (m) is 0"},
      {[&] { return tnk_integer_sqrt(r, s, m); }, "sqrt: argument 3 (a) is below 0"},
      {[&] { return tnk_integer_sqrt(r, r, a); }, "sqrt: argument 2 (r) is the same integer"},
      {[&] { return tnk_integer_root(r, m, 4); }, "root: argument 2 (a) is below 0"},
      {[&] { return tnk_integer_root(r, a, 0); }, "root: argument 3 (n) is 0"},
      {[&] { return tnk_integer_gcd_extended(r, s, s, a, m); },
       "gcd_extended: argument 3 (t) is the same integer"},
      {[&] { return tnk_integer_set_text(r, "12", 1); },
       "set_text: argument 3 (base) is 1, expected 2 to 36"},
      {[&] { return tnk_integer_set_text(r, "-12x4", 10); }, "set_text: argument 2 (text) is 'x' at 3"},
      {[&] { return tnk_integer_set_text(r, "1 2", 10); }, "set_text: argument 2 (text) is the byte 32 at 1"},
      {[&] { return tnk_integer_set_text(r, "-", 10); }, "set_text: argument 2 (text) is without digits"},
      {[&] { return tnk_integer_set_text(r, "", 10); }, "set_text: argument 2 (text) is without digits"},
      {[&] { return tnk_integer_set_text(r, "2", 2); }, "set_text: argument 2 (text) is '2' at 0"},
      {[&] { return tnk_integer_text_room(&room, a, 37); }, "text_room: argument 3 (base) is 37"},
      {[&] { return tnk_integer_get_text(text, 8, huge.record(), 10); },
       "get_text: argument 2 (room) is too little"},
      // Past 2^31 - 1 limbs, without work.
      {[&] { return tnk_integer_power(r, a, UINT64_MAX); }, "power: argument 3 (e) is too large"},
      {[&] { return tnk_integer_shift_left(r, a, UINT64_MAX); },
       "shift_left: argument 3 (bits) is too large"},
      {[&] { return tnk_integer_factorial(r, UINT64_MAX); }, "factorial: argument 2 (n) is too large"},
      {[&] { return tnk_integer_binomial(r, UINT64_MAX, UINT64_MAX / 2); },
       "binomial: argument 3 (k) is too large"},
  };
  ErrorRecorder recorder;
  for (const auto &row : rows) {
    EXPECT_EQ(row.call(), TNK_INTEGER_BAD_ARGUMENT) << row.message;
    const std::string message = recorder.bad_argument();
    EXPECT_EQ(message.find("tnk_integer_" + std::string(row.message)), 0u) << row.message << "\n" << message;
  }
  EXPECT_TRUE(out == 99 && out2 == 98 && number == 5 && value == 5 && std::string(text) == "as was");
  EXPECT_EQ(pow(Integer(-1), UINT64_MAX), -1); // these are not too large
  EXPECT_EQ(zero << UINT64_MAX, 0);
  EXPECT_EQ(binomial(UINT64_MAX, UINT64_MAX - 1).text(), "18446744073709551615");
  EXPECT_EQ(seven >> UINT64_MAX, 0);
  EXPECT_THROW(Integer("4x"), IntegerError);
  EXPECT_THROW(seven / zero, IntegerError);
  EXPECT_THROW(Integer(std::string("4\0", 2)), IntegerError);
}

// With each amount of memory a call is either done and right, or refused with its output as it was, and nothing is lost.
// What it asks for beforehand is enough for all that follows: with not a byte more it is done.
TEST(Integers, AskForMemoryFirst) {
  Random random(5);
  const auto number = [&](int limbs) { return random_integer(random, limbs); };
  const Integer two = 2, minus = -9, a1 = number(30), b1 = number(12), a2 = number(700), b2 = number(300),
                short_one = number(2), odd = number(40) * 2 + 1;
  const Integer a3 = pow(Integer(3), 400000), b3 = pow(Integer(5), 300000); // products by transforms
  const Integer a4 = pow(Integer(2), 64 * 18597 + 1) - 1,
                b4 = pow(Integer(2), 64 * 10040 + 1) - 1; // slow lengths
  const std::string long_text = a2.text();
  using Out = tnk_integer *;
  const struct {
    const char *name;
    std::function<tnk_integer_result(Out)> call;
  } rows[] = {
      {"set", [&](Out r) { return tnk_integer_set(r, a1.record()); }},
      {"add", [&](Out r) { return tnk_integer_add(r, r, a2.record()); }},
      {"multiply", [&](Out r) { return tnk_integer_multiply(r, a1.record(), b1.record()); }},
      {"multiply by 0", [&](Out r) { return tnk_integer_multiply(r, Integer().record(), two.record()); }},
      {"multiply more", [&](Out r) { return tnk_integer_multiply(r, a2.record(), b2.record()); }},
      {"multiply into an operand", [&](Out r) { return tnk_integer_multiply(r, r, a2.record()); }},
      {"multiply by transforms", [&](Out r) { return tnk_integer_multiply(r, a3.record(), b3.record()); }},
      {"multiply by transforms of two lengths",
       [&](Out r) { return tnk_integer_multiply(r, a4.record(), b4.record()); }},
      {"square by transforms", [&](Out r) { return tnk_integer_multiply(r, a3.record(), a3.record()); }},
      {"divide", [&](Out r) { return tnk_integer_divide(r, nullptr, a2.record(), b2.record()); }},
      {"floor_divide", [&](Out r) { return tnk_integer_floor_divide(nullptr, r, a2.record(), b2.record()); }},
      {"divide more", [&](Out r) { return tnk_integer_divide(r, nullptr, a3.record(), b3.record()); }},
      {"shift_left", [&](Out r) { return tnk_integer_shift_left(r, a1.record(), 10000); }},
      {"power", [&](Out r) { return tnk_integer_power(r, a1.record(), 37); }},
      {"power_modulo",
       [&](Out r) { return tnk_integer_power_modulo(r, a2.record(), b1.record(), odd.record()); }},
      {"even modulus",
       [&](Out r) { return tnk_integer_power_modulo(r, a2.record(), b1.record(), a1.record()); }},
      {"inverse",
       [&](Out r) { return tnk_integer_power_modulo(r, two.record(), minus.record(), odd.record()); }},
      {"sqrt", [&](Out r) { return tnk_integer_sqrt(r, nullptr, a2.record()); }},
      {"root", [&](Out r) { return tnk_integer_root(r, a2.record(), 5); }},
      {"short root", [&](Out r) { return tnk_integer_root(r, short_one.record(), 3); }},
      {"not", [&](Out r) { return tnk_integer_not(r, Integer().record()); }},
      {"gcd", [&](Out r) { return tnk_integer_gcd(r, a2.record(), b2.record()); }},
      {"lcm", [&](Out r) { return tnk_integer_lcm(r, a2.record(), b2.record()); }},
      {"factorial", [&](Out r) { return tnk_integer_factorial(r, 3000); }},
      {"binomial", [&](Out r) { return tnk_integer_binomial(r, 3000, 1400); }},
      {"set_text", [&](Out r) { return tnk_integer_set_text(r, long_text.c_str(), 10); }},
      {"get_text",
       [&](Out r) {
         std::string text(long_text.size() + 3, '\0');
         const auto result = tnk_integer_get_text(text.data(), text.size(), a2.record(), 10);
         EXPECT_TRUE(result != TNK_INTEGER_DONE || text.c_str() == long_text);
         return result == TNK_INTEGER_DONE ? tnk_integer_set_int(r, 1) : result;
       }},
  };
  ErrorRecorder recorder;
  for (const auto &row : rows) {
    Integer expected = 5;
    budget.asked = 0;
    ASSERT_EQ(row.call(expected.record()), TNK_INTEGER_DONE) << row.name;
    const std::int64_t asked = budget.asked, blocks = budget.blocks;
    ASSERT_GT(asked, 0) << row.name;
    for (int eighths = 0; eighths <= 8; ++eighths) {
      Integer r = 5;
      budget.limit = budget.held + asked * eighths / 8;
      recorder.take();
      const tnk_integer_result result = row.call(r.record());
      budget.limit = INT64_MAX;
      EXPECT_EQ(result, eighths == 8 ? TNK_INTEGER_DONE : TNK_INTEGER_NO_MEMORY)
          << row.name << ' ' << eighths;
      EXPECT_EQ(recorder.last().kind, result == TNK_INTEGER_DONE ? 0 : TNK_ERROR_MEMORY) << row.name;
      EXPECT_EQ(r, result == TNK_INTEGER_DONE ? expected : Integer(5)) << row.name;
    }
    EXPECT_EQ(budget.blocks, blocks) << row.name << " loses memory";
  }
  budget.limit = 0;
  EXPECT_THROW(a1 + b1, std::bad_alloc);
  budget.limit = INT64_MAX;
}

TEST(Integers, WorkOnSeveralThreads) {
  std::string texts[4];
  std::vector<std::thread> threads;
  for (auto &text : texts) threads.emplace_back([&text] { text = (factorial(3000) / pow(7, 400)).text(); });
  for (auto &thread : threads) thread.join();
  for (const auto &text : texts) EXPECT_EQ(text, (factorial(3000) / pow(7, 400)).text());
}

} // namespace
} // namespace tnk::test
