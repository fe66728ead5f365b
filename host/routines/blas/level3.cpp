// Public matrix products: check, cut over the threads, then run the kernel on each slice.
#include <tnk/blas.h>
#include <tnk/blas_level3.h>

#include "host/dispatch/check.h"
#include "host/routines/blas/routine.h"
#include "host/routines/element.h"
#include "host/threading/cut.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

// What the kernel library has for the products of one type.
template <class Kernel> struct Product {
  KernelEntry<Kernel> kernel;
  KernelEntry<const tnk_gemm_row> table;
  KernelEntry<const std::int32_t> row_in_use;
};

bool is_option(char letter) {
  return is_plain(letter) || is_letter(letter, 't') || is_letter(letter, 'c');
}

// Products up to this order are not worth a second thread, by far.
constexpr std::uint64_t small_order = 64;
static_assert(static_cast<double>(8 * small_order * small_order * small_order) < 2 * least_operations);

// Good arguments of a small product. Numbers share a question: where one is negative, so is their union.
[[gnu::always_inline]] inline bool are_usual(char transa, char transb, tnk_int m, tnk_int n, tnk_int k,
                                             tnk_int lda, tnk_int ldb, tnk_int ldc) {
  const auto sizes = above(1, m) | above(1, n) | above(1, k);
  const auto gaps =
      above(is_plain(transa) ? m : k, lda) | above(is_plain(transb) ? k : n, ldb) | above(m, ldc);
  return sizes < small_order && gaps < usual_gap && is_option(transa) && is_option(transb);
}

template <class T, class Kernel>
[[gnu::cold, gnu::noinline]] void
careful_gemm(const char *routine, Product<Kernel> &product, const char *transa, const char *transb,
             const tnk_int *m, const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,
             const tnk_int *lda, const T *b, const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {
  const Check check(routine);
  if (!check.option(1, "transa", transa, "NTC") || !check.option(2, "transb", transb, "NTC") ||
      !check.length<T>(3, "m", m) || !check.length<T>(4, "n", n) || !check.length<T>(5, "k", k) ||
      !check.address(6, "alpha", alpha))
    return;
  const bool plain_a = is_plain(*transa), plain_b = is_plain(*transb);
  const bool empty = *m == 0 || *n == 0, scales_only = *k == 0 || is_value(*alpha, 0);
  const bool reads = !empty && !scales_only;
  if (!check.matrix(7, "a", a, reads, "lda", lda, plain_a ? *m : *k, plain_a ? *k : *m) ||
      !check.matrix(9, "b", b, reads, "ldb", ldb, plain_b ? *k : *n, plain_b ? *n : *k) ||
      !check.address(11, "beta", beta) || !check.matrix(12, "c", c, !empty, "ldc", ldc, *m, *n) || empty)
    return;

  Kernel *const run = product.kernel.get(routine);
  if (!run) return;
  constexpr int operations = is_complex<T> ? 8 : 2; // real ones a step
  const int threads = scales_only || threads_worth_while(*m, *n, *k, operations) < 2 ? 1 : usable_threads();
  if (threads > 1) {
    const tnk_gemm_row *const table = product.table.get(routine);
    const std::int32_t *const row = product.row_in_use.get(routine);
    if (!table || !row) return;
    const Cut cut = cut_product(table[*row], *m, *n, *k, operations, threads);
    if (cut.slices > 1) {
      spread(cut.slices, cut.slices, [&](int i) {
        const tnk_int first = cut.begin(i), size = cut.begin(i + 1) - first;
        if (cut.columns)
          run(transa, transb, m, &size, k, alpha, a, lda, b + first * (plain_b ? *ldb : 1), ldb, beta,
              c + first * *ldc, ldc);
        else
          run(transa, transb, &size, n, k, alpha, a + first * (plain_a ? 1 : *lda), lda, b, ldb, beta,
              c + first, ldc);
      });
      return;
    }
  }
  run(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <class T, class Kernel>
void gemm(const char *routine, Product<Kernel> &product, const char *transa, const char *transb,
          const tnk_int *m, const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,
          const tnk_int *lda, const T *b, const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {
  Kernel *const run = product.kernel.known();
  if (run && all_given(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc) &&
      are_usual(*transa, *transb, *m, *n, *k, *lda, *ldb, *ldc))
    return run(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  careful_gemm(routine, product, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T)                                                                                     \
  void tnk_blas_##t##gemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,        \
                          const tnk_int *k, const T *alpha, const T *a, const tnk_int *lda, const T *b,      \
                          const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc) {                     \
    using tnk::host::KernelEntry;                                                                            \
    static tnk::host::Product<decltype(tnk_blas_x##t##gemm)> product{                                        \
        KernelEntry<decltype(tnk_blas_x##t##gemm)>("tnk_blas_x" #t "gemm"),                                  \
        KernelEntry<const tnk_gemm_row>("avx_" #t "_all_gemm_ker"),                                          \
        KernelEntry<const std::int32_t>("avx_" #t "_opt_gemm_ker")};                                         \
    tnk::host::gemm("tnk_blas_" #t "gemm", product, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, \
                    ldc);                                                                                    \
  }
TNK_PUBLIC(s, float)
TNK_PUBLIC(d, double)
TNK_PUBLIC(c, tnk_complex8)
TNK_PUBLIC(z, tnk_complex16)
#undef TNK_PUBLIC
