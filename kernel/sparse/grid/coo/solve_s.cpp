// Solves with triples, single precision elements.
#include "kernel/sparse/grid/coo/solve.h"

TNK_SP_EACH(s, COO_SV_SEQ, TNK_COO_SV_SEQ_ENTRY)
TNK_SP_EACH(s, COO_SM_PAR, TNK_COO_SM_PAR_ENTRY)
