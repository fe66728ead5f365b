// What the parts of a core commit share.
#pragma once

#include "kernel/dft/commit/precision.h"

namespace tnk::dft {

// Ends the core commit of `root` at `node`, one of its chain: releases all of it, and returns the status.
tnk_int give_up(DftiNode *node, DftiNode *root, tnk_int status);

} // namespace tnk::dft
