// The block kernel of the matrix product: whole tiles by the micro-kernel, the rows left over by the edge kernel.
#pragma once

#include "kernel/blas/level3/tile.h"
#include "kernel/frame/element.h"
#include <tnk/blas_level3.h>

namespace tnk {

// kernel adds to C, kernel_b0 stores over it, edge does what beta says.
template <class T>
inline void gemm_ker0(tnk_gemm_kernel *kernel, tnk_gemm_kernel *kernel_b0, tnk_gemm_kernel *edge,
                      const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,
                      const tnk_int *k, const void *alpha, const void *a, const tnk_gemm_panels *a_panels,
                      const void *b, const tnk_gemm_panels *b_panels, const void *beta, void *c,
                      const tnk_int *ldc, void *work, int32_t mode) {
  constexpr tnk_int mr = gemm_tile<T>::mr;
  const tnk_int panels = *m / mr;
  const tnk_int whole = panels * mr, left = *m - whole;
  if (whole != 0) {
    tnk_gemm_kernel *const tiles = is_zero(get(static_cast<const T *>(beta))) ? kernel_b0 : kernel;
    tiles(transa, transb, &whole, n, k, alpha, a, a_panels, b, b_panels, beta, c, ldc, work, mode);
  }
  if (left != 0)
    edge(transa, transb, &left, n, k, alpha, static_cast<const T *>(a) + panels * a_panels->stride, a_panels,
         b, b_panels, beta, static_cast<T *>(c) + whole, ldc, work, mode);
}

} // namespace tnk
