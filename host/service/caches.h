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

} // namespace tnk::host
