// The peer of the compressed-row kernels: Eigen, when its headers were there at compile time.
#pragma once

#include <cstdint>

namespace tnk::bench {

// y += alpha A x with column numbers and row pointers from 0. I is an integer type.
template <class I>
using RowsTimesVector = void(I rows, I columns, double alpha, const double *values, const I *col_index,
                             const I *row_start, const double *x, double *y);

// Null without Eigen. I is of 32 or 64 bits.
template <class I> RowsTimesVector<I> *eigen_rows_times_vector();

// Compressed rows or columns of doubles, all numbers from 0.
struct EigenRows {
  std::int64_t n;
  const double *values;
  const std::int64_t *numbers, *starts;
};

// What else is measured beside Eigen. Results are counted and then dropped.
struct EigenSparse {
  // X := alpha T^-1 B by columns of `sides` right-hand sides, T the triangle, which is all there is, or its transpose.
  void (*solve)(const EigenRows &t, bool lower, bool transposed, std::int64_t sides, double alpha,
                const double *b, double *x);
  // Entries of A from triples (list, which is kept, of numbers from 1), of A by columns, of A + beta B.
  std::int64_t (*from_triples)(const EigenRows &a, const std::int64_t *rows, const std::int64_t *columns);
  std::int64_t (*to_columns)(const EigenRows &a);
  std::int64_t (*add)(const EigenRows &a, double beta, const EigenRows &b);
};

// Null without Eigen.
const EigenSparse *eigen_sparse();

} // namespace tnk::bench
