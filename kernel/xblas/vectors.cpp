// Vectors scaled and added, and the sum of one.
#include "kernel/xblas/calls.h"
#include "kernel/xblas/numbers.h"

namespace tnk::xblas {
namespace {

// w := alpha x + beta y.
template <class T, class X, class Y>
void combine(int32_t prec, tnk_int n, T alpha, const Vector<const X> &x, T beta, const Vector<const Y> &y,
             const Vector<T> &w) {
  by_path<T>(prec, [&](auto path) {
    constexpr Path P = path;
    const auto factor_x = operand_at<P, width_of<T, T>>(&alpha),
               factor_y = operand_at<P, width_of<T, T>>(&beta);
    for (tnk_int i = 0; i < n; ++i) {
      const auto product = operand_at<P, width_of<T, T>>(x.at(i)) * factor_x;
      store_result(w.at(i), product + operand_at<P, width_of<T, T>>(y.at(i)) * factor_y);
    }
  });
}

template <class T, class X, class Y>
void waxpby(const char *routine, int32_t prec, tnk_int n, factor<T> alpha, const X *x, tnk_int incx,
            factor<T> beta, const Y *y, tnk_int incy, T *w, tnk_int incw) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(1, n);
  reports.increment(4, incx);
  reports.increment(7, incy);
  reports.increment(9, incw);
  combine<T, X, Y>(prec, n, value_of(alpha), vector(x, n, incx), value_of(beta), vector(y, n, incy),
                   vector(w, n, incw));
}

template <class T, class X, class>
void axpby(const char *routine, int32_t prec, tnk_int n, factor<T> alpha, const X *x, tnk_int incx,
           factor<T> beta, T *y, tnk_int incy) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(1, n);
  reports.increment(4, incx);
  reports.increment(7, incy);
  if (is_zero(value_of(alpha)) && is_one(value_of(beta))) return;
  const Vector<T> to = vector(y, n, incy);
  combine<T, X, T>(prec, n, value_of(alpha), vector(x, n, incx), value_of(beta), {to.first, to.inc}, to);
}

template <class T, class, class>
void sum(const char *routine, int32_t prec, tnk_int n, const T *x, tnk_int incx, T *result) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(1, n);
  reports.increment(3, incx);
  by_path<T>(prec, [&](auto path) {
    constexpr Path P = path;
    sum_of<P, T, T, work<P>> total{};
    const auto from = vector(x, n, incx);
    for (tnk_int i = 0; i < n; ++i) total = total + term_at<P>(from.at(i));
    store_result(result, total);
  });
}

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_ALONE(TNK_XBLAS_ENTRY, axpby)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, waxpby)
TNK_XBLAS_EACH_OWN(TNK_XBLAS_ENTRY, sum)
