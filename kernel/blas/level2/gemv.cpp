// y := alpha op(A) x + beta y.
#include "kernel/blas/level2/gemv_kernels.h"
#include "kernel/blas/level2/vectors.h"
#include <tnk/blas_level2.h>

namespace tnk::level2 {
namespace {

template <class T>
void kernel_route(Operation op, tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x,
                  tnk_int incx, T *y, tnk_int incy) {
  const tnk_int of_x = op == as_it_is ? n : m, of_y = op == as_it_is ? m : n;
  on_contiguous(of_y, y, incy, [&](tnk_int first_y, tnk_int size_y, T *some_y) {
    on_contiguous(of_x, x, incx, [&](tnk_int first_x, tnk_int size_x, const T *some_x) {
      if (op == as_it_is)
        gemv_n(size_y, size_x, a + first_y + first_x * lda, lda, some_x, some_y, alpha);
      else
        gemv_t(op, size_x, size_y, a + first_x + first_y * lda, lda, some_x, some_y, alpha);
    });
  });
}

// Any addresses and increments: an axpy a column, or a dot product a column.
template <class T>
void plain_route(Operation op, tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x,
                 tnk_int incx, T *y, tnk_int incy) {
  for (tnk_int j = 0; j < n; ++j, a += lda) {
    if (op == as_it_is) {
      const T factor = alpha * get(x + j * incx);
      for (tnk_int i = 0; i < m; ++i) put(y + i * incy, get(y + i * incy) + factor * get(a + i));
    } else {
      T sum{};
      for (tnk_int i = 0; i < m; ++i) {
        const T element = get(a + i);
        sum += (op == transposed ? element : conjugate(element)) * get(x + i * incx);
      }
      put(y + j * incy, get(y + j * incy) + alpha * sum);
    }
  }
}

template <class T>
void gemv(const char *trans, tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x, tnk_int incx,
          T beta, T *y, tnk_int incy) {
  const Operation op = operation_of<T>(trans);
  // A dimension below 0 is no reason to return: its loops do not run, those of the other one do.
  if (m == 0 || n == 0) return;
  const tnk_int of_x = op == as_it_is ? n : m, of_y = op == as_it_is ? m : n;
  x = first_element(x, of_x, incx);
  y = first_element(y, of_y, incy);
  if (!is_one(beta)) scale(of_y, beta, y, incy);
  if (is_zero(alpha)) return;
  // With an increment of 0 the one element of y must see what was added to it before.
  if (is_element_aligned(a) && is_element_aligned(x) && is_element_aligned(y) && incy != 0)
    kernel_route(op, m, n, alpha, a, lda, x, incx, y, incy);
  else
    plain_route(op, m, n, alpha, a, lda, x, incx, y, incy);
}

} // namespace
} // namespace tnk::level2

using namespace tnk;
using namespace tnk::level2;

#define GEMV(t, T)                                                                                           \
  void tnk_blas_x##t##gemv(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha,            \
                           const T *a, const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta,   \
                           T *y, const tnk_int *incy) {                                                      \
    gemv(trans, *m, *n, tnk::get(alpha), a, *lda, x, *incx, tnk::get(beta), y, *incy);                       \
  }
GEMV(s, float)
GEMV(d, double)
GEMV(c, tnk_complex8)
GEMV(z, tnk_complex16)

// Vectors are loaded unaligned, which costs nothing where they are not: so one loop serves columns whose alignment
// alternates (odd) and columns that share it (even).
#define PLAIN(name, T)                                                                                       \
  void tnk_blas_##name(const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, const T *x, T *y, \
                       const T *alpha) {                                                                     \
    gemv_n(*m, *n, a, *lda, x, y, tnk::get(alpha));                                                          \
  }
#define TRANSPOSED(name, T, op)                                                                              \
  void tnk_blas_##name(const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, const T *x, T *y, \
                       const T *alpha) {                                                                     \
    gemv_t(op, *m, *n, a, *lda, x, y, tnk::get(alpha));                                                      \
  }
PLAIN(sgemv_n_even, float)
PLAIN(sgemv_n_odd, float)
PLAIN(dgemv_n_even, double)
PLAIN(dgemv_n_odd, double)
PLAIN(cgemv_n_even, tnk_complex8)
PLAIN(cgemv_n_odd, tnk_complex8)
PLAIN(zgemv_n, tnk_complex16)
TRANSPOSED(sgemv_t_even, float, transposed)
TRANSPOSED(sgemv_t_odd, float, transposed)
TRANSPOSED(dgemv_t_even, double, transposed)
TRANSPOSED(dgemv_t_odd, double, transposed)
TRANSPOSED(cgemv_t_even, tnk_complex8, transposed)
TRANSPOSED(cgemv_t_odd, tnk_complex8, transposed)
TRANSPOSED(cgemv_c_even, tnk_complex8, conjugate_transposed)
TRANSPOSED(cgemv_c_odd, tnk_complex8, conjugate_transposed)
TRANSPOSED(zgemv_t, tnk_complex16, transposed)
TRANSPOSED(zgemv_c, tnk_complex16, conjugate_transposed)
