// Public routines that primitives leave work to from an order on: this program's own definitions come before the host's,
// count, and pass on.
#include "lapack_ps/dense.h"
#include "support/named.h"
#include <tnk/blas.h>

int tnk::test::public_calls;

namespace {

template <class... A> void pass_on(const char *name, A... arguments) {
  ++tnk::test::public_calls;
  reinterpret_cast<void (*)(A...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

} // namespace

#define COUNTED(name, T)                                                                                     \
  void name(const char *trans, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,               \
            const tnk_int *lda, const T *x, const tnk_int *incx, const T *beta, T *y, const tnk_int *incy) { \
    pass_on(#name, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                                      \
  }
COUNTED(tnk_blas_sgemv, float)
COUNTED(tnk_blas_dgemv, double)
COUNTED(tnk_blas_cgemv, tnk_complex8)
COUNTED(tnk_blas_zgemv, tnk_complex16)

void tnk_blas_ssyr(const char *uplo, const tnk_int *n, const float *alpha, const float *x,
                   const tnk_int *incx, float *a, const tnk_int *lda) {
  pass_on("tnk_blas_ssyr", uplo, n, alpha, x, incx, a, lda);
}
