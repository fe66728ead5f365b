/* The stages of transforms of any length (signal_dft.h), for those who build other transforms of them. C and C++ alike.

   Nothing is checked. Arrays are those of the whole transform; addresses of numbers need no alignment, those of tables and
   work areas are 32-byte boundaries, as e9_vpksMalloc gives them. Functions that return an address return null without
   memory, and what they return is released by e9_vpksFree. */
#ifndef TNK_SIGNAL_DFT_STAGES_H
#define TNK_SIGNAL_DFT_STAGES_H

#include <tnk/signal_dft.h>

TNK_BEGIN_DECLS

/* ---- Straight-line transforms -------------------------------------------------------------------------------------
   Of as many numbers as the name says, without scale; source and destination may be the same. */

void e9_vpks_cDFTfwd_3_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_3_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_3_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_3_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_5_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_5_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_5_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_5_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_6_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_6_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_6_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_6_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_7_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_7_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_7_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_7_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_9_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_9_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_9_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_9_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_10_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_10_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_10_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_10_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_11_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_11_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_11_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_11_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_12_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_12_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_12_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_12_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_13_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_13_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_13_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_13_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_14_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_14_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_14_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_14_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTfwd_15_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTinv_15_64fc(const tnk_complex16 *source, tnk_complex16 *destination);
void e9_vpks_cDFTfwd_15_32fc(const tnk_complex8 *source, tnk_complex8 *destination);
void e9_vpks_cDFTinv_15_32fc(const tnk_complex8 *source, tnk_complex8 *destination);

/* ---- Tables ----------------------------------------------------------------------------------------------------------
   A base table has exp(-2 pi i k / n) for k from 0 to n - 1; where one is an argument, n is a multiple of the length that
   the new table is for. */

tnk_complex16 *e9_vpks_createTabDftBase_64f(int32_t n);
tnk_complex8 *e9_vpks_createTabDftBase_32f(int32_t n);

/* For sums of f = 2 h + 1 numbers by definition: row by row from 1 to h, 32 bytes of cosines and then 32 of sines of
   2 pi row column / f, for columns from 1 to h; a row ends with zeros. */
double *e9_vpks_createTabDftDir_64f(int32_t f, const tnk_complex16 *base, int32_t n);
float *e9_vpks_createTabDftDir_32f(int32_t f, const tnk_complex8 *base, int32_t n);

/* For the recombination of real spectra of `length` numbers, an even one. */
double *e9_vpks_createTabDftFwdRec_64f(int32_t length, const tnk_complex16 *base, int32_t n);
float *e9_vpks_createTabDftFwdRec_32f(int32_t length, const tnk_complex8 *base, int32_t n);
double *e9_vpks_createTabDftInvRec_64f(int32_t length, const tnk_complex16 *base, int32_t n);
float *e9_vpks_createTabDftInvRec_32f(int32_t length, const tnk_complex8 *base, int32_t n);

/* Give a record that has no tables (as one of length 16 or less) those of a transform of `length` numbers by factors, if it
   has small enough ones (-6 otherwise), or by convolution, with base tables of length or 2 length values. GetBufSize of
   the record then tells the work that it needs, and Free releases the tables; -9 without memory. */
int32_t e9_vpks_initDftPrimeFact_64f(tnk_signal_dft *spec, int32_t length, const tnk_complex16 *base,
                                     int32_t n);
int32_t e9_vpks_initDftPrimeFact_32f(tnk_signal_dft *spec, int32_t length, const tnk_complex8 *base,
                                     int32_t n);
int32_t e9_vpks_initDftConv_64f(tnk_signal_dft *spec, int32_t length, const tnk_complex16 *base, int32_t n);
int32_t e9_vpks_initDftConv_32f(tnk_signal_dft *spec, int32_t length, const tnk_complex8 *base, int32_t n);

/* ---- Methods -----------------------------------------------------------------------------------------------------
   Whole transforms without scale, by a record that has the tables. OutOrd: the spectrum in the order of the passes. The
   status, where there is one, is that of an inner transform. */

void e9_vpks_cDftFwd_PrimeFact_64fc(const tnk_signal_dft *spec, const tnk_complex16 *source,
                                    tnk_complex16 *destination, uint8_t *work);
int32_t e9_vpks_cDftFwd_OutOrd_64fc(const tnk_signal_dft *spec, const tnk_complex16 *source,
                                    tnk_complex16 *destination, uint8_t *work);
void e9_vpks_cDftInv_PrimeFact_64fc(const tnk_signal_dft *spec, const tnk_complex16 *source,
                                    tnk_complex16 *destination, uint8_t *work);
int32_t e9_vpks_cDftInv_OutOrd_64fc(const tnk_signal_dft *spec, const tnk_complex16 *source,
                                    tnk_complex16 *destination, uint8_t *work);
void e9_vpks_cDftFwd_PrimeFact_32fc(const tnk_signal_dft *spec, const tnk_complex8 *source,
                                    tnk_complex8 *destination, uint8_t *work);
int32_t e9_vpks_cDftFwd_OutOrd_32fc(const tnk_signal_dft *spec, const tnk_complex8 *source,
                                    tnk_complex8 *destination, uint8_t *work);
void e9_vpks_cDftInv_PrimeFact_32fc(const tnk_signal_dft *spec, const tnk_complex8 *source,
                                    tnk_complex8 *destination, uint8_t *work);
int32_t e9_vpks_cDftInv_OutOrd_32fc(const tnk_signal_dft *spec, const tnk_complex8 *source,
                                    tnk_complex8 *destination, uint8_t *work);

/* `length` numbers, an odd one, by definition, and by convolution. sign: 1 forward, -1 inverse. work: length complex
   numbers, and what GetBufSize says. */
void e9_vpks_cDft_Dir_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t length,
                           int32_t sign, const double *table, uint8_t *work);
void e9_vpks_cDft_Dir_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t length,
                           int32_t sign, const float *table, uint8_t *work);
int32_t e9_vpks_cDft_Conv_64fc(const tnk_signal_dft *spec, const tnk_complex16 *source,
                               tnk_complex16 *destination, int32_t length, int32_t sign, uint8_t *work);
int32_t e9_vpks_cDft_Conv_32fc(const tnk_signal_dft *spec, const tnk_complex8 *source,
                               tnk_complex8 *destination, int32_t length, int32_t sign, uint8_t *work);

/* Real numbers of odd length, to the Perm layout and from it. work: with Dir `length` real numbers, otherwise `length`
   complex ones, up to a boundary, and then what the complex transform needs. */
int32_t e9_vpks_rDftFwd_PrimeFact_64f(const tnk_signal_dft *spec, const double *source, double *destination,
                                      uint8_t *work);
void e9_vpks_rDftFwd_Dir_64f(const double *source, double *destination, int32_t length, const double *table,
                             uint8_t *work);
int32_t e9_vpks_rDftFwd_Conv_64f(const tnk_signal_dft *spec, const double *source, double *destination,
                                 int32_t length, uint8_t *work);
int32_t e9_vpks_rDftInv_PrimeFact_64f(const tnk_signal_dft *spec, const double *source, double *destination,
                                      uint8_t *work);
void e9_vpks_rDftInv_Dir_64f(const double *source, double *destination, int32_t length, const double *table,
                             uint8_t *work);
int32_t e9_vpks_rDftInv_Conv_64f(const tnk_signal_dft *spec, const double *source, double *destination,
                                 int32_t length, uint8_t *work);
int32_t e9_vpks_rDftFwd_PrimeFact_32f(const tnk_signal_dft *spec, const float *source, float *destination,
                                      uint8_t *work);
void e9_vpks_rDftFwd_Dir_32f(const float *source, float *destination, int32_t length, const float *table,
                             uint8_t *work);
int32_t e9_vpks_rDftFwd_Conv_32f(const tnk_signal_dft *spec, const float *source, float *destination,
                                 int32_t length, uint8_t *work);
int32_t e9_vpks_rDftInv_PrimeFact_32f(const tnk_signal_dft *spec, const float *source, float *destination,
                                      uint8_t *work);
void e9_vpks_rDftInv_Dir_32f(const float *source, float *destination, int32_t length, const float *table,
                             uint8_t *work);
int32_t e9_vpks_rDftInv_Conv_32f(const tnk_signal_dft *spec, const float *source, float *destination,
                                 int32_t length, uint8_t *work);

/* ---- Passes --------------------------------------------------------------------------------------------------------
   Prime: the first pass of a transform by factors. `count` transforms of as many numbers as the name or `factor` says:
   transform b takes those at order[b], order[b] + apart, order[b] + 2 apart, ... of the source and leaves its results at
   factor b and on. Not in place. The one that has no number in its name serves odd factors: table is one of
   createTabDftDir, work has `factor` times 128 bytes. */

void e9_vpks_cDftFwd_Prime2_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime2_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime2_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime2_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime3_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime3_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime3_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime3_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime4_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime4_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime4_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime4_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime5_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime5_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime5_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime5_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime7_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime7_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime7_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime7_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime8_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime8_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime8_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime8_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                 int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime11_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime11_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime11_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime11_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime13_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime13_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime13_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime13_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime16_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime16_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime16_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftInv_Prime16_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t apart,
                                  int32_t count, const int32_t *order);
void e9_vpks_cDftFwd_Prime_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t factor,
                                int32_t apart, int32_t count, const int32_t *order, const double *table,
                                uint8_t *work);
void e9_vpks_cDftInv_Prime_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t factor,
                                int32_t apart, int32_t count, const int32_t *order, const double *table,
                                uint8_t *work);
void e9_vpks_cDftFwd_Prime_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t factor,
                                int32_t apart, int32_t count, const int32_t *order, const float *table,
                                uint8_t *work);
void e9_vpks_cDftInv_Prime_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t factor,
                                int32_t apart, int32_t count, const int32_t *order, const float *table,
                                uint8_t *work);

/* Fact: combines `factor` transforms of `part` numbers, one behind the other, into one of factor times part numbers, and does
   so `blocks` times; in place too. twiddles: for each register of numbers k (32 bytes of real parts; what is left of a
   part makes registers of 16 bytes, the last one filled up with zeros) and each transform j from 1 to factor - 1 the
   real parts and then the imaginary parts of exp(-2 pi i j k / (factor part)). The order of k within a register is
   0 2 1 3, of floats 0 1 4 5 2 3 6 7; in registers of 16 bytes k is in order. */
void e9_vpks_cDftFwd_Fact2_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact2_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact2_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact2_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact3_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact3_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact3_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact3_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact4_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact4_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact4_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact4_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact5_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact5_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact5_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact5_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact7_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact7_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact7_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact7_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact11_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                 int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact11_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                 int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact11_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                 int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact11_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                 int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact13_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                 int32_t blocks, const double *twiddles);
void e9_vpks_cDftInv_Fact13_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t part,
                                 int32_t blocks, const double *twiddles);
void e9_vpks_cDftFwd_Fact13_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                 int32_t blocks, const float *twiddles);
void e9_vpks_cDftInv_Fact13_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t part,
                                 int32_t blocks, const float *twiddles);
void e9_vpks_cDftFwd_Fact_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t factor,
                               int32_t part, int32_t blocks, const double *table, const double *twiddles,
                               uint8_t *work);
void e9_vpks_cDftInv_Fact_64fc(const tnk_complex16 *source, tnk_complex16 *destination, int32_t factor,
                               int32_t part, int32_t blocks, const double *table, const double *twiddles,
                               uint8_t *work);
void e9_vpks_cDftFwd_Fact_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t factor,
                               int32_t part, int32_t blocks, const float *table, const float *twiddles,
                               uint8_t *work);
void e9_vpks_cDftInv_Fact_32fc(const tnk_complex8 *source, tnk_complex8 *destination, int32_t factor,
                               int32_t part, int32_t blocks, const float *table, const float *twiddles,
                               uint8_t *work);

/* An even number of complex numbers that stand two by two by part, re re im im, back to pairs, in place. The passes above
   leave pairs themselves. */
void e9_vpks_cDftReord_64fc(tnk_complex16 *data, int32_t length);
void e9_vpks_cDftReord_32fc(tnk_complex8 *data, int32_t length);

/* In place, `length` real numbers, an even one: from the spectrum of length / 2 complex numbers to that of the real numbers
   that they are made of, in the Perm layout (Fwd), and back to twice the former (Inv). */
void e9_vpks_rDftFwdRecombine_64f(double *data, int32_t length, const double *table);
void e9_vpks_rDftInvRecombine_64f(double *data, int32_t length, const double *table);
void e9_vpks_rDftFwdRecombine_32f(float *data, int32_t length, const float *table);
void e9_vpks_rDftInvRecombine_32f(float *data, int32_t length, const float *table);

TNK_END_DECLS

#endif
