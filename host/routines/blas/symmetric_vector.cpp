// Public products of a symmetric or Hermitian matrix and a vector: full, packed and banded.
#include <tnk/blas.h>

#include "host/routines/blas/cut_matrix.h"
#include "host/routines/blas/matrix_kernels.h"
#include "host/routines/blas/routine.h"
#include "host/routines/blas/storage.h"
#include "host/routines/blas/vectors.h"

namespace tnk::host {
namespace {

// The square on the diagonal, its sums in registers.
template <class S, class T, class Width>
void add_square(const S &a, tnk_int first, Width width, T alpha, const T *x, T *y) {
  T sum[S::together] = {};
  x += first, y += first;
  for (tnk_int c = 0; c < width; ++c) {
    const T *const column = a.column(first + c) + first;
    sum[c] = sum[c] + real_part_of(column[c]) * x[c];
    for (tnk_int i = S::upper ? 0 : c + 1; i < (S::upper ? c : tnk_int{width}); ++i) {
      sum[i] = sum[i] + column[i] * x[c];
      sum[c] = sum[c] + conjugate(column[i]) * x[i];
    }
  }
  for (tnk_int c = 0; c < width; ++c) y[c] = y[c] + alpha * sum[c];
}

// Adds the part of alpha A x to y that columns `from` to `past` - 1 are stored for, groups of them at a time, which serve
// as rows as well.
template <class S, class T>
void add_symmetric(AddBoth<T> *both, const S &a, tnk_int from, tnk_int past, T alpha, const T *x, T *y) {
  over_groups<S>(from, past, true, [&](tnk_int j, auto width) {
    add_square(a, j, width, alpha, x, y);
    const Group<S> group(a, j, width);
    group.at_far_ends([&](tnk_int c, tnk_int top, tnk_int bottom) {
      const T *const column = a.column(c);
      for (tnk_int i = top; i < bottom; ++i) {
        y[i] = y[i] + alpha * (column[i] * x[c]);
        y[c] = y[c] + alpha * (conjugate(column[i]) * x[i]);
      }
    });
    const tnk_int rows = group.rows(), lda = a.step(j);
    if (rows > 0)
      both(&rows, &group.width, a.column(j) + group.top, &lda, x + j, x + group.top, y + group.top, y + j,
           &alpha);
  });
}

// The same for a narrow band, row by row.
template <class B, class T> void add_narrow(const B &a, T alpha, const T *x, T *y) {
  const HalfRow<false, false, B> stored(a);
  const HalfRow<true, true, B> reflected(a);
  const auto row = [&](tnk_int i, auto on_stored, auto on_reflected) {
    y[i] = y[i] + alpha * (real_part_of(a.column(i)[i]) * x[i] + stored.product(i, on_stored, x) +
                           reflected.product(i, on_reflected, x));
  };
  const auto at_an_end = [&](tnk_int i) {
    const tnk_int before = std::min(i, a.k), behind = std::min(a.n - 1 - i, a.k);
    B::upper ? row(i, behind, before) : row(i, before, behind);
  };
  const tnk_int head = std::min(a.k, a.n), tail = std::max(head, a.n - a.k);
  for (tnk_int i = 0; i < head; ++i) at_an_end(i);
  with_constant(a.k, [&](auto k) {
    for (tnk_int i = head; i < tail; ++i) row(i, k, k);
  });
  for (tnk_int i = tail; i < a.n; ++i) at_an_end(i);
}

// The longest slice, which has all rows, adds to y itself.
template <class S, class T>
void add_slices(AddBoth<T> *both, const S &a, const TriangleSlices &slices, T *sums, T alpha, const T *x,
                T *y) {
  const int longest = S::upper ? slices.count - 1 : 0;
  const auto sum_of = [&](int i) { return sums + (S::upper ? i : i - 1) * a.n; };
  spread(slices.count, threads_to_use(bytes_of_triangle(a)), [&](int i) {
    T *const sum = i == longest ? y : sum_of(i);
    if (i != longest) std::fill(sum + slices.top(i), sum + slices.bottom(i), T{});
    add_symmetric(both, a, slices.begin(i), slices.begin(i + 1), alpha, x, sum);
  });
  for (int i = 0; i < slices.count; ++i) {
    if (i == longest) continue;
    const T *const sum = sum_of(i);
    const tnk_int top = slices.top(i), bottom = slices.bottom(i);
    for (tnk_int row = top; row < bottom; ++row) y[row] = y[row] + sum[row];
  }
}

// y := alpha A x + beta y.
template <class S, class T>
void run(const char *routine, AddBoth<T> *both, const S &a, T alpha, const T *x, T beta, T *y) {
  const TriangleSlices slices = {S::upper, a.n, number_of_slices(a)};
  Scratch<T> scratch;
  T *sums = nullptr;
  if (slices.count > 1 && !(sums = scratch.take(routine, (slices.count - 1) * a.n))) return;
  scale<T>(a.n, beta, y, 1);
  if constexpr (S::banded)
    if (a.k <= narrow) return add_narrow(a, alpha, x, y);
  if (sums)
    add_slices(both, a, slices, sums, alpha, x, y);
  else
    add_symmetric(both, a, 0, a.n, alpha, x, y);
}

template <class T, class A>
void symmetric_product(const char *routine, const char *uplo, const tnk_int *n, const T *alpha, const A &a,
                       const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) {
  Arguments given(routine);
  if (!given.option("uplo", uplo, "UL") || !a.order(given, n) || !given.scalar("alpha", alpha)) return;
  const bool reads = *n > 0 && !is_value(*alpha, 0);
  if (!a.array(given, *n, reads) || !given.vector("x", x, reads, "incx", incx, *n) ||
      !given.scalar("beta", beta))
    return;
  const bool writes = *n > 0 && (reads || !is_value(*beta, 1));
  if (!given.vector("y", y, writes, "incy", incy, *n) || !writes) return;
  if (!reads) return scale(*n, *beta, y, *incy);

  AddBoth<T> *const both = matrix_kernels<T>.both.get(routine);
  if (!both) return;
  const SideBySide<const T> factor(routine, *n, x, incx);
  const SideBySide<T> sum(routine, *n, y, incy);
  if (!factor || !sum) return;
  if (is_letter(*uplo, 'u'))
    run(routine, both, a.template triangle<true>(*n), *alpha, factor.elements(), *beta, sum.elements());
  else
    run(routine, both, a.template triangle<false>(*n), *alpha, factor.elements(), *beta, sum.elements());
  sum.put_back();
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T, full, packed, band)                                                                 \
  void tnk_blas_##t##full(const char *uplo, const tnk_int *n, const T *alpha, const T *a,                    \
                          const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y,          \
                          const tnk_int *incy) {                                                             \
    tnk::host::symmetric_product("tnk_blas_" #t #full, uplo, n, alpha,                                       \
                                 tnk::host::FullArguments<const T>{a, lda}, x, incx, beta, y, incy);         \
  }                                                                                                          \
  void tnk_blas_##t##packed(const char *uplo, const tnk_int *n, const T *alpha, const T *ap, const T *x,     \
                            const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) {                 \
    tnk::host::symmetric_product("tnk_blas_" #t #packed, uplo, n, alpha,                                     \
                                 tnk::host::PackedArguments<const T>{ap}, x, incx, beta, y, incy);           \
  }                                                                                                          \
  void tnk_blas_##t##band(const char *uplo, const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,  \
                          const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y,          \
                          const tnk_int *incy) {                                                             \
    tnk::host::symmetric_product("tnk_blas_" #t #band, uplo, n, alpha,                                       \
                                 tnk::host::BandArguments<const T>{k, a, lda}, x, incx, beta, y, incy);      \
  }
TNK_PUBLIC(s, float, symv, spmv, sbmv)
TNK_PUBLIC(d, double, symv, spmv, sbmv)
TNK_PUBLIC(c, tnk_complex8, hemv, hpmv, hbmv)
TNK_PUBLIC(z, tnk_complex16, hemv, hpmv, hbmv)
#undef TNK_PUBLIC
