// A node's scales, as they are applied to a transform.
#pragma once

#include <tnk/blas_level1.h>

#include "kernel/dft/node.h"
#include "kernel/frame/element.h"

namespace tnk::dft {

// x := factor x. A factor of 1 touches nothing.
inline void scale(tnk_int n, float factor, float *x) {
  static constexpr tnk_int adjacent = 1;
  if (factor != 1) tnk_blas_sscal(&n, &factor, x, &adjacent);
}
inline void scale(tnk_int n, double factor, double *x) {
  static constexpr tnk_int adjacent = 1;
  if (factor != 1) tnk_blas_dscal(&n, &factor, x, &adjacent);
}
inline void scale(tnk_int n, float factor, tnk_complex8 *x) {
  static constexpr tnk_int adjacent = 1;
  if (factor != 1) tnk_blas_csscal(&n, &factor, x, &adjacent);
}
inline void scale(tnk_int n, double factor, tnk_complex16 *x) {
  static constexpr tnk_int adjacent = 1;
  if (factor != 1) tnk_blas_zdscal(&n, &factor, x, &adjacent);
}

// A convolution of any length leaves the scale to its caller.
template <class R, bool Inverse> inline void scale_convolved(const DftiNode *node, void *destination) {
  if (node->bluestein_data)
    scale(node->axis.length, factor_of<R, Inverse>(node), static_cast<complex<R> *>(destination));
}

} // namespace tnk::dft
