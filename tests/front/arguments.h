// A kernel library made for the tests of the front: under names that mean nothing here, a call of every shape.
#pragma once

#include <cstdint>
#include <immintrin.h>
#include <tnk/types.h>

#define AVX [[gnu::target("avx")]]
#define AVX512 [[gnu::target("avx512f")]]

TNK_BEGIN_DECLS
int32_t dll_cpu_version(void);

// Six integers travel in registers, eight on the stack.
std::int64_t tnk_blas_xsgemm(std::int64_t, std::int64_t, std::int64_t, std::int64_t, std::int64_t,
                             std::int64_t, std::int64_t, std::int64_t, std::int64_t, std::int64_t,
                             std::int64_t, std::int64_t, std::int64_t, std::int64_t);
// The calls with variable arguments tell in rax how many vector registers are in use.
double tnk_blas_dasum(int count, ...);
AVX __m256d tnk_blas_ddoti(__m256d, __m256d, __m256d, __m256d, __m256d, __m256d, __m256d, __m256d, __m256d);
AVX512 __m512d tnk_blas_sdoti(__m512d, __m512d, __m512d, __m512d, __m512d, __m512d, __m512d, __m512d);
// errno, as it is at the call.
int tnk_blas_idamax(void);
// Missing; the first two have numbers by value, of which one fits a register and the other takes two.
tnk_complex8 tnk_blas_xcgemm(tnk_complex8, std::int64_t, tnk_complex8);
tnk_complex16 tnk_blas_xzgemm(tnk_complex16, tnk_complex8, std::int64_t, tnk_complex16, tnk_complex16);
void tnk_blas_xsaxpy(void);
TNK_END_DECLS
