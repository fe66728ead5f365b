// Products with a triangle, in place: what the multiplies of all types are made of. A triangle up to `packed_order` is
// packed as one operand of the block kernels, in groups that leave out the steps where it is empty, beside a few columns
// or rows of B; a plain form needs no memory.
#pragma once

#include "kernel/blas/level3/triangular.h"
#include <algorithm>

namespace tnk::level3 {

// The blocks of a triangle in the order in which a product in place can take them. diagonal(i, size): what is multiplied
// by the block on the diagonal from i on. rest(i, size, from, count): what is added to it, from operands that are still
// as they were. first_to_last: those lie behind i, as with an upper op(A) on the left and a lower one on the right.
template <class Diagonal, class Rest>
inline void over_triangle(tnk_int order, tnk_int block, bool first_to_last, Diagonal diagonal, Rest rest) {
  const auto step = [&](tnk_int i) {
    const tnk_int size = std::min(block, order - i), behind = i + size;
    diagonal(i, size);
    if (first_to_last && behind < order) rest(i, size, behind, order - behind);
    if (!first_to_last && i > 0) rest(i, size, tnk_int{0}, i);
  };
  if (first_to_last)
    for (tnk_int i = 0; i < order; i += block) step(i);
  else
    for (tnk_int i = (order - 1) / block * block; i >= 0; i -= block) step(i);
}

// The largest triangle that is packed on the stack, and the elements that one takes at most.
constexpr tnk_int packed_order = 64;
constexpr tnk_int packed_triangle(tnk_int order) {
  const tnk_int whole = (order + 7) / 8 * 8;
  return whole * (whole + 8) / 2;
}

// Elements of B that are packed at once, 16 KB of them, and the columns that are as many at that order.
template <class T> constexpr tnk_int packed_elements = 16384 / sizeof(T);
template <class T> constexpr tnk_int columns_at_once = packed_elements<T> / packed_order;

// op(A) of any order for multiply_packed().
template <class T> void pack_for_left(const Triangle<T> &, tnk_int order, T *packed);

// B := op(A) B, in place, A packed as above. buffer: columns_at_once columns of m up to a multiple of kr.
template <class T>
void multiply_packed(bool upper, tnk_int m, tnk_int n, const T *packed, T *buffer, T *b, tnk_int ldb);

// B := op(A) B and B := B op(A), B m by n, without memory, for any order. The plain forms pack nothing, the others what
// they multiply, on the stack.
template <class T> void plain_from_left(const Triangle<T> &, tnk_int m, tnk_int n, T *b, tnk_int ldb);
template <class T> void plain_from_right(const Triangle<T> &, tnk_int m, tnk_int n, T *b, tnk_int ldb);
template <class T> void multiply_from_left(const Triangle<T> &, tnk_int m, tnk_int n, T *b, tnk_int ldb);
template <class T> void multiply_from_right(const Triangle<T> &, tnk_int m, tnk_int n, T *b, tnk_int ldb);

} // namespace tnk::level3
