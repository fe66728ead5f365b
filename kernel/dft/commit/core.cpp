// Core commits: from a chain of nodes, one for each dimension, to one that can compute. The threading layer has built the
// chain and calls them.
#include <algorithm>

#include "kernel/dft/commit/core.h"

namespace tnk::dft {
namespace {

// Forward and backward, in place and out of place.
struct Entries {
  DftiCompute *forward[2], *backward[2];
};

template <class T> struct entries;
template <> struct entries<float> {
  static constexpr Entries line{{tnk_dft_compute_fwd_s_c2c_1d_i, tnk_dft_compute_fwd_s_c2c_1d_o},
                                {tnk_dft_compute_bwd_s_c2c_1d_i, tnk_dft_compute_bwd_s_c2c_1d_o}};
  static constexpr Entries space{{tnk_dft_compute_fwd_s_c2c_md_i, tnk_dft_compute_fwd_s_c2c_md_o},
                                 {tnk_dft_compute_bwd_s_c2c_md_i, tnk_dft_compute_bwd_s_c2c_md_o}};
  static constexpr Entries real_line{{tnk_dft_compute_fwd_s_r2c_1d_i, tnk_dft_compute_fwd_s_r2c_1d_o},
                                     {tnk_dft_compute_bwd_s_r2c_1d_i, tnk_dft_compute_bwd_s_r2c_1d_o}};
  static constexpr Entries real_space{{tnk_dft_compute_fwd_s_r2c_md_i, tnk_dft_compute_fwd_s_r2c_md_o},
                                      {tnk_dft_compute_bwd_s_r2c_md_i, tnk_dft_compute_bwd_s_r2c_md_o}};
};
template <> struct entries<double> {
  static constexpr Entries line{{tnk_dft_compute_fwd_d_c2c_1d_i, tnk_dft_compute_fwd_d_c2c_1d_o},
                                {tnk_dft_compute_bwd_d_c2c_1d_i, tnk_dft_compute_bwd_d_c2c_1d_o}};
  static constexpr Entries space{{tnk_dft_compute_fwd_d_c2c_md_i, tnk_dft_compute_fwd_d_c2c_md_o},
                                 {tnk_dft_compute_bwd_d_c2c_md_i, tnk_dft_compute_bwd_d_c2c_md_o}};
  static constexpr Entries real_line{{tnk_dft_compute_fwd_d_r2c_1d_i, tnk_dft_compute_fwd_d_r2c_1d_o},
                                     {tnk_dft_compute_bwd_d_r2c_1d_i, tnk_dft_compute_bwd_d_r2c_1d_o}};
  static constexpr Entries real_space{{tnk_dft_compute_fwd_d_r2c_md_i, tnk_dft_compute_fwd_d_r2c_md_o},
                                      {tnk_dft_compute_bwd_d_r2c_md_i, tnk_dft_compute_bwd_d_r2c_md_o}};
};

// For arrays in two parts no transform leaves its spectrum in another order, so such a node has no kernels; it stands as a
// part of a larger transform, and is not computed by itself.
tnk_int refuse(DftiNode *, void *, void *, void *, void *) {
  return DftiUnimplemented;
}

// ---- Nodes ------------------------------------------------------------------------------------------------------------

// Gives a node of the chain what the whole transform is like.
void take_over(DftiNode *node, const DftiNode *root, int32_t level) {
  if (node != root) {
    node->forward_scale = root->forward_scale, node->backward_scale = root->backward_scale;
    node->input_offset = root->input_offset, node->output_offset = root->output_offset;
    node->input_distance = root->input_distance, node->output_distance = root->output_distance;
    node->complex_storage = root->complex_storage, node->real_storage = root->real_storage;
    node->conjugate_even_storage = root->conjugate_even_storage, node->packed_format = root->packed_format;
    node->placement = root->placement;
    node->axis.ordering = root->axis.ordering;
    node->forward_domain = root->forward_domain, node->precision = root->precision;
    // A transform is scaled once: by the kernels of its first dimension.
    node->forward_factor = node->backward_factor = 1;
    node->forward_factor_single = node->backward_factor_single = 1;
  }
  node->axis.level = level;
}

// A length beyond the signal records', if a path of its own takes it.
template <class T> bool take_large_path(DftiNode *node, DftiNode *root) {
  using p = precision<T>;
  if (root->committed_rank != 1 || node->axis.input_stride != 1 || node->axis.output_stride != 1 ||
      is_within_limit<T>(node->axis.length))
    return false;
  constexpr int32_t outer = 1;
  constexpr int64_t least_log2 = 16;
  if (node->log2_length >= least_log2 && p::four_step.init(outer, node, root) == 0) {
    node->kernels.*p::pair = p::four_step.pair;
    if (root->number_of_transforms == 1) root->flags |= TNK_DFT_ONE_SHOT;
    return true;
  }
  return p::bluestein(node) == 0;
}

// The kernels of one dimension of complex data, and what they need.
template <class T> tnk_int set_up(DftiNode *node, DftiNode *root) {
  using p = precision<T>;
  DftiKernelPair &pair = node->kernels.*p::pair;
  const bool ordered = node->axis.ordering == DftiOrdered;
  node->use_codelet = 1;
  if (is_split(root)) {
    pair = ordered ? p::split_wrappers : DftiKernelPair{nullptr, nullptr};
    return p::init_split(node, root);
  }
  if (ordered && take_large_path<T>(node, root)) return DftiNoError;
  if (ordered)
    choose_kernels<T>(node);
  else
    pair = p::scrambled_wrappers;
  return p::init_complex(node, root);
}

// Of a real transform: rows of real numbers, then columns of complex ones.
template <class T> tnk_int set_up_real(DftiNode *node, DftiNode *root) {
  using p = precision<T>;
  if (node != root) return p::complex_for_real(node, root);
  node->kernels.*p::pair = p::real_wrappers;
  node->use_codelet = 1;
  return p::init_format(node, root);
}

// Each node of the chain.
template <class T> tnk_int set_up_chain(DftiNode *root, tnk_int (*one)(DftiNode *, DftiNode *)) {
  DftiNode *node = root;
  for (int32_t level = 0; level < root->committed_rank; ++level, node = node->next) {
    take_over(node, root, level);
    node->kernels.*precision<T>::second_pair = {nullptr, nullptr};
    if (const tnk_int status = one(node, root)) return status;
    root->maximum_buffer_size = std::max(root->maximum_buffer_size, node->buffer_size);
    node->commit_status = DftiCommitted;
  }
  return DftiNoError;
}

tnk_int finish(DftiNode *root, const Entries &compute) {
  if (const tnk_int status = tnk_dft_vpk_buffer_allocation(root)) return status;
  const bool out = root->placement != DftiInPlace;
  root->compute_forward = compute.forward[out];
  root->compute_backward = compute.backward[out];
  root->nioargs = arrays_of(root);
  root->commit_status = DftiCommitted;
  return DftiNoError;
}

// ---- Whole transforms ---------------------------------------------------------------------------------------------------

template <class T> tnk_int commit_complex(DftiNode *root, DftiModeDefinition *define_mode) {
  using p = precision<T>;
  const bool one_dimensional = root->committed_rank == 1;
  if (const tnk_int status = define_mode(root, root->dynamic)) return give_up(root, root, status);
  const bool out = root->placement != DftiInPlace;
  root->kernels.plane = root->committed_rank == 2 ? out ? p::plane_out : p::plane : nullptr;

  // The threading layer has set parallel entries of its own where it left several threads to one transform.
  const bool has_entries = one_dimensional && root->number_of_transforms < 2 && root->threads != 1;
  if (!has_entries)
    if (const tnk_int status = set_up_chain<T>(root, set_up<T>)) return status;

  static constexpr Entries refused{{refuse, refuse}, {refuse, refuse}};
  if (is_split(root) && root->axis.ordering != DftiOrdered) return finish(root, refused);
  return finish(root, one_dimensional ? entries<T>::line : entries<T>::space);
}

template <class T> tnk_int commit_real(DftiNode *root, DftiModeDefinition *define_mode) {
  using p = precision<T>;
  const int32_t rank = root->committed_rank;
  const bool packed = root->conjugate_even_storage != DftiComplexComplex;
  if (const tnk_int status = define_mode(root, root->dynamic)) return give_up(root, root, status);
  if (packed && rank > 2) return give_up(root, root, DftiUnimplemented); // packed layouts end with planes
  root->kernels.forward_plane = rank == 2 ? packed ? p::packed_forward_plane : p::forward_plane : nullptr;
  root->kernels.backward_plane = rank == 2 ? packed ? p::packed_backward_plane : p::backward_plane : nullptr;
  if (const tnk_int status = set_up_chain<T>(root, set_up_real<T>)) return status;
  return finish(root, rank == 1 ? entries<T>::real_line : entries<T>::real_space);
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

tnk_int tnk_dft_commit_descriptor_core_s_c2c_1d(DftiNode *node) {
  return commit_complex<float>(node, tnk_dft_threaded_mode_definition_s_c2c_1d);
}
tnk_int tnk_dft_commit_descriptor_core_s_c2c_md(DftiNode *node) {
  return commit_complex<float>(node, tnk_dft_threaded_mode_definition_s_c2c_md);
}
tnk_int tnk_dft_commit_descriptor_core_s_r2c_1d(DftiNode *node) {
  return commit_real<float>(node, tnk_dft_threaded_mode_definition_s_r2c_1d);
}
tnk_int tnk_dft_commit_descriptor_core_s_r2c_md(DftiNode *node) {
  return commit_real<float>(node, tnk_dft_threaded_mode_definition_s_r2c_md);
}
tnk_int tnk_dft_commit_descriptor_core_d_c2c_1d(DftiNode *node) {
  return commit_complex<double>(node, tnk_dft_threaded_mode_definition_d_c2c_1d);
}
tnk_int tnk_dft_commit_descriptor_core_d_c2c_md(DftiNode *node) {
  return commit_complex<double>(node, tnk_dft_threaded_mode_definition_d_c2c_md);
}
tnk_int tnk_dft_commit_descriptor_core_d_r2c_1d(DftiNode *node) {
  return commit_real<double>(node, tnk_dft_threaded_mode_definition_d_r2c_1d);
}
tnk_int tnk_dft_commit_descriptor_core_d_r2c_md(DftiNode *node) {
  return commit_real<double>(node, tnk_dft_threaded_mode_definition_d_r2c_md);
}
