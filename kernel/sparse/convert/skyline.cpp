// Compressed rows and the skyline form of a triangle.
#include "kernel/sparse/convert/rows.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// Runs end at the diagonal: of a lower triangle's rows, of an upper one's columns.
template <class T, class I> struct Skyline {
  bool upper;
  T *values;
  I *pointer, base;

  // Element (i, j) of the triangle, within its run.
  T *element(I i, I j) const {
    const I run = upper ? j : i, back = upper ? j - i : i - j;
    return values + (get(pointer + run + 1) - base - 1 - back);
  }
};

// visit(i, k, j) for each entry of the triangle.
template <class T, class I, class Visit>
void for_each_in_triangle(const Rows<T, I> &a, I n, bool upper, Visit visit) {
  for (I i = 0; i < n; ++i)
    for (I k = a.begin(i); k < a.end(i); ++k)
      if (const I j = a.column(k); upper ? j >= i : j <= i) visit(i, k, j);
}

template <class T, class I>
void to_skyline(const I *job, I n, const Rows<T, I> &a, const Skyline<T, I> &sky, I *info) {
  // Where each run starts, which only later is known of all; behind the diagonal where it has no entry.
  for (I run = 0; run < n; ++run) put(sky.pointer + run + 1, static_cast<I>(run + 1));
  for_each_in_triangle(a, n, sky.upper, [&](I i, I, I j) {
    I *const first = sky.pointer + 1 + (sky.upper ? j : i);
    put(first, std::min(get(first), sky.upper ? i : j));
  });
  I end = sky.base;
  put(sky.pointer, end);
  for (I run = 0; run < n; ++run) {
    end += run + 1 - get(sky.pointer + run + 1);
    put(sky.pointer + run + 1, end);
  }
  *info = 0;
  if (job[5] != 0) return;
  if (end - sky.base > job[4]) {
    *info = 1;
    return;
  }
  clear(sky.values, static_cast<I>(end - sky.base));
  for_each_in_triangle(a, n, sky.upper, [&](I i, I k, I j) { add_entry(sky.element(i, j), a.value(k)); });
}

// Zeros are no entries: what fills a run up cannot be told from what was stored.
template <class T, class I>
void from_skyline(const I *job, I n, T *values, I *columns, I *pointer, const Skyline<T, I> &sky, I *info) {
  *info = 0;
  if (n < 0) return;
  const auto each = [&](auto visit) { // by runs, so that an upper triangle's rows come out sorted too
    for (I run = 0; run < n; ++run) {
      const I length = get(sky.pointer + run + 1) - get(sky.pointer + run);
      for (I other = run + 1 - length; other <= run; ++other) {
        const I i = sky.upper ? other : run, j = sky.upper ? run : other;
        if (const T value = get(sky.element(i, j)); !is_zero(value)) visit(i, j, value);
      }
    }
  };
  RowFiller<I> filler(pointer, n, job[1]);
  I count = 0;
  each([&](I i, I, T) { filler.count(i), ++count; });
  filler.start();
  if (job[5] != 0 || count > job[4]) {
    // Nothing is placed: the starts, which stand a row late, go where they belong.
    for (I i = 0; i < n; ++i) put(pointer + i, get(pointer + i + 1));
    put(pointer + n, static_cast<I>(count + job[1]));
    *info = job[5] == 0;
    return;
  }
  each([&](I i, I j, T value) {
    const I at = filler.place(i);
    put(values + at, value);
    put(columns + at, static_cast<I>(j + job[1]));
  });
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##tnk_##t##csrsky(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer,             \
                          T *sky_values, I *sky_pointer, I *info) {                                          \
    const tnk::sparse::Skyline<T, I> skyline = {job[3] != 0, sky_values, sky_pointer, job[2]};               \
    if (job[0] == 0)                                                                                         \
      tnk::sparse::to_skyline<T, I>(job, *n, {csr_values, col_index, row_pointer, job[1]}, skyline, info);   \
    else                                                                                                     \
      tnk::sparse::from_skyline(job, *n, csr_values, col_index, row_pointer, skyline, info);                 \
  }
TNK_SP_AUX_EACH(ENTRIES, )
