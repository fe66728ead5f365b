// How products on packed blocks are cut for several threads, and the tables that they go by.
#include "host/routines/blas/packed_product.h"

#include <cmath>

#include "host/threading/cut.h"

namespace tnk::host {
namespace {

// Sides of every type's register tile divide it, and so do vectors of C that begin on a cache line.
constexpr tnk_int tile = 16;

int slices_for(double operations, tnk_int extent) {
  const double worth_while = operations / least_operations;
  if (worth_while < 2) return 1;
  const int threads = std::min(usable_threads(), Slices::most);
  return cut_tiles(true, extent, tile, worth_while, threads).slices;
}

} // namespace

Slices slices_of_whole(tnk_int m, tnk_int n, double operations) {
  Slices slices;
  slices.columns = n >= m; // every slice packs all of the operand that is not cut
  const tnk_int extent = slices.columns ? n : m;
  slices.count = slices_for(operations, extent);
  const Cut cut{slices.count, slices.columns, extent, tile};
  for (int i = 0; i <= slices.count; ++i) slices.begin[i] = cut.begin(i);
  return slices;
}

Slices slices_of_triangle(Part part, tnk_int n, double operations) {
  Slices slices;
  slices.columns = true;
  slices.count = slices_for(operations, n);
  slices.begin[0] = 0;
  for (int i = 1; i < slices.count; ++i) {
    const double share = static_cast<double>(i) / slices.count; // of the area
    const double edge = part == Part::upper ? std::sqrt(share) : 1 - std::sqrt(1 - share);
    slices.begin[i] = static_cast<tnk_int>(edge * static_cast<double>(n)) / tile * tile;
  }
  slices.begin[slices.count] = n;
  return slices;
}

#define TNK_KERNEL(t, T)                                                                                     \
  template <> const tnk_gemm_row *product_kernel<T>(const char *routine) {                                   \
    static KernelEntry<const tnk_gemm_row> table("avx_" #t "_all_gemm_ker");                                 \
    static KernelEntry<const std::int32_t> row_in_use("avx_" #t "_opt_gemm_ker");                            \
    const tnk_gemm_row *const rows = table.get(routine);                                                     \
    const std::int32_t *const row = rows ? row_in_use.get(routine) : nullptr;                                \
    return row ? rows + *row : nullptr;                                                                      \
  }
TNK_KERNEL(s, float)
TNK_KERNEL(d, double)
TNK_KERNEL(c, tnk_complex8)
TNK_KERNEL(z, tnk_complex16)

} // namespace tnk::host
