// The entries of a triangle in triples, listed by rows: what a solve with triples walks.
#pragma once

#include "kernel/frame/element.h"
#include <tnk/services.h>

namespace tnk::sparse {

template <class I> inline I *list_of(I count) {
  return static_cast<I *>(
      tnk_serv_allocate(static_cast<std::int64_t>(count) * static_cast<std::int64_t>(sizeof(I)), 128));
}

// Entries and their positions in lists count from one, whatever the base of the indices.
template <bool Upper, bool Unit, class I>
[[gnu::noinline]] void list_rows(I base, I m, const I *rows, const I *columns, I nnz, I *diag_pos,
                                 I *row_count, I *kept, I *row_list, I *status) {
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

} // namespace tnk::sparse
