// Public extended-precision products of general matrices with vectors, cut by rows of op(A).
#include "host/routines/xblas/calls.h"
#include <algorithm>

namespace tnk::host::xblas {
namespace {

bool turned(int32_t trans) {
  return trans != TNK_XBLAS_NO_TRANS;
}

// Addresses of x, or of its head and tail, which a call lists one after the other.
template <class X> struct Vector {
  const X *x, *tail;
  tnk_int inc;
  bool is_good(Arguments &a, bool touched, tnk_int n) const {
    if (!tail_listed) return a.vector("x", x, touched, "incx", inc, n);
    return a.array("head_x", x, touched) && a.array("tail_x", tail, touched) &&
           a.increment("incx", inc, x, touched ? n : 0);
  }
  bool tail_listed;
  Vector part(tnk_int n, tnk_int first, tnk_int count) const {
    return {part_of(x, n, inc, first, count), tail_listed ? part_of(tail, n, inc, first, count) : nullptr,
            inc, tail_listed};
  }
};

template <class T, class A, class X, class Kernel, class F, class Call, class... Prec>
void full(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
          tnk_int n, F alpha, const A *a, tnk_int lda, const Vector<X> &x, F beta, T *y, tnk_int incy,
          const Call &call, Prec... prec) {
  const tnk_int rows = turned(trans) ? n : m, columns = turned(trans) ? m : n;
  const bool touched = m > 0 && n > 0 && !is_nothing(alpha);
  Arguments check(routine);
  if (!check.order(order) || !check.trans(trans) || !check.size("m", m) || !check.size("n", n) ||
      !check.factor("alpha", alpha) ||
      !check.matrix("a", a, touched, "lda", lda, by_columns(order) ? m : n, by_columns(order) ? n : m) ||
      !x.is_good(check, touched, columns) || !check.factor("beta", beta) ||
      !check.vector("y", y, rows > 0, "incy", incy, rows) || !check.prec(prec...))
    return;
  Kernel *const run = kernel.get(routine);
  if (!run || rows == 0) return;
  const bool side_by_side = by_columns(order) != turned(trans); // rows of op(A) begin at neighbours
  in_parts(rows, 4, touched ? product_of(m, n, operations<T, A, X>(prec...)) : 0,
           [&](tnk_int first, tnk_int count) {
             const A *const from = touched ? a + first * (side_by_side ? 1 : lda) : a;
             call(run, turned(trans) ? m : count, turned(trans) ? count : n, from,
                  part_of(y, rows, incy, first, count));
           });
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_gemv(const char *routine, KernelEntry<Kernel> &kernel,
                                               int32_t order, int32_t trans, tnk_int m, tnk_int n, F alpha,
                                               const A *a, tnk_int lda, const X *x, tnk_int incx, F beta,
                                               T *y, tnk_int incy, Prec... prec) {
  full<T, A, X>(
      routine, kernel, order, trans, m, n, alpha, a, lda, {x, nullptr, incx, false}, beta, y, incy,
      [&](Kernel *run, tnk_int rows, tnk_int columns, const A *from, T *to) {
        run(order, trans, rows, columns, alpha, from, lda, x, incx, beta, to, incy, prec...);
      },
      prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void gemv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
          tnk_int n, F alpha, const A *a, tnk_int lda, const X *x, tnk_int incx, F beta, T *y, tnk_int incy,
          Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_trans(trans) && is_small<T, A, X>(m, n) &&
      is_stride(lda, by_columns(order) ? m : n) && is_step(incx) && is_step(incy) && all_given(a, x, y) &&
      is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(order, trans, m, n, alpha, a, lda, x, incx, beta, y, incy, prec...);
  careful_gemv<T, A, X>(routine, kernel, order, trans, m, n, alpha, a, lda, x, incx, beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_gemv2(const char *routine, KernelEntry<Kernel> &kernel,
                                                int32_t order, int32_t trans, tnk_int m, tnk_int n, F alpha,
                                                const A *a, tnk_int lda, const X *head_x, const X *tail_x,
                                                tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  full<T, A, X>(
      routine, kernel, order, trans, m, n, alpha, a, lda, {head_x, tail_x, incx, true}, beta, y, incy,
      [&](Kernel *run, tnk_int rows, tnk_int columns, const A *from, T *to) {
        run(order, trans, rows, columns, alpha, from, lda, head_x, tail_x, incx, beta, to, incy, prec...);
      },
      prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void gemv2(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
           tnk_int n, F alpha, const A *a, tnk_int lda, const X *head_x, const X *tail_x, tnk_int incx,
           F beta, T *y, tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_trans(trans) && is_small<T, A, X>(m, n) &&
      is_stride(lda, by_columns(order) ? m : n) && is_step(incx) && is_step(incy) &&
      all_given(a, head_x, tail_x, y) && is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(order, trans, m, n, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec...);
  careful_gemv2<T, A, X>(routine, kernel, order, trans, m, n, alpha, a, lda, head_x, tail_x, incx, beta, y,
                         incy, prec...);
}

// A part of a band matrix: rows from `row` on and columns from the first one that these rows reach. The diagonals shift.
template <class T, class A, class X, class Kernel, class F, class Call, class... Prec>
void band(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
          tnk_int n, tnk_int kl, tnk_int ku, F alpha, const A *a, tnk_int lda, const Vector<X> &x, F beta,
          T *y, tnk_int incy, const Call &call, Prec... prec) {
  const tnk_int rows = turned(trans) ? n : m, columns = turned(trans) ? m : n;
  const bool touched = m > 0 && n > 0 && !is_nothing(alpha);
  Arguments check(routine);
  if (!check.order(order) || !check.trans(trans) || !check.size("m", m) || !check.size("n", n) ||
      !check.bandwidth("kl", kl) || !check.bandwidth("ku", ku) || !check.factor("alpha", alpha) ||
      !check.matrix("a", a, touched, "lda", lda, kl + ku + 1, by_columns(order) ? n : m) ||
      !x.is_good(check, touched, columns) || !check.factor("beta", beta) ||
      !check.vector("y", y, rows > 0, "incy", incy, rows) || !check.prec(prec...))
    return;
  Kernel *const run = kernel.get(routine);
  if (!run || rows == 0) return;
  const tnk_int below = turned(trans) ? ku : kl;
  const double work =
      touched ? product_of(rows, std::min(kl + ku + 1, columns), operations<T, A, X>(prec...)) : 0;
  in_parts(rows, 4, work, [&](tnk_int first, tnk_int count) {
    // Of op(A): the part begins at (first, reached), `shift` diagonals above the whole.
    const tnk_int reached = std::min(std::max<tnk_int>(first - below, 0), columns), shift = first - reached;
    const tnk_int left = columns - reached, line = turned(trans) == by_columns(order) ? first : reached;
    const tnk_int low = turned(trans) ? kl + shift : kl - shift,
                  high = turned(trans) ? ku - shift : ku + shift;
    call(run, turned(trans) ? left : count, turned(trans) ? count : left, low, high,
         touched ? a + line * lda : a, touched ? x.part(columns, reached, left) : x,
         part_of(y, rows, incy, first, count));
  });
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_gbmv(const char *routine, KernelEntry<Kernel> &kernel,
                                               int32_t order, int32_t trans, tnk_int m, tnk_int n, tnk_int kl,
                                               tnk_int ku, F alpha, const A *a, tnk_int lda, const X *x,
                                               tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  band<T, A, X>(
      routine, kernel, order, trans, m, n, kl, ku, alpha, a, lda, {x, nullptr, incx, false}, beta, y, incy,
      [&](Kernel *run, tnk_int rows, tnk_int columns, tnk_int low, tnk_int high, const A *from,
          const Vector<X> &with, T *to) {
        run(order, trans, rows, columns, low, high, alpha, from, lda, with.x, incx, beta, to, incy, prec...);
      },
      prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void gbmv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
          tnk_int n, tnk_int kl, tnk_int ku, F alpha, const A *a, tnk_int lda, const X *x, tnk_int incx,
          F beta, T *y, tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_trans(trans) && is_small<T, A, X>(m, n) && is_bandwidth(kl) &&
      is_bandwidth(ku) && is_stride(lda, kl + ku + 1) && is_step(incx) && is_step(incy) &&
      all_given(a, x, y) && is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(order, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy, prec...);
  careful_gbmv<T, A, X>(routine, kernel, order, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy,
                        prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void
careful_gbmv2(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
              tnk_int n, tnk_int kl, tnk_int ku, F alpha, const A *a, tnk_int lda, const X *head_x,
              const X *tail_x, tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  band<T, A, X>(
      routine, kernel, order, trans, m, n, kl, ku, alpha, a, lda, {head_x, tail_x, incx, true}, beta, y, incy,
      [&](Kernel *run, tnk_int rows, tnk_int columns, tnk_int low, tnk_int high, const A *from,
          const Vector<X> &with, T *to) {
        run(order, trans, rows, columns, low, high, alpha, from, lda, with.x, with.tail, incx, beta, to, incy,
            prec...);
      },
      prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void gbmv2(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, int32_t trans, tnk_int m,
           tnk_int n, tnk_int kl, tnk_int ku, F alpha, const A *a, tnk_int lda, const X *head_x,
           const X *tail_x, tnk_int incx, F beta, T *y, tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_trans(trans) && is_small<T, A, X>(m, n) && is_bandwidth(kl) &&
      is_bandwidth(ku) && is_stride(lda, kl + ku + 1) && is_step(incx) && is_step(incy) &&
      all_given(a, head_x, tail_x, y) && is_given(alpha) && is_given(beta) && is_precision(prec...))
    return run(order, trans, m, n, kl, ku, alpha, a, lda, head_x, tail_x, incx, beta, y, incy, prec...);
  careful_gbmv2<T, A, X>(routine, kernel, order, trans, m, n, kl, ku, alpha, a, lda, head_x, tail_x, incx,
                         beta, y, incy, prec...);
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
[[gnu::cold, gnu::noinline]] void careful_ge_sum_mv(const char *routine, KernelEntry<Kernel> &kernel,
                                                    int32_t order, tnk_int m, tnk_int n, F alpha, const A *a,
                                                    tnk_int lda, const X *x, tnk_int incx, F beta, const A *b,
                                                    tnk_int ldb, T *y, tnk_int incy, Prec... prec) {
  const bool some = m > 0 && n > 0, reads_a = some && !is_nothing(alpha), reads_b = some && !is_nothing(beta);
  const tnk_int line = by_columns(order) ? m : n, lines = by_columns(order) ? n : m;
  Arguments check(routine);
  if (!check.order(order) || !check.size("m", m) || !check.size("n", n) || !check.factor("alpha", alpha) ||
      !check.matrix("a", a, reads_a, "lda", lda, line, lines) ||
      !check.vector("x", x, reads_a || reads_b, "incx", incx, n) || !check.factor("beta", beta) ||
      !check.matrix("b", b, reads_b, "ldb", ldb, line, lines) ||
      !check.vector("y", y, m > 0, "incy", incy, m) || !check.prec(prec...))
    return;
  Kernel *const run = kernel.get(routine);
  if (!run) return;
  in_parts(m, 4, product_of(m, n, 2 * operations<T, A, X>(prec...)), [&](tnk_int first, tnk_int count) {
    const auto from = [&](const A *matrix, tnk_int ld, bool read) {
      return read ? matrix + first * (by_columns(order) ? 1 : ld) : matrix;
    };
    run(order, count, n, alpha, from(a, lda, reads_a), lda, x, incx, beta, from(b, ldb, reads_b), ldb,
        part_of(y, m, incy, first, count), incy, prec...);
  });
}

template <class T, class A, class X, class Kernel, class F, class... Prec>
void ge_sum_mv(const char *routine, KernelEntry<Kernel> &kernel, int32_t order, tnk_int m, tnk_int n, F alpha,
               const A *a, tnk_int lda, const X *x, tnk_int incx, F beta, const A *b, tnk_int ldb, T *y,
               tnk_int incy, Prec... prec) {
  Kernel *const run = kernel.known();
  if (run && is_order(order) && is_small<T, A, X>(m, n, tnk_int{2}) &&
      is_stride(lda, by_columns(order) ? m : n) && is_stride(ldb, by_columns(order) ? m : n) &&
      is_step(incx) && is_step(incy) && all_given(a, x, y) && all_given(b) && is_given(alpha) &&
      is_given(beta) && is_precision(prec...))
    return run(order, m, n, alpha, a, lda, x, incx, beta, b, ldb, y, incy, prec...);
  careful_ge_sum_mv<T, A, X>(routine, kernel, order, m, n, alpha, a, lda, x, incx, beta, b, ldb, y, incy,
                             prec...);
}

} // namespace
} // namespace tnk::host::xblas

TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, gemv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, gemv2)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, gbmv)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, gbmv2)
TNK_XBLAS_EACH_PAIR(TNK_XBLAS_PUBLIC, ge_sum_mv)
