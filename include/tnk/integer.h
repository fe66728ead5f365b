/* Integers of any size, with every argument checked. C and C++ alike; tnk/integer.hpp has them as values of C++.

       tnk_integer a = TNK_INTEGER_ZERO, b = TNK_INTEGER_ZERO;
       tnk_integer_set_text(&a, "123456789012345678901234567890", 10);
       tnk_integer_power(&b, &a, 20);
       ...
       tnk_integer_clear(&a), tnk_integer_clear(&b);

   An output may be the same integer as any input, but two outputs of one call differ. Outputs grow as they need. What is
   refused is reported through the error handler (tnk/host.h) with the argument's name and leaves all outputs as they were:
   null addresses, a divisor or modulus of 0, an even root or a square root of a negative number, an inverse that there is
   not, a base outside of 2 to 36, text that is no number, and results of more than 2^31 - 1 limbs of 64 bits, or what may
   have as many, before any work is done. So is want of memory: it is found out beforehand whether the result and what the
   work takes can be had. That asks for what tnk_serv_tnk_malloc gives, and a moment before it is taken: a program whose
   threads use up the last memory together, or that has set an allocator of its own (tnk/gmp.h), is not protected.

   Nothing runs on other threads; different integers may be worked on by different threads at once. */
#ifndef TNK_INTEGER_H
#define TNK_INTEGER_H

#include <tnk/gmp.h>

TNK_BEGIN_DECLS

/* The record of tnk/gmp.h, whose operations may be called on it as well. */
typedef tnk_gmp_integer tnk_integer;

/* A zero to begin with, which takes no memory. Integers are moved by moving the record, and copied by set. */
#define TNK_INTEGER_ZERO                                                                                     \
  { 0, 0, 0 }

typedef enum tnk_integer_result {
  TNK_INTEGER_DONE = 0,
  TNK_INTEGER_BAD_ARGUMENT = 1,
  TNK_INTEGER_NO_MEMORY = 2,
  TNK_INTEGER_NO_KERNEL = 3 /* there is no kernel library that this processor could use */
} tnk_integer_result;

/* Gives up the memory; the integer is 0 then and may be used again. */
tnk_integer_result tnk_integer_clear(tnk_integer *r);

/* ---- Values ---------------------------------------------------------------------------------------------------------- */

tnk_integer_result tnk_integer_set(tnk_integer *r, const tnk_integer *a);
tnk_integer_result tnk_integer_set_int(tnk_integer *r, int64_t value);
tnk_integer_result tnk_integer_set_uint(tnk_integer *r, uint64_t value);
/* Cut to a whole number; refused where it is not finite. */
tnk_integer_result tnk_integer_set_double(tnk_integer *r, double value);
/* Refused where a does not fit. */
tnk_integer_result tnk_integer_get_int(int64_t *value, const tnk_integer *a);
/* Cut toward 0; an infinity from 2^1024 on. */
tnk_integer_result tnk_integer_get_double(double *value, const tnk_integer *a);
/* How many bits |a| has: 0 for 0. */
tnk_integer_result tnk_integer_bits(uint64_t *bits, const tnk_integer *a);

/* A sign or none and digits of that base in either case, up to the NUL and with nothing between them. */
tnk_integer_result tnk_integer_set_text(tnk_integer *r, const char *text, int base);
/* Characters that the text of a may have, with its sign and the NUL. */
tnk_integer_result tnk_integer_text_room(size_t *room, const tnk_integer *a, int base);
/* The text with its NUL, of which `room` tells how much there is at `text`: refused below that of text_room. Small letters. */
tnk_integer_result tnk_integer_get_text(char *text, size_t room, const tnk_integer *a, int base);

/* ---- Arithmetic ------------------------------------------------------------------------------------------------------ */

tnk_integer_result tnk_integer_negate(tnk_integer *r, const tnk_integer *a);
tnk_integer_result tnk_integer_abs(tnk_integer *r, const tnk_integer *a);
tnk_integer_result tnk_integer_add(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
tnk_integer_result tnk_integer_subtract(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
tnk_integer_result tnk_integer_multiply(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
/* n = q d + r with |r| < |d|: divide has q cut toward 0, as / and % of C have it, and floor_divide rounded down, so that r
   has the sign of d. q or r may be null. */
tnk_integer_result tnk_integer_divide(tnk_integer *q, tnk_integer *r, const tnk_integer *n,
                                      const tnk_integer *d);
tnk_integer_result tnk_integer_floor_divide(tnk_integer *q, tnk_integer *r, const tnk_integer *n,
                                            const tnk_integer *d);
/* r := a 2^bits, and a / 2^bits rounded down. */
tnk_integer_result tnk_integer_shift_left(tnk_integer *r, const tnk_integer *a, uint64_t bits);
tnk_integer_result tnk_integer_shift_right(tnk_integer *r, const tnk_integer *a, uint64_t bits);
/* Bit by bit in two's complement without end. */
tnk_integer_result tnk_integer_and(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
tnk_integer_result tnk_integer_or(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
tnk_integer_result tnk_integer_xor(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
tnk_integer_result tnk_integer_not(tnk_integer *r, const tnk_integer *a);

/* *order := 1, 0 or -1 as a is above, equal to or below b. */
tnk_integer_result tnk_integer_compare(int *order, const tnk_integer *a, const tnk_integer *b);

/* ---- Powers, roots and number theory --------------------------------------------------------------------------------- */

/* r := b^e; 0^0 is 1. */
tnk_integer_result tnk_integer_power(tnk_integer *r, const tnk_integer *b, uint64_t e);
/* r := b^e modulo |m|, from 0 to |m| - 1. An e below 0 is refused where b has no inverse. */
tnk_integer_result tnk_integer_power_modulo(tnk_integer *r, const tnk_integer *b, const tnk_integer *e,
                                            const tnk_integer *m);
/* r := 1 / a modulo |m|, from 0 to |m| - 1. */
tnk_integer_result tnk_integer_inverse(tnk_integer *r, const tnk_integer *a, const tnk_integer *m);
/* s := the square root cut to a whole number, r := a - s^2. r may be null. */
tnk_integer_result tnk_integer_sqrt(tnk_integer *s, tnk_integer *r, const tnk_integer *a);
/* The n-th root cut toward 0; n = 0 is refused. */
tnk_integer_result tnk_integer_root(tnk_integer *r, const tnk_integer *a, uint64_t n);
/* Not negative; gcd(a, 0) is |a|. */
tnk_integer_result tnk_integer_gcd(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
/* g := gcd(a, b) = a s + b t with the smallest s and t (tnk/gmp.h). */
tnk_integer_result tnk_integer_gcd_extended(tnk_integer *g, tnk_integer *s, tnk_integer *t,
                                            const tnk_integer *a, const tnk_integer *b);
/* Not negative; 0 where a or b is 0. */
tnk_integer_result tnk_integer_lcm(tnk_integer *r, const tnk_integer *a, const tnk_integer *b);
tnk_integer_result tnk_integer_factorial(tnk_integer *r, uint64_t n);
/* n over k; 0 for k > n. */
tnk_integer_result tnk_integer_binomial(tnk_integer *r, uint64_t n, uint64_t k);
/* *symbol := Kronecker's symbol (a|b), 1, 0 or -1, which is Jacobi's for odd b above 0. */
tnk_integer_result tnk_integer_kronecker(int *symbol, const tnk_integer *a, const tnk_integer *b);

TNK_END_DECLS

#endif
