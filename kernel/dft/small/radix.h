// Kernels of lengths from 2 to 64 in double precision, scaled. Each is one long body of its own.
#pragma once

#include "kernel/dft/node.h"

namespace tnk::dft {

template <int N, bool Inverse>
tnk_int small_radix(void *source, void *destination, DftiNode *node, void *work);

} // namespace tnk::dft

// each(N) for even lengths, for odd ones.
#define TNK_EVEN_LENGTHS(each)                                                                               \
  each(2) each(4) each(6) each(8) each(10) each(12) each(14) each(16) each(18) each(20) each(22) each(24)    \
      each(26) each(28) each(30) each(32) each(34) each(36) each(38) each(40) each(42) each(44) each(46)     \
          each(48) each(50) each(52) each(54) each(56) each(58) each(60) each(62) each(64)
#define TNK_ODD_LENGTHS(each)                                                                                \
  each(3) each(5) each(7) each(9) each(11) each(13) each(15) each(17) each(19) each(21) each(23) each(25)    \
      each(27) each(29) each(31) each(33) each(35) each(37) each(39) each(41) each(43) each(45) each(47)     \
          each(49) each(51) each(53) each(55) each(57) each(59) each(61) each(63)
