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
  in_lanes<T> to_row, to_column; // alpha, for what a diagonal adds to its rows and to its columns
  bool below = false, main = false, above = false; // which diagonals count
  bool unit = false;                               // the main one is of ones

  bool counts(I distance) const { return distance == 0 ? main : distance < 0 ? below : above; }
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

// How a stored diagonal is used for its rows, and how for its columns. With both it is mirrored, but for the main one.
enum class Use { none, plain, conjugated };

// Rows begin ... end - 1 of the stored matrix. Which diagonals count is asked once a diagonal, so that all triangles
// share a body.
template <Use Row, Use Column, class T, class I, int R>
[[gnu::noinline]] void add_diagonals(const DiagonalJob<T, I> &job, I begin, I end, const Vectors<T, R> &at) {
  const auto to_row = in_every_element<T>(job.to_row), to_column = in_every_element<T>(job.to_column);
  for (I d = 0; d < job.matrix.count; ++d) {
    const I distance = get(job.matrix.distance + d);
    if (!job.counts(distance) || distance >= job.columns || distance <= -job.rows) continue;
    const I from = std::max(begin, distance < 0 ? -distance : 0);
    const I to = std::min(end, distance < job.columns - job.rows ? job.rows : job.columns - distance);
    if (from >= to) continue;
    const T *const a = job.matrix.values + wrapped_product(d, job.matrix.stride) + from;
    if constexpr (Row != Use::none)
      add_products<Row == Use::conjugated>(to - from, to_row, a, at, from + distance, from);
    if (Column != Use::none && (Row == Use::none || distance != 0))
      add_products<Column == Use::conjugated>(to - from, to_column, a, at, from, from + distance);
  }
  if (job.unit)
    for (int r = 0; r < R; ++r)
      add_multiple(run_of<T, I>(end - begin), to_row, at.x[r] + begin, at.y[r] + begin);
}

// ---- Kernels ---------------------------------------------------------------------------------------------------

constexpr Use used(bool is, bool conjugated) {
  return !is ? Use::none : conjugated ? Use::conjugated : Use::plain;
}
template <class Name> constexpr bool mirrors = Name::kind == 's' || Name::kind == 'h' || Name::kind == 'a';
template <class Name> constexpr Use row_use = used(mirrors<Name> || !Name::transposed, own_conjugated<Name>);
template <class Name>
constexpr Use column_use = used(mirrors<Name> || Name::transposed, mirror_conjugated<Name>);

template <class Name, class T, class I>
inline DiagonalJob<T, I> job_of(const Diagonals<T, I> &matrix, I m, I n, const T *alpha) {
  constexpr bool all = Name::kind == 'g', triangle = Name::kind != 'g' && Name::kind != 'd';
  DiagonalJob<T, I> job = {matrix, m, all ? n : m, fetch(alpha), fetch(alpha)};
  // A skew matrix has its sign in the mirror, its transpose in the entry itself.
  if constexpr (Name::kind == 'a') {
    auto &negative = Name::transposed ? job.to_row : job.to_column;
    negative = -negative;
  }
  job.below = all || (triangle && Name::lower), job.above = all || (triangle && !Name::lower);
  job.main = Name::kind != 'a' && !Name::unit, job.unit = Name::unit;
  return job;
}

// Right-hand sides first ... last - 1 from 0.
template <Use Row, Use Column, class T, class I>
[[gnu::noinline]] void multiply(const DiagonalJob<T, I> &job, I first, I last, const T *b, I ldb, T *c,
                                I ldc) {
  constexpr I part = part_bytes / sizeof(T);
  for (I begin = 0; begin < job.rows;) {
    const I end = job.rows - begin > part ? begin + part : job.rows;
    each_group_of<2>(first, last, [&](auto sides, I column) {
      Vectors<T, sides()> at;
      for (int k = 0; k < sides(); ++k) {
        at.x[k] = b + wrapped_product<I>(column + k, ldb);
        at.y[k] = c + wrapped_product<I>(column + k, ldc);
      }
      add_diagonals<Row, Column>(job, begin, end, at);
    });
    begin = end;
  }
}

// The whole matrix: there are no pieces.
template <class Name, class T, class I>
inline void dia_mv_par(I m, I n, const T *alpha, const Diagonals<T, I> &matrix, const T *x, T *y) {
  multiply<row_use<Name>, column_use<Name>, T, I>(job_of<Name>(matrix, m, n, alpha), 0, 1, x, 0, y, 0);
}

// Right-hand sides first ... last, from one.
template <class Name, class T, class I>
inline void dia_mm_par(const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,
                       const I *stride, const I *distance, const I *count, const T *b, const I *ldb, T *c,
                       const I *ldc) {
  if (*last < *first) return;
  const Diagonals<T, I> matrix = {values, *stride, distance, *count};
  multiply<row_use<Name>, column_use<Name>, T, I>(job_of<Name>(matrix, *m, *n, alpha), *first - 1, *last, b,
                                                  *ldb, c, *ldc);
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
