// What the processor says of itself, asked anew by every call but that for the cache size.
#include "kernel/signal/vector/cache_sizes.h"
#include <atomic>
#include <cpuid.h>
#include <cstring>
#include <tnk/signal_vector.h>
#include <x86intrin.h>

namespace tnk::signal {
namespace {

Registers cpuid(std::uint32_t leaf, std::uint32_t subleaf = 0) {
  Registers r;
  __cpuid_count(leaf, subleaf, r.a, r.b, r.c, r.d);
  return r;
}
int32_t bit(std::uint32_t word, int place) {
  return word >> place & 1;
}

// The vendor of the processors that these kernels are tuned on, as leaf 0 spells it in EBX, EDX, ECX.
constexpr char vendor[] = "AuthenticAMD";

// Not yet asked. Two first calls do the same work and store the same values.
constexpr int32_t not_asked = 1;
std::atomic<int32_t> cache_size{0}, own_status{not_asked};

int32_t settle(int32_t status, int32_t size) {
  cache_size.store(size, std::memory_order_relaxed);
  own_status.store(status, std::memory_order_release);
  return status;
}

int32_t ask_for_cache_size() {
  const int32_t highest = vpk_max_cpuid_input();
  if (!vpk_has_cpuid() || highest < 2 || !vpk_is_vendor_cpu())
    return settle(TNK_SIGNAL_FOREIGN_CPU, cache_size.load(std::memory_order_relaxed));
  const auto ask = [](std::uint32_t leaf, std::uint32_t subleaf) { return cpuid(leaf, subleaf); };
  const int32_t size = highest < 4 ? largest_described(ask) : largest_enumerated(ask);
  return size > 0 ? settle(TNK_SIGNAL_OK, size) : settle(TNK_SIGNAL_NO_CACHE_SIZE, 0);
}

} // namespace
} // namespace tnk::signal

int32_t vpk_has_cpuid(void) {
  return 1;
}
int32_t vpk_max_cpuid_input(void) {
  return static_cast<int32_t>(tnk::signal::cpuid(0).a);
}
int32_t vpk_has_rdtsc(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).d, 4);
}
int32_t vpk_is_mmx_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).d, 23);
}
int32_t vpk_is_ssx_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).d, 25);
}
int32_t vpk_is_wni_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).d, 26);
}
int32_t vpk_is_htt_extension(void) {
  const auto leaf = tnk::signal::cpuid(1);
  return tnk::signal::bit(leaf.d, 28) && (leaf.b >> 16 & 0xFF) > 1;
}
int32_t vpk_is_pni_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).c, 0);
}
int32_t vpk_is_mni_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).c, 9);
}
int32_t vpk_is_sse41_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).c, 19);
}
int32_t vpk_is_sse42_extension(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).c, 20);
}
int32_t vpk_is_movbe(void) {
  return tnk::signal::bit(tnk::signal::cpuid(1).c, 22);
}
int32_t vpk_is_avx_extension(void) {
  const auto leaf = tnk::signal::cpuid(1);
  if (!tnk::signal::bit(leaf.c, 27) || !tnk::signal::bit(leaf.c, 28)) return 0;
  std::uint32_t low, high; // the instruction exists only where bit 27 is set
  asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (low & 6) == 6;
}
int32_t vpk_is_64bit_extension(void) {
  constexpr std::uint32_t extended = 0x80000001;
  return tnk::signal::cpuid(extended - 1).a >= extended &&
         tnk::signal::bit(tnk::signal::cpuid(extended).d, 29);
}
int32_t vpk_get_cores_on_die(void) {
  return vpk_max_cpuid_input() < 4 ? 1 : static_cast<int32_t>((tnk::signal::cpuid(4).a >> 26) + 1);
}
int32_t vpk_is_vendor_cpu(void) {
  const auto leaf = tnk::signal::cpuid(0);
  const std::uint32_t name[] = {leaf.b, leaf.d, leaf.c};
  return std::memcmp(name, tnk::signal::vendor, sizeof name) == 0;
}
int32_t vpk_get_processor_ident(void) {
  return static_cast<int32_t>(tnk::signal::cpuid(1).a);
}
uint64_t vpk_get_cycle_counter(void) {
  return __rdtsc();
}
int32_t vpkGetMaxCacheSizeB(int32_t *size) {
  using namespace tnk::signal;
  if (!size) return TNK_SIGNAL_NULL;
  int32_t status = own_status.load(std::memory_order_acquire);
  if (status == not_asked) status = ask_for_cache_size();
  *size = cache_size.load(std::memory_order_relaxed);
  return status;
}
