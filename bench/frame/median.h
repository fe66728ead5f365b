#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tnk::bench {

// The middle value, of an even number the mean of the two middle ones; 0 of nothing.
inline double median(std::vector<double> values) {
  if (values.empty()) return 0;
  const std::size_t half = values.size() / 2;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(half);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2) return *middle;
  return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

} // namespace tnk::bench
