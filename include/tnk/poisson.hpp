// Poisson's and Helmholtz' equation for C++17: the plans of tnk/poisson.h as objects. Link with -ltnk.
//
//     tnk::PoissonSetup setup;
//     setup.cells = {200, 100}, setup.high = {2, 1}, setup.sides = "DNNN";
//     tnk::Poisson<double> plate(setup);
//     std::vector<double> u(plate.size(), 1.0); // f at first
//     plate.solve(u, {edge, {}, {}, {}});       // empty: zeros
//
// What fails throws tnk::PoissonError, arrays of a wrong size std::invalid_argument.
#ifndef TNK_POISSON_HPP
#define TNK_POISSON_HPP

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <tnk/poisson.h>
#include <type_traits>
#include <vector>

namespace tnk {

struct PoissonSetup {
  std::vector<tnk_int> cells;    // two or three
  std::vector<double> low, high; // as many, or empty: 0 and 1
  std::string sides = "DDDDDD";  // letters D and N
  double q = 0;                  // below 0 it may meet an eigenvalue, and nothing tells when it does
};

class PoissonError : public std::runtime_error {
public:
  explicit PoissonError(tnk_poisson_result result)
      : std::runtime_error("tnk::Poisson: result " + std::to_string(result) +
                           ", reported to the error handler"),
        result_(result) {}
  tnk_poisson_result result() const noexcept { return result_; }

private:
  tnk_poisson_result result_;
};

template <class Real> class Poisson {
  static_assert(std::is_same_v<Real, float> || std::is_same_v<Real, double>);

public:
  // What was found out: `singular` with the constant that was taken off f.
  struct Outcome {
    bool singular;
    double off;
  };

  explicit Poisson(const PoissonSetup &setup) : cells_(setup.cells) {
    const std::size_t dims = cells_.size();
    const auto fits = [&](std::size_t count) { return count == 0 || count == dims; };
    if ((dims != 2 && dims != 3) || !fits(setup.low.size()) || !fits(setup.high.size()) ||
        setup.sides.size() < 2 * dims)
      throw std::invalid_argument(
          "tnk::Poisson: expected cells of two or three axes, ends of each or none, two letters for each");
    tnk_poisson_problem problem = {};
    problem.dims = static_cast<int32_t>(dims);
    problem.numbers = std::is_same_v<Real, float> ? TNK_POISSON_FLOAT : TNK_POISSON_DOUBLE;
    problem.q = setup.q;
    for (std::size_t a = 0; a < dims; ++a) {
      problem.cells[a] = cells_[a];
      problem.low[a] = setup.low.empty() ? 0 : setup.low[a];
      problem.high[a] = setup.high.empty() ? 1 : setup.high[a];
    }
    setup.sides.copy(problem.sides, 2 * dims);
    tnk_poisson_plan *plan = nullptr;
    expect(tnk_poisson_plan_make(&plan, &problem));
    plan_.reset(plan);
  }

  // Points of the grid, and of side k.
  std::size_t size() const { return points(cells_.size()); }
  std::size_t side_size(std::size_t k) const { return points(k / 2); }

  // f before, u after. A vector for each side or none at all; an empty one is all zeros.
  Outcome solve(std::vector<Real> &f, const std::vector<std::vector<Real>> &boundary = {}) {
    if (f.size() != size() || (!boundary.empty() && boundary.size() != 2 * cells_.size()))
      throw std::invalid_argument("tnk::Poisson: arrays of other sizes than the grid");
    std::vector<const void *> sides;
    std::vector<Real> zeros;
    for (const auto &side : boundary)
      if (side.empty()) zeros.resize(size());
    for (std::size_t k = 0; k < boundary.size(); ++k) {
      if (!boundary[k].empty() && boundary[k].size() != side_size(k))
        throw std::invalid_argument("tnk::Poisson: side " + std::to_string(k) + " has " +
                                    std::to_string(side_size(k)) + " points");
      sides.push_back(boundary[k].empty() ? zeros.data() : boundary[k].data());
    }
    double off = 0;
    const tnk_poisson_result result =
        tnk_poisson_plan_solve(plan_.get(), f.data(), sides.empty() ? nullptr : sides.data(), &off);
    expect(result);
    return {result == TNK_POISSON_SINGULAR, off};
  }

private:
  static void expect(tnk_poisson_result result) {
    if (result != TNK_POISSON_DONE && result != TNK_POISSON_SINGULAR && result != TNK_POISSON_NEGATIVE_Q)
      throw PoissonError(result);
  }
  // Of all axes but one.
  std::size_t points(std::size_t without) const {
    std::size_t count = 1;
    for (std::size_t a = 0; a < cells_.size(); ++a)
      if (a != without) count *= static_cast<std::size_t>(cells_[a] + 1);
    return count;
  }
  struct Free {
    void operator()(tnk_poisson_plan *plan) const { tnk_poisson_plan_free(plan); }
  };
  std::vector<tnk_int> cells_;
  std::unique_ptr<tnk_poisson_plan, Free> plan_;
};

} // namespace tnk

#endif
