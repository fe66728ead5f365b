// The block kernels of the matrix product, as far as real and complex elements share them: what one is called with, the
// split into whole tiles and an edge, and the entries.
//
// Every element of C is formed alike, wherever the cuts between tiles, groups and edges fall: one sum from zero over
// the steps in ascending order, each product rounded before it is added, then C + sum. A product of complex numbers
// is four real ones: the sums of re*re, re*im, im*re and im*im are kept apart, each over all steps, and combined once
// at the end, real part (re*re) - (im*im), imaginary part (re*im) + (im*re). So a result does not depend on how the
// caller slices the product.
#pragma once

#include "kernel/blas/level3/tile.h"
#include "kernel/frame/element.h"
#include <tnk/blas_level3.h>

namespace tnk::level3 {

// Panels of A by panels of B, added to C or, without reading C, stored over it. Strides are from panel to panel.
template <class T> struct PackedProduct {
  tnk_int m, n, k;
  const T *a;
  tnk_int a_stride;
  const T *b;
  tnk_int b_stride;
  T *c;
  tnk_int ldc;
  bool add;
};

// tiles: for rows of whole tiles; edge: for fewer rows than a tile has.
template <class T, class Tiles, class Edge>
inline void split(const PackedProduct<T> &p, Tiles tiles, Edge edge) {
  constexpr tnk_int mr = gemm_tile<T>::mr;
  const tnk_int panels = p.m / mr, whole = panels * mr;
  PackedProduct<T> part = p;
  part.m = whole;
  if (whole != 0) tiles(part);
  part.m = p.m - whole;
  part.a += panels * p.a_stride;
  part.c += whole;
  if (part.m != 0) edge(part);
}

} // namespace tnk::level3

// The options, alpha, work and mode are nothing to these kernels: both operands are packed. beta decides whether C is
// read, a NaN included.
#define TNK_GEMM_KERNEL(T, name, adds, ...)                                                                  \
  void tnk_blas_##name(const char *, const char *, const tnk_int *m, const tnk_int *n, const tnk_int *k,     \
                       const void *, const void *a, const tnk_gemm_panels *a_panels, const void *b,          \
                       const tnk_gemm_panels *b_panels, [[maybe_unused]] const void *beta, void *c,          \
                       const tnk_int *ldc, void *, int32_t) {                                                \
    using namespace tnk::level3;                                                                             \
    const PackedProduct<T> p = {*m,                                                                          \
                                *n,                                                                          \
                                *k,                                                                          \
                                static_cast<const T *>(a),                                                   \
                                a_panels->stride,                                                            \
                                static_cast<const T *>(b),                                                   \
                                b_panels->stride,                                                            \
                                static_cast<T *>(c),                                                         \
                                *ldc,                                                                        \
                                adds};                                                                       \
    __VA_ARGS__;                                                                                             \
  }
// Of tiles<T> and edge<T>, which take a packed_product.
#define TNK_GEMM_KERNELS(T, t)                                                                               \
  TNK_GEMM_KERNEL(T, t##gemm_ker0, !tnk::is_zero(tnk::get(static_cast<const T *>(beta))),                    \
                  split(p, tiles<T>, edge<T>))                                                               \
  TNK_GEMM_KERNEL(T, t##gemm_kernel_0, true, tiles(p))                                                       \
  TNK_GEMM_KERNEL(T, t##gemm_kernel_0_b0, false, tiles(p))                                                   \
  TNK_GEMM_KERNEL(T, t##gemm_ker0_pst, !tnk::is_zero(tnk::get(static_cast<const T *>(beta))), edge(p))
