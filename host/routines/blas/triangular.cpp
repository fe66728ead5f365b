// Public triangular solves and multiplies: check, cut B over the threads, then run the kernel on each slice.
#include <cstring>
#include <tnk/blas.h>
#include <tnk/blas_level3.h>

#include "host/dispatch/check.h"
#include "host/routines/blas/routine.h"
#include "host/routines/element.h"
#include "host/service/refusals.h"
#include "host/threading/cut.h"
#include "host/threading/team.h"

namespace tnk::host {
namespace {

template <class T>
using Kernel = void(const char *side, const char *uplo, const char *transa, const char *diag,
                    const tnk_int *m, const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda, T *b,
                    const tnk_int *ldb);

// A solve or a multiply of one type, by its names.
template <class T> struct Operation {
  const char *routine, *refusal; // refusal: the name in which the kernel reports that it got no memory
  KernelEntry<Kernel<T>> kernel;
  KernelEntry<Kernel<T>> small; // for orders up to small_order, with the same bits
};

// The scratch block that dtrsm takes costs more than a small solve itself, and dtrsm_pst is faster without: up to order 32
// by 1.1 to 2.4 times, at 48 no more (Zen 4, as many right-hand sides).
constexpr tnk_int small_order = 32;

// Slices are whole groups of four columns of B, or rows of B on the right, the last slice with what is left: kernels
// finish such groups packed and what is beyond them by plain loops, which may round otherwise. Rows are cut at cache
// lines as well, so that no two threads write one.
template <class T> Cut cut_sides(bool left, tnk_int m, tnk_int n) {
  constexpr tnk_int line = 64 / static_cast<tnk_int>(sizeof(T));
  const tnk_int order = left ? m : n, others = left ? n : m;
  const tnk_int tile = left ? 4 : line;
  constexpr double operations =
      is_complex<T> ? 4 : 1; // real ones, for each element of B and row of the square
  const double worth_while = operations * static_cast<double>(order) * static_cast<double>(order) *
                             static_cast<double>(others) / least_operations;
  return cut_tiles(left, others, tile, worth_while, worth_while < 2 ? 1 : usable_threads());
}

// By one call of a kernel, which leaves B as it was where it gets no memory.
template <class T, class... A>
void in_one_call(const Operation<T> &operation, Kernel<T> *run, A... arguments) {
  const char *&refusal = last_refusal();
  refusal = nullptr;
  run(arguments...);
  if (refusal && std::strcmp(refusal, operation.refusal) == 0) ++undone_calls();
}

// The same by the entries that take no memory: slower, and perhaps rounded otherwise.
template <class T>
[[gnu::cold]] void without_memory(const Operation<T> &operation, const char *side, const char *uplo,
                                  const char *transa, const char *diag, const tnk_int *m, const tnk_int *n,
                                  const T *alpha, const T *a, const tnk_int *lda, T *b, const tnk_int *ldb) {
  const char *const routine = operation.routine, type = routine[std::strlen("tnk_blas_")];
  const auto named = [routine](auto... parts) {
    char name[40];
    TextWriter text(name, sizeof name);
    (text.add(parts), ...);
    return require_kernel_entry(routine, name);
  };
  if constexpr (std::is_same_v<T, double>) {
    if (auto *const plain = reinterpret_cast<Kernel<T> *>(named(routine, "_pst")))
      plain(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  } else {
    // One entry for each side, triangle and operation, where the conjugate of a real matrix is the transpose.
    using Scale = void(const tnk_int *m, const tnk_int *n, const T *beta, T *c, const tnk_int *ldc);
    using Family = void(const char *diag, const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda,
                        T *b, const tnk_int *ldb);
    const char lower_case[] = {
        static_cast<char>(*side | 32), static_cast<char>(*uplo | 32),
        !is_complex<T> && is_letter(*transa, 'c') ? 't' : static_cast<char>(*transa | 32), '\0'};
    const char letter[] = {type, '\0'};
    auto *const scale = reinterpret_cast<Scale *>(named("tnk_blas_", letter, "gemm_mscale"));
    auto *const plain = reinterpret_cast<Family *>(named(routine, "_", lower_case));
    if (!scale || !plain) return;
    scale(m, n, alpha, b, ldb);
    plain(diag, m, n, a, lda, b, ldb);
  }
}

template <class T>
[[gnu::noinline]] void careful(Operation<T> &operation, const char *side, const char *uplo,
                               const char *transa, const char *diag, const tnk_int *m, const tnk_int *n,
                               const T *alpha, const T *a, const tnk_int *lda, T *b, const tnk_int *ldb) {
  const Check check(operation.routine);
  if (!check.option(1, "side", side, "LR") || !check.option(2, "uplo", uplo, "UL") ||
      !check.option(3, "transa", transa, "NTC") || !check.option(4, "diag", diag, "NU") ||
      !check.length<T>(5, "m", m) || !check.length<T>(6, "n", n) || !check.address(7, "alpha", alpha))
    return;
  const bool left = is_letter(*side, 'l'), empty = *m == 0 || *n == 0, reads = !empty && !is_value(*alpha, 0);
  const tnk_int order = left ? *m : *n;
  if (!check.matrix(8, "a", a, reads, "lda", lda, order, order) ||
      !check.matrix(10, "b", b, !empty, "ldb", ldb, *m, *n) || empty)
    return;
  Kernel<T> *const run = operation.kernel.get(operation.routine);
  if (!run) return;

  const Cut cut = reads ? cut_sides<T>(left, *m, *n) : Cut{1, left, 0, 1};
  if (cut.slices == 1)
    return in_one_call(operation, run, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  spread(cut.slices, cut.slices, [&](int i) {
    const tnk_int first = cut.begin(i), size = cut.begin(i + 1) - first;
    T *const part = b + first * (left ? *ldb : 1);
    const tnk_int *const rows = left ? m : &size, *const columns = left ? &size : n;
    last_refusal() = nullptr;
    run(side, uplo, transa, diag, rows, columns, alpha, a, lda, part, ldb);
    // The other slices may be done, so this one must be as well.
    if (last_refusal() && std::strcmp(last_refusal(), operation.refusal) == 0)
      without_memory(operation, side, uplo, transa, diag, rows, columns, alpha, a, lda, part, ldb);
  });
}

// Orders and widths that no limit is near, in a call that may be done in a fraction of a microsecond.
bool are_usual(bool left, tnk_int m, tnk_int n, tnk_int lda, tnk_int ldb) {
  constexpr std::uint64_t small = 64;
  return (above(1, m) | above(1, n)) < small && (above(left ? m : n, lda) | above(m, ldb)) < usual_gap;
}

template <class T>
void run(Operation<T> &operation, const char *side, const char *uplo, const char *transa, const char *diag,
         const tnk_int *m, const tnk_int *n, const T *alpha, const T *a, const tnk_int *lda, T *b,
         const tnk_int *ldb) {
  Kernel<T> *const kernel = operation.kernel.known();
  if (kernel && all_given(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb)) {
    const bool left = is_letter(*side, 'l');
    if ((left || is_letter(*side, 'r')) && (is_letter(*uplo, 'u') || is_letter(*uplo, 'l')) &&
        (is_letter(*transa, 'n') || is_letter(*transa, 't') || is_letter(*transa, 'c')) &&
        (is_letter(*diag, 'n') || is_letter(*diag, 'u')) && are_usual(left, *m, *n, *lda, *ldb)) {
      const bool small = (left ? *m : *n) <= small_order;
      if (Kernel<T> *const chosen = small ? operation.small.get(operation.routine) : kernel)
        in_one_call(operation, chosen, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
      return;
    }
  }
  careful(operation, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

} // namespace
} // namespace tnk::host

#define TNK_PUBLIC(t, T, operation, small)                                                                   \
  void tnk_blas_##t##operation(const char *side, const char *uplo, const char *transa, const char *diag,     \
                               const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,               \
                               const tnk_int *lda, T *b, const tnk_int *ldb) {                               \
    static tnk::host::Operation<T> names{                                                                    \
        "tnk_blas_" #t #operation, "x" #operation,                                                           \
        tnk::host::KernelEntry<tnk::host::Kernel<T>>("tnk_blas_x" #t #operation),                            \
        tnk::host::KernelEntry<tnk::host::Kernel<T>>("tnk_blas_" #small)};                                   \
    tnk::host::run(names, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                            \
  }
TNK_PUBLIC(s, float, trsm, xstrsm)
TNK_PUBLIC(d, double, trsm, dtrsm_pst)
TNK_PUBLIC(c, tnk_complex8, trsm, xctrsm)
TNK_PUBLIC(z, tnk_complex16, trsm, xztrsm)
TNK_PUBLIC(s, float, trmm, xstrmm)
TNK_PUBLIC(d, double, trmm, xdtrmm)
TNK_PUBLIC(c, tnk_complex8, trmm, xctrmm)
TNK_PUBLIC(z, tnk_complex16, trmm, xztrmm)
#undef TNK_PUBLIC
