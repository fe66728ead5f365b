// Copying and freeing descriptors.
#include "kernel/dft/node.h"

tnk_int DftiCopyDescriptor(DftiHandle source, DftiHandle *copy) {
  if (!tnk::dft::is_node(source)) return DftiBadDescriptor;
  if (!copy) return DftiInconsistentConfiguration;
  DftiNode *node;
  if (const tnk_int status = source->methods->copy_node(source, &node)) return status;
  if (source->commit_status == DftiCommitted)
    if (const tnk_int status = node->methods->static_dfti_commit(node)) {
      node->destroy(node);
      return status;
    }
  *copy = node;
  return DftiNoError;
}
[[gnu::alias("DftiCopyDescriptor")]] tnk_int tnk_dft_dfticopydescriptor(DftiHandle source, DftiHandle *copy);

tnk_int tnk_dft_dfti_copy_descriptor_external(DftiHandle *source, DftiHandle *copy) {
  return source ? DftiCopyDescriptor(*source, copy) : tnk_int{DftiBadDescriptor};
}

tnk_int DftiFreeDescriptor(DftiHandle *handle) {
  if (!handle) return DftiInconsistentConfiguration;
  if (!tnk::dft::is_node(*handle)) return DftiBadDescriptor;
  if ((*handle)->destroy) (*handle)->destroy(*handle);
  *handle = nullptr;
  return DftiNoError;
}
[[gnu::alias("DftiFreeDescriptor")]] tnk_int tnk_dft_dftifreedescriptor(DftiHandle *handle);
[[gnu::alias("DftiFreeDescriptor")]] tnk_int tnk_dft_dfti_free_descriptor_external(DftiHandle *handle);
