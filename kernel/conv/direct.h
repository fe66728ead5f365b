// The direct kernels: operands are prepared so that one core serves convolution and correlation.
//
// A convolution is the correlation with one operand reversed, the one of fewer elements, which is packed on the way.
// Whether the other one, or those of a correlation, are packed is a matter of how often their elements are read.
// P is a pair of types: data, and arithmetic.
#pragma once

#include "kernel/conv/checks.h"
#include "kernel/conv/grid.h"
#include "kernel/conv/line.h"

namespace tnk::conv {

template <class Data, class Arithmetic> struct Types {
  using data = Data;
  using arithmetic = Arithmetic;
};
using Ss = Types<float, float>;
using Dd = Types<double, double>;
using Sd = Types<float, double>;
using Cc = Types<tnk_complex8, tnk_complex8>;
using Zz = Types<tnk_complex16, tnk_complex16>;
using Cz = Types<tnk_complex8, tnk_complex16>;

// How many products there are for each element, more than which pays for packing it.
constexpr double packing_pays = 2;

// Both arrays of a correlation in place: one of them would be read too seldom.
inline bool read_in_place(int64_t nx, int64_t ny, int64_t nz) {
  const auto often = [=](int64_t n, int64_t other) {
    return packing_pays * static_cast<double>(n) <= static_cast<double>(nz * other);
  };
  return !often(ny, nx) || !often(nx, ny);
}
inline bool pays_to_pack(int64_t v, int64_t u, int64_t nz) {
  return static_cast<double>(nz * u) > packing_pays * static_cast<double>(v);
}

// ---- One dimension ------------------------------------------------------------------------------------------------

template <class P, class D, class Dec>
int32_t direct_1d_conv(const D *x, int32_t xstride, const D *y, int32_t ystride, D *z, int32_t zstride,
                       int32_t xlen, int32_t ylen, int32_t start, int32_t zlen, Dec dec) {
  using A = typename P::arithmetic;
  if (const int32_t status =
          check_1d<convolution>(x, y, z, zstride, xlen, ylen, start, zlen, static_cast<int32_t>(dec)))
    return status;
  Array<const D> s(x, 1, &xlen, &xstride), l(y, 1, &ylen, &ystride);
  if (xlen > ylen) std::swap(s, l);
  const int64_t m = s.shape[0], n = l.shape[0];
  Scratch<A> reversed;
  A *const u = reversed.take(m);
  if (!u) return TNK_CONV_NO_MEMORY;
  pack(u, s, 1);
  Scratch<D> dense;
  if (l.stride[0] != 1 && pays_to_pack(n, m, zlen)) {
    D *const v = dense.take(n);
    if (!v) return TNK_CONV_NO_MEMORY;
    pack(v, l, 0);
    l = Array<const D>(v, l);
  }
  return correlation_core_unrolled_by_4<A>(u, m, int64_t{1}, l.base, n, l.stride[0],
                                           first_element(z, zlen, zstride), zlen, zstride,
                                           int64_t{start} - m + 1, dec);
}

// Either operand is packed that is not dense, where it pays; `memory` belongs to the caller. False: no memory.
template <class D> bool pack_where_strided(Array<const D> &array, Scratch<D> &memory) {
  if (array.is_dense(0)) return true;
  D *const dense = memory.take(array.count());
  if (!dense) return false;
  pack(dense, array, 0);
  array = Array<const D>(dense, array);
  return true;
}

template <class P, class D, class Dec>
int32_t direct_1d_corr(const D *x, int32_t xstride, const D *y, int32_t ystride, D *z, int32_t zstride,
                       int32_t xlen, int32_t ylen, int32_t start, int32_t zlen, Dec dec) {
  using A = typename P::arithmetic;
  if (const int32_t status =
          check_1d<correlation>(x, y, z, zstride, xlen, ylen, start, zlen, static_cast<int32_t>(dec)))
    return status;
  Array<const D> u(x, 1, &xlen, &xstride), v(y, 1, &ylen, &ystride);
  Scratch<D> dense_u, dense_v;
  if (!read_in_place(xlen, ylen, zlen) && !(pack_where_strided(u, dense_u) && pack_where_strided(v, dense_v)))
    return TNK_CONV_NO_MEMORY;
  return correlation_core_unrolled_by_4<A>(u.base, u.shape[0], u.stride[0], v.base, v.shape[0], v.stride[0],
                                           first_element(z, zlen, zstride), zlen, zstride, int64_t{start},
                                           dec);
}

// ---- Several dimensions ---------------------------------------------------------------------------------------------

template <class P, class D>
int32_t direct_all_conv(int32_t dims, const D *x, const int32_t *xshape, const int32_t *xstride, const D *y,
                        const int32_t *yshape, const int32_t *ystride, D *z, const int32_t *zshape,
                        const int32_t *zstride, const int32_t *start, const int32_t *decimation) {
  using A = typename P::arithmetic;
  if (const int32_t status =
          check_all<convolution>(dims, x, xshape, y, yshape, z, zshape, zstride, start, decimation))
    return status;
  Array<const D> s(x, dims, xshape, xstride), l(y, dims, yshape, ystride);
  const Array<D> out(z, dims, zshape, zstride);
  if (s.count() > l.count()) std::swap(s, l);
  Scratch<A> reversed;
  A *const memory = reversed.take(s.count());
  if (!memory) return TNK_CONV_NO_MEMORY;
  pack(memory, s, 1);
  const Array<const A> u(memory, s);
  Vector off, dec;
  for (int32_t k = 0; k < dims; ++k) off[k] = start[k] - s.shape[k] + 1, dec[k] = decimation[k];
  Scratch<D> dense;
  // A stride of dimension 0 alone does not count.
  if (!l.is_dense(1) && pays_to_pack(l.count(), u.count(), out.count())) {
    D *const v = dense.take(l.count());
    if (!v) return TNK_CONV_NO_MEMORY;
    pack(v, l, 0);
    l = Array<const D>(v, l);
  }
  return correlation_core<A>(u, l, out, off, dec);
}

template <class P, class D>
int32_t direct_all_corr(int32_t dims, const D *x, const int32_t *xshape, const int32_t *xstride, const D *y,
                        const int32_t *yshape, const int32_t *ystride, D *z, const int32_t *zshape,
                        const int32_t *zstride, const int32_t *start, const int32_t *decimation) {
  using A = typename P::arithmetic;
  if (const int32_t status =
          check_all<correlation>(dims, x, xshape, y, yshape, z, zshape, zstride, start, decimation))
    return status;
  Array<const D> u(x, dims, xshape, xstride), v(y, dims, yshape, ystride);
  const Array<D> out(z, dims, zshape, zstride);
  Scratch<D> dense_u, dense_v;
  if (!read_in_place(u.count(), v.count(), out.count()) &&
      !(pack_where_strided(u, dense_u) && pack_where_strided(v, dense_v)))
    return TNK_CONV_NO_MEMORY;
  Vector off, dec;
  for (int32_t k = 0; k < dims; ++k) off[k] = start[k], dec[k] = decimation[k];
  return correlation_core<A>(u, v, out, off, dec);
}

} // namespace tnk::conv

// The direct kernels of a pair of types.
#define TNK_CONV_DIRECT(types, T, P)                                                                         \
  TNK_CONV_1D(tnk_conv_##types##direct_1d_conv_de, T) {                                                      \
    return tnk::conv::direct_1d_conv<P>(x, xstride, y, ystride, z, zstride, xshape, yshape, start, zshape,   \
                                        int64_t{decimation});                                                \
  }                                                                                                          \
  TNK_CONV_1D(tnk_conv_##types##direct_1d_corr_de, T) {                                                      \
    return tnk::conv::direct_1d_corr<P>(x, xstride, y, ystride, z, zstride, xshape, yshape, start, zshape,   \
                                        int64_t{decimation});                                                \
  }                                                                                                          \
  TNK_CONV_ALL(tnk_conv_##types##direct_all_conv_de, T) {                                                    \
    return tnk::conv::direct_all_conv<P>(dims, x, xshape, xstride, y, yshape, ystride, z, zshape, zstride,   \
                                         start, decimation);                                                 \
  }                                                                                                          \
  TNK_CONV_ALL(tnk_conv_##types##direct_all_corr_de, T) {                                                    \
    return tnk::conv::direct_all_corr<P>(dims, x, xshape, xstride, y, yshape, ystride, z, zshape, zstride,   \
                                         start, decimation);                                                 \
  }
