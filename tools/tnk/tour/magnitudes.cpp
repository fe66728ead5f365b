#include "tools/tnk/tour/magnitudes.h"
#include "tools/tnk/support/format.h"
#include <algorithm>
#include <cmath>

namespace tnk::tool {
namespace {

constexpr double decades = 8, nothing = -1e9;
const Shades &magnitudes() {
  static const Shades shades = {{222, 235, 247}, {146, 197, 222}, {33, 102, 172}, {90, 24, 120}, {40, 0, 40}};
  return shades;
}

} // namespace

MagnitudeMap::MagnitudeMap(std::size_t order)
    : order_(order), largest_(nothing), map_(cells * cells, nothing) {}

void MagnitudeMap::take(std::size_t row, std::size_t column, double value) {
  if (value == 0) return;
  const double size = std::log10(std::fabs(value));
  double &cell = map_[(cells - 1 - row * cells / order_) * cells + column * cells / order_];
  cell = std::max(cell, size);
  largest_ = std::max(largest_, size);
}

void MagnitudeMap::draw(Figure &figure, const Box &box, const std::string &what) const {
  // White is one step of the colours below the smallest that is told apart.
  Shades with_white = magnitudes();
  with_white.insert(with_white.begin(), {255, 255, 255});
  const double high = std::ceil(largest_), low = high - decades;
  const double step = decades / static_cast<double>(magnitudes().size() - 1);
  std::vector<double> values = map_;
  for (double &value : values) value = value == nothing ? low - step : std::max(value, low);
  const auto order = static_cast<double>(order_);
  Panel(figure, box, format("%s by magnitude, the lightest of %g and less", what.c_str(), std::pow(10, low)),
        {0, order, "column"}, {order, 0, "row"})
      .map(cells, values, {with_white, low - step, high});
  figure.legend({box.left + box.width + 22, box.top, 14, box.height}, {magnitudes(), low, high},
                "log\u2081\u2080");
}

} // namespace tnk::tool
