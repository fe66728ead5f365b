#include "bench/xblas/plain_sums.h"

namespace tnk::bench {

__extension__ using Quadruple = __float128;

double quadruple_dot(tnk_int n, const double *x, const double *y) {
  Quadruple sum = 0;
  for (tnk_int i = 0; i < n; ++i) sum += static_cast<Quadruple>(x[i]) * y[i];
  return static_cast<double>(sum);
}

tnk_complex16 quadruple_dot(tnk_int n, const tnk_complex16 *x, const tnk_complex16 *y) {
  Quadruple re = 0, im = 0;
  for (tnk_int i = 0; i < n; ++i) {
    const Quadruple xr = x[i].re, xi = x[i].im;
    re += xr * y[i].re - xi * y[i].im;
    im += xr * y[i].im + xi * y[i].re;
  }
  return {static_cast<double>(re), static_cast<double>(im)};
}

double chained_sum(tnk_int n, const PairOfDoubles *products) {
  double head = 0, tail = 0;
  for (tnk_int i = 0; i < n; ++i) {
    const double p = products[i].head, e = products[i].tail;
    const double s1 = head + p, sv = s1 - head, t1 = tail + e, tv = t1 - tail;
    double s2 = (p - sv) + (head - (s1 - sv));
    const double t2 = (e - tv) + (tail - (t1 - tv));
    s2 += t1;
    const double t = s1 + s2;
    s2 -= t - s1;
    s2 += t2;
    head = t + s2;
    tail = s2 - (head - t);
  }
  return head;
}

double plain_dot(tnk_int n, const double *x, const double *y) {
  double sum = 0;
  for (tnk_int i = 0; i < n; ++i) sum += x[i] * y[i];
  return sum;
}

void plain_gemv(tnk_int n, const double *a, const double *x, double *y) {
  for (tnk_int i = 0; i < n; ++i) {
    double sum = 0;
    for (tnk_int k = 0; k < n; ++k) sum += a[i * n + k] * x[k];
    y[i] = sum;
  }
}

void plain_gemm(tnk_int n, const double *a, const double *b, double *c) {
  for (tnk_int i = 0; i < n; ++i)
    for (tnk_int j = 0; j < n; ++j) {
      double sum = 0;
      for (tnk_int k = 0; k < n; ++k) sum += a[i * n + k] * b[k * n + j];
      c[i * n + j] = sum;
    }
}

} // namespace tnk::bench
