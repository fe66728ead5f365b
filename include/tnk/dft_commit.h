/* How a descriptor's node is committed: strategies, what they are made of, and what the threading layer does for them.
   No header for programs, see tnk/dft_node.h. All functions return a status unless said. */
#ifndef TNK_DFT_COMMIT_H
#define TNK_DFT_COMMIT_H

#include <tnk/dft_node.h>

TNK_BEGIN_DECLS

/* ---- Strategies that the lists name ------------------------------------------------------------------------------------
   commit declines with DftiDeclined or 101, or fails with another status, and leaves the node as it was then; one that
   takes it has uncommitted it from any other strategy. detach refuses another strategy's node with DftiInternalError.

     as2s_n_m, as2s_1_m          complex data in two arrays, of several dimensions or batches: nodes within the node
     ss2s_1_1, ds2s_1_1          the same, single and double, of one dimension and one batch: row by row
     bkd1_c, bkd1_z              short interleaved transforms, contiguous and alone, by one call of a signal primitive

   What none of them takes, and all real data, goes to the core commits. */

extern const DftiStrategy tnk_dft_bkd_as2s_n_m, tnk_dft_bkd_as2s_1_m, tnk_dft_bkd_ss2s_1_1,
    tnk_dft_bkd_ds2s_1_1, tnk_dft_bkd1_c, tnk_dft_bkd1_z;

/* Strategies that no list names, for the threading layer: complete transforms as compute entries, of complex data that is
   interleaved, contiguous, alone, without offsets and with both scales 1.

     bkd2_c, bkd2_z              2, 4, 8, 16, 32, 64
     bkd3_c, bkd3_z              16, 32, 64; 8, 16, 32, 64, 128

   They decline with 101, and detach has nothing to release. */

extern const DftiStrategy tnk_dft_bkd2_c, tnk_dft_bkd2_z, tnk_dft_bkd3_c, tnk_dft_bkd3_z;

/* ---- Core commits, and how many threads a transform may use -------------------------------------------------------------
   By precision (s, d), kind (c2c, r2c) and shape.

   Core commit: for a node with its chain, log2 and total lengths. DftiMemoryError, DftiUnimplemented for real data in
   complex rows without complex storage or packed in more than two dimensions, DftiLengthExceedsLimit for a length beyond
   2^27 - 1 where it is a power of two and 2^25 - 1 otherwise (single: twice that), unless it is taken in four steps,
   see tnk/dft_long.h; DftiInternalError; the node is then uncommitted and its chain gone.

   Mode definition: sets flags, lowers threads to what the configuration can use, and makes the slots of user threads.
   dynamic not 0: also to what the size of the data is worth. DftiMemoryError. */

typedef tnk_int DftiCoreCommit(DftiNode *node);
DftiCoreCommit tnk_dft_commit_descriptor_core_s_c2c_1d, tnk_dft_commit_descriptor_core_s_c2c_md,
    tnk_dft_commit_descriptor_core_s_r2c_1d, tnk_dft_commit_descriptor_core_s_r2c_md,
    tnk_dft_commit_descriptor_core_d_c2c_1d, tnk_dft_commit_descriptor_core_d_c2c_md,
    tnk_dft_commit_descriptor_core_d_r2c_1d, tnk_dft_commit_descriptor_core_d_r2c_md;

typedef tnk_int DftiModeDefinition(DftiNode *node, int32_t dynamic);
DftiModeDefinition tnk_dft_threaded_mode_definition_s_c2c_1d, tnk_dft_threaded_mode_definition_s_c2c_md,
    tnk_dft_threaded_mode_definition_s_r2c_1d, tnk_dft_threaded_mode_definition_s_r2c_md,
    tnk_dft_threaded_mode_definition_d_c2c_1d, tnk_dft_threaded_mode_definition_d_c2c_md,
    tnk_dft_threaded_mode_definition_d_r2c_1d, tnk_dft_threaded_mode_definition_d_r2c_md;

/* ---- Signal records and buffers --------------------------------------------------------------------------------------- */

/* The record and the buffer size of a node of the chain, by the kind of its data: interleaved, in two arrays, real; r2c
   with the functions of the packed format, real_init without. A failure ends the root's commit as told above. */
typedef tnk_int DftiRecordInit(DftiNode *node, DftiNode *root);
DftiRecordInit tnk_dft_vpk_init_s_c2c, tnk_dft_vpk_init_d_c2c, tnk_dft_vpk_init_s_ri2ri,
    tnk_dft_vpk_init_d_ri2ri, tnk_dft_vpk_init_s_r2c, tnk_dft_vpk_init_d_r2c, tnk_dft_c_vpk_real_init,
    tnk_dft_z_vpk_real_init;

/* Sets up a node from 1 on of a real transform, whose data are complex. */
DftiRecordInit tnk_dft_complex_for_real_dft_s, tnk_dft_complex_for_real_dft_d;

/* The workspace, a slice of maximum_buffer_size bytes, rounded up to whole pages, for each user thread or thread. Without
   memory the node is uncommitted. */
tnk_int tnk_dft_vpk_buffer_allocation(DftiNode *node);

/* 1, and *flag (unless null) the signal record's scale flag, if such a record can scale as the node asks; else 0. */
int32_t tnk_dft_vpk_can_scale(const DftiNode *node, int32_t *flag);

/* The status for one of a signal primitive. */
tnk_int tnk_dft_transfer_vpk_tnk_error(int32_t signal_status);

/* ---- Transforms of any length -------------------------------------------------------------------------------------------
   As a convolution, of length node->axis.length below 2^29, at least 1: sets the node's bluestein_data and bluestein_free,
   its pair of kernels, which take no workspace and any addresses, and the forward one of its second pair. Needs the node's
   strategy list, users and threads. The padded length is 2^(b+1) for a length of b bits; memory is two arrays of so many
   complex numbers, and another one in each call of a kernel. The kernels do not scale: compute entries and drivers do.

   DftiMemoryError, DftiLengthExceedsLimit from 2^29 on, or the status of the commit within; the node is then as it was.
   free: a null node and one without such data are left alone. */

tnk_int tnk_dft_bluestein_init_c(DftiNode *node);
tnk_int tnk_dft_bluestein_init_z(DftiNode *node);
void tnk_dft_bluestein_free(DftiNode *node);

/* ---- Kernels of a fixed length --------------------------------------------------------------------------------------------- */

/* What the compact kernels of that length need (tnk/dft_compute.h): from 256 on a table in the node's second workspace, which
   serves both directions, and a buffer size; up to 128 a buffer size of 0. DftiMemoryError leaves the node as it was. */
typedef tnk_int DftiCodeletInit(DftiNode *node);
DftiCodeletInit tnk_dft_init_xz_f4_1df, tnk_dft_init_xz_f8_1df, tnk_dft_init_xz_f16_1df,
    tnk_dft_init_xz_f32_1df, tnk_dft_init_xz_f64_1df, tnk_dft_init_xz_f128_1df, tnk_dft_init_xz_f256_1df,
    tnk_dft_init_xz_f512_1df, tnk_dft_init_xz_f1024_1df;

/* Puts the compact kernel of the node's length into it, in the place of the forward (f) or the backward (b) one: c of
   lengths 2 and 4; z of powers of two from 2 to 1024; s, d (real data) from 2 to 32. To be called after the core commit,
   which names kernels itself; the workspace must then hold the node's buffer size. A node of another length is left alone;
   so is one without memory: DftiMemoryError. sb and db say in the node's real layout flag whether rows of several dimensions
   out of place come as CCS: with formats CCS and CCE. */
typedef tnk_int DftiSetCodelet(DftiNode *node);
DftiSetCodelet tnk_dft_set_codelet_cf, tnk_dft_set_codelet_cb, tnk_dft_set_codelet_zf, tnk_dft_set_codelet_zb,
    tnk_dft_set_codelet_sf, tnk_dft_set_codelet_sb, tnk_dft_set_codelet_df, tnk_dft_set_codelet_db;

/* ---- Imported from the host -------------------------------------------------------------------------------------------- */

/* Builds the chain of nodes, one for each committed dimension, and calls the core commit of the same name. */
DftiCoreCommit tnk_dft_commit_node_s_c2c_1d_omp, tnk_dft_commit_node_s_c2c_md_omp,
    tnk_dft_commit_node_s_r2c_1d_omp, tnk_dft_commit_node_s_r2c_md_omp, tnk_dft_commit_node_d_c2c_1d_omp,
    tnk_dft_commit_node_d_c2c_md_omp, tnk_dft_commit_node_d_r2c_1d_omp, tnk_dft_commit_node_d_r2c_md_omp;

TNK_END_DECLS

#endif
