// Kernels of a fixed length: against sums by definition wherever their numbers stand, the strategies that compute by one
// alone, and how they get into nodes.
#include "dft/layouts.h"
#include "dft/plan.h"
#include "support/allocations.h"
#include "support/guarded.h"
#include "support/random.h"
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <limits>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>

namespace tnk::test {
namespace {

template <class Function> Function *entry(const std::string &name) {
  void *const address = dlsym(RTLD_DEFAULT, ("tnk_dft_" + name).c_str());
  EXPECT_NE(address, nullptr) << name;
  return reinterpret_cast<Function *>(address);
}
// The short ones are in a table of all lengths from 2 to 64.
DftiKernel *kernel(const std::string &family, tnk_int n, bool inverse) {
  if (family == "short") return (inverse ? tnk_dft_zsmallradix_inverse : tnk_dft_zsmallradix_forward)[n - 2];
  return entry<DftiKernel>(family + "_f" + std::to_string(n) + (inverse ? "_1db" : "_1df"));
}
tnk_int init(DftiNode *node) {
  return entry<DftiCodeletInit>("init_xz_f" + std::to_string(node->axis.length) + "_1df")(node);
}
template <class R> Plan complex_plan(tnk_int n, const Values &values = {}, double forward = 1) {
  return {sizeof(R) == 4 ? DftiSingle : DftiDouble, DftiComplex, {n}, values, forward};
}

// What one side of a transform holds: real numbers in the order in which they stand.
using Line = std::vector<long double>;
Line parts(const std::vector<Wide> &numbers) {
  Line line;
  for (const Wide z : numbers) line.push_back(z.real()), line.push_back(z.imag());
  return line;
}
Line transform_of(const Signal &signal, bool inverse) {
  std::vector<Wide> spectrum = signal.spectrum;
  if (inverse) std::reverse(spectrum.begin() + 1, spectrum.end());
  return parts(spectrum);
}

// In roundings of each number's share of the result, for one number and in the mean.
void expect_near(tnk_int n, long double eps, const Line &found, const Line &to, long double factor) {
  long double worst = 0, squares = 0, size = 0;
  for (std::size_t i = 0; i < to.size(); ++i) {
    const long double error = std::fabs(found[i] - factor * to[i]);
    if (!(error <= worst)) worst = error;
    squares += error * error, size += factor * to[i] * factor * to[i];
  }
  const auto count = static_cast<long double>(to.size()), log2 = std::log2(static_cast<long double>(n));
  EXPECT_LE(worst, eps * (2 + log2) * std::sqrt(size / count));
  EXPECT_LE(std::sqrt(squares), eps * (0.35L + 0.5L * std::sqrt(log2)) * std::sqrt(size));
}

// run(source, destination) makes `factor` times `to` of `from`, in arrays that stand `shift` bytes past a boundary; the
// source is left alone and nothing around the arrays is read or written. Returns the result.
template <class R, class Run>
Line expect_transform(tnk_int n, const Line &from, const Line &to, long double factor, std::size_t shift,
                      bool in_place, const Run &run) {
  Guarded<R> source(in_place ? std::max(from.size(), to.size()) : from.size(), shift),
      destination(to.size(), shift);
  for (std::size_t i = 0; i < from.size(); ++i) source.put(i, static_cast<R>(from[i]));
  Guarded<R> &result = in_place ? source : destination;
  EXPECT_EQ(run(source.data(), result.data()), DftiNoError);
  Line found;
  for (std::size_t i = 0; i < to.size(); ++i) found.push_back(result.get(i));
  expect_near(n, std::numeric_limits<R>::epsilon(), found, to, factor);
  EXPECT_TRUE(source.intact() && destination.intact());
  for (std::size_t i = 0; i < from.size() && !in_place; ++i)
    EXPECT_EQ(source.get(i), static_cast<R>(from[i]));
  return found;
}
template <class R, class Run>
void expect_anywhere(tnk_int n, const Line &from, const Line &to, long double factor, std::size_t shift,
                     const Run &run) {
  EXPECT_EQ(expect_transform<R>(n, from, to, factor, shift, true, run),
            expect_transform<R>(n, from, to, factor, shift, false, run));
}

void set_factors(DftiNode *node, double forward, double backward) {
  node->forward_factor = forward, node->forward_factor_single = static_cast<float>(forward);
  node->backward_factor = backward, node->backward_factor_single = static_cast<float>(backward);
}

// Where operands stand, and what they are multiplied by; a complex transform back by the other one of the factors.
constexpr std::pair<std::size_t, double> places[] = {
    {0, 1.0}, {8, 0.75}, {1, 1.0}, {page_end, 0.75}, {page_start, 1.0}};

template <class R> void check_complex(const std::string &family, tnk_int n) {
  SCOPED_TRACE(family + std::to_string(n));
  const Signal signal({n}, false);
  const bool is_short = family == "short"; // at some addresses they leave their work to the record of a batch
  const Plan node = complex_plan<R>(n, {{DftiParamNumberOfTransforms, is_short ? 2 : 1}});
  node->axis.length = n;
  ASSERT_EQ(is_short                  ? DftiCommitDescriptor(node)
            : sizeof(R) == 8 && n > 2 ? init(node)
                                      : tnk_int{DftiNoError},
            DftiNoError);
  // Besides its operands a kernel reads its table, and works in as much as it asks for.
  const std::size_t entries = n == 256 ? 420 : n == 512 ? 900 : n == 1024 ? 1764 : 0;
  void *const table = node->second_workspace;
  for (const auto &[shift, factor] : places)
    for (const bool has_work : {true, false}) {
      if (is_short && shift == 1) continue;
      set_factors(node, factor, 1.75 - factor);
      Guarded<char> work(static_cast<std::size_t>(node->buffer_size), has_work ? shift : 0);
      Guarded<double> alone(entries, shift == page_start ? page_start : page_end);
      if (entries > 0) {
        std::memcpy(alone.data(), table, entries * sizeof(double));
        node->second_workspace = alone.data();
      }
      for (const bool inverse : {false, true})
        expect_anywhere<R>(n, parts(signal.numbers), transform_of(signal, inverse),
                           inverse ? 1.75 - factor : factor, shift, [&](void *source, void *destination) {
                             return kernel(family, n, inverse)(source, destination, node,
                                                               has_work ? work.data() : nullptr);
                           });
      EXPECT_TRUE(work.intact());
      node->second_workspace = table;
    }
}

TEST(Compact, ComplexKernels) {
  for (const tnk_int n : {2, 4, 8, 16, 32, 64, 128, 256, 512, 1024}) check_complex<double>("xz", n);
  for (const tnk_int n : {2, 4}) check_complex<float>("xc", n);
  EXPECT_EQ(allocations.overrun, 0);
}

TEST(SmallRadix, TransformsEveryLengthAtEveryAddress) {
  for (tnk_int n = 2; n <= 64; ++n) check_complex<double>("short", n);
}

// Rows of a plane or a space out of place come in Perm where the format is CCS, unless the node tells otherwise.
template <class R> void check_real(const std::string &family, tnk_int n, int storage, int format) {
  SCOPED_TRACE(testing::Message() << family << n << " storage " << storage << " format " << format);
  const Signal signal({n}, true);
  const Plan node(sizeof(R) == 4 ? DftiSingle : DftiDouble, DftiReal, {n});
  node->axis.length = n;
  node->conjugate_even_storage = storage, node->packed_format = format;
  const int layout = storage == DftiComplexComplex ? int{DftiFormatCcs} : format;
  const auto spectrum_in = [&](int packed) {
    Line line;
    for (tnk_int i = 0; i < packed_size(packed, n); ++i) {
      const Slot slot = slot_of(packed, n, i);
      line.push_back(slot.of(signal.spectrum[static_cast<std::size_t>(slot.frequency)]));
    }
    return line;
  };
  Line numbers, sum;
  for (const Wide z : signal.numbers)
    numbers.push_back(z.real()), sum.push_back(z.real() * static_cast<long double>(n));
  for (const auto &[shift, factor] : places)
    for (const bool in_place : {true, false})
      for (const int rank : {1, 2, 3, 4})
        for (const int real_layout : {0, 1}) {
          set_factors(node, factor, factor);
          node->placement = in_place ? DftiInPlace : DftiNotInPlace;
          node->committed_rank = rank, node->real_layout = real_layout;
          const bool fitted =
              layout == DftiFormatCcs && !in_place && (rank == 2 || rank == 3) && real_layout == 0;
          Line written = sum;
          if (format == DftiFormatCcs && in_place) written.push_back(0);
          const auto expect = [&](bool inverse, const Line &from, const Line &to) {
            expect_transform<R>(n, from, to, factor, shift, in_place, [&](void *source, void *destination) {
              return kernel(family, n, inverse)(source, destination, node, nullptr);
            });
          };
          expect(false, numbers, spectrum_in(layout));
          expect(true, spectrum_in(fitted ? int{DftiFormatPerm} : layout), written);
        }
}

TEST(Compact, RealKernels) {
  for (const tnk_int n : {2, 4, 8, 16, 32, 64})
    for (const auto &[storage, format] : {std::pair<int, int>{DftiComplexComplex, DftiFormatCce},
                                          {DftiComplexComplex, DftiFormatCcs},
                                          {DftiComplexReal, DftiFormatCcs},
                                          {DftiComplexReal, DftiFormatPack},
                                          {DftiComplexReal, DftiFormatPerm}}) {
      check_real<double>("xd", n, storage, format);
      check_real<float>("xs", n, storage, format);
    }
}

// Rows, and columns of neighbouring numbers: an odd count of them, so that one is left alone, and once so far apart that they
// are not transformed where they stand. No line's bits depend on the others of the call.
TEST(SmallRadix, TransformsManyLines) {
  constexpr std::size_t count = 5;
  for (tnk_int length = 2; length <= 34; ++length)
    for (const bool compact : {false, true}) {
      if (compact && length != 2 && length != 4 && length != 8 && length != 32) continue;
      const auto n = static_cast<std::size_t>(length);
      for (const auto &[stride, distance] : {std::pair<std::size_t, std::size_t>{7, 1}, {256, 1}, {1, n + 1}})
        for (const bool inverse : {false, true}) {
          SCOPED_TRACE(testing::Message() << n << " numbers, stride " << stride << ' ' << inverse << compact);
          DftiNode node = {};
          node.axis.length = length;
          set_factors(&node, 0.7, 1.3);
          Line before(2 * ((n - 1) * stride + (count - 1) * distance + 1));
          Guarded<double> together(before.size(), 16), alone(before.size(), 16);
          Random random(static_cast<unsigned>(n));
          for (std::size_t i = 0; i < before.size(); ++i) {
            const double x = random.real<double>();
            before[i] = x, together.put(i, x), alone.put(i, x);
          }
          const auto run = [&, apart = stride, next = distance](Guarded<double> &data, std::size_t first,
                                                                tnk_int lines) {
            auto *const begin = reinterpret_cast<tnk_complex16 *>(data.data()) + first * next;
            EXPECT_EQ(tnk_dft_xzdft1d_copy(begin, length, static_cast<tnk_int>(apart), lines,
                                           static_cast<tnk_int>(next),
                                           kernel(compact ? "xz" : "short", length, inverse), &node, nullptr),
                      0);
          };
          run(together, 0, count);
          run(alone, 0, 1), run(alone, 1, 3), run(alone, 4, 1);
          Line left = before; // between the lines
          for (std::size_t line = 0; line < count; ++line) {
            Line found;
            std::vector<Wide> x;
            for (std::size_t k = 0; k < n; ++k) {
              const std::size_t at = k * stride + line * distance;
              x.emplace_back(before[2 * at], before[2 * at + 1]);
              for (const std::size_t i : {2 * at, 2 * at + 1})
                found.push_back(together.get(i)), left[i] = together.get(i);
            }
            expect_near(length, std::numeric_limits<double>::epsilon(), found,
                        parts(reference::transform(x, inverse ? 1 : -1)), inverse ? 1.3 : 0.7);
          }
          for (std::size_t i = 0; i < left.size(); ++i)
            EXPECT_TRUE(together.get(i) == alone.get(i) && together.get(i) == left[i]);
          EXPECT_TRUE(together.intact() && alone.intact());
        }
    }
}

const struct {
  const DftiStrategy &strategy;
  int32_t precision;
  Ints lengths;
} strategies[] = {{tnk_dft_bkd2_c, DftiSingle, {2, 4, 8, 16, 32, 64}},
                  {tnk_dft_bkd2_z, DftiDouble, {2, 4, 8, 16, 32, 64}},
                  {tnk_dft_bkd3_c, DftiSingle, {16, 32, 64}},
                  {tnk_dft_bkd3_z, DftiDouble, {8, 16, 32, 64, 128}}};

template <class R> void check_codelet(const DftiStrategy &strategy, tnk_int n) {
  // In place and out of place, committed with a record and a workspace first.
  const Plan plans[2] = {complex_plan<R>(n, {}, 0.7),
                         complex_plan<R>(n, {{DftiParamPlacement, DftiNotInPlace}}, 0.7)};
  for (const Plan &plan : plans) {
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    plan->forward_scale = 1;
    ASSERT_EQ(strategy.commit(&strategy, plan), DftiNoError);
    EXPECT_EQ(plan->nioargs, &plan - plans + 1);
    EXPECT_TRUE(plan->commit_status == DftiCommitted && plan->strategy == &strategy && !plan->workspace);
  }
  const Signal signal({n}, false);
  for (const std::size_t shift : {sizeof(R), std::size_t{64}, page_end, page_start})
    for (const bool inverse : {false, true})
      expect_anywhere<R>(n, parts(signal.numbers), transform_of(signal, inverse), 1, shift,
                         [&](void *source, void *destination) {
                           return (inverse ? DftiComputeBackward : DftiComputeForward)(
                               plans[source != destination], source, destination);
                         });
}

TEST(Codelets, TransformEveryLengthOfTheirTables) {
  for (const auto &row : strategies)
    for (const tnk_int n : row.lengths) {
      SCOPED_TRACE(testing::Message() << "strategy " << &row - strategies << " length " << n);
      (row.precision == DftiSingle ? check_codelet<float> : check_codelet<double>)(row.strategy, n);
    }
}

TEST(Codelets, DeclineWhatTheyCannotDo) {
  enum Taken { never, in_place, always };
  const std::pair<Taken, void (*)(DftiNode *)> conditions[] = {
      {never, [](DftiNode *node) { node->precision ^= DftiSingle ^ DftiDouble; }},
      {never, [](DftiNode *node) { node->forward_domain = DftiReal; }},
      {never, [](DftiNode *node) { node->complex_storage = DftiRealReal; }},
      {never, [](DftiNode *node) { node->committed_rank = 2; }},
      {never, [](DftiNode *node) { node->committed_transforms.dims[0].length = 2; }},
      {never, [](DftiNode *node) { node->committed_transforms.dims[0].length = 0; }},
      {never, [](DftiNode *node) { node->committed_transforms.rank = 2; }},
      {never, [](DftiNode *node) { node->axis.input_stride = 2; }},
      {in_place, [](DftiNode *node) { node->axis.output_stride = -1; }},
      {never, [](DftiNode *node) { node->input_offset = 1; }},
      {in_place, [](DftiNode *node) { node->output_offset = 1; }},
      {never, [](DftiNode *node) { node->forward_scale = 1. / 16; }},
      {never, [](DftiNode *node) { node->backward_scale = std::nextafter(1., 2.); }},
      {never, [](DftiNode *node) { node->flags |= TNK_DFT_INNER; }},
      {never, [](DftiNode *node) { node->axis.length = 24; }},
      {never, [](DftiNode *node) { node->axis.length = 1; }},
      {never, [](DftiNode *node) { node->axis.length = 256; }},
      {always,
       [](DftiNode *node) { node->committed_transforms.rank = 0; }}, // no batch at all is one transform
  };
  for (const auto &row : strategies)
    for (const auto &condition : conditions)
      for (const bool out : {false, true}) {
        SCOPED_TRACE(testing::Message() << "condition " << &condition - conditions << out);
        const Plan plan(row.precision, DftiComplex, {16},
                        {{DftiParamPlacement, out ? DftiNotInPlace : DftiInPlace}});
        ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
        const DftiNode before = *plan.handle;
        condition.second(plan);
        const bool taken = condition.first == always || (condition.first == in_place && !out);
        EXPECT_EQ(row.strategy.commit(&row.strategy, plan), taken ? 0 : 101);
        EXPECT_EQ(plan->strategy, taken ? &row.strategy : before.strategy);
        EXPECT_EQ(plan->commit_status, DftiCommitted);
        plan->committed_transforms.rank = before.committed_transforms.rank;
        plan->forward_domain = before.forward_domain, plan->complex_storage = before.complex_storage;
      }
}

// Work is in the table or in a buffer; without memory for either, nothing changes.
TEST(Compact, Tables) {
  for (const auto &[n, bytes] :
       {std::pair<tnk_int, tnk_int>{4, 0}, {128, 0}, {256, 4096}, {512, 8192}, {1024, 16384}}) {
    const Plan node = complex_plan<double>(n);
    node->axis.length = n, node->buffer_size = 77;
    if (bytes > 0) {
      allocations.refuse = 1;
      EXPECT_EQ(tnk_dft_set_codelet_zf(node), DftiMemoryError);
      EXPECT_TRUE(!node->second_workspace && node->buffer_size == 77);
    }
    for (int again = 0; again < 2; ++again) {
      EXPECT_EQ(init(node), DftiNoError);
      EXPECT_EQ(node->buffer_size, bytes);
      EXPECT_EQ(node->second_workspace != nullptr, bytes > 0);
    }
    if (bytes == 0) continue;
    void *const table = node->second_workspace;
    allocations.refuse = 1;
    EXPECT_EQ(tnk_dft_set_codelet_zb(node), DftiMemoryError);
    EXPECT_TRUE(node->second_workspace == table && !node->kernels.double_pair.inverse);
    std::vector<double> data(static_cast<std::size_t>(2 * n), 1);
    const auto before = data;
    allocations.refuse = 1;
    EXPECT_EQ(kernel("xz", n, false)(data.data(), data.data(), node, nullptr), DftiMemoryError);
    EXPECT_EQ(data, before);
  }
}

TEST(Compact, SetCodelet) {
  const auto wrapper = [](void *, void *, DftiNode *, void *) { return tnk_int{0}; };
  const struct {
    const char *letter;
    int32_t precision, domain;
    tnk_int longest;
  } kinds[] = {{"c", DftiSingle, DftiComplex, 4},
               {"z", DftiDouble, DftiComplex, 1024},
               {"s", DftiSingle, DftiReal, 32},
               {"d", DftiDouble, DftiReal, 32}};
  for (const auto &kind : kinds)
    for (const tnk_int n : {1, 2, 3, 4, 6, 8, 16, 31, 32, 64, 128, 256, 512, 1000, 1024, 2048})
      for (const bool inverse : {false, true})
        for (const int format : {DftiFormatCcs, DftiFormatPack, DftiFormatPerm, DftiFormatCce}) {
          SCOPED_TRACE(kind.letter + std::to_string(n) + (inverse ? "b" : "f"));
          const Plan node(kind.precision, kind.domain, {n});
          DftiKernelPair &pair =
              kind.precision == DftiSingle ? node->kernels.single_pair : node->kernels.double_pair;
          pair = {wrapper, wrapper};
          node->axis.length = n, node->placement = DftiNotInPlace;
          node->committed_rank = 2, node->packed_format = format, node->real_layout = 7;
          EXPECT_EQ(entry<DftiSetCodelet>(std::string("set_codelet_") + kind.letter + "fb"[inverse])(node),
                    DftiNoError);
          const bool known = n > 1 && n <= kind.longest && (n & (n - 1)) == 0;
          EXPECT_EQ(inverse ? pair.inverse : pair.forward,
                    known ? kernel(std::string("x") + kind.letter, n, inverse) : +wrapper);
          EXPECT_EQ(inverse ? pair.forward : pair.inverse, +wrapper);
          const bool in_ccs = format == DftiFormatCcs || format == DftiFormatCce;
          EXPECT_EQ(node->real_layout, kind.domain == DftiReal && inverse ? in_ccs : 7);
        }
}

// Who sets up a chain takes them where they are faster; the others keep what the core commit has chosen.
TEST(Compact, CommitsTakeThem) {
  using Names = std::vector<std::string>;
  const Values::value_type three = {DftiParamNumberOfTransforms, 3},
                           out = {DftiParamPlacement, DftiNotInPlace},
                           scrambled = {DftiParamOrdering, DftiBackwardScrambled};
  const int32_t s = DftiSingle, d = DftiDouble, complex = DftiComplex, real = DftiReal;
  const struct {
    int32_t precision, domain;
    Ints lengths; // in C's order
    Values::value_type other;
    Names forward; // of the chain, the last dimension first; empty: kept
    Names backward = forward;
  } rows[] = {
      {d, complex, {64}, three, {"xz"}},
      {d, complex, {1024}, out, {"xz"}},
      {d, complex, {16}, three, {"short"}},
      {d, complex, {3}, three, {"short"}},
      {d, complex, {61, 1}, three, {"short"}},
      {d, complex, {9, 63}, three, {"short", "short"}},
      {d, complex, {65}, three, {""}},
      {d, complex, {1}, three, {""}},
      {d, complex, {15}, scrambled, {""}},
      {d, complex, {64}, scrambled, {""}},
      {d, complex, {2, 512, 16}, three, {"short", "xz", "xz"}},
      {s, complex, {8, 4}, three, {"xc", ""}},
      {s, complex, {15}, three, {""}},
      {d, real, {9, 32}, three, {"xd", "short"}},
      {d, real, {65, 9}, three, {"", ""}},
      {s, real, {9, 16}, three, {"xs", ""}},
      {d, real, {32, 8}, three, {"xd", "xz"}},
      {d, real, {32, 8}, out, {"xd", "xz"}, {"", "xz"}},
      {d, real, {32, 16}, out, {"xd", "xz"}},
      {s, real, {8}, out, {"xs"}},
      {s, real, {64}, out, {""}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    const Plan plan(row.precision, row.domain, row.lengths, {row.other}, 0.7);
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    EXPECT_EQ(plan->real_layout,
              row.domain == real && row.other == out && row.lengths.size() > 1 && row.backward[0] != "");
    std::size_t level = 0;
    for (const DftiNode *node = plan.handle; node; node = node->next, ++level) {
      const DftiKernelPair &pair = row.precision == s ? node->kernels.single_pair : node->kernels.double_pair;
      const tnk_int n = node->axis.length;
      const auto expect = [&](const std::string &family, DftiKernel *found, bool inverse) {
        bool fixed = false;
        for (const char *any : {"xz", "xc", "xd", "xs"})
          for (tnk_int k = 2; k <= (any[1] == 'z' ? 1024 : any[1] == 'c' ? 4 : 64); k *= 2)
            fixed |= found == kernel(any, k, inverse);
        for (tnk_int k = 2; k <= 64; ++k) fixed |= found == kernel("short", k, inverse);
        EXPECT_TRUE(family.empty() ? !fixed : found == kernel(family, n, inverse)) << level;
      };
      expect(row.forward[level], pair.forward, false);
      expect(row.backward[level], pair.inverse, true);
      EXPECT_EQ(node->use_codelet, row.forward[level].empty() && row.backward[level].empty());
      EXPECT_LE(node->buffer_size, plan->maximum_buffer_size);
    }
    EXPECT_EQ(level, row.forward.size());
  }
}

} // namespace
} // namespace tnk::test
