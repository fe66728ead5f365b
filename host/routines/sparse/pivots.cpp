#include "host/routines/sparse/pivots.h"

#include <algorithm>

#include "host/routines/element.h"

namespace tnk::host::sparse {
namespace {

struct RowView {
  tnk_int start, end, first, last; // positions, and the columns at the first and the last one, all from 0
  bool empty() const { return start >= end; }
};
RowView row_of(const tnk_sparse_matrix &a, tnk_int base, tnk_int i) {
  RowView row{a.row_start[i] - a.row_start[0], a.row_end[i] - a.row_start[0], 0, 0};
  if (!row.empty()) row.first = a.col_index[row.start] - base, row.last = a.col_index[row.end - 1] - base;
  return row;
}

// No kernel leaves the arrays when the first row begins with its diagonal and the last one ends with it or behind it:
// rows before it have something to stop at. Beside ones it is the transposes alone that look for something, walking
// down past empty rows to the first entry of all, or up to the last.
bool searches_end(const Check &check, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d,
                  bool transposed) {
  const bool unit = d.diagonal == TNK_SPARSE_UNIT;
  const bool lower = d.kind == TNK_SPARSE_TRIANGULAR && d.triangle == TNK_SPARSE_LOWER;
  const auto has_end = [&](tnk_int i) {
    const RowView row = row_of(a, d.base, i);
    if (unit)
      return row.empty() || (lower ? row.first <= i : row.last >= i) ||
             refuse_row(check, "with entries of the other triangle only in row ", i,
                        "at least one at the diagonal or on the triangle's side");
    return (!row.empty() && row.first <= i && i <= row.last) || refuse_pivot(check, i);
  };
  if (unit && !transposed) return true;
  if (a.row_end != a.row_start + 1) { // what stands before or behind a row is not known
    for (tnk_int i = 0; i < a.m; ++i)
      if (!has_end(i)) return false;
    return true;
  }
  if (!unit) return has_end(0) && has_end(a.m - 1);
  tnk_int i = lower ? 0 : a.m - 1;
  while (i >= 0 && i < a.m && row_of(a, d.base, i).empty()) i += lower ? 1 : -1;
  return i < 0 || i == a.m || has_end(i);
}

template <class T>
bool rows_are_good(const Check &check, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d) {
  const T *const values = static_cast<const T *>(a.values);
  for (tnk_int i = 0; i < a.m; ++i) {
    const RowView row = row_of(a, d.base, i);
    for (tnk_int p = row.start + 1; p < row.end; ++p)
      if (a.col_index[p] <= a.col_index[p - 1])
        return refuse_row(check, "not ascending in row ", i, "ascending columns in each row");
    if (d.diagonal == TNK_SPARSE_UNIT) continue;
    const tnk_int *const begin = a.col_index + row.start, *const end = a.col_index + row.end;
    const tnk_int *const pivot = row.empty() ? end : std::lower_bound(begin, end, i + d.base);
    if (pivot == end || *pivot != i + d.base) return refuse_pivot(check, i);
    if (is_value(values[pivot - a.col_index], 0)) return refuse_zero(check, i);
  }
  return true;
}

template <class T> bool diagonal_is_there(const Check &check, const tnk_sparse_matrix &a, bool careful) {
  const tnk_int *const end = a.diag_distance + a.diag_count;
  const tnk_int *const main = std::lower_bound(a.diag_distance, end, 0);
  if (main == end || *main != 0) return refuse_pivot(check, 0);
  const T *const values = static_cast<const T *>(a.values) + (main - a.diag_distance) * a.diag_stride;
  for (tnk_int i = 0; careful && i < a.m; ++i)
    if (is_value(values[i], 0)) return refuse_zero(check, i);
  return true;
}

template <class T> bool runs_end_on_it(const Check &check, const tnk_sparse_matrix &a, bool careful) {
  const T *const values = static_cast<const T *>(a.values);
  for (tnk_int i = 0; i < a.m; ++i) {
    const tnk_int end = a.row_start[i + 1];
    if (a.row_start[i] == end) return refuse_pivot(check, i);
    if (careful && is_value(values[end - 1 - a.row_start[0]], 0)) return refuse_zero(check, i);
  }
  return true;
}

} // namespace

template <class T>
bool pivots_are_there(const Check &check, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d,
                      bool transposed) {
  const bool careful = d.check != TNK_SPARSE_TRUSTED, unit = d.diagonal == TNK_SPARSE_UNIT;
  switch (a.storage) {
  case TNK_SPARSE_CSR:
    return (!careful || rows_are_good<T>(check, a, d)) && searches_end(check, a, d, transposed);
  case TNK_SPARSE_DIA:
    return unit || diagonal_is_there<T>(check, a, careful);
  case TNK_SPARSE_SKY:
    return unit || runs_end_on_it<T>(check, a, careful);
  default:
    return true;
  }
}

#define TNK_INSTANTIATE(T)                                                                                   \
  template bool pivots_are_there<T>(const Check &, const tnk_sparse_matrix &, const tnk_sparse_descriptor &, \
                                    bool);
TNK_INSTANTIATE(float)
TNK_INSTANTIATE(double)
TNK_INSTANTIATE(tnk_complex8)
TNK_INSTANTIATE(tnk_complex16)
#undef TNK_INSTANTIATE

} // namespace tnk::host::sparse
