// A := alpha x x^T + A, A complex and symmetric, one triangle of it packed by columns.
#include "kernel/frame/vector.h"
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

// column := column + by x, n elements.
template <class T> void add(tnk_int n, T by, const T *x, tnk_int incx, T *column) {
  using V = vec_of<T>;
  tnk_int i = 0;
  if (incx == 1)
    for (; i + per_vector<T> <= n; i += per_vector<T>)
      storeu(column + i, loadu<V>(column + i) + scaled(by, loadu<V>(x + i)));
  for (; i < n; ++i) put(column + i, get(column + i) + by * get(x + i * incx));
}

template <class T> void rank_one(bool upper, tnk_int n, T alpha, const T *x, tnk_int incx, T *ap) {
  if (n < 1 || is_zero(alpha)) return;
  // For an increment that is not positive x starts one element further than it does elsewhere.
  if (incx <= 0) x -= n * incx;
  for (tnk_int j = 0; j < n; ++j) {
    const T element = get(x + j * incx);
    const tnk_int rows = upper ? j + 1 : n - j;
    if (!is_zero(element)) add(rows, alpha * element, upper ? x : x + j * incx, incx, ap);
    ap += rows;
  }
}

} // namespace
} // namespace tnk::lapack

void tnk_lapack_ps_cspr(const char *uplo, const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                        const tnk_int *incx, tnk_complex8 *ap) {
  tnk::lapack::rank_one(*uplo == 'U' || *uplo == 'u', *n, tnk::get(alpha), x, *incx, ap);
}
