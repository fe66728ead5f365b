// Every name of the list against the definitions: right to the bound of its precision, and bit for bit what the told
// operations give in the told order.
#include "support/allocations.h"
#include "tests/xblas/problem.h"
#include <algorithm>

namespace {

using namespace tnk::test;

std::string text(const Problem &p, int32_t prec) {
  std::string all = p.r.name + " prec " + std::to_string(prec);
  for (const auto &[letter, value] : p.arguments.of)
    if (p.r.has(letter)) all += std::string(" ") + letter + "=" + std::to_string(value);
  return all;
}
// Through memory: GCC 12 drops a conversion there and back where it builds for sanitizers.
double narrowed(double x) {
  volatile float narrow = static_cast<float>(x);
  return narrow;
}

void expect_right(const Problem &p, int32_t prec) {
  const bool is_single = is_short(p.r.result),
             in_pairs = prec == 214 && !(p.rule == Rule::matrix && p.arguments.alpha == 0.0);
  const double u = prec == 211 && is_single ? 0x1p-24 : 0x1p-53;
  for (const Result &result : p.results) {
    const auto by = [&](auto e) {
      return evaluated<decltype(e)>(p.r, p.rule, result, p.arguments.alpha, p.arguments.beta);
    };
    const Value told = prec == 214                ? by(Twofold())
                       : prec == 211 && is_single ? by(Plain<float>())
                                                  : by(Plain<double>()),
                exact = by(Plain<Wide>()), size = by(Magnitude());
    const double terms = static_cast<double>(result.products.size() + result.more.size()),
                 bound =
                     (in_pairs ? (3 * terms + 8) * u * u : (terms + 2) * u) * (is_pair(p.r.result) ? 2 : 1);
    const auto right = [&](double found, Wide as_told, Wide as_it_is, Wide of_size) {
      const double stored = static_cast<double>(as_told);
      const Wide error = static_cast<Wide>(found) - as_it_is,
                 rounding = (as_it_is < 0 ? -as_it_is : as_it_is) * (is_single ? 0x1p-24 : 0x1p-53);
      return found == (is_single ? narrowed(stored) : stored) &&
             (error < 0 ? -error : error) <= rounding + bound * of_size;
    };
    const Number found = p.arguments.arrays.at('y')->get(result.place);
    ASSERT_TRUE(right(found.real(), told.re, exact.re, size.re) &&
                (!is_pair(p.r.result) || right(found.imag(), told.im, exact.im, size.im)))
        << text(p, prec) << ": " << found << " at " << result.place << ", told "
        << static_cast<double>(told.re) << ' ' << static_cast<double>(told.im);
  }
}

// Runs the call, and finds out whether anything but the results was written.
void run(Problem &p, int32_t prec) {
  Array &y = *p.arguments.arrays.at('y');
  const auto before = y.bytes();
  allocations.reset();
  call(value_prefix, p.r, p.arguments, prec);
  EXPECT_EQ(allocations.made, 0) << text(p, prec);
  std::vector<unsigned char> after = y.bytes();
  const std::size_t size = (is_short(p.r.result) ? 4u : 8u) * (is_pair(p.r.result) ? 2u : 1u);
  for (const Result &result : p.results) {
    const std::size_t at = static_cast<std::size_t>(result.place) * size;
    std::copy_n(before.begin() + static_cast<long>(at), size, after.begin() + static_cast<long>(at));
  }
  EXPECT_TRUE(after == before) << text(p, prec) << " writes beside its results";
}

TEST(Xblas, ComputesWhatIsToldAndAsExactly) {
  Maker maker(1);
  EXPECT_EQ(routines().size(), 488u);
  for (const Routine &r : routines()) {
    if (r.solves()) continue;
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
        call(address_prefix, r, p.arguments, prec, true);
        ASSERT_TRUE(p.arguments.arrays.at('y')->bytes() == by_value) << text(p, prec) << " by address";
      }
  }
}

} // namespace
