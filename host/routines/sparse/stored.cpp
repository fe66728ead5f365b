#include "host/routines/sparse/stored.h"

#include <cstring>

#include "host/routines/sparse/arguments.h"
#include "host/routines/sparse/kernels.h"
#include "host/routines/sparse/pieces.h"
#include "host/routines/sparse/plan.h"

namespace tnk::host::sparse {
namespace {

// Kernels beside the grid. Blocks: with all operands by rows, and by columns; in the order of the kinds, without the
// Hermitian one.
template <class T> struct StoredKernels;
template <class T> StoredKernels<T> &stored_kernels();
#define TNK_BLOCKS(t, form)                                                                                  \
  {                                                                                                          \
    KernelEntry<Blocks>{"tnk_spblas_" form #t "bsrmmgen"},                                                   \
        KernelEntry<Blocks>{"tnk_spblas_" form #t "bsrmmsym"},                                               \
        KernelEntry<Blocks>{"tnk_spblas_" form #t "bsrmmsym"},                                               \
        KernelEntry<Blocks>{"tnk_spblas_" form #t "bsrmmtr"},                                                \
        KernelEntry<Blocks>{"tnk_spblas_" form #t "bsrmmdiag"}, KernelEntry<Blocks> {                        \
      "tnk_spblas_" form #t "bsrmmskew"                                                                      \
    }                                                                                                        \
  }
#define TNK_STORED(t, T)                                                                                     \
  template <> struct StoredKernels<T> {                                                                      \
    using Blocks = decltype(tnk_spblas_##t##bsrmmgen);                                                       \
    using Skyline = decltype(tnk_spblas_##t##skymmkk);                                                       \
    KernelEntry<Blocks> blocks[2][6] = {TNK_BLOCKS(t, "cspblas_"), TNK_BLOCKS(t, "")};                       \
    KernelEntry<Skyline> triangle{"tnk_spblas_" #t "skymmkk"}, symmetric{"tnk_spblas_" #t "skymmsk"};        \
  };                                                                                                         \
  template <> StoredKernels<T> &stored_kernels<T>() {                                                        \
    static StoredKernels<T> all;                                                                             \
    return all;                                                                                              \
  }
TNK_STORED(s, float)
TNK_STORED(d, double)
TNK_STORED(c, tnk_complex8)
TNK_STORED(z, tnk_complex16)
#undef TNK_STORED
#undef TNK_BLOCKS

// Stored diagonals have kernels for their transposes, those of skew matrices too.
Plan plan_diagonals(const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d, char op, bool complex) {
  Plan plan = plan_product(a, d, op, complex);
  std::memcpy(plan.storage, "dia", 4);
  plan.base = '1';
  if (plan.kind == 'a') {
    plan.negated = false;
    plan.op = op == 'N' ? 'n' : op == 'C' && complex ? 'c' : 't';
  }
  return plan;
}

template <class T>
using DiaMv = void(Int first, Int last, Int m, Int n, const T *alpha, const T *values, Int stride,
                   Int distance, Int count, const T *x, T *y);
template <class T>
using DiaMm = void(Int first, Int last, Int m, Int n, Int k, const T *alpha, const T *values, Int stride,
                   Int distance, Int count, const T *b, Int ldb, T *c, Int ldc);

} // namespace

template <class T> bool StoredProduct<T>::has_kernel() const {
  const bool whole = !several_ || d_.base == 1; // dense operands by rows have kernels with blocks only
  if (a_.storage == TNK_SPARSE_DIA)
    return whole && (d_.kind != TNK_SPARSE_DIAGONAL || d_.diagonal == TNK_SPARSE_NONUNIT);
  if ((is_complex<T> && op_ == 'C') || d_.kind == TNK_SPARSE_HERMITIAN) return false;
  if (a_.storage == TNK_SPARSE_BSR) return a_.m % a_.block_size == 0 && a_.n % a_.block_size == 0;
  return whole && d_.kind != TNK_SPARSE_SKEW;
}

template <class T> void *StoredProduct<T>::find_kernel() const {
  if (a_.storage == TNK_SPARSE_DIA)
    return grid_kernel<T>(routine_, plan_diagonals(a_, d_, op_, is_complex<T>),
                          several_ ? Operation::mm : Operation::mv);
  StoredKernels<T> &all = stored_kernels<T>();
  if (a_.storage == TNK_SPARSE_BSR)
    return reinterpret_cast<void *>(all.blocks[d_.base][d_.kind].get(routine_));
  auto &entry = d_.kind == TNK_SPARSE_SYMMETRIC ? all.symmetric : all.triangle;
  return reinterpret_cast<void *>(entry.get(routine_));
}

template <class T> tnk_sparse_status StoredProduct<T>::prepare() {
  if (!has_kernel()) return rows_of(routine_, a_, d_.base, d_.triangle == TNK_SPARSE_UPPER, made_);
  kernel_ = find_kernel();
  return kernel_ ? TNK_SPARSE_OK : TNK_SPARSE_NO_KERNEL;
}

// Block rows from first up to past.
template <class T>
void StoredProduct<T>::run_blocks(tnk_int first, tnk_int past, tnk_int nrhs, const T *b, tnk_int ldb, T *c,
                                  tnk_int ldc) const {
  const bool unit =
      d_.kind != TNK_SPARSE_GENERAL && d_.kind != TNK_SPARSE_SKEW && d_.diagonal == TNK_SPARSE_UNIT;
  const bool upper =
      d_.kind != TNK_SPARSE_GENERAL && d_.kind != TNK_SPARSE_DIAGONAL && d_.triangle == TNK_SPARSE_UPPER;
  const tnk_int flag =
      transposes() * TNK_SPBLAS_TRANSPOSED + upper * TNK_SPBLAS_UPPER + unit * TNK_SPBLAS_UNIT;
  const tnk_int count = past - first, size = a_.block_size, skipped = a_.row_start[first] - a_.row_start[0];
  reinterpret_cast<typename StoredKernels<T>::Blocks *>(kernel_)(
      &flag, &count, &nrhs, &size, &alpha_, static_cast<const T *>(a_.values) + skipped * size * size,
      a_.col_index + skipped, a_.row_start + first, a_.row_end + first, b, &ldb, c, &ldc);
}

template <class T>
void StoredProduct<T>::run(tnk_int begin, tnk_int end, const T *b, tnk_int ldb, T *c, tnk_int ldc) const {
  const T *const values = static_cast<const T *>(a_.values);
  const bool by_columns = d_.base == 1;
  const tnk_int first = begin + 1, count = end - begin;
  const T *const from = b + begin * (by_columns ? ldb : 1);
  T *const to = c + begin * (by_columns ? ldc : 1);
  if (a_.storage == TNK_SPARSE_DIA) {
    if (several_)
      reinterpret_cast<DiaMm<T> *>(kernel_)(&first, &end, &a_.m, &a_.n, &count, &alpha_, values,
                                            &a_.diag_stride, a_.diag_distance, &a_.diag_count, b, &ldb, c,
                                            &ldc);
    else
      reinterpret_cast<DiaMv<T> *>(kernel_)(&first, &end, &a_.m, &a_.n, &alpha_, values, &a_.diag_stride,
                                            a_.diag_distance, &a_.diag_count, b, c);
  } else if (a_.storage == TNK_SPARSE_BSR) {
    run_blocks(0, a_.m / a_.block_size, count, from, ldb, to, ldc);
  } else {
    const tnk_int flag = transposes(), upper = d_.triangle == TNK_SPARSE_UPPER,
                  unit = d_.diagonal == TNK_SPARSE_UNIT;
    reinterpret_cast<typename StoredKernels<T>::Skyline *>(kernel_)(
        &flag, nullptr, &a_.m, &count, &upper, &unit, &alpha_, values, a_.row_start, from, &ldb, to, &ldc);
  }
}

template <class T> void StoredProduct<T>::run(const T *x, T *y) const {
  const bool by_columns = d_.base == 1;
  const tnk_int ldx = by_columns ? std::max(a_.m, a_.n) : 1, ldy = ldx;
  const int threads = threads_worth_while(entries());
  if (a_.storage != TNK_SPARSE_BSR || d_.kind != TNK_SPARSE_GENERAL || transposes() || threads <= 1)
    return run(0, 1, x, ldx, y, ldy);
  tnk_sparse_matrix lists = a_;
  lists.m /= a_.block_size;
  const Pieces p = row_pieces(threads * slices_a_thread, lists);
  spread(p.count, threads, [&](int i) {
    if (p.begin[i] < p.begin[i + 1])
      run_blocks(p.begin[i], p.begin[i + 1], 1, x, ldx, y + p.begin[i] * a_.block_size, ldy);
  });
}

template <class T> double StoredProduct<T>::entries() const {
  const auto size = static_cast<double>(a_.block_size);
  return a_.storage == TNK_SPARSE_SKY   ? static_cast<double>(a_.row_start[a_.m] - a_.row_start[0])
         : a_.storage == TNK_SPARSE_DIA ? static_cast<double>(a_.diag_count) * static_cast<double>(a_.m)
                                        : static_cast<double>(a_.nnz) * size * size;
}

bool stored_product_is_sound(const Check &check, const tnk_sparse_matrix &a, const tnk_sparse_descriptor &d,
                             bool several) {
  if (a.storage == TNK_SPARSE_SKY)
    return check.number(4, "descriptor->kind", d.kind,
                        d.kind != TNK_SPARSE_GENERAL && d.kind != TNK_SPARSE_DIAGONAL,
                        "a kind with a triangle, in a skyline");
  return a.storage != TNK_SPARSE_DIA || !several ||
         check.number(4, "descriptor->base", d.base, d.base == 1 || a.m == a.n,
                      "1 for stored diagonals that are not square");
}

template class StoredProduct<float>;
template class StoredProduct<double>;
template class StoredProduct<tnk_complex8>;
template class StoredProduct<tnk_complex16>;

} // namespace tnk::host::sparse
