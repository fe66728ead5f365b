// Scratch memory for a kernel that uses what it is given untested.
#pragma once

#include <cstdint>

namespace tnk::host {

// Asks for the block, or for the two of one size, that a kernel is going to ask for, and keeps them for these requests, the
// next of this size on this thread. Where the program has an allocator of its own, which kernels reach directly, they go
// back to it: that allocator had them, and has them again.
class ScratchPromise {
public:
  explicit ScratchPromise(std::int64_t size, int blocks = 1);
  ScratchPromise(const ScratchPromise &) = delete;
  ScratchPromise &operator=(const ScratchPromise &) = delete;
  ~ScratchPromise();
  bool given() const { return given_; }

private:
  bool given_;
};

} // namespace tnk::host
