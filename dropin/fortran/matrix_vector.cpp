// The Fortran face: matrix and vector.
#include "dropin/matrix_vector.h"

using namespace tnk::dropin;

TNK_BEGIN_DECLS

#define TNK_CALL(routine)                                                                                    \
  Call {                                                                                                     \
#routine, Way::fortran                                                                                   \
  }

#define TNK_FACE(t, T)                                                                                       \
  void t##gemv_(const char *trans, const Int *m, const Int *n, const T *alpha, const T *a, const Int *lda,   \
                const T *x, const Int *incx, const T *beta, T *y, const Int *incy) {                         \
    gemv(TNK_CALL(t##gemv), behind().x##t##gemv, behind().t##gemv, lower(*trans), *m, *n, alpha, a, *lda, x, \
         *incx, beta, y, *incy);                                                                             \
  }                                                                                                          \
  void t##gbmv_(const char *trans, const Int *m, const Int *n, const Int *kl, const Int *ku, const T *alpha, \
                const T *a, const Int *lda, const T *x, const Int *incx, const T *beta, T *y,                \
                const Int *incy) {                                                                           \
    gbmv(TNK_CALL(t##gbmv), behind().t##gbmv, behind().t##gemv, lower(*trans), *m, *n, *kl, *ku, alpha, a,   \
         *lda, x, *incx, beta, y, *incy);                                                                    \
  }
TNK_TYPES(TNK_FACE)
#undef TNK_FACE

// Products with triangles and solves, by storage.
#define TNK_FULL(name, T)                                                                                    \
  void name##_(const char *uplo, const char *trans, const char *diag, const Int *n, const T *a,              \
               const Int *lda, T *x, const Int *incx) {                                                      \
    trmv(TNK_CALL(name), behind().name, lower(*uplo), lower(*trans), lower(*diag), *n, a, *lda, x, *incx);   \
  }
#define TNK_BAND(name, T)                                                                                    \
  void name##_(const char *uplo, const char *trans, const char *diag, const Int *n, const Int *k,            \
               const T *a, const Int *lda, T *x, const Int *incx) {                                          \
    tbmv(TNK_CALL(name), behind().name, lower(*uplo), lower(*trans), lower(*diag), *n, *k, a, *lda, x,       \
         *incx);                                                                                             \
  }
#define TNK_PACKED(name, T)                                                                                  \
  void name##_(const char *uplo, const char *trans, const char *diag, const Int *n, const T *a, T *x,        \
               const Int *incx) {                                                                            \
    tpmv(TNK_CALL(name), behind().name, lower(*uplo), lower(*trans), lower(*diag), *n, a, x, *incx);         \
  }
#define TNK_FACE(t, T)                                                                                       \
  TNK_FULL(t##trmv, T)                                                                                       \
  TNK_FULL(t##trsv, T)                                                                                       \
  TNK_BAND(t##tbmv, T)                                                                                       \
  TNK_BAND(t##tbsv, T)                                                                                       \
  TNK_PACKED(t##tpmv, T)                                                                                     \
  TNK_PACKED(t##tpsv, T)
TNK_TYPES(TNK_FACE)
#undef TNK_FACE
#undef TNK_FULL
#undef TNK_BAND
#undef TNK_PACKED

// Symmetric and Hermitian matrices by the same templates: middle letters, the type of alpha in updates with one vector.
#define TNK_FACE(t, full, band, packed, T)                                                                   \
  void t##full##mv_(const char *uplo, const Int *n, const T *alpha, const T *a, const Int *lda, const T *x,  \
                    const Int *incx, const T *beta, T *y, const Int *incy) {                                 \
    symv(TNK_CALL(t##full##mv), behind().t##full##mv, lower(*uplo), *n, alpha, a, *lda, x, *incx, beta, y,   \
         *incy);                                                                                             \
  }                                                                                                          \
  void t##band##mv_(const char *uplo, const Int *n, const Int *k, const T *alpha, const T *a,                \
                    const Int *lda, const T *x, const Int *incx, const T *beta, T *y, const Int *incy) {     \
    sbmv(TNK_CALL(t##band##mv), behind().t##band##mv, lower(*uplo), *n, *k, alpha, a, *lda, x, *incx, beta,  \
         y, *incy);                                                                                          \
  }                                                                                                          \
  void t##packed##mv_(const char *uplo, const Int *n, const T *alpha, const T *a, const T *x,                \
                      const Int *incx, const T *beta, T *y, const Int *incy) {                               \
    spmv(TNK_CALL(t##packed##mv), behind().t##packed##mv, lower(*uplo), *n, alpha, a, x, *incx, beta, y,     \
         *incy);                                                                                             \
  }
TNK_FACE(s, sy, sb, sp, float)
TNK_FACE(d, sy, sb, sp, double)
TNK_FACE(c, he, hb, hp, tnk_complex8)
TNK_FACE(z, he, hb, hp, tnk_complex16)
#undef TNK_FACE

#define TNK_FACE(t, full, packed, T)                                                                         \
  void t##full##_(const char *uplo, const Int *n, const real_of<T> *alpha, const T *x, const Int *incx,      \
                  T *a, const Int *lda) {                                                                    \
    syr(TNK_CALL(t##full), behind().t##full, lower(*uplo), *n, alpha, x, *incx, a, *lda);                    \
  }                                                                                                          \
  void t##packed##_(const char *uplo, const Int *n, const real_of<T> *alpha, const T *x, const Int *incx,    \
                    T *a) {                                                                                  \
    spr(TNK_CALL(t##packed), behind().t##packed, lower(*uplo), *n, alpha, x, *incx, a);                      \
  }                                                                                                          \
  void t##full##2_(const char *uplo, const Int *n, const T *alpha, const T *x, const Int *incx, const T *y,  \
                   const Int *incy, T *a, const Int *lda) {                                                  \
    syr2(TNK_CALL(t##full##2), behind().t##full##2, lower(*uplo), *n, alpha, x, *incx, y, *incy, a, *lda);   \
  }                                                                                                          \
  void t##packed##2_(const char *uplo, const Int *n, const T *alpha, const T *x, const Int *incx,            \
                     const T *y, const Int *incy, T *a) {                                                    \
    spr2(TNK_CALL(t##packed##2), behind().t##packed##2, lower(*uplo), *n, alpha, x, *incx, y, *incy, a);     \
  }
TNK_FACE(s, syr, spr, float)
TNK_FACE(d, syr, spr, double)
TNK_FACE(c, her, hpr, tnk_complex8)
TNK_FACE(z, her, hpr, tnk_complex16)
#undef TNK_FACE

#define TNK_FACE(name, T)                                                                                    \
  void name##_(const Int *m, const Int *n, const T *alpha, const T *x, const Int *incx, const T *y,          \
               const Int *incy, T *a, const Int *lda) {                                                      \
    ger(TNK_CALL(name), behind().name, *m, *n, alpha, x, *incx, y, *incy, a, *lda);                          \
  }
TNK_FACE(sger, float)
TNK_FACE(dger, double)
TNK_FACE(cgeru, tnk_complex8)
TNK_FACE(cgerc, tnk_complex8)
TNK_FACE(zgeru, tnk_complex16)
TNK_FACE(zgerc, tnk_complex16)
#undef TNK_FACE

TNK_END_DECLS
