// Sparse plane rotation: x[i] := c x[i] + s y, y := (0 - s x[i]) + c y, with y for y[indx[i] - 1].
#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level1 {
namespace {

inline f64x2 two(double low, double high) {
  return f64x2{low, high};
}
inline f32x4 two(float low, float high) {
  return f32x4{low, high, 0, 0};
}

// Of single elements and of vectors alike. The subtraction from zero is not a negation: it gives +0 where s u is
// +0, and so decides the sign of a zero in v.
template <class V> inline void rotate(V &u, V &v, V c, V s) {
  const V x = u;
  u = c * x + s * v;
  v = (0 - s * x) + c * v;
}

// Two elements at once; where both have the same position, the second must see what the first left there.
template <class R> void sparse_rotate(tnk_int nz, R *x, const tnk_int *indx, R *y, R c, R s) {
  if (nz < 1 || (c == 1 && s == 0)) return;
  const auto one = [=](tnk_int i) {
    R *const target = y + (get(indx + i) - 1);
    R u = get(x + i), v = get(target);
    rotate(u, v, c, s);
    put(x + i, u);
    put(target, v);
  };
  const half<R> cc = splat<half<R>>(c), ss = splat<half<R>>(s);
  tnk_int i = 0;
  for (; i + 2 <= nz; i += 2) {
    const tnk_int first = get(indx + i), second = get(indx + i + 1);
    if (first == second) {
      one(i);
      one(i + 1);
      continue;
    }
    R *const low = y + (first - 1), *const high = y + (second - 1);
    half<R> u = load_pair(x + i), v = two(get(low), get(high));
    rotate(u, v, cc, ss);
    store_pair(x + i, u);
    put(low, v[0]);
    put(high, v[1]);
  }
  if (i < nz) one(i);
}

} // namespace
} // namespace tnk::level1

void tnk_blas_sroti(const tnk_int *nz, float *x, const tnk_int *indx, float *y, const float *c,
                    const float *s) {
  tnk::level1::sparse_rotate(*nz, x, indx, y, tnk::get(c), tnk::get(s));
}
void tnk_blas_droti(const tnk_int *nz, double *x, const tnk_int *indx, double *y, const double *c,
                    const double *s) {
  tnk::level1::sparse_rotate(*nz, x, indx, y, tnk::get(c), tnk::get(s));
}
