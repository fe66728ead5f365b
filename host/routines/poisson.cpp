// Plans for Poisson's equation: checks, and the kernel library's solvers with their messages switched off.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <tnk/pde_poisson.h>
#include <tnk/poisson.h>
#include <tnk/services.h>

#include "host/dispatch/check.h"
#include "host/dispatch/kernel_loader.h"

using namespace tnk::host;

struct tnk_poisson_plan {
  int32_t dims;
  bool single;
  tnk_int cells[3];
  tnk_int side_points; // of the largest side
  tnk_int ipar[TNK_PDEPL_IPAR];
  DftiHandle handles[2];
  // dpar follows.
  static constexpr std::size_t head();
  void *dpar();
};
constexpr std::size_t tnk_poisson_plan::head() {
  return (sizeof(tnk_poisson_plan) + 63) / 64 * 64;
}
void *tnk_poisson_plan::dpar() {
  return reinterpret_cast<char *>(this) + head();
}

namespace tnk::host {
namespace {

// ---- Kernels ----------------------------------------------------------------------------------------------------------

// The solver's calls, by precision and dimensions.
template <class R, int dims> struct Solver;
#define TNK_SOLVER(p, R, dims)                                                                               \
  template <> struct Solver<R, dims> {                                                                       \
    KernelEntry<decltype(tnk_pdepl_##p##_init_helmholtz_##dims##d)> init{"tnk_pdepl_" #p                     \
                                                                         "_init_helmholtz_" #dims "d"};      \
    KernelEntry<decltype(tnk_pdepl_##p##_commit_helmholtz_##dims##d)> commit{                                \
        "tnk_pdepl_" #p "_commit_helmholtz_" #dims "d"};                                                     \
    KernelEntry<decltype(tnk_pdepl_##p##_helmholtz_##dims##d)> solve{"tnk_pdepl_" #p "_helmholtz_" #dims     \
                                                                     "d"};                                   \
    KernelEntry<decltype(tnk_pdepl_free_helmholtz_##dims##d)> release{"tnk_pdepl_free_helmholtz_" #dims      \
                                                                      "d"};                                  \
  }
TNK_SOLVER(d, double, 2);
TNK_SOLVER(s, float, 2);
TNK_SOLVER(d, double, 3);
TNK_SOLVER(s, float, 3);
template <class R, int dims> Solver<R, dims> solver;

// Calls f with a null pointer of the numbers' type and the dimensions as a constant.
template <class F> auto with(bool single, int32_t dims, const F &f) {
  using Two = std::integral_constant<int, 2>;
  using Three = std::integral_constant<int, 3>;
  if (dims == 2) return single ? f(float(), Two()) : f(double(), Two());
  return single ? f(float(), Three()) : f(double(), Three());
}

// commit or solve, which have the same arguments.
template <int dims, class Entry, class R>
tnk_int run(Entry *entry, tnk_poisson_plan &plan, R *f, const R *const *b) {
  tnk_int status = 0;
  R *const dpar = static_cast<R *>(plan.dpar());
  if constexpr (dims == 2)
    entry(f, b[0], b[1], b[2], b[3], plan.handles, plan.ipar, dpar, &status);
  else
    entry(f, b[0], b[1], b[2], b[3], b[4], b[5], plan.handles, plan.handles + 1, plan.ipar, dpar, &status);
  return status;
}

// ---- Checks -------------------------------------------------------------------------------------------------------------

struct Checker {
  const char *routine;
  int position;
  const tnk_poisson_problem &problem;

  bool refuse(const char *field, int axis, double value, const char *expected) const {
    char name[48], found[48];
    TextWriter text(name, sizeof name);
    text.add("problem->").add(field);
    if (axis >= 0) text.add("[").add(std::int64_t{axis}).add("]");
    TextWriter(found, sizeof found).add(value);
    report_argument(routine, position, name, found, expected);
    return false;
  }

  bool refuse_high(int axis, const char *expected) const {
    return refuse("high", axis, problem.high[axis], expected);
  }

  bool has_slope(int side) const { return problem.sides[side] == 'N' || problem.sides[side] == 'n'; }
  bool slopes(int axis) const { return has_slope(2 * axis) && has_slope(2 * axis + 1); }
  template <class R> R step(int axis) const {
    return (static_cast<R>(problem.high[axis]) - static_cast<R>(problem.low[axis])) /
           static_cast<R>(problem.cells[axis]);
  }

  template <class R> bool ends() const {
    for (int axis = 0; axis < problem.dims; ++axis) {
      const double low = problem.low[axis], high = problem.high[axis];
      if (!std::isfinite(static_cast<R>(low))) return refuse("low", axis, low, "a finite number");
      if (!std::isfinite(static_cast<R>(high))) return refuse("high", axis, high, "a finite number");
      if (!(step<R>(axis) > 0) ||
          !std::isfinite(step<R>(axis))) // an axis may have a length and its cells none
        return refuse("high", axis, high, "a number above problem->low");
    }
    return std::isfinite(static_cast<R>(problem.q)) || refuse("q", -1, problem.q, "a finite number");
  }

  bool sides() const {
    for (int k = 0; k < 2 * problem.dims; ++k) {
      char name[24];
      TextWriter(name, sizeof name).add("problem->sides[").add(std::int64_t{k}).add("]");
      if (!Check(routine).option(position, name, problem.sides + k, "DN")) return false;
    }
    return true;
  }

  // What the equations multiply by: the square of the last axis' step, and of its ratios to the others.
  template <class R> bool squares() const {
    const int last = problem.dims - 1;
    const R h = step<R>(last), constant = static_cast<R>(problem.q) * h * h;
    if (!std::isfinite(h * h)) return refuse_high(last, "nearer to problem->low: squares of steps overflow");
    if (!std::isfinite(constant))
      return refuse("q", -1, problem.q, "a number nearer to 0, beside such steps");
    R largest = constant + 2;
    for (int axis = 0; axis < last; ++axis) {
      const R root = 2 * h / step<R>(axis);
      if (!std::isfinite(largest += root * root))
        return refuse_high(axis, "farther from problem->low, beside steps of the last axis");
    }
    return true;
  }

  // Slopes at both ends of the last axis leave nothing to divide by where the other axes add nothing to the 2 of an
  // equation. (The constant of slopes alone is another matter.)
  template <class R> bool sums() const {
    const int last = problem.dims - 1;
    if (!slopes(last) || problem.q < 0) return true;
    bool slopes_alone = true, adds = false;
    for (int axis = 0; axis < last; ++axis) slopes_alone &= slopes(axis);
    const R h = step<R>(last), two = static_cast<R>(problem.q) * h * h + 2;
    int without = -1;
    for (int axis = 0; axis < last; ++axis) {
      if (slopes(axis) && !slopes_alone) continue;
      const bool mixed = has_slope(2 * axis) != has_slope(2 * axis + 1);
      const double angle = std::acos(-1.0) / (mixed ? 4 : 2) / static_cast<double>(problem.cells[axis]);
      const R root = 2 * h / step<R>(axis) * static_cast<R>(std::sin(angle));
      if (two + root * root > 2)
        adds = true;
      else
        without = axis;
    }
    return without < 0 || (adds && !slopes_alone) ||
           refuse_high(without, "nearer to problem->low, beside steps of the last axis");
  }

  template <class R> bool numbers() const { return ends<R>() && sides() && squares<R>() && sums<R>(); }

  bool all() const {
    const Check check(routine);
    if (!check.range(position, "problem->dims", problem.dims, 2, 3) ||
        !check.range(position, "problem->numbers", problem.numbers, TNK_POISSON_DOUBLE, TNK_POISSON_FLOAT))
      return false;
    tnk_int room = elements_in_memory<double>;
    for (int axis = 0; axis < problem.dims; ++axis) {
      const tnk_int least = axis + 1 < problem.dims ? 2 : 1;
      if (!check.element(position, "problem->cells", axis, problem.cells[axis], least,
                         std::max(room - 1, least)))
        return false;
      room /= problem.cells[axis] + 1;
    }
    return problem.numbers == TNK_POISSON_FLOAT ? numbers<float>() : numbers<double>();
  }
};

bool is_sound(const char *routine, int position, const tnk_poisson_problem *problem) {
  return Check(routine).address(position, "problem", problem) && Checker{routine, position, *problem}.all();
}

tnk_poisson_result failed(const char *routine) {
  report(TNK_ERROR_MEMORY, routine, "tnk_poisson: no memory for transforms or work arrays");
  return TNK_POISSON_OUT_OF_MEMORY;
}

// ---- Plans --------------------------------------------------------------------------------------------------------------

// Transforms and spectra depend on the last axis by its step only: a slab of one cell, all zeros, makes them.
template <class R, int dims>
tnk_poisson_result prepare(const char *routine, const tnk_poisson_problem &problem, tnk_poisson_plan &plan) {
  auto &s = solver<R, dims>;
  auto *const init = s.init.get(routine);
  auto *const commit = init ? s.commit.get(routine) : nullptr; // what is missing is reported once
  if (!commit || !s.solve.get(routine) || !s.release.get(routine)) return TNK_POISSON_NO_LIBRARY;
  const tnk_int slab = (plan.cells[0] + 1) * (dims == 2 ? 2 : 2 * (plan.cells[1] + 1));
  void *const zeros = tnk_serv_tnk_calloc(slab, sizeof(R), 64);
  if (!zeros) return failed(routine);

  constexpr int last = dims - 1;
  R low[3] = {}, high[3] = {};
  for (int axis = 0; axis < dims; ++axis)
    low[axis] = static_cast<R>(problem.low[axis]), high[axis] = static_cast<R>(problem.high[axis]);
  high[last] = (high[last] - low[last]) / static_cast<R>(plan.cells[last]);
  low[last] = 0;
  const tnk_int one = 1;
  const R q = static_cast<R>(problem.q);
  R *const dpar = static_cast<R *>(plan.dpar());
  tnk_int status = 0;
  if constexpr (dims == 2)
    init(low, high, low + 1, high + 1, plan.cells, &one, problem.sides, &q, plan.ipar, dpar, &status);
  else
    init(low, high, low + 1, high + 1, low + 2, high + 2, plan.cells, plan.cells + 1, &one, problem.sides, &q,
         plan.ipar, dpar, &status);
  plan.ipar[TNK_PDEPL_ERRORS] = plan.ipar[TNK_PDEPL_WARNINGS] = 0;
  R *const f = static_cast<R *>(zeros);
  const R *const boundary[] = {f, f, f, f, f, f};
  status = run<dims>(commit, plan, f, boundary);
  plan.ipar[TNK_PDEPL_CELLS + last] = plan.cells[last];
  tnk_serv_tnk_free(zeros);
  return status < 0 ? failed(routine) : TNK_POISSON_DONE;
}

template <class R, int dims>
tnk_poisson_result solve(const char *routine, tnk_poisson_plan &plan, R *f, const void *const *given,
                         double *off) {
  auto &s = solver<R, dims>;
  const R *boundary[6];
  void *zeros = nullptr;
  if (given) {
    for (int k = 0; k < 2 * dims; ++k) boundary[k] = static_cast<const R *>(given[k]);
  } else {
    zeros = tnk_serv_tnk_calloc(plan.side_points, sizeof(R), 64);
    if (!zeros) return failed(routine);
    std::fill_n(boundary, 6, static_cast<const R *>(zeros));
  }
  plan.ipar[TNK_PDEPL_STATUS] = 990; // another f on the same grid
  const tnk_int commit = run<dims>(s.commit.known(), plan, f, boundary);
  const tnk_int status = commit < 0 ? commit : run<dims>(s.solve.known(), plan, f, boundary);
  tnk_serv_tnk_free(zeros);
  const bool singular = status == TNK_PDEPL_WARNED;
  if (off)
    *off = singular ? static_cast<double>(static_cast<R *>(plan.dpar())[plan.ipar[TNK_PDEPL_TABLES]]) : 0;
  if (status < 0) return failed(routine);
  return singular                     ? TNK_POISSON_SINGULAR
         : commit == TNK_PDEPL_WARNED ? TNK_POISSON_NEGATIVE_Q
                                      : TNK_POISSON_DONE;
}

tnk_poisson_result make(const char *routine, tnk_poisson_plan **made, const tnk_poisson_problem &problem) {
  const tnk_int nx = problem.cells[0], ny = problem.cells[1];
  const bool single = problem.numbers == TNK_POISSON_FLOAT;
  const tnk_int numbers = problem.dims == 2 ? TNK_PDEPL_DPAR_2D(nx) : TNK_PDEPL_DPAR_3D(nx, ny);
  const auto bytes = static_cast<tnk_int>(tnk_poisson_plan::head()) + numbers * (single ? 4 : 8);
  auto *const plan = static_cast<tnk_poisson_plan *>(tnk_serv_tnk_calloc(1, bytes, 64));
  if (!plan) return failed(routine);
  plan->dims = problem.dims;
  plan->single = single;
  tnk_int longest = 0, points = 1;
  for (int axis = 0; axis < plan->dims; ++axis) {
    plan->cells[axis] = problem.cells[axis];
    points *= plan->cells[axis] + 1;
  }
  for (int axis = 0; axis < plan->dims; ++axis) longest = std::max(longest, points / (plan->cells[axis] + 1));
  plan->side_points = longest;
  const tnk_poisson_result result = with(single, plan->dims, [&](auto number, auto dims) {
    return prepare<decltype(number), dims()>(routine, problem, *plan);
  });
  if (result == TNK_POISSON_DONE)
    *made = plan;
  else
    tnk_serv_tnk_free(plan);
  return result;
}

tnk_poisson_result solve(const char *routine, tnk_poisson_plan &plan, void *f, const void *const *boundary,
                         double *off) {
  return with(plan.single, plan.dims, [&](auto number, auto dims) {
    return solve<decltype(number), dims()>(routine, plan, static_cast<decltype(number) *>(f), boundary, off);
  });
}

bool arrays_are_given(const char *routine, int position, int32_t dims, const void *f,
                      const void *const *boundary) {
  const Check check(routine);
  if (!check.address(position, "f", f)) return false;
  for (int k = 0; boundary && k < 2 * dims; ++k) {
    char name[16];
    TextWriter(name, sizeof name).add("boundary[").add(std::int64_t{k}).add("]");
    if (!check.address(position + 1, name, boundary[k])) return false;
  }
  return true;
}

} // namespace
} // namespace tnk::host

tnk_poisson_result tnk_poisson_plan_make(tnk_poisson_plan **plan, const tnk_poisson_problem *problem) {
  constexpr const char *routine = "tnk_poisson_plan_make";
  if (!Check(routine).address(1, "plan", plan) || !is_sound(routine, 2, problem))
    return TNK_POISSON_BAD_ARGUMENT;
  return make(routine, plan, *problem);
}

tnk_poisson_result tnk_poisson_plan_solve(tnk_poisson_plan *plan, void *f, const void *const *boundary,
                                          double *off) {
  constexpr const char *routine = "tnk_poisson_plan_solve";
  if (!Check(routine).address(1, "plan", plan) || !arrays_are_given(routine, 2, plan->dims, f, boundary))
    return TNK_POISSON_BAD_ARGUMENT;
  return solve(routine, *plan, f, boundary, off);
}

void tnk_poisson_plan_free(tnk_poisson_plan *plan) {
  if (!plan) return;
  tnk_int status;
  with(plan->single, plan->dims, [&](auto number, auto dims) {
    auto *const release = solver<decltype(number), dims()>.release.known();
    if constexpr (dims() == 2)
      release(plan->handles, plan->ipar, &status);
    else
      release(plan->handles, plan->handles + 1, plan->ipar, &status);
  });
  tnk_serv_tnk_free(plan);
}

tnk_poisson_result tnk_poisson_solve(const tnk_poisson_problem *problem, void *f, const void *const *boundary,
                                     double *off) {
  constexpr const char *routine = "tnk_poisson_solve";
  tnk_poisson_plan *plan = nullptr;
  if (!is_sound(routine, 1, problem) || !arrays_are_given(routine, 2, problem->dims, f, boundary))
    return TNK_POISSON_BAD_ARGUMENT;
  if (const tnk_poisson_result result = make(routine, &plan, *problem)) return result;
  const tnk_poisson_result result = solve(routine, *plan, f, boundary, off);
  tnk_poisson_plan_free(plan);
  return result;
}
