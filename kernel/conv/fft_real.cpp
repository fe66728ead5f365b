// Kernels by transforms of real numbers.
#include "kernel/conv/fft.h"

TNK_CONV_FFT(ss, float, tnk::conv::Ss)
TNK_CONV_FFT(dd, double, tnk::conv::Dd)
TNK_CONV_FFT(sd, float, tnk::conv::Sd)
