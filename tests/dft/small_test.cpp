// Transforms of short lengths that stand in code: the kernels by length, and the strategies that put such a transform into a
// node.
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>
#include <vector>

#include "dft/plan.h"
#include "reference/fourier.h"
#include "support/guarded.h"
#include "support/random.h"

namespace {

using namespace tnk::test;
using tnk::reference::Wide;

// ---- One transform, wherever its numbers stand -----------------------------------------------------------------------------

// The root of the mean square of what the result is off, by that of the result.
template <class R>
long double error_of(const Guarded<std::complex<R>> &result, const std::vector<Wide> &expected,
                     long double factor) {
  long double squares = 0, all = 0;
  for (std::size_t k = 0; k < expected.size(); ++k) {
    squares += std::norm(Wide(result.get(k)) - factor * expected[k]);
    all += std::norm(factor * expected[k]);
  }
  return std::sqrt(squares / all);
}

template <class R> long double allowed(std::size_t n) {
  return std::numeric_limits<R>::epsilon() *
         (0.35L + 0.5L * std::sqrt(std::log2(static_cast<long double>(n))));
}

// run(source, destination) transforms n numbers, in one or two arrays that stand `shift` bytes past a boundary.
// The same bits in place and out of place, the source left alone there, and nothing around the arrays read or written.
template <class R, class Run>
void expect_transform(std::size_t n, int sign, long double factor, std::size_t shift, const Run &run) {
  using C = std::complex<R>;
  Random random(static_cast<unsigned>(n));
  Guarded<C> stays(n, shift), source(n, shift), destination(n, shift);
  std::vector<Wide> x;
  for (std::size_t i = 0; i < n; ++i) {
    const C number{random.real<R>(), random.real<R>()};
    stays.put(i, number), source.put(i, number), destination.put(i, C(77));
    x.emplace_back(number);
  }
  ASSERT_EQ(run(stays.data(), stays.data()), 0);
  ASSERT_EQ(run(source.data(), destination.data()), 0);
  EXPECT_LE(error_of(destination, tnk::reference::transform(x, sign), factor), allowed<R>(n));
  for (std::size_t i = 0; i < n; ++i) {
    EXPECT_EQ(stays.get(i), destination.get(i));
    EXPECT_EQ(Wide(source.get(i)), x[i]);
  }
  EXPECT_TRUE(stays.intact() && source.intact() && destination.intact());
}

// ---- Kernels by length -----------------------------------------------------------------------------------------------------

TEST(SmallRadix, TransformsEveryLengthAtEveryAddress) {
  for (tnk_int n = 2; n <= 64; ++n) {
    SCOPED_TRACE(n);
    for (const bool scaled : {false, true}) {
      const Plan plan(DftiDouble, DftiComplex, {n});
      const double forward = scaled ? 0.7 : 1, backward = scaled ? 1.3 : 1;
      DftiSetValue(plan, DftiParamForwardScale, forward);
      DftiSetValue(plan, DftiParamBackwardScale, backward);
      DftiSetValue(plan, DftiParamNumberOfTransforms, tnk_int{2}); // so that the node itself has a record
      ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
      for (const std::size_t shift : {std::size_t{8}, std::size_t{16}, page_end, page_start})
        for (const bool inverse : {false, true}) {
          SCOPED_TRACE("shift " + std::to_string(shift) + (inverse ? " inverse" : " forward"));
          DftiKernel *const kernel =
              (inverse ? tnk_dft_zsmallradix_inverse : tnk_dft_zsmallradix_forward)[n - 2];
          expect_transform<double>(static_cast<std::size_t>(n), inverse ? 1 : -1,
                                   inverse ? backward : forward, shift, [&](void *source, void *destination) {
                                     return kernel(source, destination, plan, plan->workspace);
                                   });
        }
    }
  }
}

// Rows, and columns of neighbouring numbers: an odd count of them, so that one is left alone, and once so far apart that they
// are not transformed where they stand. No line's bits depend on the others of the call.
TEST(SmallRadix, TransformsManyLines) {
  constexpr std::size_t count = 5;
  std::vector<std::pair<tnk_int, DftiKernelPair>> kernels = {{2, {tnk_dft_xz_f2_1df, tnk_dft_xz_f2_1db}},
                                                             {4, {tnk_dft_xz_f4_1df, tnk_dft_xz_f4_1db}},
                                                             {8, {tnk_dft_xz_f8_1df, tnk_dft_xz_f8_1db}},
                                                             {32, {tnk_dft_xz_f32_1df, tnk_dft_xz_f32_1db}}};
  for (tnk_int n = 2; n <= 34; ++n)
    kernels.push_back({n, {tnk_dft_zsmallradix_forward[n - 2], tnk_dft_zsmallradix_inverse[n - 2]}});
  for (const auto &[length, pair] : kernels) {
    const auto n = static_cast<std::size_t>(length);
    const std::pair<std::size_t, std::size_t> shapes[] = {{7, 1}, {256, 1}, {1, n + 1}}; // stride, distance
    for (const auto &[stride, distance] : shapes)
      for (const bool inverse : {false, true}) {
        SCOPED_TRACE(std::to_string(length) + " numbers, stride " + std::to_string(stride) +
                     (inverse ? " inverse" : " forward"));
        using C = std::complex<double>;
        DftiNode node = {};
        node.axis.length = length, node.forward_factor = 0.7, node.backward_factor = 1.3;
        const std::size_t size = (n - 1) * stride + (count - 1) * distance + 1;
        Guarded<C> together(size, 16), alone(size, 16);
        Random random(static_cast<unsigned>(n));
        std::vector<C> before(size);
        for (std::size_t i = 0; i < size; ++i) {
          before[i] = {random.real<double>(), random.real<double>()};
          together.put(i, before[i]), alone.put(i, before[i]);
        }
        DftiKernel *const kernel = inverse ? pair.inverse : pair.forward;
        const auto run = [&, apart = stride, next = distance, n_ = length](Guarded<C> &data,
                                                                           std::size_t first, tnk_int lines) {
          auto *const begin = reinterpret_cast<tnk_complex16 *>(data.data() + first * next);
          ASSERT_EQ(tnk_dft_xzdft1d_copy(begin, n_, static_cast<tnk_int>(apart), lines,
                                         static_cast<tnk_int>(next), kernel, &node, nullptr),
                    0);
        };
        run(together, 0, count);
        run(alone, 0, 1), run(alone, 1, 3), run(alone, 4, 1);
        for (std::size_t line = 0; line < count; ++line) {
          Guarded<C> result(n);
          std::vector<Wide> x;
          for (std::size_t k = 0; k < n; ++k) {
            C &number = before[k * stride + line * distance];
            x.emplace_back(number);
            number = together.get(k * stride + line * distance);
            result.put(k, number);
          }
          EXPECT_LE(error_of(result, tnk::reference::transform(x, inverse ? 1 : -1), inverse ? 1.3L : 0.7L),
                    allowed<double>(n));
        }
        for (std::size_t i = 0; i < size; ++i) {
          EXPECT_EQ(together.get(i), alone.get(i));
          EXPECT_EQ(together.get(i), before[i]); // also between the lines
        }
        EXPECT_TRUE(together.intact() && alone.intact());
      }
  }
}

TEST(SmallRadix, ServesItsLengths) {
  const struct {
    int32_t precision;
    Ints lengths;
    bool served; // the first dimension; of real data the second one, of complex columns
    int32_t domain = DftiComplex;
    tnk_int ordering = DftiOrdered;
  } rows[] = {{DftiDouble, {3}, true},
              {DftiDouble, {63}, true},
              {DftiDouble, {16}, true}, // by the threading layer
              {DftiDouble, {65}, false},
              {DftiDouble, {1}, false},
              {DftiDouble, {15}, false, DftiComplex, DftiBackwardScrambled},
              {DftiSingle, {15}, false},
              {DftiDouble, {61, 1}, true},
              {DftiDouble, {9, 61}, true},
              {DftiDouble, {9, 32}, true, DftiReal},
              {DftiDouble, {65, 9}, false, DftiReal},
              {DftiSingle, {9, 16}, false, DftiReal}};
  for (const auto &row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    const Plan plan(row.precision, row.domain, row.lengths);
    if (row.ordering != DftiOrdered) DftiSetValue(plan, DftiParamOrdering, row.ordering);
    DftiSetValue(plan, DftiParamNumberOfTransforms, tnk_int{2});
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    const DftiNode *const node = row.domain == DftiReal ? plan->next : plan;
    const auto at = static_cast<std::size_t>(node->axis.length - 2);
    const DftiKernelPair &pair = node->kernels.double_pair;
    EXPECT_EQ(row.served, at < 63 && pair.forward == tnk_dft_zsmallradix_forward[at] &&
                              pair.inverse == tnk_dft_zsmallradix_inverse[at]);
    EXPECT_EQ(node->use_codelet, !row.served);
  }
}

// ---- Strategies ------------------------------------------------------------------------------------------------------------

const struct {
  const DftiStrategy &strategy;
  int32_t precision;
  Ints lengths;
} strategies[] = {{tnk_dft_bkd2_c, DftiSingle, {2, 4, 8, 16, 32, 64}},
                  {tnk_dft_bkd2_z, DftiDouble, {2, 4, 8, 16, 32, 64}},
                  {tnk_dft_bkd3_c, DftiSingle, {16, 32, 64}},
                  {tnk_dft_bkd3_z, DftiDouble, {8, 16, 32, 64, 128}}};

template <class R> void expect_codelet(const DftiStrategy &strategy, const Plan plans[2], tnk_int n) {
  for (const bool out : {false, true}) {
    ASSERT_EQ(strategy.commit(&strategy, plans[out]), DftiNoError);
    EXPECT_EQ(plans[out]->nioargs, 1 + out);
    EXPECT_EQ(plans[out]->commit_status, DftiCommitted);
    EXPECT_EQ(plans[out]->strategy, &strategy);
    EXPECT_EQ(plans[out]->workspace, nullptr); // what the commit before has made
  }
  for (const std::size_t shift : {sizeof(R), std::size_t{64}, page_end, page_start})
    for (const bool inverse : {false, true}) {
      const auto compute = inverse ? DftiComputeBackward : DftiComputeForward;
      expect_transform<R>(
          static_cast<std::size_t>(n), inverse ? 1 : -1, 1, shift, [&](void *source, void *destination) {
            return source == destination ? compute(plans[0], source) : compute(plans[1], source, destination);
          });
    }
}

TEST(Codelets, TransformEveryLengthOfTheirTables) {
  for (const auto &row : strategies)
    for (const tnk_int n : row.lengths) {
      SCOPED_TRACE("strategy " + std::to_string(&row - strategies) + " length " + std::to_string(n));
      const Plan plans[2] = {{row.precision, DftiComplex, {n}}, {row.precision, DftiComplex, {n}}};
      DftiSetValue(plans[1], DftiParamPlacement, DftiNotInPlace);
      for (const Plan &plan : plans) {
        DftiSetValue(plan, DftiParamForwardScale, 0.7); // a commit with a record and a workspace
        ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
        plan->forward_scale = 1;
      }
      if (row.precision == DftiSingle)
        expect_codelet<float>(row.strategy, plans, n);
      else
        expect_codelet<double>(row.strategy, plans, n);
    }
}

TEST(Codelets, DeclineWhatTheyCannotDo) {
  const std::pair<const char *, void (*)(DftiNode *)> conditions[] = {
      {"precision", [](DftiNode *node) { node->precision ^= DftiSingle ^ DftiDouble; }},
      {"domain", [](DftiNode *node) { node->forward_domain = DftiReal; }},
      {"storage", [](DftiNode *node) { node->complex_storage = DftiRealReal; }},
      {"rank", [](DftiNode *node) { node->committed_rank = 2; }},
      {"batch", [](DftiNode *node) { node->committed_transforms.dims[0].length = 2; }},
      {"no transform", [](DftiNode *node) { node->committed_transforms.dims[0].length = 0; }},
      {"batches", [](DftiNode *node) { node->committed_transforms.rank = 2; }},
      {"input stride", [](DftiNode *node) { node->axis.input_stride = 2; }},
      {"output stride", [](DftiNode *node) { node->axis.output_stride = -1; }},
      {"input offset", [](DftiNode *node) { node->input_offset = 1; }},
      {"output offset", [](DftiNode *node) { node->output_offset = 1; }},
      {"forward scale", [](DftiNode *node) { node->forward_scale = 1. / 16; }},
      {"backward scale", [](DftiNode *node) { node->backward_scale = std::nextafter(1., 2.); }},
      {"inner", [](DftiNode *node) { node->flags |= TNK_DFT_INNER; }},
      {"length", [](DftiNode *node) { node->axis.length = 24; }},
      {"too short", [](DftiNode *node) { node->axis.length = 1; }},
      {"too long", [](DftiNode *node) { node->axis.length = 256; }},
      {"none",
       [](DftiNode *node) { node->committed_transforms.rank = 0; }}, // no batch at all is one transform
  };
  for (const auto &row : strategies)
    for (const auto &[name, change] : conditions)
      for (const bool out : {false, true}) {
        SCOPED_TRACE(name + std::string(out ? " out of place" : " in place"));
        const Plan plan(row.precision, DftiComplex, {16});
        DftiSetValue(plan, DftiParamPlacement, out ? DftiNotInPlace : DftiInPlace);
        ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
        const DftiStrategy *const before = plan->strategy;
        const int32_t rank = plan->committed_transforms.rank;
        const auto [domain, storage] = std::pair(plan->forward_domain, plan->complex_storage);
        change(plan);
        const bool taken = name == std::string("none") || (!out && std::string(name).find("output") == 0);
        EXPECT_EQ(row.strategy.commit(&row.strategy, plan), taken ? 0 : 101);
        EXPECT_EQ(plan->strategy, taken ? &row.strategy : before);
        EXPECT_EQ(plan->commit_status, DftiCommitted);
        plan->committed_transforms.rank = rank;
        plan->forward_domain = domain, plan->complex_storage = storage;
      }
}

} // namespace
