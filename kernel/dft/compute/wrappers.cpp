// Kernels that wrap signal primitives: the transform by the node's record, then the node's scale, and a status of this
// family. The scale is applied after a failure as well.
#include "kernel/dft/compute/scale.h"
#include <tnk/dft_compute.h>

namespace tnk::dft {
namespace {

template <class R, bool Inverse, class Transform>
tnk_int interleaved(Transform *transform, const tnk_signal_dft *record, void *source, void *destination,
                    DftiNode *node, void *work) {
  auto *const to = static_cast<complex<R> *>(destination);
  const int32_t status =
      transform(static_cast<const complex<R> *>(source), to, record, static_cast<uint8_t *>(work));
  scale(node->axis.length, factor_of<R, Inverse>(node), to);
  return status_of(status);
}

template <class R, bool Inverse, class Transform>
tnk_int split(Transform *transform, const tnk_signal_dft *record, void *source, void *destination,
              DftiNode *node, void *work) {
  R *const *const from = static_cast<R *const *>(source);
  R *const *const to = static_cast<R *const *>(destination);
  const int32_t status = transform(from[0], from[1], to[0], to[1], record, static_cast<uint8_t *>(work));
  for (int part = 0; part < 2; ++part) scale(node->axis.length, factor_of<R, Inverse>(node), to[part]);
  return status_of(status);
}

bool has_ccs_rows(const DftiNode *node) {
  return node->conjugate_even_storage == DftiComplexComplex || node->packed_format == DftiFormatCcs;
}

// CCS has a pair more than the others have, but its imaginary part is 0.
template <class R, class Format>
tnk_int to_spectrum(const Format &format, const tnk_signal_dft *record, void *source, void *destination,
                    DftiNode *node, void *work) {
  R *const to = static_cast<R *>(destination);
  const int32_t status =
      format.forward(static_cast<const R *>(source), to, record, static_cast<uint8_t *>(work));
  scale(node->axis.length + has_ccs_rows(node), factor_of<R, false>(node), to);
  return status_of(status);
}

template <class R, class Format, class Transform>
tnk_int from_spectrum(const Format &format, Transform *perm, const tnk_signal_dft *record, void *source,
                      void *destination, DftiNode *node, void *work) {
  R *const to = static_cast<R *>(destination);
  // The passes before have left rows of two and three dimensions where they fit a row of the result.
  const bool fitted = (node->committed_rank == 2 || node->committed_rank == 3) &&
                      node->placement == DftiNotInPlace && has_ccs_rows(node) && node->real_layout == 0;
  const int32_t status = (fitted ? perm : format.inverse)(static_cast<const R *>(source), to, record,
                                                          static_cast<uint8_t *>(work));
  // What is left of the last pair, behind the result.
  if (node->packed_format == DftiFormatCcs && node->placement == DftiInPlace) to[node->axis.length] = 0;
  scale(node->axis.length, factor_of<R, true>(node), to);
  return status_of(status);
}

} // namespace
} // namespace tnk::dft

using namespace tnk;
using namespace tnk::dft;

#define TNK_COMPLEX_KERNELS(R, bits, precision)                                                              \
  tnk_int tnk_dft_xvpks_fwd_##bits##fc(void *source, void *destination, DftiNode *node, void *work) {        \
    return interleaved<R, false>(e9_vpksDFTFwd_CToC_##bits##fc, node->records.complex_##precision, source,   \
                                 destination, node, work);                                                   \
  }                                                                                                          \
  tnk_int tnk_dft_xvpks_inv_##bits##fc(void *source, void *destination, DftiNode *node, void *work) {        \
    return interleaved<R, true>(e9_vpksDFTInv_CToC_##bits##fc, node->records.complex_##precision, source,    \
                                destination, node, work);                                                    \
  }                                                                                                          \
  tnk_int tnk_dft_xvpks_fwd_rev_##bits##fc(void *source, void *destination, DftiNode *node, void *work) {    \
    return interleaved<R, false>(e9_vpksDFTOutOrdFwd_CToC_##bits##fc, node->records.scrambled_##precision,   \
                                 source, destination, node, work);                                           \
  }                                                                                                          \
  tnk_int tnk_dft_xvpks_inv_rev_##bits##fc(void *source, void *destination, DftiNode *node, void *work) {    \
    return interleaved<R, true>(e9_vpksDFTOutOrdInv_CToC_##bits##fc, node->records.scrambled_##precision,    \
                                source, destination, node, work);                                            \
  }
TNK_COMPLEX_KERNELS(float, 32, single)
TNK_COMPLEX_KERNELS(double, 64, double)
#undef TNK_COMPLEX_KERNELS

#define TNK_REAL_KERNELS(R, bits, precision)                                                                 \
  tnk_int tnk_dft_xvpks_fwd_##bits##f(void *source, void *destination, DftiNode *node, void *work) {         \
    return split<R, false>(e9_vpksDFTFwd_CToC_##bits##f, node->records.split_##precision, source,            \
                           destination, node, work);                                                         \
  }                                                                                                          \
  tnk_int tnk_dft_xvpks_inv_##bits##f(void *source, void *destination, DftiNode *node, void *work) {         \
    return split<R, true>(e9_vpksDFTInv_CToC_##bits##f, node->records.split_##precision, source,             \
                          destination, node, work);                                                          \
  }                                                                                                          \
  tnk_int tnk_dft_xvpks_fwd_rtocomplex_##bits##f(void *source, void *destination, DftiNode *node,            \
                                                 void *work) {                                               \
    return to_spectrum<R>(node->kernels.format_##precision, node->records.real_##precision, source,          \
                          destination, node, work);                                                          \
  }                                                                                                          \
  tnk_int tnk_dft_xvpks_inv_complextor_##bits##f(void *source, void *destination, DftiNode *node,            \
                                                 void *work) {                                               \
    return from_spectrum<R>(node->kernels.format_##precision, e9_vpksDFTInv_PermToR_##bits##f,               \
                            node->records.real_##precision, source, destination, node, work);                \
  }
TNK_REAL_KERNELS(float, 32, single)
TNK_REAL_KERNELS(double, 64, double)
#undef TNK_REAL_KERNELS
