// Checks of what every public sparse routine is given: a matrix and its descriptor.
#pragma once

#include <tnk/sparse.h>

#include "host/dispatch/check.h"
#include "host/routines/element.h"

namespace tnk::host::sparse {

// Both records, with `at` and `descriptor_at` their positions in the argument list. Indices are not looked at.
bool is_sound(const Check &check, int at, const tnk_sparse_matrix *a, int descriptor_at,
              const tnk_sparse_descriptor *d);

// Every index of a matrix that is sound, and where the descriptor asks for it the place of every entry.
bool indices_are_sound(const Check &check, int at, const tnk_sparse_matrix &a,
                       const tnk_sparse_descriptor &d);

// The arguments that begin the list of every routine that computes: op, alpha, matrix, descriptor.
template <class T>
bool operands_are_sound(const Check &check, char op, const T *alpha, const tnk_sparse_matrix *a,
                        const tnk_sparse_descriptor *d) {
  constexpr int matrix = 3, descriptor = 4;
  return check.option(1, "op", &op, "NTC") && check.address(2, "alpha", alpha) &&
         is_sound(check, matrix, a, descriptor, d) &&
         check.number(descriptor, "descriptor->kind", d->kind,
                      is_complex<T> || d->kind != TNK_SPARSE_HERMITIAN, "a kind that real matrices have") &&
         check.length<T>(matrix, "matrix->m", &a->m) && check.length<T>(matrix, "matrix->n", &a->n) &&
         check.length<T>(matrix, "matrix->nnz", &a->nnz) &&
         (d->check == TNK_SPARSE_TRUSTED || indices_are_sound(check, matrix, *a, *d));
}

} // namespace tnk::host::sparse
