#include "integer/budget.h"

#include <cstdlib>
#include <mutex>
#include <tnk/services.h>

using tnk::test::budget;

namespace {
constexpr int alignment = 64; // and the room in front, where the size is
std::mutex counting;
} // namespace

void *tnk_serv_tnk_malloc(int64_t size, int32_t) {
  const std::lock_guard<std::mutex> lock(counting);
  if (budget.asked == 0) budget.asked = size;
  if (size > budget.limit - budget.held) return nullptr;
  void *block;
  if (posix_memalign(&block, alignment, static_cast<std::size_t>(size) + alignment) != 0) return nullptr;
  *static_cast<std::int64_t *>(block) = size;
  budget.held += size, ++budget.blocks;
  return static_cast<char *>(block) + alignment;
}

void tnk_serv_tnk_free(void *user) {
  if (!user) return;
  const std::lock_guard<std::mutex> lock(counting);
  char *const block = static_cast<char *>(user) - alignment;
  budget.held -= *reinterpret_cast<std::int64_t *>(block), --budget.blocks;
  std::free(block);
}
