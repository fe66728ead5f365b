// Coordinate triples times vectors, double precision elements.
#include "kernel/sparse/grid/coo/triples.h"

TNK_SP_EACH(d, COO_MV_PAR, TNK_COO_MV_PAR_ENTRY)
TNK_SP_EACH(d, COO_MV_SEQ, TNK_COO_MV_SEQ_ENTRY)
TNK_SP_EACH(d, COO_MM_PAR, TNK_COO_MM_PAR_ENTRY)
