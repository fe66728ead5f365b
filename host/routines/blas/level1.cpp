// Public vector routines: check, then run the kernel.
#include <limits>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>

#include "host/dispatch/check.h"
#include "host/routines/blas/routine.h"

namespace tnk::host {
namespace {

// A call that a first look does not pass: its arguments one by one. Cold, so that the others run straight on to their
// kernels: a jump taken costs a cycle.

template <class T, class Kernel>
[[gnu::cold, gnu::noinline]] void careful_axpy(const char *routine, KernelEntry<Kernel> &kernel,
                                               const tnk_int *n, const T *alpha, const T *x,
                                               const tnk_int *incx, T *y, const tnk_int *incy) {
  const Check check(routine);
  if (!check.length<T>(1, "n", n) || *n == 0) return;
  if (check.address(2, "alpha", alpha) && check.vector(3, "x", x, "incx", incx, *n) &&
      check.vector(5, "y", y, "incy", incy, *n))
    if (Kernel *run = kernel.get(routine)) run(n, alpha, x, incx, y, incy);
}

template <class T, class Kernel>
[[gnu::cold, gnu::noinline]] void careful_copy(const char *routine, KernelEntry<Kernel> &kernel,
                                               const tnk_int *n, const T *x, const tnk_int *incx, T *y,
                                               const tnk_int *incy) {
  const Check check(routine);
  if (!check.length<T>(1, "n", n) || *n == 0) return;
  if (check.vector(2, "x", x, "incx", incx, *n) && check.vector(4, "y", y, "incy", incy, *n))
    if (Kernel *run = kernel.get(routine)) run(n, x, incx, y, incy);
}

template <class T, class Kernel>
[[gnu::cold, gnu::noinline]] T careful_dot(const char *routine, KernelEntry<Kernel> &kernel, const tnk_int *n,
                                           const T *x, const tnk_int *incx, const T *y, const tnk_int *incy) {
  const Check check(routine);
  if (check.length<T>(1, "n", n)) {
    if (*n == 0) return 0;
    if (check.vector(2, "x", x, "incx", incx, *n) && check.vector(4, "y", y, "incy", incy, *n))
      if (Kernel *run = kernel.get(routine)) return run(n, x, incx, y, incy);
  }
  return std::numeric_limits<T>::quiet_NaN();
}

template <class T, class Kernel>
[[gnu::cold, gnu::noinline]] void careful_dotc(const char *routine, KernelEntry<Kernel> &kernel, T *result,
                                               const tnk_int *n, const T *x, const tnk_int *incx, const T *y,
                                               const tnk_int *incy) {
  const Check check(routine);
  if (!check.address(1, "result", result) || !check.length<T>(2, "n", n)) return;
  if (*n == 0) {
    *result = T{};
    return;
  }
  if (check.vector(3, "x", x, "incx", incx, *n) && check.vector(5, "y", y, "incy", incy, *n))
    if (Kernel *run = kernel.get(routine)) run(result, n, x, incx, y, incy);
}

// Calls as they come.

template <class T, class Kernel>
void axpy(const char *routine, KernelEntry<Kernel> &kernel, const tnk_int *n, const T *alpha, const T *x,
          const tnk_int *incx, T *y, const tnk_int *incy) {
  Kernel *const run = kernel.known();
  if (run && all_given(n, alpha, x, incx, y, incy) && are_usual(n, incx, incy))
    return run(n, alpha, x, incx, y, incy);
  careful_axpy(routine, kernel, n, alpha, x, incx, y, incy);
}

template <class T, class Kernel>
void copy(const char *routine, KernelEntry<Kernel> &kernel, const tnk_int *n, const T *x, const tnk_int *incx,
          T *y, const tnk_int *incy) {
  Kernel *const run = kernel.known();
  if (run && all_given(n, x, incx, y, incy) && are_usual(n, incx, incy)) return run(n, x, incx, y, incy);
  careful_copy(routine, kernel, n, x, incx, y, incy);
}

template <class T, class Kernel>
T dot(const char *routine, KernelEntry<Kernel> &kernel, const tnk_int *n, const T *x, const tnk_int *incx,
      const T *y, const tnk_int *incy) {
  Kernel *const run = kernel.known();
  if (run && all_given(n, x, incx, y, incy) && are_usual(n, incx, incy)) return run(n, x, incx, y, incy);
  return careful_dot(routine, kernel, n, x, incx, y, incy);
}

template <class T, class Kernel>
void dotc(const char *routine, KernelEntry<Kernel> &kernel, T *result, const tnk_int *n, const T *x,
          const tnk_int *incx, const T *y, const tnk_int *incy) {
  Kernel *const run = kernel.known();
  if (run && all_given(result, n, x, incx, y, incy) && are_usual(n, incx, incy))
    return run(result, n, x, incx, y, incy);
  careful_dotc(routine, kernel, result, n, x, incx, y, incy);
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T)                                                                                     \
  void tnk_blas_##t##axpy(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, T *y,           \
                          const tnk_int *incy) {                                                             \
    TNK_KERNEL_OF(t##axpy);                                                                                  \
    tnk::host::axpy("tnk_blas_" #t "axpy", kernel, n, alpha, x, incx, y, incy);                              \
  }                                                                                                          \
  void tnk_blas_##t##copy(const tnk_int *n, const T *x, const tnk_int *incx, T *y, const tnk_int *incy) {    \
    TNK_KERNEL_OF(t##copy);                                                                                  \
    tnk::host::copy("tnk_blas_" #t "copy", kernel, n, x, incx, y, incy);                                     \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC

float tnk_blas_sdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                    const tnk_int *incy) {
  TNK_KERNEL_OF(sdot);
  return tnk::host::dot("tnk_blas_sdot", kernel, n, x, incx, y, incy);
}

double tnk_blas_ddot(const tnk_int *n, const double *x, const tnk_int *incx, const double *y,
                     const tnk_int *incy) {
  TNK_KERNEL_OF(ddot);
  return tnk::host::dot("tnk_blas_ddot", kernel, n, x, incx, y, incy);
}

void tnk_blas_cdotc(tnk_complex8 *result, const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx,
                    const tnk_complex8 *y, const tnk_int *incy) {
  TNK_KERNEL_OF(cdotc);
  tnk::host::dotc("tnk_blas_cdotc", kernel, result, n, x, incx, y, incy);
}
