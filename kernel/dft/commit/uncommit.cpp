// Uncommitting and destroying nodes.
#include "kernel/dft/node.h"
#include <tnk/services.h>

namespace tnk::dft {
namespace {

void release(void *&block) {
  tnk_serv_tnk_free(block);
  block = nullptr;
}

void release(tnk_signal_dft *&record, int32_t (*free)(tnk_signal_dft *)) {
  if (record) free(record);
  record = nullptr;
}

// Another path's data, by the function that came with them.
void release(DftiNode *node, void *&data, void (*&free)(DftiNode *)) {
  if (!free || !data) return;
  free(node);
  data = nullptr;
  free = nullptr;
}

} // namespace

void static_uncommit(DftiNode *node) {
  tnk_serv_tnk_free(node->thread_slots);
  node->thread_slots = nullptr;
  release(node->workspace);
  release(node->second_workspace);
  if (node->next) node->next->destroy(node->next);
  node->next = nullptr;
  if (node->strategy && node->strategy->detach) node->strategy->detach(node->strategy, node);
  node->strategy = nullptr;
  release(node, node->large_data, node->large_free);
  release(node, node->bluestein_data, node->bluestein_free);
  node->buffer_size = node->maximum_buffer_size = 0;
  node->real_layout = 0;
  release(node->records.complex_double, e9_vpksDFTFree_C_64fc);
  release(node->records.complex_single, e9_vpksDFTFree_C_32fc);
  release(node->records.split_double, e9_vpksDFTFree_C_64f);
  release(node->records.split_single, e9_vpksDFTFree_C_32f);
  release(node->records.scrambled_double, e9_vpksDFTOutOrdFree_C_64fc);
  release(node->records.scrambled_single, e9_vpksDFTOutOrdFree_C_32fc);
  for (void *&block : node->work) release(block);
  release(node->records.real_double, e9_vpksDFTFree_R_64f);
  release(node->records.real_single, e9_vpksDFTFree_R_32f);
  node->commit_status = DftiUncommitted;
  node->compute_forward = node->compute_backward = nullptr;
  node->flags &= ~uint32_t{TNK_DFT_CONTIGUOUS};
}

void static_destroy(DftiNode *node) {
  node->uncommit(node);
  tnk_dft_Iotensor_destroy(&node->lengths);
  tnk_dft_Iotensor_destroy(&node->transforms);
  tnk_dft_Iotensor_destroy(&node->committed_lengths);
  tnk_dft_Iotensor_destroy(&node->committed_transforms);
  tnk_serv_tnk_free(node);
}

} // namespace tnk::dft
