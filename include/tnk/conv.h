/* Convolution and correlation, checked and spread over threads. Link with -ltnk or -ltnk_host.

     convolution   z[t] = sum over i of x[i] y[t - i]       x and y change places without effect
     correlation   z[t] = sum over i of x[i] y[t + i]       x slides along y

   What lies outside of an array counts as absent. NOTHING IS CONJUGATED, in complex correlation neither: give the
   conjugate of x for the correlation of signal theory, and of most other libraries.

   For arrays without gaps in one and two dimensions there is a call each; all else, up to seven dimensions, any strides,
   a start and a decimation, is a plan. tnk/conv_kernels.h draws those. */
#ifndef TNK_CONV_H
#define TNK_CONV_H

#include <tnk/conv_kernels.h>
#include <tnk/types.h>

TNK_BEGIN_DECLS

/* Bad arguments are reported through the error handler (tnk/host.h), the first of the list only, and nothing is touched;
   so is a lack of memory, after which z holds nothing of use. */
enum tnk_conv_result {
  TNK_CONV_DONE = 0,
  TNK_CONV_BAD_ARGUMENT = 1, /* reported */
  TNK_CONV_NO_LIBRARY = 2,   /* no kernel library, or it lacks an entry; reported */
  TNK_CONV_OUT_OF_MEMORY = 3 /* reported */
};

/* ---- Calls ------------------------------------------------------------------------------------------------------

   x of nx elements, the shorter one as a rule, y of ny, and `part`, in either case:

     'F' full     every position where x and y meet: nx + ny - 1 results
     'S' same     as many as y has, from position (nx - 1) / 2 of the full result on: x is centred on each element of y.
                  Of an even nx the element at nx / 2 is meant in a correlation, the one before it in a convolution
     'V' valid    the positions where all of x lies over y: ny - nx + 1; refused when x is longer

     x               a b c              full   -  -  [z0 z1 z2 z3 z4 z5 z6]
     y           p q r s t              same         [   z0 z1 z2 z3 z4   ]
                                        valid        [      z0 z1 z2      ]

   In two dimensions nx, ny are arrays of two numbers, the first one of the dimension whose elements are neighbours in
   memory, and the same holds for each dimension. z has no gaps either and must not overlap with x or y. Lengths are at least
   1; those of the full result fit into 32 bits. The method is the faster one, as with plans. */
#define TNK_CONV_CALLS(t, T)                                                                                 \
  enum tnk_conv_result tnk_conv_##t##convolve(char part, tnk_int nx, const T *x, tnk_int ny, const T *y,     \
                                              T *z);                                                         \
  enum tnk_conv_result tnk_conv_##t##correlate(char part, tnk_int nx, const T *x, tnk_int ny, const T *y,    \
                                               T *z);                                                        \
  enum tnk_conv_result tnk_conv_##t##convolve2(char part, const tnk_int *nx, const T *x, const tnk_int *ny,  \
                                               const T *y, T *z);                                            \
  enum tnk_conv_result tnk_conv_##t##correlate2(char part, const tnk_int *nx, const T *x, const tnk_int *ny, \
                                                const T *y, T *z);
TNK_CONV_CALLS(s, float)
TNK_CONV_CALLS(d, double)
TNK_CONV_CALLS(c, tnk_complex8)
TNK_CONV_CALLS(z, tnk_complex16)

/* ---- Plans -------------------------------------------------------------------------------------------------------- */

enum tnk_conv_job { TNK_CONV_CONVOLUTION = 1, TNK_CONV_CORRELATION = 2 };
enum tnk_conv_method {
  TNK_CONV_AUTOMATIC = 0, /* the faster of the two, by a rule of sizes that was measured */
  TNK_CONV_DIRECT = 1,    /* sums; exact where the arithmetic is, of small integers for example */
  TNK_CONV_BY_FFT = 2 /* products of transforms: errors are relative to the largest results, not to each */
};
enum tnk_conv_numbers { TNK_CONV_FLOAT, TNK_CONV_DOUBLE, TNK_CONV_COMPLEX8, TNK_CONV_COMPLEX16 };

/* What is to be computed. All arrays have an element for each dimension, and are not needed any more once the plan is
   made. */
typedef struct tnk_conv_description {
  int32_t job;                      /* one of tnk_conv_job */
  int32_t method;                   /* one of tnk_conv_method */
  int32_t numbers;                  /* one of tnk_conv_numbers: the elements of x, y and z */
  int32_t in_double;                /* 1: single numbers are summed, or transformed, in double; else 0 */
  tnk_int dims;                     /* 1 to 7 */
  const tnk_int *xshape, *yshape;   /* 1 or more in each dimension */
  const tnk_int *zshape;            /* null: all results from `start` on to the end of the full one */
  const tnk_int *xstride, *ystride; /* null: dense, the first dimension's elements being neighbours */
  const tnk_int *zstride;           /* likewise; none of 0, and no two elements of z at one place */
  const tnk_int *start;             /* null: that of the full result: 0, for correlation 1 - xshape */
  const tnk_int *decimation;        /* 1 or more; null: 1 */
} tnk_conv_description;

typedef struct tnk_conv_plan tnk_conv_plan;

/* *plan is written on success only. Refused besides what the description says: lengths, strides, and distances in elements
   from one end of an array to the other that do not fit into 32 bits, and outputs outside of the full result. */
enum tnk_conv_result tnk_conv_plan_make(tnk_conv_plan **plan, const tnk_conv_description *description);

/* Each array at its lowest address, whatever the signs of its strides. z must overlap with neither x nor y, gaps
   included. Several threads may run one plan at once.

   Threads, as many as tnk/host.h says where the job is worth it: z is cut between outputs, and has the same bits for any
   number of them. x and y that have gaps are copied first, if their elements are read more than twice each. */
enum tnk_conv_result tnk_conv_plan_run(const tnk_conv_plan *plan, const void *x, const void *y, void *z);

/* The method that the plan takes: TNK_CONV_DIRECT or TNK_CONV_BY_FFT. */
enum tnk_conv_method tnk_conv_plan_method(const tnk_conv_plan *plan);

/* Null is no plan to free. */
void tnk_conv_plan_free(tnk_conv_plan *plan);

TNK_END_DECLS

#endif
