/* What a descriptor of tnk/dfti.h is made of, for the kernel library and for the host, whose threading layer reads and
   writes it. No header for programs: fields come and go with the library. C and C++ alike.

   The functions: here those of the descriptor; tnk/dft_commit.h those by which it is committed; tnk/dft_compute.h those
   that compute by it. */
#ifndef TNK_DFT_NODE_H
#define TNK_DFT_NODE_H

#include <tnk/dfti.h>
#include <tnk/signal_dft.h>

TNK_BEGIN_DECLS

/* ---- Tensors ------------------------------------------------------------------------------------------------------ */

/* Strides count elements of the data. */
typedef struct IotensorDim {
  int64_t length, input_stride, output_stride;
} IotensorDim;

/* Dimension 0 varies fastest. */
typedef struct Iotensor {
  int32_t rank;
  IotensorDim *dims; /* of tnk_serv_tnk_malloc; null before create and after destroy */
} Iotensor;

#define TNK_DFT_UNSET_STRIDE INT64_MIN

/* ---- The parts of a node -------------------------------------------------------------------------------------------- */

/* A compute entry: arrays as the caller gave them, as many as nioargs says; the others are not to be read. */
typedef tnk_int DftiCompute(DftiNode *node, void *first, void *second, void *third, void *fourth);

/* A transform of one dimension, contiguous: source and destination are the same or do not overlap; for storage in two
   arrays each is the address of a pair of pointers. `node` is the node of that dimension; work may be null where the
   node's buffer size is 0. */
typedef tnk_int DftiKernel(void *source, void *destination, DftiNode *node, void *work);
typedef struct DftiKernelPair {
  DftiKernel *forward, *inverse;
} DftiKernelPair;

/* How a method is taken (0: it has taken the node) and how what it made is released. Strategies are constant tables. */
typedef struct DftiStrategy DftiStrategy;
struct DftiStrategy {
  tnk_int (*commit)(const DftiStrategy *strategy, DftiNode *node);
  tnk_int (*detach)(const DftiStrategy *strategy, DftiNode *node); /* may be null */
};

/* The node's operations. Strides are an offset, then a stride for each dimension, dimension 0 first. */
typedef struct DftiMethods {
  tnk_int (*static_dfti_commit)(DftiNode *node);
  tnk_int (*static_dt_commit)(
      DftiNode *node); /* for committed tensors that were filled in by somebody else */
  tnk_int (*getInputStrides)(const DftiNode *node, tnk_int *strides);
  tnk_int (*getOutputStrides)(const DftiNode *node, tnk_int *strides);
  tnk_int (*setInputStrides)(DftiNode *node, const tnk_int *strides);
  tnk_int (*setOutputStrides)(DftiNode *node, const tnk_int *strides);
  tnk_int (*getLengths)(const DftiNode *node, tnk_int *lengths);
  tnk_int (*getDescriptorName)(const DftiNode *node, char *name, tnk_int length);
  tnk_int (*setDescriptorName)(DftiNode *node, const char *name, tnk_int length, char pad);
  tnk_int (*getScale)(const DftiNode *node, int32_t parameter, double *scale);
  tnk_int (*setScale)(DftiNode *node, int32_t parameter, double scale);
  tnk_int (*copy_node)(const DftiNode *source, DftiNode **copy);
  tnk_int (*getInputDistance)(const DftiNode *node, tnk_int *value);
  tnk_int (*getOutputDistance)(const DftiNode *node, tnk_int *value);
  tnk_int (*getNumberOfTransforms)(const DftiNode *node, tnk_int *value);
  tnk_int (*setInputDistance)(DftiNode *node, tnk_int value);
  tnk_int (*setOutputDistance)(DftiNode *node, tnk_int value);
  tnk_int (*setNumberOfTransforms)(DftiNode *node, tnk_int value);
} DftiMethods;

/* What the threading layer offers, one table for the process. tnk_dft_bless_node_omp fills it, any number of times with
   the same values, possibly from several threads: entries are stored and read as relaxed atomics. Null: not offered. */
typedef struct DftiApi {
  int32_t (*dynamic)(void);          /* not 0: the library may use fewer threads than are asked for */
  int32_t (*threads)(void);          /* by default */
  int32_t (*hardware_threads)(void); /* as the thread suggesters count them */
  int32_t (*reserved)(void);
  int32_t (*cache_size)(void);
} DftiApi;

enum {
  TNK_DFT_CONTIGUOUS = 1, /* the transform may run by one call of its kernel */
  TNK_DFT_PLANE = 2,      /* the two-dimensional entry is called directly */
  TNK_DFT_ONE_SHOT = 4,   /* computed by one call of the kernel, with the workspace in whole */
  TNK_DFT_INNER = 8       /* an inner node of a larger transform: no strategies, no scaling */
};

/* A dimension of the transform, as the two-dimensional entries get it. */
typedef struct DftiAxis {
  int64_t input_stride, output_stride;
  int32_t ordering;  /* DftiOrdered; parameter */
  int32_t transpose; /* DftiNone; parameter */
  int64_t level;     /* index of the node in its chain */
  int64_t length;
} DftiAxis;

/* Two-dimensional entries: rows by `first`'s kernel, columns by `next`'s. In place, source is destination. */
typedef tnk_int DftiPlane(void *source, void *destination, const DftiAxis *first, const DftiAxis *next,
                          DftiKernel *first_kernel, DftiKernel *next_kernel, DftiNode *node, void *work);
/* Of real data: strides of the two sides differ, so each axis comes with that of the other side. */
typedef tnk_int DftiRealPlane(void *source, void *destination, const DftiAxis *first, const DftiAxis *next,
                              const int64_t *first_output_stride, const int64_t *next_output_stride,
                              DftiKernel *first_kernel, DftiKernel *next_kernel, DftiNode *node, void *work);

/* Between real numbers and a packed format of their spectrum. */
typedef struct DftiFormatSingle {
  int32_t (*forward)(const float *source, float *destination, const tnk_signal_dft *record, uint8_t *work);
  int32_t (*inverse)(const float *source, float *destination, const tnk_signal_dft *record, uint8_t *work);
} DftiFormatSingle;
typedef struct DftiFormatDouble {
  int32_t (*forward)(const double *source, double *destination, const tnk_signal_dft *record, uint8_t *work);
  int32_t (*inverse)(const double *source, double *destination, const tnk_signal_dft *record, uint8_t *work);
} DftiFormatDouble;

/* By precision; the second pair is that of the one-transform parallel path. */
typedef struct DftiKernels {
  DftiKernelPair single_pair, double_pair;
  DftiKernelPair second_single, second_double;
  DftiKernel *parallel_step; /* set by the threading layer */
  DftiPlane *plane;
  DftiRealPlane *forward_plane, *backward_plane;
  DftiFormatSingle format_single;
  DftiFormatDouble format_double;
} DftiKernels;

/* Signal records, null when absent. */
typedef struct DftiRecords {
  tnk_signal_dft *complex_single, *complex_double;
  tnk_signal_dft *split_single, *split_double;
  tnk_signal_dft *real_single, *real_double;
  tnk_signal_dft *scrambled_single, *scrambled_double; /* complex, the spectrum in any order */
} DftiRecords;

/* ---- The node --------------------------------------------------------------------------------------------------------
   One zeroed block of tnk_serv_tnk_calloc. It owns its tensors, buffers, signal records and the next node. What commit
   fills in is 0 before. */
struct DftiNode {
  DftiCompute *compute_forward, *compute_backward; /* null until commit */
  const DftiStrategy *strategy;             /* that has taken the node; null for the last one of a list */
  void *strategy_data;                      /* the strategy's own */
  const DftiStrategy *const *strategy_list; /* ends with null */
  int32_t nioargs;                          /* arrays of one compute: 1, 2 or 4 */
  uint32_t flags;                           /* TNK_DFT_CONTIGUOUS and so on */
  int32_t magic;                            /* TNK_DFT_MAGIC */
  int32_t commit_status;                    /* DftiCommitted, DftiUncommitted */
  Iotensor lengths;                         /* as configured, dimension 0 fastest */
  Iotensor transforms;                      /* rank 1: count, input distance, output distance */
  int32_t rank;
  int32_t committed_rank;     /* after sorting and merging */
  Iotensor committed_lengths; /* commit's own copies */
  Iotensor committed_transforms;
  void (*uncommit)(DftiNode *node);
  void (*destroy)(DftiNode *node);
  const DftiMethods *methods;
  DftiApi *api_entries;
  char name[10];
  int32_t forward_domain;
  int32_t precision;
  int64_t number_of_transforms;
  int32_t complex_storage, real_storage, conjugate_even_storage;
  int32_t placement;
  int32_t packed_format;
  DftiAxis axis; /* ordering and transpose are configured; the rest is of committed dimension 0 */
  void *work[4]; /* of the multi-dimensional paths, by tnk_serv_tnk_malloc */
  double forward_factor, backward_factor; /* scales as commit prepared them */
  float forward_factor_single, backward_factor_single;
  double forward_scale, backward_scale; /* as configured */
  int64_t log2_length;
  int64_t input_offset, output_offset;
  int64_t input_distance, output_distance; /* as configured */
  int32_t use_codelet;                     /* 0: a direct codelet; 1: a wrapper of a signal primitive */
  int64_t total_length;                    /* product over dimensions */
  DftiNode *next;                          /* chain of nodes, one for each committed dimension */
  DftiKernels kernels;
  DftiRecords records;
  int64_t buffer_size, maximum_buffer_size; /* in bytes: of this node, of its chain */
  void *workspace;                          /* slices of maximum_buffer_size, by tnk_serv_tnk_malloc */
  void *second_workspace;                   /* of kernels: tables, or a matrix of numbers; the same */
  int32_t user_threads;                     /* callers that may compute at once */
  int32_t threads;                          /* for one compute; set at commit */
  int32_t requested_threads;                /* 0: ask api_entries->threads */
  int32_t real_layout;    /* 1: rows of real multi-dimensional transforms are copied as CCS */
  uint64_t *thread_slots; /* 2 user_threads + 1 words, by tnk_serv_tnk_calloc */
  void *large_data;       /* of a large one-dimensional path */
  void (*large_free)(DftiNode *node);
  int32_t dynamic; /* api_entries->dynamic at commit; 0: threads are taken as asked */
  void *bluestein_data;
  void (*bluestein_free)(DftiNode *node);
};

#define TNK_DFT_MAGIC 0x544644

/* ---- Functions on tensors -------------------------------------------------------------------------------------------
   Those that take memory return DftiNoError or DftiMemoryError, which leaves the tensor as it was. */

/* For a tensor without dimensions: `rank` of them, not set. */
tnk_int tnk_dft_Iotensor_create(Iotensor *tensor, int32_t rank);
void tnk_dft_Iotensor_destroy(Iotensor *tensor);
/* flags: 1 gives the output strides the values of the input strides, 2 the input strides those of the output strides, 3
   exchanges them. */
tnk_int tnk_dft_Iotensor_copy(Iotensor *destination, const Iotensor *source, int32_t flags);
/* Ascending by input stride. */
void tnk_dft_Iotensor_sort(Iotensor *tensor);
/* Drops dimensions of length 1, but never the last one that is left. */
void tnk_dft_Iotensor_remove1(Iotensor *tensor);
/* Merges a dimension into the one below it where the two are walked as one in both input and output. */
void tnk_dft_Iotensor_compress(Iotensor *tensor);
/* The dimensions of `low`, then those of `high`. `joined` is neither of them. */
tnk_int tnk_dft_Iotensor_join(Iotensor *joined, const Iotensor *low, const Iotensor *high);
/* 1 if all input strides equal the output strides, else 0. */
int32_t tnk_dft_Iotensor_is_inplace(const Iotensor *tensor);

/* ---- Making nodes -----------------------------------------------------------------------------------------------------
   Lengths in inner order, dimension 0 first. On a failure *node is left alone. */

tnk_int tnk_dft_dfti_create_node(DftiNode **node, int32_t precision, int32_t domain, int32_t rank,
                                 const tnk_int *lengths);

/* A node with the strategies of its precision (s, d), domain (c, r) and shape. */
tnk_int tnk_dft_dfti_create_sc1d(DftiNode **node, tnk_int length);
tnk_int tnk_dft_dfti_create_dc1d(DftiNode **node, tnk_int length);
tnk_int tnk_dft_dfti_create_sr1d(DftiNode **node, tnk_int length);
tnk_int tnk_dft_dfti_create_dr1d(DftiNode **node, tnk_int length);
tnk_int tnk_dft_dfti_create_scmd(DftiNode **node, int32_t rank, const tnk_int *lengths);
tnk_int tnk_dft_dfti_create_dcmd(DftiNode **node, int32_t rank, const tnk_int *lengths);
tnk_int tnk_dft_dfti_create_srmd(DftiNode **node, int32_t rank, const tnk_int *lengths);
tnk_int tnk_dft_dfti_create_drmd(DftiNode **node, int32_t rank, const tnk_int *lengths);

/* The version text in `length` bytes at buffer, without a closing zero where it fills them. */
void tnk_dft_dfti_get_version_string(char *buffer, tnk_int length);

/* A configuration in short, for a layer that plans a transform before it makes a node. */
typedef struct DftiOutline {
  int32_t precision, domain;
  int32_t placement, complex_storage;
  int32_t nioargs;
  int32_t rank;
  tnk_int lengths[DftiMaxDimension];
} DftiOutline;

/* Fills in an outline with the defaults of a node. DftiInvalidConfiguration, and nothing written, where no node could be
   made. */
tnk_int tnk_dft_create_descriptor_md(DftiOutline *outline, int32_t precision, int32_t domain, int32_t rank,
                                     const tnk_int *lengths);
/* Sets nioargs by domain, placement and storage, and returns it. */
int32_t tnk_dft_determine_nioargs(DftiOutline *outline);

/* ---- Imported from the host ------------------------------------------------------------------------------------------- */

/* Fills in node->api_entries; may store the layer's thread settings in the node. */
void tnk_dft_bless_node_omp(DftiNode *node);

TNK_END_DECLS

#endif
