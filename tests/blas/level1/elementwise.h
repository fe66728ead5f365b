// The operations that rewrite two vectors pair by pair, each with its definition.
#pragma once

#include "blas/level1/shapes.h"
#include <functional>
#include <limits>
#include <tnk/blas_level1.h>
#include <tuple>

namespace tnk::test {

template <class T> struct Kernels;
#define KERNELS(T, t, rt, ...)                                                                               \
  template <> struct Kernels<T> {                                                                            \
    static constexpr auto axpy = tnk_blas_x##t##axpy;                                                        \
    static constexpr auto axpby = tnk_blas_##t##axpby;                                                       \
    static constexpr auto copy = tnk_blas_x##t##copy;                                                        \
    static constexpr auto swap = tnk_blas_x##t##swap;                                                        \
    static constexpr auto scale = tnk_blas_##t##scal;                                                        \
    static constexpr auto rotate = tnk_blas_x##rt##rot;                                                      \
    static constexpr auto axpyi = tnk_blas_##t##axpyi;                                                       \
    static constexpr auto gather = tnk_blas_##t##gthr;                                                       \
    static constexpr auto gather_zero = tnk_blas_##t##gthrz;                                                 \
    static constexpr auto scatter = tnk_blas_##t##sctr;                                                      \
    __VA_ARGS__                                                                                              \
  };
#define REAL(t)                                                                                              \
  static constexpr auto modified = tnk_blas_##t##rotm;                                                       \
  static constexpr auto roti = tnk_blas_##t##roti;
#define COMPLEX(t, rt)                                                                                       \
  static constexpr auto axpy_always = tnk_blas_x##t##axpy_a;                                                 \
  static constexpr auto scale_by_real = tnk_blas_##rt##scal;                                                 \
  static constexpr auto rotate_complex = tnk_blas_x##t##rot;
KERNELS(float, s, s, REAL(s))
KERNELS(double, d, d, REAL(d))
KERNELS(tnk_complex8, c, cs, COMPLEX(c, cs))
KERNELS(tnk_complex16, z, zd, COMPLEX(z, zd))
#undef KERNELS
#undef REAL
#undef COMPLEX

template <class T> using Step = std::function<void(T &x, T &y)>;

template <class T> Step<T> nothing() {
  return [](T &, T &) {};
}
template <class T> Step<T> add_scaled(T alpha) {
  using reference::operator+, reference::operator*;
  return [=](T &x, T &y) { y = y + alpha * x; };
}
template <class T, class S> Step<T> rotation(reference::Real<T> c, S s) {
  using reference::operator+, reference::operator-, reference::operator*;
  return [=](T &x, T &y) { std::tie(x, y) = std::pair(c * x + s * y, c * y - reference::conj(s) * x); };
}
template <class T, class A> Step<T> multiply(A alpha) {
  using reference::operator*;
  return [=](T &x, T &) { x = alpha * x; };
}

} // namespace tnk::test
