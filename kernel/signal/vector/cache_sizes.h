// The largest cache, from what CPUID says. `Cpuid` gives the registers of a leaf and a subleaf: the processor, or a
// description of one.
#pragma once

#include <cstdint>
#include <limits>

namespace tnk::signal {

struct Registers {
  std::uint32_t a, b, c, d;
};

struct DescribedCache {
  std::int32_t code, bytes;
};

// By falling size, so that the first one found is the largest. Ends with zeros.
constexpr DescribedCache described_caches[] = {
    {0xEC, 24576 << 10}, {0xEB, 18432 << 10}, {0x4D, 16384 << 10}, {0xEA, 12288 << 10},
    {0x4C, 12288 << 10}, {0xE4, 8192 << 10},  {0xDE, 8192 << 10},  {0x4B, 8192 << 10},
    {0x47, 8192 << 10},  {0x4E, 6144 << 10},  {0x4A, 6144 << 10},  {0xE3, 4096 << 10},
    {0xDD, 4096 << 10},  {0xD8, 4096 << 10},  {0x49, 4096 << 10},  {0x29, 4096 << 10},
    {0x46, 4096 << 10},  {0x48, 3072 << 10},  {0xE2, 2048 << 10},  {0xDC, 2048 << 10},
    {0xD7, 2048 << 10},  {0xD2, 2048 << 10},  {0x25, 2048 << 10},  {0x7D, 2048 << 10},
    {0x85, 2048 << 10},  {0x45, 2048 << 10},  {0xD6, 1024 << 10},  {0xD1, 1024 << 10},
    {0x23, 1024 << 10},  {0x87, 1024 << 10},  {0x7C, 1024 << 10},  {0x78, 1024 << 10},
    {0x84, 1024 << 10},  {0x44, 1024 << 10},  {0xD0, 512 << 10},   {0x22, 512 << 10},
    {0x7B, 512 << 10},   {0x80, 512 << 10},   {0x86, 512 << 10},   {0x3E, 512 << 10},
    {0x7F, 512 << 10},   {0x83, 512 << 10},   {0x43, 512 << 10},   {0x3D, 384 << 10},
    {0x21, 256 << 10},   {0x7A, 256 << 10},   {0x82, 256 << 10},   {0x3C, 256 << 10},
    {0x3F, 256 << 10},   {0x42, 256 << 10},   {0x3A, 192 << 10},   {0x79, 128 << 10},
    {0x39, 128 << 10},   {0x3B, 128 << 10},   {0x41, 128 << 10},   {0, 0}};

// Leaf 2 lists a byte for each cache and each buffer of addresses; the low byte of EAX says how often to ask, and only
// once is known how to. A register with bit 31 set lists nothing. -1 when none of the bytes is known.
template <class Cpuid> std::int32_t largest_described(Cpuid cpuid) {
  const Registers leaf = cpuid(2, 0);
  if ((leaf.a & 0xFF) != 1) return -1;
  std::int32_t codes[15], count = 0;
  const std::uint32_t words[] = {leaf.a, leaf.b, leaf.c, leaf.d};
  for (int word = 0; word < 4; ++word)
    for (int byte = word == 0 ? 1 : 0; byte < 4 && words[word] >> 31 == 0; ++byte)
      codes[count++] = static_cast<std::int32_t>(words[word] >> (8 * byte) & 0xFF);
  for (const DescribedCache *cache = described_caches; cache->code != 0; ++cache)
    for (int i = 0; i < count; ++i)
      if (codes[i] == cache->code) return cache->bytes;
  return -1;
}

// Leaf 4 has a subleaf for each cache, up to one of type 0; type 2 holds instructions. 0 when there is none.
template <class Cpuid> std::int32_t largest_enumerated(Cpuid cpuid) {
  std::uint64_t largest = 0;
  for (std::uint32_t subleaf = 0; subleaf < 32; ++subleaf) {
    const Registers cache = cpuid(4, subleaf);
    const std::uint32_t type = cache.a & 0x1F;
    if (type == 0) break;
    const std::uint64_t ways = (cache.b >> 22) + 1, partitions = (cache.b >> 12 & 0x3FF) + 1,
                        line = (cache.b & 0xFFF) + 1, sets = std::uint64_t{cache.c} + 1;
    const std::uint64_t bytes = ways * partitions * line * sets;
    if (type != 2 && bytes > largest) largest = bytes;
  }
  constexpr std::uint64_t most = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(largest < most ? largest : most);
}

} // namespace tnk::signal
