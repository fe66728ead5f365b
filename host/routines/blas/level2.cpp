// Public products of a general matrix and a vector: check, cut, then run the kernel.
#include <tnk/blas.h>
#include <tnk/blas_level2.h>

#include "host/routines/blas/arguments.h"
#include "host/routines/blas/cut_matrix.h"
#include "host/routines/blas/routine.h"
#include "host/routines/element.h"

namespace tnk::host {
namespace {

// Rows of A are cut, or with a transpose its columns: each element of y is then formed as it is by one call. Slices of y
// are cache lines, so that no two threads write one, and the last has what is left.
template <class T, class Kernel>
void run_gemv(Kernel *run, const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,
              const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) {
  // A matrix that is not read may be beyond memory.
  const bool plain = is_plain(*trans);
  const double worth_while =
      is_value(*alpha, 0) ? 1 : threads_for_bytes(static_cast<double>(*m * *n) * sizeof(T));
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
      !check_vector(check, 7, "x", x, reads, "incx", incx, plain ? *n : *m) ||
      !check.address(9, "beta", beta))
    return;
  const bool writes = !empty && (reads || !is_value(*beta, 1));
  if (!check_vector(check, 10, "y", y, writes, "incy", incy, plain ? *m : *n) || !writes) return;
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
