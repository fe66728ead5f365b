// Solves with compressed rows, single precision elements.
#include "kernel/sparse/grid/csr/sv.h"

TNK_SP_EACH(s, CSR_SV_SEQ, TNK_CSR_SV_SEQ_ENTRY)
