// Scratch memory as fault_allocator.h has it, and blocks that outlive a call counted and refused along with it. To be
// included in one source file of an executable.
#pragma once

#include "support/fault_allocator.h"

void *tnk_serv_tnk_malloc(int64_t size, int32_t alignment) {
  return tnk_serv_allocate(size, alignment);
}
void *tnk_serv_tnk_calloc(int64_t count, int64_t element_size, int32_t alignment) {
  void *const block = tnk_serv_allocate(count * element_size, alignment);
  if (block) std::memset(block, 0, static_cast<std::size_t>(count * element_size));
  return block;
}
void tnk_serv_tnk_free(void *block) {
  tnk_serv_deallocate(block);
}
