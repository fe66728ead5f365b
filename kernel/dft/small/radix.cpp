// The tables of small kernels: length N at N - 2.
#include "kernel/dft/small/radix.h"
#include <tnk/dft_compute.h>

using tnk::dft::small_radix;

#define TNK_TWO(N, Inverse) small_radix<N, Inverse>, small_radix<N + 1, Inverse>
#define TNK_EIGHT(N, Inverse)                                                                                \
  TNK_TWO(N, Inverse), TNK_TWO(N + 2, Inverse), TNK_TWO(N + 4, Inverse), TNK_TWO(N + 6, Inverse)
#define TNK_ALL(Inverse)                                                                                     \
  TNK_EIGHT(2, Inverse), TNK_EIGHT(10, Inverse), TNK_EIGHT(18, Inverse), TNK_EIGHT(26, Inverse),             \
      TNK_EIGHT(34, Inverse), TNK_EIGHT(42, Inverse), TNK_EIGHT(50, Inverse), TNK_TWO(58, Inverse),          \
      TNK_TWO(60, Inverse), TNK_TWO(62, Inverse), small_radix<64, Inverse>
DftiKernel *const tnk_dft_zsmallradix_forward[63] = {TNK_ALL(false)};
DftiKernel *const tnk_dft_zsmallradix_inverse[63] = {TNK_ALL(true)};
