// Inside the family: what the descriptor's functions, commit and compute need of one another besides the exported names.
//
//   descriptor/  nodes and their tensors, parameters, the public functions in all their forms, the walk of commit
//   commit/      strategies, core commits, signal records, uncommitting
//   compute/     compute entries, drivers, row movers, wrappers of signal primitives
#pragma once

#include <tnk/dft_node.h>

namespace tnk::dft {

// The strategies of a precision, domain and shape, in the order in which they are tried; ends with null.
const DftiStrategy *const *strategies(int32_t precision, int32_t domain, bool several_dimensions);

// Give back all that commit made, any number of times; and the node itself.
void static_uncommit(DftiNode *node);
void static_destroy(DftiNode *node);

// Real planes in single precision, as tnk_dft_xdzzdft2d and kin are in double: with complex rows forward and backward, with
// packed rows forward and backward. `node` is the first of the chain. Of the second one, the kernels and the complex record
// serve columns of complex numbers; with packed storage its format functions and its real record, in the same format as
// the rows', serve the columns that are real: the first, and that of frequency N/2. Only the first node scales.
DftiRealPlane xsccdft2d, xccsdft2d, xscdft2d, xcsdft2d;

} // namespace tnk::dft
