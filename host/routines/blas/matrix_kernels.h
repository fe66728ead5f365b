// The kernels that routines of matrix and vector are made of: blocks of a matrix with vectors side by side.
#pragma once

#include "host/dispatch/kernel_loader.h"
#include "host/routines/blas/numbers.h"
#include <tnk/blas_level2.h>

namespace tnk::host {

// y := y + alpha op(A) x
template <class T>
using AddProduct = void(const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, const T *x, T *y,
                        const T *alpha);
// y1 := y1 + alpha A x1, y2 := y2 + alpha A^H x2, with the transpose where T is real
template <class T>
using AddBoth = void(const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, const T *x1,
                     const T *x2, T *y1, T *y2, const T *alpha);
// A := A + alpha x y^H, with the transpose where T is real
template <class T>
using AddOuter = void(const tnk_int *m, const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx,
                      const T *y, const tnk_int *incy, T *a, const tnk_int *lda);

// y := y + alpha x; a no-op when alpha is zero
template <class T>
using AddVector = void(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx, T *y,
                       const tnk_int *incy);

template <class T> struct MatrixKernels {
  KernelEntry<AddProduct<T>> plain, transposed, conjugated;
  KernelEntry<AddBoth<T>> both;
  KernelEntry<AddOuter<T>> outer;
  KernelEntry<AddVector<T>> vector;
};

// One form each: the kernels take an odd and an even leading dimension alike.
template <class T> MatrixKernels<T> matrix_kernels;
template <>
inline MatrixKernels<float> matrix_kernels<float>{KernelEntry<AddProduct<float>>("tnk_blas_sgemv_n_even"),
                                                  KernelEntry<AddProduct<float>>("tnk_blas_sgemv_t_even"),
                                                  KernelEntry<AddProduct<float>>("tnk_blas_sgemv_t_even"),
                                                  KernelEntry<AddBoth<float>>("tnk_blas_sgem2vu_even"),
                                                  KernelEntry<AddOuter<float>>("tnk_blas_sger"),
                                                  KernelEntry<AddVector<float>>("tnk_blas_xsaxpy")};
template <>
inline MatrixKernels<double> matrix_kernels<double>{KernelEntry<AddProduct<double>>("tnk_blas_dgemv_n_even"),
                                                    KernelEntry<AddProduct<double>>("tnk_blas_dgemv_t_even"),
                                                    KernelEntry<AddProduct<double>>("tnk_blas_dgemv_t_even"),
                                                    KernelEntry<AddBoth<double>>("tnk_blas_dgem2vu_even"),
                                                    KernelEntry<AddOuter<double>>("tnk_blas_dger"),
                                                    KernelEntry<AddVector<double>>("tnk_blas_xdaxpy")};
template <>
inline MatrixKernels<tnk_complex8> matrix_kernels<tnk_complex8>{
    KernelEntry<AddProduct<tnk_complex8>>("tnk_blas_cgemv_n_even"),
    KernelEntry<AddProduct<tnk_complex8>>("tnk_blas_cgemv_t_even"),
    KernelEntry<AddProduct<tnk_complex8>>("tnk_blas_cgemv_c_even"),
    KernelEntry<AddBoth<tnk_complex8>>("tnk_blas_cgem2vc_f"),
    KernelEntry<AddOuter<tnk_complex8>>("tnk_blas_cgerc"),
    KernelEntry<AddVector<tnk_complex8>>("tnk_blas_xcaxpy")};
template <>
inline MatrixKernels<tnk_complex16> matrix_kernels<tnk_complex16>{
    KernelEntry<AddProduct<tnk_complex16>>("tnk_blas_zgemv_n"),
    KernelEntry<AddProduct<tnk_complex16>>("tnk_blas_zgemv_t"),
    KernelEntry<AddProduct<tnk_complex16>>("tnk_blas_zgemv_c"),
    KernelEntry<AddBoth<tnk_complex16>>("tnk_blas_zgem2vc_f"),
    KernelEntry<AddOuter<tnk_complex16>>("tnk_blas_zgerc"),
    KernelEntry<AddVector<tnk_complex16>>("tnk_blas_xzaxpy")};

} // namespace tnk::host
