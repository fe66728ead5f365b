// y := alpha op(A) x + beta y with a real A and complex vectors: a product with the real parts and one with the
// imaginary parts.
#include "kernel/blas/level2/vectors.h"
#include <tnk/blas_level2.h>
#include <tnk/services.h>

namespace tnk::level2 {
namespace {

// Parts: the real parts of n numbers side by side, then their imaginary parts.

template <class T> void split(tnk_int n, const T *y, tnk_int incy, real_of<T> *parts) {
  y = first_element(y, n, incy);
  for (tnk_int i = 0; i < n; ++i) {
    const T number = get(y + i * incy);
    put(parts + i, number.re), put(parts + n + i, number.im);
  }
}
template <class T> void split_scaled(tnk_int n, T alpha, const T *x, tnk_int incx, real_of<T> *parts) {
  x = first_element(x, n, incx);
  for (tnk_int i = 0; i < n; ++i) {
    const T number = alpha * get(x + i * incx);
    put(parts + i, number.re), put(parts + n + i, number.im);
  }
}
template <class T> void merge(tnk_int n, const real_of<T> *parts, T *y, tnk_int incy) {
  y = first_element(y, n, incy);
  for (tnk_int i = 0; i < n; ++i) put(y + i * incy, T{get(parts + i), get(parts + n + i)});
}

template <class T> void apply(tnk_int n, T beta, T *y, tnk_int incy) {
  if (is_one(beta)) return;
  if (is_zero(beta))
    scale(n, beta, first_element(y, n, incy), incy);
  else
    scal(n, beta, y, incy);
}

bool is_plain(const char *trans) {
  return *trans == 'N' || *trans == 'n';
}

// Any dimensions and addresses: what a column adds, or what it is summed to.
template <class T, class R = real_of<T>>
void direct(const char *trans, tnk_int m, tnk_int n, T alpha, const R *a, tnk_int lda, const T *x,
            tnk_int incx, T beta, T *y, tnk_int incy) {
  const bool plain = is_plain(trans);
  const tnk_int of_x = plain ? n : m, of_y = plain ? m : n;
  apply(of_y, beta, y, incy);
  x = first_element(x, of_x, incx), y = first_element(y, of_y, incy);
  const auto add = [&](tnk_int i, T number) { put(y + i * incy, get(y + i * incy) + number); };
  for (tnk_int j = 0; j < n; ++j, a += lda) {
    if (plain) {
      const T factor = alpha * get(x + j * incx);
      for (tnk_int i = 0; i < m; ++i) add(i, get(a + i) * factor);
    } else {
      T sum{};
      for (tnk_int i = 0; i < m; ++i) sum += get(a + i) * get(x + i * incx);
      add(j, alpha * sum);
    }
  }
}

void multiply(const char *trans, tnk_int m, tnk_int n, const float *a, tnk_int lda, const float *x,
              float *y) {
  constexpr float one = 1;
  constexpr tnk_int adjacent = 1;
  tnk_blas_xsgemv(trans, &m, &n, &one, a, &lda, x, &adjacent, &one, y, &adjacent);
}
void multiply(const char *trans, tnk_int m, tnk_int n, const double *a, tnk_int lda, const double *x,
              double *y) {
  constexpr double one = 1;
  constexpr tnk_int adjacent = 1;
  tnk_blas_xdgemv(trans, &m, &n, &one, a, &lda, x, &adjacent, &one, y, &adjacent);
}

template <class T, class R = real_of<T>>
void mixed_gemv(const char *trans, tnk_int m, tnk_int n, T alpha, const R *a, tnk_int lda, const T *x,
                tnk_int incx, T beta, T *y, tnk_int incy) {
  if (m == 0 || n == 0 || (is_one(beta) && is_zero(alpha))) return;
  const bool plain = is_plain(trans);
  const tnk_int of_x = plain ? n : m, of_y = plain ? m : n;
  apply(of_y, beta, y, incy);
  if (is_zero(alpha)) return;
  if (m <= 3 || n <= 3) return direct(trans, m, n, alpha, a, lda, x, incx, one<T>, y, incy);
  // Not looked at: without memory this is written to address 0.
  const auto parts_of = [](tnk_int length) {
    return static_cast<R *>(tnk_serv_allocate(static_cast<tnk_int>(sizeof(T)) * length, 128));
  };
  R *const parts_of_x = parts_of(of_x), *const parts_of_y = parts_of(of_y);
  split(of_y, y, incy, parts_of_y);
  split_scaled(of_x, alpha, x, incx, parts_of_x);
  multiply(trans, m, n, a, lda, parts_of_x, parts_of_y);
  multiply(trans, m, n, a, lda, parts_of_x + of_x, parts_of_y + of_y);
  merge(of_y, parts_of_y, y, incy);
  tnk_serv_deallocate(parts_of_x);
  tnk_serv_deallocate(parts_of_y);
}

} // namespace
} // namespace tnk::level2

using namespace tnk;
using namespace tnk::level2;

#define MIXED(name, R, T)                                                                                    \
  void tnk_blas_##name(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const R *a,    \
                       const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y,             \
                       const tnk_int *incy) {                                                                \
    mixed_gemv(trans, *m, *n, tnk::get(alpha), a, *lda, x, *incx, tnk::get(beta), y, *incy);                 \
  }                                                                                                          \
  void tnk_blas_##name##_pst(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha,          \
                             const R *a, const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, \
                             T *y, const tnk_int *incy) {                                                    \
    direct(trans, *m, *n, tnk::get(alpha), a, *lda, x, *incx, tnk::get(beta), y, *incy);                     \
  }                                                                                                          \
  void tnk_blas_##name##_copyx(const tnk_int *n, const T *alpha, const T *x, const tnk_int *incx,            \
                               R *parts) {                                                                   \
    split_scaled(*n, tnk::get(alpha), x, *incx, parts);                                                      \
  }                                                                                                          \
  void tnk_blas_##name##_copyy_fwd(const tnk_int *n, const T *y, const tnk_int *incy, R *parts) {            \
    split(*n, y, *incy, parts);                                                                              \
  }                                                                                                          \
  void tnk_blas_##name##_copyy_bwd(const tnk_int *n, const R *parts, T *y, const tnk_int *incy) {            \
    merge(*n, parts, y, *incy);                                                                              \
  }
MIXED(scgemv, float, tnk_complex8)
MIXED(dzgemv, double, tnk_complex16)
