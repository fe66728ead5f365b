// Public extended-precision products of matrices, cut by rows of the result or by its columns.
#include "host/routines/xblas/calls.h"

namespace tnk::host::xblas {
namespace {

struct Lines {
  tnk_int line, lines; // elements side by side, and how many such lines there are
};
// A matrix of m by n as it is stored, which is op(B) of that shape.
Lines stored(int32_t order, int32_t trans, tnk_int m, tnk_int n) {
  return by_columns(order) == (trans == TNK_XBLAS_NO_TRANS) ? Lines{m, n} : Lines{n, m};
}
// From a matrix to its rows (or columns) from `first` on.
template <class M> M *from_row(M *matrix, int32_t order, int32_t trans, tnk_int ld, tnk_int first) {
  return matrix + first * (by_columns(order) == (trans == TNK_XBLAS_NO_TRANS) ? 1 : ld);
}
template <class M> M *from_column(M *matrix, int32_t order, int32_t trans, tnk_int ld, tnk_int first) {
  return matrix + first * (by_columns(order) == (trans == TNK_XBLAS_NO_TRANS) ? ld : 1);
}

template <class T, class A, class B, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void
careful_gemm(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t transa, int32_t transb,
             tnk_int m, tnk_int n, tnk_int k, F alpha, const A *a, tnk_int lda, const B *b, tnk_int ldb,
             F beta, T *c, tnk_int ldc, Prec... prec) {
  constexpr int32_t plain = TNK_XBLAS_NO_TRANS;
  const bool some = m > 0 && n > 0, touched = some && k > 0 && !is_nothing(alpha);
  const Lines of_a = stored(order, transa, m, k), of_b = stored(order, transb, k, n),
              of_c = stored(order, plain, m, n);
  Arguments check(routine);
  if (!check.order(order) || !check.trans(transa, "transa") || !check.trans(transb, "transb") ||
      !check.size("m", m) || !check.size("n", n) || !check.size("k", k) || !check.factor("alpha", alpha) ||
      !check.matrix("a", a, touched, "lda", lda, of_a.line, of_a.lines) ||
      !check.matrix("b", b, touched, "ldb", ldb, of_b.line, of_b.lines) || !check.factor("beta", beta) ||
      !check.matrix("c", c, some, "ldc", ldc, of_c.line, of_c.lines) || !check.prec(prec...))
    return;
  Kernel *const run = kernel.get(routine);
  if (!run || !some) return;
  const double work = touched ? product_of(m, n, static_cast<double>(k) * operations<T, A, B>(prec...)) : 0;
  if (m >= n)
    in_parts(m, 4, work, [&](tnk_int first, tnk_int count) {
      run(order, transa, transb, count, n, k, alpha, touched ? from_row(a, order, transa, lda, first) : a,
          lda, b, ldb, beta, from_row(c, order, plain, ldc, first), ldc, prec...);
    });
  else
    in_parts(n, 1, work, [&](tnk_int first, tnk_int count) {
      run(order, transa, transb, m, count, k, alpha, a, lda,
          touched ? from_column(b, order, transb, ldb, first) : b, ldb, beta,
          from_column(c, order, plain, ldc, first), ldc, prec...);
    });
}

template <class T, class A, class B, class Kernel, class F, class... Prec>
void gemm(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t transa, int32_t transb,
          tnk_int m, tnk_int n, tnk_int k, F alpha, const A *a, tnk_int lda, const B *b, tnk_int ldb, F beta,
          T *c, tnk_int ldc, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_trans(transa) && is_trans(transb) && is_small<T, A, B>(m, n, k) &&
      is_stride(lda, stored(order, transa, m, k).line) && is_stride(ldb, stored(order, transb, k, n).line) &&
      is_stride(ldc, by_columns(order) ? m : n) && all_given(a, b, c) && is_given(alpha) && is_given(beta) &&
      is_precision(prec...))
    return run(order, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, prec...);
  careful_gemm<T, A, B>(routine, kernel, order, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc,
                        prec...);
}

template <class T, class A, class B, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_symm(const char *routine, KernelEntry<Kernel> &kernel,
                                               int32_t order, int32_t side, int32_t uplo, tnk_int m,
                                               tnk_int n, F alpha, const A *a, tnk_int lda, const B *b,
                                               tnk_int ldb, F beta, T *c, tnk_int ldc, Prec... prec) {
  constexpr int32_t plain = TNK_XBLAS_NO_TRANS;
  const bool left = side == TNK_XBLAS_LEFT, some = m > 0 && n > 0, touched = some && !is_nothing(alpha);
  const tnk_int size = left ? m : n;
  const Lines both = stored(order, plain, m, n);
  Arguments check(routine);
  if (!check.order(order) || !check.side(side) || !check.uplo(uplo) || !check.size("m", m) ||
      !check.size("n", n) || !check.factor("alpha", alpha) ||
      !check.matrix("a", a, touched, "lda", lda, size, size) ||
      !check.matrix("b", b, touched, "ldb", ldb, both.line, both.lines) || !check.factor("beta", beta) ||
      !check.matrix("c", c, some, "ldc", ldc, both.line, both.lines) || !check.prec(prec...))
    return;
  Kernel *const run = kernel.get(routine);
  if (!run || !some) return;
  const double work =
      touched ? product_of(m, n, static_cast<double>(size) * operations<T, A, B>(prec...)) : 0;
  in_parts(left ? n : m, 1, work, [&](tnk_int first, tnk_int count) {
    const auto part = [&](auto *matrix, tnk_int ld) {
      return left ? from_column(matrix, order, plain, ld, first) : from_row(matrix, order, plain, ld, first);
    };
    run(order, side, uplo, left ? m : count, left ? count : n, alpha, a, lda, touched ? part(b, ldb) : b, ldb,
        beta, part(c, ldc), ldc, prec...);
  });
}

template <class T, class A, class B, class Kernel, class F, class... Prec>
void symm(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t side, int32_t uplo,
          tnk_int m, tnk_int n, F alpha, const A *a, tnk_int lda, const B *b, tnk_int ldb, F beta, T *c,
          tnk_int ldc, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && (side == TNK_XBLAS_LEFT || side == TNK_XBLAS_RIGHT) && is_uplo(uplo) &&
      is_small<T, A, B>(m, n, side == TNK_XBLAS_LEFT ? m : n) &&
      is_stride(lda, side == TNK_XBLAS_LEFT ? m : n) && is_stride(ldb, by_columns(order) ? m : n) &&
      is_stride(ldc, by_columns(order) ? m : n) && all_given(a, b, c) && is_given(alpha) && is_given(beta) &&
      is_precision(prec...))
    return run(order, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, prec...);
  careful_symm<T, A, B>(routine, kernel, order, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc,
                        prec...);
}

// A Hermitian matrix is given like a symmetric one.
template <class T, class A, class B, class Kernel, class... Values>
void hemm(const char *routine, KernelEntry<Kernel> &kernel, Values... values) {
  symm<T, A, B>(routine, kernel, values...);
}

} // namespace
} // namespace tnk::host::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, gemm)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, symm)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_PUBLIC, hemm)
