// Public updates of a symmetric or Hermitian matrix by one product of vectors, or by two: full and packed.
#include <tnk/blas.h>

#include "host/routines/blas/matrix_kernels.h"
#include "host/routines/blas/routine.h"
#include "host/routines/blas/storage.h"
#include "host/routines/blas/vectors.h"

namespace tnk::host {
namespace {

template <class T> void make_real(T &on_diagonal) {
  on_diagonal = from_real<T>(real_part_of(on_diagonal));
}

// A := A + alpha x x^H, groups of columns at a time: the rows that they have in common by the kernel, unless a column is
// to stay since its factor is zero.
template <class S, class T> void add_one(AddOuter<T> *add, const S &a, real_of<T> by, const T *x) {
  const T alpha = from_real<T>(by);
  const tnk_int one = 1;
  over_groups<S>(a.n, true, [&](tnk_int j, auto width) {
    const Group<S> group(a, j, width);
    const tnk_int rows = group.rows(), lda = a.step(j);
    bool zeros = false;
    for (tnk_int c = j; c < j + width; ++c) {
      T *const column = a.column(c);
      const T factor = by * conjugate(x[c]);
      make_real(column[c]);
      if (is_value(factor, 0)) {
        zeros = true;
        continue;
      }
      for (tnk_int i = S::upper ? j : c; i < (S::upper ? c + 1 : j + width); ++i)
        column[i] = column[i] + factor * x[i];
      make_real(column[c]);
    }
    if (rows > 0 && !zeros)
      add(&rows, &group.width, &alpha, x + group.top, &one, x + j, &one, a.column(j) + group.top, &lda);
    for (tnk_int c = j; rows > 0 && zeros && c < j + width; ++c)
      if (!is_value(by * conjugate(x[c]), 0))
        add(&rows, &one, &alpha, x + group.top, &one, x + c, &one, a.column(c) + group.top, &lda);
  });
}

// A := A + alpha x y^H + conj(alpha) y x^H, a column at a time: x and y, one behind the other in xy, are a matrix that the
// kernel multiplies with two factors.
template <class S, class T> void add_two(AddProduct<T> *add, const S &a, T alpha, const T *xy) {
  const T *const x = xy, *const y = xy + a.n;
  const T one = from_real<T>(1);
  const tnk_int two = 2;
  for (tnk_int j = 0; j < a.n; ++j) {
    T *const column = a.column(j);
    make_real(column[j]);
    if (is_value(x[j], 0) && is_value(y[j], 0)) continue;
    const T factors[] = {alpha * conjugate(y[j]), conjugate(alpha * x[j])};
    const tnk_int first = a.first(j), rows = a.past(j) - first;
    add(&rows, &two, xy + first, &a.n, factors, column + first, &one);
    make_real(column[j]);
  }
}

template <class T, class A>
void update_by_one(const char *routine, const char *uplo, const tnk_int *n, const real_of<T> *alpha,
                   const T *x, const tnk_int *incx, const A &a) {
  Arguments given(routine);
  if (!given.option("uplo", uplo, "UL") || !a.order(given, n) || !given.scalar("alpha", alpha)) return;
  const bool touches = *n > 0 && *alpha != 0;
  if (!given.vector("x", x, touches, "incx", incx, *n) || !a.array(given, *n, touches) || !touches) return;
  AddOuter<T> *const add = matrix_kernels<T>.outer.get(routine);
  if (!add) return;
  const SideBySide<const T> vector(routine, *n, x, incx);
  if (!vector) return;
  if (is_letter(*uplo, 'u'))
    add_one(add, a.template triangle<true>(*n), *alpha, vector.elements());
  else
    add_one(add, a.template triangle<false>(*n), *alpha, vector.elements());
}

template <class T, class A>
void update_by_two(const char *routine, const char *uplo, const tnk_int *n, const T *alpha, const T *x,
                   const tnk_int *incx, const T *y, const tnk_int *incy, const A &a) {
  Arguments given(routine);
  if (!given.option("uplo", uplo, "UL") || !a.order(given, n) || !given.scalar("alpha", alpha)) return;
  const bool touches = *n > 0 && !is_value(*alpha, 0);
  if (!given.vector("x", x, touches, "incx", incx, *n) || !given.vector("y", y, touches, "incy", incy, *n) ||
      !a.array(given, *n, touches) || !touches)
    return;
  AddProduct<T> *const add = matrix_kernels<T>.plain.get(routine);
  if (!add) return;
  Scratch<T> scratch;
  T *const xy = scratch.take(routine, 2 * *n);
  if (!xy) return;
  gather(*n, x, *incx, xy);
  gather(*n, y, *incy, xy + *n);
  if (is_letter(*uplo, 'u'))
    add_two(add, a.template triangle<true>(*n), *alpha, xy);
  else
    add_two(add, a.template triangle<false>(*n), *alpha, xy);
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T, R, full, packed)                                                                    \
  void tnk_blas_##t##full(const char *uplo, const tnk_int *n, const R *alpha, const T *x,                    \
                          const tnk_int *incx, T *a, const tnk_int *lda) {                                   \
    tnk::host::update_by_one("tnk_blas_" #t #full, uplo, n, alpha, x, incx,                                  \
                             tnk::host::FullArguments<T>{a, lda});                                           \
  }                                                                                                          \
  void tnk_blas_##t##packed(const char *uplo, const tnk_int *n, const R *alpha, const T *x,                  \
                            const tnk_int *incx, T *ap) {                                                    \
    tnk::host::update_by_one("tnk_blas_" #t #packed, uplo, n, alpha, x, incx,                                \
                             tnk::host::PackedArguments<T>{ap});                                             \
  }                                                                                                          \
  void tnk_blas_##t##full##2(const char *uplo, const tnk_int *n, const T *alpha, const T *x,                 \
                             const tnk_int *incx, const T *y, const tnk_int *incy, T *a,                     \
                             const tnk_int *lda) {                                                           \
    tnk::host::update_by_two("tnk_blas_" #t #full "2", uplo, n, alpha, x, incx, y, incy,                     \
                             tnk::host::FullArguments<T>{a, lda});                                           \
  }                                                                                                          \
  void tnk_blas_##t##packed##2(const char *uplo, const tnk_int *n, const T *alpha, const T *x,               \
                               const tnk_int *incx, const T *y, const tnk_int *incy, T *ap) {                \
    tnk::host::update_by_two("tnk_blas_" #t #packed "2", uplo, n, alpha, x, incx, y, incy,                   \
                             tnk::host::PackedArguments<T>{ap});                                             \
  }
TNK_PUBLIC(s, float, float, syr, spr)
TNK_PUBLIC(d, double, double, syr, spr)
TNK_PUBLIC(c, tnk_complex8, float, her, hpr)
TNK_PUBLIC(z, tnk_complex16, double, her, hpr)
#undef TNK_PUBLIC
