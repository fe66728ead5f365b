#include "host/routines/sparse/arguments.h"

namespace tnk::host::sparse {
namespace {

bool has_triangle(tnk_sparse_kind kind) {
  return kind != TNK_SPARSE_GENERAL && kind != TNK_SPARSE_DIAGONAL;
}
bool has_diagonal_letter(tnk_sparse_kind kind) {
  return kind != TNK_SPARSE_GENERAL && kind != TNK_SPARSE_SKEW;
}

// The columns, from 0, in which row i may have entries.
struct Columns {
  tnk_int first, last;
};
Columns columns_of_row(tnk_int i, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d) {
  if (d.check != TNK_SPARSE_ENTRIES || d.kind == TNK_SPARSE_GENERAL) return {0, a.n - 1};
  const bool keeps_diagonal = has_diagonal_letter(d.kind) && d.diagonal == TNK_SPARSE_NONUNIT;
  if (d.kind == TNK_SPARSE_DIAGONAL) return {i, keeps_diagonal ? i : i - 1};
  if (d.triangle == TNK_SPARSE_LOWER) return {0, keeps_diagonal ? i : i - 1};
  return {keeps_diagonal ? i : i + 1, a.n - 1};
}

// Row or column pointers of entries or blocks, `count` of them, and the arrays that they point into.
bool lists_are_given(const Check &check, int at, const tnk_sparse_matrix &a, const char *name,
                     const tnk_int *numbers, tnk_int count) {
  return check.length<double>(at, "matrix->nnz", &a.nnz) &&
         (a.nnz == 0 ||
          (check.address(at, "matrix->values", a.values) && check.address(at, name, numbers))) &&
         (count == 0 || (check.address(at, "matrix->row_start", a.row_start) &&
                         check.address(at, "matrix->row_end", a.row_end)));
}

bool diagonals_are_sound(const Check &check, int at, const tnk_sparse_matrix &a) {
  if (!check.length<double>(at, "matrix->diag_count", &a.diag_count) ||
      !check.number(at, "matrix->diag_stride", a.diag_stride, a.diag_stride >= a.m,
                    "as many as rows or more"))
    return false;
  if (a.diag_count == 0) return true;
  if ((a.m > 0 && !check.address(at, "matrix->values", a.values)) ||
      !check.address(at, "matrix->diag_distance", a.diag_distance))
    return false;
  for (tnk_int k = 1; k < a.diag_count; ++k)
    if (!check.element(at, "matrix->diag_distance", k, a.diag_distance[k], a.diag_distance[k - 1] + 1,
                       INT64_MAX))
      return false;
  return true;
}

// That each run is as long as its row or column at most.
bool skyline_is_sound(const Check &check, int at, const tnk_sparse_matrix &a) {
  if (!check.number(at, "matrix->n", a.n, a.n == a.m, "as many columns as rows in a skyline")) return false;
  if (a.m == 0) return true;
  if (!check.address(at, "matrix->row_start", a.row_start)) return false;
  for (tnk_int i = 0; i < a.m; ++i) {
    const tnk_int start = a.row_start[i];
    if (!check.element(at, "matrix->row_start", i, start, -memory_bytes, memory_bytes) ||
        !check.element(at, "matrix->row_start", i + 1, a.row_start[i + 1], start, start + i + 1))
      return false;
  }
  return a.row_start[a.m] == a.row_start[0] || check.address(at, "matrix->values", a.values);
}

bool arrays_are_sound(const Check &check, int at, const tnk_sparse_matrix &a) {
  switch (a.storage) {
  case TNK_SPARSE_DIA:
    return diagonals_are_sound(check, at, a);
  case TNK_SPARSE_SKY:
    return skyline_is_sound(check, at, a);
  case TNK_SPARSE_CSC:
    return lists_are_given(check, at, a, "matrix->row_index", a.row_index, a.n);
  case TNK_SPARSE_BSR:
    return check.number(at, "matrix->block_size", a.block_size, a.block_size > 0, "1 or more") &&
           lists_are_given(check, at, a, "matrix->col_index", a.col_index, a.m);
  case TNK_SPARSE_COO:
    return lists_are_given(check, at, a, "matrix->col_index", a.col_index, 0) &&
           (a.nnz == 0 || check.address(at, "matrix->row_index", a.row_index));
  default:
    return lists_are_given(check, at, a, "matrix->col_index", a.col_index, a.m);
  }
}

} // namespace

bool is_sound(const Check &check, int at, const tnk_sparse_matrix *a, int descriptor_at,
              const tnk_sparse_descriptor *d, tnk_sparse_storage most) {
  if (!check.address(at, "matrix", a) ||
      !check.range(at, "matrix->storage", number_of(a->storage), TNK_SPARSE_CSR, most) ||
      !check.length<double>(at, "matrix->m", &a->m) || !check.length<double>(at, "matrix->n", &a->n) ||
      !arrays_are_sound(check, at, *a))
    return false;
  const auto is_one_of = [&](const char *field, tnk_int number, tnk_int last) {
    return check.range(descriptor_at, field, number, 0, last);
  };
  return check.address(descriptor_at, "descriptor", d) &&
         is_one_of("descriptor->kind", number_of(d->kind), TNK_SPARSE_SKEW) &&
         (!has_triangle(d->kind) ||
          is_one_of("descriptor->triangle", number_of(d->triangle), TNK_SPARSE_UPPER)) &&
         (!has_diagonal_letter(d->kind) ||
          is_one_of("descriptor->diagonal", number_of(d->diagonal), TNK_SPARSE_UNIT)) &&
         is_one_of("descriptor->base", d->base, 1) &&
         is_one_of("descriptor->check", d->check, TNK_SPARSE_ENTRIES) &&
         check.number(at, "matrix->n", a->n, d->kind == TNK_SPARSE_GENERAL || a->n == a->m,
                      "as many columns as rows in this kind of matrix");
}

bool indices_are_sound(const Check &check, int at, const tnk_sparse_matrix &a,
                       const tnk_sparse_descriptor &d) {
  if (!has_entries(a.storage)) return true;
  const bool by_columns = a.storage == TNK_SPARSE_CSC, blocks = a.storage == TNK_SPARSE_BSR;
  const char *const name = by_columns ? "matrix->row_index" : "matrix->col_index";
  const tnk_int *const numbers = by_columns ? a.row_index : a.col_index;
  const tnk_int base = d.base, lists = by_columns ? a.n : blocks ? block_rows(a) : a.m;
  const auto list_is_sound = [&](tnk_int i, tnk_int first, tnk_int last) { // entries first ... last - 1
    const Columns columns = by_columns ? Columns{0, a.m - 1}
                            : blocks   ? Columns{0, a.n / a.block_size - (a.n % a.block_size == 0)}
                                       : columns_of_row(i, a, d);
    for (tnk_int p = first; p < last; ++p)
      if (!check.element(at, name, p, numbers[p], columns.first + base, columns.last + base)) return false;
    return true;
  };
  if (a.storage == TNK_SPARSE_COO) {
    for (tnk_int p = 0; p < a.nnz; ++p)
      if (!check.element(at, "matrix->row_index", p, a.row_index[p], base, a.m - 1 + base) ||
          !list_is_sound(a.row_index[p] - base, p, p + 1))
        return false;
    return true;
  }
  if (lists == 0) return true;
  const tnk_int origin = a.row_start[0];
  if (!check.element(at, "matrix->row_start", 0, origin, INT64_MIN, INT64_MAX - a.nnz)) return false;
  for (tnk_int i = 0; i < lists; ++i) {
    const tnk_int start = a.row_start[i], end = a.row_end[i];
    if (!check.element(at, "matrix->row_start", i, start, origin, origin + a.nnz) ||
        !check.element(at, "matrix->row_end", i, end, start, origin + a.nnz) ||
        !list_is_sound(i, start - origin, end - origin))
      return false;
  }
  return true;
}

} // namespace tnk::host::sparse

tnk_sparse_status tnk_sparse_check(const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor) {
  using namespace tnk::host::sparse;
  const tnk::host::Check check("tnk_sparse_check");
  return is_sound(check, 1, matrix, 2, descriptor, all_storages) &&
                 indices_are_sound(check, 1, *matrix, *descriptor)
             ? TNK_SPARSE_OK
             : TNK_SPARSE_BAD_ARGUMENT;
}
