/* How a committed node computes: compute entries, drivers of batches, wrappers of signal primitives, and what the
   threading layer calls and offers. No header for programs, see tnk/dft_node.h. All functions return a status unless
   said. */
#ifndef TNK_DFT_COMPUTE_H
#define TNK_DFT_COMPUTE_H

#include <tnk/dft_node.h>

TNK_BEGIN_DECLS

/* ---- Compute entries ---------------------------------------------------------------------------------------------------
   By direction, precision, kind, shape, and place: i in place, o out of place. */

DftiCompute tnk_dft_compute_fwd_s_c2c_1d_i, tnk_dft_compute_fwd_s_c2c_1d_o, tnk_dft_compute_bwd_s_c2c_1d_i,
    tnk_dft_compute_bwd_s_c2c_1d_o, tnk_dft_compute_fwd_s_c2c_md_i, tnk_dft_compute_fwd_s_c2c_md_o,
    tnk_dft_compute_bwd_s_c2c_md_i, tnk_dft_compute_bwd_s_c2c_md_o, tnk_dft_compute_fwd_s_r2c_1d_i,
    tnk_dft_compute_fwd_s_r2c_1d_o, tnk_dft_compute_bwd_s_r2c_1d_i, tnk_dft_compute_bwd_s_r2c_1d_o,
    tnk_dft_compute_fwd_s_r2c_md_i, tnk_dft_compute_fwd_s_r2c_md_o, tnk_dft_compute_bwd_s_r2c_md_i,
    tnk_dft_compute_bwd_s_r2c_md_o;
DftiCompute tnk_dft_compute_fwd_d_c2c_1d_i, tnk_dft_compute_fwd_d_c2c_1d_o, tnk_dft_compute_bwd_d_c2c_1d_i,
    tnk_dft_compute_bwd_d_c2c_1d_o, tnk_dft_compute_fwd_d_c2c_md_i, tnk_dft_compute_fwd_d_c2c_md_o,
    tnk_dft_compute_bwd_d_c2c_md_i, tnk_dft_compute_bwd_d_c2c_md_o, tnk_dft_compute_fwd_d_r2c_1d_i,
    tnk_dft_compute_fwd_d_r2c_1d_o, tnk_dft_compute_bwd_d_r2c_1d_i, tnk_dft_compute_bwd_d_r2c_1d_o,
    tnk_dft_compute_fwd_d_r2c_md_i, tnk_dft_compute_fwd_d_r2c_md_o, tnk_dft_compute_bwd_d_r2c_md_i,
    tnk_dft_compute_bwd_d_r2c_md_o;

/* ---- Batches -----------------------------------------------------------------------------------------------------------
   `count` transforms of the node, one after another, each at the node's distances from the one before, in one slice of
   workspace. c, z: complex data; s, d: real data; sc, dz: real to complex; cs, zd: complex to real. For storage in two
   arrays source and destination are addresses of pairs of pointers. */

typedef tnk_int DftiDriver(DftiNode *node, void *source, tnk_int count, void *work);
typedef tnk_int DftiDriverOut(DftiNode *node, void *source, void *destination, tnk_int count, void *work);
DftiDriver tnk_dft_xcforward, tnk_dft_xzforward, tnk_dft_xsforward, tnk_dft_xdforward, tnk_dft_xscforward,
    tnk_dft_xdzforward;
DftiDriver tnk_dft_xcbackward, tnk_dft_xzbackward, tnk_dft_xsbackward, tnk_dft_xdbackward,
    tnk_dft_xcsbackward, tnk_dft_xzdbackward;
DftiDriverOut tnk_dft_xcforward_out, tnk_dft_xzforward_out, tnk_dft_xsforward_out, tnk_dft_xdforward_out,
    tnk_dft_xscforward_out, tnk_dft_xdzforward_out;
DftiDriverOut tnk_dft_xcbackward_out, tnk_dft_xzbackward_out, tnk_dft_xsbackward_out, tnk_dft_xdbackward_out,
    tnk_dft_xcsbackward_out, tnk_dft_xzdbackward_out;

/* ---- Users of one descriptor ------------------------------------------------------------------------------------------- */

/* The slot of the calling thread, from 0; waits for one where all are in use. Negative: none. */
int32_t tnk_dft_grasp_user_thread(DftiNode *node);
void tnk_dft_release_user_thread(DftiNode *node, int32_t slot);

/* ---- Kernels that wrap signal primitives --------------------------------------------------------------------------------- */

DftiKernel tnk_dft_xvpks_fwd_32fc, tnk_dft_xvpks_fwd_64fc, tnk_dft_xvpks_fwd_32f, tnk_dft_xvpks_fwd_64f,
    tnk_dft_xvpks_fwd_rev_32fc, tnk_dft_xvpks_fwd_rev_64fc, tnk_dft_xvpks_fwd_rtocomplex_32f,
    tnk_dft_xvpks_fwd_rtocomplex_64f;
DftiKernel tnk_dft_xvpks_inv_32fc, tnk_dft_xvpks_inv_64fc, tnk_dft_xvpks_inv_32f, tnk_dft_xvpks_inv_64f,
    tnk_dft_xvpks_inv_rev_32fc, tnk_dft_xvpks_inv_rev_64fc, tnk_dft_xvpks_inv_complextor_32f,
    tnk_dft_xvpks_inv_complextor_64f;

/* ---- Kernels of a fixed length -------------------------------------------------------------------------------------------
   f<N>: N numbers, of any address; 1df forward, 1db backward, which multiply by the node's factor of that direction. c, z:
   complex; s, d: real, whose spectrum has the layout that the node's packed format names, as with the wrappers. No work is
   needed up to 128 numbers; from 256 on they read the table of tnk_dft_init_xz_f<N>_1df in the node, and take work of the
   node's buffer size, or, without, allocate it for the length of the call: DftiMemoryError. */

DftiKernel tnk_dft_xz_f2_1df, tnk_dft_xz_f2_1db, tnk_dft_xz_f4_1df, tnk_dft_xz_f4_1db, tnk_dft_xz_f8_1df,
    tnk_dft_xz_f8_1db, tnk_dft_xz_f16_1df, tnk_dft_xz_f16_1db, tnk_dft_xz_f32_1df, tnk_dft_xz_f32_1db,
    tnk_dft_xz_f64_1df, tnk_dft_xz_f64_1db, tnk_dft_xz_f128_1df, tnk_dft_xz_f128_1db, tnk_dft_xz_f256_1df,
    tnk_dft_xz_f256_1db, tnk_dft_xz_f512_1df, tnk_dft_xz_f512_1db, tnk_dft_xz_f1024_1df, tnk_dft_xz_f1024_1db;
DftiKernel tnk_dft_xc_f2_1df, tnk_dft_xc_f2_1db, tnk_dft_xc_f4_1df, tnk_dft_xc_f4_1db, tnk_dft_xd_f2_1df,
    tnk_dft_xd_f2_1db, tnk_dft_xd_f4_1df, tnk_dft_xd_f4_1db, tnk_dft_xd_f8_1df, tnk_dft_xd_f8_1db,
    tnk_dft_xd_f16_1df, tnk_dft_xd_f16_1db, tnk_dft_xd_f32_1df, tnk_dft_xd_f32_1db, tnk_dft_xd_f64_1df,
    tnk_dft_xd_f64_1db, tnk_dft_xs_f2_1df, tnk_dft_xs_f2_1db, tnk_dft_xs_f4_1df, tnk_dft_xs_f4_1db,
    tnk_dft_xs_f8_1df, tnk_dft_xs_f8_1db, tnk_dft_xs_f16_1df, tnk_dft_xs_f16_1db, tnk_dft_xs_f32_1df,
    tnk_dft_xs_f32_1db, tnk_dft_xs_f64_1df, tnk_dft_xs_f64_1db;

/* ---- Kernels of short lengths ------------------------------------------------------------------------------------------
   In double precision, by length from 2 on: length L at L - 2, up to 64. The node's factor goes into the transform. Source
   and destination on boundaries of 16 bytes; otherwise the call is passed to the wrapper with the same node and workspace,
   so the node has a signal record all the same. Nothing is kept: source may be destination, and calls may overlap. */

extern DftiKernel *const tnk_dft_zsmallradix_forward[63], *const tnk_dft_zsmallradix_inverse[63];

/* ---- Rows -----------------------------------------------------------------------------------------------------------------
   `count` rows of `length` elements, one after another in a dense buffer, from or to lines that stand side by side: element
   i of row r is dense[dense_index + r length + i] and strided[index + r + i stride]. */

void tnk_dft_gather_s_s(tnk_int length, tnk_int count, float *dense, tnk_int dense_index,
                        const float *strided, tnk_int stride, tnk_int index);
void tnk_dft_gather_d_d(tnk_int length, tnk_int count, double *dense, tnk_int dense_index,
                        const double *strided, tnk_int stride, tnk_int index);
void tnk_dft_gather_c_c(tnk_int length, tnk_int count, tnk_complex8 *dense, tnk_int dense_index,
                        const tnk_complex8 *strided, tnk_int stride, tnk_int index);
void tnk_dft_gather_z_z(tnk_int length, tnk_int count, tnk_complex16 *dense, tnk_int dense_index,
                        const tnk_complex16 *strided, tnk_int stride, tnk_int index);
void tnk_dft_scatter_s_s(tnk_int length, tnk_int count, const float *dense, tnk_int dense_index,
                         float *strided, tnk_int stride, tnk_int index);
void tnk_dft_scatter_d_d(tnk_int length, tnk_int count, const double *dense, tnk_int dense_index,
                         double *strided, tnk_int stride, tnk_int index);
void tnk_dft_scatter_c_c(tnk_int length, tnk_int count, const tnk_complex8 *dense, tnk_int dense_index,
                         tnk_complex8 *strided, tnk_int stride, tnk_int index);
void tnk_dft_scatter_z_z(tnk_int length, tnk_int count, const tnk_complex16 *dense, tnk_int dense_index,
                         tnk_complex16 *strided, tnk_int stride, tnk_int index);

/* ---- Two dimensions --------------------------------------------------------------------------------------------------------
   Complex in place and out of place; real forward and backward with complex (dzz, zzd) and with packed rows (dz, zd). */

DftiPlane tnk_dft_xcdft2d, tnk_dft_xcdft2d_out, tnk_dft_xzdft2d, tnk_dft_xzdft2d_out;
DftiRealPlane tnk_dft_xdzzdft2d, tnk_dft_xzzddft2d, tnk_dft_xdzdft2d, tnk_dft_xzddft2d;

/* In place along `count` lines of `length` numbers, `stride` apart: side by side, as those of a batch that varies fastest,
   or at a distance. `node` belongs to the kernel. */
tnk_int tnk_dft_xzdft_mult(tnk_complex16 *data, tnk_int length, tnk_int stride, tnk_int count,
                           DftiKernel *kernel, DftiNode *node, void *work);
tnk_int tnk_dft_xzdft1d_copy(tnk_complex16 *data, tnk_int length, tnk_int stride, tnk_int count,
                             tnk_int distance, DftiKernel *kernel, DftiNode *node, void *work);

/* ---- Imported from the host --------------------------------------------------------------------------------------------------
   The whole compute on node->threads threads; the arrays with the node's offsets applied. */

typedef tnk_int DftiParallel(DftiNode **node, void *data);
typedef tnk_int DftiParallelOut(DftiNode **node, void *source, void *destination);
DftiParallel tnk_dft_compute_forward_c_par, tnk_dft_compute_forward_z_par, tnk_dft_compute_forward_s_par,
    tnk_dft_compute_forward_d_par, tnk_dft_compute_forward_sc_par, tnk_dft_compute_forward_dz_par;
DftiParallel tnk_dft_compute_backward_c_par, tnk_dft_compute_backward_z_par, tnk_dft_compute_backward_s_par,
    tnk_dft_compute_backward_d_par, tnk_dft_compute_backward_cs_par, tnk_dft_compute_backward_zd_par;
DftiParallelOut tnk_dft_compute_forward_c_out_par, tnk_dft_compute_forward_z_out_par,
    tnk_dft_compute_forward_s_out_par, tnk_dft_compute_forward_d_out_par, tnk_dft_compute_forward_sc_out_par,
    tnk_dft_compute_forward_dz_out_par;
DftiParallelOut tnk_dft_compute_backward_c_out_par, tnk_dft_compute_backward_z_out_par,
    tnk_dft_compute_backward_s_out_par, tnk_dft_compute_backward_d_out_par,
    tnk_dft_compute_backward_cs_out_par, tnk_dft_compute_backward_zd_out_par;

TNK_END_DECLS

#endif
