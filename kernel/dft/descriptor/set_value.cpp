// Setting parameters.
#include "kernel/dft/descriptor/parameters.h"
#include "kernel/dft/node.h"
#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace tnk::dft {
namespace {

// ---- Integers -----------------------------------------------------------------------------------------------------------

// Bit n stands for the value n.
template <class... Values> constexpr uint64_t values(Values... value) {
  return ((uint64_t{1} << value) | ... | 0);
}

constexpr bool contains(uint64_t set, int64_t value) {
  return value >= 0 && value < 64 && (set >> value & 1) != 0;
}

struct Choice {
  DftiParam parameter;
  int32_t &(*field)(DftiNode &node);
  uint64_t accepted, unimplemented;
};

// What is not here has a meaning but cannot be set.
constexpr Choice choices[] = {
    {DftiParamComplexStorage, [](DftiNode &node) -> int32_t & { return node.complex_storage; },
     values(DftiComplexComplex, DftiRealReal), values(DftiComplexReal, DftiRealComplex)},
    {DftiParamRealStorage, [](DftiNode &node) -> int32_t & { return node.real_storage; },
     values(DftiRealReal), values(DftiRealComplex)},
    {DftiParamConjugateEvenStorage, [](DftiNode &node) -> int32_t & { return node.conjugate_even_storage; },
     values(DftiComplexComplex, DftiComplexReal), values(DftiRealComplex, DftiRealReal)},
    {DftiParamPlacement, [](DftiNode &node) -> int32_t & { return node.placement; },
     values(DftiInPlace, DftiNotInPlace), 0},
    {DftiParamOrdering, [](DftiNode &node) -> int32_t & { return node.axis.ordering; },
     values(DftiOrdered, DftiBackwardScrambled), values(DftiForwardScrambled)},
    {DftiParamPackedFormat, [](DftiNode &node) -> int32_t & { return node.packed_format; },
     values(DftiFormatCcs, DftiFormatPack, DftiFormatPerm, DftiFormatCce), 0},
};

template <class Field> void store_in_chain(DftiNode *node, Field field, int32_t value) {
  for (; node; node = node->next) field(*node) = value;
}

tnk_int store(DftiNode *node, const Choice &choice, int64_t value) {
  uint64_t accepted = choice.accepted, unimplemented = choice.unimplemented;
  if (choice.parameter == DftiParamOrdering && node->forward_domain == DftiReal) {
    unimplemented |= values(DftiBackwardScrambled);
    accepted &= ~unimplemented;
  }
  if (contains(unimplemented, value)) return DftiUnimplemented;
  if (!contains(accepted, value)) return DftiInconsistentConfiguration;
  store_in_chain(node, choice.field, static_cast<int32_t>(value));
  // Half of a spectrum as complex numbers has one format.
  if (choice.parameter == DftiParamConjugateEvenStorage && value == DftiComplexComplex)
    store_in_chain(
        node, [](DftiNode &each) -> int32_t & { return each.packed_format; }, DftiFormatCce);
  return DftiNoError;
}

tnk_int store_user_threads(DftiNode *node, int64_t value) {
  if (value != static_cast<int32_t>(value)) return DftiInconsistentConfiguration;
  store_in_chain(
      node, [](DftiNode &each) -> int32_t & { return each.user_threads; }, static_cast<int32_t>(value));
  return DftiNoError;
}

// Whatever becomes of the value, the node must be committed anew.
tnk_int set_integer(DftiNode *node, tnk_int parameter, int64_t value) {
  node->compute_forward = node->compute_backward = nullptr;
  node->flags &= ~uint32_t{TNK_DFT_CONTIGUOUS};
  node->commit_status = DftiUncommitted;
  if (is_parameter(parameter) && kinds[parameter] == Kind::reserved) return DftiUnimplemented;
  switch (parameter) {
  case DftiParamNumberOfTransforms:
    return node->methods->setNumberOfTransforms(node, value);
  case DftiParamInputDistance:
    return node->methods->setInputDistance(node, value);
  case DftiParamOutputDistance:
    return node->methods->setOutputDistance(node, value);
  case DftiParamNumberOfUserThreads:
    return store_user_threads(node, value);
  }
  for (const Choice &choice : choices)
    if (choice.parameter == parameter) return store(node, choice, value);
  return DftiInconsistentConfiguration;
}

// ---- Scales and vectors ---------------------------------------------------------------------------------------------------

tnk_int set_scale(DftiHandle *handle, tnk_int parameter, double scale) {
  DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (const tnk_int status = status_as(Kind::scale, parameter)) return status;
  return node->methods->setScale(node, static_cast<int32_t>(parameter), scale);
}

tnk_int set_vector(DftiNode *node, tnk_int parameter, const tnk_int *strides) {
  if (parameter == DftiParamInputStrides) return node->methods->setInputStrides(node, strides);
  if (parameter == DftiParamOutputStrides) return node->methods->setOutputStrides(node, strides);
  return DftiInconsistentConfiguration;
}

// In C's order of dimensions.
tnk_int set_reversed(DftiNode *node, tnk_int parameter, const tnk_int *strides) {
  tnk_int reversed[DftiMaxDimension + 1];
  std::copy_n(strides, node->rank + 1, reversed);
  std::reverse(reversed + 1, reversed + 1 + node->rank);
  return set_vector(node, parameter, reversed);
}

tnk_int set_name(DftiNode *node, const char *name) {
  return node->methods->setDescriptorName(node, name, static_cast<tnk_int>(std::strlen(name)), '\0');
}

// Lengths and the version cannot be set, and are not read.
tnk_int set_value(DftiNode *node, int32_t parameter, std::va_list value) {
  if (!is_node(node)) return DftiBadDescriptor;
  if (!is_parameter(parameter)) return DftiInconsistentConfiguration;
  switch (parameter) {
  case DftiParamForwardScale:
  case DftiParamBackwardScale:
    return node->methods->setScale(node, parameter, va_arg(value, double));
  case DftiParamInputStrides:
  case DftiParamOutputStrides:
    return set_reversed(node, parameter, va_arg(value, const tnk_int *));
  case DftiParamDescriptorName:
    return set_name(node, va_arg(value, const char *));
  }
  switch (kinds[parameter]) {
  case Kind::int32:
    return set_integer(node, parameter, va_arg(value, uint32_t));
  case Kind::int64:
    return set_integer(node, parameter, va_arg(value, int64_t));
  default:
    return set_integer(node, parameter, 0);
  }
}

} // namespace
} // namespace tnk::dft

tnk_int DftiSetValue(DftiHandle handle, int32_t parameter, ...) {
  std::va_list value;
  va_start(value, parameter);
  const tnk_int status = tnk::dft::set_value(handle, parameter, value);
  va_end(value);
  return status;
}

[[gnu::alias("DftiSetValue")]] tnk_int tnk_dft_dftisetvalue(DftiHandle handle, int32_t parameter, ...);

tnk_int tnk_dft_dfti_set_value_intval(DftiHandle *handle, const tnk_int *parameter, const tnk_int *value) {
  DftiNode *const node = tnk::dft::node_at(handle);
  return node ? tnk::dft::set_integer(node, *parameter, *value) : tnk_int{DftiBadDescriptor};
}

tnk_int tnk_dft_dfti_set_value_intvec(DftiHandle *handle, const tnk_int *parameter, const tnk_int *values) {
  using namespace tnk::dft;
  DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (const tnk_int status = status_as(Kind::vector, *parameter)) return status;
  return set_vector(node, *parameter, values);
}

tnk_int tnk_dft_dfti_set_value_sglval(DftiHandle *handle, const tnk_int *parameter, const float *value) {
  return tnk::dft::set_scale(handle, *parameter, double{*value});
}

tnk_int tnk_dft_dfti_set_value_dblval(DftiHandle *handle, const tnk_int *parameter, const double *value) {
  return tnk::dft::set_scale(handle, *parameter, *value);
}

tnk_int tnk_dft_dfti_set_value_chars(DftiHandle *handle, const tnk_int *parameter, const char *text,
                                     const tnk_int *length) {
  using namespace tnk::dft;
  DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (const tnk_int status = status_as(Kind::text, *parameter)) return status;
  if (*parameter != DftiParamDescriptorName) return DftiInconsistentConfiguration;
  return node->methods->setDescriptorName(node, text, *length, ' ');
}
