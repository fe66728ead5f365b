// Coordinate triples times vectors, double precision complex elements.
#include "kernel/sparse/grid/coo/triples.h"

TNK_SP_EACH(z, COO_MV_PAR, TNK_COO_MV_PAR_ENTRY)
TNK_SP_EACH(z, COO_MV_SEQ, TNK_COO_MV_SEQ_ENTRY)
TNK_SP_EACH(z, COO_MM_PAR, TNK_COO_MM_PAR_ENTRY)
