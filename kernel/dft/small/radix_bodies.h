// The kernels of radix.h, to be included where they are instantiated: files of their own, or one would compile for a minute.
#pragma once

#include <tnk/dft_compute.h>

#include "kernel/dft/small/radix.h"
#include "kernel/dft/small/transform.h"

namespace tnk::dft {

// The node's factor goes into what is stored, so that no other pass is made. Operands that are not on their boundary are
// for the wrapper of the signal primitive.
template <int N, bool Inverse>
tnk_int small_radix(void *source, void *destination, DftiNode *node, void *work) {
  constexpr int boundary = 16;
  if (!is_aligned_to(source, boundary) || !is_aligned_to(destination, boundary))
    return (Inverse ? tnk_dft_xvpks_inv_64fc : tnk_dft_xvpks_fwd_64fc)(source, destination, node, work);
  const double factor = factor_of<double, Inverse>(node);
  transform<N, Inverse>(static_cast<const double *>(source), static_cast<double *>(destination),
                        [=](auto x) TNK_INLINED { return splat<decltype(x.v)>(factor) * x; });
  return DftiNoError;
}

#define TNK_SMALL_RADIX(N, Inverse)                                                                          \
  template tnk_int small_radix<N, Inverse>(void *, void *, DftiNode *, void *);

} // namespace tnk::dft
