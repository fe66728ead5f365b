// The triangular multiply of single precision and of complex numbers by name: side, triangle, operation.
#include "kernel/blas/level3/trmm.h"

using namespace tnk::level3;

#define MULTIPLY(type, T, s, side, u, upper, o, op)                                                          \
  void tnk_blas_##type##trmm_##s##u##o(const char *diag, const tnk_int *m, const tnk_int *n, const T *a,     \
                                       const tnk_int *lda, T *b, const tnk_int *ldb) {                       \
    multiply_from_##side<T>({op, upper, is_letter(diag, 'U'), a, *lda}, *m, *n, b, *ldb);                    \
  }
#define TRIANGLES(type, T, s, side, o, op)                                                                   \
  MULTIPLY(type, T, s, side, l, false, o, op) MULTIPLY(type, T, s, side, u, true, o, op)
#define SIDES(type, T, o, op) TRIANGLES(type, T, l, left, o, op) TRIANGLES(type, T, r, right, o, op)
#define FAMILY(type, T) SIDES(type, T, n, as_it_is) SIDES(type, T, t, transposed)

FAMILY(s, float)
FAMILY(c, tnk_complex8)
SIDES(c, tnk_complex8, c, conjugate_transposed)
FAMILY(z, tnk_complex16)
SIDES(z, tnk_complex16, c, conjugate_transposed)
