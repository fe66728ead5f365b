// Square blocks in compressed rows or columns.
#pragma once

#include "kernel/frame/element.h"
#include "kernel/sparse/wrapped.h"
#include <tnk/spblas_aux.h>

namespace tnk::sparse {

// The two sides of the family: block numbers from one, blocks and dense operands by columns; or numbers from zero, all
// by rows.
struct ByColumns {
  static constexpr bool by_rows = false;
  static constexpr int base = 1;
};
struct ByRows {
  static constexpr bool by_rows = true;
  static constexpr int base = 0;
};

// Rows (or columns) of blocks; all numbers from zero.
template <class Side, class T, class I> struct Blocks {
  I size;
  const T *values;
  const I *index, *start, *end;

  struct Range {
    I first, end;
  };
  // Positions of a row's blocks.
  Range row(I i) const {
    const I base = get(start);
    return {wrapped_difference(get(start + i), base), wrapped_difference(get(end + i), base)};
  }
  I number(I position) const { return get(index + position) - Side::base; }
  const T *block(I position) const { return values + wrapped_product(position, wrapped_product(size, size)); }
  T at(I position, I r, I s) const {
    return get(block(position) +
               (Side::by_rows ? wrapped_product(r, size) + s : wrapped_product(s, size) + r));
  }
};

} // namespace tnk::sparse
