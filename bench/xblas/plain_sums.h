// What a program would write without extended-precision routines.
#pragma once

#include <tnk/types.h>

namespace tnk::bench {

struct PairOfDoubles {
  double head, tail;
};

// In the compiler's own quadruple precision.
double quadruple_dot(tnk_int n, const double *x, const double *y);
tnk_complex16 quadruple_dot(tnk_int n, const tnk_complex16 *x, const tnk_complex16 *y);

// The sum of pairs that were made beforehand: what a dot product of pairs cannot be faster than.
double chained_sum(tnk_int n, const PairOfDoubles *products);

// One sum after another, in the order of the routines.
double plain_dot(tnk_int n, const double *x, const double *y);
void plain_gemv(tnk_int n, const double *a, const double *x, double *y);
void plain_gemm(tnk_int n, const double *a, const double *b, double *c);

} // namespace tnk::bench
