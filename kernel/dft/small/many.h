// Many transforms of a short length by one call, two of them in a vector where that is faster.
//
// Columns stay where they stand: copying them into rows and back takes as long as the transform up to 24 numbers, and half as
// long at 32. Rows up to 16 numbers save calls, which take as long as the transform at the shortest.
#pragma once

#include "kernel/dft/node.h"

namespace tnk::dft {

// `count` transforms, scaled by the node's factor. From a number to the next one of a column, or from a row to the next one,
// are so many bytes; columns stand side by side, rows have their numbers so. Source and destination are the same, with the
// same strides, or do not overlap. A transform has the same bits whatever stands beside it.
using Many = void(const char *source, tnk_int source_stride, char *destination, tnk_int destination_stride,
                  tnk_int count, const DftiNode *node);

// What does to many rows what `kernel` does to one of that many numbers, if there is such a thing; and to columns, if also a
// first cache has room for the lines that a column goes through.
Many *rows_of(DftiKernel *kernel, tnk_int length);
Many *columns_of(DftiKernel *kernel, tnk_int length, tnk_int source_stride, tnk_int destination_stride);

} // namespace tnk::dft
