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
  const int dat = descriptor_at;
  return check.address(dat, "descriptor", d) &&
         check.range(dat, "descriptor->kind", number_of(d->kind), TNK_SPARSE_GENERAL, TNK_SPARSE_SKEW) &&
         check.range(dat, "descriptor->triangle", number_of(d->triangle), TNK_SPARSE_LOWER,
                     TNK_SPARSE_UPPER) &&
         check.range(dat, "descriptor->diagonal", number_of(d->diagonal), TNK_SPARSE_NONUNIT,
                     TNK_SPARSE_UNIT) &&
         check.range(dat, "descriptor->base", d->base, 0, 1) &&
         check.number(at, "matrix->n", a->n, d->kind == TNK_SPARSE_GENERAL || a->n == a->m,
                      "as many columns as rows in this kind of matrix");
}

bool indices_are_sound(const Check &check, int at, const tnk_sparse_matrix &a, tnk_int base) {
  const auto inside = [&](const char *name, const tnk_int *index, tnk_int first, tnk_int last, tnk_int size) {
    for (tnk_int p = first; p < last; ++p)
      if (!check.element(at, name, p, index[p], base, size - 1 + base)) return false;
    return true;
  };
  if (a.storage == TNK_SPARSE_COO)
    return inside("matrix->row_index", a.row_index, 0, a.nnz, a.m) &&
           inside("matrix->col_index", a.col_index, 0, a.nnz, a.n);
  if (a.m == 0) return true;
  const tnk_int origin = a.row_start[0];
  if (!check.element(at, "matrix->row_start", 0, origin, INT64_MIN, INT64_MAX - a.nnz)) return false;
  for (tnk_int i = 0; i < a.m; ++i) {
    const tnk_int start = a.row_start[i], end = a.row_end[i];
    if (!check.element(at, "matrix->row_start", i, start, origin, origin + a.nnz) ||
        !check.element(at, "matrix->row_end", i, end, start, origin + a.nnz) ||
        !inside("matrix->col_index", a.col_index, start - origin, end - origin, a.n))
      return false;
  }
  return true;
}

} // namespace tnk::host::sparse

tnk_sparse_status tnk_sparse_check(const tnk_sparse_matrix *matrix, const tnk_sparse_descriptor *descriptor) {
  using namespace tnk::host::sparse;
  const tnk::host::Check check("tnk_sparse_check");
  return is_sound(check, 1, matrix, 2, descriptor) && indices_are_sound(check, 1, *matrix, descriptor->base)
             ? TNK_SPARSE_OK
             : TNK_SPARSE_BAD_ARGUMENT;
}
