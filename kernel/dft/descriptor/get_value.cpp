// Reading parameters.
#include "kernel/dft/descriptor/parameters.h"
#include "kernel/dft/node.h"
#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace tnk::dft {
namespace {

// An integer parameter of either width.
tnk_int get_integer(const DftiNode *node, tnk_int parameter, tnk_int *value) {
  const auto is = [value](tnk_int number) {
    *value = number;
    return tnk_int{DftiNoError};
  };
  switch (parameter) {
  case DftiParamForwardDomain:
    return is(node->forward_domain);
  case DftiParamDimension:
    return is(node->rank);
  case DftiParamPrecision:
    return is(node->precision);
  case DftiParamNumberOfTransforms:
    return node->methods->getNumberOfTransforms(node, value);
  case DftiParamComplexStorage:
    return is(node->complex_storage);
  case DftiParamRealStorage:
    return is(node->real_storage);
  case DftiParamConjugateEvenStorage:
    return is(node->conjugate_even_storage);
  case DftiParamPlacement:
    return is(node->placement);
  case DftiParamInputDistance:
    return node->methods->getInputDistance(node, value);
  case DftiParamOutputDistance:
    return node->methods->getOutputDistance(node, value);
  case DftiParamOrdering:
    return is(node->axis.ordering);
  case DftiParamTranspose:
    return is(node->axis.transpose);
  case DftiParamPackedFormat:
    return is(node->packed_format);
  case DftiParamCommitStatus:
    return is(node->commit_status);
  case DftiParamNumberOfUserThreads:
    return is(node->user_threads);
  }
  return DftiInconsistentConfiguration;
}

tnk_int get_vector(const DftiNode *node, tnk_int parameter, tnk_int *values) {
  if (parameter == DftiParamInputStrides) return node->methods->getInputStrides(node, values);
  if (parameter == DftiParamOutputStrides) return node->methods->getOutputStrides(node, values);
  return node->methods->getLengths(node, values);
}

// In C's order of dimensions; an offset stays where it is.
tnk_int get_reversed(const DftiNode *node, tnk_int parameter, tnk_int *values) {
  const tnk_int status = get_vector(node, parameter, values);
  tnk_int *const first = values + (parameter == DftiParamLengths ? 0 : 1);
  std::reverse(first, first + node->rank);
  return status;
}

template <class T> tnk_int get_scale(DftiHandle *handle, tnk_int parameter, T *value) {
  const DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (const tnk_int status = status_as(Kind::scale, parameter)) return status;
  double scale;
  const tnk_int status = node->methods->getScale(node, static_cast<int32_t>(parameter), &scale);
  *value = static_cast<T>(scale);
  return status;
}

// Nine characters of the ten that are kept, and a zero.
tnk_int get_name(const DftiNode *node, char *name) {
  const tnk_int status = node->methods->getDescriptorName(node, name, DftiNameLength);
  name[DftiNameLength - 1] = '\0';
  return status;
}

tnk_int get_version(char *text) {
  char whole[DftiVersionLength] = {};
  tnk_dft_dfti_get_version_string(whole, DftiVersionLength - 1);
  std::memcpy(text, whole, std::strlen(whole) + 1);
  return DftiNoError;
}

tnk_int get_value(DftiHandle handle, int32_t parameter, void *value) {
  if (parameter == DftiParamVersion) return get_version(static_cast<char *>(value));
  if (!is_node(handle)) return DftiBadDescriptor;
  if (!is_parameter(parameter)) return DftiInconsistentConfiguration;
  switch (kinds[parameter]) {
  case Kind::int32: {
    tnk_int wide = 0;
    const tnk_int status = get_integer(handle, parameter, &wide);
    *static_cast<int32_t *>(value) = static_cast<int32_t>(wide);
    return status;
  }
  case Kind::int64:
    return get_integer(handle, parameter, static_cast<tnk_int *>(value));
  case Kind::scale:
    return handle->precision == DftiSingle ? get_scale(&handle, parameter, static_cast<float *>(value))
                                           : get_scale(&handle, parameter, static_cast<double *>(value));
  case Kind::vector:
    return get_reversed(handle, parameter, static_cast<tnk_int *>(value));
  case Kind::text:
    return get_name(handle, static_cast<char *>(value));
  case Kind::reserved:
    break;
  }
  return DftiUnimplemented;
}

} // namespace
} // namespace tnk::dft

tnk_int DftiGetValue(DftiHandle handle, int32_t parameter, ...) {
  std::va_list arguments;
  va_start(arguments, parameter);
  void *const value = va_arg(arguments, void *);
  va_end(arguments);
  return tnk::dft::get_value(handle, parameter, value);
}

[[gnu::alias("DftiGetValue")]] tnk_int tnk_dft_dftigetvalue(DftiHandle handle, int32_t parameter, ...);

tnk_int tnk_dft_dfti_get_value_intval(DftiHandle *handle, const tnk_int *parameter, tnk_int *value) {
  using namespace tnk::dft;
  const DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (*parameter == DftiParamLengths && node->rank == 1) return node->methods->getLengths(node, value);
  if (is_parameter(*parameter) && kinds[*parameter] == Kind::reserved) return DftiUnimplemented;
  return get_integer(node, *parameter, value);
}

tnk_int tnk_dft_dfti_get_value_intvec(DftiHandle *handle, const tnk_int *parameter, tnk_int *values) {
  using namespace tnk::dft;
  const DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (const tnk_int status = status_as(Kind::vector, *parameter)) return status;
  return get_vector(node, *parameter, values);
}

tnk_int tnk_dft_dfti_get_value_sglval(DftiHandle *handle, const tnk_int *parameter, float *value) {
  return tnk::dft::get_scale(handle, *parameter, value);
}

tnk_int tnk_dft_dfti_get_value_dblval(DftiHandle *handle, const tnk_int *parameter, double *value) {
  return tnk::dft::get_scale(handle, *parameter, value);
}

tnk_int tnk_dft_dfti_get_value_chars(DftiHandle *handle, const tnk_int *parameter, char *text,
                                     const tnk_int *length) {
  using namespace tnk::dft;
  if (*length > 0) std::memset(text, ' ', static_cast<size_t>(*length));
  if (*parameter == DftiParamVersion) {
    tnk_dft_dfti_get_version_string(text, *length);
    return DftiNoError;
  }
  const DftiNode *const node = node_at(handle);
  if (!node) return DftiBadDescriptor;
  if (const tnk_int status = status_as(Kind::text, *parameter)) return status;
  // A name that was set by value ends with zeros.
  const tnk_int status = node->methods->getDescriptorName(node, text, *length);
  std::replace(text, text + std::clamp<tnk_int>(*length, 0, DftiNameLength), '\0', ' ');
  return status;
}
