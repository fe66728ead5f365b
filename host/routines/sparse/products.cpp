// Products with sparse matrices: check, choose the kernel by the letters of its name, scale by beta, cut into pieces.
#include <algorithm>
#include <tnk/sparse.h>

#include "host/routines/sparse/arguments.h"
#include "host/routines/sparse/block.h"
#include "host/routines/sparse/kernels.h"
#include "host/routines/sparse/pieces.h"
#include "host/routines/sparse/plan.h"
#include "host/routines/sparse/stored.h"
#include "host/threading/team.h"

namespace tnk::host::sparse {
namespace {

bool is_stored_otherwise(const tnk_sparse_matrix &a) {
  return a.storage != TNK_SPARSE_CSR && a.storage != TNK_SPARSE_COO;
}
// For rows that are made of what has been looked at.
tnk_sparse_descriptor trusted(const tnk_sparse_descriptor &d) {
  tnk_sparse_descriptor copy = d;
  copy.check = TNK_SPARSE_TRUSTED;
  return copy;
}

// ---- One right-hand side ---------------------------------------------------------------------------------------

template <class T> struct MvJob {
  const char *routine;
  const Plan plan;
  const tnk_sparse_matrix &a;
  const T alpha;
  const T *x;
  const Tools<T> tools;
  const Scaling<T> scale;
  T *y;
  tnk_int length; // of y
  void *kernel;
  Reach reach = reach_of(plan);

  // Rows or entries first ... last, from one, onto `out`.
  void run(tnk_int first, tnk_int last, T *out) const {
    const T *const values = static_cast<const T *>(a.values);
    if (a.storage == TNK_SPARSE_COO) {
      const tnk_int *row = a.row_index, *col = a.col_index, *m = &a.m, *n = &a.n;
      if (plan.swapped) std::swap(row, col), std::swap(m, n);
      if (is_sequential(plan, Operation::mv))
        reinterpret_cast<typename Coo<T>::MvSeq *>(kernel)(m, n, &alpha, values, row, col, &a.nnz, x, out);
      else
        reinterpret_cast<typename Coo<T>::MvPar *>(kernel)(&first, &last, m, n, &alpha, values, row, col,
                                                           &a.nnz, x, out);
    } else if (is_sequential(plan, Operation::mv)) {
      reinterpret_cast<typename Csr<T>::MvSeq *>(kernel)(&a.m, &alpha, values, a.col_index, a.row_start,
                                                         a.row_end, x, out);
    } else {
      const tnk_int origin = reach == Reach::after ? first - 1 : 0;
      reinterpret_cast<typename Csr<T>::MvPar *>(kernel)(&first, &last, &a.m, &alpha, values, a.col_index,
                                                         a.row_start, a.row_end, x + origin, out);
    }
  }
  tnk_int parts() const { return a.storage == TNK_SPARSE_COO ? a.nnz : a.m; } // that pieces consist of

  void run_alone() const {
    scale(y, length);
    run(1, parts(), y);
  }

  void run_rows(const Pieces &p, int threads) const {
    spread(p.count, threads, [&](int i) {
      scale(y + p.begin[i], p.begin[i + 1] - p.begin[i]);
      run(p.begin[i] + 1, p.begin[i + 1], y);
    });
  }

  // Piece `in_place` adds onto y, each other one onto a private vector, as long as what the piece reaches.
  bool run_scattering(const Pieces &p) const {
    Helpers<T> &all = helpers<T>();
    const auto split = all.split.get(routine);
    const auto split_lower = all.split_lower.get(routine);
    const auto split_upper = all.split_upper.get(routine);
    if (!split || !split_lower || !split_upper) return false;
    constexpr tnk_int line = 64 / sizeof(T);
    const tnk_int stride = (length + line - 1) / line * line;
    const Block block(tnk_serv_allocate(stride * (p.count - 1) * static_cast<tnk_int>(sizeof(T)), 64));
    if (!block.address) {
      run_alone();
      return true;
    }
    T *const memory = static_cast<T *>(block.address);
    const int in_place = reach == Reach::after ? 0 : p.count - 1;
    const auto own = [&](int i) { return memory + stride * (reach == Reach::after ? i - 1 : i); };

    scale(y, length);
    spread(p.count, p.count, [&](int i) {
      if (i == in_place) return run(p.begin[i] + 1, p.begin[i + 1], y);
      const tnk_int size = reach == Reach::all      ? length
                           : reach == Reach::before ? p.begin[i + 1]
                                                    : length - p.begin[i];
      tools.zeros(own(i), &size);
      run(p.begin[i] + 1, p.begin[i + 1], own(i));
    });

    // Added up in parts of y. Those of mirrored kinds are the pieces, since the same private vectors reach all of one.
    const tnk_int count = p.count, one = 1, none = 0;
    const Pieces parts_of_y = reach == Reach::all ? even_pieces(p.count, length) : p;
    spread(p.count, p.count, [&](int i) {
      const tnk_int begin = parts_of_y.begin[i], size = parts_of_y.begin[i + 1] - begin;
      const T *reaching[most_threads];
      if (reach == Reach::all) {
        const tnk_int first = begin + 1, last = begin + size;
        split(&first, &last, &count, &stride, memory, y);
      } else if (reach == Reach::before) { // pieces from i on, the last of all being in y
        for (int t = i; t < in_place; ++t) reaching[t - i] = own(t) + begin;
        const tnk_int end = in_place - i + 1;
        split_lower(&end, &size, &one, nullptr, reaching, y + begin);
      } else { // pieces up to i, the first being in y
        reaching[0] = nullptr;
        for (int t = 1; t <= i; ++t) reaching[t] = own(t) + (begin - p.begin[t]);
        const tnk_int others = i;
        split_upper(&size, &none, &others, nullptr, reaching, y + begin);
      }
    });
    return true;
  }
};

template <class T>
tnk_sparse_status mv(const char *routine, char op, const T *alpha, const tnk_sparse_matrix *a,
                     const tnk_sparse_descriptor *d, const T *x, const T *beta, T *y) {
  const Check check(routine);
  if (!operands_are_sound(check, op, alpha, a, d, most_of_products) ||
      !stored_product_is_sound(check, *a, *d, false))
    return TNK_SPARSE_BAD_ARGUMENT;
  op = static_cast<char>(op & ~32);
  const tnk_int length = op == 'N' ? a->m : a->n, read = op == 'N' ? a->n : a->m;
  Tools<T> tools;
  if (!tools.find(routine)) return TNK_SPARSE_NO_KERNEL;
  const bool nothing_read = read == 0 || length == 0 || tools.is_zero(*alpha);
  if ((!nothing_read && !check.address(5, "x", x)) || !check.address(6, "beta", beta) ||
      (length > 0 && !check.address(7, "y", y)))
    return TNK_SPARSE_BAD_ARGUMENT;
  const Scaling<T> scale(tools, *beta);
  if (nothing_read) {
    if (length > 0) scale(y, length);
    return TNK_SPARSE_OK;
  }

  if (is_stored_otherwise(*a)) {
    StoredProduct<T> product(routine, op, *alpha, *a, *d, false);
    if (const auto status = product.prepare(); status != TNK_SPARSE_OK) return status;
    if (product.rows()) {
      const tnk_sparse_descriptor checked = trusted(*d);
      return mv(routine, op, alpha, product.rows(), &checked, x, beta, y);
    }
    scale(y, length);
    product.run(x, y);
    return TNK_SPARSE_OK;
  }

  const Plan plan = plan_product(*a, *d, op, is_complex<T>);
  void *const kernel = grid_kernel<T>(routine, plan, Operation::mv);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;
  T factor = *alpha;
  if (plan.negated) tools.neones(&factor);
  const MvJob<T> job{routine, plan, *a, factor, x, tools, scale, y, length, kernel};

  double work = job.reach == Reach::no_parts ? 0 : static_cast<double>(a->nnz);
  // A private vector is cleared, written and added: with fewer entries than elements a piece does not pay for that.
  if (job.reach != Reach::own)
    work = std::min(work, least_work * static_cast<double>(a->nnz) / static_cast<double>(length));
  const int threads = threads_worth_while(work);
  if (threads <= 1)
    job.run_alone();
  else if (job.reach == Reach::own)
    job.run_rows(row_pieces(threads * slices_a_thread, *a), threads);
  else if (!job.run_scattering(a->storage == TNK_SPARSE_COO ? even_pieces(threads, a->nnz)
                                                            : row_pieces(threads, *a)))
    return TNK_SPARSE_NO_KERNEL;
  return TNK_SPARSE_OK;
}

// ---- Several right-hand sides --------------------------------------------------------------------------------------

template <class T>
tnk_sparse_status mm(const char *routine, char op, const T *alpha, const tnk_sparse_matrix *a,
                     const tnk_sparse_descriptor *d, tnk_int nrhs, const T *b, tnk_int ldb, const T *beta,
                     T *c, tnk_int ldc) {
  const Check check(routine);
  if (!operands_are_sound(check, op, alpha, a, d, most_of_products) ||
      !stored_product_is_sound(check, *a, *d, true) || !check.length<T>(5, "nrhs", &nrhs))
    return TNK_SPARSE_BAD_ARGUMENT;
  op = static_cast<char>(op & ~32);
  const tnk_int length = op == 'N' ? a->m : a->n, read = op == 'N' ? a->n : a->m;
  Tools<T> tools;
  if (!tools.find(routine)) return TNK_SPARSE_NO_KERNEL;
  const bool by_columns = d->base == 1, empty = length == 0 || nrhs == 0;
  const bool nothing_read = empty || read == 0 || tools.is_zero(*alpha);
  if (!check.matrix(6, "b", b, !nothing_read, "ldb", &ldb, by_columns ? read : nrhs,
                    by_columns ? nrhs : read) ||
      !check.address(8, "beta", beta) ||
      !check.matrix(9, "c", c, !empty, "ldc", &ldc, by_columns ? length : nrhs, by_columns ? nrhs : length))
    return TNK_SPARSE_BAD_ARGUMENT;
  if (empty) return TNK_SPARSE_OK;

  const bool otherwise = is_stored_otherwise(*a);
  StoredProduct<T> stored(routine, op, *alpha, *a, *d, true);
  if (otherwise && !nothing_read) {
    if (const auto status = stored.prepare(); status != TNK_SPARSE_OK) return status;
    if (stored.rows()) {
      const tnk_sparse_descriptor checked = trusted(*d);
      return mm(routine, op, alpha, stored.rows(), &checked, nrhs, b, ldb, beta, c, ldc);
    }
  }
  const Plan plan = plan_product(*a, *d, op, is_complex<T>);
  void *const kernel = nothing_read || otherwise ? nullptr : grid_kernel<T>(routine, plan, Operation::mm);
  if (!kernel && !nothing_read && !otherwise) return TNK_SPARSE_NO_KERNEL;
  T factor = *alpha;
  if (plan.negated) tools.neones(&factor);
  const Scaling<T> scale(tools, *beta);
  const auto run = [&](tnk_int begin, tnk_int end) {
    if (by_columns)
      for (tnk_int j = begin; j < end; ++j) scale(c + j * ldc, length);
    else
      for (tnk_int i = 0; i < length; ++i) scale(c + i * ldc + begin, end - begin);
    if (nothing_read) return;
    if (otherwise) return stored.run(begin, end, b, ldb, c, ldc);
    const T *const values = static_cast<const T *>(a->values);
    const tnk_int first = begin + 1;
    if (a->storage == TNK_SPARSE_COO) {
      const tnk_int *row = a->row_index, *col = a->col_index, *m = &a->m, *n = &a->n;
      if (plan.swapped) std::swap(row, col), std::swap(m, n);
      reinterpret_cast<typename Coo<T>::MmPar *>(kernel)(&first, &end, m, n, &factor, values, row, col,
                                                         &a->nnz, b, &ldb, c, &ldc);
    } else if (is_sequential(plan, Operation::mm)) {
      reinterpret_cast<typename Csr<T>::MmSeq *>(kernel)(&a->m, &nrhs, &factor, values, a->col_index,
                                                         a->row_start, a->row_end, b, &ldb, c, &ldc);
    } else {
      reinterpret_cast<typename Csr<T>::MmPar *>(kernel)(&first, &end, &a->m, &nrhs, &factor, values,
                                                         a->col_index, a->row_start, a->row_end, b, &ldb, c,
                                                         &ldc);
    }
  };

  // Rows of a general matrix go by themselves. A part of the result stays in the cache until its products are added.
  const bool by_rows =
      !by_columns && kernel && a->storage == TNK_SPARSE_CSR && plan.kind == 'g' && plan.op == 'n';
  const auto run_rows = [&](tnk_int begin, tnk_int end) {
    constexpr tnk_int bytes_at_once = 1 << 16, one = 1;
    const tnk_int most = std::max<tnk_int>(bytes_at_once / static_cast<tnk_int>(sizeof(T)) / nrhs, 1);
    for (tnk_int rows = 0; begin < end; begin += rows) {
      rows = std::min(end - begin, most);
      if (ldc == nrhs)
        scale(c + begin * ldc, rows * nrhs);
      else
        for (tnk_int i = begin; i < begin + rows; ++i) scale(c + i * ldc, nrhs);
      const tnk_int before = a->row_start[begin] - a->row_start[0];
      reinterpret_cast<typename Csr<T>::MmPar *>(kernel)(
          &one, &nrhs, &rows, &nrhs, &factor, static_cast<const T *>(a->values) + before,
          a->col_index + before, a->row_start + begin, a->row_end + begin, b, &ldb, c + begin * ldc, &ldc);
    }
  };
  if (by_rows) {
    const int threads = threads_worth_while(static_cast<double>(a->nnz) * static_cast<double>(nrhs));
    if (threads <= 1)
      run_rows(0, length);
    else {
      const Pieces p = row_pieces(threads * slices_a_thread, *a);
      spread(p.count, threads, [&](int i) { run_rows(p.begin[i], p.begin[i + 1]); });
    }
    return TNK_SPARSE_OK;
  }

  // Right-hand sides that lie side by side are cut at every eighth, so that threads do not write to the same cache
  // lines all along; where the result stays in the second cache, the next lines are too near as well.
  constexpr tnk_int near = 1 << 20;
  const bool is_near = length * nrhs * static_cast<tnk_int>(sizeof(T)) < near;
  const tnk_int unit = by_columns ? 1 : is_near ? 32 : 8;
  const bool whole = nothing_read || (!otherwise && is_sequential(plan, Operation::mm));
  const double entries = otherwise ? stored.entries() : static_cast<double>(a->nnz);
  const double work = whole ? 0 : entries * static_cast<double>(nrhs);
  const auto count = static_cast<int>(std::min<tnk_int>(threads_worth_while(work), nrhs / unit));
  if (count <= 1) {
    run(0, nrhs);
  } else {
    const Pieces p = even_pieces(count, nrhs, unit);
    spread(count, count, [&](int i) { run(p.begin[i], p.begin[i + 1]); });
  }
  return TNK_SPARSE_OK;
}

} // namespace
} // namespace tnk::host::sparse

#define TNK_PUBLIC(t, T)                                                                                     \
  tnk_sparse_status tnk_sparse_##t##mv(char op, const T *alpha, const tnk_sparse_matrix *matrix,             \
                                       const tnk_sparse_descriptor *descriptor, const T *x, const T *beta,   \
                                       T *y) {                                                               \
    return tnk::host::sparse::mv("tnk_sparse_" #t "mv", op, alpha, matrix, descriptor, x, beta, y);          \
  }                                                                                                          \
  tnk_sparse_status tnk_sparse_##t##mm(char op, const T *alpha, const tnk_sparse_matrix *matrix,             \
                                       const tnk_sparse_descriptor *descriptor, tnk_int nrhs, const T *b,    \
                                       tnk_int ldb, const T *beta, T *c, tnk_int ldc) {                      \
    return tnk::host::sparse::mm("tnk_sparse_" #t "mm", op, alpha, matrix, descriptor, nrhs, b, ldb, beta,   \
                                 c, ldc);                                                                    \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC
