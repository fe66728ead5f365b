// Stored diagonals times vectors, single precision elements.
#include "kernel/sparse/grid/dia/diagonals.h"

TNK_SP_EACH_1F(s, DIA_MV_PAR, TNK_DIA_MV_PAR_ENTRY)
TNK_SP_EACH_1F(s, DIA_MM_PAR, TNK_DIA_MM_PAR_ENTRY)
