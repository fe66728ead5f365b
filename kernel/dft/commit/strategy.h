// What strategies have in common. One that takes a node has made all that it needs before it touches the node, so a refusal
// or a want of memory leaves whatever an earlier commit has made.
#pragma once

#include "kernel/dft/commit/precision.h"

namespace tnk::dft {

// A strategy's refusals; the walk goes on after any.
inline constexpr tnk_int declined = DftiDeclined, declined_small = 101;

inline bool is_inner(const DftiNode *node) {
  return (node->flags & TNK_DFT_INNER) != 0;
}

// The strategy's own block, if the node is its.
template <class Data> Data *data_of(const DftiStrategy *strategy, DftiNode *node) {
  return node->strategy == strategy ? static_cast<Data *>(node->strategy_data) : nullptr;
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

// For detach: the strategy's block, which is the caller's now; null where there is none.
template <class Data> Data *let_go(DftiNode *node) {
  Data *const data = static_cast<Data *>(node->strategy_data);
  node->strategy_data = nullptr;
  return data;
}

} // namespace tnk::dft
