// Scratch memory for a kernel that uses what it is given untested.
#pragma once

#include <cstdint>

namespace tnk::host {

// Asks for a block of the size that a kernel is going to ask for, and keeps it for that request, the next of this size on
// this thread. Where the program has an allocator of its own, which kernels reach directly, the block goes back to it: that
// allocator had it, and has it again.
class ScratchPromise {
public:
  explicit ScratchPromise(std::int64_t size);
  ScratchPromise(const ScratchPromise &) = delete;
  ScratchPromise &operator=(const ScratchPromise &) = delete;
  ~ScratchPromise();
  bool given() const { return given_; }

private:
  bool given_;
};

} // namespace tnk::host
