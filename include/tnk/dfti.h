/* Discrete Fourier transforms behind descriptors. Link with -ltnk.

     forward   y[k] := s sum over n of x[n] exp(-2 pi i (k1 n1 / N1 + k2 n2 / N2 + ...)),   s the forward scale
     backward  the same with the sign of the exponent turned and the backward scale

   A transform is created with a precision, a domain and its lengths, set up, committed, which chooses the method and takes
   the memory, and then computed any number of times:

     DftiHandle plan = 0;
     double data[2 * 1000];
     if (DftiCreateDescriptor(&plan, DftiDouble, DftiComplex, 1, (tnk_int)1000) == DftiNoError &&
         DftiCommitDescriptor(plan) == DftiNoError)
       DftiComputeForward(plan, data);
     DftiFreeDescriptor(&plan);

   Any length of at least 1 has a transform, up to 2^25 - 1, powers of two up to 2^26; in single precision powers of two up
   to 2^27, and up to 2^26 - 1 what has no large prime factor. Longer ones have complex data of one dimension, interleaved,
   side by side and in order, as below under long transforms. Commit refuses all others. Lengths, strides and distances count
   elements, never bytes.

   All results are statuses unless said. Setting, committing and freeing one descriptor is for one thread at a time;
   computing is for as many as DftiParamNumberOfUserThreads says. C and C++ alike. */
#ifndef TNK_DFTI_H
#define TNK_DFTI_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

typedef struct DftiNode DftiNode;
typedef DftiNode *DftiHandle;

/* ---- Parameters, values, statuses -------------------------------------------------------------------------------

   Behind each parameter: the type in which DftiSetValue wants the value behind it (- : it cannot be set), the type of
   what DftiGetValue's pointer points at, the value at first, the values that may be set. Numbers are passed in exactly
   that type: a plain 10 is an int, where an int64 is asked for write (tnk_int)10. Another value gives
   DftiInconsistentConfiguration. */
typedef enum DftiParam {
  DftiParamForwardDomain = 0,      /* -       int32   as created */
  DftiParamDimension = 1,          /* -       int64   as created */
  DftiParamLengths = 2,            /* -       int64[] as created */
  DftiParamPrecision = 3,          /* -       int32   as created */
  DftiParamForwardScale = 4,       /* double  float or double by precision   1.0   any */
  DftiParamBackwardScale = 5,      /* double  float or double by precision   1.0   any */
  DftiParamForwardSign = 6,        /* DftiUnimplemented */
  DftiParamNumberOfTransforms = 7, /* int64   int64   1   any, not checked */
  DftiParamComplexStorage = 8,     /* int32   int32   DftiComplexComplex   this or DftiRealReal */
  DftiParamRealStorage = 9,        /* int32   int32   DftiRealReal   this */
  DftiParamConjugateEvenStorage =
      10,                       /* int32   int32   DftiComplexReal   this or DftiComplexComplex, which also
                                            sets the packed format to DftiFormatCce */
  DftiParamPlacement = 11,      /* int32   int32   DftiInPlace   this or DftiNotInPlace */
  DftiParamInputStrides = 12,   /* int64[] int64[] contiguous   an offset, then a stride for each dimension */
  DftiParamOutputStrides = 13,  /* int64[] int64[] the same */
  DftiParamInputDistance = 14,  /* int64   int64   0   from a transform of a batch to the next; not checked */
  DftiParamOutputDistance = 15, /* int64   int64   0   the same */
  DftiParamInitializationEffort = 16, /* DftiUnimplemented */
  DftiParamWorkspace = 17,            /* DftiUnimplemented */
  DftiParamOrdering = 18,             /* int32   int32   DftiOrdered   this; in the complex domain also
                                            DftiBackwardScrambled */
  DftiParamTranspose = 19,            /* -       int32   DftiNone */
  DftiParamDescriptorName = 20,  /* char *  char[DftiNameLength]   ""   any; 10 characters are kept, 9 read */
  DftiParamPackedFormat = 21,    /* int32   int32   DftiFormatCcs   any of the four */
  DftiParamCommitStatus = 22,    /* -       int32   DftiUncommitted */
  DftiParamVersion = 23,         /* -       char[DftiVersionLength]   also without a descriptor */
  DftiParamForwardOrdering = 24, /* DftiUnimplemented */
  DftiParamBackwardOrdering = 25,   /* DftiUnimplemented */
  DftiParamNumberOfUserThreads = 26 /* int64   int64   1   any int32 */
} DftiParam;

enum {
  DftiNameLength = 10,     /* bytes that DftiGetValue writes for a name, the closing zero among them */
  DftiVersionLength = 198, /* bytes that it writes at most for the version */
  DftiMaxDimension = 7
};

typedef enum DftiConfigValue {
  DftiCommitted = 30,
  DftiUncommitted = 31,
  DftiComplex = 32, /* domain: complex data on both sides */
  DftiReal = 33,    /* real data before the forward transform, half of its spectrum after it */
  DftiSingle = 35,
  DftiDouble = 36,
  DftiComplexComplex = 39, /* interleaved complex numbers */
  DftiComplexReal = 40,    /* a packed format, in an array of real numbers */
  DftiRealComplex = 41,
  DftiRealReal = 42, /* real parts in one array and imaginary parts in another */
  DftiInPlace = 43,
  DftiNotInPlace = 44,
  DftiOrdered = 48,
  DftiBackwardScrambled = 49, /* the spectrum may stand in another order, the same for both directions */
  DftiForwardScrambled = 50,
  DftiNone = 53,
  DftiFormatCcs = 54,
  DftiFormatPack = 55,
  DftiFormatPerm = 56,
  DftiFormatCce = 57
} DftiConfigValue;

enum DftiStatus {
  DftiNoError = 0,
  DftiMemoryError = 1,
  DftiInvalidConfiguration = 2,      /* bad arguments of a creation; a compute before the commit */
  DftiInconsistentConfiguration = 3, /* a parameter or value not valid here; a null address of a handle */
  DftiMultithreadedError = 4,
  DftiBadDescriptor = 5, /* a null handle or what is no descriptor */
  DftiUnimplemented = 6, /* a parameter or value that is reserved */
  DftiInternalError = 7, /* also: no kernel library */
  DftiNumberOfThreadsError = 8,
  DftiLengthExceedsLimit = 9,
  DftiDeclined = 100 /* from a commit: no method takes this configuration, or there is no memory for it */
};

/* ---- Layouts ------------------------------------------------------------------------------------------------------

   An element stands at offset + k1 stride1 + k2 stride2 + ..., in elements of its array: complex numbers where they are
   interleaved, otherwise real ones. Input strides, offset and distance are those of what a compute reads, output ones of
   what it writes, in either direction; so a transform whose two sides differ takes a descriptor for each direction, or
   strides exchanged and a commit in between. In place complex data have the input ones on both sides. Arrays need no
   alignment beyond that of their numbers; out of place, the source keeps its values and must not overlap with the
   destination.

   Unless set, strides are those of dense arrays of the lengths. Where half a spectrum needs more room or less, set them: M
   by N real numbers that become complex ones in their place have, forward, the input strides {0, 2 H, 1} and the output
   strides {0, H, 1} with H = N/2 + 1, rounded down.

   A spectrum of N real numbers, y[N - k] being the conjugate of y[k], is its lower half, y[k] = Rk + i Ik for k up to N/2.
   With DftiComplexComplex as conjugate-even storage these are N/2 + 1 complex numbers along the last dimension, whole
   spectra along the others; in 1 to 7 dimensions. With DftiComplexReal, in 1 and 2 dimensions, they are real numbers in the
   packed format:

                 N = 6                                N = 5
     Ccs    R0  0 R1 I1 R2 I2 R3  0        R0  0 R1 I1 R2 I2           N + 2, with an odd N N + 1 numbers
     Pack   R0 R1 I1 R2 I2 R3              R0 R1 I1 R2 I2              N numbers
     Perm   R0 R3 R1 I1 R2 I2              R0 R1 I1 R2 I2              N numbers

   Of two dimensions each row is in that format. Columns of frequency 0 and N/2 are spectra of real columns in turn, and in
   the same format; the others are whole spectra, real and imaginary parts in columns of their own. With 4 rows of 4, and . for
   what is neither written nor read:

     Ccs    R00  0  R01 I01 R02  0         Pack   R00 R01 I01 R02         Perm   R00 R02 R01 I01
             0   0  R11 I11  0   0                R10 R11 I11 R12                R20 R22 R11 I11
            R10  0  R21 I21 R12  0                I10 R21 I21 I12                R10 R12 R21 I21
            I10  0  R31 I31 I12  0                R20 R31 I31 R22                I10 I12 R31 I31
            R20  .   .   .  R22  .
             0   .   .   .   0   .

   In place rows of real numbers stand where those of the spectrum do, so there must be room for the longer ones.

   DftiFormatCce is the format of complex storage; a packed one by that name is not accepted by commit. */

/* ---- Long transforms ------------------------------------------------------------------------------------------------

   A transform beyond the lengths above is one of a matrix, whose sides are two factors of the length, as near to one another
   as a quick search finds them.

     out of place   in the destination; memory for eight rows and eight columns of the matrix
     in place       the same memory, but a matrix that is no square is first transposed along cycles, which takes longer than
                    the transform itself: where there is room for a second array, out of place is faster

   Seconds on one thread, in double precision, on a virtual core of an AMD EPYC (Zen 4); in brackets FFTW 3.3.10 with plans
   that it estimates:

                     3 * 2^24 = 6144 * 8192   10^8 = 10^4 squared   2^27 = 2^13 * 2^14
     out of place    0.67 (1.7)               1.4 (3.4)             2.6 (6.4), on two threads 1.4
     in place        5.1  (3.5)               1.9 (3.3)

   A prime has no such factors. Below 2^29 it is transformed as a convolution, by transforms of a power of two M from two to
   four times as long: memory for 2 M complex numbers from commit on, for M more in each compute. Primes beyond are refused.

   On several threads one complex transform of one dimension, side by side and in order, is one of a matrix from 2^15 numbers
   on, powers of two from 2^17 in place and from 2^18 out of place. In place it then has memory for as many numbers again,
   from commit until the descriptor is freed or set otherwise; without it one thread does the transform. */

/* ---- By value -----------------------------------------------------------------------------------------------------
   Dimensions come in C's order: the last one varies fastest, and has stride 1 unless strides are set. */

/* *handle := a new, uncommitted descriptor; left alone on a failure. Behind the dimension: its length, a tnk_int, if it
   is 1, otherwise the address of that many lengths. */
tnk_int DftiCreateDescriptor(DftiHandle *handle, int32_t precision, int32_t domain, tnk_int dimension, ...);
tnk_int DftiCreateDescriptor_s_1d(DftiHandle *handle, int32_t domain, tnk_int length);
tnk_int DftiCreateDescriptor_d_1d(DftiHandle *handle, int32_t domain, tnk_int length);
tnk_int DftiCreateDescriptor_s_md(DftiHandle *handle, int32_t domain, tnk_int dimension,
                                  const tnk_int *lengths);
tnk_int DftiCreateDescriptor_d_md(DftiHandle *handle, int32_t domain, tnk_int dimension,
                                  const tnk_int *lengths);

/* Sets a parameter, its value behind it, or reads it to the address behind it. Setting leaves the descriptor to be
   committed anew, also where the value is refused; but not a name, nor a scale that it already has. */
tnk_int DftiSetValue(DftiHandle handle, int32_t parameter, ...);
tnk_int DftiGetValue(DftiHandle handle, int32_t parameter, ...);

/* DftiDeclined where no method takes the configuration, or the one that does meets a failure, lack of memory included. */
tnk_int DftiCommitDescriptor(DftiHandle handle);

/* The arrays, in this order: source, or both in one; destination unless in place. With DftiRealReal storage of complex
   data each is two, the real parts first. Nothing is checked but that the descriptor is committed. */
tnk_int DftiComputeForward(DftiHandle handle, void *data, ...);
tnk_int DftiComputeBackward(DftiHandle handle, void *data, ...);

/* *copy := a descriptor of the same configuration, committed if the source is; they share nothing. */
tnk_int DftiCopyDescriptor(DftiHandle source, DftiHandle *copy);

/* Releases the descriptor and sets *handle to null. */
tnk_int DftiFreeDescriptor(DftiHandle *handle);

/* 1 if the two are the same, else 0. */
tnk_int DftiErrorClass(tnk_int status, tnk_int other);

/* What a status means, in words. The text belongs to the calling thread until its next call of this library. */
const char *DftiErrorMessage(tnk_int status);

/* The same under the names that a Fortran compiler makes of them. */
tnk_int tnk_dft_dfticreatedescriptor(DftiHandle *handle, int32_t precision, int32_t domain, tnk_int dimension,
                                     ...);
tnk_int tnk_dft_dftisetvalue(DftiHandle handle, int32_t parameter, ...);
tnk_int tnk_dft_dftigetvalue(DftiHandle handle, int32_t parameter, ...);
tnk_int tnk_dft_dfticommitdescriptor(DftiHandle handle);
tnk_int tnk_dft_dfticomputeforward(DftiHandle handle, void *data, ...);
tnk_int tnk_dft_dfticomputebackward(DftiHandle handle, void *data, ...);
tnk_int tnk_dft_dfticopydescriptor(DftiHandle source, DftiHandle *copy);
tnk_int tnk_dft_dftifreedescriptor(DftiHandle *handle);
tnk_int tnk_dft_dftierrorclass(tnk_int status, tnk_int other);
const char *tnk_dft_dftierrormessage(tnk_int status);

/* ---- By address ---------------------------------------------------------------------------------------------------
   For Fortran: every argument by its address, lengths of texts too; dimensions and strides in Fortran's order, the first
   one varying fastest; texts padded with blanks. */

tnk_int tnk_dft_dfti_create_descriptor_1d(DftiHandle *handle, const tnk_int *precision, const tnk_int *domain,
                                          const tnk_int *dimension, const tnk_int *length);
tnk_int tnk_dft_dfti_create_descriptor_highd(DftiHandle *handle, const tnk_int *precision,
                                             const tnk_int *domain, const tnk_int *dimension,
                                             const tnk_int *lengths);
/* The precision is a number of that precision, 35.0f or 36.0, so that its type tells one from the other. */
tnk_int tnk_dft_dfti_create_descriptor_s_1d(DftiHandle *handle, const float *precision, const tnk_int *domain,
                                            const tnk_int *dimension, const tnk_int *length);
tnk_int tnk_dft_dfti_create_descriptor_d_1d(DftiHandle *handle, const double *precision,
                                            const tnk_int *domain, const tnk_int *dimension,
                                            const tnk_int *length);
tnk_int tnk_dft_dfti_create_descriptor_s_md(DftiHandle *handle, const float *precision, const tnk_int *domain,
                                            const tnk_int *dimension, const tnk_int *lengths);
tnk_int tnk_dft_dfti_create_descriptor_d_md(DftiHandle *handle, const double *precision,
                                            const tnk_int *domain, const tnk_int *dimension,
                                            const tnk_int *lengths);

tnk_int tnk_dft_dfti_commit_descriptor_external(DftiHandle *handle);
tnk_int tnk_dft_dfti_copy_descriptor_external(DftiHandle *source, DftiHandle *copy);
tnk_int tnk_dft_dfti_free_descriptor_external(DftiHandle *handle);
tnk_int tnk_dft_dfti_error_class_external(const tnk_int *status, const tnk_int *other);
/* Fills `length` bytes at buffer, and returns it. */
char *tnk_dft_dfti_error_message_external(const tnk_int *status, char *buffer, const tnk_int *length);

/* One for each type of value. A parameter of another type gives DftiInconsistentConfiguration. A scale may be read and set
   in either precision. */
tnk_int tnk_dft_dfti_get_value_intval(DftiHandle *handle, const tnk_int *parameter, tnk_int *value);
tnk_int tnk_dft_dfti_get_value_intvec(DftiHandle *handle, const tnk_int *parameter, tnk_int *values);
tnk_int tnk_dft_dfti_get_value_sglval(DftiHandle *handle, const tnk_int *parameter, float *value);
tnk_int tnk_dft_dfti_get_value_dblval(DftiHandle *handle, const tnk_int *parameter, double *value);
tnk_int tnk_dft_dfti_get_value_chars(DftiHandle *handle, const tnk_int *parameter, char *text,
                                     const tnk_int *length);
tnk_int tnk_dft_dfti_set_value_intval(DftiHandle *handle, const tnk_int *parameter, const tnk_int *value);
tnk_int tnk_dft_dfti_set_value_intvec(DftiHandle *handle, const tnk_int *parameter, const tnk_int *values);
tnk_int tnk_dft_dfti_set_value_sglval(DftiHandle *handle, const tnk_int *parameter, const float *value);
tnk_int tnk_dft_dfti_set_value_dblval(DftiHandle *handle, const tnk_int *parameter, const double *value);
tnk_int tnk_dft_dfti_set_value_chars(DftiHandle *handle, const tnk_int *parameter, const char *text,
                                     const tnk_int *length);

/* Computes, by the types of the arrays: s and d real numbers, c and z complex ones. With a number of arrays that is not
   the descriptor's DftiInconsistentConfiguration, and only then, uncommitted, DftiInvalidConfiguration. */
typedef tnk_int DftiComputeByAddress1(DftiHandle *handle, void *data);
typedef tnk_int DftiComputeByAddress2(DftiHandle *handle, void *first, void *second);
typedef tnk_int DftiComputeByAddress4(DftiHandle *handle, void *first, void *second, void *third,
                                      void *fourth);
DftiComputeByAddress1 tnk_dft_dfti_compute_forward_c, tnk_dft_dfti_compute_forward_z,
    tnk_dft_dfti_compute_forward_s, tnk_dft_dfti_compute_forward_d, tnk_dft_dfti_compute_backward_c,
    tnk_dft_dfti_compute_backward_z, tnk_dft_dfti_compute_backward_s, tnk_dft_dfti_compute_backward_d;
DftiComputeByAddress2 tnk_dft_dfti_compute_forward_cc, tnk_dft_dfti_compute_forward_cs,
    tnk_dft_dfti_compute_forward_sc, tnk_dft_dfti_compute_forward_ss, tnk_dft_dfti_compute_forward_zz,
    tnk_dft_dfti_compute_forward_zd, tnk_dft_dfti_compute_forward_dz, tnk_dft_dfti_compute_forward_dd,
    tnk_dft_dfti_compute_backward_cc, tnk_dft_dfti_compute_backward_cs, tnk_dft_dfti_compute_backward_sc,
    tnk_dft_dfti_compute_backward_ss, tnk_dft_dfti_compute_backward_zz, tnk_dft_dfti_compute_backward_zd,
    tnk_dft_dfti_compute_backward_dz, tnk_dft_dfti_compute_backward_dd;
DftiComputeByAddress4 tnk_dft_dfti_compute_forward_ssss, tnk_dft_dfti_compute_forward_dddd,
    tnk_dft_dfti_compute_backward_ssss, tnk_dft_dfti_compute_backward_dddd;

TNK_END_DECLS

#endif
