// All memory that descriptors take, in front of the host's: scratch, long-lived, and the signal primitives'. One count
// of blocks, one request to refuse; see support/allocations.h.
#include "support/fault_allocator.h"
#include <new>

namespace {

using tnk::test::allocations;

bool refused() {
  if (allocations.refuse > 0 && --allocations.refuse == 0) return true;
  ++allocations.made, ++allocations.live;
  return false;
}

void *block(int64_t size, int32_t alignment, int fill) {
  if (size < 0 || refused()) return nullptr;
  void *memory = nullptr;
  if (posix_memalign(&memory, static_cast<std::size_t>(alignment < 16 ? 16 : alignment),
                     static_cast<std::size_t>(size)) != 0)
    throw std::bad_alloc();
  return std::memset(memory, fill, static_cast<std::size_t>(size));
}

void give_back(void *memory) {
  if (memory) --allocations.live;
  std::free(memory);
}

[[maybe_unused]] const bool installed = [] {
  i_malloc = [](std::size_t size) { return block(static_cast<int64_t>(size), 16, 0xFF); };
  i_free = give_back;
  return true;
}();

} // namespace

void *tnk_serv_tnk_malloc(int64_t size, int32_t alignment) {
  return block(size, alignment, 0xFF);
}
void *tnk_serv_tnk_calloc(int64_t count, int64_t element_size, int32_t alignment) {
  return block(count * element_size, alignment, 0);
}
void tnk_serv_tnk_free(void *memory) {
  give_back(memory);
}
