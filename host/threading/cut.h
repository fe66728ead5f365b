// How a matrix product is cut for several threads: which way, and where.
//
// A cut moves no bit of the result. Every element of C is added up by itself, in the order of k, whatever tile it comes to
// lie in; but the packed path multiplies alpha into A, the plain one into the sum. So a slice must take the packed path
// whenever the whole does: slices are whole register tiles, the last one with what is left, and a product that takes the
// plain path as a whole is not cut.
#pragma once

#include <tnk/blas_level3.h>
#include <tnk/types.h>

namespace tnk::host {

// Real operations that make it worth while to use one more thread; each slice also packs all of one operand again.
// Measured with square products of doubles, two threads against one, on a virtual machine of two cores; medians:
//
//   operations       0.1 M   0.2 M   0.5 M   1.8 M   4.2 M   8.2 M   34 M
//   threads awake     1.2     1.4     1.3     1.5     1.8     1.7     1.7   times as fast
//   threads asleep    0.4     0.6     0.7     0.7     0.9     1.1     1.6
//
// The team's threads sleep soon after a job, so the second line is what a program meets that now and then forms a
// product, the first one what a loop over products meets: this number gains most of what the one has to give, and loses
// a tenth at worst of the other.
inline constexpr double least_operations = 2e6;

struct Cut {
  int slices;   // 1: not cut
  bool columns; // of C, with those of op(B); else rows, with those of op(A)
  tnk_int extent, tile;

  // Slice i begins here, and slice i - 1 ends.
  constexpr tnk_int begin(int i) const {
    return i == slices ? extent : extent / tile / slices * i * tile + extra(i) * tile;
  }

private:
  // The tiles that do not come out even go to the first slices.
  constexpr tnk_int extra(int i) const {
    const tnk_int left = extent / tile % slices;
    return i < left ? i : left;
  }
};

// As many slices as threads may be used, as the job is worth, and as there are tiles.
constexpr Cut cut_tiles(bool columns, tnk_int extent, tnk_int tile, double worth_while, int threads) {
  double most = static_cast<double>(threads);
  const double tiles = static_cast<double>(extent / tile);
  if (worth_while < most) most = worth_while;
  if (tiles < most) most = tiles;
  return {most >= 2 ? static_cast<int>(most) : 1, columns, extent, tile};
}

// How many threads the product is worth. `operations`: real ones for each of the m n k steps.
constexpr double threads_worth_while(tnk_int m, tnk_int n, tnk_int k, int operations) {
  if ((m | n | k) < 64) return 1; // at once, for the many small ones
  return static_cast<double>(operations) * static_cast<double>(m) * static_cast<double>(n) *
         static_cast<double>(k) / least_operations;
}
static_assert(63. * 63 * 63 * 8 < 2 * least_operations);

// `threads`: how many may be used.
constexpr Cut cut_product(const tnk_gemm_row &kernel, tnk_int m, tnk_int n, tnk_int k, int operations,
                          int threads) {
  // Every slice packs all of the operand that is not cut, so the larger one is cut.
  const bool columns = n >= m;
  const tnk_int extent = columns ? n : m, tile = columns ? kernel.nr : kernel.mr;
  const bool packed = m >= kernel.mr && n >= kernel.nr && k >= kernel.kr;
  return cut_tiles(columns, extent, tile, packed ? threads_worth_while(m, n, k, operations) : 1, threads);
}

} // namespace tnk::host
