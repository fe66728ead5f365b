// The allocator, the temporary slot and the tables.
#include "tests/gmp/limbs.h"
#include <cmath>
#include <cstdlib>
#include <map>
#include <string>
#include <tnk/services.h>

namespace {

using namespace tnk::test;

// Stands in for the service: null sends its calls on. Its blocks begin `odd` bytes past a boundary.
struct Service {
  int odd = -1;
  int64_t size = 0, live = 0;
  void *block = nullptr;
} service;

} // namespace

void *tnk_serv_tnk_malloc(int64_t size, int32_t alignment) {
  const int odd = std::max(service.odd, 0);
  char *const block =
      static_cast<char *>(std::aligned_alloc(64, static_cast<std::size_t>((size + odd + 127) / 64 * 64)));
  service.size = size;
  ++service.live;
  return service.block = block + odd + 0 * alignment;
}
void tnk_serv_tnk_free(void *block) {
  if (!block) return;
  --service.live;
  std::free(static_cast<char *>(block) - std::max(service.odd, 0));
}

namespace {

TEST(LimbMemory, Blocks) {
  for (service.odd = 0; service.odd < 32; ++service.odd) {
    const int64_t live = service.live;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{100}, std::size_t{4096}}) {
      auto *const user = static_cast<unsigned char *>(tnk_gmp___gmp_default_allocate(size));
      const auto *const block = static_cast<unsigned char *>(service.block);
      EXPECT_EQ(service.size, static_cast<int64_t>(size) + 73);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(user) % 32, 0u);
      EXPECT_EQ(user[-9], user - block - 9); // the pad, which says how long it is, and the size
      EXPECT_EQ(user[-9], 55 - service.odd);
      int64_t noted;
      std::memcpy(&noted, user - 8, sizeof noted);
      EXPECT_EQ(noted, static_cast<int64_t>(size));
      std::memset(user, 'x', size);
      // Told a wrong old size, it knows better.
      auto *const larger = static_cast<char *>(tnk_gmp___gmp_default_reallocate(user, 1, size + 9));
      EXPECT_EQ(std::string(larger, size), std::string(size, 'x'));
      auto *const smaller = static_cast<char *>(tnk_gmp___gmp_default_reallocate(larger, 1 << 20, size / 2));
      EXPECT_EQ(std::string(smaller, size / 2), std::string(size / 2, 'x'));
      tnk_gmp___gmp_default_free(smaller, 12345);
    }
    tnk_gmp___gmp_default_free(tnk_gmp___gmp_default_reallocate(nullptr, 5, 8), 8);
    EXPECT_EQ(service.live, live);
  }
  service.odd = -1;
}

// Blocks of the program's own, by address.
std::map<void *, std::size_t> own;
int wrong = 0, reallocated = 0;

void give_back(void *block, std::size_t size) {
  wrong += own.count(block) == 0 || own[block] != size;
  own.erase(block);
  std::free(block);
}

TEST(LimbMemory, Pointers) {
  auto *const allocate = tnk_gmp___gmp_allocate_func_ptr();
  auto *const reallocate = tnk_gmp___gmp_reallocate_func_ptr();
  auto *const release = tnk_gmp___gmp_free_func_ptr();
  EXPECT_EQ(allocate, tnk_gmp___gmp_default_allocate);
  EXPECT_EQ(reallocate, tnk_gmp___gmp_default_reallocate);
  EXPECT_EQ(release, tnk_gmp___gmp_default_free);
  tnk_gmp___gmp_set_memory_functions(
      [](std::size_t size) {
        void *const block = std::malloc(size);
        own[block] = size;
        return block;
      },
      [](void *block, std::size_t old_size, std::size_t new_size) {
        ++reallocated;
        wrong += block && own[block] != old_size;
        own.erase(block);
        block = std::realloc(block, new_size);
        own[block] = new_size;
        return block;
      },
      give_back);
  const int64_t live = service.live;
  Random random;
  // On every path: from the stack's 256 limbs on, with all methods, and into a record that has to grow.
  for (const int32_t n : {10, 64, 65, 66, 201, 300, 8200, 33000}) {
    const Limbs a = made(random, n, any), b = made(random, n, ones);
    Limbs r(2 * a.size());
    tnk_gmp___gmpn_mul_n(r.data(), a.data(), b.data(), n);
    tnk_gmp___gmpn_mul(r.data(), a.data(), n, b.data(), n / 3);
    tnk_gmp_integer x{2 * n, 2 * n, r.data()}, y{n, n, const_cast<limb *>(a.data())}, q{0, 0, nullptr},
        rest{0, 0, nullptr};
    r.back() |= 1;
    if (n > 8200) continue;
    tnk_gmp_tnk_gmp_div_qr(&q, &rest, &x, &y);
    tnk_gmp_tnk_gmp_free(q.d, sizeof(limb) * static_cast<std::size_t>(q.alloc));
    tnk_gmp_tnk_gmp_free(rest.d, sizeof(limb) * static_cast<std::size_t>(rest.alloc));
  }
  EXPECT_EQ(service.live, live);
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(reallocated, 14);
  EXPECT_EQ(own.size(), 0u);
  tnk_gmp___gmp_set_memory_functions(allocate, reallocate, release);
}

TEST(LimbMemory, TemporarySlot) {
  const int64_t live = service.live;
  void *const first = tnk_gmp__imptmpmalloc(100);
  EXPECT_EQ(tnk_gmp___imp_tmp_storage, first);
  EXPECT_EQ(tnk_gmp___imp_tmp_storage_size, 100u);
  void *const second = tnk_gmp__imptmpmalloc(200); // does not release the first
  EXPECT_EQ(service.live, live + 2);
  EXPECT_NE(first, second);
  tnk_gmp__imptmpmark();
  EXPECT_EQ(tnk_gmp___imp_tmp_storage, nullptr);
  EXPECT_EQ(service.live, live + 1);
  tnk_gmp__imptmpfree(); // nothing is there
  tnk_gmp__imptmpmark();
  tnk_gmp___imp_tmp_storage = first;
  tnk_gmp__imptmpfree();
  EXPECT_EQ(service.live, live);
  tnk_gmp___imp_tmp_storage = nullptr;
}

TEST(LimbMemory, Tables) {
  const std::string lower = tnk_gmp_DigitsLower, upper = tnk_gmp_DigitsUpper;
  ASSERT_EQ(lower.size(), 36u);
  ASSERT_EQ(upper.size(), 36u);
  for (int digit = 0; digit < 36; ++digit) {
    const char text[] = {lower[static_cast<std::size_t>(digit)], 0};
    EXPECT_EQ(std::strtol(text, nullptr, 36), digit);
    EXPECT_EQ(std::toupper(text[0]), upper[static_cast<std::size_t>(digit)]);
  }
  EXPECT_EQ(tnk_gmp_log_table[0], 0);
  for (int b = 1; b < 102; ++b)
    EXPECT_EQ(tnk_gmp_log_table[b], static_cast<double>(std::log(static_cast<long double>(b))));
}

} // namespace
