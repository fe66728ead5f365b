// Public products with a symmetric or Hermitian matrix: check, then form them on packed blocks.
#include <tnk/blas.h>

#include "host/dispatch/check.h"
#include "host/routines/blas/packed_product.h"
#include "host/routines/blas/routine.h"

namespace tnk::host {
namespace {

template <class T>
void symmetric_product(const char *routine, bool hermitian, const char *side, const char *uplo,
                       const tnk_int *m, const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda,
                       const T *b, const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {
  const Check check(routine);
  if (!check.option(1, "side", side, "LR") || !check.option(2, "uplo", uplo, "UL") ||
      !check.length<T>(3, "m", m) || !check.length<T>(4, "n", n) || !check.address(5, "alpha", alpha))
    return;
  const bool on_left = is_letter(*side, 'l'), empty = *m == 0 || *n == 0;
  const bool scales_only = is_value(*alpha, 0), reads = !empty && !scales_only;
  const tnk_int order = on_left ? *m : *n;
  if (!check.matrix(6, "a", a, reads, "lda", lda, order, order) ||
      !check.matrix(8, "b", b, reads, "ldb", ldb, *m, *n) || !check.address(10, "beta", beta) ||
      !check.matrix(11, "c", c, !empty, "ldc", ldc, *m, *n) || empty)
    return;
  const Target<T> target{Part::whole, false, c, *ldc};
  if (scales_only) {
    if (!is_value(*beta, 1)) target.scale(*beta, 0, *m, 0, *n);
    return;
  }
  const tnk_gemm_row *const kernel = product_kernel<T>(routine);
  if (!kernel) return;
  constexpr double operations = is_complex<T> ? 8 : 2; // real ones, for each element of B and row of A
  const Slices slices = slices_of_whole(
      *m, *n, operations * static_cast<double>(*m) * static_cast<double>(*n) * static_cast<double>(order));
  const Mirrored<T> mirrored{is_letter(*uplo, 'u'), hermitian, a, *lda, *alpha};
  const General<T> general{as_it_is, b, *ldb, *alpha};
  if (on_left)
    PackedProduct<T, Mirrored<T>, General<T>, T>{target, *m, *n, *m, 1, {mirrored}, {general}, *beta}.run(
        routine, *kernel, slices);
  else
    PackedProduct<T, General<T>, Mirrored<T>, T>{target, *m, *n, *n, 1, {general}, {mirrored}, *beta}.run(
        routine, *kernel, slices);
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(name, T, hermitian)                                                                       \
  void tnk_blas_##name(const char *side, const char *uplo, const tnk_int *m, const tnk_int *n,               \
                       const T *alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb,       \
                       const T *beta, T *c, const tnk_int *ldc) {                                            \
    tnk::host::symmetric_product("tnk_blas_" #name, hermitian, side, uplo, m, n, alpha, a, lda, b, ldb,      \
                                 beta, c, ldc);                                                              \
  }
TNK_PUBLIC(ssymm, float, false)
TNK_PUBLIC(dsymm, double, false)
TNK_PUBLIC(csymm, tnk_complex8, false)
TNK_PUBLIC(zsymm, tnk_complex16, false)
TNK_PUBLIC(chemm, tnk_complex8, true)
TNK_PUBLIC(zhemm, tnk_complex16, true)
#undef TNK_PUBLIC
