// A blocked Cholesky factorization: what a LAPACK layer above tnk would start from.
//
// A = L L^T by blocks of columns. The primitive factors the block on the diagonal, a triangular solve gives the rows
// below it, and products take their squares from what is left. Only the lower triangle counts; products write above the
// diagonal as well.
//
//   cholesky [order]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <tnk/blas.h>
#include <tnk/host.h>
#include <tnk/lapack_ps.h>
#include <vector>

// 0, or the column, from 1, whose pivot is not positive: A is not positive definite then.
static tnk_int cholesky(tnk_int n, double *a, tnk_int lda) {
  constexpr tnk_int block = 64, strip = 256; // columns that are factored, and that are updated, at once
  constexpr double one = 1, minus_one = -1;
  for (tnk_int j = 0; j < n; j += block) {
    const tnk_int width = std::min(block, n - j), below = n - j - width;
    double *const diagonal = a + j + j * lda, *const rows = diagonal + width;
    tnk_int info = 0; // only written when a pivot fails
    tnk_lapack_ps_dpotrf_l_small("L", &width, diagonal, &lda, &info);
    if (info > 0) return j + info;
    tnk_blas_dtrsm("R", "L", "T", "N", &below, &width, &one, diagonal, &lda, rows, &lda);
    double *const rest = rows + width * lda;
    for (tnk_int c = 0; c < below; c += strip) {
      const tnk_int columns = std::min(strip, below - c), height = below - c;
      tnk_blas_dgemm("N", "T", &height, &columns, &width, &minus_one, rows + c, &lda, rows + c, &lda, &one,
                     rest + c + c * lda, &lda);
    }
  }
  return 0;
}

// b becomes the solution of A x = b.
static void solve(tnk_int n, const double *l, tnk_int ldl, double *b) {
  constexpr tnk_int column = 1;
  constexpr double one = 1;
  tnk_blas_dtrsm("L", "L", "N", "N", &n, &column, &one, l, &ldl, b, &n);
  tnk_blas_dtrsm("L", "L", "T", "N", &n, &column, &one, l, &ldl, b, &n);
}

int main(int argc, char **argv) {
  const tnk_int n = argc > 1 ? std::atoi(argv[1]) : 500;
  if (n < 1) return std::fprintf(stderr, "usage: cholesky [ORDER]\n"), 2;
  if (tnk_kernel_load() != TNK_OK) return 1; // the error handler has said why

  // The solution is all ones: b has the sums of the rows.
  std::vector<double> a(static_cast<std::size_t>(n * n)), b(static_cast<std::size_t>(n), 0.0);
  for (tnk_int j = 0; j < n; ++j)
    for (tnk_int i = 0; i < n; ++i) {
      const double element = i == j ? 4 : 1.0 / static_cast<double>((i - j) * (i - j));
      a[static_cast<std::size_t>(i + j * n)] = element;
      b[static_cast<std::size_t>(i)] += element;
    }
  if (const tnk_int column = cholesky(n, a.data(), n)) {
    std::printf("not positive definite: column %lld\n", static_cast<long long>(column));
    return 1;
  }
  solve(n, a.data(), n, b.data());
  double worst = 0;
  for (const double x : b) worst = x == x ? std::fmax(worst, std::fabs(x - 1)) : INFINITY;
  const bool solved = worst < 1e-13;
  std::printf("order %lld, %s to 13 digits\n", static_cast<long long>(n), solved ? "solved" : "not solved");
  return solved ? 0 : 1;
}
