// Division by the diagonal, and Gauss-Seidel sweeps over block rows and block columns. Elements are updated one after
// another, within a block too: the sweep is that of the matrix of elements.
#include "kernel/sparse/aux/blocks.h"
#include "kernel/sparse/quotient.h"

namespace tnk::sparse {
namespace {

template <class Side, class T, class I> void divide_by_diagonal(I m, I flag, Blocks<Side, T, I> a, T *work) {
  if (m == 0 || flag == 0) return;
  for (I i = 0; i < m; ++i) {
    const auto row = a.row(i);
    if (row.first >= row.end) continue;
    I p = row.first;
    while (p < row.end - 1 && a.number(p) != i) ++p;
    for (I j = 0; j < a.size; ++j) {
      T *const target = work + wrapped_product(i, a.size) + j;
      put(target, quotient(get(target), a.at(p, j, j)));
    }
  }
}

// update(block, element) for all elements of a vector of m blocks, from the first to the last, or backwards.
template <class I, class Update> void sweep(bool backwards, I m, I size, Update update) {
  const I count = m > 0 && size > 0 ? wrapped_product(m, size) : 0;
  for (I step = 0; step < count; ++step) {
    const I k = backwards ? count - 1 - step : step;
    update(k / size, k % size);
  }
}

template <class Side, class T, class I>
void sweep_rows(I flag, I m, Blocks<Side, T, I> a, const T *rhs, T *x) {
  sweep(flag != 0, m, a.size, [=](I i, I r) {
    T sum{}, diagonal{};
    const auto row = a.row(i);
    for (I p = row.first; p < row.end; ++p) {
      const I j = a.number(p);
      for (I s = 0; s < a.size; ++s)
        if (i == j && r == s)
          diagonal += a.at(p, r, s);
        else
          sum += a.at(p, r, s) * get(x + wrapped_product(j, a.size) + s);
    }
    const I at = wrapped_product(i, a.size) + r;
    put(x + at, quotient(get(rhs + at) - sum, diagonal));
  });
}

template <class Side, class T, class I>
void sweep_columns(I flag, I m, Blocks<Side, T, I> a, T *residual, T *x) {
  sweep(flag != 0, m, a.size, [=](I j, I s) {
    const auto column = a.row(j);
    T diagonal{};
    for (I p = column.first; p < column.end; ++p)
      if (a.number(p) == j) diagonal += a.at(p, s, s);
    const I at = wrapped_product(j, a.size) + s;
    T *const target = x + at;
    const T t = quotient(get(residual + at), diagonal);
    put(target, get(target) + t);
    for (I p = column.first; p < column.end; ++p) {
      T *const block = residual + wrapped_product(a.number(p), a.size);
      for (I r = 0; r < a.size; ++r) put(block + r, get(block + r) - a.at(p, r, s) * t);
    }
  });
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES_OF_SIDE(p, t, form, T, I, Side)                                                              \
  void p##t##bsr_##form##invdiag(const I *m, const I *flag, const I *block_size, const T *values,            \
                                 const I *col_index, const I *row_start, const I *row_end, T *work) {        \
    tnk::sparse::divide_by_diagonal<tnk::sparse::Side, T, I>(                                                \
        *m, *flag, {*block_size, values, col_index, row_start, row_end}, work);                              \
  }                                                                                                          \
  void p##t##bsr_##form##gauss(const I *flag, const I *m, const I *block_size, const T *values,              \
                               const I *col_index, const I *row_start, const I *row_end, const T *rhs,       \
                               T *x) {                                                                       \
    tnk::sparse::sweep_rows<tnk::sparse::Side, T, I>(                                                        \
        *flag, *m, {*block_size, values, col_index, row_start, row_end}, rhs, x);                            \
  }                                                                                                          \
  void p##t##bsc_##form##gauss(const I *flag, const I *m, const I *block_size, const T *values,              \
                               const I *row_index, const I *col_start, const I *col_end, T *residual,        \
                               T *x) {                                                                       \
    tnk::sparse::sweep_columns<tnk::sparse::Side, T, I>(                                                     \
        *flag, *m, {*block_size, values, row_index, col_start, col_end}, residual, x);                       \
  }
#define ENTRIES(p, t, T, I, ...)                                                                             \
  ENTRIES_OF_SIDE(p, t, , T, I, ByColumns)                                                                   \
  ENTRIES_OF_SIDE(p, t, cspblas_, T, I, ByRows)
TNK_SP_AUX_EACH(ENTRIES, )
