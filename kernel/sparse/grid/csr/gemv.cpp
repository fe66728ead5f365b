// Compressed rows times a vector, plainly: y := A x in rows first ... last. Rows follow each other without gaps, under
// one array of pointers.
#include "kernel/sparse/grid/csr/jumps.h"
#include <tnk/spblas_grid.h>

namespace tnk::sparse {

template <class I>
static void csr_gemv(I first, I last, const CompressedRows<double, I> &matrix, const double *x, double *y) {
  if (last < first) return;
  const I base = get(matrix.row_start);
  const double *const columns = counted_from<const double, I>(x, 1);
  each_row(
      matrix, base, first - 1, last, I{1}, [&](I i) TNK_INLINED { return row_at(matrix, base, i, i); },
      [&](const auto &row, I i, auto jumps) TNK_INLINED {
        put(y + i, jumps() ? row_sum_of_jumps<double>(row.values, row.columns, row.count, columns)
                           : row_sum<double>(row.values, row.columns, row.count, columns));
      });
}

#define TNK_CSR_GEMV_ENTRY(p, I)                                                                             \
  void p##dcsr1ng__f__gemvout_par(const I *first, const I *last, const I *, const I *, const double *values, \
                                  const I *col_index, const I *row_pointer, const void *, const double *x,   \
                                  double *y) {                                                               \
    tnk::sparse::csr_gemv<I>(*first, *last, {values, col_index, row_pointer, row_pointer + 1}, x, y);        \
  }

} // namespace tnk::sparse

TNK_CSR_GEMV_ENTRY(tnk_spblas_, tnk_int)
TNK_CSR_GEMV_ENTRY(tnk_spblas_lp64_, int32_t)
