// Solves with sparse triangles and diagonals: check, put triples into rows, scale, cut into pieces of right-hand sides.
#include <algorithm>
#include <cstring>
#include <tnk/sparse.h>

#include "host/routines/sparse/arguments.h"
#include "host/routines/sparse/block.h"
#include "host/routines/sparse/kernels.h"
#include "host/routines/sparse/pieces.h"
#include "host/routines/sparse/pivots.h"
#include "host/routines/sparse/plan.h"
#include "host/routines/sparse/triples.h"
#include "host/service/large_pages.h"
#include "host/threading/team.h"

namespace tnk::host::sparse {
namespace {

template <class T> void *skyline_kernel(const char *routine);
#define TNK_SKYLINE(t, T)                                                                                    \
  template <> void *skyline_kernel<T>(const char *routine) {                                                 \
    static KernelEntry<decltype(tnk_spblas_##t##skysvk)> entry{"tnk_spblas_" #t "skysvk"};                   \
    return reinterpret_cast<void *>(entry.get(routine));                                                     \
  }
TNK_SKYLINE(s, float)
TNK_SKYLINE(d, double)
TNK_SKYLINE(c, tnk_complex8)
TNK_SKYLINE(z, tnk_complex16)
#undef TNK_SKYLINE

// The right-hand sides of a call: one after another, or by rows.
template <class T> struct RightSides {
  const T *b;
  tnk_int ldb;
  T *x;
  tnk_int ldx;
  tnk_int m, count;
  bool by_columns;

  // x := factor b, of some of them.
  void prepare(tnk_int begin, tnk_int end, const Scaling<T> *factor) const {
    tnk_int lines = by_columns ? end - begin : m, length = by_columns ? m : end - begin;
    if (end - begin == count && ldb == ldx && ldx == length) length *= lines, lines = 1; // all in one
    for (tnk_int k = 0; k < lines; ++k) {
      T *const to = by_columns ? x + (begin + k) * ldx : x + k * ldx + begin;
      const T *const from = by_columns ? b + (begin + k) * ldb : b + k * ldb + begin;
      if (from != to && !(factor && factor->clears))
        std::memcpy(static_cast<void *>(to), from, static_cast<std::size_t>(length) * sizeof(T));
      if (factor) (*factor)(to, length);
    }
  }

  // Those of a piece in memory of their own, one piece behind the other.
  RightSides apart(T *own, tnk_int begin, tnk_int end) const {
    return {b + begin, ldb, own + m * begin, end - begin, m, end - begin, false};
  }
  // Some rows of x from there.
  void take_rows(const T *own, const Pieces &p, tnk_int first, tnk_int last) const {
    for (tnk_int row = first; row < last; ++row)
      for (int i = 0; i < p.count; ++i) {
        const tnk_int begin = p.begin[i], width = p.begin[i + 1] - begin;
        std::memcpy(static_cast<void *>(x + row * ldx + begin), own + m * begin + row * width,
                    static_cast<std::size_t>(width) * sizeof(T));
      }
  }
};

template <class T> struct SolveJob {
  const tnk_sparse_matrix &a; // rows, diagonals or a skyline
  const tnk_sparse_descriptor &d;
  const Plan plan;
  const T alpha;
  const RightSides<T> sides;
  const Operation operation;
  void *kernel;

  // Only diagonals of compressed rows take alpha along.
  bool kernel_scales() const { return plan.kind == 'd' && a.storage == TNK_SPARSE_CSR; }

  void run(const RightSides<T> &y, tnk_int begin, tnk_int end) const {
    const T *const values = static_cast<const T *>(a.values);
    T *const first_column = y.x + begin * y.ldx;
    const tnk_int first = begin + 1, *const m = &a.m, *const last = &end, *const ldx = &y.ldx;
    if (a.storage == TNK_SPARSE_SKY) {
      // No kernel conjugates: what the transpose makes of the conjugates is conjugated again.
      const bool conjugates = plan.op == 'c';
      const tnk_int transposed = plan.op != 'n', upper = plan.triangle == 'u', unit = plan.diagonal == 'u';
      using Kernel = void(Int, Int, Int, Int, const T *, Int, T *);
      for (tnk_int j = begin; j < end; ++j) {
        T *const x = y.x + j * y.ldx;
        if (conjugates) conjugate(x, *m);
        reinterpret_cast<Kernel *>(kernel)(&transposed, m, &upper, &unit, values, a.row_start, x);
        if (conjugates) conjugate(x, *m);
      }
    } else if (a.storage == TNK_SPARSE_DIA) {
      // Diagonals ascend: below the main one, that, and above it. Distances from one.
      const tnk_int *const distances = a.diag_distance, *const past = distances + a.diag_count;
      const tnk_int below = std::lower_bound(distances, past, 0) - distances;
      const tnk_int not_above = std::upper_bound(distances, past, 0) - distances, diag = below + 1;
      const tnk_int band_first = plan.triangle == 'u' ? not_above + 1 : 1;
      const tnk_int band_last = plan.triangle == 'u' ? a.diag_count : below, count = end - begin;
      if (operation == Operation::sv)
        reinterpret_cast<typename Solve<T>::DiaSv *>(kernel)(m, values, &a.diag_stride, distances, y.x,
                                                             &band_first, &band_last, &diag);
      else if (is_sequential(plan, operation))
        reinterpret_cast<typename Solve<T>::DiaSmSeq *>(kernel)(
            m, &count, values, &a.diag_stride, distances, first_column, ldx, &band_first, &band_last, &diag);
      else
        reinterpret_cast<typename Solve<T>::DiaSmPar *>(kernel)(
            &first, last, m, values, &a.diag_stride, distances, y.x, ldx, &band_first, &band_last, &diag);
    } else if (operation == Operation::sv) {
      reinterpret_cast<typename Solve<T>::CsrSv *>(kernel)(m, &alpha, values, a.col_index, a.row_start,
                                                           a.row_end, y.x);
    } else {
      reinterpret_cast<typename Solve<T>::CsrSm *>(kernel)(&first, last, m, &y.count, &alpha, values,
                                                           a.col_index, a.row_start, a.row_end, y.x, ldx);
    }
  }
  double entries() const {
    return a.storage == TNK_SPARSE_SKY   ? static_cast<double>(a.row_start[a.m] - a.row_start[0])
           : a.storage == TNK_SPARSE_DIA ? static_cast<double>(a.diag_count) * static_cast<double>(a.m)
                                         : static_cast<double>(a.nnz);
  }
};

// Right-hand sides that lie side by side are cut into as many as a kernel takes in one round, since half of them would
// take it as long. Pieces pay where rows have some entries, and beyond the caches, where each thread fetches the whole
// matrix, with two rounds a thread.
template <class T> tnk_int most_pieces_by_rows(const SolveJob<T> &job, tnk_int round) {
  constexpr double least_row = 24;
  const double m = static_cast<double>(job.a.m), sides = static_cast<double>(job.sides.count);
  if (job.entries() < least_row * m) return 1;
  const double bytes = job.entries() * (sizeof(T) + sizeof(tnk_int)) + 3 * m * sides * sizeof(T);
  const bool fits = bytes < 2. * tnk_serv_get_cache_size(3);
  return job.sides.count / (fits ? round : 2 * round);
}

// Threads that write to neighbouring lines take these from one another at every row, for several times the work of a
// row. So pieces of sides that lie side by side are solved in memory of their own, from which x is filled by whole rows.
// Without memory one thread does it all.
template <class T> void run_in_pieces(const SolveJob<T> &job, const Scaling<T> *factor) {
  constexpr tnk_int round = sizeof(T) == 16 ? 8 : 16;
  constexpr double faster = 4; // than by columns
  const RightSides<T> &all = job.sides;
  const bool by_columns = all.by_columns;
  const double work = job.entries() * static_cast<double>(all.count) / (by_columns ? 1 : faster);
  const tnk_int most = by_columns ? all.count : most_pieces_by_rows(job, round);
  const auto pieces = static_cast<int>(most < 2 ? 1 : std::min<tnk_int>(threads_worth_while(work), most));
  const auto run = [&](const RightSides<T> &sides, tnk_int begin, tnk_int end) {
    sides.prepare(begin, end, factor);
    job.run(sides, begin, end);
  };
  if (pieces <= 1) return run(all, 0, all.count);
  const Pieces p = even_pieces(pieces, all.count, by_columns ? 1 : round);
  if (by_columns) return spread(pieces, pieces, [&](int i) { run(all, p.begin[i], p.begin[i + 1]); });
  const tnk_int bytes = all.m * all.count * static_cast<tnk_int>(sizeof(T));
  const Block block(tnk_serv_allocate(bytes, 128));
  T *const own = static_cast<T *>(block.address);
  if (!own) return run(all, 0, all.count);
  prefer_large_pages(own, bytes);
  spread(pieces, pieces, [&](int i) {
    const RightSides<T> part = all.apart(own, p.begin[i], p.begin[i + 1]);
    run(part, 0, part.count);
  });
  const Pieces rows = even_pieces(pieces, all.m);
  spread(pieces, pieces, [&](int i) { all.take_rows(own, p, rows.begin[i], rows.begin[i + 1]); });
}

template <class T>
tnk_sparse_status solve(const char *routine, Operation operation, char op, const T *alpha,
                        const tnk_sparse_matrix *a, const tnk_sparse_descriptor *d, tnk_int nrhs, const T *b,
                        tnk_int ldb, T *x, tnk_int ldx) {
  const Check check(routine);
  if (!operands_are_sound(check, op, alpha, a, d, most_of_solves) ||
      !check.number(4, "descriptor->kind", d->kind,
                    d->kind == TNK_SPARSE_TRIANGULAR ||
                        (d->kind == TNK_SPARSE_DIAGONAL && a->storage != TNK_SPARSE_SKY),
                    a->storage == TNK_SPARSE_SKY ? "3, a triangle" : "3 or 4, a triangle or a diagonal"))
    return TNK_SPARSE_BAD_ARGUMENT;
  op = static_cast<char>(op & ~32);
  const tnk_int m = a->m;
  const bool several = operation == Operation::sm;
  const bool rows_only = a->storage == TNK_SPARSE_CSR || a->storage == TNK_SPARSE_COO;
  if (several &&
      (!check.number(4, "descriptor->base", d->base, rows_only || d->base == 1, "1 in this storage") ||
       !check.length<T>(5, "nrhs", &nrhs)))
    return TNK_SPARSE_BAD_ARGUMENT;
  Tools<T> tools;
  if (!tools.find(routine)) return TNK_SPARSE_NO_KERNEL;
  const Scaling<T> scaling(tools, *alpha);
  const bool by_columns = !several || d->base == 1, empty = m == 0 || nrhs == 0;
  const bool reads = !empty && !scaling.clears;
  if (!several) {
    ldb = ldx = m;
    if ((reads && !check.address(5, "b", b)) || (!empty && !check.address(6, "x", x)))
      return TNK_SPARSE_BAD_ARGUMENT;
  } else {
    const tnk_int across = by_columns ? m : nrhs, lines = by_columns ? nrhs : m;
    if (!check.matrix(6, "b", b, reads, "ldb", &ldb, across, lines) ||
        !check.matrix(8, "x", x, !empty, "ldx", &ldx, across, lines) ||
        !check.number(9, "ldx", ldx, b != x || ldx == ldb, "ldb, where x is b"))
      return TNK_SPARSE_BAD_ARGUMENT;
  }
  if (empty) return TNK_SPARSE_OK;
  const RightSides<T> sides{b, ldb, x, ldx, m, nrhs, by_columns};
  const bool identity = d->kind == TNK_SPARSE_DIAGONAL && d->diagonal == TNK_SPARSE_UNIT;
  if (scaling.clears || identity) {
    sides.prepare(0, nrhs, &scaling);
    return TNK_SPARSE_OK;
  }
  if (!pivots_are_there<T>(check, *a, *d, op != 'N')) return TNK_SPARSE_BAD_ARGUMENT;

  Plan plan = plan_solve(a->storage == TNK_SPARSE_DIA, *d, op, is_complex<T>);
  RowsOfTriples<T> listed;
  if (a->storage == TNK_SPARSE_COO) {
    const tnk_sparse_status status = listed.list(check, routine, *a, *d, op != 'N');
    if (status != TNK_SPARSE_OK) return status;
    // Transposed by exchanging the numbers, so that the kernel is that of the other triangle.
    if (plan.kind == 't') {
      plan.op = plan.op == 'c' ? 's' : 'n';
      if (op != 'N') plan.triangle = plan.triangle == 'l' ? 'u' : 'l';
    }
  }
  void *const kernel =
      a->storage == TNK_SPARSE_SKY ? skyline_kernel<T>(routine) : grid_kernel<T>(routine, plan, operation);
  if (!kernel) return TNK_SPARSE_NO_KERNEL;
  const SolveJob<T> job{
      a->storage == TNK_SPARSE_COO ? listed.rows : *a, *d, plan, *alpha, sides, operation, kernel};
  run_in_pieces(job, job.kernel_scales() ? nullptr : &scaling);
  return TNK_SPARSE_OK;
}

} // namespace
} // namespace tnk::host::sparse

#define TNK_PUBLIC(t, T)                                                                                     \
  tnk_sparse_status tnk_sparse_##t##sv(char op, const T *alpha, const tnk_sparse_matrix *matrix,             \
                                       const tnk_sparse_descriptor *descriptor, const T *b, T *x) {          \
    using namespace tnk::host::sparse;                                                                       \
    return solve("tnk_sparse_" #t "sv", Operation::sv, op, alpha, matrix, descriptor, 1, b, 0, x, 0);        \
  }                                                                                                          \
  tnk_sparse_status tnk_sparse_##t##sm(char op, const T *alpha, const tnk_sparse_matrix *matrix,             \
                                       const tnk_sparse_descriptor *descriptor, tnk_int nrhs, const T *b,    \
                                       tnk_int ldb, T *x, tnk_int ldx) {                                     \
    using namespace tnk::host::sparse;                                                                       \
    return solve("tnk_sparse_" #t "sm", Operation::sm, op, alpha, matrix, descriptor, nrhs, b, ldb, x, ldx); \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC
