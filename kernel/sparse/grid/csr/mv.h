// Compressed rows times a vector: y += alpha op(A) x, by kind of matrix. The sums and scatters of a row are in row.h.
//
// Vectors are shifted once so that a stored column number is the index of its element; `key` is the row on that scale. So
// the bodies do not know their index base, and both bases share one.
#pragma once

#include "kernel/frame/host_blas.h"
#include "kernel/sparse/grid/csr/jumps.h"
#include "kernel/sparse/grid/csr/matrix.h"
#include "kernel/sparse/grid/csr/row.h"
#include "kernel/sparse/grid/name.h"

namespace tnk::sparse {

// ---- The kinds, row by row -------------------------------------------------------------------------------------
// Names are those of GridName, less the base.

// An empty row is added too, as alpha * 0: that is how a non-finite alpha gets into y.
template <class Name, bool Jumps, class T, class I>
inline void general_row(const RowJob<T, I> &job, Row<T, I> row) {
  const auto s = Jumps ? row_sum_of_jumps<T, Name::conjugated>(row.values, row.columns, row.count, job.x)
                       : row_sum<T, Name::conjugated>(row.values, row.columns, row.count, job.x);
  add_to(job.y + row.key, times<T>(job.alpha, s));
}

template <class Name, bool Jumps, class T, class I>
inline void general_transposed_row(const RowJob<T, I> &job, Row<T, I> row) {
  if (row.count <= 0) return;
  const auto t = times<T>(job.alpha, fetch(job.x + row.key));
  scatter<T, Name::conjugated, Jumps>(row.values, row.columns, row.count, t, job.y);
}

// The last column numbers inside the triangle are key, or with a unit diagonal those next to it: what lies beyond this
// limit is not part of the matrix.
template <class Name, class I> inline I triangle_limit(I key) {
  return !Name::unit ? key : Name::lower ? key - 1 : key + 1;
}

// The whole row, without a test, less what lies outside the triangle. So a non-finite product from outside comes out as
// NaN. A stored diagonal counts as outside when the diagonal is of ones, which are put in its place.
template <class Name, bool Jumps, class T, class I>
inline void triangular_row(const RowJob<T, I> &job, Row<T, I> row) {
  T *const y = job.y + row.key;
  const auto whole =
      row_sum<T, Name::conjugated, usual_distance, Jumps>(row.values, row.columns, row.count, job.x);
  const auto outside = sum_beyond<T, Name::lower, Name::conjugated>(row.values, row.columns, row.count,
                                                                    triangle_limit<Name>(row.key), job.x);
  if constexpr (Name::unit) {
    const auto with_whole = fetch(y) + times<T>(job.alpha, whole);
    deposit(y, with_whole - times<T>(job.alpha, outside - fetch(job.x + row.key)));
  } else {
    add_to(y, times<T>(job.alpha, whole - outside));
  }
}

template <class Name, bool Jumps, class T, class I>
inline void triangular_transposed_row(const RowJob<T, I> &job, Row<T, I> row) {
  const auto t = times<T>(job.alpha, fetch(job.x + row.key));
  scatter<T, Name::conjugated, Jumps>(row.values, row.columns, row.count, t, job.y);
  if constexpr (Name::unit) add_to(job.y + row.key, t);
  scatter_beyond<T, Name::lower, Sign::minus, Name::conjugated>(row.values, row.columns, row.count,
                                                                triangle_limit<Name>(row.key), t, job.y);
}

// Row and mirror in one pass. The other triangle is passed over by test. Short rows go entry by entry: their groups of
// four would cost another mispredicted branch a row.
template <class Name, bool Jumps, class T, class I>
inline void mirrored_row(const RowJob<T, I> &job, Row<T, I> row) {
  constexpr bool own = own_conjugated<Name>, mirror = mirror_conjugated<Name>;
  constexpr int long_row = 24, first_lines = 16;
  const auto t = times<T>(job.alpha, fetch(job.x + row.key));
  in_lanes<T> sum{};
  const auto one = [&](I p) {
    const I column = get(row.columns + p);
    const auto a = fetch(row.values + p);
    if constexpr (Jumps) fetch_elements<1>(row.columns + p, job.x), fetch_elements<1>(row.columns + p, job.y);
    if (is_beyond<!Name::lower>(column, row.key)) {
      sum += times<T, own>(a, fetch(job.x + column));
      add_to(job.y + column, times<T, mirror>(a, t));
    } else if (column == row.key) {
      sum += times<T, own>(a, fetch(job.x + column));
    }
  };
  fetch_ahead<first_lines>(row.values, row.columns);
  // An upper triangle reaches elements that no row before had for its own.
  if constexpr (!Name::lower) fetch_ahead<1, 8192>(job.x + row.key), fetch_ahead<1, 8192>(job.y + row.key);
  I p = 0;
  if (row.count >= long_row) {
    half_of<T> acc[2] = {};
    for (; row.count - p >= 4; p += 4) {
      fetch_ahead<4>(row.values + p, row.columns + p);
      if (lane_bits(beyond<!Name::lower>(row.columns + p, row.key)) == 15) {
        each_product_of_four<T, own>(row.values + p, row.columns + p, job.x,
                                     [&](auto product, int k) { acc[k % 2] += product; });
        scatter_four<T, Sign::plus, mirror>(15, row.values + p, row.columns + p, t, job.y);
      } else {
        for (int k = 0; k < 4; ++k) one(p + k);
      }
    }
    sum += sum_of<T>(acc[0] + acc[1]);
  }
  for (; p < row.count; ++p) one(p);
  add_to(job.y + row.key, times<T>(job.alpha, sum));
}

// The whole row is added first, without a test; the second pass mirrors the triangle and takes away everything else,
// the stored diagonal included. Skew matrices mirror with a minus sign and have no diagonal; symmetric and Hermitian
// ones come here when theirs is of ones.
template <class Name, class T, class I>
inline void mirrored_row_two_passes(const RowJob<T, I> &job, Row<T, I> row) {
  using V = half_of<T>;
  constexpr bool own = own_conjugated<Name>, mirror = mirror_conjugated<Name>;
  constexpr Sign sign = Name::kind == 'a' ? Sign::minus : Sign::plus;
  T *const y = job.y + row.key;
  add_to(y, times<T>(job.alpha, row_sum<T, own>(row.values, row.columns, row.count, job.x)));

  // (alpha a) x, with a conjugated first.
  const auto product = [](auto alpha, auto a, auto x) { return times<T>(times<T, own>(a, alpha), x); };
  const auto t = times<T>(job.alpha, fetch(job.x + row.key));
  const V alphas = every_lane<T>(job.alpha);
  V acc[2] = {};
  I p = 0;
  for (; row.count - p >= 4; p += 4) {
    const i32x4 inside = beyond<!Name::lower>(row.columns + p, row.key);
    const unsigned bits = lane_bits(inside);
    scatter_four<T, sign, mirror>(bits, row.values + p, row.columns + p, t, job.y);
    if (bits == 15) continue;
    for (int k = 0; k < 4 / per_half<T>; ++k)
      acc[k % 2] += masked_part<T>(product(alphas, loadu<V>(row.values + p + k * per_half<T>),
                                           gather(job.x, row.columns + p + k * per_half<T>)),
                                   ~inside, k);
  }
  in_lanes<T> others = sum_of<T>(acc[0] + acc[1]);
  for (; p < row.count; ++p) {
    const I column = get(row.columns + p);
    if (is_beyond<!Name::lower>(column, row.key))
      scatter_one<T, sign, mirror>(row.values + p, row.columns + p, t, job.y);
    else
      others += product(job.alpha, fetch(row.values + p), fetch(job.x + column));
  }
  const auto rest = fetch(y) - others;
  deposit(y, Name::unit ? rest + t : rest);
}

// Every stored diagonal entry counts.
template <class Name, class T, class I> inline void diagonal_row(const RowJob<T, I> &job, Row<T, I> row) {
#pragma GCC unroll 2
  for (I p = 0; p < row.count; ++p)
    if (get(row.columns + p) == row.key)
      add_to(job.y + row.key,
             times<T>(times<T, Name::conjugated>(fetch(row.values + p), job.alpha), fetch(job.x + row.key)));
}

// ---- Kernels ---------------------------------------------------------------------------------------------------

template <class Name, bool Jumps, class T, class I>
inline void multiply_row(const RowJob<T, I> &job, const Row<T, I> &row) {
  if constexpr (Name::kind == 'g' && Name::transposed)
    general_transposed_row<Name, Jumps>(job, row);
  else if constexpr (Name::kind == 'g')
    general_row<Name, Jumps>(job, row);
  else if constexpr (Name::kind == 't' && Name::transposed)
    triangular_transposed_row<Name, Jumps>(job, row);
  else if constexpr (Name::kind == 't')
    triangular_row<Name, Jumps>(job, row);
  else if constexpr (Name::kind == 'a' || Name::unit)
    mirrored_row_two_passes<Name>(job, row);
  else
    mirrored_row<Name, Jumps>(job, row);
}

// One body for both bases: not inlined into the entries.
template <class Name, class T, class I> [[gnu::noinline]] void multiply_rows(const RowJob<T, I> &given) {
  const RowJob<T, I> job = given; // a copy of its own, which no store to y can change
  if constexpr (Name::kind == 'd') {
    for (I i = job.first; i < job.last; ++i) diagonal_row<Name>(job, row_of(job, i));
  } else {
    each_row(
        job.matrix, job.pointer_base, job.first, job.last, I{1},
        [&](I i) TNK_INLINED { return row_of(job, i); },
        [&](const auto &row, I, auto jumps) TNK_INLINED { multiply_row<Name, jumps()>(job, row); });
  }
}

// Rows first ... last, from one. The kernels that mirror an upper triangle are given x and y from element `first` on:
// what a piece adds to begins with its own first row, so that a private y need not have more. x is a part of the whole
// vector all the same: the forms in two passes multiply the whole row and reach elements before it.
template <class Name, class T, class I>
inline void csr_mv_par(I base, I first, I last, T alpha, const CompressedRows<T, I> &matrix, const T *x,
                       T *y) {
  if (last < first) return;
  constexpr bool mirrors = Name::kind == 's' || Name::kind == 'h' || Name::kind == 'a';
  const I origin = mirrors && !Name::lower ? first - 1 + base : base;
  multiply_rows<Name, T, I>({matrix, get(matrix.row_start), first - 1, last, base, fetch(&alpha),
                             counted_from(x, origin), counted_from(y, origin)});
}

// All m rows.
template <class Name, class T, class I>
inline void csr_mv_seq(I base, I m, T alpha, const CompressedRows<T, I> &matrix, const T *x, T *y) {
  if (m <= 0) return;
  if constexpr (Name::kind == 'd' && Name::unit)
    host_axpy(m, alpha, x, y);
  else
    csr_mv_par<Name, T, I>(base, 1, m, alpha, matrix, x, y);
}

// The entries of one element type: a source file each. The base is a number to the common body, not a part of it.
#define TNK_CSR_MV_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, mv,                                                 \
                   par)(const I *first, const I *last, const I *, const T *alpha, const T *values,           \
                        const I *col_index, const I *row_start, const I *row_end, const T *x, T *y) {        \
    tnk::sparse::csr_mv_par<TNK_SP_LETTERS(0, op, kind, tri, diag), T, I>(                                   \
        b, *first, *last, *alpha, {values, col_index, row_start, row_end}, x, y);                            \
  }
#define TNK_CSR_MV_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, b, l)                                          \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, b, l, mv,                                                 \
                   seq)(const I *m, const T *alpha, const T *values, const I *col_index, const I *row_start, \
                        const I *row_end, const T *x, T *y) {                                                \
    tnk::sparse::csr_mv_seq<TNK_SP_LETTERS(0, op, kind, tri, diag), T, I>(                                   \
        b, *m, *alpha, {values, col_index, row_start, row_end}, x, y);                                       \
  }

} // namespace tnk::sparse
