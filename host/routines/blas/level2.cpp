// Public routines of matrix and vector: check, then run the kernels.
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/blas_level2.h>

#include "host/dispatch/check.h"
#include "host/routines/blas/routine.h"
#include "host/routines/element.h"
#include "host/threading/cut.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

// A vector and its increment, which these routines do not take as 0. One that is not touched may have any address.
template <class T>
bool vector(const Check &check, int position, const char *name, const T *first, bool touched,
            const char *increment_name, const tnk_int *increment, tnk_int n) {
  if ((touched && !check.address(position, name, first)) ||
      !check.address(position + 1, increment_name, increment) ||
      !check.number(position + 1, increment_name, *increment, *increment != 0, "another number than 0"))
    return false;
  return !touched || check.vector(position, name, first, increment_name, increment, n);
}

// Bytes of A that make it worth while to use one more thread. Two threads against one, square matrices of doubles, awake,
// on a virtual machine of two cores: 1.5 times as fast from 1 MB to 2 MB, 1.4 at 4 MB, 1.0 to 1.3 at 8 MB, 1.3 to 1.5 at
// 200 MB, where the memory is what limits.
constexpr tnk_int bytes_a_thread = 1 << 19;

// Rows of A are cut, or with a transpose its columns: each element of y is then formed as it is by one call. Slices of y
// are cache lines, so that no two threads write one, and the last has what is left.
template <class T, class Kernel>
void run_gemv(Kernel *run, const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,
              const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) {
  // A matrix that is not read may be beyond memory.
  const bool plain = is_plain(*trans);
  const double worth_while =
      is_value(*alpha, 0) ? 1
                          : static_cast<double>(*m * *n) * sizeof(T) / static_cast<double>(bytes_a_thread);
  const Cut cut = cut_tiles(!plain, plain ? *m : *n, 64 / static_cast<tnk_int>(sizeof(T)), worth_while,
                            worth_while < 2 ? 1 : usable_threads());
  if (cut.slices <= 1) return run(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
  spread(cut.slices, cut.slices, [&](int i) {
    const tnk_int first = cut.begin(i), past = cut.begin(i + 1), size = past - first;
    // Backwards from the far end, where a negative increment begins.
    T *const part = y + (*incy < 0 ? past - cut.extent : first) * *incy;
    if (plain)
      run(trans, &size, n, alpha, a + first, lda, x, incx, beta, part, incy);
    else
      run(trans, m, &size, alpha, a + first * *lda, lda, x, incx, beta, part, incy);
  });
}

template <class T, class Kernel>
[[gnu::noinline]] void careful_gemv(const char *routine, KernelEntry<Kernel> &kernel, const char *trans,
                                    const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,
                                    const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y,
                                    const tnk_int *incy) {
  const Check check(routine);
  if (!check.option(1, "trans", trans, "NTC") || !check.length<T>(2, "m", m) || !check.length<T>(3, "n", n) ||
      !check.address(4, "alpha", alpha))
    return;
  const bool plain = is_plain(*trans), empty = *m == 0 || *n == 0;
  const bool reads = !empty && !is_value(*alpha, 0);
  if (!check.matrix(5, "a", a, reads, "lda", lda, *m, *n) ||
      !vector(check, 7, "x", x, reads, "incx", incx, plain ? *n : *m) || !check.address(9, "beta", beta))
    return;
  const bool writes = !empty && (reads || !is_value(*beta, 1));
  if (!vector(check, 10, "y", y, writes, "incy", incy, plain ? *m : *n) || !writes) return;
  if (Kernel *run = kernel.get(routine)) run_gemv(run, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

template <class T, class Kernel>
void gemv(const char *routine, KernelEntry<Kernel> &kernel, const char *trans, const tnk_int *m,
          const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda, const T *x, const tnk_int *incx,
          const T *beta, T *y, const tnk_int *incy) {
  // Dimensions that no second thread is worth.
  constexpr tnk_int small = 128;
  static_assert(small * small * static_cast<tnk_int>(sizeof(T)) < 2 * bytes_a_thread);
  Kernel *const run = kernel.known();
  if (run && all_given(m, n, alpha, a, lda, x, incx, beta, y, incy) && trans &&
      (is_plain(*trans) || is_letter(*trans, 't') || is_letter(*trans, 'c')) && is_usual(*m) &&
      is_usual(*n) && (*m | *n) < small && is_usual(*lda) && *lda >= *m && *incx == 1 && *incy == 1)
    return run(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
  careful_gemv(routine, kernel, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

// The named triangle of A, a column at a time.
template <class T, class Kernel>
void add_to_triangle(Kernel *axpy, bool upper, tnk_int n, T alpha, const T *x, tnk_int incx, T *a,
                     tnk_int lda) {
  static constexpr tnk_int adjacent = 1;
  const T *const first = incx < 0 ? x + (1 - n) * incx : x;
  for (tnk_int j = 0; j < n; ++j) {
    // The kernel starts a vector with a negative increment at its far end.
    const tnk_int top = upper ? 0 : j, rows = upper ? j + 1 : n - j;
    const T *const part = first + (incx < 0 ? top + rows - 1 : top) * incx;
    const T factor = alpha * first[j * incx];
    axpy(&rows, &factor, part, &incx, a + top + j * lda, &adjacent);
  }
}

template <class T, class Kernel>
[[gnu::noinline]] void careful_syr(const char *routine, KernelEntry<Kernel> &axpy, const char *uplo,
                                   const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, T *a,
                                   const tnk_int *lda) {
  const Check check(routine);
  if (!check.option(1, "uplo", uplo, "UL") || !check.length<T>(2, "n", n) ||
      !check.address(3, "alpha", alpha))
    return;
  const bool touches = *n > 0 && !is_value(*alpha, 0);
  if (!vector(check, 4, "x", x, touches, "incx", incx, *n) ||
      !check.matrix(6, "a", a, touches, "lda", lda, *n, *n) || !touches)
    return;
  if (Kernel *const run = axpy.get(routine))
    add_to_triangle(run, is_letter(*uplo, 'u'), *n, *alpha, x, *incx, a, *lda);
}

template <class T, class Kernel>
void syr(const char *routine, KernelEntry<Kernel> &axpy, const char *uplo, const tnk_int *n, const T *alpha,
         const T *x, const tnk_int *incx, T *a, const tnk_int *lda) {
  Kernel *const run = axpy.known();
  if (run && all_given(n, alpha, x, incx, a, lda) && uplo &&
      (is_letter(*uplo, 'u') || is_letter(*uplo, 'l')) && is_usual(*n) && is_usual(*lda) && *lda >= *n &&
      *incx == 1 && !is_value(*alpha, 0))
    return add_to_triangle(run, is_letter(*uplo, 'u'), *n, *alpha, x, *incx, a, *lda);
  careful_syr(routine, axpy, uplo, n, alpha, x, incx, a, lda);
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T)                                                                                     \
  void tnk_blas_##t##gemv(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a, \
                          const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y,          \
                          const tnk_int *incy) {                                                             \
    TNK_KERNEL_OF(t##gemv);                                                                                  \
    tnk::host::gemv("tnk_blas_" #t "gemv", kernel, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);      \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC

#define TNK_PUBLIC(t, T)                                                                                     \
  void tnk_blas_##t##syr(const char *uplo, const tnk_int *n, const T *alpha, const T *x,                     \
                         const tnk_int *incx, T *a, const tnk_int *lda) {                                    \
    TNK_KERNEL_OF(t##axpy);                                                                                  \
    tnk::host::syr("tnk_blas_" #t "syr", kernel, uplo, n, alpha, x, incx, a, lda);                           \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
#undef TNK_PUBLIC
