// What the vector kernels share: where a strided vector starts.
#pragma once

#include <tnk/types.h>

namespace tnk {

// Address of logical element 0 of n elements at increment inc: the base, or with a negative increment the far end,
// (1 - n) * inc elements after the base, from where the walk goes back to it.
template <class T> inline T *first_element(T *base, tnk_int n, tnk_int inc) {
  return inc < 0 ? base + (1 - n) * inc : base;
}

} // namespace tnk
