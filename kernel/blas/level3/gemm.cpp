// C := alpha op(A) op(B) + beta C: the choice between the plain and the packed path.
#include "kernel/blas/level3/gemm.h"
#include "kernel/blas/level3/buffers.h"
#include <tnk/services.h>

namespace tnk::level3 {
namespace {

// Up to this order a product is one block, whatever the cache, and takes less time than a descriptor and its loops.
constexpr tnk_int one_block_order = 64;

// What the loops would come to: both operands packed, one call of the block kernel.
template <class T> void one_block(const char *transa, const char *transb, const Operands<T> &p) {
  const tnk_gemm_row &row = *gemm_entries<T>::rows;
  tnk_gemm_descriptor d; // of which the buffers' stages need these
  d.mr = gemm_tile<T>::mr, d.nr = gemm_tile<T>::nr, d.kr = kr,
  d.work_factor = static_cast<int32_t>(row.work_factor);
  d.mb = p.m, d.nb = p.n, d.kb = p.k;
  size_buffers<T>(both_packed, whole_sizes, p.m, p.n, p.k, &d);
  void *raw;
  place_buffers(both_packed, &raw, &d);
  if (tnk_serv_check_ptr(raw, "xgemm") != 0) return plain_product(p, block_along_k(p.k, kr));
  const bool stores = is_zero(p.beta);
  if (!stores && !is_one(p.beta)) gemm_entries<T>::mscale(&p.m, &p.n, &p.beta, p.c, &p.ldc);
  row.copyb[p.op_b](&p.k, &p.n, p.b, &p.ldb, d.b.data, &d.b, nullptr);
  row.copya[p.op_a](&p.m, &p.k, p.a, &p.lda, d.a.data, &d.a, &p.alpha);
  const tnk_int padded = rounded_up(p.k, kr);
  row.ker0(transa, transb, &p.m, &p.n, &padded, nullptr, d.a.data, &d.a, d.b.data, &d.b,
           stores ? &p.beta : &one<T>, p.c, &p.ldc, d.work.data, plain_panels);
  tnk_serv_deallocate(raw);
}

template <class T>
void gemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n, const tnk_int *k,
          T alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, T beta, T *c,
          const tnk_int *ldc) {
  using stage = gemm_entries<T>;
  using tile = gemm_tile<T>;
  if (is_zero(alpha) || *k < 1) {
    if (!is_one(beta)) stage::mscale(m, n, &beta, c, ldc);
    return;
  }
  if (std::max({*m, *n, *k}) <= one_block_order || *m < tile::mr || *n < tile::nr || *k < kr) {
    const Operands<T> p = {
        operation_of<T>(transa), operation_of<T>(transb), *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc};
    if (*m < tile::mr || *n < tile::nr || *k < kr) return plain_product(p, block_along_k(*k, kr));
    return one_block(transa, transb, p);
  }
  // beta is spent first, so every later stage adds to C.
  if (!is_one(beta)) stage::mscale(m, n, &beta, c, ldc);
  tnk_gemm_descriptor descriptor;
  stage::zero_desc(&descriptor);
  stage::get_optimal_kernel(&descriptor);
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
