// Solves with compressed rows and several right-hand sides, single precision complex elements.
#include "kernel/sparse/grid/csr/sm.h"

TNK_SP_EACH(c, CSR_SM_PAR, TNK_CSR_SM_PAR_ENTRY)
