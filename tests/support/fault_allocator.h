// Scratch memory for tests, in front of the host's: counts blocks, refuses on demand, and notices what is written
// past the end of a block. To be included in one source file of an executable.
#pragma once

#include "support/allocations.h"
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <tnk/services.h>

namespace tnk::test {

constexpr std::size_t block_header = 8192, block_fence = 64;

} // namespace tnk::test

void *tnk_serv_allocate(int64_t size, int32_t alignment) {
  using namespace tnk::test;
  // Released memory stays with the process: fresh pages would take most of the time of a small call.
  static const int kept = mallopt(M_MMAP_THRESHOLD, 1 << 28) + mallopt(M_TRIM_THRESHOLD, 1 << 28);
  static_cast<void>(kept);
  if (allocations.refuse > 0 && --allocations.refuse == 0) return nullptr;
  ++allocations.made, ++allocations.live;
  if (size > allocations.largest) allocations.largest = size;
  const auto bytes = static_cast<std::size_t>(size);
  void *memory = nullptr;
  if (posix_memalign(&memory, block_header, block_header + bytes + block_fence) != 0) return nullptr;
  // The block has the alignment asked for and no better one.
  auto *block = static_cast<unsigned char *>(memory) + block_header - alignment;
  std::memcpy(block - sizeof size, &size, sizeof size);
  std::memcpy(block - 2 * sizeof size, &memory, sizeof memory);
  std::memset(block, 0xFF, bytes + block_fence); // NaN: a value read before it is written shows
  allocations.last = block;
  return block;
}

void tnk_serv_deallocate(void *block) {
  using namespace tnk::test;
  if (!block) return;
  --allocations.live;
  auto *bytes = static_cast<unsigned char *>(block);
  int64_t size;
  void *memory;
  std::memcpy(&size, bytes - sizeof size, sizeof size);
  std::memcpy(&memory, bytes - 2 * sizeof size, sizeof memory);
  for (std::size_t i = 0; i < block_fence; ++i)
    if (bytes[static_cast<std::size_t>(size) + i] != 0xFF) ++allocations.overrun;
  std::free(memory);
}
