// Compressed rows and block rows.
#include "kernel/sparse/convert/rows.h"
#include <tnk/services.h>
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// Blocks of size * size elements, `stride` from one to the next: by rows where their base is 0, by columns where it is 1.
template <class T, class I> struct Blocks {
  I size, stride;
  T *values;
  I *columns, *pointer;
  I base;

  T *element(I block, I r, I s) const {
    return values + wrapped_product(block, stride) + (base == 0 ? r * size + s : s * size + r);
  }
};

template <class T, class I>
void to_blocks(const I *job, I m, const Rows<T, I> &a, const Blocks<T, I> &b, I *info) {
  const I block_rows = (m - 1) / b.size + 1; // a size of 0 is the caller's fault, and faults
  auto *const place = static_cast<I *>(
      tnk_serv_allocate(static_cast<std::int64_t>(block_rows) * static_cast<std::int64_t>(sizeof(I)), 128));
  if (b.stride < wrapped_product(b.size, b.size)) *info = 2;
  if (b.size < 1) *info = 1;
  if (*info != 0) return; // keeping the table, as this interface always has: callers are to test first
  put(b.pointer, b.base);
  if (m > 0) {
    const bool with_values = job[5] > 0;
    // One more than the place of the last block of each block column.
    clear(place, block_rows);
    I count = 0;
    for (I block_row = 0; block_row < block_rows; ++block_row) {
      const I before = count, first = block_row * b.size, rows = std::min<I>(b.size, m - first);
      for (I r = 0; r < rows; ++r)
        for (I k = a.begin(first + r); k < a.end(first + r); ++k) {
          const I column = a.column(k), block_column = column / b.size;
          if (get(place + block_column) <= before) {
            put(b.columns + count, static_cast<I>(block_column + b.base));
            if (with_values) clear(b.element(count, 0, 0), b.size * b.size);
            put(place + block_column, ++count);
          }
          if (with_values)
            add_entry(b.element(get(place + block_column) - 1, r, column % b.size), a.value(k));
        }
      put(b.pointer + block_row + 1, static_cast<I>(count + b.base));
    }
  }
  tnk_serv_deallocate(place);
}

// Every element of a block counts, zeros too, but for those beyond the last row and column.
template <class T, class I>
void from_blocks(const I *job, I m, T *values, I *columns, I *pointer, const Blocks<T, I> &b) {
  const I base = job[1];
  const bool with_values = job[5] > 0;
  I count = 0;
  put(pointer, base);
  for (I i = 0; i < m; ++i) {
    const I block_row = i / b.size, r = i % b.size;
    const I end = get(b.pointer + block_row + 1) - b.base;
    for (I block = get(b.pointer + block_row) - b.base; block < end; ++block) {
      const I first = (get(b.columns + block) - b.base) * b.size;
      for (I s = 0; s < b.size && first + s < m; ++s, ++count) {
        put(columns + count, static_cast<I>(first + s + base));
        if (with_values) put(values + count, get(b.element(block, r, s)));
      }
    }
    put(pointer + i + 1, static_cast<I>(count + base));
  }
}

template <class T, class I>
void csrbsr(const I *job, I m, I block_size, I block_stride, T *csr_values, I *col_index, I *row_pointer,
            T *bsr_values, I *block_col_index, I *block_row_pointer, I *info) {
  *info = 0;
  const Blocks<T, I> blocks = {block_size,      block_stride,      bsr_values,
                               block_col_index, block_row_pointer, job[2]};
  if (job[0] == 0)
    to_blocks(job, m, {csr_values, col_index, row_pointer, job[1]}, blocks, info);
  else
    from_blocks(job, m, csr_values, col_index, row_pointer, blocks);
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##tnk_##t##csrbsr(const I *job, const I *m, const I *block_size, const I *block_stride,              \
                          T *csr_values, I *col_index, I *row_pointer, T *bsr_values, I *block_col_index,    \
                          I *block_row_pointer, I *info) {                                                   \
    tnk::sparse::csrbsr(job, *m, *block_size, *block_stride, csr_values, col_index, row_pointer, bsr_values, \
                        block_col_index, block_row_pointer, info);                                           \
  }
TNK_SP_AUX_EACH(ENTRIES, )
