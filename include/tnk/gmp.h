/* Integers of any size. C and C++ alike.

   Natural numbers are arrays of limbs with a count; integers are records with a sign, which grow as they are written.
   Nothing here looks at what it is given: tnk/integer.h has the same with every argument checked. No call keeps anything,
   but for the three pointers of the allocator and the temporary slot at the end; so different numbers may be worked on by
   different threads at once.

   What the allocator returns is not looked at: a program whose memory ends here, ends here. */
#ifndef TNK_GMP_H
#define TNK_GMP_H

#include <stddef.h>
#include <tnk/types.h>

TNK_BEGIN_DECLS

/* A digit to the base 2^64. Numbers have their least significant limb first. */
typedef uint64_t tnk_gmp_limb;

/* An integer. The limbs in use are the magnitude of `size`, the highest of them not 0; the sign of `size` is that of the
   value, and zero has a size of 0. */
typedef struct tnk_gmp_integer {
  int32_t alloc; /* limbs that d has room for */
  int32_t size;
  tnk_gmp_limb *d;
} tnk_gmp_integer;

/* A quotient of two integers. */
typedef struct tnk_gmp_fraction {
  tnk_gmp_integer numerator, denominator;
} tnk_gmp_fraction;

/* ---- Arrays of limbs: sums -------------------------------------------------------------------------------------------
   Of n limbs; n of 0 or less writes nothing. Each returns what goes out at the top: the carry, the borrow or the limb
   that would have been written next. r may be a or b itself, but may not overlap with them otherwise. */

tnk_gmp_limb tnk_gmp___gmpn_add_n(tnk_gmp_limb *r, const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n);
tnk_gmp_limb tnk_gmp___gmpn_sub_n(tnk_gmp_limb *r, const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n);
/* r := a + b and a - b of a single limb b. */
tnk_gmp_limb tnk_gmp___gmpn_add_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b);
tnk_gmp_limb tnk_gmp___gmpn_sub_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b);
/* r := r + a b and r - a b of a single limb b. */
tnk_gmp_limb tnk_gmp___gmpn_addmul_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b);
tnk_gmp_limb tnk_gmp___gmpn_submul_1(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n, tnk_gmp_limb b);
/* 1, 0 or -1 as a is above, equal to or below b. */
int32_t tnk_gmp___gmpn_cmp(const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n);

/* ---- Products --------------------------------------------------------------------------------------------------------
   r := a b, with all limbs of both written, an + bn or 2 n. r does not overlap with a or b; these may be the same, which
   some methods use. Up to 9 limbs by school; to 200 by one step of Karatsuba, which has the three products made in turn;
   to 8192 by Toom's method in three pieces; to 32768 by Fourier transforms in double; above by a step of Karatsuba. */

/* an >= bn, which is not looked at. bn of 0 clears an limbs of r, not more. Returns the highest limb. */
tnk_gmp_limb tnk_gmp___gmpn_mul(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b,
                                int32_t bn);
void tnk_gmp___gmpn_mul_n(tnk_gmp_limb *r, const tnk_gmp_limb *a, const tnk_gmp_limb *b, int32_t n);

/* Single methods. School takes any two lengths, the longer one first or last, and none of 0. Karatsuba alone goes down to
   school by itself; nothing here calls it. Toom's method below 201 limbs is mul_n. */
void e9_cpMul_BNU_school(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b,
                         int32_t bn);
void tnk_gmp_tnk_gmp_mul_n_kara(const tnk_gmp_limb *a, const tnk_gmp_limb *b, tnk_gmp_limb *r, int32_t n);
void tnk_gmp_tnk_gmp_mul_n_tc3(const tnk_gmp_limb *a, const tnk_gmp_limb *b, tnk_gmp_limb *r, int32_t n);
/* By a real Fourier transform of 8 times the longer length, an and bn of at least 1. Lengths with a large prime factor
   take several times as long. The product is exact: each is checked, and where rounding was too much, or no transform can
   be had, it is made by Karatsuba's method. */
void tnk_gmp_tnk_gmp_mul_dft(const tnk_gmp_limb *a, int32_t an, const tnk_gmp_limb *b, int32_t bn,
                             tnk_gmp_limb *r);

/* ---- Divisions of arrays ---------------------------------------------------------------------------------------------
   Divisors have a highest limb other than 0, and no more limbs than what they divide. */

/* By one limb: q of nn limbs may be n or null. Return the remainder. */
tnk_gmp_limb tnk_gmp_mpn_divmod_1(tnk_gmp_limb *q, const tnk_gmp_limb *n, int32_t nn, tnk_gmp_limb d);
tnk_gmp_limb tnk_gmp_mpn_mod_1(const tnk_gmp_limb *n, int32_t nn, tnk_gmp_limb d);
/* r := a / 3 where 3 divides a; otherwise the number whose product with 3 is a modulo 2^(64 n). Returns what that product
   is above a, in units of 2^(64 n): 0 for an exact quotient. r may be a. */
tnk_gmp_limb tnk_gmp_mpn_divexact_by3(tnk_gmp_limb *r, const tnk_gmp_limb *a, int32_t n);
/* The quotient, at most 2^64 - 1, of three limbs by two: the divisor d1 d0 has its highest bit set, and n2 n1 is below
   it. */
tnk_gmp_limb tnk_gmp_mpl_divq_3_by_2(tnk_gmp_limb n2, tnk_gmp_limb n1, tnk_gmp_limb n0, tnk_gmp_limb d1,
                                     tnk_gmp_limb d0);

/* The others: q gets nn - dn limbs of the quotient, and the one above them is returned; r gets dn limbs of remainder.
   Any divisor, normalised or not. q overlaps with nothing; r may be n. Either may be null where it is not wanted, but not
   r of divmod_2, nor q of the two short ones.
   divmod_2 is for dn of 2; `long` schoolbook; `sq` for quotients of up to 8 limbs, from the highest limbs alone and then
   mended, `long` where it has more or where dn is not at least 3 more than nn - dn; `dc` recursive. */
tnk_gmp_limb tnk_gmp_tnk_gmp_divmod_2(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                      const tnk_gmp_limb *d);
tnk_gmp_limb tnk_gmp_mpl_divqr_long(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                    const tnk_gmp_limb *d, int32_t dn);
tnk_gmp_limb tnk_gmp_mpl_divq_sq(tnk_gmp_limb *q, const tnk_gmp_limb *n, int32_t nn, const tnk_gmp_limb *d,
                                 int32_t dn);
tnk_gmp_limb tnk_gmp_mpl_divqr_sq(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                  const tnk_gmp_limb *d, int32_t dn);
tnk_gmp_limb tnk_gmp_mpl_divqr_dc(tnk_gmp_limb *q, tnk_gmp_limb *r, const tnk_gmp_limb *n, int32_t nn,
                                  const tnk_gmp_limb *d, int32_t dn);
/* The two steps of the recursion, by a divisor of 2 s limbs with its highest bit set: of 4 s limbs with a quotient of 2 s,
   and of 3 s limbs with a quotient of s (s even). The 2 s highest limbs of n are below d. n becomes the remainder in its
   lowest 2 s limbs; those above hold nothing that counts. */
void tnk_gmp_tnk_gmp_div_n4_d2(tnk_gmp_limb *q, tnk_gmp_limb *n, const tnk_gmp_limb *d, int32_t s);
void tnk_gmp_tnk_gmp_div_n3_d2(tnk_gmp_limb *q, tnk_gmp_limb *n, const tnk_gmp_limb *d, int32_t s);

/* The Jacobi symbol of a over an odd b: 1, 0 or -1. */
int32_t tnk_gmp_mpn_jacobi_base(tnk_gmp_limb a, tnk_gmp_limb b);

/* ---- Divisions of magnitudes ------------------------------------------------------------------------------------------
   Of integers without their signs: q := |n| / |d| cut to a whole number, r := |n| - q |d|. d is not 0. Each result may be
   the same record as n or d; q and r differ. */

void tnk_gmp_tnk_gmp_div_q(tnk_gmp_integer *q, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
void tnk_gmp_tnk_gmp_div_qr(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                            const tnk_gmp_integer *d);
void tnk_gmp_tnk_gmp_div_r(tnk_gmp_integer *r, const tnk_gmp_integer *n, const tnk_gmp_integer *d);
/* By 2^bits. q or r may be null. */
void tnk_gmp_tnk_gmp_divqr_2exp(tnk_gmp_integer *q, tnk_gmp_integer *r, const tnk_gmp_integer *n,
                                uint64_t bits);

/* ---- Modular powers below powm ----------------------------------------------------------------------------------------
   r := b^e for e >= 0, which may be 0. r may be any of the others. */

/* Modulo |m|, which is not 0: from 0 to |m| - 1, whatever the sign of b. Takes four bits of e at a time, from the top, and
   16 powers of b. */
void tnk_gmp_mpz_powm_mary(tnk_gmp_integer *r, const tnk_gmp_integer *b, const tnk_gmp_integer *e,
                           const tnk_gmp_integer *m);
/* Modulo 2^bits: from 0 to 2^bits - 1. */
void tnk_gmp_mpl_powm_exp2(tnk_gmp_integer *r, const tnk_gmp_integer *b, const tnk_gmp_integer *e,
                           uint64_t bits);

/* ---- Memory ------------------------------------------------------------------------------------------------------------
   Every block of this header comes and goes through these three pointers, with the sizes in bytes that it was asked for.
   A program that sets its own does so at its start, before the first number; all three together, and none null, which is
   not looked at. */

extern void *(*tnk_gmp_tnk_gmp_allocate)(size_t size);
extern void *(*tnk_gmp_tnk_gmp_reallocate)(void *block, size_t old_size, size_t new_size);
extern void (*tnk_gmp_tnk_gmp_free)(void *block, size_t size);
void tnk_gmp___gmp_set_memory_functions(void *(*allocate)(size_t),
                                        void *(*reallocate)(void *, size_t, size_t),
                                        void (*release)(void *, size_t));
/* What they point at now. */
void *(*tnk_gmp___gmp_allocate_func_ptr(void))(size_t size);
void *(*tnk_gmp___gmp_reallocate_func_ptr(void))(void *block, size_t old_size, size_t new_size);
void (*tnk_gmp___gmp_free_func_ptr(void))(void *block, size_t size);

/* What they point at from the start: blocks of the services (tnk_serv_tnk_malloc), on a boundary of 32 bytes. A block
   knows its own size, so those that the last two are told make no difference. Null for reallocate is a new block, as is
   a change of size always; free does not take null. */
void *tnk_gmp___gmp_default_allocate(size_t size);
void *tnk_gmp___gmp_default_reallocate(void *block, size_t old_size, size_t new_size);
void tnk_gmp___gmp_default_free(void *block, size_t size);

/* The temporary slot: one block for the whole process, without a lock. malloc puts a new one there and returns it, but
   does not release what was there before; free releases it; mark releases it and clears the slot. */
extern void *tnk_gmp___imp_tmp_storage;
extern size_t tnk_gmp___imp_tmp_storage_size;
void *tnk_gmp__imptmpmalloc(size_t size);
void tnk_gmp__imptmpfree(void);
void tnk_gmp__imptmpmark(void);

/* ---- Tables ------------------------------------------------------------------------------------------------------------
   The digits up to base 36, NUL-terminated; and natural logarithms of 2 to 101, with 0 at 0 and 1. */

extern const char tnk_gmp_DigitsUpper[37];
extern const char tnk_gmp_DigitsLower[37];
extern const double tnk_gmp_log_table[102];

TNK_END_DECLS

#include <tnk/gmp_integers.h>

#endif
