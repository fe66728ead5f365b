/* A program that knows BLAS and nothing of tnk. */
double ddot_(const INTEGER *n, const double *x, const INTEGER *incx, const double *y, const INTEGER *incy);

int main(void) {
  const INTEGER n = 3, one = 1, minus_one = -1;
  const double x[] = {1, 2, 3}, y[] = {10, 100, 1000};
  return ddot_(&n, x, &one, y, &minus_one) == 1230 ? 0 : 1;
}
