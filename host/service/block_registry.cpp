#ifdef TNK_CHECK_BLOCKS

#include "host/service/block_registry.h"

#include <cstdlib>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include "host/service/errors.h"
#include "host/service/text.h"

namespace tnk::host {
namespace {

struct Registry {
  std::mutex mutex;
  std::unordered_map<void *, const char *> allocators;
};

Registry &registry() {
  static Registry *const kept = new Registry; // never destroyed: blocks come back while the program ends, too
  return *kept;
}

} // namespace

bool enter_block(void *block, const char *allocator) try {
  Registry &blocks = registry();
  const std::lock_guard lock(blocks.mutex);
  blocks.allocators[block] = allocator;
  return true;
} catch (...) {
  return false;
}

void leave_block(void *block, const char *allocator, const char *routine) {
  const char *found = nullptr;
  {
    Registry &blocks = registry();
    const std::lock_guard lock(blocks.mutex);
    const auto entry = blocks.allocators.find(block);
    if (entry != blocks.allocators.end()) {
      found = entry->second;
      blocks.allocators.erase(entry);
    }
  }
  if (found && std::string_view(found) == allocator) return;
  char value[64], expected[64];
  TextWriter value_text(value, sizeof value);
  if (found)
    value_text.add("a block of ").add(found);
  else
    value_text.add("no live block");
  TextWriter(expected, sizeof expected).add("a live block of ").add(allocator);
  report_argument(routine, 1, "block", value, expected);
  std::abort();
}

} // namespace tnk::host

#endif
