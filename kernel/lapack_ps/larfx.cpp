// One reflector H = I - tau v v^H, applied to C from the left or the right. Short ones are written out, an order each;
// longer ones are a product of matrix and vector and an update of rank one.
#include "kernel/frame/host_blas.h"
#include "kernel/frame/mask.h"
#include <tnk/blas_level2.h>
#include <tnk/lapack_ps.h>
#include <tnk/services.h>

namespace tnk::lapack {
namespace {

// ---- Short reflectors ------------------------------------------------------------------------------------------

// Orders that are written out.
constexpr int longest_left = 8, longest_right = 10;

f64x4 sum_in_every_element(f64x4 v) {
  v += swap_neighbours(v);
  return v + swap_halves(v);
}
f32x8 sum_in_every_element(f32x8 v) {
  v += swap_pairs(v);
  return v + swap_halves(v);
}

// C := H C, Order rows. A column is a vector or two; v and tau v stay in registers.
template <int Order, class T> void from_left(tnk_int n, const T *v, T tau, T *c, tnk_int ldc) {
  using V = vec_of<T>;
  constexpr int e = per_vector<T>, vectors = (Order + e - 1) / e, rest = Order % e;
  const auto some = start_of<T>(rest);
  const auto get_all = [&](const T *from, V(&to)[vectors]) __attribute__((always_inline)) {
    for (int k = 0; k < Order / e; ++k) to[k] = loadu<V>(from + k * e);
    if constexpr (rest > 0) to[vectors - 1] = load_first<V>(from + Order - rest, some);
  };
  V reflector[vectors], tau_v[vectors];
  get_all(v, reflector);
  for (int k = 0; k < vectors; ++k) tau_v[k] = scaled(tau, reflector[k]);
  const auto apply = [&](T * column) __attribute__((always_inline)) {
    V x[vectors];
    get_all(column, x);
    V sum = times<T, true>(reflector[0], x[0]);
    if constexpr (vectors > 1) sum += times<T, true>(reflector[1], x[1]);
    sum = sum_in_every_element(sum);
    for (int k = 0; k < vectors; ++k) x[k] = x[k] - times<T>(tau_v[k], sum);
    for (int k = 0; k < Order / e; ++k) storeu(column + k * e, x[k]);
    if constexpr (rest > 0) store_first(column + Order - rest, x[vectors - 1], some);
  };
  tnk_int j = 0;
  for (; j + 8 <= n; j += 8)
    for (tnk_int k = j; k < j + 8; ++k) apply(c + k * ldc);
  for (; j < n; ++j) apply(c + j * ldc);
}

// C := C H, Order columns: vectors of rows, two at a time.
template <int Order, class T> void from_right(tnk_int m, const T *v, T tau, T *c, tnk_int ldc) {
  using V = vec_of<T>;
  constexpr tnk_int e = per_vector<T>;
  T reflector[Order], factor[Order];
  for (int j = 0; j < Order; ++j) reflector[j] = get(v + j), factor[j] = tau * conjugate(reflector[j]);
  const auto apply = [&](auto vectors, T *rows, auto load, auto store) __attribute__((always_inline)) {
    V sum[vectors];
    for (int k = 0; k < vectors; ++k) sum[k] = scaled(reflector[0], load(rows + k * e));
    for (int j = 1; j < Order; ++j)
      for (int k = 0; k < vectors; ++k) sum[k] += scaled(reflector[j], load(rows + k * e + j * ldc));
    for (int j = 0; j < Order; ++j)
      for (int k = 0; k < vectors; ++k) {
        T *const to = rows + k * e + j * ldc;
        store(to, load(to) - scaled(factor[j], sum[k]));
      }
  };
  const auto load = [](const T *p) { return loadu<V>(p); };
  const auto store = [](T *p, V x) { storeu(p, x); };
  constexpr std::integral_constant<int, 1> one{};
  tnk_int i = 0;
  for (; i + 2 * e <= m; i += 2 * e) apply(std::integral_constant<int, 2>(), c + i, load, store);
  if (i + e <= m) apply(one, c + i, load, store), i += e;
  if (i == m) return;
  const auto some = start_of<T>(m - i);
  apply(
      one, c + i, [&](const T *p) { return load_first<V>(p, some); },
      [&](T *p, V x) { store_first(p, x, some); });
}

// Calls run with that order as a constant. 1 <= order <= Most.
template <int Most, class Run> void with_order(tnk_int order, Run run) {
  if constexpr (Most > 1)
    if (order < Most) return with_order<Most - 1>(order, run);
  run(std::integral_constant<int, Most>());
}

// ---- Long reflectors --------------------------------------------------------------------------------------------

void update(tnk_int m, tnk_int n, double alpha, const double *x, const double *y, double *c, tnk_int ldc) {
  static constexpr tnk_int adjacent = 1;
  tnk_blas_dger(&m, &n, &alpha, x, &adjacent, y, &adjacent, c, &ldc);
}
void update(tnk_int m, tnk_int n, tnk_complex8 alpha, const tnk_complex8 *x, const tnk_complex8 *y,
            tnk_complex8 *c, tnk_int ldc) {
  static constexpr tnk_int adjacent = 1;
  tnk_blas_cgerc(&m, &n, &alpha, x, &adjacent, y, &adjacent, c, &ldc);
}

template <class T>
void apply_long(bool left, tnk_int m, tnk_int n, const T *v, T tau, T *c, tnk_int ldc, T *work) {
  static constexpr tnk_int adjacent = 1;
  static constexpr T unit = one<T>, zero{};
  host_blas<T>::gemv(!left           ? "N"
                     : is_complex<T> ? "C"
                                     : "T",
                     &m, &n, &unit, c, &ldc, v, &adjacent, &zero, work, &adjacent);
  const T minus_tau = T{} - tau;
  if (left)
    update(m, n, minus_tau, v, work, c, ldc);
  else
    update(m, n, minus_tau, work, v, c, ldc);
}

template <class T>
void larfx(const char *side, tnk_int m, tnk_int n, const T *v, T tau, T *c, tnk_int ldc, T *work) {
  if (is_zero(tau) || m < 1 || n < 1) return;
  const bool left = tnk_serv_lsame(side, "L", 1, 1) != 0;
  if (left && m <= longest_left)
    with_order<longest_left>(m, [=](auto order) { from_left<order>(n, v, tau, c, ldc); });
  else if (!left && n <= longest_right)
    with_order<longest_right>(n, [=](auto order) { from_right<order>(m, v, tau, c, ldc); });
  else
    apply_long(left, m, n, v, tau, c, ldc, work);
}

} // namespace
} // namespace tnk::lapack

#define ENTRY(t, T)                                                                                          \
  void tnk_lapack_ps_##t##larfx(const char *side, const tnk_int *m, const tnk_int *n, const T *v,            \
                                const T *tau, T *c, const tnk_int *ldc, T *work) {                           \
    tnk::lapack::larfx(side, *m, *n, v, tnk::get(tau), c, *ldc, work);                                       \
  }
ENTRY(d, double)
ENTRY(c, tnk_complex8)
