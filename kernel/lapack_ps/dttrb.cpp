// Diagonally dominant tridiagonal matrices, factored from both ends at once without pivoting: two chains of dependent
// steps, each half as long.
//
// With half = (n - 1) / 2 the ends meet at row n - half - 1. Above it the factors are those of elimination downwards,
// below it those of elimination upwards:
//
//   rows from the top      d: reciprocal pivots    dl: row below minus dl times this row      du: as it was
//   rows from the bottom   d: reciprocal pivots    dl: divided by the pivot of the row below  du: as it was
#include "kernel/lapack_ps/groups.h"
#include <tnk/lapack_ps.h>

namespace tnk::lapack {
namespace {

template <class T> bool is_usable(T pivot) {
  const auto magnitude = abs1(pivot);
  return magnitude == magnitude && !is_zero(pivot);
}
template <class T> T reciprocal(T pivot) {
  if constexpr (is_complex<T>) {
    const Divisor<T> by(pivot);
    return {by.re / by.denominator, -by.im / by.denominator};
  } else {
    return 1 / pivot;
  }
}

// The factors and, WithB, what the inward sweep makes of b. The position of a pivot that is zero or a NaN, from 1; 0 if
// there is none.
template <bool WithB, class T> tnk_int factor(tnk_int n, T *dl, T *d, T *du, [[maybe_unused]] T *b) {
  const tnk_int half = (n - 1) / 2;
  // The next pivot from the top is carried on, for the chain through it is what takes the time. In an odd order the last
  // step from the bottom changes what the last step from the top has just stored.
  const auto from_top = [&](tnk_int k, T pivot) {
    const T inverse = reciprocal(pivot), l = inverse * get(dl + k);
    const T next = get(d + k + 1) - l * get(du + k);
    put(d + k, inverse);
    put(dl + k, l);
    put(d + k + 1, next);
    if constexpr (WithB) put(b + k + 1, get(b + k + 1) - l * get(b + k));
    return next;
  };
  const auto from_bottom = [&](tnk_int i, T pivot) { // row i, the one above it is next
    const T inverse = reciprocal(pivot), u = inverse * get(dl + i - 1);
    const T next = get(d + i - 1) - u * get(du + i - 1);
    put(d + i, inverse);
    put(dl + i - 1, u);
    put(d + i - 1, next);
    if constexpr (WithB) {
      const T done = inverse * get(b + i);
      put(b + i, done);
      put(b + i - 1, get(b + i - 1) - get(du + i - 1) * done);
    }
    return next;
  };
  T top = get(d), bottom = get(d + n - 1);
  for (tnk_int k = 0; k < half; ++k) {
    if (!is_usable(top)) return k + 1;
    top = from_top(k, top);
    if (!is_usable(bottom)) return n - k;
    bottom = from_bottom(n - 1 - k, bottom);
  }
  if (n > 2 * half + 1) {
    if (!is_usable(top)) return half + 1;
    from_top(half, top);
  }
  const tnk_int meeting = n - half - 1;
  const T last = get(d + meeting);
  if (!is_usable(last)) return n - half;
  put(d + meeting, reciprocal(last));
  return 0;
}

// From the meeting row outwards, the second half of a solve with A.
template <class T, class B> void outwards(tnk_int n, const T *dl, const T *d, const T *du, B b) {
  const tnk_int half = (n - 1) / 2, meeting = n - half - 1;
  auto up = get(d + meeting) * b.get(meeting), down = up;
  b.put(meeting, up);
  const auto step_up = [&](tnk_int k) {
    up = get(d + k) * (b.get(k) - get(du + k) * up);
    b.put(k, up);
  };
  for (tnk_int j = 1; j <= half; ++j) {
    step_up(meeting - j);
    down = b.get(meeting + j) - get(dl + meeting + j - 1) * down;
    b.put(meeting + j, down);
  }
  if (meeting > half) step_up(0);
}

template <class T, class B> void solve(tnk_int n, const T *dl, const T *d, const T *du, B b) {
  const tnk_int half = (n - 1) / 2, meeting = n - half - 1;
  auto top = b.get(0), bottom = b.get(n - 1);
  for (tnk_int k = 0; k < half; ++k) {
    const tnk_int i = n - 1 - k;
    top = b.get(k + 1) - get(dl + k) * top;
    b.put(k + 1, top);
    const auto done = get(d + i) * bottom;
    b.put(i, done);
    bottom = b.get(i - 1) - get(du + i - 1) * done; // in an odd order the last of these reads the last `top`
    b.put(i - 1, bottom);
  }
  if (meeting > half) b.put(meeting, b.get(meeting) - get(dl + half) * top);
  outwards(n, dl, d, du, b);
}

// With the transposed factors, `op` of the elements: themselves or their conjugates. The sweep inwards now divides from
// the top and the one outwards from the bottom.
template <class T, class B, class Op>
void solve_transposed(tnk_int n, const T *dl, const T *d, const T *du, B b, Op op) {
  const tnk_int half = (n - 1) / 2, meeting = n - half - 1;
  auto top = b.get(0), bottom = b.get(n - 1);
  for (tnk_int k = 0; k < half; ++k) {
    const tnk_int i = n - 1 - k;
    const auto done = op(d + k) * top;
    b.put(k, done);
    top = b.get(k + 1) - op(du + k) * done;
    b.put(k + 1, top);
    bottom = b.get(i - 1) - op(dl + i - 1) * bottom;
    b.put(i - 1, bottom);
  }
  if (meeting > half) {
    const auto done = op(d + half) * top;
    b.put(half, done);
    b.put(meeting, b.get(meeting) - op(du + half) * done);
  }
  auto up = op(d + meeting) * b.get(meeting), down = up;
  b.put(meeting, up);
  for (tnk_int k = meeting - 1; k >= 0; --k) {
    up = b.get(k) - op(dl + k) * up;
    b.put(k, up);
    const tnk_int i = 2 * meeting - k;
    if (i >= n) continue;
    down = op(d + i) * (b.get(i) - op(du + i - 1) * down);
    b.put(i, down);
  }
}

template <class T>
void solve_all(Operation op, tnk_int n, tnk_int nrhs, const T *dl, const T *d, const T *du, T *b,
               tnk_int ldb) {
  if (n < 1) return;
  in_groups(nrhs, b, ldb, [&](auto columns) {
    if (op == as_it_is)
      solve(n, dl, d, du, columns);
    else if (op == transposed)
      solve_transposed(n, dl, d, du, columns, [](const T *p) { return get(p); });
    else
      solve_transposed(n, dl, d, du, columns, [](const T *p) { return conjugate(get(p)); });
  });
}

template <class T> tnk_int factor_and_solve(tnk_int n, tnk_int nrhs, T *dl, T *d, T *du, T *b, tnk_int ldb) {
  if (n < 1 || nrhs == 0) return 0;
  if (nrhs == 1) {
    const tnk_int failed = factor<true>(n, dl, d, du, b);
    if (failed == 0) outwards(n, dl, d, du, Columns<T, 1>{b, ldb});
    return failed;
  }
  const tnk_int failed = factor<false>(n, dl, d, du, b);
  if (failed == 0) solve_all(as_it_is, n, nrhs, dl, d, du, b, ldb);
  return failed;
}

} // namespace
} // namespace tnk::lapack

#define ENTRIES(t, T)                                                                                        \
  void tnk_lapack_ps_##t##dttrfb(const tnk_int *n, T *dl, T *d, T *du, tnk_int *info) {                      \
    *info = *n < 1 ? 0 : tnk::lapack::factor<false>(*n, dl, d, du, d);                                       \
  }                                                                                                          \
  void tnk_lapack_ps_##t##dttrsb(const char *trans, const tnk_int *n, const tnk_int *nrhs, const T *dl,      \
                                 const T *d, const T *du, T *b, const tnk_int *ldb, tnk_int *info) {         \
    tnk::lapack::solve_all(tnk::operation_of<T>(trans), *n, *nrhs, dl, d, du, b, *ldb);                      \
    *info = 0;                                                                                               \
  }                                                                                                          \
  void tnk_lapack_ps_##t##dtsvb(const tnk_int *n, const tnk_int *nrhs, T *dl, T *d, T *du, T *b,             \
                                const tnk_int *ldb, tnk_int *info) {                                         \
    *info = tnk::lapack::factor_and_solve(*n, *nrhs, dl, d, du, b, *ldb);                                    \
  }
ENTRIES(s, float)
ENTRIES(d, double)
ENTRIES(c, tnk_complex8)
ENTRIES(z, tnk_complex16)
