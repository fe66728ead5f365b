// Sparse matrices that the host makes: results, and what lies between two forms.
#pragma once

#include <tnk/services.h>
#include <tnk/sparse.h>
#include <tnk/spblas_convert.h>

#include "host/dispatch/check.h"
#include "host/dispatch/kernel_loader.h"
#include "host/routines/sparse/block.h"
#include "host/service/large_pages.h"

namespace tnk::host::sparse {

// A matrix in one block of memory, or one that lies elsewhere. The arrays can be written.
template <class T> struct Made {
  Made() = default;
  Made(const Made &) = delete;
  Made &operator=(const Made &) = delete;
  ~Made() { tnk_serv_tnk_free(a.owned); }

  tnk_sparse_matrix a{};
  T *values = nullptr;
  tnk_int *col_index = nullptr, *row_index = nullptr, *pointer = nullptr;

  // Arrays of those lengths: the record points at them, its other fields are left alone. False without memory.
  bool take(tnk_int value_count, tnk_int columns, tnk_int rows, tnk_int pointers) {
    constexpr std::size_t index = sizeof(tnk_int);
    const tnk_int bytes =
        Room().add(value_count, sizeof(T)).add(columns, index).add(rows, index).add(pointers, index).bytes();
    a.owned = tnk_serv_tnk_malloc(bytes, 64);
    if (!a.owned) return false;
    prefer_large_pages(a.owned, bytes);
    char *next = static_cast<char *>(a.owned);
    values = Room::cut<T>(next, value_count), col_index = Room::cut<tnk_int>(next, columns);
    row_index = Room::cut<tnk_int>(next, rows), pointer = Room::cut<tnk_int>(next, pointers);
    point();
    return true;
  }
  void point() {
    a.values = values, a.col_index = col_index, a.row_index = row_index;
    a.row_start = pointer, a.row_end = pointer + 1;
  }
  // One that lies elsewhere, to be read only, although kernels that work both ways ask for arrays to write.
  void view(const tnk_sparse_matrix &other) {
    a = other, a.owned = nullptr;
    values = static_cast<T *>(const_cast<void *>(a.values));
    col_index = const_cast<tnk_int *>(a.col_index), row_index = const_cast<tnk_int *>(a.row_index);
    pointer = const_cast<tnk_int *>(a.row_start);
  }
  void shape(tnk_sparse_storage storage, tnk_int m, tnk_int n, tnk_int nnz) {
    a.storage = storage, a.m = m, a.n = n, a.nnz = nnz;
  }
  tnk_sparse_matrix release() {
    tnk_sparse_matrix given = a;
    a.owned = nullptr;
    return given;
  }
};

inline tnk_sparse_status no_memory(const char *routine) {
  tnk_serv_check_ptr(nullptr, routine);
  return TNK_SPARSE_NO_MEMORY;
}

// Lists (rows, columns or block rows) one after another, with pointers from `base` and `spare` more of them that are
// empty: as they are where they are so already, otherwise copied. Numbers are moved by `shift`. False without memory.
template <class T>
bool in_order(const tnk_sparse_matrix &from, tnk_int lists, tnk_int spare, tnk_int base, tnk_int shift,
              tnk_int values_each, bool must_copy, Made<T> &to) {
  const bool by_columns = from.storage == TNK_SPARSE_CSC;
  const tnk_int origin = lists > 0 ? from.row_start[0] : 0;
  if (!must_copy && spare == 0 && shift == 0 && lists > 0 && origin == base &&
      from.row_end == from.row_start + 1) {
    to.view(from);
    to.a.nnz = from.row_start[lists] - origin;
    return true;
  }
  tnk_int count = 0;
  for (tnk_int i = 0; i < lists; ++i)
    if (from.row_end[i] > from.row_start[i]) count += from.row_end[i] - from.row_start[i];
  if (!to.take(count * values_each, by_columns ? 0 : count, by_columns ? count : 0, lists + spare + 1))
    return false;
  const T *const values = static_cast<const T *>(from.values);
  const tnk_int *const numbers = by_columns ? from.row_index : from.col_index;
  tnk_int *const new_numbers = by_columns ? to.row_index : to.col_index;
  tnk_int at = 0;
  for (tnk_int i = 0; i < lists; ++i) {
    to.pointer[i] = at + base;
    for (tnk_int p = from.row_start[i] - origin; p < from.row_end[i] - origin; ++p, ++at) {
      new_numbers[at] = numbers[p] + shift;
      for (tnk_int e = 0; e < values_each; ++e) to.values[at * values_each + e] = values[p * values_each + e];
    }
  }
  for (tnk_int i = lists; i <= lists + spare; ++i) to.pointer[i] = at + base;
  to.shape(from.storage, from.m, from.n, count);
  return true;
}

// Any storage as compressed rows with numbers from `base`; of a skyline the triangle counts. Stored diagonals are those of
// a square matrix.
template <class T>
tnk_sparse_status rows_of(const char *routine, const tnk_sparse_matrix &a, tnk_int base, bool upper,
                          Made<T> &rows);

// The kernels of conversions, sums and products, in one element type.
template <class T> struct Converters;
template <class T> Converters<T> &converters();
#define TNK_CONVERTERS(t, T)                                                                                 \
  template <> struct Converters<T> {                                                                         \
    KernelEntry<decltype(tnk_spblas_tnk_##t##csrcoo)> csrcoo{"tnk_spblas_tnk_" #t "csrcoo"};                 \
    KernelEntry<decltype(tnk_spblas_tnk_##t##csrcsc)> csrcsc{"tnk_spblas_tnk_" #t "csrcsc"};                 \
    KernelEntry<decltype(tnk_spblas_tnk_##t##csrbsr)> csrbsr{"tnk_spblas_tnk_" #t "csrbsr"};                 \
    KernelEntry<decltype(tnk_spblas_tnk_##t##csrdia)> csrdia{"tnk_spblas_tnk_" #t "csrdia"};                 \
    KernelEntry<decltype(tnk_spblas_tnk_##t##csrsky)> csrsky{"tnk_spblas_tnk_" #t "csrsky"};                 \
    KernelEntry<decltype(tnk_spblas_tnk_##t##dnscsr)> dnscsr{"tnk_spblas_tnk_" #t "dnscsr"};                 \
    KernelEntry<decltype(tnk_spblas_##t##sortrow)> sortrow{"tnk_spblas_" #t "sortrow"};                      \
    KernelEntry<decltype(tnk_spblas_##t##mcsradd_notr)> add{"tnk_spblas_" #t "mcsradd_notr"};                \
    KernelEntry<decltype(tnk_spblas_##t##mcsradd_tr)> add_tr{"tnk_spblas_" #t "mcsradd_tr"};                 \
    KernelEntry<decltype(tnk_spblas_##t##mcsr_notr)> multiply{"tnk_spblas_" #t "mcsr_notr"};                 \
    KernelEntry<decltype(tnk_spblas_##t##multcsr_trom)> multiply_tr{"tnk_spblas_" #t "multcsr_trom"};        \
  };                                                                                                         \
  template <> Converters<T> &converters<T>();
TNK_CONVERTERS(s, float)
TNK_CONVERTERS(d, double)
TNK_CONVERTERS(c, tnk_complex8)
TNK_CONVERTERS(z, tnk_complex16)
#undef TNK_CONVERTERS

} // namespace tnk::host::sparse
