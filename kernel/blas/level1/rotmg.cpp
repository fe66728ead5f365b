// Set-up of a modified plane rotation: H that zeroes the second component of (sqrt(d1) x1, sqrt(d2) y1)
// without a square root. The new d1, d2 and x1 go with H.
#include "kernel/frame/element.h"
#include <cmath>
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

// d1 and d2 are kept between rgamsq and gamsq. Steps are powers of two, but for rgamsq in double, whose
// twelve digits stand a relative 1e-14 below 2^-24.
template <class R> constexpr R gam = 4096;
template <class R> constexpr R gamsq = 16777216;
template <class R> constexpr R rgamsq = R(5.960464477539e-08);
template <> constexpr float rgamsq<float> = 5.9604645e-8f;

template <class R> struct Transform { R flag, h11, h21, h12, h22; };

// The elements that a shortened form implies are written out, and the form becomes the full one.
template <class R> void make_full(Transform<R> &h) {
  if (h.flag == 0) {
    h.h11 = h.h22 = 1;
  } else if (h.flag > 0) {
    h.h12 = 1;
    h.h21 = -1;
  }
  h.flag = -1;
}

// Brings d into range; by_root(f) multiplies what goes with sqrt(d). An infinite d, which no step would move,
// stays.
template <class R, class ByRoot> void rescale(R &d, Transform<R> &h, ByRoot by_root) {
  while (d != 0 && std::isfinite(d)) {
    if (std::fabs(d) <= rgamsq<R>) {
      make_full(h);
      d *= gamsq<R>;
      by_root(1 / gam<R>);
    } else if (std::fabs(d) >= gamsq<R>) {
      make_full(h);
      d *= rgamsq<R>;
      by_root(gam<R>);
    } else {
      return;
    }
  }
}

// H for p2 = d2 * y1, which is not zero unless d1 is negative.
template <class R> Transform<R> set_up(R &d1, R &d2, R &x1, R y1, R p2) {
  const auto no_rotation = [&]() -> Transform<R> {
    d1 = d2 = x1 = 0;
    return {-1, 0, 0, 0, 0};
  };
  if (d1 < 0) return no_rotation();
  const R p1 = d1 * x1, q1 = p1 * x1, q2 = p2 * y1;
  Transform<R> h{};
  if (std::fabs(q1) > std::fabs(q2)) {
    h.flag = 0;
    h.h21 = -y1 / x1;
    h.h12 = p2 / p1;
    const R u = 1 - h.h12 * h.h21;
    d1 /= u;
    d2 /= u;
    x1 *= u;
  } else {
    if (q2 < 0) return no_rotation();
    h.flag = 1;
    h.h11 = p1 / p2;
    h.h22 = x1 / y1;
    const R u = 1 + h.h11 * h.h22, old_d1 = d1;
    d1 = d2 / u;
    d2 = old_d1 / u;
    x1 = y1 * u;
  }
  rescale(d1, h, [&](R f) {
    x1 *= f;
    h.h11 *= f;
    h.h12 *= f;
  });
  rescale(d2, h, [&](R f) {
    h.h21 *= f;
    h.h22 *= f;
  });
  return h;
}

template <class R> void set_up(R *d1_at, R *d2_at, R *x1_at, const R *y1_at, R *param) {
  R d1 = get(d1_at), d2 = get(d2_at), x1 = get(x1_at);
  const R y1 = get(y1_at), p2 = d2 * y1;
  if (!(d1 < 0) && p2 == 0) {
    put(param, R(-2));
    return;
  }
  const Transform<R> h = set_up(d1, d2, x1, y1, p2);
  put(d1_at, d1);
  put(d2_at, d2);
  put(x1_at, x1);
  put(param, h.flag);
  if (h.flag <= 0) {
    put(param + 2, h.h21);
    put(param + 3, h.h12);
  }
  if (h.flag != 0) {
    put(param + 1, h.h11);
    put(param + 4, h.h22);
  }
}

} // namespace
} // namespace tnk::level1

void tnk_blas_srotmg(float *d1, float *d2, float *x1, const float *y1, float *param) {
  tnk::level1::set_up(d1, d2, x1, y1, param);
}
void tnk_blas_drotmg(double *d1, double *d2, double *x1, const double *y1, double *param) {
  tnk::level1::set_up(d1, d2, x1, y1, param);
}
