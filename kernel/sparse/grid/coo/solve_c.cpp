// Solves with triples, single precision complex elements.
#include "kernel/sparse/grid/coo/solve.h"

TNK_SP_EACH(c, COO_SV_SEQ, TNK_COO_SV_SEQ_ENTRY)
TNK_SP_EACH(c, COO_SM_PAR, TNK_COO_SM_PAR_ENTRY)
