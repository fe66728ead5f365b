// What the public routines of vectors and matrices share beside their checks.
#pragma once

#include "host/dispatch/kernel_loader.h"
#include <cstdint>
#include <tnk/types.h>

// The kernel behind a public routine: its name has an x before the letter of the type.
#define TNK_KERNEL_OF(name)                                                                                  \
  static tnk::host::KernelEntry<decltype(tnk_blas_x##name)> kernel("tnk_blas_x" #name)

namespace tnk::host {

// Letters come in both cases.
inline bool is_letter(char letter, char lower) {
  return (letter | 32) == lower;
}
inline bool is_plain(char trans) {
  return is_letter(trans, 'n');
}

// How far a size is above the least one; below that, more than any limit. So the union of several needs one question.
inline std::uint64_t above(tnk_int least, tnk_int size) {
  return static_cast<std::uint64_t>(size) - static_cast<std::uint64_t>(least);
}
constexpr std::uint64_t usual_gap = 1 << 20; // of leading dimensions, in a first look

} // namespace tnk::host
