// What is known of scratch memory where fault_allocator.h stands in front of the host's: for the other source files of
// its executable.
#pragma once

#include <atomic>
#include <cstdint>

namespace tnk::test {

struct Allocations {
  std::atomic<int> made{0}, live{0}, overrun{0};
  std::atomic<int> refuse{0};        // the n-th request from now on gets null; 0: none
  std::atomic<int64_t> largest{0};   // in bytes
  std::atomic<void *> last{nullptr}; // block that was given
  void reset() { made = live = overrun = refuse = 0, largest = 0; }
};
inline Allocations allocations;

} // namespace tnk::test
