// What the stages of the triangular multiply share.
#pragma once

#include "kernel/blas/level3/triangle_product.h"

namespace tnk::level3 {

// The finish: a block on the diagonal. Double precision has stages of its own.
template <class T>
inline void finish_from_left(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb,
                             const tnk_triangular_level &, const tnk_gemm_descriptor *) {
  multiply_from_left(t, m, n, b, ldb);
}
template <class T>
inline void finish_from_right(const Triangle<T> &t, tnk_int m, tnk_int n, T *b, tnk_int ldb,
                              const tnk_triangular_level &, const tnk_gemm_descriptor *) {
  multiply_from_right(t, m, n, b, ldb);
}
void finish_from_left(const Triangle<double> &, tnk_int m, tnk_int n, double *b, tnk_int ldb,
                      const tnk_triangular_level &, const tnk_gemm_descriptor *);
void finish_from_right(const Triangle<double> &, tnk_int m, tnk_int n, double *b, tnk_int ldb,
                       const tnk_triangular_level &, const tnk_gemm_descriptor *);

// B := B op(A) a column at a time, for few of them.
void by_columns(const Triangle<double> &, tnk_int m, tnk_int n, double *b, tnk_int ldb);

// B := op(A) B or B := B op(A) by levels, from the first of them on.
template <class T>
void multiply_by_levels(bool left, const Triangle<T> &, tnk_int m, tnk_int n, T *b, tnk_int ldb,
                        const tnk_triangular_level *levels, tnk_int last, tnk_gemm_descriptor *);

} // namespace tnk::level3
