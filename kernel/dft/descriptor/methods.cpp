// What a node's table of operations reads and writes of its configuration.
#include "kernel/dft/node.h"
#include <algorithm>
#include <cstring>

namespace tnk::dft {
namespace {

using Stride = int64_t IotensorDim::*;

void get_strides(const Iotensor &lengths, Stride stride, tnk_int offset, tnk_int *strides) {
  strides[0] = offset;
  for (int32_t i = 0; i < lengths.rank; ++i) strides[i + 1] = lengths.dims[i].*stride;
}

void set_strides(Iotensor &lengths, Stride stride, int64_t &offset, const tnk_int *strides) {
  offset = strides[0];
  for (int32_t i = 0; i < lengths.rank; ++i) lengths.dims[i].*stride = strides[i + 1];
}

} // namespace

tnk_int getInputStrides(const DftiNode *node, tnk_int *strides) {
  get_strides(node->lengths, &IotensorDim::input_stride, node->input_offset, strides);
  return DftiNoError;
}

tnk_int getOutputStrides(const DftiNode *node, tnk_int *strides) {
  get_strides(node->lengths, &IotensorDim::output_stride, node->output_offset, strides);
  return DftiNoError;
}

tnk_int setInputStrides(DftiNode *node, const tnk_int *strides) {
  node->uncommit(node);
  set_strides(node->lengths, &IotensorDim::input_stride, node->input_offset, strides);
  return DftiNoError;
}

tnk_int setOutputStrides(DftiNode *node, const tnk_int *strides) {
  node->uncommit(node);
  set_strides(node->lengths, &IotensorDim::output_stride, node->output_offset, strides);
  return DftiNoError;
}

tnk_int getLengths(const DftiNode *node, tnk_int *lengths) {
  for (int32_t i = 0; i < node->lengths.rank; ++i) lengths[i] = node->lengths.dims[i].length;
  return DftiNoError;
}

tnk_int getDescriptorName(const DftiNode *node, char *name, tnk_int length) {
  constexpr tnk_int kept = sizeof node->name;
  std::memcpy(name, node->name, static_cast<size_t>(std::clamp<tnk_int>(length, 0, kept)));
  return DftiNoError;
}

tnk_int setDescriptorName(DftiNode *node, const char *name, tnk_int length, char pad) {
  constexpr tnk_int kept = sizeof node->name;
  const auto copied = static_cast<size_t>(std::clamp<tnk_int>(length, 0, kept));
  std::memcpy(node->name, name, copied);
  std::memset(node->name + copied, pad, sizeof node->name - copied);
  return DftiNoError;
}

tnk_int getScale(const DftiNode *node, int32_t parameter, double *scale) {
  *scale = parameter == DftiParamForwardScale ? node->forward_scale : node->backward_scale;
  return DftiNoError;
}

// A scale that the node has already does not disturb it.
tnk_int setScale(DftiNode *node, int32_t parameter, double scale) {
  double &stored = parameter == DftiParamForwardScale ? node->forward_scale : node->backward_scale;
  if (!(stored == scale)) node->uncommit(node);
  stored = scale;
  return DftiNoError;
}

// Commit overwrites the node's own copies by what it has made of them; the tensor keeps what was asked for.

tnk_int getInputDistance(const DftiNode *node, tnk_int *value) {
  *value = node->transforms.dims[0].input_stride;
  return DftiNoError;
}

tnk_int getOutputDistance(const DftiNode *node, tnk_int *value) {
  *value = node->transforms.dims[0].output_stride;
  return DftiNoError;
}

tnk_int getNumberOfTransforms(const DftiNode *node, tnk_int *value) {
  *value = node->transforms.dims[0].length;
  return DftiNoError;
}

tnk_int setInputDistance(DftiNode *node, tnk_int value) {
  node->input_distance = node->transforms.dims[0].input_stride = value;
  return DftiNoError;
}

tnk_int setOutputDistance(DftiNode *node, tnk_int value) {
  node->output_distance = node->transforms.dims[0].output_stride = value;
  return DftiNoError;
}

tnk_int setNumberOfTransforms(DftiNode *node, tnk_int value) {
  node->number_of_transforms = node->transforms.dims[0].length = value;
  return DftiNoError;
}

} // namespace tnk::dft
