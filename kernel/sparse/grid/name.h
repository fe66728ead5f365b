// The letters of a grid name at compile time, and what they mean to a kernel.
#pragma once

#include <tnk/spblas_grid.h>

namespace tnk::sparse {

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
  tnk::sparse::GridName<#base[0], #op[0], #kind[0], #triangle[0], #diagonal[0]>

// An entry of the stored triangle counts twice: in its own row, and mirrored in the row of its column. Which of the two
// takes the conjugate: a Hermitian matrix has it in the mirror, its transpose in the row; conjugated forms have it in
// both.
template <class Name> constexpr bool own_conjugated = Name::kind == 'h' ? Name::transposed : Name::conjugated;
template <class Name>
constexpr bool mirror_conjugated = Name::kind == 'h' ? !Name::transposed : Name::conjugated;

} // namespace tnk::sparse
