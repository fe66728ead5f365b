// Kernels of a fixed length, by their names: against sums by definition, and how they get into nodes.
#include <cstring>
#include <dlfcn.h>
#include <limits>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>

#include "dft/layouts.h"
#include "dft/plan.h"
#include "support/allocations.h"
#include "support/guarded.h"

namespace tnk::test {
namespace {

template <class Function> Function *entry(const std::string &name) {
  void *const address = dlsym(RTLD_DEFAULT, ("tnk_dft_" + name).c_str());
  EXPECT_NE(address, nullptr) << name;
  return reinterpret_cast<Function *>(address);
}
DftiKernel *kernel(const std::string &family, tnk_int n, bool inverse) {
  return entry<DftiKernel>(family + "_f" + std::to_string(n) + (inverse ? "_1db" : "_1df"));
}
tnk_int init(DftiNode *node) {
  return entry<DftiCodeletInit>("init_xz_f" + std::to_string(node->axis.length) + "_1df")(node);
}

// What one side of a transform holds: real numbers in the order in which they stand.
using Line = std::vector<long double>;
Line parts(const std::vector<Wide> &numbers) {
  Line line;
  for (const Wide z : numbers) line.push_back(z.real()), line.push_back(z.imag());
  return line;
}

// One call of a kernel against what it must leave; the bound is relative to the root of the mean square, which is below 1
// on the side of the numbers.
template <class R>
void expect_transform(DftiKernel *run, DftiNode *node, void *work, const Line &from, const Line &to,
                      long double factor, std::size_t shift, bool in_place, bool inverse) {
  const std::size_t read = from.size(), room = std::max(read, to.size());
  Guarded<R> source(in_place ? room : read, shift), destination(to.size(), shift);
  std::vector<R> before;
  for (const long double x : from) before.push_back(static_cast<R>(x));
  std::memcpy(source.data(), before.data(), read * sizeof(R));
  Guarded<R> &result = in_place ? source : destination;
  ASSERT_EQ(run(source.data(), result.data(), node, work), DftiNoError);
  const auto n = static_cast<long double>(node->axis.length);
  const long double bound =
      std::numeric_limits<R>::epsilon() * factor * (inverse ? n : std::sqrt(n)) * (2 + std::log2(n));
  for (std::size_t i = 0; i < to.size(); ++i)
    ASSERT_TRUE(std::fabs(result.get(i) - factor * to[i]) <= bound) << i;
  EXPECT_TRUE(source.intact() && destination.intact());
  EXPECT_TRUE(in_place || std::memcmp(source.data(), before.data(), read * sizeof(R)) == 0);
}

void set_factors(DftiNode *node, double factor) {
  node->forward_factor = node->backward_factor = factor;
  node->forward_factor_single = node->backward_factor_single = static_cast<float>(factor);
}

// Where operands stand, and what they are multiplied by.
constexpr std::pair<std::size_t, double> places[] = {
    {0, 1.0}, {8, 0.75}, {1, 1.0}, {page_end, 0.75}, {page_start, 1.0}};

template <class R> void check_complex(const std::string &family, tnk_int n) {
  SCOPED_TRACE(family + std::to_string(n));
  const Signal signal({n}, false);
  const Plan node(sizeof(R) == 4 ? DftiSingle : DftiDouble, DftiComplex, {n});
  node->axis.length = n;
  if (sizeof(R) == 8 && n > 2) {
    ASSERT_EQ(init(node), DftiNoError);
  }
  Line spectrum = parts(signal.spectrum), numbers = parts(signal.numbers), sum = numbers;
  for (long double &x : sum) x *= static_cast<long double>(n);
  // Besides its operands a kernel reads its table, and works in as much as it asks for.
  const std::size_t entries = n == 256 ? 420 : n == 512 ? 900 : n == 1024 ? 1764 : 0;
  void *const table = node->second_workspace;
  for (const auto &[shift, factor] : places)
    for (const bool in_place : {true, false})
      for (const bool has_work : {true, false}) {
        set_factors(node, factor);
        Guarded<char> work(static_cast<std::size_t>(node->buffer_size), has_work ? shift : 0);
        Guarded<double> alone(entries, shift == page_start ? page_start : page_end);
        if (entries > 0) {
          std::memcpy(alone.data(), table, entries * sizeof(double));
          node->second_workspace = alone.data();
        }
        for (const bool inverse : {false, true})
          expect_transform<R>(kernel(family, n, inverse), node, has_work ? work.data() : nullptr,
                              inverse ? spectrum : numbers, inverse ? sum : spectrum, factor, shift, in_place,
                              inverse);
        EXPECT_TRUE(work.intact());
        node->second_workspace = table;
      }
}

TEST(Compact, ComplexKernels) {
  for (const tnk_int n : {2, 4, 8, 16, 32, 64, 128, 256, 512, 1024}) check_complex<double>("xz", n);
  for (const tnk_int n : {2, 4}) check_complex<float>("xc", n);
  EXPECT_EQ(allocations.overrun, 0);
}

// Rows of a plane or a space out of place come in Perm where the format is CCS, unless the node tells otherwise.
template <class R> void check_real(const std::string &family, tnk_int n, int storage, int format) {
  SCOPED_TRACE(family + std::to_string(n) + " storage " + std::to_string(storage) + " format " +
               std::to_string(format));
  const Signal signal({n}, true);
  const Plan node(sizeof(R) == 4 ? DftiSingle : DftiDouble, DftiReal, {n});
  node->axis.length = n;
  node->conjugate_even_storage = storage, node->packed_format = format;
  const int layout = storage == DftiComplexComplex ? int{DftiFormatCcs} : format;
  const auto spectrum_in = [&](int packed) {
    Line line;
    for (tnk_int i = 0; i < packed_size(packed, n); ++i) {
      const Slot slot = slot_of(packed, n, i);
      const Wide z = signal.spectrum[static_cast<std::size_t>(slot.frequency)];
      line.push_back(slot.part == Slot::re ? z.real() : slot.part == Slot::im ? z.imag() : 0);
    }
    return line;
  };
  Line numbers, sum;
  for (const Wide z : signal.numbers) {
    numbers.push_back(z.real());
    sum.push_back(z.real() * static_cast<long double>(n));
  }
  for (const auto &[shift, factor] : places)
    for (const bool in_place : {true, false})
      for (const int rank : {1, 2, 3, 4})
        for (const int real_layout : {0, 1}) {
          set_factors(node, factor);
          node->placement = in_place ? DftiInPlace : DftiNotInPlace;
          node->committed_rank = rank, node->real_layout = real_layout;
          const bool fitted =
              layout == DftiFormatCcs && !in_place && (rank == 2 || rank == 3) && real_layout == 0;
          Line written = sum;
          if (format == DftiFormatCcs && in_place) written.push_back(0);
          expect_transform<R>(kernel(family, n, false), node, nullptr, numbers, spectrum_in(layout), factor,
                              shift, in_place, false);
          expect_transform<R>(kernel(family, n, true), node, nullptr,
                              spectrum_in(fitted ? int{DftiFormatPerm} : layout), written, factor, shift,
                              in_place, true);
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

// ---- Into nodes ---------------------------------------------------------------------------------------------------------

// Work is in the table or in a buffer; without memory for either, nothing changes.
TEST(Compact, Tables) {
  for (const auto &[n, bytes] :
       {std::pair<tnk_int, tnk_int>{4, 0}, {128, 0}, {256, 4096}, {512, 8192}, {1024, 16384}}) {
    const Plan node(DftiDouble, DftiComplex, {n});
    node->axis.length = n, node->buffer_size = 77;
    if (bytes > 0) {
      allocations.refuse = 1;
      EXPECT_EQ(tnk_dft_set_codelet_zf(node), DftiMemoryError);
      EXPECT_EQ(node->second_workspace, nullptr);
      EXPECT_EQ(node->buffer_size, 77);
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
    EXPECT_EQ(node->second_workspace, table);
    EXPECT_EQ(node->kernels.double_pair.inverse, nullptr);
    std::vector<double> data(static_cast<std::size_t>(2 * n), 1);
    const auto before = data;
    allocations.refuse = 1;
    EXPECT_EQ(kernel("xz", n, false)(data.data(), data.data(), node, nullptr), DftiMemoryError);
    EXPECT_EQ(data, before);

    if (n != 512) continue;
    const double *const twice = static_cast<const double *>(table);
    for (int i = 0; i < 15; ++i)
      for (int j = 0; j < 30; ++j) {
        const Wide w = reference::root(static_cast<std::size_t>((2 * i + 2) * (j / 2 + 1)), 1024, 1);
        for (int copy = 0; copy < 2; ++copy)
          EXPECT_NEAR(twice[60 * i + 2 * j + copy], static_cast<double>(j % 2 == 0 ? w.real() : w.imag()),
                      1e-16);
      }
  }
}

TEST(Compact, SetCodelet) {
  struct Kind {
    const char *letters, *family;
    int32_t precision, domain;
    tnk_int longest;
  };
  const auto wrapper = [](void *, void *, DftiNode *, void *) { return tnk_int{0}; };
  for (const Kind &kind : {Kind{"c", "xc", DftiSingle, DftiComplex, 4},
                           {"z", "xz", DftiDouble, DftiComplex, 1024},
                           {"s", "xs", DftiSingle, DftiReal, 32},
                           {"d", "xd", DftiDouble, DftiReal, 32}})
    for (const tnk_int n : {1, 2, 3, 4, 6, 8, 16, 31, 32, 64, 128, 256, 512, 1000, 1024, 2048})
      for (const bool inverse : {false, true}) {
        SCOPED_TRACE(kind.family + std::to_string(n) + (inverse ? "b" : "f"));
        const Plan node(kind.precision, kind.domain, {n});
        DftiKernelPair &pair =
            kind.precision == DftiSingle ? node->kernels.single_pair : node->kernels.double_pair;
        pair = {wrapper, wrapper};
        node->use_codelet = 1, node->axis.length = n;
        EXPECT_EQ(entry<DftiSetCodelet>(std::string("set_codelet_") + kind.letters + "fb"[inverse])(node),
                  DftiNoError);
        const bool known = n > 1 && n <= kind.longest && (n & (n - 1)) == 0;
        const DftiKernel *const changed = inverse ? pair.inverse : pair.forward;
        EXPECT_EQ(changed, known ? kernel(kind.family, n, inverse) : +wrapper);
        EXPECT_EQ(inverse ? pair.forward : pair.inverse, +wrapper);
        EXPECT_EQ(node->use_codelet, !known);
      }

  for (const bool single : {false, true})
    for (const int placement : {DftiInPlace, DftiNotInPlace})
      for (const int rank : {1, 2, 3})
        for (const int format : {DftiFormatCcs, DftiFormatPack, DftiFormatPerm, DftiFormatCce}) {
          const Plan node(single ? DftiSingle : DftiDouble, DftiReal, {8});
          node->axis.length = 8, node->placement = placement, node->committed_rank = rank;
          node->packed_format = format, node->real_layout = 7;
          (single ? tnk_dft_set_codelet_sf : tnk_dft_set_codelet_df)(node);
          EXPECT_EQ(node->real_layout, 7);
          (single ? tnk_dft_set_codelet_sb : tnk_dft_set_codelet_db)(node);
          EXPECT_EQ(node->real_layout, placement == DftiNotInPlace && rank > 1 &&
                                           (format == DftiFormatCcs || format == DftiFormatCce));
        }
}

// Who sets up a chain takes them where they are faster; the others keep what the core commit has chosen.
TEST(Compact, CommitsTakeThem) {
  struct Row {
    int32_t precision, domain;
    Ints lengths; // in C's order
    int32_t placement;
    std::vector<std::string> forward, backward; // of the chain, the last dimension first; empty: kept
    std::pair<DftiParam, tnk_int> other = {DftiParamNumberOfTransforms, 3};
  };
  const Row rows[] = {
      {DftiDouble, DftiComplex, {64}, DftiInPlace, {"xz"}, {"xz"}},
      {DftiDouble, DftiComplex, {1024}, DftiNotInPlace, {"xz"}, {"xz"}},
      {DftiDouble, DftiComplex, {16}, DftiInPlace, {"short"}, {"short"}},
      {DftiDouble, DftiComplex, {64}, DftiInPlace, {""}, {""}, {DftiParamOrdering, DftiBackwardScrambled}},
      {DftiDouble, DftiComplex, {2, 512, 16}, DftiInPlace, {"short", "xz", "xz"}, {"short", "xz", "xz"}},
      {DftiSingle, DftiComplex, {8, 4}, DftiInPlace, {"xc", ""}, {"xc", ""}},
      {DftiDouble, DftiReal, {32, 8}, DftiInPlace, {"xd", "xz"}, {"xd", "xz"}},
      {DftiDouble, DftiReal, {32, 8}, DftiNotInPlace, {"xd", "xz"}, {"", "xz"}},
      {DftiDouble, DftiReal, {32, 16}, DftiNotInPlace, {"xd", "xz"}, {"xd", "xz"}},
      {DftiSingle, DftiReal, {8}, DftiNotInPlace, {"xs"}, {"xs"}},
      {DftiSingle, DftiReal, {64}, DftiNotInPlace, {""}, {""}},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    const Plan plan(row.precision, row.domain, row.lengths);
    DftiSetValue(plan, DftiParamPlacement, tnk_int{row.placement});
    DftiSetValue(plan, row.other.first, row.other.second);
    DftiSetValue(plan, DftiParamForwardScale, 0.7);
    ASSERT_EQ(DftiCommitDescriptor(plan), DftiNoError);
    const bool single = row.precision == DftiSingle;
    EXPECT_EQ(plan->real_layout, row.domain == DftiReal && row.placement == DftiNotInPlace &&
                                     row.lengths.size() > 1 && row.backward[0] != "");
    std::size_t level = 0;
    for (const DftiNode *node = plan.handle; node; node = node->next, ++level) {
      const DftiKernelPair &pair = single ? node->kernels.single_pair : node->kernels.double_pair;
      const auto expect = [&](const std::string &family, bool inverse) {
        DftiKernel *const found = inverse ? pair.inverse : pair.forward;
        bool compact = false;
        for (const char *any : {"xz", "xc", "xd", "xs"})
          for (tnk_int n = 2; n <= (any[1] == 'z' ? 1024 : any[1] == 'c' ? 4 : 64); n *= 2)
            compact |= found == kernel(any, n, inverse);
        const tnk_int n = node->axis.length;
        DftiKernel *const *const table = inverse ? tnk_dft_zsmallradix_inverse : tnk_dft_zsmallradix_forward;
        EXPECT_TRUE(family.empty()      ? !compact
                    : family == "short" ? found == table[n - 2]
                                        : found == kernel(family, n, inverse))
            << level;
      };
      expect(row.forward[level], false);
      expect(row.backward[level], true);
      EXPECT_EQ(node->use_codelet, row.forward[level].empty() && row.backward[level].empty());
      EXPECT_LE(node->buffer_size, plan->maximum_buffer_size);
    }
  }
}

} // namespace
} // namespace tnk::test
