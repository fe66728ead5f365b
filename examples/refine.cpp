// A linear system solved to full precision though it is ill-conditioned: iterative refinement, the residual of which is
// computed in pairs of doubles.
//
// x is corrected by the solution for what b - A x leaves. In double precision the residual of a good x is all rounding;
// carried in pairs it is right, and x becomes right to its last digits so long as A's condition is below 10^16.
//
//   refine [order]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <tnk/host.h>
#include <tnk/xblas.hpp>
#include <utility>
#include <vector>

using namespace tnk::xblas;
using Vector = std::vector<double>;

// Rows of A times the least common multiple of 1 ... 2n - 1: a Hilbert matrix of integers, without rounding.
static Vector hilbert(tnk_int n) {
  double multiple = 1;
  for (tnk_int i = 2; i < 2 * n; ++i) {
    double a = multiple, b = static_cast<double>(i);
    while (b != 0) a = std::exchange(b, std::fmod(a, b));
    multiple *= static_cast<double>(i) / a;
  }
  Vector h;
  for (tnk_int i = 0; i < n; ++i)
    for (tnk_int j = 0; j < n; ++j) h.push_back(multiple / static_cast<double>(i + j + 1));
  return h;
}

// A = L L^T in double precision, by rows.
static Vector factor_of(Vector a, tnk_int n) {
  const auto at = [&](tnk_int i, tnk_int j) -> double & { return a[static_cast<std::size_t>(i * n + j)]; };
  for (tnk_int j = 0; j < n; ++j) {
    for (tnk_int k = 0; k < j; ++k)
      for (tnk_int i = j; i < n; ++i) at(i, j) -= at(i, k) * at(j, k);
    const double root = std::sqrt(at(j, j));
    for (tnk_int i = j; i < n; ++i) at(i, j) /= root;
  }
  return a;
}

static double error(const Vector &x) {
  double largest = 0;
  for (const double element : x) largest = std::max(largest, std::abs(element - 1));
  return largest;
}

int main(int argc, char **argv) {
  const tnk_int n = argc > 1 ? std::atoi(argv[1]) : 10;
  if (n < 1 || n > 11) // beyond, the matrix has no Cholesky factor in double precision
    return std::fprintf(stderr, "usage: refine [ORDER], 11 at most\n"), 2;
  if (tnk_kernel_load() != TNK_OK) return 1;

  const Vector a = hilbert(n), l = factor_of(a, n), ones(static_cast<std::size_t>(n), 1);
  Vector b(ones), x[2] = {Vector(b.size(), 0), Vector(b.size(), 0)};
  constexpr precision kinds[] = {precision::plain, precision::extra};
  // The solution is all ones.
  gemv(ordering::by_rows, operation::as_it_is, n, n, 1, a.data(), n, ones.data(), 1, 0, b.data(), 1,
       precision::extra);
  std::printf("Hilbert system of order %d, error after each step\n\n  residual in doubles   in pairs\n",
              static_cast<int>(n));
  for (int step = 0; step < 8; ++step) {
    for (int kind = 0; kind < 2; ++kind) {
      Vector r = b;
      gemv(ordering::by_rows, operation::as_it_is, n, n, -1, a.data(), n, x[kind].data(), 1, 1, r.data(), 1,
           kinds[kind]);
      for (const operation trans : {operation::as_it_is, operation::transposed})
        trsv(ordering::by_rows, triangle::lower, trans, diagonal::stored, n, 1, l.data(), n, r.data(), 1,
             precision::plain);
      axpby(n, 1.0, r.data(), 1, 1.0, x[kind].data(), 1, precision::plain);
    }
    std::printf("  %19.1e   %8.1e\n", error(x[0]), error(x[1]));
  }
  if (error(x[1]) > 0x1p-52) return 1;
  std::printf("in pairs every digit is right\n");
  return 0;
}
