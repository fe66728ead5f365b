// The entries of a triangle in triples, listed by rows: what a solve with triples walks.
#include "kernel/frame/element.h"
#include <tnk/services.h>
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

template <class I> I *list_of(I count) {
  return static_cast<I *>(
      tnk_serv_allocate(static_cast<std::int64_t>(count) * static_cast<std::int64_t>(sizeof(I)), 128));
}

// Entries and their positions in lists count from one, whatever the base of the indices.
template <bool Upper, bool Unit, class I>
void list_rows(I base, I m, const I *rows, const I *columns, I nnz, I *diag_pos, I *row_count, I *kept,
               I *row_list, I *status) {
  I *const recorded = list_of(nnz);
  if (!recorded) {
    *status = 1;
    return;
  }
  I count = 0;
  for (I e = 0; e < nnz; ++e) {
    const I row = get(rows + e), column = get(columns + e);
    if (Upper ? column > row : column < row) {
      put(row_count + row - base, static_cast<I>(get(row_count + row - base) + 1));
      recorded[count++] = e + 1;
    } else if (!Unit && column == row) {
      put(diag_pos + row - base, static_cast<I>(e + 1));
    }
  }
  *kept += count;

  if (I *const next = list_of(m)) {
    I offset = 0;
    for (I i = 0; i < m; ++i) {
      next[i] = offset;
      offset += get(row_count + i);
    }
    for (I k = 0; k < count; ++k) put(row_list + next[get(rows + recorded[k] - 1) - base]++, recorded[k]);
    tnk_serv_deallocate(next);
  } else {
    *status = 1;
  }
  tnk_serv_deallocate(recorded);
}

} // namespace
} // namespace tnk::sparse

#define ENTRY(name, I, Upper, base)                                                                          \
  void name##n(const I *m, const I *row_index, const I *col_index, const I *nnz, I *diag_pos, I *row_count,  \
               I *kept, I *row_list, I *status) {                                                            \
    tnk::sparse::list_rows<Upper, false, I>(base, *m, row_index, col_index, *nnz, diag_pos, row_count, kept, \
                                            row_list, status);                                               \
  }                                                                                                          \
  void name##u(const I *m, const I *row_index, const I *col_index, const I *nnz, I *row_count, I *kept,      \
               I *row_list, I *status) {                                                                     \
    tnk::sparse::list_rows<Upper, true, I>(base, *m, row_index, col_index, *nnz, nullptr, row_count, kept,   \
                                           row_list, status);                                                \
  }
#define ENTRIES(p, I)                                                                                        \
  ENTRY(p##scoofill_coo2csr_data_l, I, false, 1)                                                             \
  ENTRY(p##scoofill_coo2csr_data_u, I, true, 1)                                                              \
  ENTRY(p##scoofill_0coo2csr_data_l, I, false, 0)                                                            \
  ENTRY(p##scoofill_0coo2csr_data_u, I, true, 0)
ENTRIES(tnk_spblas_, tnk_int)
ENTRIES(tnk_spblas_lp64_, int32_t)
