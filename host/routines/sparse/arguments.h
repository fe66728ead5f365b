// Checks of what every public sparse routine is given: a matrix and its descriptor.
#pragma once

#include <cstring>
#include <tnk/sparse.h>
#include <type_traits>

#include "host/dispatch/check.h"
#include "host/routines/element.h"

namespace tnk::host::sparse {

// The storages that a routine takes are those up to one.
constexpr tnk_sparse_storage most_of_products = TNK_SPARSE_BSR, most_of_solves = TNK_SPARSE_SKY,
                             all_storages = TNK_SPARSE_CSC;

// Whether nnz counts its entries or blocks.
inline bool has_entries(tnk_sparse_storage storage) {
  return storage != TNK_SPARSE_DIA && storage != TNK_SPARSE_SKY;
}
inline tnk_int block_rows(const tnk_sparse_matrix &a) {
  return a.m / a.block_size + (a.m % a.block_size != 0);
}

// An enumerator as a number: what a caller stored there may be none of its enumeration's.
template <class Enumeration> tnk_int number_of(const Enumeration &field) {
  std::underlying_type_t<Enumeration> number;
  std::memcpy(&number, &field, sizeof number);
  return static_cast<tnk_int>(number);
}

// Both records, with `at` and `descriptor_at` their positions in the argument list. Indices are not looked at, but for
// those of stored diagonals and skylines, of which there are few.
bool is_sound(const Check &check, int at, const tnk_sparse_matrix *a, int descriptor_at,
              const tnk_sparse_descriptor *d, tnk_sparse_storage most);

// Every index of a matrix that is sound, and where the descriptor asks for it the place of every entry.
bool indices_are_sound(const Check &check, int at, const tnk_sparse_matrix &a,
                       const tnk_sparse_descriptor &d);

// Whether vectors and arrays of a sound matrix of T could lie in memory.
template <class T> bool fits_memory(const Check &check, int at, const tnk_sparse_matrix &a) {
  const auto fits = [&](const char *field, tnk_int count, tnk_int times, tnk_int and_times) {
    tnk_int elements;
    return check.number(at, field, count,
                        !__builtin_mul_overflow(times, and_times, &times) &&
                            !__builtin_mul_overflow(count, times, &elements) &&
                            elements <= elements_in_memory<T>,
                        "a matrix that fits into memory");
  };
  return check.length<T>(at, "matrix->m", &a.m) && check.length<T>(at, "matrix->n", &a.n) &&
         (!has_entries(a.storage) || check.length<T>(at, "matrix->nnz", &a.nnz)) &&
         (a.storage != TNK_SPARSE_BSR || fits("matrix->nnz", a.nnz, a.block_size, a.block_size)) &&
         (a.storage != TNK_SPARSE_DIA || fits("matrix->diag_count", a.diag_count, a.diag_stride, 1));
}

// The arguments that begin the list of every routine that computes: op, alpha, matrix, descriptor.
template <class T>
bool operands_are_sound(const Check &check, char op, const T *alpha, const tnk_sparse_matrix *a,
                        const tnk_sparse_descriptor *d, tnk_sparse_storage most) {
  constexpr int matrix = 3, descriptor = 4;
  return check.option(1, "op", &op, "NTC") && check.address(2, "alpha", alpha) &&
         is_sound(check, matrix, a, descriptor, d, most) &&
         check.number(descriptor, "descriptor->kind", d->kind,
                      is_complex<T> || d->kind != TNK_SPARSE_HERMITIAN, "a kind that real matrices have") &&
         fits_memory<T>(check, matrix, *a) &&
         (d->check == TNK_SPARSE_TRUSTED || indices_are_sound(check, matrix, *a, *d));
}

} // namespace tnk::host::sparse
