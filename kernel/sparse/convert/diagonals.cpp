// Compressed rows and stored diagonals.
#include "kernel/sparse/convert/rows.h"
#include <tnk/services.h>
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

template <class T, class I> struct Diagonals {
  T *values;
  I stride, *distance, *count;
};

template <class T, class I>
void from_diagonals(const I *job, I n, T *values, I *columns, I *pointer, const Diagonals<T, I> &d) {
  const I base = job[1];
  const bool keep_zeros = job[5] != 0;
  I count = 0;
  put(pointer, base);
  for (I i = 0; i < n; ++i) {
    for (I k = 0; k < *d.count; ++k) {
      const I column = i + get(d.distance + k);
      if (column < 0 || column >= n) continue;
      const T value = get(d.values + wrapped_product(k, d.stride) + i);
      if (!keep_zeros && is_zero(value)) continue;
      put(values + count, value);
      put(columns + count, static_cast<I>(column + base));
      ++count;
    }
    put(pointer + i + 1, static_cast<I>(count + base));
  }
}

// The fullest diagonals by their numbers of entries, at most *count; of equal ones the lower. In ascending order.
template <class I> void choose_fullest(const I *entries, I diagonals, I n, I *distance, I *count) {
  const auto fuller_than = [=](I number) {
    return static_cast<I>(std::count_if(entries, entries + diagonals, [=](I e) { return e > number; }));
  };
  // The least number that no more diagonals exceed than are wanted.
  const I wanted = std::max(*count, I{0});
  I number = 0;
  for (I enough = *std::max_element(entries, entries + diagonals); number < enough;) {
    const I middle = number + (enough - number) / 2;
    if (fuller_than(middle) <= wanted)
      enough = middle;
    else
      number = middle + 1;
  }
  I of_that_number = number > 0 ? wanted - fuller_than(number) : 0;
  *count = 0;
  for (I k = 0; k < diagonals; ++k)
    if (entries[k] > number || (entries[k] == number && of_that_number-- > 0))
      put(distance + (*count)++, static_cast<I>(k - (n - 1)));
}

template <class T, class I>
void to_diagonals(const I *job, I n, const Rows<T, I> &a, const Diagonals<T, I> &d, T *rest_values,
                  I *rest_columns, I *rest_pointer) {
  const bool choose = job[5] / 10 != 0, keep_rest = job[5] % 10 != 0;
  if (keep_rest) put(rest_pointer, a.base);
  if (n < 1) {
    if (choose) *d.count = 0;
    return;
  }
  const I diagonals = 2 * n - 1;
  auto *const table = static_cast<I *>(
      tnk_serv_allocate(static_cast<std::int64_t>(diagonals) * static_cast<std::int64_t>(sizeof(I)), 128));
  I *const main = table + n - 1;
  if (choose) {
    clear(table, diagonals);
    for (I i = 0; i < n; ++i)
      for (I k = a.begin(i); k < a.end(i); ++k) ++main[a.column(k) - i];
    choose_fullest(table, diagonals, n, d.distance, d.count);
  }

  // From here on: one more than the place among the diagonals of each distance, 0 of those that are not stored.
  clear(table, diagonals);
  for (I k = 0; k < *d.count; ++k) {
    const I distance = get(d.distance + k);
    if (-n < distance && distance < n) main[distance] = k + 1;
    clear(d.values + wrapped_product(k, d.stride), n);
  }
  I rest = 0;
  for (I i = 0; i < n; ++i) {
    for (I k = a.begin(i); k < a.end(i); ++k) {
      const I place = main[a.column(k) - i];
      if (place > 0) {
        add_entry(d.values + wrapped_product<I>(place - 1, d.stride) + i, a.value(k));
      } else if (keep_rest) {
        put(rest_values + rest, a.value(k));
        put(rest_columns + rest, get(a.columns + k));
        ++rest;
      }
    }
    if (keep_rest) put(rest_pointer + i + 1, static_cast<I>(rest + a.base));
  }
  tnk_serv_deallocate(table);
}

} // namespace
} // namespace tnk::sparse

#define ENTRIES(p, t, T, I, ...)                                                                             \
  void p##tnk_##t##csrdia(const I *job, const I *n, T *csr_values, I *col_index, I *row_pointer,             \
                          T *dia_values, const I *diag_stride, I *diag_distance, I *diag_count,              \
                          T *rest_values, I *rest_col_index, I *rest_row_pointer, I *info) {                 \
    const tnk::sparse::Diagonals<T, I> diagonals = {dia_values, *diag_stride, diag_distance, diag_count};    \
    *info = 0;                                                                                               \
    if (job[0] == 0)                                                                                         \
      tnk::sparse::to_diagonals<T, I>(job, *n, {csr_values, col_index, row_pointer, job[1]}, diagonals,      \
                                      rest_values, rest_col_index, rest_row_pointer);                        \
    else                                                                                                     \
      tnk::sparse::from_diagonals(job, *n, csr_values, col_index, row_pointer, diagonals);                   \
  }
TNK_SP_AUX_EACH(ENTRIES, )
