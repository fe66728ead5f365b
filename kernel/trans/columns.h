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

// b := alpha times the transpose of two rows of two elements, or of their conjugates.
template <bool Conj, class T> inline void transpose_two(const T *a, count lda, T *b, count ldb, T alpha) {
  if constexpr (sizeof(T) == 4) {
    const f32x4 rows = load_pairs(a, a + lda);
    const f32x4 x = alpha * __builtin_shufflevector(rows, rows, 0, 2, 1, 3);
    store_pair(b, x);
    store_pair(b + ldb, __builtin_shufflevector(x, x, 2, 3, 2, 3));
  } else if constexpr (sizeof(T) == 8) {
    const f64x2 r0 = loadu<f64x2>(a), r1 = loadu<f64x2>(a + lda);
    const auto change = [=](f64x2 x) {
      return scaled(alpha, conjugated_if<Conj, T>(reinterpret_cast<half_of<T>>(x)));
    };
    storeu(b, change(__builtin_shufflevector(r0, r1, 0, 2)));
    storeu(b + ldb, change(__builtin_shufflevector(r0, r1, 1, 3)));
  } else {
    const auto change = [=](const T *p) { return scaled(alpha, conjugated_if<Conj, T>(loadu<f64x2>(p))); };
    const f64x2 x00 = change(a), x01 = change(a + 1), x10 = change(a + lda), x11 = change(a + lda + 1);
    storeu(b, x00);
    storeu(b + 1, x10);
    storeu(b + ldb, x01);
    storeu(b + ldb + 1, x11);
  }
}

} // namespace tnk::trans
