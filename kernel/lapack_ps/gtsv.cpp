// A X = B for a general tridiagonal matrix, by elimination with interchanges of neighbouring rows.
#include "kernel/lapack_ps/tridiagonal.h"
#include <cmath>
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

// Eliminates below the diagonal. The second diagonal above, which interchanges bring forth, takes the place of dl.
// without(i, fact) and with(i, fact) do to the right-hand sides what row i and the one below went through, without and
// with an interchange. The one-based row of a zero pivot, 0 if there is none.
template <class T, class Without, class With>
tnk_int eliminate(tnk_int n, T *dl, T *d, T *du, Without without, With with) {
  T pivot = get(d);
  for (tnk_int i = 0; i + 1 < n; ++i) {
    const T below = get(dl + i), next = get(d + i + 1);
    const bool last = i + 2 == n;
    // A NaN compares as false and is interchanged.
    if (std::fabs(pivot) >= std::fabs(below)) {
      if (pivot == 0) return i + 1;
      const T fact = below / pivot;
      pivot = next - fact * get(du + i);
      without(i, fact);
      if (!last) put(dl + i, T(0));
    } else {
      const T fact = pivot / below;
      put(d + i, below);
      pivot = get(du + i) - fact * next;
      put(du + i, next);
      with(i, fact);
      if (!last) {
        const T second = get(du + i + 1);
        put(dl + i, second);
        put(du + i + 1, 0 - fact * second);
      }
    }
    put(d + i + 1, pivot);
  }
  return pivot == 0 ? n : 0;
}

template <class T> void solve(tnk_int n, tnk_int nrhs, T *dl, T *d, T *du, T *b, tnk_int ldb, tnk_int *info) {
  if (n < 1) return;
  tnk_int zero_pivot;
  if (nrhs == 1) {
    T kept = get(b);
    zero_pivot = eliminate(
        n, dl, d, du,
        [&](tnk_int i, T fact) {
          kept = get(b + i + 1) - fact * kept;
          put(b + i + 1, kept);
        },
        [&](tnk_int i, T fact) {
          const T next = get(b + i + 1);
          put(b + i, next);
          kept = kept - fact * next;
          put(b + i + 1, kept);
        });
  } else {
    zero_pivot = eliminate(
        n, dl, d, du,
        [&](tnk_int i, T fact) {
          T *row = b + i;
          for (tnk_int j = 0; j < nrhs; ++j, row += ldb) put(row + 1, get(row + 1) - fact * get(row));
        },
        [&](tnk_int i, T fact) {
          T *row = b + i;
          for (tnk_int j = 0; j < nrhs; ++j, row += ldb) {
            const T kept = get(row), next = get(row + 1);
            put(row, next);
            put(row + 1, kept - fact * next);
          }
        });
  }
  if (zero_pivot > 0)
    *info = zero_pivot;
  else
    in_groups(nrhs, b, ldb, [&](auto columns) { solve_upper(n, d, du, dl, columns); });
}

} // namespace
} // namespace tnk::lapack

#define ENTRY(t, T)                                                                                          \
  void tnk_lapack_ps_##t##gtsv_small(const tnk_int *n, const tnk_int *nrhs, T *dl, T *d, T *du, T *b,        \
                                     const tnk_int *ldb, tnk_int *info) {                                    \
    tnk::lapack::solve(*n, *nrhs, dl, d, du, b, *ldb, info);                                                 \
  }
ENTRY(s, float)
ENTRY(d, double)
