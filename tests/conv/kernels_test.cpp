// The kernels of the grid, found by their names: against the definition, and every status.
#include "conv/problem.h"
#include "support/allocations.h"
#include "support/named.h"

namespace tnk::test {
namespace {

template <class T>
constexpr char letter = reference::is_pair<T> ? (sizeof(T) == 8 ? 'c' : 'z')
                        : sizeof(T) == 4      ? 's'
                                              : 'd';
template <class T, class A> struct Kind {
  using data = T;
  using arithmetic = A;
  static constexpr char letters[] = {letter<T>, letter<A>, '\0'};
};

template <class F> F *named(const std::string &name) {
  void *const address = dlsym(RTLD_DEFAULT, name.c_str());
  EXPECT_NE(address, nullptr) << name;
  return reinterpret_cast<F *>(address);
}
// The two kernels of a method and a job.
template <class K> struct Kernels {
  using T = typename K::data;
  std::string method;
  bool correlates;
  TNK_CONV_1D((*one), T) = named<TNK_CONV_1D(, T)>(name("_1d"));
  TNK_CONV_ALL((*all), T) = named<TNK_CONV_ALL(, T)>(name("_all"));

  std::string name(const char *shape) const {
    return "tnk_conv_" + (K::letters + method) + shape + (correlates ? "_corr_de" : "_conv_de");
  }
};
// f(kernels) for each method and job.
template <class K, class F> void each_pair(const F &f) {
  for (const char *method : {"direct", "fft"})
    for (const bool correlates : {false, true}) f(Kernels<K>{method, correlates});
}

// How far an element may be off. Integers are exact by the sum itself; transforms keep the whole within some roundings
// for every doubling of their length, of the product of the operands' norms.
template <class K> std::string fault(Problem<typename K::data> &p, const Kernels<K> &kernel) {
  using R = reference::Real<typename K::data>;
  if (kernel.method == "direct") return p.fault(0);
  constexpr wide eps = std::numeric_limits<reference::Real<typename K::arithmetic>>::epsilon();
  constexpr wide rounding = std::numeric_limits<R>::epsilon();
  wide xx = 0, yy = 0, length = 2;
  const auto square = [](auto v) {
    return reference::re(v) * reference::re(v) + reference::im(v) * reference::im(v);
  };
  each_index(p.conv.xshape, [&](const Shape &i) { xx += square(p.x.get(i)); });
  each_index(p.conv.yshape, [&](const Shape &i) { yy += square(p.y.get(i)); });
  for (std::size_t k = 0; k < p.conv.dims(); ++k) length *= p.conv.xshape[k] + p.conv.yshape[k];
  return p.fault(rounding, 4 * eps * std::log2(length) * std::sqrt(xx * yy));
}

template <class K> void expect_right(Problem<typename K::data> &&p, const Kernels<K> &kernel) {
  SCOPED_TRACE(kernel.method + " " + p.name());
  ASSERT_EQ(p.run(kernel.one, kernel.all), 0);
  ASSERT_EQ(fault<K>(p, kernel), "");
}

template <class K> class ConvKernels : public testing::Test {};
using Kinds = testing::Types<Kind<float, float>, Kind<double, double>, Kind<float, double>,
                             Kind<tnk_complex8, tnk_complex8>, Kind<tnk_complex16, tnk_complex16>,
                             Kind<tnk_complex8, tnk_complex16>>;
TYPED_TEST_SUITE(ConvKernels, Kinds);

// Integers make every sum exact, in whatever order: so direct results have no bit to spare.
TYPED_TEST(ConvKernels, RandomProblems) {
  using T = typename TypeParam::data;
  const Shape shapes[] = {{1, 1, 1, 1},
                          {3, 3, 20, 9},
                          {5, 2, 40, 11},
                          {20, 9, 3, 3},
                          {2, 30, 30, 2},
                          {1, 6, 9, 6},
                          {4, 5, 70, 23},
                          {3, 2, 4, 12, 7, 5},
                          {4, 9, 2, 3, 4, 6},
                          {2, 3, 1, 21, 6, 3},
                          {2, 3, 2, 2, 9, 5, 3, 4},
                          {6, 1, 2, 3, 2, 6, 2, 1},
                          {2, 1, 2, 1, 2, 1, 2, 3, 6, 2, 2, 2, 2, 3}}; // of x, and of y
  const int32_t lengths[] = {1, 2, 3, 5, 8, 13, 31, 70, 150, 333};
  Random random;
  each_pair<TypeParam>([&](const Kernels<TypeParam> &kernel) {
    const auto check = [&](const Shape &x, const Shape &y, std::size_t shift) {
      expect_right(random_problem<T>(random, kernel.correlates, x, y, true, shift), kernel);
    };
    for (const int32_t nx : lengths)
      for (const int32_t ny : lengths)
        for (const std::size_t shift : {0, 0, 0, 0, 2, 1}) // off the boundaries of vectors, and of elements
          if (!this->HasFatalFailure()) check({nx}, {ny}, shift * sizeof(T) / 2);
    for (const Shape &both : shapes)
      for (int round = 0; round < 12 && !this->HasFatalFailure(); ++round) {
        const auto half = both.begin() + static_cast<std::ptrdiff_t>(both.size() / 2);
        check({both.begin(), half}, {half, both.end()}, round % 3 ? 0 : sizeof(T));
      }
  });
  EXPECT_EQ(allocations.live, 0);
  EXPECT_EQ(allocations.overrun, 0);
}

// Start, decimation and length over all that is valid, and beyond.
TYPED_TEST(ConvKernels, EveryPosition) {
  using T = typename TypeParam::data;
  each_pair<TypeParam>([&](const Kernels<TypeParam> &kernel) {
    for (int32_t nx = 1; nx <= 3; ++nx)
      for (int32_t ny = 1; ny <= 4; ++ny)
        for (int32_t start = -nx - 1; start <= nx + ny; ++start)
          for (int32_t dec = 0; dec <= 3; ++dec)
            for (int32_t nz = 1; nz <= nx + ny; ++nz) {
              Problem<T> p({kernel.correlates, {nx}, {ny}, {nz}, {start}, {dec}}, {1}, {-1}, {2}, true);
              const int32_t status = p.run(kernel.one, kernel.all);
              ASSERT_EQ(status, p.conv.status()) << kernel.method << " " << p.name();
              ASSERT_TRUE(status == 0 ? fault<TypeParam>(p, kernel) == "" : p.z.untouched()) << p.name();
            }
  });
}

// Numbers whose sums round: within what the additions of a sum can do.
TYPED_TEST(ConvKernels, Rounding) {
  using T = typename TypeParam::data;
  using R = reference::Real<T>;
  constexpr wide eps = std::numeric_limits<reference::Real<typename TypeParam::arithmetic>>::epsilon();
  Random random;
  for (const bool correlates : {false, true})
    for (const int32_t n : {7, 90, 200}) {
      const Kernels<TypeParam> kernel{"direct", correlates};
      auto p = random_problem<T>(random, correlates, {n}, {150}, false);
      ASSERT_EQ(p.run(kernel.one, kernel.all), 0);
      EXPECT_EQ(p.fault(static_cast<wide>(n + 4) * eps + std::numeric_limits<R>::epsilon()), "") << p.name();
    }
}

// Every kernel: what is refused, in which order, for each argument alone and for what follows it as well.
TYPED_TEST(ConvKernels, Statuses) {
  using T = typename TypeParam::data;
  struct Arguments {
    int32_t dims = 2;
    T x[4] = {}, y[9] = {}, z[16] = {};
    const T *px = x, *py = y;
    T *pz = z;
    int32_t xshape[2] = {2, 2}, yshape[2] = {3, 3}, zshape[2] = {2, 2}, zstride[2] = {1, 2};
    int32_t start[2] = {1, 1}, dec[2] = {1, 1};
  };
  const struct {
    int32_t status;
    void (*spoil)(Arguments &, int k);
  } in_one[] = {
      {TNK_CONV_NULL_X, [](Arguments &a, int) { a.px = nullptr; }},
      {TNK_CONV_BAD_XSHAPE, [](Arguments &a, int k) { a.xshape[k] = 0; }},
      {TNK_CONV_NULL_Y, [](Arguments &a, int) { a.py = nullptr; }},
      {TNK_CONV_BAD_YSHAPE, [](Arguments &a, int k) { a.yshape[k] = -1; }},
      {TNK_CONV_NULL_Z, [](Arguments &a, int) { a.pz = nullptr; }},
      {TNK_CONV_BAD_ZSHAPE, [](Arguments &a, int k) { a.zshape[k] = 0; }},
      {TNK_CONV_BAD_ZSTRIDE, [](Arguments &a, int k) { a.zstride[k] = 0; }},
      {TNK_CONV_BAD_START, [](Arguments &a, int k) { a.start[k] = 1 << 30; }},
      {TNK_CONV_BAD_END, [](Arguments &a, int k) { a.dec[k] = 0; }},
  };
  constexpr int orders[2][9] = {{0, 1, 2, 3, 4, 5, 6, 7, 8}, {0, 2, 4, 1, 3, 5, 6, 7, 8}};
  each_pair<TypeParam>([&](const Kernels<TypeParam> &kernel) {
    for (const bool several : {false, true})
      for (int first = 0; first < 9; ++first)
        for (int k = 0; k <= several; ++k) {
          Arguments a;
          for (int i = first; i < 9; ++i) in_one[orders[several][i]].spoil(a, k);
          // Of the first dimension nothing is looked at before the addresses, of the second nothing before the first.
          const bool behind = several && k == 1 && first >= 3;
          if (behind) a.dec[0] = 5;
          EXPECT_EQ(several ? kernel.all(a.dims, a.px, a.xshape, a.zstride, a.py, a.yshape, a.zstride, a.pz,
                                         a.zshape, a.zstride, a.start, a.dec)
                            : kernel.one(a.px, 1, a.py, 1, a.pz, a.zstride[0], a.xshape[0], a.yshape[0],
                                         a.start[0], a.zshape[0], a.dec[0]),
                    behind ? int32_t{TNK_CONV_BAD_END} : in_one[orders[several][first]].status)
              << kernel.method << first << k;
        }
    for (const int32_t dims : {-1, 0, 1, 8})
      EXPECT_EQ(kernel.all(dims, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr),
                int32_t{TNK_CONV_BAD_DIMS});
  });
}

// Each request for memory refused in turn: nothing written, nothing kept.
TYPED_TEST(ConvKernels, Memory) {
  using T = typename TypeParam::data;
  each_pair<TypeParam>([&](const Kernels<TypeParam> &kernel) {
    for (const bool several : {false, true}) {
      // In several blocks by transforms.
      const Shape xs = several ? Shape{4, 3} : Shape{9}, ys = several ? Shape{12, 10} : Shape{3000};
      const auto each = [&](int32_t value) { return Shape(xs.size(), value); };
      Problem<T> p({kernel.correlates, xs, ys, ys, each(0), each(1)}, each(2), each(-2), each(1), true);
      SCOPED_TRACE(kernel.method + p.name());
      allocations.reset();
      const int refusals = refuse_in_turn([&] { return p.run(kernel.one, kernel.all); },
                                          [&](int32_t status, bool refused) {
                                            EXPECT_EQ(allocations.live, 0);
                                            if (status == 0) { // or a descriptor has found another way
                                              EXPECT_TRUE(!refused || kernel.method == "fft");
                                              EXPECT_EQ(fault<TypeParam>(p, kernel), "");
                                            } else {
                                              EXPECT_EQ(status, int32_t{TNK_CONV_NO_MEMORY});
                                              EXPECT_TRUE(p.z.untouched());
                                            }
                                          });
      EXPECT_GE(refusals, 2);
    }
  });
}

// Operands are packed where their elements are read more than twice each, not twice, which requests for memory show; of a
// convolution's longer operand in several dimensions, a stride of the first dimension alone does not count.
TYPED_TEST(ConvKernels, PacksWhatIsReadOften) {
  using T = typename TypeParam::data;
  const Kernels<TypeParam> conv{"direct", false}, corr{"direct", true};
  const auto requests = [](Problem<T> &&p, const Kernels<TypeParam> &kernel) {
    allocations.reset();
    expect_right(std::move(p), kernel);
    return allocations.made.load();
  };
  for (const int32_t gap : {1, -1, 3, 0})
    for (const int32_t nz : {4, 5}) { // 5 elements against 10: each is read nz / 2 times
      const int packed = gap != 1 && nz == 5;
      EXPECT_EQ(requests({{false, {5}, {10}, {nz}, {2}, {1}}, {2}, {gap}, {1}, true}, conv), 1 + packed);
      EXPECT_EQ(requests({{false, {10}, {5}, {nz}, {2}, {1}}, {gap}, {2}, {1}, true}, conv), 1 + packed);
      // What is read exactly twice is often enough for a correlation.
      const int both = (gap != 1) + 1;
      EXPECT_EQ(requests({{true, {5}, {10}, {nz}, {0}, {1}}, {2}, {gap}, {1}, true}, corr), both);
      EXPECT_EQ(requests({{true, {10}, {5}, {nz - 1}, {0}, {1}}, {2}, {gap}, {1}, true}, corr),
                nz == 5 ? both : 0);
    }
  for (const int32_t row : {6, 12}) {
    Problem<T> p({false, {2, 2}, {6, 4}, {7, 5}, {0, 0}, {1, 1}}, {1, 1}, {2, 1}, {1, 1}, true);
    const int32_t ystride[] = {2, row};
    allocations.reset();
    EXPECT_EQ(conv.all(2, p.x.data(), p.conv.xshape.data(), p.x.stride(), p.y.data(), p.conv.yshape.data(),
                       ystride, p.z.data(), p.conv.zshape.data(), p.z.stride(), p.conv.start.data(),
                       p.conv.decimation.data()),
              0);
    EXPECT_EQ(allocations.made, row == 6 ? 1 : 2);
  }
}

// Numbers at the end of 32 bits: one element that is repeated as often.
TYPED_TEST(ConvKernels, LongestOperands) {
  using T = typename TypeParam::data;
  using reference::number;
  constexpr int32_t most = std::numeric_limits<int32_t>::max();
  const T x = number<T>(3), y = number<T>(2);
  each_pair<TypeParam>([&](const Kernels<TypeParam> &kernel) {
    const auto run = [&](int32_t nx, int32_t stride, int32_t ny, int32_t start, int32_t nz, int32_t dec) {
      T z = number<T>(0);
      const int32_t status = kernel.one(&x, stride, &y, 0, &z, stride, nx, ny, start, nz, dec);
      EXPECT_NEAR(static_cast<double>(reference::re(z)), status == 0 ? 6 : 0, 1e-5) << kernel.method;
      return status;
    };
    EXPECT_EQ(run(1, most, most, most - 9, 1, most), 0);
    EXPECT_EQ(run(1, -most, most, kernel.correlates ? 0 : most - 1, 1, most), 0);
    EXPECT_EQ(run(1, 1, most, most - 9, 2, most), int32_t{TNK_CONV_BAD_END});
    EXPECT_EQ(run(1, 1, most, most - 9, most, most), int32_t{TNK_CONV_BAD_END});
    EXPECT_EQ(run(most, 0, most, 1, 1, 1), int32_t{TNK_CONV_BAD_ZSTRIDE});
  });
}

// With dec 1 the kernel without that argument computes the same bits; all other such names refuse.
TEST(ConvWithoutDecimation, Kernels) {
  using K = Kind<float, float>;
  for (const bool correlates : {false, true}) {
    const Kernels<K> kernel{"direct", correlates};
    const auto nd = named<TNK_CONV_1D_ND(, float)>(correlates ? "tnk_conv_ssdirect_1d_corr_nd"
                                                              : "tnk_conv_ssdirect_1d_conv_nd");
    Problem<float> p({correlates, {37}, {211}, {100}, {0}, {1}}, {1}, {2}, {1}, false);
    const auto call = [&](float *z) {
      return nd(p.x.data(), *p.x.stride(), p.y.data(), *p.y.stride(), z, 1, 37, 211, 0, 100);
    };
    std::vector<float> without(100);
    ASSERT_EQ(p.run(kernel.one, kernel.all), 0);
    ASSERT_EQ(call(without.data()), 0);
    EXPECT_TRUE(std::equal(without.begin(), without.end(), p.z.data()));
    EXPECT_EQ(call(nullptr), int32_t{TNK_CONV_NULL_Z});
  }
  for (const std::string types : {"ss", "dd", "sd", "cc", "zz", "cz"})
    for (const char *kernel : {"direct_1d_", "direct_all_", "fft_1d_", "fft_all_"})
      for (const char *job : {"conv_nd", "corr_nd"})
        if (types + kernel != "ssdirect_1d_") {
          EXPECT_EQ(named<int32_t()>("tnk_conv_" + types + kernel + job)(), -2000) << types << kernel << job;
        }
}

} // namespace
} // namespace tnk::test
