// What the public routines of vectors and matrices share beside their checks.
#pragma once

#include "host/dispatch/kernel_loader.h"

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

} // namespace tnk::host
