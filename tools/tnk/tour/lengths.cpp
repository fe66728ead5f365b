// Scene "lengths": how fast transforms of every length from 2 to 1024 are, and which way they go.
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <tnk/dft_node.h> // to see which way a descriptor goes; what a program needs is in tnk/dfti.h

namespace tnk::tool {
namespace {

using Complex = tnk_complex16;
using Vector = std::vector<Complex>;

constexpr tnk_int shortest = 2, longest = 1024,
                  numbers = 4096; // in a batch: these stay in the first-level cache, or nearly

enum Road { own_kernel, small_factors, sums, convolution, roads };
struct Look {
  const char *words, *colour;
};
constexpr Look looks[roads] = {{"own kernels", colour::vermilion},
                               {"factors up to 13", colour::blue},
                               {"primes up to 89", colour::green},
                               {"by convolution", colour::grey}};

tnk_int largest_prime_factor(tnk_int n) {
  tnk_int largest = 1;
  for (tnk_int p = 2; p * p <= n; ++p)
    for (; n % p == 0; n /= p) largest = p;
  return std::max(largest, n);
}

Road road_of(const DftiNode *node, tnk_int length) {
  if (node->use_codelet == 0) return own_kernel;
  const tnk_int prime = largest_prime_factor(length);
  return prime <= 13 ? small_factors : prime < 90 ? sums : convolution;
}

void check(tnk_int status) {
  if (status != DftiNoError)
    throw Failure(format("a Fourier transform ended with the status %d", static_cast<int>(status)));
}

struct Measured {
  tnk_int length;
  Road road;
  double rate; // operations in a nanosecond
};

// Some outputs of the first transform of a batch against sums in extended precision, over the norm of all.
double error_of(const Vector &x, const Vector &y, tnk_int length) {
  const auto n = static_cast<std::size_t>(length);
  long double norm = 0, worst = 0;
  for (std::size_t j = 0; j < n; ++j)
    norm += static_cast<long double>(x[j].re) * x[j].re + static_cast<long double>(x[j].im) * x[j].im;
  for (const std::size_t k : {std::size_t{0}, n / 3, n - 1}) {
    long double re = 0, im = 0;
    for (std::size_t j = 0; j < n; ++j) {
      const long double angle =
          -2 * std::acos(-1.0L) * static_cast<long double>(j * k % n) / static_cast<long double>(n);
      const long double c = std::cos(angle), s = std::sin(angle);
      re += x[j].re * c - x[j].im * s, im += x[j].re * s + x[j].im * c;
    }
    worst = std::max(worst, std::hypot(re - y[k].re, im - y[k].im));
  }
  return static_cast<double>(worst / std::sqrt(norm * static_cast<long double>(n)));
}

class Lengths {
public:
  // The median of five rounds of a fifth of a millisecond.
  Measured measure(tnk_int length, Worst &error) {
    const tnk_int count = std::max(numbers / length, tnk_int{1});
    Vector x(static_cast<std::size_t>(count * length));
    for (std::size_t j = 0; j < x.size(); ++j)
      x[j] = {std::cos(0.7 * static_cast<double>(j * j % 1009)),
              std::sin(1.3 * static_cast<double>(j % 997))};
    Vector y(x.size());
    DftiHandle plan = nullptr;
    check(create_(&plan, DftiComplex, length));
    check(set_(plan, DftiParamPlacement, DftiNotInPlace));
    check(set_(plan, DftiParamNumberOfTransforms, count));
    check(set_(plan, DftiParamInputDistance, length));
    check(set_(plan, DftiParamOutputDistance, length));
    check(commit_(plan));
    check(forward_(plan, x.data(), y.data()));
    error.take(error_of(x, y, length));

    using Clock = std::chrono::steady_clock;
    const auto round = [&](int calls) {
      const auto start = Clock::now();
      for (int i = 0; i < calls; ++i) forward_(plan, x.data(), y.data());
      return std::chrono::duration<double>(Clock::now() - start).count();
    };
    int calls = 1;
    while (round(calls) < 2e-4) calls *= 2;
    std::array<double, 5> seconds;
    for (double &s : seconds) s = round(calls) / calls;
    std::nth_element(seconds.begin(), seconds.begin() + 2, seconds.end());
    const Road road = road_of(plan, length);
    free_(&plan);
    const auto n = static_cast<double>(length);
    return {length, road, 5 * n * std::log2(n) * static_cast<double>(count) / seconds[2] * 1e-9};
  }

private:
  decltype(&DftiCreateDescriptor_d_1d) create_ = TNK_PRESENT_ENTRY(DftiCreateDescriptor_d_1d);
  decltype(&DftiSetValue) set_ = TNK_PRESENT_ENTRY(DftiSetValue);
  decltype(&DftiCommitDescriptor) commit_ = TNK_PRESENT_ENTRY(DftiCommitDescriptor);
  decltype(&DftiComputeForward) forward_ = TNK_PRESENT_ENTRY(DftiComputeForward);
  decltype(&DftiFreeDescriptor) free_ = TNK_PRESENT_ENTRY(DftiFreeDescriptor);
};

std::string draw(const std::vector<Measured> &all) {
  Figure figure(1000, 560, "Transforms of every length",
                format("Complex numbers in double precision, batches of some %d, one thread",
                       static_cast<int>(numbers)));
  double top = 0;
  for (const Measured &m : all) top = std::max(top, m.rate);
  top = std::ceil(top / 5) * 5;
  Panel panel(figure, {82, 130, 890, 360}, "", {1, 10, "length, as a power of two"}, {0, top, "GFLOP/s"});
  for (const Measured &m : all) {
    const double x = std::log2(static_cast<double>(m.length));
    panel.line({{x - 0.02, m.rate}, {x + 0.02, m.rate}}, looks[m.road].colour, 4);
  }
  for (int road = 0; road < roads; ++road)
    panel.note({1 + 2.25 * road, top}, 12, 14, Panel::Side::right, looks[road].colour,
               std::string("\u25a0 ") + looks[road].words);
  return figure.svg();
}

} // namespace

void lengths_scene(Stage &stage) {
  std::vector<Measured> all;
  Worst error;
  Lengths lengths;
  lengths.measure(longest, error);
  stage.stop_on_error();
  for (tnk_int length = shortest; length <= longest; ++length) all.push_back(lengths.measure(length, error));
  stage.say("errors are those of three outputs of each length, over the norm of all, against sums in "
            "extended precision");
  stage.heading();
  for (int road = 0; road < roads; ++road) {
    std::vector<double> rates;
    for (const Measured &m : all)
      if (m.road == road) rates.push_back(m.rate);
    if (rates.empty()) continue;
    std::nth_element(rates.begin(), rates.begin() + static_cast<std::ptrdiff_t>(rates.size() / 2),
                     rates.end());
    // A transform of length 2^t is at most t (4 sqrt(2) + 1) roundings off (Higham, 2002, 24.1), one by convolution three
    // such ones of four times the length.
    stage.show({looks[road].words, "ComputeForward", format("%zu lengths", rates.size()), error.value(),
                7 * 3 * 13 * roundoff, format("%.2f GFLOP/s", rates[rates.size() / 2])});
  }
  stage.picture("lengths.svg", draw(all));
}

} // namespace tnk::tool
