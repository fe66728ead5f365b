// Public products and solves of a triangular matrix and a vector, in the place of the vector: full, packed and banded.
#include <tnk/blas.h>

#include "host/routines/blas/matrix_kernels.h"
#include "host/routines/blas/routine.h"
#include "host/routines/blas/storage.h"
#include "host/routines/blas/vectors.h"

namespace tnk::host {
namespace {

// What is done with the triangle: x := op(A) x, or the solution of op(A) y = x.
struct Task {
  bool solve, transposed, conjugated, unit;
};

// The square on the diagonal of a group, a column at a time, in the order in which the columns can be done.
template <bool Conjugated, class S, class T>
void in_square(const Task &task, const Group<S> &group, bool ascending, T *x) {
  const S &a = group.a;
  const auto column = [&](tnk_int c) {
    const auto *const elements = a.column(c);
    const auto on_diagonal = [&](T value) {
      if (task.unit) return value;
      const T d = conjugate_if<Conjugated>(elements[c]);
      return task.solve ? value / d : d * value;
    };
    group.in_square(c, [&](tnk_int, tnk_int from, tnk_int to) {
      if (task.transposed) {
        T sum = task.solve ? x[c] : on_diagonal(x[c]);
        for (tnk_int i = from; i < to; ++i) {
          const T product = conjugate_if<Conjugated>(elements[i]) * x[i];
          sum = task.solve ? sum - product : sum + product;
        }
        x[c] = task.solve ? on_diagonal(sum) : sum;
      } else {
        if (task.solve) x[c] = on_diagonal(x[c]);
        for (tnk_int i = from; i < to; ++i)
          x[i] = task.solve ? x[i] - elements[i] * x[c] : x[i] + elements[i] * x[c];
        if (!task.solve) x[c] = on_diagonal(x[c]);
      }
    });
  };
  for (tnk_int k = 0; k < group.width; ++k) column(ascending ? group.first + k : group.past() - 1 - k);
}

// What a group has off its square: added to the other elements of x, or transposed, taken from them.
template <bool Conjugated, class S, class T>
void off_square(const Task &task, AddProduct<T> *add, const Group<S> &group, T *x) {
  const S &a = group.a;
  const T alpha = from_real<T>(task.solve ? -1 : 1);
  const tnk_int rows = group.rows(), lda = a.step(group.first);
  if (rows > 0) {
    T *const there = x + group.top, *const here = x + group.first;
    add(&rows, &group.width, a.column(group.first) + group.top, &lda, task.transposed ? there : here,
        task.transposed ? here : there, &alpha);
  }
  group.at_far_ends([&](tnk_int c, tnk_int from, tnk_int to) {
    const auto *const elements = a.column(c);
    for (tnk_int i = from; i < to; ++i) {
      T &changes = task.transposed ? x[c] : x[i];
      const T product = conjugate_if<Conjugated>(elements[i]) * (task.transposed ? x[i] : x[c]);
      changes = task.solve ? changes - product : changes + product;
    }
  });
}

template <bool Conjugated, class S, class T>
void run(const Task &task, AddProduct<T> *add, const S &a, T *x) {
  // A product starts where the elements are that nothing else needs any more, a solve where they need nothing else.
  const bool ascending = (S::upper != task.transposed) != task.solve;
  // Its elements are needed elsewhere as they were before, or come from elsewhere: then the square is done last.
  const bool square_last = task.transposed == task.solve;
  constexpr tnk_int most = std::min<tnk_int>(S::together, 4);
  const tnk_int groups = (a.n + most - 1) / most;
  for (tnk_int i = 0; i < groups; ++i) {
    const tnk_int first = (ascending ? i : groups - 1 - i) * most;
    const Group<S> group(a, first, std::min(most, a.n - first));
    if (!square_last) in_square<Conjugated>(task, group, ascending, x);
    off_square<Conjugated>(task, add, group, x);
    if (square_last) in_square<Conjugated>(task, group, ascending, x);
  }
}

template <bool Upper, class A, class T>
void run(const Task &task, AddProduct<T> *add, const A &a, tnk_int n, T *x) {
  const auto triangle = a.template triangle<Upper>(n);
  if (is_complex<T> && task.conjugated)
    run<is_complex<T>>(task, add, triangle, x);
  else
    run<false>(task, add, triangle, x);
}

template <class T, class A>
void triangular(const char *routine, bool solve, const char *uplo, const char *trans, const char *diag,
                const tnk_int *n, const A &a, T *x, const tnk_int *incx) {
  Arguments given(routine);
  if (!given.option("uplo", uplo, "UL") || !given.option("trans", trans, "NTC") ||
      !given.option("diag", diag, "NU") || !a.order(given, n) || !a.array(given, *n, *n > 0) ||
      !given.vector("x", x, *n > 0, "incx", incx, *n) || *n == 0)
    return;
  const Task task = {solve, !is_plain(*trans), is_letter(*trans, 'c'), is_letter(*diag, 'u')};
  auto &kernels = matrix_kernels<T>;
  AddProduct<T> *const add = (!task.transposed  ? kernels.plain
                              : task.conjugated ? kernels.conjugated
                                                : kernels.transposed)
                                 .get(routine);
  if (!add) return;
  const SideBySide<T> elements(routine, *n, x, incx);
  if (!elements) return;
  if (is_letter(*uplo, 'u'))
    run<true>(task, add, a, *n, elements.elements());
  else
    run<false>(task, add, a, *n, elements.elements());
  elements.put_back();
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T, operation, solve)                                                                   \
  void tnk_blas_##t##tr##operation(const char *uplo, const char *trans, const char *diag, const tnk_int *n,  \
                                   const T *a, const tnk_int *lda, T *x, const tnk_int *incx) {              \
    tnk::host::triangular("tnk_blas_" #t "tr" #operation, solve, uplo, trans, diag, n,                       \
                          tnk::host::FullArguments<const T>{a, lda}, x, incx);                               \
  }                                                                                                          \
  void tnk_blas_##t##tp##operation(const char *uplo, const char *trans, const char *diag, const tnk_int *n,  \
                                   const T *ap, T *x, const tnk_int *incx) {                                 \
    tnk::host::triangular("tnk_blas_" #t "tp" #operation, solve, uplo, trans, diag, n,                       \
                          tnk::host::PackedArguments<const T>{ap}, x, incx);                                 \
  }                                                                                                          \
  void tnk_blas_##t##tb##operation(const char *uplo, const char *trans, const char *diag, const tnk_int *n,  \
                                   const tnk_int *k, const T *a, const tnk_int *lda, T *x,                   \
                                   const tnk_int *incx) {                                                    \
    tnk::host::triangular("tnk_blas_" #t "tb" #operation, solve, uplo, trans, diag, n,                       \
                          tnk::host::BandArguments<const T>{k, a, lda}, x, incx);                            \
  }
#define TNK_BOTH(t, T) TNK_PUBLIC(t, T, mv, false) TNK_PUBLIC(t, T, sv, true)
TNK_BOTH(s, float)
TNK_BOTH(d, double)
TNK_BOTH(c, tnk_complex8)
TNK_BOTH(z, tnk_complex16)
#undef TNK_BOTH
#undef TNK_PUBLIC
