#include "host/routines/sparse/triples.h"

#include <cstring>
#include <tnk/services.h>
#include <tnk/spblas_convert.h>
#include <utility>

#include "host/dispatch/kernel_loader.h"
#include "host/routines/element.h"
#include "host/routines/sparse/block.h"
#include "host/routines/sparse/pivots.h"

namespace tnk::host::sparse {
namespace {

using FillPivoted = decltype(tnk_spblas_scoofill_coo2csr_data_ln);
#define TNK_LISTS(base)                                                                                      \
  {                                                                                                          \
    KernelEntry<FillPivoted>("tnk_spblas_scoofill_" base "coo2csr_data_ln"),                                 \
        KernelEntry<FillPivoted>("tnk_spblas_scoofill_" base "coo2csr_data_un")                              \
  }
KernelEntry<FillPivoted> fill_pivoted[2][2] = {TNK_LISTS("0"), TNK_LISTS("")}; // by base and triangle
#undef TNK_LISTS

} // namespace

template <class T> RowsOfTriples<T>::~RowsOfTriples() {
  tnk_serv_deallocate(block_);
}

template <class T>
tnk_sparse_status RowsOfTriples<T>::list(const Check &check, const char *routine, const tnk_sparse_matrix &a,
                                         const tnk_sparse_descriptor &d, bool transposed) {
  const tnk_int m = a.m, base = d.base;
  const bool unit = d.diagonal == TNK_SPARSE_UNIT, triangle = d.kind == TNK_SPARSE_TRIANGULAR;
  const bool upper = triangle && (d.triangle == TNK_SPARSE_UPPER) != transposed;
  const auto fill = fill_pivoted[base][upper].get(routine);
  if (!fill) return TNK_SPARSE_NO_KERNEL;
  const tnk_int *row = a.row_index, *col = a.col_index;
  if (transposed) std::swap(row, col);
  const auto no_memory = [&] {
    tnk_serv_check_ptr(nullptr, routine);
    return TNK_SPARSE_NO_MEMORY;
  };

  constexpr std::size_t index = sizeof(tnk_int);
  const Block lists(tnk_serv_allocate(Room().add(m, index).add(m, index).add(a.nnz, index).bytes(), 128));
  if (!lists.address) return no_memory();
  char *next = static_cast<char *>(lists.address);
  tnk_int *const diag_pos = Room::cut<tnk_int>(next, m), *const row_count = Room::cut<tnk_int>(next, m);
  tnk_int *const row_list = Room::cut<tnk_int>(next, a.nnz), kept = 0, status = 0;
  std::memset(diag_pos, 0, static_cast<std::size_t>(m) * sizeof(tnk_int));
  std::memset(row_count, 0, static_cast<std::size_t>(m) * sizeof(tnk_int));
  fill(&m, row, col, &a.nnz, diag_pos, row_count, &kept, row_list, &status);
  if (status != 0) return no_memory();

  const T *const from = static_cast<const T *>(a.values);
  if (!unit) {
    const bool careful = d.check != TNK_SPARSE_TRUSTED;
    for (tnk_int i = 0; i < m; ++i) {
      if (diag_pos[i] == 0) return refuse_pivot(check, i), TNK_SPARSE_BAD_ARGUMENT;
      if (careful && is_value(from[diag_pos[i] - 1], 0))
        return refuse_zero(check, i), TNK_SPARSE_BAD_ARGUMENT;
    }
    for (tnk_int k = 0; careful && k < a.nnz; ++k)
      if (row[k] == col[k] && diag_pos[row[k] - base] != k + 1) {
        refuse_row(check, "with several entries on the diagonal in row ", row[k] - base, "one in each row");
        return TNK_SPARSE_BAD_ARGUMENT;
      }
  }

  const tnk_int count = (triangle ? kept : 0) + (unit ? 0 : m);
  block_ = tnk_serv_allocate(Room().add(count, sizeof(T)).add(count, index).add(m + 1, index).bytes(), 128);
  if (!block_) return no_memory();
  next = static_cast<char *>(block_);
  T *const values = Room::cut<T>(next, count);
  tnk_int *const columns = Room::cut<tnk_int>(next, count), *const start = Room::cut<tnk_int>(next, m + 1);
  tnk_int at = 0;
  const tnk_int *list = row_list;
  for (tnk_int i = 0; i < m; ++i) {
    const auto append = [&](tnk_int entry) {
      values[at] = from[entry - 1];
      columns[at++] = col[entry - 1];
    };
    start[i] = at;
    if (!unit && upper) append(diag_pos[i]); // the kernel stops at it
    for (tnk_int k = triangle ? row_count[i] : 0; k > 0; --k) append(*list++);
    if (!unit && !upper) append(diag_pos[i]);
  }
  start[m] = at;
  rows.storage = TNK_SPARSE_CSR;
  rows.m = rows.n = m, rows.nnz = count;
  rows.values = values, rows.col_index = columns, rows.row_start = start, rows.row_end = start + 1;
  return TNK_SPARSE_OK;
}

template struct RowsOfTriples<float>;
template struct RowsOfTriples<double>;
template struct RowsOfTriples<tnk_complex8>;
template struct RowsOfTriples<tnk_complex16>;

} // namespace tnk::host::sparse
