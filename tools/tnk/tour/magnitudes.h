// A picture of a matrix: where its entries stand and how large they are.
#pragma once

#include "tools/tnk/plot/svg.h"
#include <cstddef>
#include <vector>

namespace tnk::tool {

// The largest entry of each cell, by its decimal logarithm. Empty cells stay white.
class MagnitudeMap {
public:
  explicit MagnitudeMap(std::size_t order);

  void take(std::size_t row, std::size_t column, double value); // counted from 0
  // With its legend to the right.
  void draw(Figure &figure, const Box &box, const std::string &what) const;

private:
  static constexpr std::size_t cells = 250;
  std::size_t order_;
  double largest_;
  std::vector<double> map_;
};

} // namespace tnk::tool
