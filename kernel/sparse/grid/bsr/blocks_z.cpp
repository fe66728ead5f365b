// Compressed rows of blocks times a vector, double precision complex elements.
#include "kernel/sparse/grid/bsr/blocks.h"

TNK_SP_EACH(z, BSR_MV_PAR, TNK_BSR_MV_PAR_ENTRY)
TNK_SP_EACH_1F(z, BSR_GEMV_PAR, TNK_BSR_GEMV_PAR_ENTRY)
