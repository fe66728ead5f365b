// The allocator's three pointers, the blocks that they give from the start, and the temporary slot.
#include "kernel/frame/element.h"
#include <cstring>
#include <tnk/gmp.h>
#include <tnk/services.h>

namespace {

// A block of the services holds, up to 32 bytes from its begin: a gap, a byte with the gap's length, the size of the
// user's area, and that area, on a boundary of 32 wherever the block begins.
constexpr int boundary = 32;
constexpr std::size_t size_bytes = 8, overhead = 73;

struct Header {
  unsigned char pad;
  int64_t size;
};

Header header_of(const void *user) {
  const char *const area = static_cast<const char *>(user);
  Header header;
  std::memcpy(&header.pad, area - size_bytes - 1, 1);
  std::memcpy(&header.size, area - size_bytes, size_bytes);
  return header;
}

} // namespace

void *tnk_gmp___gmp_default_allocate(size_t size) {
  char *const block =
      static_cast<char *>(tnk_serv_tnk_malloc(static_cast<int64_t>(size + overhead), boundary));
  const Header header{static_cast<unsigned char>(55 - tnk::address(block) % boundary),
                      static_cast<int64_t>(size)};
  char *const pad = block + header.pad;
  std::memcpy(pad, &header.pad, 1);
  std::memcpy(pad + 1, &header.size, size_bytes);
  return pad + 1 + size_bytes;
}
void tnk_gmp___gmp_default_free(void *block, size_t) {
  tnk_serv_tnk_free(static_cast<char *>(block) - size_bytes - 1 - header_of(block).pad);
}
void *tnk_gmp___gmp_default_reallocate(void *block, size_t, size_t new_size) {
  void *const made = tnk_gmp___gmp_default_allocate(new_size);
  if (!block) return made;
  const std::size_t old_size = static_cast<std::size_t>(header_of(block).size);
  std::memcpy(made, block, old_size < new_size ? old_size : new_size);
  tnk_gmp___gmp_default_free(block, old_size);
  return made;
}

void *(*tnk_gmp_tnk_gmp_allocate)(size_t) = tnk_gmp___gmp_default_allocate;
void *(*tnk_gmp_tnk_gmp_reallocate)(void *, size_t, size_t) = tnk_gmp___gmp_default_reallocate;
void (*tnk_gmp_tnk_gmp_free)(void *, size_t) = tnk_gmp___gmp_default_free;

void tnk_gmp___gmp_set_memory_functions(void *(*allocate)(size_t),
                                        void *(*reallocate)(void *, size_t, size_t),
                                        void (*release)(void *, size_t)) {
  tnk_gmp_tnk_gmp_allocate = allocate;
  tnk_gmp_tnk_gmp_reallocate = reallocate;
  tnk_gmp_tnk_gmp_free = release;
}
void *(*tnk_gmp___gmp_allocate_func_ptr(void))(size_t) {
  return tnk_gmp_tnk_gmp_allocate;
}
void *(*tnk_gmp___gmp_reallocate_func_ptr(void))(void *, size_t, size_t) {
  return tnk_gmp_tnk_gmp_reallocate;
}
void (*tnk_gmp___gmp_free_func_ptr(void))(void *, size_t) {
  return tnk_gmp_tnk_gmp_free;
}

void *tnk_gmp___imp_tmp_storage = nullptr;
size_t tnk_gmp___imp_tmp_storage_size = 0;

void *tnk_gmp__imptmpmalloc(size_t size) {
  tnk_gmp___imp_tmp_storage_size = size;
  tnk_gmp___imp_tmp_storage = tnk_gmp___gmp_default_allocate(size);
  return tnk_gmp___imp_tmp_storage;
}
void tnk_gmp__imptmpfree(void) {
  if (tnk_gmp___imp_tmp_storage)
    tnk_gmp___gmp_default_free(tnk_gmp___imp_tmp_storage, tnk_gmp___imp_tmp_storage_size);
}
void tnk_gmp__imptmpmark(void) {
  tnk_gmp__imptmpfree();
  tnk_gmp___imp_tmp_storage = nullptr;
  tnk_gmp___imp_tmp_storage_size = 0;
}
