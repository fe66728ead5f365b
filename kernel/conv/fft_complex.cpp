// Kernels by transforms of complex numbers.
#include "kernel/conv/fft.h"

TNK_CONV_FFT(cc, tnk_complex8, tnk::conv::Cc)
TNK_CONV_FFT(zz, tnk_complex16, tnk::conv::Zz)
TNK_CONV_FFT(cz, tnk_complex8, tnk::conv::Cz)
