// Solves with compressed rows, single precision complex elements.
#include "kernel/sparse/grid/csr/sv.h"

TNK_SP_EACH(c, CSR_SV_SEQ, TNK_CSR_SV_SEQ_ENTRY)
