// Compressed rows times several right-hand sides that lie side by side, a row of them after another: a vector holds the
// elements of as many right-hand sides, and an entry meets all of them in one step. Each has its own sums, in an order
// that does not depend on how many are computed together.
#pragma once

#include "kernel/sparse/entries.h"
#include "kernel/sparse/grid/csr/mm_job.h"

namespace tnk::sparse {

// Some right-hand sides: a vector of them, or fewer at the end.
template <class T, class I, bool Whole> struct Group {
  const T *b;
  I ldb;
  T *c;
  I ldc;
  vector_start start;
};

template <class T, class I, bool Whole> inline vec_of<T> load(const Group<T, I, Whole> &group, const T *p) {
  if constexpr (Whole)
    return loadu<vec_of<T>>(p);
  else
    return load_first<vec_of<T>>(p, group.start);
}
template <class T, class I, bool Whole> inline vec_of<T> b_row(const Group<T, I, Whole> &group, I j) {
  return load(group, group.b + wrapped_product(j, group.ldb));
}
template <class T, class I, bool Whole>
inline void add_to_c_row(const Group<T, I, Whole> &group, I j, vec_of<T> v) {
  T *const p = group.c + wrapped_product(j, group.ldc);
  const vec_of<T> sum = load(group, p) + v;
  if constexpr (Whole)
    storeu(p, sum);
  else
    store_first(p, sum, group.start);
}

// body(group)
template <class T, class I, class Body> TNK_INLINE void each_group(const MmJob<T, I> &job, Body body) {
  I column = job.first;
  for (; job.last - column >= per_vector<T>; column += per_vector<T>)
    body(Group<T, I, true>{job.b + column, job.ldb, job.c + column, job.ldc, {}});
  if (column < job.last) {
    body(
        Group<T, I, false>{job.b + column, job.ldb, job.c + column, job.ldc, start_of<T>(job.last - column)});
  }
}

// Asks for the rows of b or c that are wanted some entries later, Vectors of each: they may begin within a line.
template <int Vectors, class T, class I> TNK_INLINE void fetch_rows(const I *columns, const T *p, I ld) {
  const T *const row = p + wrapped_product(get(columns + elements_ahead), ld);
  ask_far(row), ask_far(row + Vectors * per_vector<T> - 1);
}

// Four sums, combined one after another; then the entries that are left, one by one. A row is fetched once for all
// right-hand sides, and two vectors of them share its values.
template <bool Conj, int Vectors, bool Jumps, class T, class I, bool Whole>
TNK_INLINE void add_row_times(const Row<T, I> &row, I i, vec_of<T> alpha, const Group<T, I, Whole> &group) {
  using V = vec_of<T>;
  constexpr int width = per_vector<T>;
  const auto add_product = [&](I p, auto &sums) TNK_INLINED {
    if constexpr (Jumps) fetch_rows<Vectors>(row.columns + p, group.b, group.ldb);
    const V a = in_every_element<T>(fetch(row.values + p));
    const T *const b = group.b + wrapped_product(get(row.columns + p), group.ldb);
    unrolled<Vectors>([&](auto v) TNK_INLINED { sums[v] += times<T, Conj>(a, load(group, b + v * width)); });
  };
  V acc[4][Vectors] = {};
  I p = 0;
  for (; row.count - p >= 4; p += 4) unrolled<4>([&](auto k) TNK_INLINED { add_product(p + k, acc[k]); });
  V sum[Vectors];
  unrolled<Vectors>([&](auto v) TNK_INLINED { sum[v] = ((acc[0][v] + acc[1][v]) + acc[2][v]) + acc[3][v]; });
  for (; p < row.count; ++p) add_product(p, sum);
  unrolled<Vectors>([&](auto v) TNK_INLINED {
    Group<T, I, Whole> part = group;
    part.c += v * width;
    add_to_c_row(part, i, times<T>(alpha, sum[v]));
  });
}
template <bool Conj, class T, class I>
[[gnu::noinline]] void multiply_general(RowLayout, const MmJob<T, I> &given) {
  constexpr I width = per_vector<T>;
  const MmJob<T, I> job = given; // a copy of its own, which no store to c can change
  const vec_of<T> alpha = in_every_element<T>(job.alpha);
  const I pairs_end = job.first + (job.last - job.first) / (2 * width) * (2 * width);
  MmJob<T, I> rest = job;
  rest.first = pairs_end;
  each_row<RowLayout>(
      job, I{0}, job.rows, job.last - job.first, [&](const auto &row, I i, auto jumps) TNK_INLINED {
        for (I column = job.first; column < pairs_end; column += 2 * width)
          add_row_times<Conj, 2, jumps()>(
              row, i, alpha, Group<T, I, true>{job.b + column, job.ldb, job.c + column, job.ldc, {}});
        each_group(rest, [&](const auto &group) { add_row_times<Conj, 1, jumps()>(row, i, alpha, group); });
      });
}

template <bool Conj, class T, class I>
[[gnu::noinline]] void multiply_general_transposed(RowLayout, const MmJob<T, I> &given) {
  using V = vec_of<T>;
  const MmJob<T, I> job = given;
  const V alpha = in_every_element<T>(job.alpha);
  each_row<RowLayout>(job, I{0}, job.rows, job.last - job.first,
                      [&](const auto &row, I i, auto jumps) TNK_INLINED {
                        if (row.count <= 0) return;
                        each_group(job, [&](const auto &group) {
                          const V t = times<T>(alpha, b_row(group, i));
#pragma GCC unroll 4
                          for (I p = 0; p < row.count; ++p) {
                            if constexpr (jumps()) fetch_rows<1>(row.columns + p, group.c, group.ldc);
                            add_to_c_row(group, get(row.columns + p),
                                         times<T, Conj>(in_every_element<T>(fetch(row.values + p)), t));
                          }
                        });
                      });
}

template <bool Conj, bool Lower, class T, class I>
[[gnu::noinline]] void multiply_triangular_transposed(RowLayout, const MmJob<T, I> &given) {
  using V = vec_of<T>;
  const MmJob<T, I> job = given;
  const V alpha = in_every_element<T>(job.alpha);
  for (I i = 0; i < job.rows; ++i) {
    const auto row = row_of<RowLayout>(job, i);
    each_group(job, [&](const auto &group) {
      const V t = times<T>(alpha, b_row(group, i));
      const auto product = [&](I p) { return times<T, Conj>(in_every_element<T>(fetch(row.values + p)), t); };
      for (I p = 0; p < row.count; ++p) add_to_c_row(group, get(row.columns + p), product(p));
      if (job.unit) add_to_c_row(group, i, t);
      for (I p = 0; p < row.count; ++p) {
        const I j = get(row.columns + p);
        if (is_beyond<Lower>(j, row.key + job.outside)) add_to_c_row(group, j, -product(p));
      }
    });
  }
}

// The first sweep.
template <bool Conj, class T, class I>
[[gnu::noinline]] void add_whole_rows(RowLayout, const MmJob<T, I> &given) {
  using V = vec_of<T>;
  const MmJob<T, I> job = given;
  const V alpha = in_every_element<T>(job.alpha);
  for (I i = 0; i < job.rows; ++i) {
    const auto row = row_of<RowLayout>(job, i);
    each_group(job, [&](auto group) {
      V acc[2] = {};
      const auto product = [&](I p) {
        const V a = times<T, Conj>(in_every_element<T>(fetch(row.values + p)), alpha);
        return times<T>(a, b_row(group, get(row.columns + p)));
      };
      I p = 0;
      for (; row.count - p >= 2; p += 2)
        for (int k = 0; k < 2; ++k) acc[k] += product(p + k);
      if (p < row.count) acc[0] += product(p);
      add_to_c_row(group, i, acc[0] + acc[1]);
    });
  }
}

// The second sweep. The sums of (alpha a) b over what lies outside are taken away in both; triangles that are mirrored
// have their inside scattered besides.
template <bool Mirrored, bool Conj, bool MirrorConj, bool Lower, class T, class I>
[[gnu::noinline]] void mend_rows(RowLayout, const MmJob<T, I> &given) {
  using V = vec_of<T>;
  const MmJob<T, I> job = given;
  const V alpha = in_every_element<T>(job.alpha);
  for (I i = 0; i < job.rows; ++i) {
    const auto row = row_of<RowLayout>(job, i);
    const I limit = row.key + job.outside;
    each_group(job, [&](auto group) {
      const V identity = times<T>(alpha, b_row(group, i));
      [[maybe_unused]] const V t = job.negative ? -identity : identity;
      V others{};
      for (I p = 0; p < row.count; ++p) {
        const I j = get(row.columns + p);
        const V a = in_every_element<T>(fetch(row.values + p));
        if (is_beyond<Lower>(j, limit))
          others += times<T>(times<T, Conj>(a, alpha), b_row(group, j));
        else if (Mirrored && is_beyond<!Lower>(j, row.key))
          add_to_c_row(group, j, times<T, MirrorConj>(a, t));
      }
      add_to_c_row(group, i, job.unit ? identity - others : -others);
    });
  }
}

} // namespace tnk::sparse
