// Scene "numpy": a stiffness matrix given to numpy, which has its linear algebra from LAPACK and that its speed from a
// BLAS; once on the machine's own BLAS, once on this one, nothing else changed. Without Python, without numpy, or where
// numpy has a BLAS that cannot be exchanged, the scene says so and draws nothing.
#include "tools/tnk/data/matrix_market.h"
#include "tools/tnk/plot/svg.h"
#include "tools/tnk/support/child.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include "tools/tnk/tour/numbers.h"
#include "tools/tnk/tour/scene.h"
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace tnk::tool {
namespace {

namespace fs = std::filesystem;
using Vector = std::vector<double>;

// Prints the BLAS that numpy got, then a line a task: name, backward error, seconds of the best of three calls. The
// errors are those that LAPACK's own tests look at; products of theirs that need no BLAS are made in extended precision.
constexpr const char *program = R"(
import sys, time
import numpy as np

folder, n = sys.argv[1], int(sys.argv[2])
a = np.fromfile(folder + "/matrix").reshape(n, n)
b = np.fromfile(folder + "/right-hand-side")
m = a[:, :n // 2].copy()
norm = np.linalg.norm

with open("/proc/self/maps") as maps:
    loaded = {line.split()[-1] for line in maps if "/lib" in line and ("blas" in line or "lapack" in line)}
    print("library", *sorted(loaded))

def timed(call):
    seconds = []
    for _ in range(3):
        start = time.perf_counter()
        result = call()
        seconds.append(time.perf_counter() - start)
    return result, min(seconds)

def show(task, error, seconds):
    print(task, error, seconds)

def rest(matrix, x):
    return np.asarray(b - matrix.astype(np.longdouble) @ x, float)

x, seconds = timed(lambda: np.linalg.solve(a, b))
show("solve", norm(rest(a, x)) / (norm(a) * norm(x)), seconds)

x, seconds = timed(lambda: np.linalg.lstsq(m, b, rcond=-1)[0])
r = rest(m, x)
show("lstsq", norm(m.T @ r) / (norm(m) * (norm(m) * norm(x) + norm(r))), seconds)

(w, v), seconds = timed(lambda: np.linalg.eigh(a))
show("eigh", max(norm(a @ v - v * w) / norm(a), norm(v.T @ v - np.eye(n)) / n ** .5), seconds)

(u, s, v), seconds = timed(lambda: np.linalg.svd(a))
show("svd", max(norm(a - (u * s) @ v) / norm(a), norm(u.T @ u - np.eye(n)) / n ** .5), seconds)
)";

struct Task {
  const char *name, *quantity;
};
constexpr Task tasks[] = {{"solve", "linear system"},
                          {"lstsq", "least squares"},
                          {"eigh", "eigenvalues, vectors"},
                          {"svd", "singular values"}};

// The leading part of the matrix, large enough to be work and small enough for any BLAS to do in a second.
constexpr std::size_t order = 600;

// What numpy printed on one BLAS.
struct Outcome {
  std::string library;
  Vector error, seconds; // a task each
};

Outcome run_numpy(const std::string &python, const TemporaryFolder &scratch,
                  const std::string &first_of_libraries) {
  std::vector<std::string> arguments = {"OMP_NUM_THREADS=1", "OPENBLAS_NUM_THREADS=1"};
  if (!first_of_libraries.empty()) {
    const char *others = std::getenv("LD_LIBRARY_PATH");
    arguments.push_back("LD_LIBRARY_PATH=" + first_of_libraries +
                        (others && *others ? ":" + std::string(others) : ""));
  }
  const std::vector<std::string> start = {python, (scratch.path() / "program.py").string(),
                                          scratch.path().string(), std::to_string(order)};
  arguments.insert(arguments.end(), start.begin(), start.end());

  Outcome outcome;
  const int code = run_child("/usr/bin/env", arguments, [&](const std::string &text) {
    std::istringstream line(text);
    std::string word;
    double error, seconds;
    line >> word;
    if (word == "library")
      std::getline(line >> std::ws, outcome.library);
    else if (line >> error >> seconds) {
      if (outcome.error.size() == std::size(tasks) || word != tasks[outcome.error.size()].name)
        throw Failure("numpy's answer is not understood: " + text);
      outcome.error.push_back(error), outcome.seconds.push_back(seconds);
    } else
      throw Failure("numpy's answer is not understood: " + text);
  });
  if (code != 0 || outcome.error.size() != std::size(tasks))
    throw Failure(format("numpy on %s ended with code %d",
                         first_of_libraries.empty() ? "the machine's BLAS" : first_of_libraries.c_str(),
                         code));
  return outcome;
}

// The first interpreter that has numpy; "" when none has.
std::string find_python() {
  const char *const look = "import importlib.util as u, sys; sys.exit(u.find_spec('numpy') is None)";
  for (const char *python : {"python3", "/usr/bin/python3"})
    if (run_child("/bin/sh", {"-c", "command -v \"$0\" > /dev/null && exec \"$0\" -c \"$1\"", python, look},
                  [](const std::string &) {}) == 0)
      return python;
  return "";
}

// The folder of the drop-in libraries: the installed one, or the build tree's.
fs::path find_blas() {
  for (const char *relative : {TNK_INSTALLED_BLAS, TNK_BUILT_BLAS}) {
    const fs::path folder = (program_folder() / relative).lexically_normal();
    if (std::error_code ignored; fs::exists(folder / "libblas.so.3", ignored)) return folder;
  }
  throw Failure("the drop-in BLAS, libblas.so.3, is not where it should be beside the program");
}

// LAPACK as it is published, which calls whatever BLAS there is; some libraries bring one of their own, which calls
// none but theirs. Debian keeps it beside theirs. "" when numpy has it already, or it is not there.
std::string published_lapack(const std::string &loaded) {
  std::istringstream paths(loaded);
  for (std::string path; paths >> path;) {
    const fs::path folder = fs::path(path).parent_path().parent_path() / "lapack";
    if (std::error_code ignored;
        path.find("liblapack") != path.npos && fs::exists(folder / "liblapack.so.3", ignored))
      return ":" + folder.string();
  }
  return "";
}

void write_numbers(const fs::path &path, const Vector &values) {
  write_file(path, {reinterpret_cast<const char *>(values.data()), values.size() * sizeof(double)});
}

// A and the right-hand side of a known solution.
struct System {
  Vector a, b;
};

System load(const fs::path &path) {
  const MatrixMarket file = read_matrix_market(path);
  if (!file.symmetric || file.rows < static_cast<std::int64_t>(order))
    throw Failure(format("%s: a symmetric matrix of %zu rows or more is needed", file.source.c_str(), order));
  System s{Vector(order * order), Vector(order)};
  for (const auto &entry : file.entries) {
    const auto i = static_cast<std::size_t>(entry.row - 1), j = static_cast<std::size_t>(entry.column - 1);
    if (i < order && j < order) s.a[i + j * order] = s.a[j + i * order] = entry.value;
  }
  const auto n = static_cast<tnk_int>(order);
  for (std::size_t j = 0; j < order; ++j) {
    const double x = 1 + std::cos(static_cast<double>(j)) / 2;
    tnk_blas_daxpy(&n, &x, s.a.data() + j * order, &one, s.b.data(), &one);
  }
  return s;
}

std::string draw(const Outcome &theirs, const Outcome &ours) {
  Figure figure(
      1080, 520, "numpy on two libraries",
      format("The leading %zu rows of the matrix BCSSTK13; one thread; the best of three calls", order));
  const double wide = static_cast<double>(std::size(tasks));
  std::vector<std::string> names;
  for (const Task &task : tasks) names.emplace_back(task.name);
  const auto bars = [&](const Box &box, const char *title, const char *label, double low, double high,
                        const auto &value, const auto &text) {
    Panel panel(figure, box, title, {0, wide, "", names}, {low, high, label});
    for (std::size_t k = 0; k < std::size(tasks); ++k)
      for (const bool mine : {false, true}) {
        const double left = static_cast<double>(k) + (mine ? 0.52 : 0.14),
                     top = value(mine ? ours : theirs, k);
        const char *const colour = mine ? colour::blue : colour::grey;
        panel.area({{left, top}, {left + 0.34, top}}, low, colour, 0.85);
        panel.note({left + 0.17, top}, 0, mine ? 5 : 20, Panel::Side::middle, colour,
                   text(mine ? ours : theirs, k));
      }
    panel.note({0, high}, 8, -18, Panel::Side::right, colour::grey, "the machine's BLAS");
    panel.note({0, high}, 8, -36, Panel::Side::right, colour::blue, "this one");
  };
  const double slowest = 1e3 * std::max(*std::max_element(theirs.seconds.begin(), theirs.seconds.end()),
                                        *std::max_element(ours.seconds.begin(), ours.seconds.end()));
  bars(
      {82, 110, 440, 350}, "Time of a call", "milliseconds", 0, slowest * 1.2,
      [](const Outcome &o, std::size_t k) { return o.seconds[k] * 1e3; },
      [](const Outcome &o, std::size_t k) { return format("%.1f", o.seconds[k] * 1e3); });
  bars(
      {620, 110, 440, 350}, "Backward error", "log\u2081\u2080", -20, -12,
      [](const Outcome &o, std::size_t k) { return std::log10(std::max(o.error[k], 1e-20)); },
      [](const Outcome &o, std::size_t k) { return format("%.0e", o.error[k]); });
  return figure.svg();
}

} // namespace

void numpy_scene(Stage &stage) {
  const System s = load(stage.data("bcsstk13.mtx"));
  stage.stop_on_error();
  const std::string python = find_python();
  if (python.empty()) {
    stage.say("left out: python3 with numpy is not here");
    return;
  }
  const TemporaryFolder scratch;
  write_file(scratch.path() / "program.py", program);
  write_numbers(scratch.path() / "matrix", s.a);
  write_numbers(scratch.path() / "right-hand-side", s.b);
  const fs::path blas = find_blas();
  const Outcome theirs = run_numpy(python, scratch, "");
  const Outcome ours = run_numpy(python, scratch, blas.string() + published_lapack(theirs.library));
  stage.say("the machine's: " + theirs.library);
  stage.say("this one:      " + ours.library);
  if (ours.library.find(blas.string()) == std::string::npos) {
    stage.say("left out: numpy does not take its BLAS from the linker's search path");
    return;
  }

  stage.heading();
  // Errors grow no faster than the order in all four tasks (Higham, Accuracy and Stability of Numerical Algorithms,
  // 2002); LAPACK's own tests allow some tens of roundings a row.
  const double allowed = 10 * static_cast<double>(order) * roundoff;
  for (std::size_t k = 0; k < std::size(tasks); ++k)
    for (const Outcome *outcome : {&theirs, &ours})
      stage.show({tasks[k].quantity, std::string(tasks[k].name) + (outcome == &ours ? ", ours" : ", theirs"),
                  format("%.1f ms", outcome->seconds[k] * 1e3), outcome->error[k], allowed,
                  format("%.2f times", theirs.seconds[k] / outcome->seconds[k])});
  stage.picture("numpy.svg", draw(theirs, ours));
}

} // namespace tnk::tool
