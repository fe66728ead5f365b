// Scratch memory for tests, in front of the host's: counts blocks, refuses on demand, and notices what is written
// past the end of a block. To be included in one source file of an executable.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <tnk/services.h>

namespace tnk::test {

struct Allocations {
  std::atomic<int> made{0}, live{0}, overrun{0};
  std::atomic<int> refuse{0};      // the n-th request from now on gets null; 0: none
  std::atomic<int64_t> largest{0}; // in bytes
  void reset() { made = live = overrun = refuse = 0, largest = 0; }
};
inline Allocations allocations;

constexpr std::size_t block_header = 4096, block_fence = 64;

} // namespace tnk::test

void *tnk_serv_allocate(int64_t size, int32_t alignment) {
  using namespace tnk::test;
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
