// xsdot, xddot, cdotu, zdotu, xcdotc, zdotc: inner products.
#include "kernel/blas/level1/passes.h"
#include "kernel/frame/unroll.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

enum class FirstOperand { plain, conjugated };

template <FirstOperand First, class T> inline T product(T x, T y) {
  return First == FirstOperand::conjugated ? conjugate(x) * y : x * y;
}

template <FirstOperand First, class T>
T dot_strided(tnk_int n, const T *x, tnk_int incx, const T *y, tnk_int incy) {
  x = first_element(x, n, incx);
  y = first_element(y, n, incy);
  // Two sums, because one waits for its last addition.
  T even = {}, odd = {};
  for (; n >= 2; n -= 2, x += 2 * incx, y += 2 * incy) {
    even += product<First>(get(x), get(y));
    odd += product<First>(get(x + incx), get(y + incy));
  }
  if (n > 0) even += product<First>(get(x), get(y));
  return even + odd;
}

template <FirstOperand First = FirstOperand::plain, class T>
inline T dot_scalar(T sum, tnk_int n, const T *x, const T *y) {
  for (tnk_int i = 0; i < n; ++i) sum += product<First>(x[i], y[i]);
  return sum;
}

// ---- Double ---------------------------------------------------------------------------------------------

// Sum over blocks of 16 elements; y is aligned, x by choice.
template <bool AlignedX> double ddot_blocks(tnk_int blocks, const double *x, const double *y) {
  f64x4 s[4] = {};
  for (; blocks > 0; --blocks, x += 16, y += 16)
    for (int k = 0; k < 4; ++k)
      s[k] += (AlignedX ? load<f64x4>(x + 4 * k) : loadu<f64x4>(x + 4 * k)) * load<f64x4>(y + 4 * k);
  return hsum((s[0] + s[1]) + (s[2] + s[3]));
}

double dot_contiguous(tnk_int n, const double *x, const double *y) {
  const tnk_int head = elements_to_boundary<32>(y, n), blocks = (n - head) / 16, body = 16 * blocks;
  // While both vectors stay in the first-level cache the kind of access counts.
  const bool aligned =
      n * 2 * static_cast<tnk_int>(sizeof *x) < cache_bytes && (address(x) - address(y)) % 32 == 0;
  const double sum = dot_scalar(0.0, head, x, y);
  x += head;
  y += head;
  const double middle = aligned ? ddot_blocks<true>(blocks, x, y) : ddot_blocks<false>(blocks, x, y);
  return dot_scalar(sum, n - head - body, x + body, y + body) + middle;
}

// ---- Single ---------------------------------------------------------------------------------------------

// Adds the products of whole vectors to sum, and returns how many elements that took. y stands on a 16-byte
// boundary and x Lead elements past one. x is read by aligned loads alone, from x - Lead on, each pair of
// neighbours giving the four elements that meet those of y; the loop ends where the next load would reach
// past the end of x.
template <int Lead> tnk_int sdot_blocks(tnk_int n, const float *x, const float *y, float &sum) {
  constexpr tnk_int ahead = Lead == 0 ? 0 : 4 - Lead;
  const float *const base = x - Lead;
  tnk_int i = 0;
  if (n < 4 + ahead) return 0;
  f32x4 s[4] = {}, last = load<f32x4>(base);
  const auto pass = [&](int vectors) TNK_INLINED {
    for (int k = 0; k < vectors; ++k) {
      if constexpr (Lead == 0) {
        s[k] += load<f32x4>(base + i + 4 * k) * load<f32x4>(y + i + 4 * k);
      } else {
        const f32x4 next = load<f32x4>(base + i + 4 * k + 4);
        s[k] += shifted_down<Lead>(last, next) * load<f32x4>(y + i + 4 * k);
        last = next;
      }
    }
    i += 4 * vectors;
  };
  while (i + 16 + ahead <= n) pass(4);
  while (i + 4 + ahead <= n) pass(1);
  sum += hsum((s[0] + s[1]) + (s[2] + s[3]));
  return i;
}

float dot_contiguous(tnk_int n, const float *x, const float *y) {
  tnk_int head = elements_to_boundary<16>(y, n);
  const tnk_int lead = static_cast<tnk_int>(address(x + head) % 16 / 4);
  // The first aligned load of x must not begin before x.
  if (lead > head) head = std::min(head + 4, n);
  float sum = dot_scalar(0.0f, head, x, y);
  x += head;
  y += head;
  n -= head;
  const tnk_int body = lead == 0   ? sdot_blocks<0>(n, x, y, sum)
                       : lead == 1 ? sdot_blocks<1>(n, x, y, sum)
                       : lead == 2 ? sdot_blocks<2>(n, x, y, sum)
                                   : sdot_blocks<3>(n, x, y, sum);
  return dot_scalar(sum, n - body, x + body, y + body);
}

template <class R> R dot(tnk_int n, const R *x, tnk_int incx, const R *y, tnk_int incy) {
  if (n < 1) return 0;
  if (incx == 1 && incy == 1 && is_element_aligned(x) && is_element_aligned(y))
    return dot_contiguous(n, x, y);
  return dot_strided<FirstOperand::plain>(n, x, incx, y, incy);
}

// ---- Complex --------------------------------------------------------------------------------------------

// The straight products re*re, im*im and the crossed ones im*re, re*im are summed lane by lane; their signs,
// by which alone the two forms differ, wait for the end. Three vectors a pass, six sums: with more, registers
// run short and operands are loaded twice.
template <FirstOperand First, class C> C complex_dot_contiguous(tnk_int n, const C *x, const C *y) {
  using R = real_of<C>;
  using V = vec<R>;
  constexpr tnk_int w = per_vector<R> / 2;
  const tnk_int head = elements_to_boundary<32>(y, n);
  C sum = dot_scalar<First>(C{}, head, x, y);
  V straight[3] = {}, crossed[3] = {};
  tnk_int i = head;
  const auto pass = [&](int vectors) TNK_INLINED {
    for (int k = 0; k < vectors; ++k) {
      const V a = in_register(loadu<V>(reinterpret_cast<const R *>(x + i + k * w)));
      const V b = in_register(loadu<V>(reinterpret_cast<const R *>(y + i + k * w)));
      straight[k] += a * b;
      crossed[k] += swap_neighbours(a) * b;
    }
    i += vectors * w;
  };
  while (i + 3 * w <= n) pass(3);
  while (i + w <= n) pass(1);
  sum = dot_scalar<First>(sum, n - i, x + i, y + i);
  const C s = sum_of_elements<C>(straight[0] + straight[1] + straight[2]);
  const C c = sum_of_elements<C>(crossed[0] + crossed[1] + crossed[2]);
  if constexpr (First == FirstOperand::conjugated)
    return sum + C{s.re + s.im, c.im - c.re};
  else
    return sum + C{s.re - s.im, c.re + c.im};
}

template <FirstOperand First, class C>
C complex_dot(tnk_int n, const C *x, tnk_int incx, const C *y, tnk_int incy) {
  if (n < 1) return {};
  if (incx == 1 && incy == 1 && is_element_aligned(x) && is_element_aligned(y))
    return complex_dot_contiguous<First>(n, x, y);
  return dot_strided<First>(n, x, incx, y, incy);
}

} // namespace
} // namespace tnk::level1

float tnk_blas_xsdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                     const tnk_int *incy) {
  return tnk::level1::dot(*n, x, *incx, y, *incy);
}
double tnk_blas_xddot(const tnk_int *n, const double *x, const tnk_int *incx, const double *y,
                      const tnk_int *incy) {
  return tnk::level1::dot(*n, x, *incx, y, *incy);
}

#define TNK_COMPLEX_DOT(name, first, C)                                                                      \
  void name(C *result, const tnk_int *n, const C *x, const tnk_int *incx, const C *y, const tnk_int *incy) { \
    tnk::put(result, tnk::level1::complex_dot<tnk::level1::FirstOperand::first>(*n, x, *incx, y, *incy));    \
  }

TNK_COMPLEX_DOT(tnk_blas_cdotu, plain, tnk_complex8)
TNK_COMPLEX_DOT(tnk_blas_zdotu, plain, tnk_complex16)
TNK_COMPLEX_DOT(tnk_blas_xcdotc, conjugated, tnk_complex8)
TNK_COMPLEX_DOT(tnk_blas_zdotc, conjugated, tnk_complex16)
