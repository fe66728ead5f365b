/* The services that a kernel library imports. libtnk_host.so supplies them; a program may supply its own by
   defining a function of the same name, which the dynamic linker then prefers. All run on the caller's thread. Addresses
   are not null, unless said, and what is written overlaps with nothing that is read. errno stays as it was, but for what
   i_malloc and i_free point at and for the sine of an infinity. */
#ifndef TNK_SERVICES_H
#define TNK_SERVICES_H

#include <stddef.h>
#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Memory. Each block goes back through the partner named here, never through another's. ------------------
   Alignments are in bytes and must be powers of two (smaller than a pointer's counts as a pointer's; 0 is none). A size
   of 0 gives a block of no usable bytes that must still be released. A size or an alignment that cannot be served gives
   null, and so does a negative size or a product of calloc's that overflows; an alignment that is no power of two is
   also reported. Any thread may release a block; releasing null does nothing. A library built with
   TNK_CHECK_BLOCKS reports and stops the program when a block comes back through the wrong partner, comes back twice
   or never came from here, and fills new blocks with NaN. */

/* Scratch memory for the length of one call. A thread keeps one block of 128 KB for its next call, until it ends. */
void *tnk_serv_allocate(int64_t size, int32_t alignment);
void tnk_serv_deallocate(void *block);

/* Memory that outlives a call: descriptors, tables, sparse results. calloc's block is zeroed. */
void *tnk_serv_tnk_malloc(int64_t size, int32_t alignment);
void *tnk_serv_tnk_calloc(int64_t count, int64_t element_size, int32_t alignment);
void tnk_serv_tnk_free(void *block);

/* 0 when block is not null. Otherwise reports through the error handler that `routine` got no memory, and returns 1. The
   name is NUL-terminated text, read in the latter case only; null shows as "?". */
int32_t tnk_serv_check_ptr(const void *block, const char *routine);

/* The runtime's allocator as two variables, called through: they start as malloc and free, and a program may set
   its own pair before the first call into a kernel library. */
extern void *(*i_malloc)(size_t size);
extern void (*i_free)(void *block);

/* ---- Processor ---------------------------------------------------------------------------------------------- */

/* The processor class (tnk/kernel.h): TNK_CLASS_AVX when the processor has AVX and the operating system saves its
   registers, TNK_CLASS_NONE otherwise. A processor with later extensions also counts as TNK_CLASS_AVX. */
int32_t tnk_serv_cpu_detect(void);

/* Level 0: the size in bytes by which the blocks of a matrix product are cut, a packed block of A being a sixth of it;
   never so small that a block has no rows. Level 1, 2 or 3: the size of that data cache; 0 when there is none or it is
   not known, and for any other level. */
int32_t tnk_serv_get_cache_size(int32_t level);

/* info[0]: 1 when the sizes are known, else 0. info[1]: the size in bytes of the largest cache, else 0. */
void tnk_serv_cache_info(int32_t *info);

/* ---- Text --------------------------------------------------------------------------------------------------- */

/* Nonzero when the first characters of a and b are equal, the case of ASCII letters ignored. The lengths are not
   read. */
int32_t tnk_serv_lsame(const char *a, const char *b, int64_t length_a, int64_t length_b);

/* Writes the version text, NUL-terminated and cut to fit, into `length` bytes at buffer. length <= 0: nothing. */
void tnk_serv_getversionstring_c(char *buffer, int32_t length);

/* The catalog message of that number with its `count` further arguments put in place. The text is NUL-terminated, cut at
   511 characters and belongs to the calling thread until its next call. An unknown number gives a text that says so and
   reads no argument; a missing argument, or null in place of text, shows as "?", and those left over are not read. The
   arguments of each message, in order, s being the address of NUL-terminated text and d an int64_t:

      1   s routine  d position  s argument  s value  s expected      a bad argument
      2   s routine                                                   no memory for a work array
      3   s routine  s why                                            no kernel library
      4   s routine  s library  s entry                               a kernel library without that entry
     11   s library  s remark                                         the file is not there
     12   s library  s why                                            the file cannot be loaded
     13   s library                                                   the file is no kernel library
     14   s library  d its class  s name of that  d class  s name     a kernel library for another processor class
     15   none, and 16                                                no AVX; AVX that the system does not save
    396   up to 487: none, d, f (a double), s, or s and f             diagnostics of tnk/pde_trig.h
    761   none, up to 770                                             statuses 0 to 9 of transforms (tnk/dfti.h)
    771   none                                                        any other of their statuses */
const char *tnk_serv_tnk_get_msg(int32_t number, int32_t count, ...);

/* Writes that text and a newline to standard output. channel is always 1. */
void tnk_serv_tnk_print(int32_t channel, int32_t number, int32_t count, ...);

/* ---- Arithmetic and locking --------------------------------------------------------------------------------- */

/* Sine and cosine of an angle in radians. */
void tnk_serv_libm_sincos(double angle, double *sine, double *cosine);
void tnk_serv_libm_sincosf(float angle, float *sine, float *cosine);

/* The one lock of the process; not recursive. */
void tnk_serv_lock(void);
void tnk_serv_unlock(void);

TNK_END_DECLS

#endif
