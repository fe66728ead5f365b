// Solves with stored diagonals, double precision elements.
#include "kernel/sparse/grid/dia/solve.h"

TNK_SP_EACH_1F(d, DIA_SV_SEQ, TNK_DIA_SV_SEQ_ENTRY)
TNK_SP_EACH_1F(d, DIA_SM_PAR, TNK_DIA_SM_PAR_ENTRY)
TNK_SP_EACH_1F(d, DIA_SM_SEQ, TNK_DIA_SM_SEQ_ENTRY)
