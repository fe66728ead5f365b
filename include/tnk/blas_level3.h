/* Level 3 BLAS kernels, as the kernel library exports them: the matrix product and the stages that it is made of.
   Applications use the checked routines of tnk/blas.h.

   Matrices are column-major: element (i, j), from 0, stands at i + j * ld. Option letters are read from the first
   character, in either case; "N" is no transposition, any other byte the transposed matrix, and in the complex types
   "T" transposes and any third byte transposes and conjugates. Nothing is checked, products of sizes that overflow
   included. Letters: s float, d double, c and z complex of these.

   What is written, be it C, a packed buffer or a descriptor, must not overlap with anything else that a call is given.
   What is only read may coincide or overlap: A and B, and scalars.

   Method: K. Goto and R. van de Geijn, "Anatomy of High-Performance Matrix Multiplication", ACM TOMS 34 (2008). */
#ifndef TNK_BLAS_LEVEL3_H
#define TNK_BLAS_LEVEL3_H

#include <tnk/types.h>

TNK_BEGIN_DECLS

/* ---- Records ------------------------------------------------------------------------------------------------ */

/* A packed operand: panels, one behind the other at a stride.

   A block of mc rows by kc steps of A becomes panels of mr rows, a block of kc steps by nc columns of B panels of nr
   columns. Inside a panel, one step after the other:

     real A, mr = 4           step 0          step 1
                          | 0  1  2  3 |  4  5  6  7 | ...         cell: row of the panel, mr * step + row

     real B, nr = 8       | 0  1  2  3  4  5  6  7 |  8 ...        cell: column of the panel, nr * step + column

     complex, A and B     | re0 re1 im0 im1  re2 re3 im2 im3 | ... pairs of rows (columns) by part; one pair in A of z

   Steps from kc up to the next multiple of kr are zeros, in every panel and lane. The last panel of A, when mc is no
   multiple of mr, holds only the rows that exist: in the other steps the lanes above them stay as they were. What is
   left of B after the full panels is, from 4 columns on, a group 4 wide in the same layout; 1 to 3 columns after that
   are a group 4 wide with zeros above the real columns, which begins where the steps of the group before it end.
   (With nr = 4 only the latter occurs.) A is multiplied by alpha on the way, B is not; conjugates are stored as
   (re, 0 - im), so that kernels know neither. */
typedef struct tnk_gemm_panels {
  void *data;     /* aligned to 1 << shift bytes */
  tnk_int stride; /* from panel to panel, in elements */
  tnk_int size;   /* in bytes, with what lies beyond the panels */
  tnk_int shift;
} tnk_gemm_panels;

typedef struct tnk_gemm_work {
  void *data;
  tnk_int size;
  tnk_int shift;
} tnk_gemm_work;

typedef struct tnk_gemm_descriptor tnk_gemm_descriptor;

/* Stages have one shape for the four types: elements travel as void. */
typedef void tnk_gemm_get_blks_size(const tnk_int *m, const tnk_int *n, const tnk_int *k,
                                    tnk_gemm_descriptor *);
typedef int32_t tnk_gemm_get_bufs_size(int32_t buffer_mode, int32_t size_mode, const tnk_int *m,
                                       const tnk_int *n, const tnk_int *k, tnk_gemm_descriptor *);
typedef int32_t tnk_gemm_get_bufs(int32_t buffer_mode, void **raw, tnk_gemm_descriptor *);

/* A: count of rows, then of steps. B: count of steps, then of columns; alpha is not read. source is the corner of the
   block. Of the panel record only the stride is read. */
typedef void tnk_gemm_copy(const tnk_int *count1, const tnk_int *count2, const void *source,
                           const tnk_int *ld, void *buffer, const tnk_gemm_panels *, const void *alpha);
/* The same with the option letter of the operand first. */
typedef void tnk_gemm_copy_ext(const char *trans, const tnk_int *count1, const tnk_int *count2,
                               const void *source, const tnk_int *ld, void *buffer, const tnk_gemm_panels *,
                               const void *alpha);

/* m by n of C from packed operands of k steps, a multiple of kr. Of the panel records only the strides are read.
   transa, transb, alpha and work (the work buffer) are not, nor is mode: the loops pass 2, or 3 where B or both come
   through the work buffer panel by panel (versions 4 and 16), and either means packed panels to the kernels of this
   processor class. */
typedef void tnk_gemm_kernel(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,
                             const tnk_int *k, const void *alpha, const void *a,
                             const tnk_gemm_panels *a_panels, const void *b, const tnk_gemm_panels *b_panels,
                             const void *beta, void *c, const tnk_int *ldc, void *work, int32_t mode);

/* A row of a kernel table: twenty columns of eight bytes. The unrolls are powers of two: mr 8, 4, 4, 2 and nr 8, 8,
   4, 4 in s, d, c, z, kr 4. */
typedef struct tnk_gemm_row {
  tnk_int mr, nr, kr;      /* unrolls of m, n and k: the register tile has mr rows and nr columns */
  tnk_int work_factor;     /* panels in the work buffer */
  tnk_int tm, tn, tk;      /* least dimensions of the packed path of x?gemm_par */
  tnk_int buffer_selector; /* 106 */
  tnk_gemm_get_blks_size *get_blks_size;
  tnk_gemm_get_bufs_size *get_bufs_size;
  tnk_gemm_get_bufs *get_bufs;
  tnk_gemm_copy *copya[3]; /* for N, T, C */
  tnk_gemm_copy *copyb[3];
  tnk_gemm_kernel *ker0;
  tnk_gemm_copy_ext *copya_ext, *copyb_ext; /* null in the complex types */
} tnk_gemm_row;

/* The tables, one row each, and the numbers of the rows to use, all 0. */
extern const tnk_gemm_row avx_s_all_gemm_ker[1], avx_d_all_gemm_ker[1], avx_c_all_gemm_ker[1],
    avx_z_all_gemm_ker[1];
extern const int32_t avx_s_opt_gemm_ker, avx_d_opt_gemm_ker, avx_c_opt_gemm_ker, avx_z_opt_gemm_ker;

/* The record of one product. zero_desc clears it, get_optimal_kernel or get_kernel load a row of the table, the
   stages fill the rest. */
struct tnk_gemm_descriptor {
  int32_t reserved;        /* cleared, not read */
  int32_t kernel_index;    /* the row loaded */
  int32_t buffer_selector; /* of the row */
  int32_t kernel_version;  /* for the triangular routines */
  tnk_int mb, nb, kb;      /* block sizes in rows of C, columns of C and along k; 0: to be chosen */
  tnk_int mr, nr, kr;
  tnk_int tm, tn, tk;
  tnk_gemm_panels a, b;
  tnk_gemm_get_blks_size *get_blks_size;
  tnk_gemm_get_bufs_size *get_bufs_size;
  tnk_gemm_get_bufs *get_bufs;
  tnk_gemm_copy *copya[3], *copyb[3];
  tnk_gemm_copy_ext *copya_ext, *copyb_ext;
  int32_t work_factor;
  tnk_gemm_kernel *ker0;
  tnk_gemm_work work;
};

/* ---- The product and its stages, in each type ------------------------------------------------------------------

   x?gemm                  C := alpha op(A) op(B) + beta C, op(A) m by k, op(B) k by n, C m by n. No-op when m < 1 or
                           n < 1. beta = 0 stores without reading C. A and B are not read when alpha is zero or
                           k < 1. Below a tile (m < mr, n < nr or k < kr) by the plain path, else packed; when no memory
                           can be had the result is right, only slower. With an alpha of 1 or -1, and all finite, the
                           bits of an element depend on its row of op(A), its column of op(B), its old value, k and
                           beta alone.
   x?gemm_par              the same with a kernel version and a descriptor whose row is loaded; blocks that are 0 are
                           chosen, other ones below 1 count as a tile, and the descriptor then holds those chosen.
                           Its buffer records are not touched. 0: done. 1: unknown version, with nothing done, or no
                           memory for one that has no plain path; C is then scaled by beta (version 64: not) and
                           otherwise as it was.
                             version        2            4         8          16         32         64
                             packs whole    blocks of    A         B          nothing    A          nothing
                                            A and B
                             buffer mode    100          105       104        106        105        106
                             loops          n, k, m      n, k, m   n          n          m          none
                             no memory      plain path   same      returns 1  returns 1  returns 1  returns 1
                           Version 2 takes the plain path when m < tm, n < tn or k < tk. Versions 8 to 64 have one
                           block along k, and the descriptor keeps the kb that it had. What is not packed as a whole
                           goes through the work buffer: in 4 and 32 nr * work_factor columns of B at once, so B is
                           packed once a block of A; in 8 as many rows of A, a tile at least, once a block of B; in 16
                           and 64 one panel of each, for each nr columns a slice of the steps, in it each mr rows of
                           A. The slices are as long as a panel of each fits: size of the work buffer / size of an
                           element / (mr + nr), down to a multiple of kr, so all of k in s and d, some half of it in c
                           and two thirds in z. Each slice is a sum of its own. Version 64 does not scale: a beta of
                           zero stores over C, any other acts as 1, and a zero alpha multiplies like any other.
   ?gemm_zero_desc         clears every field.
   ?gemm_get_optimal_kernel  loads the row that avx_?_opt_gemm_ker names.
   ?gemm_get_kernel        loads a row; 1, with nothing loaded, when the number is above 0. A negative number is not
                           guarded.
   ?gemm_num_kernels       writes the number of rows, 1.
   ?gemm_get_kernel_version  2.     ?gemm_api_support  1.
   ?gemm_get_blks_size     fills kb and mb where they are 0, and nb always; m is not read. Divisions drop the remainder.
                             kb   k < 256: k up to a multiple of kr, 128 at least; 256 < k < 512: k / 2, up to a
                                  multiple of kr; else 256
                             mb   cache / 6 / size of an element / 256, down to a multiple of mr, where cache is
                                  tnk_serv_get_cache_size(0); 0 when that cannot hold a tile
                             nb   n, nr at least and 5000 at most, up to a multiple of nr
   ?gemm_set_blks_size     stores the three.
   ?gemm_get_bufs_size     sizes the records that a buffer mode names, the blocks rounded up to mb', nb', kb' of whole
                           mr, nr and kr. 1, with nothing done, on another mode of either kind.
                             buffer mode    100          101   102   103     104       105       106
                             sized          A, work, B   A     B     A, B    work, B   A, work   work
                             allocated      yes          yes   yes   no: 1   yes       yes       yes
                             A      mb' kb' elements, stride mr kb', shift 12
                             B      nb' kb' elements, stride nr kb', shift 12
                             work   kb' nr work_factor elements, shift 7; each size is in bytes, and 512 more
                           Size mode 107 clamps each block to its dimension, 108 takes the blocks as they are. m, n
                           and k are read in both.
   ?gemm_get_bufs          one allocation of alignment 128 for the buffers of the mode, of their sizes and 2 << shift
                           bytes for each, laid out in the order of the table, each from the next multiple of
                           1 << shift; null in *raw when it failed. 1 and null on a mode that is not allocated, 103 among
                           them.
   ?gemm_free_bufs         releases what get_bufs allocated.
   ?gemm_mscale            C := beta C; beta = 0 stores zeros without reading.
   ?gemm_pst               the plain path: no packing, no memory; C := beta C + alpha (sum), for each block along k
                           (kb as above) in turn. beta = 0 does not read C; A and B are not read when k < 1, but when
                           alpha is zero they are.
   ?gemm_copya*, copyb*    pack a block of A times alpha, or of B, into panels; n as it is, t transposed, c (complex)
                           conjugate-transposed. No-op when a count is below 1.
   ?gemm_ker0              C := C + A B on packed operands (beta exactly 0: C := A B, C is not read; any other acts
                           as 1).
   ?gemm_kernel_0, _b0     its whole tiles: m a multiple of mr. beta is not read; _b0 stores without reading C.
   ?gemm_ker0_pst          its edge: m from 1 to mr - 1. */

#define TNK_GEMM_FAMILY(t, T)                                                                                \
  void tnk_blas_x##t##gemm(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,       \
                           const tnk_int *k, const T *alpha, const T *a, const tnk_int *lda, const T *b,     \
                           const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc);                     \
  int32_t tnk_blas_x##t##gemm_par(const char *transa, const char *transb, const tnk_int *m,                  \
                                  const tnk_int *n, const tnk_int *k, const T *alpha, const T *a,            \
                                  const tnk_int *lda, const T *b, const tnk_int *ldb, const T *beta, T *c,   \
                                  const tnk_int *ldc, int32_t version, tnk_gemm_descriptor *descriptor);     \
  void tnk_blas_##t##gemm_zero_desc(tnk_gemm_descriptor *descriptor);                                        \
  void tnk_blas_##t##gemm_get_optimal_kernel(tnk_gemm_descriptor *descriptor);                               \
  int32_t tnk_blas_##t##gemm_get_kernel(int32_t row, tnk_gemm_descriptor *descriptor);                       \
  void tnk_blas_##t##gemm_num_kernels(int32_t *count);                                                       \
  int32_t tnk_blas_##t##gemm_get_kernel_version(void);                                                       \
  int32_t tnk_blas_##t##gemm_api_support(void);                                                              \
  tnk_gemm_get_blks_size tnk_blas_##t##gemm_get_blks_size;                                                   \
  void tnk_blas_##t##gemm_set_blks_size(tnk_int mb, tnk_int nb, tnk_int kb,                                  \
                                        tnk_gemm_descriptor *descriptor);                                    \
  tnk_gemm_get_bufs_size tnk_blas_##t##gemm_get_bufs_size;                                                   \
  tnk_gemm_get_bufs tnk_blas_##t##gemm_get_bufs;                                                             \
  void tnk_blas_##t##gemm_free_bufs(void *raw);                                                              \
  void tnk_blas_##t##gemm_mscale(const tnk_int *m, const tnk_int *n, const T *beta, T *c,                    \
                                 const tnk_int *ldc);                                                        \
  void tnk_blas_##t##gemm_pst(const char *transa, const char *transb, const tnk_int *m, const tnk_int *n,    \
                              const tnk_int *k, const T *alpha, const T *a, const tnk_int *lda, const T *b,  \
                              const tnk_int *ldb, const T *beta, T *c, const tnk_int *ldc);                  \
  tnk_gemm_copy tnk_blas_##t##gemm_copyan, tnk_blas_##t##gemm_copyat, tnk_blas_##t##gemm_copybn,             \
      tnk_blas_##t##gemm_copybt;                                                                             \
  tnk_gemm_kernel tnk_blas_##t##gemm_ker0, tnk_blas_##t##gemm_kernel_0, tnk_blas_##t##gemm_kernel_0_b0,      \
      tnk_blas_##t##gemm_ker0_pst;

TNK_GEMM_FAMILY(s, float)
TNK_GEMM_FAMILY(d, double)
TNK_GEMM_FAMILY(c, tnk_complex8)
TNK_GEMM_FAMILY(z, tnk_complex16)
#undef TNK_GEMM_FAMILY

tnk_gemm_copy_ext tnk_blas_sgemm_copya_ext, tnk_blas_sgemm_copyb_ext, tnk_blas_dgemm_copya_ext,
    tnk_blas_dgemm_copyb_ext;
tnk_gemm_copy tnk_blas_cgemm_copyac, tnk_blas_cgemm_copybc, tnk_blas_zgemm_copyac, tnk_blas_zgemm_copybc;

/* ---- Triangular solve and multiply ------------------------------------------------------------------------------ */

/* One level of the loops over a triangle: drivers pass an array of them to their stages. */
typedef struct tnk_triangular_level {
  tnk_int block;     /* left: order of a diagonal block; right: rows of B at a time */
  tnk_int chunk;     /* left: columns of B at a time; right: order of a diagonal block */
  tnk_int direction; /* left: 1 when op transposes; right: 1 when it does not */
  void *a_buffer;    /* packed A of the descriptor; null: stages work without memory */
  tnk_int unused1;
  void *b_buffer;      /* packed B of the descriptor */
  tnk_int right_limit; /* 1024 on the right; not read */
  tnk_int unused2;
  tnk_int mark; /* 1; 0 at level 0 on the right; not read */
} tnk_triangular_level;

/* x?trsm, x?trmm and their stages: `left` and `right` are the loops of levels[level], of which levels[*last] is the
   deepest; the _ker stages finish a block on the diagonal. The flags are 0 or 1; with the last two 0 the operation is the
   conjugate transpose. alpha is not read by stages. descriptor may be null; one that is given has its row loaded and a
   kernel_version, 2 or 4, by which its products run: with an unknown one they are left out. Its block sizes are chosen
   anew, and its a.size and b.size hold for the buffers of the levels too. */
#define TNK_TRIANGULAR_STAGE_NAMED(name, T)                                                                  \
  void tnk_blas_##name(const uint8_t *upper, const uint8_t *no_transpose, const uint8_t *transpose,          \
                       const char *diag, const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,     \
                       const tnk_int *lda, T *b, const tnk_int *ldb, tnk_int level, const tnk_int *last,     \
                       const tnk_triangular_level *levels, tnk_gemm_descriptor *descriptor);
#define TNK_TRIANGULAR_FAMILY(t, T, name)                                                                    \
  void tnk_blas_x##t##name(const char *side, const char *uplo, const char *transa, const char *diag,         \
                           const tnk_int *m, const tnk_int *n, const T *alpha, const T *a,                   \
                           const tnk_int *lda, T *b, const tnk_int *ldb);                                    \
  TNK_TRIANGULAR_STAGE_NAMED(t##name##_left, T)                                                              \
  TNK_TRIANGULAR_STAGE_NAMED(t##name##_right, T)                                                             \
  TNK_TRIANGULAR_STAGE_NAMED(t##name##_left_ker, T)                                                          \
  TNK_TRIANGULAR_STAGE_NAMED(t##name##_right_ker, T)

/* ---- Triangular solve ------------------------------------------------------------------------------------------ */

/* The solve: op(A) X = alpha B or X op(A) = alpha B, X over B, A a triangle of order m on the left, n on the right. Letters
   as in the multiply below. A diagonal element acts by its reciprocal, formed once: a zero gives infinities and NaN, and no
   report. Method: blocks on the diagonal, each after one product that takes away what the solved part contributes.

     x?trsm         no-op when m < 1 or n < 1. alpha = 0 stores zeros over whatever B holds, without reading A and without
                    memory. Then one block of scratch, of the same size for every order: 3 MB in d and c, 1.5 in s, 6 in z.
                    Without it, which is reported under "xtrsm", B stays as it was to the last bit. Then alpha goes to B,
                    and all the rest runs with an alpha of 1.
                      left    levels of 128, 32 rows by 1000 columns, from the first whose block is not above m, or the
                              first if there is none
                      right   levels of 128 (256 from n = 2000 on), 32 columns by 512 rows, from the first whose block is
                              below n, or the first
     left, right    the loops of a level. A block goes to the last level, or to the finish if this is the last or the last
                    one's block is not below m (n on the right). Products run in the buffers of the descriptor, where its
                    blocks, chosen anew, have room; by x?gemm without a descriptor.
     left_ker,      the finish. In d whole groups of 4 rows of the triangle and 4 right-hand sides by copya and ll, lu, rl or
     right_ker      ru, in the buffers of the level; rows left over by pst, and between the two gemm_pst; right-hand sides
                    left over by pst. All by pst without a descriptor, a buffer or a group, and where the sizes in the
                    descriptor leave no room (in those of x?trsm: beyond an order of 508). In s, c and z by the family.
     dtrsm_copya    packs op(A) as ll and lu on the left take it, with reciprocals on the diagonal (1 where it is unit). For
                    the right, rl and ru, with the no_transpose flag turned round. Any order; packed: 8 g (g + 1) elements
                    with g groups of 4 rows.
     dtrsm_ll, _lu  op(A) X = B by that, op(A) lower or upper, for `count` columns. B begins `offset` rows below b.
     dtrsm_rl, _ru  X op(A) = B, for `count` rows. B begins `offset` columns behind b. buffer: the solved part of 8 right-hand
                    sides, 8 elements for each row of whole groups, at a multiple of 32 bytes. non_unit: not read (copya).
     dtrsm_pst      the list, the effect and the bits of x?trsm, but without memory, and slower.
     strsm_lln ...  side, uplo, operation (c in the complex types only): the same in s, c, z, with an alpha of 1.

   Bits. Right-hand sides, columns on the left and rows on the right, may be cut into calls anywhere: as long as all is
   finite an element has the same bits in a part as in the whole, and those of the forms without memory as well. */
TNK_TRIANGULAR_FAMILY(s, float, trsm)
TNK_TRIANGULAR_FAMILY(d, double, trsm)
TNK_TRIANGULAR_FAMILY(c, tnk_complex8, trsm)
TNK_TRIANGULAR_FAMILY(z, tnk_complex16, trsm)

#define TNK_TRSM_SOLVER(name, T)                                                                             \
  void tnk_blas_##name(const char *diag, const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, \
                       T *b, const tnk_int *ldb);
#define TNK_TRSM_SOLVERS(t, T, o)                                                                            \
  TNK_TRSM_SOLVER(t##trsm_ll##o, T)                                                                          \
  TNK_TRSM_SOLVER(t##trsm_lu##o, T)                                                                          \
  TNK_TRSM_SOLVER(t##trsm_rl##o, T)                                                                          \
  TNK_TRSM_SOLVER(t##trsm_ru##o, T)
TNK_TRSM_SOLVERS(s, float, n)
TNK_TRSM_SOLVERS(s, float, t)
TNK_TRSM_SOLVERS(c, tnk_complex8, n)
TNK_TRSM_SOLVERS(c, tnk_complex8, t)
TNK_TRSM_SOLVERS(c, tnk_complex8, c)
TNK_TRSM_SOLVERS(z, tnk_complex16, n)
TNK_TRSM_SOLVERS(z, tnk_complex16, t)
TNK_TRSM_SOLVERS(z, tnk_complex16, c)
#undef TNK_TRSM_SOLVERS
#undef TNK_TRSM_SOLVER

void tnk_blas_dtrsm_copya(const uint8_t *upper, const uint8_t *no_transpose, const uint8_t *transpose,
                          const char *diag, const tnk_int *order, const double *a, const tnk_int *lda,
                          double *packed);
#define TNK_TRSM_KERNEL(name)                                                                                \
  void tnk_blas_##name(const tnk_int *order, const tnk_int *count, const double *packed, double *buffer,     \
                       const tnk_int *offset, double *b, const tnk_int *ldb, const tnk_int *non_unit);
TNK_TRSM_KERNEL(dtrsm_ll)
TNK_TRSM_KERNEL(dtrsm_lu)
TNK_TRSM_KERNEL(dtrsm_rl)
TNK_TRSM_KERNEL(dtrsm_ru)
#undef TNK_TRSM_KERNEL
void tnk_blas_dtrsm_pst(const char *side, const char *uplo, const char *transa, const char *diag,
                        const tnk_int *m, const tnk_int *n, const double *alpha, const double *a,
                        const tnk_int *lda, double *b, const tnk_int *ldb);

/* The multiply: B := alpha op(A) B or B := alpha B op(A), in place, A a triangle of order m on the left, n on the right.

   side "L" left, any other byte right; uplo "U" upper, any other lower; transa as above; diag "U" unit, any other not; in
   either case. The other triangle and a unit diagonal are not read.

     x?trmm         no-op when m < 1 or n < 1. alpha = 0 stores zeros over whatever B holds, without reading A and without
                    memory. Then one block of scratch, of the same size for every order: 3 MB in d and c, 1.5 in s, 6 in z.
                    Without it, which is reported under "xtrmm", B stays as it was to the last bit. Then alpha goes to B,
                    and all the rest runs with an alpha of 1.
                      left    levels of 256, 128, 64 rows by 1000 columns, from the first whose block is not above m, or
                              the first if there is none
                      right   levels of 256, 64, 16 columns by 512 rows, from the first whose block is below n, or the
                              first; in d below 8 columns by dtrmm_run and kin
     left, right    the loops of a level: blocks on the diagonal by the next one, or by the finish if this is the last or
                    the last one's block is not below m (n on the right); what stands beside them by matrix products. The
                    last level on the right finishes up to 64 columns at once, since they can share packed rows of B.
     left_ker,      the finish. In d on the left, whole groups of 4 rows and columns packed (copya, ll, lu), the other
     right_ker      rows by gemm_pst and pst, the other columns by pst; all by pst without a descriptor or an A buffer. In
                    s, c and z by the family.
     dtrmm_copya    packs op(A) of order m: groups of 4 rows, each with the steps (columns) in which it is not empty, as
                    panels of A of a product, one behind the other; within a group zeros where op(A) is empty, ones for a
                    unit diagonal. packed: 8 g (g + 1) elements with g groups.
     dtrmm_ll, _lu  rows offset ... offset + m of B by the packed op(A), lower or upper, m a multiple of 4. buffer: 32 columns
                    of m elements, in which B is packed, at a multiple of 32 bytes as packed is. non_unit is not read: copya
                    has written the ones.
     dtrmm_run, _rln, _rut, _rlt
                    B := B op(A) by columns, each scaled by dscal and added to by the public daxpy: uplo, then N or T.
     dtrmm_pst      the list and the effect of x?trmm, but without memory, and slower.
     strmm_lln ...  side, uplo, operation (c in the complex types only): B := op(A) B or B op(A) in s, c, z, of any order,
                    with what they pack on the stack, up to 60 KB. Orders below 4 are not packed.
     xdptrmm        x?trmm on a triangle in packed storage: columns of the triangle one behind the other. No-op when n < 1,
                    while m < 1 ends in pst. Below 4 rows or columns by pst, and without its memory, 1,024,000 bytes, too,
                    unreported. It unpacks blocks of 256.
     dptrmm_pst     the same without memory: blocks of 32 on the stack. No-op when m < 1 or n < 1.
     dptrmm_copya   what a packed triangle of that order has of rows row ... row + m and columns column ... column + n, to
                    a matrix; elements of the other triangle are not written.

   Bits. Right-hand sides may be cut into calls: columns on the left, at multiples of 4, rows on the right, anywhere; an
   element goes the same way in a part as in the whole. (In s, c and z columns too may be cut anywhere.) */
TNK_TRIANGULAR_FAMILY(s, float, trmm)
TNK_TRIANGULAR_FAMILY(d, double, trmm)
TNK_TRIANGULAR_FAMILY(c, tnk_complex8, trmm)
TNK_TRIANGULAR_FAMILY(z, tnk_complex16, trmm)

#define TNK_TRMM_NAMED(name, T)                                                                              \
  void tnk_blas_##name(const char *diag, const tnk_int *m, const tnk_int *n, const T *a, const tnk_int *lda, \
                       T *b, const tnk_int *ldb);
#define TNK_TRMM_OPERATION(type, T, o)                                                                       \
  TNK_TRMM_NAMED(type##trmm_ll##o, T)                                                                        \
  TNK_TRMM_NAMED(type##trmm_lu##o, T)                                                                        \
  TNK_TRMM_NAMED(type##trmm_rl##o, T)                                                                        \
  TNK_TRMM_NAMED(type##trmm_ru##o, T)
TNK_TRMM_OPERATION(s, float, n)
TNK_TRMM_OPERATION(s, float, t)
TNK_TRMM_OPERATION(c, tnk_complex8, n)
TNK_TRMM_OPERATION(c, tnk_complex8, t)
TNK_TRMM_OPERATION(c, tnk_complex8, c)
TNK_TRMM_OPERATION(z, tnk_complex16, n)
TNK_TRMM_OPERATION(z, tnk_complex16, t)
TNK_TRMM_OPERATION(z, tnk_complex16, c)
TNK_TRMM_NAMED(dtrmm_run, double)
TNK_TRMM_NAMED(dtrmm_rln, double)
TNK_TRMM_NAMED(dtrmm_rut, double)
TNK_TRMM_NAMED(dtrmm_rlt, double)
#undef TNK_TRMM_OPERATION
#undef TNK_TRMM_NAMED

void tnk_blas_dtrmm_copya(const uint8_t *upper, const uint8_t *no_transpose, const uint8_t *transpose,
                          const char *diag, const tnk_int *m, const double *a, const tnk_int *lda,
                          double *packed);
void tnk_blas_dtrmm_ll(const tnk_int *m, const tnk_int *n, const double *packed, double *buffer,
                       const tnk_int *offset, double *b, const tnk_int *ldb, const tnk_int *non_unit);
void tnk_blas_dtrmm_lu(const tnk_int *m, const tnk_int *n, const double *packed, double *buffer,
                       const tnk_int *offset, double *b, const tnk_int *ldb, const tnk_int *non_unit);
void tnk_blas_dtrmm_pst(const char *side, const char *uplo, const char *transa, const char *diag,
                        const tnk_int *m, const tnk_int *n, const double *alpha, const double *a,
                        const tnk_int *lda, double *b, const tnk_int *ldb);
void tnk_blas_xdptrmm(const char *side, const char *uplo, const char *transa, const char *diag,
                      const tnk_int *m, const tnk_int *n, const double *alpha, const double *ap, double *b,
                      const tnk_int *ldb);
void tnk_blas_dptrmm_pst(const char *side, const char *uplo, const char *transa, const char *diag,
                         const tnk_int *m, const tnk_int *n, const double *alpha, const double *ap, double *b,
                         const tnk_int *ldb);
void tnk_blas_dptrmm_copya(const char *uplo, const tnk_int *order, const tnk_int *row, const tnk_int *column,
                           const tnk_int *m, const tnk_int *n, const double *ap, double *to,
                           const tnk_int *ld);

/* Names that other processor classes fill; here a call returns at once with no effect, whatever its arguments. */
void tnk_blas_xdgemm_1(void);
void tnk_blas_xdgemm0_1_brc(void);
void tnk_blas_xdgemm0_brc(void);
void tnk_blas_xdgemm1_1_brc(void);
void tnk_blas_xsgemm0_brc(void);
void tnk_blas_dgemm_blk_info_0_brc(void);
void tnk_blas_dgemm_blk_info_1_brc(void);
void tnk_blas_dgemm_mscale_brc(void);
#define TNK_GEMM_EMPTY(t)                                                                                    \
  void tnk_blas_##t##gemm_copyan_htn(void);                                                                  \
  void tnk_blas_##t##gemm_copyat_htn(void);                                                                  \
  void tnk_blas_##t##gemm_copybn_htn(void);                                                                  \
  void tnk_blas_##t##gemm_copybt_htn(void);
#define TNK_GEMM_EMPTY_COMPLEX(t)                                                                            \
  TNK_GEMM_EMPTY(t)                                                                                          \
  void tnk_blas_##t##gemm_copyac_htn(void);                                                                  \
  void tnk_blas_##t##gemm_copybc_htn(void);                                                                  \
  void tnk_blas_##t##gemm_getbufs(void);                                                                     \
  void tnk_blas_##t##gemm_freebufs(void);
TNK_GEMM_EMPTY(s)
TNK_GEMM_EMPTY(d)
TNK_GEMM_EMPTY_COMPLEX(c)
TNK_GEMM_EMPTY_COMPLEX(z)
#undef TNK_GEMM_EMPTY
#undef TNK_GEMM_EMPTY_COMPLEX
#undef TNK_TRIANGULAR_FAMILY
#undef TNK_TRIANGULAR_STAGE_NAMED

TNK_END_DECLS

#endif
