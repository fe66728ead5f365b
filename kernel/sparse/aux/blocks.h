// Square blocks in compressed rows or columns, and the quotient that sweeps and divisions by diagonals share.
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

// a / b. Complex quotients are formed in the next wider type, whose range holds the squares of all parts.
template <class T> inline T quotient(T a, T b) {
  if constexpr (is_complex<T>) {
    using W = std::conditional_t<sizeof(T) == 8, double, long double>;
    const W re = b.re, im = b.im, scale = W(1) / (re * re + im * im);
    return {static_cast<real_of<T>>((a.re * re + a.im * im) * scale),
            static_cast<real_of<T>>((a.im * re - a.re * im) * scale)};
  } else {
    return a / b;
  }
}

} // namespace tnk::sparse
