// Plans for Poisson's equation: what they refuse, what they solve and how often, their threads, and their C++ face.
#include "pde/poisson_problem.h"
#include "support/allocations.h"
#include "support/error_recorder.h"
#include <gtest/gtest.h>
#include <tnk/poisson.hpp>

#include <cmath>
#include <cstring>

namespace tnk::test {
namespace {

template <class R, int Dims> tnk_poisson_problem described(const PoissonProblem<R, Dims> &p) {
  tnk_poisson_problem problem = {};
  problem.dims = Dims, problem.numbers = sizeof(R) == 4 ? TNK_POISSON_FLOAT : TNK_POISSON_DOUBLE;
  for (std::size_t a = 0; a < p.dims; ++a)
    problem.cells[a] = p.n[a], problem.low[a] = p.ends[2 * a], problem.high[a] = p.ends[2 * a + 1];
  p.sides.copy(problem.sides, 2 * p.dims);
  problem.q = p.q;
  return problem;
}
template <class R, int Dims> std::vector<const void *> sides_of(const PoissonProblem<R, Dims> &p) {
  std::vector<const void *> sides;
  for (const auto &side : p.boundary) sides.push_back(side.data());
  return sides;
}

TEST(PoissonPlan, RefusesByName) {
  struct Call {
    tnk_poisson_problem problem;
    std::vector<const void *> boundary;
    void *f;
    const tnk_poisson_problem *at;
  };
  const struct {
    const char *argument, *value;
    int position;
    void (*spoil)(Call &);
  } cases[] = {
      {"problem", "a null address", 1, [](Call &c) { c.at = nullptr; }},
      {"problem->dims", "4", 1, [](Call &c) { c.problem.dims = 4; }},
      {"problem->numbers", "2", 1, [](Call &c) { c.problem.numbers = 2; }},
      {"problem->cells[0]", "1", 1, [](Call &c) { c.problem.cells[0] = 1; }},
      {"problem->cells[1]", "1", 1, [](Call &c) { c.problem.cells[1] = 1; }},
      {"problem->cells[2]", "0", 1, [](Call &c) { c.problem.cells[2] = 0; }},
      {"problem->cells[2]", "9223372036854775807", 1, [](Call &c) { c.problem.cells[2] = INT64_MAX; }},
      {"problem->low[1]", "nan", 1, [](Call &c) { c.problem.low[1] = NAN; }},
      {"problem->high[2]", "inf", 1, [](Call &c) { c.problem.high[2] = INFINITY; }},
      {"problem->high[0]", "-2", 1, [](Call &c) { c.problem.high[0] = -2; }},
      {"problem->q", "nan", 1, [](Call &c) { c.problem.q = NAN; }},
      {"problem->sides[4]", "'x'", 1, [](Call &c) { c.problem.sides[4] = 'x'; }},
      {"f", "a null address", 2, [](Call &c) { c.f = nullptr; }},
      {"boundary[5]", "a null address", 3, [](Call &c) { c.boundary[5] = nullptr; }},
  };
  ErrorRecorder errors;
  for (const auto &c : cases) {
    PoissonProblem<double, 3> p({3, 4, 1}, "DNDNDD", 1);
    Call call{described(p), sides_of(p), p.f.data(), nullptr};
    call.at = &call.problem;
    c.spoil(call);
    const std::vector<double> before = p.f;
    EXPECT_EQ(tnk_poisson_solve(call.at, call.f, call.boundary.data(), nullptr), TNK_POISSON_BAD_ARGUMENT);
    EXPECT_EQ(errors.bad_argument().rfind("tnk_poisson_solve: argument " + std::to_string(c.position) + " (" +
                                              c.argument + ") is " + c.value,
                                          0),
              0u)
        << c.argument << errors.last().message;
    EXPECT_EQ(p.f, before);
  }
  // Ends that only doubles tell apart, or a step that floats do not; plans say where the fault is in their own lists.
  PoissonProblem<float, 2> p({3, 4}, "DDDD", 1);
  tnk_poisson_problem problem = described(p);
  tnk_poisson_plan *plan = nullptr;
  for (const auto &[low, high] : {std::pair(1., 1 + 1e-12), std::pair(0., 1.5e-45)}) {
    problem.low[0] = low, problem.high[0] = high;
    EXPECT_EQ(tnk_poisson_plan_make(&plan, &problem), TNK_POISSON_BAD_ARGUMENT);
    EXPECT_NE(errors.bad_argument().find("argument 2 (problem->high[0])"), std::string::npos);
  }
  problem.low[0] = problem.low[1] = problem.low[2] = 0;
  // Equations that would make NaN of every f, and beside each a length of this axis with which they do not.
  const struct {
    const char *sides, *argument;
    int dims, numbers, axis;
    double bad, good, q = 0;
  } steps[] = {
      {"DDDD", "problem->high[1]", 2, TNK_POISSON_DOUBLE, 1, 1e155, 1e150},
      {"DDNN", "problem->high[0]", 2, TNK_POISSON_DOUBLE, 0, 1e-154, 1e-150},
      {"DDDDDD", "problem->high[1]", 3, TNK_POISSON_FLOAT, 1, 1e-20f, 1e-18f},
      {"DDDD", "problem->q", 2, TNK_POISSON_DOUBLE, 1, 1e5, 1, 1e300},
      {"NDNN", "problem->high[0]", 2, TNK_POISSON_DOUBLE, 0, 1e9, 1e7},
      {"DDNNNN", "problem->high[0]", 3, TNK_POISSON_DOUBLE, 0, 1e9, 1e7},
      {"NNDDNN", "problem->high[1]", 3, TNK_POISSON_FLOAT, 1, 1e4, 1e3},
      {"NNNN", "problem->high[0]", 2, TNK_POISSON_FLOAT, 0, 1e4, 1e3},
      {"NNNNNN", "problem->high[1]", 3, TNK_POISSON_DOUBLE, 1, 1e9, 1e7},
  };
  for (const auto &c : steps) {
    problem.dims = c.dims, problem.numbers = c.numbers, problem.q = c.q;
    std::memcpy(problem.sides, c.sides, static_cast<std::size_t>(2 * c.dims));
    for (int axis = 0; axis < 3; ++axis) problem.cells[axis] = 4, problem.high[axis] = 1;
    problem.high[c.axis] = c.bad;
    EXPECT_EQ(tnk_poisson_plan_make(&plan, &problem), TNK_POISSON_BAD_ARGUMENT) << c.sides << c.bad;
    EXPECT_NE(errors.bad_argument().find(c.argument), std::string::npos) << errors.last().message;
    problem.high[c.axis] = c.good;
    double f[125] = {};
    float g[125] = {};
    for (int i = 0; i < 125; ++i) f[i] = g[i] = static_cast<float>(i % 7 - 3);
    const bool single = c.numbers == TNK_POISSON_FLOAT;
    tnk_poisson_solve(&problem, single ? static_cast<void *>(g) : f, nullptr, nullptr);
    for (int i = 0; i < 125; ++i) EXPECT_TRUE(single ? std::isfinite(g[i]) : std::isfinite(f[i])) << c.sides;
  }
  EXPECT_EQ(tnk_poisson_plan_make(nullptr, &problem), TNK_POISSON_BAD_ARGUMENT);
  EXPECT_NE(errors.bad_argument().find("argument 1 (plan)"), std::string::npos);
  EXPECT_EQ(tnk_poisson_plan_solve(nullptr, p.f.data(), nullptr, nullptr), TNK_POISSON_BAD_ARGUMENT);
  EXPECT_NE(errors.bad_argument().find("argument 1 (plan)"), std::string::npos);
  EXPECT_EQ(plan, nullptr);
  tnk_poisson_plan_free(nullptr);
}

// One plan for one right-hand side after another, in both precisions, and nothing printed.
template <class R, int Dims>
void solve_often(const std::array<tnk_int, Dims> &n, const std::string &sides, double q) {
  SCOPED_TRACE(sides);
  tnk_poisson_plan *plan = nullptr;
  testing::internal::CaptureStdout();
  for (unsigned seed = 1; seed <= 3; ++seed) {
    PoissonProblem<R, Dims> p(n, sides, q, seed);
    p.ends = PoissonProblem<R, Dims>(n, sides, q).ends;
    const tnk_poisson_problem problem = described(p);
    if (!plan) {
      ASSERT_EQ(tnk_poisson_plan_make(&plan, &problem), TNK_POISSON_DONE);
    }
    const bool zeros = seed == 2;
    for (auto &side : p.boundary)
      if (zeros) std::fill(side.begin(), side.end(), R(0));
    double off = 4711;
    const auto result = tnk_poisson_plan_solve(plan, p.u.data(), zeros ? nullptr : sides_of(p).data(), &off);
    const bool singular = q == 0 && sides == std::string(2 * Dims, 'N');
    EXPECT_EQ(result, singular ? TNK_POISSON_SINGULAR : q < 0 ? TNK_POISSON_NEGATIVE_Q : TNK_POISSON_DONE);
    EXPECT_TRUE(singular || off == 0) << off;
    EXPECT_LE(p.deviation(off), 8 + static_cast<double>(*std::max_element(n.begin(), n.end())) / 16);
  }
  tnk_poisson_plan_free(plan);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
TEST(PoissonPlan, SolvesManyTimes) {
  for (const std::string &sides : all_sides(4)) {
    solve_often<double, 2>({7, 6}, sides, 0);
    solve_often<float, 2>({6, 1}, sides, 2);
  }
  for (const char *const sides : {"DDDDDD", "nnnnnn", "NNNNNN", "dnNDnd"}) {
    if (sides[0] != 'n') solve_often<double, 3>({5, 4, 6}, sides, 0);
    solve_often<float, 3>({4, 5, 3}, sides, 1);
  }
  solve_often<double, 2>({7, 6}, "DDDD", -1);
}

// Values around nothing but zeros know no unit: not where the square of a step is 0 in floats either.
TEST(PoissonPlan, HasTheSameBitsInAnyUnit) {
  PoissonProblem<float, 2> p({9, 7}, "DDND", 0);
  p.boundary[2].assign(p.boundary[2].size(), 0);
  std::vector<float> first;
  for (const int exponent : {0, -90, 50}) {
    tnk_poisson_problem problem = described(p);
    for (const int axis : {0, 1})
      problem.low[axis] = 0, problem.high[axis] = std::ldexp(axis == 0 ? 1.375 : 0.75, exponent);
    std::vector<float> u(p.f.size());
    ASSERT_EQ(tnk_poisson_solve(&problem, u.data(), sides_of(p).data(), nullptr), TNK_POISSON_DONE);
    if (first.empty()) first = u;
    EXPECT_EQ(u, first) << exponent;
  }
}

// Each block of memory refused in turn: a report, and nothing left behind.
TEST(PoissonPlan, ReportsWhatMemoryIsMissing) {
  PoissonProblem<double, 3> p({6, 5, 4}, "DNDDNN", 1);
  const tnk_poisson_problem problem = described(p);
  ErrorRecorder errors;
  std::vector<double> u = p.f;
  allocations.reset();
  refuse_in_turn([&] { return tnk_poisson_solve(&problem, u.data(), nullptr, nullptr); },
                 [&](tnk_poisson_result result, bool refused) {
                   EXPECT_EQ(allocations.live, 0);
                   u = p.f;
                   if (result == TNK_POISSON_DONE) return; // there was another way
                   EXPECT_TRUE(refused && result == TNK_POISSON_OUT_OF_MEMORY);
                   EXPECT_EQ(errors.take().kind, TNK_ERROR_MEMORY);
                 });
}

TEST(PoissonFace, SolvesAndThrows) {
  PoissonProblem<double, 2> p({8, 5}, "NDDN", 2);
  std::fill(p.boundary[2].begin(), p.boundary[2].end(), 0);
  PoissonSetup setup;
  setup.cells = {8, 5}, setup.low = {p.ends[0], p.ends[2]}, setup.high = {p.ends[1], p.ends[3]};
  setup.sides = p.sides, setup.q = 2;
  Poisson<double> poisson(setup);
  EXPECT_EQ(poisson.size(), p.f.size());
  EXPECT_FALSE(poisson.solve(p.u, {p.boundary[0], p.boundary[1], {}, p.boundary[3]}).singular);
  EXPECT_LE(p.deviation(), 9);
  EXPECT_THROW(poisson.solve(p.boundary[0]), std::invalid_argument);
  EXPECT_THROW(poisson.solve(p.u, {p.boundary[2], {}, {}, {}}), std::invalid_argument);
  const ErrorRecorder errors;
  setup.cells = {1, 5};
  EXPECT_THROW(Poisson<double>{setup}, PoissonError);
  setup.cells = {1};
  EXPECT_THROW(Poisson<double>{setup}, std::invalid_argument);
  setup = {};
  setup.cells = {4, 4}, setup.sides = "NNNN";
  std::vector<float> ones(25, 1);
  const auto outcome = Poisson<float>(setup).solve(ones);
  EXPECT_TRUE(outcome.singular);
  EXPECT_NEAR(outcome.off, 1, 1e-6);
}

} // namespace
} // namespace tnk::test
