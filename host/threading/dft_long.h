// One complex transform of one dimension on several threads, by four steps.
#pragma once

#include <tnk/dft_node.h>

namespace tnk::host {

// Before the core commit: gives such a node its second kernels, if there are threads for it and its length is worth it.
// Where it cannot, the node stays as it was, and one thread does all.
void offer_four_steps(DftiNode *node);

} // namespace tnk::host
