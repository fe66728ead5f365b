// Solves with compressed rows and several right-hand sides, double precision elements.
#include "kernel/sparse/grid/csr/sm.h"

TNK_SP_EACH(d, CSR_SM_PAR, TNK_CSR_SM_PAR_ENTRY)
