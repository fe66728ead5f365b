// Lasting memory with a limit, in place of the host's in this executable.
#pragma once

#include <cstdint>

namespace tnk::test {

struct Budget {
  std::int64_t limit = INT64_MAX; // bytes that may be held at once
  std::int64_t held = 0, blocks = 0;
  std::int64_t asked = 0; // the size of the first request since this was 0
};
inline Budget budget;

} // namespace tnk::test
