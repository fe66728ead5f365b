// Compressed rows: op(A) C = C solved in place for several right-hand sides, which are columns, or rows of one element
// each side by side. A piece is a range of them.
#pragma once

#include "kernel/sparse/grid/csr/sv.h"
#include "kernel/sparse/grid/vectors.h"
#include <tnk/services.h>

namespace tnk::sparse {

// R right-hand sides of a dense operand that are worked on together. Adjacent ones that fill vectors are held in them.
template <bool Adjacent, int R, class T, class I> struct SideGroup {
  static constexpr bool in_vectors = Adjacent && R >= per_vector<T>;
  using V = std::conditional_t<in_vectors, vec_of<T>, in_lanes<T>>;
  static constexpr int width = in_vectors ? per_vector<T> : 1, count = R / width;
  struct Values {
    V of[count];
  };

  SideGroup(T *c, I ld, I first, I base) : ld_(ld) {
    for (int r = 0; r < (Adjacent ? 1 : R); ++r)
      side_[r] =
          counted_from(c + (Adjacent ? first : wrapped_product<I>(first + r, ld)), Adjacent ? 0 : base);
  }
  T *at(I row, int r) const { return Adjacent ? side_[0] + wrapped_product(row, ld_) + r : side_[r] + row; }

  static V load(const T *p) {
    if constexpr (in_vectors)
      return loadu<V>(p);
    else
      return fetch(p);
  }
  static void store(T *p, V v) {
    if constexpr (in_vectors)
      storeu(p, v);
    else
      deposit(p, v);
  }
  static V all(T a) {
    if constexpr (in_vectors)
      return in_every_element<T>(fetch(&a));
    else
      return fetch(&a);
  }
  // f(element k of the group, its place) over a row.
  template <class F> TNK_INLINE void each(I row, F f) const {
    for (int k = 0; k < count; ++k) f(k, at(row, k * width));
  }

  template <bool Conj> TNK_INLINE Values sum(const SolveJob<T, I> &job, I from, I to) const {
    Values sums{};
    for (I p = from; p < to; ++p) {
      const V a = all(get(job.matrix.values + p));
      each(job.column(p), [&](int k, const T *x) { sums.of[k] += times<T, Conj>(a, load(x)); });
    }
    return sums;
  }
  TNK_INLINE void divide(I row, T pivot) const {
    if constexpr (is_complex<T>)
      for (int r = 0; r < R; ++r) put(at(row, r), quotient(get(at(row, r)), pivot));
    else
      each(row, [&](int, T *y) { store(y, load(y) / all(pivot)); });
  }

private:
  T *side_[Adjacent ? 1 : R];
  I ld_;
};

template <class T, class I> struct SideRange {
  I first, last; // first ... last - 1 from 0
  T *c;
  I ld;

  // body(group) for eight at a time, and what is left in halves of that.
  template <bool Adjacent, class Body> TNK_INLINE void each_group(I base, Body body) const {
    each_group_of<8>(first, last, [&](auto count, I side) {
      body(SideGroup<Adjacent, count(), T, I>(c, ld, side, base), side - first);
    });
  }
};

// A row's sums for all right-hand sides come first, into `sums`; then each is taken off and multiplied by the pivot's
// reciprocal, which is formed once.
template <bool Adjacent, class Name, class T, class I>
[[gnu::noinline]] void solve_sides_by_rows(const SolveJob<T, I> &given, const SideRange<T, I> &sides,
                                           T *sums) {
  constexpr bool conj = Name::conjugated, lower = Name::lower, unit = Name::unit;
  const SolveJob<T, I> job = given;
  PivotedRow<I> row{};
  each_row_in_strips<!lower, I>(job.rows, lower ? lower_strip : upper_strip, [&](I i) {
    if constexpr (lower)
      row = lower_row(job, i, row.pivot);
    else
      row = upper_row<unit>(job, i);
    fetch_ahead<8>(job.matrix.values + row.to, job.matrix.col_index + row.to);
    sides.template each_group<Adjacent>(job.base, [&](const auto &group, I place) {
      using Group = std::decay_t<decltype(group)>;
      const auto of_row = group.template sum<conj>(job, row.from, row.to);
      for (int k = 0; k < Group::count; ++k) Group::store(sums + place + k * Group::width, of_row.of[k]);
    });
    const T reciprocal = unit ? one<T> : quotient(one<T>, job.template value<conj>(row.pivot));
    sides.template each_group<Adjacent>(job.base, [&](const auto &group, I place) {
      using Group = std::decay_t<decltype(group)>;
      group.each(i + job.base, [&](int k, T *y) {
        const auto rest = Group::load(y) - Group::load(sums + place + k * Group::width);
        Group::store(y, unit ? rest : times<T>(rest, Group::all(reciprocal)));
      });
    });
  });
}

// Without memory for the sums: one right-hand side after another, with divisions. Columns are solved as single ones are.
template <bool Adjacent, class Name, class T, class I>
[[gnu::noinline]] void solve_sides_alone(const SolveJob<T, I> &job, const SideRange<T, I> &sides) {
  constexpr bool conj = Name::conjugated, lower = Name::lower, unit = Name::unit;
  for (I side = sides.first; side < sides.last; ++side) {
    if constexpr (!Adjacent) {
      solve<Name>(job, static_cast<const T *>(nullptr),
                  counted_from(sides.c + wrapped_product(side, sides.ld), job.base));
    } else {
      const SideGroup<true, 1, T, I> group(sides.c, sides.ld, side, job.base);
      PivotedRow<I> row{};
      for (I step = 0; step < job.rows; ++step) {
        const I i = lower ? step : job.rows - 1 - step;
        if constexpr (lower)
          row = lower_row(job, i, row.pivot);
        else
          row = upper_row<unit>(job, i);
        finish_element<unit>(group.at(i, 0), group.template sum<conj>(job, row.from, row.to).of[0],
                             unit ? T{} : job.template value<conj>(row.pivot));
      }
    }
  }
}

template <bool Adjacent, class Name, class T, class I>
[[gnu::noinline]] void solve_sides_by_columns(const SolveJob<T, I> &given, const SideRange<T, I> &sides) {
  constexpr bool conj = Name::conjugated, lower = Name::lower, unit = Name::unit;
  const SolveJob<T, I> job = given;
  for (I step = 0; step < job.rows; ++step) {
    const I i = lower ? job.rows - 1 - step : step;
    const PivotedRow<I> row = lower ? lower_column<unit>(job, i) : upper_column<unit>(job, i);
    const T pivot = unit ? one<T> : job.template value<conj>(row.pivot);
    sides.template each_group<Adjacent>(job.base, [&](const auto &group, I) {
      using Group = std::decay_t<decltype(group)>;
      if (!unit) group.divide(i + job.base, pivot);
      typename Group::Values t;
      group.each(i + job.base, [&](int k, const T *y) { t.of[k] = typename Group::V{} - Group::load(y); });
      for (I n = 0; n < row.to - row.from; ++n) { // walking away from the pivot
        const I k = lower ? row.to - 1 - n : row.from + n;
        const auto a = Group::all(get(job.matrix.values + k));
        group.each(job.column(k),
                   [&](int q, T *y) { Group::store(y, Group::load(y) + times<T, conj>(a, t.of[q])); });
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
    sides.template each_group<Adjacent>(job.base, [&](const auto &group, I) {
      using Group = std::decay_t<decltype(group)>;
      group.each(i + job.base,
                 [&](int, T *y) { Group::store(y, times<T>(Group::load(y), Group::all(factor))); });
    });
  }
}

// Right-hand sides first ... last, from one, of n.
template <class Name, class T, class I>
inline void csr_sm_par(I first, I last, I m, [[maybe_unused]] I n, const T *alpha,
                       const CompressedRows<T, I> &matrix, T *c, I ldc) {
  if (last < first || m < 0) return;
  constexpr bool adjacent = Name::base == 0;
  const SolveJob<T, I> job(matrix, m, Name::base);
  const SideRange<T, I> sides = {first - 1, last, c, ldc};
  if constexpr (Name::kind == 'd') {
    solve_sides_diagonal<adjacent, Name>(job, get(alpha), sides);
  } else if constexpr (Name::transposed) {
    solve_sides_by_columns<adjacent, Name>(job, sides);
  } else if (auto *const sums = static_cast<T *>(tnk_serv_allocate(
                 static_cast<std::int64_t>(n) * static_cast<std::int64_t>(sizeof(T)), 128))) {
    solve_sides_by_rows<adjacent, Name>(job, sides, sums);
    tnk_serv_deallocate(sums);
  } else {
    solve_sides_alone<adjacent, Name>(job, sides);
  }
}

// The entries of one element type: a source file each.
#define TNK_CSR_SM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, sm, par)(                                        \
      const I *first, const I *last, const I *m, const I *n, const T *alpha, const T *values,                \
      const I *col_index, const I *row_start, const I *row_end, T *c, const I *ldc) {                        \
    tnk::sparse::csr_sm_par<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        *first, *last, *m, *n, alpha, {values, col_index, row_start, row_end}, c, *ldc);                     \
  }

} // namespace tnk::sparse
