// Conversions: from any storage to compressed rows, and from these to any. Each result is one block of memory, found when
// its size is known.
#include <algorithm>
#include <cstring>
#include <tnk/sparse.h>

#include "host/routines/element.h"
#include "host/routines/sparse/arguments.h"
#include "host/routines/sparse/made.h"
#include "host/routines/sparse/pivots.h"
#include "host/service/promise.h"

namespace tnk::host::sparse {

#define TNK_INSTANTIATE(T)                                                                                   \
  template <> Converters<T> &converters<T>() {                                                               \
    static Converters<T> all;                                                                                \
    return all;                                                                                              \
  }
TNK_INSTANTIATE(float)
TNK_INSTANTIATE(double)
TNK_INSTANTIATE(tnk_complex8)
TNK_INSTANTIATE(tnk_complex16)
#undef TNK_INSTANTIATE

namespace {

constexpr std::int64_t index_size = sizeof(tnk_int);

tnk_int block_count(tnk_int m, tnk_int size) {
  return m / size + (m % size != 0);
}

// A conversion in one element type, with what its kernels' jobs share.
template <class T> class Conversion {
public:
  Conversion(const char *routine, tnk_int base, bool upper) : routine_(routine), base_(base), upper_(upper) {}

  // Compressed rows one after another, with pointers from the base; `rows_wanted` of them, those behind the last one
  // empty.
  tnk_sparse_status to_rows(const tnk_sparse_matrix &a, tnk_int rows_wanted, Made<T> &rows) {
    const tnk_int m = a.m, n = a.n, spare = rows_wanted - m;
    switch (a.storage) {
    case TNK_SPARSE_CSR:
      return in_order<T>(a, m, spare, base_, 0, 1, false, rows) ? TNK_SPARSE_OK : no_memory(routine_);
    case TNK_SPARSE_COO: {
      if (!rows.take(a.nnz, a.nnz, 0, rows_wanted + 1)) return no_memory(routine_);
      Made<T> triples;
      triples.view(a);
      tnk_int count = a.nnz;
      const auto kernel = converters<T>().csrcoo.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      const tnk_int job[] = {1, base_, base_, 0, count, 0};
      kernel(job, &rows_wanted, rows.values, rows.col_index, rows.pointer, &count, triples.values,
             triples.row_index, triples.col_index, &info_);
      break;
    }
    case TNK_SPARSE_CSC: {
      const tnk_int larger = std::max(rows_wanted, n);
      Made<T> columns;
      if (!in_order<T>(a, n, larger - n, base_, 0, 1, false, columns)) return no_memory(routine_);
      if (!rows.take(columns.a.nnz, columns.a.nnz, 0, larger + 1)) return no_memory(routine_);
      const auto kernel = converters<T>().csrcsc.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      const tnk_int job[] = {1, base_, base_, 0, 0, 0};
      kernel(job, &larger, rows.values, rows.col_index, rows.pointer, columns.values, columns.row_index,
             columns.pointer, &info_);
      break;
    }
    case TNK_SPARSE_BSR:
      if (const auto status = from_blocks(a, rows); status != TNK_SPARSE_OK) return status;
      break;
    case TNK_SPARSE_DIA: {
      const tnk_int most = a.diag_count * m;
      if (!rows.take(most, most, 0, m + 1)) return no_memory(routine_);
      const auto kernel = converters<T>().csrdia.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      const tnk_int job[] = {1, base_, 0, 0, 0, 0};
      tnk_int count = a.diag_count;
      kernel(job, &m, rows.values, rows.col_index, rows.pointer,
             const_cast<T *>(static_cast<const T *>(a.values)), &a.diag_stride,
             const_cast<tnk_int *>(a.diag_distance), &count, nullptr, nullptr, nullptr, &info_);
      break;
    }
    default: {
      const tnk_int most = m > 0 ? a.row_start[m] - a.row_start[0] : 0;
      if (!rows.take(most, most, 0, m + 1)) return no_memory(routine_);
      const auto kernel = converters<T>().csrsky.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      const tnk_int job[] = {1, base_, m > 0 ? a.row_start[0] : 0, upper_, most, 0};
      kernel(job, &m, rows.values, rows.col_index, rows.pointer,
             const_cast<T *>(static_cast<const T *>(a.values)), const_cast<tnk_int *>(a.row_start), &info_);
    }
    }
    rows.shape(TNK_SPARSE_CSR, m, n, rows.pointer[m] - base_);
    return TNK_SPARSE_OK;
  }

  tnk_sparse_status from_rows(Made<T> &rows, tnk_sparse_storage storage, tnk_int block_size, Made<T> &to) {
    const tnk_int m = rows.a.m, n = rows.a.n, count = rows.a.nnz, larger = std::max(m, n);
    switch (storage) {
    case TNK_SPARSE_CSR:
      return in_order<T>(rows.a, m, 0, base_, 0, 1, true, to) ? TNK_SPARSE_OK : no_memory(routine_);
    case TNK_SPARSE_COO: {
      if (!to.take(count, count, count, 0)) return no_memory(routine_);
      const auto kernel = converters<T>().csrcoo.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      const tnk_int job[] = {0, base_, base_, 0, count, 0};
      tnk_int written;
      kernel(job, &m, rows.values, rows.col_index, rows.pointer, &written, to.values, to.row_index,
             to.col_index, &info_);
      break;
    }
    case TNK_SPARSE_CSC: {
      if (!to.take(count, 0, count, larger + 1)) return no_memory(routine_);
      const auto kernel = converters<T>().csrcsc.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      const tnk_int job[] = {0, base_, base_, 0, 0, 0};
      kernel(job, &larger, rows.values, rows.col_index, rows.pointer, to.values, to.row_index, to.pointer,
             &info_);
      break;
    }
    case TNK_SPARSE_BSR:
      return to_blocks(rows, block_size, to);
    case TNK_SPARSE_DIA:
      return to_diagonals(rows, to);
    default: {
      Made<T> profile;
      if (!profile.take(0, 0, 0, m + 1)) return no_memory(routine_);
      const auto kernel = converters<T>().csrsky.get(routine_);
      if (!kernel) return TNK_SPARSE_NO_KERNEL;
      tnk_int job[] = {0, base_, base_, upper_, 0, 1};
      kernel(job, &m, rows.values, rows.col_index, rows.pointer, nullptr, profile.pointer, &info_);
      const tnk_int elements = profile.pointer[m] - base_;
      if (!to.take(elements, 0, 0, m + 1)) return no_memory(routine_);
      job[4] = elements, job[5] = 0;
      kernel(job, &m, rows.values, rows.col_index, rows.pointer, to.values, to.pointer, &info_);
    }
    }
    to.shape(storage, m, n, count);
    return TNK_SPARSE_OK;
  }

private:
  // Zeros leave, since those that fill a block up are not to be told from others, and so do columns behind the last one;
  // rows are put in order.
  tnk_sparse_status from_blocks(const tnk_sparse_matrix &a, Made<T> &rows) {
    const tnk_int m = a.m, size = a.block_size, area = size * size;
    Made<T> blocks;
    if (!in_order<T>(a, block_rows(a), 0, base_, 0, area, false, blocks)) return no_memory(routine_);
    const tnk_int most = blocks.a.nnz * area;
    if (!rows.take(most, most, 0, m + 1)) return no_memory(routine_);
    const auto kernel = converters<T>().csrbsr.get(routine_);
    const auto sort = converters<T>().sortrow.get(routine_);
    if (!kernel || !sort) return TNK_SPARSE_NO_KERNEL;
    const tnk_int job[] = {1, base_, base_, 0, 0, 1};
    kernel(job, &m, &size, &area, rows.values, rows.col_index, rows.pointer, blocks.values, blocks.col_index,
           blocks.pointer, &info_);
    tnk_int at = 0;
    for (tnk_int i = 0, p = 0; i < m; ++i) {
      const tnk_int first = at, end = rows.pointer[i + 1] - base_;
      for (; p < end; ++p) {
        if (is_value(rows.values[p], 0) || rows.col_index[p] - base_ >= a.n) continue;
        rows.values[at] = rows.values[p];
        rows.col_index[at++] = rows.col_index[p];
      }
      rows.pointer[i] = first + base_;
      const tnk_int one = 1, row[] = {1, at - first + 1};
      sort(&one, &one, row, rows.col_index + first, rows.values + first);
    }
    rows.pointer[m] = at + base_;
    return TNK_SPARSE_OK;
  }

  tnk_sparse_status to_blocks(Made<T> &rows, tnk_int size, Made<T> &to) {
    const tnk_int m = rows.a.m, area = size * size, lists = block_count(m, size);
    const auto kernel = converters<T>().csrbsr.get(routine_);
    if (!kernel) return TNK_SPARSE_NO_KERNEL;
    tnk_int job[] = {0, base_, base_, 0, 0, 0};
    const auto run = [&](Made<T> &out) {
      // With a size above the order the kernel counts one block row too many for none.
      const ScratchPromise table(((m - 1) / size + 1) * index_size);
      if (!table.given()) return false;
      kernel(job, &m, &size, &area, rows.values, rows.col_index, rows.pointer, out.values, out.col_index,
             out.pointer, &info_);
      return true;
    };
    Made<T> pattern;
    if (!pattern.take(0, rows.a.nnz, 0, lists + 1) || !run(pattern)) return no_memory(routine_);
    const tnk_int blocks = pattern.pointer[lists] - base_;
    tnk_int elements;
    if (__builtin_mul_overflow(blocks, area, &elements) || elements > elements_in_memory<T> ||
        !to.take(elements, blocks, 0, lists + 1))
      return no_memory(routine_);
    job[5] = 1;
    if (!run(to)) return no_memory(routine_);
    to.shape(TNK_SPARSE_BSR, m, rows.a.n, blocks);
    to.a.block_size = size;
    return TNK_SPARSE_OK;
  }

  tnk_sparse_status to_diagonals(Made<T> &rows, Made<T> &to) {
    const tnk_int m = rows.a.m, most = m > 0 ? 2 * m - 1 : 0;
    const auto kernel = converters<T>().csrdia.get(routine_);
    if (!kernel) return TNK_SPARSE_NO_KERNEL;
    tnk_int count = 0;
    {
      const Block marks(tnk_serv_allocate(most, 64));
      if (!marks.address) return no_memory(routine_);
      char *const has_entries = static_cast<char *>(marks.address);
      std::memset(has_entries, 0, static_cast<std::size_t>(most));
      for (tnk_int i = 0; i < m; ++i)
        for (tnk_int p = rows.pointer[i] - base_; p < rows.pointer[i + 1] - base_; ++p)
          has_entries[rows.col_index[p] - base_ - i + m - 1] = 1;
      count = std::count(has_entries, has_entries + most, 1);
      tnk_int elements;
      if (__builtin_mul_overflow(count, m, &elements) || elements > elements_in_memory<T> ||
          !to.take(elements, count, 0, 0))
        return no_memory(routine_);
      for (tnk_int k = 0, at = 0; k < most; ++k)
        if (has_entries[k]) to.col_index[at++] = k - (m - 1);
    }
    const ScratchPromise table(most * index_size);
    if (!table.given()) return no_memory(routine_);
    const tnk_int job[] = {0, base_, 0, 0, 0, 0};
    kernel(job, &m, rows.values, rows.col_index, rows.pointer, to.values, &m, to.col_index, &count, nullptr,
           nullptr, nullptr, &info_);
    to.shape(TNK_SPARSE_DIA, m, m, 0);
    to.a.diag_stride = m, to.a.diag_count = count, to.a.diag_distance = to.col_index;
    return TNK_SPARSE_OK;
  }

  const char *routine_;
  tnk_int base_, upper_, info_ = 0;
};

} // namespace

template <class T>
tnk_sparse_status rows_of(const char *routine, const tnk_sparse_matrix &a, tnk_int base, bool upper,
                          Made<T> &rows) {
  return Conversion<T>(routine, base, upper).to_rows(a, a.m, rows);
}
template tnk_sparse_status rows_of(const char *, const tnk_sparse_matrix &, tnk_int, bool, Made<float> &);
template tnk_sparse_status rows_of(const char *, const tnk_sparse_matrix &, tnk_int, bool, Made<double> &);
template tnk_sparse_status rows_of(const char *, const tnk_sparse_matrix &, tnk_int, bool,
                                   Made<tnk_complex8> &);
template tnk_sparse_status rows_of(const char *, const tnk_sparse_matrix &, tnk_int, bool,
                                   Made<tnk_complex16> &);

namespace {

bool is_square_form(tnk_sparse_storage storage) {
  return storage == TNK_SPARSE_DIA || storage == TNK_SPARSE_SKY || storage == TNK_SPARSE_BSR;
}

// Only a skyline asks for the triangle, whatever the kind.
bool names_triangle(const Check &check, const tnk_sparse_descriptor &d, tnk_int storage) {
  return storage != TNK_SPARSE_SKY ||
         check.range(2, "descriptor->triangle", number_of(d.triangle), TNK_SPARSE_LOWER, TNK_SPARSE_UPPER);
}

template <class T>
bool source_is_sound(const Check &check, const tnk_sparse_matrix *a, const tnk_sparse_descriptor *d) {
  return is_sound(check, 1, a, 2, d, all_storages) && fits_memory<T>(check, 1, *a) &&
         check.number(1, "matrix->n", a->n, a->n == a->m || !is_square_form(a->storage),
                      "as many columns as rows in this storage") &&
         names_triangle(check, *d, a->storage) &&
         (d->check == TNK_SPARSE_TRUSTED || indices_are_sound(check, 1, *a, *d));
}

template <class T>
tnk_sparse_status convert(const char *routine, const tnk_sparse_matrix *a, const tnk_sparse_descriptor *d,
                          tnk_int storage, tnk_int block_size, tnk_sparse_matrix *result) {
  const Check check(routine);
  if (!source_is_sound<T>(check, a, d) ||
      !check.range(3, "storage", storage, TNK_SPARSE_CSR, TNK_SPARSE_CSC) ||
      !check.number(1, "matrix->n", a->n,
                    a->n == a->m || !is_square_form(static_cast<tnk_sparse_storage>(storage)),
                    "as many columns as rows for this storage") ||
      !names_triangle(check, *d, storage) ||
      (storage == TNK_SPARSE_BSR && !check.range(4, "block_size", block_size, 1, 1 << 20)) ||
      !check.address(5, "result", result))
    return TNK_SPARSE_BAD_ARGUMENT;
  const auto to = static_cast<tnk_sparse_storage>(storage);
  Conversion<T> conversion(routine, d->base, d->triangle == TNK_SPARSE_UPPER);
  Made<T> rows, made;
  tnk_sparse_status status = conversion.to_rows(*a, to == TNK_SPARSE_CSC ? std::max(a->m, a->n) : a->m, rows);
  if (status == TNK_SPARSE_OK && !(to == TNK_SPARSE_CSR && rows.a.owned))
    status = conversion.from_rows(rows, to, block_size, made);
  if (status == TNK_SPARSE_OK) *result = (made.a.owned ? made : rows).release();
  return status;
}

template <class T>
tnk_sparse_status from_dense(const char *routine, tnk_int m, tnk_int n, const T *dense, tnk_int ld,
                             const tnk_sparse_descriptor *d, tnk_sparse_matrix *result) {
  const Check check(routine);
  if (!check.length<T>(1, "m", &m) || !check.length<T>(2, "n", &n) ||
      !check.matrix(3, "dense", dense, m > 0 && n > 0, "ld", &ld, m, n) ||
      !check.address(5, "descriptor", d) || !check.range(5, "descriptor->base", d->base, 0, 1) ||
      !check.address(6, "result", result))
    return TNK_SPARSE_BAD_ARGUMENT;
  const auto kernel = converters<T>().dnscsr.get(routine);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;
  tnk_int count = 0, info;
  for (tnk_int j = 0; j < n; ++j)
    for (tnk_int i = 0; i < m; ++i) count += !is_value(dense[i + j * ld], 0);
  Made<T> made;
  if (!made.take(count, count, 0, m + 1)) return no_memory(routine);
  const tnk_int job[] = {0, d->base, 0, 2, 0, 0};
  kernel(job, &m, &n, const_cast<T *>(dense), &ld, made.values, made.col_index, made.pointer, &info);
  made.shape(TNK_SPARSE_CSR, m, n, count);
  *result = made.release();
  return TNK_SPARSE_OK;
}

template <class T>
tnk_sparse_status to_dense(const char *routine, const tnk_sparse_matrix *a, const tnk_sparse_descriptor *d,
                           T *dense, tnk_int ld) {
  const Check check(routine);
  if (!source_is_sound<T>(check, a, d) ||
      !check.matrix(3, "dense", dense, a->m > 0 && a->n > 0, "ld", &ld, a->m, a->n))
    return TNK_SPARSE_BAD_ARGUMENT;
  const auto kernel = converters<T>().dnscsr.get(routine);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;
  Made<T> rows;
  Conversion<T> conversion(routine, d->base, d->triangle == TNK_SPARSE_UPPER);
  const tnk_sparse_status status = conversion.to_rows(*a, a->m, rows);
  if (status != TNK_SPARSE_OK) return status;
  const tnk_int job[] = {1, d->base, 0, 2, 0, 0};
  tnk_int info;
  kernel(job, &a->m, &a->n, dense, &ld, rows.values, rows.col_index, rows.pointer, &info);
  return TNK_SPARSE_OK;
}

} // namespace
} // namespace tnk::host::sparse

#define TNK_PUBLIC(t, T)                                                                                     \
  tnk_sparse_status tnk_sparse_##t##convert(                                                                 \
      const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor, tnk_sparse_storage storage,  \
      tnk_int block_size, tnk_sparse_matrix *result) {                                                       \
    return tnk::host::sparse::convert<T>("tnk_sparse_" #t "convert", matrix, descriptor, storage,            \
                                         block_size, result);                                                \
  }                                                                                                          \
  tnk_sparse_status tnk_sparse_##t##from_dense(tnk_int m, tnk_int n, const T *dense, tnk_int ld,             \
                                               const tnk_sparse_descriptor *descriptor,                      \
                                               tnk_sparse_matrix *result) {                                  \
    return tnk::host::sparse::from_dense("tnk_sparse_" #t "from_dense", m, n, dense, ld, descriptor,         \
                                         result);                                                            \
  }                                                                                                          \
  tnk_sparse_status tnk_sparse_##t##to_dense(                                                                \
      const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor, T *dense, tnk_int ld) {      \
    return tnk::host::sparse::to_dense("tnk_sparse_" #t "to_dense", matrix, descriptor, dense, ld);          \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC

void tnk_sparse_free(tnk_sparse_matrix *result) {
  if (!result || !result->owned) return;
  tnk_serv_tnk_free(result->owned);
  *result = {};
}
