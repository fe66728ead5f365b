// Scenes "plate" and "film": what a plate with a source of heat becomes between cold edges and an insulated one; and the
// heights of a volcano from their curvature and their rim, beside the soap film that the rim alone would span.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <tnk/poisson.h>

namespace tnk::tool {
namespace {

using Vector = std::vector<double>;

// A grid with steps of h both ways, and a plan for it.
class Grid {
public:
  Grid(std::size_t across, std::size_t up, double h, const char *sides)
      : across_(across), up_(up), h_(h), sides_(sides) {
    tnk_poisson_problem problem = {};
    problem.dims = 2, problem.numbers = TNK_POISSON_DOUBLE;
    problem.cells[0] = static_cast<tnk_int>(across) - 1, problem.cells[1] = static_cast<tnk_int>(up) - 1;
    problem.high[0] = h * static_cast<double>(across - 1), problem.high[1] = h * static_cast<double>(up - 1);
    sides_.copy(problem.sides, 4);
    expect_done(tnk_poisson_plan_make(&plan_, &problem));
  }
  Grid(const Grid &) = delete;
  Grid &operator=(const Grid &) = delete;
  ~Grid() { tnk_poisson_plan_free(plan_); }

  // From a right-hand side to a solution, with given values, or slopes, at the edges.
  Vector solve(Vector f, const Vector (&edges)[4]) const {
    const void *const boundary[] = {edges[0].data(), edges[1].data(), edges[2].data(), edges[3].data()};
    expect_done(tnk_poisson_plan_solve(plan_, f.data(), boundary, nullptr));
    return f;
  }

  std::size_t points() const { return across_ * up_; }
  std::size_t at(std::size_t i, std::size_t j) const { return i + across_ * j; }
  // Calls each(i, j) for the points within the edges, and for those of the upper edge where its slope is given.
  template <class Each> void inside(const Each &each) const {
    for (std::size_t j = 1; j < up_ - (sides_[3] == 'N' ? 0 : 1); ++j)
      for (std::size_t i = 1; i + 1 < across_; ++i) each(i, j);
  }
  // The five-point sum, that is minus the Laplacian; beyond the upper edge u is mirrored.
  long double sum(const Vector &u, std::size_t i, std::size_t j) const {
    const auto value = [&](std::size_t x, std::size_t y) { return static_cast<long double>(u[at(x, y)]); };
    const std::size_t above = j + 1 < up_ ? j + 1 : j - 1;
    return (4 * value(i, j) - value(i - 1, j) - value(i + 1, j) - value(i, j - 1) - value(i, above)) /
           (static_cast<long double>(h_) * static_cast<long double>(h_));
  }
  // How far u is from its equations, relative to their largest terms.
  double residual(const Vector &u, const Vector &f) const {
    Worst worst, largest;
    inside([&](std::size_t i, std::size_t j) {
      worst.take(static_cast<double>(std::fabs(sum(u, i, j) - static_cast<long double>(f[at(i, j)]))));
      largest.take(std::fabs(u[at(i, j)]));
    });
    return worst.value() / (8 / (h_ * h_) * largest.value());
  }
  // A few roundings of equations, and of transforms some n in single places.
  double allowed() const { return 2 * roundoff * (8 + static_cast<double>(std::max(across_, up_)) / 16); }

private:
  static void expect_done(tnk_poisson_result result) {
    if (result != TNK_POISSON_DONE)
      throw Failure(format("Poisson's equation: result %d", static_cast<int>(result)));
  }
  std::size_t across_, up_;
  double h_;
  std::string sides_;
  tnk_poisson_plan *plan_ = nullptr;
};

std::string points_per_second(std::size_t points, double seconds) {
  return format("%.1f M/s", static_cast<double>(points) / seconds * 1e-6);
}

} // namespace

// ---- A plate ----------------------------------------------------------------------------------------------------------

void plate_scene(Stage &stage) {
  constexpr std::size_t across = 321, up = 161;
  constexpr double h = 2.0 / (across - 1), source_x = 0.7, source_y = 0.55, radius = 0.15;
  const Grid grid(across, up, h, "DDDN");
  Vector f(grid.points());
  double heat = 0; // that the source gives, for a conductivity of 1
  grid.inside([&](std::size_t i, std::size_t j) {
    const double x = h * static_cast<double>(i) - source_x, y = h * static_cast<double>(j) - source_y;
    if (x * x + y * y < radius * radius) f[grid.at(i, j)] = 1000, heat += 1000 * h * h;
  });
  const Vector edges[4] = {Vector(up), Vector(up), Vector(across), Vector(across)};
  const Vector u = grid.solve(f, edges);
  stage.stop_on_error();
  stage.say("residuals are relative to the largest terms of the five-point equations; what flows out is "
            "relative to what "
            "the source gives");
  stage.heading();
  const double seconds = seconds_per_call([&] { grid.solve(f, edges); });
  const auto hottest = static_cast<std::size_t>(std::max_element(u.begin(), u.end()) - u.begin());
  stage.show({"a plate with a source", "plan_solve",
              format("%.1f degrees, %.2f ms", u[hottest], seconds * 1e3), grid.residual(u, f), grid.allowed(),
              points_per_second(grid.points(), seconds)});
  // The equations add up to differences at the cold edges, half a difference where these end at the insulated one.
  long double flow = 0;
  for (std::size_t i = 1; i + 1 < across; ++i) flow += static_cast<long double>(u[grid.at(i, 1)]);
  for (std::size_t j = 1; j < up; ++j)
    flow += (j + 1 < up ? 1.0L : 0.5L) * (static_cast<long double>(u[grid.at(1, j)]) +
                                          static_cast<long double>(u[grid.at(across - 2, j)]));
  // Each of the equations is off by a residual at most.
  const double terms = 8 / (h * h) * u[hottest] * h * h * static_cast<double>(grid.points());
  stage.show({"heat that flows out", "plan_solve", format("%.3f of %.3f", static_cast<double>(flow), heat),
              static_cast<double>(std::fabs(flow / static_cast<long double>(heat) - 1)),
              grid.allowed() * terms / heat, ""});

  Figure figure(
      1000, 560, "A plate with a source of heat",
      "Three edges are cold, the upper one lets no heat through: Poisson's equation at 321 by 161 points");
  const Scale scale{colour::heights, 0, std::ceil(u[hottest])};
  Panel panel(figure, {82, 112, 780, 390}, "Temperature", {0, 2, "metres"}, {0, 1, "metres"});
  panel.map(across, u, scale);
  figure.legend({900, 112, 14, 390}, scale, "degrees");
  stage.picture("plate.svg", figure.svg());
}

// ---- A film -------------------------------------------------------------------------------------------------------------

void film_scene(Stage &stage) {
  constexpr double spacing = 10; // metres
  const CsvTable table = read_csv(stage.data("volcano.csv"));
  const std::size_t across = table.rows(), up = table.columns.size();
  Vector heights;
  for (const Vector &column : table.columns) heights.insert(heights.end(), column.begin(), column.end());

  const Grid grid(across, up, spacing, "DDDD");
  Vector curvature(grid.points());
  grid.inside([&](std::size_t i, std::size_t j) {
    curvature[grid.at(i, j)] = static_cast<double>(grid.sum(heights, i, j));
  });
  Vector rim[4];
  for (std::size_t j = 0; j < up; ++j)
    rim[0].push_back(heights[grid.at(0, j)]), rim[1].push_back(heights[grid.at(across - 1, j)]);
  for (std::size_t i = 0; i < across; ++i)
    rim[2].push_back(heights[grid.at(i, 0)]), rim[3].push_back(heights[grid.at(i, up - 1)]);
  const Vector rebuilt = grid.solve(curvature, rim), film = grid.solve(Vector(grid.points()), rim);
  stage.stop_on_error();
  stage.say("the error of the heights is in parts of the highest one; a residual is relative to the largest "
            "terms of "
            "the five-point equations");
  stage.heading();

  const auto [low, high] = std::minmax_element(heights.begin(), heights.end());
  Worst worst;
  for (std::size_t p = 0; p < heights.size(); ++p) worst.take(std::fabs(rebuilt[p] - heights[p]) / *high);
  const double seconds = seconds_per_call([&] { grid.solve(curvature, rim); });
  // A residual of 1 everywhere lifts the solution by an eighth of the square of the shorter side, at most.
  const double lift = static_cast<double>(up * up);
  stage.show({"heights from curvature", "plan_solve",
              format("%g ... %g m, %.0f us", *low, *high, seconds * 1e6), worst.value(),
              grid.allowed() * lift, points_per_second(grid.points(), seconds)});
  const auto [lowest, highest] = std::minmax_element(film.begin(), film.end());
  stage.show({"a film from the rim", "plan_solve", format("%.1f ... %.1f m", *lowest, *highest),
              grid.residual(film, Vector(grid.points())), grid.allowed(), ""});

  Figure figure(
      1000, 460, "A mountain from its curvature, and without any",
      format("Heights of Maunga Whau, Auckland, rebuilt from their second differences and their rim with an "
             "error of %.0e m; and the soap film on that rim",
             worst.value() * *high));
  const Scale scale{colour::heights, std::floor(*low / 10) * 10, std::ceil(*high / 10) * 10};
  const Axis north{0, spacing * static_cast<double>(across), "metres north"},
      west{0, spacing * static_cast<double>(up), "metres west"};
  const double width = 380, height = width * static_cast<double>(up) / static_cast<double>(across);
  Panel(figure, {82, 112, width, height}, "Rebuilt", north, west).map(across, rebuilt, scale);
  Panel(figure, {530, 112, width, height}, "The film", north, west).map(across, film, scale);
  figure.legend({930, 112, 14, height}, scale, "m");
  stage.picture("film.svg", figure.svg());
}

} // namespace tnk::tool
