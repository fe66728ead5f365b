#include "tests/front/arguments.h"

#include <cerrno>
#include <cstdarg>
#include <initializer_list>
#include <tnk/kernel.h>

int32_t dll_cpu_version(void) {
  return TNK_CLASS_AVX;
}

std::int64_t tnk_blas_xsgemm(std::int64_t a, std::int64_t b, std::int64_t c, std::int64_t d, std::int64_t e,
                             std::int64_t f, std::int64_t g, std::int64_t h, std::int64_t i, std::int64_t j,
                             std::int64_t k, std::int64_t l, std::int64_t m, std::int64_t n) {
  std::int64_t sum = 0;
  for (const std::int64_t argument : {a, b, c, d, e, f, g, h, i, j, k, l, m, n}) sum = 3 * sum + argument;
  return sum;
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
