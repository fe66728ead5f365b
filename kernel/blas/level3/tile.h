// The packed layouts of the matrix product, and the register tile that they serve.
//
// A block of mc rows by kc steps of A becomes panels of mr rows, a block of kc steps by nc columns of B
// panels of nr columns. Panels stand at the stride of their record. Inside a panel, one step of k after the
// other:
//
//   real A, mr = 4           step 0          step 1
//                        | 0  1  2  3 |  4  5  6  7 | ...        cell: row of the panel, mr * step + row
//
//   real B, nr = 8       | 0  1  2  3  4  5  6  7 |  8 ...       cell: column of the panel, nr * step + column
//
//   complex, A and B     | re0 re1 im0 im1  re2 re3 im2 im3 | ...   pairs of rows (columns) by part
//
// Steps from kc up to the next multiple of kr are zeros, in every panel and lane. The last panel of A, when mc
// is no multiple of mr, holds only the rows that exist; the lanes above them are left as they were. What is
// left of B after the full panels is, from 4 columns on, a group 4 wide in the same layout; 1 to 3 columns
// after that are a group 4 wide with zeros above the real columns, which begins where the steps of the group
// before it end. (With nr = 4 only the latter occurs.)
//
// Packing multiplies A by alpha and stores conjugates as 0 - im, so that kernels know neither.
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

// The steps of a block along k: longest_block of them, but two equal blocks rather than a whole and a small one. Sums are
// cut where blocks end, on every path.
inline tnk_int block_along_k(tnk_int k, tnk_int unroll) {
  constexpr tnk_int shortest = longest_block / 2;
  if (k < longest_block) return std::max(rounded_up(k, unroll), shortest);
  if (k > longest_block && k < 2 * longest_block) return rounded_up(k / 2, unroll);
  return longest_block;
}

} // namespace tnk::level3
