// Columns of a matrix in registers: blocks of a few rows that are read row by row and come out column by column.
#pragma once

#include "kernel/frame/transpose.h"
#include "kernel/trans/letters.h"

namespace tnk::trans {

// Four columns of a block, the element of each of its rows after the other: 8, 4, 4 or 2 rows in s, d, c, z.
constexpr int columns_a_block = 4;
template <class T> struct Columns { vec_of<T> column[columns_a_block]; };

template <class T> inline Columns<T> load_columns(const T *a, count lda) {
  using V = vec_of<T>;
  if constexpr (sizeof(T) == 4) {
    const auto rows = [=](count i) {
      return joined(loadu<f32x4>(a + i * lda), loadu<f32x4>(a + (i + 4) * lda));
    };
    V r0 = rows(0), r1 = rows(1), r2 = rows(2), r3 = rows(3);
    transpose_halves(r0, r1, r2, r3);
    return {{r0, r1, r2, r3}};
  } else if constexpr (sizeof(T) == 8) {
    f64x4 r0 = loadu<f64x4>(a), r1 = loadu<f64x4>(a + lda), r2 = loadu<f64x4>(a + 2 * lda),
          r3 = loadu<f64x4>(a + 3 * lda);
    transpose(r0, r1, r2, r3);
    return {
        {reinterpret_cast<V>(r0), reinterpret_cast<V>(r1), reinterpret_cast<V>(r2), reinterpret_cast<V>(r3)}};
  } else {
    const V r0 = loadu<V>(a), r1 = loadu<V>(a + lda), s0 = loadu<V>(a + 2), s1 = loadu<V>(a + lda + 2);
    return {{low_halves(r0, r1), high_halves(r0, r1), low_halves(s0, s1), high_halves(s0, s1)}};
  }
}

} // namespace tnk::trans
