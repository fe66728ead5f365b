#include "host/service/processor.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <tnk/kernel.h>
#include <tnk/services.h>
#include <vector>

#include "host/service/caches.h"

namespace {

using namespace tnk::host;

TEST(Processor, AvxNeedsTheProcessorAndTheOperatingSystem) {
  constexpr std::uint32_t xgetbv = 1u << 27, avx = 1u << 28, others = 0x06D8220Bu; // sse3 ... aes, fma, xsave
  struct {
    ProcessorWords words;
    Avx expected;
  } const cases[] = {
      {{0, 0}, Avx::absent},
      {{others, 0}, Avx::absent},
      {{others | xgetbv, 7}, Avx::absent},
      {{others | avx, 7}, Avx::not_saved}, // xcr0 may not be trusted
      {{others | avx | xgetbv, 0}, Avx::not_saved},
      {{others | avx | xgetbv, 3}, Avx::not_saved},
      {{others | avx | xgetbv, 5}, Avx::not_saved},
      {{others | avx | xgetbv, std::uint64_t{6} << 32}, Avx::not_saved},
      {{others | avx | xgetbv, 6}, Avx::usable},
      {{avx | xgetbv, 7}, Avx::usable},
      {{~0u, 0x2E7}, Avx::usable},
  };
  for (const auto &c : cases)
    EXPECT_EQ(avx_state(c.words), c.expected) << std::hex << c.words.features << ' ' << c.words.xcr0;
}

TEST(Processor, DetectionAgreesWithTheOperatingSystem) {
  std::ifstream file("/proc/cpuinfo");
  bool listed = false;
  for (std::string line; !listed && std::getline(file, line);)
    listed = line.rfind("flags", 0) == 0 && line.find(" avx ") != std::string::npos;
  EXPECT_EQ(tnk_serv_cpu_detect(), listed ? TNK_CLASS_AVX : TNK_CLASS_NONE);
}

// Instructions, before the data or behind, must not stand for level 1. Two partitions a line; a level 4 cache, and words
// after the end of the list, are passed over; the largest counts need 64 bits.
TEST(Caches, AreReadFromTheProcessorsWords) {
  const std::uint32_t instructions = 0x1C004122, words[][3] = {{instructions, 0x01C0003F, 0x7F},
                                                               {0x1C004121, 0x00C0103F, 0x3F},
                                                               {instructions, 0x01C0003F, 0x7F},
                                                               {0x1C004143, 0x01C0003F, 0x3FF},
                                                               {0x183, 0x03C0003F, 0x1FFFF},
                                                               {0x1C03C163, 0xFFFFFFFF, 0xFFFFF},
                                                               {0, 0, 0},
                                                               {0x121, 0x01C0003F, 0xFF}};
  CacheSizes sizes{};
  for (const auto &[eax, ebx, ecx] : words)
    if (!take_cache(sizes, eax, ebx, ecx)) break;
  const std::int64_t expected[] = {0, 32 << 10, 512 << 10, std::int64_t{1} << 52};
  for (int level = 0; level < 4; ++level) EXPECT_EQ(sizes.level[level], expected[level]) << level;
}

// Which cuts blocks of a product: half of level 2 for a sixth of it, and rows for every type even where that is tiny.
TEST(Caches, AllowBlocksOfAProductRows) {
  for (const std::int64_t level_2 : {0LL, 1LL, 16LL << 10, 256LL << 10, 1LL << 20, 1LL << 40}) {
    const std::int64_t size = packing_cache({{0, 0, level_2, 0}});
    EXPECT_GE(size / 6, level_2 / 2) << level_2;
    for (const std::int64_t element_and_tile : {4 * 8, 8 * 4, 8 * 4, 16 * 2})
      EXPECT_GE(size / 6 / 256, element_and_tile) << level_2;
  }
}

TEST(Caches, AgreeWithTheOperatingSystem) {
  for (int i = 0; i < 8; ++i) {
    const std::string folder = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(i) + "/";
    int level = 0, kib = 0;
    std::string type;
    std::ifstream(folder + "level") >> level;
    std::ifstream(folder + "type") >> type;
    std::ifstream(folder + "size") >> kib; // as in "32K"
    if (level < 1 || level > 3 || type == "Instruction") continue;
    EXPECT_EQ(tnk_serv_get_cache_size(level), kib * 1024) << level;
  }
  std::int32_t largest = 0;
  for (int level = 1; level <= 3; ++level) largest = std::max(largest, tnk_serv_get_cache_size(level));
  for (const int32_t level : {-1, 4, INT32_MIN, INT32_MAX})
    EXPECT_EQ(tnk_serv_get_cache_size(level), 0) << level;
  EXPECT_GE(tnk_serv_get_cache_size(0), 3 * tnk_serv_get_cache_size(2));

  std::int32_t info[4] = {-1, -1, -1, -1};
  tnk_serv_cache_info(info);
  EXPECT_TRUE(info[0] == (largest > 0) && info[1] == largest && info[2] == -1) << "two elements are written";
}

TEST(Lsame, IsAboutLettersAndNothingElse) {
  for (int a = 0; a < 256; ++a)
    for (int b = 0; b < 256; ++b) {
      const auto is_letter = [](int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
      const bool same = a == b || (is_letter(a) && is_letter(b) && (a | 32) == (b | 32));
      const char x = static_cast<char>(a), y = static_cast<char>(b);
      ASSERT_EQ(tnk_serv_lsame(&x, &y, 1, 1) != 0, same) << a << ' ' << b;
    }
}

TEST(Lock, LetsOneThreadIn) {
  long count = 0; // plain: only the lock keeps additions from getting lost
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        tnk_serv_lock();
        const long seen = count;
        if (i % 64 == 0) std::this_thread::yield();
        count = seen + 1;
        tnk_serv_unlock();
      }
    });
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(count, 4 * 20000);
}

TEST(Sincos, PutsEachResultInItsPlace) {
  double s, c;
  tnk_serv_libm_sincos(-100.25, &s, &c);
  EXPECT_TRUE(s == std::sin(-100.25) && c == std::cos(-100.25));
  float sf, cf;
  tnk_serv_libm_sincosf(0.5f, &sf, &cf);
  EXPECT_TRUE(sf == std::sin(0.5f) && cf == std::cos(0.5f));
}

} // namespace
