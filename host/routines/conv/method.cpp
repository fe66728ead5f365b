// Which method is the faster one, from sizes alone: the number of threads must not choose, since bits depend on it.
#include "host/routines/conv/plan.h"

#include <algorithm>
#include <cmath>

namespace tnk::host::conv {
namespace {

// Nanoseconds on one core. Sums: of an output, and of each of its terms. Transforms: of a call, of each position from the
// first output to the last, and besides for each doubling of the shorter operand. Fitted to medians of both methods with
// shorter operands of 8 to 256 elements and longer ones of 100 to 100000, in two dimensions of 3 by 3 to 21 by 21 and 32 by
// 32 to 512 by 512, on a virtual core of an AMD EPYC (Zen 4); off by a fifth where the methods are alike. Several
// dimensions are taken as two.
struct Costs {
  double output, term;
  double call, position, doubling;
};
constexpr Costs costs[4][2] = {
    {{0.6, 0.031, 1300, 1.6, 0.06}, {2.5, 0.048, 10000, 5, 0.5}}, // float: one dimension, several
    {{0.75, 0.062, 1400, 2.6, 0.13}, {2.8, 0.07, 10000, 8.5, 0.6}},
    {{1.5, 0.13, 1200, 1.9, 0.28}, {4, 0.16, 10000, 4, 1.3}}, // complex8
    {{1.7, 0.285, 1200, 1.5, 0.77}, {5, 0.255, 10000, 4, 1.9}},
};

// How many products the first `positions` outputs of a full result of one dimension have.
double terms_before(double positions, double nx, double ny) {
  const double shorter = std::min(nx, ny), longer = std::max(nx, ny), left = nx + ny - 1 - positions;
  if (positions <= shorter) return positions * (positions + 1) / 2;
  if (positions <= longer) return shorter * (shorter + 1) / 2 + (positions - shorter) * shorter;
  return nx * ny - left * (left + 1) / 2;
}

} // namespace

bool sums_are_faster(const tnk_conv_plan &plan) {
  double terms = 1, positions = 1;
  for (std::int32_t k = 0; k < plan.dims; ++k) {
    const double nx = plan.x.shape[k], ny = plan.y.shape[k], step = plan.decimation[k];
    const double first = plan.start[k] + (plan.correlates ? nx - 1 : 0),
                 span = (plan.z.shape[k] - 1) * step + 1;
    terms *= (terms_before(first + span, nx, ny) - terms_before(first, nx, ny)) / step;
    positions *= span;
  }
  if (plan.dims > 1) { // outputs near the ends of dimension 0 do not go in vectors, and take twice the time
    const double nx = plan.x.shape[0], ny = plan.y.shape[0], inside = std::abs(ny - nx) + 1;
    terms *= 2 - std::min(inside / plan.z.shape[0], 1.0);
  }
  const bool in_double =
      plan.in_double && (plan.numbers == TNK_CONV_FLOAT || plan.numbers == TNK_CONV_COMPLEX8);
  const int arithmetic = plan.numbers + (in_double ? 1 : 0);
  const Costs &c = costs[arithmetic][plan.dims > 1];
  const double shorter = static_cast<double>(std::min(plan.x.count, plan.y.count));
  return c.output * static_cast<double>(plan.z.count) + c.term * terms <
         c.call + positions * (c.position + c.doubling * std::log2(shorter));
}

} // namespace tnk::host::conv
