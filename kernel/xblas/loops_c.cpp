// Products with complex single precision matrices.
#include "kernel/xblas/loops.h"

namespace tnk::xblas {

TNK_XBLAS_LOOPS_OF(single, tnk_complex8, tnk_complex8, tnk_complex8)
TNK_XBLAS_LOOPS_OF(single, tnk_complex8, tnk_complex8, float)
TNK_XBLAS_LOOPS(tnk_complex8, tnk_complex8, tnk_complex8)
TNK_XBLAS_LOOPS(tnk_complex8, tnk_complex8, float)
TNK_XBLAS_LOOPS(tnk_complex16, tnk_complex8, tnk_complex8)
TNK_XBLAS_LOOPS(tnk_complex16, tnk_complex8, tnk_complex16)

} // namespace tnk::xblas
