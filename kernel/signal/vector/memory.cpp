// Blocks on 32-byte boundaries from the runtime's allocator.
#include "kernel/frame/element.h"
#include <tnk/services.h>
#include <tnk/signal_vector.h>

namespace tnk::signal {
namespace {

// The address of the allocator's block fits ahead of the boundary, wherever the block begins.
constexpr std::uintptr_t boundary = 32, note = sizeof(void *), overhead = boundary + note;

template <class T> T *elements(int32_t length) {
  const std::int64_t bytes = std::int64_t{length} * static_cast<std::int64_t>(sizeof(T));
  if (bytes > std::numeric_limits<int32_t>::max()) return nullptr;
  return static_cast<T *>(vpkMalloc(static_cast<int32_t>(bytes)));
}

} // namespace
} // namespace tnk::signal

void *vpkMalloc(int32_t bytes) {
  using namespace tnk::signal;
  if (bytes <= 0) return nullptr;
  char *const block = static_cast<char *>(i_malloc(static_cast<std::size_t>(bytes) + overhead));
  if (!block) return nullptr;
  char *const result = block + note + (0 - tnk::address(block + note)) % boundary;
  std::memcpy(result - note, &block, note);
  return result;
}
void vpkFree(void *block) {
  using namespace tnk::signal;
  if (!block) return;
  void *allocated;
  std::memcpy(&allocated, static_cast<char *>(block) - note, note);
  i_free(allocated);
}

uint8_t *e9_vpksMalloc_8u(int32_t length) {
  return tnk::signal::elements<uint8_t>(length);
}
float *e9_vpksMalloc_32f(int32_t length) {
  return tnk::signal::elements<float>(length);
}
double *e9_vpksMalloc_64f(int32_t length) {
  return tnk::signal::elements<double>(length);
}
void e9_vpksFree(void *block) {
  vpkFree(block);
}
