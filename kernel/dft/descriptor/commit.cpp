// From a configured node to a committed one: normalise its tensors, then try its strategies in turn.
#include "kernel/dft/node.h"
#include <initializer_list>

namespace tnk::dft {
namespace {

// In place, output strides do not count. Order and dimensions of length 1 do not matter to complex data; in real
// data dimension 0 is the one that is halved.
tnk_int normalise(DftiNode *node) {
  const bool complex = node->forward_domain == DftiComplex;
  const int32_t flags = complex && node->placement == DftiInPlace;
  Iotensor &lengths = node->committed_lengths, &transforms = node->committed_transforms;
  if (const tnk_int status = tnk_dft_Iotensor_copy(&lengths, &node->lengths, flags)) return status;
  if (const tnk_int status = tnk_dft_Iotensor_copy(&transforms, &node->transforms, flags)) return status;
  if (!complex) return DftiNoError;
  for (Iotensor *tensor : {&lengths, &transforms}) {
    tnk_dft_Iotensor_sort(tensor);
    tnk_dft_Iotensor_remove1(tensor);
  }
  tnk_dft_Iotensor_compress(&transforms);
  return DftiNoError;
}

void take_first_dimensions(DftiNode *node) {
  const IotensorDim &first = node->committed_lengths.dims[0];
  node->committed_rank = node->committed_lengths.rank;
  node->axis.length = first.length;
  node->axis.input_stride = first.input_stride;
  node->axis.output_stride = first.output_stride;
  const bool batch = node->committed_transforms.rank > 0;
  const IotensorDim transforms = batch ? node->committed_transforms.dims[0] : IotensorDim{1, 0, 0};
  node->number_of_transforms = transforms.length;
  node->input_distance = transforms.input_stride;
  node->output_distance = transforms.output_stride;
}

void prepare_scales(DftiNode *node) {
  node->forward_factor = node->forward_scale;
  node->backward_factor = node->backward_scale;
  node->forward_factor_single = static_cast<float>(node->forward_scale);
  node->backward_factor_single = static_cast<float>(node->backward_scale);
}

int32_t ask(int32_t (*const &entry)(), int32_t otherwise) {
  const auto function = __atomic_load_n(&entry, __ATOMIC_RELAXED);
  return function ? function() : otherwise;
}

} // namespace

tnk_int static_dfti_commit(DftiNode *node) {
  if (const tnk_int status = normalise(node)) {
    node->uncommit(node); // its tensors no longer are what it was committed with
    return status;
  }
  return static_dt_commit(node);
}

// What a strategy that declines or fails has to say does not matter to the caller.
tnk_int static_dt_commit(DftiNode *node) {
  take_first_dimensions(node);
  prepare_scales(node);
  node->threads = node->requested_threads ? node->requested_threads : ask(node->api_entries->threads, 1);
  node->dynamic = ask(node->api_entries->dynamic, 0);
  node->flags &= TNK_DFT_INNER; // of an earlier commit, which may have been another one's
  for (const DftiStrategy *const *strategy = node->strategy_list; strategy && *strategy; ++strategy)
    if ((*strategy)->commit(*strategy, node) == DftiNoError) return DftiNoError;
  return DftiDeclined;
}

} // namespace tnk::dft

tnk_int DftiCommitDescriptor(DftiHandle handle) {
  if (!tnk::dft::is_node(handle)) return DftiBadDescriptor;
  const auto commit = handle->methods->static_dfti_commit;
  return commit ? commit(handle) : tnk_int{DftiInternalError};
}
[[gnu::alias("DftiCommitDescriptor")]] tnk_int tnk_dft_dfticommitdescriptor(DftiHandle handle);

tnk_int tnk_dft_dfti_commit_descriptor_external(DftiHandle *handle) {
  return handle ? DftiCommitDescriptor(*handle) : tnk_int{DftiBadDescriptor};
}
