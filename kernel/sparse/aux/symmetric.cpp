// A symmetric matrix in compressed rows of one triangle times a vector.
#include "kernel/sparse/grid/csr/row.h"
#include <algorithm>
#include <tnk/spblas_aux.h>

namespace tnk::sparse {
namespace {

// Rows of a block are summed first and mirrored in a second pass: sums without stores between them, and entries that
// are still in a cache when they are mirrored.
constexpr int rows_of_a_block = 30000;

template <bool Upper, class I>
void symmetric(bool unit, I m, const double *values, const I *columns, const I *pointer, const double *x,
               double *y) {
  const double *const x_of = counted_from(x, I(1));
  double *const y_of = counted_from(y, I(1));
  const auto row = [=](I i, auto use) {
    const I start = get(pointer + i - 1);
    use(values + start, columns + start, get(pointer + i) - start);
  };
  // The first column on the other side, with the diagonal, or with a unit one that of the row itself.
  const I beside = unit ? 0 : Upper ? -1 : 1;
  for (I done = 0; done < m;) {
    const I first = done + 1, last = done + std::min<I>(rows_of_a_block, m - done);
    for (I i = first; i <= last; ++i)
      row(i, [=](const double *v, const I *c, I count) {
        const double sum = sum_beyond<double, Upper>(v, c, count, i + beside, x_of);
        put(y_of + i, get(y_of + i) + (unit ? sum + get(x_of + i) : sum));
      });
    for (I i = first; i <= last; ++i)
      row(i, [=](const double *v, const I *c, I count) {
        scatter_beyond<double, Upper, Sign::plus>(v, c, count, i, get(x_of + i), y_of);
      });
    done = last;
  }
}

} // namespace
} // namespace tnk::sparse

#define ENTRY(p, I)                                                                                          \
  void p##dcsrsymmvs(const I *flag, const I *m, const double *values, const I *col_index, const I *pointer,  \
                     const double *x, double *y) {                                                           \
    const bool unit = *flag & TNK_SPBLAS_UNIT;                                                               \
    if (*flag & TNK_SPBLAS_UPPER)                                                                            \
      tnk::sparse::symmetric<true>(unit, *m, values, col_index, pointer, x, y);                              \
    else                                                                                                     \
      tnk::sparse::symmetric<false>(unit, *m, values, col_index, pointer, x, y);                             \
  }
ENTRY(tnk_spblas_, tnk_int)
ENTRY(tnk_spblas_lp64_, int32_t)
