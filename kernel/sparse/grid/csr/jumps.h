// Compressed rows whose columns jump about in a vector that no near cache holds.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "kernel/sparse/grid/csr/matrix.h"
#include "kernel/sparse/grid/csr/row.h"

namespace tnk::sparse {

// Where the columns of rows first ... last - 1 end, if they are such, else null: from most entries to those in the same places
// of the next row it is far, and what is read or added to, an element for each side, is longer than the second cache. Looked
// up in a few rows of many. Only where one array of pointers tells that rows follow each other.
template <class T, class I>
inline const I *end_of_jumps(const CompressedRows<T, I> &matrix, I pointer_base, I first, I last, I sides) {
  constexpr I pairs = 16, entries = 8;
  constexpr double least_work = 1024, long_vector = (1 << 20) / sizeof(T);
  constexpr std::int64_t far = 4096 / sizeof(T);
  const I step = wrapped_difference(last, first) / pairs;
  const auto each = static_cast<double>(sides);
  if (step < 2 || static_cast<double>(step) * each < least_work || matrix.row_end != matrix.row_start + 1)
    return nullptr;
  int jumps = 0, all = 0;
  std::int64_t furthest = 0;
  for (I pair = 0; pair < pairs; ++pair) {
    const auto row = row_at(matrix, pointer_base, first + pair * step, I{0});
    const auto next = row_at(matrix, pointer_base, first + pair * step + 1, I{0});
    const I common = std::min({row.count, next.count, entries});
#pragma GCC unroll 1
    for (I p = 0; p < common; ++p, ++all) {
      const std::int64_t column = get(row.columns + p), jump = get(next.columns + p) - column;
      jumps += jump > far || jump < -far;
      furthest = std::max(furthest, column);
    }
  }
  if (static_cast<double>(furthest) * each <= long_vector || jumps <= all / 2) return nullptr;
  return matrix.col_index + wrapped_difference(get(matrix.row_start + last), pointer_base);
}

// Whether the entries are there that are looked at with a row's. With the last row's they never are.
template <class T, class I> inline bool has_entries_ahead(const Row<T, I> &row, const I *end) {
  return end - row.columns >= std::ptrdiff_t{row.count} + elements_ahead + least_in_rounds<T>;
}

// body(row, i, jumps) of rows first ... last - 1, each as row_of(i) has it, where so many sides are met in one go; jumps is
// true_type as long as columns jump about and may be looked at ahead, then false_type.
template <class T, class I, class RowOf, class Body>
TNK_INLINE void each_row(const CompressedRows<T, I> &matrix, I pointer_base, I first, I last, I sides,
                         RowOf row_of, Body body) {
  I i = first;
  if (const I *const end = end_of_jumps(matrix, pointer_base, first, last, sides))
    for (auto row = row_of(i); has_entries_ahead(row, end); row = row_of(++i)) body(row, i, std::true_type());
  for (; i < last; ++i) body(row_of(i), i, std::false_type());
}

// The sum of such a row. A loop of the fewest instructions an entry, and one branch for all, keeps the most elements on
// their way. Where the end of a short row is mispredicted, what was begun behind it are the next row's elements. Entries
// come to the second cache alone, from further ahead: the first one's few buffers for what is missing are left to elements.
template <class T, bool Conj = false, class I>
inline in_lanes<T> row_sum_of_jumps(const T *values, const I *columns, I count, const T *x) {
  constexpr I round = least_in_rounds<T>;
  if (count >= round) return row_sum<T, Conj, usual_distance, true>(values, columns, count, x);
  const auto fetch_far = [](auto *p) {
    for (std::uintptr_t at = 0; at < round * sizeof *p; at += 64)
      __builtin_prefetch(reinterpret_cast<const void *>(address(p) + 6144 + at), 0, 1);
  };
  fetch_far(values), fetch_far(columns);
  in_lanes<T> sum{};
#pragma GCC unroll 1
  for (I p = 0; p < count; ++p) {
    fetch_elements<1>(columns + p, x);
    sum += times<T, Conj>(fetch(values + p), fetch(x + get(columns + p)));
  }
  return sum;
}

} // namespace tnk::sparse
