// The host's services that these tests stand in front of: scratch memory is counted and refused by allocations.h.
#pragma once

#include "support/allocations.h"

namespace tnk::test {

inline std::atomic<int32_t> block_cache{0}; // by which blocks are cut; 0: the real one

} // namespace tnk::test
