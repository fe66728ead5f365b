// y := alpha op(A) x + beta y.
#include "kernel/blas/level2/gemv_kernels.h"
#include <tnk/blas_level2.h>

namespace tnk::level2 {
namespace {

// Columns, or with a strided y rows, for which the other vector is held on the stack.
constexpr tnk_int chunk = 128;

template <class T> void gather(tnk_int n, const T *x, tnk_int inc, T *to) {
  for (tnk_int i = 0; i < n; ++i) to[i] = x[i * inc];
}
template <class T> void scatter(tnk_int n, const T *from, T *y, tnk_int inc) {
  for (tnk_int i = 0; i < n; ++i) y[i * inc] = from[i];
}

// body(first, size) for pieces of at most `size` of n.
template <class Body> void in_chunks(tnk_int n, tnk_int size, Body body) {
  for (tnk_int i = 0; i < n; i += size) body(i, n - i < size ? n - i : size);
}

// run(y) on y where its stride is 1, else on a copy.
template <class T, class Run> void on_contiguous(tnk_int n, T *y, tnk_int incy, Run run) {
  if (incy == 1) return run(0, n, y);
  in_chunks(n, chunk, [&](tnk_int first, tnk_int size) {
    T copy[chunk];
    gather(size, y + first * incy, incy, copy);
    run(first, size, copy);
    scatter(size, copy, y + first * incy, incy);
  });
}

template <class T>
void kernel_route(Operation op, tnk_int m, tnk_int n, T alpha, const T *a, tnk_int lda, const T *x,
                  tnk_int incx, T *y, tnk_int incy) {
  // x by pieces: run(first, size, x) with a stride of 1.
  const auto on_x = [&](tnk_int length, auto run) {
    if (incx == 1) return run(0, length, x);
    in_chunks(length, chunk, [&](tnk_int first, tnk_int size) {
      T copy[chunk];
      gather(size, x + first * incx, incx, copy);
      run(first, size, copy);
    });
  };
  if (op == as_it_is) {
    on_contiguous(m, y, incy, [&](tnk_int row, tnk_int rows, T *some_y) {
      on_x(n, [&](tnk_int column, tnk_int columns, const T *some_x) {
        gemv_n(rows, columns, a + row + column * lda, lda, some_x, some_y, alpha);
      });
    });
  } else {
    on_contiguous(n, y, incy, [&](tnk_int column, tnk_int columns, T *some_y) {
      on_x(m, [&](tnk_int row, tnk_int rows, const T *some_x) {
        const T *const part = a + row + column * lda;
        if (op == transposed)
          gemv_t<transposed>(rows, columns, part, lda, some_x, some_y, alpha);
        else
          gemv_t<conjugate_transposed>(rows, columns, part, lda, some_x, some_y, alpha);
      });
    });
  }
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

// beta = 0 does not read y.
template <class T> void scale(tnk_int n, T beta, T *y, tnk_int incy) {
  tnk_int i = 0;
  const auto element = [&](tnk_int k) { put(y + k * incy, is_zero(beta) ? T{} : beta * get(y + k * incy)); };
  if (incy == 1) {
    for (; i + per_vector<T> <= n; i += per_vector<T>) {
      using V = vec_of<T>;
      storeu(y + i, is_zero(beta) ? V{} : scaled(beta, loadu<V>(y + i)));
    }
  } else {
    for (; i + 2 <= n; i += 2) element(i), element(i + 1);
  }
  for (; i < n; ++i) element(i);
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
#define INNER(name, T, ...)                                                                                  \
  void tnk_blas_##name(const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, const T *x, T *y, \
                       const T *alpha) {                                                                     \
    __VA_ARGS__(*m, *n, a, *lda, x, y, tnk::get(alpha));                                                     \
  }
INNER(sgemv_n_even, float, gemv_n)
INNER(sgemv_n_odd, float, gemv_n)
INNER(sgemv_t_even, float, gemv_t<transposed>)
INNER(sgemv_t_odd, float, gemv_t<transposed>)
INNER(dgemv_n_even, double, gemv_n)
INNER(dgemv_n_odd, double, gemv_n)
INNER(dgemv_t_even, double, gemv_t<transposed>)
INNER(dgemv_t_odd, double, gemv_t<transposed>)
INNER(cgemv_n_even, tnk_complex8, gemv_n)
INNER(cgemv_n_odd, tnk_complex8, gemv_n)
INNER(cgemv_t_even, tnk_complex8, gemv_t<transposed>)
INNER(cgemv_t_odd, tnk_complex8, gemv_t<transposed>)
INNER(cgemv_c_even, tnk_complex8, gemv_t<conjugate_transposed>)
INNER(cgemv_c_odd, tnk_complex8, gemv_t<conjugate_transposed>)
INNER(zgemv_n, tnk_complex16, gemv_n)
INNER(zgemv_t, tnk_complex16, gemv_t<transposed>)
INNER(zgemv_c, tnk_complex16, gemv_t<conjugate_transposed>)
