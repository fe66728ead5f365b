// Strategies that put the transform of a fixed length into a node as its compute entries: no record, no workspace and no
// factor, so any number of callers may compute at once.
#include "kernel/dft/commit/strategy.h"
#include "kernel/dft/small/transform.h"

namespace tnk::dft {
namespace {

// Operands at any address that suits their parts.
template <class R, int N, bool Inverse> __attribute__((noinline)) void codelet(const R *source, R *target) {
  transform<N, Inverse>(source, target, [](auto x) TNK_INLINED { return x; });
}
template <class R, int N, bool Inverse>
tnk_int out_of_place(DftiNode *, void *source, void *destination, void *, void *) {
  codelet<R, N, Inverse>(static_cast<const R *>(source), static_cast<R *>(destination));
  return DftiNoError;
}
template <class R, int N, bool Inverse> tnk_int in_place(DftiNode *, void *data, void *, void *, void *) {
  codelet<R, N, Inverse>(static_cast<const R *>(data), static_cast<R *>(data));
  return DftiNoError;
}

struct Row {
  int32_t length; // 0 behind the last one
  DftiCompute *fo, *bo, *fi, *bi;
};
template <class R, int N>
constexpr Row row = {N, out_of_place<R, N, false>, out_of_place<R, N, true>, in_place<R, N, false>,
                     in_place<R, N, true>};
// As a template argument, what a strategy has besides its two entries.
template <class R, int... N> constexpr Row tbl[] = {row<R, N>..., Row{}};

template <class R> bool accepts(const DftiNode *node) {
  const Iotensor &batch = node->committed_transforms;
  const bool out = node->placement == DftiNotInPlace;
  return node->precision == (sizeof(R) == sizeof(float) ? DftiSingle : DftiDouble) &&
         node->forward_domain == DftiComplex && node->complex_storage == DftiComplexComplex &&
         node->committed_rank == 1 && batch.rank <= 1 && (batch.rank == 0 || batch.dims[0].length == 1) &&
         node->axis.input_stride == 1 && (!out || node->axis.output_stride == 1) && !is_inner(node) &&
         node->input_offset == 0 && (!out || node->output_offset == 0) && node->forward_scale == 1 &&
         node->backward_scale == 1;
}

template <class R, int... N> tnk_int commit(const DftiStrategy *strategy, DftiNode *node) {
  if (!accepts<R>(node)) return declined_small;
  const Row *one = tbl<R, N...>;
  while (one->length != 0 && one->length != node->axis.length) ++one;
  if (one->length == 0) return declined_small;
  return node->placement == DftiInPlace ? take(strategy, node, nullptr, one->fi, one->bi)
                                        : take(strategy, node, nullptr, one->fo, one->bo);
}

// Nothing was made.
tnk_int myfree(const DftiStrategy *, DftiNode *) {
  return DftiNoError;
}

} // namespace
} // namespace tnk::dft

using namespace tnk::dft;

const DftiStrategy tnk_dft_bkd2_c = {commit<float, 2, 4, 8, 16, 32, 64>, myfree};
const DftiStrategy tnk_dft_bkd2_z = {commit<double, 2, 4, 8, 16, 32, 64>, myfree};
const DftiStrategy tnk_dft_bkd3_c = {commit<float, 16, 32, 64>, myfree};
const DftiStrategy tnk_dft_bkd3_z = {commit<double, 8, 16, 32, 64, 128>, myfree};
