// Number of threads of large products.
#pragma once

#include <tnk/host.h>

namespace tnk::tool {

// So many while it lives; then the host's own choice again.
class Threads {
public:
  explicit Threads(int threads) { tnk_set_num_threads(threads); }
  Threads(const Threads &) = delete;
  Threads &operator=(const Threads &) = delete;
  ~Threads() { tnk_set_num_threads(0); }
};

} // namespace tnk::tool
