/* Signal vectors: the allocator and the vector operations that transforms are made of, and what they ask of the
   processor. C and C++ alike.

   Lengths are 32-bit and count elements of the type in the name: 8u bytes, 16s and 32s integers, 32f and 64f floating
   point, 32fc and 64fc complex numbers. Addresses need no alignment beyond that of their element. A vector operation
   returns a status; on one that is not 0 nothing has been touched. Operands are either the same address or do not
   overlap, unless said. */
#ifndef TNK_SIGNAL_VECTOR_H
#define TNK_SIGNAL_VECTOR_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* Statuses of the signal functions: 0 for success. Checks run in this order: addresses, then lengths. */
enum {
  TNK_SIGNAL_OK = 0,
  TNK_SIGNAL_BAD_LENGTH = -6,
  TNK_SIGNAL_NULL = -8,
  TNK_SIGNAL_NO_MEMORY = -9,
  TNK_SIGNAL_BAD_ORDER = -15,
  TNK_SIGNAL_BAD_FLAG = -16,
  TNK_SIGNAL_BAD_TAG = -17,
  TNK_SIGNAL_FOREIGN_CPU = 36,  /* vpkGetMaxCacheSizeB: not a processor that it knows how to ask */
  TNK_SIGNAL_NO_CACHE_SIZE = 37 /* vpkGetMaxCacheSizeB: the processor names no cache */
};

/* ---- Memory -------------------------------------------------------------------------------------------------
   Blocks on 32-byte boundaries, from i_malloc (tnk/services.h). Null when the length is below 1, when the bytes exceed
   2^31 - 1, and when i_malloc refuses; it is asked for 40 bytes more than the block has. The block that i_malloc gave
   is noted in the 8 bytes ahead of the result. */
void *vpkMalloc(int32_t bytes);
uint8_t *e9_vpksMalloc_8u(int32_t length);
float *e9_vpksMalloc_32f(int32_t length);
double *e9_vpksMalloc_64f(int32_t length);

/* Release what any of these gave, by i_free. Null is left alone. */
void vpkFree(void *block);
void e9_vpksFree(void *block);

/* ---- Vector operations ------------------------------------------------------------------------------------------ */

/* destination := 0. Above 2 MB past the caches. */
int32_t e9_vpksZero_8u(uint8_t *destination, int32_t length);
int32_t e9_vpksZero_32s(int32_t *destination, int32_t length);
int32_t e9_vpksZero_32f(float *destination, int32_t length);
int32_t e9_vpksZero_64f(double *destination, int32_t length);
int32_t e9_vpksZero_32fc(tnk_complex8 *destination, int32_t length);
int32_t e9_vpksZero_64fc(tnk_complex16 *destination, int32_t length);

/* destination := source. Above 1 MB past the caches. */
int32_t e9_vpksCopy_32f(const float *source, float *destination, int32_t length);
int32_t e9_vpksCopy_64f(const double *source, double *destination, int32_t length);

/* destination := the conjugate of source: imaginary parts negated, so that 0 becomes -0. */
int32_t e9_vpksConj_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t length);
int32_t e9_vpksConj_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t length);

/* destination[i] := a[i] b[i]; with _I, result[i] := a[i] result[i]. Each of the four products is rounded before the
   sums: re re - im im and re im + im re. */
int32_t e9_vpksMul_32fc(const tnk_complex8 *a, const tnk_complex8 *b, tnk_complex8 *destination,
                        int32_t length);
int32_t e9_vpksMul_64fc(const tnk_complex16 *a, const tnk_complex16 *b, tnk_complex16 *destination,
                        int32_t length);
int32_t e9_vpksMul_32fc_I(const tnk_complex8 *a, tnk_complex8 *result, int32_t length);
int32_t e9_vpksMul_64fc_I(const tnk_complex16 *a, tnk_complex16 *result, int32_t length);

/* result := value times result. A value of exactly 1 touches nothing. A value of 0, of either sign, sets every element
   to +0, a NaN or an infinity too. */
int32_t e9_vpksMulC_32f_I(float value, float *result, int32_t length);
int32_t e9_vpksMulC_64f_I(double value, double *result, int32_t length);

/* The loops under the above, without checks: `bytes` may be 0. The plain forms write past the caches and suit blocks that
   these cannot hold; those with _E9 write through them. */
void e9_ownsZero_8u(uint8_t *destination, tnk_int bytes);
void e9_ownsZero_8u_E9(uint8_t *destination, tnk_int bytes);
void e9_ownsCopy_8u(const uint8_t *source, uint8_t *destination, tnk_int bytes);
void e9_ownsCopy_8u_E9(const uint8_t *source, uint8_t *destination, tnk_int bytes);
void e9_ownsMul_64fc(const tnk_complex16 *a, const tnk_complex16 *b, tnk_complex16 *destination,
                     int32_t length);

/* ---- Convolution and correlation ----------------------------------------------------------------------------------
   By the definition, not by transforms. The destination overlaps with neither source. */

/* destination[i] := sum over k of a[k] b[i - k], for the length_a + length_b - 1 places where there is something to
   sum. -6 also when that many do not fit 32 bits. */
int32_t e9_vpksConv_32f(const float *a, int32_t length_a, const float *b, int32_t length_b,
                        float *destination);
int32_t e9_vpksConv_64f(const double *a, int32_t length_a, const double *b, int32_t length_b,
                        double *destination);

/* The same of integers, summed exactly, then times 2^-scale, rounded to the nearest, to even in the middle, and kept
   within 16 bits. */
int32_t e9_vpksConv_16s_Sfs(const int16_t *a, int32_t length_a, const int16_t *b, int32_t length_b,
                            int16_t *destination, int32_t scale);

/* destination[i] := sum over k of a[k] b[k + i + low_lag], i from 0 to length - 1; elements outside b count as 0. */
int32_t e9_vpksCrossCorr_32f(const float *a, int32_t length_a, const float *b, int32_t length_b,
                             float *destination, int32_t length, int32_t low_lag);

/* ---- Conversion and order ----------------------------------------------------------------------------------------- */

/* destination := source; exact. */
int32_t e9_vpksConvert_16s32f(const int16_t *source, float *destination, int32_t length);

/* destination := source times 2^-scale, as integers kept within 16 bits. rounding 0: toward zero; any other: to the
   nearest, to even in the middle. A NaN gives -32768. */
int32_t e9_vpksConvert_32f16s_Sfs(const float *source, int16_t *destination, int32_t length, int32_t rounding,
                                  int32_t scale);

/* The vector back to front, in place. */
int32_t e9_vpksFlip_32f_I(float *vector, int32_t length);

/* Products of two real spectra in place, `length` the number of real values of either: result := source result in the
   Perm layout (first the real value of frequency 0, with an even length then that of the last frequency, then real
   and imaginary parts in turn), and result := conj(source) result in the Pack layout (the same, but with the real
   value of the last frequency at the end). */
int32_t e9_vpksMulPerm_64f_I(const double *source, double *result, int32_t length);
int32_t e9_vpksMulPackConj_32f_I(const float *source, float *result, int32_t length);

/* Sorts ascending; `scratch` has as many elements and is left with anything. Ordered by sign and bits: -0 before +0, NaN
   outside the infinities on the side of their sign. */
int32_t e9_vpksSortRadixAscend_64f_I(double *vector, double *scratch, int32_t length);

/* ---- Processor ------------------------------------------------------------------------------------------------
   Each asks the processor anew. 1 or 0, unless said. */
int32_t vpk_has_cpuid(void);       /* always 1 */
int32_t vpk_max_cpuid_input(void); /* the highest leaf of CPUID */
int32_t vpk_has_rdtsc(void);
int32_t vpk_is_mmx_extension(void);
int32_t vpk_is_ssx_extension(void); /* SSE */
int32_t vpk_is_wni_extension(void); /* SSE2 */
int32_t vpk_is_htt_extension(void); /* several logical processors in a package */
int32_t vpk_is_pni_extension(void); /* SSE3 */
int32_t vpk_is_mni_extension(void); /* SSSE3 */
int32_t vpk_is_sse41_extension(void);
int32_t vpk_is_sse42_extension(void);
int32_t vpk_is_movbe(void);
int32_t vpk_is_avx_extension(void); /* AVX, and the system saves its registers */
int32_t vpk_is_64bit_extension(void);
int32_t vpk_get_cores_on_die(void); /* a number; 1 where CPUID has no leaf 4 */
int32_t vpk_is_vendor_cpu(void);    /* a processor of the vendor whose processors this library is tuned on */
int32_t vpk_get_processor_ident(void); /* EAX of leaf 1: stepping, model and family */
uint64_t vpk_get_cycle_counter(void);  /* the time-stamp counter */

/* *size := bytes of the largest data cache, by CPUID leaf 4, or leaf 2 where that is the highest below it. The first call
   asks and keeps the answer. -8 for null; 36 on a processor that vpk_is_vendor_cpu does not know, and 37 where CPUID
   names no cache, with a size of 0. */
int32_t vpkGetMaxCacheSizeB(int32_t *size);

/* ---- Floating-point control of the calling thread ----------------------------------------------------------------
   ssx: the SSE control and status word. fpu: the x87 control word (cw) and status word (sw). */
uint32_t ps_get_ssx(void);
uint32_t ps_set_ssx(uint32_t value, uint32_t mask); /* replaces the bits of the mask; returns the old word */
uint32_t vpk_clear_ssx(void);                       /* sets 0x1F80; returns the old word */
void vpk_set_cw_ssx(uint32_t value);
uint32_t vpk_set_rc_ssx(uint32_t value); /* sets the rounding bits, 0x6000; returns the old word */
int32_t vpk_tst_daz_ssx(void);           /* 1 where denormals-are-zero, 0x40, can be set */

uint32_t ps_get_cw_fpu(void);
uint32_t ps_set_cw_fpu(uint32_t value,
                       uint32_t mask); /* replaces the bits of the mask; returns the old word */
void vpk_set_cw_fpu(uint32_t value);
uint32_t ps_get_sw_fpu(void);
uint32_t ps_clear_fpu(void); /* clears the exceptions; returns the status word before */

uint32_t vpk_control87(uint32_t value, uint32_t mask); /* ps_set_cw_fpu */
uint32_t vpk_status87(void);                           /* ps_get_sw_fpu */
uint32_t vpk_clear87(void);                            /* ps_clear_fpu */
uint32_t
vpk_set_rcpc_fpu(uint32_t value); /* sets the rounding and precision bits, 0xF00; returns the old word */

/* ---- Values ------------------------------------------------------------------------------------------------------- */
int32_t vpk_isnan(double x);
int32_t vpk_finite(double x);

TNK_END_DECLS

#endif
