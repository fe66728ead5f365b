// Kernels of a fixed length, a power of two, each straight-line code: what they have in common.
//
//   columns.h  two rounds of short transforms, four at a time, for complex lengths from 64 on
//   tables.h   twiddles of lengths 256, 512 and 1024
//
// All read and write at any address: on processors of this class an unaligned load of aligned data is no slower than an
// aligned one, so there are no second bodies for that.
#pragma once

#include "kernel/dft/node.h"
#include "kernel/frame/vector.h"

namespace tnk::dft::compact {

// Multiplies n numbers: those before a boundary of 32 bytes one by one, then four vectors a step, and what is left.
template <class R> inline void scale(R *x, tnk_int n, R factor) {
  using V = vec<R>;
  constexpr tnk_int step = 128 / sizeof(R);
  tnk_int i = 0;
  for (const tnk_int head = elements_to_boundary<32>(x, n); i < head; ++i) put(x + i, get(x + i) * factor);
  for (; i + step <= n; i += step)
    for (tnk_int k = i; k < i + step; k += per_vector<R>) storeu(x + k, loadu<V>(x + k) * factor);
  for (; i < n; ++i) put(x + i, get(x + i) * factor);
}

// The node's factor, on n numbers of a finished transform.
template <class R, bool Inverse> inline void apply_factor(R *x, tnk_int n, const DftiNode *node) {
  const R factor = factor_of<R, Inverse>(node);
  if (factor != 1) scale(x, n, factor);
}

} // namespace tnk::dft::compact
