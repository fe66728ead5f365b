// Sums and products of compressed rows. The kernels count from one.
#include <cstring>
#include <tnk/sparse.h>

#include "host/routines/element.h"
#include "host/routines/sparse/arguments.h"
#include "host/routines/sparse/made.h"

namespace tnk::host::sparse {
namespace {

constexpr tnk_int rows_only = 1, entries_only = 2; // of the kernels' requests

bool is_general(const Check &check, int at, const tnk_sparse_matrix *a, int descriptor_at,
                const tnk_sparse_descriptor *d) {
  return is_sound(check, at, a, descriptor_at, d, TNK_SPARSE_CSR) &&
         check.number(descriptor_at, "descriptor->kind", d->kind, d->kind == TNK_SPARSE_GENERAL,
                      "0, a general matrix") &&
         (d->check == TNK_SPARSE_TRUSTED || indices_are_sound(check, at, *a, *d));
}

// Whether columns ascend within rows. Where these stand one after another, all neighbours are compared in one loop without
// a branch, by signs of differences that compilers put into vectors, and those in two rows are taken out afterwards.
bool rows_ascend(const tnk_sparse_matrix &a) {
  const tnk_int *const columns = a.col_index, origin = a.m > 0 ? a.row_start[0] : 0;
  if (a.m > 0 && a.row_end == a.row_start + 1) {
    const auto descends_to = [=](tnk_int p) {
      return (static_cast<std::uint64_t>(columns[p]) - static_cast<std::uint64_t>(columns[p - 1])) >> 63;
    };
    const tnk_int entries = a.row_start[a.m] - origin;
    std::uint64_t descents = 0;
    for (tnk_int p = 1; p < entries; ++p) descents += descends_to(p);
    for (tnk_int i = 1; i < a.m && descents > 0; ++i) {
      const tnk_int p = a.row_start[i] - origin;
      if (p > 0 && a.row_start[i + 1] > a.row_start[i]) descents -= descends_to(p);
    }
    return descents == 0;
  }
  for (tnk_int i = 0; i < a.m; ++i)
    for (tnk_int p = a.row_start[i] - origin + 1; p < a.row_end[i] - origin; ++p)
      if (columns[p] < columns[p - 1]) return false;
  return true;
}

// Columns and pointers from one; copied where they are not, or where the kernel is going to sort.
template <class T>
bool from_one(const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d, bool must_copy, Made<T> &to) {
  return in_order<T>(a, a.m, 0, 1, 1 - d.base, 1, must_copy, to);
}

// The result in the descriptor's base.
template <class T>
tnk_sparse_status hand_over(Made<T> &made, tnk_int rows, tnk_int columns, const tnk_sparse_descriptor &d,
                            tnk_sparse_matrix *result) {
  const tnk_int count = made.pointer[rows] - 1;
  if (d.base == 0) {
    for (tnk_int p = 0; p < count; ++p) --made.col_index[p];
    for (tnk_int i = 0; i <= rows; ++i) --made.pointer[i];
  }
  made.shape(TNK_SPARSE_CSR, rows, columns, count);
  *result = made.release();
  return TNK_SPARSE_OK;
}

template <class T>
tnk_sparse_status add(const char *routine, char op, const tnk_sparse_matrix *a, const T *beta,
                      const tnk_sparse_matrix *b, const tnk_sparse_descriptor *d, tnk_sparse_matrix *result) {
  const Check check(routine);
  const auto is_transposed = [&] { return (op | 32) != 'n'; };
  if (!check.option(1, "op", &op, "NTC") || !is_general(check, 2, a, 5, d) || !fits_memory<T>(check, 2, *a) ||
      !check.address(3, "beta", beta) || !is_general(check, 4, b, 5, d) || !fits_memory<T>(check, 4, *b) ||
      !check.number(4, "matrix->m", b->m, b->m == (is_transposed() ? a->n : a->m), "the rows of a sum") ||
      !check.number(4, "matrix->n", b->n, b->n == (is_transposed() ? a->m : a->n), "the columns of a sum") ||
      !check.address(6, "result", result))
    return TNK_SPARSE_BAD_ARGUMENT;
  const bool transposed = is_transposed();
  auto &kernels = converters<T>();
  const auto kernel = transposed ? kernels.add_tr.get(routine) : kernels.add.get(routine);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;

  const bool a_unsorted = !rows_ascend(*a), b_unsorted = !transposed && !rows_ascend(*b);
  const bool conjugated = is_complex<T> && (op | 32) == 'c';
  Made<T> first, second;
  if (!from_one(*a, *d, a_unsorted, first) || !from_one(*b, *d, b_unsorted || conjugated, second))
    return no_memory(routine);
  const tnk_int entries = second.pointer[b->m] - 1;
  if (conjugated) conjugate(second.values, entries);
  const tnk_int sort = a_unsorted + 2 * b_unsorted;
  const Block work(
      tnk_serv_allocate(Room().add(transposed ? a->m + 1 + 2 * entries : 0, sizeof(tnk_int)).bytes(), 64));
  if (!work.address) return no_memory(routine);
  // Counting first would take as long as the sum itself, so there is room for the entries of both.
  const tnk_int room = first.pointer[a->m] - 1 + entries, request = 0;
  Made<T> c;
  if (!c.take(room, room, 0, a->m + 1)) return no_memory(routine);
  tnk_int info;
  kernel(&request, &sort, &a->m, &a->n, first.values, first.col_index, first.pointer, beta, second.values,
         second.col_index, second.pointer, c.values, c.col_index, c.pointer, &room,
         static_cast<tnk_int *>(work.address), &info);
  return hand_over(c, a->m, a->n, *d, result);
}

template <class T>
tnk_sparse_status multiply(const char *routine, char op, const tnk_sparse_matrix *a,
                           const tnk_sparse_matrix *b, const tnk_sparse_descriptor *d,
                           tnk_sparse_matrix *result) {
  const Check check(routine);
  const auto is_transposed = [&] { return (op | 32) != 'n'; };
  if (!check.option(1, "op", &op, "NTC") || !is_general(check, 2, a, 4, d) || !fits_memory<T>(check, 2, *a) ||
      !is_general(check, 3, b, 4, d) || !fits_memory<T>(check, 3, *b) ||
      !check.number(3, "matrix->m", b->m, b->m == (is_transposed() ? a->m : a->n), "the columns of op(A)") ||
      !check.address(5, "result", result))
    return TNK_SPARSE_BAD_ARGUMENT;
  const bool transposed = is_transposed();
  auto &kernels = converters<T>();
  const auto kernel = transposed ? kernels.multiply_tr.get(routine) : kernels.multiply.get(routine);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;
  const bool conjugated = is_complex<T> && (op | 32) == 'c';
  Made<T> first, second;
  if (!from_one(*a, *d, conjugated, first) || !from_one(*b, *d, false, second)) return no_memory(routine);
  const tnk_int entries = first.pointer[a->m] - 1;
  if (conjugated) conjugate(first.values, entries);
  const tnk_int rows = transposed ? a->n : a->m;
  const tnk_int words = b->n + (transposed ? a->n + 1 + 2 * entries : 0);
  const Block work(tnk_serv_allocate(Room().add(words, sizeof(tnk_int)).bytes(), 64));
  if (!work.address) return no_memory(routine);
  const auto run = [&](tnk_int request, Made<T> &c, tnk_int room) {
    tnk_int info;
    kernel(&request, &a->m, &a->n, &b->n, first.values, first.col_index, first.pointer, second.values,
           second.col_index, second.pointer, c.values, c.col_index, c.pointer, &room,
           static_cast<tnk_int *>(work.address), &info);
  };
  Made<T> counted, made;
  if (!counted.take(0, 0, 0, rows + 1)) return no_memory(routine);
  run(rows_only, counted, 0);
  const tnk_int count = counted.pointer[rows] - 1;
  if (!made.take(count, count, 0, rows + 1)) return no_memory(routine);
  std::memcpy(made.pointer, counted.pointer, static_cast<std::size_t>(rows + 1) * sizeof(tnk_int));
  run(entries_only, made, count);
  return hand_over(made, rows, b->n, *d, result);
}

} // namespace
} // namespace tnk::host::sparse

#define TNK_PUBLIC(t, T)                                                                                     \
  tnk_sparse_status tnk_sparse_##t##add(char op, const tnk_sparse_matrix *a, const T *beta,                  \
                                        const tnk_sparse_matrix *b, const tnk_sparse_descriptor *descriptor, \
                                        tnk_sparse_matrix *result) {                                         \
    return tnk::host::sparse::add("tnk_sparse_" #t "add", op, a, beta, b, descriptor, result);               \
  }                                                                                                          \
  tnk_sparse_status tnk_sparse_##t##multiply(                                                                \
      char op, const tnk_sparse_matrix *a, const tnk_sparse_matrix *b,                                       \
      const tnk_sparse_descriptor *descriptor, tnk_sparse_matrix *result) {                                  \
    return tnk::host::sparse::multiply<T>("tnk_sparse_" #t "multiply", op, a, b, descriptor, result);        \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC
