// A X = B with the factors of a positive definite tridiagonal matrix: A = L D L^H, D real.
#include "kernel/lapack_ps/groups.h"
#include <tnk/blas_level1.h>
#include <tnk/lapack_ps.h>
#include <tnk/services.h>

namespace tnk::lapack {
namespace {

void scale(const tnk_int *n, const float *by, float *x, const tnk_int *incx) {
  tnk_blas_sscal(n, by, x, incx);
}
void scale(const tnk_int *n, const double *by, double *x, const tnk_int *incx) {
  tnk_blas_dscal(n, by, x, incx);
}
void scale(const tnk_int *n, const float *by, tnk_complex8 *x, const tnk_int *incx) {
  tnk_blas_csscal(n, by, x, incx);
}
void scale(const tnk_int *n, const double *by, tnk_complex16 *x, const tnk_int *incx) {
  tnk_blas_zdscal(n, by, x, incx);
}

// L y = b into `y`, then D L^H x = y back into b. y may be b.
template <class T, class B, class Y> void substitute(tnk_int n, const real_of<T> *d, const T *e, B b, Y y) {
  auto row = b.get(0);
  y.put(0, row);
  for (tnk_int i = 1; i < n; ++i) {
    row = b.get(i) - get(e + i - 1) * row;
    y.put(i, row);
  }
  row = row.over(get(d + n - 1));
  b.put(n - 1, row);
  for (tnk_int i = n - 2; i >= 0; --i) {
    row = y.get(i).over(get(d + i)) - conjugate(get(e + i)) * row;
    b.put(i, row);
  }
}

// Rows of a group one behind the other, in scratch memory.
template <class Row> struct Buffer {
  Row *rows;
  const Row &get(tnk_int i) const { return rows[i]; }
  void put(tnk_int i, const Row &row) const { rows[i] = row; }
};

template <class T>
void solve(tnk_int n, tnk_int nrhs, const real_of<T> *d, const T *e, T *b, const tnk_int *ldb) {
  if (n < 1) return;
  if (n == 1) {
    const real_of<T> reciprocal = 1 / get(d);
    scale(&nrhs, &reciprocal, b, ldb);
    return;
  }
  // Between the two sweeps rows wait where they lie together; without memory for that they go through b. A size past
  // all memory cannot be had.
  constexpr tnk_int row_bytes = (is_complex<T> ? 4 : 8) * static_cast<tnk_int>(sizeof(T));
  void *const buffer =
      nrhs < 4 || n > INT64_MAX / row_bytes ? nullptr : tnk_serv_allocate(n * row_bytes, 128);
  in_groups(nrhs, b, *ldb, [&](auto columns) {
    using Row = typename decltype(columns)::Row;
    if (buffer && Row::width > 1)
      substitute<T>(n, d, e, columns, Buffer<Row>{static_cast<Row *>(buffer)});
    else
      substitute<T>(n, d, e, columns, columns);
  });
  if (buffer) tnk_serv_deallocate(buffer);
}

} // namespace
} // namespace tnk::lapack

#define ENTRY(t, T, R)                                                                                       \
  void tnk_lapack_ps_##t##ptts2(const tnk_int *n, const tnk_int *nrhs, const R *d, const T *e, T *b,         \
                                const tnk_int *ldb) {                                                        \
    tnk::lapack::solve(*n, *nrhs, d, e, b, ldb);                                                             \
  }
ENTRY(s, float, float)
ENTRY(d, double, double)
ENTRY(c, tnk_complex8, float)
ENTRY(z, tnk_complex16, double)
