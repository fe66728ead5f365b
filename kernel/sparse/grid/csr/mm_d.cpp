// Compressed rows times several right-hand sides, double precision elements.
#include "kernel/sparse/grid/csr/mm.h"

TNK_SP_EACH(d, CSR_MM_PAR, TNK_CSR_MM_PAR_ENTRY)
TNK_SP_EACH(d, CSR_MM_SEQ, TNK_CSR_MM_SEQ_ENTRY)
