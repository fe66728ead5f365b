/* Operations on integers; tnk/gmp.h includes this. C and C++ alike.

   An output may be the same record as any input, and inputs may be one record; but two outputs of one call differ. Outputs
   have been made by one of the init functions, or are {0, 0, NULL}, which is a zero that has no limbs yet; they grow as
   they need. Divisors and moduli are not 0, unless said otherwise. Nothing is looked at: what is not promised here is
   refused by tnk/integer.h. Bits count from 0, the lowest. */
#ifndef TNK_GMP_INTEGERS_H
#define TNK_GMP_INTEGERS_H

#include <stdio.h>
#include <tnk/gmp.h>

TNK_BEGIN_DECLS

/* ---- Life ------------------------------------------------------------------------------------------------------------ */

/* A zero with room for 8 limbs; init2 with room for that many bits, 8 limbs at least. The limbs are zeroed. */
void tnk_gmp___gmpz_init(tnk_gmp_integer *r);
void tnk_gmp___gmpz_init2(tnk_gmp_integer *r, uint64_t bits);
/* `count` records one after another, each as init2 makes it. */
void tnk_gmp___gmpz_array_init(tnk_gmp_integer *first, int64_t count, int64_t bits);
/* Gives up the limbs. The record can only be made anew. */
void tnk_gmp___gmpz_clear(tnk_gmp_integer *r);
/* Room for exactly that many limbs or bits, one limb at least; a value that no longer fits becomes 0. The first returns
   the limbs. */
void *tnk_gmp___gmpz_realloc(tnk_gmp_integer *r, int32_t limbs);
void tnk_gmp___gmpz_realloc2(tnk_gmp_integer *r, uint64_t bits);
void tnk_gmp___gmpz_swap(tnk_gmp_integer *a, tnk_gmp_integer *b);

/* ---- Assignment ------------------------------------------------------------------------------------------------------ */

/* init_set does what init and set do, on a record that has not been made. A double is cut to a whole number, and
   finite. */
void tnk_gmp___gmpz_set(tnk_gmp_integer *r, const tnk_gmp_integer *a);
void tnk_gmp___gmpz_set_ui(tnk_gmp_integer *r, uint64_t value);
void tnk_gmp___gmpz_set_si(tnk_gmp_integer *r, int64_t value);
void tnk_gmp___gmpz_set_d(tnk_gmp_integer *r, double value);
void tnk_gmp___gmpz_init_set(tnk_gmp_integer *r, const tnk_gmp_integer *a);
void tnk_gmp___gmpz_init_set_ui(tnk_gmp_integer *r, uint64_t value);
void tnk_gmp___gmpz_init_set_si(tnk_gmp_integer *r, int64_t value);
void tnk_gmp___gmpz_init_set_d(tnk_gmp_integer *r, double value);

/* The low 64 bits of |a|. */
uint64_t tnk_gmp___gmpz_get_ui(const tnk_gmp_integer *a);
/* a, if it fits; otherwise a number of its sign with the low 63 bits of |a|. */
int64_t tnk_gmp___gmpz_get_si(const tnk_gmp_integer *a);
/* Cut toward 0 to 53 bits; an infinity from 2^1024 on. */
double tnk_gmp___gmpz_get_d(const tnk_gmp_integer *a);
/* The same as d 2^exponent with |d| from 1/2 to 1; 0 and 0 for 0. */
double tnk_gmp___gmpz_get_d_2exp(int64_t *exponent, const tnk_gmp_integer *a);
/* Limb n of |a|, from 0; 0 where it has none. */
tnk_gmp_limb tnk_gmp___gmpz_getlimbn(const tnk_gmp_integer *a, int64_t n);
/* Limbs of |a|; 0 for 0. */
size_t tnk_gmp___gmpz_size(const tnk_gmp_integer *a);
/* Whether a is a value of that type; long has 64 bits. */
int tnk_gmp___gmpz_fits_sint_p(const tnk_gmp_integer *a);
int tnk_gmp___gmpz_fits_slong_p(const tnk_gmp_integer *a);
int tnk_gmp___gmpz_fits_sshort_p(const tnk_gmp_integer *a);
int tnk_gmp___gmpz_fits_uint_p(const tnk_gmp_integer *a);
int tnk_gmp___gmpz_fits_ulong_p(const tnk_gmp_integer *a);
int tnk_gmp___gmpz_fits_ushort_p(const tnk_gmp_integer *a);

/* ---- Arithmetic ------------------------------------------------------------------------------------------------------ */

void tnk_gmp___gmpz_abs(tnk_gmp_integer *r, const tnk_gmp_integer *a);
void tnk_gmp___gmpz_neg(tnk_gmp_integer *r, const tnk_gmp_integer *a);
void tnk_gmp___gmpz_add(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_add_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);
void tnk_gmp___gmpz_sub(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_sub_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);
void tnk_gmp___gmpz_ui_sub(tnk_gmp_integer *r, uint64_t a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_mul(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_mul_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);
void tnk_gmp___gmpz_mul_si(tnk_gmp_integer *r, const tnk_gmp_integer *a, int64_t b);
/* r := a 2^bits. */
void tnk_gmp___gmpz_mul_2exp(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t bits);
/* r := r + a b, and r - a b. */
void tnk_gmp___gmpz_addmul(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_addmul_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);
void tnk_gmp___gmpz_submul(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_submul_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);

/* ---- Divisions ------------------------------------------------------------------------------------------------------- */

/* n = q d + r with |r| < |d|. The quotient is rounded toward 0 (t), down (f) or up (c): so r has the sign of n, of d, or
   the other one of d. Those by an unsigned number return |r|, and by 2^bits take that for d. */
void tnk_gmp___gmpz_tdiv_q(tnk_gmp_integer *q, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_tdiv_r(tnk_gmp_integer *r, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_tdiv_qr(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                            const tnk_gmp_integer *d);
uint64_t tnk_gmp___gmpz_tdiv_q_ui(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t d);
uint64_t tnk_gmp___gmpz_tdiv_r_ui(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t d);
uint64_t tnk_gmp___gmpz_tdiv_qr_ui(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                                   uint64_t d);
uint64_t tnk_gmp___gmpz_tdiv_ui(const tnk_gmp_integer *n, uint64_t d);
void tnk_gmp___gmpz_tdiv_q_2exp(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t bits);
void tnk_gmp___gmpz_tdiv_r_2exp(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t bits);

void tnk_gmp___gmpz_fdiv_q(tnk_gmp_integer *q, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_fdiv_r(tnk_gmp_integer *r, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_fdiv_qr(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                            const tnk_gmp_integer *d);
uint64_t tnk_gmp___gmpz_fdiv_q_ui(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t d);
uint64_t tnk_gmp___gmpz_fdiv_r_ui(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t d);
uint64_t tnk_gmp___gmpz_fdiv_qr_ui(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                                   uint64_t d);
uint64_t tnk_gmp___gmpz_fdiv_ui(const tnk_gmp_integer *n, uint64_t d);
void tnk_gmp___gmpz_fdiv_q_2exp(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t bits);
void tnk_gmp___gmpz_fdiv_r_2exp(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t bits);

void tnk_gmp___gmpz_cdiv_q(tnk_gmp_integer *q, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_cdiv_r(tnk_gmp_integer *r, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_cdiv_qr(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                            const tnk_gmp_integer *d);
uint64_t tnk_gmp___gmpz_cdiv_q_ui(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t d);
uint64_t tnk_gmp___gmpz_cdiv_r_ui(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t d);
uint64_t tnk_gmp___gmpz_cdiv_qr_ui(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                                   uint64_t d);
uint64_t tnk_gmp___gmpz_cdiv_ui(const tnk_gmp_integer *n, uint64_t d);
void tnk_gmp___gmpz_cdiv_q_2exp(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t bits);
void tnk_gmp___gmpz_cdiv_r_2exp(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t bits);

/* The remainder from 0 to |d| - 1, whatever the signs. */
void tnk_gmp___gmpz_mod(tnk_gmp_integer *r, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
uint64_t tnk_gmp___gmpz_mod_ui(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t d);
/* The quotient of what is divisible; of anything else as tdiv_q has it. */
void tnk_gmp___gmpz_divexact(tnk_gmp_integer *q, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp___gmpz_divexact_ui(tnk_gmp_integer *q, const tnk_gmp_integer *n, uint64_t d);
/* Whether n = q d for a whole q. Only 0 is divisible by 0. */
int tnk_gmp___gmpz_divisible_p(const tnk_gmp_integer *n, const tnk_gmp_integer *d);
int tnk_gmp___gmpz_divisible_ui_p(const tnk_gmp_integer *n, uint64_t d);
int tnk_gmp___gmpz_divisible_2exp_p(const tnk_gmp_integer *n, uint64_t bits);
/* Whether n = c + q d for a whole q. Modulo 0 only what is equal is congruent. */
int tnk_gmp___gmpz_congruent_p(const tnk_gmp_integer *n, const tnk_gmp_integer *c, const tnk_gmp_integer *d);
int tnk_gmp___gmpz_congruent_ui_p(const tnk_gmp_integer *n, uint64_t c, uint64_t d);
int tnk_gmp___gmpz_congruent_2exp_p(const tnk_gmp_integer *n, const tnk_gmp_integer *c, uint64_t bits);

/* ---- Powers ---------------------------------------------------------------------------------------------------------- */

/* r := b^e; 0^0 is 1. */
void tnk_gmp___gmpz_pow_ui(tnk_gmp_integer *r, const tnk_gmp_integer *b, uint64_t e);
void tnk_gmp___gmpz_ui_pow_ui(tnk_gmp_integer *r, uint64_t b, uint64_t e);
/* r := b^e modulo |m|, from 0 to |m| - 1. An e below 0 takes the inverse of b; where there is none r stays as it was. */
void tnk_gmp___gmpz_powm(tnk_gmp_integer *r, const tnk_gmp_integer *b, const tnk_gmp_integer *e,
                         const tnk_gmp_integer *m);
void tnk_gmp___gmpz_powm_ui(tnk_gmp_integer *r, const tnk_gmp_integer *b, uint64_t e,
                            const tnk_gmp_integer *m);

/* ---- Roots ----------------------------------------------------------------------------------------------------------- */

/* s := the square root of a >= 0, cut to a whole number, and r := a - s^2. */
void tnk_gmp___gmpz_sqrt(tnk_gmp_integer *s, const tnk_gmp_integer *a);
void tnk_gmp___gmpz_sqrtrem(tnk_gmp_integer *s, tnk_gmp_integer *r, const tnk_gmp_integer *a);
/* r := the n-th root, n > 0, cut toward 0; returns whether it is exact. Of a below 0 n is odd. r may be null. */
int tnk_gmp___gmpz_root(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t n);
/* Whether a = b^2, and whether a = b^e for some e >= 2. 0 and 1 are both, -1 is a power. */
int tnk_gmp___gmpz_perfect_square_p(const tnk_gmp_integer *a);
int tnk_gmp___gmpz_perfect_power_p(const tnk_gmp_integer *a);

/* ---- Number theory --------------------------------------------------------------------------------------------------- */

/* Not negative; gcd(a, 0) is |a|. gcd_ui returns the result, 0 where it does not fit; r may be null. */
void tnk_gmp___gmpz_gcd(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
uint64_t tnk_gmp___gmpz_gcd_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);
/* g := gcd(a, b) = a s + b t, with |s| < |b| / (2 g) and |t| < |a| / (2 g), which leaves one choice. Where it leaves none:
   s = 0 and t is the sign of b if |a| = |b|; otherwise s is the sign of a if b = 0 or |b| = 2 g, t that of b if a = 0 or
   |a| = 2 g. s and t may be null. */
void tnk_gmp___gmpz_gcdext(tnk_gmp_integer *g, tnk_gmp_integer *s, tnk_gmp_integer *t,
                           const tnk_gmp_integer *a, const tnk_gmp_integer *b);
/* Not negative; 0 where a or b is 0. */
void tnk_gmp___gmpz_lcm(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_lcm_ui(tnk_gmp_integer *r, const tnk_gmp_integer *a, uint64_t b);
/* r := 1 / a modulo |m|, from 0 to |m| - 1; where there is none it returns 0 and r stays as it was. */
int tnk_gmp___gmpz_invert(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *m);
/* Kronecker's symbol (a|b), which is Jacobi's for odd b above 0. */
int tnk_gmp___gmpz_jacobi(const tnk_gmp_integer *a, const tnk_gmp_integer *b);
int tnk_gmp___gmpz_kronecker_si(const tnk_gmp_integer *a, int64_t b);
int tnk_gmp___gmpz_kronecker_ui(const tnk_gmp_integer *a, uint64_t b);
int tnk_gmp___gmpz_si_kronecker(int64_t a, const tnk_gmp_integer *b);
int tnk_gmp___gmpz_ui_kronecker(uint64_t a, const tnk_gmp_integer *b);
/* r := a without its factors f; returns how many there were. A zero, and f of 0, 1 or -1, leave a as it is. */
uint64_t tnk_gmp___gmpz_remove(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *f);
void tnk_gmp___gmpz_fac_ui(tnk_gmp_integer *r, uint64_t n);
/* n over k; 0 for k > n >= 0. n may be negative, as the polynomial in n has it. */
void tnk_gmp___gmpz_bin_ui(tnk_gmp_integer *r, const tnk_gmp_integer *n, uint64_t k);
void tnk_gmp___gmpz_bin_uiui(tnk_gmp_integer *r, uint64_t n, uint64_t k);
/* Fibonacci's F(n), F(0) = 0 and F(1) = 1, and Lucas's L(n), L(0) = 2 and L(1) = 1; the second ones with the number before
   it, where F(-1) = 1 and L(-1) = -1. */
void tnk_gmp___gmpz_fib_ui(tnk_gmp_integer *f, uint64_t n);
void tnk_gmp___gmpz_fib2_ui(tnk_gmp_integer *f, tnk_gmp_integer *before, uint64_t n);
void tnk_gmp___gmpz_lucnum_ui(tnk_gmp_integer *l, uint64_t n);
void tnk_gmp___gmpz_lucnum2_ui(tnk_gmp_integer *l, tnk_gmp_integer *before, uint64_t n);

/* ---- Bits ------------------------------------------------------------------------------------------------------------
   Of two's complement without end: a negative number has ones above all that it is made of. */

void tnk_gmp___gmpz_and(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_ior(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
void tnk_gmp___gmpz_xor(tnk_gmp_integer *r, const tnk_gmp_integer *a, const tnk_gmp_integer *b);
/* All bits turned: -a - 1. */
void tnk_gmp___gmpz_com(tnk_gmp_integer *r, const tnk_gmp_integer *a);
int tnk_gmp___gmpz_tstbit(const tnk_gmp_integer *a, uint64_t bit);
void tnk_gmp___gmpz_setbit(tnk_gmp_integer *r, uint64_t bit);
void tnk_gmp___gmpz_clrbit(tnk_gmp_integer *r, uint64_t bit);
/* The first 0 or 1 from bit `start` on; all ones (UINT64_MAX) where there is none. */
uint64_t tnk_gmp___gmpz_scan0(const tnk_gmp_integer *a, uint64_t start);
uint64_t tnk_gmp___gmpz_scan1(const tnk_gmp_integer *a, uint64_t start);
/* How many ones there are, and where a and b differ; UINT64_MAX where these are without end. */
uint64_t tnk_gmp___gmpz_popcount(const tnk_gmp_integer *a);
uint64_t tnk_gmp___gmpz_hamdist(const tnk_gmp_integer *a, const tnk_gmp_integer *b);

/* ---- Comparison ------------------------------------------------------------------------------------------------------ */

/* 1, 0 or -1 as a is above, equal to or below b; cmpabs of the magnitudes. A double may be infinite, but not NaN. */
int tnk_gmp___gmpz_cmp(const tnk_gmp_integer *a, const tnk_gmp_integer *b);
int tnk_gmp___gmpz_cmp_d(const tnk_gmp_integer *a, double b);
int tnk_gmp___gmpz_cmp_si(const tnk_gmp_integer *a, int64_t b);
int tnk_gmp___gmpz_cmp_ui(const tnk_gmp_integer *a, uint64_t b);
int tnk_gmp___gmpz_cmpabs(const tnk_gmp_integer *a, const tnk_gmp_integer *b);
int tnk_gmp___gmpz_cmpabs_d(const tnk_gmp_integer *a, double b);
int tnk_gmp___gmpz_cmpabs_ui(const tnk_gmp_integer *a, uint64_t b);
int tnk_gmp___gmpz_sgn(const tnk_gmp_integer *a);

/* ---- Text and words -------------------------------------------------------------------------------------------------- */

/* Digits of |a| to that base: exact for powers of two, otherwise perhaps one too many. 1 for 0. */
size_t tnk_gmp___gmpz_sizeinbase(const tnk_gmp_integer *a, int base);
/* NUL-terminated, to base 2 to 36 with small letters, -2 to -36 with capital ones; null for any other base. `text` has room
   for sizeinbase + 2 characters; where it is null, the text is a block of the allocator of just its length with the NUL.
   Takes one digit at a time, so the square of the length. */
char *tnk_gmp___gmpz_get_str(char *text, int base, const tnk_gmp_integer *a);
/* The same for base 16, into text. */
char *tnk_gmp_tnk_gmp_get_hexstr(char *text, const tnk_gmp_integer *a, int upper);
/* From white space, a sign or none, a prefix or none, and digits of that base in either case among which may be white
   space, after a prefix too. In base 16 the prefix is x or 0x; base 0 goes by it: x or 0x for 16, 0b for 2, 0 for 8,
   otherwise 10. 0, or -1 for what is not so, and r is as it was. */
int tnk_gmp___gmpz_set_str(tnk_gmp_integer *r, const char *text, int base);
/* The same into a record that has not been made; made it is in any case. */
int tnk_gmp___gmpz_init_set_str(tnk_gmp_integer *r, const char *text, int base);
/* What a character stands for as a digit, 0 to 35; -1 for those that are none. */
int tnk_gmp__impGetDigitValue(int c);
/* Prints n/d, or n alone where d is 1, to standard output where `stream` is null. Characters written, 0 on failure. */
size_t tnk_gmp___gmpq_out_str(FILE *stream, int base, const tnk_gmp_fraction *q);

/* |a| as words of `size` bytes whose highest `nails` bits are left empty: order 1 has the highest word first, -1 the
   lowest; endian 1 the highest byte of a word first, -1 the lowest, 0 the processor's way. import makes a number that is
   not negative and ignores what is in the nails; export zeroes them, gives as many words as there are, none for 0, with
   the highest not 0, and a block of the allocator where `words` is null. `written`, how many, may be null. */
void tnk_gmp___gmpz_import(tnk_gmp_integer *r, size_t count, int order, size_t size, int endian, size_t nails,
                           const void *words);
void *tnk_gmp___gmpz_export(void *words, size_t *written, int order, size_t size, int endian, size_t nails,
                            const tnk_gmp_integer *a);

TNK_END_DECLS

#endif
