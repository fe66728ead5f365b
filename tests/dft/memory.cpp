// All memory that descriptors take, in front of the host's: scratch, long-lived, and the signal primitives'.
#include "support/lasting_allocator.h"

[[maybe_unused]] static const bool installed = [] {
  i_malloc = [](std::size_t size) { return tnk_serv_allocate(static_cast<int64_t>(size), 16); };
  i_free = tnk_serv_deallocate;
  return true;
}();
