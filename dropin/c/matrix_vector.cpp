// The C face: matrix and vector.
#include "dropin/matrix_vector.h"
#include "dropin/c/order.h"

namespace tnk::dropin {
namespace {

// y := alpha op(A) x + beta y for the conjugate of the matrix that `multiply` has: on conjugates of all the rest.
template <class T, class Multiply>
void on_conjugates(const T *alpha, tnk_int size_x, const T *x, tnk_int incx, const T *beta, tnk_int size_y,
                   T *y, tnk_int incy, const Multiply &multiply) {
  const T a = conjugate(*alpha), b = conjugate(*beta);
  const Conjugated<T> copy(is_zero(*alpha) ? 0 : size_x, x, incx);
  conjugate_in_place(size_y, y, incy);
  multiply(&a, copy.x(), copy.inc(), &b);
  conjugate_in_place(size_y, y, incy);
}

// By rows the conjugate transpose is the conjugate of the matrix behind.
template <class T> bool asks_for_conjugate(const Order &order, char trans) {
  return is_complex<T> && order.by_rows() && trans == 'c';
}

template <class T, class Run>
void general(const char *name, Run *kernel, Run *run, int layout, int trans, tnk_int m, tnk_int n,
             const T *alpha, const T *a, tnk_int lda, const T *x, tnk_int incx, const T *beta, T *y,
             tnk_int incy) {
  Order order(name, layout);
  const char t = order.trans(2, trans, "TransA");
  if (!order) return;
  if (!order.by_rows())
    return gemv(order.call(), kernel, run, t, m, n, alpha, a, lda, x, incx, beta, y, incy);
  const auto multiply = [&](const T *alpha_, const T *x_, tnk_int incx_, const T *beta_) {
    gemv(order.call(), kernel, run, turned(t), n, m, alpha_, a, lda, x_, incx_, beta_, y, incy);
  };
  if constexpr (is_complex<T>)
    if (asks_for_conjugate<T>(order, t) && !faults::gemv('n', n, m, lda, incx, incy) && m > 0 && n > 0)
      return on_conjugates(alpha, m, x, incx, beta, n, y, incy, multiply);
  multiply(alpha, x, incx, beta);
}

template <class T, class Run, class Scale>
void banded(const char *name, Run *run, Scale *scale, int layout, int trans, tnk_int m, tnk_int n, tnk_int kl,
            tnk_int ku, const T *alpha, const T *a, tnk_int lda, const T *x, tnk_int incx, const T *beta,
            T *y, tnk_int incy) {
  Order order(name, layout);
  const char t = order.trans(2, trans, "TransA");
  if (!order) return;
  if (!order.by_rows())
    return gbmv(order.call(), run, scale, t, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
  const auto multiply = [&](const T *alpha_, const T *x_, tnk_int incx_, const T *beta_) {
    gbmv(order.call(), run, scale, turned(t), n, m, ku, kl, alpha_, a, lda, x_, incx_, beta_, y, incy);
  };
  if constexpr (is_complex<T>)
    if (asks_for_conjugate<T>(order, t) && !faults::gbmv('n', n, m, ku, kl, lda, incx, incy) && m > 0 &&
        n > 0)
      return on_conjugates(alpha, m, x, incx, beta, n, y, incy, multiply);
  multiply(alpha, x, incx, beta);
}

// Symmetric and Hermitian matrices in each storage: `multiply` is called with everything but the matrix, `bad` is what the
// checks say. By rows a Hermitian matrix is the conjugate of the one behind.
template <class T, class Multiply>
void by_symmetry(const Order &order, int bad, tnk_int n, const T *alpha, const T *x, tnk_int incx,
                 const T *beta, T *y, tnk_int incy, const Multiply &multiply) {
  if constexpr (is_complex<T>)
    if (order.by_rows() && !bad && n > 0) return on_conjugates(alpha, n, x, incx, beta, n, y, incy, multiply);
  multiply(alpha, x, incx, beta);
}

template <class T, class Run>
void symmetric(const char *name, Run *run, int layout, int uplo, tnk_int n, const T *alpha, const T *a,
               tnk_int lda, const T *x, tnk_int incx, const T *beta, T *y, tnk_int incy) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  by_symmetry(order, faults::symv(u, n, lda, incx, incy), n, alpha, x, incx, beta, y, incy,
              [&](const T *alpha_, const T *x_, tnk_int incx_, const T *beta_) {
                symv(order.call(), run, u, n, alpha_, a, lda, x_, incx_, beta_, y, incy);
              });
}

template <class T, class Run>
void symmetric_band(const char *name, Run *run, int layout, int uplo, tnk_int n, tnk_int k, const T *alpha,
                    const T *a, tnk_int lda, const T *x, tnk_int incx, const T *beta, T *y, tnk_int incy) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  by_symmetry(order, faults::sbmv(u, n, k, lda, incx, incy), n, alpha, x, incx, beta, y, incy,
              [&](const T *alpha_, const T *x_, tnk_int incx_, const T *beta_) {
                sbmv(order.call(), run, u, n, k, alpha_, a, lda, x_, incx_, beta_, y, incy);
              });
}

template <class T, class Run>
void symmetric_packed(const char *name, Run *run, int layout, int uplo, tnk_int n, const T *alpha, const T *a,
                      const T *x, tnk_int incx, const T *beta, T *y, tnk_int incy) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  by_symmetry(order, faults::spmv(u, n, incx, incy), n, alpha, x, incx, beta, y, incy,
              [&](const T *alpha_, const T *x_, tnk_int incx_, const T *beta_) {
                spmv(order.call(), run, u, n, alpha_, a, x_, incx_, beta_, y, incy);
              });
}

// Triangular matrices in each storage: `apply` is called with the letters; `bad` as above.
template <class T, class Bad, class Apply>
void by_triangle(const char *name, int layout, int uplo, int trans, int diag, tnk_int n, T *x, tnk_int incx,
                 const Bad &bad, const Apply &apply) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo), t = order.trans(3, trans, "TransA"), d = order.diag(4, diag);
  if (!order) return;
  if (!order.by_rows()) return apply(order.call(), u, t, d);
  if constexpr (is_complex<T>)
    if (t == 'c' && !bad(u, 'n', d)) {
      conjugate_in_place(n, x, incx);
      apply(order.call(), u, 'n', d);
      return conjugate_in_place(n, x, incx);
    }
  apply(order.call(), u, turned(t), d);
}

template <class T, class Run>
void triangular(const char *name, Run *run, int layout, int uplo, int trans, int diag, tnk_int n, const T *a,
                tnk_int lda, T *x, tnk_int incx) {
  by_triangle(
      name, layout, uplo, trans, diag, n, x, incx,
      [&](char u, char t, char d) { return faults::trmv(u, t, d, n, lda, incx); },
      [&](const Call &call, char u, char t, char d) { trmv(call, run, u, t, d, n, a, lda, x, incx); });
}

template <class T, class Run>
void triangular_band(const char *name, Run *run, int layout, int uplo, int trans, int diag, tnk_int n,
                     tnk_int k, const T *a, tnk_int lda, T *x, tnk_int incx) {
  by_triangle(
      name, layout, uplo, trans, diag, n, x, incx,
      [&](char u, char t, char d) { return faults::tbmv(u, t, d, n, k, lda, incx); },
      [&](const Call &call, char u, char t, char d) { tbmv(call, run, u, t, d, n, k, a, lda, x, incx); });
}

template <class T, class Run>
void triangular_packed(const char *name, Run *run, int layout, int uplo, int trans, int diag, tnk_int n,
                       const T *a, T *x, tnk_int incx) {
  by_triangle(
      name, layout, uplo, trans, diag, n, x, incx,
      [&](char u, char t, char d) { return faults::tpmv(u, t, d, n, incx); },
      [&](const Call &call, char u, char t, char d) { tpmv(call, run, u, t, d, n, a, x, incx); });
}

// Updates with one vector, alpha real.

template <class T, class Run>
void update(const char *name, Run *run, int layout, int uplo, tnk_int n, const real_of<T> *alpha, const T *x,
            tnk_int incx, T *a, tnk_int lda) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  if constexpr (is_complex<T>)
    if (order.by_rows() && !faults::syr(u, n, incx, lda)) {
      const Conjugated<T> copy(is_zero(*alpha) ? 0 : n, x, incx);
      return syr(order.call(), run, u, n, alpha, copy.x(), copy.inc(), a, lda);
    }
  syr(order.call(), run, u, n, alpha, x, incx, a, lda);
}

template <class T, class Run>
void update_packed(const char *name, Run *run, int layout, int uplo, tnk_int n, const real_of<T> *alpha,
                   const T *x, tnk_int incx, T *a) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  if constexpr (is_complex<T>)
    if (order.by_rows() && !faults::spr(u, n, incx)) {
      const Conjugated<T> copy(is_zero(*alpha) ? 0 : n, x, incx);
      return spr(order.call(), run, u, n, alpha, copy.x(), copy.inc(), a);
    }
  spr(order.call(), run, u, n, alpha, x, incx, a);
}

// Updates with two vectors, which by rows change places if they are conjugated.

template <class T, class Run>
void update_2(const char *name, Run *run, int layout, int uplo, tnk_int n, const T *alpha, const T *x,
              tnk_int incx, const T *y, tnk_int incy, T *a, tnk_int lda) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  if constexpr (is_complex<T>)
    if (order.by_rows()) {
      if (faults::syr2(u, n, incy, incx, lda))
        return syr2(order.call(), run, u, n, alpha, y, incy, x, incx, a, lda);
      const tnk_int size = is_zero(*alpha) ? 0 : n;
      const Conjugated<T> copy_x(size, x, incx), copy_y(size, y, incy);
      return syr2(order.call(), run, u, n, alpha, copy_y.x(), copy_y.inc(), copy_x.x(), copy_x.inc(), a, lda);
    }
  syr2(order.call(), run, u, n, alpha, x, incx, y, incy, a, lda);
}

template <class T, class Run>
void update_packed_2(const char *name, Run *run, int layout, int uplo, tnk_int n, const T *alpha, const T *x,
                     tnk_int incx, const T *y, tnk_int incy, T *a) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo);
  if (!order) return;
  if constexpr (is_complex<T>)
    if (order.by_rows()) {
      if (faults::spr2(u, n, incy, incx)) return spr2(order.call(), run, u, n, alpha, y, incy, x, incx, a);
      const tnk_int size = is_zero(*alpha) ? 0 : n;
      const Conjugated<T> copy_x(size, x, incx), copy_y(size, y, incy);
      return spr2(order.call(), run, u, n, alpha, copy_y.x(), copy_y.inc(), copy_x.x(), copy_x.inc(), a);
    }
  spr2(order.call(), run, u, n, alpha, x, incx, y, incy, a);
}

// other: what makes of A^T := alpha y x^T + A by columns the same with y conjugated; null where nothing is.
template <class T, class Run>
void general_update(const char *name, Run *run, Run *other, int layout, tnk_int m, tnk_int n, const T *alpha,
                    const T *x, tnk_int incx, const T *y, tnk_int incy, T *a, tnk_int lda) {
  Order order(name, layout);
  if (!order) return;
  if (!order.by_rows()) return ger(order.call(), run, m, n, alpha, x, incx, y, incy, a, lda);
  if constexpr (is_complex<T>)
    if (other && !faults::ger(n, m, incy, incx, lda)) {
      const Conjugated<T> copy(is_zero(*alpha) || m == 0 ? 0 : n, y, incy);
      return ger(order.call(), other, n, m, alpha, copy.x(), copy.inc(), x, incx, a, lda);
    }
  ger(order.call(), run, n, m, alpha, y, incy, x, incx, a, lda);
}

} // namespace
} // namespace tnk::dropin

using namespace tnk::dropin;

TNK_BEGIN_DECLS

#define TNK_FULL(name, T)                                                                                    \
  void cblas_##name(int layout, int uplo, int trans, int diag, Int n, const T *a, Int lda, T *x, Int incx) { \
    triangular(#name, behind().name, layout, uplo, trans, diag, n, a, lda, x, incx);                         \
  }
#define TNK_BAND(name, T)                                                                                    \
  void cblas_##name(int layout, int uplo, int trans, int diag, Int n, Int k, const T *a, Int lda, T *x,      \
                    Int incx) {                                                                              \
    triangular_band(#name, behind().name, layout, uplo, trans, diag, n, k, a, lda, x, incx);                 \
  }
#define TNK_PACKED(name, T)                                                                                  \
  void cblas_##name(int layout, int uplo, int trans, int diag, Int n, const T *a, T *x, Int incx) {          \
    triangular_packed(#name, behind().name, layout, uplo, trans, diag, n, a, x, incx);                       \
  }

#define TNK_FACE(t, T, S)                                                                                    \
  void cblas_##t##gemv(int layout, int trans, Int m, Int n, S alpha, const T *a, Int lda, const T *x,        \
                       Int incx, S beta, T *y, Int incy) {                                                   \
    general(#t "gemv", behind().x##t##gemv, behind().t##gemv, layout, trans, m, n, at(alpha), a, lda, x,     \
            incx, at(beta), y, incy);                                                                        \
  }                                                                                                          \
  void cblas_##t##gbmv(int layout, int trans, Int m, Int n, Int kl, Int ku, S alpha, const T *a, Int lda,    \
                       const T *x, Int incx, S beta, T *y, Int incy) {                                       \
    banded(#t "gbmv", behind().t##gbmv, behind().t##gemv, layout, trans, m, n, kl, ku, at(alpha), a, lda, x, \
           incx, at(beta), y, incy);                                                                         \
  }                                                                                                          \
  TNK_FULL(t##trmv, T)                                                                                       \
  TNK_FULL(t##trsv, T)                                                                                       \
  TNK_BAND(t##tbmv, T)                                                                                       \
  TNK_BAND(t##tbsv, T)                                                                                       \
  TNK_PACKED(t##tpmv, T)                                                                                     \
  TNK_PACKED(t##tpsv, T)
TNK_C_TYPES(TNK_FACE)
#undef TNK_FACE

// Middle letters by storage as in the Fortran face; S: how a scalar comes.
#define TNK_FACE(t, full, band, packed, T, S)                                                                \
  void cblas_##t##full##mv(int layout, int uplo, Int n, S alpha, const T *a, Int lda, const T *x, Int incx,  \
                           S beta, T *y, Int incy) {                                                         \
    symmetric(#t #full "mv", behind().t##full##mv, layout, uplo, n, at(alpha), a, lda, x, incx, at(beta), y, \
              incy);                                                                                         \
  }                                                                                                          \
  void cblas_##t##band##mv(int layout, int uplo, Int n, Int k, S alpha, const T *a, Int lda, const T *x,     \
                           Int incx, S beta, T *y, Int incy) {                                               \
    symmetric_band(#t #band "mv", behind().t##band##mv, layout, uplo, n, k, at(alpha), a, lda, x, incx,      \
                   at(beta), y, incy);                                                                       \
  }                                                                                                          \
  void cblas_##t##packed##mv(int layout, int uplo, Int n, S alpha, const T *a, const T *x, Int incx, S beta, \
                             T *y, Int incy) {                                                               \
    symmetric_packed(#t #packed "mv", behind().t##packed##mv, layout, uplo, n, at(alpha), a, x, incx,        \
                     at(beta), y, incy);                                                                     \
  }
TNK_FACE(s, sy, sb, sp, float, float)
TNK_FACE(d, sy, sb, sp, double, double)
TNK_FACE(c, he, hb, hp, tnk_complex8, const tnk_complex8 *)
TNK_FACE(z, he, hb, hp, tnk_complex16, const tnk_complex16 *)
#undef TNK_FACE

#define TNK_FACE(t, full, packed, T, S)                                                                      \
  void cblas_##t##full(int layout, int uplo, Int n, real_of<T> alpha, const T *x, Int incx, T *a, Int lda) { \
    update(#t #full, behind().t##full, layout, uplo, n, &alpha, x, incx, a, lda);                            \
  }                                                                                                          \
  void cblas_##t##packed(int layout, int uplo, Int n, real_of<T> alpha, const T *x, Int incx, T *a) {        \
    update_packed(#t #packed, behind().t##packed, layout, uplo, n, &alpha, x, incx, a);                      \
  }                                                                                                          \
  void cblas_##t##full##2(int layout, int uplo, Int n, S alpha, const T *x, Int incx, const T *y, Int incy,  \
                          T *a, Int lda) {                                                                   \
    update_2(#t #full "2", behind().t##full##2, layout, uplo, n, at(alpha), x, incx, y, incy, a, lda);       \
  }                                                                                                          \
  void cblas_##t##packed##2(int layout, int uplo, Int n, S alpha, const T *x, Int incx, const T *y,          \
                            Int incy, T *a) {                                                                \
    update_packed_2(#t #packed "2", behind().t##packed##2, layout, uplo, n, at(alpha), x, incx, y, incy, a); \
  }
TNK_FACE(s, syr, spr, float, float)
TNK_FACE(d, syr, spr, double, double)
TNK_FACE(c, her, hpr, tnk_complex8, const tnk_complex8 *)
TNK_FACE(z, her, hpr, tnk_complex16, const tnk_complex16 *)
#undef TNK_FACE

#define TNK_FACE(name, turned, T, S)                                                                         \
  void cblas_##name(int layout, Int m, Int n, S alpha, const T *x, Int incx, const T *y, Int incy, T *a,     \
                    Int lda) {                                                                               \
    decltype(behind().name) other = turned;                                                                  \
    general_update(#name, behind().name, other, layout, m, n, at(alpha), x, incx, y, incy, a, lda);          \
  }
TNK_FACE(sger, nullptr, float, float)
TNK_FACE(dger, nullptr, double, double)
TNK_FACE(cgeru, nullptr, tnk_complex8, const tnk_complex8 *)
TNK_FACE(zgeru, nullptr, tnk_complex16, const tnk_complex16 *)
TNK_FACE(cgerc, behind().cgeru, tnk_complex8, const tnk_complex8 *)
TNK_FACE(zgerc, behind().zgeru, tnk_complex16, const tnk_complex16 *)
#undef TNK_FACE

TNK_END_DECLS
