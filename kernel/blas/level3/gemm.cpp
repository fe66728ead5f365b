// C := alpha op(A) op(B) + beta C: the choice between the plain and the packed path.
#include "kernel/blas/level3/gemm.h"
#include "kernel/frame/element.h"

namespace tnk::level3 {
namespace {

// beta is spent first, so every later stage adds to C.
template <class T>
void gemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n, const tnk_int *k,
          T alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, T beta, T *c,
          const tnk_int *ldc) {
  using stage = gemm_entries<T>;
  using tile = gemm_tile<T>;
  if (!is_zero(alpha) && *k > 0 && (*m < tile::mr || *n < tile::nr || *k < kr)) {
    plain_product<T>({operation_of<T>(transa), operation_of<T>(transb), *m, *n, *k, alpha, a, *lda, b, *ldb,
                      beta, c, *ldc},
                     block_along_k(*k, kr));
    return;
  }
  tnk_gemm_descriptor descriptor;
  stage::zero_desc(&descriptor);
  stage::get_optimal_kernel(&descriptor);
  if (!is_one(beta)) stage::mscale(m, n, &beta, c, ldc);
  if (is_zero(alpha) || *k <= 0) return;
  descriptor.get_blks_size(m, n, k, &descriptor);
  stage::par(transa, transb, m, n, k, &alpha, a, lda, b, ldb, &one<T>, c, ldc, stage::get_kernel_version(),
             &descriptor);
}

} // namespace
} // namespace tnk::level3

#define ENTRY(t, T)                                                                                          \
  void tnk_blas_x##t##gemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,       \
                           const tnk_int *k, const T *alpha, const T *a, const tnk_int *lda, const T *b,     \
                           const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {                    \
    if (*m <= 0 || *n <= 0) return;                                                                          \
    tnk::level3::gemm(transa, transb, m, n, k, tnk::get(alpha), a, lda, b, ldb, tnk::get(beta), c, ldc);     \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
