// Columns of short lengths where they stand, two side by side in a vector: no number is copied into a row and back, which
// takes as long as the transform up to 24 numbers, and half as long at 32.
#pragma once

#include "kernel/dft/node.h"

namespace tnk::dft {

// `count` columns of neighbouring numbers, scaled by the node's factor; strides in bytes. Source and destination are the
// same, with the same stride, or do not overlap. A column has the same bits whatever stands beside it.
using Columns = void(const char *source, tnk_int source_stride, char *destination, tnk_int destination_stride,
                     tnk_int count, const DftiNode *node);

// What does to columns what `kernel` does to rows of that many numbers, if there is such a thing, and a first cache has room
// for the lines that a column goes through.
Columns *columns_of(DftiKernel *kernel, tnk_int length, tnk_int source_stride, tnk_int destination_stride);

} // namespace tnk::dft
