/* Discrete Fourier transforms of any length: y[k] := the sum over n of x[n] exp(-2 pi i k n / N) (Fwd), or with the sign of
   the exponent turned (Inv). C and C++ alike.

   The kind is in the name: 32fc and 64fc complex arrays, C_32f and C_64f complex arrays by part, R_32f and R_64f real
   arrays. Statuses stand in signal_vector.h; a function that returns one other than 0 has written nothing but what is said.

   A transform is described by a record, which is read only once it is made: any number of threads may transform by it, each
   with its own work buffer. Source and destination are the same arrays or do not overlap; they need no alignment beyond
   that of their numbers. With arrays by part, "the same" is both parts with their own counterparts.

   How a length is transformed: up to 16 by straight-line code; a power of two by the engine of signal_fft.h; a product of
   small factors factor by factor (Cooley, Tukey 1965), as long as what is left of it after division by 4, 2 and odd
   numbers is at most 90, of an even length 150; any other length up to 90 by definition; all others as a convolution with
   a chirp (Bluestein, IEEE Transactions on Audio and Electroacoustics 18 (1970), 451). Errors grow with log2 N;
   docs/numerics.md has figures. */
#ifndef TNK_SIGNAL_DFT_H
#define TNK_SIGNAL_DFT_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* The record. What stands in it is not for callers. */
typedef struct tnk_signal_dft tnk_signal_dft;

/* *spec := a record for transforms of `length` numbers.
   flag: where to scale. 1: forward transforms by 1/N; 2: inverse ones by 1/N; 4: both by 1/sqrt(N); 8: none. The factor is
   applied to the result.
   hint: any value; it makes no difference.
   -8 for a null address; -6 for a length below 1, above 2^26 - 1 where it is no power of two, or above 2^25 - 1 (a real
   transform of even length: twice that) where only a convolution would do; -15 for a power of two beyond the engine; -9
   without memory; -16 for another flag. *spec is then left alone. */
int32_t e9_vpksDFTInitAlloc_C_32fc(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTInitAlloc_C_64fc(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTInitAlloc_C_32f(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTInitAlloc_C_64f(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTInitAlloc_R_32f(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTInitAlloc_R_64f(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);

/* Releases a record. -8 for null, -17 for one of another kind. It must not be named again. */
int32_t e9_vpksDFTFree_C_32fc(tnk_signal_dft *spec);
int32_t e9_vpksDFTFree_C_64fc(tnk_signal_dft *spec);
int32_t e9_vpksDFTFree_C_32f(tnk_signal_dft *spec);
int32_t e9_vpksDFTFree_C_64f(tnk_signal_dft *spec);
int32_t e9_vpksDFTFree_R_32f(tnk_signal_dft *spec);
int32_t e9_vpksDFTFree_R_64f(tnk_signal_dft *spec);

/* *size := the bytes of work that a transform needs, with 32 to spare for alignment; 0 where it needs none. -8, -17. */
int32_t e9_vpksDFTGetBufSize_C_32fc(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTGetBufSize_C_64fc(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTGetBufSize_C_32f(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTGetBufSize_C_64f(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTGetBufSize_R_32f(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTGetBufSize_R_64f(const tnk_signal_dft *spec, int32_t *size);

/* ---- Transforms -------------------------------------------------------------------------------------------------
   In this order: -8 for a null record, -17 for one of another kind, -8 for a null array; then, when `work` is null and a
   buffer is needed, the call takes one for its own length, -9 if there is none. work needs no alignment. */

int32_t e9_vpksDFTFwd_CToC_32fc(const tnk_complex8 *source, tnk_complex8 *destination,
                                const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTInv_CToC_32fc(const tnk_complex8 *source, tnk_complex8 *destination,
                                const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTFwd_CToC_64fc(const tnk_complex16 *source, tnk_complex16 *destination,
                                const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTInv_CToC_64fc(const tnk_complex16 *source, tnk_complex16 *destination,
                                const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTFwd_CToC_32f(const float *source_re, const float *source_im, float *destination_re,
                               float *destination_im, const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTInv_CToC_32f(const float *source_re, const float *source_im, float *destination_re,
                               float *destination_im, const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTFwd_CToC_64f(const double *source_re, const double *source_im, double *destination_re,
                               double *destination_im, const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTInv_CToC_64f(const double *source_re, const double *source_im, double *destination_re,
                               double *destination_im, const tnk_signal_dft *spec, uint8_t *work);

/* N real numbers and the lower half of their spectrum y; with an even N the last frequency is N/2, with an odd one
   (N - 1)/2, which is no real number. Perm and Pack are N real numbers, CCS is N + 2, with an odd N N + 1.
     CCS         re y[0], 0, re y[1], im y[1], re y[2], im y[2], ... re y[last], im y[last], which for N/2 is 0
     Pack        re y[0], re y[1], im y[1], ... re y[last], then im y[last] if N is odd
     Perm        with an odd N as Pack; with an even one re y[0], re y[N/2], re y[1], im y[1], ... im y[N/2 - 1]
   The inverse takes the upper half to be the conjugate of the lower one and does not read what the above says is 0. */
int32_t e9_vpksDFTFwd_RToCCS_32f(const float *source, float *destination, const tnk_signal_dft *spec,
                                 uint8_t *work);
int32_t e9_vpksDFTInv_CCSToR_32f(const float *source, float *destination, const tnk_signal_dft *spec,
                                 uint8_t *work);
int32_t e9_vpksDFTFwd_RToPack_32f(const float *source, float *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTInv_PackToR_32f(const float *source, float *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTFwd_RToPerm_32f(const float *source, float *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTInv_PermToR_32f(const float *source, float *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTFwd_RToCCS_64f(const double *source, double *destination, const tnk_signal_dft *spec,
                                 uint8_t *work);
int32_t e9_vpksDFTInv_CCSToR_64f(const double *source, double *destination, const tnk_signal_dft *spec,
                                 uint8_t *work);
int32_t e9_vpksDFTFwd_RToPack_64f(const double *source, double *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTInv_PackToR_64f(const double *source, double *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTFwd_RToPerm_64f(const double *source, double *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);
int32_t e9_vpksDFTInv_PermToR_64f(const double *source, double *destination, const tnk_signal_dft *spec,
                                  uint8_t *work);

/* ---- In any order ---------------------------------------------------------------------------------------------------
   Transforms whose spectrum may stand in another order, the same for Fwd, which writes it, and Inv, which reads it: enough
   for products of spectra, and a pass less over memory. It is in order unless the length is transformed by factors and
   is above 5000; then, with the factors f0, f1, ... fm of N, number N / f0 k0 + N / (f0 f1) k1 + ... + km (each ki from 0
   to fi - 1) is frequency k0 + f0 k1 + f0 f1 k2 + .... The factors are: 2 if N has it an odd number of times, all its
   fours, the odd ones by size, the largest last; but a two takes the first place and the four that stood there goes
   behind the other fours. */
int32_t e9_vpksDFTOutOrdInitAlloc_C_32fc(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTOutOrdFree_C_32fc(tnk_signal_dft *spec);
int32_t e9_vpksDFTOutOrdGetBufSize_C_32fc(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTOutOrdFwd_CToC_32fc(const tnk_complex8 *source, tnk_complex8 *destination,
                                      const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTOutOrdInv_CToC_32fc(const tnk_complex8 *source, tnk_complex8 *destination,
                                      const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTOutOrdInitAlloc_C_64fc(tnk_signal_dft **spec, int32_t length, int32_t flag, int32_t hint);
int32_t e9_vpksDFTOutOrdFree_C_64fc(tnk_signal_dft *spec);
int32_t e9_vpksDFTOutOrdGetBufSize_C_64fc(const tnk_signal_dft *spec, int32_t *size);
int32_t e9_vpksDFTOutOrdFwd_CToC_64fc(const tnk_complex16 *source, tnk_complex16 *destination,
                                      const tnk_signal_dft *spec, uint8_t *work);
int32_t e9_vpksDFTOutOrdInv_CToC_64fc(const tnk_complex16 *source, tnk_complex16 *destination,
                                      const tnk_signal_dft *spec, uint8_t *work);

TNK_END_DECLS

#endif
