#include "host/threading/dft_codelets.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <tnk/dft_commit.h>
#include <tnk/services.h>

#include "host/dispatch/kernel_loader.h"

namespace tnk::host {
namespace {

// ---- Where kernels are faster ---------------------------------------------------------------------------------------

// Sets of powers of two.
constexpr std::uint64_t lengths(std::initializer_list<tnk_int> all) {
  std::uint64_t set = 0;
  for (const tnk_int n : all) set |= static_cast<std::uint64_t>(n);
  return set;
}
constexpr bool has(std::uint64_t set, tnk_int n) {
  return n > 0 && (n & (n - 1)) == 0 && (set & static_cast<std::uint64_t>(n)) != 0;
}

// How many times as fast a kernel is as the wrapper of a signal primitive in batches of 1000, and in brackets in planes and
// spaces of that side; one thread on Zen 4, medians of interleaved runs.
//   complex, double  2: 10  4: 6.4 (3.1)  8: 2.5 (2.3-2.7)  32: 1.3 (1.4)  64: 1.1 (1.03)  128: 1.2 (1.1-1.2)
//                    256: 1.3 (1.15)  512: 1.2 (1.03)  1024: 1.2 (1.0)
// but for 16, with 0.75, whose kernel has 128 bits where the primitive has 256. The table of short lengths has one of 256
// bits:            16: 1.2
constexpr std::uint64_t short_double = lengths({16});
constexpr std::uint64_t complex_double = lengths({2, 4, 8, 32, 64, 128, 256, 512, 1024});
//   complex, single  2: 2.2  4: 2.3 (1.9)
constexpr std::uint64_t complex_single = lengths({2, 4});
//   real, in brackets as rows  2: 2.1-2.7  4: 2.3-3.2 (1.1-1.2)  8: 2.4-2.6 (1.2-1.3)  16: 2.1-2.6 (1.4)  32: 1.3-1.5 (1.15)
constexpr std::uint64_t real = lengths({2, 4, 8, 16, 32});
// backward to rows of several dimensions out of place, which then pass through a block of memory:
//                    4: (0.6)  8: (0.8)  16: (1.2)  32: (1.1)
constexpr std::uint64_t real_by_block = lengths({16, 32});

// ---- Nodes ------------------------------------------------------------------------------------------------------------

using Entry = KernelEntry<DftiSetCodelet>;
Entry set_cf{"tnk_dft_set_codelet_cf"}, set_cb{"tnk_dft_set_codelet_cb"}, set_zf{"tnk_dft_set_codelet_zf"},
    set_zb{"tnk_dft_set_codelet_zb"}, set_sf{"tnk_dft_set_codelet_sf"}, set_sb{"tnk_dft_set_codelet_sb"},
    set_df{"tnk_dft_set_codelet_df"}, set_db{"tnk_dft_set_codelet_db"};

// Kernels by length, from 2 on; the node has what they fall back upon.
using Table = KernelEntry<DftiKernel *const>;
Table short_forward{"tnk_dft_zsmallradix_forward"}, short_inverse{"tnk_dft_zsmallradix_inverse"};
void put_in_short(const char *routine, DftiNode *node) {
  DftiKernel *const *const forward = short_forward.get(routine), *const *const inverse =
                                                                     short_inverse.get(routine);
  if (!forward || !inverse) return;
  node->kernels.double_pair = {forward[node->axis.length - 2], inverse[node->axis.length - 2]};
  node->use_codelet = 0;
}

// A status of memory means that the node is as it was.
void put_in(const char *routine, DftiNode *node, std::uint64_t forward_lengths, Entry &forward,
            std::uint64_t backward_lengths, Entry &backward) {
  if (has(forward_lengths, node->axis.length))
    if (DftiSetCodelet *const set = forward.get(routine)) set(node);
  if (has(backward_lengths, node->axis.length))
    if (DftiSetCodelet *const set = backward.get(routine)) set(node);
}

} // namespace

tnk_int put_in_codelets(const char *routine, DftiNode *root) {
  const bool is_real = root->forward_domain == DftiReal, is_single = root->precision == DftiSingle;
  if (!is_real && (root->complex_storage == DftiRealReal || root->axis.ordering != DftiOrdered))
    return DftiNoError;
  const std::uint64_t real_backward =
      root->committed_rank > 1 && root->placement != DftiInPlace ? real_by_block : real;
  std::int64_t work = root->maximum_buffer_size;
  std::int32_t level = 0;
  for (DftiNode *node = root; node && level < root->committed_rank; node = node->next, ++level) {
    const DftiKernelPair &pair = is_single ? node->kernels.single_pair : node->kernels.double_pair;
    if (!pair.forward || node->use_codelet == 0) continue; // no kernels here, or codelets already
    if (is_real && level == 0)
      put_in(routine, node, real, is_single ? set_sf : set_df, real_backward, is_single ? set_sb : set_db);
    else if (is_single)
      put_in(routine, node, complex_single, set_cf, complex_single, set_cb);
    else if (has(short_double, node->axis.length))
      put_in_short(routine, node);
    else
      put_in(routine, node, complex_double, set_zf, complex_double, set_zb);
    work = std::max(work, node->buffer_size);
  }
  if (work == root->maximum_buffer_size) return DftiNoError;

  static KernelEntry<decltype(tnk_dft_vpk_buffer_allocation)> allocate{"tnk_dft_vpk_buffer_allocation"};
  auto *const take = allocate.get(routine);
  if (!take) return DftiInternalError;
  tnk_serv_tnk_free(root->workspace);
  root->workspace = nullptr;
  root->maximum_buffer_size = work;
  return take(root);
}

} // namespace tnk::host
