// Solves with compressed rows and several right-hand sides, double precision complex elements.
#include "kernel/sparse/grid/csr/sm.h"

TNK_SP_EACH(z, CSR_SM_PAR, TNK_CSR_SM_PAR_ENTRY)
