// C := beta C.
#include "kernel/blas/level3/gemm.h"
#include "kernel/frame/vector.h"

namespace tnk::level3 {
namespace {

// One column, in blocks of 16 rows: a long one from a 32-byte boundary on, when its elements can reach one. In a short
// one the scalar steps up to there would cost more than the boundary saves.
template <class T, class Scalar, class Vector>
inline void over_column(tnk_int m, T *c, Scalar scalar, Vector vector) {
  constexpr tnk_int block = 16, step = per_vector<T>;
  tnk_int i = 0;
  if (m >= 8 * block && is_aligned_to(c, sizeof(T)))
    for (; !is_aligned_to(c + i, 32); ++i) scalar(c + i);
  for (; i + block <= m; i += block)
    for (tnk_int v = 0; v < block; v += step) vector(c + i + v);
  for (; i + step <= m; i += step) vector(c + i);
  for (; i < m; ++i) scalar(c + i);
}

template <class T> void mscale(tnk_int m, tnk_int n, T beta, T *c, tnk_int ldc) {
  using V = vec_of<T>;
  if (m < 1 || n < 1) return;
  if (ldc == m) m *= n, n = 1; // no gaps: one column
  for (tnk_int j = 0; j < n; ++j, c += ldc) {
    if (is_zero(beta)) {
      over_column(
          m, c, [](T *x) { put(x, T{}); }, [](T *x) { storeu(x, V{}); });
    } else {
      over_column(
          m, c, [=](T *x) { put(x, beta * get(x)); }, [=](T *x) { storeu(x, scaled(beta, loadu<V>(x))); });
    }
  }
}

} // namespace
} // namespace tnk::level3

#define ENTRY(t, T)                                                                                          \
  void tnk_blas_##t##gemm_mscale(const tnk_int *m, const tnk_int *n, const T *beta, T *c,                    \
                                 const tnk_int *ldc) {                                                       \
    tnk::level3::mscale(*m, *n, tnk::get(beta), c, *ldc);                                                    \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
