// Compressed rows times a vector, double precision complex elements.
#include "kernel/sparse/grid/csr/mv.h"

TNK_SP_EACH(z, CSR_MV_PAR, TNK_CSR_MV_PAR_ENTRY)
TNK_SP_EACH(z, CSR_MV_SEQ, TNK_CSR_MV_SEQ_ENTRY)
