// Computing by a committed descriptor: routes, callers side by side, and what drivers, movers and wrappers do at their edges.
#include "dft/plan.h"
#include "dft/samples.h"
#include "support/allocations.h"
#include <atomic>
#include <cstring>
#include <thread>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>
#include <tnk/host.h>

namespace tnk::test {
namespace {

using Numbers = std::vector<tnk_complex16>;

constexpr uint64_t more_than_slots = 0x7FFFFFFF;

// Threads that compute at once, each its own data. Returns how many results differ from `expected`.
int differing(const Plan &plan, int threads, tnk_int count, const std::vector<Numbers> &expected) {
  std::atomic<int> waiting{threads}, differ{0};
  std::vector<std::thread> all;
  for (int t = 0; t < threads; ++t)
    all.emplace_back([&, t] {
      --waiting;
      while (waiting > 0) {
      }
      for (int round = 0; round < 1000; ++round) {
        Numbers data = numbers<double>(count, t);
        if (DftiComputeForward(plan, data.data()) != DftiNoError ||
            !same_bits(data, expected[static_cast<std::size_t>(t)]))
          ++differ;
      }
    });
  for (std::thread &thread : all) thread.join();
  return differ;
}

TEST(Compute, AsManyCallersAsUserThreadsAndOneMore) {
  constexpr int users = 3;
  // A contiguous transform, which one call of the kernel does, a strided one, and a plane.
  const struct {
    Ints lengths, strides;
  } cases[] = {{{240}, {0, 1}}, {{256}, {0, 1}}, {{240}, {0, 2}}, {{12, 20}, {0, 20, 1}}};
  for (const auto &[lengths, strides] : cases) {
    Plan plan(DftiDouble, DftiComplex, lengths, {}, 0.5); // which the road without slots does not take
    EXPECT_EQ(plan.set(DftiParamInputStrides, strides.data()), DftiNoError);
    ASSERT_EQ(plan.commit(),
              DftiNoError); // for one user thread, whose flags must not outlive the next commit
    std::vector<Numbers> expected;
    for (int t = 0; t <= users; ++t) {
      expected.push_back(numbers<double>(480, t));
      ASSERT_EQ(DftiComputeForward(plan, expected.back().data()), DftiNoError);
    }
    EXPECT_EQ(plan.set(DftiParamNumberOfUserThreads, tnk_int{users}), DftiNoError);
    ASSERT_EQ(plan.commit(), DftiNoError);
    ASSERT_NE(plan->thread_slots, nullptr);
    EXPECT_EQ(differing(plan, users, 480, expected), 0);
    EXPECT_EQ(differing(plan, users + 1, 480, expected), 0);
    EXPECT_EQ(plan->thread_slots[0], more_than_slots);
    // From now on also for threads that are known.
    EXPECT_EQ(differing(plan, 1, 480, expected), 0);
    for (int i = 1; i <= users; ++i) EXPECT_EQ(plan->thread_slots[users + i], 0u);
  }
}

// The slice of workspace that a kernel was given.
void *given = nullptr;
tnk_int take_note(void *, void *, DftiNode *, void *work) {
  given = work;
  return DftiNoError;
}

TEST(Compute, SlotsAreThoseOfTheirThreads) {
  Plan plan(DftiDouble, DftiComplex, {240}, {{DftiParamNumberOfUserThreads, 2}}, 0.5);
  ASSERT_EQ(plan.commit(), DftiNoError);
  plan->kernels.double_pair.forward = take_note;
  auto *const workspace = static_cast<char *>(plan->workspace);
  ASSERT_NE(workspace, nullptr);
  const auto slot = [&] {
    double data[480];
    EXPECT_EQ(DftiComputeForward(plan, data), DftiNoError);
    return (static_cast<char *>(given) - workspace) / plan->maximum_buffer_size;
  };
  const auto in_another_thread = [](const auto &body) { std::thread(body).join(); };
  for (const bool contiguous : {true, false}) {
    if (!contiguous) plan->flags = 0;
    EXPECT_EQ(slot(), 0);
    EXPECT_EQ(slot(), 0);
    in_another_thread([&] {
      EXPECT_EQ(slot(), 1);
      EXPECT_EQ(plan->thread_slots[0], 2u);
      // A third thread is one too many; the first free slot is anybody's from then on.
      in_another_thread([&] { EXPECT_EQ(slot(), 0); });
    });
    EXPECT_EQ(plan->thread_slots[0], more_than_slots);
    const int32_t held = tnk_dft_grasp_user_thread(plan);
    EXPECT_EQ(held, 0);
    in_another_thread([&] { EXPECT_EQ(slot(), 1); });
    tnk_dft_release_user_thread(plan, held);
    std::fill_n(plan->thread_slots, 5, 0);
  }
}

int calls = 0;
tnk_int negate(void *source, void *destination, DftiNode *node, void *) {
  ++calls;
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(source) % 16, 0u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(destination) % 16, 0u);
  const auto *const from = static_cast<const double *>(source);
  for (tnk_int i = 0; i < 2 * node->axis.length; ++i) static_cast<double *>(destination)[i] = -from[i];
  return DftiNoError;
}

// The parallel kernel of one transform wants boundaries, which the caller's data need not have.
TEST(Compute, OneTransformOnSeveralThreads) {
  constexpr std::size_t n = 30;
  for (const bool in_place : {false, true})
    for (const std::size_t shift : {0, 1}) {
      Plan plan(DftiDouble, DftiComplex, {n}, {{DftiParamPlacement, in_place ? DftiInPlace : DftiNotInPlace}},
                0.5);
      ASSERT_EQ(plan.commit(), DftiNoError);
      plan->flags = 0;
      plan->threads = 2;
      plan->kernels.second_double.forward = negate;
      alignas(16) double source[2 * n + 1], destination[2 * n + 1] = {};
      for (std::size_t i = 0; i <= 2 * n; ++i) source[i] = static_cast<double>(i);
      double *const from = source + shift, *const to = in_place ? from : destination + shift;
      const int live = allocations.live;
      const int refusals = refuse_in_turn([&] { return calls = 0, DftiComputeForward(plan, from, to); },
                                          [&](tnk_int status, bool refused) {
                                            EXPECT_EQ(status, refused ? DftiMemoryError : DftiNoError);
                                            EXPECT_EQ(calls, !refused);
                                            EXPECT_EQ(allocations.live, live);
                                          });
      EXPECT_EQ(refusals, shift == 0 ? 0 : in_place ? 1 : 2);
      for (std::size_t i = 0; i < 2 * n; ++i) {
        EXPECT_EQ(to[i], -static_cast<double>(i + shift));
        EXPECT_TRUE(in_place || from[i] == static_cast<double>(i + shift));
      }
    }
}

// Fails for transforms from number 9 on, each with a status of its own.
tnk_complex16 *first_number = nullptr;
std::atomic<int> transforms{0};
tnk_int fail_late(void *source, void *, DftiNode *node, void *) {
  const auto number = (static_cast<tnk_complex16 *>(source) - first_number) / node->axis.length;
  ++transforms;
  return number < 9 ? 0 : 100 + number;
}

// A driver stops at it; of three slices, which are eight transforms each, whoever runs them, the first failing one counts.
TEST(Compute, TheFirstFailure) {
  Plan plan(DftiDouble, DftiComplex, {16}, {{DftiParamInputDistance, 16}, {DftiParamNumberOfTransforms, 24}},
            0.5);
  ASSERT_EQ(plan.commit(), DftiNoError);
  plan->kernels.double_pair.forward = fail_late;
  Numbers data = numbers<double>(24 * 16);
  first_number = data.data();
  EXPECT_EQ(tnk_dft_xzforward(plan, data.data(), 0, nullptr), DftiNoError);
  EXPECT_EQ(transforms, 0);
  EXPECT_EQ(tnk_dft_xzforward(plan, data.data(), 24, nullptr), 109);
  EXPECT_EQ(transforms, 10);
  plan->flags = 0, plan->threads = 3;
  for (const int team : {1, 3}) {
    transforms = 0;
    tnk_set_num_threads(team);
    EXPECT_EQ(DftiComputeForward(plan, data.data()), 109);
    EXPECT_EQ(transforms, 8 + 2 + 1);
  }
  tnk_set_num_threads(0);
  // Several dimensions of numbers in two arrays are for the strategies.
  DftiNode split{};
  split.forward_domain = DftiComplex, split.complex_storage = DftiRealReal, split.committed_rank = 2;
  EXPECT_EQ(tnk_dft_xzforward(&split, data.data(), 1, nullptr), DftiUnimplemented);
  EXPECT_EQ(tnk_dft_xzforward_out(&split, data.data(), data.data(), 1, nullptr), DftiUnimplemented);
}

// A failing primitive, here for want of a record, leaves the data as they were, and scaled.
TEST(Compute, WrappersScaleAfterAFailure) {
  DftiNode node{};
  node.axis.length = 4;
  node.forward_factor = 0.5, node.backward_factor = 4;
  node.kernels.format_double = {e9_vpksDFTFwd_RToCCS_64f, e9_vpksDFTInv_CCSToR_64f};
  node.packed_format = DftiFormatCcs, node.conjugate_even_storage = DftiComplexReal;
  node.placement = DftiNotInPlace, node.committed_rank = 1;
  const auto data_after = [&](DftiKernel *kernel) {
    std::vector<double> data(10, 3);
    EXPECT_EQ(kernel(data.data(), data.data(), &node, nullptr), DftiInternalError);
    return data;
  };
  using Reals = std::vector<double>;
  EXPECT_EQ(data_after(tnk_dft_xvpks_fwd_64fc), (Reals{1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 3, 3}));
  EXPECT_EQ(data_after(tnk_dft_xvpks_inv_rev_64fc), (Reals{12, 12, 12, 12, 12, 12, 12, 12, 3, 3}));
  EXPECT_EQ(data_after(tnk_dft_xvpks_fwd_rtocomplex_64f), (Reals{1.5, 1.5, 1.5, 1.5, 1.5, 3, 3, 3, 3, 3}));
  node.packed_format = DftiFormatPerm;
  EXPECT_EQ(data_after(tnk_dft_xvpks_fwd_rtocomplex_64f), (Reals{1.5, 1.5, 1.5, 1.5, 3, 3, 3, 3, 3, 3}));
  EXPECT_EQ(data_after(tnk_dft_xvpks_inv_complextor_64f), (Reals{12, 12, 12, 12, 3, 3, 3, 3, 3, 3}));
  node.packed_format = DftiFormatCcs, node.placement = DftiInPlace; // what is left of the last pair
  EXPECT_EQ(data_after(tnk_dft_xvpks_inv_complextor_64f), (Reals{12, 12, 12, 12, 0, 3, 3, 3, 3, 3}));
  std::vector<double> re(4, 3), im(4, 5);
  double *parts[2] = {re.data(), im.data()};
  EXPECT_EQ(tnk_dft_xvpks_fwd_64f(parts, parts, &node, nullptr), DftiInternalError);
  EXPECT_EQ(re, Reals(4, 1.5));
  EXPECT_EQ(im, Reals(4, 2.5));
}

// In whatever order a spectrum stands, the backward transform knows it.
TEST(Compute, ScrambledSpectraComeBack) {
  for (const Ints &lengths : {Ints{6000}, Ints{4, 5250}}) {
    const tnk_int n = lengths.size() == 1 ? lengths[0] : lengths[0] * lengths[1];
    Plan plan(DftiDouble, DftiComplex, lengths, {{DftiParamOrdering, DftiBackwardScrambled}}, 1,
              1. / static_cast<double>(n));
    ASSERT_EQ(plan.commit(), DftiNoError);
    const Numbers before = numbers<double>(n);
    Numbers data = before;
    EXPECT_EQ(DftiComputeForward(plan, data.data()), DftiNoError);
    EXPECT_EQ(DftiComputeBackward(plan, data.data()), DftiNoError);
    for (std::size_t i = 0; i < data.size(); ++i) {
      ASSERT_NEAR(data[i].re, before[i].re, 1e-13);
      ASSERT_NEAR(data[i].im, before[i].im, 1e-13);
    }
  }
}

TEST(Compute, RowMoversAndLines) {
  // Two rows of three elements, 5 apart, side by side from element 2 on.
  const float strided[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  const float rows[] = {0, 2, 7, 12, 3, 8, 13, 0};
  float dense[8] = {}, back[15] = {};
  tnk_dft_gather_s_s(3, 2, dense, 1, strided, 5, 2);
  EXPECT_EQ(std::memcmp(dense, rows, sizeof rows), 0);
  tnk_dft_scatter_s_s(3, 2, dense, 1, back, 5, 2);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(back[i], i % 5 == 2 || i % 5 == 3 ? strided[i] : 0.0f);
  // Three lines side by side, their second numbers 5 behind the first ones.
  DftiNode node{};
  node.axis.length = 2;
  const Numbers before = numbers<double>(10);
  Numbers data = before;
  EXPECT_EQ(tnk_dft_xzdft_mult(data.data(), 2, 5, 3, negate, &node, nullptr), DftiNoError);
  for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(data[i].re, i % 5 < 3 ? -before[i].re : before[i].re);
}

} // namespace
} // namespace tnk::test
