// Making and copying nodes, and their tables of operations.
#include "kernel/dft/node.h"
#include <algorithm>
#include <tnk/services.h>

namespace tnk::dft {

const DftiMethods static_methods = {
    static_dfti_commit, static_dt_commit,  getInputStrides,       getOutputStrides,  setInputStrides,
    setOutputStrides,   getLengths,        getDescriptorName,     setDescriptorName, getScale,
    setScale,           copy_node,         getInputDistance,      getOutputDistance, getNumberOfTransforms,
    setInputDistance,   setOutputDistance, setNumberOfTransforms,
};

namespace {

// The host's threading layer fills it in.
DftiApi static_tnkapi_entries;

int32_t getCacheSize0() {
  return tnk_serv_get_cache_size(0);
}

void offer_cache_size(DftiApi &api) {
  if (!__atomic_load_n(&api.cache_size, __ATOMIC_RELAXED))
    __atomic_store_n(&api.cache_size, &getCacheSize0, __ATOMIC_RELAXED);
}

// Lengths may be any numbers here, so products wrap.
int64_t product(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// Strides that are not set become those of dimensions one after another.
void fill_strides(Iotensor &tensor) {
  int64_t input = 1, output = 1;
  for (IotensorDim *dim = tensor.dims; dim != tensor.dims + tensor.rank; ++dim) {
    if (dim->input_stride == TNK_DFT_UNSET_STRIDE) dim->input_stride = input;
    if (dim->output_stride == TNK_DFT_UNSET_STRIDE) dim->output_stride = output;
    input = product(input, dim->length);
    output = product(output, dim->length);
  }
}

tnk_int fill_tensors(DftiNode *node, const tnk_int *lengths) {
  if (tnk_dft_Iotensor_create(&node->lengths, node->rank)) return DftiMemoryError;
  if (tnk_dft_Iotensor_create(&node->transforms, 1)) return DftiMemoryError;
  std::transform(lengths, lengths + node->rank, node->lengths.dims, [](tnk_int length) {
    return IotensorDim{length, TNK_DFT_UNSET_STRIDE, TNK_DFT_UNSET_STRIDE};
  });
  fill_strides(node->lengths);
  node->transforms.dims[0] = {1, 0, 0};
  if (tnk_dft_Iotensor_copy(&node->committed_lengths, &node->lengths, 0)) return DftiMemoryError;
  return tnk_dft_Iotensor_copy(&node->committed_transforms, &node->transforms, 0);
}

void fill_defaults(DftiNode *node) {
  node->magic = TNK_DFT_MAGIC;
  node->commit_status = DftiUncommitted;
  node->number_of_transforms = 1;
  node->complex_storage = DftiComplexComplex;
  node->real_storage = DftiRealReal;
  node->conjugate_even_storage = DftiComplexReal;
  node->placement = DftiInPlace;
  node->packed_format = DftiFormatCcs;
  node->axis.ordering = DftiOrdered;
  node->axis.transpose = DftiNone;
  node->forward_scale = node->backward_scale = 1;
  node->user_threads = 1;
}

void copy_configuration(DftiNode *to, const DftiNode *from) {
  to->strategy_list = from->strategy_list;
  to->flags = from->flags & TNK_DFT_INNER;
  std::copy_n(from->name, sizeof from->name, to->name);
  to->number_of_transforms = from->transforms.dims[0].length;
  to->input_distance = from->transforms.dims[0].input_stride;
  to->output_distance = from->transforms.dims[0].output_stride;
  to->complex_storage = from->complex_storage;
  to->real_storage = from->real_storage;
  to->conjugate_even_storage = from->conjugate_even_storage;
  to->placement = from->placement;
  to->packed_format = from->packed_format;
  to->axis.ordering = from->axis.ordering;
  to->forward_scale = from->forward_scale;
  to->backward_scale = from->backward_scale;
  to->input_offset = from->input_offset;
  to->output_offset = from->output_offset;
  to->user_threads = from->user_threads;
  to->requested_threads = from->requested_threads;
}

tnk_int fill_copy(DftiNode *copy, const DftiNode *source) {
  if (tnk_dft_Iotensor_copy(&copy->lengths, &source->lengths, 0)) return DftiMemoryError;
  if (tnk_dft_Iotensor_copy(&copy->transforms, &source->transforms, 0)) return DftiMemoryError;
  if (tnk_dft_Iotensor_copy(&copy->committed_lengths, &source->lengths, 0)) return DftiMemoryError;
  if (tnk_dft_Iotensor_copy(&copy->committed_transforms, &source->transforms, 0)) return DftiMemoryError;
  fill_defaults(copy);
  copy_configuration(copy, source);
  return DftiNoError;
}

// A node with its operations, without tensors or configuration.
DftiNode *make_node(int32_t precision, int32_t domain, int32_t rank) {
  constexpr int32_t alignment = 16;
  auto *const node = static_cast<DftiNode *>(tnk_serv_tnk_calloc(1, sizeof(DftiNode), alignment));
  if (!node) return nullptr;
  node->precision = precision;
  node->forward_domain = domain;
  node->rank = rank;
  node->methods = &static_methods;
  node->api_entries = &static_tnkapi_entries;
  node->uncommit = static_uncommit;
  node->destroy = static_destroy;
  return node;
}

} // namespace

tnk_int copy_node(const DftiNode *source, DftiNode **copy) {
  DftiNode *const node = make_node(source->precision, source->forward_domain, source->rank);
  if (!node) return DftiMemoryError;
  if (const tnk_int status = fill_copy(node, source)) {
    node->destroy(node);
    return status;
  }
  *copy = node;
  return DftiNoError;
}

} // namespace tnk::dft

tnk_int tnk_dft_dfti_create_node(DftiNode **node, int32_t precision, int32_t domain, int32_t rank,
                                 const tnk_int *lengths) {
  using namespace tnk::dft;
  if (std::count(lengths, lengths + rank, 0)) return DftiInvalidConfiguration;
  DftiNode *const made = make_node(precision, domain, rank);
  if (!made) return DftiMemoryError;
  fill_defaults(made);
  if (const tnk_int status = fill_tensors(made, lengths)) {
    made->destroy(made);
    return status;
  }
  offer_cache_size(static_tnkapi_entries);
  *node = made;
  return DftiNoError;
}
