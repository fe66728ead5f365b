/* The stages of power-of-two transforms (signal_fft.h): straight transforms, passes over a whole array, the steps of large
   orders, and what fills their tables. For programs that cut a transform themselves. C and C++ alike.

   A name with 64fc has a twin with 32fc, one with 64f a twin with 32f, one with Fwd or fwd a twin with Inv or inv: the
   transform with the sign of the exponent turned. They check nothing and take no memory. Lengths are numbers of complex
   numbers, powers of two; a table is filled by the function named with it, in the order in which it is read. Bit-reversed
   order: number i stands where i with its bits back to front says. */
#ifndef TNK_SIGNAL_FFT_STAGES_H
#define TNK_SIGNAL_FFT_STAGES_H

#include <tnk/signal_fft.h>

TNK_BEGIN_DECLS

/* ---- Transforms ---- */

/* One, two and four numbers. Source and destination may be the same. */
void e9_vpks_cFFT_1_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cFFT_1_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cFFT_2_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cFFT_2_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cFFTfwd_4_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cFFTinv_4_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cFFTfwd_4_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cFFTinv_4_32fc(const tnk_complex8 *source, tnk_complex8 *destination);

/* 2^7 to 2^17 numbers in natural order. twiddles: initTabTwd_L1, for pairs; reversal: initTabBitRevNorm. work: as many
   numbers, on a 32-byte boundary; it is neither the source nor the destination. Source and destination may be the
   same. */
void e9_vpks_cRadix4FwdNorm_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t length,
                                 const double *twiddles, const int32_t *reversal, uint8_t *work);
void e9_vpks_cRadix4InvNorm_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t length,
                                 const double *twiddles, const int32_t *reversal, uint8_t *work);
void e9_vpks_cRadix4FwdNorm_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t length,
                                 const float *twiddles, const int32_t *reversal, uint8_t *work);
void e9_vpks_cRadix4InvNorm_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t length,
                                 const float *twiddles, const int32_t *reversal, uint8_t *work);

/* The same of numbers that are in bit-reversed order, in place. */
void e9_vpks_cRadix4Fwd_64fc(tnk_complex16 *data, int32_t length, const double *twiddles, uint8_t *work);
void e9_vpks_cRadix4Inv_64fc(tnk_complex16 *data, int32_t length, const double *twiddles, uint8_t *work);
void e9_vpks_cRadix4Fwd_32fc(tnk_complex8 *data, int32_t length, const float *twiddles, uint8_t *work);
void e9_vpks_cRadix4Inv_32fc(tnk_complex8 *data, int32_t length, const float *twiddles, uint8_t *work);

/* From 2^18 numbers on, by a record of a complex transform of pairs, with its scale. work: what GetBufSize says, on a
   32-byte boundary. Source and destination may be the same. */
void e9_vpks_cFftFwd_Large_64fc(const tnk_signal_fft *spec, const tnk_complex16 *source,
                                tnk_complex16 *destination, uint8_t *work);
void e9_vpks_cFftInv_Large_64fc(const tnk_signal_fft *spec, const tnk_complex16 *source,
                                tnk_complex16 *destination, uint8_t *work);
void e9_vpks_cFftFwd_Large_32fc(const tnk_signal_fft *spec, const tnk_complex8 *source,
                                tnk_complex8 *destination, uint8_t *work);
void e9_vpks_cFftInv_Large_32fc(const tnk_signal_fft *spec, const tnk_complex8 *source,
                                tnk_complex8 *destination, uint8_t *work);

/* ---- Steps of large orders ---- */

/* Copies `rows` stripes of `length` numbers, `stride` numbers apart in memory, to one another in a buffer; and back. */
void e9_vpks_cFft_BlkMerge_64fc(const tnk_complex16 *source, int32_t stride, int32_t rows, int32_t length,
                                tnk_complex16 *buffer);
void e9_vpks_cFft_BlkMerge_32fc(const tnk_complex8 *source, int32_t stride, int32_t rows, int32_t length,
                                tnk_complex8 *buffer);
void e9_vpks_cFft_BlkSplit_64fc(const tnk_complex16 *buffer, int32_t rows, int32_t length,
                                tnk_complex16 *destination, int32_t stride);
void e9_vpks_cFft_BlkSplit_32fc(const tnk_complex8 *buffer, int32_t rows, int32_t length,
                                tnk_complex8 *destination, int32_t stride);

/* Bit reversal in place by a table of initTabBitRev: of double and of single complex numbers. */
void e9_vpks_zBitRev1_Blk(tnk_complex16 *block, const int32_t *swaps);
void e9_vpks_cBitRev1_Blk(tnk_complex8 *block, const int32_t *swaps);

/* Combines each four (Fact4) or eight (Fact8) neighbouring transforms of `part` numbers, a multiple of 8, among `length`
   numbers into one, in place. The transforms stand in bit-reversed order. Twiddles: for each 4 numbers of a part (in
   single precision 8), for each but the first of the transforms that are combined, a block of real parts and one of
   imaginary parts of exp(-2 pi i j k / N), j the transform and k the number, N the length that comes out; within a block k
   rises in the order 0 2 1 3 (0 1 4 5 2 3 6 7). The same twiddles serve all groups. */
void e9_vpks_cFftFwd_Fact4_64fc(tnk_complex16 *data, int32_t length, int32_t part, const double *twiddles);
void e9_vpks_cFftInv_Fact4_64fc(tnk_complex16 *data, int32_t length, int32_t part, const double *twiddles);
void e9_vpks_cFftFwd_Fact4_32fc(tnk_complex8 *data, int32_t length, int32_t part, const float *twiddles);
void e9_vpks_cFftInv_Fact4_32fc(tnk_complex8 *data, int32_t length, int32_t part, const float *twiddles);
void e9_vpks_cFftFwd_Fact8_64fc(tnk_complex16 *data, int32_t length, int32_t part, const double *twiddles);
void e9_vpks_cFftInv_Fact8_64fc(tnk_complex16 *data, int32_t length, int32_t part, const double *twiddles);
void e9_vpks_cFftFwd_Fact8_32fc(tnk_complex8 *data, int32_t length, int32_t part, const float *twiddles);
void e9_vpks_cFftInv_Fact8_32fc(tnk_complex8 *data, int32_t length, int32_t part, const float *twiddles);

/* ---- Real numbers ---- */

/* Between the transform Z of 2 M real numbers, taken as M complex ones, and their spectrum: frequencies 1 to M - 1. direction
   1: Z to the spectrum; -1: the spectrum to 2 Z. Frequencies 0 and M, which are real, are the sum and the difference of
   the parts of Z[0], and are left to the caller. M = half, at least 2. Real: in place. Ccs: to another array. The table
   is that of initTabTwdRealRec or CcsRec, which are the same. */
void e9_vpks_cRealRecombine_64f(double *data, int32_t half, const double *table, int32_t direction);
void e9_vpks_cRealRecombine_32f(float *data, int32_t half, const float *table, int32_t direction);
void e9_vpks_cCcsRecombine_64f(const double *source, double *destination, int32_t half, const double *table,
                               int32_t direction);
void e9_vpks_cCcsRecombine_32f(const float *source, float *destination, int32_t half, const float *table,
                               int32_t direction);

/* ---- Tables ---- */

/* A quarter of a wave for 2^order numbers: 2^order / 4 + 1 sines of 2 pi i / 2^order; from the middle on they are taken from
   the cosine. order: at least 2. The others take their roots from such a table, `base` below, of an order that is not
   below theirs. */
void e9_vpks_initTabTwdBase_64f(double *table, int32_t order);
void e9_vpks_initTabTwdBase_32f(float *table, int32_t order);

/* Twiddles of the passes of 2^order numbers, order 7 to 17, in less than 2^order pairs; by_part other than 0: for arrays by
   part. Returns the end. */
double *e9_vpks_initTabTwd_L1_64f(double *table, int32_t order, const double *base, int32_t base_order,
                                  int32_t by_part);
float *e9_vpks_initTabTwd_L1_32f(float *table, int32_t order, const float *base, int32_t base_order,
                                 int32_t by_part);

/* The same with the reversal of order 18 and up, at a 32-byte boundary; notes in the record where they are and how much
   work they need. Returns the end. Orders 9 to 17, which are not cut into blocks and which no transform has made here:
   the reversal by initTabBitRevNorm, then as block table 1 cos and -sin of 2 pi k / 2^order for 2^order / 4 numbers k. */
double *e9_vpks_initTabTwd_Large_64f(tnk_signal_fft *spec, uint8_t *memory, int32_t order, const double *base,
                                     int32_t base_order, int32_t by_part);
float *e9_vpks_initTabTwd_Large_32f(tnk_signal_fft *spec, uint8_t *memory, int32_t order, const float *base,
                                    int32_t base_order, int32_t by_part);

/* The bytes of those twiddles, without the reversal, and of the work buffer, which is 2097152 below order 18. */
void e9_vpks_getSizeTwd_Large_64f(int32_t order, int32_t *table_size, int32_t *work_size);
void e9_vpks_getSizeTwd_Large_32f(int32_t order, int32_t *table_size, int32_t *work_size);

/* What recombines 2^order real numbers: less than 2^order / 2 numbers. */
void e9_vpks_initTabTwdRealRec_64f(double *table, int32_t order, const double *base, int32_t base_order);
void e9_vpks_initTabTwdRealRec_32f(float *table, int32_t order, const float *base, int32_t base_order);
void e9_vpks_initTabTwdCcsRec_64f(double *table, int32_t order, const double *base, int32_t base_order);
void e9_vpks_initTabTwdCcsRec_32f(float *table, int32_t order, const float *base, int32_t base_order);

/* Twice the reversal of i in order - 2 bits for i below 2^order / 4, then a 0. Returns the 32-byte boundary behind. */
int32_t *e9_vpks_initTabBitRevNorm(int32_t *table, int32_t order);

/* The reversal of 2^order numbers in place, in 2^order + 1 entries: pairs of 4 i and 4 rev(i) where i is the lesser, then a
   0; from the end backwards 4 i of those that stay, but for 0, and a 0 before them. */
void e9_vpks_initTabBitRev(int32_t *table, int32_t order);

/* The reversal by blocks of 2^k stripes of 2^k numbers: rev(i) 2^k for 2^(order - 2 k) rows, then the table above for 2^(2 k)
   numbers. Returns the 32-byte boundary behind. */
int32_t *e9_vpks_initTabBitRevLarge(int32_t *table, int32_t order, int32_t k);

TNK_END_DECLS

#endif
