// Scene "sparse": the largest eigenvalue of a stiffness matrix by power iteration. The matrix is symmetric and only its
// lower triangle is stored, so each stored entry is read once and multiplies twice.
#include "tools/tnk/data/matrix_market.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/support/progress.h"
#include "tools/tnk/support/threads.h"
#include "tools/tnk/support/timing.h"
#include "tools/tnk/tour/magnitudes.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <tnk/sparse.h>

namespace tnk::tool {
namespace {

constexpr double settled =
    1e-9; // length of the residual A x - lambda x over lambda, at which the iteration ends
constexpr std::size_t sides = 8; // right-hand sides of the product with several

using Vector = std::vector<double>;

// Compressed rows with numbers from one.
struct Rows {
  Rows(tnk_int order, const std::vector<MatrixMarket::Entry> &entries, tnk_sparse_kind kind)
      : start(static_cast<std::size_t>(order) + 1, 0), columns(entries.size()), values(entries.size()) {
    for (const auto &entry : entries) ++start[static_cast<std::size_t>(entry.row)];
    start[0] = 1;
    for (std::size_t i = 1; i < start.size(); ++i) start[i] += start[i - 1];
    std::vector<tnk_int> next = start;
    for (const auto &entry : entries) {
      const auto at = static_cast<std::size_t>(next[static_cast<std::size_t>(entry.row - 1)]++ - 1);
      columns[at] = entry.column, values[at] = entry.value;
    }
    descriptor.kind = kind, descriptor.triangle = TNK_SPARSE_LOWER, descriptor.base = 1;
  }
  tnk_sparse_matrix view() const {
    const auto order = static_cast<tnk_int>(start.size()) - 1;
    return {TNK_SPARSE_CSR,
            order,
            order,
            static_cast<tnk_int>(values.size()),
            values.data(),
            columns.data(),
            nullptr,
            start.data(),
            start.data() + 1,
            0,
            0,
            0,
            nullptr,
            nullptr};
  }
  // Bytes that a product with one vector must move: entries, row pointers, x, and y both ways.
  double bytes() const {
    return static_cast<double>(16 * values.size() + 8 * start.size() + 24 * (start.size() - 1));
  }

  std::vector<tnk_int> start, columns;
  Vector values;
  tnk_sparse_descriptor descriptor{};
};

// y := A x
void multiply(const Rows &a, const Vector &x, Vector &y) {
  constexpr double unit = 1, none = 0;
  const tnk_sparse_matrix view = a.view();
  tnk_sparse_dmv('N', &unit, &view, &a.descriptor, x.data(), &none, y.data());
}

struct Model {
  std::string source;
  std::vector<MatrixMarket::Entry> all; // both triangles
  Rows lower, full;
  std::size_t order, longest; // rows, and the most entries of one in both triangles
};

Model load(const std::filesystem::path &path) {
  const MatrixMarket file = read_matrix_market(path);
  if (!file.symmetric || file.rows < 2)
    throw Failure(file.source + ": a symmetric matrix of two rows or more is needed");
  std::vector<MatrixMarket::Entry> all = file.entries;
  for (const auto &entry : file.entries)
    if (entry.row != entry.column) all.push_back({entry.column, entry.row, entry.value});
  Model model{file.source,
              all,
              Rows(file.rows, file.entries, TNK_SPARSE_SYMMETRIC),
              Rows(file.rows, all, TNK_SPARSE_GENERAL),
              static_cast<std::size_t>(file.rows),
              0};
  for (const Rows *rows : {&model.lower, &model.full}) {
    const tnk_sparse_matrix view = rows->view();
    tnk_sparse_check(&view, &rows->descriptor);
  }
  for (std::size_t i = 0; i < model.order; ++i)
    model.longest =
        std::max(model.longest, static_cast<std::size_t>(model.full.start[i + 1] - model.full.start[i]));
  return model;
}

// The definition, in extended precision, entry by entry of the file.
struct Definition {
  std::vector<long double> y, magnitudes;
};
Definition by_definition(const Model &model, const double *x) {
  Definition d{std::vector<long double>(model.order), std::vector<long double>(model.order)};
  for (const auto &entry : model.all) {
    const auto i = static_cast<std::size_t>(entry.row - 1), j = static_cast<std::size_t>(entry.column - 1);
    const long double term = static_cast<long double>(entry.value) * x[j];
    d.y[i] += term;
    d.magnitudes[i] += std::fabs(term);
  }
  return d;
}

// The errors of the rows, relative to their sums of magnitudes.
void take_errors(Worst &worst, const Definition &expected, const double *found) {
  for (std::size_t i = 0; i < expected.y.size(); ++i) {
    const auto off = static_cast<double>(std::fabs(found[i] - expected.y[i]));
    worst.take(off == 0 ? 0 : off / static_cast<double>(expected.magnitudes[i]));
  }
}

struct Iteration {
  Vector x;                 // of length one
  Vector values, residuals; // a step each: Rayleigh quotient, and |A x - lambda x| / lambda
};

// Each product stretches the direction of the largest eigenvalue most. The quotient x' A x comes to it twice as fast as
// x does to its eigenvector.
Iteration iterate(const Model &model) {
  constexpr std::size_t most_steps = 20000;
  Iteration it{Vector(model.order), {}, {}};
  Vector y(model.order);
  // Of all frequencies: nothing that a mode could be orthogonal to.
  for (std::size_t i = 0; i < model.order; ++i) it.x[i] = std::cos(static_cast<double>(i * i)) + 0.5;
  const double length = std::sqrt(dot(it.x, it.x));
  for (double &v : it.x) v /= length;

  Progress progress("sparse: power iteration");
  while (it.values.size() < most_steps) {
    multiply(model.lower, it.x, y);
    const double lambda = dot(it.x, y);
    double squares = 0;
    for (std::size_t i = 0; i < model.order; ++i) {
      const double rest = y[i] - lambda * it.x[i];
      squares += rest * rest;
    }
    it.values.push_back(lambda);
    it.residuals.push_back(std::sqrt(squares) / lambda);
    if (it.residuals.back() <= settled) return it;
    if (it.values.size() % 64 == 0)
      progress.update(std::log(it.residuals.back() / it.residuals.front()) /
                      std::log(settled / it.residuals.front()));
    const double size = std::sqrt(dot(y, y));
    for (std::size_t i = 0; i < model.order; ++i) it.x[i] = y[i] / size;
  }
  throw Failure(
      format("%s: the largest eigenvalue did not settle in %zu steps", model.source.c_str(), most_steps));
}

void show_eigenvalue(Stage &stage, const Model &model, const Iteration &it) {
  // The quotient of the same vector in extended precision, and its residual, which bounds the distance to an eigenvalue.
  const Definition exact = by_definition(model, it.x.data());
  long double quotient = 0, magnitudes = 0, squares = 0, norm = 0;
  for (std::size_t i = 0; i < model.order; ++i) {
    norm += static_cast<long double>(it.x[i]) * it.x[i];
    quotient += it.x[i] * exact.y[i];
    magnitudes += std::fabs(it.x[i]) * exact.magnitudes[i];
  }
  quotient /= norm;
  for (std::size_t i = 0; i < model.order; ++i) {
    const long double rest = exact.y[i] - quotient * it.x[i];
    squares += rest * rest;
  }
  const double lambda = it.values.back();
  // The sums are of at most `order` and `longest` terms; x is of length one but for rounding.
  const auto terms = static_cast<double>(2 * model.order + model.longest);
  stage.show({"largest eigenvalue", "dmv, ddot", format("%.10g, %zu steps", lambda, it.values.size()),
              static_cast<double>(std::fabs(lambda - quotient) / magnitudes), terms * roundoff, ""});
  // Beyond what ended the iteration: what rounding adds to a residual of length |A| |x|.
  const double residual = static_cast<double>(std::sqrt(squares / norm) / quotient);
  stage.show({"residual over it", "dmv", format("%.2e", residual), residual,
              settled + terms * roundoff * static_cast<double>(magnitudes / quotient), ""});
}

void show_products(Stage &stage, const Model &model, const Vector &x) {
  Vector y(model.order);
  const double operations = 2 * static_cast<double>(model.all.size());
  const double allowed = static_cast<double>(model.longest + 2) * roundoff;
  const Definition exact = by_definition(model, x.data());
  for (const Rows *rows : {&model.lower, &model.full}) {
    multiply(*rows, x, y);
    stage.stop_on_error();
    Worst worst;
    take_errors(worst, exact, y.data());
    const double seconds = seconds_per_call([&] { multiply(*rows, x, y); });
    stage.show(
        {rows == &model.lower ? "product, one triangle" : "product, both", "dmv",
         format("%zu entries, %s", rows->values.size(), gigabytes_per_second(rows->bytes(), seconds).c_str()),
         worst.value(), allowed, gigaflops_per_second(operations, seconds)});
  }

  Vector b, c(model.order * sides);
  for (std::size_t j = 0; j < sides; ++j)
    for (std::size_t i = 0; i < model.order; ++i) b.push_back(x[(i + 97 * j) % model.order]);
  const auto n = static_cast<tnk_int>(model.order), count = static_cast<tnk_int>(sides);
  for (const Rows *rows : {&model.lower, &model.full}) {
    const tnk_sparse_matrix view = rows->view();
    const auto product = [&] {
      constexpr double unit = 1, none = 0;
      tnk_sparse_dmm('N', &unit, &view, &rows->descriptor, count, b.data(), n, &none, c.data(), n);
    };
    product();
    stage.stop_on_error();
    Worst worst;
    for (std::size_t j = 0; j < sides; ++j)
      take_errors(worst, by_definition(model, &b[j * model.order]), &c[j * model.order]);
    const double seconds = seconds_per_call(product);
    stage.show({rows == &model.lower ? "several, one triangle" : "several, both", "dmm",
                format("%zu right-hand sides", sides), worst.value(), allowed,
                gigaflops_per_second(operations * static_cast<double>(sides), seconds)});
  }
}

std::string draw(const Model &model, const Iteration &it) {
  Figure figure(
      1280, 660, "A stiffness matrix and its stiffest mode",
      format("The matrix BCSSTK13, a fluid flow model: %zu rows, %zu entries of which the lower triangle is "
             "stored; its largest eigenvalue is %.6g, found by %zu products",
             model.order, model.all.size(), it.values.back(), it.values.size()));
  MagnitudeMap map(model.order);
  for (const auto &entry : model.all)
    map.take(static_cast<std::size_t>(entry.row - 1), static_cast<std::size_t>(entry.column - 1),
             entry.value);
  map.draw(figure, {76, 110, 490, 490}, "Entries");

  const double final = it.values.back();
  std::vector<Point> residual, distance;
  for (std::size_t k = 0; k < it.values.size(); ++k) {
    const auto steps = static_cast<double>(k);
    residual.push_back({steps, std::log10(it.residuals[k])});
    distance.push_back({steps, std::log10(std::max(std::fabs(1 - it.values[k] / final), roundoff))});
  }
  const auto last = static_cast<double>(it.values.size() - 1);
  Panel curve(figure, {720, 110, 510, 490}, "Power iteration", {0, last, "products"},
              {std::floor(std::log10(roundoff)), 1, "log\u2081\u2080, relative to the eigenvalue"});
  curve.line(distance, colour::vermilion, 1.8);
  curve.line(residual, colour::blue, 1.8);
  curve.marker(residual.back(), colour::blue);
  const Point &middle = residual[residual.size() / 2], &lower = distance[distance.size() * 11 / 20];
  curve.note(middle, 6, 10, Panel::Side::right, colour::blue, "residual |Ax \u2212 \u03bbx|");
  curve.note(lower, -20, -20, Panel::Side::left, colour::vermilion, "distance of \u03bb from its last value");
  return figure.svg();
}

} // namespace

void sparse_scene(Stage &stage) {
  const Model model = load(stage.data("bcsstk13.mtx"));
  stage.stop_on_error();
  stage.say(format("%zu rows, %zu entries in the lower triangle, from %s", model.order,
                   model.lower.values.size(), model.source.c_str()));
  stage.say("against references in extended precision; errors are relative to sums of magnitudes");
  // One thread, as in the other rates that are to be compared.
  const Threads alone(1);
  const Iteration it = iterate(model);
  stage.stop_on_error();
  stage.heading();
  show_eigenvalue(stage, model, it);
  show_products(stage, model, it.x);
  stage.picture("sparse.svg", draw(model, it));
}

} // namespace tnk::tool
