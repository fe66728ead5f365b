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

// A caller may know no more of a row than that it is twenty words.
TYPED_TEST(GemmStages, TableIsData) {
  using T = TypeParam;
  using E = Entries<T>;
  ASSERT_EQ(sizeof E::row, 20 * 8u);
  int64_t words[20];
  std::memcpy(words, &E::row, sizeof words);
  for (int i = 0; i < 20; ++i)
    EXPECT_TRUE(i < 8 ? words[i] == row_of<T>[i] : (words[i] == 0) == (i >= 18 && is_complex<T>)) << i;
  int32_t rows = -1;
  E::num_kernels(&rows);
  EXPECT_TRUE(E::chosen == 0 && rows == 1 && E::get_kernel_version() == 2 && E::api_support() == 1);
}

TYPED_TEST(GemmStages, DescriptorTakesTheRow) {
  using E = Entries<TypeParam>;
  tnk_gemm_descriptor &d = this->descriptor;
  unsigned char bytes[sizeof d];
  std::memcpy(bytes, &d, sizeof bytes);
  EXPECT_EQ(std::count(bytes, bytes + sizeof bytes, 0), static_cast<long>(sizeof bytes));
  EXPECT_EQ(E::get_kernel(1, &d), 1);
  EXPECT_EQ(d.mr, 0);
  for (const bool by_number : {false, true}) {
    E::zero_desc(&d);
    if (by_number)
      EXPECT_EQ(E::get_kernel(0, &d), 0);
    else
      E::get_optimal_kernel(&d);
    tnk_gemm_row loaded{d.mr,
                        d.nr,
                        d.kr,
                        d.work_factor,
                        d.tm,
                        d.tn,
                        d.tk,
                        d.buffer_selector,
                        d.get_blks_size,
                        d.get_bufs_size,
                        d.get_bufs,
                        {},
                        {},
                        d.ker0,
                        d.copya_ext,
                        d.copyb_ext};
    std::copy_n(d.copya, 3, loaded.copya);
    std::copy_n(d.copyb, 3, loaded.copyb);
    EXPECT_EQ(std::memcmp(&loaded, &E::row, sizeof loaded), 0);
    EXPECT_EQ(d.kernel_index, 0);
    EXPECT_EQ(d.mb + d.nb + d.kb + d.a.size + d.b.size + d.work.size, 0);
  }
}

TYPED_TEST(GemmStages, SizesOfBlocks) {
  using T = TypeParam;
  using E = Entries<T>;
  tnk_gemm_descriptor &d = this->descriptor;
  E::get_optimal_kernel(&d);
  const tnk_int nr = d.nr, mb = row_of<T>[8], to_tile = 9 + nr - 1 - 8 % nr;
  const struct {
    tnk_int mb_set, kb_set; // kept unless 0; nb is chosen anew whatever stands there
    tnk_int n, k, mb, nb, kb;
    int32_t cache = 1 << 20;
  } cases[] = {
      {0, 0, 8, 1, mb, 8, 128},        {0, 0, 8, 0, mb, 8, 128},
      {0, 0, 8, 100, mb, 8, 128},      {0, 0, 8, 128, mb, 8, 128},
      {0, 0, 8, 129, mb, 8, 132},      {0, 0, 8, 255, mb, 8, 256},
      {0, 0, 8, 256, mb, 8, 256},      {0, 0, 8, 257, mb, 8, 128},
      {0, 0, 8, 259, mb, 8, 132},      {0, 0, 8, 300, mb, 8, 152},
      {0, 0, 8, 511, mb, 8, 256},      {0, 0, 8, 512, mb, 8, 256},
      {0, 0, 8, 10000, mb, 8, 256},    {0, 0, 1, 300, mb, nr, 152},
      {0, 0, -3, 300, mb, nr, 152},    {0, 0, 9, 300, mb, to_tile, 152},
      {0, 0, 4999, 9, mb, 5000, 128},  {0, 0, 9000, 9, mb, 5000, 128},
      {12, 20, 40, 400, 12, 40, 20},   {0, 20, 40, 400, 0, 40, 20, 0},
      {0, 20, 40, 400, 0, 40, 20, -1}, {0, 20, 40, 400, 0, 40, 20, 6 * 256},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "n " << c.n << " k " << c.k << " cache " << c.cache);
    cache_size = c.cache;
    E::set_blks_size(c.mb_set, 77, c.kb_set, &d);
    E::get_blks_size(nullptr, &c.n, &c.k, &d);
    EXPECT_EQ(d.mb, c.mb);
    EXPECT_EQ(d.nb, c.nb);
    EXPECT_EQ(d.kb, c.kb);
    if (c.mb > 0) continue;
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
      const tnk_gemm_panels work = {d.work.data, 0, d.work.size, d.work.shift};
      const struct {
        char name;
        const tnk_gemm_panels &record;
        tnk_int stride, elements, shift;
      } records[] = {{'a', d.a, d.mr * kb, mb * kb, 12},
                     {'b', d.b, d.nr * kb, nb * kb, 12},
                     {'w', work, 0, kb * d.nr * d.work_factor, 7}};
      for (const auto &r : records) {
        const bool has = order.find(r.name) != order.npos;
        EXPECT_EQ(r.record.size, has ? element * r.elements + 512 : 0) << r.name;
        EXPECT_EQ(r.record.stride, has ? r.stride : 0) << r.name;
        EXPECT_EQ(r.record.shift, has ? r.shift : 0) << r.name;
      }
      const auto number = [](const void *p) { return reinterpret_cast<tnk_int>(p); };
      tnk_int end = number(raw);
      for (const char name : allocated ? order : "") {
        const tnk_gemm_panels &r = name == 'a' ? d.a : name == 'b' ? d.b : work;
        EXPECT_EQ(number(r.data), up(end, tnk_int{1} << r.shift)) << name;
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
      for (tnk_int m = 0; m <= 70; ++m) {
        Product<T> p("NN", m, m % 6, 0, one<T>, beta, shift);
        Entries<T>::mscale(&p.m, &p.n, &beta, p.c.memory.data(), &p.c.ld);
        ASSERT_EQ(p.fault(), "") << p.name();
      }
}

} // namespace
} // namespace tnk::test
