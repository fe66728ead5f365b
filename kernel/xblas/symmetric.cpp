// Symmetric and Hermitian matrices, full, band and packed, times vectors.
#include "kernel/xblas/calls.h"

namespace tnk::xblas {
namespace {

enum Kind { plainly_symmetric, hermitian };

template <Kind kind, class T, class A, class X>
void full(const char *routine, int32_t prec, int32_t order, int32_t uplo, tnk_int n, factor<T> alpha,
          const A *a, tnk_int lda, const Parts<X> &x, factor<T> beta, T *y, tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(3, n);
  reports.increment(8 + x.further(), x.inc);
  reports.increment(11 + x.further(), incy);
  reports.leading(6, lda, order, n, n);
  multiply(prec, symmetric(n, n, is_upper(uplo), full_places(order, lda), kind == hermitian), alpha, a, x,
           beta, y, incy);
}

template <Kind kind, class T, class A, class X>
void band(const char *routine, int32_t prec, int32_t order, int32_t uplo, tnk_int n, tnk_int k,
          factor<T> alpha, const A *a, tnk_int lda, const X *x, tnk_int incx, factor<T> beta, T *y,
          tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(3, n);
  reports.size(4, k);
  reports.increment(9, incx);
  reports.increment(12, incy);
  reports.leading(7, lda, order, k + 1, k + 1);
  const bool upper = is_upper(uplo);
  const Places places = band_places(order, upper ? 0 : k, upper ? k : 0, lda);
  multiply<T, A, X>(prec, symmetric(n, k, upper, places, kind == hermitian), alpha, a, {x, nullptr, incx},
                    beta, y, incy);
}

template <Kind kind, class T, class A, class X>
void packed(const char *routine, int32_t prec, int32_t order, int32_t uplo, tnk_int n, factor<T> alpha,
            const A *ap, const X *x, tnk_int incx, factor<T> beta, T *y, tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(3, n);
  reports.increment(7, incx);
  reports.increment(10, incy);
  const bool upper = is_upper(uplo);
  multiply<T, A, X>(prec, symmetric(n, n, upper, packed_places(order, upper, n), kind == hermitian), alpha,
                    ap, {x, nullptr, incx}, beta, y, incy);
}

// The routines by their names.
#define TNK_KIND(KIND, MV, MV2, BMV, PMV)                                                                    \
  template <class T, class A, class X>                                                                       \
  void MV(const char *routine, int32_t prec, int32_t order, int32_t uplo, tnk_int n, factor<T> alpha,        \
          const A *a, tnk_int lda, const X *x, tnk_int incx, factor<T> beta, T *y, tnk_int incy) {           \
    full<KIND, T, A, X>(routine, prec, order, uplo, n, alpha, a, lda, {x, nullptr, incx}, beta, y, incy);    \
  }                                                                                                          \
  template <class T, class A, class X>                                                                       \
  void MV2(const char *routine, int32_t prec, int32_t order, int32_t uplo, tnk_int n, factor<T> alpha,       \
           const A *a, tnk_int lda, const X *head, const X *tail, tnk_int incx, factor<T> beta, T *y,        \
           tnk_int incy) {                                                                                   \
    full<KIND, T, A, X>(routine, prec, order, uplo, n, alpha, a, lda, {head, tail, incx}, beta, y, incy);    \
  }                                                                                                          \
  template <class T, class A, class X, class... Arguments> void BMV(Arguments... arguments) {                \
    band<KIND, T, A, X>(arguments...);                                                                       \
  }                                                                                                          \
  template <class T, class A, class X, class... Arguments> void PMV(Arguments... arguments) {                \
    packed<KIND, T, A, X>(arguments...);                                                                     \
  }
TNK_KIND(plainly_symmetric, symv, symv2, sbmv, spmv)
TNK_KIND(hermitian, hemv, hemv2, hbmv, hpmv)
#undef TNK_KIND

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, symv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, symv2)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, sbmv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, spmv)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_ENTRY, hemv)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_ENTRY, hemv2)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_ENTRY, hbmv)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_ENTRY, hpmv)
