// The peer of the compressed-row kernels: Eigen, when its headers were there at compile time.
#pragma once

namespace tnk::bench {

// y += alpha A x with column numbers and row pointers from 0. I is an integer type.
template <class I>
using RowsTimesVector = void(I rows, I columns, double alpha, const double *values, const I *col_index,
                             const I *row_start, const double *x, double *y);

// Null without Eigen. I is of 32 or 64 bits.
template <class I> RowsTimesVector<I> *eigen_rows_times_vector();

} // namespace tnk::bench
