// The way from a public compute to the node's entry: no check but the two for null.
#include "kernel/dft/node.h"

namespace tnk::dft {
namespace {

using Entry = DftiCompute *DftiNode::*;

tnk_int compute(Entry entry, DftiNode *node, void *first, void *second, void *third, void *fourth) {
  if (!node) return DftiBadDescriptor;
  DftiCompute *const run = node->*entry;
  return run ? run(node, first, second, third, fourth) : tnk_int{DftiInvalidConfiguration};
}

tnk_int compute(Entry entry, int32_t arrays, DftiHandle *handle, void *first, void *second = nullptr,
                void *third = nullptr, void *fourth = nullptr) {
  if (!handle || !*handle) return DftiBadDescriptor;
  DftiNode *const node = *handle;
  if (node->nioargs == arrays)
    if (DftiCompute *const run = node->*entry) return run(node, first, second, third, fourth);
  if (!is_node(node)) return DftiBadDescriptor;
  return node->nioargs == arrays ? DftiInvalidConfiguration : DftiInconsistentConfiguration;
}

} // namespace
} // namespace tnk::dft

// Callers see functions of a variable list of arrays. It lies in the registers of the first five arguments, however
// long it is, and stays there on the way to the entry, which reads as many as there are. So they are defined with five,
// under names of their own in the language, and a list is never taken apart.
TNK_BEGIN_DECLS

DftiCompute compute_forward __asm__("DftiComputeForward");
DftiCompute compute_backward __asm__("DftiComputeBackward");

tnk_int compute_forward(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  return tnk::dft::compute(&DftiNode::compute_forward, node, first, second, third, fourth);
}
tnk_int compute_backward(DftiNode *node, void *first, void *second, void *third, void *fourth) {
  return tnk::dft::compute(&DftiNode::compute_backward, node, first, second, third, fourth);
}

[[gnu::alias("DftiComputeForward")]] DftiCompute compute_forward_twin __asm__("tnk_dft_dfticomputeforward");
[[gnu::alias("DftiComputeBackward")]] DftiCompute
    compute_backward_twin __asm__("tnk_dft_dfticomputebackward");

TNK_END_DECLS

// ---- By address -----------------------------------------------------------------------------------------------------------

#define TNK_DFT_ONE_ARRAY(types)                                                                             \
  tnk_int tnk_dft_dfti_compute_forward_##types(DftiHandle *handle, void *data) {                             \
    return tnk::dft::compute(&DftiNode::compute_forward, 1, handle, data);                                   \
  }                                                                                                          \
  tnk_int tnk_dft_dfti_compute_backward_##types(DftiHandle *handle, void *data) {                            \
    return tnk::dft::compute(&DftiNode::compute_backward, 1, handle, data);                                  \
  }
TNK_DFT_ONE_ARRAY(c)
TNK_DFT_ONE_ARRAY(z)
TNK_DFT_ONE_ARRAY(s)
TNK_DFT_ONE_ARRAY(d)

#define TNK_DFT_TWO_ARRAYS(types)                                                                            \
  tnk_int tnk_dft_dfti_compute_forward_##types(DftiHandle *handle, void *first, void *second) {              \
    return tnk::dft::compute(&DftiNode::compute_forward, 2, handle, first, second);                          \
  }                                                                                                          \
  tnk_int tnk_dft_dfti_compute_backward_##types(DftiHandle *handle, void *first, void *second) {             \
    return tnk::dft::compute(&DftiNode::compute_backward, 2, handle, first, second);                         \
  }
TNK_DFT_TWO_ARRAYS(cc)
TNK_DFT_TWO_ARRAYS(cs)
TNK_DFT_TWO_ARRAYS(sc)
TNK_DFT_TWO_ARRAYS(ss)
TNK_DFT_TWO_ARRAYS(zz)
TNK_DFT_TWO_ARRAYS(zd)
TNK_DFT_TWO_ARRAYS(dz)
TNK_DFT_TWO_ARRAYS(dd)

#define TNK_DFT_FOUR_ARRAYS(types)                                                                           \
  tnk_int tnk_dft_dfti_compute_forward_##types(DftiHandle *handle, void *first, void *second, void *third,   \
                                               void *fourth) {                                               \
    return tnk::dft::compute(&DftiNode::compute_forward, 4, handle, first, second, third, fourth);           \
  }                                                                                                          \
  tnk_int tnk_dft_dfti_compute_backward_##types(DftiHandle *handle, void *first, void *second, void *third,  \
                                                void *fourth) {                                              \
    return tnk::dft::compute(&DftiNode::compute_backward, 4, handle, first, second, third, fourth);          \
  }
TNK_DFT_FOUR_ARRAYS(ssss)
TNK_DFT_FOUR_ARRAYS(dddd)
