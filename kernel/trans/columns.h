// Columns of a matrix in registers: blocks of a few rows that are read row by row and come out column by column.
#pragma once

#include "kernel/frame/transpose.h"
#include "kernel/trans/rows.h"

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

// The way back: rows of four elements from their columns.
template <class T> inline void store_columns(T *a, count lda, const Columns<T> &x) {
  using V = vec_of<T>;
  if constexpr (sizeof(T) == 4) {
    V r[] = {x.column[0], x.column[1], x.column[2], x.column[3]};
    transpose_halves(r[0], r[1], r[2], r[3]);
    unrolled<4>([&](auto k) TNK_INLINED {
      storeu(a + k * lda, low_half(r[k]));
      storeu(a + (k + 4) * lda, high_half(r[k]));
    });
  } else if constexpr (sizeof(T) == 8) {
    f64x4 r[] = {reinterpret_cast<f64x4>(x.column[0]), reinterpret_cast<f64x4>(x.column[1]),
                 reinterpret_cast<f64x4>(x.column[2]), reinterpret_cast<f64x4>(x.column[3])};
    transpose(r[0], r[1], r[2], r[3]);
    unrolled<4>([&](auto k) TNK_INLINED { storeu(a + k * lda, r[k]); });
  } else {
    storeu(a, low_halves(x.column[0], x.column[1]));
    storeu(a + 2, low_halves(x.column[2], x.column[3]));
    storeu(a + lda, high_halves(x.column[0], x.column[1]));
    storeu(a + lda + 2, high_halves(x.column[2], x.column[3]));
  }
}

// b := alpha times the transpose of four rows of four elements, or of their conjugates.
template <bool Conj, class T> inline void transpose_four(const T *a, count lda, T *b, count ldb, T alpha) {
  if constexpr (sizeof(T) == 4) {
    f32x4 r[] = {loadu<f32x4>(a), loadu<f32x4>(a + lda), loadu<f32x4>(a + 2 * lda),
                 loadu<f32x4>(a + 3 * lda)};
    transpose(r[0], r[1], r[2], r[3]);
    unrolled<4>([&](auto k) TNK_INLINED { storeu(b + k * ldb, alpha * r[k]); });
  } else {
    unrolled<4 / per_vector<T>>([&](auto part) TNK_INLINED {
      constexpr int row = part * per_vector<T>;
      const Columns<T> x = load_columns(a + row * lda, lda);
      unrolled<columns_a_block>([&](auto k) TNK_INLINED {
        storeu(b + k * ldb + row, scaled(alpha, conjugated_if<Conj, T>(x.column[k])));
      });
    });
  }
}

} // namespace tnk::trans
