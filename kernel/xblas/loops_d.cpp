// Products with double precision matrices.
#include "kernel/xblas/loops.h"

namespace tnk::xblas {

TNK_XBLAS_LOOPS(double, double, double)
TNK_XBLAS_LOOPS(double, double, float)
TNK_XBLAS_LOOPS(tnk_complex16, double, double)
TNK_XBLAS_LOOPS(tnk_complex16, double, tnk_complex16)

} // namespace tnk::xblas
