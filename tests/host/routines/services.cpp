#include "tests/host/routines/services.h"
#include <dlfcn.h>
#include <tnk/services.h>

using namespace tnk::test;

void *tnk_serv_allocate(int64_t size, int32_t alignment) {
  static const auto service =
      reinterpret_cast<decltype(&tnk_serv_allocate)>(dlsym(RTLD_NEXT, "tnk_serv_allocate"));
  if (allocations.refuse > 0 && --allocations.refuse == 0) return nullptr;
  ++allocations.made;
  if (size > allocations.largest) allocations.largest = size;
  return service(size, alignment);
}

int32_t tnk_serv_get_cache_size(int32_t level) {
  static const auto service =
      reinterpret_cast<decltype(&tnk_serv_get_cache_size)>(dlsym(RTLD_NEXT, "tnk_serv_get_cache_size"));
  return level == 0 && block_cache != 0 ? block_cache.load() : service(level);
}
