// A problem for the solvers: random f and boundaries, and how far a solution is from its difference equations.
#pragma once

#include "support/random.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <tnk/types.h>
#include <vector>

namespace tnk::test {

template <class R, int Dims> class PoissonProblem {
public:
  static constexpr std::size_t dims = Dims;
  using Point = std::array<tnk_int, dims>;
  Point n;
  std::string sides; // letters
  double q;
  std::array<R, 2 * dims> ends; // ax, bx, ay, ...
  std::vector<R> f, u;          // u: f at first, the solution in the end
  std::vector<R> boundary[2 * dims];

  PoissonProblem(const Point &cells, const std::string &letters, double its_q, unsigned seed = 1)
      : n(cells), sides(letters), q(its_q) {
    Random random(seed);
    for (std::size_t a = 0; a < dims; ++a)
      ends[2 * a] = random.real(R(-1), R(1)), ends[2 * a + 1] = ends[2 * a] + random.real(R(0.5), R(2));
    f.resize(count(n));
    for (R &value : f) value = random.real(R(-1), R(1));
    for (std::size_t k = 0; k < 2 * dims; ++k) {
      Point face = n;
      face[k / 2] = 0;
      boundary[k].resize(count(face));
      for (R &value : boundary[k]) value = random.real(R(-1), R(1));
    }
    restart();
  }
  // u is f again. Where values are given f must not matter.
  void restart() {
    u = f;
    each_point([&](const Point &p) {
      if (owner(p) >= 0) u[index(p)] = std::numeric_limits<R>::quiet_NaN();
    });
  }

  template <class Each> void each_point(const Each &each) const {
    Point p{};
    for (std::size_t i = 0; i < f.size(); ++i) {
      each(p);
      for (std::size_t a = 0; a < dims && ++p[a] > n[a]; ++a) p[a] = 0;
    }
  }
  std::size_t index(const Point &p) const {
    std::size_t at = 0;
    for (std::size_t a = dims; a-- > 0;)
      at = at * static_cast<std::size_t>(n[a] + 1) + static_cast<std::size_t>(p[a]);
    return at;
  }
  double step(std::size_t a) const {
    return (static_cast<double>(ends[2 * a + 1]) - static_cast<double>(ends[2 * a])) /
           static_cast<double>(n[a]);
  }
  bool is_slope(std::size_t k) const { return sides[k] == 'N' || sides[k] == 'n'; }
  bool on_side(const Point &p, std::size_t k) const { return p[k / 2] == (k % 2 ? n[k / 2] : 0); }
  // What is given at a point of side k.
  double given(const Point &p, std::size_t k) const {
    std::size_t at = 0;
    for (std::size_t a = dims; a-- > 0;)
      if (a != k / 2) at = at * static_cast<std::size_t>(n[a] + 1) + static_cast<std::size_t>(p[a]);
    return static_cast<double>(boundary[k][at]);
  }
  // The side whose value stands at a point; -1 where u is unknown.
  int owner(const Point &p) const {
    int found = -1;
    for (std::size_t k = 0; k < 2 * dims; ++k)
      if (on_side(p, k) && !is_slope(k)) found = static_cast<int>(k);
    return found;
  }

  // The largest deviation of u, in roundings of what the equations add up; where values are given there may be none.
  // `off`: a constant that was taken off f; with another one than what a singular problem is off balance no u is near.
  double deviation(double off = 0) const {
    double largest_u = 0, scale = std::fabs(q), worst = 0, largest_f = std::fabs(off);
    for (const R value : u) largest_u = std::max(largest_u, std::fabs(static_cast<double>(value)));
    for (const R value : f) largest_f = std::max(largest_f, std::fabs(static_cast<double>(value)));
    for (std::size_t a = 0; a < dims; ++a) scale += 4 / (step(a) * step(a));
    each_point([&](const Point &p) {
      const double here = static_cast<double>(u[index(p)]);
      if (const int k = owner(p); k >= 0) {
        if (!(here == given(p, static_cast<std::size_t>(k)))) worst = 1 / 0.;
        return;
      }
      double sum = q * here - (static_cast<double>(f[index(p)]) - off);
      for (std::size_t a = 0; a < dims; ++a) {
        const double h = step(a);
        const auto neighbour = [&](std::size_t k) {
          Point to = p;
          const tnk_int outwards = k % 2 ? 1 : -1;
          if (!on_side(p, k)) {
            to[a] += outwards;
            return static_cast<double>(u[index(to)]);
          }
          to[a] -= outwards; // mirrored, and the slope over two steps
          return static_cast<double>(u[index(to)]) + 2 * h * given(p, k);
        };
        sum += (2 * here - neighbour(2 * a) - neighbour(2 * a + 1)) / (h * h);
      }
      if (!(std::fabs(sum) <= worst)) worst = std::fabs(sum); // a NaN stays
    });
    return worst / (static_cast<double>(std::numeric_limits<R>::epsilon()) * (scale * largest_u + largest_f));
  }

  // Of a function on the grid, edges counted half.
  double mean(const std::vector<R> &values) const {
    double sum = 0, weights = 0;
    each_point([&](const Point &p) {
      double weight = 1;
      for (std::size_t k = 0; k < 2 * dims; ++k)
        if (on_side(p, k)) weight /= 2;
      sum += weight * static_cast<double>(values[index(p)]), weights += weight;
    });
    return sum / weights;
  }

private:
  static std::size_t count(const Point &cells) {
    std::size_t points = 1;
    for (const tnk_int c : cells) points *= static_cast<std::size_t>(c + 1);
    return points;
  }
};

// All strings of so many letters D and N.
inline std::vector<std::string> all_sides(std::size_t length) {
  if (length == 0) return {""};
  std::vector<std::string> all;
  for (const std::string &rest : all_sides(length - 1)) all.insert(all.end(), {'D' + rest, 'N' + rest});
  return all;
}

} // namespace tnk::test
