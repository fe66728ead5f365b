// Which method a commit takes, what it leaves in the node, and what becomes of it and of computing when memory is short.
#include "dft/plan.h"
#include "support/allocations.h"
#include <cmath>
#include <string>
#include <tnk/dft_commit.h>
#include <tnk/services.h>

namespace {
int32_t cache_known = 1, cache_bytes = 1 << 20;
}

// In place of the host's, so that thread counts do not depend on the processor.
void tnk_serv_cache_info(int32_t *info) {
  info[0] = cache_known, info[1] = cache_bytes;
}

namespace {

using namespace tnk::test;

// A configuration, dimension 0 first.
struct Configuration {
  int32_t precision, domain;
  Ints lengths;
  Values values = {};
  Ints input = {}, output = {}; // strides, behind an offset
  double forward = 1, backward = 1;
  bool inner = false;
};

class Configured : public Plan {
public:
  explicit Configured(const Configuration &as)
      : Plan(as.precision, as.domain, {as.lengths.rbegin(), as.lengths.rend()}, as.values, as.forward,
             as.backward) {
    if (!as.input.empty()) handle->methods->setInputStrides(handle, as.input.data());
    if (!as.output.empty()) handle->methods->setOutputStrides(handle, as.output.data());
    if (as.inner) handle->flags |= TNK_DFT_INNER;
  }
  bool is_committed() const {
    return handle->commit_status == DftiCommitted && handle->compute_forward && handle->compute_backward;
  }
};

constexpr Values::value_type out_of_place{DftiParamPlacement, DftiNotInPlace},
    split{DftiParamComplexStorage, DftiRealReal}, scrambled{DftiParamOrdering, DftiBackwardScrambled},
    complex_rows{DftiParamConjugateEvenStorage, DftiComplexComplex},
    packed_cce{DftiParamPackedFormat, DftiFormatCce};
constexpr Values::value_type batch(tnk_int n) {
  return {DftiParamNumberOfTransforms, n};
}
constexpr Values::value_type users(tnk_int n) {
  return {DftiParamNumberOfUserThreads, n};
}

TEST(Commits, EachConfigurationHasItsStrategy) {
  for (const int32_t precision : {DftiSingle, DftiDouble}) {
    const bool single = precision == DftiSingle;
    const DftiStrategy *const small = single ? &tnk_dft_bkd1_c : &tnk_dft_bkd1_z;
    const DftiStrategy *const rows = single ? &tnk_dft_bkd_ss2s_1_1 : &tnk_dft_bkd_ds2s_1_1;
    const DftiStrategy *const dimensions = &tnk_dft_bkd_as2s_n_m;
    const DftiStrategy *const legacy = nullptr;
    const DftiStrategy *const codelets = single ? small : &tnk_dft_bkd3_z; // more work than the stack has
    const tnk_int too_long = (tnk_int{1} << (single ? 26 : 25)) + 1;
    const int32_t c = DftiComplex, r = DftiReal;
    const struct {
      Configuration setup;
      const DftiStrategy *strategy;
      int32_t arrays;                 // 0: no strategy takes it
      bool is_never_computed = false; // a part of a larger transform, should somebody do so
    } choices[] = {
        {{precision, c, {1}}, small, 1},
        {{precision, c, {64}}, small, 1},
        {{precision, c, {128}}, codelets, 1},
        {{precision, c, {128}, {out_of_place, users(3)}}, codelets, 2},
        {{precision, c, {128}, {}, {}, {}, 1, 1, true}, legacy, 1},
        {{precision, c, {64}, {users(2)}}, small, 1},
        {{precision, c, {64}, {scrambled}}, small, 1},
        {{precision, c, {64}, {}, {0, 1}, {0, 2}}, small, 1},
        {{precision, c, {64}, {out_of_place}, {0, 1}, {0, 2}}, legacy, 2},
        {{precision, c, {64}, {}, {0, 2}}, legacy, 1},
        {{precision, c, {64}, {}, {1, 1}}, legacy, 1},
        {{precision, c, {64}, {batch(2)}}, legacy, 1},
        {{precision, c, {64}, {}, {}, {}, 1, 1, true}, legacy, 1},
        {{precision, c, {3}, {}, {}, {}, 1, 1. / 3}, small, 1},
        {{precision, c, {3}, {}, {}, {}, 1 / std::sqrt(3.), 1 / std::sqrt(3.)}, small, 1},
        {{precision, c, {3}, {}, {}, {}, 1. / 3, 1. / 3}, legacy, 1},
        {{precision, c, {4097}}, legacy, 1},
        {{precision, c, {997}}, legacy, 1}, // a convolution: much work, none on the stack
        {{precision, c, {6000}, {scrambled}}, legacy, 1},
        {{precision, c, {too_long}, {}, {0, 2}}, legacy, 0},
        {{precision, c, {too_long, 2}}, legacy, 0},
        {{precision, c, {2, 3, 2, 3, 2, 3, 2}, {out_of_place}}, legacy, 2},
        {{precision, c, {64}, {split, batch(5), out_of_place}}, rows, 4},
        {{precision, c, {6000}, {split, scrambled}, {3, 2}, {}, 0.7}, rows, 2},
        {{precision, c, {64}, {split}, {}, {}, 1, 1, true}, legacy, 2},
        {{precision, c, {8}, {split, scrambled}, {}, {}, 1, 1, true}, legacy, 2, true},
        {{precision, c, {8, 6}, {split}, {}, {}, 1, 1, true}, legacy, 2, true},
        {{precision, c, {too_long}, {split}}, legacy, 0},
        {{precision, c, {8, 6, 4}, {split, out_of_place, batch(3)}}, dimensions, 4},
        {{precision, c, {8, 1}, {split}}, rows, 2},
        {{precision, r, {64}, {split, out_of_place}}, legacy, 2},
        {{precision, r, {64}, {packed_cce}}, legacy, 0},
        {{precision, r, {too_long}}, legacy, 0},
        {{precision, r, {8, 6}}, legacy, 1},
        {{precision, r, {8, 6, 4}}, legacy, 0},
        {{precision, r, {4, 3, 2, 3}, {complex_rows, out_of_place}}, legacy, 2},
    };
    for (const auto &choice : choices) {
      SCOPED_TRACE("row " + std::to_string(&choice - choices) + (single ? " single" : " double"));
      Configured plan(choice.setup);
      const int before = allocations.live;
      const bool taken = choice.arrays > 0;
      ASSERT_EQ(plan.commit(), taken ? DftiNoError : DftiDeclined);
      // The host finds the library's own strategies, not this program's copies.
      EXPECT_TRUE(plan->strategy == choice.strategy ||
                  (plan->strategy && choice.strategy && plan->strategy->commit == choice.strategy->commit));
      EXPECT_EQ(plan.is_committed(), taken);
      EXPECT_EQ(taken ? plan->nioargs : 0, choice.arrays);
      EXPECT_TRUE(taken || allocations.live == before);
      if (!choice.is_never_computed) continue;
      double re[48] = {}, im[48] = {};
      EXPECT_EQ(DftiComputeForward(plan, re, im), DftiUnimplemented);
      EXPECT_EQ(DftiComputeBackward(plan, re, im), DftiUnimplemented);
    }
  }
}

// The statuses of a core commit do not come through to a caller of commit; here they are.
TEST(Commits, CoreCommitsSayWhyTheyFail) {
  const tnk_int too_long = (tnk_int{1} << 25) + 1;
  const struct {
    Configuration setup;
    DftiCoreCommit *commit;
    tnk_int status;
  } refusals[] = {
      {{DftiDouble, DftiComplex, {too_long}, {}, {0, 2}}, tnk_dft_commit_node_d_c2c_1d_omp, 9},
      {{DftiDouble, DftiComplex, {too_long}, {scrambled}}, tnk_dft_commit_node_d_c2c_1d_omp, 9},
      {{DftiDouble, DftiComplex, {tnk_int{1} << 27, 2}}, tnk_dft_commit_node_d_c2c_md_omp, 9},
      {{DftiSingle, DftiComplex, {2, 2 * too_long}}, tnk_dft_commit_node_s_c2c_md_omp, 9},
      {{DftiSingle, DftiComplex, {2, -5, 3}}, tnk_dft_commit_node_s_c2c_md_omp, 7},
      {{DftiDouble, DftiReal, {too_long}}, tnk_dft_commit_node_d_r2c_1d_omp, 9},
      {{DftiDouble, DftiReal, {8}, {packed_cce}}, tnk_dft_commit_node_d_r2c_1d_omp, 6},
      {{DftiSingle, DftiReal, {8, 6, 4}}, tnk_dft_commit_node_s_r2c_md_omp, 6},
      {{DftiSingle, DftiComplex, {9}, {users(0x8000000)}}, tnk_dft_commit_node_s_c2c_1d_omp, 1},
  };
  for (const auto &refusal : refusals) {
    SCOPED_TRACE("row " + std::to_string(&refusal - refusals));
    Configured plan(refusal.setup);
    plan->strategy_list = nullptr; // normalised, not committed
    ASSERT_EQ(plan.commit(), DftiDeclined);
    const int before = allocations.live;
    EXPECT_EQ(refusal.commit(plan), refusal.status);
    EXPECT_EQ(allocations.live, before);
    EXPECT_FALSE(plan.is_committed());
  }
}

// Each way of committing, by one that stands for it.
const Configuration ways[] = {
    {DftiDouble, DftiComplex, {64}},
    {DftiDouble, DftiComplex, {128}},
    {DftiDouble, DftiComplex, {60}, {batch(2)}},
    {DftiSingle, DftiComplex, {5000}},
    {DftiDouble, DftiComplex, {6, 5, 4}, {out_of_place, users(3)}},
    {DftiSingle, DftiComplex, {6000}, {scrambled}},
    {DftiDouble, DftiComplex, {12}, {split, batch(2)}, {0, 3}},
    {DftiSingle, DftiComplex, {4, 3, 2}, {split, batch(2), {DftiParamInputDistance, 24}}},
    {DftiSingle, DftiReal, {12}},
    {DftiDouble, DftiReal, {6, 5}},
    {DftiDouble, DftiComplex, {16, 512}},
    {DftiSingle, DftiReal, {6, 5, 4, 3}, {complex_rows}},
    // These ask for memory to compute.
    {DftiDouble, DftiComplex, {300}, {}, {0, 2}, {0, 2}},
    {DftiDouble, DftiComplex, {300}, {split}, {0, 2}, {0, 2}},
    {DftiDouble, DftiComplex, {40, 5}, {out_of_place}, {0, 1, 40}, {0, 5, 1}},
    {DftiDouble, DftiComplex, {5, 40, 3}, {}, {0, 1, 5, 200}},
    {DftiDouble, DftiReal, {600}, {out_of_place, complex_rows}, {0, 2}, {0, 2}},
    {DftiDouble, DftiReal, {5, 60}, {}, {0, 1, 6}},
    {DftiDouble, DftiReal, {5, 40, 3}, {out_of_place, complex_rows}, {0, 1, 5, 200}, {0, 1, 5, 200}},
};

TEST(Commits, ARepeatedCommitLosesNothing) {
  for (const Configuration &way : ways) {
    SCOPED_TRACE("way " + std::to_string(&way - ways));
    const int nothing = allocations.live;
    {
      Configured plan(way);
      ASSERT_EQ(plan.commit(), DftiNoError);
      const int committed = allocations.live, made = allocations.made;
      const DftiStrategy *const strategy = plan->strategy;
      for (const DftiStrategy *const other :
           {&tnk_dft_bkd1_c, &tnk_dft_bkd1_z, &tnk_dft_bkd_as2s_n_m, &tnk_dft_bkd_as2s_1_m,
            &tnk_dft_bkd_ss2s_1_1, &tnk_dft_bkd_ds2s_1_1})
        EXPECT_TRUE(other == strategy || other->detach(other, plan) == DftiInternalError);
      for (const bool refused : {false, true}) {
        EXPECT_TRUE(!refused || plan.set(DftiParamPlacement, 77) == DftiInconsistentConfiguration);
        EXPECT_EQ(plan.is_committed(), !refused);
        ASSERT_EQ(plan.commit(), DftiNoError);
        EXPECT_TRUE(allocations.live == committed && plan->strategy == strategy);
        EXPECT_TRUE(strategy != &tnk_dft_bkd1_z || allocations.made == made); // what it has is kept
      }
      // From one way to another and back.
      DftiSetValue(plan, DftiParamForwardScale, 0.7);
      plan.set(DftiParamOrdering, DftiOrdered);
      EXPECT_EQ(plan.commit(), DftiNoError);
      plan->uncommit(plan);
      plan->uncommit(plan);
    }
    EXPECT_EQ(allocations.live, nothing);
  }
}

// On numbers that any layout may have.
tnk_int compute(const Configured &plan, bool inverse) {
  std::vector<double> x(20000), y = x, z = x, u = x;
  return (inverse ? DftiComputeBackward : DftiComputeForward)(plan, x.data(), y.data(), z.data(), u.data());
}

TEST(Commits, EveryAllocationMayFail) {
  int refusals = 0;
  for (const Configuration &way : ways)
    for (const bool again : {false, true}) {
      SCOPED_TRACE("way " + std::to_string(&way - ways) + (again ? " again" : ""));
      Configured plan(way);
      const int before = allocations.live;
      const auto prepare = [&] {
        EXPECT_TRUE(!again || plan.commit() == DftiNoError);
        plan.set(DftiParamPlacement, 77); // refused, and so to be committed anew
      };
      refuse_in_turn([&] { return plan.commit(); },
                     [&](tnk_int status, bool refused) {
                       // A later strategy may have been content with less.
                       ASSERT_TRUE(status == DftiNoError || (refused && status == DftiDeclined)) << status;
                       EXPECT_EQ(plan.is_committed(), status == DftiNoError);
                       EXPECT_TRUE(status == DftiNoError
                                       ? compute(plan, false) == 0 && compute(plan, true) == 0
                                       : allocations.live == before);
                       plan->uncommit(plan);
                       EXPECT_EQ(allocations.live, before);
                     },
                     prepare);
      ASSERT_EQ(plan.commit(), DftiNoError);
      const int live = allocations.live;
      for (const bool inverse : {false, true})
        refusals += refuse_in_turn([&] { return compute(plan, inverse); },
                                   [&](tnk_int status, bool refused) {
                                     EXPECT_EQ(status, refused ? DftiMemoryError : DftiNoError);
                                     EXPECT_EQ(allocations.live, live);
                                   });
    }
  EXPECT_GE(refusals, 7 * 2 * 2);
}

int32_t hardware;

TEST(Commits, SuggestedThreads) {
  DftiApi api = {nullptr, nullptr, [] { return hardware; }, nullptr, nullptr};
  const int32_t in = DftiInPlace, out = DftiNotInPlace;
  // The largest numbers are sqrt(D ln D / 313600) + 0.5, D bytes, times the dimensions where there are several.
  const struct {
    DftiModeDefinition *define;
    int32_t rank;
    tnk_int total, count;
    int32_t placement, hardware, cache, threads;
  } rows[] = {
      {tnk_dft_threaded_mode_definition_d_c2c_1d, 1, 1 << 20, 1, in, 0, 1 << 20, 1},
      {tnk_dft_threaded_mode_definition_d_c2c_1d, 1, 1000, 100, in, 0, 1 << 20, 9},
      {tnk_dft_threaded_mode_definition_d_r2c_1d, 1, 1000, 100, out, 0, 1 << 20, 12},
      {tnk_dft_threaded_mode_definition_s_c2c_1d, 1, 1000, 100, in, 0, 1 << 19, 6},
      {tnk_dft_threaded_mode_definition_s_r2c_1d, 1, 1000, 100, in, 0, 1 << 20, 1}, // in the cache
      {tnk_dft_threaded_mode_definition_s_c2c_1d, 1, 8, 100, in, 0, 0, 1},          // 8192 bytes of cache
      {tnk_dft_threaded_mode_definition_s_c2c_1d, 1, 10, 103, in, 0, 0, 64},       // root below 1: no opinion
      {tnk_dft_threaded_mode_definition_d_c2c_1d, 1, 1000, 0, in, 0, 1 << 20, 64}, // nothing to do
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 1024, 1, in, 8, 0, 1},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 2048, 1, in, 8, 0, 8},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 343, 1, in, 8, 0, 8},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 8192, 1, in, 8, 0, 8},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 8193, 1, in, 8, 0, 4},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 32000, 1, in, 2, 0, 2},
      {tnk_dft_threaded_mode_definition_s_c2c_md, 3, 32001, 1, in, 2, 0, 9},
      {tnk_dft_threaded_mode_definition_s_r2c_md, 3, 32001, 1, in, 1, 0, 9},
      {tnk_dft_threaded_mode_definition_d_r2c_md, 3, 342, 1, in, 8, 0, 1},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 1000, 4, in, 8, 1 << 20, 1},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 2, 1000, 4, in, 8, 1 << 15, 8},
      {tnk_dft_threaded_mode_definition_d_c2c_md, 1, 1000, 4, in, 8, 1 << 15, 2},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    hardware = row.hardware, cache_bytes = row.cache, cache_known = row.cache > 0;
    DftiNode node = {};
    node.api_entries = &api;
    node.user_threads = 1, node.threads = 64;
    node.committed_rank = row.rank, node.total_length = row.total, node.number_of_transforms = row.count;
    node.placement = row.placement;
    node.axis.input_stride = node.axis.output_stride = 1;
    EXPECT_EQ(row.define(&node, 1), DftiNoError);
    EXPECT_EQ(node.threads, row.threads);
    node.threads = 64; // as asked, but for what cannot use them
    EXPECT_EQ(row.define(&node, 0), DftiNoError);
    EXPECT_EQ(node.threads, row.rank == 1 && row.count == 1 ? 1 : 64);
  }
}

} // namespace
