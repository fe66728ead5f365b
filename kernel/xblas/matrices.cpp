// Products of matrices, a product with a vector for each column of the result, or for each row.
#include "kernel/xblas/calls.h"

namespace tnk::xblas {
namespace {

template <class T, class A, class B>
void gemm(const char *routine, int32_t prec, int32_t order, int32_t transa, int32_t transb, tnk_int m,
          tnk_int n, tnk_int k, factor<T> alpha, const A *a, tnk_int lda, const B *b, tnk_int ldb,
          factor<T> beta, T *c, tnk_int ldc) {
  if (!is_precision(prec)) return;
  const bool as_it_is_a = transa == TNK_XBLAS_NO_TRANS, as_it_is_b = transb == TNK_XBLAS_NO_TRANS;
  const Reports reports(routine);
  reports.size(4, m);
  reports.size(5, n);
  reports.size(6, k);
  reports.leading(9, lda, order, as_it_is_a ? k : m, as_it_is_a ? m : k);
  reports.leading(11, ldb, order, as_it_is_b ? n : k, as_it_is_b ? k : n);
  reports.leading(14, ldc, order, n, m);
  const tnk_int rows = as_it_is_a ? m : k, columns = as_it_is_a ? k : m;
  const Rows matrix = under(transa, general(rows, columns, rows, columns, full_places(order, lda)));
  const Places stored = full_places(order, ldb), of_b = as_it_is_b ? stored : transposed(stored);
  const Places of_c = full_places(order, ldc);
  by_path<T>(prec, [&](auto path) {
    for (tnk_int j = 0; j < n; ++j)
      product<path, T, A, B>(matrix, value_of(alpha), a,
                             {b + of_b.of(0, j), of_b.by_row, transb == TNK_XBLAS_CONJ_TRANS}, nullptr,
                             value_of(beta), {c + of_c.of(0, j), of_c.by_row});
  });
}

template <class T, class A, class B>
void symmetric_times(const char *routine, int32_t prec, int32_t order, int32_t side, int32_t uplo, tnk_int m,
                     tnk_int n, factor<T> alpha, const A *a, tnk_int lda, const B *b, tnk_int ldb,
                     factor<T> beta, T *c, tnk_int ldc, bool hermitian) {
  if (!is_precision(prec)) return;
  const bool left = side == TNK_XBLAS_LEFT;
  const tnk_int size = left ? m : n, others = left ? n : m;
  const Reports reports(routine);
  reports.size(4, m);
  reports.size(5, n);
  reports.leading(8, lda, order, size, size);
  reports.leading(10, ldb, order, n, m);
  reports.leading(13, ldc, order, n, m);
  // On the right, C^T := alpha A^T B^T + beta C^T.
  const Rows stored = symmetric(size, size, is_upper(uplo), full_places(order, lda), hermitian);
  const Rows matrix = left ? stored : transposed(stored);
  const Places of_b = left ? full_places(order, ldb) : transposed(full_places(order, ldb));
  const Places of_c = left ? full_places(order, ldc) : transposed(full_places(order, ldc));
  by_path<T>(prec, [&](auto path) {
    for (tnk_int j = 0; j < others; ++j)
      product<path, T, A, B>(matrix, value_of(alpha), a, {b + of_b.of(0, j), of_b.by_row}, nullptr,
                             value_of(beta), {c + of_c.of(0, j), of_c.by_row});
  });
}

template <class T, class A, class B, class... Arguments> void symm(Arguments... arguments) {
  symmetric_times<T, A, B>(arguments..., false);
}
template <class T, class A, class B, class... Arguments> void hemm(Arguments... arguments) {
  symmetric_times<T, A, B>(arguments..., true);
}

} // namespace
} // namespace tnk::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, gemm)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_ENTRY, symm)
TNK_XBLAS_EACH_HERMITIAN(TNK_XBLAS_ENTRY, hemm)
