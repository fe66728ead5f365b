// Loops over sparse matrices as a user would write them, for the same compiler flags as the kernels.
#pragma once

#include <tnk/types.h>

namespace tnk::bench::plain {

// y += alpha A x. Numbers and pointers count from 1.
void csr_mv(tnk_int rows, double alpha, const double *values, const tnk_int *col_index,
            const tnk_int *row_start, const double *x, double *y);
void coo_mv(tnk_int entries, double alpha, const double *values, const tnk_int *row_index,
            const tnk_int *col_index, const double *x, double *y);

} // namespace tnk::bench::plain
