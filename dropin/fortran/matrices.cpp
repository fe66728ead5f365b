// The Fortran face: products, solves and updates of matrices.
#include "dropin/matrices.h"

using namespace tnk::dropin;

TNK_BEGIN_DECLS

#define TNK_CALL(routine)                                                                                    \
  Call {                                                                                                     \
#routine, Way::fortran                                                                                   \
  }

#define TNK_SYMMETRIC(name, T)                                                                               \
  void name##_(const char *side, const char *uplo, const Int *m, const Int *n, const T *alpha, const T *a,   \
               const Int *lda, const T *b, const Int *ldb, const T *beta, T *c, const Int *ldc) {            \
    symm(TNK_CALL(name), behind().name, lower(*side), lower(*uplo), *m, *n, alpha, a, *lda, b, *ldb, beta,   \
         c, *ldc);                                                                                           \
  }
#define TNK_MULTIPLY(t, T)                                                                                   \
  void t##trmm_(const char *side, const char *uplo, const char *transa, const char *diag, const Int *m,      \
                const Int *n, const T *alpha, const T *a, const Int *lda, T *b, const Int *ldb) {            \
    trmm(TNK_CALL(t##trmm), behind().t##trmm, lower(*side), lower(*uplo), lower(*transa), lower(*diag), *m,  \
         *n, alpha, a, *lda, b, *ldb);                                                                       \
  }
#define TNK_SOLVE(t, T)                                                                                      \
  void t##trsm_(const char *side, const char *uplo, const char *transa, const char *diag, const Int *m,      \
                const Int *n, const T *alpha, const T *a, const Int *lda, T *b, const Int *ldb) {            \
    trsm(TNK_CALL(t##trsm), behind().t##trsm, behind().t##gemm, lower(*side), lower(*uplo), lower(*transa),  \
         lower(*diag), *m, *n, alpha, a, *lda, b, *ldb);                                                     \
  }
// Updates: the letters of their transposes, and the type of the scalars that may be real.
#define TNK_UPDATE(name, transposes, T, S)                                                                   \
  void name##_(const char *uplo, const char *trans, const Int *n, const Int *k, const S *alpha, const T *a,  \
               const Int *lda, const S *beta, T *c, const Int *ldc) {                                        \
    syrk(TNK_CALL(name), behind().name, transposes, lower(*uplo), lower(*trans), *n, *k, alpha, a, *lda,     \
         beta, c, *ldc);                                                                                     \
  }
#define TNK_UPDATE_2(name, transposes, T, S)                                                                 \
  void name##_(const char *uplo, const char *trans, const Int *n, const Int *k, const T *alpha, const T *a,  \
               const Int *lda, const T *b, const Int *ldb, const S *beta, T *c, const Int *ldc) {            \
    syr2k(TNK_CALL(name), behind().name, transposes, lower(*uplo), lower(*trans), *n, *k, alpha, a, *lda, b, \
          *ldb, beta, c, *ldc);                                                                              \
  }

#define TNK_FACE(t, T)                                                                                       \
  void t##gemm_(const char *transa, const char *transb, const Int *m, const Int *n, const Int *k,            \
                const T *alpha, const T *a, const Int *lda, const T *b, const Int *ldb, const T *beta, T *c, \
                const Int *ldc) {                                                                            \
    gemm(TNK_CALL(t##gemm), behind().t##gemm, lower(*transa), lower(*transb), *m, *n, *k, alpha, a, *lda, b, \
         *ldb, beta, c, *ldc);                                                                               \
  }                                                                                                          \
  TNK_SYMMETRIC(t##symm, T)                                                                                  \
  TNK_MULTIPLY(t, T)                                                                                         \
  TNK_SOLVE(t, T)                                                                                            \
  TNK_UPDATE(t##syrk, transposes_of_syrk<T>, T, T)                                                           \
  TNK_UPDATE_2(t##syr2k, transposes_of_syrk<T>, T, T)
TNK_TYPES(TNK_FACE)
#undef TNK_FACE

#define TNK_FACE(t, T)                                                                                       \
  TNK_SYMMETRIC(t##hemm, T)                                                                                  \
  TNK_UPDATE(t##herk, transposes_of_herk, T, real_of<T>)                                                     \
  TNK_UPDATE_2(t##her2k, transposes_of_herk, T, real_of<T>)
TNK_COMPLEX_TYPES(TNK_FACE)
#undef TNK_FACE

TNK_END_DECLS
