// Large pages for blocks of many megabytes.
#pragma once

#include <sys/mman.h>

#include <cstdint>

#include "host/service/errno_keeper.h"

namespace tnk::host {

// Asks Linux for them, before the block is written for the first time: a page fault for every 4096 bytes may take longer
// than what is computed there. A block of a few megabytes hardly holds one.
inline void prefer_large_pages(void *block, std::int64_t bytes) {
  constexpr std::uintptr_t page = 4096;
  constexpr std::int64_t large = 4 << 20;
  if (!block || bytes < large) return;
  const ErrnoKeeper keeper;
  const auto begin = (reinterpret_cast<std::uintptr_t>(block) + page - 1) / page * page;
  madvise(reinterpret_cast<void *>(begin), static_cast<std::size_t>(bytes) - page, MADV_HUGEPAGE);
}

} // namespace tnk::host
