// Compressed rows and dense matrices by columns.
#include "kernel/sparse/convert/rows.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// The rows of column j that belong to the part: 0 lower triangle, 1 upper triangle, 2 all; none of any other.
template <class I> struct Part {
  I which, m;
  I first(I j) const { return which == 0 ? std::min(j, m) : which == 1 || which == 2 ? 0 : m; }
  I end(I j) const { return which == 1 ? std::min<I>(j + 1, m) : m; }
};

template <class T, class I>
void from_dense(const I *job, I m, I n, const T *dense, I lda, T *values, I *columns, I *pointer) {
  if (m < 0) return;
  const Part<I> part = {job[3], m};
  // Down the columns, as the elements lie: once to count, once to place.
  const auto each = [&](auto visit) {
    for (I j = 0; j < n; ++j)
      for (I i = part.first(j); i < part.end(j); ++i)
        if (const T value = get(dense + wrapped_product(j, lda) + i); !is_zero(value)) visit(i, j, value);
  };
  RowFiller<I> filler(pointer, m, job[1]);
  each([&](I i, I, T) { filler.count(i); });
  filler.start();
  each([&](I i, I j, T value) {
    const I at = filler.place(i);
    put(values + at, value);
    put(columns + at, static_cast<I>(j + job[1]));
  });
}

template <class T, class I>
void to_dense(const I *job, I m, I n, T *dense, I lda, const Rows<T, I> &a, I *info) {
  const Part<I> part = {job[3], m};
  for (I j = 0; j < n; ++j)
    clear(dense + wrapped_product(j, lda) + part.first(j), static_cast<I>(part.end(j) - part.first(j)));
  for (I i = 0; i < m; ++i)
    for (I k = a.begin(i); k < a.end(i); ++k) {
      const I j = a.column(k);
      if (j >= n) {
        *info = i + 1;
        return;
      }
      put(dense + wrapped_product(j, lda) + i, a.value(k));
    }
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##tnk_##t##dnscsr(const I *job, const I *m, const I *n, T *dense, const I *lda, T *csr_values,       \
                          I *col_index, I *row_pointer, I *info) {                                           \
    *info = 0;                                                                                               \
    if (job[0] == 0)                                                                                         \
      tnk::sparse::from_dense(job, *m, *n, dense, *lda, csr_values, col_index, row_pointer);                 \
    else if (job[0] == 1)                                                                                    \
      tnk::sparse::to_dense<T, I>(job, *m, *n, dense, *lda, {csr_values, col_index, row_pointer, job[1]},    \
                                  info);                                                                     \
  }
TNK_SP_AUX_EACH(ENTRIES, )
