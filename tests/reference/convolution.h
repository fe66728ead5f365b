// Convolution and correlation by definition, and the statuses that kernels give for what has none.
#pragma once

#include "reference/sums.h"
#include <tnk/conv_kernels.h>
#include <vector>

namespace tnk::reference {

using Shape = std::vector<int32_t>;

// f(index) for each index of an array of these lengths.
template <class F> void each_index(const Shape &shape, const F &f) {
  Shape index(shape.size(), 0);
  for (;;) {
    f(index);
    std::size_t k = 0;
    while (k < shape.size() && ++index[k] == shape[k]) index[k++] = 0;
    if (k == shape.size()) return;
  }
}

struct Conv {
  bool correlates;
  Shape xshape, yshape, zshape, start, decimation;

  std::size_t dims() const { return xshape.size(); }

  // z[t] as a sum; x and y are functions of an index.
  template <class X, class Y> Sum output(const Shape &t, const X &x, const Y &y) const {
    Sum sum;
    Shape j(dims());
    each_index(xshape, [&](const Shape &i) {
      for (std::size_t k = 0; k < dims(); ++k) {
        const int32_t position = start[k] + t[k] * decimation[k];
        j[k] = correlates ? position + i[k] : position - i[k];
        if (j[k] < 0 || j[k] >= yshape[k]) return;
      }
      add_product(sum, x(i), y(j), false);
    });
    return sum;
  }

  // The first dimension that a kernel refuses decides.
  int32_t status() const {
    for (std::size_t k = 0; k < dims(); ++k) {
      const int64_t lowest = correlates ? 1 - xshape[k] : 0, full = int64_t{xshape[k]} + yshape[k] - 1;
      if (start[k] < lowest || start[k] >= lowest + full) return TNK_CONV_BAD_START;
      if (decimation[k] < 1 || start[k] + (zshape[k] - 1) * int64_t{decimation[k]} >= lowest + full)
        return TNK_CONV_BAD_END;
    }
    return TNK_CONV_OK;
  }
};

} // namespace tnk::reference
