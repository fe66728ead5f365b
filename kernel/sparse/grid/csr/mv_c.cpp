// Compressed rows times a vector, single precision complex elements.
#include "kernel/sparse/grid/csr/mv.h"

TNK_SP_EACH(c, CSR_MV_PAR, TNK_CSR_MV_PAR_ENTRY)
TNK_SP_EACH(c, CSR_MV_SEQ, TNK_CSR_MV_SEQ_ENTRY)
