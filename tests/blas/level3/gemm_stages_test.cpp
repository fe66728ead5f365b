// The stages of the matrix product on their own: what they choose, how buffers lie, and what a table offers as data.
#include "family.h"
#include <tnk/services.h>

namespace {
int32_t cache_size = 1 << 20;
}
int32_t tnk_serv_get_cache_size(int32_t level) {
  return level == 0 ? cache_size : 0;
}

namespace tnk::test {
namespace {

// mr, nr, kr, work factor, tm, tn, tk, buffer mode; rows of a block of A when the cache has 1 MiB.
template <class T> constexpr tnk_int row_of[9] = {};
template <> constexpr tnk_int row_of<float>[9] = {8, 8, 4, 4, 2, 2, 2, 106, 168};
template <> constexpr tnk_int row_of<double>[9] = {4, 8, 4, 4, 2, 2, 2, 106, 84};
template <> constexpr tnk_int row_of<tnk_complex8>[9] = {4, 4, 4, 1, 4, 2, 4, 106, 84};
template <> constexpr tnk_int row_of<tnk_complex16>[9] = {2, 4, 4, 1, 1, 1, 1, 106, 42};

template <class T> class GemmStages : public testing::Test {
protected:
  tnk_gemm_descriptor descriptor;
  GemmStages() {
    std::memset(&descriptor, 0xAB, sizeof descriptor);
    Entries<T>::zero_desc(&descriptor);
  }
};
TYPED_TEST_SUITE(GemmStages, Types, );

// A caller may know no more of a row than that it is twenty words; a descriptor takes it whole.
TYPED_TEST(GemmStages, TableIsDataAndDescriptorsTakeIt) {
  using T = TypeParam;
  using E = Entries<T>;
  ASSERT_EQ(sizeof E::row, 20 * 8u);
  int64_t words[20];
  std::memcpy(words, &E::row, sizeof words);
  EXPECT_TRUE(same_bits(words, row_of<T>, 8) && (words[18] == 0) == is_complex<T>);
  int32_t rows = -1;
  E::num_kernels(&rows);
  EXPECT_TRUE(E::chosen == 0 && rows == 1 && E::get_kernel_version() == 2 && E::api_support() == 1);

  tnk_gemm_descriptor &d = this->descriptor;
  EXPECT_EQ(E::get_kernel(1, &d), 1);
  const auto *const bytes = reinterpret_cast<const unsigned char *>(&d);
  EXPECT_EQ(std::count(bytes, bytes + sizeof d, 0), static_cast<long>(sizeof d));
  for (const bool by_number : {false, true}) {
    E::zero_desc(&d);
    if (by_number)
      EXPECT_EQ(E::get_kernel(0, &d), 0);
    else
      E::get_optimal_kernel(&d);
    const tnk_int numbers[] = {d.mr, d.nr, d.kr, d.work_factor, d.tm, d.tn, d.tk, d.buffer_selector};
    EXPECT_TRUE(same_bits(numbers, row_of<T>, 8));
    EXPECT_TRUE(same_bits(d.copya, E::row.copya, 3) && same_bits(d.copyb, E::row.copyb, 3));
    EXPECT_TRUE(d.copya_ext == E::row.copya_ext && d.copyb_ext == E::row.copyb_ext && d.ker0 == E::row.ker0);
  }
}

TYPED_TEST(GemmStages, SizesOfBlocks) {
  using T = TypeParam;
  using E = Entries<T>;
  tnk_gemm_descriptor &d = this->descriptor;
  E::get_optimal_kernel(&d);
  const auto expect = [&d](tnk_int n, tnk_int k, tnk_int mb, tnk_int nb, tnk_int kb) {
    d.nb = 77; // chosen anew whatever stands there
    E::get_blks_size(nullptr, &n, &k, &d);
    EXPECT_TRUE(d.mb == mb && d.nb == nb && d.kb == kb)
        << "n " << n << " k " << k << ": " << d.mb << ' ' << d.nb << ' ' << d.kb;
    E::set_blks_size(0, 0, 0, &d);
  };
  const tnk_int nr = d.nr, mb = row_of<T>[8];
  const tnk_int steps[][2] = {{1, 128},   {0, 128},   {100, 128},  {128, 128}, {129, 132},
                              {255, 256}, {256, 256}, {257, 128},  {259, 132}, {300, 152},
                              {511, 256}, {512, 256}, {10000, 256}};
  for (const auto &[k, kb] : steps) expect(8, k, mb, 8, kb);
  const tnk_int columns[][2] = {{1, nr}, {-3, nr}, {9, 9 + nr - 1 - 8 % nr}, {4999, 5000}, {9000, 5000}};
  for (const auto &[n, nb] : columns) expect(n, 300, mb, nb, 152);
  E::set_blks_size(12, 16, 20, &d);
  expect(40, 400, 12, 40, 20);
  for (const int32_t size : {0, -1, 6 * 256}) {
    cache_size = size;
    expect(40, 300, 0, 40, 152);
    Product<T> p("NN", 19, 9, 300); // blocks of no rows, and a product all the same
    p.call(E::gemm, p.c.memory.data());
    EXPECT_EQ(p.fault(), "");
  }
  cache_size = 1 << 20;
}

// What each mode sizes and where its buffers lie: within one block, in order, apart, and aligned.
TYPED_TEST(GemmStages, Buffers) {
  using T = TypeParam;
  using E = Entries<T>;
  tnk_gemm_descriptor &d = this->descriptor;
  constexpr tnk_int element = sizeof(T);
  const tnk_int m = 30, n = 1000, k = 33;
  const char *const orders[] = {"awb", "a", "b", "ab", "wb", "aw", "w"}; // modes from 100
  const auto up = [](tnk_int x, tnk_int unit) { return (x + unit - 1) / unit * unit; };
  for (int32_t mode = 100; mode <= 106; ++mode)
    for (const bool clamped : {true, false}) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << " clamped " << clamped);
      E::zero_desc(&d);
      E::get_optimal_kernel(&d);
      E::set_blks_size(101, 201, 129, &d);
      const tnk_int mb = up(clamped ? 30 : 101, d.mr), nb = up(201, d.nr), kb = clamped ? 36 : 132;
      ASSERT_EQ(d.get_bufs_size(mode, clamped ? 107 : 108, &m, &n, &k, &d), 0);
      const std::string order = orders[mode - 100];
      void *raw = &d;
      const bool allocated = mode != 103;
      ASSERT_EQ(d.get_bufs(mode, &raw, &d), allocated ? 0 : 1);
      ASSERT_EQ(raw != nullptr, allocated);
      const struct {
        char name;
        tnk_gemm_panels record;
        tnk_int stride, elements, shift;
      } records[] = {{'a', d.a, d.mr * kb, mb * kb, 12},
                     {'w', {d.work.data, 0, d.work.size, d.work.shift}, 0, kb * d.nr * d.work_factor, 7},
                     {'b', d.b, d.nr * kb, nb * kb, 12}};
      const auto number = [](const void *p) { return reinterpret_cast<tnk_int>(p); };
      tnk_int end = number(raw);
      for (const auto &[name, r, stride, elements, shift] : records) {
        const bool has = order.find(name) != order.npos;
        EXPECT_EQ(r.size, has ? element * elements + 512 : 0) << name;
        EXPECT_TRUE(r.stride == (has ? stride : 0) && r.shift == (has ? shift : 0)) << name;
        if (!has || !allocated) continue;
        EXPECT_EQ(number(r.data), up(end, tnk_int{1} << shift)) << name;
        end = number(r.data) + r.size;
        std::memset(r.data, 0, static_cast<std::size_t>(r.size));
      }
      E::free_bufs(raw);
    }
  const int32_t bad[][2] = {{99, 107}, {107, 107}, {-1, 107}, {100, 106}, {100, 109}};
  for (const auto &modes : bad) {
    EXPECT_EQ(d.get_bufs_size(modes[0], modes[1], &m, &n, &k, &d), 1);
    void *raw = &d;
    EXPECT_EQ(d.get_bufs(modes[0] == 100 ? 103 : modes[0], &raw, &d), 1);
    EXPECT_EQ(raw, nullptr);
  }
}

TYPED_TEST(GemmStages, Scale) {
  using T = TypeParam;
  for (const T &beta : {T{}, one<T>, scalar<T>(0.7, -0.4), scalar<T>(nan)})
    for (const std::size_t shift : {std::size_t{0}, sizeof(real_of<T>), sizeof(T), std::size_t{1}})
      for (tnk_int m = 0; m <= 200; m += m < 70 ? 1 : 13) {
        Product<T> p("NN", m, m % 6, 0, one<T>, beta, shift);
        if (shift < 2 && m > 0) p.c.ld = m + static_cast<tnk_int>(shift); // no gap, or one element
        Entries<T>::mscale(&p.m, &p.n, &beta, p.c.memory.data(), &p.c.ld);
        ASSERT_EQ(p.fault(), "") << p.name();
      }
}

} // namespace
} // namespace tnk::test
