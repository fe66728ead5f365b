// What the machine allows: the plainest loops over the same bytes, and arithmetic without memory.
#pragma once

#include "bench/frame/row.h"

#include <cstddef>

namespace tnk::bench {

// How a kernel walks through its vectors.
enum class Mix {
  read,        // x
  read_ahead,  // both halves of x at once, as values and indices, each line asked for before it is read
  read_both,   // x and y
  update,      // x, in place
  copy,        // x to y
  read_update, // x, and y in place
  exchange     // x and y, both in place
};

struct StreamProbe {
  // Walks `count` times through x and y, `bytes` each, and leaves finite values finite.
  void (*run)(void *x, void *y, std::size_t bytes, long count);
  double moved; // bytes read and written per byte of x
};

struct FlopProbe {
  // Does `count` blocks of as many multiplications as additions, none waiting for another.
  void (*run)(long count);
  double flops; // of one block
};

// element_bytes is 4 or 8: float or double arithmetic. vector_bytes is 16 or 32.
StreamProbe stream_probe(Mix mix, int element_bytes, int vector_bytes);
FlopProbe flop_probe(int element_bytes, int vector_bytes);

// The same as limits of a call that moves so many bytes, or does so many operations. x and y hold `size` bytes each.
Limit bytes_limit(const StreamProbe &probe, void *x, void *y, std::size_t size, double bytes);
Limit flops_limit(const FlopProbe &probe, double flops);

} // namespace tnk::bench
