// Public products of a symmetric or Hermitian matrix and a vector: full, packed and banded.
#include <tnk/blas.h>

#include "host/routines/blas/matrix_kernels.h"
#include "host/routines/blas/routine.h"
#include "host/routines/blas/storage.h"
#include "host/routines/blas/vectors.h"

namespace tnk::host {
namespace {

// Rows from ... to - 1 of a column c off the diagonal, for the triangle that is stored and for its reflection.
template <class T>
void add_pieces(const T *column, tnk_int from, tnk_int to, T alpha, const T *x, T *y, tnk_int c) {
  const T factor = alpha * x[c];
  T sum{};
  for (tnk_int i = from; i < to; ++i) {
    y[i] = y[i] + factor * column[i];
    sum = sum + conjugate(column[i]) * x[i];
  }
  y[c] = y[c] + alpha * sum;
}

// y := y + alpha A x, groups of columns at a time, which serve as rows as well.
template <class S, class T> void add_symmetric(AddBoth<T> *both, const S &a, T alpha, const T *x, T *y) {
  constexpr tnk_int most = std::min<tnk_int>(S::together, 4);
  for (tnk_int j = 0; j < a.n; j += most) {
    const Group<S> group(a, j, std::min(most, a.n - j));
    const auto pieces = [&](tnk_int c, tnk_int from, tnk_int to) {
      add_pieces(a.column(c), from, to, alpha, x, y, c);
    };
    for (tnk_int c = j; c < group.past(); ++c) {
      group.in_square(c, pieces);
      y[c] = y[c] + alpha * (real_part_of(a.column(c)[c]) * x[c]);
    }
    group.at_far_ends(pieces);
    const tnk_int rows = group.rows(), lda = a.step(j);
    if (rows > 0)
      both(&rows, &group.width, a.column(j) + group.top, &lda, x + j, x + group.top, y + group.top, y + j,
           &alpha);
  }
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
  scale<T>(*n, *beta, sum.elements(), 1);
  if (is_letter(*uplo, 'u'))
    add_symmetric(both, a.template triangle<true>(*n), *alpha, factor.elements(), sum.elements());
  else
    add_symmetric(both, a.template triangle<false>(*n), *alpha, factor.elements(), sum.elements());
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
