// Stored diagonals times vectors, single precision complex elements.
#include "kernel/sparse/grid/dia/diagonals.h"

TNK_SP_EACH_1F(c, DIA_MV_PAR, TNK_DIA_MV_PAR_ENTRY)
TNK_SP_EACH_1F(c, DIA_MM_PAR, TNK_DIA_MM_PAR_ENTRY)
