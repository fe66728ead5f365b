/* The host: errors, the kernel library that it loads, versions. Link with -ltnk or -ltnk_host. */
#ifndef TNK_HOST_H
#define TNK_HOST_H

#include <tnk/kernel.h>
#include <tnk/services.h>
#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Errors ------------------------------------------------------------------------------------------------- */

enum tnk_error_kind {
  TNK_ERROR_ARGUMENT = 1, /* a public routine was given a bad argument; nothing was touched */
  TNK_ERROR_MEMORY = 2,   /* memory could not be had; the routine documents what it does then */
  TNK_ERROR_KERNEL = 3    /* no kernel library could be loaded, or it lacks an entry; nothing was touched */
};

typedef struct tnk_error {
  enum tnk_error_kind kind;
  const char *routine;  /* "tnk_blas_daxpy" */
  int position;         /* of the argument, from 1; 0 when no argument is at fault */
  const char *argument; /* "incx"; "" when no argument is at fault */
  const char *value;    /* the value found, as text; "" when there is none */
  const char *expected; /* what would have been right, as text; "" when there is none */
  const char *message;  /* all of it as one line without a newline */
} tnk_error;

/* Called on the thread that made the error, once an error. The texts live until it returns. */
typedef void (*tnk_error_handler)(const tnk_error *error);

/* Sets the process's handler and returns the one before, which is never null: of the first call it is the default. Null
   sets the default again, which writes "tnk: ", the message and a newline to standard error in one piece. A handler may
   call this library; several threads may be in it at once. */
tnk_error_handler tnk_set_error_handler(tnk_error_handler handler);

/* Gives an error to the handler, for libraries that are built on this one. All texts are there, empty ones too. */
void tnk_report_error(const tnk_error *error);

/* How many calls of this thread to routines of tnk/blas.h ended without their result for want of memory, each after its
   report. The address stays the thread's: who has no other way to learn of it compares before and after a call. */
const int64_t *tnk_undone_calls(void);

/* ---- The kernel library ------------------------------------------------------------------------------------- */

enum tnk_status {
  TNK_OK = 0,
  TNK_NO_AVX = 1,            /* the processor or the operating system lacks AVX */
  TNK_KERNEL_MISSING = 2,    /* the file is not there or cannot be loaded */
  TNK_KERNEL_FOREIGN = 3,    /* the file is no kernel library: it lacks dll_cpu_version */
  TNK_KERNEL_OTHER_CLASS = 4 /* a kernel library of another processor class */
};

/* Loads the kernel library unless it is loaded: the file that the environment variable TNK_KERNEL_PATH names, or
   libtnk_avx.so beside libtnk_host.so. Public routines do this on their first call. The first outcome stays for the
   life of the process; each call that meets a refusal reports it through the error handler. Any thread may call it.

   The variable is read once, by the first call of this or of tnk_kernel_path. Empty counts as not set. A relative path
   is one from the folder that is current when the library is loaded, also without a slash: the dynamic linker's folders
   are not searched. A program that runs with another user's rights ignores the variable. */
enum tnk_status tnk_kernel_load(void);

/* Path of the kernel library that tnk_kernel_load takes; asking loads nothing. Never null. */
const char *tnk_kernel_path(void);

/* Why tnk_kernel_load refused, as one line; "" after TNK_OK and before the first load. */
const char *tnk_kernel_message(void);

/* Address of an exported entry of the kernel library, function or table, loading it if need be; null when there is no
   such entry, which is not reported, and after a report when there is no library or `name` is null. The entries trust
   their caller: they check no argument. */
void *tnk_kernel_entry(const char *name);

/* The same for one who is about to call it: what is missing, library or entry, is reported in the entry's name. */
void *tnk_kernel_require(const char *name);

/* The front library, libtnk.so, has each function of the kernel library as a symbol. Where there is none, each call is
   reported in its name and does nothing; it returns NaN as a real or complex number, a null address, and as an integer a
   number that says so: 1 from functions of tnk_blas_, but 0 from those that return a position (i?amax and kin), 0 from
   dll_cpu_version, and DftiInternalError from those of tnk/dfti.h that return a status. */

/* ---- Threads ------------------------------------------------------------------------------------------------ */

/* Public routines that have much to do (products of matrices, solves and multiplies with triangles, matrix times vector
   and updates of matrices by vectors, products and solves with sparse matrices, copies and sums of matrices, transforms
   in several dimensions or of many rows, convolutions, Poisson's equation) are spread over several threads: the calling
   one and others of the host's own, made when first needed and asleep in between. How many, the first line that applies:

     called inside an active OpenMP parallel region        1
     tnk_set_num_threads(n) with n > 0                     n, for all threads of the process
     the process has an OpenMP runtime                     what omp_get_max_threads says to the calling thread
     the environment variable OMP_NUM_THREADS              its first number
     otherwise                                             the processors that the calling thread may run on

   These are upper bounds: small jobs run on the calling thread, 256 threads are the most, and of what is more than the
   system grants or has at hand in time the routine does without. The result has the same bits for every number of
   threads, but for the sparse products that tnk/sparse.h names and some backward transforms of real numbers that
   docs/numerics.md names; there it is this number that counts, whatever becomes of the threads. All threads compute under
   the caller's floating-point control (rounding, flushing to zero), and raise their exceptions in the caller.

   Several threads may call at once: the first has the others' help, the rest work alone meanwhile. A child of fork
   starts as if it had called tnk_set_num_threads(1), and may ask for more, which it then makes anew. The host's own
   threads leave signals to the program, run where the caller may run but for its own processor, and stay until the
   process ends; so does the library, which dlclose does not unload. */

/* Sets the number for the process; 0 restores the default. A negative number is reported and changes nothing. */
void tnk_set_num_threads(int threads);

/* The number of threads that a call from this thread, outside of parallel regions, uses at most. */
int tnk_get_max_threads(void);

TNK_END_DECLS

/* The entry with the type of its declaration, for a program that links with the host alone:
   TNK_KERNEL_ENTRY(tnk_blas_dnrm2)(&n, x, &incx). Null where tnk_kernel_entry gives null. C has no conversion from data
   to function addresses; the compilers have, and are told that it is meant. */
#define TNK_KERNEL_ENTRY(name) (__extension__(__typeof__(&name)) tnk_kernel_entry(#name))

#endif
