// Euclidean norms without overflow or harmful underflow: the kernel's plain sum of squares where that is safe, which its value
// tells, and a scaled one elsewhere.
//
// LAPACK compares bits of runs that have the same numbers in other places, and the order of the kernel's sum depends on where
// they are. So it is given pieces that begin on a boundary of a vector, copied there unless they are there already: a norm
// depends on the numbers alone. In single precision the pieces are added up in double.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "dropin/face.h"

namespace tnk::dropin {

// One value for all parts of n elements.
template <class T, class F> void each_part(tnk_int n, const T *x, tnk_int inc, const F &f) {
  for (tnk_int i = 0; i < n; ++i)
    if constexpr (is_complex<T>) {
      f(x[i * inc].re);
      f(x[i * inc].im);
    } else {
      f(x[i * inc]);
    }
}

// The kernels behind norms, by type.
template <class T> struct Squares;
#define TNK_SQUARES(T, copy_kernel, dot_kernel)                                                              \
  template <> struct Squares<T> {                                                                            \
    static auto copy() { return behind().copy_kernel; }                                                      \
    static auto dot() { return behind().dot_kernel; }                                                        \
  };
TNK_SQUARES(float, xscopy, xsdot)
TNK_SQUARES(double, xdcopy, xddot)
TNK_SQUARES(tnk_complex8, xccopy, xsdot)
TNK_SQUARES(tnk_complex16, xzcopy, xddot)
#undef TNK_SQUARES

template <class T> double sum_of_squares(tnk_int n, const T *x, tnk_int inc) {
  using R = real_of<T>;
  constexpr tnk_int parts = is_complex<T> ? 2 : 1, piece = 512 / parts, vector = 32;
  // Done before a kernel has begun to pay, and in the published order and precision: a few of LAPACK's tests, with pencils that
  // are next to singular, turn on the last bit of a reflector.
  constexpr tnk_int few = 24 / parts;
  if (n <= few) {
    R sum = 0;
    each_part(n, x, inc, [&](R part) { sum += part * part; });
    return static_cast<double>(sum);
  }
  double sum = 0;
  alignas(vector) T aligned[piece];
  static constexpr tnk_int one = 1;
  const auto copy = Squares<T>::copy();
  const auto dot = Squares<T>::dot();
  for (tnk_int i = 0; i < n; i += piece) {
    const tnk_int count = std::min(piece, n - i), reals = count * parts;
    const T *here = x + i * inc;
    if (inc != 1 || reinterpret_cast<std::uintptr_t>(here) % vector != 0) {
      copy(&count, here, &inc, aligned, &one);
      here = aligned;
    }
    const R *const numbers = reinterpret_cast<const R *>(here);
    sum += dot(&reals, numbers, &one, numbers, &one);
  }
  return sum;
}

template <class T>
[[gnu::cold, gnu::noinline]] real_of<T> scaled_norm(double sum, tnk_int n, const T *x, tnk_int inc) {
  if (std::isnan(sum)) return std::numeric_limits<real_of<T>>::quiet_NaN();
  // The sum was infinite, or too small to be trusted. With this factor the squares of the largest numbers are in the middle of
  // the range, and those that now vanish do not count beside them. Squares of single numbers are in range as they are.
  const double up = std::is_same_v<real_of<T>, float> ? 1 : 0x1p600, scale = sum > 1 ? 1 / up : up;
  double scaled = 0;
  each_part(n, x, inc, [&](double part) { scaled += (part * scale) * (part * scale); });
  return static_cast<real_of<T>>(std::sqrt(scaled) / scale);
}

template <class T> real_of<T> nrm2(tnk_int n, const T *x, tnk_int inc) {
  using limits = std::numeric_limits<real_of<T>>;
  if (n < 1) return 0;
  inc = std::abs(inc); // the published norm, unlike sums, takes vectors from their far end
  const double sum = sum_of_squares(n, x, inc);
  // What squares lose below the smallest normal number, 2 n of them, stays a rounding error of such a sum.
  const double least = static_cast<double>(n) * (2 * static_cast<double>(limits::min()) / limits::epsilon());
  if (__builtin_expect(sum >= least && sum <= std::numeric_limits<double>::max(), 1))
    return static_cast<real_of<T>>(std::sqrt(sum));
  return scaled_norm(sum, n, x, inc);
}

} // namespace tnk::dropin
