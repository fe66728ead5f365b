// Triangles times vectors, in place.
#include "kernel/xblas/calls.h"

namespace tnk::xblas {
namespace {

// Downwards where rows end at the diagonal, so that each finds what it needs as it was.
template <class T, class A>
void in_place(int32_t prec, const Rows &matrix, factor<T> alpha, const A *t, T *x, tnk_int incx) {
  const Vector<T> y = vector(x, matrix.rows, incx);
  by_path<T>(prec, [&](auto path) {
    product<path, T, A, T>(matrix, value_of(alpha), t, {y.first, y.inc}, nullptr, T{}, y, matrix.below > 0);
  });
}

template <class T, class A, class>
void trmv(const char *routine, int32_t prec, int32_t order, int32_t uplo, int32_t trans, int32_t diag,
          tnk_int n, factor<T> alpha, const A *t, tnk_int ldt, T *x, tnk_int incx) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(5, n);
  reports.increment(10, incx);
  reports.leading(8, ldt, order, n, n);
  const Rows stored = triangular(n, n, is_upper(uplo), is_unit(diag), full_places(order, ldt));
  in_place(prec, under(trans, stored), alpha, t, x, incx);
}

template <class T, class A, class>
void tpmv(const char *routine, int32_t prec, int32_t order, int32_t uplo, int32_t trans, int32_t diag,
          tnk_int n, factor<T> alpha, const A *tp, T *x, tnk_int incx) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(5, n);
  reports.increment(9, incx);
  const bool upper = is_upper(uplo);
  const Rows stored = triangular(n, n, upper, is_unit(diag), packed_places(order, upper, n));
  in_place(prec, under(trans, stored), alpha, tp, x, incx);
}

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_ALONE(TNK_XBLAS_ENTRY, trmv)
TNK_XBLAS_EACH_ALONE(TNK_XBLAS_ENTRY, tpmv)
