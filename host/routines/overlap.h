// Whether two matrices in memory share elements, exactly where that can be said at a glance: matrices may lie between each
// other's rows, or take turns along them.
#pragma once

#include <tnk/types.h>

namespace tnk::host {

// Elements at first + i * far + j * near bytes, for i below `rows` and j below `columns`. Rows follow one another: far is
// beyond the end of a row, from one to the next.
struct Lattice {
  const void *first;
  tnk_int rows, far, columns, near, element;
};

// The same from counts and strides in elements, in either order of the strides.
template <class T>
Lattice lattice(const T *first, tnk_int outer, tnk_int outer_stride, tnk_int inner, tnk_int inner_stride) {
  constexpr tnk_int e = sizeof(T);
  if (outer_stride >= inner_stride) return {first, outer, outer_stride * e, inner, inner_stride * e, e};
  return {first, inner, inner_stride * e, outer, outer_stride * e, e};
}

// Of elements of one size. Rows that cross and whose strides differ count as overlapping.
bool overlap(const Lattice &a, const Lattice &b);

} // namespace tnk::host
