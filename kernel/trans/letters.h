// Sizes and letters, as the entries of this family take them.
#pragma once

#include <cstdint>

namespace tnk::trans {

// Dimensions, leading dimensions and strides count elements and have no sign.
using count = std::uint64_t;

// In which form an operand is taken: a union of these bits.
constexpr int transposes = 1, conjugates = 2, forms = 4;

// The form that a letter stands for, in either case; `forms` for any other byte.
inline int form_of(char letter) {
  switch (letter) {
  case 'N':
  case 'n':
    return 0;
  case 'T':
  case 't':
    return transposes;
  case 'R':
  case 'r':
    return conjugates;
  case 'C':
  case 'c':
    return transposes | conjugates;
  default:
    return forms;
  }
}

inline bool is_by_rows(char ordering) {
  return ordering == 'R' || ordering == 'r';
}
inline bool is_by_columns(char ordering) {
  return ordering == 'C' || ordering == 'c';
}

} // namespace tnk::trans
