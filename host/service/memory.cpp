// Aligned memory in two families: scratch for one call, and memory that outlives it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <tnk/services.h>
#include <utility>

#include "host/service/errno_keeper.h"
#include "host/service/errors.h"
#include "host/service/messages.h"
#include "host/service/promise.h"
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

#ifdef TNK_CHECK_BLOCKS
// By the C library, so that a block ends where its size says: what lies beyond is watched.
void *aligned_block(std::size_t size, std::size_t alignment) {
  void *block = nullptr;
  return posix_memalign(&block, alignment, size) == 0 ? block : nullptr;
}
void free_block(void *block) {
  std::free(block);
}
std::size_t usable_size(void *block) {
  return malloc_usable_size(block);
}
#else
// Aligned here, in a plain block whose address stands in front of the aligned one. The C library cuts an aligned block
// out of a larger one and keeps the chips for small requests. They keep the block from growing together again when it
// is released, so the next request of the same size takes fresh memory, and page faults may cost as much as what is
// computed there.
void *&plain_block(void *block) {
  return static_cast<void **>(block)[-1];
}
void *aligned_block(std::size_t size, std::size_t alignment) {
  void *const plain = std::malloc(size + sizeof plain + alignment - 1);
  if (!plain) return nullptr;
  const std::size_t misaligned = (reinterpret_cast<std::uintptr_t>(plain) + sizeof plain) % alignment;
  void *const block =
      static_cast<char *>(plain) + sizeof plain + (misaligned == 0 ? 0 : alignment - misaligned);
  plain_block(block) = plain;
  return block;
}
void free_block(void *block) {
  std::free(plain_block(block));
}
std::size_t usable_size(void *block) {
  void *const plain = plain_block(block);
  return malloc_usable_size(plain) -
         static_cast<std::size_t>(static_cast<char *>(block) - static_cast<char *>(plain));
}
#endif

// `position` is that of the alignment in the argument list of `routine`.
void *allocate(Family family, const char *routine, int position, std::int64_t size, std::int32_t alignment) {
  if (!is_power_of_two(alignment)) {
    char value[16];
    TextWriter(value, sizeof value).add(std::int64_t{alignment});
    report_argument(routine, position, "alignment", value, "a power of two");
    return nullptr;
  }
  if (size < 0) return nullptr;
  const ErrnoKeeper keeper;
  const std::size_t boundary = static_cast<std::size_t>(alignment);
  void *const block = aligned_block(size == 0 ? 1 : static_cast<std::size_t>(size),
                                    boundary < sizeof(void *) ? sizeof(void *) : boundary);
  if (!block) return nullptr;
#ifdef TNK_CHECK_BLOCKS
  if (!enter_block(block, family == Family::scratch ? "tnk_serv_allocate" : "tnk_serv_tnk_malloc")) {
    free_block(block);
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
  const ErrnoKeeper keeper;
#ifdef TNK_CHECK_BLOCKS
  leave_block(block, family == Family::scratch ? "tnk_serv_allocate" : "tnk_serv_tnk_malloc", routine);
#else
  static_cast<void>(family);
  static_cast<void>(routine);
#endif
  free_block(block);
}

#ifdef TNK_CHECK_BLOCKS
constexpr bool keeps_blocks = false; // each block is to be seen coming and going
#else
constexpr bool keeps_blocks = true;
#endif

// A thread keeps one block of scratch memory between calls: a small matrix product takes no longer than the general
// allocator would need for its buffers. The block belongs to whoever holds it, so any thread may release it.
constexpr std::int64_t kept_size = 131072;
constexpr std::int32_t kept_alignment = 128;

thread_local bool thread_ends = false; // trivial: may still be read when the slot is gone
struct Slot {
  void *block = nullptr;
  bool lent = false; // handed out and not come back to this thread: until then it asks for no other one
  ~Slot() {
    thread_ends = true;
    if (block) free_block(block);
  }
};
thread_local Slot slot;

bool can_be_kept(void *block) {
  const std::size_t size = usable_size(block);
  return size >= kept_size && size < kept_size + 4096 &&
         reinterpret_cast<std::uintptr_t>(block) % kept_alignment == 0;
}

void *allocate_scratch(const char *routine, std::int64_t size, std::int32_t alignment) {
  const bool small =
      size >= 0 && size <= kept_size && alignment <= kept_alignment && is_power_of_two(alignment);
  if (!keeps_blocks || !small || thread_ends) return allocate(Family::scratch, routine, 2, size, alignment);
  if (slot.lent) return allocate(Family::scratch, routine, 2, size, alignment);
  void *block = slot.block;
  slot.block = nullptr;
  if (!block) block = allocate(Family::scratch, routine, 2, kept_size, kept_alignment);
  slot.lent = block != nullptr;
  return block;
}

void release_scratch(const char *routine, void *block) {
  if (keeps_blocks && block && !thread_ends && !slot.block && can_be_kept(block)) {
    slot.block = block;
    slot.lent = false;
  } else {
    release(Family::scratch, routine, block);
  }
}

} // namespace

// What ScratchPromise keeps, and whether the last request came here at all.
thread_local struct {
  void *blocks[2] = {};
  int count = 0;
  std::int64_t size = 0;
  bool asked_here = false;
} promise;

ScratchPromise::ScratchPromise(std::int64_t size, int blocks) {
  promise.asked_here = false;
  void *taken[2] = {};
  given_ = true;
  for (int i = 0; i < blocks; ++i) given_ = (taken[i] = tnk_serv_allocate(size, kept_alignment)) && given_;
  if (promise.asked_here && given_) {
    promise.blocks[0] = taken[0], promise.blocks[1] = taken[1];
    promise.count = blocks, promise.size = size;
  } else {
    for (void *const block : taken) tnk_serv_deallocate(block);
  }
}
ScratchPromise::~ScratchPromise() {
  while (promise.count > 0) tnk_serv_deallocate(promise.blocks[--promise.count]);
}

const char *&last_refusal() {
  static thread_local const char *routine = nullptr;
  return routine;
}

std::int64_t &undone_calls() {
  static thread_local std::int64_t calls = 0;
  return calls;
}

} // namespace tnk::host

using tnk::host::Family;

const int64_t *tnk_undone_calls(void) {
  return &tnk::host::undone_calls();
}

void *tnk_serv_allocate(int64_t size, int32_t alignment) {
  auto &promise = tnk::host::promise;
  promise.asked_here = true;
  if (promise.count > 0 && promise.size == size && alignment <= tnk::host::kept_alignment)
    return promise.blocks[--promise.count];
  return tnk::host::allocate_scratch("tnk_serv_allocate", size, alignment);
}

void tnk_serv_deallocate(void *block) {
  tnk::host::release_scratch("tnk_serv_deallocate", block);
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
  if (!routine) routine = "?";
  tnk::host::last_refusal() = routine;
  char message[256];
  tnk::host::write_message(message, tnk::host::message_no_memory, routine);
  tnk::host::report(TNK_ERROR_MEMORY, routine, message);
  return 1;
}
