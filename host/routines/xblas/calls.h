// How public extended-precision routines reach their kernels, whole or in parts.
#pragma once

#include "host/dispatch/kernel_loader.h"
#include "host/routines/xblas/checks.h"
#include "host/threading/cut.h"
#include "host/threading/team.h"

namespace tnk::host::xblas {

// Real operations of one product and its sum: 40 in pairs.
template <class T, class A, class X, class... Prec> constexpr double operations(Prec... prec) {
  const bool pairs = ((prec == TNK_XBLAS_EXTRA) || ... || false);
  return (pairs ? 40 : 2) * (is_complex<A> && is_complex<X> ? 4 : is_complex<A> || is_complex<X> ? 2 : 1);
}

// Calls run(first, count) for parts of n results that are worth so many operations together. Results know nothing of each
// other, so that a cut moves no bit; whole blocks of `tile` go side by side in a kernel.
template <class Run> void in_parts(tnk_int n, tnk_int tile, double work, const Run &run) {
  const double worth_while = work * (1 / least_operations);
  if (__builtin_expect(worth_while < 2, 1)) return run(0, n);
  const int threads = usable_threads();
  const Cut cut = cut_tiles(false, n, tile, worth_while, threads > 1 ? slices_a_thread * threads : 1);
  if (cut.slices <= 1) return run(0, n);
  spread(cut.slices, threads, [&](int i) { run(cut.begin(i), cut.begin(i + 1) - cut.begin(i)); });
}
// Whether a product of usual sizes is too small for that, in whatever precision.
template <class T, class A, class X, class... Size> bool is_small(Size... sizes) {
  constexpr double most = 2 * least_operations / operations<T, A, X>(TNK_XBLAS_EXTRA);
  return (is_usual(sizes) && ...) && (sizes * ...) < static_cast<tnk_int>(most);
}
inline double product_of(tnk_int m, tnk_int n, double k) {
  return static_cast<double>(m) * static_cast<double>(n) * k;
}

// Elements `first` to first + count - 1 of a vector of n, as a vector.
template <class T> T *part_of(T *x, tnk_int n, tnk_int inc, tnk_int first, tnk_int count) {
  return x + (inc < 0 ? first + count - n : first) * inc;
}

} // namespace tnk::host::xblas

// A routine of the list, which runs by tnk::host::xblas::op<T, A, X>(name, kernel, arguments, prec if there is one).
#define TNK_XBLAS_PUBLIC(op, t, u, v, name, form)                                                            \
  void tnk_xblas_##name(TNK_XBLAS_VALUES(op, t, u, v) TNK_XBLAS_PREC_VALUE_##form) {                         \
    static tnk::host::KernelEntry<decltype(tnk_xblas_BLAS_##name)> kernel("tnk_xblas_BLAS_" #name);          \
    tnk::host::xblas::op<TNK_XBLAS_TYPE_##t, TNK_XBLAS_TYPE_##u, TNK_XBLAS_TYPE_##v>(                        \
        "tnk_xblas_" #name, kernel, TNK_XBLAS_NAMES(op, t, u, v) TNK_XBLAS_PREC_NAME_##form);                \
  }
