// The register tile of the matrix product, and the arithmetic of its panels. Their layouts are drawn in
// include/tnk/blas_level3.h.
#pragma once

#include <algorithm>
#include <tnk/types.h>

namespace tnk::level3 {

// Steps come in multiples of kr, in all types.
constexpr int kr = 4;

// Columns of a narrow group of B.
constexpr int group = 4;

// The longest block along k that the stages choose. What kernels keep of such a block has room for so many steps.
constexpr tnk_int longest_block = 256;

// The tile of C that a micro-kernel holds in registers.
template <class T> struct gemm_tile;
template <> struct gemm_tile<float> { static constexpr int mr = 8, nr = 8; };
template <> struct gemm_tile<double> { static constexpr int mr = 4, nr = 8; };
template <> struct gemm_tile<tnk_complex8> { static constexpr int mr = 4, nr = 4; };
template <> struct gemm_tile<tnk_complex16> { static constexpr int mr = 2, nr = 4; };

// To a multiple of `unit`, a power of two as all unrolls are: a division takes as long as packing a row.
inline tnk_int rounded_up(tnk_int x, tnk_int unit) {
  return (x + unit - 1) & -unit;
}
inline tnk_int rounded_down(tnk_int x, tnk_int unit) {
  return x & -unit;
}

// The steps of a block along k: longest_block of them, but two halves rather than a whole and a small one; half of k is
// taken without its fraction, so with k of 8 j + 1 a single step is left for a third. Sums are cut where blocks end, on
// every path.
inline tnk_int block_along_k(tnk_int k, tnk_int unroll) {
  constexpr tnk_int shortest = longest_block / 2;
  if (k < longest_block) return std::max(rounded_up(k, unroll), shortest);
  if (k > longest_block && k < 2 * longest_block) return rounded_up(k / 2, unroll);
  return longest_block;
}

} // namespace tnk::level3
