// Vectors turned element by element: a rotation for each pair of elements, or one reflector for all pairs or triples.
#include "kernel/frame/vector.h"
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

// step(i, sample) for elements from i on: one, when `sample` is a T, or as many as the vector V holds. They go one by one
// until `aligned` stands on a 32-byte boundary, if it ever does.
template <class V, class T, class Step> void along(tnk_int n, const T *aligned, Step step) {
  constexpr tnk_int width = sizeof(V) / sizeof(T), pass = std::max<tnk_int>(4, width);
  const tnk_int peel = elements_to_boundary<32>(aligned, n);
  tnk_int i = 0;
  for (; i < peel; ++i) step(i, T{});
  for (; i + pass <= n; i += pass)
    for (tnk_int k = i; k < i + pass; k += width) step(k, V{});
  for (; i < n; ++i) step(i, T{});
}

// ---- A rotation for each pair -----------------------------------------------------------------------------------

// Of pairs of parts: the numbers from p on, each of them twice.
template <class T> half_of<T> load_for_both_parts(const real_of<T> *p) {
  if constexpr (!is_complex<T>)
    return loadu<half_of<T>>(p);
  else if constexpr (per_half<T> == 1)
    return splat<half_of<T>>(get(p));
  else
    return half_of<T>{get(p), get(p), get(p + 1), get(p + 1)};
}

// c and s are one number, or those of as many pairs.
template <class T, class X, class C> inline void rotate(X &x, X &y, C c, X s) {
  const X old = x;
  if constexpr (std::is_same_v<X, T>) {
    x = c * old + s * y;
    y = c * y - conjugate(s) * old;
  } else {
    x = c * old + times<T>(s, y);
    y = c * y - times<T, true>(s, old);
  }
}

template <class T>
void lartv(tnk_int n, T *x, tnk_int incx, T *y, tnk_int incy, const real_of<T> *c, const T *s, tnk_int incc) {
  const auto one_pair = [](T *xi, T *yi, const real_of<T> *ci, const T *si) {
    T u = get(xi), v = get(yi);
    rotate<T>(u, v, get(ci), get(si));
    put(xi, u), put(yi, v);
  };
  if (incx != 1 || incy != 1 || incc != 1 || !is_element_aligned(y)) {
    for (tnk_int i = 0; i < n; ++i) one_pair(x + i * incx, y + i * incy, c + i * incc, s + i * incc);
    return;
  }
  using V = half_of<T>;
  along<V>(n, y, [=](tnk_int i, auto sample) {
    if constexpr (std::is_same_v<decltype(sample), T>) {
      one_pair(x + i, y + i, c + i, s + i);
    } else {
      V u = loadu<V>(x + i), v = loadu<V>(y + i);
      rotate<T>(u, v, load_for_both_parts<T>(c + i), loadu<V>(s + i));
      storeu(x + i, u), storeu(y + i, v);
    }
  });
}

// ---- One reflector for all --------------------------------------------------------------------------------------

template <class T> void rot2(tnk_int n, T *x, T *y, const T *tau_at, const T *v_at) {
  if (n < 1) return;
  const T tau = get(tau_at), v = get(v_at);
  along<vec_of<T>>(n, y, [=](tnk_int i, auto sample) {
    using X = decltype(sample);
    const X xi = loadu<X>(x + i), yi = loadu<X>(y + i), t = scaled(tau, xi + scaled(v, yi));
    storeu(x + i, xi - t);
    storeu(y + i, yi - scaled(v, t));
  });
}

template <class T> void rot3(tnk_int n, T *x, T *y, T *z, const T *tau_at, const T *va_at, const T *vb_at) {
  if (n < 1) return;
  const T tau = get(tau_at), va = get(va_at), vb = get(vb_at);
  along<vec_of<T>>(n, z, [=](tnk_int i, auto sample) {
    using X = decltype(sample);
    const X xi = loadu<X>(x + i), yi = loadu<X>(y + i), zi = loadu<X>(z + i),
            t = scaled(tau, xi + scaled(va, yi) + scaled(vb, zi));
    storeu(x + i, xi - t);
    storeu(y + i, yi - scaled(va, t));
    storeu(z + i, zi - scaled(vb, t));
  });
}

} // namespace
} // namespace tnk::lapack

#define LARTV(t, T, R)                                                                                       \
  void tnk_lapack_ps_##t##lartv(const tnk_int *n, T *x, const tnk_int *incx, T *y, const tnk_int *incy,      \
                                const R *c, const T *s, const tnk_int *incc) {                               \
    tnk::lapack::lartv(*n, x, *incx, y, *incy, c, s, *incc);                                                 \
  }
LARTV(s, float, float)
LARTV(d, double, double)
LARTV(c, tnk_complex8, float)
LARTV(z, tnk_complex16, double)

// Increments are not read.
#define ROTATE(t, T)                                                                                         \
  void tnk_lapack_ps_##t##rot2(const tnk_int *n, T *x, const tnk_int *, T *y, const tnk_int *, const T *tau, \
                               const T *v) {                                                                 \
    tnk::lapack::rot2(*n, x, y, tau, v);                                                                     \
  }                                                                                                          \
  void tnk_lapack_ps_##t##rot3(const tnk_int *n, T *x, const tnk_int *, T *y, const tnk_int *, T *z,         \
                               const tnk_int *, const T *tau, const T *va, const T *vb) {                    \
    tnk::lapack::rot3(*n, x, y, z, tau, va, vb);                                                             \
  }
ROTATE(s, float)
ROTATE(d, double)
ROTATE(c, tnk_complex8)
ROTATE(z, tnk_complex16)
