#include "kernel/dft/small/radix_bodies.h"

namespace tnk::dft {
#define TNK_BODY(N) TNK_SMALL_RADIX(N, false)
TNK_ODD_LENGTHS(TNK_BODY)
} // namespace tnk::dft
