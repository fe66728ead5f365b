// Sizes of the data caches, from the processor's own description.
#pragma once

#include <cstdint>

namespace tnk::host {

struct CacheSizes {
  std::int64_t level[4]; // bytes by level 1 to 3, 0 where unknown; element 0 is not used
};

// Takes in one subleaf of CPUID leaf 4 or 0x8000001D, which share their layout. False at the end of the list.
constexpr bool take_cache(CacheSizes &sizes, std::uint32_t eax, std::uint32_t ebx, std::uint32_t ecx) {
  enum Kind { none, data, instructions, unified };
  const std::uint32_t kind = eax & 31, level = eax >> 5 & 7;
  if (kind == none) return false;
  if ((kind == data || kind == unified) && level >= 1 && level <= 3) {
    const std::int64_t line = (ebx & 0xFFF) + 1, partitions = (ebx >> 12 & 0x3FF) + 1, ways = (ebx >> 22) + 1;
    sizes.level[level] = line * partitions * ways * (std::int64_t{ecx} + 1);
  }
  return true;
}

// The size by which matrix products cut their blocks. A packed block of A takes a sixth of it, and with three times
// the level 2 cache that is half of level 2: the block stays there, private to its core, while panels of B and C pass
// through the other half. Rates in GFLOP/s of products with m = n and k = 256 (medians) on a core with 1 MiB of level
// 2 and a share of 32 MiB of level 3:
//
//   size in KiB                128   512  1024  2048  3072  4096  8192
//   float, n = 2000           81.1  86.4  85.5  87.9  90.0  89.5  90.1
//   double, n = 2000          40.0  46.3  43.5  46.5  47.2  48.2  48.2
//   double complex, n = 2000  31.0  37.0  42.5  46.3  47.7  47.9  48.2
//   double complex, n = 256   44.0  45.7  47.3  47.0  46.9  44.7  36.1
//
// The rise ends where the block fills half of level 2; blocks that do not fit there lose at once where they do not pay
// for their packing (the last line). Level 3 is shared by cores that each hold a block, so its size does not enter.
constexpr std::int64_t packing_cache(const CacheSizes &sizes) {
  // A result below 48 KiB would leave some blocks without a row; the least one here leaves four tiles.
  constexpr std::int64_t usual_level_2 = 256 << 10, least_level_2 = 64 << 10;
  const std::int64_t level_2 = sizes.level[2] > 0 ? sizes.level[2] : usual_level_2;
  return 3 * (level_2 > least_level_2 ? level_2 : least_level_2);
}

} // namespace tnk::host
