// The whole matrix product, by its entry, its plain path and every version of its loops, against the definition.
#include "family.h"
#include "support/error_recorder.h"
#include "support/fault_allocator.h"

namespace tnk::test {
namespace {

template <class T> class Gemm : public testing::Test {};
TYPED_TEST_SUITE(Gemm, Types, );

// Ways to have a product: the entry, the plain path, or par with that version, where blocks may be set before.
enum : int { entry = 1000, plain };
constexpr int versions[] = {2, 4, 8, 16, 32, 64};
struct Blocks {
  tnk_int mb = 0, nb = 0, kb = 0;
};

template <class T> int run(Product<T> &p, int way, Blocks blocks = {}) {
  using E = Entries<T>;
  if (way == entry || way == plain) return p.call(way == entry ? E::gemm : E::pst, p.c.memory.data()), 0;
  tnk_gemm_descriptor descriptor;
  E::zero_desc(&descriptor);
  E::get_optimal_kernel(&descriptor);
  E::set_blks_size(blocks.mb, blocks.nb, blocks.kb, &descriptor);
  const int32_t failed = p.call(E::par, p.c.memory.data(), way, &descriptor);
  if (way == 64 && !is_zero(p.beta)) p.beta = one<T>; // other scales are the caller's affair there
  return failed;
}
template <class T> void check(Product<T> &&p, int way, Blocks blocks = {}) {
  SCOPED_TRACE(testing::Message() << "way " << way << " blocks " << blocks.mb << ' ' << blocks.nb << ' '
                                  << blocks.kb << ' ' << p.name());
  ASSERT_EQ(run(p, way, blocks), 0);
  ASSERT_EQ(p.fault(), "");
}

template <class T>
const std::vector<const char *> letters =
    is_complex<T> ? std::vector<const char *>{"NN", "NT", "NC", "TN", "TT", "TC", "CN", "CT", "CC"}
                  : std::vector<const char *>{"NN", "NT", "TN", "TT"};

// Past two tiles of each type with every rest, in each dimension. Each two of m, n and k meet four times for each of four
// pairs of letters, or twice for each of nine, in Latin squares.
TYPED_TEST(Gemm, EveryTwoSmallDimensions) {
  using T = TypeParam;
  std::vector<tnk_int> sizes;
  for (tnk_int size = 1; size <= 38; size += size < 24 ? 1 : 7) sizes.push_back(size);
  std::size_t first = 0;
  for (const char *pair : letters<T>) {
    ++first;
    for (std::size_t i = 0; i < sizes.size(); ++i)
      for (std::size_t j = 0; j < sizes.size(); ++j)
        for (std::size_t square = 0; square < 22; square += is_complex<T> ? 13 : 7) {
          const tnk_int k = sizes[(i + j + square + first) % sizes.size()];
          ASSERT_NO_FATAL_FAILURE(
              check(Product<T>(pair, sizes[i], sizes[j], k, scalar<T>(0.7, -0.4), one<T>, sizeof(T)), entry));
        }
  }
}

// Letters of both cases and unknown ones, scalars of every kind, addresses that vectors or elements do not like.
TYPED_TEST(Gemm, OptionsScalarsAndAddresses) {
  using T = TypeParam;
  const T scalars[] = {
      scalar<T>(0),      one<T>,           scalar<T>(-1), scalar<T>(0.7), scalar<T>(nan),
      scalar<T>(1, 0.5), scalar<T>(0, -2),
  };
  const std::size_t shifts[] = {0, sizeof(real_of<T>), sizeof(T), 1};
  const tnk_int shapes[][3] = {{3, 5, 2},  {9, 2, 21}, {2, 19, 9},  {17, 23, 13},
                               {33, 9, 3}, {5, 9, 0},  {19, 12, -4}};
  int turn = 0;
  for (const char transa : std::string("NnTtCcX"))
    for (const char transb : std::string("NnTtCcX"))
      for (const auto &s : shapes)
        for (const T &alpha : scalars)
          for (const T &beta : scalars) {
            const char pair[] = {transa, transb};
            const int way = ++turn % 3 == 0 ? plain : turn % 3 == 1 ? entry : 2;
            ASSERT_NO_FATAL_FAILURE(
                check(Product<T>(pair, s[0], s[1], s[2], alpha, beta, shifts[turn / 3 % 4]), way));
          }
}

// beta first, and what must not be read: null stands for A and B.
TYPED_TEST(Gemm, OperandsThatAreNotRead) {
  using T = TypeParam;
  const tnk_int shapes[][3] = {{9, 10, 5}, {9, 10, 0}, {9, 10, -3}, {0, 10, 5}, {9, -1, 5}};
  const tnk_int ld = 9;
  std::vector<T> c(90, scalar<T>(3, -1));
  const T two = scalar<T>(2);
  for (const auto &[m, n, k] : shapes) {
    const T alpha = m == 9 && n == 10 && k == 5 ? T{} : scalar<T>(nan, nan);
    Entries<T>::gemm("N", "T", &m, &n, &k, &alpha, nullptr, &ld, nullptr, &ld, &two, c.data(), &ld);
  }
  for (const T x : c) ASSERT_TRUE((reference::holds({24, is_complex<T> ? -8.0L : 0.0L}, x)));
}

TYPED_TEST(Gemm, EveryVersionWithAnyBlocks) {
  using T = TypeParam;
  const Blocks blocks[] = {{0, 0, 0},    {8, 16, 12},  {1, 1, 1}, {5, 7, 3},
                           {16, 9, 300}, {-4, -2, -1}, {0, 5, 6}};
  const tnk_int shapes[][3] = {{1, 1, 1},    {3, 2, 40},  {8, 8, 4}, {37, 29, 5},
                               {40, 33, 61}, {13, 40, 9}, {6, 5, 0}};
  std::size_t turn = 0;
  for (const int version : versions)
    for (const auto &s : shapes)
      for (const auto &b : blocks)
        for (const double beta : {0.0, 1.0, -0.5})
          for (const double alpha : {0.0, 0.7}) {
            const char *pair = letters<T>[++turn % letters<T>.size()];
            ASSERT_NO_FATAL_FAILURE(check(Product<T>(pair, s[0], s[1], s[2], scalar<T>(alpha, alpha),
                                                     scalar<T>(beta), turn % 2 ? sizeof(T) : 1),
                                          version, b));
          }
  for (const int unknown : {0, 1, 3, -2, 128}) {
    Product<T> p("NN", 9, 9, 9, one<T>, scalar<T>(2));
    EXPECT_EQ(run(p, unknown), 1);
    p.beta = one<T>;
    EXPECT_EQ(p.fault(false), "");
  }
}

// What an element is to the bit when alpha is 1 or -1: each block along k summed in order and added, whatever else the
// product has and whichever path it takes.
template <class T> std::string order_fault(const Product<T> &p, tnk_int kb) {
  for (tnk_int j = 0; j < p.n; ++j)
    for (tnk_int i = 0; i < p.m; ++i) {
      T expected = p.before[static_cast<std::size_t>(i + j * p.c.ld)];
      if (is_zero(p.beta))
        expected = T{};
      else if (!is_one(p.beta))
        expected = p.beta * expected;
      for (tnk_int l = 0; l < p.k; l += kb)
        expected += sum_in_order<T>(
            l, std::min(l + kb, p.k), [&](tnk_int step) { return p.alpha * p.a.get(i, step); },
            [&](tnk_int step) { return p.b.get(step, j); });
      if (const T got = p.c.get(i, j); !same_bits(&got, &expected))
        return "at " + std::to_string(i) + ", " + std::to_string(j);
    }
  return "";
}

TYPED_TEST(Gemm, OneOrderOfSums) {
  using T = TypeParam;
  using E = Entries<T>;
  const tnk_int shapes[][2] = {{1, 1},  {1, 40}, {2, 3},   {3, 17},  {4, 4},  {5, 8},  {7, 7},
                               {8, 6},  {9, 9},  {12, 1},  {21, 3},  {33, 9}, {40, 2}, {18, 26},
                               {64, 9}, {9, 65}, {64, 64}, {65, 64}, {64, 65}}; // around one block
  ErrorRecorder errors; // memory that is refused moves no bit
  const std::size_t shifts[] = {0, sizeof(real_of<T>), sizeof(T), 1};
  std::size_t turn = 0;
  for (const tnk_int k : {1, 2, 3, 4, 5, 6, 7, 8, 21, 63, 64, 65, 254, 257, 259, 301, 513}) {
    tnk_gemm_descriptor blocks;
    E::zero_desc(&blocks);
    E::get_optimal_kernel(&blocks);
    const tnk_int n = 1;
    E::get_blks_size(nullptr, &n, &k, &blocks);
    for (const char *pair : letters<T>)
      for (const auto &s : shapes)
        for (const int way : {+entry, +plain, 2}) {
          if (s[0] + s[1] > 60 && (k < 63 || k > 65)) continue;
          allocations.reset();
          allocations.refuse = turn % 7 == 0 ? 1 : 0;
          const T beta = turn % 3 == 0 ? T{} : turn % 3 == 1 ? one<T> : scalar<T>(0.7, -0.4);
          Product<T> p(pair, s[0], s[1], k, scalar<T>(turn % 2 ? -1 : 1), beta, shifts[turn % 4]);
          if (++turn % 5 == 0) // sums of zero, and elements of C that are -0
            for (std::size_t i = 0; i < p.before.size(); ++i) {
              p.before[i] = -1 * T{};
              p.c.memory.put(i, p.before[i]);
              p.b.memory.put(i % p.b.memory.size(), T{});
            }
          ASSERT_EQ(run(p, way), 0);
          ASSERT_EQ(order_fault(p, blocks.kb), "") << p.name() << " way " << way;
        }
  }
}

TYPED_TEST(Gemm, AroundTheBlocks) {
  using T = TypeParam;
  for (const tnk_int n : {4999, 5000, 5001, 5009})
    ASSERT_NO_FATAL_FAILURE(check(Product<T>("NT", 9, n, 6, one<T>, T{}, sizeof(T)), entry));
  for (const tnk_int m : {679, 680, 681, 1400}) // past mb of every type
    ASSERT_NO_FATAL_FAILURE(check(Product<T>("NN", m, 9, 6, one<T>, T{}, sizeof(T)), entry));
}

// One scratch block a product, given back. Without it the entry and versions 2 and 4 still end right.
TYPED_TEST(Gemm, MemoryThatIsRefused) {
  using T = TypeParam;
  ErrorRecorder errors;
  for (const int way : {+entry, 2, 4, 8, 16, 32, 64})
    for (const bool refused : {false, true}) {
      Product<T> p("NT", 60, 50, 70, scalar<T>(0.7, 0.2), scalar<T>(-0.5));
      allocations.reset();
      allocations.refuse = refused ? 1 : 0;
      const bool has_plain_path = way == entry || way < 8, right = has_plain_path || !refused;
      EXPECT_EQ(run(p, way), right ? 0 : 1) << way;
      EXPECT_EQ(p.fault(right), "") << way;
      EXPECT_TRUE(allocations.made == !refused && allocations.live == 0 && allocations.overrun == 0) << way;
      EXPECT_EQ(errors.take().routine, refused ? "xgemm" : "");
    }
}

} // namespace
} // namespace tnk::test
