// Commits of Fourier descriptors: the chain of nodes, one for each dimension, that a core commit sets up.
#include <cstdint>
#include <tnk/dft_commit.h>

#include "host/dispatch/kernel_loader.h"
#include "host/threading/dft_codelets.h"
#include "host/threading/dft_long.h"

namespace tnk::host {
namespace {

// The largest e with 2^e at most n; 0 for what has none.
std::int64_t log2_of(tnk_int n) {
  return n > 0 ? 63 - __builtin_clzll(static_cast<unsigned long long>(n)) : 0;
}

// Lengths may be any numbers, which the core commit refuses later; so products wrap.
std::int64_t product(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

KernelEntry<decltype(tnk_dft_dfti_create_node)> create_node{"tnk_dft_dfti_create_node"};

// The node of committed dimension d, which runs as a part of `root` only.
tnk_int make_link(decltype(tnk_dft_dfti_create_node) *create, const DftiNode *root, std::int32_t d,
                  DftiNode **made) {
  const IotensorDim &dim = root->committed_lengths.dims[d];
  DftiNode *node = nullptr;
  const tnk_int length = dim.length;
  if (const tnk_int status = create(&node, root->precision, root->forward_domain, 1, &length)) return status;
  node->flags |= TNK_DFT_INNER;
  node->committed_rank = 1;
  node->committed_lengths.dims[0] = dim;
  node->axis.length = dim.length;
  node->axis.input_stride = dim.input_stride;
  node->axis.output_stride = dim.output_stride;
  node->log2_length = log2_of(dim.length);
  node->total_length = dim.length;
  node->threads = 1;
  *made = node;
  return DftiNoError;
}

tnk_int commit_node(const char *routine, KernelEntry<DftiCoreCommit> &core, DftiNode *root,
                    void (*prepare)(DftiNode *) = nullptr) {
  auto *const create = create_node.get(routine);
  DftiCoreCommit *const commit = core.get(routine);
  if (!create || !commit) return DftiInternalError;
  root->log2_length = log2_of(root->axis.length);
  root->total_length = root->axis.length;
  DftiNode **link = &root->next;
  for (std::int32_t d = 1; d < root->committed_rank; ++d, link = &(*link)->next) {
    if (const tnk_int status = make_link(create, root, d, link)) {
      root->uncommit(root); // with the part of the chain that stands
      return status;
    }
    root->total_length = product(root->total_length, (*link)->axis.length);
  }
  if (prepare) prepare(root);
  if (const tnk_int status = commit(root)) return status;
  return put_in_codelets(routine, root);
}

// A transform that the kernel library has in straight lines, which the strategies of the node's list have left: no chain and
// no workspace then.
bool is_taken(const char *routine, KernelEntry<const DftiStrategy> &strategy, DftiNode *root) {
  const DftiStrategy *const found = strategy.get(routine);
  return found && found->commit(found, root) == DftiNoError;
}

} // namespace
} // namespace tnk::host

// One for each precision, kind of data and shape.
#define TNK_COMMIT_NODE(kind)                                                                                \
  tnk_int tnk_dft_commit_node_##kind##_omp(DftiNode *node) {                                                 \
    static tnk::host::KernelEntry<DftiCoreCommit> core{"tnk_dft_commit_descriptor_core_" #kind};             \
    return tnk::host::commit_node("tnk_dft_commit_node_" #kind "_omp", core, node);                          \
  }
TNK_COMMIT_NODE(s_c2c_md)
TNK_COMMIT_NODE(s_r2c_1d)
TNK_COMMIT_NODE(s_r2c_md)
TNK_COMMIT_NODE(d_c2c_md)
TNK_COMMIT_NODE(d_r2c_1d)
TNK_COMMIT_NODE(d_r2c_md)
#undef TNK_COMMIT_NODE

#define TNK_COMMIT_LINE(kind, precision)                                                                     \
  tnk_int tnk_dft_commit_node_##kind##_omp(DftiNode *node) {                                                 \
    static tnk::host::KernelEntry<const DftiStrategy> most{"tnk_dft_bkd3_" #precision},                      \
        few{"tnk_dft_bkd2_" #precision};                                                                     \
    static tnk::host::KernelEntry<DftiCoreCommit> core{"tnk_dft_commit_descriptor_core_" #kind};             \
    constexpr auto *routine = "tnk_dft_commit_node_" #kind "_omp";                                           \
    if (tnk::host::is_taken(routine, most, node) || tnk::host::is_taken(routine, few, node))                 \
      return DftiNoError;                                                                                    \
    return tnk::host::commit_node(routine, core, node, tnk::host::offer_four_steps);                         \
  }
TNK_COMMIT_LINE(s_c2c_1d, c)
TNK_COMMIT_LINE(d_c2c_1d, z)
#undef TNK_COMMIT_LINE
