// What the stages of the matrix product share: the entries of a type by one name, and the reading of options.
#pragma once

#include "kernel/frame/element.h"
#include <tnk/blas_level3.h>

namespace tnk {

template <class T> struct gemm_entries;
#define TNK_GEMM_ENTRIES(T, t)                                                                               \
  template <> struct gemm_entries<T> {                                                                       \
    static constexpr auto par = tnk_blas_x##t##gemm_par;                                                     \
    static constexpr auto zero_desc = tnk_blas_##t##gemm_zero_desc;                                          \
    static constexpr auto get_optimal_kernel = tnk_blas_##t##gemm_get_optimal_kernel;                        \
    static constexpr auto get_kernel_version = tnk_blas_##t##gemm_get_kernel_version;                        \
    static constexpr auto free_bufs = tnk_blas_##t##gemm_free_bufs;                                          \
    static constexpr auto mscale = tnk_blas_##t##gemm_mscale;                                                \
    static constexpr auto pst = tnk_blas_##t##gemm_pst;                                                      \
  };
TNK_GEMM_ENTRIES(float, s)
TNK_GEMM_ENTRIES(double, d)
TNK_GEMM_ENTRIES(tnk_complex8, c)
TNK_GEMM_ENTRIES(tnk_complex16, z)
#undef TNK_GEMM_ENTRIES

// What an option letter asks for; also the place of its copy in a descriptor. Every letter that is not told apart
// counts as the last: in the real types, where the last two are the same, T does.
enum gemm_operation { as_it_is = 0, transposed = 1, conjugate_transposed = 2 };

template <class T> inline gemm_operation operation_of(const char *trans) {
  if (*trans == 'N' || *trans == 'n') return as_it_is;
  if (is_complex<T> && (*trans == 'T' || *trans == 't')) return transposed;
  return conjugate_transposed;
}

// The corner of the block at (row, column) of op(X).
template <class T>
inline const T *block_of(const T *x, tnk_int ld, gemm_operation op, tnk_int row, tnk_int column) {
  return op == as_it_is ? x + row + column * ld : x + column + row * ld;
}

// To a multiple of `unit`, a power of two as all unrolls are: a division takes as long as packing a row.
inline tnk_int rounded_up(tnk_int x, tnk_int unit) {
  return (x + unit - 1) & -unit;
}
inline tnk_int rounded_down(tnk_int x, tnk_int unit) {
  return x & -unit;
}

} // namespace tnk
