// Solves with compressed rows and several right-hand sides, single precision elements.
#include "kernel/sparse/grid/csr/sm.h"

TNK_SP_EACH(s, CSR_SM_PAR, TNK_CSR_SM_PAR_ENTRY)
