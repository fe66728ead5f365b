/* Convolution and correlation as the kernel library exports them: task records, and the kernels that tasks choose from.
   Link with -ltnk. Programs that want their arguments checked take the plans and calls of tnk/conv.h.

   Definitions. Each index runs over all that lies inside its array; what lies outside of an array counts as absent:

     convolution   z[t] = sum over i of x[i] y[start + t * decimation - i]
     correlation   z[t] = sum over i of x[i] y[start + t * decimation + i]

   In several dimensions the same holds for each. NOTHING IS CONJUGATED, in complex correlation neither: a reader of other
   libraries' correlations gives conj(x).

   Start and decimation, of x of length 3 and y of length 5. A full convolution has 3 + 5 - 1 results, position 0 being
   where the arrays first meet; a full correlation has them at positions -2 to 4, where x slides along y:

     convolution, start 2, decimation 2, length 3          correlation, start -2, decimation 3, length 3

     position 0  1  2  3  4  5  6                          position  -2 -1  0  1  2  3  4
              .  . z0  . z1  . z2                                    z0  .  . z1  .  . z2
                                                                   x0 x1 x2      z0: only x2 meets y0
                                                                         y0 y1 y2 y3 y4

   Strides count elements and may be negative. The address given is always the lowest one: with a stride below 0 the
   walk begins at the far end. A stride of 0 makes all elements of x or y, along that dimension, the first one; z must
   have none of 0.

     stride 2     x0  .  x1  .  x2        stride -2    x2  .  x1  .  x0        stride 0    x0 = x1 = x2
     address ->   ^                       address ->   ^                                   ^

   Dimension 0 is the one that runs fastest where nobody gives strides. Integers are 32-bit here; an array of more
   elements has no place. z must not overlap with x or y; they may with each other. Where a stride is 1 the arrays of
   doubles, and of pairs, are faster on boundaries of their size, but need not stand on them. */
#ifndef TNK_CONV_KERNELS_H
#define TNK_CONV_KERNELS_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Statuses ------------------------------------------------------------------------------------------------ */

enum tnk_conv_status {
  TNK_CONV_OK = 0,
  TNK_CONV_NO_TASK_MEMORY = -4, /* no memory for the record */
  TNK_CONV_NULL = -5,           /* the task, or a value's address, is null */
  TNK_CONV_NO_KERNEL = -2000,   /* no kernel for this combination */
  TNK_CONV_NO_MEMORY = -2001,   /* no scratch memory; z is untouched */
  TNK_CONV_EDIT_RANGE = -2211,  /* no such parameter */
  TNK_CONV_EDIT_FIXED = -2212,  /* a parameter that cannot be set */
  TNK_CONV_AUX_COPY = -2230,    /* the copy function of aux failed */
  TNK_CONV_AUX_RELEASE = -2240, /* the release function of aux failed, or there is none */
  TNK_CONV_BAD_DIMS = -2301,    /* dims out of range */
  TNK_CONV_BAD_START = -2302,   /* start outside of the full result */
  TNK_CONV_BAD_END = -2303,     /* decimation below 1, or the last output outside of the full result */
  TNK_CONV_BAD_XSHAPE = -2311,  /* a length below 1 */
  TNK_CONV_BAD_YSHAPE = -2312,
  TNK_CONV_BAD_ZSHAPE = -2313,
  TNK_CONV_BAD_ZSTRIDE = -2323, /* a stride of 0 in z */
  TNK_CONV_NULL_X = -2331,
  TNK_CONV_NULL_Y = -2332,
  TNK_CONV_NULL_Z = -2333
};

/* ---- Tasks ----------------------------------------------------------------------------------------------------
   A record of what is to be computed, made once and executed often. It stands on a page boundary and belongs to the
   services' allocator (tnk_serv_tnk_malloc). Lengths, strides, start and decimation are copied into it, so the caller's
   arrays need not outlive a call. It has no lock: two executions at once race for the status word, and for nothing
   else. Nothing here looks whether `dims` is 1 to 7 before it copies that many numbers: the caller does. */

enum { TNK_CONV_MOST_DIMS = 7 };

struct tnk_conv_task {
  int32_t status;      /* the last execution's, or what was set; while it is not 0 the task is frozen */
  int32_t job;         /* 2: correlation; anything else, by custom 1: convolution */
  int32_t second;      /* the second number of the constructor: kept and copied, read by nobody */
  int32_t mode;        /* 1: direct; 0 and 2, and all others: by FFT. No rule of sizes stands behind 0 */
  int32_t reserved;    /* what edit parameter 4 sets: copied, read by nobody */
  int32_t *start;      /* null: at the first position of the full result. Else at start_values */
  int32_t *decimation; /* null: 1 in every dimension. Else at decimation_values */
  int32_t kind;        /* 2: complex; anything else, by custom 1: real */
  int32_t precision;   /* of the data. 1: single; anything else, by custom 2: double */
  int32_t internal_precision; /* of the arithmetic, coded alike; at first that of the data */
  int32_t dims;
  int32_t *xshape, *yshape, *zshape; /* null where the constructor was given null; else at the values below */
  int32_t *xstride;                  /* of x below; null: dense */
  const void *x;                     /* for tnk_conv_ExecX; the array stays the caller's */
  int32_t start_values[TNK_CONV_MOST_DIMS], decimation_values[TNK_CONV_MOST_DIMS];
  int32_t xshape_values[TNK_CONV_MOST_DIMS], yshape_values[TNK_CONV_MOST_DIMS];
  int32_t zshape_values[TNK_CONV_MOST_DIMS], xstride_values[TNK_CONV_MOST_DIMS];
  int32_t committed; /* 1 after a commit, 0 after any edit, failed ones included */

  /* Whatever a caller hangs onto the task by writing these three fields. aux must come from tnk_serv_tnk_malloc: it is
     released with the task, so aux_release frees only what hangs below it. aux_copy makes *new_aux from old_aux for a
     task whose other fields stand already. Both give 0 on success. */
  void *aux;
  int32_t (*aux_release)(struct tnk_conv_task *task);
  int32_t (*aux_copy)(struct tnk_conv_task *new_task, void **new_aux, void *old_aux, ...);
};
typedef struct tnk_conv_task tnk_conv_task;

/* A new task with status 0, not committed, without start, decimation and aux. The shapes have `dims` elements each, in
   elements of their arrays. x and xstride, for tnk_conv_ExecX, are null in the second form. *task_out is written on success
   only. TNK_CONV_NULL when task_out is null, TNK_CONV_NO_TASK_MEMORY. */
int32_t tnk_conv_NewTaskX(tnk_conv_task **task_out, int32_t job, int32_t second, int32_t mode, int32_t kind,
                          int32_t precision, int32_t dims, const int32_t *xshape, const int32_t *yshape,
                          const int32_t *zshape, const void *x, const int32_t *xstride);
int32_t tnk_conv_NewTask(tnk_conv_task **task_out, int32_t job, int32_t second, int32_t mode, int32_t kind,
                         int32_t precision, int32_t dims, const int32_t *xshape, const int32_t *yshape,
                         const int32_t *zshape);

/* A copy with its own vectors; committed if the source is, with its x, and with aux copied last. Gives the source's status
   if it is not 0, else TNK_CONV_NULL, TNK_CONV_NO_TASK_MEMORY, or TNK_CONV_AUX_COPY, after which there is no new task. */
int32_t tnk_conv_CopyTask(tnk_conv_task **task_out, const tnk_conv_task *source);

/* Releases aux by its function, aux itself, the record, and sets the caller's pointer to null, which may be null before.
   TNK_CONV_AUX_RELEASE when there is an aux and no function for it, or the function failed: all is released even so. */
int32_t tnk_conv_DeleteTask(tnk_conv_task **task);

/* Marks the task as committed; execution does so by itself. Nothing is validated before the kernels do. */
int32_t tnk_conv_CommitTask(tnk_conv_task *task);

/* Sets a parameter from `value`: 3 mode, 4 the reserved number, 5 start and 6 decimation (dims numbers each), 9 the internal
   precision. 1, 2, 7, 8 and 10 to 19 give TNK_CONV_EDIT_FIXED, others TNK_CONV_EDIT_RANGE; a null task or value gives
   TNK_CONV_NULL. These results are not kept as the task's status, but every call past a status of 0 takes the mark of
   commitment. */
int32_t tnk_conv_EditTask(tnk_conv_task *task, int32_t parameter, const int32_t *value);

/* Executes the task on arrays of its data type. A null stride stands for a dense array, dimension 0 first. What the kernel
   says becomes the status, and with it the result of every further call but tnk_conv_DeleteTask and the two below. The
   second form takes the x and the stride that the task was made with. */
int32_t tnk_conv_Exec(tnk_conv_task *task, const void *x, const int32_t *xstride, const void *y,
                      const int32_t *ystride, void *z, const int32_t *zstride);
int32_t tnk_conv_ExecX(tnk_conv_task *task, const void *y, const int32_t *ystride, void *z,
                       const int32_t *zstride);

/* The status; and a new one, which gives the old one. TNK_CONV_NULL for a null task. */
int32_t tnk_conv_ccGetStatus(const tnk_conv_task *task);
int32_t tnk_conv_ccSetStatus(tnk_conv_task *task, int32_t status);

/* ---- Kernels ---------------------------------------------------------------------------------------------------

     tnk_conv_<types><method>_<shape>_<job>_<decimation>

     types       ss dd sd        float, double, float computed in double
                 cc zz cz        the same of complex numbers
     method      direct fft      the sum as it is written; products of transforms
     shape       1d all          one dimension; 2 to 7
     job         conv corr       convolution, correlation
     decimation  de nd           with an argument for it; without, for 1: only ssdirect_1d has those, the other 46 names
                                 give TNK_CONV_NO_KERNEL whatever they are called with

   A task takes `1d` in one dimension and `all` otherwise, `direct` with mode 1 and `fft` otherwise. With data of double
   precision and single arithmetic it has no kernel in one dimension, and takes dd or zz in several.

   Each kernel tests its arguments in the order of these lines, the lines of a dimension for dimension 0, then 1, ..., and
   gives the status of the first that fails, z being untouched:

     dims 2 to 7                                                         TNK_CONV_BAD_DIMS      `all` only
     x, y, z not null                                                    TNK_CONV_NULL_X, _Y, _Z
     xshape, yshape, zshape at least 1                                   TNK_CONV_BAD_XSHAPE, ...
     zstride not 0                                                       TNK_CONV_BAD_ZSTRIDE
     conv: 0 <= start < xshape + yshape - 1, corr: -xshape < start < yshape               TNK_CONV_BAD_START
     1 <= decimation, start + (zshape - 1) decimation below start's upper end             TNK_CONV_BAD_END

   In one dimension an array's null comes before its length, x before y before z.

   Direct kernels. z is in the data's type, sums are in the arithmetic's. Convolution takes the shorter operand, or x, reversed
   into scratch memory, and a longer one that is not dense as well where its elements are read more than twice each;
   correlation takes both where they are not dense and that pays. Outputs come in groups of four neighbours, which run
   through their common range side by side; the order of a sum depends on the output's place in its group, on strides and
   decimation, and where one is summed alone on the alignment of y. So the same call gives the same bits, whatever else
   happens, and a result cut at multiples of four keeps its bits as long as all operands are dense.

   Kernels by transforms. The shorter operand goes against the longer one in blocks, whose lengths are chosen from those that
   transforms do fast; only what z asks for is computed. Descriptors and buffers live for one call, on one thread. There is
   no rule of sizes: 4 by 10 elements are transformed as well. Whatever is refused gives TNK_CONV_NO_MEMORY. */

#define TNK_CONV_1D(name, T)                                                                                 \
  int32_t name(const T *x, int32_t xstride, const T *y, int32_t ystride, T *z, int32_t zstride,              \
               int32_t xshape, int32_t yshape, int32_t start, int32_t zshape, int32_t decimation)
#define TNK_CONV_1D_ND(name, T)                                                                              \
  int32_t name(const T *x, int32_t xstride, const T *y, int32_t ystride, T *z, int32_t zstride,              \
               int32_t xshape, int32_t yshape, int32_t start, int32_t zshape)
#define TNK_CONV_ALL(name, T)                                                                                \
  int32_t name(int32_t dims, const T *x, const int32_t *xshape, const int32_t *xstride, const T *y,          \
               const int32_t *yshape, const int32_t *ystride, T *z, const int32_t *zshape,                   \
               const int32_t *zstride, const int32_t *start, const int32_t *decimation)
#define TNK_CONV_ALL_ND(name, T)                                                                             \
  int32_t name(int32_t dims, const T *x, const int32_t *xshape, const int32_t *xstride, const T *y,          \
               const int32_t *yshape, const int32_t *ystride, T *z, const int32_t *zshape,                   \
               const int32_t *zstride, const int32_t *start)

/* X(types, T, ...) for each pair. */
#define TNK_CONV_EACH_REAL(X, ...)                                                                           \
  X(ss, float, __VA_ARGS__) X(dd, double, __VA_ARGS__) X(sd, float, __VA_ARGS__)
#define TNK_CONV_EACH_COMPLEX(X, ...)                                                                        \
  X(cc, tnk_complex8, __VA_ARGS__) X(zz, tnk_complex16, __VA_ARGS__) X(cz, tnk_complex8, __VA_ARGS__)
#define TNK_CONV_EACH(X, ...) TNK_CONV_EACH_REAL(X, __VA_ARGS__) TNK_CONV_EACH_COMPLEX(X, __VA_ARGS__)

#define TNK_CONV_DECLARE(types, T, method, job)                                                              \
  TNK_CONV_1D(tnk_conv_##types##method##_1d_##job##_de, T);                                                  \
  TNK_CONV_1D_ND(tnk_conv_##types##method##_1d_##job##_nd, T);                                               \
  TNK_CONV_ALL(tnk_conv_##types##method##_all_##job##_de, T);                                                \
  TNK_CONV_ALL_ND(tnk_conv_##types##method##_all_##job##_nd, T);
TNK_CONV_EACH(TNK_CONV_DECLARE, direct, conv)
TNK_CONV_EACH(TNK_CONV_DECLARE, direct, corr)
TNK_CONV_EACH(TNK_CONV_DECLARE, fft, conv)
TNK_CONV_EACH(TNK_CONV_DECLARE, fft, corr)

TNK_END_DECLS

#endif
