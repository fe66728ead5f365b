// The vectors of a matrix-vector kernel: scaled, and where their elements are apart, brought side by side on the stack.
#pragma once

#include "kernel/frame/vector.h"
#include <tnk/blas_level1.h>

namespace tnk::level2 {

// ---- Pieces -------------------------------------------------------------------------------------------------------

// Elements that a copy on the stack has room for. Columns are cut by it, so it is a multiple of four.
constexpr tnk_int chunk = 128;

// body(first, size) for pieces of at most `chunk` of n.
template <class Body> void in_chunks(tnk_int n, Body body) {
  for (tnk_int i = 0; i < n; i += chunk) body(i, std::min(n - i, chunk));
}

// run(first, size, x) with all of x where its increment is 1, else with copies of pieces. x begins with its logical
// element 0, whatever the sign of incx.
template <class T, class Run> void on_contiguous(tnk_int n, const T *x, tnk_int incx, Run run) {
  if (incx == 1) return run(0, n, x);
  in_chunks(n, [&](tnk_int first, tnk_int size) {
    T copy[chunk];
    for (tnk_int i = 0; i < size; ++i) copy[i] = get(x + (first + i) * incx);
    run(first, size, static_cast<const T *>(copy));
  });
}
// The same for a vector that is written as well.
template <class T, class Run> void on_contiguous(tnk_int n, T *y, tnk_int incy, Run run) {
  if (incy == 1) return run(0, n, y);
  in_chunks(n, [&](tnk_int first, tnk_int size) {
    T copy[chunk];
    for (tnk_int i = 0; i < size; ++i) copy[i] = y[(first + i) * incy];
    run(first, size, copy);
    for (tnk_int i = 0; i < size; ++i) y[(first + i) * incy] = copy[i];
  });
}

// ---- Scaling ------------------------------------------------------------------------------------------------------

// y := beta y from logical element 0 on; beta = 0 does not read y.
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

// The vector kernel: it multiplies by zero as well, and takes the base of x, not its logical element 0.
template <class T> void scal(tnk_int n, T alpha, T *x, tnk_int incx) {
  if constexpr (std::is_same_v<T, float>)
    tnk_blas_sscal(&n, &alpha, x, &incx);
  else if constexpr (std::is_same_v<T, double>)
    tnk_blas_dscal(&n, &alpha, x, &incx);
  else if constexpr (std::is_same_v<T, tnk_complex8>)
    tnk_blas_cscal(&n, &alpha, x, &incx);
  else
    tnk_blas_zscal(&n, &alpha, x, &incx);
}

} // namespace tnk::level2
