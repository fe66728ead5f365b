// Compressed rows times several right-hand sides: c += alpha op(A) b, by kind of matrix. A piece is a range of
// right-hand sides, so that scattering kernels need no outputs of their own.
#pragma once

#include "kernel/frame/host_blas.h"
#include "kernel/sparse/grid/csr/mm_columns.h"
#include "kernel/sparse/grid/csr/mm_rows.h"
#include "kernel/sparse/grid/name.h"

namespace tnk::sparse {

// ---- Rows in parts that stay in the cache ----------------------------------------------------------------------

// What an entry of the average row and a right-hand side weigh in bytes: in the size of a part, and in the test whether
// parts are worth while. The single and double precision members were tuned one by one, and their two pairs are not to
// be made one.
struct CacheWeights {
  int part_entry, part_side;
  double cost_entry, cost_side;
};
template <class T, bool Conj> constexpr CacheWeights cache_weights() {
  if (std::is_same_v<T, float>) return {12, 8, 8.0, 12.0};
  if (std::is_same_v<T, double> || (std::is_same_v<T, tnk_complex8> && !Conj)) return {12, 20, 20.0, 12.0};
  return {36, 20, 36.0, 20.0};
}

template <class I> struct Parts {
  I count, rows; // the last part has what is left of the matrix besides
};

// One part when the whole job is small, and where no part size can be had: a job so wide that a part would have less
// than a row, or numbers that mean nothing.
template <class T, bool Conj, class I> inline Parts<I> cache_parts(I m, I n, const I *row_end) {
  using U = std::make_unsigned_t<I>;
  constexpr CacheWeights weight = cache_weights<T, Conj>();
  constexpr double cache = 17000000.0;
  const I average = wrapped_difference<I>(get(row_end + (m - 1)), 1) / m;
  // An integer, so whole numbers above the limit are all that is above it.
  const double cost = std::trunc(
      (weight.cost_entry * static_cast<double>(average) + weight.cost_side * static_cast<double>(n)) *
      static_cast<double>(m));
  const I row_bytes =
      static_cast<I>(weight.part_entry * static_cast<U>(average) + weight.part_side * static_cast<U>(n));
  if (!(cost >= cache) || row_bytes <= 0) return {1, m};
  const I rows = static_cast<I>(cache / static_cast<double>(row_bytes) * 0.25);
  if (rows <= 0 || m / rows < 2) return {1, m};
  return {m / rows, rows};
}

// ---- Kernels ---------------------------------------------------------------------------------------------------

template <class Name> using layout_of = std::conditional_t<Name::base == 1, ColumnLayout, RowLayout>;

template <class Name, class T, class I>
inline void csr_mm_par(const I *first, const I *last, const I *m, [[maybe_unused]] const I *n, const T *alpha,
                       const CompressedRows<T, I> &matrix, const T *b, const I *ldb, T *c, const I *ldc) {
  if (*last < *first || *m <= 0) return;
  constexpr auto layout = layout_of<Name>();
  constexpr bool conj = Name::conjugated, lower = Name::lower;
  constexpr bool skew = Name::kind == 'a';
  constexpr int outside = !Name::unit && !skew ? 0 : lower ? -1 : 1;
  MmJob<T, I> job = {matrix, get(matrix.row_start), *m, *first - 1, *last, fetch(alpha), b, *ldb, c, *ldc};
  job.outside = outside, job.unit = Name::unit, job.negative = skew;
  if constexpr (Name::kind == 'g' && Name::transposed) {
    multiply_general_transposed<conj>(layout, job);
  } else if constexpr (Name::kind == 'g' && Name::base == 1) {
    const Parts<I> parts = cache_parts<T, conj>(*m, *n, matrix.row_end);
    multiply_general<conj>(layout, job, parts.count, parts.rows);
  } else if constexpr (Name::kind == 'g') {
    multiply_general<conj>(layout, job);
  } else if constexpr (Name::kind == 't' && Name::transposed) {
    multiply_triangular_transposed<conj, lower>(layout, job);
  } else {
    constexpr bool own = own_conjugated<Name>, mirror = mirror_conjugated<Name>;
    add_whole_rows<own>(layout, job);
    if constexpr (Name::kind == 't')
      mend_rows<false, own, false, lower>(layout, job);
    else
      mend_rows<true, own, mirror, lower>(layout, job);
  }
}

// Every stored diagonal entry counts, in its order, in each right-hand side.
template <bool Conj, class T, class I>
[[gnu::noinline]] void multiply_diagonal(const RowJob<T, I> &given, I sides, I b_row, I b_side, I c_row,
                                         I c_side) {
  const RowJob<T, I> job = given;
  for (I i = job.first; i < job.last; ++i) {
    const Row<T, I> row = row_of(job, i);
    const T *const b = job.x + wrapped_product(i, b_row);
    T *const c = job.y + wrapped_product(i, c_row);
    for (I p = 0; p < row.count; ++p) {
      if (get(row.columns + p) != row.key) continue;
      const auto a = times<T, Conj>(fetch(row.values + p), job.alpha);
      for (I side = 0; side < sides; ++side)
        add_to(c + wrapped_product(side, c_side), times<T>(a, fetch(b + wrapped_product(side, b_side))));
    }
  }
}

template <class Name, class T, class I>
inline void csr_mm_seq(const I *m, const I *nrhs, const T *alpha, const CompressedRows<T, I> &matrix,
                       const T *b, const I *ldb, T *c, const I *ldc) {
  if (*m <= 0 || *nrhs <= 0) return;
  // From an element to that of the next row, and to that of the next right-hand side.
  constexpr bool columns = Name::base == 1;
  const I b_row = columns ? 1 : *ldb, b_side = columns ? *ldb : 1;
  const I c_row = columns ? 1 : *ldc, c_side = columns ? *ldc : 1;
  if constexpr (Name::unit) {
    const tnk_int count = *m, incb = b_row, incc = c_row;
    for (I side = 0; side < *nrhs; ++side)
      host_blas<T>::axpy(&count, alpha, b + wrapped_product(side, b_side), &incb,
                         c + wrapped_product(side, c_side), &incc);
  } else {
    multiply_diagonal<Name::conjugated, T, I>(
        {matrix, get(matrix.row_start), 0, *m, Name::base, fetch(alpha), b, c}, *nrhs, b_row, b_side, c_row,
        c_side);
  }
}

// The entries of one element type: a source file each.
#define TNK_CSR_MM_PAR_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, mm,                                              \
                   par)(const I *first, const I *last, const I *m, const I *n, const T *alpha,               \
                        const T *values, const I *col_index, const I *row_start, const I *row_end,           \
                        const T *b, const I *ldb, T *c, const I *ldc) {                                      \
    tnk::sparse::csr_mm_par<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        first, last, m, n, alpha, {values, col_index, row_start, row_end}, b, ldb, c, ldc);                  \
  }
#define TNK_CSR_MM_SEQ_ENTRY(op, kind, tri, diag, p, t, T, I, base, l)                                       \
  void TNK_SP_NAME(op, kind, tri, diag, p, t, csr, base, l, mm, seq)(                                        \
      const I *m, const I *nrhs, const T *alpha, const T *values, const I *col_index, const I *row_start,    \
      const I *row_end, const T *b, const I *ldb, T *c, const I *ldc) {                                      \
    tnk::sparse::csr_mm_seq<TNK_SP_LETTERS(base, op, kind, tri, diag), T, I>(                                \
        m, nrhs, alpha, {values, col_index, row_start, row_end}, b, ldb, c, ldc);                            \
  }

} // namespace tnk::sparse
