// The public routines by element type, for kernels that want the best form of a routine of another family: the host
// chooses it anew.
#pragma once

#include <tnk/blas.h>

namespace tnk {

template <class T> struct host_blas;
template <> struct host_blas<float> {
  static constexpr auto axpy = tnk_blas_saxpy;
  static constexpr auto dot = tnk_blas_sdot;
  static constexpr auto gemv = tnk_blas_sgemv;
  static constexpr auto syr = tnk_blas_ssyr;
};
template <> struct host_blas<double> {
  static constexpr auto axpy = tnk_blas_daxpy;
  static constexpr auto dot = tnk_blas_ddot;
  static constexpr auto gemv = tnk_blas_dgemv;
  static constexpr auto syr = tnk_blas_dsyr;
};
template <> struct host_blas<tnk_complex8> {
  static constexpr auto axpy = tnk_blas_caxpy;
  static constexpr auto gemv = tnk_blas_cgemv;
};
template <> struct host_blas<tnk_complex16> {
  static constexpr auto axpy = tnk_blas_zaxpy;
  static constexpr auto gemv = tnk_blas_zgemv;
};

// The same for vectors whose elements stand side by side.
template <class T> inline void host_axpy(tnk_int n, T alpha, const T *x, T *y) {
  static constexpr tnk_int adjacent = 1;
  host_blas<T>::axpy(&n, &alpha, x, &adjacent, y, &adjacent);
}
template <class T> inline T host_dot(tnk_int n, const T *x, const T *y) {
  static constexpr tnk_int adjacent = 1;
  return host_blas<T>::dot(&n, x, &adjacent, y, &adjacent);
}

} // namespace tnk
