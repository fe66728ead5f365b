/* Types shared by every header of tnk. C and C++ alike. */
#ifndef TNK_TYPES_H
#define TNK_TYPES_H

#include <stdint.h>

/* Declarations between these two have C linkage and are visible outside their library. */
#ifdef __cplusplus
#define TNK_BEGIN_DECLS _Pragma("GCC visibility push(default)") extern "C" {
#define TNK_END_DECLS                                                                                        \
  }                                                                                                          \
  _Pragma("GCC visibility pop")
#else
#define TNK_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define TNK_END_DECLS _Pragma("GCC visibility pop")
#endif

/* Dimensions, increments, leading dimensions and indices. Only names with lp64 in them take 32-bit integers. */
typedef int64_t tnk_int;

/* Complex numbers: real part first, no padding. Layout-compatible with C's float _Complex and double _Complex
   and with C++'s std::complex. */
typedef struct tnk_complex8 {
  float re, im;
} tnk_complex8;

typedef struct tnk_complex16 {
  double re, im;
} tnk_complex16;

#endif
