// The C face: products, solves and updates of matrices.
#include "dropin/matrices.h"
#include "dropin/c/order.h"

namespace tnk::dropin {
namespace {

template <class T, class Run>
void product(const char *name, Run *run, int layout, int transa, int transb, tnk_int m, tnk_int n, tnk_int k,
             const T *alpha, const T *a, tnk_int lda, const T *b, tnk_int ldb, const T *beta, T *c,
             tnk_int ldc) {
  Order order(name, layout);
  const char ta = order.trans(2, transa, "TransA"), tb = order.trans(3, transb, "TransB");
  if (!order) return;
  if (order.by_rows()) return gemm(order.call(), run, tb, ta, n, m, k, alpha, b, ldb, a, lda, beta, c, ldc);
  gemm(order.call(), run, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <class T, class Run>
void symmetric(const char *name, Run *run, int layout, int side, int uplo, tnk_int m, tnk_int n,
               const T *alpha, const T *a, tnk_int lda, const T *b, tnk_int ldb, const T *beta, T *c,
               tnk_int ldc) {
  Order order(name, layout);
  const char s = order.side(2, side), u = order.uplo(3, uplo);
  if (!order) return;
  if (order.by_rows()) std::swap(m, n);
  symm(order.call(), run, s, u, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

// apply(call, letters, m, n)
template <class Apply>
void triangular(const char *name, int layout, int side, int uplo, int transa, int diag, tnk_int m, tnk_int n,
                const Apply &apply) {
  Order order(name, layout);
  const char s = order.side(2, side), u = order.uplo(3, uplo), t = order.trans(4, transa, "Trans"),
             d = order.diag(5, diag);
  if (!order) return;
  if (order.by_rows()) std::swap(m, n);
  apply(order.call(), s, u, t, d, m, n);
}

// By rows "transposed" and "not" change places; which kind of transpose is the one that the routine has.
char update_letter(const Order &order, char trans, char transpose) {
  return !order.by_rows() ? trans : trans == 'n' ? transpose : 'n';
}

template <class T, class Run, class S>
void update(const char *name, Run *run, const char *transposes, int layout, int uplo, int trans, tnk_int n,
            tnk_int k, const S *alpha, const T *a, tnk_int lda, const S *beta, T *c, tnk_int ldc) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo), t = order.trans(3, trans);
  if (!order) return;
  syrk(order.call(), run, transposes, u, update_letter(order, t, *transposes), n, k, alpha, a, lda, beta, c,
       ldc);
}

// hermitian: the second product's factor is the conjugate of the first's, and by rows they change places.
template <bool hermitian, class T, class Run, class S>
void update_2(const char *name, Run *run, const char *transposes, int layout, int uplo, int trans, tnk_int n,
              tnk_int k, const T *alpha, const T *a, tnk_int lda, const T *b, tnk_int ldb, const S *beta,
              T *c, tnk_int ldc) {
  Order order(name, layout);
  const char u = order.uplo(2, uplo), t = order.trans(3, trans);
  if (!order) return;
  T factor = *alpha;
  if constexpr (hermitian)
    if (order.by_rows()) factor = conjugate(factor);
  syr2k(order.call(), run, transposes, u, update_letter(order, t, *transposes), n, k, &factor, a, lda, b, ldb,
        beta, c, ldc);
}

} // namespace
} // namespace tnk::dropin

using namespace tnk::dropin;

TNK_BEGIN_DECLS

// S: how alpha comes, in updates of Hermitian matrices another type B for what is real there.
#define TNK_SYMMETRIC(name, T, S)                                                                            \
  void cblas_##name(int layout, int side, int uplo, Int m, Int n, S alpha, const T *a, Int lda, const T *b,  \
                    Int ldb, S beta, T *c, Int ldc) {                                                        \
    symmetric(#name, behind().name, layout, side, uplo, m, n, at(alpha), a, lda, b, ldb, at(beta), c, ldc);  \
  }
#define TNK_TRIANGULAR(t, T, S)                                                                              \
  void cblas_##t##trmm(int layout, int side, int uplo, int trans, int diag, Int m, Int n, S alpha,           \
                       const T *a, Int lda, T *b, Int ldb) {                                                 \
    triangular(#t "trmm", layout, side, uplo, trans, diag, m, n, [&](const Call &call, auto... turned) {     \
      trmm(call, behind().t##trmm, turned..., at(alpha), a, lda, b, ldb);                                    \
    });                                                                                                      \
  }                                                                                                          \
  void cblas_##t##trsm(int layout, int side, int uplo, int trans, int diag, Int m, Int n, S alpha,           \
                       const T *a, Int lda, T *b, Int ldb) {                                                 \
    triangular(#t "trsm", layout, side, uplo, trans, diag, m, n, [&](const Call &call, auto... turned) {     \
      trsm(call, behind().t##trsm, behind().t##gemm, turned..., at(alpha), a, lda, b, ldb);                  \
    });                                                                                                      \
  }
#define TNK_UPDATE(name, transposes, T, B)                                                                   \
  void cblas_##name(int layout, int uplo, int trans, Int n, Int k, B alpha, const T *a, Int lda, B beta,     \
                    T *c, Int ldc) {                                                                         \
    update(#name, behind().name, transposes, layout, uplo, trans, n, k, at(alpha), a, lda, at(beta), c,      \
           ldc);                                                                                             \
  }
#define TNK_UPDATE_2(name, hermitian, transposes, T, S, B)                                                   \
  void cblas_##name(int layout, int uplo, int trans, Int n, Int k, S alpha, const T *a, Int lda, const T *b, \
                    Int ldb, B beta, T *c, Int ldc) {                                                        \
    update_2<hermitian>(#name, behind().name, transposes, layout, uplo, trans, n, k, at(alpha), a, lda, b,   \
                        ldb, at(beta), c, ldc);                                                              \
  }

#define TNK_FACE(t, T, S)                                                                                    \
  void cblas_##t##gemm(int layout, int transa, int transb, Int m, Int n, Int k, S alpha, const T *a,         \
                       Int lda, const T *b, Int ldb, S beta, T *c, Int ldc) {                                \
    product(#t "gemm", behind().t##gemm, layout, transa, transb, m, n, k, at(alpha), a, lda, b, ldb,         \
            at(beta), c, ldc);                                                                               \
  }                                                                                                          \
  TNK_SYMMETRIC(t##symm, T, S)                                                                               \
  TNK_TRIANGULAR(t, T, S)                                                                                    \
  TNK_UPDATE(t##syrk, transposes_of_syrk<T>, T, S)                                                           \
  TNK_UPDATE_2(t##syr2k, false, transposes_of_syrk<T>, T, S, S)
TNK_C_TYPES(TNK_FACE)
#undef TNK_FACE

#define TNK_FACE(t, T)                                                                                       \
  TNK_SYMMETRIC(t##hemm, T, const T *)                                                                       \
  TNK_UPDATE(t##herk, transposes_of_herk, T, real_of<T>)                                                     \
  TNK_UPDATE_2(t##her2k, true, transposes_of_herk, T, const T *, real_of<T>)
TNK_COMPLEX_TYPES(TNK_FACE)
#undef TNK_FACE

TNK_END_DECLS
