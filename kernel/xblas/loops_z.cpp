// Products with complex double precision matrices.
#include "kernel/xblas/loops.h"

namespace tnk::xblas {

TNK_XBLAS_LOOPS(tnk_complex16, tnk_complex16, tnk_complex16)
TNK_XBLAS_LOOPS(tnk_complex16, tnk_complex16, tnk_complex8)
TNK_XBLAS_LOOPS(tnk_complex16, tnk_complex16, double)

} // namespace tnk::xblas
