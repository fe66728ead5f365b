// Scene "matching": an echo found in noise by correlation with the sound that was sent, which nothing does better than
// (North, "An analysis of the factors which determine signal/noise discrimination in pulsed-carrier systems", 1943); and
// the heights of a volcano averaged over their surroundings by convolution in two dimensions.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <tnk/conv.h>

namespace tnk::tool {
namespace {

using Vector = std::vector<double>;

void expect_done(tnk_conv_result result) {
  if (result != TNK_CONV_DONE) throw Failure(format("convolution: result %d", static_cast<int>(result)));
}

// ---- An echo ------------------------------------------------------------------------------------------------------

constexpr std::size_t samples = 60000, sound = 2000, hidden = 23456;
constexpr double loudness = 0.25; // of the echo; that of the noise is 1

// A rising tone.
Vector sent() {
  Vector x;
  for (std::size_t i = 0; i < sound; ++i) {
    const double t = static_cast<double>(i) / sound;
    x.push_back(std::sin(2 * std::acos(-1.0) * (40 * t + 160 * t * t)));
  }
  return x;
}

Vector received(const Vector &x) {
  std::mt19937_64 engine(1943);
  Vector y(samples);
  for (double &value : y) // twelve even numbers add up to nearly a normal one, the same everywhere
    for (int k = 0; k < 12; ++k) value += static_cast<double>(engine() >> 11) * 0x1p-53 - 0.5;
  for (std::size_t i = 0; i < sound; ++i) y[hidden + i] += loudness * x[i];
  return y;
}

// Where all of x lies over y, by one method.
class Matcher {
public:
  Matcher(std::int32_t method, tnk_int nx, tnk_int ny) {
    const tnk_int start = 0, positions = ny - nx + 1;
    tnk_conv_description d = {};
    d.job = TNK_CONV_CORRELATION, d.method = method, d.numbers = TNK_CONV_DOUBLE, d.dims = 1;
    d.xshape = &nx, d.yshape = &ny, d.zshape = &positions, d.start = &start;
    expect_done(tnk_conv_plan_make(&plan_, &d));
  }
  Matcher(const Matcher &) = delete;
  Matcher &operator=(const Matcher &) = delete;
  ~Matcher() { tnk_conv_plan_free(plan_); }
  void run(const Vector &x, const Vector &y, Vector &z) const {
    expect_done(tnk_conv_plan_run(plan_, x.data(), y.data(), z.data()));
  }

private:
  tnk_conv_plan *plan_ = nullptr;
};

std::string draw_echo(const Vector &y, const Vector &match, std::size_t found) {
  Figure figure(1000, 640, "An echo in noise",
                format("%zu samples of noise, and in them a sound of %zu samples, a quarter as loud; below "
                       "their correlation with that sound",
                       y.size(), sound));
  const auto curve = [](const Vector &values) {
    std::vector<Point> points;
    for (std::size_t i = 0; i < values.size(); i += 4) {
      const auto [low, high] =
          std::minmax_element(values.begin() + static_cast<std::ptrdiff_t>(i),
                              values.begin() + static_cast<std::ptrdiff_t>(std::min(i + 4, values.size())));
      points.push_back({static_cast<double>(i), *low}), points.push_back({static_cast<double>(i), *high});
    }
    return points;
  };
  const double end = static_cast<double>(y.size());
  Panel above(figure, {82, 108, 890, 190}, "What is received", {0, end, "sample"}, {-6, 6, "deviations"});
  above.line(curve(y), colour::grey, 0.5);
  const double top = std::ceil(match[found] / 50 + 0.3) * 50;
  Panel below(figure, {82, 380, 890, 200}, "Its correlation with the sound", {0, end, "sample"},
              {-top, top, "match"});
  below.line(curve(match), colour::blue, 0.5);
  const Point at{static_cast<double>(found), match[found]};
  below.marker(at, colour::vermilion);
  below.note(at, 12, -4, Panel::Side::right, colour::vermilion, format("sample %zu", found));
  return figure.svg();
}

void echo(Stage &stage) {
  const Vector x = sent(), y = received(x);
  const std::size_t positions = samples - sound + 1;
  Vector sums(positions), transforms(positions);
  const Matcher directly(TNK_CONV_DIRECT, sound, samples), by_fft(TNK_CONV_BY_FFT, sound, samples);
  directly.run(x, y, sums);
  by_fft.run(x, y, transforms);
  stage.stop_on_error();
  stage.say(
      "errors are those of single results against sums in extended precision: of sums over the magnitudes of "
      "their terms,");
  stage.say("of transforms over the product of the norms of all that they transform");
  stage.heading();

  Worst of_sums, of_transforms;
  const double norms = std::sqrt(dot(x, x) * dot(y, y));
  for (std::size_t t = 0; t < positions; t += 29) {
    long double sum = 0, size = 0;
    for (std::size_t i = 0; i < sound; ++i) {
      const long double term = static_cast<long double>(x[i]) * y[t + i];
      sum += term, size += std::fabs(term);
    }
    of_sums.take(static_cast<double>(std::fabs(sums[t] - sum) / size));
    of_transforms.take(static_cast<double>(std::fabs(transforms[t] - sum)) / norms);
  }
  const auto show = [&](const char *how, const Matcher &matcher, Vector &match, double error, double allowed,
                        bool rated) {
    const auto found = static_cast<std::size_t>(std::max_element(match.begin(), match.end()) - match.begin());
    const double seconds = seconds_per_call([&] { matcher.run(x, y, match); });
    const double operations = 2.0 * static_cast<double>(positions) * static_cast<double>(sound);
    stage.show({how, "plan_run", format("sample %zu, %.2f ms", found, seconds * 1e3), error, allowed,
                rated ? gigaflops_per_second(operations, seconds) : ""});
    return found;
  };
  show("an echo, by sums", directly, sums, of_sums.value(), (sound + 4) * roundoff, true);
  const double steps = std::ceil(std::log2(static_cast<double>(samples)));
  const std::size_t found =
      show("by transforms", by_fft, transforms, of_transforms.value(), 7 * 3 * (steps + 1) * roundoff,
           false); // three transforms, one after another
  stage.picture("echo.svg", draw_echo(y, transforms, found));
}

// ---- A mountain ----------------------------------------------------------------------------------------------------

constexpr double spacing = 10, deviation = 30; // metres
constexpr std::size_t reach = 9, side = 2 * reach + 1;

void mountain(Stage &stage) {
  const CsvTable table = read_csv(stage.data("volcano.csv"));
  const std::size_t across = table.rows(), up = table.columns.size(), points = across * up;
  Vector heights;
  for (const Vector &column : table.columns) heights.insert(heights.end(), column.begin(), column.end());
  Vector weights;
  for (std::size_t j = 0; j < side; ++j)
    for (std::size_t i = 0; i < side; ++i) {
      const double dx = static_cast<double>(i) - reach, dy = static_cast<double>(j) - reach;
      weights.push_back(std::exp(-(dx * dx + dy * dy) * spacing * spacing / (2 * deviation * deviation)));
    }
  // Beyond the edges there is nothing: so each sum goes through the weights that were inside.
  const tnk_int nx[] = {side, side}, ny[] = {static_cast<tnk_int>(across), static_cast<tnk_int>(up)};
  const Vector ones(points, 1);
  Vector sums(points), inside(points), smooth;
  expect_done(tnk_conv_dconvolve2('S', nx, weights.data(), ny, heights.data(), sums.data()));
  expect_done(tnk_conv_dconvolve2('S', nx, weights.data(), ny, ones.data(), inside.data()));
  stage.stop_on_error();
  Worst worst;
  for (std::size_t at = 0; at < points; ++at) {
    smooth.push_back(sums[at] / inside[at]);
    long double sum = 0, weight = 0;
    for (std::size_t j = 0; j < side; ++j)
      for (std::size_t i = 0; i < side; ++i) {
        const std::size_t column = at % across + reach - i, row = at / across + reach - j; // wrap below 0
        if (column >= across || row >= up) continue;
        weight += weights[j * side + i];
        sum += static_cast<long double>(weights[j * side + i]) * heights[row * across + column];
      }
    worst.take(static_cast<double>(std::fabs(smooth[at] / (sum / weight) - 1)));
  }
  Vector again(points);
  const double seconds = seconds_per_call(
      [&] { tnk_conv_dconvolve2('S', nx, weights.data(), ny, heights.data(), again.data()); });
  const auto [low, high] = std::minmax_element(smooth.begin(), smooth.end());
  // All terms are positive: twice a sum's roundings, and a quotient's. Transforms, should they be taken, have fewer, and
  // sums as alike as these.
  stage.show({format("heights over %g m", deviation), "dconvolve2",
              format("%.1f ... %.1f m, %.0f us", *low, *high, seconds * 1e6), worst.value(),
              2 * (side * side + 4) * roundoff, ""});

  Figure figure(
      1000, 460, "A mountain, and what an average leaves of it",
      format("Heights of Maunga Whau, Auckland, and their convolution with the weights of an average, "
             "%zu by %zu points, deviation %g m",
             side, side, deviation));
  const auto [lowest, highest] = std::minmax_element(heights.begin(), heights.end());
  const Scale scale{colour::heights, std::floor(*lowest / 10) * 10, std::ceil(*highest / 10) * 10};
  const Axis north{0, spacing * static_cast<double>(across), "metres north"},
      west{0, spacing * static_cast<double>(up), "metres west"};
  const double width = 380, height = width * static_cast<double>(up) / static_cast<double>(across);
  Panel(figure, {82, 112, width, height}, "Before", north, west).map(across, heights, scale);
  Panel(figure, {530, 112, width, height}, "After", north, west).map(across, smooth, scale);
  figure.legend({930, 112, 14, height}, scale, "m");
  stage.picture("average.svg", figure.svg());
}

} // namespace

void matching_scene(Stage &stage) {
  echo(stage);
  mountain(stage);
}

} // namespace tnk::tool
