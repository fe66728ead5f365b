// Solves with an incomplete factorization L D L^T whose D has pivots of one and of two rows.
#include "kernel/frame/element.h"
#include <tnk/spblas_convert.h>

namespace tnk::sparse {
namespace {

// L without its diagonal of ones, by columns: rows and positions count from one.
template <class I> struct UnitLower {
  const double *values;
  const I *pointer, *rows;

  // w += t * (column j)
  void add_column(I j, double t, double *w) const {
    const I end = get(pointer + j + 1) - 1;
#pragma GCC unroll 4
    for (I k = get(pointer + j) - 1; k < end; ++k) {
      double *const target = w + get(rows + k) - 1;
      put(target, get(target) + t * get(values + k));
    }
  }
  // (column j) . y
  double dot_column(I j, const double *y) const {
    double sum = 0;
    const I end = get(pointer + j + 1) - 1;
    for (I k = get(pointer + j) - 1; k < end; ++k) sum += get(values + k) * get(y + get(rows + k) - 1);
    return sum;
  }
};

template <class I> void forward(I m, const UnitLower<I> &l, const double *diag, double *w, double *y) {
  const I strip = std::min<I>(8000, m), strips = m / strip; // an m of 0 is the caller's fault, and faults
  for (I s = 0; s < strips; ++s)
    for (I j = s * strip, end = s == strips - 1 ? m : j + strip; j < end; ++j) {
      const double x = get(w + j);
      l.add_column(j, -x, w);
      put(y + j, x / get(diag + j));
    }
}

// True when a pivot of two rows was met.
bool forward_with_pairs(std::int32_t m, const UnitLower<std::int32_t> &l, const double *diag,
                        const double *off_diag, const std::uint32_t *pairs, double *w, double *y) {
  bool met = false;
  for (std::int32_t j = 0; j < m; ++j) {
    const double w1 = get(w + j);
    l.add_column(j, -w1, w);
    if (j + 1 == m || (get(pairs + j / 32) >> (j % 32) & 1) == 0) {
      put(y + j, w1 / get(diag + j));
      continue;
    }
    met = true;
    const double w2 = get(w + j + 1), e = get(off_diag + j);
    l.add_column(j + 1, -w2, w);
    const double a = get(diag + j + 1) / e, b = get(diag + j) / e, f = 1 / (a * b - 1) / e;
    put(y + j, (a * w1 - w2) * f);
    put(y + j + 1, (b * w2 - w1) * f);
    ++j;
  }
  return met;
}

} // namespace
} // namespace tnk::sparse

#define SWEEP(p, I)                                                                                          \
  void p##dcscgss(const I *m, const double *values, const I *row_index, const I *pointer, double *work,      \
                  double *y, const double *diag) {                                                           \
    tnk::sparse::forward<I>(*m, {values, pointer, row_index}, diag, work, y);                                \
  }
SWEEP(tnk_spblas_, tnk_int)
SWEEP(tnk_spblas_lp64_, int32_t)

#define SOLVE(name)                                                                                          \
  void name(const int32_t *m, const double *values, const int32_t *pointer, const int32_t *col_index,        \
            const double *diag, const double *off_diag, const void *, const uint32_t *pairs, double *work,   \
            double *y, int32_t *job) {                                                                       \
    if (*job == 1) return;                                                                                   \
    if (*job > 1) return tnk_spblas_lp64_dcscgss(m, values, col_index, pointer, work, y, diag);              \
    const tnk::sparse::UnitLower<int32_t> l = {values, pointer, col_index};                                  \
    if (!tnk::sparse::forward_with_pairs(*m, l, diag, off_diag, pairs, work, y)) *job = 2;                   \
    for (int32_t j = *m - 1; j >= 0; --j) y[j] -= l.dot_column(j, y);                                        \
  }
SOLVE(tnk_spblas_tnk_ildlt_sv)
SOLVE(tnk_spblas_lp64_tnk_ildlt_sv)
