// The whole matrix product, by its entry, its plain path and every version of its loops, against the definition.
#include "reference/gemm.h"
#include "support/error_recorder.h"
#include "support/fault_allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <tnk/blas_level3.h>

namespace tnk::test {
namespace {

using reference::Expected;
using reference::Sum;

template <class T> struct Entries;
#define ENTRIES(T, t)                                                                                        \
  template <> struct Entries<T> {                                                                            \
    static constexpr auto gemm = tnk_blas_x##t##gemm;                                                        \
    static constexpr auto par = tnk_blas_x##t##gemm_par;                                                     \
    static constexpr auto pst = tnk_blas_##t##gemm_pst;                                                      \
    static constexpr auto zero_desc = tnk_blas_##t##gemm_zero_desc;                                          \
    static constexpr auto get_optimal_kernel = tnk_blas_##t##gemm_get_optimal_kernel;                        \
    static constexpr auto set_blks_size = tnk_blas_##t##gemm_set_blks_size;                                  \
  };
ENTRIES(float, s)
ENTRIES(double, d)
ENTRIES(tnk_complex8, c)
ENTRIES(tnk_complex16, z)
#undef ENTRIES

template <class T> class Gemm : public testing::Test {};
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;
TYPED_TEST_SUITE(Gemm, Types, );

template <class T> T scalar(double re, double im) {
  using R = real_of<T>;
  if constexpr (is_complex<T>)
    return {static_cast<R>(re), static_cast<R>(im)};
  else
    return static_cast<R>(re);
}
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Ways to have a product: the entry, the plain path, or par with that version.
enum : int { entry = 1000, plain };
constexpr int versions[] = {2, 4, 8, 16, 32, 64};

template <class T> struct Case {
  char transa, transb;
  tnk_int m, n, k;
  T alpha, beta;
  std::size_t shift = 0;          // of A, B and C, in bytes
  tnk_int mb = 0, nb = 0, kb = 0; // blocks set before par
  bool c_is_nan = false;

  std::string name(int way) const {
    char text[200];
    std::snprintf(text, sizeof text, "way %d %c%c m %d n %d k %d alpha %g beta %g shift %d blocks %d %d %d",
                  way, transa, transb, int(m), int(n), int(k), double(reference::Wide::of(alpha).re),
                  double(reference::Wide::of(beta).re), int(shift), int(mb), int(nb), int(kb));
    return text;
  }
};

// One product and its operands; rows and columns beyond them are NaN and guarded.
template <class T> struct Product {
  Case<T> q;
  bool ta = reference::is_transposed(q.transa), tb = reference::is_transposed(q.transb);
  tnk_int lda = (ta ? q.k : q.m) + 3, ldb = (tb ? q.n : q.k) + 1, ldc = q.m + 2;
  Guarded<T> a, b, c;
  std::vector<T> before;

  static std::size_t area(tnk_int ld, tnk_int columns) {
    return static_cast<std::size_t>(std::max<tnk_int>(0, ld * columns));
  }
  Product(const Case<T> &with, Random &random)
      : q(with), a(area(lda, ta ? q.m : q.k), q.shift), b(area(ldb, tb ? q.k : q.n), q.shift),
        c(area(ldc, q.n), q.shift), before(c.size()) {
    const auto fill = [&](Guarded<T> &x, tnk_int ld, tnk_int rows) {
      for (std::size_t i = 0; i < x.size(); ++i)
        x.put(i, tnk_int(i) % ld < rows ? random.number<T>() : scalar<T>(nan, nan));
    };
    fill(a, lda, ta ? q.k : q.m);
    fill(b, ldb, tb ? q.n : q.k);
    fill(c, ldc, q.c_is_nan ? 0 : q.m);
    for (std::size_t i = 0; i < before.size(); ++i) before[i] = c.get(i);
  }

  int run(int way) {
    using E = Entries<T>;
    if (way == entry || way == plain) {
      (way == entry ? E::gemm : E::pst)(&q.transa, &q.transb, &q.m, &q.n, &q.k, &q.alpha, a.data(), &lda,
                                        b.data(), &ldb, &q.beta, c.data(), &ldc);
      return 0;
    }
    tnk_gemm_descriptor descriptor;
    E::zero_desc(&descriptor);
    E::get_optimal_kernel(&descriptor);
    E::set_blks_size(q.mb, q.nb, q.kb, &descriptor);
    return E::par(&q.transa, &q.transb, &q.m, &q.n, &q.k, &q.alpha, a.data(), &lda, b.data(), &ldb, &q.beta,
                  c.data(), &ldc, way, &descriptor);
  }

  // What is wrong with C, if anything. Its gaps must have the bits they had.
  std::string fault(bool with_sum = true) const {
    for (tnk_int j = 0; j < q.n; ++j)
      for (tnk_int i = 0; i < ldc; ++i) {
        const auto at = static_cast<std::size_t>(i + j * ldc);
        const T got = c.get(at);
        if (i >= q.m) {
          if (std::memcmp(&got, &before[at], sizeof got) != 0) return "gap of C changed";
          continue;
        }
        Sum sum;
        for (tnk_int l = 0; l < q.k && with_sum; ++l)
          sum.add(
              reference::apply(q.transa, a.get(static_cast<std::size_t>(ta ? l + i * lda : i + l * lda))),
              reference::apply(q.transb, b.get(static_cast<std::size_t>(tb ? j + l * ldb : l + j * ldb))));
        if (!reference::updated(q.alpha, sum, q.beta, before[at], with_sum ? q.k : 0).holds(got))
          return "element " + std::to_string(i) + ", " + std::to_string(j) + " is " +
                 std::to_string(double(reference::Wide::of(got).re));
      }
    return a.intact() && b.intact() && c.intact() ? "" : "written outside";
  }
};

template <class T> void check(const Case<T> &q, int way, Random &random) {
  Product<T> p(q, random);
  ASSERT_EQ(p.run(way), 0) << q.name(way);
  if (way == 64 && !is_zero(q.beta)) p.q.beta = one<T>; // other scales are the caller's affair there
  ASSERT_EQ(p.fault(), "") << q.name(way);
}

template <class T> std::string letters() {
  return is_complex<T> ? "NTC" : "NT";
}

// Every m, n and k up to 40. C(i, j) is the same in products of any m and n, and grows by a term with k, so the
// definition is worked out once for a pair of options.
TYPED_TEST(Gemm, EverySmallShape) {
  using T = TypeParam;
  constexpr tnk_int most = 40, ldc = most + 1;
  Random random;
  for (const char transa : letters<T>())
    for (const char transb : letters<T>()) {
      const T alpha = scalar<T>(0.7, -0.4), beta = one<T>;
      Product<T> p({transa, transb, most, most, most, alpha, beta, sizeof(T)}, random);
      const T start = scalar<T>(0.25, 0.5);
      std::vector<Sum> sums(most * most);
      std::vector<Expected> expected(most * most);
      std::vector<T> c(ldc * most + 1), untouched(c.size(), start);
      for (tnk_int k = 1; k <= most; ++k) {
        for (tnk_int j = 0, at = 0; j < most; ++j)
          for (tnk_int i = 0; i < most; ++i, ++at) {
            const tnk_int l = k - 1;
            const auto in_a = static_cast<std::size_t>(p.ta ? l + i * p.lda : i + l * p.lda),
                       in_b = static_cast<std::size_t>(p.tb ? j + l * p.ldb : l + j * p.ldb);
            sums[at].add(reference::apply(transa, p.a.get(in_a)), reference::apply(transb, p.b.get(in_b)));
            expected[at] = reference::updated(alpha, sums[at], beta, start, k);
          }
        for (tnk_int m = 1; m <= most; ++m)
          for (tnk_int n = 1; n <= most; ++n) {
            c = untouched;
            Entries<T>::gemm(&transa, &transb, &m, &n, &k, &alpha, p.a.data(), &p.lda, p.b.data(), &p.ldb,
                             &beta, c.data() + 1, &ldc);
            for (tnk_int j = 0; j < n; ++j)
              for (tnk_int i = 0; i < m; ++i)
                ASSERT_TRUE(expected[i + j * most].holds(c[1 + i + j * ldc]))
                    << transa << transb << " m " << m << " n " << n << " k " << k << " at " << i << ", " << j;
            // Around the result, and the columns after it.
            for (tnk_int j = 0; j < n; ++j)
              ASSERT_EQ(std::memcmp(&c[ldc * j + 1 + m], &start, sizeof start), 0)
                  << m << " " << n << " " << k;
            ASSERT_EQ(std::memcmp(&c[0], &start, sizeof start), 0);
            if (n < most) {
              ASSERT_EQ(std::memcmp(&c[ldc * n + 1], &start, sizeof start), 0);
            }
          }
      }
    }
}

// Letters of both cases and unknown ones, scalars of every kind, addresses that vectors or elements do not like.
TYPED_TEST(Gemm, OptionsScalarsAndAddresses) {
  using T = TypeParam;
  const T scalars[] = {
      scalar<T>(0, 0),   one<T>,          scalar<T>(-1, 0), scalar<T>(0.7, 0), scalar<T>(nan, 0),
      scalar<T>(1, 0.5), scalar<T>(0, -2)};
  const std::size_t shifts[] = {0, sizeof(real_of<T>), sizeof(T), 1};
  const tnk_int shapes[][3] = {{3, 5, 2},  {9, 2, 21}, {2, 19, 9},  {17, 23, 13},
                               {33, 9, 3}, {5, 9, 0},  {19, 12, -4}};
  Random random;
  int turn = 0;
  for (const char transa : std::string("NnTtCcX"))
    for (const char transb : std::string("NnTtCcX"))
      for (const auto &s : shapes)
        for (const T &alpha : scalars)
          for (const T &beta : scalars) {
            const int way = ++turn % 3 == 0 ? plain : turn % 3 == 1 ? entry : 2;
            const Case<T> q{transa, transb, s[0], s[1],         s[2], alpha, beta, shifts[turn / 3 % 4],
                            0,      0,      0,    is_zero(beta)};
            ASSERT_NO_FATAL_FAILURE(check(q, way, random));
          }
}

// beta first, and what must not be read: null stands for A and B.
TYPED_TEST(Gemm, OperandsThatAreNotRead) {
  using T = TypeParam;
  const tnk_int m = 9, n = 10, none = 0, ld = 9;
  std::vector<T> c(90, scalar<T>(3, -1));
  const T two = scalar<T>(2, 0), zero{};
  const auto product = [&](tnk_int rows, tnk_int columns, tnk_int k, T alpha) {
    Entries<T>::gemm("N", "T", &rows, &columns, &k, &alpha, nullptr, &ld, nullptr, &ld, &two, c.data(), &ld);
  };
  product(m, n, 5, zero);
  product(m, n, none, one<T>);
  product(m, n, -3, scalar<T>(nan, nan));
  product(none, n, 5, one<T>);
  product(m, -1, 5, one<T>);
  for (const T x : c) ASSERT_TRUE((Expected{{24, is_complex<T> ? -8.0L : 0.0L}, 0}.holds(x)));
}

TYPED_TEST(Gemm, EveryVersionWithAnyBlocks) {
  using T = TypeParam;
  const tnk_int blocks[][3] = {{0, 0, 0},    {8, 16, 12},  {1, 1, 1}, {5, 7, 3},
                               {16, 9, 300}, {-4, -2, -1}, {0, 5, 6}};
  const tnk_int shapes[][3] = {{1, 1, 1},    {3, 2, 40},  {8, 8, 4}, {37, 29, 5},
                               {40, 33, 61}, {13, 40, 9}, {6, 5, 0}};
  Random random;
  const std::string options = letters<T>();
  int turn = 0;
  for (const int version : versions)
    for (const auto &s : shapes)
      for (const auto &b : blocks)
        for (const double beta : {0.0, 1.0, -0.5})
          for (const double alpha : {0.0, 0.7}) {
            ++turn;
            const char ta = options[turn % options.size()], tb = options[turn / 3 % options.size()];
            const Case<T> q{ta,
                            tb,
                            s[0],
                            s[1],
                            s[2],
                            scalar<T>(alpha, alpha),
                            scalar<T>(beta, 0),
                            turn % 2 ? sizeof(T) : 1,
                            b[0],
                            b[1],
                            b[2],
                            beta == 0};
            ASSERT_NO_FATAL_FAILURE(check(q, version, random));
          }
  for (const int unknown : {0, 1, 3, -2, 128}) {
    Product<T> p({'N', 'N', 9, 9, 9, one<T>, scalar<T>(2, 0)}, random);
    EXPECT_EQ(p.run(unknown), 1);
    p.q.beta = one<T>;
    EXPECT_EQ(p.fault(false), "");
  }
}

TYPED_TEST(Gemm, AroundTheBlocks) {
  using T = TypeParam;
  Random random;
  for (const tnk_int k : {127, 128, 255, 256, 257, 301, 511, 512, 513})
    ASSERT_NO_FATAL_FAILURE(check<T>({'T', 'N', 18, 21, k, one<T>, one<T>, sizeof(T)}, entry, random));
  for (const tnk_int n : {4999, 5000, 5001, 5009})
    ASSERT_NO_FATAL_FAILURE(check<T>({'N', 'T', 9, n, 6, one<T>, T{}, sizeof(T)}, entry, random));
  for (const tnk_int m : {679, 680, 681, 1400}) // past mb of every type
    ASSERT_NO_FATAL_FAILURE(check<T>({'N', 'N', m, 9, 6, one<T>, T{}, sizeof(T)}, entry, random));
}

// One scratch block a product, given back. Without it the entry and versions 2 and 4 still end right.
TYPED_TEST(Gemm, MemoryThatIsRefused) {
  using T = TypeParam;
  Random random;
  ErrorRecorder errors;
  const Case<T> q{'N', 'T', 60, 50, 70, scalar<T>(0.7, 0.2), scalar<T>(-0.5, 0)};
  const int ways[] = {entry, 2, 4, 8, 16, 32, 64};
  for (const int way : ways)
    for (const bool refused : {false, true}) {
      Product<T> p(q, random);
      allocations.reset();
      allocations.refuse = refused ? 1 : 0;
      const bool has_plain_path = way == entry || way < 8, right = has_plain_path || !refused;
      EXPECT_EQ(p.run(way), right ? 0 : 1) << way;
      if (way == 64) p.q.beta = one<T>;
      EXPECT_EQ(p.fault(right), "") << q.name(way);
      EXPECT_EQ(allocations.made, refused ? 0 : 1);
      EXPECT_EQ(allocations.live, 0);
      EXPECT_EQ(allocations.overrun, 0);
      EXPECT_EQ(errors.take().routine, refused ? "xgemm" : "");
    }
}

TYPED_TEST(Gemm, ThreadsOnOneAAndB) {
  using T = TypeParam;
  constexpr tnk_int slice = 16;
  constexpr int threads = 4;
  Random random;
  Product<T> p({'N', 'N', 45, slice * threads, 300, one<T>, T{}}, random);
  ASSERT_EQ(p.run(entry), 0);
  std::vector<T> alone(p.c.data(), p.c.data() + p.c.size());
  for (int round = 0; round < 10; ++round) {
    std::vector<std::thread> workers;
    for (tnk_int t = 0; t < threads; ++t)
      workers.emplace_back([&p, t] {
        const tnk_int n = slice;
        Entries<T>::gemm("N", "N", &p.q.m, &n, &p.q.k, &p.q.alpha, p.a.data(), &p.lda,
                         p.b.data() + t * slice * p.ldb, &p.ldb, &p.q.beta, p.c.data() + t * slice * p.ldc,
                         &p.ldc);
      });
    for (auto &worker : workers) worker.join();
    EXPECT_EQ(std::memcmp(alone.data(), p.c.data(), alone.size() * sizeof(T)), 0);
  }
}

} // namespace
} // namespace tnk::test
