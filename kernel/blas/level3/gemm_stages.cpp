// The stages of the matrix product around its loops: the descriptor, the sizes of blocks, the buffers.
#include "kernel/blas/level3/buffers.h"
#include "kernel/blas/level3/gemm.h"
#include "kernel/frame/vector.h"
#include <algorithm>
#include <tnk/services.h>

namespace tnk::level3 {
namespace {

// By vectors: for a record of this size the compiler would choose a string instruction, whose start alone takes as
// long as packing a small matrix.
void clear(tnk_gemm_descriptor *d) {
  using V = f64x4;
  constexpr std::size_t size = sizeof *d, step = sizeof(V);
  static_assert(size >= step);
  const V zero = in_register(V{});
  auto *bytes = reinterpret_cast<char *>(d);
  for (std::size_t i = 0; i + step <= size; i += step) storeu(bytes + i, zero);
  storeu(bytes + size - step, zero);
}

int32_t load_row(const tnk_gemm_row *table, int32_t number, tnk_gemm_descriptor *d) {
  if (number > 0) return 1;
  const tnk_gemm_row &row = table[number];
  d->kernel_index = number;
  d->buffer_selector = static_cast<int32_t>(row.buffer_selector);
  d->mr = row.mr, d->nr = row.nr, d->kr = row.kr;
  d->tm = row.tm, d->tn = row.tn, d->tk = row.tk;
  d->get_blks_size = row.get_blks_size;
  d->get_bufs_size = row.get_bufs_size;
  d->get_bufs = row.get_bufs;
  for (int op = 0; op < 3; ++op) d->copya[op] = row.copya[op], d->copyb[op] = row.copyb[op];
  d->copya_ext = row.copya_ext, d->copyb_ext = row.copyb_ext;
  d->work_factor = static_cast<int32_t>(row.work_factor);
  d->ker0 = row.ker0;
  return 0;
}

// mb: a packed block of A fills a sixth of the cache. nb holds B's block far down the hierarchy and is chosen anew for
// every product; mb and kb may be preset.
template <class T> void get_blks_size(tnk_int n, tnk_int k, tnk_gemm_descriptor *d) {
  constexpr tnk_int most_columns = 5000;
  if (d->kb == 0) d->kb = block_along_k(k, d->kr);
  if (d->mb == 0) {
    const tnk_int rows = tnk_serv_get_cache_size(0) / 6 / static_cast<tnk_int>(sizeof(T)) / longest_block;
    d->mb = rounded_down(rows, d->mr);
  }
  d->nb = rounded_up(std::min(std::max(n, d->nr), most_columns), d->nr);
}

} // namespace
} // namespace tnk::level3

using namespace tnk::level3;

#define STAGES(t, T)                                                                                         \
  void tnk_blas_##t##gemm_zero_desc(tnk_gemm_descriptor *d) {                                                \
    clear(d);                                                                                                \
  }                                                                                                          \
  void tnk_blas_##t##gemm_get_optimal_kernel(tnk_gemm_descriptor *d) {                                       \
    load_row(avx_##t##_all_gemm_ker, avx_##t##_opt_gemm_ker, d);                                             \
  }                                                                                                          \
  int32_t tnk_blas_##t##gemm_get_kernel(int32_t row, tnk_gemm_descriptor *d) {                               \
    return load_row(avx_##t##_all_gemm_ker, row, d);                                                         \
  }                                                                                                          \
  void tnk_blas_##t##gemm_num_kernels(int32_t *count) {                                                      \
    *count = 1;                                                                                              \
  }                                                                                                          \
  int32_t tnk_blas_##t##gemm_get_kernel_version() {                                                          \
    return 2;                                                                                                \
  }                                                                                                          \
  int32_t tnk_blas_##t##gemm_api_support() {                                                                 \
    return 1;                                                                                                \
  }                                                                                                          \
  void tnk_blas_##t##gemm_get_blks_size(const tnk_int *, const tnk_int *n, const tnk_int *k,                 \
                                        tnk_gemm_descriptor *d) {                                            \
    get_blks_size<T>(*n, *k, d);                                                                             \
  }                                                                                                          \
  void tnk_blas_##t##gemm_set_blks_size(tnk_int mb, tnk_int nb, tnk_int kb, tnk_gemm_descriptor *d) {        \
    d->mb = mb, d->nb = nb, d->kb = kb;                                                                      \
  }                                                                                                          \
  int32_t tnk_blas_##t##gemm_get_bufs_size(int32_t mode, int32_t SizeMode, const tnk_int *m,                 \
                                           const tnk_int *n, const tnk_int *k, tnk_gemm_descriptor *d) {     \
    return size_buffers<T>(mode, SizeMode, *m, *n, *k, d);                                                   \
  }                                                                                                          \
  int32_t tnk_blas_##t##gemm_get_bufs(int32_t mode, void **raw, tnk_gemm_descriptor *d) {                    \
    return place_buffers(mode, raw, d);                                                                      \
  }                                                                                                          \
  void tnk_blas_##t##gemm_free_bufs(void *raw) {                                                             \
    tnk_serv_deallocate(raw);                                                                                \
  }

STAGES(s, float)
STAGES(d, double)
STAGES(c, tnk_complex8)
STAGES(z, tnk_complex16)
