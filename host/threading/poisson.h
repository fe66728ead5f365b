// What the two halves of a solver for Poisson's equation share: rows that are transformed (poisson_rows.cpp) and columns of
// tridiagonal equations (poisson_columns.cpp). Whatever the number of threads, each row and each column is computed in the
// same way: so slices move no bit.
#pragma once

#include <algorithm>
#include <tnk/pde_poisson.h>

#include "host/threading/team.h"

namespace tnk::host::poisson {

// The sides of an axis: value or slope given below and above.
struct Sides {
  bool slope_below, slope_above;
};
constexpr Sides dd{false, false}, dn{false, true}, nd{true, false}, nn{true, true};
constexpr bool mixed(Sides sides) {
  return sides.slope_below != sides.slope_above;
}
inline Sides sides_of(const tnk_int *ipar, int axis) {
  const tnk_int *const sides = ipar + TNK_PDEPL_SIDES + 2 * axis;
  return {sides[0] == 1, sides[1] == 1};
}

struct Range {
  tnk_int begin, end;
  tnk_int size() const { return std::max<tnk_int>(end - begin, 0); }
};
// The points of an axis of n cells that are unknown, and where their coefficients stand.
constexpr Range unknowns(Sides sides, tnk_int n) {
  return {sides.slope_below ? 0 : 1, sides.slope_above ? n + 1 : n};
}
constexpr Range coefficients(Sides sides, tnk_int n) {
  return mixed(sides) ? Range{0, n} : unknowns(sides, n);
}

// Points that make a second thread worth while: a transform takes some five nanoseconds a point, and a thread that sleeps
// some fifty microseconds to wake.
constexpr double worth_while = 20000;
inline int threads_for(double points, tnk_int limit) {
  if (points < worth_while || limit < 2) return 1;
  return static_cast<int>(std::min<tnk_int>(limit, usable_threads()));
}

// Calls body(begin, end) with slices of the range. Slices are whole multiples of `unit`, but for the last one.
template <class Body> void in_slices(Range range, tnk_int unit, int threads, const Body &body) {
  const tnk_int units = (range.size() + unit - 1) / unit;
  if (threads < 2 || units < 2) {
    if (units) body(range.begin, range.end);
    return;
  }
  const int slices = static_cast<int>(std::min<tnk_int>(units, threads * slices_a_thread));
  spread(slices, threads, [&](int i) {
    body(range.begin + units * i / slices * unit,
         std::min(range.end, range.begin + units * (i + 1) / slices * unit));
  });
}

} // namespace tnk::host::poisson
