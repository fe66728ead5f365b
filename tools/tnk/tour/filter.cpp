// Scene "filter": the heights of a volcano without what is finer than some hundred metres. A transform takes the mountain
// apart into waves in two dimensions, short ones are damped, and the transform back puts the rest together. Beyond its
// edges the grid goes on as its own mirror image, so that no cliff stands where a transform joins opposite edges.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <complex>
#include <tnk/dfti.h>

namespace tnk::tool {
namespace {

using Vector = std::vector<double>;
using Spectrum = std::vector<std::complex<double>>;
using Wide = std::complex<long double>;

constexpr double spacing = 10,
                 smoothed_over = 30; // metres: from one point to the next; deviation of the average

// Rows of heights, one after another.
struct Grid {
  std::size_t rows, columns;
  Vector heights;
};

Grid mirrored(const Grid &grid) {
  Grid large{2 * grid.rows, 2 * grid.columns, {}};
  for (std::size_t j = 0; j < large.rows; ++j)
    for (std::size_t i = 0; i < large.columns; ++i)
      large.heights.push_back(
          grid.heights[std::min(j, large.rows - 1 - j) * grid.columns + std::min(i, large.columns - 1 - i)]);
  return large;
}

// ---- Transforms ---------------------------------------------------------------------------------------------------

struct Routines {
  decltype(&DftiCreateDescriptor_d_md) create = TNK_PRESENT_ENTRY(DftiCreateDescriptor_d_md);
  decltype(&DftiSetValue) set = TNK_PRESENT_ENTRY(DftiSetValue);
  decltype(&DftiCommitDescriptor) commit = TNK_PRESENT_ENTRY(DftiCommitDescriptor);
  decltype(&DftiComputeForward) forward = TNK_PRESENT_ENTRY(DftiComputeForward);
  decltype(&DftiComputeBackward) backward = TNK_PRESENT_ENTRY(DftiComputeBackward);
  decltype(&DftiFreeDescriptor) free = TNK_PRESENT_ENTRY(DftiFreeDescriptor);
  decltype(&DftiErrorMessage) message = TNK_PRESENT_ENTRY(DftiErrorMessage);
};

// Between the heights and half of their spectrum, in either direction.
class Transform {
public:
  Transform(const Routines &routines, const Grid &grid, bool is_forward) : routines_(routines) {
    const auto m = static_cast<tnk_int>(grid.rows), n = static_cast<tnk_int>(grid.columns);
    const tnk_int lengths[] = {m, n}, heights[] = {0, n, 1}, spectrum[] = {0, n / 2 + 1, 1};
    check(routines_.create(&plan_, DftiReal, 2, lengths));
    check(routines_.set(plan_, DftiParamPlacement, DftiNotInPlace));
    check(routines_.set(plan_, DftiParamConjugateEvenStorage, DftiComplexComplex));
    check(routines_.set(plan_, DftiParamInputStrides, is_forward ? heights : spectrum));
    check(routines_.set(plan_, DftiParamOutputStrides, is_forward ? spectrum : heights));
    check(routines_.set(plan_, DftiParamBackwardScale, 1 / static_cast<double>(m * n)));
    check(routines_.commit(plan_));
  }
  Transform(const Transform &) = delete;
  Transform &operator=(const Transform &) = delete;
  ~Transform() { routines_.free(&plan_); }

  void forward(Vector &heights, Spectrum &spectrum) const {
    check(routines_.forward(plan_, heights.data(), spectrum.data()));
  }
  void backward(Spectrum &spectrum, Vector &heights) const {
    check(routines_.backward(plan_, spectrum.data(), heights.data()));
  }

private:
  void check(tnk_int status) const {
    if (status != DftiNoError) throw Failure(format("transform: %s", routines_.message(status)));
  }
  const Routines &routines_;
  DftiHandle plan_ = nullptr;
};

// y[k] := the sum over i of x[i] exp(-2 pi i k / n), `stride` apart, for k below `count`.
void by_definition(const std::vector<Wide> &x, std::size_t first, std::size_t stride, std::size_t n,
                   std::size_t count, std::vector<Wide> &y, std::size_t first_of_y, std::size_t stride_of_y) {
  std::vector<Wide> roots;
  for (std::size_t k = 0; k < n; ++k)
    roots.push_back(
        std::polar(1.0L, -2 * std::acos(-1.0L) * static_cast<long double>(k) / static_cast<long double>(n)));
  for (std::size_t k = 0; k < count; ++k) {
    Wide sum = 0;
    for (std::size_t i = 0, turn = 0; i < n; ++i, turn = (turn + k) % n)
      sum += x[first + i * stride] * roots[turn];
    y[first_of_y + k * stride_of_y] = sum;
  }
}

// The half spectrum of a grid, in extended precision.
std::vector<Wide> by_definition(const Grid &grid) {
  const std::size_t m = grid.rows, n = grid.columns, half = n / 2 + 1;
  const std::vector<Wide> x(grid.heights.begin(), grid.heights.end());
  std::vector<Wide> lines(m * half), spectrum(m * half);
  for (std::size_t j = 0; j < m; ++j) by_definition(x, j * n, 1, n, half, lines, j * half, 1);
  for (std::size_t k = 0; k < half; ++k) by_definition(lines, k, half, m, m, spectrum, k, half);
  return spectrum;
}

// The mean squares' root of x - y, over that of y.
template <class X, class Y> double distance(const std::vector<X> &x, const std::vector<Y> &y) {
  long double error = 0, size = 0;
  for (std::size_t i = 0; i < y.size(); ++i) error += std::norm(Y(x[i]) - y[i]), size += std::norm(y[i]);
  return static_cast<double>(std::sqrt(error / size));
}

// In this measure a transform of length 2^t is at most t (4 sqrt(2) + 1) roundings off (Higham, Accuracy and Stability of
// Numerical Algorithms, 2002, 24.1), and these are the errors of both dimensions. A prime factor counts for all the twos
// that are as long.
double allowed(const Grid &grid) {
  double steps = 0;
  for (const std::size_t length : {grid.rows, grid.columns})
    steps += 2 * std::ceil(std::log2(static_cast<double>(length)));
  return 7 * steps * roundoff;
}

// ---- The filter -----------------------------------------------------------------------------------------------------

// What an average with Gaussian weights leaves of a wave: of `waves` on `points` points.
double left_of(std::size_t waves, std::size_t points) {
  const double pi = std::acos(-1.0);
  const double turns =
      static_cast<double>(std::min(waves, points - waves)) / (static_cast<double>(points) * spacing);
  return std::exp(-2 * std::pow(pi * smoothed_over * turns, 2));
}

template <class T> void damp(const Grid &grid, std::vector<T> &spectrum) {
  const std::size_t half = grid.columns / 2 + 1;
  for (std::size_t j = 0; j < grid.rows; ++j)
    for (std::size_t i = 0; i < half; ++i)
      spectrum[j * half + i] *= left_of(j, grid.rows) * left_of(i, grid.columns);
}

// The same as an average of the heights around a point, with the weights that the damping stands for: the transforms of its
// two factors.
std::vector<long double> weights(std::size_t points) {
  std::vector<Wide> damping, result(points);
  for (std::size_t k = 0; k < points; ++k)
    damping.push_back(left_of(k, points) / static_cast<double>(points));
  by_definition(damping, 0, 1, points, points, result, 0, 1);
  std::vector<long double> real;
  for (const Wide &weight : result) real.push_back(weight.real());
  return real;
}
std::vector<long double> averaged(const Grid &grid) {
  const std::size_t m = grid.rows, n = grid.columns;
  const std::vector<long double> along = weights(n), across = weights(m);
  std::vector<long double> lines(m * n), result(m * n);
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t k = 0; k < n; ++k)
        lines[j * n + i] += along[(i + n - k) % n] * grid.heights[j * n + k];
  for (std::size_t j = 0; j < m; ++j)
    for (std::size_t k = 0; k < m; ++k)
      for (std::size_t i = 0; i < n; ++i) result[j * n + i] += across[(j + m - k) % m] * lines[k * n + i];
  return result;
}

// ---- The picture ------------------------------------------------------------------------------------------------------

std::string draw(const Grid &grid, const Vector &smooth, const Grid &large, const Spectrum &spectrum) {
  Figure figure(
      1280, 760, "A mountain without its details",
      format("Heights of Maunga Whau, Auckland, on a grid of 10 m (%zu by %zu points), and what is left when "
             "waves are damped as by an average over %g m",
             grid.columns, grid.rows, smoothed_over));
  const auto [low, high] = std::minmax_element(grid.heights.begin(), grid.heights.end());
  const Scale heights{colour::heights, std::floor(*low / 10) * 10, std::ceil(*high / 10) * 10};
  Vector rest;
  double most = 0;
  for (std::size_t i = 0; i < smooth.size(); ++i) {
    rest.push_back(grid.heights[i] - smooth[i]);
    most = std::max(most, std::fabs(rest.back()));
  }
  most = std::ceil(most / 5) * 5;
  const Axis north{0, spacing * static_cast<double>(grid.columns), "metres north"},
      west{0, spacing * static_cast<double>(grid.rows), "metres west"};
  const double width = 350,
               height = width * static_cast<double>(grid.rows) / static_cast<double>(grid.columns);
  const Box before{82, 112, width, height}, after{82, 450, width, height}, details{740, 450, width, height};
  Panel(figure, before, "Before", north, west).map(grid.columns, grid.heights, heights);
  Panel(figure, after, "After", north, west).map(grid.columns, smooth, heights);
  Panel(figure, details, "The difference", north, west)
      .map(grid.columns, rest, {colour::deviations, -most, most});
  figure.legend({before.left + width + 22, before.top, 14, height}, heights, "m");
  figure.legend({after.left + width + 22, after.top, 14, height}, heights, "m");
  figure.legend({details.left + width + 22, details.top, 14, height}, {colour::deviations, -most, most}, "m");

  // Frequencies from the lowest up. The highest is nothing in what is its own mirror image.
  const std::size_t half = large.columns / 2 + 1;
  constexpr double floor_of_map = -7;
  Vector sizes;
  for (std::size_t j = 0; j < grid.rows; ++j)
    for (std::size_t i = 0; i < grid.columns; ++i)
      sizes.push_back(std::max(std::log10(std::abs(spectrum[j * half + i]) / std::abs(spectrum[0]) + 1e-30),
                               floor_of_map));
  const double finest = 1000 / (2 * spacing);
  const Box waves{740, 112, width, height};
  const Scale decades{colour::heights, floor_of_map, 0};
  Panel(figure, waves, "Its waves before", {0, finest, "waves in a kilometre, northward"},
        {0, finest, "and westward"})
      .map(grid.columns, sizes, decades);
  figure.legend({waves.left + width + 22, waves.top, 14, height}, decades, "lg");
  return figure.svg();
}

} // namespace

void filter_scene(Stage &stage) {
  const CsvTable table = read_csv(stage.data("volcano.csv"));
  Grid grid{table.columns.size(), table.rows(), {}};
  for (const Vector &column : table.columns)
    grid.heights.insert(grid.heights.end(), column.begin(), column.end());
  if (grid.rows < 2 || grid.columns < 2) throw Failure(table.source + ": one line of heights is no mountain");
  stage.say(format("%zu by %zu heights from %s", grid.columns, grid.rows, table.source.c_str()));
  stage.say("errors are root mean squares over those of the result, against sums in extended precision");

  Grid large = mirrored(grid);
  const Routines routines;
  const Transform there(routines, large, true), back(routines, large, false);
  Spectrum spectrum(large.rows * (large.columns / 2 + 1));
  there.forward(large.heights, spectrum);
  Spectrum copy = spectrum, damped = spectrum;
  Vector again(large.heights.size()), filtered(large.heights.size());
  back.backward(copy, again);
  damp(large, damped);
  back.backward(damped, filtered);
  stage.stop_on_error();

  stage.heading();
  const double seconds = seconds_per_call([&] { there.forward(large.heights, copy); });
  const auto points = static_cast<double>(large.heights.size());
  const double operations = 2.5 * points * std::log2(points);
  stage.show({format("spectrum, %zu by %zu", large.columns, large.rows), "ComputeForward",
              format("%.0f us", seconds * 1e6), distance(spectrum, by_definition(large)), allowed(large),
              gigaflops_per_second(operations, seconds)});
  stage.show({"and back", "ComputeBackward", "", distance(again, large.heights), 2 * allowed(large), ""});

  Grid smooth{grid.rows, grid.columns, {}};
  for (std::size_t j = 0; j < grid.rows; ++j)
    smooth.heights.insert(smooth.heights.end(),
                          filtered.begin() + static_cast<std::ptrdiff_t>(j * large.columns),
                          filtered.begin() + static_cast<std::ptrdiff_t>(j * large.columns + grid.columns));
  const auto [low, high] = std::minmax_element(smooth.heights.begin(), smooth.heights.end());
  stage.show({format("over %g m", smoothed_over), "", format("%.1f ... %.1f m", *low, *high),
              distance(filtered, averaged(large)), 2 * allowed(large), ""});
  stage.picture("filter.svg", draw(grid, smooth.heights, large, spectrum));
}

} // namespace tnk::tool
