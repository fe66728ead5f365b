// Compressed rows of blocks times a vector, single precision elements.
#include "kernel/sparse/grid/bsr/blocks.h"

TNK_SP_EACH(s, BSR_MV_PAR, TNK_BSR_MV_PAR_ENTRY)
TNK_SP_EACH_1F(s, BSR_GEMV_PAR, TNK_BSR_GEMV_PAR_ENTRY)
