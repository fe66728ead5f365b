// The loops over blocks of rows behind products.h.
#pragma once

#include "kernel/xblas/sums.h"

namespace tnk::xblas {

// What becomes of a sum, by alpha and beta. `zero` and `scale` read neither matrix nor vector, `zero` not even y.
enum class Update { zero, scale, sum, scaled_sum, both };
template <class T> inline Update update_by(T alpha, T beta) {
  if (is_zero(alpha)) return is_zero(beta) ? Update::zero : Update::scale;
  if (!is_zero(beta)) return Update::both;
  return is_one(alpha) ? Update::sum : Update::scaled_sum;
}

template <Path P, class T, class S>
inline void finish(T *y, S sum, Update kind, const Factors<P, T> &factors) {
  if (kind == Update::both)
    update(y, sum, factors);
  else if (kind == Update::scaled_sum)
    store_result(y, sum * factors.alpha);
  else
    store_result(y, sum);
}

// Without sums: zeros, or beta y, and that without pairs.
template <Path P, class T> void scale(tnk_int n, T beta, const Vector<T> &y) {
  constexpr Path plain = P == Path::single ? Path::single : Path::plain;
  const auto factor = operand_at<plain, Width::mixed>(&beta);
  for (tnk_int i = 0; i < n; ++i)
    if (is_zero(beta))
      *y.at(i) = T{};
    else
      store_result(y.at(i), operand_at<plain, Width::mixed>(y.at(i)) * factor);
}

template <Path P, class T, class A, class X>
void product(const Rows &matrix, T alpha, const A *a, const Vector<const X> &x, const Vector<const X> *tail,
             T beta, const Vector<T> &y, bool downwards) {
  const Update kind = update_by(alpha, beta);
  const tnk_int n = matrix.rows;
  if (kind == Update::zero || kind == Update::scale) return scale<P>(n, beta, y);
  const Factors<P, T> factors(alpha, beta);
  for (tnk_int done = 0; done < n; done += lanes) {
    const int count = static_cast<int>(std::min<tnk_int>(lanes, n - done));
    const tnk_int first = downwards ? n - done - count : done;
    auto sums = RowSums<P, A, X>(matrix, a, first, count, x).sums;
    if (tail) sums = sums + RowSums<P, A, X>(matrix, a, first, count, *tail).sums;
    for (int l = 0; l < count; ++l) finish(y.at(first + l), lane(sums, l), kind, factors);
  }
}

template <Path P, class T, class A, class X>
void sum_of_products(T alpha, const Rows &matrix_a, const A *a, T beta, const Rows &matrix_b, const A *b,
                     const Vector<const X> &x, const Vector<T> &y) {
  if (is_zero(beta)) return product<P, T, A, X>(matrix_a, alpha, a, x, nullptr, beta, y, false);
  if (is_zero(alpha)) return product<P, T, A, X>(matrix_b, beta, b, x, nullptr, alpha, y, false);
  const auto factor_a = operand_at<P, Width::mixed>(&alpha), factor_b = operand_at<P, Width::mixed>(&beta);
  for (tnk_int first = 0; first < matrix_a.rows; first += lanes) {
    const int count = static_cast<int>(std::min<tnk_int>(lanes, matrix_a.rows - first));
    const auto sums_a = RowSums<P, A, X>(matrix_a, a, first, count, x).sums,
               sums_b = RowSums<P, A, X>(matrix_b, b, first, count, x).sums;
    for (int l = 0; l < count; ++l)
      store_result(y.at(first + l), lane(sums_a, l) * factor_a + lane(sums_b, l) * factor_b);
  }
}

// For the result type T and the types of matrix and vector, on one path; on those that every result has.
#define TNK_XBLAS_LOOPS_OF(P, T, A, X)                                                                       \
  template void product<Path::P, T, A, X>(const Rows &, T, const A *, const Vector<const X> &,               \
                                          const Vector<const X> *, T, const Vector<T> &, bool);              \
  template void sum_of_products<Path::P, T, A, X>(T, const Rows &, const A *, T, const Rows &, const A *,    \
                                                  const Vector<const X> &, const Vector<T> &);
#define TNK_XBLAS_LOOPS(T, A, X) TNK_XBLAS_LOOPS_OF(plain, T, A, X) TNK_XBLAS_LOOPS_OF(extra, T, A, X)

} // namespace tnk::xblas
