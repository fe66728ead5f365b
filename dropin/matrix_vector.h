// Matrix and vector: the published checks, what the routines behind leave to their caller, and the call. Letters are lower
// case, the arguments those of the Fortran routine.
#pragma once

#include "dropin/faults.h"

namespace tnk::dropin {

// Small products go straight to their kernel, which asks nothing; of others the host has to say how many threads they take.
constexpr tnk_int small_order = 128;

template <class T, class Run>
void gemv(Call call, Run *kernel, Run *routine, char trans, tnk_int m, tnk_int n, const T *alpha, const T *a,
          tnk_int lda, const T *x, tnk_int incx, const T *beta, T *y, tnk_int incy) {
  if (const int bad = faults::gemv(trans, m, n, lda, incx, incy)) return call.refuse(bad);
  Run *const run = (m | n) < small_order ? kernel : routine;
  run(&trans, &m, &n, alpha, a, &lda, x, &incx, beta, y, &incy);
}

template <class T, class Run, class Scale>
void gbmv(Call call, Run *run, Scale *scale, char trans, tnk_int m, tnk_int n, tnk_int kl, tnk_int ku,
          const T *alpha, const T *a, tnk_int lda, const T *x, tnk_int incx, const T *beta, T *y,
          tnk_int incy) {
  if (const int bad = faults::gbmv(trans, m, n, kl, ku, lda, incx, incy)) return call.refuse(bad);
  if (is_zero(*alpha)) {
    // The kernel multiplies by zero what is not to be read; the full product only scales.
    if (m == 0 || n == 0) return;
    const tnk_int rows = trans == 'n' ? m : n, one = 1;
    scale("n", &rows, &one, alpha, a, &rows, x, &one, beta, y, &incy);
    return;
  }
  run(&trans, &m, &n, &kl, &ku, alpha, a, &lda, x, &incx, beta, y, &incy);
}

// The Hermitian forms of these take the same arguments.

template <class T, class Run>
void symv(Call call, Run *run, char uplo, tnk_int n, const T *alpha, const T *a, tnk_int lda, const T *x,
          tnk_int incx, const T *beta, T *y, tnk_int incy) {
  if (const int bad = faults::symv(uplo, n, lda, incx, incy)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, alpha, a, &lda, x, &incx, beta, y, &incy);
}

template <class T, class Run>
void sbmv(Call call, Run *run, char uplo, tnk_int n, tnk_int k, const T *alpha, const T *a, tnk_int lda,
          const T *x, tnk_int incx, const T *beta, T *y, tnk_int incy) {
  if (const int bad = faults::sbmv(uplo, n, k, lda, incx, incy)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, &k, alpha, a, &lda, x, &incx, beta, y, &incy);
}

template <class T, class Run>
void spmv(Call call, Run *run, char uplo, tnk_int n, const T *alpha, const T *a, const T *x, tnk_int incx,
          const T *beta, T *y, tnk_int incy) {
  if (const int bad = faults::spmv(uplo, n, incx, incy)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, alpha, a, x, &incx, beta, y, &incy);
}

// Products and solves take the same arguments.

template <class T, class Run>
void trmv(Call call, Run *run, char uplo, char trans, char diag, tnk_int n, const T *a, tnk_int lda, T *x,
          tnk_int incx) {
  if (const int bad = faults::trmv(uplo, trans, diag, n, lda, incx)) return call.refuse(bad);
  run_or_end(run, &uplo, &trans, &diag, &n, a, &lda, x, &incx);
}

template <class T, class Run>
void tbmv(Call call, Run *run, char uplo, char trans, char diag, tnk_int n, tnk_int k, const T *a,
          tnk_int lda, T *x, tnk_int incx) {
  if (const int bad = faults::tbmv(uplo, trans, diag, n, k, lda, incx)) return call.refuse(bad);
  run_or_end(run, &uplo, &trans, &diag, &n, &k, a, &lda, x, &incx);
}

template <class T, class Run>
void tpmv(Call call, Run *run, char uplo, char trans, char diag, tnk_int n, const T *a, T *x, tnk_int incx) {
  if (const int bad = faults::tpmv(uplo, trans, diag, n, incx)) return call.refuse(bad);
  run_or_end(run, &uplo, &trans, &diag, &n, a, x, &incx);
}

// Updates; alpha of the Hermitian ones with one vector is real.

template <class T, class Run>
void ger(Call call, Run *run, tnk_int m, tnk_int n, const T *alpha, const T *x, tnk_int incx, const T *y,
         tnk_int incy, T *a, tnk_int lda) {
  if (const int bad = faults::ger(m, n, incx, incy, lda)) return call.refuse(bad);
  run(&m, &n, alpha, x, &incx, y, &incy, a, &lda);
}

template <class T, class Run>
void syr(Call call, Run *run, char uplo, tnk_int n, const real_of<T> *alpha, const T *x, tnk_int incx, T *a,
         tnk_int lda) {
  if (const int bad = faults::syr(uplo, n, incx, lda)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, alpha, x, &incx, a, &lda);
}

template <class T, class Run>
void spr(Call call, Run *run, char uplo, tnk_int n, const real_of<T> *alpha, const T *x, tnk_int incx, T *a) {
  if (const int bad = faults::spr(uplo, n, incx)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, alpha, x, &incx, a);
}

template <class T, class Run>
void syr2(Call call, Run *run, char uplo, tnk_int n, const T *alpha, const T *x, tnk_int incx, const T *y,
          tnk_int incy, T *a, tnk_int lda) {
  if (const int bad = faults::syr2(uplo, n, incx, incy, lda)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, alpha, x, &incx, y, &incy, a, &lda);
}

template <class T, class Run>
void spr2(Call call, Run *run, char uplo, tnk_int n, const T *alpha, const T *x, tnk_int incx, const T *y,
          tnk_int incy, T *a) {
  if (const int bad = faults::spr2(uplo, n, incx, incy)) return call.refuse(bad);
  run_or_end(run, &uplo, &n, alpha, x, &incx, y, &incy, a);
}

} // namespace tnk::dropin
