// Transforms in four steps: how lengths are split, whole transforms of lengths that a test can afford, though commit takes
// this way only for much longer ones, and threads that share one.
#include "dft/plan.h"
#include "dft/samples.h"
#include "support/allocations.h"
#include "tools/tnk/support/threads.h"
#include <atomic>
#include <tnk/dft_commit.h>
#include <tnk/dft_long.h>
#include <tnk/host.h>
#include <unistd.h>

namespace tnk::test {
namespace {

template <class R>
constexpr DftiKernelPair kernels =
    is_single<R> ? DftiKernelPair{tnk_dft_xc_1d_via_2d_f, tnk_dft_xc_1d_via_2d_b}
                 : DftiKernelPair{tnk_dft_xz_1d_via_2d_f, tnk_dft_xz_1d_via_2d_b};

DftiLongData &data_of(const DftiNode *node) {
  return *static_cast<DftiLongData *>(node->large_data);
}

// A node as the core commit sees it.
template <class R> struct LongNode : Plan {
  explicit LongNode(tnk_int n) : Plan(precision<R>, DftiComplex, {n}) {
    handle->axis.length = n;
    handle->log2_length = 63 - __builtin_clzll(static_cast<unsigned long long>(n));
  }
  tnk_int init(int32_t variant) const {
    return (is_single<R> ? tnk_dft_xc_init_data_1d_via_2d : tnk_dft_xz_init_data_1d_via_2d)(variant, handle,
                                                                                            handle);
  }
};

// For one transform, in eps: it grows as the root of log2 n, of which a convolution within takes more.
double bound(tnk_int n) {
  return 0.6 * std::sqrt(std::log2(static_cast<double>(n)) + 4);
}

TEST(LongTransforms, LengthsAreSplitNearTheRoot) {
  const struct {
    tnk_int n, n1, ld1, table; // n1 0: declined
  } rows[] = {{6, 2, 4, 4},
              {2018, 2, 4, 64},
              {5040, 42, 44, 128},
              {tnk_int{1} << 27, 1 << 13, (1 << 13) + 4, 1 << 14},
              {33554433, 4051, 4052, 8192},
              {3 << 24, 6144, 6148, 8192},
              {100000000, 10000, 10000, 16384},
              {2, 0, 0, 0},
              {33554467, 0, 0, 0},
              {tnk_int{1} << 50, 0, 0, 0}};
  const int before = allocations.live;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.n);
    const LongNode<double> node(row.n);
    ASSERT_EQ(node.init(1), row.n1 ? 0 : 102);
    EXPECT_EQ(row.n1 != 0, node->large_data && node->large_free);
    if (!row.n1) continue;
    const DftiLongData &data = data_of(node);
    EXPECT_EQ(Ints({data.n1, data.n2, data.ld1, data.table_length, data.variant}),
              Ints({row.n1, row.n / row.n1, row.ld1, row.table, 1}));
    EXPECT_EQ(data.node1 == data.node2, data.n1 == data.n2);
    EXPECT_TRUE(data.node1->threads == 1 && data.node1->flags & TNK_DFT_INNER && !data.node1->workspace);
    const auto *const tables = static_cast<const tnk_complex16 *>(data.twiddles);
    for (tnk_int m = 0; m < row.n; m += row.n / 97 + 1) {
      const Wide root = wide(tables[data.table_length + m / row.table]) * wide(tables[m % row.table]);
      ASSERT_LT(
          std::abs(root - reference::root(static_cast<std::size_t>(m), static_cast<std::size_t>(row.n), -1)),
          3e-16L);
    }
  }
  EXPECT_EQ(allocations.live, before);
}

template <class R> void transforms(tnk_int n) {
  const LongNode<R> node(n);
  ASSERT_EQ(node.init(1), 0);
  const auto x = numbers<R>(n);
  for (const bool backward : {false, true}) {
    const Samples<R> samples(x, backward, 12, 8);
    for (const double factor : {1.0, 0.7})
      for (const int32_t variant : {0, 1, -1})
        for (const int32_t placement : {DftiInPlace, DftiNotInPlace}) {
          SCOPED_TRACE(testing::Message()
                       << n << ' ' << variant << ' ' << backward << ' ' << placement << ' ' << factor);
          node->forward_factor = node->backward_factor = 3; // only one of them may count
          (backward ? node->backward_factor : node->forward_factor) = factor;
          node->forward_factor_single = static_cast<float>(node->forward_factor);
          node->backward_factor_single = static_cast<float>(node->backward_factor);
          data_of(node).variant = variant;
          node->placement = placement;
          auto source = x, destination = x;
          destination.push_back({7, 7});
          const int live = allocations.live;
          ASSERT_EQ((backward ? kernels<R>.inverse : kernels<R>.forward)(source.data(), destination.data(),
                                                                         node, nullptr),
                    0);
          EXPECT_TRUE(allocations.live == live && destination.back().re == 7);
          EXPECT_TRUE(placement == DftiInPlace || same_bits(source, x));
          EXPECT_LT(samples.error(placement == DftiInPlace ? source : destination, static_cast<R>(factor)),
                    bound(n));
        }
  }
}

TEST(LongTransforms, AgreeWithTheDefinition) {
  for (const tnk_int n : {4, 6, 15, 30, 36, 49, 2018, 5040, 9216, 1 << 9, 1 << 10, 1 << 13, 1 << 16})
    transforms<float>(n), transforms<double>(n);
}

TEST(LongTransforms, EveryAllocationMayFail) {
  for (const int32_t variant : {0, 1}) {
    const LongNode<double> node(2018); // of unequal parts, one with a buffer
    const int before = allocations.live;
    refuse_in_turn([&] { return node.init(variant); },
                   [&](tnk_int status, bool refused) {
                     ASSERT_EQ(status == 0, !refused);
                     EXPECT_TRUE(!refused || (!node->large_data && !node->large_free));
                     EXPECT_TRUE(!refused || allocations.live == before);
                   });
    const int made = allocations.live;
    auto x = numbers<double>(2018);
    refuse_in_turn([&] { return kernels<double>.forward(x.data(), x.data(), node, nullptr); },
                   [&](tnk_int status, bool refused) {
                     EXPECT_EQ(allocations.live, made);
                     EXPECT_EQ(status, refused ? DftiMemoryError : DftiNoError);
                   });
  }
}

constexpr tnk_int odd_length = 45045; // 195 by 231: slices and bundles that do not come out even

using tool::Threads;

// A kernel that wants memory once, at a call that is counted down to.
std::atomic<int> calls_left;
DftiKernel *counted;
tnk_int fail_once(void *source, void *destination, DftiNode *node, void *work) {
  return calls_left-- == 0 ? tnk_int{DftiMemoryError} : counted(source, destination, node, work);
}

template <class R> void on_threads(int32_t placement) {
  const Threads three(3);
  const auto x = numbers<R>(odd_length);
  const Samples<R> samples(x, true, 12, 8);
  const Plan plan(precision<R>, DftiComplex, {odd_length}, {{DftiParamPlacement, placement}}, 1, 0.7);
  const auto backward = [&](DftiKernel *kernel = nullptr) {
    auto source = x, destination = x;
    EXPECT_EQ(kernel ? kernel(source.data(), destination.data(), plan, plan->workspace)
                     : DftiComputeBackward(plan, source.data(), destination.data()),
              DftiNoError);
    EXPECT_TRUE(placement == DftiInPlace || same_bits(source, x));
    return placement == DftiInPlace ? source : destination;
  };
  ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
  ASSERT_TRUE(plan->threads == 3 && plan->large_data);
  const auto result = backward();
  EXPECT_LT(samples.error(result, R(0.7)), bound(odd_length));
  {
    const Threads one(1); // a smaller team has all slices to do
    EXPECT_TRUE(same_bits(backward(), result));
  }
  const Threads again(3);
  for (const int32_t slices : {1, 2, 3}) {
    plan->threads = slices;
    EXPECT_TRUE(same_bits(
        backward((is_single<R> ? plan->kernels.second_single : plan->kernels.second_double).inverse),
        result));
  }
  // A slice without memory, and then a commit: one thread alone does it, in its own way.
  allocations.refuse = 1;
  EXPECT_LT(samples.error(backward(), R(0.7)), bound(odd_length));
  EXPECT_EQ(allocations.refuse, 0);
  // In place a row without memory is too late for that: others have gone back into the data.
  DftiKernels &kernels_of_rows = data_of(plan).node2->kernels;
  DftiKernel *&rows = (is_single<R> ? kernels_of_rows.single_pair : kernels_of_rows.double_pair).inverse;
  counted = rows, rows = fail_once, calls_left = 100;
  auto late = x, result_of_late = x;
  EXPECT_EQ(DftiComputeBackward(plan, late.data(), result_of_late.data()),
            placement == DftiInPlace ? DftiMemoryError : DftiNoError);
  EXPECT_TRUE(placement == DftiInPlace || samples.error(result_of_late, R(0.7)) < bound(odd_length));
  refuse_in_turn([&] { return plan->uncommit(plan), DftiCommitDescriptor(plan); },
                 [&](tnk_int status, bool refused) {
                   ASSERT_TRUE(status == DftiNoError || (refused && status == DftiDeclined));
                   EXPECT_TRUE(status != DftiNoError ||
                               samples.error(backward(), R(0.7)) < bound(odd_length));
                 });
}

TEST(LongTransforms, ThreadsShareOne) {
  const int before = allocations.live;
  for (const int32_t placement : {DftiInPlace, DftiNotInPlace})
    on_threads<float>(placement), on_threads<double>(placement);
  EXPECT_EQ(allocations.live, before);
}

TEST(LongTransforms, ThreadsAreOfferedWhereTheyGain) {
  const Threads two(2);
  const struct {
    tnk_int n;
    Values::value_type parameter;
    bool taken;
  } rows[] = {
      {1 << 17, {DftiParamPlacement, DftiInPlace}, true},
      {1 << 16, {DftiParamPlacement, DftiInPlace}, false},
      {1 << 18, {DftiParamPlacement, DftiNotInPlace}, true},
      {1 << 17, {DftiParamPlacement, DftiNotInPlace}, false},
      {odd_length, {DftiParamNumberOfUserThreads, 2}, false},
      {odd_length, {DftiParamNumberOfTransforms, 2}, false},
      {odd_length, {DftiParamOrdering, DftiBackwardScrambled}, false},
      {2 * 32771, {DftiParamPlacement, DftiInPlace}, false}, // two rows only
  };
  for (const auto &row : rows) {
    const Plan plan(DftiDouble, DftiComplex, {row.n}, {row.parameter});
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    EXPECT_EQ(plan->large_data != nullptr, row.taken) << &row - rows;
    EXPECT_EQ(plan->kernels.second_double.forward != nullptr, row.taken) << &row - rows;
  }
}

template <class R> void commits(tnk_int n) {
  const Threads one(1);
  const Plan plan(precision<R>, DftiComplex, {n});
  const DftiKernelPair &pair = is_single<R> ? plan->kernels.single_pair : plan->kernels.double_pair;
  int live[3];
  for (const tnk_int users : {1, 2, 1})
    for (const tnk_int batch : {3, 1}) {
      DftiSetValue(plan, DftiParamNumberOfUserThreads, users);
      DftiSetValue(plan, DftiParamNumberOfTransforms, batch);
      ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
      EXPECT_TRUE(pair.forward == kernels<R>.forward && pair.inverse == kernels<R>.inverse);
      EXPECT_EQ((plan->flags & TNK_DFT_ONE_SHOT) != 0, batch == 1);
      EXPECT_TRUE(data_of(plan).variant == 1 && !plan->workspace);
      live[users] = allocations.live;
    }
  EXPECT_EQ(live[2], live[1] + 1); // the slots
  DftiHandle copy = nullptr;
  ASSERT_EQ(DftiCopyDescriptor(plan, &copy), DftiNoError);
  EXPECT_TRUE(copy->large_data && copy->large_data != plan->large_data);
  EXPECT_EQ(DftiFreeDescriptor(&copy), DftiNoError);
  // Over a block of the threading layer's.
  void *const block = plan->large_data;
  data_of(plan).variant = 0;
  ASSERT_EQ((is_single<R> ? tnk_dft_commit_descriptor_core_s_c2c_1d
                          : tnk_dft_commit_descriptor_core_d_c2c_1d)(plan),
            0);
  EXPECT_TRUE(plan->large_data == block && data_of(plan).variant == 1 && allocations.live == live[1]);
  DftiSetValue(plan, DftiParamOrdering, DftiBackwardScrambled);
  EXPECT_EQ(DftiCommitDescriptor(plan), DftiDeclined);
  EXPECT_FALSE(plan->large_data);
}

TEST(LongTransforms, CommitTakesWhatSignalTransformsDoNot) {
  commits<double>(33554433);
  commits<float>(tnk_int{1} << 28);
}

// Some of the lengths have a factor that only a convolution takes, which adds an error of 3.4 eps.
template <class R> void true_length(tnk_int n, int32_t placement) {
  SCOPED_TRACE(n);
  const double most = std::hypot(bound(n), 3.4), eps = static_cast<double>(std::numeric_limits<R>::epsilon());
  const Plan plan(precision<R>, DftiComplex, {n}, {{DftiParamPlacement, placement}}, 1,
                  1.0 / static_cast<double>(n));
  ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
  auto x = numbers<R>(n), other = placement == DftiInPlace ? std::vector<Complex<R>>() : x;
  auto &y = placement == DftiInPlace ? x : other;
  const Samples<R> samples(x, false, 1, 2);
  ASSERT_EQ(DftiComputeForward(plan, x.data(), y.data()), DftiNoError);
  EXPECT_LT(samples.error(y, R(1)), most);
  long double spectral = 0, error = 0;
  for (const auto &z : y) spectral += std::norm(wide(z));
  EXPECT_LT(std::abs(std::sqrt(spectral / static_cast<long double>(n)) / samples.norm - 1), most * eps);
  ASSERT_EQ(DftiComputeBackward(plan, y.data(), x.data()), DftiNoError);
  for (std::size_t i = 0; i < x.size(); ++i) error += std::norm(wide(x[i]) - wide(number<R>(i)));
  EXPECT_LT(std::sqrt(error) / samples.norm, 2 * most * eps);
}

TEST(LongTransforms, TrueLengths) {
  const double room =
      static_cast<double>(sysconf(_SC_AVPHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
  if (!getenv("TNK_TEST_HUGE") || room < 16. * (1 << 30))
    GTEST_SKIP() << "takes many minutes and 16 GiB of " << room / (1 << 30) << ": set TNK_TEST_HUGE";
  for (const int count : {1, 2}) {
    const Threads threads(count);
    for (const int32_t placement : {DftiInPlace, DftiNotInPlace}) true_length<double>(33554433, placement);
    true_length<double>(tnk_int{1} << 27, DftiNotInPlace);
    true_length<float>(tnk_int{1} << 28, DftiNotInPlace);
    true_length<float>((tnk_int{1} << 26) + 1, DftiInPlace);
  }
  for (const tnk_int last : {(1 << 25) - 1, 1 << 26}) {
    const Threads one(1);
    const Plan plan(DftiDouble, DftiComplex, {last});
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    EXPECT_TRUE(plan->records.complex_double && !plan->large_data);
  }
}

} // namespace
} // namespace tnk::test
