// What the stages of the matrix product share: the entries of a type by one name, the reading of options, and the
// numbers of modes.
#pragma once

#include "kernel/blas/level3/tile.h"
#include "kernel/frame/element.h"
#include <tnk/blas_level3.h>

namespace tnk::level3 {

template <class T> struct gemm_entries;
#define TNK_GEMM_ENTRIES(T, t)                                                                               \
  template <> struct gemm_entries<T> {                                                                       \
    static constexpr const tnk_gemm_row *rows = avx_##t##_all_gemm_ker;                                      \
    static constexpr auto whole = tnk_blas_x##t##gemm;                                                       \
    static constexpr auto par = tnk_blas_x##t##gemm_par;                                                     \
    static constexpr auto zero_desc = tnk_blas_##t##gemm_zero_desc;                                          \
    static constexpr auto get_optimal_kernel = tnk_blas_##t##gemm_get_optimal_kernel;                        \
    static constexpr auto get_kernel_version = tnk_blas_##t##gemm_get_kernel_version;                        \
    static constexpr auto set_blks_size = tnk_blas_##t##gemm_set_blks_size;                                  \
    static constexpr auto free_bufs = tnk_blas_##t##gemm_free_bufs;                                          \
    static constexpr auto mscale = tnk_blas_##t##gemm_mscale;                                                \
    static constexpr auto pst = tnk_blas_##t##gemm_pst;                                                      \
  };
TNK_GEMM_ENTRIES(float, s)
TNK_GEMM_ENTRIES(double, d)
TNK_GEMM_ENTRIES(tnk_complex8, c)
TNK_GEMM_ENTRIES(tnk_complex16, z)
#undef TNK_GEMM_ENTRIES

// For the macros that spell entries, outside of namespaces.
using tnk::Operation, tnk::operation_of, tnk::as_it_is, tnk::transposed, tnk::conjugate_transposed;

// The corner of the block at (row, column) of op(X).
template <class T>
inline const T *block_of(const T *x, tnk_int ld, Operation op, tnk_int row, tnk_int column) {
  return op == as_it_is ? x + row + column * ld : x + column + row * ld;
}

// A product: C := beta C + alpha op(A) op(B).
template <class T> struct Operands {
  Operation op_a, op_b;
  tnk_int m, n, k;
  T alpha;
  const T *a;
  tnk_int lda;
  const T *b;
  tnk_int ldb;
  T beta;
  T *c;
  tnk_int ldc;
};

// The plain path, its sums cut after each kb steps. Of float, double, tnk_complex8 and tnk_complex16.
template <class T> void plain_product(const Operands<T> &, tnk_int kb);

// Which operands have a buffer for their packed block; those that have none pass through the work buffer. The modes of
// one buffer alone have their panels filled by somebody else.
enum BufferMode : int32_t {
  both_packed = 100, // and the work buffer
  a_alone,
  b_alone,
  both_alone,
  b_packed, // and the work buffer, as below
  a_packed,
  none_packed
};
enum SizeMode : int32_t { clamped_sizes = 107, whole_sizes };

// What a block kernel is told of its panels. It means nothing to those of this processor class.
enum KernelMode : int32_t { plain_panels = 2, panels_in_work };

} // namespace tnk::level3
