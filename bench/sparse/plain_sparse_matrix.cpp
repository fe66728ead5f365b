#include "bench/sparse/plain_sparse_matrix.h"

namespace tnk::bench::plain {

void csr_mv(tnk_int rows, double alpha, const double *values, const tnk_int *col_index,
            const tnk_int *row_start, const double *x, double *y) {
  for (tnk_int i = 0; i < rows; ++i) {
    double sum = 0;
    for (tnk_int p = row_start[i] - 1; p < row_start[i + 1] - 1; ++p) sum += values[p] * x[col_index[p] - 1];
    y[i] += alpha * sum;
  }
}

void coo_mv(tnk_int entries, double alpha, const double *values, const tnk_int *row_index,
            const tnk_int *col_index, const double *x, double *y) {
  for (tnk_int p = 0; p < entries; ++p) y[row_index[p] - 1] += alpha * values[p] * x[col_index[p] - 1];
}

} // namespace tnk::bench::plain
