// What the vector kernels share: where a strided vector starts, and what its vector paths need of addresses.
#pragma once

#include "kernel/frame/complex.h"
#include "kernel/frame/simd.h"
#include <algorithm>

namespace tnk {

// |inc|. The smallest integer, which has no counterpart, stays: it only ever meets the index 0.
inline tnk_int absolute(tnk_int inc) {
  return inc < 0 ? static_cast<tnk_int>(0 - static_cast<std::uint64_t>(inc)) : inc;
}

// Address of logical element 0 of n elements at increment inc: the base, or with a negative increment the far end,
// (1 - n) * inc elements after the base, from where the walk goes back to it.
template <class T> inline T *first_element(T *base, tnk_int n, tnk_int inc) {
  return inc < 0 ? base + (1 - n) * inc : base;
}

// Whether p is a multiple of the real type's size. Vector paths that need a boundary under one operand, to which
// scalars bring it, ask for this; they leave other vectors to the strided path.
template <class T> inline bool is_element_aligned(const T *p) {
  return is_aligned_to(p, sizeof(real_of<T>));
}

// Elements from p to the next boundary of that many bytes, at most n; 0 when no element stands on one, as
// with complex numbers that straddle them all.
template <int Bytes, class T> inline tnk_int elements_to_boundary(const T *p, tnk_int n) {
  constexpr int count = Bytes / static_cast<int>(sizeof(T));
  if (!is_aligned_to(p, sizeof(T))) return 0;
  const int behind = static_cast<int>(address(p) % Bytes / sizeof(T));
  return std::min<tnk_int>((count - behind) % count, n);
}

} // namespace tnk
