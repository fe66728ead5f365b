// A := alpha x y^T + A, and with y conjugated.
#include "kernel/blas/level2/vectors.h"
#include "kernel/frame/mask.h"
#include <tnk/blas_level2.h>

namespace tnk::level2 {
namespace {

// a := a + factor x for neighbouring columns, so that x is read once for all of them, and as many streams run in
// parallel. Stores are aligned from the first boundary in the first column on, and with it in the others where lda
// allows.
template <int Columns, class T>
inline void add_to_columns(tnk_int m, const T (&factor)[Columns], const T *x, T *a, tnk_int lda) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>;
  V re[Columns], im[Columns];
  for (int j = 0; j < Columns; ++j)
    if constexpr (is_complex<T>)
      re[j] = splat<V>(factor[j].re), im[j] = splat<V>(factor[j].im);
    else
      re[j] = splat<V>(factor[j]);
  const auto step = [&](tnk_int i, auto load, auto store) __attribute__((always_inline)) {
    const V v = in_register(load(x + i));
    V swapped{};
    if constexpr (is_complex<T>) swapped = in_register(swap_neighbours(v));
    for (int j = 0; j < Columns; ++j) {
      T *const to = a + i + j * lda;
      if constexpr (is_complex<T>)
        store(to, load(to) + addsub(re[j] * v, im[j] * swapped));
      else
        store(to, load(to) + re[j] * v);
    }
  };
  const auto load = [](const T *p) { return loadu<V>(p); };
  const auto store = [](T *p, V v) { storeu(p, v); };
  const auto some = [&](tnk_int i, tnk_int size) {
    const auto start = start_of<T>(size);
    step(
        i, [&](const T *p) { return load_first<V>(p, start); }, [&](T *p, V v) { store_first(p, v, start); });
  };
  tnk_int i = elements_to_boundary<32>(a, m);
  if (i > 0) some(0, i);
  for (; i + 2 * e <= m; i += 2 * e) step(i, load, store), step(i + e, load, store);
  if (i + e <= m) step(i, load, store), i += e;
  if (i < m) some(i, m - i);
}

// x with a stride of 1.
template <bool Conj, class T>
void add_outer_product(tnk_int m, tnk_int n, T alpha, const T *x, const T *y, tnk_int incy, T *a,
                       tnk_int lda) {
  const auto columns = [&](tnk_int first, auto count) {
    T factor[count];
    for (int j = 0; j < count; ++j) {
      const T yj = get(y + (first + j) * incy);
      factor[j] = alpha * (Conj ? conjugate(yj) : yj);
    }
    add_to_columns(m, factor, x, a + first * lda, lda);
  };
  tnk_int j = 0;
  for (; j + 4 <= n; j += 4) columns(j, std::integral_constant<int, 4>());
  for (; j < n; ++j) columns(j, std::integral_constant<int, 1>());
}

template <bool Conj, class T>
void ger(tnk_int m, tnk_int n, T alpha, const T *x, tnk_int incx, const T *y, tnk_int incy, T *a,
         tnk_int lda) {
  if (m < 1 || n < 1 || is_zero(alpha)) return;
  x = first_element(x, m, incx);
  y = first_element(y, n, incy);
  on_contiguous(m, x, incx, [&](tnk_int first, tnk_int size, const T *piece) {
    add_outer_product<Conj>(size, n, alpha, piece, y, incy, a + first, lda);
  });
}

} // namespace
} // namespace tnk::level2

#define GER(name, T, Conj)                                                                                   \
  void tnk_blas_##name(const tnk_int *m, const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx,  \
                       const T *y, const tnk_int *incy, T *a, const tnk_int *lda) {                          \
    tnk::level2::ger<Conj>(*m, *n, tnk::get(alpha), x, *incx, y, *incy, a, *lda);                            \
  }
GER(sger, float, false)
GER(dger, double, false)
GER(cgeru, tnk_complex8, false)
GER(cgerc, tnk_complex8, true)
GER(zgeru, tnk_complex16, false)
GER(zgerc, tnk_complex16, true)
