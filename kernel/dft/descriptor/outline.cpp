// Configurations in short.
#include "kernel/dft/node.h"
#include <algorithm>

tnk_int tnk_dft_create_descriptor_md(DftiOutline *outline, int32_t precision, int32_t domain, int32_t rank,
                                     const tnk_int *lengths) {
  if (precision != DftiSingle && precision != DftiDouble) return DftiInvalidConfiguration;
  if (domain != DftiComplex && domain != DftiReal) return DftiInvalidConfiguration;
  if (rank < 1 || rank > DftiMaxDimension || std::count(lengths, lengths + rank, 0))
    return DftiInvalidConfiguration;
  *outline = {precision, domain, DftiInPlace, DftiComplexComplex, 0, rank, {}};
  std::copy_n(lengths, rank, outline->lengths);
  tnk_dft_determine_nioargs(outline);
  return DftiNoError;
}

int32_t tnk_dft_determine_nioargs(DftiOutline *outline) {
  const bool split = outline->domain == DftiComplex && outline->complex_storage == DftiRealReal;
  outline->nioargs = (outline->placement == DftiInPlace ? 1 : 2) * (split ? 2 : 1);
  return outline->nioargs;
}
