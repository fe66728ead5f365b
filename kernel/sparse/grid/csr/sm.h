// Compressed rows: op(A) C = C solved in place for several right-hand sides, which are columns, or rows of one element
// each side by side. A piece is a range of them.
#pragma once

#include "kernel/sparse/grid/csr/solve.h"
#include "kernel/sparse/grid/name.h"
#include "kernel/sparse/grid/vectors.h"
#include <tnk/services.h>

namespace tnk::sparse {

// What is worked on at once: a vector of adjacent right-hand sides, or an element of one.
template <bool InVectors, class T> struct SideVector {
  using V = std::conditional_t<InVectors, vec_of<T>, in_lanes<T>>;
  static constexpr int width = InVectors ? per_vector<T> : 1;

  static V load(const T *p) {
    if constexpr (InVectors)
      return loadu<V>(p);
    else
      return fetch(p);
  }
  static void store(T *p, V v) {
    if constexpr (InVectors)
      storeu(p, v);
    else
      deposit(p, v);
  }
  static V all(T a) {
    if constexpr (InVectors)
      return in_every_element<T>(fetch(&a));
    else
      return fetch(&a);
  }
};

// R right-hand sides of a dense operand that are worked on together.
template <bool Adjacent, int R, class T, class I>
struct SideGroup : SideVector<Adjacent && R >= per_vector<T>, T> {
  using Vector = SideVector<Adjacent && R >= per_vector<T>, T>;
  using typename Vector::V;
  static constexpr int count = R / Vector::width;

  SideGroup(T *c, I ld, I first, I base) : ld_(ld) {
    side_[0] = counted_from(c + (Adjacent ? first : wrapped_product(first, ld)), Adjacent ? 0 : base);
    for (int r = 1; r < (Adjacent ? 1 : R); ++r) side_[r] = side_[r - 1] + ld;
  }
  // Where vector k of a row begins.
  T *at(I row, int k) const {
    return Adjacent ? side_[0] + wrapped_product(row, ld_) + k * Vector::width : side_[k] + row;
  }
  // f(k) for each vector. k is a constant, so that an array over the group is registers.
  template <class F> static TNK_INLINE void each(const F &f) { unrolled<count>(f); }

  // The sums over the entries from p on, up to the end or to the first one that `ends` says of its column; that is
  // where p is left.
  template <bool Conj, class Ends>
  TNK_INLINE void sum(const SolveJob<T, I> &job, I &p, I end, Ends ends, T *sums) const {
    const T *const values = job.matrix.values;
    const I *const columns = job.matrix.col_index;
    V sum[count];
    each([&](auto k) TNK_INLINED { sum[k] = V{}; });
    I q = p;
    for (I column; q < end && !ends(column = get(columns + q)); ++q) {
      const V a = Vector::all(get(values + q));
      each([&](auto k) TNK_INLINED { sum[k] += times<T, Conj>(a, Vector::load(at(column, k))); });
    }
    p = q;
    each([&](auto k) TNK_INLINED { Vector::store(sums + k * Vector::width, sum[k]); });
  }

private:
  T *side_[Adjacent ? 1 : R];
  I ld_;
};

template <class T, class I> struct SideRange {
  I first, last; // first ... last - 1 from 0
  T *c;
  I ld;

  // body(group, how many come before it) for as many at a time as keep sums in eight registers, four of vectors, and
  // what is left in halves of that.
  template <bool Adjacent, class Body> TNK_INLINE void each_group(I base, Body body) const {
    constexpr int most = Adjacent ? std::min(4 * per_vector<T>, 16) : 8;
    each_group_of<most>(first, last, [&](auto count, I side) {
      body(SideGroup<Adjacent, count(), T, I>(c, ld, side, base), side - first);
    });
  }
  // f(vector, its place, how many sides come before it) along row i, from 0.
  template <bool InVectors, bool Adjacent = InVectors, class F> TNK_INLINE void each_vector(I i, F f) const {
    const I count = last - first, step = Adjacent ? 1 : ld;
    T *y = Adjacent ? c + wrapped_product(i, ld) + first : c + wrapped_product(first, ld) + i;
    I k = 0;
    if constexpr (InVectors)
      for (; count - k >= per_vector<T>; k += per_vector<T>, y += per_vector<T>)
        f(SideVector<true, T>(), y, k);
    for (; k < count; ++k, y += step) f(SideVector<false, T>(), y, k);
  }
  // Columns are asked for before row i comes to them, a line of each at once: more of them than the hardware follows.
  template <bool Down> TNK_INLINE void fetch_columns_ahead(I i) const {
    constexpr int distance = Down ? -512 : 512;
    if (i % static_cast<I>(64 / sizeof(T)) != 0) return;
    for (I side = first; side < last; ++side) fetch_ahead<1, distance>(c + wrapped_product(side, ld) + i);
  }
  // Whether the rows of y are to be fetched ahead: the hardware does not follow where they are parts of longer ones, and
  // rows of few entries come faster than it sees. In the second cache it costs such rows a twentieth.
  bool fetches_rows(I rows) const {
    constexpr double cache = 1 << 20;
    return static_cast<double>(rows) * static_cast<double>(ld) * sizeof(T) > cache;
  }
  template <bool Down> TNK_INLINE void fetch_row_ahead(I i) const {
    constexpr std::uintptr_t rows = 16, line = 64;
    const std::uintptr_t ahead = rows * sizeof(T) * static_cast<std::uintptr_t>(ld);
    const std::uintptr_t y = address(c + wrapped_product(i, ld) + first) + (Down ? 0 - ahead : ahead);
    const std::uintptr_t bytes = sizeof(T) * static_cast<std::uintptr_t>(last - first);
    for (std::uintptr_t at = 0; at < bytes; at += line)
      __builtin_prefetch(reinterpret_cast<const void *>(y + at));
  }
};

// What comes after this row, or before it: a line always, and as many as the row has where that is long.
template <bool Down, class T, class I>
TNK_INLINE void fetch_rows_ahead(const SolveJob<T, I> &job, I first, I end) {
  constexpr int distance = Down ? -3072 : 3072, at_once = 8, long_row = 32;
  const auto fetch_at = [&](I p) TNK_INLINED {
    fetch_ahead<at_once, distance>(job.matrix.values + p);
    fetch_ahead<at_once, distance>(job.matrix.col_index + p);
  };
  fetch_at(Down ? first : end);
  for (I p = first; end - p >= long_row; p += at_once) fetch_at(p);
}

// A row's sums for all right-hand sides come first, into `sums`; then each is taken off and multiplied by the pivot's
// reciprocal, which is formed once. Whether the diagonal is of ones is asked once a row, and halves what is to be compiled.
template <bool Adjacent, bool Conj, bool Lower, class T, class I>
[[gnu::noinline]] void solve_sides_by_rows(const SolveJob<T, I> &given, const SideRange<T, I> &sides,
                                           bool unit, T *sums) {
  const SolveJob<T, I> job = given;
  I pivot{};
  [[maybe_unused]] const bool fetches = Adjacent && sides.fetches_rows(job.rows);
  each_row_in_strips<!Lower, I>(job.rows, Lower ? lower_strip : upper_strip, [&](I i) {
    const I first = job.start(i), end = job.end(i), key = i + job.base;
    I from = first;
    if constexpr (Lower) {
      if (i == 0) pivot = first;
    } else {
      const PivotedRow<I> row = unit ? upper_row<true>(job, i) : upper_row<false>(job, i);
      pivot = row.pivot, from = row.from;
    }
    fetch_rows_ahead<!Lower>(job, first, end);
    if constexpr (Adjacent) {
      if (fetches) sides.template fetch_row_ahead<!Lower>(i);
    } else {
      sides.template fetch_columns_ahead<!Lower>(i);
    }
    sides.template each_group<Adjacent>(job.base, [&](const auto &group, I place) {
      I p = from;
      group.template sum<Conj>(
          job, p, end, [&](I column) { return Lower && column >= key; }, sums + place);
      if (Lower && first < end) pivot = p;
    });
    if (unit) {
      sides.template each_vector<Adjacent>(
          i, [=](auto v, T *y, I k) { v.store(y, v.load(y) - v.load(sums + k)); });
    } else {
      const T reciprocal = quotient(one<T>, job.template value<Conj>(pivot));
      sides.template each_vector<Adjacent>(i, [=](auto v, T *y, I k) {
        v.store(y, times<T>(v.load(y) - v.load(sums + k), v.all(reciprocal)));
      });
    }
  });
}

// The entry for one right-hand side.
template <class T, class I>
using SolveOne = void(const I *m, const T *alpha, const T *values, const I *col_index, const I *row_start,
                      const I *row_end, T *y);

// Without memory for the sums: one right-hand side after another, with divisions. Columns are solved as single ones are.
template <bool Adjacent, class Name, class T, class I>
[[gnu::noinline]] void solve_sides_alone(const SolveJob<T, I> &job, const CompressedRows<T, I> &given,
                                         const SideRange<T, I> &sides, SolveOne<T, I> *solve_one) {
  constexpr bool conj = Name::conjugated, lower = Name::lower, unit = Name::unit;
  for (I side = sides.first; side < sides.last; ++side) {
    if constexpr (!Adjacent) {
      solve_one(&job.rows, nullptr, given.values, given.col_index, given.row_start, given.row_end,
                sides.c + wrapped_product(side, sides.ld));
    } else {
      const SideGroup<true, 1, T, I> group(sides.c, sides.ld, side, job.base);
      PivotedRow<I> row{};
      for (I step = 0; step < job.rows; ++step) {
        const I i = lower ? step : job.rows - 1 - step;
        if constexpr (lower)
          row = lower_row(job, i, row.pivot);
        else
          row = upper_row<unit>(job, i);
        T sum;
        group.template sum<conj>(
            job, row.from, row.to, [](I) { return false; }, &sum);
        finish_element<unit>(group.at(i, 0), fetch(&sum), unit ? T{} : job.template value<conj>(row.pivot));
      }
    }
  }
}

template <bool Adjacent, bool Conj, bool Lower, class T, class I>
[[gnu::noinline]] void solve_sides_by_columns(const SolveJob<T, I> &given, const SideRange<T, I> &sides,
                                              bool unit) {
  const SolveJob<T, I> job = given;
  for (I step = 0; step < job.rows; ++step) {
    const I i = Lower ? job.rows - 1 - step : step;
    const PivotedRow<I> row = [&] {
      if constexpr (Lower)
        return unit ? lower_column<true>(job, i) : lower_column<false>(job, i);
      else
        return unit ? upper_column<true>(job, i) : upper_column<false>(job, i);
    }();
    const T pivot = unit ? one<T> : job.template value<Conj>(row.pivot);
    if constexpr (is_complex<T>)
      if (!unit)
        sides.template each_vector<false, Adjacent>(i,
                                                    [=](auto, T *y, I) { put(y, quotient(get(y), pivot)); });
    sides.template each_group<Adjacent>(job.base, [&](const auto &group, I) {
      using Group = std::decay_t<decltype(group)>;
      using V = typename Group::V;
      V t[Group::count];
      group.each([&](auto k) TNK_INLINED { t[k] = group.load(group.at(i + job.base, k)); });
      if constexpr (!is_complex<T>)
        if (!unit)
          group.each([&](auto k) TNK_INLINED {
            t[k] /= group.all(pivot);
            group.store(group.at(i + job.base, k), t[k]);
          });
      group.each([&](auto k) TNK_INLINED { t[k] = V{} - t[k]; });
      for (I n = 0; n < row.to - row.from; ++n) { // walking away from the pivot
        const I p = Lower ? row.to - 1 - n : row.from + n;
        const I column = job.column(p);
        const V a = group.all(get(job.matrix.values + p));
        group.each([&](auto k) TNK_INLINED {
          T *const y = group.at(column, k);
          group.store(y, group.load(y) + times<T, Conj>(a, t[k]));
        });
      }
    });
  }
}

template <bool Adjacent, class Name, class T, class I>
[[gnu::noinline]] void solve_sides_diagonal(const SolveJob<T, I> &given, T alpha,
                                            const SideRange<T, I> &sides) {
  const SolveJob<T, I> job = given;
  for (I i = 0; i < job.rows; ++i) {
    const T factor = quotient(alpha, job.template value<Name::conjugated>(diagonal_pivot(job, i)));
    sides.template each_vector<Adjacent>(
        i, [&](auto v, T *y, I) { v.store(y, times<T>(v.load(y), v.all(factor))); });
  }
}

// Right-hand sides first ... last, from one, of n.
template <class Name, class T, class I>
inline void csr_sm_par(I first, I last, I m, [[maybe_unused]] I n, const T *alpha,
                       const CompressedRows<T, I> &matrix, T *c, I ldc, SolveOne<T, I> *solve_one) {
  if (last < first || m < 0) return;
  constexpr bool adjacent = Name::base == 0;
  const SolveJob<T, I> job(matrix, m, Name::base);
  const SideRange<T, I> sides = {first - 1, last, c, ldc};
  if constexpr (Name::kind == 'd') {
    solve_sides_diagonal<adjacent, Name>(job, get(alpha), sides);
  } else if constexpr (Name::transposed) {
    solve_sides_by_columns<adjacent, Name::conjugated, Name::lower>(job, sides, Name::unit);
  } else if (auto *const sums = static_cast<T *>(tnk_serv_allocate(
                 static_cast<std::int64_t>(n) * static_cast<std::int64_t>(sizeof(T)), 128))) {
    solve_sides_by_rows<adjacent, Name::conjugated, Name::lower>(job, sides, Name::unit, sums);
    tnk_serv_deallocate(sums);
  } else {
    solve_sides_alone<adjacent, Name>(job, matrix, sides, solve_one);
  }
}

// The entries of one element type: a source file each.
#define TNK_CSR_SM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, sm, par)(                                        \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *col_index, const I *row_start, const I *row_end, T *c, const I *ldc) {                        \
    tnk::sparse::csr_sm_par<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        *first, *last, *m, *n, alpha, {values, col_index, row_start, row_end}, c, *ldc,                      \
        TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, sv, seq));                                      \
  }

} // namespace tnk::sparse
