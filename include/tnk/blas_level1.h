/* Level 1 BLAS and sparse-vector kernels, as the kernel library exports them. Link with -ltnk; public
   checked forms of some stand in tnk/blas.h.

   The kernels check nothing: a bad argument gives a bad result or a fault. Arguments travel by address. A vector is
   the address of an element and an increment in elements; unless a routine says otherwise, logical element i (from 0)
   of n with a negative increment stands at (i + 1 - n) * inc. Vectors need not be aligned, not even to their element
   size. Letters: s float, d double, c and z complex of these. Routines with x after tnk_blas_ are what the host runs
   for the public routine of the name without it.

   Scalars, and param of rotm, are read before anything is written and may lie anywhere, in a vector that is written
   too; *result of a dot product is written last. Vectors that are only read may coincide or overlap. A vector that is
   written must not overlap with another one, but x and y of axpy, axpby, copy and swap may be the same: one address,
   one increment other than 0. What rotg and rotmg write must be as many different places.

   Sources: Lawson, Hanson, Kincaid, Krogh, ACM TOMS 5 (1979), for the dense routines; Dodson, Grimes, Lewis, ACM TOMS
   17 (1991), for sparse vectors. */
#ifndef TNK_BLAS_LEVEL1_H
#define TNK_BLAS_LEVEL1_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Streams ----------------------------------------------------------------------------------------------- */

/* y := alpha x + y. No-op when n < 1, and when alpha is zero (both parts); a NaN alpha is not zero. */
void tnk_blas_xsaxpy(const tnk_int *n, const float *alpha, const float *x, const tnk_int *incx, float *y,
                     const tnk_int *incy);
void tnk_blas_xdaxpy(const tnk_int *n, const double *alpha, const double *x, const tnk_int *incx, double *y,
                     const tnk_int *incy);
void tnk_blas_xcaxpy(const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x, const tnk_int *incx,
                     tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_xzaxpy(const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                     const tnk_int *incx, tnk_complex16 *y, const tnk_int *incy);

/* The same without the test of alpha: y is read and written even when alpha is zero. No-op when n < 1. */
void tnk_blas_xcaxpy_a(const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x,
                       const tnk_int *incx, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_xzaxpy_a(const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                       const tnk_int *incx, tnk_complex16 *y, const tnk_int *incy);

/* y := alpha x + beta y. No-op when n < 1. A zero alpha or beta still reads its vector. */
void tnk_blas_saxpby(const tnk_int *n, const float *alpha, const float *x, const tnk_int *incx,
                     const float *beta, float *y, const tnk_int *incy);
void tnk_blas_daxpby(const tnk_int *n, const double *alpha, const double *x, const tnk_int *incx,
                     const double *beta, double *y, const tnk_int *incy);
void tnk_blas_caxpby(const tnk_int *n, const tnk_complex8 *alpha, const tnk_complex8 *x, const tnk_int *incx,
                     const tnk_complex8 *beta, tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_zaxpby(const tnk_int *n, const tnk_complex16 *alpha, const tnk_complex16 *x,
                     const tnk_int *incx, const tnk_complex16 *beta, tnk_complex16 *y, const tnk_int *incy);

/* y := x. No-op when n < 1. */
void tnk_blas_xscopy(const tnk_int *n, const float *x, const tnk_int *incx, float *y, const tnk_int *incy);
void tnk_blas_xdcopy(const tnk_int *n, const double *x, const tnk_int *incx, double *y, const tnk_int *incy);
void tnk_blas_xccopy(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                     const tnk_int *incy);
void tnk_blas_xzcopy(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                     const tnk_int *incy);

/* x and y exchanged. No-op when n < 1. */
void tnk_blas_xsswap(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy);
void tnk_blas_xdswap(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy);
void tnk_blas_xcswap(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                     const tnk_int *incy);
void tnk_blas_xzswap(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                     const tnk_int *incy);

/* x := alpha x. No-op when n < 1; dscal also when alpha is exactly 1. A zero alpha multiplies, so a NaN stays a NaN.
   With incx of 0 the first element is multiplied n times over. A negative incx scales the same elements as its
   absolute value, last to first; of -1, on an element-aligned vector, first to last. */
void tnk_blas_sscal(const tnk_int *n, const float *alpha, float *x, const tnk_int *incx);
void tnk_blas_dscal(const tnk_int *n, const double *alpha, double *x, const tnk_int *incx);
void tnk_blas_cscal(const tnk_int *n, const tnk_complex8 *alpha, tnk_complex8 *x, const tnk_int *incx);
void tnk_blas_zscal(const tnk_int *n, const tnk_complex16 *alpha, tnk_complex16 *x, const tnk_int *incx);

/* x := alpha x with a real alpha. The absolute value of incx counts: elements 0, |incx|, 2 |incx|, ... of x. With an
   incx of 1 zdscal is dscal on the parts, so an alpha of exactly 1 touches nothing; with any other, and in csscal, 1
   multiplies like any number. */
void tnk_blas_csscal(const tnk_int *n, const float *alpha, tnk_complex8 *x, const tnk_int *incx);
void tnk_blas_zdscal(const tnk_int *n, const double *alpha, tnk_complex16 *x, const tnk_int *incx);

/* ---- Sums -------------------------------------------------------------------------------------------------- */

/* Sum of x[i] y[i]; 0 when n < 1. The order of the sum depends on alignment and length. */
float tnk_blas_xsdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                     const tnk_int *incy);
double tnk_blas_xddot(const tnk_int *n, const double *x, const tnk_int *incx, const double *y,
                      const tnk_int *incy);

/* *result := sum of x[i] y[i] (u) or of conj(x[i]) y[i] (c); 0 when n < 1. */
void tnk_blas_cdotu(tnk_complex8 *result, const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx,
                    const tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_zdotu(tnk_complex16 *result, const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx,
                    const tnk_complex16 *y, const tnk_int *incy);
void tnk_blas_xcdotc(tnk_complex8 *result, const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx,
                     const tnk_complex8 *y, const tnk_int *incy);
void tnk_blas_zdotc(tnk_complex16 *result, const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx,
                    const tnk_complex16 *y, const tnk_int *incy);

/* Sum of x[i] y[i] in double precision from single inputs; 0 when n < 1. */
double tnk_blas_dsdot(const tnk_int *n, const float *x, const tnk_int *incx, const float *y,
                      const tnk_int *incy);

/* sb plus that sum, rounded to single once at the end; sb when n < 1. */
float tnk_blas_sdsdot(const tnk_int *n, const float *sb, const float *x, const tnk_int *incx, const float *y,
                      const tnk_int *incy);

/* Euclidean norm, by the scaled sum of squares: no intermediate overflow or harmful underflow. 0 when n < 1; |x[0]|
   when n = 1. The absolute value of incx counts and the walk goes forward from x; an increment of 0 takes the first
   element n times. A NaN gives a NaN, and so do two infinities: their quotient enters the sum. */
float tnk_blas_snrm2(const tnk_int *n, const float *x, const tnk_int *incx);
double tnk_blas_dnrm2(const tnk_int *n, const double *x, const tnk_int *incx);
float tnk_blas_scnrm2(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx);
double tnk_blas_dznrm2(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx);

/* Sum of |x[i]|, of |re| + |im| for complex x; 0 when n < 1. */
float tnk_blas_sasum(const tnk_int *n, const float *x, const tnk_int *incx);
double tnk_blas_dasum(const tnk_int *n, const double *x, const tnk_int *incx);
float tnk_blas_scasum(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx);
double tnk_blas_dzasum(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx);

/* |re| + |im| of one number. */
float tnk_blas_scabs1(const tnk_complex8 *x);
double tnk_blas_dcabs1(const tnk_complex16 *x);

/* One-based position of the first element of largest (amax) or smallest (amin) |x[i]|, |re| + |im| for complex x;
   0 when n < 1 or incx < 1, 1 when n = 1. A NaN counts as better than what came before it, and what comes after
   it as better than the NaN. */
tnk_int tnk_blas_isamax(const tnk_int *n, const float *x, const tnk_int *incx);
tnk_int tnk_blas_isamin(const tnk_int *n, const float *x, const tnk_int *incx);
tnk_int tnk_blas_idamax(const tnk_int *n, const double *x, const tnk_int *incx);
tnk_int tnk_blas_idamin(const tnk_int *n, const double *x, const tnk_int *incx);
tnk_int tnk_blas_icamax(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx);
tnk_int tnk_blas_icamin(const tnk_int *n, const tnk_complex8 *x, const tnk_int *incx);
tnk_int tnk_blas_izamax(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx);
tnk_int tnk_blas_izamin(const tnk_int *n, const tnk_complex16 *x, const tnk_int *incx);

/* ---- Rotations --------------------------------------------------------------------------------------------- */

/* (x, y) := (c x + s y, c y - s x), for complex s with conj(s) in the second. c is real. No-op when n < 1. */
void tnk_blas_xsrot(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                    const float *c, const float *s);
void tnk_blas_xdrot(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                    const double *c, const double *s);
void tnk_blas_xcrot(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                    const tnk_int *incy, const float *c, const tnk_complex8 *s);
void tnk_blas_xzrot(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                    const tnk_int *incy, const double *c, const tnk_complex16 *s);
void tnk_blas_xcsrot(const tnk_int *n, tnk_complex8 *x, const tnk_int *incx, tnk_complex8 *y,
                     const tnk_int *incy, const float *c, const float *s);
void tnk_blas_xzdrot(const tnk_int *n, tnk_complex16 *x, const tnk_int *incx, tnk_complex16 *y,
                     const tnk_int *incy, const double *c, const double *s);

/* The rotation that turns (a, b) into (r, 0): c and s out, r in a. Real: b becomes z, from which c and s can be
   rebuilt (z = s when |a| > |b|, else 1 / c, or 1 when c is zero). a = b = 0 gives c = 1, s = 0. Where |a| + |b|
   overflows, all four are NaN. */
void tnk_blas_srotg(float *a, float *b, float *c, float *s);
void tnk_blas_drotg(double *a, double *b, double *c, double *s);

/* Complex: c is real, s complex, b unchanged. |a| = 0 gives c = 0, s = 1 and a := b. Where |a| + |b| overflows (in
   crotg: |a| or |b|), c, s and a are NaN. */
void tnk_blas_crotg(tnk_complex8 *a, const tnk_complex8 *b, float *c, tnk_complex8 *s);
void tnk_blas_zrotg(tnk_complex16 *a, const tnk_complex16 *b, double *c, tnk_complex16 *s);

/* Modified rotation: (x, y) := H (x, y). param is { flag, h11, h21, h12, h22 }; flag -1: H as given; 0: h11 = h22 = 1;
   1: h12 = 1, h21 = -1; -2: H is the identity and nothing is done. Any other negative flag counts as -1, any other
   positive one, and a NaN, as 1. No-op when n < 1. */
void tnk_blas_srotm(const tnk_int *n, float *x, const tnk_int *incx, float *y, const tnk_int *incy,
                    const float *param);
void tnk_blas_drotm(const tnk_int *n, double *x, const tnk_int *incx, double *y, const tnk_int *incy,
                    const double *param);

/* Builds the modified rotation that zeroes the second component of (sqrt(d1) x1, sqrt(d2) y1); d1, d2 and x1 are
   updated, param is written: the flag and those elements that the flag does not imply (with 0 h21 and h12, with 1 h11
   and h22, with -1 all four).

   A negative d1 comes before everything else: flag -1, with H, d1, d2 and x1 all zero. Then, where d2 y1 is zero, the
   flag is -2 and nothing else is written. Where |d1 x1^2| > |d2 y1^2| the flag is 0, otherwise 1; but a d2 y1^2 that is
   negative in that second case gives the same zeros as a negative d1.

   Last d1 and then d2 are rescaled until their magnitudes stand strictly between r and 2^24, in steps that multiply by
   2^24 or by r: 5.960464477539e-08, which is 2^-24 in single and some 1e-14 less in double. A step of d1 divides or
   multiplies x1, h11 and h12 by 2^12, one of d2 h21 and h22, and makes the form full: flag -1. Zeros, infinities and
   NaN stay. */
void tnk_blas_srotmg(float *d1, float *d2, float *x1, const float *y1, float *param);
void tnk_blas_drotmg(double *d1, double *d2, double *x1, const double *y1, double *param);

/* ---- Sparse vectors ----------------------------------------------------------------------------------------------
   A sparse vector is nz values x and their positions indx, counted from one: x[i] belongs to y[indx[i] - 1]. Repeated
   positions are not guarded against. No-op (a dot product: 0) when nz < 1. */

/* y[indx[i] - 1] += alpha x[i]. No-op also when alpha is zero. */
void tnk_blas_saxpyi(const tnk_int *nz, const float *alpha, const float *x, const tnk_int *indx, float *y);
void tnk_blas_daxpyi(const tnk_int *nz, const double *alpha, const double *x, const tnk_int *indx, double *y);
void tnk_blas_caxpyi(const tnk_int *nz, const tnk_complex8 *alpha, const tnk_complex8 *x, const tnk_int *indx,
                     tnk_complex8 *y);
void tnk_blas_zaxpyi(const tnk_int *nz, const tnk_complex16 *alpha, const tnk_complex16 *x,
                     const tnk_int *indx, tnk_complex16 *y);

/* Sum of x[i] y[indx[i] - 1]; with conj(x[i]) in the c forms. */
float tnk_blas_sdoti(const tnk_int *nz, const float *x, const tnk_int *indx, const float *y);
double tnk_blas_ddoti(const tnk_int *nz, const double *x, const tnk_int *indx, const double *y);
void tnk_blas_cdotci(tnk_complex8 *result, const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx,
                     const tnk_complex8 *y);
void tnk_blas_cdotui(tnk_complex8 *result, const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx,
                     const tnk_complex8 *y);
void tnk_blas_zdotci(tnk_complex16 *result, const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx,
                     const tnk_complex16 *y);
void tnk_blas_zdotui(tnk_complex16 *result, const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx,
                     const tnk_complex16 *y);

/* x[i] := y[indx[i] - 1]. */
void tnk_blas_sgthr(const tnk_int *nz, const float *y, float *x, const tnk_int *indx);
void tnk_blas_dgthr(const tnk_int *nz, const double *y, double *x, const tnk_int *indx);
void tnk_blas_cgthr(const tnk_int *nz, const tnk_complex8 *y, tnk_complex8 *x, const tnk_int *indx);
void tnk_blas_zgthr(const tnk_int *nz, const tnk_complex16 *y, tnk_complex16 *x, const tnk_int *indx);

/* The same, then y[indx[i] - 1] := 0. */
void tnk_blas_sgthrz(const tnk_int *nz, float *y, float *x, const tnk_int *indx);
void tnk_blas_dgthrz(const tnk_int *nz, double *y, double *x, const tnk_int *indx);
void tnk_blas_cgthrz(const tnk_int *nz, tnk_complex8 *y, tnk_complex8 *x, const tnk_int *indx);
void tnk_blas_zgthrz(const tnk_int *nz, tnk_complex16 *y, tnk_complex16 *x, const tnk_int *indx);

/* y[indx[i] - 1] := x[i]. */
void tnk_blas_ssctr(const tnk_int *nz, const float *x, const tnk_int *indx, float *y);
void tnk_blas_dsctr(const tnk_int *nz, const double *x, const tnk_int *indx, double *y);
void tnk_blas_csctr(const tnk_int *nz, const tnk_complex8 *x, const tnk_int *indx, tnk_complex8 *y);
void tnk_blas_zsctr(const tnk_int *nz, const tnk_complex16 *x, const tnk_int *indx, tnk_complex16 *y);

/* x[i] := c x[i] + s y, y := (0 - s x[i]) + c y, with y for y[indx[i] - 1]. No-op also when c is 1 and s is 0. */
void tnk_blas_sroti(const tnk_int *nz, float *x, const tnk_int *indx, float *y, const float *c,
                    const float *s);
void tnk_blas_droti(const tnk_int *nz, double *x, const tnk_int *indx, double *y, const double *c,
                    const double *s);

TNK_END_DECLS

#endif
