// Compressed rows and triples; compressed rows and compressed columns.
#include "kernel/sparse/convert/rows.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

template <class T, class I>
void to_triples(const I *job, I n, const Rows<T, I> &a, I *nnz, T *values, I *rows, I *columns, I *info) {
  const I shift = job[2] - job[1], room = job[4];
  *info = 0;
  I count = 0;
  for (I i = 0; i < n; ++i)
    for (I k = a.begin(i); k < a.end(i); ++k, ++count) {
      if (count >= room) {
        *info = 1;
        return;
      }
      put(values + count, a.value(k));
      put(rows + count, static_cast<I>(i + job[2]));
      put(columns + count, static_cast<I>(get(a.columns + k) + shift));
    }
  if (count > room) // no entries, and less room than for none
    *info = 1;
  else
    *nnz = count;
}

template <class T, class I>
void from_triples(const I *job, I n, T *values, I *columns, I *pointer, I nnz, const T *from_values,
                  const I *from_rows, const I *from_columns, I *info) {
  const I base = job[1], from_base = job[2], shift = from_base - base;
  *info = 0;
  if (n < 0) return;
  if (job[5] == 2) { // in the order of rows already
    I k = 0;
    for (I i = 0; i < n; ++i) {
      put(pointer + i, static_cast<I>(k + base));
      for (; k < nnz && get(from_rows + k) - from_base <= i; ++k) {
        put(values + k, get(from_values + k));
        put(columns + k, static_cast<I>(get(from_columns + k) - shift));
      }
    }
    put(pointer + n, static_cast<I>(k + base));
    return;
  }
  RowFiller<I> filler(pointer, n, base);
  for (I k = 0; k < nnz; ++k) filler.count(get(from_rows + k) - from_base);
  filler.start();
  for (I k = 0; k < nnz; ++k) {
    const I at = filler.place(get(from_rows + k) - from_base);
    put(values + at, get(from_values + k));
    put(columns + at, static_cast<I>(get(from_columns + k) - shift));
  }
}

template <class T, class I>
void csrcoo(const I *job, I n, T *csr_values, I *col_index, I *row_pointer, I *nnz, T *coo_values,
            I *row_index, I *coo_col_index, I *info) {
  if (job[0] == 0)
    to_triples<T, I>(job, n, {csr_values, col_index, row_pointer, job[1]}, nnz, coo_values, row_index,
                     coo_col_index, info);
  else
    from_triples(job, n, csr_values, col_index, row_pointer, *nnz, coo_values, row_index, coo_col_index,
                 info);
}

// The columns of a square matrix, from its rows; or its rows from its columns, which is the same.
template <class T, class I> void turn(I n, Rows<T, I> a, T *values, I *rows, I *pointer, I base) {
  if (n < 0) return;
  RowFiller<I> filler(pointer, n, base);
  const I entries = n > 0 ? a.end(n - 1) : 0; // rows stand one after another, so none is asked for its end
#pragma GCC unroll 4
  for (I k = n > 0 ? a.begin(0) : 0; k < entries; ++k) filler.count(a.column(k));
  filler.start();
  for (I i = 0; i < n; ++i)
#pragma GCC unroll 4
    for (I k = a.begin(i), end = a.end(i); k < end; ++k) {
      const I at = filler.place(a.column(k));
      put(values + at, a.value(k));
      put(rows + at, static_cast<I>(i + base));
    }
}

template <class T, class I>
void csrcsc(const I *job, I n, T *csr_values, I *col_index, I *row_pointer, T *csc_values, I *row_index,
            I *col_pointer, I *info) {
  *info = 0;
  if (job[0] == 0)
    turn<T, I>(n, {csr_values, col_index, row_pointer, job[1]}, csc_values, row_index, col_pointer, job[2]);
  else
    turn<T, I>(n, {csc_values, row_index, col_pointer, job[2]}, csr_values, col_index, row_pointer, job[1]);
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##tnk_##t##csrcoo(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer, I *nnz,     \
                          T *coo_values, I *row_index, I *coo_col_index, I *info) {                          \
    tnk::sparse::csrcoo(job, *n, csr_values, col_index, row_pointer, nnz, coo_values, row_index,             \
                        coo_col_index, info);                                                                \
  }                                                                                                          \
  void p##tnk_##t##csrcsc(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer,             \
                          T *csc_values, I *row_index, I *col_pointer, I *info) {                            \
    tnk::sparse::csrcsc(job, *n, csr_values, col_index, row_pointer, csc_values, row_index, col_pointer,     \
                        info);                                                                               \
  }
TNK_SP_AUX_EACH(ENTRIES, )
