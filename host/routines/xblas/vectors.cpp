// Public extended-precision routines of vectors.
#include "host/routines/xblas/calls.h"

namespace tnk::host::xblas {
namespace {

template <class T, class X, class Y, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_dot(const char *routine, KernelEntry<Kernel> &kernel, int32_t conj,
                                              tnk_int n, F alpha, const X *x, tnk_int incx, F beta,
                                              const Y *y, tnk_int incy, T *r, Prec... prec) {
  Arguments a(routine);
  if (a.conj() && a.size("n", n) && a.factor("alpha", alpha) && a.vector("x", x, n > 0, "incx", incx, n) &&
      a.factor("beta", beta) && a.vector("y", y, n > 0, "incy", incy, n) && a.array("r", r, true) &&
      a.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(conj, n, alpha, x, incx, beta, y, incy, r, prec...);
}

template <class T, class, class, class Kernel, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_sum(const char *routine, KernelEntry<Kernel> &kernel, tnk_int n,
                                              const T *x, tnk_int incx, T *result, Prec... prec) {
  Arguments a(routine);
  if (a.size("n", n) && a.vector("x", x, n > 0, "incx", incx, n) && a.array("sum", result, true) &&
      a.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(n, x, incx, result, prec...);
}

template <class T, class X, class, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_axpby(const char *routine, KernelEntry<Kernel> &kernel, tnk_int n,
                                                F alpha, const X *x, tnk_int incx, F beta, T *y, tnk_int incy,
                                                Prec... prec) {
  Arguments a(routine);
  const bool touched = n > 0 && !(is_nothing(alpha) && is_unity(beta));
  if (a.size("n", n) && a.factor("alpha", alpha) && a.vector("x", x, touched, "incx", incx, n) &&
      a.factor("beta", beta) && a.vector("y", y, touched, "incy", incy, n) && a.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(n, alpha, x, incx, beta, y, incy, prec...);
}

template <class T, class X, class Y, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_waxpby(const char *routine, KernelEntry<Kernel> &kernel, tnk_int n,
                                                 F alpha, const X *x, tnk_int incx, F beta, const Y *y,
                                                 tnk_int incy, T *w, tnk_int incw, Prec... prec) {
  Arguments a(routine);
  if (a.size("n", n) && a.factor("alpha", alpha) && a.vector("x", x, n > 0, "incx", incx, n) &&
      a.factor("beta", beta) && a.vector("y", y, n > 0, "incy", incy, n) &&
      a.vector("w", w, n > 0, "incw", incw, n) && a.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(n, alpha, x, incx, beta, y, incy, w, incw, prec...);
}

// Calls as they come. A short one that is plainly good goes straight on to its kernel.

template <class T, class X, class Y, class Kernel, class F, class... Prec>
void dot(const char *routine, KernelEntry<Kernel> &kernel, int32_t conj, tnk_int n, F alpha, const X *x,
         tnk_int incx, F beta, const Y *y, tnk_int incy, T *r, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_usual(n) && is_step(incx) && is_step(incy) && all_given(x, y, r) && is_given(alpha) &&
      is_given(beta) && is_precision(prec...))
    return run(conj, n, alpha, x, incx, beta, y, incy, r, prec...);
  careful_dot<T, X, Y>(routine, kernel, conj, n, alpha, x, incx, beta, y, incy, r, prec...);
}

template <class T, class, class, class Kernel, class... Prec>
void sum(const char *routine, KernelEntry<Kernel> &kernel, tnk_int n, const T *x, tnk_int incx, T *result,
         Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_usual(n) && is_step(incx) && all_given(x, result) && is_precision(prec...))
    return run(n, x, incx, result, prec...);
  careful_sum<T, T, T>(routine, kernel, n, x, incx, result, prec...);
}

template <class T, class X, class, class Kernel, class F, class... Prec>
void axpby(const char *routine, KernelEntry<Kernel> &kernel, tnk_int n, F alpha, const X *x, tnk_int incx,
           F beta, T *y, tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_usual(n) && is_step(incx) && is_step(incy) && all_given(x, y) && is_given(alpha) &&
      is_given(beta) && is_precision(prec...))
    return run(n, alpha, x, incx, beta, y, incy, prec...);
  careful_axpby<T, X, X>(routine, kernel, n, alpha, x, incx, beta, y, incy, prec...);
}

template <class T, class X, class Y, class Kernel, class F, class... Prec>
void waxpby(const char *routine, KernelEntry<Kernel> &kernel, tnk_int n, F alpha, const X *x, tnk_int incx,
            F beta, const Y *y, tnk_int incy, T *w, tnk_int incw, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_usual(n) && is_step(incx) && is_step(incy) && is_step(incw) && all_given(x, y, w) &&
      is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(n, alpha, x, incx, beta, y, incy, w, incw, prec...);
  careful_waxpby<T, X, Y>(routine, kernel, n, alpha, x, incx, beta, y, incy, w, incw, prec...);
}

} // namespace
} // namespace tnk::host::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, dot)
TNK_XBLAS_EACH_OWN(TNK_XBLAS_PUBLIC, sum)
TNK_XBLAS_EACH_ALONE(TNK_XBLAS_PUBLIC, axpby)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, waxpby)
