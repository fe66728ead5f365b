// What commit needs to know of a precision, by the type of its real numbers.
#pragma once

#include <tnk/blas_level1.h>
#include <tnk/dft_commit.h>
#include <tnk/dft_compute.h>
#include <tnk/dft_long.h>

#include "kernel/dft/node.h"

namespace tnk::dft {

// The functions around a kind of signal record.
struct Records {
  int32_t (*make)(tnk_signal_dft **record, int32_t length, int32_t flag, int32_t hint);
  int32_t (*release)(tnk_signal_dft *record);
  int32_t (*work_size)(const tnk_signal_dft *record, int32_t *size);
};

// Where such records do not scale.
inline constexpr int32_t unscaled = 8;

// Two paths take complex transforms that are too long for signal records: in four steps, or as a convolution, which names
// its kernels itself. Codelets take short ones whose length is no power of two. Null: that precision has none, and such a
// transform goes by its signal record.
struct FourStep {
  tnk_int (*init)(int32_t variant, DftiNode *node, DftiNode *root);
  DftiKernelPair pair;
};
using Bluestein = tnk_int(DftiNode *node);
struct Codelets { // from length 2 on
  DftiKernel *const *forward, *const *inverse;
};

template <class T> struct precision;

template <> struct precision<float> {
  using complex = tnk_complex8;
  // Signal records are for lengths up to these.
  static constexpr tnk_int longest_power_of_two = 0xFFFFFFF, longest_other = 0x3FFFFFF;

  static constexpr Records complex_records{e9_vpksDFTInitAlloc_C_32fc, e9_vpksDFTFree_C_32fc,
                                           e9_vpksDFTGetBufSize_C_32fc};
  static constexpr Records scrambled_records{e9_vpksDFTOutOrdInitAlloc_C_32fc, e9_vpksDFTOutOrdFree_C_32fc,
                                             e9_vpksDFTOutOrdGetBufSize_C_32fc};
  static constexpr Records split_records{e9_vpksDFTInitAlloc_C_32f, e9_vpksDFTFree_C_32f,
                                         e9_vpksDFTGetBufSize_C_32f};
  static constexpr Records real_records{e9_vpksDFTInitAlloc_R_32f, e9_vpksDFTFree_R_32f,
                                        e9_vpksDFTGetBufSize_R_32f};
  static constexpr tnk_signal_dft *DftiRecords::*complex_record = &DftiRecords::complex_single;
  static constexpr tnk_signal_dft *DftiRecords::*scrambled_record = &DftiRecords::scrambled_single;
  static constexpr tnk_signal_dft *DftiRecords::*split_record = &DftiRecords::split_single;
  static constexpr tnk_signal_dft *DftiRecords::*real_record = &DftiRecords::real_single;

  static constexpr auto forward = e9_vpksDFTFwd_CToC_32fc, inverse = e9_vpksDFTInv_CToC_32fc;
  static constexpr auto split_forward = e9_vpksDFTFwd_CToC_32f, split_inverse = e9_vpksDFTInv_CToC_32f;

  static constexpr DftiKernelPair DftiKernels::*pair = &DftiKernels::single_pair;
  static constexpr DftiKernelPair DftiKernels::*second_pair = &DftiKernels::second_single;
  static constexpr DftiKernelPair wrappers{tnk_dft_xvpks_fwd_32fc, tnk_dft_xvpks_inv_32fc};
  static constexpr DftiKernelPair scrambled_wrappers{tnk_dft_xvpks_fwd_rev_32fc, tnk_dft_xvpks_inv_rev_32fc};
  static constexpr DftiKernelPair split_wrappers{tnk_dft_xvpks_fwd_32f, tnk_dft_xvpks_inv_32f};
  static constexpr DftiKernelPair real_wrappers{tnk_dft_xvpks_fwd_rtocomplex_32f,
                                                tnk_dft_xvpks_inv_complextor_32f};
  static constexpr FourStep four_step{tnk_dft_xc_init_data_1d_via_2d,
                                      {tnk_dft_xc_1d_via_2d_f, tnk_dft_xc_1d_via_2d_b}};
  static constexpr Bluestein *bluestein = tnk_dft_bluestein_init_c;
  static constexpr Codelets small{nullptr, nullptr};

  using Format = DftiFormatSingle;
  static constexpr Format DftiKernels::*format = &DftiKernels::format_single;
  static constexpr Format ccs{e9_vpksDFTFwd_RToCCS_32f, e9_vpksDFTInv_CCSToR_32f};
  static constexpr Format pack{e9_vpksDFTFwd_RToPack_32f, e9_vpksDFTInv_PackToR_32f};
  static constexpr Format perm{e9_vpksDFTFwd_RToPerm_32f, e9_vpksDFTInv_PermToR_32f};

  static constexpr DftiPlane *plane = tnk_dft_xcdft2d, *plane_out = tnk_dft_xcdft2d_out;
  static constexpr DftiRealPlane *forward_plane = xsccdft2d, *backward_plane = xccsdft2d;
  static constexpr DftiRealPlane *packed_forward_plane = xscdft2d, *packed_backward_plane = xcsdft2d;

  static constexpr auto copy = tnk_blas_xscopy;
  static constexpr auto scale = tnk_blas_sscal;
  static constexpr DftiRecordInit *init_complex = tnk_dft_vpk_init_s_c2c;
  static constexpr DftiRecordInit *init_split = tnk_dft_vpk_init_s_ri2ri;
  static constexpr DftiRecordInit *init_format = tnk_dft_vpk_init_s_r2c;
  static constexpr DftiRecordInit *complex_for_real = tnk_dft_complex_for_real_dft_s;

  static constexpr auto create = tnk_dft_dfti_create_sc1d;
};

template <> struct precision<double> {
  using complex = tnk_complex16;
  static constexpr tnk_int longest_power_of_two = 0x7FFFFFF, longest_other = 0x1FFFFFF;

  static constexpr Records complex_records{e9_vpksDFTInitAlloc_C_64fc, e9_vpksDFTFree_C_64fc,
                                           e9_vpksDFTGetBufSize_C_64fc};
  static constexpr Records scrambled_records{e9_vpksDFTOutOrdInitAlloc_C_64fc, e9_vpksDFTOutOrdFree_C_64fc,
                                             e9_vpksDFTOutOrdGetBufSize_C_64fc};
  static constexpr Records split_records{e9_vpksDFTInitAlloc_C_64f, e9_vpksDFTFree_C_64f,
                                         e9_vpksDFTGetBufSize_C_64f};
  static constexpr Records real_records{e9_vpksDFTInitAlloc_R_64f, e9_vpksDFTFree_R_64f,
                                        e9_vpksDFTGetBufSize_R_64f};
  static constexpr tnk_signal_dft *DftiRecords::*complex_record = &DftiRecords::complex_double;
  static constexpr tnk_signal_dft *DftiRecords::*scrambled_record = &DftiRecords::scrambled_double;
  static constexpr tnk_signal_dft *DftiRecords::*split_record = &DftiRecords::split_double;
  static constexpr tnk_signal_dft *DftiRecords::*real_record = &DftiRecords::real_double;

  static constexpr auto forward = e9_vpksDFTFwd_CToC_64fc, inverse = e9_vpksDFTInv_CToC_64fc;
  static constexpr auto split_forward = e9_vpksDFTFwd_CToC_64f, split_inverse = e9_vpksDFTInv_CToC_64f;

  static constexpr DftiKernelPair DftiKernels::*pair = &DftiKernels::double_pair;
  static constexpr DftiKernelPair DftiKernels::*second_pair = &DftiKernels::second_double;
  static constexpr DftiKernelPair wrappers{tnk_dft_xvpks_fwd_64fc, tnk_dft_xvpks_inv_64fc};
  static constexpr DftiKernelPair scrambled_wrappers{tnk_dft_xvpks_fwd_rev_64fc, tnk_dft_xvpks_inv_rev_64fc};
  static constexpr DftiKernelPair split_wrappers{tnk_dft_xvpks_fwd_64f, tnk_dft_xvpks_inv_64f};
  static constexpr DftiKernelPair real_wrappers{tnk_dft_xvpks_fwd_rtocomplex_64f,
                                                tnk_dft_xvpks_inv_complextor_64f};
  static constexpr FourStep four_step{tnk_dft_xz_init_data_1d_via_2d,
                                      {tnk_dft_xz_1d_via_2d_f, tnk_dft_xz_1d_via_2d_b}};
  static constexpr Bluestein *bluestein = tnk_dft_bluestein_init_z;
  static constexpr Codelets small{tnk_dft_zsmallradix_forward, tnk_dft_zsmallradix_inverse};

  using Format = DftiFormatDouble;
  static constexpr Format DftiKernels::*format = &DftiKernels::format_double;
  static constexpr Format ccs{e9_vpksDFTFwd_RToCCS_64f, e9_vpksDFTInv_CCSToR_64f};
  static constexpr Format pack{e9_vpksDFTFwd_RToPack_64f, e9_vpksDFTInv_PackToR_64f};
  static constexpr Format perm{e9_vpksDFTFwd_RToPerm_64f, e9_vpksDFTInv_PermToR_64f};

  static constexpr DftiPlane *plane = tnk_dft_xzdft2d, *plane_out = tnk_dft_xzdft2d_out;
  static constexpr DftiRealPlane *forward_plane = tnk_dft_xdzzdft2d, *backward_plane = tnk_dft_xzzddft2d;
  static constexpr DftiRealPlane *packed_forward_plane = tnk_dft_xdzdft2d,
                                 *packed_backward_plane = tnk_dft_xzddft2d;

  static constexpr auto copy = tnk_blas_xdcopy;
  static constexpr auto scale = tnk_blas_dscal;
  static constexpr DftiRecordInit *init_complex = tnk_dft_vpk_init_d_c2c;
  static constexpr DftiRecordInit *init_split = tnk_dft_vpk_init_d_ri2ri;
  static constexpr DftiRecordInit *init_format = tnk_dft_vpk_init_d_r2c;
  static constexpr DftiRecordInit *complex_for_real = tnk_dft_complex_for_real_dft_d;

  static constexpr auto create = tnk_dft_dfti_create_dc1d;
};

constexpr bool is_power_of_two(tnk_int n) {
  return n > 0 && (n & (n - 1)) == 0;
}

// Whether a signal record may be asked for.
template <class T> constexpr bool is_within_limit(tnk_int length) {
  return length <=
         (is_power_of_two(length) ? precision<T>::longest_power_of_two : precision<T>::longest_other);
}

// Arrays that a compute takes.
inline int32_t arrays_of(const DftiNode *node) {
  return (node->placement == DftiInPlace ? 1 : 2) * (is_split(node) ? 2 : 1);
}

} // namespace tnk::dft
