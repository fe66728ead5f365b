// Products with single precision matrices.
#include "kernel/xblas/loops.h"

namespace tnk::xblas {

TNK_XBLAS_LOOPS_OF(single, float, float, float)
TNK_XBLAS_LOOPS_OF(single, tnk_complex8, float, float)
TNK_XBLAS_LOOPS_OF(single, tnk_complex8, float, tnk_complex8)
TNK_XBLAS_LOOPS(float, float, float)
TNK_XBLAS_LOOPS(tnk_complex8, float, float)
TNK_XBLAS_LOOPS(tnk_complex8, float, tnk_complex8)
TNK_XBLAS_LOOPS(double, float, float)
TNK_XBLAS_LOOPS(double, float, double)

} // namespace tnk::xblas
