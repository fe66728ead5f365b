// Rows sorted by column, values in step.
#include "kernel/frame/element.h"
#include <tnk/spblas_aux.h>

namespace tnk::sparse {
namespace {

// Insertion: equal columns do not pass each other.
template <class T, class I> void sort_entries(I count, I *columns, T *values) {
  for (I k = 1; k < count; ++k) {
    const I column = get(columns + k);
    const T value = get(values + k);
    I hole = k;
    for (; hole > 0 && get(columns + hole - 1) > column; --hole) {
      put(columns + hole, get(columns + hole - 1));
      put(values + hole, get(values + hole - 1));
    }
    put(columns + hole, column);
    put(values + hole, value);
  }
}

template <class T, class I> void sort_rows(I first, I last, const I *row_pointer, I *columns, T *values) {
  for (I i = first; i <= last; ++i) {
    const I start = get(row_pointer + i - 1), end = get(row_pointer + i);
    sort_entries(end - start, columns + start - 1, values + start - 1);
  }
}

} // namespace
} // namespace tnk::sparse

#define ENTRY(p, t, T, I, ...)                                                                               \
  void p##t##sortrow(const I *first, const I *last, const I *row_pointer, I *col_index, T *values) {         \
    tnk::sparse::sort_rows(*first, *last, row_pointer, col_index, values);                                   \
  }
TNK_SP_AUX_EACH(ENTRY, )
