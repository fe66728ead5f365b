#include "tests/front/arguments.h"

#include <cerrno>
#include <cstdarg>
#include <initializer_list>
#include <tnk/kernel.h>

namespace {

// Each argument with a weight of its own; exact for small numbers.
template <class Number> Number sum(std::initializer_list<Number> arguments) {
  Number sum = 0;
  for (const Number argument : arguments) sum = 3 * sum + argument;
  return sum;
}

} // namespace

int32_t dll_cpu_version(void) {
  return TNK_CLASS_AVX;
}

std::int64_t tnk_blas_xsgemm(std::int64_t a, std::int64_t b, std::int64_t c, std::int64_t d, std::int64_t e,
                             std::int64_t f, std::int64_t g, std::int64_t h, std::int64_t i, std::int64_t j,
                             std::int64_t k, std::int64_t l, std::int64_t m, std::int64_t n) {
  return sum({a, b, c, d, e, f, g, h, i, j, k, l, m, n});
}

double tnk_blas_xdgemm(double a, double b, double c, double d, double e, double f, double g, double h,
                       double i) {
  return sum({a, b, c, d, e, f, g, h, i});
}

tnk_complex8 tnk_blas_xcgemm(tnk_complex8 a, std::int64_t b, tnk_complex8 c) {
  const float factor = static_cast<float>(b);
  return {sum({a.re, factor, c.re}), sum({a.im, factor, c.im})};
}

tnk_complex16 tnk_blas_xzgemm(tnk_complex16 a, tnk_complex8 b, std::int64_t c, tnk_complex16 d,
                              tnk_complex16 e) {
  const double factor = static_cast<double>(c);
  return {sum({a.re, double{b.re}, factor, d.re, e.re}), sum({a.im, double{b.im}, factor, d.im, e.im})};
}

double tnk_blas_dasum(int count, ...) {
  std::va_list arguments;
  va_start(arguments, count);
  double sum = 0;
  for (int i = 0; i < count; ++i) sum = 3 * sum + va_arg(arguments, double);
  va_end(arguments);
  return sum;
}

__m256d tnk_blas_ddoti(__m256d a, __m256d b, __m256d c, __m256d d, __m256d e, __m256d f, __m256d g, __m256d h,
                       __m256d i) {
  return a + 2 * b + 3 * c + 4 * d + 5 * e + 6 * f + 7 * g + 8 * h + 9 * i;
}

__m512d tnk_blas_sdoti(__m512d a, __m512d b, __m512d c, __m512d d, __m512d e, __m512d f, __m512d g,
                       __m512d h) {
  return a + 2 * b + 3 * c + 4 * d + 5 * e + 6 * f + 7 * g + 8 * h;
}

int tnk_blas_idamax(void) {
  return errno;
}

int tnk_blas_isamax(int (*back)(void *), void *data) {
  return 1 + back(data); // something is left to do: no jump
}
