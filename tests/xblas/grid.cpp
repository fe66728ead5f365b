// Every name of the list against the definitions: right to the bound of its precision, and bit for bit what the told
// operations give in the told order.
#include "tests/xblas/problem.h"
#include <algorithm>
#include <set>

namespace {

using namespace tnk::test;

constexpr const char *value_prefix = "tnk_xblas_BLAS_";

bool is_solve(const Routine &r) {
  return r.op == "trsv" || r.op == "tbsv";
}
std::string text(const Problem &p, int32_t prec) {
  std::string all = p.r.name + " prec " + std::to_string(prec);
  for (const auto &[letter, value] : p.arguments.of)
    if (p.r.has(letter)) all += std::string(" ") + letter + "=" + std::to_string(value);
  return all;
}
double modulus(Number x) {
  return std::hypot(x.real(), x.imag());
}

Number told(const Problem &p, const Result &result, int32_t prec) {
  const auto by = [&](auto e) {
    return evaluated<decltype(e)>(p.r, p.rule, result, p.arguments.alpha, p.arguments.beta);
  };
  if (prec == 214) return by(Twofold());
  return prec == 211 && is_short(p.r.result) ? by(Plain<float>()) : by(Plain<double>());
}

// The exact value, and the sum of magnitudes that bounds are a multiple of.
struct Truth {
  Exact value;
  double magnitude = 0, terms = 0;
};
Truth truth(const Problem &p, const Result &result) {
  const Number alpha = p.rule == Rule::alone ? 1 : p.arguments.alpha, beta = p.arguments.beta;
  const bool alone = p.rule == Rule::alone, combined = p.rule == Rule::combined;
  Truth t;
  const auto add = [&](const std::vector<Product> &products, Number factor) {
    for (const Product &x : products) {
      const Number other = alone || combined ? 1 : x.x;
      t.value.add(x.a, other, factor);
      t.magnitude += modulus(x.a) * modulus(other) * modulus(factor), ++t.terms;
    }
  };
  add(result.products, alpha);
  add(result.more, combined || p.rule == Rule::two_matrices ? beta : alpha);
  if (p.rule == Rule::dot || p.rule == Rule::matrix) {
    t.value.add(result.before, beta, 1);
    t.magnitude += modulus(result.before) * modulus(beta);
  }
  return t;
}

// Through memory: GCC 12 drops a conversion there and back where it builds for sanitizers.
double narrowed(double x) {
  volatile float narrow = static_cast<float>(x);
  return narrow;
}

bool close(double found, Integer exact, double bound, bool short_result) {
  const Wide wide = static_cast<Wide>(exact), error = static_cast<Wide>(found) - wide;
  const Wide rounding = (wide < 0 ? -wide : wide) * (short_result ? 0x1p-24 : 0x1p-53);
  return (error < 0 ? -error : error) <= rounding + static_cast<Wide>(bound);
}

void expect_right(const Problem &p, int32_t prec) {
  const double u = prec == 211 && is_short(p.r.result) ? 0x1p-24 : 0x1p-53;
  std::vector<tnk_int> places;
  for (const Result &result : p.results) {
    const Number found = p.arguments.arrays.at('y')->get(result.place), expected = told(p, result, prec);
    const Number stored =
        is_short(p.r.result) ? Number{narrowed(expected.real()), narrowed(expected.imag())} : expected;
    ASSERT_TRUE(found.real() == stored.real() && (!is_pair(p.r.result) || found.imag() == stored.imag()))
        << text(p, prec) << ": " << found << " instead of " << stored << " at " << result.place;
    const Truth t = truth(p, result);
    const bool in_pairs = prec == 214 && !(p.rule == Rule::matrix && p.arguments.alpha == 0.0);
    const double relative = in_pairs ? (3 * t.terms + 8) * u * u : (t.terms + 2) * u;
    const double bound = relative * t.magnitude * (is_pair(p.r.result) ? 2 : 1);
    ASSERT_TRUE(close(found.real(), t.value.re, bound, is_short(p.r.result)) &&
                (!is_pair(p.r.result) || close(found.imag(), t.value.im, bound, is_short(p.r.result))))
        << text(p, prec) << ": " << found << " is not exact to " << bound;
  }
}

// Runs the call, and finds out whether anything but the results was written.
void run(Problem &p, int32_t prec) {
  Array &y = *p.arguments.arrays.at('y');
  const auto before = y.bytes();
  call_value(p.r, p.arguments, prec, value_prefix);
  std::vector<unsigned char> after = y.bytes();
  const std::size_t size = (is_short(p.r.result) ? 4u : 8u) * (is_pair(p.r.result) ? 2u : 1u);
  for (const Result &result : p.results) {
    const std::size_t at = static_cast<std::size_t>(result.place) * size;
    std::copy_n(before.begin() + static_cast<long>(at), size, after.begin() + static_cast<long>(at));
  }
  EXPECT_TRUE(after == before) << text(p, prec) << " writes beside its results";
}

TEST(Xblas, HasTheWholeGrammar) {
  const std::map<std::string, int> sizes = {{"axpby", 12}, {"trmv", 12}, {"tpmv", 12}, {"trsv", 12},
                                            {"tbsv", 12},  {"sum", 4},   {"hemv", 12}, {"hpmv", 12},
                                            {"hbmv", 12},  {"hemm", 12}, {"hemv2", 12}};
  std::map<std::string, int> found;
  for (const Routine &r : routines()) {
    ASSERT_TRUE(lists().count(r.op)) << r.name;
    ++found[r.op];
  }
  EXPECT_EQ(routines().size(), 488u);
  for (const auto &[op, list] : lists()) EXPECT_EQ(found[op], sizes.count(op) ? sizes.at(op) : 28) << op;
}

TEST(Xblas, ComputesWhatIsToldAndAsExactly) {
  Maker maker(1);
  for (const Routine &r : routines()) {
    if (is_solve(r)) continue;
    for (int round = 0; round < 18; ++round)
      for (int32_t prec = r.has_prec ? 211 : 212; prec <= (r.has_prec ? 214 : 212); ++prec) {
        const int32_t order = round % 2 ? 101 : 102;
        Problem p = maker.make(r, static_cast<Data>(round % 3), order);
        const auto before = p.arguments.arrays.at('y')->bytes();
        run(p, prec);
        expect_right(p, prec);
        if (testing::Test::HasFailure()) return;
        if (order == 101 && r.has('o')) continue;
        const auto by_value = p.arguments.arrays.at('y')->bytes();
        p.arguments.arrays.at('y')->restore(before);
        call_twin(r, p.arguments, prec);
        ASSERT_TRUE(p.arguments.arrays.at('y')->bytes() == by_value) << text(p, prec) << " by address";
      }
  }
}

TEST(Xblas, TouchesNothingForOtherPrecisions) {
  Maker maker(2);
  for (const Routine &r : routines()) {
    if (!r.has_prec) continue;
    for (const int32_t prec : {210, 215}) {
      Problem p = maker.make(r, Data::random, 102);
      const auto before = p.arguments.arrays.at('y')->bytes();
      call_value(r, p.arguments, prec, value_prefix);
      EXPECT_TRUE(p.arguments.arrays.at('y')->bytes() == before) << text(p, prec);
    }
  }
}

} // namespace
