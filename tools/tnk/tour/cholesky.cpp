// Scene "cholesky": a stiffness matrix as a dense system, factored by blocks, solved, and the solution refined with
// residuals in double precision. Factors in single precision take half the time and lead to the same solution in a few
// steps. What refinement makes smaller is the change of A, entry by entry, that would make x exact; x itself keeps an error
// that the condition of the matrix makes of its last residual.
#include "tools/tnk/data/matrix_market.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/threads.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/magnitudes.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <limits>
#include <tnk/lapack_ps.h>

namespace tnk::tool {
namespace {

constexpr std::size_t refinements = 6;

using Vector = std::vector<double>;

struct System {
  std::string source;
  std::size_t order, longest; // the most entries of a row
  Vector a;                   // by columns, both triangles
  Vector solution, b;         // b is rounded from the product in extended precision

  double at(std::size_t i, std::size_t j) const { return a[i + j * order]; }
};

System load(const std::filesystem::path &path) {
  const MatrixMarket file = read_matrix_market(path);
  if (!file.symmetric || file.rows < 2)
    throw Failure(file.source + ": a symmetric matrix of two rows or more is needed");
  const auto n = static_cast<std::size_t>(file.rows);
  System s{file.source, n, 0, Vector(n * n), Vector(n), Vector(n)};
  for (const auto &entry : file.entries) {
    const auto i = static_cast<std::size_t>(entry.row - 1), j = static_cast<std::size_t>(entry.column - 1);
    s.a[i + j * n] = s.a[j + i * n] = entry.value;
  }
  for (std::size_t i = 0; i < n; ++i) s.solution[i] = 1 + std::cos(static_cast<double>(i)) / 2;
  for (std::size_t i = 0; i < n; ++i) {
    long double sum = 0;
    std::size_t entries = 0;
    for (std::size_t j = 0; j < n; ++j) {
      sum += static_cast<long double>(s.at(j, i)) * s.solution[j];
      entries += s.at(j, i) != 0;
    }
    s.b[i] = static_cast<double>(sum);
    s.longest = std::max(s.longest, entries);
  }
  return s;
}

// What a factorization is made of, in either precision.
template <class T> struct Routines;
template <> struct Routines<double> {
  const char *name = "potrf, trsm", *precision = "double";
  decltype(&tnk_lapack_ps_dpotrf_l_small) potrf = TNK_PRESENT_ENTRY(tnk_lapack_ps_dpotrf_l_small);
  decltype(&tnk_blas_dtrsm) trsm = tnk_blas_dtrsm;
  decltype(&tnk_blas_dgemm) gemm = tnk_blas_dgemm;
};
template <> struct Routines<float> {
  const char *name = "potrf, trsm", *precision = "single";
  decltype(&tnk_lapack_ps_spotrf_l_small) potrf = TNK_PRESENT_ENTRY(tnk_lapack_ps_spotrf_l_small);
  decltype(&tnk_blas_strsm) trsm = tnk_blas_strsm;
  decltype(&tnk_blas_sgemm) gemm = tnk_blas_sgemm;
};

// A = L L^T in the lower triangle; what stands above is of no use.
template <class T> class Factor {
public:
  explicit Factor(const Vector &matrix)
      : l_(matrix.begin(), matrix.end()),
        order_(static_cast<tnk_int>(std::sqrt(static_cast<double>(matrix.size())))) {
    constexpr tnk_int block = 64, strip = 256;
    constexpr T unit = 1, minus_one = -1;
    const tnk_int n = order_;
    for (tnk_int j = 0; j < n; j += block) {
      const tnk_int width = std::min(block, n - j), below = n - j - width;
      T *const diagonal = l_.data() + j + j * n, *const rows = diagonal + width,
               *const rest = rows + width * n;
      tnk_int info = 0;
      routines.potrf("L", &width, diagonal, &n, &info);
      if (info > 0)
        throw Failure(format("column %lld shows that the matrix is not positive definite in %s precision",
                             static_cast<long long>(j + info), routines.precision));
      routines.trsm("R", "L", "T", "N", &below, &width, &unit, diagonal, &n, rows, &n);
      for (tnk_int c = 0; c < below; c += strip) {
        const tnk_int columns = std::min(strip, below - c), height = below - c;
        routines.gemm("N", "T", &height, &columns, &width, &minus_one, rows + c, &n, rows + c, &n, &unit,
                      rest + c + c * n, &n);
      }
    }
  }

  // The solution of A x = b.
  Vector solve(const Vector &b) const {
    constexpr T unit = 1;
    std::vector<T> x(b.begin(), b.end());
    for (const char *trans : {"N", "T"})
      routines.trsm("L", "L", trans, "N", &order_, &one, &unit, l_.data(), &order_, x.data(), &order_);
    return {x.begin(), x.end()};
  }

  // |L| |L^T| |x| in extended precision
  std::vector<long double> magnitudes(const Vector &x) const {
    const std::size_t n = x.size();
    std::vector<long double> product(n);
    for (std::size_t j = 0; j < n; ++j) {
      long double dot = 0;
      for (std::size_t i = j; i < n; ++i) dot += std::fabs(static_cast<long double>(at(i, j)) * x[i]);
      for (std::size_t i = j; i < n; ++i) product[i] += std::fabs(static_cast<long double>(at(i, j))) * dot;
    }
    return product;
  }
  T at(std::size_t i, std::size_t j) const { return l_[i + j * static_cast<std::size_t>(order_)]; }

  Routines<T> routines;

private:
  std::vector<T> l_;
  tnk_int order_;
};

// r := b - A x
void residual(const System &s, const Vector &x, Vector &r) {
  constexpr double unit = 1, minus_one = -1;
  const auto n = static_cast<tnk_int>(x.size());
  r = s.b;
  tnk_blas_dgemv("N", &n, &n, &minus_one, s.a.data(), &n, x.data(), &one, &unit, r.data(), &one);
}

// In extended precision: r = b - A x, and |A| |x| + |b|.
struct Rest {
  Rest(const System &s, const Vector &x) : value(s.b.begin(), s.b.end()), size(s.order) {
    for (std::size_t i = 0; i < s.order; ++i) size[i] = std::fabs(value[i]);
    for (std::size_t j = 0; j < s.order; ++j)
      for (std::size_t i = 0; i < s.order; ++i) {
        const long double term = static_cast<long double>(s.at(i, j)) * x[j];
        value[i] -= term;
        size[i] += std::fabs(term);
      }
  }
  // The largest |r| over `scale`, row by row.
  double over(const std::vector<long double> &scale) const {
    Worst worst;
    for (std::size_t i = 0; i < value.size(); ++i)
      worst.take(value[i] == 0 ? 0 : static_cast<double>(std::fabs(value[i]) / scale[i]));
    return worst.value();
  }
  std::vector<long double> value, size;
};

// A step each: the largest |r| over |A| |x| + |b| of a row, and the error of x over the largest of the solution.
struct History {
  Vector backward, forward;
};

// Solves, refines and shows what came of it.
template <class T> History refine(Stage &stage, const System &s, const Factor<T> &factor) {
  const auto n = static_cast<double>(s.order);
  Vector x = factor.solve(s.b), r(s.order);
  residual(s, x, r);
  stage.stop_on_error();

  const double factoring = seconds_per_call([&] { keep(Factor<T>(s.a)); });
  const double multiplying = seconds_per_call([&] { residual(s, x, r); });
  History history;
  const auto take = [&](const Rest &rest) {
    Worst off;
    for (std::size_t i = 0; i < s.order; ++i) off.take(std::fabs(x[i] - s.solution[i]));
    history.backward.push_back(rest.over(rest.size));
    history.forward.push_back(off.value() / *std::max_element(s.solution.begin(), s.solution.end()));
    return format("x off by %.1e", history.forward.back());
  };
  // Higham, Accuracy and Stability of Numerical Algorithms, 2002: theorems 10.4 and 12.4.
  const Rest first(s, x);
  const std::string value = take(first);
  stage.show({format("%s, solved", factor.routines.precision), factor.routines.name, value,
              first.over(factor.magnitudes(x)), (3 * n + 1) * std::numeric_limits<T>::epsilon() / 2,
              gigaflops_per_second(n * n * n / 3, factoring)});
  for (std::size_t step = 1; step <= refinements; ++step) {
    residual(s, x, r);
    const Vector d = factor.solve(r);
    for (std::size_t i = 0; i < s.order; ++i) x[i] += d[i];
    const std::string refined = take(Rest(s, x));
    if (step == refinements)
      stage.show({format("%s, %zu steps", factor.routines.precision, step), "dgemv", refined,
                  history.backward.back(), 2 * static_cast<double>(s.longest + 1) * roundoff,
                  gigabytes_per_second(8 * n * n, multiplying)});
  }
  return history;
}

std::string draw(const System &s, const Factor<double> &factor, const History &in_double,
                 const History &in_single) {
  std::size_t filled = 0;
  MagnitudeMap map(s.order);
  for (std::size_t j = 0; j < s.order; ++j)
    for (std::size_t i = j; i < s.order; ++i) {
      map.take(i, j, factor.at(i, j));
      filled += factor.at(i, j) != 0;
    }
  Figure figure(
      1280, 660, "A stiffness matrix, its Cholesky factor and a refined solution",
      format("The matrix BCSSTK13 as a dense one of %zu rows; its factor L has %zu entries that are not zero",
             s.order, filled));
  map.draw(figure, {76, 110, 490, 490}, "Entries of L");

  Panel panel(figure, {720, 110, 510, 490}, "Refinement: r = b \u2212 Ax,  A d = r,  x := x + d",
              {0, static_cast<double>(refinements), "steps"}, {-17, 0, "log\u2081\u2080"});
  panel.horizontal(std::log10(roundoff), colour::grey);
  panel.note({static_cast<double>(refinements), std::log10(roundoff)}, -8, -16, Panel::Side::left,
             colour::grey, "one rounding");
  const auto curve = [&](const Vector &values, const char *colour, std::size_t at, const char *text) {
    std::vector<Point> points;
    for (std::size_t k = 0; k < values.size(); ++k)
      points.push_back({static_cast<double>(k), std::log10(std::max(values[k], roundoff / 8))});
    panel.line(points, colour, 1.8);
    for (const Point &point : points) panel.marker(point, colour);
    panel.note(points[at], 8, 9, Panel::Side::right, colour, text);
  };
  curve(in_double.forward, colour::grey, 0, "in double");
  curve(in_double.backward, colour::grey, 1, "in double");
  curve(in_single.forward, colour::vermilion, 1, "error of x, factors in single precision");
  curve(in_single.backward, colour::blue, 3, "|r| / (|A| |x| + |b|)");
  return figure.svg();
}

} // namespace

void cholesky_scene(Stage &stage) {
  const System s = load(stage.data("bcsstk13.mtx"));
  stage.say(format("%zu rows, dense, from %s", s.order, s.source.c_str()));
  stage.say("errors are residuals in extended precision, over |L| |L'| |x| and after refinement over |A| |x| "
            "+ |b|");
  const Threads alone(1); // as in the other rates that are to be compared
  const Factor<double> in_double(s.a);
  const Factor<float> in_single(s.a);
  stage.stop_on_error();
  stage.heading();
  const History doubles = refine(stage, s, in_double), singles = refine(stage, s, in_single);
  stage.picture("cholesky.svg", draw(s, in_double, doubles, singles));
}

} // namespace tnk::tool
