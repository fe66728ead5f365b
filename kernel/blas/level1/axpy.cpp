// y := alpha x + y.
#include "kernel/blas/level1/passes.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

template <class T> void axpy_strided(tnk_int n, T alpha, const T *x, tnk_int incx, T *y, tnk_int incy) {
  x = first_element(x, n, incx);
  y = first_element(y, n, incy);
  one_by_one<4>(n, [=](tnk_int i) { put(y + i * incy, get(y + i * incy) + alpha * get(x + i * incx)); });
}

template <class T> inline auto add_scaled(T alpha, const T *x, T *y) {
  return [=](tnk_int i) { put(y + i, get(y + i) + alpha * get(x + i)); };
}

// Stores to y are aligned in either path, loads from x where x has the residue of y modulo 32.
void axpy(tnk_int n, double alpha, const double *x, tnk_int incx, double *y, tnk_int incy) {
  if (incx != 1 || incy != 1 || !is_element_aligned(x) || !is_element_aligned(y))
    return axpy_strided(n, alpha, x, incx, y, incy);
  const tnk_int peel = elements_to_boundary<32>(y, n);
  const f64x4 a = splat<f64x4>(alpha);
  const auto one = add_scaled(alpha, x, y);
  if (n * 2 * static_cast<tnk_int>(sizeof *x) < cache_bytes && address(x) % 32 == address(y) % 32)
    in_passes<16, 4>(n, peel, 0, one,
                     [=](tnk_int i) { store(y + i, load<f64x4>(y + i) + a * load<f64x4>(x + i)); });
  else
    in_passes<16, 4>(n, peel, 0, one,
                     [=](tnk_int i) { store(y + i, load<f64x4>(y + i) + a * loadu<f64x4>(x + i)); });
}

// y on a 16-byte boundary after `peel` elements, x there Shift floats past one: x is read by aligned loads
// and each vector of it is put together from two of them. peel >= Shift, so nothing before x is read; `ahead`
// keeps the loads from passing its end.
template <int Shift> void axpy_realigned(tnk_int n, tnk_int peel, float alpha, const float *x, float *y) {
  const f32x4 a = splat<f32x4>(alpha);
  const auto one = add_scaled(alpha, x, y);
  if constexpr (Shift == 0) {
    in_passes<8, 4>(n, peel, 0, one,
                    [=](tnk_int i) { store(y + i, load<f32x4>(y + i) + a * load<f32x4>(x + i)); });
  } else {
    constexpr int ahead = 4 - Shift;
    f32x4 low = peel + 4 + ahead <= n ? load<f32x4>(x + peel - Shift) : f32x4{};
    in_passes<8, 4>(n, peel, ahead, one, [=, &low](tnk_int i) {
      const f32x4 high = load<f32x4>(x + i + ahead);
      store(y + i, load<f32x4>(y + i) + a * shifted_down<Shift>(low, high));
      low = high;
    });
  }
}

void axpy(tnk_int n, float alpha, const float *x, tnk_int incx, float *y, tnk_int incy) {
  if (incx != 1 || incy != 1 || !is_element_aligned(x) || !is_element_aligned(y))
    return axpy_strided(n, alpha, x, incx, y, incy);
  tnk_int peel = elements_to_boundary<16>(y, n);
  const int shift = static_cast<int>(address(x + peel) % 16 / sizeof *x);
  if (peel < shift) peel = std::min<tnk_int>(peel + 4, n);
  switch (shift) {
  case 0:
    return axpy_realigned<0>(n, peel, alpha, x, y);
  case 1:
    return axpy_realigned<1>(n, peel, alpha, x, y);
  case 2:
    return axpy_realigned<2>(n, peel, alpha, x, y);
  default:
    return axpy_realigned<3>(n, peel, alpha, x, y);
  }
}

// Complex: Count vectors of pairs at once. All products come before the first sum, so that a pass has enough
// independent work in view to keep both multipliers and both adders busy.
template <int Count, class C> inline void add_scaled_pairs(C alpha, const C *x, C *y) {
  using V = vec_of<C>;
  constexpr int pairs = per_vector<C>;
  V sum[Count];
  for (int k = 0; k < Count; ++k) sum[k] = in_register(loadu<V>(x + k * pairs));
  for (int k = 0; k < Count; ++k) sum[k] = scaled(alpha, sum[k]);
  for (int k = 0; k < Count; ++k) sum[k] += loadu<V>(y + k * pairs);
  for (int k = 0; k < Count; ++k) storeu(y + k * pairs, sum[k]);
}

// y may stand between two multiples of its pairs, where no peel leads to a boundary; hence unaligned stores,
// which cost nothing where the address is aligned.
template <class C> void axpy(tnk_int n, C alpha, const C *x, tnk_int incx, C *y, tnk_int incy) {
  static_assert(is_complex<C>);
  if (incx != 1 || incy != 1) return axpy_strided(n, alpha, x, incx, y, incy);
  constexpr int pairs = per_vector<C>;
  in_passes<8, pairs>(
      n, elements_to_boundary<32>(y, n), 0, add_scaled(alpha, x, y),
      [=](tnk_int i) { add_scaled_pairs<1>(alpha, x + i, y + i); },
      [=](tnk_int i) {
        add_scaled_pairs<4>(alpha, x + i, y + i);
        add_scaled_pairs<4>(alpha, x + i + 4 * pairs, y + i + 4 * pairs);
      });
}

} // namespace
} // namespace tnk::level1

#define AXPY(name, T)                                                                                        \
  void name(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, T *y, const tnk_int *incy) {  \
    const T a = tnk::get(alpha);                                                                             \
    if (*n >= 1 && !tnk::is_zero(a)) tnk::level1::axpy(*n, a, x, *incx, y, *incy);                           \
  }
AXPY(tnk_blas_xsaxpy, float)
AXPY(tnk_blas_xdaxpy, double)
AXPY(tnk_blas_xcaxpy, tnk_complex8)
AXPY(tnk_blas_xzaxpy, tnk_complex16)
#undef AXPY

// No test of alpha: a NaN or infinity in x reaches y even through a zero alpha.
#define AXPY_ALWAYS(name, T)                                                                                 \
  void name(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, T *y, const tnk_int *incy) {  \
    if (*n >= 1) tnk::level1::axpy(*n, tnk::get(alpha), x, *incx, y, *incy);                                 \
  }
AXPY_ALWAYS(tnk_blas_xcaxpy_a, tnk_complex8)
AXPY_ALWAYS(tnk_blas_xzaxpy_a, tnk_complex16)
#undef AXPY_ALWAYS
