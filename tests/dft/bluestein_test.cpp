// Transforms of any length as a convolution, which commit takes at lengths of tens of millions only: here at short ones, by
// the functions that set a node up.
#include <cmath>
#include <cstring>
#include <thread>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>

#include "dft/plan.h"
#include "reference/fourier.h"
#include "support/allocations.h"
#include "support/random.h"

namespace tnk::test {
namespace {

template <class R> struct Names;
template <> struct Names<double> {
  using C = tnk_complex16;
  static constexpr int precision = DftiDouble;
  static constexpr auto init = tnk_dft_bluestein_init_z;
  static constexpr auto pair = &DftiKernels::double_pair, second = &DftiKernels::second_double;
  static constexpr DftiCompute *forward[] = {tnk_dft_compute_fwd_d_c2c_1d_i, tnk_dft_compute_fwd_d_c2c_1d_o},
                               *backward[] = {tnk_dft_compute_bwd_d_c2c_1d_i, tnk_dft_compute_bwd_d_c2c_1d_o};
  // Of the root mean square of a spectrum: rounding of two transforms of some four times the length.
  static constexpr double bound = 1e-15;
};
template <> struct Names<float> {
  using C = tnk_complex8;
  static constexpr int precision = DftiSingle;
  static constexpr auto init = tnk_dft_bluestein_init_c;
  static constexpr auto pair = &DftiKernels::single_pair, second = &DftiKernels::second_single;
  static constexpr DftiCompute *forward[] = {tnk_dft_compute_fwd_s_c2c_1d_i, tnk_dft_compute_fwd_s_c2c_1d_o},
                               *backward[] = {tnk_dft_compute_bwd_s_c2c_1d_i, tnk_dft_compute_bwd_s_c2c_1d_o};
  static constexpr double bound = 5e-7;
};

template <class R> using Numbers = std::vector<typename Names<R>::C>;

template <class R> Numbers<R> some_numbers(std::size_t n) {
  Random random(static_cast<unsigned>(n));
  Numbers<R> numbers(n);
  for (auto &x : numbers) x = random.number<typename Names<R>::C>();
  return numbers;
}

// The root mean square error over that of the spectrum, from output `first` on by steps of `step`.
template <class R>
double error_of(const Numbers<R> &computed, const Numbers<R> &data, int sign, double factor,
                std::size_t step = 1) {
  const std::size_t n = data.size();
  const std::vector<reference::Wide> w = reference::roots(n, sign);
  long double off = 0, power = 0;
  for (std::size_t k = 0; k < n; k += step) {
    reference::Wide sum = 0;
    for (std::size_t j = 0, turn = 0; j < n; ++j, turn = (turn + k) % n)
      sum += reference::Wide(data[j].re, data[j].im) * w[turn];
    sum *= factor;
    off += std::norm(sum - reference::Wide(computed[k].re, computed[k].im)), power += std::norm(sum);
  }
  return static_cast<double>(std::sqrt(off / power));
}

template <class R> tnk_int init(const Plan &plan, std::size_t n, int users = 1) {
  plan->axis.length = static_cast<int64_t>(n);
  plan->user_threads = users;
  plan->threads = 1;
  return Names<R>::init(plan);
}

template <class R> class Bluestein : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Bluestein, Precisions);

TYPED_TEST(Bluestein, AnyLengthByItsKernels) {
  using R = TypeParam;
  std::vector<std::size_t> lengths{1009, 2048, 9973};
  for (std::size_t n = 1; n <= 130; ++n) lengths.push_back(n);
  for (const std::size_t n : lengths) {
    const int before = allocations.live;
    {
      const Plan plan(Names<R>::precision, DftiComplex, {static_cast<tnk_int>(n)});
      ASSERT_EQ(init<R>(plan, n), DftiNoError);
      const Numbers<R> data = some_numbers<R>(n);
      const std::size_t step = n > 2048 ? 97 : 1;
      for (const bool inverse : {false, true}) {
        const DftiKernelPair &pair = plan->kernels.*Names<R>::pair;
        DftiKernel *const kernel = inverse ? pair.inverse : pair.forward;
        Numbers<R> source = data, result(n + 1, {7, 7});
        EXPECT_EQ(kernel(source.data(), result.data() + 1, plan, nullptr), DftiNoError); // at any address
        EXPECT_EQ(std::memcmp(source.data(), data.data(), n * sizeof data[0]), 0);
        EXPECT_EQ(result[0].re, 7);
        result.erase(result.begin());
        EXPECT_LT(error_of<R>(result, data, inverse ? 1 : -1, 1, step), Names<R>::bound) << n;
        EXPECT_EQ(kernel(source.data(), source.data(), plan, nullptr), DftiNoError);
        EXPECT_EQ(std::memcmp(source.data(), result.data(), n * sizeof data[0]), 0) << "in place " << n;
      }
      // Read by a transform alone on several threads only; it is the same whichever the direction.
      EXPECT_EQ((plan->kernels.*Names<R>::second).forward, (plan->kernels.*Names<R>::pair).inverse);
    }
    EXPECT_EQ(allocations.live, before);
  }
}

// Compute entries of a node that is set up by hand as commit does: at once, among users, and in a batch.
TYPED_TEST(Bluestein, ScalesOnceOnEveryRoute) {
  using R = TypeParam;
  constexpr std::size_t n = 37, count = 3, distance = 40;
  struct Route {
    uint32_t flags;
    int users;
    std::size_t transforms;
  };
  for (const Route route : {Route{TNK_DFT_ONE_SHOT | TNK_DFT_CONTIGUOUS, 1, 1},
                            Route{TNK_DFT_CONTIGUOUS, 2, 1}, Route{0, 1, count}, Route{0, 2, count}})
    for (const bool out : {false, true}) {
      const Plan plan(Names<R>::precision, DftiComplex, {n});
      ASSERT_EQ(DftiSetValue(plan, DftiParamPlacement, out ? DftiNotInPlace : DftiInPlace), DftiNoError);
      ASSERT_EQ(init<R>(plan, n, route.users), DftiNoError);
      plan->committed_rank = 1;
      plan->axis.input_stride = plan->axis.output_stride = 1;
      plan->input_distance = plan->output_distance = distance;
      plan->number_of_transforms = static_cast<int64_t>(route.transforms);
      plan->flags = route.flags;
      plan->forward_factor = plan->forward_factor_single = 0.75;
      plan->backward_factor = plan->backward_factor_single = 0.125;
      for (const bool inverse : {false, true}) {
        const Numbers<R> data = some_numbers<R>(count * distance);
        Numbers<R> source = data, result = data;
        DftiCompute *const compute = (inverse ? Names<R>::backward : Names<R>::forward)[out];
        EXPECT_EQ(compute(plan, source.data(), out ? result.data() : nullptr, nullptr, nullptr), DftiNoError);
        if (!out) result = source;
        for (std::size_t i = 0; i < count; ++i) {
          const auto part = [&](const Numbers<R> &all) {
            const auto first = all.begin() + static_cast<std::ptrdiff_t>(i * distance);
            return Numbers<R>(first, first + n);
          };
          if (i < route.transforms)
            EXPECT_LT(error_of<R>(part(result), part(data), inverse ? 1 : -1, inverse ? 0.125 : 0.75),
                      Names<R>::bound);
          else
            EXPECT_EQ(std::memcmp(&result[i * distance], &data[i * distance], n * sizeof data[0]), 0);
        }
      }
    }
}

// What is refused leaves the node as it was, and its other ways open.
TYPED_TEST(Bluestein, RefusesWithoutALeak) {
  using R = TypeParam;
  const Plan plan(Names<R>::precision, DftiComplex, {6000});
  const int before = allocations.live;
  const DftiKernels kernels = plan->kernels;
  const auto is_untouched = [&] {
    return !plan->bluestein_data && std::memcmp(&kernels, &plan->kernels, sizeof kernels) == 0 &&
           allocations.live == before;
  };
  tnk_dft_bluestein_free(nullptr);
  tnk_dft_bluestein_free(plan);
  EXPECT_EQ(init<R>(plan, std::size_t{1} << 29), DftiLengthExceedsLimit);
  EXPECT_TRUE(is_untouched());

  int n = 1;
  for (bool refused = true; refused; ++n) {
    allocations.refuse = n;
    const tnk_int status = init<R>(plan, 6000);
    refused = allocations.refuse == 0;
    allocations.refuse = 0;
    if (status == DftiNoError) {
      tnk_dft_bluestein_free(plan);
      plan->kernels = kernels;
    }
    EXPECT_TRUE(refused || status == DftiNoError) << n;
    EXPECT_TRUE(is_untouched()) << n;
  }
  EXPECT_GT(n, 6); // the block, two tables, and the descriptor within

  ASSERT_EQ(init<R>(plan, 6000), DftiNoError);
  const int ready = allocations.live;
  Numbers<R> data = some_numbers<R>(6000);
  allocations.refuse = 1;
  EXPECT_EQ((plan->kernels.*Names<R>::pair).forward(data.data(), data.data(), plan, nullptr),
            DftiMemoryError);
  EXPECT_EQ(allocations.live, ready);
  EXPECT_EQ((plan->kernels.*Names<R>::pair).forward(data.data(), data.data(), plan, nullptr), DftiNoError);
}

// The descriptor within has a workspace at such lengths, which callers must not share.
TYPED_TEST(Bluestein, CallsOverlap) {
  using R = TypeParam;
  constexpr std::size_t n = 5003;
  const Plan plan(Names<R>::precision, DftiComplex, {n});
  ASSERT_EQ(init<R>(plan, n, 2), DftiNoError);
  DftiKernel *const kernel = (plan->kernels.*Names<R>::pair).forward;
  const Numbers<R> data = some_numbers<R>(n);
  Numbers<R> alone = data;
  EXPECT_EQ(kernel(alone.data(), alone.data(), plan, nullptr), DftiNoError);
  std::vector<std::thread> callers;
  std::vector<Numbers<R>> results(2);
  for (Numbers<R> &result : results)
    callers.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        result = data;
        EXPECT_EQ(kernel(result.data(), result.data(), plan, nullptr), DftiNoError);
        if (std::memcmp(result.data(), alone.data(), n * sizeof alone[0]) != 0) {
          ADD_FAILURE() << "round " << round;
          break;
        }
      }
    });
  for (std::thread &caller : callers) caller.join();
}

} // namespace
} // namespace tnk::test
