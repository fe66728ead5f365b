// Row lists as entries of their own.
#include "kernel/sparse/convert/row_lists.h"
#include <tnk/spblas_convert.h>

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
