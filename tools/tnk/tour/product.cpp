// Scene "product": principal components of the heights of a volcano. Its grid lines are taken as 61 variables with
// 87 observations; the leading eigenvectors of their matrix of products are the shapes from which a few numbers a
// line rebuild the mountain.
#include "tools/tnk/data/csv.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/progress.h"
#include "tools/tnk/support/threads.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tnk/blas.h>
#include <tnk/host.h>

namespace tnk::tool {
namespace {

constexpr std::size_t kept = 3; // components that rebuild the mountain
constexpr std::size_t tracked =
    8; // those that the iteration carries: with more than are kept, these settle soon
constexpr std::size_t large = 800; // order of the product that is timed
constexpr double spacing = 10;     // metres from one grid point to the next

// By columns.
template <class T> struct Matrix {
  Matrix(std::size_t row_count, std::size_t column_count)
      : rows(row_count), columns(column_count), data(rows * columns) {}
  T &operator()(std::size_t i, std::size_t j) { return data[i + j * rows]; }
  const T &operator()(std::size_t i, std::size_t j) const { return data[i + j * rows]; }
  T *column(std::size_t j) { return data.data() + j * rows; }
  std::size_t rows, columns;
  std::vector<T> data;
};

void gemm(const char *ta, const char *tb, const tnk_int *m, const tnk_int *n, const tnk_int *k,
          const float *alpha, const float *a, const tnk_int *lda, const float *b, const tnk_int *ldb,
          const float *beta, float *c, const tnk_int *ldc) {
  tnk_blas_sgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
void gemm(const char *ta, const char *tb, const tnk_int *m, const tnk_int *n, const tnk_int *k,
          const double *alpha, const double *a, const tnk_int *lda, const double *b, const tnk_int *ldb,
          const double *beta, double *c, const tnk_int *ldc) {
  tnk_blas_dgemm(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// c := op(a) op(b)
template <class T> void multiply(char ta, const Matrix<T> &a, char tb, const Matrix<T> &b, Matrix<T> &c) {
  const auto m = static_cast<tnk_int>(c.rows), n = static_cast<tnk_int>(c.columns),
             k = static_cast<tnk_int>(ta == 'N' ? a.columns : a.rows), lda = static_cast<tnk_int>(a.rows),
             ldb = static_cast<tnk_int>(b.rows);
  const T unit = 1, none = 0;
  gemm(&ta, &tb, &m, &n, &k, &unit, a.data.data(), &lda, b.data.data(), &ldb, &none, c.data.data(), &m);
}

struct Terrain {
  std::string source;
  Matrix<double> heights;   // metres; 87 grid lines by 61 points
  std::vector<double> mean; // of each column
  Matrix<double> centred;
};

Terrain load(const std::filesystem::path &path) {
  const CsvTable table = read_csv(path);
  const std::size_t rows = table.rows(), columns = table.columns.size();
  if (rows < columns || columns <= tracked)
    throw Failure(format("%s: %zu lines of %zu heights; at least as many lines as columns are needed, and "
                         "more than %zu columns",
                         table.source.c_str(), rows, columns, tracked));
  Terrain terrain{table.source, Matrix<double>(rows, columns), {}, Matrix<double>(rows, columns)};
  for (std::size_t j = 0; j < columns; ++j) {
    const std::vector<double> &heights = table.columns[j];
    std::copy(heights.begin(), heights.end(), terrain.heights.column(j));
    terrain.mean.push_back(std::accumulate(heights.begin(), heights.end(), 0.0) / static_cast<double>(rows));
    for (std::size_t i = 0; i < rows; ++i) terrain.centred(i, j) = heights[i] - terrain.mean[j];
  }
  return terrain;
}

double trace(const Matrix<double> &a) {
  double sum = 0;
  for (std::size_t i = 0; i < a.rows; ++i) sum += a(i, i);
  return sum;
}

// Makes the columns orthonormal, each against those before it, twice: once leaves an error that grows with how
// alike the columns are (Giraud, Langou and Rozložník, 2005).
void orthonormalize(Matrix<double> &v) {
  const auto n = static_cast<tnk_int>(v.rows);
  for (std::size_t j = 0; j < v.columns; ++j) {
    for (int pass = 0; pass < 2; ++pass)
      for (std::size_t i = 0; i < j; ++i) {
        const double minus = -dot(v.rows, v.column(i), v.column(j));
        tnk_blas_daxpy(&n, &minus, v.column(i), &one, v.column(j), &one);
      }
    const double norm = std::sqrt(dot(v.rows, v.column(j), v.column(j)));
    for (std::size_t i = 0; i < v.rows; ++i) v(i, j) /= norm;
  }
}

struct Components {
  Matrix<double> vectors; // the columns
  std::vector<double> values;
  int steps;
};

// Orthogonal iteration: the product with the matrix stretches the leading directions most; made orthonormal again,
// the columns turn into them one after the other. Ends when the kept ones leave no residual but rounding's.
Components iterate(const Matrix<double> &products) {
  constexpr int most_steps = 2000;
  const std::size_t n = products.rows;
  const double settled = static_cast<double>(n) * roundoff * trace(products);
  Components c{Matrix<double>(n, tracked), std::vector<double>(tracked), 0};
  Matrix<double> stretched(n, tracked);
  // Cosines of all frequencies: nothing that a mountain could be orthogonal to.
  for (std::size_t j = 0; j < tracked; ++j)
    for (std::size_t i = 0; i < n; ++i)
      c.vectors(i, j) =
          std::cos(M_PI * (static_cast<double>(i) + 0.5) * static_cast<double>(j) / static_cast<double>(n));
  orthonormalize(c.vectors);
  for (; c.steps < most_steps; ++c.steps) {
    multiply('N', products, 'N', c.vectors, stretched);
    double residual = 0;
    for (std::size_t j = 0; j < tracked; ++j) {
      c.values[j] = dot(n, c.vectors.column(j), stretched.column(j));
      double squares = 0;
      for (std::size_t i = 0; i < n; ++i) {
        const double rest = stretched(i, j) - c.values[j] * c.vectors(i, j);
        squares += rest * rest;
      }
      if (j < kept) residual = std::max(residual, std::sqrt(squares));
    }
    if (residual <= settled) return c;
    std::swap(c.vectors, stretched);
    orthonormalize(c.vectors);
  }
  throw Failure(format("the components did not settle in %d steps", most_steps));
}

// The definition, in extended precision.
Matrix<long double> products_by_definition(const Matrix<double> &x) {
  Matrix<long double> g(x.columns, x.columns);
  for (std::size_t j = 0; j < g.columns; ++j)
    for (std::size_t i = 0; i < g.rows; ++i)
      for (std::size_t l = 0; l < x.rows; ++l) g(i, j) += static_cast<long double>(x(l, i)) * x(l, j);
  return g;
}

// All eigenvalues of a symmetric matrix, largest first, by Jacobi's rotations in extended precision.
std::vector<long double> eigenvalues(Matrix<long double> a) {
  const std::size_t n = a.rows;
  for (int sweep = 0; sweep < 30; ++sweep)
    for (std::size_t p = 0; p < n; ++p)
      for (std::size_t q = p + 1; q < n; ++q) {
        if (a(p, q) == 0) continue;
        const long double theta = (a(q, q) - a(p, p)) / (2 * a(p, q));
        const long double t = (theta < 0 ? -1 : 1) / (std::fabs(theta) + std::hypot(theta, 1.0L));
        const long double c = 1 / std::hypot(t, 1.0L), s = t * c;
        for (std::size_t k = 0; k < n; ++k) {
          const long double kp = a(k, p), kq = a(k, q);
          a(k, p) = c * kp - s * kq, a(k, q) = s * kp + c * kq;
        }
        for (std::size_t k = 0; k < n; ++k) {
          const long double pk = a(p, k), qk = a(q, k);
          a(p, k) = c * pk - s * qk, a(q, k) = s * pk + c * qk;
        }
      }
  std::vector<long double> values;
  for (std::size_t i = 0; i < n; ++i) values.push_back(a(i, i));
  std::sort(values.rbegin(), values.rend());
  return values;
}

// The mean and the kept components of each grid line.
Matrix<double> rebuild(const Terrain &terrain, const Matrix<double> &vectors) {
  Matrix<double> leading(vectors.rows, kept), scores(terrain.heights.rows, kept),
      rebuilt(terrain.heights.rows, terrain.heights.columns);
  std::copy(vectors.data.begin(), vectors.data.begin() + static_cast<std::ptrdiff_t>(leading.data.size()),
            leading.data.begin());
  multiply('N', terrain.centred, 'N', leading, scores);
  multiply('N', scores, 'T', leading, rebuilt);
  for (std::size_t j = 0; j < rebuilt.columns; ++j)
    for (std::size_t i = 0; i < rebuilt.rows; ++i) rebuilt(i, j) += terrain.mean[j];
  return rebuilt;
}

struct Timed {
  double rate, error, allowed; // GFLOP/s; largest error of a row, relative to the row's sum of magnitudes
};

// A product of two large matrices of the heights over and over. Judged by what it does to a vector: c x and a (b x)
// are the same but for rounding, and extended precision gives both at little cost.
template <class T> Timed time_large(const Terrain &terrain, int threads) {
  Matrix<T> a(large, large), b(large, large), c(large, large);
  const std::vector<double> &source = terrain.centred.data;
  for (std::size_t i = 0; i < a.data.size(); ++i) {
    a.data[i] = static_cast<T>(source[i * 7 % source.size()]);
    b.data[i] = static_cast<T>(source[(i * 11 + 5) % source.size()]);
  }
  const Threads set(threads);
  const double seconds = seconds_per_call([&] { multiply('N', a, 'N', b, c); });

  const auto apply = [](const Matrix<T> &matrix, const std::vector<long double> &x, bool magnitudes) {
    std::vector<long double> y(matrix.rows);
    for (std::size_t j = 0; j < matrix.columns; ++j)
      for (std::size_t i = 0; i < matrix.rows; ++i) {
        const long double element = matrix(i, j);
        y[i] += (magnitudes ? std::fabs(element) : element) * x[j];
      }
    return y;
  };
  std::vector<long double> x(large), sizes(large, 1);
  for (std::size_t i = 0; i < large; ++i) x[i] = i * 5 % 7 < 3 ? 1 : -1;
  const auto found = apply(c, x, false), expected = apply(a, apply(b, x, false), false),
             magnitudes = apply(a, apply(b, sizes, true), true);
  const auto order = static_cast<double>(large);
  Worst worst;
  for (std::size_t i = 0; i < large; ++i)
    worst.take(static_cast<double>(std::fabs(found[i] - expected[i]) / magnitudes[i]));
  return {2 * order * order * order / seconds, worst.value(), order * std::numeric_limits<T>::epsilon() / 2};
}

void show_large(Stage &stage, const char *routine, int threads, const Timed &timed) {
  stage.show({format("product of order %zu", large), routine,
              format("%d thread%s", threads, threads == 1 ? "" : "s"), timed.error, timed.allowed,
              gigaflops_per_second(timed.rate, 1)});
}

struct Residual {
  double rms, largest;
};

Residual residual(const Terrain &terrain, const Matrix<double> &rebuilt) {
  Residual r{0, 0};
  for (std::size_t i = 0; i < rebuilt.data.size(); ++i) {
    const double rest = terrain.heights.data[i] - rebuilt.data[i];
    r.rms += rest * rest;
    r.largest = std::max(r.largest, std::fabs(rest));
  }
  r.rms = std::sqrt(r.rms / static_cast<double>(rebuilt.data.size()));
  return r;
}

void show_components(Stage &stage, const Terrain &terrain, const Matrix<double> &products,
                     const Components &c, const Matrix<double> &rebuilt) {
  const auto rows = static_cast<double>(terrain.heights.rows),
             columns = static_cast<double>(terrain.heights.columns);
  const Matrix<long double> exact = products_by_definition(terrain.centred);
  const std::vector<long double> values = eigenvalues(exact);
  const long double total = std::accumulate(values.begin(), values.end(), 0.0L);

  // Each sum of `rows` products is off by at most rows u of the sum of their magnitudes.
  Worst worst;
  for (std::size_t j = 0; j < products.columns; ++j)
    for (std::size_t i = 0; i < products.rows; ++i) {
      long double magnitudes = 0;
      for (std::size_t l = 0; l < terrain.centred.rows; ++l)
        magnitudes += std::fabs(static_cast<long double>(terrain.centred(l, i)) * terrain.centred(l, j));
      worst.take(static_cast<double>(std::fabs(products(i, j) - exact(i, j)) / magnitudes));
    }
  Matrix<double> again(products.rows, products.columns);
  const double seconds =
      seconds_per_call([&] { multiply('T', terrain.centred, 'N', terrain.centred, again); });
  stage.heading();
  stage.show({"matrix of products", "dgemm", format("%zu x %zu", products.rows, products.columns),
              worst.value(), rows * roundoff, gigaflops_per_second(2 * rows * columns * columns, seconds)});

  // Eigenvalues move by no more than the matrix does, rows u of its trace; a quotient of a product with a vector adds
  // sums of as many terms as there are columns.
  const double allowed = (rows + 3 * columns) * roundoff;
  long double together = 0;
  for (std::size_t j = 0; j < kept; ++j) {
    const double share = c.values[j] / trace(products);
    stage.show({format("share of component %zu", j + 1), "dgemm, ddot", format("%.2f %%", 100 * share),
                std::fabs(static_cast<double>(share - values[j] / total)), allowed, ""});
    together += values[j] / total;
  }
  Matrix<double> unit(tracked, tracked);
  multiply('T', c.vectors, 'N', c.vectors, unit);
  Worst skew;
  for (std::size_t i = 0; i < tracked; ++i)
    for (std::size_t j = 0; j < tracked; ++j) skew.take(std::fabs(unit(i, j) - (i == j ? 1 : 0)));
  stage.show({"orthonormal vectors", "ddot, daxpy", format("%zu, after %d steps", tracked, c.steps),
              skew.value(), 4 * columns * roundoff, ""});

  // What the components leave is what they do not explain. Both sides are shares of all deviation.
  const Residual rest = residual(terrain, rebuilt);
  const long double share = rest.rms * rest.rms * rows * columns / total;
  stage.show({"rebuilt, rms of rest", "dgemm", format("%.2f m, at most %.1f m", rest.rms, rest.largest),
              std::fabs(static_cast<double>(share - (1 - together))), 4 * (rows + columns) * roundoff, ""});
}

std::string draw(const Terrain &terrain, const Matrix<double> &products, const Components &c,
                 const Matrix<double> &rebuilt) {
  const std::size_t across = terrain.heights.rows, up = terrain.heights.columns;
  const double total = trace(products);
  double explained = 0;
  for (std::size_t j = 0; j < kept; ++j) explained += c.values[j] / total;
  Figure figure(
      1280, 760, "A mountain from three profiles",
      format("Heights of Maunga Whau, Auckland, on a grid of 10 m (%zu by %zu points), and what %zu "
             "principal components keep of them: %.1f %% of the variance, %zu numbers of %zu",
             across, up, kept, 100 * explained, kept * (across + up) + up, across * up));

  const auto [low, high] = std::minmax_element(terrain.heights.data.begin(), terrain.heights.data.end());
  const Scale heights{colour::heights, std::floor(*low / 10) * 10, std::ceil(*high / 10) * 10};
  Matrix<double> rest(across, up);
  for (std::size_t i = 0; i < rest.data.size(); ++i) rest.data[i] = terrain.heights.data[i] - rebuilt.data[i];
  const Residual size = residual(terrain, rebuilt);
  const double most = std::ceil(size.largest / 5) * 5;
  const Scale deviations{colour::deviations, -most, most};

  const double width = 310, height = width * static_cast<double>(up) / static_cast<double>(across), top = 122;
  const Axis north{0, spacing * static_cast<double>(across), "metres north"},
      west{0, spacing * static_cast<double>(up), "metres west"};
  Panel(figure, {76, top, width, height}, "Measured", north, west).map(across, terrain.heights.data, heights);
  Panel(figure, {462, top, width, height}, format("Rebuilt from %zu components", kept), north, west)
      .map(across, rebuilt.data, heights);
  figure.legend({784, top, 14, height}, heights, "m");
  Panel(figure, {898, top, width, height}, format("Difference: %.1f m rms", size.rms), north, west)
      .map(across, rest.data, deviations);
  figure.legend({1220, top, 14, height}, deviations, "m");

  // Signs are arbitrary: each profile is shown with its largest part upwards.
  const double below = 440, tall = 250;
  constexpr const char *colours[kept] = {colour::blue, colour::vermilion, colour::green};
  double extreme = 0;
  for (std::size_t j = 0; j < kept; ++j)
    for (std::size_t i = 0; i < up; ++i) extreme = std::max(extreme, std::fabs(c.vectors(i, j)));
  extreme = std::ceil(extreme * 10 + 0.4) / 10;
  Panel profiles(figure, {76, below, 696, tall},
                 "The profiles that every grid line is a mixture of, with the mean", west,
                 {-extreme, extreme, "weight"});
  profiles.horizontal(0, colour::grey);
  for (std::size_t j = 0; j < kept; ++j) {
    std::size_t peak = 0;
    for (std::size_t i = 0; i < up; ++i)
      if (std::fabs(c.vectors(i, j)) > std::fabs(c.vectors(peak, j))) peak = i;
    const double sign = c.vectors(peak, j) < 0 ? -1 : 1;
    std::vector<Point> curve;
    for (std::size_t i = 0; i < up; ++i)
      curve.push_back({spacing * (static_cast<double>(i) + 0.5), sign * c.vectors(i, j)});
    profiles.line(curve, colours[j], 2.2);
    profiles.note(curve[peak], 0, 8, Panel::Side::middle, colours[j], format("%zu", j + 1));
  }

  Panel shares(figure, {898, below, 336, tall}, "Variance explained by the first components",
               {0, static_cast<double>(tracked), "components"}, {0, 100, "per cent"});
  std::vector<Point> curve = {{0, 0}};
  for (std::size_t j = 0; j < tracked; ++j)
    curve.push_back({static_cast<double>(j + 1), curve.back().y + 100 * c.values[j] / total});
  shares.area(curve, 0, colour::blue, 0.12);
  shares.line(curve, colour::blue, 1.8);
  for (std::size_t j = 1; j <= kept; ++j) {
    shares.marker(curve[j], colours[j - 1]);
    shares.note(curve[j], 10, -16 - 12 * static_cast<double>(kept - j), Panel::Side::right, colours[j - 1],
                format("%.1f %%", curve[j].y));
  }
  return figure.svg();
}

} // namespace

void product_scene(Stage &stage) {
  const Terrain terrain = load(stage.data("volcano.csv"));
  stage.say(format("%zu grid lines of %zu heights, from %s", terrain.heights.rows, terrain.heights.columns,
                   terrain.source.c_str()));
  stage.say("against references in extended precision; errors are relative to sums of magnitudes, of shares "
            "absolute");

  Matrix<double> products(terrain.heights.columns, terrain.heights.columns);
  multiply('T', terrain.centred, 'N', terrain.centred, products);
  const Components components = iterate(products);
  const Matrix<double> rebuilt = rebuild(terrain, components.vectors);
  stage.stop_on_error();
  show_components(stage, terrain, products, components, rebuilt);

  const int threads = tnk_get_max_threads();
  Progress progress("product: taking rates");
  const Timed alone = time_large<double>(terrain, 1), single = time_large<float>(terrain, 1);
  progress.update(0.7);
  show_large(stage, "dgemm", 1, alone);
  show_large(stage, "sgemm", 1, single);
  if (threads > 1) show_large(stage, "dgemm", threads, time_large<double>(terrain, threads));

  stage.picture("product.svg", draw(terrain, products, components, rebuilt));
}

} // namespace tnk::tool
