// The letters of a grid name at compile time, and what they mean to a kernel.
#pragma once

#include "kernel/frame/element.h"
#include <tnk/spblas_grid.h>

namespace tnk {

template <char Base, char Op, char Kind, char Triangle, char Diagonal> struct GridName {
  // Column numbers as stored minus this are positions from 0.
  static constexpr int base = Base - '0';
  static constexpr char op = Op, kind = Kind;
  static constexpr bool transposed = Op == 't' || Op == 'c';
  static constexpr bool conjugated = Op == 'c' || Op == 's';
  static constexpr bool lower = Triangle == 'l';
  static constexpr bool unit = Diagonal == 'u';
};

// The name that an entry was spelled with: its letters come as macro arguments.
#define TNK_SP_LETTERS(base, op, kind, triangle, diagonal)                                                   \
  tnk::GridName<#base[0], #op[0], #kind[0], #triangle[0], #diagonal[0]>

// A stored value as the operation sees it.
template <class Name, class T> inline T stored(T a) {
  if constexpr (Name::conjugated)
    return conjugate(a);
  else
    return a;
}

} // namespace tnk
