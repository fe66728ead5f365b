// The allocator, the temporary slot and the tables.
#include "gmp/records.h"
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

// Blocks of the program's own, filled with ones, by their sizes.
std::map<void *, std::size_t> blocks;
int wrong_sizes = 0;

void *take(std::size_t size) {
  void *const block = std::malloc(size);
  std::memset(block, 0xFF, size);
  blocks[block] = size;
  return block;
}
void give_back(void *block, std::size_t size) {
  const auto at = blocks.find(block);
  if (at == blocks.end() || at->second != size) return void(++wrong_sizes);
  blocks.erase(at);
  std::free(block);
}
void *change(void *block, std::size_t old_size, std::size_t size) {
  void *const other = take(size);
  std::memcpy(other, block, std::min(old_size, size));
  give_back(block, old_size);
  return other;
}

TEST(LimbMemory, ComesFromThePointersAndGoesBackWithItsSize) {
  auto *const allocate = tnk_gmp___gmp_allocate_func_ptr();
  auto *const reallocate = tnk_gmp___gmp_reallocate_func_ptr();
  auto *const release = tnk_gmp___gmp_free_func_ptr();
  EXPECT_TRUE(allocate == tnk_gmp___gmp_default_allocate && release == tnk_gmp___gmp_default_free &&
              reallocate == tnk_gmp___gmp_default_reallocate);
  tnk_gmp___gmp_set_memory_functions(take, change, give_back);
  const int64_t live = service.live;
  {
    Random random(2);
    Z a = random_integer(random, 700), b = random_integer(random, 300), m = random_integer(random, 20), r, s,
      t;
    // From the stack's 256 limbs on, with all methods.
    for (const int n : {10, 64, 65, 66, 201, 300, 8200, 33000}) {
      const Limbs x(static_cast<std::size_t>(n), 3), y(x.size(), 5);
      Limbs product(2 * x.size());
      tnk_gmp___gmpn_mul_n(product.data(), x.data(), y.data(), n);
      tnk_gmp___gmpn_mul(product.data(), x.data(), n, y.data(), n / 3);
    }
    tnk_gmp___gmpz_mul(a, a, a);
    for (const auto &divisor : {a, b, m}) tnk_gmp___gmpz_tdiv_qr(r, s, a, divisor);
    tnk_gmp___gmpz_fdiv_q(r, b, a);
    for (int even = 0; even < 2; ++even) {
      tnk_gmp___gmpz_powm(r, b, m, m);
      tnk_gmp___gmpz_mul_2exp(m, m, 3);
    }
    tnk_gmp___gmpz_gcdext(r, s, t, a, b);
    tnk_gmp___gmpz_jacobi(a, b);
    tnk_gmp___gmpz_root(r, a, 3);
    tnk_gmp___gmpz_perfect_power_p(MADE(pow_ui, b, 3));
    tnk_gmp___gmpz_fac_ui(r, 999);
    tnk_gmp___gmpz_remove(r, r, MADE(set_ui, 6));
    tnk_gmp___gmpz_lucnum2_ui(r, s, 5000);
    tnk_gmp___gmpz_bin_ui(t, a, 20);
    tnk_gmp___gmpz_ior(a, a, b);
    char *const text = tnk_gmp___gmpz_get_str(nullptr, 10, m);
    EXPECT_EQ(blocks[text], std::strlen(text) + 1);
    give_back(text, std::strlen(text) + 1);
    std::size_t count;
    void *const words = tnk_gmp___gmpz_export(nullptr, &count, 1, 3, 0, 0, m);
    give_back(words, 3 * count);
  }

  tnk_gmp_integer r[3];
  for (const uint64_t bits : {0, 512, 513, 4000}) {
    tnk_gmp___gmpz_init2(r, bits);
    EXPECT_EQ(r->alloc, std::max(8, static_cast<int>(bits + 63) / 64));
    EXPECT_EQ(blocks[r->d], static_cast<std::size_t>(r->alloc) * 8);
    EXPECT_TRUE(r->size == 0 && std::count(r->d, r->d + r->alloc, 0u) == r->alloc);
    tnk_gmp___gmpz_clear(r);
  }
  tnk_gmp___gmpz_array_init(r, 3, 600);
  for (auto &record : r) {
    EXPECT_TRUE(record.alloc == 10 && record.size == 0);
    tnk_gmp___gmpz_setbit(&record, 150);
    EXPECT_EQ(tnk_gmp___gmpz_realloc(&record, 3), record.d);
    EXPECT_TRUE(record.alloc == 3 && record.size == 3);
    tnk_gmp___gmpz_realloc2(&record, 128);
    EXPECT_TRUE(record.alloc == 2 && record.size == 0);
    tnk_gmp___gmpz_realloc2(&record, 0);
    EXPECT_EQ(record.alloc, 1);
    tnk_gmp___gmpz_clear(&record);
  }
  EXPECT_TRUE(blocks.empty() && wrong_sizes == 0 && service.live == live);
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
  EXPECT_EQ(tnk_gmp_log_table[0], 0);
  for (int b = 1; b < 102; ++b)
    EXPECT_EQ(tnk_gmp_log_table[b], static_cast<double>(std::log(static_cast<long double>(b))));
}

} // namespace
