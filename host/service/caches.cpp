// Cache sizes: asked of the processor, and where a hypervisor hides them of the operating system's files.
#include "host/service/caches.h"

#include <cpuid.h>
#include <cstdio>
#include <cstring>
#include <tnk/services.h>

#include "host/service/errno_keeper.h"

namespace tnk::host {
namespace {

void ask_processor(CacheSizes &sizes, std::uint32_t leaf) {
  std::uint32_t eax, ebx, ecx, edx;
  for (std::uint32_t i = 0; i < 16; ++i)
    if (!__get_cpuid_count(leaf, i, &eax, &ebx, &ecx, &edx) || !take_cache(sizes, eax, ebx, ecx)) return;
}

// The first word of a file of a cache, or "".
void read_word(int cache, const char *file, char (&word)[32]) {
  char path[96];
  std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/%s", cache, file);
  word[0] = '\0';
  if (std::FILE *stream = std::fopen(path, "re")) {
    if (std::fscanf(stream, "%31s", word) != 1) word[0] = '\0';
    std::fclose(stream);
  }
}

void ask_system(CacheSizes &sizes) {
  for (int cache = 0; cache < 8; ++cache) {
    char level_text[32], type[32], size_text[32];
    read_word(cache, "level", level_text);
    read_word(cache, "type", type);
    read_word(cache, "size", size_text);
    int level = 0;
    long long size = 0;
    char unit = ' ';
    if (std::sscanf(level_text, "%d", &level) != 1 || level < 1 || level > 3) continue;
    if (std::sscanf(size_text, "%lld%c", &size, &unit) < 1 || std::strcmp(type, "Instruction") == 0) continue;
    if (unit == 'K') size <<= 10;
    if (unit == 'M') size <<= 20;
    if (sizes.level[level] == 0) sizes.level[level] = size;
  }
}

CacheSizes find_caches() {
  const ErrnoKeeper keeper;
  CacheSizes sizes{};
  ask_processor(sizes, 4);
  std::uint32_t eax, ebx, ecx = 0, edx;
  constexpr std::uint32_t describes_caches = 1u << 22;
  if (sizes.level[1] == 0 && __get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) && (ecx & describes_caches))
    ask_processor(sizes, 0x8000001D);
  if (sizes.level[1] == 0 || sizes.level[2] == 0) ask_system(sizes);
  return sizes;
}

const CacheSizes &caches() {
  static const CacheSizes sizes = find_caches();
  return sizes;
}

std::int32_t to_int32(std::int64_t size) {
  return size > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(size);
}

} // namespace
} // namespace tnk::host

int32_t tnk_serv_get_cache_size(int32_t level) {
  using tnk::host::caches, tnk::host::to_int32;
  if (level == 0) return to_int32(tnk::host::packing_cache(caches()));
  return level >= 1 && level <= 3 ? to_int32(caches().level[level]) : 0;
}

void tnk_serv_cache_info(int32_t *info) {
  using tnk::host::caches, tnk::host::to_int32;
  int64_t largest = 0;
  for (const int64_t size : caches().level)
    if (size > largest) largest = size;
  info[0] = largest > 0 ? 1 : 0;
  info[1] = to_int32(largest);
}
