// Names of the matrix product that this processor class leaves empty.
#include <tnk/blas_level3.h>

void tnk_blas_xdgemm_1() {}
void tnk_blas_xdgemm0_1_brc() {}
void tnk_blas_xdgemm0_brc() {}
void tnk_blas_xdgemm1_1_brc() {}
void tnk_blas_xsgemm0_brc() {}
void tnk_blas_dgemm_blk_info_0_brc() {}
void tnk_blas_dgemm_blk_info_1_brc() {}
void tnk_blas_dgemm_mscale_brc() {}

#define EMPTY_COPIES(t)                                                                                      \
  void tnk_blas_##t##gemm_copyan_htn() {}                                                                    \
  void tnk_blas_##t##gemm_copyat_htn() {}                                                                    \
  void tnk_blas_##t##gemm_copybn_htn() {}                                                                    \
  void tnk_blas_##t##gemm_copybt_htn() {}
#define EMPTY_COMPLEX(t)                                                                                     \
  void tnk_blas_##t##gemm_copyac_htn() {}                                                                    \
  void tnk_blas_##t##gemm_copybc_htn() {}                                                                    \
  void tnk_blas_##t##gemm_getbufs() {}                                                                       \
  void tnk_blas_##t##gemm_freebufs() {}
EMPTY_COPIES(s)
EMPTY_COPIES(d)
EMPTY_COPIES(c)
EMPTY_COPIES(z)
EMPTY_COMPLEX(c)
EMPTY_COMPLEX(z)
