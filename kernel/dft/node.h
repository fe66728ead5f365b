// Inside the family: what the descriptor's functions, commit and compute need of one another besides the exported names.
//
//   descriptor/  nodes and their tensors, parameters, the public functions in all their forms, the walk of commit
//   commit/      strategies, core commits, signal records, uncommitting
//   bluestein/   transforms of any length as a convolution
//   compute/     compute entries, drivers, row movers, wrappers of signal primitives
#pragma once

#include <tnk/dft_node.h>
#include <tnk/kernel.h>
#include <tnk/services.h>
#include <tnk/signal_vector.h>

namespace tnk::dft {

// ---- Nodes ------------------------------------------------------------------------------------------------------------

inline bool is_node(const DftiNode *node) {
  return node && node->magic == TNK_DFT_MAGIC;
}

// Null for a handle that is none.
inline DftiNode *node_at(const DftiHandle *handle) {
  return handle && is_node(*handle) ? *handle : nullptr;
}

// The strategies of a precision, domain and shape, in the order in which they are tried; ends with null.
const DftiStrategy *const *strategies(int32_t precision, int32_t domain, bool several_dimensions);

// Give back all that commit made, any number of times; and the node itself.
void static_uncommit(DftiNode *node);
void static_destroy(DftiNode *node);

// Whether its complex numbers stand in two arrays. Real transforms have a complex storage too, which means nothing, and
// complex columns, which are always interleaved.
inline bool is_split(const DftiNode *node) {
  return node->forward_domain == DftiComplex && node->complex_storage == DftiRealReal;
}

// The scale of a direction, as commit prepared it.
template <class R, bool Inverse> inline R factor_of(const DftiNode *node) {
  if constexpr (sizeof(R) == 4)
    return Inverse ? node->backward_factor_single : node->forward_factor_single;
  else
    return Inverse ? node->backward_factor : node->forward_factor;
}

// The boundary of workspaces and rows: on processors of this class rows a page apart are moved without treading on one
// another's cache lines.
inline int32_t granule() {
  return tnk_serv_cpu_detect() == TNK_CLASS_AVX ? 4096 : 256;
}

// ---- Real planes --------------------------------------------------------------------------------------------------------
// Real planes in single precision, as tnk_dft_xdzzdft2d and kin are in double: with complex rows forward and backward, with
// packed rows forward and backward. `node` is the first of the chain. Of the second one, the kernels and the complex record
// serve columns of complex numbers; with packed storage its format functions and its real record, in the same format as
// the rows', serve the columns that are real: the first, and that of frequency N/2. Only the first node scales.
DftiRealPlane xsccdft2d, xccsdft2d, xscdft2d, xcsdft2d;

// ---- The methods of a node, see DftiMethods -----------------------------------------------------------------------------

extern const DftiMethods static_methods;

tnk_int static_dfti_commit(DftiNode *node);
tnk_int static_dt_commit(DftiNode *node);
tnk_int getInputStrides(const DftiNode *node, tnk_int *strides);
tnk_int getOutputStrides(const DftiNode *node, tnk_int *strides);
tnk_int setInputStrides(DftiNode *node, const tnk_int *strides);
tnk_int setOutputStrides(DftiNode *node, const tnk_int *strides);
tnk_int getLengths(const DftiNode *node, tnk_int *lengths);
tnk_int getDescriptorName(const DftiNode *node, char *name, tnk_int length);
tnk_int setDescriptorName(DftiNode *node, const char *name, tnk_int length, char pad);
tnk_int getScale(const DftiNode *node, int32_t parameter, double *scale);
tnk_int setScale(DftiNode *node, int32_t parameter, double scale);
tnk_int copy_node(const DftiNode *source, DftiNode **copy);
tnk_int getInputDistance(const DftiNode *node, tnk_int *value);
tnk_int getOutputDistance(const DftiNode *node, tnk_int *value);
tnk_int getNumberOfTransforms(const DftiNode *node, tnk_int *value);
tnk_int setInputDistance(DftiNode *node, tnk_int value);
tnk_int setOutputDistance(DftiNode *node, tnk_int value);
tnk_int setNumberOfTransforms(DftiNode *node, tnk_int value);

// The status for one of a signal primitive.
inline tnk_int status_of(int32_t signal_status) {
  if (signal_status == TNK_SIGNAL_OK) return DftiNoError;
  return signal_status == TNK_SIGNAL_NO_MEMORY ? DftiMemoryError : DftiInternalError;
}

} // namespace tnk::dft
