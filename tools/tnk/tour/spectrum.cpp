// Scene "spectrum": what the sunspot numbers are made of, by one transform of all their months, whatever their number; and
// a sound whose pitch changes, by short transforms one after another.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <tnk/signal.h>

namespace tnk::tool {
namespace {

using Vector = std::vector<double>;

constexpr double pi = 3.14159265358979323846;

// The mean squares' root of x - y, over that of y.
template <class T> double distance(const Vector &x, const std::vector<T> &y) {
  long double error = 0, size = 0;
  for (std::size_t i = 0; i < y.size(); ++i) {
    const long double rest = x[i] - static_cast<long double>(y[i]);
    error += rest * rest, size += static_cast<long double>(y[i]) * y[i];
  }
  return static_cast<double>(std::sqrt(error / size));
}

// A transform of length 2^t, in this measure, is at most t (4 sqrt(2) + 1) roundings off (Higham, Accuracy and Stability
// of Numerical Algorithms, 2002, 24.1). By convolution there are three of them, at least twice as long, one after another.
double allowed(std::size_t length) {
  const double steps = std::ceil(std::log2(static_cast<double>(length)));
  return 7 * 3 * (steps + 1) * roundoff;
}

void expect_success(const char *routine, std::int32_t status) {
  if (status != 0) throw Failure(format("%s returned the status %d", routine, status));
}

// Real transforms of one length; spectra as pairs of real and imaginary parts, from frequency 0 up.
class Transform {
public:
  explicit Transform(std::size_t length) : length_(length) {
    expect_success("e9_vpksDFTInitAlloc_R_64f", TNK_PRESENT_ENTRY(e9_vpksDFTInitAlloc_R_64f)(
                                                    &spec_, static_cast<std::int32_t>(length), 2, 0));
    std::int32_t bytes = 0;
    expect_success("e9_vpksDFTGetBufSize_R_64f",
                   TNK_PRESENT_ENTRY(e9_vpksDFTGetBufSize_R_64f)(spec_, &bytes));
    work_.resize(static_cast<std::size_t>(std::max(bytes, 1)));
  }
  Transform(const Transform &) = delete;
  Transform &operator=(const Transform &) = delete;
  ~Transform() { free_(spec_); }

  Vector forward(const Vector &x) {
    Vector spectrum(length_ / 2 * 2 + 2);
    expect_success("e9_vpksDFTFwd_RToCCS_64f", forward_(x.data(), spectrum.data(), spec_, work_.data()));
    return spectrum;
  }
  Vector inverse(const Vector &spectrum) {
    Vector x(length_);
    expect_success("e9_vpksDFTInv_CCSToR_64f", inverse_(spectrum.data(), x.data(), spec_, work_.data()));
    return x;
  }

private:
  std::size_t length_;
  decltype(&e9_vpksDFTFree_R_64f) free_ = TNK_PRESENT_ENTRY(e9_vpksDFTFree_R_64f);
  decltype(&e9_vpksDFTFwd_RToCCS_64f) forward_ = TNK_PRESENT_ENTRY(e9_vpksDFTFwd_RToCCS_64f);
  decltype(&e9_vpksDFTInv_CCSToR_64f) inverse_ = TNK_PRESENT_ENTRY(e9_vpksDFTInv_CCSToR_64f);
  tnk_signal_dft *spec_ = nullptr;
  std::vector<std::uint8_t> work_;
};

template <class T> double size(const std::vector<T> &spectrum, std::size_t k) {
  return static_cast<double>(std::hypot(spectrum[2 * k], spectrum[2 * k + 1]));
}

// The same by definition, in extended precision.
std::vector<long double> by_definition(const Vector &x) {
  const std::size_t n = x.size();
  std::vector<long double> cosines(n), sines(n), spectrum;
  for (std::size_t j = 0; j < n; ++j) {
    const long double turn = 2 * std::acos(-1.0L) * static_cast<long double>(j) / static_cast<long double>(n);
    cosines[j] = std::cos(turn), sines[j] = std::sin(turn);
  }
  for (std::size_t k = 0; k <= n / 2; ++k) {
    long double re = 0, im = 0;
    for (std::size_t j = 0, turn = 0; j < n; ++j, turn = (turn + k) % n)
      re += x[j] * cosines[turn], im -= x[j] * sines[turn];
    spectrum.push_back(re), spectrum.push_back(im);
  }
  return spectrum;
}

// ---- The sunspot numbers -----------------------------------------------------------------------------------------

std::string draw_spectrum(const Vector &amplitudes, double years, std::size_t peak) {
  Figure figure(1000, 480, "What the sunspot numbers are made of",
                format("Amplitudes of the waves that add up to %.1f years of monthly means", years));
  const double highest = 0.5; // waves a year
  std::vector<Point> points;
  for (std::size_t k = 1; static_cast<double>(k) / years <= highest; ++k)
    points.push_back({static_cast<double>(k) / years, amplitudes[k]});
  const double top = std::ceil(amplitudes[peak] / 10 + 0.2) * 10;
  Panel panel(figure, {82, 108, 890, 300}, "Up to one wave in two years", {0, highest, "waves a year"},
              {0, top, "sunspots"});
  panel.area(points, 0, colour::blue, 0.15);
  panel.line(points, colour::blue, 1.4);
  const Point at{static_cast<double>(peak) / years, amplitudes[peak]};
  panel.marker(at, colour::vermilion);
  panel.note(at, 12, -4, Panel::Side::right, colour::vermilion,
             format("%.1f years: %.1f sunspots up and down", years / static_cast<double>(peak), at.y));
  return figure.svg();
}

void sunspots(Stage &stage) {
  const CsvTable table = read_csv(stage.data("sunspots.csv"));
  Vector spots = table.column("spots");
  const std::size_t n = spots.size();
  if (n < 24 * 12) throw Failure(table.source + ": fewer months than two dozen years have");
  stage.say(format("%zu months from %s", n, table.source.c_str()));
  stage.say("errors of transforms are root mean squares over those of the result, against the definition in "
            "extended "
            "precision");

  double mean = 0;
  for (const double x : spots) mean += x / static_cast<double>(n);
  const tnk_int count = static_cast<tnk_int>(n), same = 0;
  const double minus = -mean, unit = 1;
  tnk_blas_daxpy(&count, &minus, &unit, &same, spots.data(), &one);
  Transform transform(n);
  const Vector spectrum = transform.forward(spots);
  stage.stop_on_error();

  stage.heading();
  const double seconds = seconds_per_call([&] { transform.forward(spots); });
  const auto length = static_cast<double>(n);
  const auto defined = by_definition(spots);
  stage.show({format("spectrum, %zu months", n), "DFTFwd_RToCCS_64f", format("%.0f us", seconds * 1e6),
              distance(spectrum, defined), allowed(n),
              gigaflops_per_second(2.5 * length * std::log2(length), seconds)});
  stage.show({"and back", "DFTInv_CCSToR_64f", "", distance(transform.inverse(spectrum), spots),
              2 * allowed(n), ""});

  Vector amplitudes;
  for (std::size_t k = 0; k <= n / 2; ++k) amplitudes.push_back(2 * size(spectrum, k) / length);
  const auto peak =
      static_cast<std::size_t>(std::max_element(amplitudes.begin(), amplitudes.end()) - amplitudes.begin());
  // No number is further off than all together.
  const double right = size(defined, peak), all = std::sqrt(dot(spectrum, spectrum));
  stage.show({"its strongest wave", "", format("%.2f years", length / 12 / static_cast<double>(peak)),
              std::fabs(size(spectrum, peak) / right - 1), allowed(n) * all / right, ""});
  stage.picture("spectrum.svg", draw_spectrum(amplitudes, length / 12, peak));
}

// ---- A chirp -----------------------------------------------------------------------------------------------------

constexpr double sampling = 8000, seconds_long = 8; // samples a second
constexpr std::size_t samples = static_cast<std::size_t>(sampling * seconds_long), window = 512, step = 128;

// The pitch of the sound at a time, in waves a second. Another one beside it, a fifth as loud, swings round 2000.
double rising(double t) {
  return 300 + 3200 * t / seconds_long;
}
Vector sound() {
  Vector x;
  for (std::size_t i = 0; i < samples; ++i) {
    const double t = static_cast<double>(i) / sampling;
    // Phases: the integrals of the pitches.
    const double first = 2 * pi * (300 * t + 1600 * t * t / seconds_long);
    const double second = 2 * pi * 2000 * t + 1200 * 2.5 * std::sin(2 * pi * t / 2.5);
    x.push_back(std::sin(first) + 0.2 * std::sin(second));
  }
  return x;
}

void chirp(Stage &stage) {
  const Vector x = sound();
  Transform transform(window);
  Vector hann;
  for (std::size_t i = 0; i < window; ++i)
    hann.push_back(0.5 - 0.5 * std::cos(2 * pi * (static_cast<double>(i) + 0.5) / window));

  std::vector<Vector> spectra;
  Worst error, ridge;
  double loudest = 0;
  Vector frame(window);
  const auto cut_out = [&](std::size_t first) {
    for (std::size_t i = 0; i < window; ++i) frame[i] = hann[i] * x[first + i];
  };
  for (std::size_t first = 0; first + window <= samples; first += step) {
    cut_out(first);
    const Vector spectrum = transform.forward(frame);
    if (first % (16 * step) == 0) error.take(distance(spectrum, by_definition(frame)));
    Vector sizes;
    for (std::size_t k = 0; k <= window / 2; ++k) sizes.push_back(size(spectrum, k));
    const auto top = std::max_element(sizes.begin(), sizes.end());
    loudest = std::max(loudest, *top);
    const double middle = (static_cast<double>(first) + window / 2.0) / sampling;
    ridge.take(std::fabs(static_cast<double>(top - sizes.begin()) - rising(middle) * window / sampling));
    spectra.push_back(std::move(sizes));
  }
  const double seconds = seconds_per_call([&] {
    for (std::size_t first = 0; first + window <= samples; first += step)
      cut_out(first), transform.forward(frame);
  });
  stage.show({format("%zu short spectra", spectra.size()), "DFTFwd_RToCCS_64f",
              format("%.1f ms", seconds * 1e3), error.value(), allowed(window), ""});
  // A line of a spectrum is that wide, and the pitch changes by two while a window lasts.
  stage.show({"its pitch, in lines", "", format("%g ... %g Hz", rising(0), rising(seconds_long)),
              ridge.value(), 1.5, ""});

  Vector decibels;
  for (std::size_t k = 0; k <= window / 2; ++k)
    for (const Vector &sizes : spectra)
      decibels.push_back(std::max(20 * std::log10(sizes[k] / loudest + 1e-30), -70.0));
  Figure figure(1000, 560, "A sound that rises beside one that swings",
                format("%zu short transforms of %zu samples each, %zu apart, at %g a second", spectra.size(),
                       window, step, sampling));
  const Box box{82, 108, 800, 380};
  const Scale scale{colour::heights, -70, 0};
  Panel(figure, box, "Loudness in decibels below the loudest", {0, seconds_long, "seconds"},
        {0, sampling / 2, "Hz"})
      .map(spectra.size(), decibels, scale);
  figure.legend({box.left + box.width + 22, box.top, 14, box.height}, scale, "dB");
  stage.picture("spectrogram.svg", figure.svg());
}

} // namespace

void spectrum_scene(Stage &stage) {
  sunspots(stage);
  chirp(stage);
}

} // namespace tnk::tool
