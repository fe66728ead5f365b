// What strategies have in common. One that takes a node has made all that it needs before it touches the node, so a refusal
// or a want of memory leaves whatever an earlier commit has made.
#pragma once

#include <tnk/services.h>

#include "kernel/dft/commit/precision.h"

namespace tnk::dft {

// A strategy's refusals; the walk goes on after any.
inline constexpr tnk_int declined = DftiDeclined, declined_small = 101;

inline bool is_inner(const DftiNode *node) {
  return (node->flags & TNK_DFT_INNER) != 0;
}

// Gives up what flags and kernels an earlier commit has left; callers might share a workspace by them otherwise.
inline void forget_route(DftiNode *node) {
  node->flags &= TNK_DFT_INNER;
  node->kernels = {};
}

// The node is the strategy's from here on.
inline tnk_int take(const DftiStrategy *strategy, DftiNode *node, void *data, DftiCompute *forward,
                    DftiCompute *backward) {
  if (node->strategy != strategy)
    node->uncommit(node);
  else if (node->strategy_data != data)
    strategy->detach(strategy, node);
  forget_route(node);
  node->strategy = strategy;
  node->strategy_data = data;
  node->compute_forward = forward;
  node->compute_backward = backward;
  node->nioargs = arrays_of(node);
  node->commit_status = DftiCommitted;
  return DftiNoError;
}

// A block of a strategy's own, zeroed and then filled in by make(node, block). release(block) also takes one that is half
// made.
template <class Data>
tnk_int make_block(const DftiNode *node, tnk_int (*make)(const DftiNode *node, Data *block), Data **made) {
  auto *const block =
      static_cast<Data *>(tnk_serv_tnk_calloc(1, static_cast<int64_t>(sizeof(Data)), alignof(Data)));
  if (!block) return DftiMemoryError;
  const tnk_int status = make(node, block);
  if (status == DftiNoError)
    *made = block;
  else
    release(block);
  return status;
}

// The detach of a strategy with such a block.
template <class Data> tnk_int detach(const DftiStrategy *strategy, DftiNode *node) {
  if (node->strategy != strategy) return DftiInternalError;
  if (node->strategy_data) release(static_cast<Data *>(node->strategy_data));
  node->strategy_data = nullptr;
  return DftiNoError;
}

} // namespace tnk::dft
