// Aligned memory in two families: scratch for one call, and memory that outlives it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <tnk/services.h>

#include "host/service/errors.h"
#include "host/service/messages.h"
#ifdef TNK_CHECK_BLOCKS
#include "host/service/block_registry.h"
#endif

void *(*i_malloc)(size_t size) = std::malloc;
void (*i_free)(void *block) = std::free;

namespace tnk::host {
namespace {

enum class Family { scratch, lasting };

bool is_power_of_two(std::int32_t value) {
  return value > 0 && (value & (value - 1)) == 0;
}

// `position` is that of the alignment in the argument list of `routine`.
void *allocate(Family family, const char *routine, int position, std::int64_t size, std::int32_t alignment) {
  if (!is_power_of_two(alignment)) {
    char value[16];
    TextWriter(value, sizeof value).add(std::int64_t{alignment});
    report_argument(routine, position, "alignment", value, "a power of two");
    return nullptr;
  }
  if (size < 0) return nullptr;
  const std::size_t boundary = static_cast<std::size_t>(alignment);
  void *block = nullptr;
  if (posix_memalign(&block, boundary < sizeof(void *) ? sizeof(void *) : boundary,
                     size == 0 ? 1 : static_cast<std::size_t>(size)) != 0)
    return nullptr;
#ifdef TNK_CHECK_BLOCKS
  if (!enter_block(block, family == Family::scratch ? "tnk_serv_allocate" : "tnk_serv_tnk_malloc")) {
    std::free(block);
    return nullptr;
  }
  std::memset(block, 0xFF, static_cast<std::size_t>(size)); // NaN: a value read before it is written shows
#else
  static_cast<void>(family);
#endif
  return block;
}

void release(Family family, const char *routine, void *block) {
  if (!block) return;
#ifdef TNK_CHECK_BLOCKS
  leave_block(block, family == Family::scratch ? "tnk_serv_allocate" : "tnk_serv_tnk_malloc", routine);
#else
  static_cast<void>(family);
  static_cast<void>(routine);
#endif
  std::free(block);
}

} // namespace
} // namespace tnk::host

using tnk::host::Family;

void *tnk_serv_allocate(int64_t size, int32_t alignment) {
  return tnk::host::allocate(Family::scratch, "tnk_serv_allocate", 2, size, alignment);
}

void tnk_serv_deallocate(void *block) {
  tnk::host::release(Family::scratch, "tnk_serv_deallocate", block);
}

void *tnk_serv_tnk_malloc(int64_t size, int32_t alignment) {
  return tnk::host::allocate(Family::lasting, "tnk_serv_tnk_malloc", 2, size, alignment);
}

void *tnk_serv_tnk_calloc(int64_t count, int64_t element_size, int32_t alignment) {
  int64_t size;
  if (count < 0 || element_size < 0 || __builtin_mul_overflow(count, element_size, &size)) size = -1;
  void *block = tnk::host::allocate(Family::lasting, "tnk_serv_tnk_calloc", 3, size, alignment);
  if (block) std::memset(block, 0, static_cast<size_t>(size));
  return block;
}

void tnk_serv_tnk_free(void *block) {
  tnk::host::release(Family::lasting, "tnk_serv_tnk_free", block);
}

int32_t tnk_serv_check_ptr(const void *block, const char *routine) {
  if (block) return 0;
  char message[256];
  tnk::host::write_message(message, tnk::host::message_no_memory, routine);
  tnk::host::report(TNK_ERROR_MEMORY, routine, message);
  return 1;
}
