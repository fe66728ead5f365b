// Transforms from end to end: every way in which numbers may stand, against sums by definition.
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <tnk/host.h>

#include "dft/layouts.h"
#include "dft/plan.h"

namespace tnk::test {
namespace {

// Numbers of a test's data, with one that no transform leaves where nothing was written.
template <class R> struct Array {
  static constexpr R untouched = R(-12345);
  std::vector<R> numbers;
  std::vector<bool> used;

  void reach(tnk_int place) {
    if (static_cast<std::size_t>(place) >= numbers.size())
      numbers.resize(static_cast<std::size_t>(place) + 1, untouched), used.resize(numbers.size());
  }
};
template <class R> using Arrays = std::array<Array<R>, 2>;

struct Config {
  Sizes lengths;
  int domain = DftiComplex, storage = DftiComplexComplex, format = DftiFormatCcs;
  bool in_place = false;
  Pattern input = Pattern::contiguous, output = Pattern::contiguous;
  tnk_int batch = 1;
  double forward = 1, backward = 1;
  int user_threads = 1, threads = 1;

  bool is_real() const { return domain == DftiReal; }
  Kind kind(bool spectral) const {
    if (!is_real()) return storage == DftiRealReal ? Kind::split : Kind::interleaved;
    return !spectral ? Kind::real : storage == DftiComplexComplex ? Kind::half : Kind::packed;
  }
  std::string text() const {
    std::ostringstream out;
    for (const tnk_int n : lengths) out << n << ' ';
    out << "domain " << domain << " storage " << storage << " format " << format << " in place " << in_place
        << " patterns " << static_cast<int>(input) << static_cast<int>(output) << " batch " << batch
        << " users " << user_threads << " threads " << threads;
    return out.str();
  }
};

// The two sides of one direction. In place real numbers stand where the spectrum leaves room for them.
struct Sides {
  Layout read, written;
};
Sides sides_of(const Config &config, bool inverse) {
  const auto layout = [&](bool spectral, Pattern pattern) {
    return Layout(config.kind(spectral), config.format, config.lengths, pattern, config.batch);
  };
  if (!config.in_place) return {layout(inverse, config.input), layout(!inverse, config.output)};
  Layout spectrum = layout(true, config.input), numbers = spectrum;
  if (config.is_real()) {
    numbers.kind = Kind::real;
    if (spectrum.kind == Kind::half) {
      for (tnk_int &stride : numbers.strides) stride *= 2;
      if (config.input == Pattern::permuted && numbers.strides.size() > 1)
        spectrum.distance *= 2; // the last dimension, the slowest one, has more numbers than frequencies
      else
        numbers.strides.back() /= 2;
      numbers.distance = 2 * spectrum.distance, numbers.offset *= 2;
    }
  }
  return inverse ? Sides{spectrum, numbers} : Sides{numbers, spectrum};
}

void set_up(const Plan &plan, const Config &config, const Sides &sides, const Signal &signal) {
  const auto set = [&](DftiParam parameter, auto value) {
    EXPECT_EQ(plan.set(parameter, value), DftiNoError) << parameter;
  };
  set(DftiParamPlacement, config.in_place ? DftiInPlace : DftiNotInPlace);
  set(DftiParamComplexStorage, config.is_real() ? int{DftiRealReal} : config.storage); // nothing to real data
  if (config.is_real()) set(DftiParamConjugateEvenStorage, config.storage);
  if (config.storage == DftiComplexReal) set(DftiParamPackedFormat, config.format);
  const Layout *const both[] = {&sides.read, &sides.written};
  for (const int k : {0, 1}) {
    Sizes strides = both[k]->strides;
    strides.insert(strides.begin(), both[k]->offset);
    set(k ? DftiParamOutputStrides : DftiParamInputStrides, strides.data());
    set(k ? DftiParamOutputDistance : DftiParamInputDistance, both[k]->distance);
  }
  set(DftiParamNumberOfTransforms, config.batch);
  set(DftiParamForwardScale, config.forward);
  set(DftiParamBackwardScale, config.backward / static_cast<double>(product(signal.lengths)));
  set(DftiParamNumberOfUserThreads, tnk_int{config.user_threads});
}

template <class R> Arrays<R> filled(const Layout &layout, const Signal &signal, bool spectral) {
  Arrays<R> arrays;
  layout.visit(signal, spectral, [&](int array, tnk_int place, long double value) {
    arrays[static_cast<std::size_t>(array)].reach(place);
    arrays[static_cast<std::size_t>(array)].numbers[static_cast<std::size_t>(place)] = static_cast<R>(value);
  });
  return arrays;
}

template <class R>
tnk_int compute(const Plan &plan, bool inverse, Arrays<R> &source, Arrays<R> &destination) {
  // By either of their names.
  const auto run = sizeof(R) == 4 ? (inverse ? tnk_dft_dfticomputebackward : tnk_dft_dfticomputeforward)
                                  : (inverse ? DftiComputeBackward : DftiComputeForward);
  R *const from[2] = {source[0].numbers.data(), source[1].numbers.data()};
  R *const to[2] = {destination[0].numbers.data(), destination[1].numbers.data()};
  if (&source == &destination) return run(plan, from[0], from[1]);
  return source[1].numbers.empty() ? run(plan, from[0], to[0]) : run(plan, from[0], from[1], to[0], to[1]);
}

// What the destination must be: errors in units of the norm of what was transformed, nothing else written. In place what
// was read and is not written may have changed.
template <class R>
void expect_result(const Config &config, const Signal &signal, bool inverse, const Layout &written,
                   const Arrays<R> &before, Arrays<R> &after) {
  const auto n = static_cast<long double>(signal.numbers.size());
  long double squares = 0;
  for (const Wide value : signal.numbers) squares += std::norm(value);
  // The spectrum has n times the squares; a backward transform is divided by n.
  const long double scale = inverse ? config.backward : config.forward;
  const long double bound = 8 * std::numeric_limits<R>::epsilon() * (std::log2(n) + 2) * std::sqrt(squares) *
                            std::fabs(scale) * static_cast<long double>(config.batch);
  long double worst = 0;
  written.visit(signal, !inverse, [&](int array, tnk_int place, long double value) {
    Array<R> &a = after[static_cast<std::size_t>(array)];
    const R got = a.numbers[static_cast<std::size_t>(place)];
    const long double error = std::fabs(got - scale * value);
    if (!(error <= worst)) worst = error;
    a.used[static_cast<std::size_t>(place)] = true;
  });
  EXPECT_LE(worst, bound);
  tnk_int strays = 0;
  for (std::size_t k = 0; k < 2; ++k)
    for (std::size_t i = 0; i < after[k].numbers.size(); ++i) {
      const bool was_data =
          config.in_place && i < before[k].numbers.size() && before[k].numbers[i] != Array<R>::untouched;
      strays += !after[k].used[i] && !was_data && after[k].numbers[i] != Array<R>::untouched;
    }
  EXPECT_EQ(strays, 0);
}

template <class R> using Results = std::array<std::vector<R>, 2>;

template <class R> void check(const Config &config, const Signal &signal, Results<R> &results) {
  SCOPED_TRACE(config.text() + (sizeof(R) == 4 ? "single" : "double"));
  for (const bool inverse : {false, true}) {
    SCOPED_TRACE(inverse ? "backward" : "forward");
    const Sides sides = sides_of(config, inverse);
    const Plan plan(sizeof(R) == 4 ? DftiSingle : DftiDouble, config.domain, config.lengths);
    set_up(plan, config, sides, signal);
    if (config.threads > 1) plan->api_entries->dynamic = [] { return 0; }; // also where they are not worth it
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);

    const Arrays<R> before = filled<R>(sides.read, signal, inverse);
    Arrays<R> source = before, destination;
    Arrays<R> &result = config.in_place ? source : destination;
    sides.written.visit(signal, !inverse, [&](int array, tnk_int place, long double) {
      result[static_cast<std::size_t>(array)].reach(place);
    });
    ASSERT_EQ(compute(plan, inverse, source, result), DftiNoError);
    expect_result(config, signal, inverse, sides.written, before, result);
    results[inverse] = result[0].numbers;
    if (config.in_place) continue;
    for (std::size_t k = 0; k < 2; ++k) EXPECT_EQ(source[k].numbers, before[k].numbers);
  }
}
Results<double> check(const Config &config, const Signal &signal) {
  tnk_set_num_threads(config.threads);
  Results<float> singles;
  Results<double> doubles;
  check<float>(config, signal, singles);
  check<double>(config, signal, doubles);
  tnk_set_num_threads(0);
  return doubles;
}

constexpr Pattern patterns[] = {Pattern::contiguous, Pattern::gaps, Pattern::permuted,
                                Pattern::batch_fastest};

// Every pair of patterns, each with several choices of everything else.
void check_all_patterns(Config config, const Signal &signal) {
  std::mt19937 engine(static_cast<unsigned>(signal.numbers.size()) +
                      100 * static_cast<unsigned>(config.format));
  const auto one_of = [&](std::initializer_list<int> choices) {
    return choices.begin()[engine() % choices.size()];
  };
  for (const bool in_place : {true, false})
    for (const Pattern input : patterns)
      for (const Pattern output : patterns) {
        // In place half a spectrum needs more room than the numbers of another transform leave between theirs.
        if (in_place && input == Pattern::batch_fastest && config.kind(true) == Kind::half) continue;
        config.in_place = in_place, config.input = input, config.output = output;
        for (int round = 0; round < 2; ++round) {
          config.batch = one_of({1, 3, 11}), config.threads = one_of({1, 3});
          config.forward = one_of({1, 3}), config.backward = one_of({1, 2});
          config.user_threads = one_of({1, 1, 2});
          check(config, signal);
        }
      }
}

void check_shapes(Config config, const std::vector<Sizes> &shapes) {
  for (const Sizes &lengths : shapes)
    config.lengths = lengths, check_all_patterns(config, Signal(lengths, config.is_real()));
}

TEST(Transforms, Complex) {
  for (const int storage : {DftiComplexComplex, DftiRealReal})
    check_shapes({{}, DftiComplex, storage},
                 {{1}, {2}, {15}, {64}, {256}, {9, 10}, {5, 17}, {32, 8}, {12, 10, 9}, {2, 3, 4, 5}});
}

TEST(Transforms, RealToHalfASpectrum) {
  check_shapes({{}, DftiReal}, {{1},
                                {2},
                                {15},
                                {64},
                                {9, 10},
                                {10, 9},
                                {3, 1},
                                {33, 16},
                                {12, 10, 9},
                                {9, 10, 12},
                                {4, 2, 16},
                                {3, 2, 4, 5}});
}

TEST(Transforms, RealToPackedFormats) {
  for (const int format : {DftiFormatCcs, DftiFormatPack, DftiFormatPerm})
    check_shapes({{}, DftiReal, DftiComplexReal, format},
                 {{1}, {2}, {15}, {64}, {1, 2}, {9, 10}, {10, 9}, {3, 1}, {5, 19}, {6, 34}, {8, 16}});
}

TEST(Transforms, RowsInTwoArraysMayRunBackward) {
  Config config{{6}, DftiComplex, DftiRealReal};
  config.batch = 3;
  for (const Pattern output : {Pattern::gaps, Pattern::mirrored}) {
    config.input = Pattern::mirrored, config.output = output;
    check(config, Signal(config.lengths, false));
  }
}

// Whole blocks of columns and what is left of them. Threads move no bit.
TEST(Transforms, Larger) {
  for (const Sizes &lengths :
       std::vector<Sizes>{{300}, {512}, {1024}, {96, 85}, {2, 40, 36}, {2, 3, 2, 2, 3, 2, 2}})
    for (const bool real : {false, true}) {
      const Signal signal(lengths, real);
      Config config;
      config.lengths = lengths, config.domain = real ? DftiReal : DftiComplex;
      config.batch = lengths.size() == 1 ? 70 : 1;
      for (const bool in_place : {true, false}) {
        config.in_place = in_place, config.threads = 1;
        const Results<double> alone = check(config, signal);
        config.threads = 3;
        const Results<double> together = check(config, signal);
        EXPECT_EQ(alone[0], together[0]);
        // A plane that is fitted into the destination takes its real columns in pairs, columns that are cut do not.
        if (!real || in_place || lengths.size() > 3) {
          EXPECT_EQ(alone[1], together[1]);
        }
      }
    }
}

} // namespace
} // namespace tnk::test
