// Skyline products and solves: dense runs that end at the diagonal, handed to the dense routines.
#include "kernel/frame/element.h"
#include "kernel/frame/host_blas.h"
#include "kernel/sparse/quotient.h"
#include "kernel/sparse/wrapped.h"
#include <tnk/spblas_aux.h>

namespace tnk::sparse {
namespace {

// The host has no complex dot product without conjugation for kernels to call.
template <class T> T dot(tnk_int n, const T *x, const T *y) {
  if constexpr (is_complex<T>) {
    T sum{};
    for (tnk_int i = 0; i < n; ++i) sum += get(x + i) * get(y + i);
    return sum;
  } else {
    return host_dot(n, x, y);
  }
}

template <class T, class I> struct Skyline {
  I m, nrhs;
  T alpha;
  const T *values;
  const I *pointer;
  const T *b;
  I ldb;
  T *c;
  I ldc;
};

template <class T> void add(T *target, T term) {
  put(target, get(target) + term);
}

// visit(run, length, what b and c have at its start, its number from the start) for each run and right-hand side.
template <class T, class I, class Visit> void for_each_run(const Skyline<T, I> &job, Visit visit) {
  for (I q = 0; q < job.nrhs; ++q)
    for (I i = 0; i < job.m; ++i) {
      const I start = get(job.pointer + i), length = wrapped_difference(get(job.pointer + i + 1), start);
      const I first = wrapped_difference<I>(i + 1, length);
      if (length > 0)
        visit(job.values + wrapped_difference(start, get(job.pointer)), length,
              job.b + wrapped_product(q, job.ldb) + first, job.c + wrapped_product(q, job.ldc) + first);
    }
}
template <class T, class I> void add_identity(const Skyline<T, I> &job) {
  // A negative number of rows is none here; the public routine would report it.
  for (I q = 0; job.m > 0 && q < job.nrhs; ++q)
    host_axpy(job.m, job.alpha, job.b + wrapped_product(q, job.ldb), job.c + wrapped_product(q, job.ldc));
}

// Runs are rows of the operand: sums. Without their diagonal when `strict`.
template <class T, class I> void add_rows(const Skyline<T, I> &job, bool strict) {
  for_each_run(job, [=](const T *run, I length, const T *b, T *c) {
    add(c + length - 1, job.alpha * dot(length - strict, run, b));
  });
}
// Runs are columns of the operand: multiples of them.
template <class T, class I> void add_columns(const Skyline<T, I> &job, bool strict) {
  for_each_run(job, [=](const T *run, I length, const T *b, T *c) {
    host_axpy(length - strict, job.alpha * get(b + length - 1), run, c);
  });
}

template <class T, class I> void gk(const Skyline<T, I> &job, I flag, I flag2, I diag_flag) {
  if ((flag != 0) == (flag2 != 0))
    add_rows(job, diag_flag != 0);
  else
    add_columns(job, diag_flag != 0);
}
template <class T, class I> void kk(const Skyline<T, I> &job, I flag, I flag2, I diag_flag) {
  if (diag_flag != 0) add_identity(job);
  gk(job, flag, flag2, diag_flag);
}
// Mirrored, both triangles are the same matrix: rows, with the diagonal, and then columns without.
template <class T, class I> void sk(const Skyline<T, I> &job, I, I, I diag_flag) {
  if (diag_flag != 0) add_identity(job);
  add_rows(job, diag_flag != 0);
  add_columns(job, true);
}

template <class T, class I>
void solve(I flag, I m, I flag2, I diag_flag, const T *values, const I *pointer, T *y) {
  const bool unit = diag_flag != 0, by_rows = (flag != 0) == (flag2 != 0);
  for (I step = 0; step < m; ++step) {
    const I i = by_rows ? step : m - 1 - step, start = get(pointer + i);
    const I length = wrapped_difference(get(pointer + i + 1), start), before = length > 0 ? length - 1 : 0;
    const T *const run = values + wrapped_difference(start, get(pointer));
    T *const target = y + i, *const others = target - before;
    const T pivot = length > 0 && !unit ? get(run + before) : T{};
    if (by_rows && before > 0) put(target, get(target) - dot<T>(before, run, others));
    if (!unit) put(target, quotient(get(target), pivot));
    if (!by_rows && before > 0) host_axpy<T>(before, T{} - get(target), run, others);
  }
}

} // namespace
} // namespace tnk::sparse

#define ENTRY(name, kind, T, I)                                                                              \
  void name(const I *flag, const void *, const I *m, const I *nrhs, const I *flag2, const I *diag_flag,      \
            const T *alpha, const T *values, const I *pointer, const T *b, const I *ldb, T *c,               \
            const I *ldc) {                                                                                  \
    tnk::sparse::kind<T, I>({*m, *nrhs, tnk::get(alpha), values, pointer, b, *ldb, c, *ldc}, *flag, *flag2,  \
                            *diag_flag);                                                                     \
  }
#define ENTRIES(p, t, T, I, ...)                                                                             \
  ENTRY(p##t##skymmgk, gk, T, I)                                                                             \
  ENTRY(p##t##skymmkk, kk, T, I)                                                                             \
  ENTRY(p##t##skymmsk, sk, T, I)                                                                             \
  void p##t##skysvk(const I *flag, const I *m, const I *flag2, const I *diag_flag, const T *values,          \
                    const I *pointer, T *y) {                                                                \
    tnk::sparse::solve(*flag, *m, *flag2, *diag_flag, values, pointer, y);                                   \
  }
TNK_SP_AUX_EACH(ENTRIES, )
