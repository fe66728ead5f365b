#include "host/threading/dft_long.h"

#include <cstdint>
#include <tnk/dft_long.h>
#include <tnk/services.h>

#include "host/dispatch/kernel_loader.h"
#include "host/service/large_pages.h"
#include "host/threading/dft_slices.h"

namespace tnk::host {
namespace {

// Whether two threads gain. Medians of interleaved rounds on two virtual cores of an AMD EPYC (Zen 4), double precision,
// two threads against one on the road that it would take; in thousands of numbers, powers of two first:
//
//                   33     66    131    262   1049  16777    40    100    250
//   in place       1.1    1.1    1.4    1.7    1.6    2.1   1.3    1.4    1.6
//   out of place   0.9    0.9    1.0    1.5    2.4    2.7   1.3    1.3    1.9
//
// Other lengths gain from smaller ones on, since one thread has no passes as fast as those of powers of two.
bool is_worth_while(const DftiNode *node) {
  const tnk_int n = node->axis.length;
  const bool power_of_two = n > 0 && (n & (n - 1)) == 0;
  return n >= (!power_of_two ? 1 << 15 : node->placement == DftiInPlace ? 1 << 17 : 1 << 18);
}

// Rows of the matrix for each thread, of the shorter side: they are dealt out by eights.
constexpr tnk_int least_rows = 16;

constexpr const char *routine = "DftiCompute";

// The kernel library's functions for a precision.
template <class R> struct Steps;
#define TNK_STEPS(x, R, T, pair, second, factor)                                                             \
  template <> struct Steps<R> {                                                                              \
    using C = T;                                                                                             \
    static inline KernelEntry<decltype(tnk_dft_##x##_init_data_1d_via_2d)> init{"tnk_dft_" #x                \
                                                                                "_init_data_1d_via_2d"};     \
    static inline KernelEntry<DftiKernel> whole[2] = {                                                       \
        KernelEntry<DftiKernel>("tnk_dft_" #x "_1d_via_2d_f"),                                               \
        KernelEntry<DftiKernel>("tnk_dft_" #x "_1d_via_2d_b")};                                              \
    static inline KernelEntry<decltype(tnk_dft_##x##_4step_1_2)> one_two{"tnk_dft_" #x "_4step_1_2"};        \
    static inline KernelEntry<decltype(tnk_dft_##x##_4step_3)> three{"tnk_dft_" #x "_4step_3"};              \
    static inline KernelEntry<decltype(tnk_dft_##x##_4step_scale_4)> scale_four{"tnk_dft_" #x                \
                                                                                "_4step_scale_4"};           \
    static DftiKernel *kernel(const DftiNode *node, bool backward) {                                         \
      return backward ? node->kernels.pair.inverse : node->kernels.pair.forward;                             \
    }                                                                                                        \
    static R factor_of(const DftiNode *node, bool backward) {                                                \
      return backward ? node->backward_##factor : node->forward_##factor;                                    \
    }                                                                                                        \
    static DftiKernelPair &second_pair(DftiNode *node) { return node->kernels.second; }                      \
  };
TNK_STEPS(xc, float, tnk_complex8, single_pair, second_single, factor_single)
TNK_STEPS(xz, double, tnk_complex16, double_pair, second_double, factor)
#undef TNK_STEPS

// ---- Transforms -----------------------------------------------------------------------------------------------------------

// Rows, then columns, in the destination; the source stays.
template <class R, bool Backward>
tnk_int out_of_place(DftiNode *node, typename Steps<R>::C *source, typename Steps<R>::C *destination) {
  using S = Steps<R>;
  auto *const one_two = S::one_two.get(routine);
  auto *const three = S::three.get(routine);
  if (!one_two || !three) return DftiInternalError;
  const auto &data = *static_cast<const DftiLongData *>(node->large_data);
  const auto *const twiddles = static_cast<const typename S::C *>(data.twiddles);
  const tnk_int status = in_slices(node, data.n2, [&](tnk_int begin, tnk_int end, void *work) {
    return one_two(node, data.n1, end - begin, source + begin, destination + begin * data.n1,
                   S::kernel(data.node1, Backward), data.n1, work, twiddles, begin, data.table_length,
                   Backward ? -1 : 1);
  });
  if (status) return status;
  return in_slices(node, data.n1, [&](tnk_int begin, tnk_int end, void *work) {
    return three(destination + begin, end - begin, data.n2, data.n1, S::kernel(data.node2, Backward), data.n2,
                 data.node2, work);
  });
}

// By way of a matrix: no cycles of a transposition in place, which one thread would have to follow. `touched` says whether
// rows have begun to go back into the data.
template <class R, bool Backward>
tnk_int in_place(DftiNode *node, typename Steps<R>::C *numbers, bool &touched) {
  using S = Steps<R>;
  using C = typename S::C;
  auto *const one_two = S::one_two.get(routine);
  auto *const scale_four = S::scale_four.get(routine);
  if (!one_two || !scale_four) return DftiInternalError;
  C *const matrix = static_cast<C *>(node->second_workspace);
  if (!matrix) return DftiMemoryError;
  DftiLongData data = *static_cast<const DftiLongData *>(node->large_data);
  data.variant = 0;
  DftiNode root = *node; // the steps see the block of their root
  root.large_data = &data;
  const auto *const twiddles = static_cast<const C *>(data.twiddles);
  tnk_int status = in_slices(node, data.n2, [&](tnk_int begin, tnk_int end, void *work) {
    return one_two(&root, data.n1, end - begin, numbers + begin, matrix + begin,
                   S::kernel(data.node1, Backward), data.n1, work, twiddles, begin, data.table_length,
                   Backward ? -1 : 1);
  });
  touched = status == DftiNoError;
  if (touched)
    status = in_slices(node, data.n1, [&](tnk_int begin, tnk_int end, void *work) {
      DftiKernel *const kernel = S::kernel(data.node2, Backward);
      for (tnk_int i = begin; i < end; i += 8) {
        const tnk_int rows = std::min<tnk_int>(8, end - i);
        for (tnk_int r = i; r < i + rows; ++r) {
          C *const row = matrix + r * data.ld2;
          if (const tnk_int failure = kernel(row, row, data.node2, work)) return failure;
        }
        scale_four(rows, data.n2, matrix + i * data.ld2, data.ld2, numbers + i, data.n1,
                   S::factor_of(node, Backward));
      }
      return tnk_int{DftiNoError};
    });
  return status;
}

// Without memory for all slices, on this thread alone, with less; but not from data that are touched. A convolution of a
// row's length is what may still want memory then.
template <class R, bool Backward>
tnk_int on_threads(void *source, void *destination, DftiNode *node, void *work) {
  using C = typename Steps<R>::C;
  const bool stays = node->placement == DftiInPlace || source == destination;
  bool touched = false;
  const tnk_int status =
      stays ? in_place<R, Backward>(node, static_cast<C *>(source), touched)
            : out_of_place<R, Backward>(node, static_cast<C *>(source), static_cast<C *>(destination));
  if (status != DftiMemoryError || touched) return status;
  DftiKernel *const whole = Steps<R>::whole[Backward].get(routine);
  return whole ? whole(source, destination, node, work) : tnk_int{DftiInternalError};
}

// The matrix of transforms in place, from commit on: fresh memory in each of them would cost a third of its time. Steps go
// down its columns, from page to page, so it is to have large ones.
void *make_matrix(tnk_int bytes) {
  void *const matrix = tnk_serv_tnk_malloc(bytes, 64);
  prefer_large_pages(matrix, bytes);
  return matrix;
}

// ---- Commits ----------------------------------------------------------------------------------------------------------------

template <class R> void offer(DftiNode *node) {
  auto *const init = Steps<R>::init.get("DftiCommitDescriptor");
  constexpr int32_t in_destination = 1;
  if (!init || init(in_destination, node, node) != DftiNoError) return;
  const auto &data = *static_cast<const DftiLongData *>(node->large_data);
  const tnk_int most_threads = data.n1 / least_rows;
  if (most_threads < 2) {
    node->large_free(node);
    node->large_data = nullptr, node->large_free = nullptr;
    return;
  }
  if (node->threads > most_threads) node->threads = static_cast<int32_t>(most_threads);
  node->maximum_buffer_size = std::max(data.node1->buffer_size, data.node2->buffer_size);
  if (node->placement == DftiInPlace)
    node->second_workspace = make_matrix(data.n1 * data.ld2 * tnk_int{sizeof(typename Steps<R>::C)});
  Steps<R>::second_pair(node) = {on_threads<R, false>, on_threads<R, true>};
}

} // namespace

void offer_four_steps(DftiNode *node) {
  const bool suits = node->threads > 1 && node->user_threads == 1 && node->number_of_transforms == 1 &&
                     node->committed_rank == 1 && is_worth_while(node) &&
                     node->complex_storage == DftiComplexComplex && node->axis.ordering == DftiOrdered &&
                     node->axis.input_stride == 1 && node->axis.output_stride == 1;
  if (suits) (node->precision == DftiSingle ? offer<float> : offer<double>)(node);
}

} // namespace tnk::host
