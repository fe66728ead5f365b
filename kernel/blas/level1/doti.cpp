// Sparse dot product: the sum of x[i] y[indx[i] - 1], the even and the odd terms summed apart and then added.
#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class R> R sparse_dot(tnk_int nz, const R *x, const tnk_int *indx, const R *y) {
  const auto term = [=](tnk_int i) { return get(x + i) * get(y + (get(indx + i) - 1)); };
  R even = 0, odd = 0;
  tnk_int i = 0;
  for (; i + 2 <= nz; i += 2) {
    even += term(i);
    odd += term(i + 1);
  }
  if (i < nz) even += term(i);
  return even + odd;
}

enum class Conjugate { no, yes };

// The sum of the even terms stands in the lower half of a vector of two pairs, that of the odd ones above it.
template <Conjugate conj, class C>
C sparse_dot_complex(tnk_int nz, const C *x, const tnk_int *indx, const C *y) {
  using R = real_of<C>;
  using V = std::conditional_t<std::is_same_v<R, float>, half<R>, vec<R>>;
  const auto at = [](const C *v, tnk_int i) { return reinterpret_cast<const R *>(v + i); };
  V sum = {};
  tnk_int i = 0;
  for (; i + 2 <= nz; i += 2) {
    const V a = loadu<V>(x + i), b = load_pairs(at(y, get(indx + i) - 1), at(y, get(indx + i + 1) - 1));
    sum += times<C, conj == Conjugate::yes>(a, b);
  }
  C even{sum[0], sum[1]}, odd{sum[2], sum[3]};
  if (i < nz) {
    const C a = get(x + i), b = get(y + (get(indx + i) - 1));
    even += (conj == Conjugate::yes ? conjugate(a) : a) * b;
  }
  return even + odd;
}

} // namespace
} // namespace tnk::level1

using tnk::level1::Conjugate;

float tnk_blas_sdoti(const tnk_int *nz, const float *x, const tnk_int *indx, const float *y) {
  return tnk::level1::sparse_dot(*nz, x, indx, y);
}
double tnk_blas_ddoti(const tnk_int *nz, const double *x, const tnk_int *indx, const double *y) {
  return tnk::level1::sparse_dot(*nz, x, indx, y);
}
void tnk_blas_cdotci(tnk_complex8 *result, const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx,
                     const tnk_complex8 *y) {
  tnk::put(result, tnk::level1::sparse_dot_complex<Conjugate::yes>(*nz, x, indx, y));
}
void tnk_blas_cdotui(tnk_complex8 *result, const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx,
                     const tnk_complex8 *y) {
  tnk::put(result, tnk::level1::sparse_dot_complex<Conjugate::no>(*nz, x, indx, y));
}
void tnk_blas_zdotci(tnk_complex16 *result, const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx,
                     const tnk_complex16 *y) {
  tnk::put(result, tnk::level1::sparse_dot_complex<Conjugate::yes>(*nz, x, indx, y));
}
void tnk_blas_zdotui(tnk_complex16 *result, const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx,
                     const tnk_complex16 *y) {
  tnk::put(result, tnk::level1::sparse_dot_complex<Conjugate::no>(*nz, x, indx, y));
}
