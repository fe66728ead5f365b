/* y := alpha x + y, a dot product and a norm, from C.

   cc axpy.c $(pkg-config --cflags --libs tnk) -Wl,-rpath,$(pkg-config --variable=libdir tnk) -o axpy */
#include <stdio.h>
#include <tnk/blas.h>
#include <tnk/blas_level1.h>
#include <tnk/host.h>

int main(void) {
  const double x[] = {1, 2, 3, 4};
  double y[] = {10, 10, 10, 10};
  const double alpha = -2;
  const tnk_int n = 4, one = 1;

  /* Optional: the first call loads the kernel library by itself. Asking first tells a refusal from a bad
   * argument. */
  if (tnk_kernel_load() != TNK_OK) return 1; /* the error handler has said why */

  tnk_blas_daxpy(&n, &alpha, x, &one, y, &one);
  printf("y = %g %g %g %g\n", y[0], y[1], y[2], y[3]);
  printf("dot = %g\n", tnk_blas_ddot(&n, x, &one, y, &one));
  printf("norm = %g\n", tnk_blas_dnrm2(&n, y, &one));
  return 0;
}
