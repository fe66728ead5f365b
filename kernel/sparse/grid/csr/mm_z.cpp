// Compressed rows times several right-hand sides, double precision complex elements.
#include "kernel/sparse/grid/csr/mm.h"

TNK_SP_EACH(z, CSR_MM_PAR, TNK_CSR_MM_PAR_ENTRY)
TNK_SP_EACH(z, CSR_MM_SEQ, TNK_CSR_MM_SEQ_ENTRY)
