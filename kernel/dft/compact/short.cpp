// Complex kernels without tables: double precision up to 128 numbers, single up to 4.
#include <tnk/dft_compute.h>

#include "kernel/dft/compact/columns.h"
#include "kernel/dft/compact/compact.h"
#include "kernel/dft/small/transform.h"
#include "kernel/signal/fft/small.h"

namespace tnk::dft::compact {
namespace {

template <int N, class R, bool Inverse>
inline tnk_int kernel(void *source, void *destination, const DftiNode *node) {
  const R *const from = static_cast<const R *>(source);
  R *const to = static_cast<R *>(destination);
  if constexpr (N == 16) { // each number in a vector of its own
    signal::numbers<f64x2, Inverse> x[N];
    unrolled<N>([&](auto k) TNK_INLINED { x[k] = signal::take<f64x2, Inverse>(from, k); });
    transform_in_place(x);
    unrolled<N>([&](auto k) TNK_INLINED { leave(to, k, x[k]); });
  } else if constexpr (N <= 32) {
    dft::transform<N, Inverse>(from, to, [](auto x) TNK_INLINED { return x; });
  } else if constexpr (N <= 64) {
    signal::small_transform<N, R, false>(Source<Inverse>{from}, Target<Inverse>{to}, R(1));
  } else {
    transform_by_constants<N / 8, 8, Inverse>(from, to);
  }
  apply_factor<R, Inverse>(to, 2 * N, node);
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft::compact

using namespace tnk::dft::compact;

#define TNK_KERNELS(c, R, N)                                                                                 \
  tnk_int tnk_dft_x##c##_f##N##_1df(void *source, void *destination, DftiNode *node, void *) {               \
    return kernel<N, R, false>(source, destination, node);                                                   \
  }                                                                                                          \
  tnk_int tnk_dft_x##c##_f##N##_1db(void *source, void *destination, DftiNode *node, void *) {               \
    return kernel<N, R, true>(source, destination, node);                                                    \
  }
TNK_KERNELS(c, float, 2)
TNK_KERNELS(c, float, 4)
TNK_KERNELS(z, double, 2)
TNK_KERNELS(z, double, 4)
TNK_KERNELS(z, double, 8)
TNK_KERNELS(z, double, 16)
TNK_KERNELS(z, double, 32)
TNK_KERNELS(z, double, 64)
TNK_KERNELS(z, double, 128)
#undef TNK_KERNELS
