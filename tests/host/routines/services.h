// The host's services that these tests stand in front of.
#pragma once

#include <atomic>
#include <cstdint>

namespace tnk::test {

inline std::atomic<int> requests{0}, refused_request{0}; // for scratch; the one that gets none
inline std::atomic<int64_t> last_request{0};             // in bytes
inline std::atomic<int32_t> block_cache{0};              // by which blocks are cut; 0: the real one

} // namespace tnk::test
