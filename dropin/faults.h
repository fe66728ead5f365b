// The published checks of matrix routines: each gives the position of the first bad argument in the Fortran routine's list, 0
// where all are good. Letters are lower case.
#pragma once

#include "dropin/face.h"

namespace tnk::dropin::faults {

// The first of some pairs (position, whether it is bad).
struct At {
  int position;
  bool bad;
};
template <class... A> int first(A... at) {
  int position = 0;
  static_cast<void>(((at.bad ? (position = at.position, true) : false) || ...));
  return position;
}

inline bool is_none_of(char letter, const char *letters) {
  while (*letters && *letters != letter) ++letters;
  return *letters == '\0';
}
inline bool no_uplo(char letter) {
  return letter != 'u' && letter != 'l';
}
inline bool no_trans(char letter) {
  return letter != 'n' && letter != 't' && letter != 'c';
}
inline bool no_diag(char letter) {
  return letter != 'n' && letter != 'u';
}
inline bool no_side(char letter) {
  return letter != 'l' && letter != 'r';
}
inline bool short_of(tnk_int ld, tnk_int rows) {
  return ld < (rows > 1 ? rows : 1);
}

// ---- Matrix and vector -----------------------------------------------------------------------------------------------

inline int gemv(char trans, tnk_int m, tnk_int n, tnk_int lda, tnk_int incx, tnk_int incy) {
  return first(At{1, no_trans(trans)}, At{2, m < 0}, At{3, n < 0}, At{6, short_of(lda, m)}, At{8, incx == 0},
               At{11, incy == 0});
}
inline int gbmv(char trans, tnk_int m, tnk_int n, tnk_int kl, tnk_int ku, tnk_int lda, tnk_int incx,
                tnk_int incy) {
  return first(At{1, no_trans(trans)}, At{2, m < 0}, At{3, n < 0}, At{4, kl < 0}, At{5, ku < 0},
               At{8, lda < kl + ku + 1}, At{10, incx == 0}, At{13, incy == 0});
}
inline int symv(char uplo, tnk_int n, tnk_int lda, tnk_int incx, tnk_int incy) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{5, short_of(lda, n)}, At{7, incx == 0},
               At{10, incy == 0});
}
inline int sbmv(char uplo, tnk_int n, tnk_int k, tnk_int lda, tnk_int incx, tnk_int incy) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{3, k < 0}, At{6, lda < k + 1}, At{8, incx == 0},
               At{11, incy == 0});
}
inline int spmv(char uplo, tnk_int n, tnk_int incx, tnk_int incy) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{6, incx == 0}, At{9, incy == 0});
}
inline int trmv(char uplo, char trans, char diag, tnk_int n, tnk_int lda, tnk_int incx) {
  return first(At{1, no_uplo(uplo)}, At{2, no_trans(trans)}, At{3, no_diag(diag)}, At{4, n < 0},
               At{6, short_of(lda, n)}, At{8, incx == 0});
}
inline int tbmv(char uplo, char trans, char diag, tnk_int n, tnk_int k, tnk_int lda, tnk_int incx) {
  return first(At{1, no_uplo(uplo)}, At{2, no_trans(trans)}, At{3, no_diag(diag)}, At{4, n < 0}, At{5, k < 0},
               At{7, lda < k + 1}, At{9, incx == 0});
}
inline int tpmv(char uplo, char trans, char diag, tnk_int n, tnk_int incx) {
  return first(At{1, no_uplo(uplo)}, At{2, no_trans(trans)}, At{3, no_diag(diag)}, At{4, n < 0},
               At{7, incx == 0});
}
inline int ger(tnk_int m, tnk_int n, tnk_int incx, tnk_int incy, tnk_int lda) {
  return first(At{1, m < 0}, At{2, n < 0}, At{5, incx == 0}, At{7, incy == 0}, At{9, short_of(lda, m)});
}
inline int syr(char uplo, tnk_int n, tnk_int incx, tnk_int lda) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{5, incx == 0}, At{7, short_of(lda, n)});
}
inline int spr(char uplo, tnk_int n, tnk_int incx) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{5, incx == 0});
}
inline int syr2(char uplo, tnk_int n, tnk_int incx, tnk_int incy, tnk_int lda) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{5, incx == 0}, At{7, incy == 0},
               At{9, short_of(lda, n)});
}
inline int spr2(char uplo, tnk_int n, tnk_int incx, tnk_int incy) {
  return first(At{1, no_uplo(uplo)}, At{2, n < 0}, At{5, incx == 0}, At{7, incy == 0});
}

// ---- Matrices --------------------------------------------------------------------------------------------------------

inline int gemm(char transa, char transb, tnk_int m, tnk_int n, tnk_int k, tnk_int lda, tnk_int ldb,
                tnk_int ldc) {
  return first(At{1, no_trans(transa)}, At{2, no_trans(transb)}, At{3, m < 0}, At{4, n < 0}, At{5, k < 0},
               At{8, short_of(lda, transa == 'n' ? m : k)}, At{10, short_of(ldb, transb == 'n' ? k : n)},
               At{13, short_of(ldc, m)});
}
inline int symm(char side, char uplo, tnk_int m, tnk_int n, tnk_int lda, tnk_int ldb, tnk_int ldc) {
  return first(At{1, no_side(side)}, At{2, no_uplo(uplo)}, At{3, m < 0}, At{4, n < 0},
               At{7, short_of(lda, side == 'l' ? m : n)}, At{9, short_of(ldb, m)}, At{12, short_of(ldc, m)});
}
inline int trmm(char side, char uplo, char transa, char diag, tnk_int m, tnk_int n, tnk_int lda,
                tnk_int ldb) {
  return first(At{1, no_side(side)}, At{2, no_uplo(uplo)}, At{3, no_trans(transa)}, At{4, no_diag(diag)},
               At{5, m < 0}, At{6, n < 0}, At{9, short_of(lda, side == 'l' ? m : n)},
               At{11, short_of(ldb, m)});
}
// transposed: the letters that mean one here.
inline int syrk(const char *transposed, char uplo, char trans, tnk_int n, tnk_int k, tnk_int lda,
                tnk_int ldc) {
  return first(At{1, no_uplo(uplo)}, At{2, trans != 'n' && is_none_of(trans, transposed)}, At{3, n < 0},
               At{4, k < 0}, At{7, short_of(lda, trans == 'n' ? n : k)}, At{10, short_of(ldc, n)});
}
inline int syr2k(const char *transposed, char uplo, char trans, tnk_int n, tnk_int k, tnk_int lda,
                 tnk_int ldb, tnk_int ldc) {
  const tnk_int rows = trans == 'n' ? n : k;
  return first(At{1, no_uplo(uplo)}, At{2, trans != 'n' && is_none_of(trans, transposed)}, At{3, n < 0},
               At{4, k < 0}, At{7, short_of(lda, rows)}, At{9, short_of(ldb, rows)},
               At{12, short_of(ldc, n)});
}

} // namespace tnk::dropin::faults
