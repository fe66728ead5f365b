// Kernels of a fixed length in the nodes of a transform.
#pragma once

#include <tnk/dft_node.h>

namespace tnk::host {

// Where such a kernel is faster than what the core commit has put into a node of the chain, it takes its place. Without
// memory for its tables it does not, and nothing is said of it; without memory for its work the root is uncommitted.
tnk_int put_in_codelets(const char *routine, DftiNode *root);

} // namespace tnk::host
