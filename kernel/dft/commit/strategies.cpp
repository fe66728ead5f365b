// Which strategies are tried for which descriptor.
#include "kernel/dft/commit/strategy.h"

namespace tnk::dft {
namespace {

// The last of every list: the general way, by a chain of nodes that the threading layer builds.
template <DftiCoreCommit *commit_node> tnk_int commit_legacy(const DftiStrategy *, DftiNode *node) {
  node->uncommit(node);
  forget_route(node);
  // What it cannot compute comes here when a strategy that can had no memory for it.
  if (node->committed_transforms.rank > 1) return declined;
  const bool ordered_line = node->committed_rank == 1 && node->axis.ordering == DftiOrdered;
  if (is_split(node) && !ordered_line && !is_inner(node)) return declined;
  return commit_node(node);
}

template <DftiCoreCommit *commit_node> constexpr DftiStrategy legacy = {commit_legacy<commit_node>, nullptr};

template <DftiCoreCommit *commit_node>
constexpr const DftiStrategy *static_bkdown_list_real[] = {&legacy<commit_node>, nullptr};

constexpr const DftiStrategy *static_bkdown_list_sc1d[] = {&tnk_dft_bkd_as2s_n_m,
                                                           &tnk_dft_bkd_as2s_1_m,
                                                           &tnk_dft_bkd_ss2s_1_1,
                                                           &tnk_dft_bkd1_c,
                                                           &legacy<tnk_dft_commit_node_s_c2c_1d_omp>,
                                                           nullptr};
constexpr const DftiStrategy *static_bkdown_list_dc1d[] = {&tnk_dft_bkd_as2s_n_m,
                                                           &tnk_dft_bkd_as2s_1_m,
                                                           &tnk_dft_bkd_ds2s_1_1,
                                                           &tnk_dft_bkd1_z,
                                                           &legacy<tnk_dft_commit_node_d_c2c_1d_omp>,
                                                           nullptr};
constexpr const DftiStrategy *static_bkdown_list_scmd[] = {
    &tnk_dft_bkd_as2s_n_m, &tnk_dft_bkd_as2s_1_m, &tnk_dft_bkd_ss2s_1_1,
    &legacy<tnk_dft_commit_node_s_c2c_md_omp>, nullptr};
constexpr const DftiStrategy *static_bkdown_list_dcmd[] = {
    &tnk_dft_bkd_as2s_n_m, &tnk_dft_bkd_as2s_1_m, &tnk_dft_bkd_ds2s_1_1,
    &legacy<tnk_dft_commit_node_d_c2c_md_omp>, nullptr};

} // namespace

const DftiStrategy *const *strategies(int32_t precision, int32_t domain, bool several_dimensions) {
  if (domain == DftiComplex) {
    if (precision == DftiSingle)
      return several_dimensions ? static_bkdown_list_scmd : static_bkdown_list_sc1d;
    return several_dimensions ? static_bkdown_list_dcmd : static_bkdown_list_dc1d;
  }
  if (precision == DftiSingle)
    return several_dimensions ? static_bkdown_list_real<tnk_dft_commit_node_s_r2c_md_omp>
                              : static_bkdown_list_real<tnk_dft_commit_node_s_r2c_1d_omp>;
  return several_dimensions ? static_bkdown_list_real<tnk_dft_commit_node_d_r2c_md_omp>
                            : static_bkdown_list_real<tnk_dft_commit_node_d_r2c_1d_omp>;
}

} // namespace tnk::dft
