// op(A) X = B with the factors of a tridiagonal matrix: A = L U with interchanges of neighbouring rows.
#include "kernel/lapack_ps/tridiagonal.h"
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

// L y = b. Row i of the elimination took row i or, interchanged, row i + 1; what is left of the two goes on.
template <class T, class B> void solve_lower(tnk_int n, const T *dl, const tnk_int *ipiv, B b) {
  auto kept = b.get(0);
  for (tnk_int i = 0; i + 1 < n; ++i) {
    const auto next = b.get(i + 1);
    if (ipiv[i] == i + 1) {
      b.put(i, kept);
      kept = next - get(dl + i) * kept;
    } else {
      b.put(i, next);
      kept = kept - get(dl + i) * next;
    }
  }
  b.put(n - 1, kept);
}

// op(U) y = b for a transpose, `op` of the elements: themselves or their conjugates.
template <class T, class B, class Op>
void solve_upper_transposed(tnk_int n, const T *d, const T *du, const T *du2, B b, Op op) {
  auto above = b.get(0) / Divisor<T>(op(d));
  b.put(0, above);
  if (n < 2) return;
  auto y = (b.get(1) - op(du) * above) / Divisor<T>(op(d + 1));
  b.put(1, y);
  for (tnk_int i = 2; i < n; ++i) {
    const auto next = (b.get(i) - op(du + i - 1) * y - op(du2 + i - 2) * above) / Divisor<T>(op(d + i));
    b.put(i, next);
    above = y;
    y = next;
  }
}
template <class T, class B, class Op>
void solve_lower_transposed(tnk_int n, const T *dl, const tnk_int *ipiv, B b, Op op) {
  auto kept = b.get(n - 1);
  for (tnk_int i = n - 2; i >= 0; --i) {
    const auto x = b.get(i) - op(dl + i) * kept;
    if (ipiv[i] == i + 1) {
      b.put(i + 1, kept);
      kept = x;
    } else {
      b.put(i + 1, x);
    }
  }
  b.put(0, kept);
}

enum Form : tnk_int { plain, transposed, conjugate_transposed };

template <class T>
void solve(tnk_int form, tnk_int n, tnk_int nrhs, const T *dl, const T *d, const T *du, const T *du2,
           const tnk_int *ipiv, T *b, tnk_int ldb) {
  if (n < 1) return;
  in_groups(nrhs, b, ldb, [&](auto columns) {
    const auto as_transpose = [&](auto op) {
      solve_upper_transposed(n, d, du, du2, columns, op);
      solve_lower_transposed(n, dl, ipiv, columns, op);
    };
    if (form == plain) {
      solve_lower(n, dl, ipiv, columns);
      solve_upper(n, d, du, du2, columns);
    } else if (form == transposed || !is_complex<T>) {
      as_transpose([](const T *p) { return get(p); });
    } else {
      as_transpose([](const T *p) { return conjugate(get(p)); });
    }
  });
}

} // namespace
} // namespace tnk::lapack

#define ENTRY(t, T)                                                                                          \
  void tnk_lapack_ps_##t##gtts2(const tnk_int *itrans, const tnk_int *n, const tnk_int *nrhs, const T *dl,   \
                                const T *d, const T *du, const T *du2, const tnk_int *ipiv, T *b,            \
                                const tnk_int *ldb) {                                                        \
    tnk::lapack::solve(*itrans, *n, *nrhs, dl, d, du, du2, ipiv, b, *ldb);                                   \
  }
ENTRY(s, float)
ENTRY(d, double)
ENTRY(c, tnk_complex8)
ENTRY(z, tnk_complex16)
