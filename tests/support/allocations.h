// What is known of scratch memory where fault_allocator.h stands in front of the host's.
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

// Runs call() with each request refused in turn, until it asks for less, behind each check(its result, whether one was
// refused). Returns how many were. prepare() may take what it wants.
template <class Call, class Check, class Prepare = void (*)()>
int refuse_in_turn(
    const Call &call, const Check &check, const Prepare &prepare = [] {}) {
  for (int n = 1;; ++n) {
    prepare();
    allocations.refuse = n;
    const auto result = call();
    const bool refused = allocations.refuse == 0;
    allocations.refuse = 0;
    check(result, refused);
    if (!refused) return n - 1;
  }
}

} // namespace tnk::test
