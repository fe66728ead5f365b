// What the parts of a core commit share.
#pragma once

#include "kernel/dft/commit/precision.h"

namespace tnk::dft {

// Ends the core commit of `root` at `node`, one of its chain: releases all of it, and returns the status.
tnk_int give_up(DftiNode *node, DftiNode *root, tnk_int status);

// The kernels of interleaved numbers in order: straight lines for short lengths, where there are any, else the wrappers of
// the signal record, which the node has in either case.
template <class T> void choose_kernels(DftiNode *node) {
  using p = precision<T>;
  constexpr tnk_int longest_small = 64;
  const tnk_int length = node->axis.length;
  const bool small = p::small.forward && length >= 2 && length <= longest_small && !is_power_of_two(length);
  node->kernels.*p::pair =
      small ? DftiKernelPair{p::small.forward[length - 2], p::small.inverse[length - 2]} : p::wrappers;
  node->use_codelet = !small;
}

} // namespace tnk::dft
