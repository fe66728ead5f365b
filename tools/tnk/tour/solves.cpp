// Scene "solves": conjugate gradients on a stiffness matrix, without help, with its diagonal, and with a step of symmetric
// Gauss-Seidel, which is two sparse solves (Saad, "Iterative Methods for Sparse Linear Systems", 2nd ed., 2003, chapters 9
// and 10); and that matrix and another one through every storage and back.
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
#include <cstring>
#include <tnk/sparse.h>

namespace tnk::tool {
namespace {

using Vector = std::vector<double>;
constexpr double settled = 1e-8; // of the residual over the right-hand side
constexpr std::size_t most_steps = 20000;

// A matrix that the library made. Reports of what failed reach the stage.
class Made {
public:
  Made() = default;
  Made(const Made &) = delete;
  Made &operator=(const Made &) = delete;
  ~Made() { tnk_sparse_free(&matrix); }
  tnk_sparse_matrix matrix{};
};

tnk_sparse_descriptor described(tnk_sparse_kind kind) {
  tnk_sparse_descriptor d{};
  d.kind = kind, d.base = 1;
  return d;
}

// Triples of a file as compressed rows, ascending: by way of its columns, since triples come in any order.
void load_rows(const MatrixMarket &file, Made &rows) {
  Vector values;
  std::vector<tnk_int> row, column;
  for (const auto &entry : file.entries)
    values.push_back(entry.value), row.push_back(entry.row), column.push_back(entry.column);
  tnk_sparse_matrix triples{};
  triples.storage = TNK_SPARSE_COO, triples.m = file.rows, triples.n = file.columns;
  triples.nnz = static_cast<tnk_int>(values.size()), triples.values = values.data();
  triples.row_index = row.data(), triples.col_index = column.data();
  tnk_sparse_descriptor d = described(TNK_SPARSE_GENERAL);
  d.check = TNK_SPARSE_INDICES;
  Made columns;
  tnk_sparse_dconvert(&triples, &d, TNK_SPARSE_CSC, 0, &columns.matrix);
  tnk_sparse_dconvert(&columns.matrix, &d, TNK_SPARSE_CSR, 0, &rows.matrix);
}

// ---- Conjugate gradients ----------------------------------------------------------------------------------------

struct Model {
  Made lower;
  Vector diagonal, b;
  std::size_t order = 0, longest = 0; // rows, and the most entries of one in both triangles

  void solve(char op, const Vector &from, Vector &to) const {
    constexpr double unit = 1;
    tnk_sparse_descriptor d = described(TNK_SPARSE_TRIANGULAR);
    tnk_sparse_dsv(op, &unit, &lower.matrix, &d, from.data(), to.data());
  }
  void multiply(const Vector &x, Vector &y) const {
    constexpr double unit = 1, none = 0;
    const tnk_sparse_descriptor d = described(TNK_SPARSE_SYMMETRIC);
    tnk_sparse_dmv('N', &unit, &lower.matrix, &d, x.data(), &none, y.data());
  }
};

enum class Help { none, diagonal, sweeps };

// z := M^-1 r. With sweeps M = (D + L) D^-1 (D + L').
void precondition(const Model &model, Help help, const Vector &r, Vector &z) {
  if (help == Help::none) {
    z = r;
  } else if (help == Help::diagonal) {
    for (std::size_t i = 0; i < r.size(); ++i) z[i] = r[i] / model.diagonal[i];
  } else {
    model.solve('N', r, z);
    for (std::size_t i = 0; i < r.size(); ++i) z[i] *= model.diagonal[i];
    model.solve('T', z, z);
  }
}

struct Run {
  Vector x, r, residuals; // the last of each, and |r| / |b| of each step
  std::size_t steps() const { return residuals.size() - 1; }
};

Run conjugate_gradients(const Stage &stage, const Model &model, Help help, Progress &progress) {
  const std::size_t n = model.order;
  Run run{Vector(n), model.b, {1}};
  Vector z(n), q(n);
  const double length = std::sqrt(dot(model.b, model.b));
  precondition(model, help, run.r, z);
  stage.stop_on_error();
  Vector p = z;
  double rho = dot(run.r, z);
  while (run.residuals.back() > settled && run.steps() < most_steps) {
    model.multiply(p, q);
    const double step = rho / dot(p, q);
    for (std::size_t i = 0; i < n; ++i) run.x[i] += step * p[i], run.r[i] -= step * q[i];
    run.residuals.push_back(std::sqrt(dot(run.r, run.r)) / length);
    precondition(model, help, run.r, z);
    const double next = dot(run.r, z), turn = next / rho;
    rho = next;
    for (std::size_t i = 0; i < n; ++i) p[i] = z[i] + turn * p[i];
    if (run.steps() % 256 == 0)
      progress.update(static_cast<double>(run.steps()) / static_cast<double>(most_steps));
  }
  return run;
}

// b - A x in extended precision against the r of the recurrences, over |A| |x| + |b| row by row: what the roundings of as
// many steps explain.
double drift(const Model &model, const MatrixMarket &file, const Run &run) {
  std::vector<long double> rest(model.b.begin(), model.b.end()), size(model.order);
  const auto take = [&](std::int64_t row, std::int64_t column, double value) {
    const auto i = static_cast<std::size_t>(row - 1), j = static_cast<std::size_t>(column - 1);
    const long double term = static_cast<long double>(value) * run.x[j];
    rest[i] -= term, size[i] += std::fabs(term);
  };
  for (const auto &entry : file.entries) {
    take(entry.row, entry.column, entry.value);
    if (entry.row != entry.column) take(entry.column, entry.row, entry.value);
  }
  long double off = 0, whole = 0;
  for (std::size_t i = 0; i < model.order; ++i) {
    off += (rest[i] - run.r[i]) * (rest[i] - run.r[i]);
    whole += (size[i] + std::fabs(model.b[i])) * (size[i] + std::fabs(model.b[i]));
  }
  return static_cast<double>(std::sqrt(off / whole));
}

void load_model(const MatrixMarket &file, Model &model) {
  if (!file.symmetric || file.rows < 2)
    throw Failure(file.source + ": a symmetric matrix of two rows or more is needed");
  load_rows(file, model.lower);
  model.order = static_cast<std::size_t>(file.rows);
  model.diagonal.resize(model.order), model.b.assign(model.order, 1);
  std::vector<std::size_t> lengths(model.order);
  for (const auto &entry : file.entries) {
    const auto i = static_cast<std::size_t>(entry.row - 1), j = static_cast<std::size_t>(entry.column - 1);
    if (i == j) model.diagonal[i] = entry.value;
    ++lengths[i], lengths[j] += i != j;
  }
  model.longest = *std::max_element(lengths.begin(), lengths.end());
}

// Both triangles of a symmetric matrix, of which the file holds one.
MatrixMarket mirrored(MatrixMarket file) {
  const auto stored = file.entries;
  for (const auto &entry : stored)
    if (entry.row != entry.column) file.entries.push_back({entry.column, entry.row, entry.value});
  return file;
}

// ---- Storages -----------------------------------------------------------------------------------------------------

std::size_t differences(const tnk_sparse_matrix &a, const tnk_sparse_matrix &b) {
  if (a.nnz != b.nnz || a.m != b.m || a.n != b.n) return 1 + static_cast<std::size_t>(std::max(a.nnz, b.nnz));
  std::size_t different = 0;
  const double *const va = static_cast<const double *>(a.values), *const vb =
                                                                      static_cast<const double *>(b.values);
  for (tnk_int k = 0; k < a.nnz; ++k)
    different += std::memcmp(&va[k], &vb[k], sizeof(double)) != 0 || a.col_index[k] != b.col_index[k];
  for (tnk_int i = 0; i <= a.m; ++i) different += a.row_start[i] != b.row_start[i];
  return different;
}

// Every storage; rows of the report are about `matrix`.
void show_storages(Stage &stage, const std::string &matrix, const Made &rows) {
  const tnk_sparse_matrix &a = rows.matrix;
  const tnk_sparse_descriptor d = described(TNK_SPARSE_GENERAL);
  const auto show = [&](const char *what, const char *routines, const std::string &value, const Made &back,
                        const tnk_sparse_matrix &meant) {
    stage.stop_on_error();
    stage.show({matrix + what, routines, value, static_cast<double>(differences(meant, back.matrix)), 0, ""});
  };
  const struct {
    tnk_sparse_storage storage;
    const char *name;
  } storages[] = {{TNK_SPARSE_COO, ", triples"},
                  {TNK_SPARSE_CSC, ", columns"},
                  {TNK_SPARSE_DIA, ", diagonals"},
                  {TNK_SPARSE_BSR, ", blocks of 5"}};
  for (const auto &s : storages) {
    Made other, back;
    tnk_sparse_dconvert(&a, &d, s.storage, 5, &other.matrix);
    tnk_sparse_dconvert(&other.matrix, &d, TNK_SPARSE_CSR, 0, &back.matrix);
    const tnk_sparse_matrix &o = other.matrix;
    show(s.name, "dconvert",
         o.storage == TNK_SPARSE_DIA   ? format("%d diagonals", static_cast<int>(o.diag_count))
         : o.storage == TNK_SPARSE_BSR ? format("%d blocks", static_cast<int>(o.nnz))
                                       : format("%d entries", static_cast<int>(o.nnz)),
         back, a);
  }
  // A skyline holds one triangle: both, less the diagonal, which both have.
  Made triangles[2], main, sum, both;
  tnk_int elements = 0;
  for (const auto triangle : {TNK_SPARSE_LOWER, TNK_SPARSE_UPPER}) {
    tnk_sparse_descriptor half = d;
    half.triangle = triangle;
    Made skyline;
    tnk_sparse_dconvert(&a, &half, TNK_SPARSE_SKY, 0, &skyline.matrix);
    stage.stop_on_error();
    elements += skyline.matrix.row_start[a.m] - skyline.matrix.row_start[0];
    tnk_sparse_dconvert(&skyline.matrix, &half, TNK_SPARSE_CSR, 0, &triangles[triangle].matrix);
  }
  Made diagonals;
  tnk_sparse_dconvert(&a, &d, TNK_SPARSE_DIA, 0, &diagonals.matrix);
  stage.stop_on_error();
  tnk_sparse_matrix only = diagonals.matrix;
  const tnk_int at =
      std::find(only.diag_distance, only.diag_distance + only.diag_count, 0) - only.diag_distance;
  if (at == only.diag_count) throw Failure("a matrix with a diagonal is needed");
  only.values = static_cast<const double *>(only.values) + at * only.diag_stride;
  only.diag_distance += at, only.diag_count = 1;
  tnk_sparse_dconvert(&only, &d, TNK_SPARSE_CSR, 0, &main.matrix);
  constexpr double plus = 1, minus = -1;
  tnk_sparse_dadd('N', &triangles[0].matrix, &minus, &main.matrix, &d, &sum.matrix); // zeros where it was
  tnk_sparse_dadd('N', &sum.matrix, &plus, &triangles[1].matrix, &d, &both.matrix);
  show(", two skylines", "dadd", format("%d elements", static_cast<int>(elements)), both, a);

  const auto m = static_cast<std::size_t>(a.m), n = static_cast<std::size_t>(a.n);
  Vector dense(m * n);
  tnk_sparse_dto_dense(&a, &d, dense.data(), a.m);
  Made back;
  tnk_sparse_dfrom_dense(a.m, a.n, dense.data(), a.m, &d, &back.matrix);
  show(", dense", "dto_dense", format("%zu elements", m * n), back, a);
}

std::string draw(const std::vector<Run> &runs, const MatrixMarket &crystal) {
  Figure figure(
      1280, 660, "Solves as a help to solves",
      "Left: conjugate gradients on the stiffness matrix BCSSTK13. Right: the matrix CRYG2500, which went "
      "through every storage and back");
  const double last = 1.25 * static_cast<double>(runs[1].steps());
  const Axis steps{0, last, "steps"}, residual{-9, 3, "log\u2081\u2080 |r| / |b|"};
  Panel curve(figure, {76, 110, 560, 490}, "Residual", steps, residual);
  const char *const colours[] = {colour::grey, colour::vermilion, colour::blue};
  const char *const names[] = {"no preconditioner", "diagonal", "symmetric Gauss-Seidel"};
  for (std::size_t k = 0; k < runs.size(); ++k) {
    std::vector<Point> points;
    const std::size_t shown = std::min(runs[k].residuals.size(), static_cast<std::size_t>(last) + 1);
    for (std::size_t i = 0; i < shown; ++i)
      points.push_back({static_cast<double>(i), std::log10(runs[k].residuals[i])});
    curve.line(points, colours[k], 1.4);
    if (k == 0)
      curve.note(points[points.size() / 2], 8, 26, Panel::Side::middle, colours[k], names[k]);
    else
      curve.note(points.back(), 10, 20, Panel::Side::right, colours[k], names[k]);
  }
  MagnitudeMap map(static_cast<std::size_t>(crystal.rows));
  for (const auto &entry : crystal.entries)
    map.take(static_cast<std::size_t>(entry.row - 1), static_cast<std::size_t>(entry.column - 1),
             entry.value);
  map.draw(figure, {720, 110, 450, 450}, "Entries");
  return figure.svg();
}

} // namespace

void solves_scene(Stage &stage) {
  const MatrixMarket file = read_matrix_market(stage.data("bcsstk13.mtx"));
  const MatrixMarket crystal = read_matrix_market(stage.data("cryg2500.mtx"));
  if (crystal.rows != crystal.columns) throw Failure(crystal.source + ": a square matrix is needed");
  Model model;
  load_model(file, model);
  Made rows;
  load_rows(crystal, rows);
  stage.stop_on_error();
  stage.say(format("%zu rows, %d entries in the lower triangle, from %s; %d entries from %s", model.order,
                   static_cast<int>(model.lower.matrix.nnz), file.source.c_str(),
                   static_cast<int>(rows.matrix.nnz), crystal.source.c_str()));
  stage.say(format(
      "conjugate gradients to a residual of %.0e, at most %zu steps; the error is what the residual of the "
      "recurrences is off",
      settled, most_steps));
  const Threads alone(1);
  std::vector<Run> runs;
  const char *const names[] = {"without help", "diagonal", "Gauss-Seidel"};
  {
    Progress progress("solves: conjugate gradients");
    for (const Help help : {Help::none, Help::diagonal, Help::sweeps})
      runs.push_back(conjugate_gradients(stage, model, help, progress));
  }
  stage.stop_on_error();
  stage.heading();
  for (std::size_t k = 0; k < runs.size(); ++k) {
    const Run &run = runs[k];
    const std::string value = run.residuals.back() <= settled
                                  ? format("%zu steps", run.steps())
                                  : format("%.0e after %zu steps", run.residuals.back(), run.steps());
    stage.show({names[k], k == 2 ? "dmv, dsv" : "dmv", value, drift(model, file, run),
                static_cast<double>(run.steps() * (model.longest + 4)) * roundoff, ""});
  }
  Vector z = model.b;
  const double operations = 2 * static_cast<double>(model.lower.matrix.nnz);
  for (const char op : {'N', 'T'}) {
    const double seconds = seconds_per_call([&] { model.solve(op, model.b, z); });
    // What comes out, multiplied again.
    Vector again(model.order);
    constexpr double unit = 1, none = 0;
    const tnk_sparse_descriptor d = described(TNK_SPARSE_TRIANGULAR);
    tnk_sparse_dmv(op, &unit, &model.lower.matrix, &d, z.data(), &none, again.data());
    Vector sizes(model.order);
    tnk_sparse_matrix magnitudes = model.lower.matrix;
    Vector absolute(static_cast<const double *>(magnitudes.values),
                    static_cast<const double *>(magnitudes.values) + magnitudes.nnz);
    for (double &v : absolute) v = std::fabs(v);
    magnitudes.values = absolute.data();
    for (double &v : z) v = std::fabs(v);
    tnk_sparse_dmv(op, &unit, &magnitudes, &d, z.data(), &none, sizes.data());
    stage.stop_on_error();
    Worst worst;
    for (std::size_t i = 0; i < model.order; ++i)
      worst.take(std::fabs(again[i] - model.b[i]) / (sizes[i] + std::fabs(model.b[i])));
    stage.show({op == 'N' ? "forward sweep" : "backward sweep", "dsv", "residual over |A| |x|", worst.value(),
                2 * static_cast<double>(model.longest + 4) * roundoff,
                gigaflops_per_second(operations, seconds)});
  }
  show_storages(stage, "CRYG2500", rows);
  Made both;
  load_rows(mirrored(file), both);
  show_storages(stage, "BCSSTK13", both);
  stage.picture("solves.svg", draw(runs, crystal));
}

} // namespace tnk::tool
