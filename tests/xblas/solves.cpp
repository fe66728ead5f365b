// Triangular solves against wider arithmetic.
#include "support/allocations.h"
#include "tests/xblas/problem.h"

namespace {

using namespace tnk::test;

Value operator*(Value a, Value b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
Value operator-(Value a, Value b) {
  return {a.re - b.re, a.im - b.im};
}
Value operator/(Value a, Value b) {
  const Wide d = b.re * b.re + b.im * b.im;
  return {(a.re * b.re + a.im * b.im) / d, (a.im * b.re - a.re * b.im) / d};
}
double modulus(Value a) {
  return std::hypot(static_cast<double>(a.re), static_cast<double>(a.im));
}
double modulus(Number a) {
  return std::hypot(a.real(), a.imag());
}

// All 24: alpha b - T x is no more than the roundings of x and of its sums, so that x solves a system close by; in pairs
// x is the solution itself, rounded.
TEST(XblasSolves, AreRightToTheirPrecision) {
  Maker maker(8);
  for (const Routine &r : routines()) {
    if (!r.solves()) continue;
    for (int round = 0; round < 40; ++round)
      for (int32_t prec = r.has_prec ? 211 : 212; prec <= (r.has_prec ? 214 : 212); ++prec) {
        const int32_t order = round % 2 ? 101 : 102;
        Problem p = maker.make(r, Data::random, order);
        Array &x = *p.arguments.arrays.at('y');
        const auto before = x.bytes();
        allocations.reset();
        call(value_prefix, r, p.arguments, prec);
        const bool asks = prec == 214 && p.arguments['n'] > 0 && p.arguments.alpha != 0.0;
        ASSERT_EQ(allocations.made, asks ? 2 : 0) << r.name << " " << prec;
        ASSERT_EQ(allocations.largest, asks ? p.arguments['n'] * (is_pair(r.result) ? 16 : 8) : 0) << r.name;
        ASSERT_EQ(allocations.live + allocations.overrun, 0) << r.name;
        const double u = prec == 211 && is_short(r.result) ? 0x1p-24 : 0x1p-53,
                     stored = is_short(r.result) ? 0x1p-24 : 0x1p-53;
        const Number alpha = p.arguments.alpha;
        // A result's list is its row of op(T): the diagonal is where it has its own place, the last or the first one.
        const std::size_t n = p.results.size();
        std::vector<Value> exact(n);
        std::vector<double> growth(n); // sums of magnitudes, carried along
        const bool upwards = (p.arguments['u'] == 121) == (p.arguments['t'] == 111);
        for (std::size_t done = 0; done < n; ++done) {
          const std::size_t i = upwards ? n - 1 - done : done;
          const auto &row = p.results[i].products;
          const std::size_t others = row.size() - 1, from = upwards ? i + 1 : i - others;
          const Number diagonal = (upwards ? row.front() : row.back()).a;
          const Number b = (upwards ? row.front() : row.back()).x, found = x.get(p.results[i].place);
          Value left = Value(alpha) * Value(b), residual = left;
          double sizes = modulus(left), carried = modulus(left);
          for (std::size_t k = 0; k < others; ++k) {
            const Number t = row[upwards ? k + 1 : k].a, known = x.get(p.results[from + k].place);
            left = left - Value(t) * exact[from + k];
            residual = residual - Value(t) * Value(known);
            sizes += modulus(t) * modulus(known), carried += modulus(t) * growth[from + k];
          }
          exact[i] = left / Value(diagonal), growth[i] = carried / modulus(diagonal);
          residual = residual - Value(diagonal) * Value(found);
          sizes += modulus(diagonal) * modulus(found);
          if (!std::isfinite(sizes)) break; // a float that overflowed
          const double steps = static_cast<double>(others) + 8;
          ASSERT_LE(modulus(residual), (prec == 214 ? stored : u * steps * 2 + stored) * sizes + 1e-30)
              << r.name << " " << prec << " " << i;
          if (prec == 214) {
            ASSERT_LE(modulus(Value(found) - exact[i]),
                      stored * 1.0001 * modulus(exact[i]) + 200 * u * u * growth[i] * steps)
                << r.name << " " << i;
          }
        }
        if (testing::Test::HasFailure()) return;
        if (order == 101) continue;
        const auto by_value = x.bytes();
        x.restore(before);
        call(address_prefix, r, p.arguments, prec, true);
        ASSERT_TRUE(x.bytes() == by_value) << r.name << " by address";
      }
  }
}

// x_2 = (b_2 - l x_1) / 1 with b_2 close to l x_1: what is left shows the error of the quotient x_1 in its last bits.
TEST(XblasSolves, DividePairsWithinTheirBound) {
  Random random(9);
  double worst[2] = {}; // of reals, and of pairs
  for (int round = 0; round < 4000; ++round) {
    const auto number = [&] { return random.real(0.5, 1.0) * (random.integer(0, 1) ? 1 : -1); };
    const bool complex = round % 2;
    const auto any = [&] { return Number(number(), complex ? number() : 0); };
    const Number d = any(), l = any(), b1 = any(), alpha = any();
    const Value quotient = Value(alpha) * Value(b1) / Value(d), product = Value(l) * quotient;
    const Value near = product / Value(alpha); // alpha b_2 nearly the product
    const Number b2(static_cast<double>(near.re), static_cast<double>(near.im));
    const Routine r = decoded(complex ? "ztrsv_x" : "dtrsv_x");
    Arguments a;
    a['o'] = 102, a['u'] = 122, a['t'] = 111, a['d'] = 131, a['n'] = a['L'] = 2, a['j'] = 1, a.alpha = alpha;
    const auto array = [&](char name, const std::vector<Number> &numbers) {
      const auto n = static_cast<tnk_int>(numbers.size());
      a.arrays[name] = std::make_shared<Array>(r.result, n);
      for (tnk_int i = 0; i < n; ++i) a.arrays[name]->set(i, numbers[static_cast<std::size_t>(i)]);
    };
    array('a', {d, l, 0, 1}), array('y', {b1, b2});
    call(value_prefix, r, a, 214);
    const Value wanted = Value(alpha) * Value(b2) - product;
    const double error = modulus(Value(a.arrays['y']->get(1)) - wanted) / modulus(product) * 0x1p106;
    worst[complex] = std::max(worst[complex], error);
  }
  // Beside the quotient: alpha b_1 and alpha b_2 (exact; complex 3 each), the product with l (2; complex 7.1).
  EXPECT_LE(worst[0], 12 + 2);
  EXPECT_LE(worst[1], 24 + 3 + 3 + 7.1);
  EXPECT_GE(worst[0], 0.01); // something is to be seen
}

} // namespace
