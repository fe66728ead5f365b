// Twiddles of lengths 256, 512 and 1024, in the second workspace of a node: exp(-2 pi i k c / N) for frequency k, 1 to 15,
// of column c.
#pragma once

#include "kernel/dft/compact/columns.h"

namespace tnk::dft::compact {

// 256 and 1024: sixteen rows of N / 16 columns. For each four columns but the first, a block of real and one of imaginary
// parts for every frequency but 8, whose twiddles are the squares of those of 4; then, for the first four, the same
// without those of column 0, which are 1. Lanes stand as they are loaded from pairs.
template <int N> struct BlockTable {
  static constexpr int rows = 16, columns = N / rows, frequencies = rows - 2;
  static constexpr int group = frequencies * 8, length = columns / 4 * group - 2 * frequencies; // doubles
  static constexpr tnk_int bytes = length * tnk_int{sizeof(double)}, work = N * tnk_int{16};

  // The place of a frequency among those that have one.
  static constexpr int place(int k) { return k < 8 ? k - 1 : k - 2; }

  // Of columns c to c + 3.
  template <bool First> static cvec<f64x4> load(const double *table, tnk_int c, int k) {
    if constexpr (First) {
      // What stands before three numbers is another one of the table.
      const double *const last = table + (columns / 4 - 1) * group + 6 * place(k) - 1;
      return {blended<1>(loadu<f64x4>(last), f64x4{1, 1, 1, 1}), blended<1>(loadu<f64x4>(last + 3), f64x4{})};
    } else {
      const double *const block = table + (c / 4 - 1) * group + 8 * place(k);
      return load_parts<f64x4>(block, block + 4);
    }
  }
};

// 512: sixteen rows, and sixteen columns, of which others are made. Row k - 1, entry 2 (c - 1): the cosine, then the sine,
// each twice.
struct TwiceTable {
  static constexpr int rows = 16, columns = 32, entries = 30;
  static constexpr tnk_int bytes = 15 * entries * 2 * tnk_int{sizeof(double)}, work = 512 * tnk_int{16};

  // Of columns c to c + 3, c below 16: conjugates.
  static cvec<f64x4> load(const double *table, tnk_int c, int k) {
    const double *const row = table + (k - 1) * 2 * entries + 4 * (c - 1);
    const f64x4 first = c == 0 ? f64x4{1, 1, 0, 0} : loadu<f64x4>(row);
    const f64x4 even = blended<0b1010>(first, loadu<f64x4>(row + 8));
    const f64x4 odd = blended<0b1010>(loadu<f64x4>(row + 4), loadu<f64x4>(row + 12));
    return {low_halves(even, odd), high_halves(even, odd)};
  }
};

static_assert(BlockTable<256>::bytes == 3360 && TwiceTable::bytes == 7200 &&
              BlockTable<1024>::bytes == 14112);

} // namespace tnk::dft::compact
