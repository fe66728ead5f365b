// Solves with compressed rows, double precision complex elements.
#include "kernel/sparse/grid/csr/sv.h"

TNK_SP_EACH(z, CSR_SV_SEQ, TNK_CSR_SV_SEQ_ENTRY)
