// Compressed rows times several right-hand sides that are columns, some columns at a time: the row is read once for all
// of them, and a sum that waits for its last addition leaves room for the others. Eight where no entry is tested, else two.
#pragma once

#include "kernel/sparse/grid/csr/mm_job.h"
#include "kernel/sparse/grid/csr/row.h"
#include "kernel/sparse/grid/vectors.h"

namespace tnk::sparse {

// ---- One row against some columns ------------------------------------------------------------------------------
// Columns are shifted as the vectors in row.h are.

template <class T, int R> struct Columns {
  const T *b[R];
  T *c[R];
};
template <class T, int R> struct Sums { in_lanes<T> of[R]; };

template <int R, class T, class I> inline Columns<T, R> columns_of(const MmJob<T, I> &job, I column) {
  Columns<T, R> at;
  for (int r = 0; r < R; ++r) {
    at.b[r] = counted_from(job.b + wrapped_product<I>(column + r, job.ldb), ColumnLayout::base);
    at.c[r] = counted_from(job.c + wrapped_product<I>(column + r, job.ldc), ColumnLayout::base);
  }
  return at;
}

// Asks for the elements of all columns that an entry further on will meet.
template <class T, class I, int R> TNK_INLINE void fetch_elements(const I *columns, T *const (&of)[R]) {
  for (int r = 0; r < R; ++r) fetch_elements<1>(columns, of[r]);
}

// The sums of a * b over the row, as row_sum adds them. With Folded they are of (alpha * a) * b and the rounds are
// twice as long: a row must have so many entries for its sum to be taken in rounds, and so many are left to be added
// one by one.
template <bool Conj, bool Folded, bool Jumps = false, class T, class I, int R>
inline Sums<T, R> row_sums(Row<T, I> row, [[maybe_unused]] in_lanes<T> alpha, const Columns<T, R> &at) {
  using V = vec_of<T>;
  constexpr int round = (is_complex<T> ? 8 : 16) * (Folded ? 2 : 1), at_once = 2 * per_vector<T>;
  const auto value = [&](auto a, [[maybe_unused]] auto alphas) {
    if constexpr (Folded)
      return times<T, Conj>(a, alphas);
    else
      return a;
  };
  constexpr bool conj = Conj && !Folded; // of a, in its product with b
  Sums<T, R> sums{};
  I p = 0;
  const auto one_by_one = [&](I end) {
    for (; p < end; ++p) {
      if constexpr (Jumps) fetch_elements(row.columns + p, at.b);
      const auto a = value(fetch(row.values + p), alpha);
      const I column = get(row.columns + p);
      for (int r = 0; r < R; ++r) sums.of[r] += times<T, conj>(a, fetch(at.b[r] + column));
    }
  };
  if (row.count >= round) {
    const bool aligned = is_aligned_to(row.values, sizeof(T));
    const auto peel = static_cast<I>(elements_to_boundary<32>(row.values));
    if (row.count - peel >= round && (aligned || is_complex<T>)) {
      one_by_one(peel);
      const V alphas = in_every_element<T>(alpha);
      V acc[R][2] = {};
      for (const I end = p + (row.count - p) / round * round; p < end; p += at_once) {
        fetch_ahead<at_once>(row.values + p, row.columns + p);
        if constexpr (Jumps)
          for (int k = 0; k < at_once; ++k) fetch_elements(row.columns + p + k, at.b);
        for (int k = 0; k < 2; ++k) {
          const V a = value(loadu<V>(row.values + p + k * per_vector<T>), alphas);
          for (int r = 0; r < R; ++r)
            acc[r][k] += times<T, conj>(a, gather_vector(at.b[r], row.columns + p + k * per_vector<T>));
        }
      }
      for (int r = 0; r < R; ++r)
        sums.of[r] += sum_of<T>((low_half(acc[r][0]) + high_half(acc[r][0])) +
                                (low_half(acc[r][1]) + high_half(acc[r][1])));
    }
  }
  fetch_ahead<16>(row.values + p, row.columns + p);
  one_by_one(row.count);
  return sums;
}

// c[column] += a * t for the entries whose bits are set, in all columns.
template <Sign S, bool Conj, class T, class I, int R>
inline void scatter_four(unsigned bits, const T *values, const I *columns, const Sums<T, R> &t,
                         const Columns<T, R> &at) {
  for (int r = 0; r < R; ++r) scatter_four<T, S, Conj>(bits, values, columns, t.of[r], at.c[r]);
}
template <Sign S, bool Conj, class T, class I, int R>
inline void scatter_one(const T *value, const I *column, const Sums<T, R> &t, const Columns<T, R> &at) {
  for (int r = 0; r < R; ++r) scatter_one<T, S, Conj>(value, column, t.of[r], at.c[r]);
}
template <bool Conj, bool Jumps = false, class T, class I, int R>
inline void scatter(Row<T, I> row, const Sums<T, R> &t, const Columns<T, R> &at) {
  fetch_ahead<16>(row.values, row.columns);
  I p = 0;
  for (; row.count - p >= 4; p += 4) {
    if constexpr (Jumps)
      for (int k = 0; k < 4; ++k) fetch_elements(row.columns + p + k, at.c);
    scatter_four<Sign::plus, Conj>(15, row.values + p, row.columns + p, t, at);
  }
  for (; p < row.count; ++p) {
    if constexpr (Jumps) fetch_elements(row.columns + p, at.c);
    scatter_one<Sign::plus, Conj>(row.values + p, row.columns + p, t, at);
  }
}
template <bool Above, bool Conj, class T, class I, int R>
inline void scatter_beyond(Row<T, I> row, I limit, const Sums<T, R> &t, const Columns<T, R> &at) {
  I p = 0;
  for (; row.count - p >= 4; p += 4)
    scatter_four<Sign::minus, Conj>(lane_bits(beyond<Above>(row.columns + p, limit)), row.values + p,
                                    row.columns + p, t, at);
  for (; p < row.count; ++p)
    if (is_beyond<Above>(get(row.columns + p), limit))
      scatter_one<Sign::minus, Conj>(row.values + p, row.columns + p, t, at);
}

// alpha * b of the row itself.
template <class T, class I, int R>
inline Sums<T, R> own_terms(const MmJob<T, I> &job, Row<T, I> row, const Columns<T, R> &at) {
  Sums<T, R> t;
  for (int r = 0; r < R; ++r) t.of[r] = times<T>(job.alpha, fetch(at.b[r] + row.key));
  return t;
}

// ---- Loops -----------------------------------------------------------------------------------------------------

// Where rows lie in parts, each part meets all right-hand sides before the next is begun: what has been read of the
// matrix is read again from the cache. Sums do not depend on it.
template <bool Conj, class T, class I>
[[gnu::noinline]] void multiply_general(ColumnLayout, const MmJob<T, I> &given, I parts, I part_rows) {
  const MmJob<T, I> job = given; // a copy of its own, which no store to c can change
  for (I part = 0; part < parts; ++part) {
    const I begin = part * part_rows, end = part == parts - 1 ? job.rows : begin + part_rows;
    each_group_of<8>(job.first, job.last, [&](auto count, I column) {
      const auto at = columns_of<count()>(job, column);
      each_row<ColumnLayout>(job, begin, end, I{count()}, [&](const auto &row, I, auto jumps) TNK_INLINED {
        const auto sums = row_sums<Conj, false, jumps()>(row, job.alpha, at);
        for (int r = 0; r < count(); ++r) add_to(at.c[r] + row.key, times<T>(job.alpha, sums.of[r]));
      });
    });
  }
}

template <bool Conj, class T, class I>
[[gnu::noinline]] void multiply_general_transposed(ColumnLayout, const MmJob<T, I> &given) {
  const MmJob<T, I> job = given;
  each_group_of<8>(job.first, job.last, [&](auto count, I column) {
    const auto at = columns_of<count()>(job, column);
    each_row<ColumnLayout>(job, I{0}, job.rows, I{count()}, [&](const auto &row, I, auto jumps) TNK_INLINED {
      if (row.count > 0) scatter<Conj, jumps()>(row, own_terms(job, row, at), at);
    });
  });
}

template <bool Conj, bool Lower, class T, class I>
[[gnu::noinline]] void multiply_triangular_transposed(ColumnLayout, const MmJob<T, I> &given) {
  const MmJob<T, I> job = given;
  each_group_of<2>(job.first, job.last, [&](auto count, I column) {
    const auto at = columns_of<count()>(job, column);
    for (I i = 0; i < job.rows; ++i) {
      const auto row = row_of<ColumnLayout>(job, i);
      const auto t = own_terms(job, row, at);
      scatter<Conj>(row, t, at);
      if (job.unit)
        for (int r = 0; r < count(); ++r) add_to(at.c[r] + row.key, t.of[r]);
      scatter_beyond<Lower, Conj>(row, row.key + job.outside, t, at);
    }
  });
}

// The first sweep.
template <bool Conj, class T, class I>
[[gnu::noinline]] void add_whole_rows(ColumnLayout, const MmJob<T, I> &given) {
  const MmJob<T, I> job = given;
  for (I i = 0; i < job.rows; ++i) {
    const auto row = row_of<ColumnLayout>(job, i);
    each_group_of<8>(job.first, job.last, [&](auto count, I column) {
      const auto at = columns_of<count()>(job, column);
      const auto sums = row_sums<Conj, true>(row, job.alpha, at);
      for (int r = 0; r < count(); ++r) add_to(at.c[r] + row.key, sums.of[r]);
    });
  }
}

// The second sweep. The sums of (alpha a) b over what lies outside are taken away in both; triangles that are mirrored
// have their inside scattered besides.
template <bool Mirrored, bool Conj, bool MirrorConj, bool Lower, class T, class I>
[[gnu::noinline]] void mend_rows(ColumnLayout, const MmJob<T, I> &given) {
  using V = half_of<T>;
  const MmJob<T, I> job = given;
  const V alphas = every_lane<T>(job.alpha);
  each_group_of<2>(job.first, job.last, [&](auto count, I column) {
    const auto at = columns_of<count()>(job, column);
    for (I i = 0; i < job.rows; ++i) {
      const auto row = row_of<ColumnLayout>(job, i);
      const I limit = row.key + job.outside;
      const auto identity = own_terms(job, row, at);
      auto t = identity;
      if (Mirrored && job.negative)
        for (auto &element : t.of) element = -element;
      V acc[count()][2] = {};
      fetch_ahead<16>(row.values, row.columns);
      I p = 0;
      for (; row.count - p >= 4; p += 4) {
        const i32x4 outside = beyond<Lower>(row.columns + p, limit);
        if constexpr (Mirrored)
          scatter_four<Sign::plus, MirrorConj>(lane_bits(beyond<!Lower>(row.columns + p, row.key)),
                                               row.values + p, row.columns + p, t, at);
        if (lane_bits(outside) == 0) continue;
        for (int k = 0; k < 4 / per_half<T>; ++k) {
          const V a = times<T, Conj>(loadu<V>(row.values + p + k * per_half<T>), alphas);
          for (int r = 0; r < count(); ++r)
            acc[r][k % 2] +=
                masked_part<T>(times<T>(a, gather(at.b[r], row.columns + p + k * per_half<T>)), outside, k);
        }
      }
      Sums<T, count()> others;
      for (int r = 0; r < count(); ++r) others.of[r] = sum_of<T>(acc[r][0] + acc[r][1]);
      for (; p < row.count; ++p) {
        const I j = get(row.columns + p);
        if (is_beyond<Lower>(j, limit)) {
          const auto a = times<T, Conj>(fetch(row.values + p), job.alpha);
          for (int r = 0; r < count(); ++r) others.of[r] += times<T>(a, fetch(at.b[r] + j));
        } else if (Mirrored && is_beyond<!Lower>(j, row.key)) {
          scatter_one<Sign::plus, MirrorConj>(row.values + p, row.columns + p, t, at);
        }
      }
      for (int r = 0; r < count(); ++r) {
        T *const c = at.c[r] + row.key;
        const auto surplus = job.unit ? others.of[r] - identity.of[r] : others.of[r];
        deposit(c, fetch(c) - surplus);
      }
    }
  });
}

} // namespace tnk::sparse
