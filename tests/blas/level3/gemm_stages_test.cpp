// The stages of the matrix product on their own: what they choose, how buffers lie, and what a table offers as data.
#include "kernel/frame/complex.h"
#include "reference/gemm.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tnk/blas_level3.h>
#include <tnk/services.h>
#include <vector>

namespace {
int32_t cache_size = 1 << 20;
}
int32_t tnk_serv_get_cache_size(int32_t level) {
  return level == 0 ? cache_size : 0;
}

namespace tnk::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class T> struct Entries;
#define ENTRIES(T, t)                                                                                        \
  template <> struct Entries<T> {                                                                            \
    static inline const tnk_gemm_row *const table = avx_##t##_all_gemm_ker;                                  \
    static inline const int32_t *const chosen = &avx_##t##_opt_gemm_ker;                                     \
    static constexpr auto gemm = tnk_blas_x##t##gemm;                                                        \
    static constexpr auto zero_desc = tnk_blas_##t##gemm_zero_desc;                                          \
    static constexpr auto get_optimal_kernel = tnk_blas_##t##gemm_get_optimal_kernel;                        \
    static constexpr auto get_kernel = tnk_blas_##t##gemm_get_kernel;                                        \
    static constexpr auto num_kernels = tnk_blas_##t##gemm_num_kernels;                                      \
    static constexpr auto get_kernel_version = tnk_blas_##t##gemm_get_kernel_version;                        \
    static constexpr auto api_support = tnk_blas_##t##gemm_api_support;                                      \
    static constexpr auto get_blks_size = tnk_blas_##t##gemm_get_blks_size;                                  \
    static constexpr auto set_blks_size = tnk_blas_##t##gemm_set_blks_size;                                  \
    static constexpr auto free_bufs = tnk_blas_##t##gemm_free_bufs;                                          \
    static constexpr auto mscale = tnk_blas_##t##gemm_mscale;                                                \
  };
ENTRIES(float, s)
ENTRIES(double, d)
ENTRIES(tnk_complex8, c)
ENTRIES(tnk_complex16, z)
#undef ENTRIES

// mr, nr, kr, work factor, tm, tn, tk; rows of a block of A when the cache has 1 MiB.
template <class T> constexpr tnk_int row_of[8] = {};
template <> constexpr tnk_int row_of<float>[8] = {8, 8, 4, 4, 2, 2, 2, 168};
template <> constexpr tnk_int row_of<double>[8] = {4, 8, 4, 4, 2, 2, 2, 84};
template <> constexpr tnk_int row_of<tnk_complex8>[8] = {4, 4, 4, 1, 4, 2, 4, 84};
template <> constexpr tnk_int row_of<tnk_complex16>[8] = {2, 4, 4, 1, 1, 1, 1, 42};

template <class T> class GemmStages : public testing::Test {
protected:
  tnk_gemm_descriptor descriptor;
  GemmStages() {
    std::memset(&descriptor, 0xAB, sizeof descriptor);
    Entries<T>::zero_desc(&descriptor);
  }
};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(GemmStages, Types, );

// A caller may know no more of a row than that it is twenty words.
TYPED_TEST(GemmStages, TableIsData) {
  using T = TypeParam;
  using E = Entries<T>;
  ASSERT_EQ(sizeof *E::table, 20 * 8u);
  int64_t words[20];
  std::memcpy(words, E::table, sizeof words);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(words[i], row_of<T>[i]) << i;
  EXPECT_EQ(words[7], 106);
  for (int i = 8; i < 18; ++i) EXPECT_NE(words[i], 0) << i;
  EXPECT_EQ(words[12] == words[13], !is_complex<T>);
  EXPECT_EQ(words[15] == words[16], !is_complex<T>);
  EXPECT_EQ(words[18] == 0, is_complex<T>);
  EXPECT_EQ(words[19] == 0, is_complex<T>);
  EXPECT_EQ(*E::chosen, 0);
  int32_t rows = -1;
  E::num_kernels(&rows);
  EXPECT_EQ(rows, 1);
  EXPECT_EQ(E::get_kernel_version(), 2);
  EXPECT_EQ(E::api_support(), 1);

  // A product of one tile by what the row alone gives.
  const tnk_gemm_row &row = *E::table;
  alignas(32) T a[8 * 4], b[8 * 4], x[8 * 4], y[8 * 4], c[8 * 8];
  Random random;
  for (int i = 0; i < 32; ++i) x[i] = random.number<T>(), y[i] = random.number<T>();
  const tnk_gemm_panels pa{a, 4 * row.mr, sizeof a, 5}, pb{b, 4 * row.nr, sizeof b, 5};
  const tnk_int k = 4, ldc = 8;
  const T zero{}, unit = one<T>;
  row.copya[0](&row.mr, &k, x, &row.mr, a, &pa, &unit);
  row.copyb[0](&k, &row.nr, y, &k, b, &pb, nullptr);
  row.ker0("N", "N", &row.mr, &row.nr, &k, nullptr, a, &pa, b, &pb, &zero, c, &ldc, nullptr, 2);
  for (tnk_int j = 0; j < row.nr; ++j)
    for (tnk_int i = 0; i < row.mr; ++i) {
      reference::Sum sum;
      for (tnk_int l = 0; l < k; ++l) sum.add(x[i + l * row.mr], y[l + j * k]);
      EXPECT_TRUE(reference::updated(unit, sum, zero, zero, k).holds(c[i + j * ldc])) << i << ", " << j;
    }
}

TYPED_TEST(GemmStages, DescriptorTakesTheRow) {
  using E = Entries<TypeParam>;
  unsigned char bytes[sizeof(tnk_gemm_descriptor)];
  std::memcpy(bytes, &this->descriptor, sizeof bytes);
  EXPECT_EQ(std::count(bytes, bytes + sizeof bytes, 0), static_cast<long>(sizeof bytes));
  EXPECT_EQ(E::get_kernel(1, &this->descriptor), 1);
  EXPECT_EQ(this->descriptor.mr, 0);

  tnk_gemm_descriptor &d = this->descriptor;
  for (const bool by_number : {false, true}) {
    E::zero_desc(&d);
    if (by_number)
      EXPECT_EQ(E::get_kernel(0, &d), 0);
    else
      E::get_optimal_kernel(&d);
    const tnk_gemm_row &row = *E::table;
    const tnk_gemm_row loaded = {d.mr,
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
                                 {d.copya[0], d.copya[1], d.copya[2]},
                                 {d.copyb[0], d.copyb[1], d.copyb[2]},
                                 d.ker0,
                                 d.copya_ext,
                                 d.copyb_ext};
    EXPECT_EQ(std::memcmp(&loaded, &row, sizeof row), 0);
    EXPECT_EQ(d.kernel_index, 0);
    EXPECT_EQ(d.mb + d.nb + d.kb + d.a.size + d.b.size + d.work.size, 0);
  }
}

TYPED_TEST(GemmStages, SizesOfBlocks) {
  using T = TypeParam;
  using E = Entries<T>;
  tnk_gemm_descriptor &d = this->descriptor;
  E::get_optimal_kernel(&d);
  const auto blocks = [&](tnk_int n, tnk_int k) { E::get_blks_size(nullptr, &n, &k, &d); };
  const tnk_int steps[][2] = {{1, 128},   {0, 128},   {100, 128},  {128, 128}, {129, 132},
                              {255, 256}, {256, 256}, {257, 128},  {259, 132}, {300, 152},
                              {511, 256}, {512, 256}, {10000, 256}};
  for (const auto &s : steps) {
    d.kb = 0;
    blocks(8, s[0]);
    EXPECT_EQ(d.kb, s[1]) << s[0];
  }
  const tnk_int columns[][2] = {
      {1, d.nr}, {-3, d.nr}, {9, 9 + d.nr - 1 - 8 % d.nr}, {4999, 5000}, {9000, 5000}};
  for (const auto &s : columns) {
    d.nb = 77; // chosen anew whatever stands there
    blocks(s[0], 300);
    EXPECT_EQ(d.nb, s[1]) << s[0];
  }
  EXPECT_EQ(d.mb, row_of<T>[7]);

  E::set_blks_size(12, 16, 20, &d);
  blocks(40, 400);
  EXPECT_EQ(d.mb, 12);
  EXPECT_EQ(d.nb, 40);
  EXPECT_EQ(d.kb, 20);

  // Blocks of no rows, and a product all the same.
  for (const int32_t size : {0, -1, 6 * 256}) {
    cache_size = size;
    d.mb = 0;
    blocks(40, 400);
    EXPECT_EQ(d.mb, 0);
    const tnk_int m = 19, n = 9, k = 300;
    std::vector<T> a(m * k, one<T>), b(k * n, one<T>), c(m * n, one<T>);
    E::gemm("N", "N", &m, &n, &k, &one<T>, a.data(), &m, b.data(), &k, &one<T>, c.data(), &m);
    for (const T x : c) ASSERT_TRUE((reference::Expected{{301, 0}, 0}.holds(x)));
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
  struct Mode {
    int32_t number;
    const char *order;
    bool allocated;
  } const modes[] = {{100, "awb", true}, {101, "a", true},  {102, "b", true}, {103, "ab", false},
                     {104, "wb", true},  {105, "aw", true}, {106, "w", true}};
  for (const Mode &mode : modes)
    for (const bool clamped : {true, false}) {
      E::zero_desc(&d);
      E::get_optimal_kernel(&d);
      E::set_blks_size(101, 201, 129, &d);
      const auto up = [](tnk_int x, tnk_int unit) { return (x + unit - 1) / unit * unit; };
      const tnk_int mb = up(clamped ? 30 : 101, d.mr), nb = up(201, d.nr), kb = clamped ? 36 : 132;
      ASSERT_EQ(d.get_bufs_size(mode.number, clamped ? 107 : 108, &m, &n, &k, &d), 0);
      const std::string order = mode.order;
      const bool has_a = order.find('a') != order.npos, has_b = order.find('b') != order.npos,
                 has_work = order.find('w') != order.npos;
      EXPECT_EQ(d.a.size, has_a ? element * mb * kb + 512 : 0) << mode.number;
      EXPECT_EQ(d.b.size, has_b ? element * nb * kb + 512 : 0) << mode.number;
      EXPECT_EQ(d.work.size, has_work ? element * kb * d.nr * d.work_factor + 512 : 0) << mode.number;
      EXPECT_EQ(d.a.stride, has_a ? d.mr * kb : 0);
      EXPECT_EQ(d.b.stride, has_b ? d.nr * kb : 0);
      EXPECT_EQ(d.a.shift, has_a ? 12 : 0);
      EXPECT_EQ(d.b.shift, has_b ? 12 : 0);
      EXPECT_EQ(d.work.shift, has_work ? 7 : 0);

      void *raw = &d;
      ASSERT_EQ(d.get_bufs(mode.number, &raw, &d), mode.allocated ? 0 : 1) << mode.number;
      ASSERT_EQ(raw != nullptr, mode.allocated);
      if (!mode.allocated) continue;
      const auto number = [](const void *p) { return reinterpret_cast<tnk_int>(p); };
      tnk_int end = number(raw);
      for (const char buffer : order) {
        const auto [data, size, shift] = buffer == 'a'   ? tnk_gemm_work{d.a.data, d.a.size, d.a.shift}
                                         : buffer == 'b' ? tnk_gemm_work{d.b.data, d.b.size, d.b.shift}
                                                         : d.work;
        EXPECT_EQ(number(data), up(end, tnk_int{1} << shift)) << mode.number << buffer;
        end = number(data) + size;
        std::memset(data, 0, static_cast<std::size_t>(size));
      }
      E::free_bufs(raw);
    }
  for (const int32_t bad : {99, 107, -1}) {
    void *raw = &d;
    EXPECT_EQ(d.get_bufs_size(bad, 107, &m, &n, &k, &d), 1);
    EXPECT_EQ(d.get_bufs(bad, &raw, &d), 1);
    EXPECT_EQ(raw, nullptr);
  }
  EXPECT_EQ(d.get_bufs_size(100, 106, &m, &n, &k, &d), 1);
  EXPECT_EQ(d.get_bufs_size(100, 109, &m, &n, &k, &d), 1);
}

TYPED_TEST(GemmStages, Scale) {
  using T = TypeParam;
  using R = real_of<T>;
  Random random;
  T betas[] = {T{}, one<T>, random.number<T>(), T{}};
  const R not_a_number = static_cast<R>(nan);
  std::memcpy(&betas[3], &not_a_number, sizeof not_a_number);
  for (const T &beta : betas)
    for (const std::size_t shift : {std::size_t{0}, sizeof(R), sizeof(T), std::size_t{1}})
      for (tnk_int m = 0; m <= 70; ++m) {
        const tnk_int n = m % 6, ldc = m + 3;
        Guarded<T> c(static_cast<std::size_t>(ldc * n), shift); // gaps, and with beta = 0 all of C: NaN
        std::vector<T> before(c.size());
        for (tnk_int j = 0; j < n; ++j)
          for (tnk_int i = 0; i < m && !is_zero(beta); ++i)
            c.put(static_cast<std::size_t>(i + j * ldc), random.number<T>());
        for (std::size_t i = 0; i < c.size(); ++i) before[i] = c.get(i);
        Entries<T>::mscale(&m, &n, &beta, c.data(), &ldc);
        ASSERT_TRUE(c.intact());
        for (std::size_t at = 0; at < c.size(); ++at) {
          const T got = c.get(at);
          const bool inside = tnk_int(at) % ldc < m;
          const T wanted = !inside ? before[at] : is_zero(beta) ? T{} : beta * before[at];
          if (std::memcmp(&got, &wanted, sizeof got) == 0) continue;
          ASSERT_TRUE(inside && is_zero(beta) == false &&
                      reference::updated(T{}, {}, beta, before[at], 0).holds(got))
              << m << " " << at;
        }
      }
}

} // namespace
} // namespace tnk::test
