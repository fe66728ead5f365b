// The kernel tables of the matrix product, one row a type.
#include "kernel/blas/level3/gemm.h"

using namespace tnk::level3;

// Work factor; least dimensions of the packed path; the third copy of each operand; the extended copies.
#define ROW(t, T, factor, tm, tn, tk, third_a, third_b, a_ext, b_ext)                                        \
  const int32_t avx_##t##_opt_gemm_ker = 0;                                                                  \
  const tnk_gemm_row avx_##t##_all_gemm_ker[1] = {                                                           \
      {gemm_tile<T>::mr,                                                                                     \
       gemm_tile<T>::nr,                                                                                     \
       kr,                                                                                                   \
       factor,                                                                                               \
       tm,                                                                                                   \
       tn,                                                                                                   \
       tk,                                                                                                   \
       none_packed,                                                                                          \
       tnk_blas_##t##gemm_get_blks_size,                                                                     \
       tnk_blas_##t##gemm_get_bufs_size,                                                                     \
       tnk_blas_##t##gemm_get_bufs,                                                                          \
       {tnk_blas_##t##gemm_copyan, tnk_blas_##t##gemm_copyat, third_a},                                      \
       {tnk_blas_##t##gemm_copybn, tnk_blas_##t##gemm_copybt, third_b},                                      \
       tnk_blas_##t##gemm_ker0,                                                                              \
       a_ext,                                                                                                \
       b_ext}};

ROW(s, float, 4, 2, 2, 2, tnk_blas_sgemm_copyat, tnk_blas_sgemm_copybt, tnk_blas_sgemm_copya_ext,
    tnk_blas_sgemm_copyb_ext)
ROW(d, double, 4, 2, 2, 2, tnk_blas_dgemm_copyat, tnk_blas_dgemm_copybt, tnk_blas_dgemm_copya_ext,
    tnk_blas_dgemm_copyb_ext)
ROW(c, tnk_complex8, 1, 4, 2, 4, tnk_blas_cgemm_copyac, tnk_blas_cgemm_copybc, nullptr, nullptr)
ROW(z, tnk_complex16, 1, 1, 1, 1, tnk_blas_zgemm_copyac, tnk_blas_zgemm_copybc, nullptr, nullptr)
