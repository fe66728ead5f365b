/* Discrete Fourier transforms of 2^order numbers: y[k] := the sum over n of x[n] exp(-2 pi i k n / N) (Fwd), or with the
   sign of the exponent turned (Inv). C and C++ alike.

   The kind is in the name: 32fc and 64fc complex arrays, C_32f and C_64f complex arrays by part, R_32f and R_64f real
   arrays. Sizes are 32-bit and in bytes. Statuses stand in signal_vector.h; a function that returns one other than 0 has
   written nothing but what is said.

   A transform is described by a record, made once by Init in the caller's memory or by InitAlloc in its own. It is read
   only from then on: any number of threads may transform by it, each with its own work buffer. Source and destination
   are the same arrays or do not overlap; they need no alignment beyond that of their numbers.

   Errors grow with log2 N; docs/numerics.md has figures. Method: decimation in time (Cooley, Tukey, Mathematics of
   Computation 19 (1965), 297), from order 18 on by blocks that fit the caches. */
#ifndef TNK_SIGNAL_FFT_H
#define TNK_SIGNAL_FFT_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* The record. What stands in it is not for callers. */
typedef struct tnk_signal_fft tnk_signal_fft;

/* flag: where to scale. 1: forward transforms by 1/N; 2: inverse ones by 1/N; 4: both by 1/sqrt(N); 8: none. The factor is
   applied to the result.
   hint: any value; it makes no difference.
   order: 0 to 26, in single precision 0 to 27. */

/* The bytes that Init needs: of memory for the record, of the buffer that it uses while it runs (0 for none), and of a work
   buffer (0 for none). None needs alignment. The flag and the hint make no difference. -8 for a null output; -15 for an
   order out of range. */
int32_t e9_vpksFFTGetSize_C_32fc(int32_t order, int32_t flag, int32_t hint, int32_t *spec_size,
                                 int32_t *init_size, int32_t *work_size);
int32_t e9_vpksFFTGetSize_C_32f(int32_t order, int32_t flag, int32_t hint, int32_t *spec_size,
                                int32_t *init_size, int32_t *work_size);
int32_t e9_vpksFFTGetSize_R_32f(int32_t order, int32_t flag, int32_t hint, int32_t *spec_size,
                                int32_t *init_size, int32_t *work_size);
int32_t e9_vpksFFTGetSize_C_64fc(int32_t order, int32_t flag, int32_t hint, int32_t *spec_size,
                                 int32_t *init_size, int32_t *work_size);
int32_t e9_vpksFFTGetSize_C_64f(int32_t order, int32_t flag, int32_t hint, int32_t *spec_size,
                                int32_t *init_size, int32_t *work_size);
int32_t e9_vpksFFTGetSize_R_64f(int32_t order, int32_t flag, int32_t hint, int32_t *spec_size,
                                int32_t *init_size, int32_t *work_size);

/* Makes the record in `memory`, and leaves its address, the next 32-byte boundary, in *spec. `init` may be null where its
   size is 0. -8 for a null address, -15, -16; *spec is then left alone. After -16, and after the -8 of a missing init
   buffer, the record is marked as free. The memory must stay where it is for as long as the record is used. */
int32_t e9_vpksFFTInit_C_32fc(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,
                              uint8_t *memory, uint8_t *init);
int32_t e9_vpksFFTInit_C_32f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,
                             uint8_t *memory, uint8_t *init);
int32_t e9_vpksFFTInit_R_32f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,
                             uint8_t *memory, uint8_t *init);
int32_t e9_vpksFFTInit_C_64fc(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,
                              uint8_t *memory, uint8_t *init);
int32_t e9_vpksFFTInit_C_64f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,
                             uint8_t *memory, uint8_t *init);
int32_t e9_vpksFFTInit_R_64f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint,
                             uint8_t *memory, uint8_t *init);

/* The same in memory that Free releases. Besides -9: no memory, also when more than 2^31 - 1 bytes were needed. */
int32_t e9_vpksFFTInitAlloc_C_32fc(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);
int32_t e9_vpksFFTInitAlloc_C_32f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);
int32_t e9_vpksFFTInitAlloc_R_32f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);
int32_t e9_vpksFFTInitAlloc_C_64fc(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);
int32_t e9_vpksFFTInitAlloc_C_64f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);
int32_t e9_vpksFFTInitAlloc_R_64f(tnk_signal_fft **spec, int32_t order, int32_t flag, int32_t hint);

/* Ends the use of a record: marks it as free and, where InitAlloc made it, releases it. -8 for null; -17 for a record of
   another kind or one that is free. A record that was released must not be named again. */
int32_t e9_vpksFFTFree_C_32fc(tnk_signal_fft *spec);
int32_t e9_vpksFFTFree_C_32f(tnk_signal_fft *spec);
int32_t e9_vpksFFTFree_R_32f(tnk_signal_fft *spec);
int32_t e9_vpksFFTFree_C_64fc(tnk_signal_fft *spec);
int32_t e9_vpksFFTFree_C_64f(tnk_signal_fft *spec);
int32_t e9_vpksFFTFree_R_64f(tnk_signal_fft *spec);

/* *size := the bytes of work that a transform needs, with 32 to spare for alignment; 0 where it needs none. -8, -17. */
int32_t e9_vpksFFTGetBufSize_C_32fc(const tnk_signal_fft *spec, int32_t *size);
int32_t e9_vpksFFTGetBufSize_C_32f(const tnk_signal_fft *spec, int32_t *size);
int32_t e9_vpksFFTGetBufSize_R_32f(const tnk_signal_fft *spec, int32_t *size);
int32_t e9_vpksFFTGetBufSize_C_64fc(const tnk_signal_fft *spec, int32_t *size);
int32_t e9_vpksFFTGetBufSize_C_64f(const tnk_signal_fft *spec, int32_t *size);
int32_t e9_vpksFFTGetBufSize_R_64f(const tnk_signal_fft *spec, int32_t *size);

/* ---- Transforms -------------------------------------------------------------------------------------------------
   In this order: -8 for a null record, -17 for one of another kind, -8 for a null array; then, when `work` is null and a
   buffer is needed, the call takes one for its own length, -9 if there is none. */

int32_t e9_vpksFFTFwd_CToC_32fc(const tnk_complex8 *source, tnk_complex8 *destination,
                                const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTInv_CToC_32fc(const tnk_complex8 *source, tnk_complex8 *destination,
                                const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTFwd_CToC_64fc(const tnk_complex16 *source, tnk_complex16 *destination,
                                const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTInv_CToC_64fc(const tnk_complex16 *source, tnk_complex16 *destination,
                                const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTFwd_CToC_32f(const float *source_re, const float *source_im, float *destination_re,
                               float *destination_im, const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTInv_CToC_32f(const float *source_re, const float *source_im, float *destination_re,
                               float *destination_im, const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTFwd_CToC_64f(const double *source_re, const double *source_im, double *destination_re,
                               double *destination_im, const tnk_signal_fft *spec, uint8_t *work);
int32_t e9_vpksFFTInv_CToC_64f(const double *source_re, const double *source_im, double *destination_re,
                               double *destination_im, const tnk_signal_fft *spec, uint8_t *work);

/* N real numbers and the lower half of their spectrum, which is N real numbers as well:
     Perm   re y[0], re y[N/2], re y[1], im y[1], re y[2], im y[2], ... im y[N/2 - 1]
     Pack   re y[0], re y[1], im y[1], ... im y[N/2 - 1], re y[N/2]
   The inverse takes the upper half to be the conjugate of the lower one. With N of 1 there is y[0] alone. */
int32_t e9_vpksFFTFwd_RToPerm_32f(const float *source, float *destination, const tnk_signal_fft *spec,
                                  uint8_t *work);
int32_t e9_vpksFFTInv_PermToR_32f(const float *source, float *destination, const tnk_signal_fft *spec,
                                  uint8_t *work);
int32_t e9_vpksFFTFwd_RToPack_32f(const float *source, float *destination, const tnk_signal_fft *spec,
                                  uint8_t *work);
int32_t e9_vpksFFTInv_PackToR_32f(const float *source, float *destination, const tnk_signal_fft *spec,
                                  uint8_t *work);
int32_t e9_vpksFFTFwd_RToPerm_64f(const double *source, double *destination, const tnk_signal_fft *spec,
                                  uint8_t *work);
int32_t e9_vpksFFTInv_PermToR_64f(const double *source, double *destination, const tnk_signal_fft *spec,
                                  uint8_t *work);

/* Sines of a quarter of a wave, sin(2 pi i / 1024) for i from 0 to 256: what orders below 11 take their twiddles from. */
extern const double fft_fix_twiddle_table_64f[257];
extern const float fft_fix_twiddle_table_32f[257];

TNK_END_DECLS

#endif
