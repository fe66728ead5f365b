// Solves with compressed rows, double precision elements.
#include "kernel/sparse/grid/csr/sv.h"

TNK_SP_EACH(d, CSR_SV_SEQ, TNK_CSR_SV_SEQ_ENTRY)
