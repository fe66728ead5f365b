// The kernel library's sparse functions: those of the grid by the letters of their names, and the small ones beside
// them.
#pragma once

#include <tnk/blas_level1.h>
#include <tnk/spblas_aux.h>

#include "host/dispatch/kernel_loader.h"
#include "host/routines/element.h"
#include "host/routines/sparse/plan.h"

namespace tnk::host::sparse {

// Types of the grid's products.
using Int = const tnk_int *;
template <class T> struct Csr {
  using MvPar = void(Int first, Int last, Int m, const T *alpha, const T *, Int col, Int start, Int end,
                     const T *x, T *y);
  using MvSeq = void(Int m, const T *alpha, const T *, Int col, Int start, Int end, const T *x, T *y);
  using MmPar = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int col, Int start,
                     Int end, const T *b, Int ldb, T *c, Int ldc);
  using MmSeq = void(Int m, Int nrhs, const T *alpha, const T *, Int col, Int start, Int end, const T *b,
                     Int ldb, T *c, Int ldc);
};
template <class T> struct Coo {
  using MvPar = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int row, Int col, Int nnz,
                     const T *x, T *y);
  using MvSeq = void(Int m, Int n, const T *alpha, const T *, Int row, Int col, Int nnz, const T *x, T *y);
  using MmPar = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int row, Int col, Int nnz,
                     const T *b, Int ldb, T *c, Int ldc);
};

// The small functions that stand beside the grid.
template <class T> struct Helpers;
template <class T> Helpers<T> &helpers();
#define TNK_HELPERS(t, T)                                                                                    \
  template <> struct Helpers<T> {                                                                            \
    KernelEntry<decltype(tnk_spblas_##t##zerocheck)> zerocheck{"tnk_spblas_" #t "zerocheck"};                \
    KernelEntry<decltype(tnk_spblas_##t##zeros)> zeros{"tnk_spblas_" #t "zeros"};                            \
    KernelEntry<decltype(tnk_spblas_##t##ones)> ones{"tnk_spblas_" #t "ones"};                               \
    KernelEntry<decltype(tnk_spblas_##t##neones)> neones{"tnk_spblas_" #t "neones"};                         \
    KernelEntry<decltype(tnk_blas_##t##scal)> scal{"tnk_blas_" #t "scal"};                                   \
    KernelEntry<decltype(tnk_spblas_##t##split_par)> split{"tnk_spblas_" #t "split_par"};                    \
    KernelEntry<decltype(tnk_spblas_##t##split_syml_par)> split_lower{"tnk_spblas_" #t "split_syml_par"};    \
    KernelEntry<decltype(tnk_spblas_##t##split_symu_par)> split_upper{"tnk_spblas_" #t "split_symu_par"};    \
  };                                                                                                         \
  template <> Helpers<T> &helpers<T>();
TNK_HELPERS(s, float)
TNK_HELPERS(d, double)
TNK_HELPERS(c, tnk_complex8)
TNK_HELPERS(z, tnk_complex16)
#undef TNK_HELPERS

// Types of the grid's solves, which stand beside those of the products.
template <class T> struct Solve {
  using CsrSv = void(Int m, const T *alpha, const T *, Int col, Int start, Int end, T *y);
  using CsrSm = void(Int first, Int last, Int m, Int n, const T *alpha, const T *, Int col, Int start,
                     Int end, T *c, Int ldc);
  using DiaSv = void(Int m, const T *, Int stride, Int distance, T *y, Int band_first, Int band_last,
                     Int diag);
  using DiaSmPar = void(Int first, Int last, Int m, const T *, Int stride, Int distance, T *c, Int ldc,
                        Int band_first, Int band_last, Int diag);
  using DiaSmSeq = void(Int m, Int nrhs, const T *, Int stride, Int distance, T *c, Int ldc, Int band_first,
                        Int band_last, Int diag);
};

// The grid's kernel that a plan names, found by its first call: "tnk_spblas_dcsr0ntunc__mvout_par". Null after a
// report.
template <class T> void *grid_kernel(const char *routine, const Plan &plan, Operation operation);

// Everything of the kernel library that a product needs besides its kernel, found before anything is touched.
template <class T> struct Tools {
  decltype(Helpers<T>::zerocheck.get("")) zerocheck;
  decltype(Helpers<T>::zeros.get("")) zeros;
  decltype(Helpers<T>::ones.get("")) ones;
  decltype(Helpers<T>::neones.get("")) neones;
  decltype(Helpers<T>::scal.get("")) scal;

  bool find(const char *routine) {
    Helpers<T> &all = helpers<T>();
    return (zerocheck = all.zerocheck.get(routine)) && (zeros = all.zeros.get(routine)) &&
           (ones = all.ones.get(routine)) && (neones = all.neones.get(routine)) &&
           (scal = all.scal.get(routine));
  }
  bool is_zero(const T &value) const {
    tnk_int flag = 1;
    zerocheck(&value, &flag);
    return flag == 0;
  }
  bool is_one(const T &value) const {
    T one;
    ones(&one);
    if constexpr (is_complex<T>)
      return value.re == one.re && value.im == one.im;
    else
      return value == one;
  }
};

// y := beta y, for parts of y.
template <class T> struct Scaling {
  Scaling(const Tools<T> &given, const T &factor)
      : tools(given), beta(factor), clears(given.is_zero(factor)), keeps(given.is_one(factor)) {}
  void operator()(T *y, tnk_int count) const {
    constexpr tnk_int one = 1;
    if (clears)
      tools.zeros(y, &count);
    else if (!keeps)
      tools.scal(&count, &beta, y, &one);
  }
  const Tools<T> &tools;
  const T beta;
  const bool clears, keeps;
};

} // namespace tnk::host::sparse
