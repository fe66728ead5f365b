// r := alpha sum x_i y_i + beta r: one scalar chain.
#include "kernel/xblas/calls.h"
#include "kernel/xblas/sums.h"

namespace tnk::xblas {
namespace {

template <class T, class X, class Y>
void dot(const char *routine, int32_t prec, int32_t conj, tnk_int n, factor<T> alpha_given, const X *x,
         tnk_int incx, factor<T> beta_given, const Y *y, tnk_int incy, T *r) {
  if (!is_precision(prec)) return;
  const Reports reports(routine);
  reports.size(2, n);
  reports.increment(5, incx);
  reports.increment(8, incy);
  const T alpha = value_of(alpha_given), beta = value_of(beta_given);
  if (is_one(beta) && (n == 0 || is_zero(alpha))) return;
  const real_of<X> *const first = reals(first_element(x, n, incx));
  by_path<T>(prec, [&](auto path) {
    constexpr Path P = path;
    sum_of_one<P, X, Y> sum{};
    go_on<P, X, Y, work<P>>(sum, &first, {n, 0, incx, 0, conj == TNK_XBLAS_CONJ}, first_element(y, n, incy),
                            incy, false);
    update(r, sum, Factors<P, T>(alpha, beta));
  });
}

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, dot)
