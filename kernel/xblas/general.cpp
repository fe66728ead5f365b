// General matrices, full and band, times vectors.
#include "kernel/xblas/calls.h"

namespace tnk::xblas {
namespace {

template <class T, class A, class X>
void full(const char *routine, int32_t prec, int32_t order, int32_t trans, tnk_int m, tnk_int n,
          factor<T> alpha, const A *a, tnk_int lda, const Parts<X> &x, factor<T> beta, T *y, tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(3, m);
  reports.least(4, n, 1);
  reports.increment(9 + x.further(), x.inc);
  reports.increment(12 + x.further(), incy);
  reports.leading(7, lda, order, n, m);
  Rows matrix = under(trans, general(m, n, m, n, full_places(order, lda)));
  if (order != TNK_XBLAS_ROWMAJOR && order != TNK_XBLAS_COLMAJOR) matrix.before = {0, lda, 1};
  multiply(prec, matrix, alpha, a, x, beta, y, incy);
}

template <class T, class A, class X>
void gemv(const char *routine, int32_t prec, int32_t order, int32_t trans, tnk_int m, tnk_int n,
          factor<T> alpha, const A *a, tnk_int lda, const X *x, tnk_int incx, factor<T> beta, T *y,
          tnk_int incy) {
  full<T, A, X>(routine, prec, order, trans, m, n, alpha, a, lda, {x, nullptr, incx}, beta, y, incy);
}
template <class T, class A, class X>
void gemv2(const char *routine, int32_t prec, int32_t order, int32_t trans, tnk_int m, tnk_int n,
           factor<T> alpha, const A *a, tnk_int lda, const X *head, const X *tail, tnk_int incx,
           factor<T> beta, T *y, tnk_int incy) {
  full<T, A, X>(routine, prec, order, trans, m, n, alpha, a, lda, {head, tail, incx}, beta, y, incy);
}

template <class T, class A, class X>
void band(const char *routine, int32_t prec, int32_t order, int32_t trans, tnk_int m, tnk_int n, tnk_int kl,
          tnk_int ku, factor<T> alpha, const A *a, tnk_int lda, const Parts<X> &x, factor<T> beta, T *y,
          tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(3, m);
  reports.size(4, n);
  reports.size(5, kl);
  reports.size(6, ku);
  reports.increment(11 + x.further(), x.inc);
  reports.increment(14 + x.further(), incy);
  reports.leading(9, lda, order, kl + ku + 1, kl + ku + 1);
  multiply(prec, under(trans, general(m, n, kl, ku, band_places(order, kl, ku, lda))), alpha, a, x, beta, y,
           incy);
}

template <class T, class A, class X>
void gbmv(const char *routine, int32_t prec, int32_t order, int32_t trans, tnk_int m, tnk_int n, tnk_int kl,
          tnk_int ku, factor<T> alpha, const A *a, tnk_int lda, const X *x, tnk_int incx, factor<T> beta,
          T *y, tnk_int incy) {
  band<T, A, X>(routine, prec, order, trans, m, n, kl, ku, alpha, a, lda, {x, nullptr, incx}, beta, y, incy);
}
template <class T, class A, class X>
void gbmv2(const char *routine, int32_t prec, int32_t order, int32_t trans, tnk_int m, tnk_int n, tnk_int kl,
           tnk_int ku, factor<T> alpha, const A *a, tnk_int lda, const X *head, const X *tail, tnk_int incx,
           factor<T> beta, T *y, tnk_int incy) {
  band<T, A, X>(routine, prec, order, trans, m, n, kl, ku, alpha, a, lda, {head, tail, incx}, beta, y, incy);
}

// y := alpha A x + beta B x.
template <class T, class A, class X>
void ge_sum_mv(const char *routine, int32_t prec, int32_t order, tnk_int m, tnk_int n, factor<T> alpha,
               const A *a, tnk_int lda, const X *x, tnk_int incx, factor<T> beta, const A *b, tnk_int ldb,
               T *y, tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(2, m);
  reports.size(3, n);
  reports.increment(8, incx);
  reports.increment(13, incy);
  reports.leading(6, lda, order, n, m);
  reports.leading(11, ldb, order, n, m);
  by_path<T>(prec, [&](auto path) {
    sum_of_products<path, T, A, X>(value_of(alpha), general(m, n, m, n, full_places(order, lda)), a,
                                   value_of(beta), general(m, n, m, n, full_places(order, ldb)), b,
                                   vector(x, n, incx), vector(y, m, incy));
  });
}

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, gemv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, gemv2)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, gbmv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, gbmv2)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, ge_sum_mv)
