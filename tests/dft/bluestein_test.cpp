// Transforms of any length as a convolution, which commit takes at lengths of tens of millions only: here at short ones, by
// the functions that set a node up.
#include "dft/plan.h"
#include "dft/samples.h"
#include "support/allocations.h"
#include <future>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>

namespace tnk::test {
namespace {

template <class R> using Numbers = std::vector<Complex<R>>;
// Of the root mean square of a spectrum, in eps: rounding of two transforms of some four times the length.
template <class R> constexpr double bound = is_single<R> ? 4.19 : 4.5;

template <class R> tnk_int init(const Plan &plan, tnk_int n, int users = 1) {
  plan->axis.length = n;
  plan->user_threads = users;
  plan->threads = 1;
  return (is_single<R> ? tnk_dft_bluestein_init_c : tnk_dft_bluestein_init_z)(plan);
}
template <class R> DftiKernelPair kernels_of(const Plan &plan) {
  return is_single<R> ? plan->kernels.single_pair : plan->kernels.double_pair;
}

template <class R> class Bluestein : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Bluestein, Precisions);

// Compute entries of a node that is set up by hand as commit does: at once, among users, and in a batch; at any address.
TYPED_TEST(Bluestein, AnyLengthOnEveryRoute) {
  using R = TypeParam;
  constexpr DftiCompute *entries[2][2] = {
      {is_single<R> ? tnk_dft_compute_fwd_s_c2c_1d_i : tnk_dft_compute_fwd_d_c2c_1d_i,
       is_single<R> ? tnk_dft_compute_fwd_s_c2c_1d_o : tnk_dft_compute_fwd_d_c2c_1d_o},
      {is_single<R> ? tnk_dft_compute_bwd_s_c2c_1d_i : tnk_dft_compute_bwd_d_c2c_1d_i,
       is_single<R> ? tnk_dft_compute_bwd_s_c2c_1d_o : tnk_dft_compute_bwd_d_c2c_1d_o}};
  const struct {
    uint32_t flags;
    int users;
    std::size_t transforms;
  } routes[] = {
      {TNK_DFT_ONE_SHOT | TNK_DFT_CONTIGUOUS, 1, 1}, {TNK_DFT_CONTIGUOUS, 2, 1}, {0, 1, 3}, {0, 2, 3}};
  Ints lengths{1009, 2048, 9973};
  for (tnk_int n = 1; n <= 130; ++n) lengths.push_back(n);
  const int before = allocations.live;
  for (const tnk_int n : lengths)
    for (const auto &route : routes) {
      const Plan plan(precision<R>, DftiComplex, {n});
      ASSERT_EQ(init<R>(plan, n, route.users), DftiNoError);
      plan->committed_rank = 1;
      plan->axis.input_stride = plan->axis.output_stride = 1;
      plan->input_distance = plan->output_distance = n + 3;
      plan->number_of_transforms = static_cast<int64_t>(route.transforms);
      plan->flags = route.flags;
      plan->forward_factor = plan->forward_factor_single = 0.75;
      plan->backward_factor = plan->backward_factor_single = 0.125;
      // Read by a transform alone on several threads only; it is the same whichever the direction.
      EXPECT_EQ((is_single<R> ? plan->kernels.second_single : plan->kernels.second_double).forward,
                kernels_of<R>(plan).inverse);
      for (const bool inverse : {false, true}) {
        const Numbers<R> data = numbers<R>(3 * (n + 3));
        Numbers<R> source = data, result = data;
        result.insert(result.begin(), {7, 7});
        plan->placement = DftiNotInPlace;
        EXPECT_EQ(entries[inverse][true](plan, source.data(), result.data() + 1, nullptr, nullptr),
                  DftiNoError);
        EXPECT_TRUE(same_bits(source, data) && result[0].re == 7);
        result.erase(result.begin());
        plan->placement = DftiInPlace;
        EXPECT_EQ(entries[inverse][false](plan, source.data(), nullptr, nullptr, nullptr), DftiNoError);
        EXPECT_TRUE(same_bits(source, result)) << "in place " << n;
        for (std::size_t i = 0; i < 3; ++i) {
          const auto part = [&](const Numbers<R> &all) {
            const auto first = all.begin() + static_cast<std::ptrdiff_t>(i) * (n + 3);
            return Numbers<R>(first, first + n);
          };
          const Numbers<R> from = part(data);
          if (i < route.transforms)
            EXPECT_LT(Samples<R>(from, inverse, n > 2048 ? 12 : from.size(), 97)
                          .error(part(result), R(inverse ? 0.125 : 0.75)),
                      bound<R>)
                << n;
          else
            EXPECT_TRUE(same_bits(part(result), from));
        }
      }
    }
  EXPECT_EQ(allocations.live, before);
}

// What is refused leaves the node as it was, and its other ways open.
TYPED_TEST(Bluestein, RefusesWithoutALeak) {
  using R = TypeParam;
  const Plan plan(precision<R>, DftiComplex, {6000});
  const int before = allocations.live;
  const DftiKernels kernels = plan->kernels;
  const auto is_untouched = [&] {
    return !plan->bluestein_data && std::memcmp(&kernels, &plan->kernels, sizeof kernels) == 0 &&
           allocations.live == before;
  };
  tnk_dft_bluestein_free(nullptr);
  tnk_dft_bluestein_free(plan);
  EXPECT_EQ(init<R>(plan, tnk_int{1} << 29), DftiLengthExceedsLimit);
  EXPECT_TRUE(is_untouched());
  const int refusals = refuse_in_turn([&] { return init<R>(plan, 6000); },
                                      [&](tnk_int status, bool refused) {
                                        EXPECT_TRUE(refused || status == DftiNoError);
                                        if (status != DftiNoError) {
                                          EXPECT_TRUE(is_untouched());
                                          return;
                                        }
                                        tnk_dft_bluestein_free(plan);
                                        plan->kernels = kernels;
                                      });
  EXPECT_GT(refusals, 4); // the block, two tables, and the descriptor within
  EXPECT_TRUE(is_untouched());

  ASSERT_EQ(init<R>(plan, 6000), DftiNoError);
  const int ready = allocations.live;
  Numbers<R> data = numbers<R>(6000);
  EXPECT_GT(
      refuse_in_turn([&] { return kernels_of<R>(plan).forward(data.data(), data.data(), plan, nullptr); },
                     [&](tnk_int status, bool refused) {
                       EXPECT_EQ(status, refused ? DftiMemoryError : DftiNoError);
                       EXPECT_EQ(allocations.live, ready);
                     }),
      0);
}

// The descriptor within has a workspace at such lengths, which callers must not share.
TYPED_TEST(Bluestein, CallsOverlap) {
  using R = TypeParam;
  constexpr tnk_int n = 5003;
  const Plan plan(precision<R>, DftiComplex, {n});
  ASSERT_EQ(init<R>(plan, n, 2), DftiNoError);
  const auto run = [&] {
    Numbers<R> x = numbers<R>(n);
    EXPECT_EQ(kernels_of<R>(plan).forward(x.data(), x.data(), plan, nullptr), DftiNoError);
    return x;
  };
  const Numbers<R> alone = run();
  for (int round = 0; round < 50; ++round) {
    auto other = std::async(std::launch::async, run);
    ASSERT_TRUE(same_bits(run(), alone) && same_bits(other.get(), alone)) << "round " << round;
  }
}

} // namespace
} // namespace tnk::test
