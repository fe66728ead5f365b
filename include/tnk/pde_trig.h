/* Sine and cosine transforms of one row of n real numbers, as the kernel library exports them: by one real Fourier
   transform of length n, in place. Link with -ltnk. Programs that want their arguments checked, many rows at once and
   several threads take the plans of tnk/trig.h.

   Definitions, with h = pi/n. Backward undoes forward:

     kind  forward: F(k) =                                                 k         backward: f(i) =             i
     0     2/n sum f(i) sin(i k h), i from 1 to n-1                        1 ... n-1 sum F(k) sin(i k h)          1 ... n-1
     1     1/n (f(0) + (-1)^k f(n) + 2 sum f(i) cos(i k h)), i as above    0 ... n   the same sum, 1/2 for 1/n    0 ... n
     2     1/n (f(0) + 2 sum f(i) cos((2k+1) i h/2)), i as above           0 ... n-1 sum F(k) cos((2k+1) i h/2)   0 ... n-1
     3     1/n ((-1)^(k-1) f(n) + 2 sum f(i) sin((2k-1) i h/2)), as above  1 ... n   sum F(k) sin((2k-1) i h/2)   1 ... n
     4     2/n sum f(i) cos((2k+1) (2i+1) h/4)                             0 ... n-1 the same sum without 2/n     0 ... n-1
     5     2/n sum f(i) sin((2k+1) (2i+1) h/4)                             0 ... n-1 the same sum without 2/n     0 ... n-1

   f and F share one array, element k at index k: n + 1 numbers for kinds 0 to 3, n for kinds 4 and 5. Where the table above
   has no element, f[0] and f[n] of kind 0, f[n] of kind 2 and f[0] of kind 3, the value counts as zero whatever it is;
   scales reach it (f[0] to f[n] forward, kind 0 backward leaves both ends), and kind 0 sets f[0] to 0.

   A transform's life: init, changes to ipar and dpar, commit, any number of transforms either way, free.

     tnk_int n = 1000, kind = 1, stat, ipar[TNK_PDETT_IPAR];
     double f[1001], dpar[TNK_PDETT_DPAR(1000, 1)];
     DftiHandle handle = 0;
     tnk_pdett_d_init_trig_transform(&n, &kind, ipar, dpar, &stat);
     ipar[TNK_PDETT_ERRORS] = ipar[TNK_PDETT_WARNINGS] = 0;
     tnk_pdett_d_commit_trig_transform(f, &handle, ipar, dpar, &stat);
     if (stat == 0) tnk_pdett_d_forward_trig_transform(f, &handle, ipar, dpar, &stat);
     tnk_pdett_free_trig_transform(&handle, ipar, &stat);

   All arguments are by address; no address is checked. f needs no alignment beyond that of its numbers. For accuracy see
   docs/numerics.md: kinds 2 to 5 divide by sines that are small at the ends of a row. */
#ifndef TNK_PDE_TRIG_H
#define TNK_PDE_TRIG_H

#include <tnk/dfti.h>
#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- ipar: integers. Entries 3, 4 and all from 11 on are neither read nor written -------------------------------- */
enum {
  TNK_PDETT_N = 0,        /* n; init copies it */
  TNK_PDETT_ERRORS = 1,   /* errors go nowhere (0), to standard output (above 0), to the log file (below) */
  TNK_PDETT_WARNINGS = 2, /* warnings likewise; init: both 1 */
  TNK_PDETT_KIND = 5,     /* 0 to 5; init copies it */
  TNK_PDETT_STATUS = 6,   /* of the last call; other than 0 it stops commit and transforms; init: 0 */
  TNK_PDETT_MAKE = 7,     /* 0: commit neither fills tables nor makes a descriptor; init: 1 */
  TNK_PDETT_C_TEXTS = 8,  /* 0: messages count elements from 1, as Fortran does, not from 0; init: 1 */
  TNK_PDETT_USERS = 9,    /* threads that may use a handle at once; below 0: a warning, and 1; init: 1 */
  TNK_PDETT_RAW = 10,     /* not 0: as told below; init: 0 */
  TNK_PDETT_IPAR = 11     /* entries that an array has at least */
};
/* Raw transforms: commit does not test the ends of f, transforms do not scale, and kind 3 has element k at index k - 1.

   Transforms write entry 6, so threads that share a handle have a copy of ipar each; dpar and the handle are only read. A
   commit that warned leaves its status there: set it to 0 before the first transform. */

/* ---- dpar: numbers of the data's type ------------------------------------------------------------------------------
   [0]      the largest magnitude that the test of ends lets pass; init: n * 1e-12
   [1]      neither read nor written
   [2 ...]  tables, filled by commit:
              kind 0         [2 + k] = sin((k + 1) h), k from 0 to n/2 - 1
              kinds 1 to 5   [2k] = cos(k h), [2k + 1] = sin(k h), k from 1 to n/2
              kinds 2, 3     [n + 1 + k] = sin((k - 1/2) h), k from 1 to n/2
              kinds 4, 5     [n + 1 + k] = sin((k/2 - 1/4) h), k from 1 to n, then [2n + 1 + k] = sin((k - 1/2) h), k from
                             1 to n/2
   n/2 is rounded down. The macro counts dpar's entries. */
#define TNK_PDETT_DPAR(n, kind)                                                                              \
  ((kind) == 0   ? (n) / 2 + 2                                                                               \
   : (kind) == 1 ? (n) / 2 * 2 + 2                                                                           \
   : (kind) <= 3 ? (n) + (n) / 2 + 2                                                                         \
                 : 2 * (n) + (n) / 2 + 2)

/* ---- Statuses, in *stat and ipar[6] -------------------------------------------------------------------------------- */
enum {
  TNK_PDETT_DONE = 0,
  TNK_PDETT_ENDS = 1,         /* from commit: an end that counts as zero is larger than dpar[0] */
  TNK_PDETT_CORRECTED = 10,   /* from commit: a bad dpar[0] or ipar[9] was corrected; 11: both */
  TNK_PDETT_BAD = -100,       /* n or kind */
  TNK_PDETT_ZERO = -200,      /* a table entry of 0, which is divided by; f is half done */
  TNK_PDETT_FOURIER = -1000,  /* a failure of the Fourier transform */
  TNK_PDETT_STOPPED = -10000, /* called with a status other than 0, or an n of 0 met in a forward transform */
  TNK_PDETT_FREEING = -99999  /* while a handle is being freed */
};

/* ---- Calls. Those with two underscores are other names of the same --------------------------------------------------

   init       fills ipar and dpar[0] as said above; tests nothing
   commit     tests ipar[6], n of at least 2, the kind; then, kinds 0, 2 and 3 only, dpar[0] of at least 0 and the ends of f,
              those that count as zero; fills the tables; tests ipar[9]; makes *handle. f is only read
   forward,   transform f in place. A status that stopped one stays in ipar[6] until it is set to 0
   backward
   free       releases *handle and clears both statuses; the one call serves both precisions */
#define TNK_PDETT_CALLS(p, T)                                                                                \
  void tnk_pdett_##p##_init_trig_transform(const tnk_int *n, const tnk_int *tt_type, tnk_int *ipar, T *dpar, \
                                           tnk_int *stat);                                                   \
  void tnk_pdett_##p##_commit_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,               \
                                             tnk_int *stat);                                                 \
  void tnk_pdett_##p##_forward_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,              \
                                              tnk_int *stat);                                                \
  void tnk_pdett_##p##_backward_trig_transform(T *f, DftiHandle *handle, tnk_int *ipar, T *dpar,             \
                                               tnk_int *stat);
TNK_PDETT_CALLS(d, double)
TNK_PDETT_CALLS(_d, double)
TNK_PDETT_CALLS(s, float)
TNK_PDETT_CALLS(_s, float)
void tnk_pdett_free_trig_transform(DftiHandle *handle, tnk_int *ipar, tnk_int *stat);
void tnk_pdett__free_trig_transform(DftiHandle *handle, tnk_int *ipar, tnk_int *stat);

/* ---- Kernels: transforms without scale and tests, by kind --------------------------------------------------------
   `tables` is dpar + 2. Of kind 3 element k of f stands at index k - 1. *stat: 0, -200, or -1000. ipar: n, and
   what messages need. A row of less than 2 numbers is left as it is.

     sin                kind 0: twice the backward sum, either way
     cos                kind 1: the sum in brackets, either way
     scos_f, scos_b     kind 2: the sum in brackets, and twice the backward sum
     ssin_f, ssin_b     kind 3: likewise
     scos2_f, scos2_b   kind 4: twice the sum, either way
     ssin2_f, ssin2_b   kind 5: likewise */
#define TNK_PDETT_KERNEL(name, T)                                                                            \
  void name(T *f, DftiHandle *handle, tnk_int *ipar, T *tables, tnk_int *stat);
#define TNK_PDETT_KERNELS(p, T)                                                                              \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_sin, T)                                                            \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_cos, T)                                                            \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_scos_f, T)                                                         \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_scos_b, T)                                                         \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_ssin_f, T)                                                         \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_ssin_b, T)                                                         \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_scos2_f, T)                                                        \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_scos2_b, T)                                                        \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_ssin2_f, T)                                                        \
  TNK_PDETT_KERNEL(tnk_pdett_##p##ptk_dft_ssin2_b, T)
TNK_PDETT_KERNELS(d, double)
TNK_PDETT_KERNELS(s, float)

/* ---- Messages -------------------------------------------------------------------------------------------------------
   Shows message `id` where ipar says: entry 2 for 300 to 309, entry 1 for the others, which the callers have found to be
   other than 0. `text` is the value that was met, in words, without a percent sign, since the log file takes the message
   as its format; null where there is none. A number that is not listed shows that it is not known.

     0     commit called with a status           300  dpar[0] below 0
     1     n below 2                             302  f[0] larger than dpar[0], kind 0
     3     the kind                              303  f[n] larger than dpar[0], kind 0
     4     a table entry of 0                    307  f[n] larger than dpar[0], kind 2
     5     a transform called with a status      308  ipar[9] below 0
     6     n of 0                                309  f[0] larger than dpar[0], kind 3
     1001  a failure of the Fourier transform

   The log file is TNK_Trig_Transforms_Log.txt in the current folder, appended to. */
#define TNK_PDETT_MESSAGES(p, T)                                                                             \
  void tnk_pdett_##p##_print_diagnostics_c(const tnk_int *id, const tnk_int *ipar, const T *dpar,            \
                                           const char *text);                                                \
  void tnk_pdett_##p##_print_diagnostics_f(const tnk_int *id, const tnk_int *ipar, const T *dpar,            \
                                           const char *text);
TNK_PDETT_MESSAGES(d, double)
TNK_PDETT_MESSAGES(s, float)

TNK_END_DECLS

#endif
