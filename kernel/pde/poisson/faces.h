// The sides of the grid: where their points stand in f, and where in an array of boundary values.
#pragma once

#include "kernel/pde/poisson/problem.h"

namespace tnk::poisson {

struct Range {
  tnk_int begin, end;
};

template <int Dims> class Face {
public:
  // Side k, in the order ax, bx, ay, by, az, bz, of a grid of so many cells.
  Face(int k, const tnk_int *cells) : axis_(k / 2), high_(k % 2 == 1), cells_(cells) {
    tnk_int stride = 1;
    for (int axis = 0; axis < Dims; ++axis) {
      strides_[axis] = stride;
      stride *= cells[axis] + 1;
    }
    first_ = axis_ == 0 ? 1 : 0;
    second_ = axis_ == 2 ? 1 : 2;
  }

  // Calls each(index in f, index in the boundary array) for the points `depth` away from the side that are within
  // range(axis) along the other axes.
  template <class Ranges, class Each>
  void points(tnk_int depth, const Ranges &range, const Each &each) const {
    const tnk_int from = (high_ ? cells_[axis_] - depth : depth) * strides_[axis_];
    const Range first = range(first_);
    Range second = {0, 1};
    tnk_int stride = 0, row = 0;
    if constexpr (Dims == 3) second = range(second_), stride = strides_[second_], row = cells_[first_] + 1;
    for (tnk_int j = second.begin; j < second.end; ++j)
      for (tnk_int i = first.begin; i < first.end; ++i)
        each(from + i * strides_[first_] + j * stride, i + j * row);
  }

private:
  int axis_;
  bool high_;
  const tnk_int *cells_;
  tnk_int strides_[static_cast<size_t>(Dims)];
  int first_, second_; // the other axes
};

} // namespace tnk::poisson
