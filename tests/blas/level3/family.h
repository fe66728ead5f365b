// The matrix products of the four types and their stages, by the same names.
#pragma once

#include "support/product.h"
#include <gtest/gtest.h>
#include <tnk/blas_level3.h>

namespace tnk::test {

template <class T> struct Entries;
#define ENTRY(t, name) static constexpr auto name = tnk_blas_##t##gemm_##name;
#define ENTRIES(T, t)                                                                                        \
  template <> struct Entries<T> {                                                                            \
    static constexpr const tnk_gemm_row &row = *avx_##t##_all_gemm_ker;                                      \
    static constexpr const int32_t &chosen = avx_##t##_opt_gemm_ker;                                         \
    static constexpr auto gemm = tnk_blas_x##t##gemm;                                                        \
    static constexpr auto par = tnk_blas_x##t##gemm_par;                                                     \
    ENTRY(t, pst)                                                                                            \
    ENTRY(t, mscale)                                                                                         \
    ENTRY(t, zero_desc)                                                                                      \
    ENTRY(t, get_optimal_kernel)                                                                             \
    ENTRY(t, get_kernel)                                                                                     \
    ENTRY(t, num_kernels)                                                                                    \
    ENTRY(t, get_kernel_version)                                                                             \
    ENTRY(t, api_support)                                                                                    \
    ENTRY(t, get_blks_size)                                                                                  \
    ENTRY(t, set_blks_size)                                                                                  \
    ENTRY(t, free_bufs)                                                                                      \
    ENTRY(t, kernel_0)                                                                                       \
    ENTRY(t, kernel_0_b0)                                                                                    \
    ENTRY(t, ker0_pst)                                                                                       \
  };
ENTRIES(float, s)
ENTRIES(double, d)
ENTRIES(tnk_complex8, c)
ENTRIES(tnk_complex16, z)
#undef ENTRIES
#undef ENTRY
using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;

// What a triangular solve or multiply of any order asks for: packed blocks of 512 by 256 and of 256 by 1000, and the work
// buffer, with the gaps that align them.
template <class T>
const int64_t triangular_scratch = static_cast<int64_t>(sizeof(T)) * 256 *
                                       (512 + 1000 + Entries<T>::row.nr * Entries<T>::row.work_factor) +
                                   3 * 512 + 2 * (4096 + 4096 + 128);

// Buffers as a driver of triangular routines holds them, so small that some products find no room there.
template <class T> class HeldBlocks {
public:
  HeldBlocks() {
    using E = Entries<T>;
    const tnk_int none = 0;
    E::zero_desc(&d_);
    E::get_optimal_kernel(&d_);
    E::set_blks_size(80, 64, 32, &d_);
    d_.get_bufs_size(100, 108, &none, &none, &none, &d_);
    d_.get_bufs(100, &raw_, &d_);
    d_.kernel_version = 2;
  }
  HeldBlocks(const HeldBlocks &) = delete;
  HeldBlocks &operator=(const HeldBlocks &) = delete;
  ~HeldBlocks() { Entries<T>::free_bufs(raw_); }

  tnk_gemm_descriptor *descriptor() { return &d_; }
  template <class Letters>
  tnk_triangular_level level(const Letters &form, tnk_int order, tnk_int sides) const {
    const bool left = form.left(), turned = left != form.as_it_is();
    const tnk_int m = left ? order : sides, n = left ? sides : order;
    return {m, n, turned, d_.a.data, 0, d_.b.data, 1024, 0, 1};
  }

private:
  tnk_gemm_descriptor d_;
  void *raw_ = nullptr;
};

// The sum of x(l) y(l) for l from `first` to `last` in the order that the product promises: one sum from zero, steps
// ascending, in complex one of each product of parts, combined at the end.
template <class T, class X, class Y> T sum_in_order(tnk_int first, tnk_int last, X x, Y y) {
  using R = real_of<T>;
  constexpr int parts = is_complex<T> ? 2 : 1;
  R sums[2][2] = {};
  for (tnk_int l = first; l < last; ++l) {
    const T x_l = x(l), y_l = y(l);
    R of_x[2] = {}, of_y[2] = {};
    std::memcpy(of_x, &x_l, sizeof x_l), std::memcpy(of_y, &y_l, sizeof y_l);
    for (int p = 0; p < parts; ++p)
      for (int q = 0; q < parts; ++q) sums[p][q] += of_x[p] * of_y[q];
  }
  return reference::number<T>(is_complex<T> ? sums[0][0] - sums[1][1] : sums[0][0], sums[0][1] + sums[1][0]);
}

} // namespace tnk::test
