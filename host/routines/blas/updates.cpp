// Public updates of a symmetric or Hermitian matrix by one product of vectors, or by two: full and packed.
#include <tnk/blas.h>

#include "host/routines/blas/cut_matrix.h"
#include "host/routines/blas/matrix_kernels.h"
#include "host/routines/blas/routine.h"
#include "host/routines/blas/storage.h"
#include "host/routines/blas/vectors.h"

namespace tnk::host {
namespace {

template <class T> void make_real(T &on_diagonal) {
  on_diagonal = from_real<T>(real_part_of(on_diagonal));
}

// Columns `from` to `past` - 1 of A := A + alpha x x^H. A column whose factor is zero stays.

// Full, groups at a time: the rows that they have in common by the kernel, which skips no zeros.
template <bool Upper, class T>
void add_one(AddOuter<T> *add, const Full<Upper, T> &a, tnk_int from, tnk_int past, real_of<T> by,
             const T *x) {
  const T alpha = from_real<T>(by);
  const tnk_int one = 1;
  over_groups<Full<Upper, T>>(from, past, true, [&](tnk_int j, auto width) {
    const Group<Full<Upper, T>> group(a, j, width);
    const tnk_int rows = group.rows();
    bool zeros = false;
    for (tnk_int c = j; c < j + width; ++c) {
      T *const column = a.column(c);
      const T factor = by * conjugate(x[c]);
      make_real(column[c]);
      if (is_value(factor, 0)) {
        zeros = true;
        continue;
      }
      for (tnk_int i = Upper ? j : c; i < (Upper ? c + 1 : j + width); ++i)
        column[i] = column[i] + factor * x[i];
      make_real(column[c]);
    }
    if (rows > 0 && !zeros)
      add(&rows, &group.width, &alpha, x + group.top, &one, x + j, &one, a.column(j) + group.top, &a.lda);
    for (tnk_int c = j; rows > 0 && zeros && c < j + width; ++c)
      if (!is_value(by * conjugate(x[c]), 0))
        add(&rows, &one, &alpha, x + group.top, &one, x + c, &one, a.column(c) + group.top, &a.lda);
  });
}
// Packed, a column at a time: two at once were no faster. In float the kernel of products has the wider vectors.
template <class T>
using AddColumn = std::conditional_t<std::is_same_v<T, float>, AddProduct<T>, AddVector<T>>;
template <bool Upper, class T>
void add_one(AddColumn<T> *add, const Packed<Upper, T> &a, tnk_int from, tnk_int past, real_of<T> by,
             const T *x) {
  const T unit = from_real<T>(1);
  const tnk_int one = 1;
  for (tnk_int j = from; j < past; ++j) {
    T *const column = a.column(j);
    const T factor = by * conjugate(x[j]);
    make_real(column[j]);
    if (is_value(factor, 0)) continue;
    const tnk_int first = a.first(j), rows = a.past(j) - first;
    if constexpr (std::is_same_v<T, float>)
      add(&rows, &one, x + first, &rows, &factor, column + first, &unit);
    else
      add(&rows, &factor, x + first, &one, column + first, &one);
    make_real(column[j]);
  }
}
template <class T> auto &kernel_of(const FullArguments<T> &) {
  return matrix_kernels<T>.outer;
}
template <class T> auto &kernel_of(const PackedArguments<T> &) {
  if constexpr (std::is_same_v<T, float>)
    return matrix_kernels<T>.plain;
  else
    return matrix_kernels<T>.vector;
}

// Such columns of A := A + alpha x y^H + conj(alpha) y x^H: x and y, one behind the other in xy, are a matrix that the
// kernel multiplies with two factors.
template <class S, class T>
void add_two(AddProduct<T> *add, const S &a, tnk_int from, tnk_int past, T alpha, const T *xy) {
  const T *const x = xy, *const y = xy + a.n;
  const T one = from_real<T>(1);
  const tnk_int two = 2;
  for (tnk_int j = from; j < past; ++j) {
    T *const column = a.column(j);
    make_real(column[j]);
    if (is_value(x[j], 0) && is_value(y[j], 0)) continue;
    const T factors[] = {alpha * conjugate(y[j]), conjugate(alpha * x[j])};
    const tnk_int first = a.first(j), rows = a.past(j) - first;
    add(&rows, &two, xy + first, &a.n, factors, column + first, &one);
    make_real(column[j]);
  }
}

// update(a, from, past) for all columns of the triangle, which do not know of one another.
template <class A, class Update>
void spread_columns(const char *uplo, const A &arguments, tnk_int n, Update update) {
  const auto spread_all = [&](auto a) {
    const int threads = threads_to_use(2 * bytes_of_triangle(a)); // read and written
    if (threads == 1) return update(a, 0, n);
    const TriangleSlices slices = {a.upper, n, threads * slices_a_thread};
    spread(slices.count, threads, [&](int i) { update(a, slices.begin(i), slices.begin(i + 1)); });
  };
  if (is_letter(*uplo, 'u'))
    spread_all(arguments.template triangle<true>(n));
  else
    spread_all(arguments.template triangle<false>(n));
}

template <class T, class A>
void update_by_one(const char *routine, const char *uplo, const tnk_int *n, const real_of<T> *alpha,
                   const T *x, const tnk_int *incx, const A &a) {
  Arguments given(routine);
  if (!given.option("uplo", uplo, "UL") || !a.order(given, n) || !given.scalar("alpha", alpha)) return;
  const bool touches = *n > 0 && *alpha != 0;
  if (!given.vector("x", x, touches, "incx", incx, *n) || !a.array(given, *n, touches) || !touches) return;
  auto *const add = kernel_of(a).get(routine);
  if (!add) return;
  const SideBySide<const T> vector(routine, *n, x, incx);
  if (!vector) return;
  spread_columns(uplo, a, *n, [&](const auto &triangle, tnk_int from, tnk_int past) {
    add_one(add, triangle, from, past, *alpha, vector.elements());
  });
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
  spread_columns(uplo, a, *n, [&](const auto &triangle, tnk_int from, tnk_int past) {
    add_two(add, triangle, from, past, *alpha, xy);
  });
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
