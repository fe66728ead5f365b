// Public updates of a symmetric or Hermitian matrix by products whose result is one: check, then form a triangle of them on
// packed blocks.
#include <tnk/blas.h>

#include "host/dispatch/check.h"
#include "host/routines/blas/packed_product.h"
#include "host/routines/blas/routine.h"

namespace tnk::host {
namespace {

// What the routines of one and of two matrices share. `letters`: what trans may be.
struct Update {
  const char *routine;
  bool hermitian;
  const char *letters;
};

template <class T, class Scalar> T as_element(Scalar x) {
  if constexpr (std::is_same_v<T, Scalar>)
    return x;
  else
    return from_real<T>(x);
}

// The conjugate where `conjugates`.
template <class T> T conjugate(T x, bool conjugates) {
  if constexpr (is_complex<T>)
    if (conjugates) x.im = 0 - x.im;
  return x;
}

// C := beta C + alpha op(A) op(B)' and, for two terms, its mirror image, where ' transposes as the matrix is symmetric or
// Hermitian. Arguments are good; b is a for one term.
template <class T, class Beta>
void update(const Update &kind, int terms, char uplo, char trans, tnk_int n, tnk_int k, T alpha, const T *a,
            tnk_int lda, const T *b, tnk_int ldb, Beta beta, T *c, tnk_int ldc) {
  const Part part = is_letter(uplo, 'u') ? Part::upper : Part::lower;
  const Target<T> target{part, kind.hermitian, c, ldc};
  if (k == 0 || is_value(alpha, 0)) {
    if (!is_value(beta, 1)) target.scale(beta, 0, n, 0, n);
    return;
  }
  const tnk_gemm_row *const kernel = product_kernel<T>(kind.routine);
  if (!kernel) return;
  const Operation mirror = kind.hermitian ? conjugate_transposed : transposed;
  const Operation on_left = is_plain(trans) ? as_it_is : mirror,
                  on_right = is_plain(trans) ? mirror : as_it_is;
  const General<T> left[] = {{on_left, a, lda, alpha}, {on_left, b, ldb, conjugate(alpha, kind.hermitian)}};
  const General<T> right[] = {{on_right, b, ldb, alpha}, {on_right, a, lda, alpha}};
  constexpr double operations = is_complex<T> ? 4 : 1; // real ones, for each step and element of the square
  const double work =
      terms * operations * static_cast<double>(n) * static_cast<double>(n) * static_cast<double>(k);
  PackedProduct<T, General<T>, General<T>, Beta>{
      target, n, n, k, terms, {left[0], left[1]}, {right[0], right[1]}, beta}
      .run(kind.routine, *kernel, slices_of_triangle(part, n, work));
}

// The arguments that both lists begin with.
template <class T, class Alpha>
bool begins_well(const Update &kind, const Check &check, const char *uplo, const char *trans,
                 const tnk_int *n, const tnk_int *k, const Alpha *alpha) {
  return check.option(1, "uplo", uplo, "UL") && check.option(2, "trans", trans, kind.letters) &&
         check.length<T>(3, "n", n) && check.length<T>(4, "k", k) && check.address(5, "alpha", alpha);
}

template <class T, class Scalar>
void rank_k(const Update &kind, const char *uplo, const char *trans, const tnk_int *n, const tnk_int *k,
            const Scalar *alpha, const T *a, const tnk_int *lda, const Scalar *beta, T *c,
            const tnk_int *ldc) {
  const Check check(kind.routine);
  if (!begins_well<T>(kind, check, uplo, trans, n, k, alpha)) return;
  const bool plain = is_plain(*trans), reads = *n != 0 && *k != 0 && !is_value(*alpha, 0);
  const tnk_int rows = plain ? *n : *k, columns = plain ? *k : *n;
  if (!check.matrix(6, "a", a, reads, "lda", lda, rows, columns) || !check.address(8, "beta", beta) ||
      !check.matrix(9, "c", c, *n != 0, "ldc", ldc, *n, *n) || *n == 0)
    return;
  update<T>(kind, 1, *uplo, *trans, *n, *k, as_element<T>(*alpha), a, *lda, a, *lda, *beta, c, *ldc);
}

template <class T, class Beta>
void rank_2k(const Update &kind, const char *uplo, const char *trans, const tnk_int *n, const tnk_int *k,
             const T *alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb, const Beta *beta,
             T *c, const tnk_int *ldc) {
  const Check check(kind.routine);
  if (!begins_well<T>(kind, check, uplo, trans, n, k, alpha)) return;
  const bool plain = is_plain(*trans), reads = *n != 0 && *k != 0 && !is_value(*alpha, 0);
  const tnk_int rows = plain ? *n : *k, columns = plain ? *k : *n;
  if (!check.matrix(6, "a", a, reads, "lda", lda, rows, columns) ||
      !check.matrix(8, "b", b, reads, "ldb", ldb, rows, columns) || !check.address(10, "beta", beta) ||
      !check.matrix(11, "c", c, *n != 0, "ldc", ldc, *n, *n) || *n == 0)
    return;
  update<T>(kind, 2, *uplo, *trans, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

} // namespace
} // namespace tnk::host

#define TNK_RANK_K(name, T, Scalar, hermitian, letters)                                                      \
  void tnk_blas_##name(const char *uplo, const char *trans, const tnk_int *n, const tnk_int *k,              \
                       const Scalar *alpha, const T *a, const tnk_int *lda, const Scalar *beta, T *c,        \
                       const tnk_int *ldc) {                                                                 \
    tnk::host::rank_k<T>({"tnk_blas_" #name, hermitian, letters}, uplo, trans, n, k, alpha, a, lda, beta, c, \
                         ldc);                                                                               \
  }
#define TNK_RANK_2K(name, T, Beta, hermitian, letters)                                                       \
  void tnk_blas_##name(const char *uplo, const char *trans, const tnk_int *n, const tnk_int *k,              \
                       const T *alpha, const T *a, const tnk_int *lda, const T *b, const tnk_int *ldb,       \
                       const Beta *beta, T *c, const tnk_int *ldc) {                                         \
    tnk::host::rank_2k<T>({"tnk_blas_" #name, hermitian, letters}, uplo, trans, n, k, alpha, a, lda, b, ldb, \
                          beta, c, ldc);                                                                     \
  }
TNK_RANK_K(ssyrk, float, float, false, "NTC")
TNK_RANK_K(dsyrk, double, double, false, "NTC")
TNK_RANK_K(csyrk, tnk_complex8, tnk_complex8, false, "NT")
TNK_RANK_K(zsyrk, tnk_complex16, tnk_complex16, false, "NT")
TNK_RANK_K(cherk, tnk_complex8, float, true, "NC")
TNK_RANK_K(zherk, tnk_complex16, double, true, "NC")
TNK_RANK_2K(ssyr2k, float, float, false, "NTC")
TNK_RANK_2K(dsyr2k, double, double, false, "NTC")
TNK_RANK_2K(csyr2k, tnk_complex8, tnk_complex8, false, "NT")
TNK_RANK_2K(zsyr2k, tnk_complex16, tnk_complex16, false, "NT")
TNK_RANK_2K(cher2k, tnk_complex8, float, true, "NC")
TNK_RANK_2K(zher2k, tnk_complex16, double, true, "NC")
#undef TNK_RANK_K
#undef TNK_RANK_2K
