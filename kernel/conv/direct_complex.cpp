// Direct kernels of complex numbers.
#include "kernel/conv/direct.h"

TNK_CONV_DIRECT(cc, tnk_complex8, tnk::conv::Cc)
TNK_CONV_DIRECT(zz, tnk_complex16, tnk::conv::Zz)
TNK_CONV_DIRECT(cz, tnk_complex8, tnk::conv::Cz)
