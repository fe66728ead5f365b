// Products, solves and updates of matrices: the published checks, then the host's routine. Letters are lower case, the
// arguments those of the Fortran routine.
#pragma once

#include "dropin/faults.h"
#include "dropin/halves.h"

namespace tnk::dropin {

template <class T, class Run>
void gemm(Call call, Run *run, char transa, char transb, tnk_int m, tnk_int n, tnk_int k, const T *alpha,
          const T *a, tnk_int lda, const T *b, tnk_int ldb, const T *beta, T *c, tnk_int ldc) {
  if (const int bad = faults::gemm(transa, transb, m, n, k, lda, ldb, ldc)) return call.refuse(bad);
  // C counts as touched behind this; here it need not even be there.
  if ((k == 0 || is_zero(*alpha)) && is_one(*beta)) return;
  run(&transa, &transb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}

// hemm takes the same arguments.
template <class T, class Run>
void symm(Call call, Run *run, char side, char uplo, tnk_int m, tnk_int n, const T *alpha, const T *a,
          tnk_int lda, const T *b, tnk_int ldb, const T *beta, T *c, tnk_int ldc) {
  if (const int bad = faults::symm(side, uplo, m, n, lda, ldb, ldc)) return call.refuse(bad);
  if (is_zero(*alpha) && is_one(*beta)) return;
  run_or_end(run, &side, &uplo, &m, &n, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}

template <class T, class Run>
void trmm(Call call, Run *run, char side, char uplo, char transa, char diag, tnk_int m, tnk_int n,
          const T *alpha, const T *a, tnk_int lda, T *b, tnk_int ldb) {
  if (const int bad = faults::trmm(side, uplo, transa, diag, m, n, lda, ldb)) return call.refuse(bad);
  run_or_end(run, &side, &uplo, &transa, &diag, &m, &n, alpha, a, &lda, b, &ldb);
}

template <class T, class Run, class Multiply>
void trsm(Call call, Run *run, Multiply *multiply, char side, char uplo, char transa, char diag, tnk_int m,
          tnk_int n, const T *alpha, const T *a, tnk_int lda, T *b, tnk_int ldb) {
  if constexpr (std::is_same_v<real_of<T>, float>) {
    const tnk_int order = side == 'l' ? m : n, count = side == 'l' ? n : m;
    using ByHalves = Halves<T, Run, Multiply>;
    if (ByHalves::fit(order) && count > 0 && !is_zero(*alpha) &&
        !faults::trmm(side, uplo, transa, diag, m, n, lda, ldb))
      return ByHalves{run, multiply, side, uplo, transa, diag, lda, ldb}.run(order, count, alpha, a, b);
  }
  trmm(call, run, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

// The letters that ask for a transpose: of a real matrix both, of a complex one that of the routine.
template <class T> constexpr const char *transposes_of_syrk = is_complex<T> ? "t" : "tc";
constexpr const char *transposes_of_herk = "c";

// Real scalars for herk, others for syrk.
template <class T, class Run, class S>
void syrk(Call call, Run *run, const char *transposes, char uplo, char trans, tnk_int n, tnk_int k,
          const S *alpha, const T *a, tnk_int lda, const S *beta, T *c, tnk_int ldc) {
  if (const int bad = faults::syrk(transposes, uplo, trans, n, k, lda, ldc)) return call.refuse(bad);
  if ((k == 0 || is_zero(*alpha)) && is_one(*beta)) return;
  run_or_end(run, &uplo, &trans, &n, &k, alpha, a, &lda, beta, c, &ldc);
}

// A real beta for her2k.
template <class T, class Run, class S>
void syr2k(Call call, Run *run, const char *transposes, char uplo, char trans, tnk_int n, tnk_int k,
           const T *alpha, const T *a, tnk_int lda, const T *b, tnk_int ldb, const S *beta, T *c,
           tnk_int ldc) {
  if (const int bad = faults::syr2k(transposes, uplo, trans, n, k, lda, ldb, ldc)) return call.refuse(bad);
  if ((k == 0 || is_zero(*alpha)) && is_one(*beta)) return;
  run_or_end(run, &uplo, &trans, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
}

} // namespace tnk::dropin
