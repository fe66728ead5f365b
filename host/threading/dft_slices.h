// Slices of a Fourier transform, which threads share.
#pragma once

#include <algorithm>
#include <tnk/dft_node.h>

#include "host/threading/team.h"

namespace tnk::host {

// Calls body(begin, end, work) with slices of `extent`, each with a slice of workspace. They hold whole eights where there
// are enough, since kernels move eight lines at a time. There are as many as the node has threads, whoever runs them.
// Returns the failure of the first slice that has one.
template <class Body> tnk_int in_slices(const DftiNode *node, tnk_int extent, const Body &body) {
  constexpr int most_slices = 256;
  const tnk_int most = std::min<tnk_int>(extent, most_slices);
  const int slices = static_cast<int>(std::max<tnk_int>(1, std::min<tnk_int>(node->threads, most)));
  const tnk_int unit = extent >= tnk_int{8} * slices ? 8 : 1, units = extent / unit;
  tnk_int statuses[most_slices];
  spread(slices, slices > 1 ? usable_threads() : 1, [&](int i) {
    const tnk_int begin = units * i / slices * unit;
    const tnk_int end = i + 1 == slices ? extent : units * (i + 1) / slices * unit;
    char *const work = static_cast<char *>(node->workspace);
    statuses[i] = body(begin, end, work ? work + i * node->maximum_buffer_size : nullptr);
  });
  for (int i = 0; i < slices; ++i)
    if (statuses[i]) return statuses[i];
  return DftiNoError;
}

} // namespace tnk::host
