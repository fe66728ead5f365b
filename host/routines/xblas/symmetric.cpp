// Public extended-precision products of symmetric and Hermitian matrices with vectors.
#include "host/routines/xblas/calls.h"

namespace tnk::host::xblas {
namespace {

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_symv(const char *routine, KernelEntry<Kernel> &kernel,
                                               int32_t order, int32_t uplo, tnk_int n, F alpha, const A *a,
                                               tnk_int lda, const X *x, tnk_int incx, F beta, T *y,
                                               tnk_int incy, Prec... prec) {
  const bool touched = n > 0 && !is_nothing(alpha);
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.size("n", n) && check.factor("alpha", alpha) &&
      check.matrix("a", a, touched, "lda", lda, n, n) && check.vector("x", x, touched, "incx", incx, n) &&
      check.factor("beta", beta) && check.vector("y", y, n > 0, "incy", incy, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine))
      run(order, uplo, n, alpha, a, lda, x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void symv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, tnk_int n, F alpha,
          const A *a, tnk_int lda, const X *x, tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_uplo(uplo) && is_usual(n) && is_stride(lda, n) && is_step(incx) &&
      is_step(incy) && all_given(a, x, y) && is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(order, uplo, n, alpha, a, lda, x, incx, beta, y, incy, prec...);
  careful_symv<T, A, X>(routine, kernel, order, uplo, n, alpha, a, lda, x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_symv2(const char *routine, KernelEntry<Kernel> &kernel,
                                                int32_t order, int32_t uplo, tnk_int n, F alpha, const A *a,
                                                tnk_int lda, const X *head_x, const X *tail_x, tnk_int incx,
                                                F beta, T *y, tnk_int incy, Prec... prec) {
  const bool touched = n > 0 && !is_nothing(alpha);
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.size("n", n) && check.factor("alpha", alpha) &&
      check.matrix("a", a, touched, "lda", lda, n, n) && check.array("head_x", head_x, touched) &&
      check.vector("tail_x", tail_x, touched, "incx", incx, n) && check.factor("beta", beta) &&
      check.vector("y", y, n > 0, "incy", incy, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine))
      run(order, uplo, n, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void symv2(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, tnk_int n, F alpha,
           const A *a, tnk_int lda, const X *head_x, const X *tail_x, tnk_int incx, F beta, T *y,
           tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_uplo(uplo) && is_usual(n) && is_stride(lda, n) && is_step(incx) &&
      is_step(incy) && all_given(a, head_x, tail_x, y) && is_given(alpha) && is_given(beta) &&
      is_precision(prec...))
    return run(order, uplo, n, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec...);
  careful_symv2<T, A, X>(routine, kernel, order, uplo, n, alpha, a, lda, head_x, tail_x, incx, beta, y, incy,
                         prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_sbmv(const char *routine, KernelEntry<Kernel> &kernel,
                                               int32_t order, int32_t uplo, tnk_int n, tnk_int k, F alpha,
                                               const A *a, tnk_int lda, const X *x, tnk_int incx, F beta,
                                               T *y, tnk_int incy, Prec... prec) {
  const bool touched = n > 0 && !is_nothing(alpha);
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.size("n", n) && check.bandwidth("k", k) &&
      check.factor("alpha", alpha) && check.matrix("a", a, touched, "lda", lda, k + 1, n) &&
      check.vector("x", x, touched, "incx", incx, n) && check.factor("beta", beta) &&
      check.vector("y", y, n > 0, "incy", incy, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine))
      run(order, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void sbmv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, tnk_int n, tnk_int k,
          F alpha, const A *a, tnk_int lda, const X *x, tnk_int incx, F beta, T *y, tnk_int incy,
          Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_uplo(uplo) && is_usual(n) && is_bandwidth(k) && is_stride(lda, k + 1) &&
      is_step(incx) && is_step(incy) && all_given(a, x, y) && is_given(alpha) && is_given(beta) &&
      is_precision(prec...))
    return run(order, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy, prec...);
  careful_sbmv<T, A, X>(routine, kernel, order, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void
careful_spmv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, tnk_int n,
             F alpha, const A *ap, const X *x, tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  const bool touched = n > 0 && !is_nothing(alpha);
  Arguments check(routine);
  if (check.order(order) && check.uplo(uplo) && check.size("n", n) && check.factor("alpha", alpha) &&
      check.packed("ap", ap, touched, n) && check.vector("x", x, touched, "incx", incx, n) &&
      check.factor("beta", beta) && check.vector("y", y, n > 0, "incy", incy, n) && check.prec(prec...))
    if (Kernel *run = kernel.get(routine)) run(order, uplo, n, alpha, ap, x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void spmv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t uplo, tnk_int n, F alpha,
          const A *ap, const X *x, tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_uplo(uplo) && is_usual(n) && is_step(incx) && is_step(incy) &&
      all_given(ap, x, y) && is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(order, uplo, n, alpha, ap, x, incx, beta, y, incy, prec...);
  careful_spmv<T, A, X>(routine, kernel, order, uplo, n, alpha, ap, x, incx, beta, y, incy, prec...);
}

// Hermitian matrices are given alike.
#define TNK_XBLAS_ALIKE(op, like)                                                                            \
  template <class T, class A, class X, class Kernel, class... Values>                                        \
  void op(const char *routine, KernelEntry<Kernel> &kernel, Values... values) {                              \
    like<T, A, X>(routine, kernel, values...);                                                               \
  }
TNK_XBLAS_ALIKE(hemv, symv)
TNK_XBLAS_ALIKE(hemv2, symv2)
TNK_XBLAS_ALIKE(hbmv, sbmv)
TNK_XBLAS_ALIKE(hpmv, spmv)

} // namespace
} // namespace tnk::host::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, symv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, symv2)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, sbmv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, spmv)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_PUBLIC, hemv)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_PUBLIC, hemv2)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_PUBLIC, hbmv)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_PUBLIC, hpmv)
