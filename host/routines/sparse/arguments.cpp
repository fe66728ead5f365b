#include "host/routines/sparse/arguments.h"

#include <cstring>
#include <type_traits>

namespace tnk::host::sparse {
namespace {

// An enumerator as a number: what a caller stored there may be none of its enumeration's.
template <class Enumeration> tnk_int number_of(const Enumeration &field) {
  std::underlying_type_t<Enumeration> number;
  std::memcpy(&number, &field, sizeof number);
  return static_cast<tnk_int>(number);
}

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

} // namespace

bool is_sound(const Check &check, int at, const tnk_sparse_matrix *a, int descriptor_at,
              const tnk_sparse_descriptor *d) {
  if (!check.address(at, "matrix", a) ||
      !check.range(at, "matrix->storage", number_of(a->storage), TNK_SPARSE_CSR, TNK_SPARSE_COO) ||
      !check.length<double>(at, "matrix->m", &a->m) || !check.length<double>(at, "matrix->n", &a->n) ||
      !check.length<double>(at, "matrix->nnz", &a->nnz))
    return false;
  const bool rows = a->storage == TNK_SPARSE_CSR;
  if (a->nnz > 0 && (!check.address(at, "matrix->values", a->values) ||
                     !check.address(at, "matrix->col_index", a->col_index) ||
                     (!rows && !check.address(at, "matrix->row_index", a->row_index))))
    return false;
  if (rows && a->m > 0 &&
      (!check.address(at, "matrix->row_start", a->row_start) ||
       !check.address(at, "matrix->row_end", a->row_end)))
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
  const tnk_int base = d.base;
  const auto row_is_sound = [&](tnk_int i, tnk_int first,
                                tnk_int last) { // with its entries first ... last - 1
    const Columns columns = columns_of_row(i, a, d);
    for (tnk_int p = first; p < last; ++p)
      if (!check.element(at, "matrix->col_index", p, a.col_index[p], columns.first + base,
                         columns.last + base))
        return false;
    return true;
  };
  if (a.storage == TNK_SPARSE_COO) {
    for (tnk_int p = 0; p < a.nnz; ++p)
      if (!check.element(at, "matrix->row_index", p, a.row_index[p], base, a.m - 1 + base) ||
          !row_is_sound(a.row_index[p] - base, p, p + 1))
        return false;
    return true;
  }
  if (a.m == 0) return true;
  const tnk_int origin = a.row_start[0];
  if (!check.element(at, "matrix->row_start", 0, origin, INT64_MIN, INT64_MAX - a.nnz)) return false;
  for (tnk_int i = 0; i < a.m; ++i) {
    const tnk_int start = a.row_start[i], end = a.row_end[i];
    if (!check.element(at, "matrix->row_start", i, start, origin, origin + a.nnz) ||
        !check.element(at, "matrix->row_end", i, end, start, origin + a.nnz) ||
        !row_is_sound(i, start - origin, end - origin))
      return false;
  }
  return true;
}

} // namespace tnk::host::sparse

tnk_sparse_status tnk_sparse_check(const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor) {
  using namespace tnk::host::sparse;
  const tnk::host::Check check("tnk_sparse_check");
  return is_sound(check, 1, matrix, 2, descriptor) && indices_are_sound(check, 1, *matrix, *descriptor)
             ? TNK_SPARSE_OK
             : TNK_SPARSE_BAD_ARGUMENT;
}
