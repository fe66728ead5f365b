// Lists of dimensions.
#include <algorithm>
#include <tnk/dft_node.h>
#include <tnk/services.h>
#include <utility>

namespace tnk::dft {
namespace {

// An array in place of the tensor's.
tnk_int resize(Iotensor *tensor, int32_t rank) {
  constexpr int32_t alignment = 128;
  const int64_t size = int64_t{rank} * static_cast<int64_t>(sizeof(IotensorDim));
  void *const dims = tnk_serv_tnk_malloc(size, alignment);
  if (!dims) return DftiMemoryError;
  tnk_serv_tnk_free(tensor->dims);
  tensor->dims = static_cast<IotensorDim *>(dims);
  tensor->rank = rank;
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

tnk_int tnk_dft_Iotensor_create(Iotensor *tensor, int32_t rank) {
  tensor->dims = nullptr;
  return tnk::dft::resize(tensor, rank);
}

void tnk_dft_Iotensor_destroy(Iotensor *tensor) {
  tnk_serv_tnk_free(tensor->dims);
  *tensor = {0, nullptr};
}

tnk_int tnk_dft_Iotensor_copy(Iotensor *destination, const Iotensor *source, int32_t flags) {
  if (destination->rank < source->rank)
    if (const tnk_int status = tnk::dft::resize(destination, source->rank)) return status;
  destination->rank = source->rank;
  std::transform(source->dims, source->dims + source->rank, destination->dims, [flags](IotensorDim dim) {
    const IotensorDim from = dim;
    if (flags & 1) dim.output_stride = from.input_stride;
    if (flags & 2) dim.input_stride = from.output_stride;
    return dim;
  });
  return DftiNoError;
}

void tnk_dft_Iotensor_sort(Iotensor *tensor) {
  IotensorDim *const end = tensor->dims + tensor->rank;
  for (IotensorDim *dim = tensor->dims; dim != end; ++dim)
    std::swap(*dim, *std::min_element(dim, end, [](const IotensorDim &a, const IotensorDim &b) {
      return a.input_stride < b.input_stride;
    }));
}

void tnk_dft_Iotensor_remove1(Iotensor *tensor) {
  int32_t kept = 0;
  for (int32_t i = 0; i < tensor->rank; ++i)
    if (tensor->dims[i].length != 1 || (kept == 0 && i == tensor->rank - 1))
      tensor->dims[kept++] = tensor->dims[i];
  tensor->rank = kept;
}

void tnk_dft_Iotensor_compress(Iotensor *tensor) {
  for (int32_t i = tensor->rank - 1; i > 0; --i) {
    IotensorDim &low = tensor->dims[i - 1];
    const IotensorDim &high = tensor->dims[i];
    if (high.input_stride != low.input_stride * low.length ||
        high.output_stride != low.output_stride * low.length)
      continue;
    low.length *= high.length;
    std::copy(tensor->dims + i + 1, tensor->dims + tensor->rank, tensor->dims + i);
    --tensor->rank;
  }
}

tnk_int tnk_dft_Iotensor_join(Iotensor *joined, const Iotensor *low, const Iotensor *high) {
  const int32_t rank = low->rank + high->rank;
  if (joined->rank < rank)
    if (const tnk_int status = tnk::dft::resize(joined, rank)) return status;
  joined->rank = rank;
  std::copy(high->dims, high->dims + high->rank, std::copy(low->dims, low->dims + low->rank, joined->dims));
  return DftiNoError;
}

int32_t tnk_dft_Iotensor_is_inplace(const Iotensor *tensor) {
  return std::all_of(tensor->dims, tensor->dims + tensor->rank,
                     [](const IotensorDim &dim) { return dim.input_stride == dim.output_stride; });
}
