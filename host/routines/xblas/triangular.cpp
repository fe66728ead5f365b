// Public extended-precision multiplies and solves with triangles.
#include "host/routines/xblas/calls.h"
#include "host/service/promise.h"
#include <tnk/services.h>

namespace tnk::host::xblas {
namespace {

template <class T, class A, class, class Kernel, class F, class... Prec>
void trmv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, int32_t trans,
          int32_t diag, tnk_int n, F alpha, const A *t, tnk_int ldt, T *x, tnk_int incx, Prec... prec) {
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.trans(trans) && check.diag(diag) &&
      check.size("n", n) && check.factor("alpha", alpha) &&
      check.matrix("t", t, n > 0 && !is_nothing(alpha), "ldt", ldt, n, n) &&
      check.vector("x", x, n > 0, "incx", incx, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(order, uplo, trans, diag, n, alpha, t, ldt, x, incx, prec...);
}

template <class T, class A, class, class Kernel, class F, class... Prec>
void tpmv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, int32_t trans,
          int32_t diag, tnk_int n, F alpha, const A *tp, T *x, tnk_int incx, Prec... prec) {
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.trans(trans) && check.diag(diag) &&
      check.size("n", n) && check.factor("alpha", alpha) &&
      check.packed("tp", tp, n > 0 && !is_nothing(alpha), n) &&
      check.vector("x", x, n > 0, "incx", incx, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(order, uplo, trans, diag, n, alpha, tp, x, incx, prec...);
}

// In pairs the kernel takes two blocks and does not look whether it got them.
template <class T, class F, class Run, class... Prec>
void with_memory(const char *routine, tnk_int n, F alpha, const Run &run, Prec... prec) {
  if (n == 0) return;
  if (((prec != TNK_XBLAS_EXTRA) && ... && true) || is_nothing(alpha)) return run();
  constexpr tnk_int pairs = is_complex<T> ? 2 : 1;
  const ScratchPromise blocks(n * pairs * tnk_int{sizeof(double)}, 2);
  if (blocks.given()) return run();
  tnk_serv_check_ptr(nullptr, routine); // reports
}

template <class T, class A, class, class Kernel, class F, class... Prec>
void trsv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, int32_t trans,
          int32_t diag, tnk_int n, F alpha, const A *t, tnk_int ldt, T *x, tnk_int incx, Prec... prec) {
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.trans(trans) && check.diag(diag) &&
      check.size("n", n) && check.factor("alpha", alpha) &&
      check.matrix("t", t, n > 0 && !is_nothing(alpha), "ldt", ldt, n, n) &&
      check.vector("x", x, n > 0, "incx", incx, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine))
      with_memory<T>(
          routine, n, alpha, [&] { run(order, uplo, trans, diag, n, alpha, t, ldt, x, incx, prec...); },
          prec...);
}

template <class T, class A, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_tbsv(const char *routine, KernelEntry<Kernel> &kernel,
                                               int32_t order, int32_t uplo, int32_t trans, int32_t diag,
                                               tnk_int n, tnk_int k, F alpha, const A *t, tnk_int ldt, T *x,
                                               tnk_int incx, Prec... prec) {
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.trans(trans) && check.diag(diag) &&
      check.size("n", n) && check.bandwidth("k", k) && check.factor("alpha", alpha) &&
      check.matrix("t", t, n > 0 && !is_nothing(alpha), "ldt", ldt, k + 1, n) &&
      check.vector("x", x, n > 0, "incx", incx, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine))
      with_memory<T>(
          routine, n, alpha, [&] { run(order, uplo, trans, diag, n, k, alpha, t, ldt, x, incx, prec...); },
          prec...);
}

template <class T, class A, class, class Kernel, class F, class... Prec>
void tbsv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, int32_t trans,
          int32_t diag, tnk_int n, tnk_int k, F alpha, const A *t, tnk_int ldt, T *x, tnk_int incx,
          Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && ((prec != TNK_XBLAS_EXTRA) && ... && true) && is_order(order) && is_uplo(uplo) &&
      is_trans(trans) && (diag == TNK_XBLAS_NON_UNIT || diag == TNK_XBLAS_UNIT) && is_usual(n) &&
      is_bandwidth(k) && is_stride(ldt, k + 1) && is_step(incx) && all_given(t, x) && is_given(alpha) &&
      is_precision(prec...))
    return run(order, uplo, trans, diag, n, k, alpha, t, ldt, x, incx, prec...);
  careful_tbsv<T, A>(routine, kernel, order, uplo, trans, diag, n, k, alpha, t, ldt, x, incx, prec...);
}

} // namespace
} // namespace tnk::host::xblas

TNK_XBLAS_EACH_ALONE(TNK_XBLAS_PUBLIC, trmv)
TNK_XBLAS_EACH_ALONE(TNK_XBLAS_PUBLIC, tpmv)
TNK_XBLAS_EACH_ALONE(TNK_XBLAS_PUBLIC, trsv)
TNK_XBLAS_EACH_ALONE(TNK_XBLAS_PUBLIC, tbsv)
