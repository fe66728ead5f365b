// Scene "vectors": sums, norm, extremes and autocorrelation of the monthly sunspot numbers. The
// autocorrelation's first peak is the cycle of solar activity, near eleven years.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/progress.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>

namespace tnk::tool {
namespace {

constexpr std::size_t longest_lag = 400; // months: three cycles

struct Series {
  std::string source;
  std::vector<double> years; // 1749.0833 is February 1749
  std::vector<double> spots;
};

template <class R> struct Statistics {
  R sum, magnitudes, mean, variance, norm;
  std::size_t largest, smallest;  // positions of the first element of largest and smallest magnitude
  std::vector<R> deviations;      // from the mean
  std::vector<R> autocorrelation; // by lag; 1 at lag 0
};

// The kernels that the host has no public routine for.
struct Kernels {
  decltype(&tnk_blas_dasum) asum = TNK_PRESENT_ENTRY(tnk_blas_dasum);
  decltype(&tnk_blas_dnrm2) nrm2 = TNK_PRESENT_ENTRY(tnk_blas_dnrm2);
  decltype(&tnk_blas_idamax) amax = TNK_PRESENT_ENTRY(tnk_blas_idamax);
  decltype(&tnk_blas_idamin) amin = TNK_PRESENT_ENTRY(tnk_blas_idamin);
};

Series load(const std::filesystem::path &path) {
  const CsvTable table = read_csv(path);
  Series series{table.source, table.column("year"), table.column("spots")};
  if (series.years.size() <= 2 * longest_lag)
    throw Failure(format("%s: %zu months are too few; the lags go to %zu", series.source.c_str(),
                         series.years.size(), longest_lag));
  for (std::size_t i = 0; i < series.years.size(); ++i) {
    if (series.years[i] < 0)
      throw Failure(format("%s: year %.4f is negative", series.source.c_str(), series.years[i]));
    if (series.spots[i] < 0)
      throw Failure(format("%s: year %.4f has a negative number of spots, %g", series.source.c_str(),
                           series.years[i], series.spots[i]));
  }
  // Lags count lines, so each line must be the month after the one before.
  for (std::size_t i = 1; i < series.years.size(); ++i)
    if (std::fabs((series.years[i] - series.years[i - 1]) * 12 - 1) > 0.1)
      throw Failure(format("%s: year %.4f does not follow %.4f by a month", series.source.c_str(),
                           series.years[i], series.years[i - 1]));
  return series;
}

// year >= 0, as load() sees to.
std::string month_name(double year) {
  static const char *const names[] = {"January", "February", "March",     "April",   "May",      "June",
                                      "July",    "August",   "September", "October", "November", "December"};
  const long long months = std::llround(year * 12);
  return format("%s %lld", names[months % 12], months / 12);
}

// y := x - mean
void subtract_mean(const std::vector<double> &x, const std::vector<double> &ones, double mean,
                   std::vector<double> &y) {
  const auto n = static_cast<tnk_int>(x.size());
  const double minus_mean = -mean;
  tnk_blas_dcopy(&n, x.data(), &one, y.data(), &one);
  tnk_blas_daxpy(&n, &minus_mean, ones.data(), &one, y.data(), &one);
}

// r[k] := sum of y[i] y[i + k], over the sum of squares: one dot product of two windows a lag.
void autocorrelate(const std::vector<double> &y, double squares, std::vector<double> &r) {
  for (std::size_t k = 0; k < r.size(); ++k) r[k] = dot(y.size() - k, y.data(), y.data() + k) / squares;
}

Statistics<double> by_kernels(const Kernels &kernels, const std::vector<double> &x,
                              const std::vector<double> &ones) {
  const auto n = static_cast<tnk_int>(x.size());
  Statistics<double> s{};
  s.sum = dot(x.size(), ones.data(), x.data());
  s.magnitudes = kernels.asum(&n, x.data(), &one);
  s.mean = s.sum / static_cast<double>(n);
  s.norm = kernels.nrm2(&n, x.data(), &one);
  s.largest = static_cast<std::size_t>(kernels.amax(&n, x.data(), &one) - 1);
  s.smallest = static_cast<std::size_t>(kernels.amin(&n, x.data(), &one) - 1);
  s.deviations.resize(x.size());
  subtract_mean(x, ones, s.mean, s.deviations);
  const double squares = dot(x.size(), s.deviations.data(), s.deviations.data());
  s.variance = squares / static_cast<double>(n - 1);
  s.autocorrelation.resize(longest_lag + 1);
  autocorrelate(s.deviations, squares, s.autocorrelation);
  return s;
}

// The definitions, in extended precision.
Statistics<long double> by_definition(const std::vector<double> &x) {
  const std::size_t n = x.size();
  Statistics<long double> s{};
  long double squares = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const long double value = x[i];
    s.sum += value;
    s.magnitudes += std::fabs(value);
    squares += value * value;
    if (std::fabs(x[i]) > std::fabs(x[s.largest])) s.largest = i;
    if (std::fabs(x[i]) < std::fabs(x[s.smallest])) s.smallest = i;
  }
  s.norm = std::sqrt(squares);
  s.mean = s.sum / static_cast<long double>(n);
  squares = 0;
  for (const double value : x) {
    s.deviations.push_back(value - s.mean);
    squares += s.deviations.back() * s.deviations.back();
  }
  s.variance = squares / static_cast<long double>(n - 1);
  for (std::size_t k = 0; k <= longest_lag; ++k) {
    long double sum = 0;
    for (std::size_t i = 0; i + k < n; ++i) sum += s.deviations[i] * s.deviations[i + k];
    s.autocorrelation.push_back(sum / squares);
  }
  return s;
}

// Lag of the highest point of the first stretch of positive correlation after a negative one, or 0 when there
// is none.
template <class R> std::size_t first_peak(const std::vector<R> &r) {
  const auto negative = [](R value) { return value < 0; };
  const auto trough = std::find_if(r.begin(), r.end(), negative);
  const auto rise = std::find_if_not(trough, r.end(), negative);
  const auto fall = std::find_if(rise, r.end(), negative);
  const auto peak = std::max_element(rise, fall);
  // At the last lag it may still be rising.
  return r.end() - peak <= 1 ? 0 : static_cast<std::size_t>(peak - r.begin());
}

double relative(double value, long double reference) {
  const long double error = std::fabs(value - reference);
  return static_cast<double>(reference == 0 ? error : error / std::fabs(reference));
}

struct Bounds {
  double sum, norm, mean_free;
};

// What rounding explains, relative; u is the unit round-off. A sum of n terms of one sign in any order is off
// by at most n u. Each of the n steps of the norm adds a few roundings to the sum of squares, and the root
// halves them. The sums over deviations from the mean also inherit the error of the mean, n u |mean|, once
// for each factor.
Bounds bounds(const Statistics<long double> &s) {
  const double n = static_cast<double>(s.deviations.size());
  constexpr double u = roundoff;
  long double magnitudes = 0, squares = 0;
  for (const long double y : s.deviations) {
    magnitudes += std::fabs(y);
    squares += y * y;
  }
  const double inherited = static_cast<double>(std::fabs(s.mean) * magnitudes / squares);
  return {(n + 1) * u, 4 * n * u, 2 * (n + 4) * u * (1 + 2 * inherited)};
}

struct Rates {
  std::string sum, magnitudes, variance, norm, largest, smallest, autocorrelation;
};

Rates take_rates(const Kernels &kernels, const std::vector<double> &x, const std::vector<double> &ones,
                 const Statistics<double> &s) {
  const auto n = static_cast<tnk_int>(x.size());
  const double count = static_cast<double>(n), bytes = 8 * count;
  std::vector<double> y(x.size()), r(longest_lag + 1);
  double products = 0;
  for (std::size_t k = 0; k < r.size(); ++k) products += count - static_cast<double>(k);

  Progress progress("vectors: taking rates");
  double done = 0;
  const auto seconds = [&](const auto &call) {
    const double t = seconds_per_call([&] { keep(call()); });
    progress.update(++done / 7);
    return t;
  };
  Rates rates;
  rates.sum = gigaflops_per_second(2 * count, seconds([&] { return dot(x.size(), ones.data(), x.data()); }));
  rates.magnitudes = gigabytes_per_second(bytes, seconds([&] { return kernels.asum(&n, x.data(), &one); }));
  // The copy moves two vectors, the update three, the sum of squares one.
  rates.variance = gigabytes_per_second(6 * bytes, seconds([&] {
                                          subtract_mean(x, ones, s.mean, y);
                                          return dot(y.size(), y.data(), y.data());
                                        }));
  rates.norm = gigabytes_per_second(bytes, seconds([&] { return kernels.nrm2(&n, x.data(), &one); }));
  rates.largest = gigabytes_per_second(bytes, seconds([&] { return kernels.amax(&n, x.data(), &one); }));
  rates.smallest = gigabytes_per_second(bytes, seconds([&] { return kernels.amin(&n, x.data(), &one); }));
  rates.autocorrelation = gigaflops_per_second(2 * products, seconds([&] {
                                                 autocorrelate(s.deviations, 1, r);
                                                 return r.data();
                                               }));
  return rates;
}

void show_results(Stage &stage, const Series &series, const Statistics<double> &s,
                  const Statistics<long double> &exact, const Rates &rates) {
  const Bounds bound = bounds(exact);
  // A position is right or wrong; no rounding enters.
  const auto distance = [](std::size_t a, std::size_t b) {
    return static_cast<double>(a > b ? a - b : b - a);
  };
  const auto dated = [&](std::size_t i) {
    return format("%.1f, %s", series.spots[i], month_name(series.years[i]).c_str());
  };
  Worst worst;
  for (std::size_t k = 0; k <= longest_lag; ++k)
    worst.take(std::fabs(static_cast<double>(s.autocorrelation[k] - exact.autocorrelation[k])));
  const std::size_t cycle = first_peak(s.autocorrelation);

  stage.heading();
  stage.show({"sum", "ddot", format("%.1f", s.sum), relative(s.sum, exact.sum), bound.sum, rates.sum});
  stage.show({"sum of magnitudes", "dasum", format("%.1f", s.magnitudes),
              relative(s.magnitudes, exact.magnitudes), bound.sum, rates.magnitudes});
  stage.show({"mean", "ddot", format("%.6f", s.mean), relative(s.mean, exact.mean), bound.sum, ""});
  stage.show({"variance", "daxpy, ddot", format("%.6f", s.variance), relative(s.variance, exact.variance),
              bound.mean_free, rates.variance});
  stage.show({"Euclidean norm", "dnrm2", format("%.6f", s.norm), relative(s.norm, exact.norm), bound.norm,
              rates.norm});
  stage.show({"largest magnitude", "idamax", dated(s.largest), distance(s.largest, exact.largest), 0,
              rates.largest});
  stage.show({"smallest, first time", "idamin", dated(s.smallest), distance(s.smallest, exact.smallest), 0,
              rates.smallest});
  stage.show({"autocorrelation", "ddot", format("lags 0 ... %zu months", longest_lag), worst.value(),
              bound.mean_free, rates.autocorrelation});
  stage.show({"its first peak", "", format("%zu months, %.1f years", cycle, static_cast<double>(cycle) / 12),
              distance(cycle, first_peak(exact.autocorrelation)), 0, ""});
}

std::string draw(const Series &series, const Statistics<double> &s, std::size_t cycle) {
  const std::size_t n = series.years.size();
  Figure figure(1000, 800, "The cycle of solar activity",
                format("Monthly mean sunspot numbers, %s to %s (%zu months)",
                       month_name(series.years.front()).c_str(), month_name(series.years.back()).c_str(), n));

  const double top = std::ceil(series.spots[s.largest] * 1.15 / 50) * 50;
  Panel months(figure, {82, 108, 890, 260},
               format("Sunspot number, month by month; the line is the mean, %.1f", s.mean),
               {std::floor(series.years.front()), std::ceil(series.years.back()), "year"},
               {0, top, "sunspots"});
  std::vector<Point> curve(n);
  for (std::size_t i = 0; i < n; ++i) curve[i] = {series.years[i], series.spots[i]};
  months.area(curve, 0, colour::blue, 0.15);
  months.line(curve, colour::blue, 0.9);
  months.horizontal(s.mean, colour::grey);
  const Point highest = curve[s.largest];
  months.marker(highest, colour::vermilion);
  months.note(highest, 10, 2, Panel::Side::right, colour::vermilion,
              format("%.1f in %s", highest.y, month_name(highest.x).c_str()));

  const auto [low, high] = std::minmax_element(s.autocorrelation.begin(), s.autocorrelation.end());
  Panel lags(figure, {82, 466, 890, 270}, "Autocorrelation of the deviations from the mean",
             {0, static_cast<double>(longest_lag) / 12, "lag in years"},
             {std::floor(*low * 5 - 0.2) / 5, std::max(1.1, *high * 1.1), "correlation"});
  std::vector<Point> correlation(longest_lag + 1);
  for (std::size_t k = 0; k <= longest_lag; ++k)
    correlation[k] = {static_cast<double>(k) / 12, s.autocorrelation[k]};
  const Point peak = correlation[cycle];
  lags.horizontal(0, colour::grey);
  lags.vertical(peak.x, colour::vermilion);
  lags.area(correlation, 0, colour::green, 0.15);
  lags.line(correlation, colour::green, 1.8);
  lags.marker(peak, colour::vermilion);
  lags.note(peak, 12, 14, Panel::Side::right, colour::vermilion,
            format("first peak: %zu months = %.1f years", cycle, peak.x));
  return figure.svg();
}

} // namespace

void vectors_scene(Stage &stage) {
  const Series series = load(stage.data("sunspots.csv"));
  stage.say(format("%zu months, %s to %s, from %s", series.years.size(),
                   month_name(series.years.front()).c_str(), month_name(series.years.back()).c_str(),
                   series.source.c_str()));
  stage.say("against a reference in extended precision; errors are relative, of positions and correlations "
            "absolute");

  const Kernels kernels;
  const std::vector<double> ones(series.spots.size(), 1.0);
  const Statistics<long double> exact = by_definition(series.spots);
  if (exact.variance == 0)
    throw Failure(series.source + ": all values are equal; there is nothing to correlate");
  if (first_peak(exact.autocorrelation) == 0)
    throw Failure(format("%s: the autocorrelation has no peak up to a lag of %zu months",
                         series.source.c_str(), longest_lag));
  const Statistics<double> found = by_kernels(kernels, series.spots, ones);
  stage.stop_on_error();
  show_results(stage, series, found, exact, take_rates(kernels, series.spots, ones, found));

  stage.picture("vectors.svg", draw(series, found, first_peak(found.autocorrelation)));
}

} // namespace tnk::tool
