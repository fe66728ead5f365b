// Short contiguous transforms: the compute entries call the signal primitive, with its work on the stack. No allocation,
// no slot and no branch on threads, so any number of callers may compute at once.
#include <cstdint>

#include "kernel/dft/commit/strategy.h"

namespace tnk::dft {
namespace {

constexpr int32_t longest = 4096, most_work = 2048;

struct Small {
  const Records *kind;
  tnk_signal_dft *record;
  tnk_int length;
  int32_t flag;
};

template <class T, bool is_inverse> tnk_int compute(DftiNode *node, const void *source, void *destination) {
  using p = precision<T>;
  using complex = typename p::complex;
  constexpr auto transform = is_inverse ? p::inverse : p::forward;
  uint8_t work[most_work + 8];
  const auto *const small = static_cast<const Small *>(node->strategy_data);
  return status_of(transform(static_cast<const complex *>(source), static_cast<complex *>(destination),
                             small->record, work));
}
template <class T, bool is_inverse> tnk_int compute_i(DftiNode *node, void *data, void *, void *, void *) {
  return compute<T, is_inverse>(node, data, data);
}
template <class T, bool is_inverse>
tnk_int compute_o(DftiNode *node, void *source, void *destination, void *, void *) {
  return compute<T, is_inverse>(node, source, destination);
}

template <class T> bool accepts(const DftiNode *node, int32_t *flag) {
  const Iotensor &batch = node->committed_transforms;
  const bool out = node->placement == DftiNotInPlace;
  return node->precision == (sizeof(T) == sizeof(float) ? DftiSingle : DftiDouble) &&
         node->forward_domain == DftiComplex && node->complex_storage == DftiComplexComplex &&
         node->committed_rank == 1 && batch.rank <= 1 && (batch.rank == 0 || batch.dims[0].length == 1) &&
         node->axis.length >= 1 && node->axis.length <= longest && node->axis.input_stride == 1 &&
         (!out || node->axis.output_stride == 1) && !is_inner(node) && node->input_offset == 0 &&
         node->output_offset == 0 && tnk_dft_vpk_can_scale(node, flag);
}

void release(Small *small) {
  if (small->record) small->kind->release(small->record);
  tnk_serv_tnk_free(small);
}

template <class T> tnk_int make(const DftiNode *node, Small *small) {
  small->kind = &precision<T>::complex_records;
  small->length = node->axis.length;
  tnk_dft_vpk_can_scale(node, &small->flag);
  int32_t size = 0;
  int32_t signal_status =
      small->kind->make(&small->record, static_cast<int32_t>(small->length), small->flag, 0);
  if (signal_status == 0) signal_status = small->kind->work_size(small->record, &size);
  if (signal_status != 0) return status_of(signal_status);
  return size <= most_work ? tnk_int{DftiNoError} : declined_small;
}

template <class T> tnk_int commit(const DftiStrategy *strategy, DftiNode *node) {
  int32_t flag;
  if (!accepts<T>(node, &flag)) return declined_small;
  auto *small = node->strategy == strategy ? static_cast<Small *>(node->strategy_data) : nullptr;
  if (!small || small->length != node->axis.length || small->flag != flag)
    if (const tnk_int status = make_block(node, make<T>, &small)) return status;
  return node->placement == DftiInPlace
             ? take(strategy, node, small, compute_i<T, false>, compute_i<T, true>)
             : take(strategy, node, small, compute_o<T, false>, compute_o<T, true>);
}

} // namespace
} // namespace tnk::dft

const DftiStrategy tnk_dft_bkd1_c = {tnk::dft::commit<float>, tnk::dft::detach<tnk::dft::Small>};
const DftiStrategy tnk_dft_bkd1_z = {tnk::dft::commit<double>, tnk::dft::detach<tnk::dft::Small>};
