// Transforms in four steps: how lengths are split, the steps on slices, and whole transforms of lengths that a test can
// afford, though commit takes this way only for much longer ones.
#include <cstring>
#include <random>
#include <tnk/dft_long.h>
#include <tnk/host.h>
#include <tnk/services.h>

#include "dft/plan.h"
#include "reference/fourier.h"
#include "support/allocations.h"

namespace {

using namespace tnk::test;
using tnk::reference::Wide;

template <class R> struct family;
template <> struct family<float> {
  using C = tnk_complex8;
  static constexpr auto create = tnk_dft_dfti_create_sc1d;
  static constexpr auto init = tnk_dft_xc_init_data_1d_via_2d;
  static constexpr DftiKernel *kernels[] = {tnk_dft_xc_1d_via_2d_f, tnk_dft_xc_1d_via_2d_b};
};
template <> struct family<double> {
  using C = tnk_complex16;
  static constexpr auto create = tnk_dft_dfti_create_dc1d;
  static constexpr auto init = tnk_dft_xz_init_data_1d_via_2d;
  static constexpr DftiKernel *kernels[] = {tnk_dft_xz_1d_via_2d_f, tnk_dft_xz_1d_via_2d_b};
};

// A node as the core commit sees it, without kernels.
template <class R> class LongNode {
public:
  explicit LongNode(tnk_int n) {
    EXPECT_EQ(family<R>::create(&node_, n), DftiNoError);
    node_->axis.length = node_->total_length = n;
    node_->log2_length = 63 - __builtin_clzll(static_cast<unsigned long long>(n));
    node_->forward_factor = node_->backward_factor = 1;
    node_->forward_factor_single = node_->backward_factor_single = 1;
  }
  LongNode(const LongNode &) = delete;
  LongNode &operator=(const LongNode &) = delete;
  ~LongNode() { node_->destroy(node_); }
  tnk_int init(int32_t variant) { return family<R>::init(variant, node_, node_); }
  DftiNode *operator->() const { return node_; }
  operator DftiNode *() const { return node_; }
  DftiLongData &data() const { return *static_cast<DftiLongData *>(node_->large_data); }

private:
  DftiNode *node_ = nullptr;
};

template <class C> std::vector<C> random_numbers(tnk_int n) {
  std::mt19937 engine(static_cast<unsigned>(n));
  std::uniform_int_distribution<int> any(-4096, 4096);
  std::vector<C> x(static_cast<std::size_t>(n));
  for (C &number : x)
    number = {static_cast<decltype(C::re)>(any(engine) / 4096.),
              static_cast<decltype(C::re)>(any(engine) / 4096.)};
  return x;
}
template <class C> bool same_bits(const std::vector<C> &a, const std::vector<C> &b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(C)) == 0;
}

// ---- Lengths ------------------------------------------------------------------------------------------------------------

TEST(LongTransforms, LengthsAreSplitNearTheRoot) {
  const struct {
    tnk_int n, n1, n2, ld1, ld2, table; // n1 0: declined
  } rows[] = {
      {4, 2, 2, 4, 4, 4},
      {6, 2, 3, 4, 4, 4},
      {49, 7, 7, 8, 8, 8},
      {2018, 2, 1009, 4, 1012, 64},
      {5040, 42, 120, 44, 120, 128},
      {1 << 17, 256, 512, 260, 516, 512},
      {tnk_int{1} << 27, 1 << 13, 1 << 14, (1 << 13) + 4, (1 << 14) + 4, 1 << 14},
      {33554433, 4051, 8283, 4052, 8284, 8192},
      {3 << 24, 6144, 8192, 6148, 8196, 8192},
      {100000000, 10000, 10000, 10000, 10000, 16384},
      {1, 0, 0, 0, 0, 0},
      {2, 0, 0, 0, 0, 0},
      {9973, 0, 0, 0, 0, 0},
      {33554467, 0, 0, 0, 0, 0},
      {tnk_int{1} << 50, 0, 0, 0, 0, 0},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.n);
    const int before = allocations.live;
    {
      LongNode<double> node(row.n);
      const int made = allocations.live;
      ASSERT_EQ(node.init(1), row.n1 ? 0 : 102);
      if (!row.n1) {
        EXPECT_TRUE(!node->large_data && !node->large_free && allocations.live == made);
        continue;
      }
      const DftiLongData &data = node.data();
      EXPECT_EQ(std::vector<int64_t>({data.n1, data.n2, data.ld1, data.ld2, data.table_length, data.variant}),
                std::vector<int64_t>({row.n1, row.n2, row.ld1, row.ld2, row.table, 1}));
      EXPECT_EQ(data.node1 == data.node2, row.n1 == row.n2);
      EXPECT_TRUE(data.node1->threads == 1 && data.node1->flags & TNK_DFT_INNER && !data.node1->workspace);
      const int all = allocations.live;
      EXPECT_EQ(node.init(-1), 0); // the same block
      EXPECT_TRUE(allocations.live == all && data.variant == -1 && &data == &node.data());
      // Roots of any index, by both tables.
      const auto *const tables = static_cast<const tnk_complex16 *>(data.twiddles);
      for (tnk_int m = 0; m < row.n; m += row.n / 97 + 1) {
        const auto wide = [](tnk_complex16 z) { return Wide(z.re, z.im); };
        const Wide root =
            wide(tables[data.table_length + m / data.table_length]) * wide(tables[m % data.table_length]);
        const Wide exact =
            tnk::reference::root(static_cast<std::size_t>(m), static_cast<std::size_t>(row.n), -1);
        ASSERT_LT(std::abs(root - exact), 3e-16L) << m;
      }
    }
    EXPECT_EQ(allocations.live, before);
  }
}

// ---- Transforms -----------------------------------------------------------------------------------------------------------

// The numbers of a transform at both ends, and some between them.
struct Samples {
  std::vector<std::size_t> places;
  std::vector<Wide> numbers;
  long double norm = 0; // of all

  template <class C> Samples(const std::vector<C> &x, int sign) {
    const std::size_t n = x.size();
    const auto roots = tnk::reference::roots(n, sign);
    for (const C &number : x) norm += std::norm(Wide(number.re, number.im));
    norm = std::sqrt(norm);
    for (std::size_t k = 0; k < n; k += k < 12 || n - k <= 12 ? 1 : 1 + (n - k - 12) / 30) {
      Wide sum = 0;
      for (std::size_t j = 0, turn = 0; j < n; ++j, turn = (turn + k) % n) {
        const Wide w = roots[turn];
        sum += Wide(x[j].re * w.real() - x[j].im * w.imag(), x[j].re * w.imag() + x[j].im * w.real());
      }
      places.push_back(k), numbers.push_back(sum);
    }
  }

  // The root mean square error relative to that of all numbers, in eps.
  template <class R, class C> double error(const std::vector<C> &y, R factor) const {
    long double square = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
      const C got = y[places[i]];
      square += std::norm(Wide(got.re, got.im) / static_cast<long double>(factor) - numbers[i]);
    }
    return static_cast<double>(std::sqrt(square / static_cast<long double>(places.size())) / norm) /
           static_cast<double>(std::numeric_limits<R>::epsilon());
  }
};

template <class R> void transforms(tnk_int n) {
  using C = typename family<R>::C;
  LongNode<R> node(n);
  ASSERT_EQ(node.init(1), 0);
  const std::vector<C> x = random_numbers<C>(n);
  const double bound = 0.6 * std::sqrt(std::log2(static_cast<double>(n)) + 4);
  for (const bool backward : {false, true}) {
    const Samples samples(x, backward ? 1 : -1);
    for (const double factor : {1.0, 0.7}) {
      node->forward_factor = node->backward_factor = 3; // only one of them may count
      (backward ? node->backward_factor : node->forward_factor) = factor;
      node->forward_factor_single = static_cast<float>(node->forward_factor);
      node->backward_factor_single = static_cast<float>(node->backward_factor);
      for (const int32_t variant : {0, 1, -1})
        for (const int32_t placement : {DftiInPlace, DftiNotInPlace}) {
          SCOPED_TRACE(std::to_string(n) + " variant " + std::to_string(variant) +
                       (backward ? " backward" : "") + (placement == DftiInPlace ? " in place" : "") +
                       (factor == 1 ? "" : " scaled"));
          node.data().variant = variant;
          node->placement = placement;
          std::vector<C> source = x, destination(x.size() + 1, C{7, 7});
          const int live = allocations.live;
          ASSERT_EQ(family<R>::kernels[backward](source.data(), destination.data(), node, nullptr), 0);
          EXPECT_EQ(allocations.live, live);
          EXPECT_TRUE(placement == DftiInPlace || same_bits(source, x));
          EXPECT_EQ(destination.back().re, 7);
          destination.pop_back();
          const std::vector<C> &result = placement == DftiInPlace ? source : destination;
          EXPECT_LT(samples.error(result, static_cast<R>(factor)), bound);
        }
    }
  }
}

TEST(LongTransforms, AgreeWithTheDefinition) {
  for (const tnk_int n : {4, 6, 15, 30, 36, 49, 112, 2018, 5040, 9216, 1 << 9, 1 << 10, 1 << 13, 1 << 16}) {
    transforms<float>(n);
    transforms<double>(n);
  }
}

// ---- Threads ----------------------------------------------------------------------------------------------------------------

// 195 by 231: slices and bundles that do not come out even.
constexpr tnk_int odd_length = 45045;

class Threads {
public:
  explicit Threads(int count) { tnk_set_num_threads(count); }
  Threads(const Threads &) = delete;
  Threads &operator=(const Threads &) = delete;
  ~Threads() { tnk_set_num_threads(before_); }

private:
  int before_ = tnk_get_max_threads();
};

// A transform on three threads, with a scale.
template <class R> struct Threaded : Plan {
  using C = typename family<R>::C;
  explicit Threaded(int32_t placement)
      : Plan(sizeof(R) == 4 ? DftiSingle : DftiDouble, DftiComplex, {odd_length}) {
    DftiSetValue(handle, DftiParamPlacement, placement);
    DftiSetValue(handle, DftiParamBackwardScale, 0.7);
  }
  std::vector<C> backward(const std::vector<C> &x) const {
    std::vector<C> source = x, destination(x.size());
    const bool stays = handle->placement == DftiInPlace;
    EXPECT_EQ(DftiComputeBackward(handle, source.data(), destination.data()), DftiNoError);
    EXPECT_TRUE(stays || same_bits(source, x));
    return stays ? source : destination;
  }
};

template <class R> void on_threads() {
  using C = typename family<R>::C;
  const std::vector<C> x = random_numbers<C>(odd_length);
  const Samples samples(x, 1);
  for (const int32_t placement : {DftiInPlace, DftiNotInPlace}) {
    SCOPED_TRACE(placement == DftiInPlace ? "in place" : "out of place");
    const Threads three(3);
    const Threaded<R> plan(placement);
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    ASSERT_TRUE(plan->threads == 3 && plan->large_data);
    const std::vector<C> result = plan.backward(x);
    EXPECT_LT(samples.error(result, R(0.7)), 3);
    {
      const Threads one(1); // a smaller team has all slices to do
      EXPECT_TRUE(same_bits(plan.backward(x), result));
    }
    for (const int32_t slices : {1, 2, 3}) {
      plan->threads = slices;
      std::vector<C> source = x, destination(x.size());
      const DftiKernelPair &pair = sizeof(R) == 4 ? plan->kernels.second_single : plan->kernels.second_double;
      ASSERT_EQ(pair.inverse(source.data(), destination.data(), plan, plan->workspace), DftiNoError);
      EXPECT_TRUE(same_bits(placement == DftiInPlace ? source : destination, result)) << slices;
    }
    // Neither memory for the slices nor for a matrix: one thread alone does it, in its own way.
    allocations.refuse = 1;
    EXPECT_LT(samples.error(plan.backward(x), R(0.7)), 3);
    EXPECT_EQ(allocations.refuse, 0);
    for (int n = 1, refused = n; refused; ++n) {
      plan->uncommit(plan);
      allocations.refuse = n;
      const tnk_int status = DftiCommitDescriptor(plan);
      refused = allocations.refuse == 0;
      allocations.refuse = 0;
      ASSERT_TRUE(status == DftiNoError || (refused && status == DftiDeclined)) << n;
      EXPECT_TRUE(status != DftiNoError || samples.error(plan.backward(x), R(0.7)) < 3) << n;
    }
  }
}

TEST(LongTransforms, ThreadsShareOne) {
  const int before = allocations.live;
  on_threads<float>();
  on_threads<double>();
  EXPECT_EQ(allocations.live, before);
}

TEST(LongTransforms, ThreadsAreOfferedWhereTheyGain) {
  const Threads two(2);
  const struct {
    tnk_int n;
    int32_t placement;
    tnk_int users, batch, stride;
    bool taken;
  } rows[] = {
      {1 << 17, DftiInPlace, 1, 1, 1, true},     {1 << 16, DftiInPlace, 1, 1, 1, false},
      {1 << 17, DftiNotInPlace, 1, 1, 1, false}, {1 << 18, DftiNotInPlace, 1, 1, 1, true},
      {odd_length, DftiInPlace, 1, 1, 1, true},  {32760, DftiInPlace, 1, 1, 1, false},
      {odd_length, DftiInPlace, 2, 1, 1, false}, {odd_length, DftiInPlace, 1, 2, 1, false},
      {odd_length, DftiInPlace, 1, 1, 2, false}, {2 * 32771, DftiInPlace, 1, 1, 1, false}, // two rows only
      {65537, DftiNotInPlace, 1, 1, 1, false},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    const Plan plan(DftiDouble, DftiComplex, {row.n});
    DftiSetValue(plan, DftiParamPlacement, row.placement);
    DftiSetValue(plan, DftiParamNumberOfUserThreads, row.users);
    DftiSetValue(plan, DftiParamNumberOfTransforms, row.batch);
    DftiSetValue(plan, DftiParamInputDistance, row.n);
    const tnk_int strides[] = {0, row.stride};
    DftiSetValue(plan, DftiParamInputStrides, strides);
    for (const int32_t requested : {0, 1}) {
      plan->requested_threads = requested;
      ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
      EXPECT_EQ(plan->large_data != nullptr, row.taken && requested == 0);
      EXPECT_EQ(plan->kernels.second_double.forward != nullptr, row.taken && requested == 0);
    }
  }
}

// ---- Little memory ------------------------------------------------------------------------------------------------------------

TEST(LongTransforms, EveryAllocationMayFail) {
  for (const int32_t variant : {0, 1}) {
    LongNode<double> node(2018); // of unequal parts, one with a buffer
    const int before = allocations.live;
    tnk_int status = DftiMemoryError;
    for (int n = 1; status; ++n) {
      EXPECT_TRUE(!node->large_data && !node->large_free && allocations.live == before);
      allocations.refuse = n;
      status = node.init(variant);
      ASSERT_TRUE(allocations.refuse != 0 ? status == 0 : status != 0) << n;
    }
    allocations.refuse = 0;
    const int made = allocations.live;
    std::vector<tnk_complex16> x = random_numbers<tnk_complex16>(2018);
    for (int n = 1;; ++n) {
      allocations.refuse = n;
      status = tnk_dft_xz_1d_via_2d_f(x.data(), x.data(), node, nullptr);
      EXPECT_EQ(allocations.live, made);
      if (allocations.refuse != 0) break;
      EXPECT_EQ(status, DftiMemoryError) << n;
    }
    EXPECT_EQ(status, 0);
    allocations.refuse = 0;
  }
}

// ---- Commits ------------------------------------------------------------------------------------------------------------------

TEST(LongTransforms, CommitTakesWhatSignalTransformsDoNot) {
  const Threads one(1);
  for (const bool single : {false, true}) {
    const tnk_int n = single ? tnk_int{1} << 28 : tnk_int{33554433};
    const Plan plan(single ? DftiSingle : DftiDouble, DftiComplex, {n});
    const DftiKernelPair &pair = single ? plan->kernels.single_pair : plan->kernels.double_pair;
    int live = 0;
    for (const tnk_int users : {1, 2, 1}) {
      for (const tnk_int batch : {1, 3}) {
        DftiSetValue(plan, DftiParamNumberOfUserThreads, users);
        DftiSetValue(plan, DftiParamNumberOfTransforms, batch);
        ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
        EXPECT_EQ(pair.forward, (single ? family<float>::kernels : family<double>::kernels)[0]);
        EXPECT_EQ(pair.inverse, (single ? family<float>::kernels : family<double>::kernels)[1]);
        EXPECT_EQ((plan->flags & TNK_DFT_ONE_SHOT) != 0, batch == 1);
        EXPECT_EQ(static_cast<DftiLongData *>(plan->large_data)->variant, 1);
        EXPECT_FALSE(plan->workspace);
      }
      EXPECT_TRUE(users != 1 || live == 0 || allocations.live == live);
      if (users == 1) live = allocations.live;
    }
    DftiHandle copy = nullptr;
    ASSERT_EQ(DftiCopyDescriptor(plan, &copy), DftiNoError);
    EXPECT_TRUE(copy->large_data && copy->large_data != plan->large_data);
    EXPECT_EQ(DftiFreeDescriptor(&copy), DftiNoError);
    EXPECT_EQ(allocations.live, live);
    DftiSetValue(plan, DftiParamOrdering, DftiBackwardScrambled);
    EXPECT_EQ(DftiCommitDescriptor(plan), DftiDeclined);
    EXPECT_FALSE(plan->large_data);
  }
}

} // namespace
