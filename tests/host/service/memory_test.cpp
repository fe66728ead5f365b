#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <malloc.h>
#include <thread>
#include <tnk/services.h>

#include "tests/support/error_recorder.h"

// Under the sanitizers, too, an impossible request is to come back as null.
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}
extern "C" const char *__tsan_default_options() {
  return __asan_default_options();
}

namespace {

using tnk::test::ErrorRecorder;

struct Partners {
  const char *name;
  void *(*allocate)(int64_t size, int32_t alignment);
  void (*release)(void *block);
  int alignment_position;
};
const Partners families[] = {
    {"tnk_serv_allocate", tnk_serv_allocate, tnk_serv_deallocate, 2},
    {"tnk_serv_tnk_malloc", tnk_serv_tnk_malloc, tnk_serv_tnk_free, 2},
    {"tnk_serv_tnk_calloc",
     [](int64_t size, int32_t alignment) { return tnk_serv_tnk_calloc(1, size, alignment); },
     tnk_serv_tnk_free, 3},
};

TEST(Memory, EveryPowerOfTwoIsAnAlignment) {
  for (const Partners &family : families)
    for (int32_t alignment = 1; alignment <= 1 << 20; alignment *= 2)
      for (const int64_t size : {0, 1, 127, 128, 5000}) {
        void *block = family.allocate(size, alignment);
        ASSERT_NE(block, nullptr) << family.name << ' ' << size << ' ' << alignment;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % static_cast<std::uintptr_t>(alignment), 0u);
        std::memset(block, 0x5A, static_cast<std::size_t>(size));
        family.release(block);
      }
}

TEST(Memory, ImpossibleSizesGiveNullInSilence) {
  ErrorRecorder errors;
  for (const Partners &family : families)
    for (const int64_t size : {int64_t{-1}, INT64_MIN, INT64_MAX, INT64_MAX - 127, int64_t{1} << 60})
      EXPECT_EQ(family.allocate(size, 128), nullptr) << family.name << ' ' << size;
  const int64_t root = int64_t{1} << 32;
  EXPECT_EQ(tnk_serv_tnk_calloc(root, root, 16), nullptr);     // 2^64: the low 64 bits of the product are 0
  EXPECT_EQ(tnk_serv_tnk_calloc(root, root / 2, 16), nullptr); // 2^63
  EXPECT_EQ(tnk_serv_tnk_calloc(-1, -1, 16), nullptr);
  EXPECT_EQ(tnk_serv_tnk_calloc(-1, 8, 16), nullptr);
  EXPECT_EQ(errors.last().count, 0);
}

TEST(Memory, AnAlignmentThatIsNoPowerOfTwoIsReported) {
  ErrorRecorder errors;
  for (const Partners &family : families)
    for (const int32_t alignment : {0, 3, 96, -8, INT32_MIN}) {
      EXPECT_EQ(family.allocate(64, alignment), nullptr);
      EXPECT_EQ(errors.bad_argument(), std::string(family.name) + ": argument " +
                                           std::to_string(family.alignment_position) + " (alignment) is " +
                                           std::to_string(alignment) + ", expected a power of two");
    }
}

TEST(Memory, CallocClearsMemoryThatWasUsedBefore) {
  constexpr std::size_t size = 3 * 1000;
  for (int round = 0; round < 4; ++round) {
    auto *block = static_cast<unsigned char *>(tnk_serv_tnk_calloc(3, 1000, 16));
    ASSERT_NE(block, nullptr);
    for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(block[i], 0) << i;
    std::memset(block, 0xFF, size);
    tnk_serv_tnk_free(block);
  }
}

// Small blocks may be the one that a thread keeps; no two callers may ever hold the same, whichever thread released it.
TEST(Memory, ScratchBlocksInUseAreDistinct) {
  tnk_serv_deallocate(nullptr);
  tnk_serv_tnk_free(nullptr);
  const auto use = [] {
    for (int round = 0; round < 100; ++round) {
      constexpr std::size_t sizes[] = {131072, 64, 200000};
      unsigned char *blocks[3];
      for (int i = 0; i < 3; ++i) {
        blocks[i] = static_cast<unsigned char *>(
            tnk_serv_allocate(static_cast<int64_t>(sizes[(i + round) % 3]), 128));
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(blocks[i]) % 128, 0u);
        std::memset(blocks[i], i + 1, sizes[(i + round) % 3]);
      }
      for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(blocks[i][0] == i + 1 && blocks[i][sizes[(i + round) % 3] - 1] == i + 1);
      std::thread([&] { tnk_serv_deallocate(blocks[round % 3]); }).join();
      for (int i = 0; i < 3; ++i)
        if (i != round % 3) tnk_serv_deallocate(blocks[i]);
    }
  };
  std::thread other(use);
  use();
  other.join();
}

#if !defined(TNK_CHECK_BLOCKS) && !defined(__SANITIZE_THREAD__) // which has an allocator of its own
// Bytes that the C library's allocator has given out.
std::size_t bytes_in_use() {
  const auto count = mallinfo2();
  return count.uordblks + count.hblkhd;
}

TEST(Memory, AThreadKeepsOneScratchBlockUntilItEnds) {
  constexpr std::size_t kept = 131072;
  const std::size_t before = bytes_in_use();
  std::thread([] {
    const std::size_t none = bytes_in_use();
    void *const block = tnk_serv_allocate(1, 128);
    const std::size_t one = bytes_in_use();
    EXPECT_TRUE(one >= none + kept && one < none + 2 * kept);
    void *const other = tnk_serv_allocate(1000, 128); // the kept one is lent
    EXPECT_TRUE(bytes_in_use() > one && bytes_in_use() < one + kept);
    tnk_serv_deallocate(other);
    const std::size_t lent = bytes_in_use();
    tnk_serv_deallocate(tnk_serv_allocate(8 * kept, 128));
    EXPECT_EQ(bytes_in_use(), lent) << "a large one is not kept in its place";
    for (int round = 0; round < 3; ++round) {
      tnk_serv_deallocate(round == 0 ? block : tnk_serv_allocate(kept, 128));
      EXPECT_EQ(bytes_in_use(), one) << "the block stays and serves again";
    }
    tnk_serv_deallocate(tnk_serv_allocate(kept + 1, 128));
    EXPECT_EQ(bytes_in_use(), one) << "a larger one goes back";
  }).join();
  EXPECT_LT(bytes_in_use(), before + kept) << "the thread's end gives it back";
}
#endif

TEST(Memory, CheckPtrReportsNullOnly) {
  ErrorRecorder errors;
  int something = 0;
  EXPECT_EQ(tnk_serv_check_ptr(&something, "xgemm"), 0);
  EXPECT_EQ(errors.last().count, 0);
  EXPECT_NE(tnk_serv_check_ptr(nullptr, "xgemm"), 0);
  const auto seen = errors.take();
  EXPECT_TRUE(seen.count == 1 && seen.kind == TNK_ERROR_MEMORY && seen.routine == "xgemm" &&
              seen.position == 0);
  EXPECT_NE(tnk_serv_check_ptr(nullptr, nullptr), 0);
  EXPECT_EQ(errors.take().message, "?: no memory for a work array");
}

#ifdef TNK_CHECK_BLOCKS
TEST(MemoryDeathTest, AWrongReleaseStopsTheProgram) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      tnk_serv_tnk_free(tnk_serv_allocate(64, 128)),
      "tnk: tnk_serv_tnk_free: argument 1 \\(block\\) is a block of tnk_serv_allocate, expected a live "
      "block of tnk_serv_tnk_malloc");
  EXPECT_DEATH(tnk_serv_deallocate(tnk_serv_tnk_calloc(8, 8, 16)), "is a block of tnk_serv_tnk_malloc");
  void *const block = tnk_serv_allocate(64, 128);
  EXPECT_DEATH((tnk_serv_deallocate(block), tnk_serv_deallocate(block)), "no live block");
  int foreign = 0;
  EXPECT_DEATH(tnk_serv_deallocate(&foreign), "no live block");
  tnk_serv_deallocate(block);
}
#endif

} // namespace
