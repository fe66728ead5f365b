// Scene "smoothing": the monthly sunspot numbers without their noise, then without the finer shape of their cycle, then
// without the cycle. The smooth curve x is near the numbers b and has small steps: it makes |x - b|^2 + lambda |D x|^2
// least, D being the differences of neighbours, and so solves the tridiagonal system (I + lambda D'D) x = b.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <tnk/lapack_ps.h>

namespace tnk::tool {
namespace {

using Vector = std::vector<double>;

struct Strength {
  double lambda;
  const char *colour, *text; // what is left
};
constexpr Strength strengths[] = {
    {10, colour::blue, "years"}, {100, colour::green, "cycles"}, {30000, colour::vermilion, "generations"}};

struct Kernels {
  decltype(&tnk_lapack_ps_ddttrfb) factor = TNK_PRESENT_ENTRY(tnk_lapack_ps_ddttrfb);
  decltype(&tnk_lapack_ps_ddttrsb) solve = TNK_PRESENT_ENTRY(tnk_lapack_ps_ddttrsb);
};

// Each row's sum is 1, so the diagonal is larger than its neighbours together, and no pivoting is needed.
struct Matrix {
  Matrix(std::size_t order, double lambda)
      : below(order - 1, -lambda), main(order, 1 + 2 * lambda), above(below) {
    main.front() = main.back() = 1 + lambda;
  }
  // In place of the matrix; not 0 when a pivot was.
  tnk_int factor(const Kernels &kernels) {
    const auto n = static_cast<tnk_int>(main.size());
    tnk_int info = 0;
    kernels.factor(&n, below.data(), main.data(), above.data(), &info);
    return info;
  }
  // From the factors.
  void solve(const Kernels &kernels, Vector &b) const {
    const auto n = static_cast<tnk_int>(main.size());
    tnk_int info = 0;
    kernels.solve("N", &n, &one, below.data(), main.data(), above.data(), b.data(), &n, &info);
  }
  // What x leaves over of row i, over the magnitudes of its terms.
  double residual(std::size_t i, const Vector &x, const Vector &b) const {
    long double rest = b[i], size = std::fabs(b[i]);
    const auto take = [&](double a, double by) {
      rest -= static_cast<long double>(a) * by;
      size += std::fabs(static_cast<long double>(a) * by);
    };
    if (i > 0) take(below[i - 1], x[i - 1]);
    take(main[i], x[i]);
    if (i + 1 < x.size()) take(above[i], x[i + 1]);
    return static_cast<double>(std::fabs(rest) / size);
  }

  Vector below, main, above;
};

// A backward error a row. In a dominant tridiagonal matrix the magnitudes of the factors multiply to at most three times
// those of the matrix (Higham, Accuracy and Stability of Numerical Algorithms, 2002, 9.6). An element goes through some
// six roundings, one more than usual for the reciprocal that pivots are kept as.
constexpr double allowed = 3 * 6 * roundoff;

std::string draw(const Vector &years, const Vector &spots, const std::vector<Vector> &smooth) {
  Figure figure(
      1000, 640, "Sunspots, smoothed three times",
      format("Monthly mean sunspot numbers b, and x of (I + \u03bb D\u2032D) x = b; %zu rows", spots.size()));
  const double top = std::ceil(*std::max_element(spots.begin(), spots.end()) / 50) * 50;
  const auto curve = [&](const Vector &values) {
    std::vector<Point> points;
    for (std::size_t i = 0; i < values.size(); ++i) points.push_back({years[i], values[i]});
    return points;
  };
  const auto panel = [&](const Box &box, double from, double to, const char *title) {
    Panel drawn(figure, box, title, {from, to, "year"}, {0, top, "sunspots"});
    drawn.line(curve(spots), colour::grey, 0.5);
    for (std::size_t k = 0; k < smooth.size(); ++k) drawn.line(curve(smooth[k]), strengths[k].colour, 1.8);
    return drawn;
  };
  const double last = std::ceil(years.back());
  Panel all = panel({82, 108, 890, 210}, std::floor(years.front()), last, "All months");
  const double decades = last - 36;
  panel({82, 390, 890, 190}, decades, last, "The last three cycles");
  double left = years.front() + 2;
  for (const Strength &s : strengths) {
    all.note({left, top}, 0, -18, Panel::Side::right, s.colour, format("\u03bb = %g: %s", s.lambda, s.text));
    left += (years.back() - years.front()) / 4;
  }
  return figure.svg();
}

} // namespace

void smoothing_scene(Stage &stage) {
  const CsvTable table = read_csv(stage.data("sunspots.csv"));
  const Vector &years = table.column("year"), &spots = table.column("spots");
  if (spots.size() < 2) throw Failure(table.source + ": one month has no neighbour to be smoothed with");
  stage.say(format("%zu months from %s", spots.size(), table.source.c_str()));
  stage.say("errors are what is left over of a row in extended precision, over the magnitudes of its terms");

  const Kernels kernels;
  stage.heading();
  std::vector<Vector> smooth;
  const auto n = static_cast<double>(spots.size());
  for (const Strength &strength : strengths) {
    const Matrix matrix(spots.size(), strength.lambda);
    Matrix factors = matrix;
    Vector x = spots;
    if (factors.factor(kernels) != 0) throw Failure(format("a pivot is zero at lambda %g", strength.lambda));
    factors.solve(kernels, x);
    stage.stop_on_error();
    Worst worst;
    for (std::size_t i = 0; i < x.size(); ++i) worst.take(matrix.residual(i, x, spots));

    // A row of the factors takes four operations, one of the solution five.
    Vector again = spots;
    const double seconds = seconds_per_call([&] {
      factors = matrix, again = spots;
      factors.factor(kernels);
      factors.solve(kernels, again);
    });
    const auto [low, high] = std::minmax_element(x.begin(), x.end());
    stage.show({format("lambda %g", strength.lambda), "ddttrfb, -sb",
                format("%.1f ... %.1f, %.0f us", *low, *high, seconds * 1e6), worst.value(), allowed,
                gigaflops_per_second(9 * n, seconds)});
    smooth.push_back(std::move(x));
  }
  stage.picture("smoothing.svg", draw(years, spots, smooth));
}

} // namespace tnk::tool
