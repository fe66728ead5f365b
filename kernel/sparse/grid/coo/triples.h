// Coordinate triples times a vector or several: y += alpha op(A) x, in one pass over the entries, in their order. An
// entry is tested on its own; nothing is sorted or gathered.
//
// Where the outputs lie is the business of a target: columns, shifted so that a stored number is the index of its
// element, or rows that hold all right-hand sides. Row and column are compared as they are stored. So one body serves
// both index bases.
#pragma once

#include "kernel/frame/host_blas.h"
#include "kernel/sparse/entries.h"
#include "kernel/sparse/grid/name.h"
#include "kernel/sparse/grid/vectors.h"
#include "kernel/sparse/runs.h"
#include "kernel/sparse/wrapped.h"

namespace tnk::sparse {

template <class T, class I> struct Triples {
  const T *values;
  const I *row_index, *col_index;
};

// Entries first ... last - 1 from 0.
template <class T, class I> struct TripleJob {
  Triples<T, I> matrix;
  I first, last;
  in_lanes<T> alpha;
};

// Whether the numbers of most entries are far from those of the entries just before, on which caches are no help, and reach
// beyond what a near one holds. Looked up in a few places of many entries.
template <class T, class I> inline bool is_scattered(const I *index, I first, I last) {
  constexpr I places = 16, before = 32, least_step = 1024;
  constexpr std::int64_t far = 4096 / sizeof(T), long_vector = (1 << 20) / sizeof(T);
  const I step = (last - first) / places;
  if (step < least_step) return false;
  int scattered = 0;
  std::int64_t furthest = 0;
  for (I place = 0; place < places; ++place) {
    const I *const at = index + first + place * step + before;
    const std::int64_t number = get(at);
    bool alone = true;
#pragma GCC unroll 1
    for (I k = 1; k <= before; ++k) {
      const std::int64_t distance = number - get(at - k);
      alone &= distance > far || distance < -far;
    }
    scattered += alone;
    furthest = std::max(furthest, number);
  }
  return furthest > long_vector && scattered > places / 2;
}

// ---- Targets ---------------------------------------------------------------------------------------------------

template <class T, int R> struct ColumnTarget {
  Vectors<T, R> at;

  // y[r] += a * x[q]
  template <class I> void add(I r, I q, in_lanes<T> a) const {
    for (int k = 0; k < R; ++k) add_to(at.y[k] + r, times<T>(a, fetch(at.x[k] + q)));
  }
  // y[r] += (alpha * x[q]) * a
  template <bool Conj, class I> void add_scaled(I r, I q, in_lanes<T> a, in_lanes<T> alpha) const {
    for (int k = 0; k < R; ++k) add_to(at.y[k] + r, times<T, Conj>(a, times<T>(alpha, fetch(at.x[k] + q))));
  }
  template <class I> TNK_INLINE void ask_for(I r, I q) const {
    for (int k = 0; k < R; ++k) ask_far(at.x[k] + q), ask_far(at.y[k] + r);
  }
};

// The same with the elements of y that the entry before added to still in registers: where a row's entries follow each other,
// a sum then waits for an addition, and not for a store to be read back as well. Nobody else reads y meanwhile.
template <class T, class I, int R> class HeldTarget {
public:
  HeldTarget(const ColumnTarget<T, R> &target, I row) : target_(target), row_(row) { load(); }
  ~HeldTarget() { store(); }
  HeldTarget(const HeldTarget &) = delete;
  HeldTarget &operator=(const HeldTarget &) = delete;

  TNK_INLINE void add(I r, I q, in_lanes<T> a) {
    if (r != row_) store(), row_ = r, load();
    for (int k = 0; k < R; ++k) sums_[k] += times<T>(a, fetch(target_.at.x[k] + q));
  }
  TNK_INLINE void ask_for(I r, I q) const { target_.ask_for(r, q); }

private:
  TNK_INLINE void load() {
    for (int k = 0; k < R; ++k) sums_[k] = fetch(target_.at.y[k] + row_);
  }
  TNK_INLINE void store() const {
    for (int k = 0; k < R; ++k) deposit(target_.at.y[k] + row_, sums_[k]);
  }

  const ColumnTarget<T, R> target_;
  I row_;
  in_lanes<T> sums_[R];
};

template <class T, class I> struct RowTarget {
  Run<T, I> sides;
  const T *b;
  I ldb;
  T *c;
  I ldc;

  void add(I r, I q, in_lanes<T> a) const {
    add_multiple(sides, in_every_element<T>(a), b + wrapped_product(q, ldb), c + wrapped_product(r, ldc));
  }
  TNK_INLINE void ask_for(I r, I q) const {
    ask_far(b + wrapped_product(q, ldb)), ask_far(c + wrapped_product(r, ldc));
  }
};

// ---- Entries ---------------------------------------------------------------------------------------------------

// alpha goes to the value first; with AlphaToX, which kinds s and h may have, to the element of x.
template <class Name, bool AlphaToX, class T, class I, class Target>
TNK_INLINE void add_entry(const TripleJob<T, I> &job, I p, Target &target) {
  const I r = get(job.matrix.row_index + p), q = get(job.matrix.col_index + p);
  const bool inside = is_beyond<!Name::lower>(q, r);
  const auto a = fetch(job.matrix.values + p);
  const auto folded = [&] { return times<T, Name::conjugated>(a, job.alpha); };
  if constexpr (Name::kind == 'g') {
    target.add(r, q, folded());
  } else if constexpr (Name::kind == 'd') {
    if (r == q) target.add(r, q, folded());
  } else if constexpr (Name::kind == 't') {
    if (inside || (!Name::unit && r == q)) target.add(r, q, folded());
  } else if constexpr (Name::kind == 'a') {
    if (!inside) return;
    const auto v = folded();
    target.add(r, q, v);
    target.add(q, r, -v);
  } else {
    constexpr bool own = own_conjugated<Name>, mirror = mirror_conjugated<Name>;
    if (!inside && (Name::unit || r != q)) return;
    if constexpr (AlphaToX) {
      target.template add_scaled<own>(r, q, a, job.alpha);
      if (inside) target.template add_scaled<mirror>(q, r, a, job.alpha);
    } else {
      target.add(r, q, times<T, own>(a, job.alpha));
      if (inside) target.add(q, r, times<T, mirror>(a, job.alpha));
    }
  }
}

template <class Name>
constexpr bool adds_mirror = Name::kind == 's' || Name::kind == 'h' || Name::kind == 'a';

template <class Name, bool AlphaToX, class T, class I, class Target>
TNK_INLINE void add_all(const TripleJob<T, I> &job, Target &target) {
  const Triples<T, I> &matrix = job.matrix;
  I p = job.first;
  if (is_scattered<T>(matrix.row_index, p, job.last) || is_scattered<T>(matrix.col_index, p, job.last))
    for (; job.last - p >= 8 + elements_ahead; p += 8) {
#pragma GCC unroll 2
      for (int k = 0; k < 8; ++k) {
        const I ahead = p + k + elements_ahead, r = get(matrix.row_index + ahead),
                q = get(matrix.col_index + ahead);
        target.ask_for(r, q);
        if (adds_mirror<Name>) target.ask_for(q, r);
        add_entry<Name, AlphaToX>(job, p + k, target);
      }
    }
  for (; job.last - p >= 8; p += 8) {
    fetch_ahead<8>(matrix.values + p, matrix.col_index + p);
    fetch_ahead<8>(matrix.row_index + p);
#pragma GCC unroll 2
    for (int k = 0; k < 8; ++k) add_entry<Name, AlphaToX>(job, p + k, target);
  }
  for (; p < job.last; ++p) add_entry<Name, AlphaToX>(job, p, target);
}

template <class Name, bool AlphaToX, class T, class I>
[[gnu::noinline]] void add_entries(const TripleJob<T, I> &given_job, const RowTarget<T, I> &given_target) {
  const TripleJob<T, I> job = given_job; // copies of their own, which no store to y can change
  const RowTarget<T, I> target = given_target;
  add_all<Name, AlphaToX>(job, target);
}
template <class Name, bool AlphaToX, class T, class I, int R>
[[gnu::noinline]] void add_entries(const TripleJob<T, I> &given_job, const ColumnTarget<T, R> &given_target) {
  const TripleJob<T, I> job = given_job;
  const ColumnTarget<T, R> target = given_target;
  if constexpr (Name::kind == 'g') {
    if (job.first >= job.last) return;
    HeldTarget<T, I, R> held(target, get(job.matrix.row_index + job.first));
    add_all<Name, AlphaToX>(job, held);
  } else {
    add_all<Name, AlphaToX>(job, target);
  }
}

// ---- Kernels ---------------------------------------------------------------------------------------------------

// The letters with base 0, for bodies that do not depend on it.
template <class Name>
using base_free = GridName<'0', Name::op, Name::kind, Name::lower ? 'l' : 'u', Name::unit ? 'u' : 'n'>;

// Entries first ... last, from one; all of them in triangular kinds, which do not read the two. A diagonal of ones is
// added in full, whatever the piece.
template <class Name, class T, class I>
inline void coo_mv_par(const I *first, const I *last, I m, const T *alpha, const Triples<T, I> &matrix, I nnz,
                       const T *x, T *y) {
  constexpr bool whole = Name::kind == 't';
  if (!whole && *last < *first) return;
  constexpr I base = Name::base;
  const ColumnTarget<T, 1> target = {{{counted_from(x, base)}, {counted_from(y, base)}}};
  constexpr bool alpha_to_x = Name::kind == 's' || Name::kind == 'h';
  add_entries<base_free<Name>, alpha_to_x>(
      TripleJob<T, I>{matrix, whole ? 0 : *first - 1, whole ? nnz : *last, fetch(alpha)}, target);
  if constexpr (Name::unit) add_multiple(run_of<T>(m), in_every_element<T>(fetch(alpha)), x, y);
}

template <class Name, class T, class I>
inline void coo_mv_seq(I m, const T *alpha, const Triples<T, I> &matrix, I nnz, const T *x, T *y) {
  if (m <= 0) return;
  if constexpr (Name::unit) {
    host_axpy(m, get(alpha), x, y);
  } else {
    const I all = 1;
    coo_mv_par<Name>(&all, &nnz, m, alpha, matrix, nnz, x, y);
  }
}

// Right-hand sides first ... last, from one.
template <class Name, class T, class I>
inline void coo_mm_par(const I *first, const I *last, const I *m, const T *alpha, const Triples<T, I> &matrix,
                       const I *nnz, const T *b, const I *ldb, T *c, const I *ldc) {
  if (*last < *first) return;
  using Body = base_free<Name>;
  constexpr bool diagonal_of_ones = Name::kind == 'd' && Name::unit;
  const in_lanes<T> factor = fetch(alpha);
  const I begin = *first - 1, rows = *m;
  const TripleJob<T, I> job = {matrix, 0, diagonal_of_ones ? 0 : *nnz, factor};
  if constexpr (diagonal_of_ones) {
    constexpr bool columns = Name::base == 1;
    const tnk_int n = rows, incb = columns ? 1 : *ldb, incc = columns ? 1 : *ldc;
    // A negative number of rows is none here; the public routine would report it.
    for (I side = begin; rows > 0 && side < *last; ++side)
      host_blas<T>::axpy(&n, alpha, b + (columns ? wrapped_product(side, *ldb) : side), &incb,
                         c + (columns ? wrapped_product(side, *ldc) : side), &incc);
  } else if constexpr (Name::base == 1) {
    each_group_of<2>(begin, *last, [&](auto count, I column) {
      Vectors<T, count()> at, shifted;
      for (int k = 0; k < count(); ++k) {
        at.x[k] = b + wrapped_product<I>(column + k, *ldb),
        at.y[k] = c + wrapped_product<I>(column + k, *ldc);
        shifted.x[k] = counted_from<const T, I>(at.x[k], 1), shifted.y[k] = counted_from<T, I>(at.y[k], 1);
      }
      add_entries<Body, false>(job, ColumnTarget<T, count()>{shifted});
      if constexpr (Name::unit)
        for (int k = 0; k < count(); ++k)
          add_multiple(run_of<T>(rows), in_every_element<T>(factor), at.x[k], at.y[k]);
    });
  } else {
    const RowTarget<T, I> target = {run_of<T, I>(*last - begin), b + begin, *ldb, c + begin, *ldc};
    add_entries<Body, false>(job, target);
    if constexpr (Name::unit)
      for (I i = 0; i < rows; ++i) target.add(i, i, factor);
  }
}

// The entries of one element type: a source file each.
#define TNK_COO_MV_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, mv, par)(                                           \
      const I *first, const I *last, const I *m, const I *, const T *alpha, const T *values,                 \
      const I *row_index, const I *col_index, const I *nnz, const T *x, T *y) {                              \
    tnk::sparse::coo_mv_par<TNK_SP_LETTERS(b, op, kind, tri, diag), T, I>(                                   \
        first, last, *m, alpha, {values, row_index, col_index}, *nnz, x, y);                                 \
  }
#define TNK_COO_MV_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, b, l, mv,                                                 \
                   seq)(const I *m, const I *, const T *alpha, const T *values, const I *row_index,          \
                        const I *col_index, const I *nnz, const T *x, T *y) {                                \
    tnk::sparse::coo_mv_seq<TNK_SP_LETTERS(b, op, kind, tri, diag), T, I>(                                   \
        *m, alpha, {values, row_index, col_index}, *nnz, x, y);                                              \
  }
#define TNK_COO_MM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, coo, base, l, mm, par)(                                        \
      const I *first, const I *last, const I *m, const I *, const T *alpha, const T *values,                 \
      const I *row_index, const I *col_index, const I *nnz, const T *b, const I *ldb, T *c, const I *ldc) {  \
    tnk::sparse::coo_mm_par<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        first, last, m, alpha, {values, row_index, col_index}, nnz, b, ldb, c, ldc);                         \
  }

} // namespace tnk::sparse
