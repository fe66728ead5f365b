// Stored diagonals times a vector or several columns: y += alpha op(A) x.
//
// The element of a diagonal for row i stands at i - 1, so a diagonal meets x and y in runs. Rows are taken in parts
// whose vectors stay in the cache while one diagonal after another adds to them. Only elements inside the matrix are
// read.
#pragma once

#include "kernel/sparse/grid/name.h"
#include "kernel/sparse/grid/vectors.h"
#include "kernel/sparse/runs.h"
#include "kernel/sparse/wrapped.h"
#include <algorithm>

namespace tnk::sparse {

template <class T, class I> struct Diagonals {
  const T *values;
  I stride;
  const I *distance;
  I count;
};

// The columns of a matrix that is not of kind g are as many as its rows.
template <class T, class I> struct DiagonalJob {
  Diagonals<T, I> matrix;
  I rows, columns;
  in_lanes<T> alpha;
};

// Of a vector, in a part of the rows: x, y and a diagonal fit the inner cache together.
constexpr std::uintptr_t part_bytes = 8192;

// y[k] += (alpha * a[k]) * x[k]. Asks for what the diagonal has for the next part: in one part it is too short for the
// hardware to fetch ahead, which costs half of the speed once the matrix does not fit the caches.
template <bool Conj, class T, class I, int R>
inline void add_products(I count, vec_of<T> alpha, const T *a, const Vectors<T, R> &at, I x, I y) {
  using V = vec_of<T>;
  const Run<T, I> run = run_of<T>(count);
  const auto step = [&](I k) {
    const V v = times<T, Conj>(loadu<V>(a + k), alpha);
    for (int r = 0; r < R; ++r) {
      T *const target = at.y[r] + y + k;
      storeu(target, loadu<V>(target) + times<T>(v, loadu<V>(at.x[r] + x + k)));
    }
  };
  I k = 0;
  for (; run.whole - k >= 2 * per_vector<T>; k += 2 * per_vector<T>) {
    __builtin_prefetch(reinterpret_cast<const void *>(address(a + k) + part_bytes), 0, 2);
    step(k);
    step(k + per_vector<T>);
  }
  if (k < run.whole) step(k);
  if (run.rest.bytes != 0) {
    const V v = times<T, Conj>(load_first<V>(a + run.whole, run.rest), alpha);
    for (int r = 0; r < R; ++r) {
      T *const target = at.y[r] + y + run.whole;
      const V element = load_first<V>(at.x[r] + x + run.whole, run.rest);
      store_first(target, load_first<V>(target, run.rest) + times<T>(v, element), run.rest);
    }
  }
}

// Which diagonals count. Those beside the main one may be mirrored, the main one is not.
template <class Name, class I> inline bool counts(I distance) {
  if constexpr (Name::kind == 'g')
    return true;
  else if constexpr (Name::kind == 'd')
    return distance == 0;
  else if (distance == 0)
    return Name::kind != 'a' && !Name::unit;
  else
    return Name::lower ? distance < 0 : distance > 0;
}

// Rows begin ... end - 1 of the stored matrix.
template <class Name, class T, class I, int R>
[[gnu::noinline]] void add_diagonals(const DiagonalJob<T, I> &job, I begin, I end, const Vectors<T, R> &at) {
  using V = vec_of<T>;
  constexpr bool mirrors = Name::kind == 's' || Name::kind == 'h' || Name::kind == 'a';
  // A skew matrix has its sign in the mirror, its transpose in the entry itself.
  constexpr bool skew = Name::kind == 'a';
  const V alpha = in_every_element<T>(job.alpha);
  const V to_row = skew && Name::transposed ? -alpha : alpha;
  const V to_column = skew && !Name::transposed ? -alpha : alpha;
  for (I d = 0; d < job.matrix.count; ++d) {
    const I distance = get(job.matrix.distance + d);
    if (!counts<Name>(distance) || distance >= job.columns || distance <= -job.rows) continue;
    const I from = std::max(begin, distance < 0 ? -distance : 0);
    const I to = std::min(end, distance < job.columns - job.rows ? job.rows : job.columns - distance);
    if (from >= to) continue;
    const T *const a = job.matrix.values + wrapped_product(d, job.matrix.stride) + from;
    if (mirrors || !Name::transposed)
      add_products<own_conjugated<Name>>(to - from, to_row, a, at, from + distance, from);
    if (mirrors ? distance != 0 : Name::transposed)
      add_products<mirrors ? mirror_conjugated<Name> : Name::conjugated>(to - from, to_column, a, at, from,
                                                                         from + distance);
  }
  if constexpr (Name::unit)
    for (int r = 0; r < R; ++r)
      add_multiple(run_of<T, I>(end - begin), alpha, at.x[r] + begin, at.y[r] + begin);
}

// ---- Kernels ---------------------------------------------------------------------------------------------------

// body(begin, end), for parts of the rows.
template <class T, class I, class Body> inline void each_part(I rows, Body body) {
  constexpr I part = part_bytes / sizeof(T);
  for (I begin = 0; begin < rows;) {
    const I end = rows - begin > part ? begin + part : rows;
    body(begin, end);
    begin = end;
  }
}

// The whole matrix: there are no pieces.
template <class Name, class T, class I>
inline void dia_mv_par(I m, I n, const T *alpha, const Diagonals<T, I> &matrix, const T *x, T *y) {
  const DiagonalJob<T, I> job = {matrix, m, Name::kind == 'g' ? n : m, fetch(alpha)};
  each_part<T>(m, [&](I begin, I end) { add_diagonals<Name>(job, begin, end, Vectors<T, 1>{{x}, {y}}); });
}

// Right-hand sides first ... last, from one.
template <class Name, class T, class I>
inline void dia_mm_par(const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,
                       const I *stride, const I *distance, const I *count, const T *b, const I *ldb, T *c,
                       const I *ldc) {
  if (*last < *first) return;
  const DiagonalJob<T, I> job = {
      {values, *stride, distance, *count}, *m, Name::kind == 'g' ? *n : *m, fetch(alpha)};
  each_part<T>(job.rows, [&](I begin, I end) {
    each_group_of<2, I>(*first - 1, *last, [&](auto sides, I column) {
      Vectors<T, sides()> at;
      for (int k = 0; k < sides(); ++k)
        at.x[k] = b + wrapped_product<I>(column + k, *ldb),
        at.y[k] = c + wrapped_product<I>(column + k, *ldc);
      add_diagonals<Name>(job, begin, end, at);
    });
  });
}

// The entries of one element type: a source file each.
#define TNK_DIA_MV_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, b, l, mv, par)(                                           \
      const I *, const I *, const I *m, const I *n, const T *alpha, const T *values, const I *diag_stride,   \
      const I *diag_distance, const I *diag_count, const T *x, T *y) {                                       \
    tnk::sparse::dia_mv_par<TNK_SP_LETTERS(b, op, kind, tri, diag), T, I>(                                   \
        *m, *n, alpha, {values, *diag_stride, diag_distance, *diag_count}, x, y);                            \
  }
#define TNK_DIA_MM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, dia, base, l, mm,                                              \
                   par)(const I *first, const I *last, const I *m, const I *n, const I *, const T *alpha,    \
                        const T *values, const I *diag_stride, const I *diag_distance, const I *diag_count,  \
                        const T *b, const I *ldb, T *c, const I *ldc) {                                      \
    tnk::sparse::dia_mm_par<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        first, last, m, n, alpha, values, diag_stride, diag_distance, diag_count, b, ldb, c, ldc);           \
  }

} // namespace tnk::sparse
