// sasum, dasum, scasum, dzasum: sums of |x[i]|, of |re| + |im| for complex numbers.
#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> real_of<T> asum_strided(tnk_int n, const T *x, tnk_int incx) {
  real_of<T> sum = 0;
  for (tnk_int i = 0; i < n; ++i, x += incx) sum += abs1(get(x));
  return sum;
}

// Eight sums: two loads a cycle feed two adds of up to four cycles each. The lower and the upper half of the
// vector are walked side by side: from memory two streams come faster than one.
template <class R> R asum_contiguous(tnk_int n, const R *x) {
  using V = vec<R>;
  constexpr tnk_int w = per_vector<R>;
  const tnk_int head = elements_to_boundary<32>(x, n);
  const R sum = asum_strided(head, x, 1);
  x += head;
  n -= head;
  V s[8] = {};
  const tnk_int half_length = n / (8 * w) * (4 * w);
  const R *const upper = x + half_length;
  for (tnk_int i = 0; i < half_length; i += 4 * w)
    for (int k = 0; k < 4; ++k) {
      s[k] += magnitude(load<V>(x + i + k * w));
      s[k + 4] += magnitude(load<V>(upper + i + k * w));
    }
  tnk_int i = 2 * half_length;
  for (; i + w <= n; i += w) s[0] += magnitude(load<V>(x + i));
  const R tail = asum_strided((n - i) % w, x + i, 1);
  return (sum + tail) + hsum(((s[0] + s[1]) + (s[2] + s[3])) + ((s[4] + s[5]) + (s[6] + s[7])));
}

template <class T> real_of<T> asum(tnk_int n, const T *x, tnk_int incx) {
  using R = real_of<T>;
  if (n < 1) return 0;
  if (incx == 1 && is_element_aligned(x))
    return asum_contiguous(is_complex<T> ? 2 * n : n, reinterpret_cast<const R *>(x));
  return asum_strided(n, first_element(x, n, incx), incx);
}

} // namespace
} // namespace tnk::level1

float tnk_blas_sasum(const tnk_int *n, const float *x, const tnk_int *incx) {
  return tnk::level1::asum(*n, x, *incx);
}
double tnk_blas_dasum(const tnk_int *n, const double *x, const tnk_int *incx) {
  return tnk::level1::asum(*n, x, *incx);
}
float tnk_blas_scasum(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx) {
  return tnk::level1::asum(*n, x, *incx);
}
double tnk_blas_dzasum(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx) {
  return tnk::level1::asum(*n, x, *incx);
}
