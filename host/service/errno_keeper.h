// Nothing that a program calls in the host changes errno: what is asked of the system on the way is the host's own
// business.
#pragma once

#include <cerrno>

namespace tnk::host {

// While one lives, errno may change; afterwards it is what it was.
class ErrnoKeeper {
public:
  ErrnoKeeper() : before_(errno) {}
  ErrnoKeeper(const ErrnoKeeper &) = delete;
  ErrnoKeeper &operator=(const ErrnoKeeper &) = delete;
  ~ErrnoKeeper() { errno = before_; }

private:
  const int before_;
};

} // namespace tnk::host
